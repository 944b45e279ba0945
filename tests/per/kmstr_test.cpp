// Known-multiplier strings in PER, called as generated code calls them:
// reference encodings in both variants, the alignment thresholds, fragments,
// every decoder memory form, and hostile input (truncation, bad indexes,
// lengths that would allocate without input).
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "per/per_support.h"

namespace {

using qortest::Bytes;
using qortest::hex;

// A permitted alphabet of the characters of `chars`, in that order.
struct Alphabet {
    std::string chars;
    unsigned char encode[128];
    QorPermittedAlphabet record;
    explicit Alphabet(const std::string &text) : chars(text)
    {
        memset(encode, 0xFF, sizeof encode);
        for (size_t i = 0; i < chars.size(); i++)
            encode[static_cast<unsigned char>(chars[i])] = static_cast<unsigned char>(i);
        record = {static_cast<QorULong>(chars.size()), chars.data(), encode, 0};
    }
};

const Alphabet kUpper("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
const Alphabet kNumeric(" 0123456789");
const Alphabet kOnlyX("x");

// Aligned width 8 as codes, unaligned width 5 as indexes.
const QorStringDescriptor kUpperSized{&kUpper.record, 1, 8, 8, 0x80 | 8 | (5 << 8)};
const QorStringDescriptor kNumericSized{&kNumeric.record, 1, 10, 10, 4 | (4 << 8)};
// IA5String without constraints: 8 bits aligned, 7 unaligned, codes.
const QorStringDescriptor kIa5{nullptr, 1, 0, 100, 0x88 | (0x87 << 8)};
const QorStringDescriptor kIa5Fixed2{nullptr, 2, 2, 2, 0x88 | (0x88 << 8)};
const QorStringDescriptor kIa5Fixed3{nullptr, 3, 3, 3, 0x88 | (0x88 << 8)};
const QorStringDescriptor kIa5Upto2{nullptr, 0, 2, 2, 0x88 | (0x88 << 8)};
const QorStringDescriptor kIa5Ext{nullptr, 1, 4, 10, 0x88 | (0x87 << 8) | 0x20000};
const QorStringDescriptor kOneChar{&kOnlyX.record, 1, 0, 100, 0};
const QorStringDescriptor kTime{&kNumeric.record, 1, 0, 30, 4 | (4 << 8) | 0x10000};

class KmstrTest : public pertest::PerTest {
protected:
    // Encodes into library blocks; returns the code, the octets in `out`.
    int encode(const QorStringDescriptor &desc, bool aligned, const std::string &text,
               Bytes &out, unsigned char mark = 0)
    {
        const char *chars = text.data();
        const auto count = static_cast<QorULong>(text.size());
        int code = PerTest::encode(
            aligned, [&] { _qor_penc_kmstr(&world, chars, count, &desc, mark); }, &out);
        qortest::releaseBlocks(&world);
        return code;
    }

    // Decodes `input` by every memory form that can hold `text`, expecting it.
    void expectEveryForm(const QorStringDescriptor &desc, bool aligned, const Bytes &input,
                         const std::string &text)
    {
        const auto n = static_cast<QorLong>(text.size());
        std::vector<char> array(text.size() + 64, '#');
        ASSERT_EQ(decode(aligned, input, [&] { _qor_pdec_nt_kmstr(&world, array.data(), &desc); }), 0);
        EXPECT_EQ(std::string(array.data()), text);
        char *ptr = nullptr;
        ASSERT_EQ(decode(aligned, input, [&] { _qor_pdec_ntp_kmstr(&world, &ptr, &desc); }), 0);
        EXPECT_EQ(std::string(ptr), text);
        QorLong count = -1;
        ASSERT_EQ(decode(aligned, input, [&] { count = _qor_pdec_ub_kmstr(&world, &ptr, &desc); }), 0);
        ASSERT_EQ(count, n);
        if (n == 0) {
            EXPECT_EQ(ptr, nullptr);
        } else {
            EXPECT_EQ(std::string(ptr, n), text);
        }
        void *record = nullptr;
        ASSERT_EQ(decode(aligned, input, [&] { count = _qor_pdec_vap_kmstr(&world, &record, 4, &desc); }), 0);
        ASSERT_EQ(count, n);
        EXPECT_EQ(std::string(static_cast<char *>(record) + 4, n), text);
        EXPECT_EQ(world.inRoom, world.bitOffset != 0 ? 1 : 0) << "the whole input is consumed";
        if (desc.lowerSize <= desc.upperSize && text.size() <= desc.upperSize) {
            std::fill(array.begin(), array.end(), '#');
            ASSERT_EQ(decode(aligned, input, [&] { count = _qor_pdec_va_kmstr(&world, array.data(), &desc); }), 0);
            ASSERT_EQ(count, n);
            EXPECT_EQ(std::string(array.data(), n), text);
            std::fill(array.begin(), array.end(), '#');
            ASSERT_EQ(decode(aligned, input, [&] { _qor_pdec_pad_kmstr(&world, array.data(), &desc); }), 0);
            EXPECT_EQ(std::string(array.data(), n), text);
            for (QorULong i = static_cast<QorULong>(n); i < desc.upperSize; i++)
                EXPECT_EQ(array[i], 0);
            EXPECT_EQ(array[desc.upperSize], '#') << "nothing beyond the array";
        }
        qortest::releaseBlocks(&world);
    }
};

struct Row {
    const char *name;
    const QorStringDescriptor *desc;
    bool aligned;
    std::string text;
    const char *expected;
    unsigned char mark = 0;
};

TEST_F(KmstrTest, ReferenceEncodingsAndEveryDecoderForm)
{
    const Row rows[] = {
        {"upper aligned: code in 8 bits", &kUpperSized, true, "A", "00 41"},
        {"upper unaligned: index in 5 bits", &kUpperSized, false, "A", "00"},
        {"upper aligned, 3", &kUpperSized, true, "ABZ", "40 41 42 5A"},
        {"upper unaligned, 3", &kUpperSized, false, "ABZ", "40 0E 40"},
        {"numeric aligned", &kNumericSized, true, "12345", "40 23 45 60"},
        {"numeric unaligned", &kNumericSized, false, "12345", "42 34 56"},
        {"ia5 unbounded aligned", &kIa5, true, "Hi", "02 48 69"},
        {"ia5 unbounded unaligned", &kIa5, false, "Hi", "02 91 A4"},
        {"ia5 empty", &kIa5, true, "", "00"},
        {"fixed 2 of 8 bits isn't aligned", &kIa5Fixed2, true, "AB", "41 42"},
        {"fixed 3 is", &kIa5Fixed3, true, "ABC", "41 42 43"},
        {"ub 2 aligns after the length", &kIa5Upto2, true, "A", "40 41"},
        {"ub 2 unaligned doesn't", &kIa5Upto2, false, "A", "50 40"},
        {"extensible, in root", &kIa5Ext, true, "AB", "20 41 42"},
        {"extensible, only top bit of the mark", &kIa5Ext, true, "AB", "20 41 42", 0x7F},
        {"extensible, outside root", &kIa5Ext, true, "ABCDE", "80 05 41 42 43 44 45", 0x80},
        {"extensible unaligned, outside", &kIa5Ext, false, "A", "80 C1", 0x80},
        {"one character: length only", &kOneChar, true, "xxxxx", "05"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes out = hex(row.expected);
        char *ptr = nullptr;
        expectCoded(row.aligned, out,
                    [&] { _qor_penc_kmstr(&world, row.text.data(), static_cast<QorULong>(row.text.size()), row.desc, row.mark); },
                    [&] { _qor_pdec_ub_kmstr(&world, &ptr, row.desc); });
        qortest::releaseBlocks(&world);
        expectEveryForm(*row.desc, row.aligned, out, row.text);
    }
}

TEST_F(KmstrTest, FragmentsOfLongValues)
{
    struct Frag {
        size_t count;
        std::vector<std::pair<size_t, const char *>> headers; // offset of each length
        const char *tail;
    };
    const Frag rows[] = {
        {16384, {{0, "C1"}}, "00"},
        {16385, {{0, "C1"}, {16385, "01"}}, nullptr},
        {65536 + 16384, {{0, "C4"}, {65537, "C1"}}, "00"},
        {70000, {{0, "C4"}, {65537, "91 70"}}, nullptr},
    };
    for (bool aligned : {true, false}) {
        for (const Frag &row : rows) {
            SCOPED_TRACE(row.count);
            std::string text(row.count, 'a');
            for (size_t i = 0; i < text.size(); i++)
                text[i] = static_cast<char>('a' + i % 26);
            const QorStringDescriptor desc{nullptr, 1, 0, 100000, 0x88 | (0x88 << 8)};
            Bytes out;
            ASSERT_EQ(encode(desc, aligned, text, out), 0) << world.errMsgBuffer;
            const size_t headerOctets = row.headers.size() + (row.count == 70000 ? 1 : 0);
            ASSERT_EQ(out.size(), row.count + headerOctets + (row.tail ? 1 : 0));
            for (auto &[at, h] : row.headers) {
                Bytes want = hex(h);
                EXPECT_TRUE(std::equal(want.begin(), want.end(), out.begin() + at)) << h;
            }
            if (row.tail) {
                EXPECT_EQ(out.back(), 0);
            }
            expectEveryForm(desc, aligned, out, text);
        }
    }
}

TEST_F(KmstrTest, EncoderRefusals)
{
    const struct {
        bool aligned;
        std::string text;
        const char *message;
    } rows[] = {
        {true, "", "0063S: Size constraint violated, length of value = 0"},
        {true, "ABCDEFGHI", "0063S: Size constraint violated, length of value = 9"},
        {true, "AbC", "0064S: Permitted alphabet constraint violated, bad character: "},
        {false, "A\xC1", "0064S"}, // no table lookup above seven bits
    };
    for (const auto &row : rows) {
        Bytes out;
        EXPECT_EQ(encode(kUpperSized, row.aligned, row.text, out), 17) << row.text;
        EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
    }
}

// What a target can't hold, a length the input can't back, an index past
// the alphabet: refused with the code and message, and no memory is taken
// for input that isn't there.
TEST_F(KmstrTest, DecoderRefusals)
{
    const Bytes five = hex("05 41 42 43 44 45"); // "ABCDE" under kIa5, aligned
    const Bytes sixteen = hex("F0 11 11 11 11 11 11 11 11"); // four bits for SIZE (1..10) say 16
    Bytes fromNothing(32768, 0xC4); // 65536 characters each from no input: past 2^31
    fromNothing.push_back(0x00);
    QorStringDescriptor capacity4 = kIa5, capacity5 = kIa5;
    capacity4.capacity = 4;
    capacity5.capacity = 5;
    const QorStringDescriptor upTo4{nullptr, 1, 0, 4, 0x88 | (0x88 << 8)};
    char array[32];
    char *ptr = nullptr;
    void *record = nullptr;
    const auto ub = [&](const QorStringDescriptor *desc) {
        return std::function<void()>([&, desc] { _qor_pdec_ub_kmstr(&world, &ptr, desc); });
    };
    const struct {
        const char *name;
        Bytes input;
        std::function<void()> get;
        int code;
        const char *message;
    } rows[] = {
        {"capacity 4", five, [&] { _qor_pdec_nt_kmstr(&world, array, &capacity4); }, 17,
         "0063S: Size constraint violated, length of value = 5"},
        {"capacity 5", five, [&] { _qor_pdec_nt_kmstr(&world, array, &capacity5); }, 0, ""},
        {"varying, SIZE (0..4)", five, [&] { _qor_pdec_va_kmstr(&world, array, &upTo4); }, 16, "0016S"},
        {"padded, SIZE (0..4)", five, [&] { _qor_pdec_pad_kmstr(&world, array, &upTo4); }, 16, "0016S"},
        {"nt, 16 in SIZE (1..10)", sixteen, [&] { _qor_pdec_nt_kmstr(&world, array, &kNumericSized); }, 17, "0063S"},
        {"va, 16 in SIZE (1..10)", sixteen, [&] { _qor_pdec_va_kmstr(&world, array, &kNumericSized); }, 17, "0063S"},
        {"pad, 16 in SIZE (1..10)", sixteen, [&] { _qor_pdec_pad_kmstr(&world, array, &kNumericSized); }, 17, "0063S"},
        {"ntp, 16 in SIZE (1..10)", sixteen, [&] { _qor_pdec_ntp_kmstr(&world, &ptr, &kNumericSized); }, 17, "0063S"},
        {"ub, 16 in SIZE (1..10)", sixteen, ub(&kNumericSized), 17, "0063S"},
        {"vap, 16 in SIZE (1..10)", sixteen, [&] { _qor_pdec_vap_kmstr(&world, &record, 4, &kNumericSized); }, 17, "0063S"},
        {"one character from nothing", fromNothing, ub(&kOneChar), 10, "0027S"},
        {"one character without an end", Bytes(100, 0xC4), ub(&kOneChar), 4, "0081S"},
        {"a time string is one part", hex("C1"), [&] { _qor_pdec_ntp_kmstr(&world, &ptr, &kTime); }, 5, "0262S"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(decode(true, row.input, row.get), row.code);
        EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
        if (row.code != 0) {
            EXPECT_EQ(qortest::blocksListed(&world), 0);
        }
        qortest::releaseBlocks(&world);
    }
    // Numeric: 11 characters in 4 bits; indexes 11 to 15 don't exist.
    for (unsigned index = 0; index < 16; index++) {
        const Bytes input{0x00, static_cast<unsigned char>(index << 4)}; // length 1, one index
        EXPECT_EQ(decode(true, input, [&] { _qor_pdec_nt_kmstr(&world, array, &kNumericSized); }),
                  index < 11 ? 0 : 17) << index;
        EXPECT_TRUE(index < 11 ? array[0] == kNumeric.chars[index] : messageHas("bad character: ")) << index;
    }
    // A few fragments of the one character are fine.
    QorLong count = 0;
    ASSERT_EQ(decode(false, hex("C1 C1 03"), [&] { count = _qor_pdec_ub_kmstr(&world, &ptr, &kOneChar); }), 0);
    ASSERT_EQ(count, 32771);
    EXPECT_EQ(std::string(ptr, count), std::string(32771, 'x'));
    qortest::releaseBlocks(&world);
}

TEST_F(KmstrTest, TruncationAtEveryOctet)
{
    const Row rows[] = {
        {"numeric", &kNumericSized, true, "1234567890", nullptr},
        {"upper", &kUpperSized, false, "ABCDEFGH", nullptr},
        {"fixed", &kIa5Fixed3, false, "XYZ", nullptr},
        {"ia5", &kIa5, true, std::string(300, 'q'), nullptr},
    };
    for (const Row &row : rows) {
        pertest::bothVariants([&](bool aligned) {
            Bytes full;
            ASSERT_EQ(encode(*row.desc, aligned, row.text, full), 0);
            for (size_t n = 0; n < full.size(); n++) {
                SCOPED_TRACE(std::string(row.name) + " cut at " + std::to_string(n));
                // A copy of exactly the octets left, so that a read beyond is caught.
                Bytes cut = prefix(full, n);
                char *ptr = nullptr;
                EXPECT_EQ(decode(aligned, cut, [&] { _qor_pdec_ub_kmstr(&world, &ptr, row.desc); }), 4);
                EXPECT_TRUE(messageHas("0081S"));
                EXPECT_EQ(qortest::blocksListed(&world), 0) << "nothing allocated before the input is known";
            }
        });
    }
}

} // namespace
