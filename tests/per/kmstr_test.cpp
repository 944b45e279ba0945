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
        Bytes out;
        ASSERT_EQ(encode(*row.desc, row.aligned, row.text, out, row.mark), 0) << world.errMsgBuffer;
        EXPECT_EQ(out, hex(row.expected));
        EXPECT_EQ(sized(row.aligned, [&] {
                      _qor_penc_kmstr(&world, row.text.data(), static_cast<QorULong>(row.text.size()), row.desc, row.mark);
                  }), static_cast<long>(out.size()));
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

TEST_F(KmstrTest, SizeAndAlphabetViolations)
{
    Bytes out;
    EXPECT_EQ(encode(kUpperSized, true, "", out), 17);
    EXPECT_TRUE(messageHas("0063S"));
    EXPECT_EQ(encode(kUpperSized, true, "ABCDEFGHI", out), 17);
    EXPECT_EQ(encode(kUpperSized, true, "AbC", out), 17);
    EXPECT_TRUE(messageHas("0064S: Permitted alphabet constraint violated, bad character: "));
    EXPECT_EQ(encode(kUpperSized, false, "A\xC1", out), 17) << "no table lookup above seven bits";

    // A zero-ended target one character too small.
    Bytes input;
    ASSERT_EQ(encode(kIa5, true, "ABCDE", input), 0);
    QorStringDescriptor small = kIa5;
    small.capacity = 4;
    char array[8];
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_nt_kmstr(&world, array, &small); }), 17);
    EXPECT_TRUE(messageHas("0063S: Size constraint violated, length of value = 5"));
    small.capacity = 5;
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_nt_kmstr(&world, array, &small); }), 0);
    // A length beyond the array of a varying or padded form.
    const QorStringDescriptor upto4{nullptr, 1, 0, 4, 0x88 | (0x88 << 8)};
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_va_kmstr(&world, array, &upto4); }), 16);
    EXPECT_TRUE(messageHas("0016S"));
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_pad_kmstr(&world, array, &upto4); }), 16);
}

// Four bits for SIZE (1..10) can say up to 16: every decoder form refuses
// a length past the upper bound, the ones into new memory too.
TEST_F(KmstrTest, LengthPastTheUpperBound)
{
    const Bytes input = hex("F0 11 11 11 11 11 11 11 11"); // 16 times "0"
    char array[32];
    char *ptr = nullptr;
    void *record = nullptr;
    const std::pair<const char *, std::function<void()>> forms[] = {
        {"nt", [&] { _qor_pdec_nt_kmstr(&world, array, &kNumericSized); }},
        {"va", [&] { _qor_pdec_va_kmstr(&world, array, &kNumericSized); }},
        {"pad", [&] { _qor_pdec_pad_kmstr(&world, array, &kNumericSized); }},
        {"ntp", [&] { _qor_pdec_ntp_kmstr(&world, &ptr, &kNumericSized); }},
        {"ub", [&] { _qor_pdec_ub_kmstr(&world, &ptr, &kNumericSized); }},
        {"vap", [&] { _qor_pdec_vap_kmstr(&world, &record, 4, &kNumericSized); }},
    };
    for (const auto &[name, form] : forms) {
        EXPECT_NE(decode(true, input, form), 0) << name;
        qortest::releaseBlocks(&world);
    }
}

TEST_F(KmstrTest, IndexBeyondTheAlphabet)
{
    // Numeric: 11 characters in 4 bits; indexes 11 to 15 don't exist.
    for (unsigned index = 0; index < 16; index++) {
        SCOPED_TRACE(index);
        const Bytes input{0x00, static_cast<unsigned char>(index << 4)}; // length 1, one index
        char array[16];
        const int code =
            decode(true, input, [&] { _qor_pdec_nt_kmstr(&world, array, &kNumericSized); });
        if (index < 11) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(array[0], kNumeric.chars[index]);
        } else {
            EXPECT_EQ(code, 17);
            EXPECT_TRUE(messageHas("bad character: ")) << world.errMsgBuffer;
        }
    }
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

TEST_F(KmstrTest, OneCharacterAlphabetCantAllocateFromNothing)
{
    // Every C4 is 65536 characters from no input: 32768 of them pass 2^31.
    Bytes input(32768, 0xC4);
    input.push_back(0x00);
    char *ptr = nullptr;
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_ub_kmstr(&world, &ptr, &kOneChar); }), 10);
    EXPECT_TRUE(messageHas("0027S"));
    EXPECT_EQ(qortest::blocksListed(&world), 0);
    // Without an end the input runs out.
    Bytes endless(100, 0xC4);
    EXPECT_EQ(decode(true, endless, [&] { _qor_pdec_ub_kmstr(&world, &ptr, &kOneChar); }), 4);
    // A few fragments are fine.
    Bytes three{0xC1, 0xC1, 0x03};
    QorLong count = 0;
    ASSERT_EQ(decode(false, three, [&] { count = _qor_pdec_ub_kmstr(&world, &ptr, &kOneChar); }), 0);
    ASSERT_EQ(count, 32771);
    EXPECT_EQ(std::string(ptr, count), std::string(32771, 'x'));
    qortest::releaseBlocks(&world);
}

TEST_F(KmstrTest, FragmentGroupingAndTimeStrings)
{
    // 16K, 16K, rest: grouped only when strict rules aren't asked for.
    Bytes input{0xC1};
    input.insert(input.end(), 16384, 'a');
    input.push_back(0xC1);
    input.insert(input.end(), 16384, 'b');
    input.push_back(0x01);
    input.push_back('c');
    char *ptr = nullptr;
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_ub_kmstr(&world, &ptr, &kIa5); }), 0);
    qortest::releaseBlocks(&world);
    world.decodingFlags |= STRICT_ENCODING_DECODING_RULES;
    EXPECT_EQ(decode(true, input, [&] { _qor_pdec_ub_kmstr(&world, &ptr, &kIa5); }), 5);
    EXPECT_TRUE(messageHas("0258E"));
    world.decodingFlags &= ~QorULong{STRICT_ENCODING_DECODING_RULES};
    // A time string is one part.
    const Bytes time{0xC1};
    EXPECT_EQ(decode(true, time, [&] { _qor_pdec_ntp_kmstr(&world, &ptr, &kTime); }), 5);
    EXPECT_TRUE(messageHas("0262S"));
}

} // namespace
