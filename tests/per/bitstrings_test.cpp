// BIT STRING and OCTET STRING in PER, called as generated code calls them:
// octets worked out by hand in both variants, read back by every memory
// form; fragments and their grouping; the limits of each form; hostile
// input; the Bits PDU; and the arrays of fragmented SEQUENCE OF values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "per/per_support.h"

namespace {

using qortest::Bytes;
using qortest::hex;

constexpr int kSizeExceededCode = 16; // message 79
constexpr int kSizeViolatedCode = 17; // message 27
constexpr int kNotGroupedCode = 5;    // message 254
constexpr int kTempBufferCode = 8;    // message 145

// A value's size constraint: `unit` bits an item; no bounds when not `sized`.
struct Size {
    unsigned unit;
    QorULong lb, ub;
    bool sized;
};
constexpr Size kUpTo16{1, 0, 16, true}, kFixed16{1, 16, 16, true}, kFixed17{1, 17, 17, true},
    kBits{1, 0, 0, false}, kFixed64K{1, 65536, 65536, true}, kOctFixed2{8, 2, 2, true},
    kOctFixed3{8, 3, 3, true}, kOct1to8{8, 1, 8, true}, kOctets{8, 0, 0, false},
    kOctUpTo100K{8, 0, 100000, true};

size_t octetsOf(const Size &s, size_t n) { return (n * s.unit + 7) / 8; }

// `n` items that differ from their neighbours, the bits past them zero.
Bytes valueOf(const Size &s, size_t n)
{
    Bytes v = qortest::pattern(octetsOf(s, n));
    if (n * s.unit % 8 != 0)
        v.back() &= static_cast<unsigned char>(0xFF00u >> (n * s.unit % 8));
    return v;
}

// What a decoder form gave back: the count and where the items are.
struct Got {
    QorULong count;
    const unsigned char *data;
};
using Form = std::function<void(Got &)>;

class BitStringTest : public pertest::PerTest {
protected:
    // Writes a value of `n` items as generated code does for its size.
    void put(const Size &s, const unsigned char *v, QorULong n)
    {
        if (s.unit == 1 && s.sized) {
            _qor_penc_constr_bit_l(&world, const_cast<unsigned char *>(v), n, s.lb, s.ub, 0, 0);
        } else if (s.unit == 1) {
            _qor_penc_uncon_bit(&world, v, n);
        } else if (!s.sized || s.ub >= 65536) {
            _qor_penc_uncon_oct(&world, v, n);
        } else if (s.lb == s.ub) {
            _qor_penc_fix_bit(&world, v, n * 8);
        } else {
            _qor_penc_length_l(&world, n, s.lb, s.ub, 0);
            _qor_append(&world, v, n * 8, 1);
        }
    }

    // Every memory form that holds `n` items of size `s`, by name.
    std::vector<std::pair<std::string, Form>> forms(const Size &s, size_t n)
    {
        const QorULong lb = s.lb, ub = s.ub, cap = static_cast<QorULong>(sizeof array * 8 / s.unit);
        const bool c = s.sized;
        auto *rec = &record;
        auto behind = [rec](QorULong count) { return Got{count, static_cast<unsigned char *>(*rec) + 4}; };
        if (s.unit == 8)
            return {{"uoct", [=, this](Got &g) {
                         g.count = c ? _qor_pdec_constr_uoct_ia(&world, &ptr, lb, ub) : _qor_pdec_unconstr_uoct_ia(&world, &ptr);
                         g.data = ptr;
                     }},
                    {"voct", [=, this](Got &g) {
                         g = {c ? _qor_pdec_constr_voct_ia(&world, array, lb, ub) : _qor_pdec_unconstr_voct_ia(&world, array, cap), array};
                     }},
                    {"voct_ptr", [=, this](Got &g) {
                         g = behind(c ? _qor_pdec_constr_voct_ptr_ia(&world, &record, 4, lb, ub) : _qor_pdec_unconstr_voct_ptr_ia(&world, &record, 4));
                     }}};
        std::vector<std::pair<std::string, Form>> f = {
            {"ubit", [=, this](Got &g) {
                 g.count = c ? _qor_pdec_constr_ubit_ia(&world, &ptr, lb, ub) : _qor_pdec_unconstr_ubit_ia(&world, &ptr);
                 g.data = ptr;
             }},
            {"vbit", [=, this](Got &g) {
                 g = {c ? _qor_pdec_constr_vbit_ia(&world, array, lb, ub) : _qor_pdec_unconstr_vbit_ia(&world, array, cap), array};
             }},
            {"vbit_ptr", [=, this](Got &g) {
                 g = behind(c ? _qor_pdec_constr_vbit_ptr_ia(&world, &record, 4, lb, ub) : _qor_pdec_unconstr_vbit_ptr_ia(&world, &record, 4));
             }}};
        if (n > 32)
            return f;
        f.emplace_back("bpbit", [=, this](Got &g) {
            g = {c ? _qor_pdec_constr_bpbit_l(&world, array, 4, lb, ub) : _qor_pdec_unconstr_bpbit(&world, array, 4), array};
        });
        // The integer's octets, highest first; it has no count.
        f.emplace_back("pbit", [=, this](Got &g) {
            c ? _qor_pdec_constr_pbit_l(&world, &word, 4, lb, ub) : _qor_pdec_unconstr_pbit(&world, &word, 4);
            for (int i = 0; i < 4; i++)
                array[i] = static_cast<unsigned char>(word >> (24 - 8 * i));
            g = {static_cast<QorULong>(n), array};
        });
        return f;
    }

