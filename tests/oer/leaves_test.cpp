// The OER primitives with a content of their own, called directly: bit
// strings, character strings, object identifiers, REAL and times, as
// tables of octets with the refusals and their return codes.
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "oer_support.h"

namespace {

using oertest::Bytes;
using qortest::hex;

constexpr int kSizeViolatedCode = 17; // message 27
constexpr int kTooLongCode = 10;      // messages 42, 70 and 97
constexpr int kBadTimeCode = 12;      // messages 72 to 78
constexpr int kSizeExceededCode = 16; // message 79
constexpr int kMisencodedCode = 5;    // messages 83, 87, 102, 105 to 108, 135, 140

class OerLeaves : public oertest::OerTest {
protected:
    // The code of decoding `octets` by `body`, and its message's start.
    void expectRefused(const Bytes &octets, const std::function<void()> &body, int code,
                       const char *message)
    {
        EXPECT_EQ(decode(octets, body), code);
        if (code != 0) {
            EXPECT_TRUE(messageHas(message)) << world.errMsgBuffer;
        }
    }
};

Bytes withLength(const std::string &text)
{
    Bytes out(text.size() + 1);
    out[0] = static_cast<unsigned char>(text.size());
    for (size_t i = 0; i < text.size(); i++)
        out[i + 1] = static_cast<unsigned char>(text[i]);
    return out;
}

Bytes octetsOf(const unsigned char *p, size_t n) { return n == 0 ? Bytes{} : Bytes(p, p + n); }

// ---------------------------------------------------------------- bit strings

enum BitForm { kBigPadded, kPadded, kUnbounded, kNamedBigPadded, kNamedPadded, kNamedUnbounded,
               kNamedVarying, kNamedVaryingPtr, kByLength };

struct BitRow {
    BitForm form;
    QorULong capacity;
    const char *octets;
    int code;
    const char *message; // or the value's octets (for kPadded its integer, in hex)
    QorULong bits;
};

TEST_F(OerLeaves, BitStringsInEveryForm)
{
    const BitRow rows[] = {
        {kUnbounded, 0, "01 00", 0, "", 0},
        {kUnbounded, 0, "02 07 80", 0, "80", 1},
        {kUnbounded, 0, "02 07 FF", 0, "FF", 1}, // unused bits are not looked at
        {kUnbounded, 0, "01 03", kMisencodedCode, "0035E", 0},
        {kUnbounded, 0, "02 08 00", kMisencodedCode, "0035E", 0},
        {kUnbounded, 0, "00", kMisencodedCode, "0037E", 0},
        {kUnbounded, 0, "03 00 AB", oertest::kEndOfInputCode, "0081S", 0},
        {kBigPadded, 16, "02 04 A0", 0, "A0 00", 4},
        {kBigPadded, 8, "03 00 E0 00", kSizeViolatedCode, "0063S", 0},
        {kPadded, 8, "02 00 AB", 0, "AB", 8},
        {kPadded, 16, "03 00 12 34", 0, "1234", 16},
        {kPadded, 24, "04 00 12 34 56", 0, "12345600", 24},
        {kPadded, 32, "05 00 12 34 56 78", 0, "12345678", 32},
        {kNamedPadded, 8, "03 00 E0 00", 0, "E0", 8},
        {kNamedPadded, 8, "03 00 E0 80", kSizeViolatedCode, "0063S", 0},
        {kNamedBigPadded, 8, "03 00 E0 00", 0, "E0", 8},
        {kNamedBigPadded, 3, "02 00 F0", kSizeViolatedCode, "0063S", 0},
        {kNamedBigPadded, 4, "03 04 F0 0F", 0, "F0", 4}, // the last octet's unused bits pass
        {kNamedUnbounded, 8, "03 00 E0 00", 0, "E0", 8},
        {kNamedUnbounded, 0, "03 00 E0 00", 0, "E0 00", 16},
        {kNamedUnbounded, 8, "03 00 E0 01", kSizeViolatedCode, "0063S", 0},
        {kNamedVarying, 8, "03 00 E0 00", 0, "E0", 8},
        {kNamedVarying, 8, "03 00 E0 80", kTooLongCode, "0080E", 0},
        {kNamedVaryingPtr, 8, "03 00 E0 80", kTooLongCode, "0080E", 0},
        {kNamedVaryingPtr, 16, "02 05 E0", 0, "E0", 3},
        // The caller's length: the unused octet and the octets after it.
        {kByLength, 8, "04 AB", 0, "AB", 4},
        {kByLength, 0, "03", kMisencodedCode, "0035E", 0},
        {kByLength, 8, "08 00", kMisencodedCode, "0035E", 0},
        {kByLength, 16, "00 00", oertest::kEndOfInputCode, "0081S", 0},
    };
    for (const BitRow &row : rows) {
        SCOPED_TRACE(row.octets);
        unsigned char target[8];
        memset(target, 0xEE, sizeof target);
        unsigned char *result = nullptr;
        QorULong bits = 0;
        QorULong integer = 0;
        const size_t room = (row.capacity + 7) / 8;
        expectRefused(hex(row.octets), [&] {
            switch (row.form) {
            case kBigPadded: return _qor_odec_bit_big_padded(&world, target, row.capacity);
            case kNamedBigPadded: return _qor_odec_named_bit_big_padded(&world, target, row.capacity);
            case kPadded: integer = _qor_odec_bit_padded(&world, row.capacity); return;
            case kNamedPadded: integer = _qor_odec_named_bit_padded(&world, row.capacity); return;
            case kUnbounded: bits = _qor_odec_bit_unbounded(&world, &result); return;
            case kNamedUnbounded:
                bits = _qor_odec_named_bit_unbounded(&world, &result, row.capacity);
                return;
            case kNamedVarying: bits = _qor_odec_named_bit_varying(&world, target, row.capacity); return;
            case kByLength: bits = _qor_odec_bits_by_len(&world, target, static_cast<QorULong>(room)); return;
            case kNamedVaryingPtr: {
                void *record = nullptr;
                bits = _qor_odec_named_bit_varying_ptr(&world, &record, 2, row.capacity);
                result = static_cast<unsigned char *>(record) + 2;
                return;
            }
            }
        }, row.code, row.message);
        if (row.code != 0)
            continue;
        switch (row.form) {
        case kPadded:
        case kNamedPadded:
            EXPECT_EQ(integer, std::stoul(row.message, nullptr, 16));
            break;
        case kBigPadded:
        case kNamedBigPadded:
            EXPECT_EQ(octetsOf(target, room), hex(row.message));
            break;
        case kNamedVarying:
        case kByLength:
            EXPECT_EQ(bits, row.bits);
            EXPECT_EQ(octetsOf(target, (bits + 7) / 8), hex(row.message));
            break;
        default:
            EXPECT_EQ(bits, row.bits);
            EXPECT_EQ(octetsOf(result, (bits + 7) / 8), hex(row.message));
            EXPECT_EQ(result == nullptr, bits == 0 && row.form != kNamedVaryingPtr);
        }
    }
}

TEST_F(OerLeaves, BitStringsWritten)
{
    const unsigned char bits[] = {0xFF, 0xAB, 0xCD};
    expectCoded(hex("01 00"), [&] { _qor_oenc_bit_unbounded(&world, nullptr, 0); }, nullptr);
    expectCoded(hex("02 07 80"), [&] { _qor_oenc_bit_unbounded(&world, bits, 1); }, nullptr);
    expectCoded(hex("03 04 FF A0"), [&] { _qor_oenc_bit_padded(&world, bits, 12); }, nullptr);
    expectCoded(hex("FF A0 00 00"), [&] { _qor_oenc_bit_unbounded_fixed(&world, bits, 12, 32); },
                nullptr);
    EXPECT_EQ(encode([&] { _qor_oenc_bit_unbounded_fixed(&world, bits, 13, 12); }), kSizeViolatedCode);
    // 127 octets take a long length; the value reads back whole.
    std::vector<unsigned char> many(127, 0x5A);
    Bytes want = hex("81 80 00");
    want.insert(want.end(), many.begin(), many.end());
    QorULong got = 0;
    unsigned char *result = nullptr;
    expectCoded(want, [&] { _qor_oenc_bit_unbounded(&world, many.data(), 127 * 8); },
                [&] { got = _qor_odec_bit_unbounded(&world, &result); });
    EXPECT_EQ(got, 127u * 8);
}

// ---------------------------------------------------------------- strings

TEST_F(OerLeaves, PaddedAndUnboundedStrings)
{
    const struct {
        const char *octets;
        int code;
        const char *value; // the array of 5, or the message
    } rows[] = {
        {"07 41 42 43 44 45 20 20", 0, "ABCDE"},
        {"03 41 42 43", 0, "ABC  "},
        {"00", 0, "     "},
        {"07 41 42 43 44 45 46 47", kSizeExceededCode, "0016S"},
        {"06 41 42 43 44 45 46", kSizeExceededCode, "0016S"},
        {"06 41 42 43", oertest::kEndOfInputCode, "0081S"},
    };
    for (const auto &row : rows) {
        char target[5];
        expectRefused(hex(row.octets), [&] { _qor_odec_string_padded(&world, target, 5); },
                      row.code, row.value);
        if (row.code == 0) {
            EXPECT_EQ(std::string(target, 5), row.value);
            EXPECT_EQ(read, static_cast<long>(hex(row.octets).size())) << "consumed whole";
        }
    }
    unsigned char *text = nullptr;
    QorULong n = 1;
    expectRefused(hex("00"), [&] { n = _qor_odec_string_unbounded(&world, &text); }, 0, "");
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(text, nullptr);
    expectRefused(hex("02 61 62"), [&] { n = _qor_odec_string_unbounded(&world, &text); }, 0, "");
    EXPECT_EQ(octetsOf(text, n), hex("61 62"));
    unsigned char three[3];
    expectRefused(hex("61 62"), [&] { _qor_odec_read_octets(&world, three, 3); },
                  oertest::kEndOfInputCode, "0081S");
    expectRefused(Bytes{}, [&] { _qor_odec_read_octets(&world, three, 0); }, 0, "");
}

TEST_F(OerLeaves, WideCharacters)
{
    const uint16_t bmp[] = {0x41, 0x3A9};
    const QorULong uni[] = {0x1F600};
    expectCoded(hex("00 41 03 A9"), [&] { _qor_oenc_bmpstr(&world, bmp, 2); }, nullptr);
    expectCoded(hex("00 01 F6 00"), [&] { _qor_oenc_unistr(&world, uni, 1); }, nullptr);
    uint16_t *chars = nullptr;
    QorULong *wide = nullptr;
    QorULong n = 0;
    expectRefused(hex("04 00 41 03 A9"), [&] { n = _qor_odec_bmp_string(&world, &chars); }, 0, "");
    ASSERT_EQ(n, 2u);
    EXPECT_EQ(chars[1], 0x3A9);
    expectRefused(hex("03 00 41 00"), [&] { _qor_odec_bmp_string(&world, &chars); },
                  kMisencodedCode, "0136E");
    expectRefused(hex("06 00 01 F6 00 00 41"), [&] { _qor_odec_universal_string(&world, &wide); },
                  kMisencodedCode, "0136E");
    uint16_t pair[2];
    QorULong quad[1];
    expectRefused(hex("00 41 03 A9"), [&] { _qor_odec_fixed_bmp_string(&world, pair, 2); }, 0, "");
    EXPECT_EQ(pair[1], 0x3A9);
    expectRefused(hex("00 01 F6"), [&] { _qor_odec_fixed_universal_string(&world, quad, 1); },
                  oertest::kEndOfInputCode, "0081S");
}

TEST_F(OerLeaves, Utf8)
{
    const uint16_t bmp[] = {0xE9, 0x20AC};
    expectCoded(hex("05 C3 A9 E2 82 AC"), [&] { _qor_oenc_utf8_string_bmp(&world, bmp, 2); }, nullptr);
    const QorULong surrogate[] = {0x41, 0xD800};
    EXPECT_EQ(encode([&] { _qor_oenc_utf8_string_universal(&world, surrogate, 2); }), kMisencodedCode);
    EXPECT_TRUE(messageHas("0119S")) << world.errMsgBuffer;

    // Characters of three octets across block ends, in every output mode.
    std::vector<QorULong> euros(400, 0x20AC);
    Bytes want = hex("82 04 B0");
    for (size_t i = 0; i < euros.size(); i++)
        for (unsigned char c : {0xE2, 0x82, 0xAC})
            want.push_back(c);
    QorULong *wide = nullptr;
    QorULong n = 0;
    expectCoded(want, [&] { _qor_oenc_utf8_string_universal(&world, euros.data(), 400); },
                [&] { n = _qor_odec_utf8_string_universal(&world, &wide); });
    ASSERT_EQ(n, 400u);
    EXPECT_EQ(wide[399], 0x20AC);

    // Beyond 16 bits a BMP character keeps its low bits; bad sequences.
    uint16_t *chars = nullptr;
    expectRefused(hex("05 F0 9F 98 80 41"), [&] { n = _qor_odec_utf8_string_bmp(&world, &chars); }, 0, "");
    ASSERT_EQ(n, 2u);
    EXPECT_EQ(chars[0], 0xF600);
    for (const char *bad : {"02 C3 28", "01 80", "02 E2 82", "01 FE"})
        expectRefused(hex(bad), [&] { _qor_odec_utf8_string_bmp(&world, &chars); }, kMisencodedCode,
                      "0120S");
    expectRefused(hex("00"), [&] { n = _qor_odec_utf8_string_bmp(&world, &chars); }, 0, "");
    EXPECT_EQ(chars, nullptr);
}

// ---------------------------------------------------------------- object identifiers

enum OidForm { kArrayI, kArrayS, kListI, kListS, kUnboundedL };

// `arcs` in a list of generated code's nodes, linked in order.
template <class Node> std::vector<Node> nodesOf(const std::vector<QorULong> &arcs)
{
    std::vector<Node> nodes(arcs.size());
    for (size_t i = 0; i < arcs.size(); i++)
        nodes[i] = {i + 1 < arcs.size() ? &nodes[i + 1] : nullptr, static_cast<decltype(Node::value)>(arcs[i])};
    return nodes;
}

TEST_F(OerLeaves, IdentifiersWritten)
{
    const struct {
        std::vector<QorULong> arcs;
        const char *octets; // or the refusal's message
    } rows[] = {
        {{1, 2, 840, 113549}, "06 2A 86 48 86 F7 0D"},
        {{2, 999}, "02 88 37"},
        {{0, 0}, "01 00"},
        {{0, 0, 26}, "02 00 1A"},
        {{2, 0xFFFFFFAF}, "05 8F FF FF FF 7F"},
        {{0, 0, 27}, nullptr},
        {{0, 0, 0}, nullptr},
        {{3, 1}, nullptr},
        {{1, 40}, nullptr},
        {{2, 0xFFFFFFB0}, nullptr},
        {{1}, nullptr},
    };
    for (const auto &row : rows) {
        const std::vector<QorObjidNode> list = nodesOf<QorObjidNode>(row.arcs);
        const std::vector<QorObjidNodeShort> shortList = nodesOf<QorObjidNodeShort>(row.arcs);
        std::vector<uint16_t> shortArcs(row.arcs.begin(), row.arcs.end());
        bool fitsShort = true;
        for (QorULong arc : row.arcs)
            fitsShort = fitsShort && arc <= 0xFFFF;
        const auto count = static_cast<QorLong>(row.arcs.size());
        for (OidForm form : {kArrayI, kArrayS, kListI, kListS, kUnboundedL}) {
            if (!fitsShort && (form == kArrayS || form == kListS))
                continue;
            SCOPED_TRACE(testing::Message() << row.arcs[0] << " form " << form);
            auto put = [&] {
                switch (form) {
                case kArrayI: return _qor_oenc_oid_array_i(&world, row.arcs.data(), count);
                case kArrayS: return _qor_oenc_oid_array_s(&world, shortArcs.data(), count);
                case kListI: return _qor_oenc_oid_linked_i(&world, list.data(), offsetof(QorObjidNode, value));
                case kListS:
                    return _qor_oenc_oid_linked_s(&world, shortList.data(), offsetof(QorObjidNodeShort, value));
                case kUnboundedL: return _qor_oenc_oid_unbounded_l(&world, row.arcs.data(), count);
                }
            };
            if (row.octets != nullptr) {
                expectCoded(hex(row.octets), put, nullptr);
            } else {
                Bytes out;
                EXPECT_EQ(encode(put, &out), kTooLongCode);
                EXPECT_TRUE(messageHas("0010S")) << world.errMsgBuffer;
                EXPECT_TRUE(out.empty()) << "checked before writing";
            }
        }
    }
}

enum OidReader { kReadArrayI, kReadArrayS, kReadRecordI, kReadRecordS, kReadListI, kReadListS,
                 kReadNewI, kReadNewS, kReadEncoded };

// Every reader over one input, with a capacity of 4 where the form has one.
TEST_F(OerLeaves, IdentifiersRead)
{
    // 10 000 octets of contents, nearly all one arc that grows past any width.
    Bytes longArc = hex("82 27 10 2A");
    longArc.insert(longArc.end(), 9998, 0x81);
    longArc.push_back(0x01);
    const struct {
        Bytes octets;
        bool shortOnly; // the refusal is the 16-bit readers' alone
        int code;
        const char *message;
    } rows[] = {
        {hex("06 2A 86 48 86 F7 0D"), true, kTooLongCode, "0025E"},
        {hex("04 2A 83 FF 7F"), false, 0, ""},   // 1.2.65535
        {hex("04 2A 84 80 00"), true, kTooLongCode, "0025E"}, // 1.2.65536
        {hex("06 2A 90 80 80 80 00"), false, kTooLongCode, "0025E"}, // past 32 bits
        {hex("05 2A 01 02 03 04"), false, kSizeExceededCode, "0016S"}, // five arcs
        {hex("00"), false, kMisencodedCode, "0037E"},
        {hex("02 2A 86"), false, kMisencodedCode, "0037E"},
        {hex("84 FF FF FF FF 2A"), false, oertest::kEndOfInputCode, "0081S"},
        {longArc, false, kTooLongCode, "0025E"},
    };
    for (const auto &row : rows) {
        for (int r = kReadArrayI; r <= kReadEncoded; r++) {
            const auto reader = static_cast<OidReader>(r);
            const bool isShort = reader == kReadArrayS || reader == kReadRecordS ||
                                 reader == kReadListS || reader == kReadNewS;
            const bool capped = reader == kReadArrayI || reader == kReadArrayS ||
                                reader == kReadListI || reader == kReadListS;
            SCOPED_TRACE(testing::Message() << row.octets.size() << " octets, reader " << r);
            int code = row.shortOnly && !isShort ? 0 : row.code;
            if (row.code == kSizeExceededCode && !capped)
                code = 0;
            if (reader == kReadEncoded && row.code == kTooLongCode)
                code = 0; // the contents are kept as they stand
            QorULong arcs[4];
            uint16_t shortArcs[4];
            void *out = nullptr;
            QorObjidNode *list = nullptr;
            QorObjidNodeShort *shortList = nullptr;
            QorULong *newArcs = nullptr;
            uint16_t *newShort = nullptr;
            expectRefused(row.octets, [&] {
                switch (reader) {
                case kReadArrayI: _qor_odec_oid_array_i(&world, arcs, 4); return;
                case kReadArrayS: _qor_odec_oid_array_s(&world, shortArcs, 4); return;
                case kReadRecordI: out = _qor_odec_oid_array_l_ptr(&world, 4); return;
                case kReadRecordS: out = _qor_odec_oid_array_s_ptr(&world, 2); return;
                case kReadListI: _qor_odec_oid_linked_l(&world, &list, 4); return;
                case kReadListS: _qor_odec_oid_linked_s(&world, &shortList, 4); return;
                case kReadNewI: _qor_odec_oid_unbounded_i(&world, &newArcs); return;
                case kReadNewS: _qor_odec_oid_unbounded_s(&world, &newShort); return;
                case kReadEncoded: _qor_odec_oid_encoded(&world, &out, 0); return;
                }
            }, code, row.message);
        }
    }
}

TEST_F(OerLeaves, IdentifierValues)
{
    const Bytes rsa = hex("06 2A 86 48 86 F7 0D");
    QorULong arcs[6];
    memset(arcs, 0xEE, sizeof arcs);
    QorLong n = 0;
    expectRefused(rsa, [&] { n = _qor_odec_oid_array_i(&world, arcs, 6); }, 0, "");
    EXPECT_EQ(std::vector<QorULong>(arcs, arcs + 6), (std::vector<QorULong>{1, 2, 840, 113549, 0, 0}));
    EXPECT_EQ(n, 4);
    void *record = nullptr;
    expectRefused(rsa, [&] { record = _qor_odec_oid_array_i_ptr(&world, 4); }, 0, "");
    uint16_t count;
    memcpy(&count, record, sizeof count);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(static_cast<QorULong *>(record)[1 + 3], 113549u);
    QorObjidNode *list = nullptr;
    expectRefused(hex("02 88 37"), [&] { _qor_odec_oid_linked_i(&world, &list, 0); }, 0, "");
    ASSERT_NE(list, nullptr);
    ASSERT_NE(list->next, nullptr);
    EXPECT_EQ(list->value, 2u);
    EXPECT_EQ(list->next->value, 999u);
    EXPECT_EQ(list->next->next, nullptr);
    unsigned char contents[3];
    expectRefused(hex("03 81 00 05"), [&] { n = _qor_odec_oid_encoded(&world, contents, 2); },
                  kSizeExceededCode, "0016S");
    expectRefused(hex("03 81 00 05"), [&] { n = _qor_odec_oid_encoded(&world, contents, 3); }, 0, "");
    EXPECT_EQ(octetsOf(contents, 3), hex("81 00 05"));
    // Relaxed rules take an empty identifier: no arcs, the array cleared.
    world.ruleBits |= QOR_RULE_RELAXED;
    expectRefused(hex("00"), [&] { n = _qor_odec_oid_array_i(&world, arcs, 6); }, 0, "");
    EXPECT_EQ(n, 0);
    EXPECT_EQ(arcs[0], 0u);
    world.ruleBits &= ~QOR_RULE_RELAXED;
}

// ---------------------------------------------------------------- REAL

TEST_F(OerLeaves, RealWritten)
{
    const struct {
        double value;
        const char *octets;
    } doubles[] = {
        {1.5, "03 31 2E 35"},
        {0.0, "00"},
        {-0.0, "02 2D 30"},
        {DBL_MAX, "0D 50 4C 55 53 2D 49 4E 46 49 4E 49 54 59"},
        {-HUGE_VAL, "0E 4D 49 4E 55 53 2D 49 4E 46 49 4E 49 54 59"},
        {NAN, "0C 4E 4F 54 2D 41 2D 4E 55 4D 42 45 52"},
        {M_PI, "07 33 2E 31 34 31 35 39"},
        {-2.5e-10, "08 2D 32 2E 35 65 2D 31 30"},
    };
    // The same octets under a locale with a decimal comma.
    for (const char *locale : {"C", "de_DE.utf8"}) {
        if (setlocale(LC_ALL, locale) == nullptr)
            continue;
        for (const auto &row : doubles)
            expectCoded(hex(row.octets), [&] { _qor_oenc_real(&world, row.value); }, nullptr);
    }
    setlocale(LC_ALL, "C");
    const struct {
        const char *text;
        const char *octets;
        const char *message; // of the refusal, when there are no octets
    } texts[] = {
        {"PLUS_INFINITY", "0D 50 4C 55 53 2D 49 4E 46 49 4E 49 54 59", nullptr},
        {"NOT_A_NUMBER", "0C 4E 4F 54 2D 41 2D 4E 55 4D 42 45 52", nullptr},
        {"-0", "02 2D 30", nullptr},
        {"  0", "00", nullptr},
        {" 1,5E3", "06 20 31 2C 35 45 33", nullptr},
        {"PLUS-INFINITY", nullptr, "0091E"},
        {"Mx", nullptr, "0091E"},
        {"1.5x", nullptr, "0091E"},
        {"1.5 ", nullptr, "0091E"},
        {"E5", nullptr, "0038E"},
        {"-", nullptr, "0038E"},
        {"1e", nullptr, "0039E"},
    };
    for (const auto &row : texts) {
        SCOPED_TRACE(row.text);
        auto put = [&] { _qor_oenc_real_decimal(&world, row.text); };
        if (row.octets != nullptr) {
            expectCoded(hex(row.octets), put, nullptr);
        } else {
            EXPECT_EQ(encode(put), kMisencodedCode);
            EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
        }
    }
}

TEST_F(OerLeaves, RealRead)
{
    const struct {
        std::string text;
        int code;
        double value;
        const char *asText; // `_qor_odec_real_decimal`, or the refusal's message
    } rows[] = {
        {"", 0, 0.0, "0"},
        {"1.5", 0, 1.5, "1.5"},
        {" 2,5", 0, 2.5, " 2,5"},
        {"-0", 0, -0.0, "-0"},
        {"1E999", 0, DBL_MAX, "1E999"}, // saturated on purpose, not refused
        {"-1E999", 0, -DBL_MAX, "-1E999"},
        {"1E-999", 0, 0.0, "1E-999"},
        {"PLUS-INFINITY", 0, DBL_MAX, "PLUS_INFINITY"},
        {"MINUS-INFINITY", 0, -DBL_MAX, "MINUS_INFINITY"},
        {"PLUS_INFINITY", kMisencodedCode, 0, "0037E"},
        {"PLUS-INFINITY ", kMisencodedCode, 0, "0037E"},
        {"1.5x", kMisencodedCode, 0, "0037E"},
        {"-E5", kMisencodedCode, 0, "0038E"},
        {"1E", kMisencodedCode, 0, "0039E"},
    };
    for (const char *locale : {"C", "de_DE.utf8"}) {
        if (setlocale(LC_ALL, locale) == nullptr)
            continue;
        for (const auto &row : rows) {
            SCOPED_TRACE(row.text);
            double d = 1;
            float f = 1;
            char *text = nullptr;
            QorMixedReal mixed{};
            expectRefused(withLength(row.text), [&] { d = _qor_odec_real_double(&world); }, row.code,
                          row.asText);
            expectRefused(withLength(row.text), [&] { f = _qor_odec_real_float(&world); }, row.code,
                          row.asText);
            expectRefused(withLength(row.text), [&] { text = _qor_odec_real_decimal(&world); },
                          row.code, row.asText);
            if (row.code != 0)
                continue;
            EXPECT_EQ(d, row.value);
            EXPECT_EQ(std::signbit(d), std::signbit(row.value));
            EXPECT_EQ(f, std::fabs(row.value) == DBL_MAX ? std::copysign(FLT_MAX, row.value)
                                                         : static_cast<float>(row.value));
            EXPECT_STREQ(text, row.asText);
            expectRefused(withLength(row.text), [&] { EXPECT_EQ(_qor_odec_real_mixed(&world, &mixed), 1); },
                          0, "");
            EXPECT_EQ(mixed.kind, 1);
            EXPECT_STREQ(mixed.value.decimal.text, row.asText);
        }
    }
    setlocale(LC_ALL, "C");
    double nan = 0;
    expectRefused(withLength("NOT-A-NUMBER"), [&] { nan = _qor_odec_real_double(&world); }, 0, "");
    EXPECT_TRUE(std::isnan(nan));
}

// ---------------------------------------------------------------- times

TEST_F(OerLeaves, ClassicTimes)
{
    const GeneralizedTime when = {2001, 2, 3, 4, 5, 6, 500, 0, 1};
    const GeneralizedTime local = {1999, 12, 31, 23, 59, 58, 0, -90, 0};
    GeneralizedTime got{};
    expectCoded(withLength("20010203040506.5Z"), [&] { _qor_oenc_gtime(&world, &when); },
                [&] { _qor_odec_gtime(&world, &got); });
    EXPECT_EQ(got.millisec, 500);
    EXPECT_EQ(got.utc, 1);
    const GeneralizedTime whole = {2001, 2, 3, 4, 5, 6, 0, 0, 1};
    expectCoded(withLength("010203040506Z"), [&] { _qor_oenc_utime(&world, &whole); }, nullptr);
    EXPECT_EQ(encode([&] { _qor_oenc_utime(&world, &when); }), kBadTimeCode) << "no fraction";
    expectCoded(withLength("991231235958-0130"), [&] { _qor_oenc_utime(&world, &local); },
                [&] { _qor_odec_utime(&world, &got); });
    EXPECT_EQ(got.mindiff, -90);
    const GeneralizedTime badMonth = {2001, 13, 3, 4, 5, 6, 0, 0, 1};
    EXPECT_EQ(encode([&] { _qor_oenc_gtime(&world, &badMonth); }), kBadTimeCode);
    const struct {
        const char *text;
        bool utc;
        int code;
        const char *message;
    } refused[] = {
        {"200", false, kMisencodedCode, "0031S"},
        {"9", true, kMisencodedCode, "0031S"},
        {"2001020x", false, kMisencodedCode, "0037E"},
        {"20011303Z", false, kBadTimeCode, "Month = 13"},
        {"0102030405Z", true, 0, ""}, // PER's rules take a UTCTime without seconds
    };
    for (const auto &row : refused)
        expectRefused(withLength(row.text),
                      [&] { (row.utc ? _qor_odec_utime : _qor_odec_gtime)(&world, &got); }, row.code,
                      row.message);
}

TEST_F(OerLeaves, TimeTypesAsText)
{
    const struct {
        int kind;
        const char *text;
        const char *wire;
    } rows[] = {
        {31, "2001-02-03", "20010203"},
        {32, "04:05:06", "040506"},
        {33, "2001-02-03T04:05:06", "20010203040506"},
        {34, "P1Y2M", "1Y2M"},
        {14, "2001-W05", "2001-W05"},
    };
    for (const auto &row : rows) {
        char *text = nullptr;
        expectCoded(withLength(row.wire), [&] { _qor_oenc_date_time(&world, row.text, row.kind); },
                    [&] { _qor_odec_date_time(&world, &text, row.kind); });
        EXPECT_STREQ(text, row.text);
    }
    char *text = nullptr;
    expectRefused(withLength("2001020"), [&] { _qor_odec_date_time(&world, &text, 31); },
                  kBadTimeCode, "0012S");
    expectRefused(hex("00"), [&] { _qor_odec_date_time(&world, &text, 34); }, kMisencodedCode, "0037E");
    expectRefused(withLength("x"), [&] { _qor_odec_date_time(&world, &text, 35); }, kBadTimeCode, "0012S");
    EXPECT_EQ(encode([&] { _qor_oenc_date_time(&world, "2001", 30); }), kBadTimeCode);

    // 200 octets go through the staging buffer whole; unchecked, the
    // short forms refuse more than 128.
    std::string longText(200, '-');
    longText += "20010203";
    Bytes wire = withLength("20010203");
    expectCoded(wire, [&] { _qor_oenc_date_time(&world, longText.c_str(), 31); }, nullptr);
    std::string time(200, '7');
    Bytes timeWire = hex("81 C8");
    timeWire.insert(timeWire.end(), time.begin(), time.end());
    expectCoded(timeWire, [&] { _qor_oenc_date_time(&world, time.c_str(), 14); },
                [&] { _qor_odec_date_time(&world, &text, 14); });
    EXPECT_EQ(text, time);
    world.encodingFlags |= NOCONSTRAIN;
    EXPECT_EQ(encode([&] { _qor_oenc_date_time(&world, longText.c_str(), 31); }), kBadTimeCode);
    expectCoded(timeWire, [&] { _qor_oenc_date_time(&world, time.c_str(), 14); }, nullptr);
    world.encodingFlags &= ~NOCONSTRAIN;
}

} // namespace