    // Every form reads `input` back as `value`, to its end; so does the
    // first under `decodeToTemporary`, taking no decoder memory.
    void expectEveryForm(bool aligned, const Size &s, const Bytes &input, const Bytes &value, size_t n)
    {
        auto all = forms(s, n);
        all.emplace_back("temporary", [&, first = all[0].second](Got &g) {
            world.decodeToTemporary = 1;
            first(g);
            EXPECT_EQ(qortest::blocksListed(&world), 0);
        });
        for (const auto &named : all) {
            const Form &form = named.second;
            SCOPED_TRACE(named.first);
            Got g{};
            bool same = false;
            // Looked at in the call: temporary memory goes at its end.
            ASSERT_EQ(decode(aligned, input, [&] {
                          form(g);
                          same = memcmp(g.data, value.data(), value.size()) == 0;
                      }), 0) << world.errMsgBuffer;
            world.decodeToTemporary = 0;
            EXPECT_EQ(g.count, n);
            EXPECT_TRUE(same);
            EXPECT_LT(bitsLeft(), 8);
            qortest::releaseBlocks(&world);
        }
    }

    unsigned char array[70000];
    unsigned char *ptr = nullptr;
    void *record = nullptr;
    uint32_t word = 0;
};

// A value and what it becomes; `lead` writes a 1 bit before it and `tail`
// one after, to show where it starts and ends.
struct Row {
    const char *name;
    Size size;
    const char *value;
    QorULong count;
    bool lead, tail;
    const char *aligned, *unaligned;
};

TEST_F(BitStringTest, WorkedOctetsReadBackByEveryForm)
{
    const Row rows[] = {
        {"'1'B in SIZE (0..16)", kUpTo16, "80", 1, false, false, "08 80", "0C"},
        {"'F0F0'H in SIZE (0..16)", kUpTo16, "F0 F0", 16, false, false, "80 F0 F0", "87 87 80"},
        {"empty in SIZE (0..16): no pad", kUpTo16, "", 0, true, true, "82", "82"},
        {"fixed 16 isn't aligned", kFixed16, "F0 F0", 16, true, false, "F8 78 00", "F8 78 00"},
        {"fixed 17 is", kFixed17, "F0 F0 80", 17, true, false, "80 F0 F0 80", "F8 78 40"},
        {"named {0, 5}, trailing zeros gone", kBits, "84", 6, false, false, "06 84", "06 84"},
        {"60 bits past the short path", kBits, "01 23 45 67 89 AB CD E0", 60, true, false,
         "80 3C 01 23 45 67 89 AB CD E0", "9E 00 91 A2 B3 C4 D5 E6 F0"},
        {"fixed 2 octets aren't aligned", kOctFixed2, "AB CD", 2, true, false, "D5 E6 80", "D5 E6 80"},
        {"fixed 3 are", kOctFixed3, "AB CD EF", 3, true, false, "80 AB CD EF", "D5 E6 F7 80"},
        {"octets SIZE (1..8)", kOct1to8, "AB", 1, true, true, "80 AB 80", "8A B8"},
        {"octets, general length", kOctets, "01 02", 2, true, false, "80 02 01 02", "81 00 81 00"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes value = hex(row.value);
        auto put = [&] {
            _qor_penc_nonneg_int_l(&world, row.lead, row.lead);
            this->put(row.size, value.data(), row.count);
            _qor_penc_nonneg_int_l(&world, row.tail, row.tail);
        };
        pertest::bothVariants([&](bool aligned) {
            for (const auto &named : forms(row.size, row.count)) {
                const Form &form = named.second;
                SCOPED_TRACE(named.first);
                Got g{};
                QorULong tail = 1;
                // Sizing mode, every truncation, and the value read back.
                expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned), put, [&] {
                    _qor_pdec_nonneg_int_l(&world, row.lead ? 1 : 0);
                    form(g);
                    tail = row.tail ? _qor_pdec_nonneg_1int(&world) : 1;
                });
                ASSERT_EQ(g.count, row.count);
                EXPECT_EQ(Bytes(g.data, g.data + value.size()), value);
                EXPECT_EQ(tail, 1u);
                qortest::releaseBlocks(&world);
            }
        });
    }
}

TEST_F(BitStringTest, FragmentsOfLongValues)
{
    const struct {
        const char *name;
        Size size;
        size_t count;
        std::vector<std::pair<size_t, unsigned char>> lengths; // at each octet offset
    } rows[] = {
        {"65536 bits", kBits, 65536, {{0, 0xC4}, {8193, 0x00}}},
        {"a fixed 64K takes lengths", kFixed64K, 65536, {{0, 0xC4}, {8193, 0x00}}},
        {"81923 bits", kBits, 81923, {{0, 0xC4}, {8193, 0xC1}, {10242, 0x03}}},
        {"16384 octets", kOctets, 16384, {{0, 0xC1}, {16385, 0x00}}},
        {"16385 octets", kOctUpTo100K, 16385, {{0, 0xC1}, {16385, 0x01}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes value = valueOf(row.size, row.count);
        auto put = [&] { this->put(row.size, value.data(), static_cast<QorULong>(row.count)); };
        pertest::bothVariants([&](bool aligned) {
            Bytes out;
            ASSERT_EQ(encode(aligned, put, &out), 0);
            ASSERT_EQ(out.size(), value.size() + row.lengths.size());
            for (auto &[at, length] : row.lengths)
                EXPECT_EQ(out[at], length) << at;
            EXPECT_EQ(sized(aligned, put), static_cast<long>(out.size()));
            expectEveryForm(aligned, row.size, out, value, row.count);
        });
    }
}

// Under strict rules a fragment may follow only one of 64K items.
TEST_F(BitStringTest, FragmentGrouping)
{
    const struct {
        Size size;
        std::vector<QorULong> parts; // items; the last closes the value
        int strict;
    } rows[] = {
        {kBits, {65536, 65536, 16384, 5}, 0},
        {kBits, {16384, 16384, 5}, kNotGroupedCode},
        {kOctets, {65536, 16384, 1}, 0},
        {kOctets, {16384, 16384, 1}, kNotGroupedCode},
    };
    for (const auto &row : rows) {
        Bytes input;
        for (QorULong n : row.parts) {
            input.push_back(static_cast<unsigned char>(n >= 16384 ? 0xC0 | n / 16384 : n));
            input.resize(input.size() + octetsOf(row.size, n), 0x5A);
        }
        const Form form = forms(row.size, 0)[0].second;
        Got g{};
        for (bool strict : {false, true}) {
            qortest::setFlag(world.decodingFlags, STRICT_ENCODING_DECODING_RULES, strict);
            EXPECT_EQ(decode(true, input, [&] { form(g); }), strict ? row.strict : 0);
            qortest::releaseBlocks(&world);
        }
        world.decodingFlags = 0;
        EXPECT_TRUE(row.strict == 0 ||
                    messageHas("0258E: Fragments within a PER encoding are not grouped correctly"));
    }
}

// Each form refuses a value it can't hold before reading any of it and
// before taking memory: the caller's array stays as it was.
TEST_F(BitStringTest, LimitsOfEachForm)
{
    const struct {
        const char *name, *input;
        std::function<void()> call;
        int code;
        const char *message;
    } rows[] = {
        {"capacity 16, first fragment 16384", "C1 00", [this] { _qor_pdec_unconstr_vbit_ia(&world, array, 16); },
         kSizeExceededCode, "0016S: Size constraint exceeded, length of value = 16384"},
        {"SIZE (0..20): five bits say 31", "F8 00 00 00 00", [this] { _qor_pdec_constr_vbit_ia(&world, array, 0, 20); },
         kSizeExceededCode, "= 31"},
        {"SIZE (1..5) octets: three bits say 8", "E0", [this] { _qor_pdec_constr_voct_ia(&world, array, 1, 5); },
         kSizeExceededCode, "= 8"},
        {"octet capacity 2", "03 01 02 03", [this] { _qor_pdec_unconstr_voct_ia(&world, array, 2); },
         kSizeExceededCode, "= 3"},
        {"through a pointer, SIZE (0..20)", "F8 00 00 00 00", [this] { _qor_pdec_constr_vbit_ptr_ia(&world, &record, 4, 0, 20); },
         kSizeViolatedCode, "0063S: Size constraint violated, length of value = 31"},
        {"9 bits into one octet", "09 FF 80", [this] { _qor_pdec_unconstr_pbit(&world, &word, 1); },
         kSizeExceededCode, "= 9"},
        {"SIZE (0..32), 17 bits into two octets", "44 FF FF 80", [this] { _qor_pdec_constr_pbit_l(&world, &word, 2, 0, 32); },
         kSizeExceededCode, "= 17"},
        {"fixed 20 into two octets, no input", "", [this] { _qor_pdec_constr_pbit_l(&world, &word, 2, 20, 20); },
         kSizeExceededCode, "= 20"},
        {"17 bits into a 2-octet array", "11 FF FF 80", [this] { _qor_pdec_unconstr_bpbit(&world, array, 2); },
         kSizeExceededCode, "= 17"},
        {"octet capacity 0 reads nothing", "C4", [this] { EXPECT_EQ(_qor_pdec_unconstr_voct_ia(&world, array, 0), 0u); }, 0, ""},
        {"SIZE (0) reads nothing", "", [this] { EXPECT_EQ(_qor_pdec_constr_ubit_ia(&world, &ptr, 0, 0), 0u); }, 0, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        memset(array, 0xA5, 8);
        ptr = array;
        EXPECT_EQ(decode(true, hex(row.input), row.call), row.code);
        EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
        EXPECT_EQ(qortest::blocksListed(&world), 0);
        EXPECT_EQ(Bytes(array, array + 8), Bytes(8, 0xA5)) << "nothing read into the array";
    }
    EXPECT_EQ(ptr, nullptr);
}

// Every form, on fragment headers of every count with too little after
// them, or on a fragmented value cut short at any bit offset, stops with a
// code and its message, before taking memory.
TEST_F(BitStringTest, HostileInput)
{
    struct Cut {
        bool aligned;
        unsigned lead; // bits before the value
        Bytes input;
    };
    std::vector<Cut> cuts;
    for (unsigned m = 1; m <= 7; m++) {
        Bytes header(1 + 2048 * m, 0); // whole fragments of bits, no length after them
        header[0] = static_cast<unsigned char>(0xC0 | m);
        std::fill(header.begin() + 1, header.begin() + 1 + 100 * m, 0xFF);
        cuts.push_back({true, 0, prefix(header, 1 + 100 * m)});
        cuts.push_back({true, 0, header});
    }
    const Bytes value = valueOf(kBits, 81923);
    for (unsigned lead = 0; lead < 8; lead++) {
        Bytes full;
        ASSERT_EQ(encode(false, [&] {
                      _qor_penc_nonneg_int_l(&world, 0, lead);
                      put(kBits, value.data(), 81923);
                  }, &full), 0);
        qortest::releaseBlocks(&world);
        for (size_t n = 0; n < full.size(); n += n < 8 || (n > 8186 && n < 8200) ? 1 : 311)
            cuts.push_back({false, lead, prefix(full, n)});
    }
    for (const Size &s : {kBits, kOctets, kOctUpTo100K, kFixed64K}) {
        for (const auto &named : forms(s, 0)) {
            const Form &form = named.second;
            for (const Cut &cut : cuts) {
                if (cut.lead != 0 && s.unit != 1)
                    continue; // octet strings after a bit string's lead would be misread
                SCOPED_TRACE(named.first + " after " + std::to_string(cut.lead) + " bits, " +
                             std::to_string(cut.input.size()) + " octets");
                Got g{};
                const int code = decode(cut.aligned, cut.input, [&] {
                    _qor_pdec_nonneg_int_l(&world, cut.lead);
                    form(g);
                });
                if (code == pertest::kEndOfInputCode) {
                    EXPECT_TRUE(messageHas("0081S")) << world.errMsgBuffer;
                } else {
                    EXPECT_TRUE(code == kSizeExceededCode || code == kSizeViolatedCode) << code;
                    EXPECT_TRUE(messageHas("Size constraint")) << world.errMsgBuffer;
                }
                EXPECT_EQ(qortest::blocksListed(&world), 0) << "memory taken for input not there";
            }
        }
    }
}

// Named bits stripped of trailing zeros come back up to the size; the
// stray bits of the caller's last octet are cleared.
TEST_F(BitStringTest, PaddedToSize)
{
    const struct {
        QorULong lb, ub, count, padded;
        unsigned char value, after; // the caller's octet, before and after
        const char *aligned, *unaligned;
    } rows[] = {
        {8, 8, 3, 8, 0xE7, 0xE0, "E0", "E0"},           // fixed 8
        {8, 16, 3, 8, 0xE7, 0xE0, "00 E0", "0E 00"},    // SIZE (8..16)
        {8, 100000, 3, 8, 0xE7, 0xE0, "08 E0", "08 E0"}, // a general length
        {4, 4, 8, 4, 0xFF, 0xFF, "F0", "F0"},           // cut to a fixed 4
    };
    for (const auto &row : rows) {
        pertest::bothVariants([&](bool aligned) {
            unsigned char value = row.value;
            Bytes out;
            ASSERT_EQ(encode(aligned, [&] {
                          _qor_penc_constr_bit_l(&world, &value, row.count, row.lb, row.ub, 1, row.padded);
                      }, &out), 0);
            EXPECT_EQ(out, hex(aligned ? row.aligned : row.unaligned)) << row.ub;
            EXPECT_EQ(value, row.after);
        });
    }
    // Not padded, a count outside the bounds is refused.
    unsigned char two[2] = {0xFF, 0xFF};
    EXPECT_EQ(encode(true, [&] { _qor_penc_constr_bit_l(&world, two, 17, 0, 16, 0, 0); }), kSizeViolatedCode);
    EXPECT_TRUE(messageHas("0063S: Size constraint violated, length of value = 17"));
}

// With `lb` 0xFFFFFFFF the value through a pointer is cut to `ub`, and the
// rest of it is read past: the octet after it is AB.
TEST_F(BitStringTest, CutToTheUpperBound)
{
    Bytes fragmented(2049, 0xFF);
    fragmented[0] = 0xC1;
    fragmented.insert(fragmented.end(), {0x08, 0xF8, 0xAB});
    const struct {
        Bytes input;
        QorULong ub, count;
        const char *kept;
    } rows[] = {{hex("10 FF FF AB"), 4, 4, "F0"}, {hex("08 A5 AB"), 12, 8, "A5 00"}, {fragmented, 12, 12, "FF F0"}};
    for (const auto &row : rows) {
        QorULong count = 0, next = 0;
        ASSERT_EQ(decode(true, row.input, [&] {
                      count = _qor_pdec_constr_vbit_ptr_ia(&world, &record, 4, 0xFFFFFFFF, row.ub);
                      next = _qor_pdec_nonneg_8int(&world);
                  }), 0);
        EXPECT_EQ(count, row.count);
        const auto *kept = static_cast<unsigned char *>(record) + 4;
        EXPECT_EQ(Bytes(kept, kept + (row.ub + 7) / 8), hex(row.kept));
        EXPECT_EQ(next, 0xABu);
        qortest::releaseBlocks(&world);
    }
}

// The Bits PDU through the public API; an addition of a later version is
// read past through temporary memory.
TEST_F(BitStringTest, TheBitsPduRoundTrips)
{
    const struct {
        int rules;
        const char *octets;
        int padBits;
    } rows[] = {
        // No additions; flags 3 in five bits, to the octet, '101'B; fixed 20
        // bits, aligned; named 6 bits, then octets 3 as 2 in three bits; to
        // the octet, the octets; blob; word 10 in six bits, to the octet, 10 bits.
        {QOR_PER_ALIGNED, "0C A0 AB CD E0 06 85 00 01 02 03 05 48 65 6C 6C 6F 28 80 40", 6},
        {QOR_PER_UNALIGNED, "0E D5 E6 F0 34 28 04 08 0C 15 21 95 B1 B1 BC A8 04", 2},
    };
    for (const auto &row : rows) {
        world.encRules = row.rules;
        const Bytes octets = hex(row.octets);
        // The value decoded is the one encoded when it encodes to the same octets.
        qortest::expectRoundTrip(&world, PDU_Bits, &bitsExample, octets, [&](void *decoded) {
            EXPECT_EQ(qortest::encodePdu(&world, PDU_Bits, decoded), octets);
        });
        qortest::encodePdu(&world, PDU_Bits, &bitsExample);
        EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits);
    }
    // The extension bit; a bitmap of one addition, present; its open type.
    world.encRules = QOR_PER_ALIGNED;
    Bytes later = hex(rows[0].octets);
    later[0] |= 0x80;
    later.insert(later.end(), {0x40, 0x02, 0xAB, 0xCD});
    void *decoded = nullptr;
    ASSERT_EQ(qortest::decodePdu(&world, later, PDU_Bits, &decoded), 0) << qorGetErrMsg(&world);
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<QorLong>(later.size()));
    EXPECT_EQ(qortest::encodePdu(&world, PDU_Bits, decoded), hex(rows[0].octets));
    EXPECT_EQ(qorFreePDU(&world, PDU_Bits, decoded), 0);
}

// Generated code grows a fragmented SEQUENCE OF part by part: the array
// lives in temporary memory until the last part moves it to decoder memory.
TEST_F(BitStringTest, SequenceOfFragmentsGrowThenSettle)
{
    const struct {
        QorULong header;
        std::vector<QorULong> parts; // octets of the array after each part
        size_t buffer;               // a caller's temporary buffer, or none
        int code;
    } rows[] = {
        {0, {16, 48, 4000, 4016}, 0, 0},
        {8, {16, 48, 4000, 4016}, 0, 0},
        {8, {131072, 140000}, 0, 0}, // 70000 elements of 2 octets
        {8, {131072, 140000}, 140000, 0},
        {8, {131072, 140000}, 100000, kTempBufferCode},
        {0, {32768, 65536, 98304, 100000}, 300000, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.parts.back() << " in a buffer of " << row.buffer);
        std::vector<unsigned char> buffer(row.buffer);
        if (row.buffer != 0)
            useTemporaryBuffer(buffer.data(), static_cast<QorLong>(buffer.size()));
        void *items = nullptr;
        QorULong old = 0;
        const int code = framed(QOR_OP_DECODE, [&] {
            for (size_t p = 0; p < row.parts.size(); p++) {
                unsigned char done = p + 1 == row.parts.size();
                if (row.header != 0)
                    _qor_pdec_array_frg(&world, &items, row.parts[p], old, row.header, &done);
                else
                    _qor_pdec_unbnd_frg(&world, &items, row.parts[p], old, &done);
                for (QorULong i = old; i < row.parts[p]; i++)
                    static_cast<unsigned char *>(items)[row.header + i] = static_cast<unsigned char>(i * 7);
                old = row.parts[p];
            }
        });
        useTemporaryBuffer(nullptr, 0);
        ASSERT_EQ(code, row.code);
        if (code != 0) {
            EXPECT_TRUE(messageHas("0132S: Buffer provided for temporary memory is too small"));
            continue;
        }
        for (QorULong i = 0; i < old; i++)
            ASSERT_EQ(static_cast<unsigned char *>(items)[row.header + i], static_cast<unsigned char>(i * 7));
        EXPECT_EQ(world.tempBlockList, nullptr) << "temporary memory given back";
        qortest::releaseBlocks(&world);
    }
    // An empty last part of an unbounded array does nothing.
    void *array = reinterpret_cast<void *>(0x1);
    unsigned char done = 1;
    ASSERT_EQ(framed(QOR_OP_DECODE, [&] { _qor_pdec_unbnd_frg(&world, &array, 0, 0, &done); }), 0);
    EXPECT_EQ(array, reinterpret_cast<void *>(0x1));
}

} // namespace
