// OBJECT IDENTIFIER and RELATIVE-OID conversions between contents octets,
// dotted text and value notation: vectors both ways, lenient reading, the
// refusals, caller's and library buffers, and hostile input.
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

enum Mode { kDot, kAsn, kRelDot, kRelAsn };
using ToText = int (*)(QorGlobal *, const QorEncodedOid *, QorBuf *);
using ToOctets = int (*)(QorGlobal *, const char *, QorEncodedOid *);
constexpr ToText kToText[] = {qorEncodedOidToDotVal, qorEncodedOidToAsnVal,
                              qorEncodedRelOidToDotVal, qorEncodedRelOidToAsnVal};
constexpr ToOctets kToOctets[] = {qorDotValToEncodedOid, qorAsnValToEncodedOid,
                                  qorDotValToEncodedRelOid, qorAsnValToEncodedRelOid};

constexpr int kRange = QOR_PARAMETER_RANGE;

struct Row {
    Mode mode;
    const char *octets; // hexadecimal
    int code;
    const char *text;
};

class OidConversion : public ContextTest {
protected:
    // Into library memory, as a length of 0 asks whatever `value` holds; a
    // result of 0 or 1 must be there, and a failure must leave it cleared.
    unsigned char unused[1];

    int toText(Mode m, const Bytes &octets, std::string *text)
    {
        QorEncodedOid in = {static_cast<uint16_t>(octets.size()),
                            const_cast<unsigned char *>(octets.data())};
        QorBuf out = {0, unused};
        int code = kToText[m](&world, &in, &out);
        text->clear();
        if (code != 0 && code != QOR_BUFFER_TOO_SMALL) {
            EXPECT_TRUE(out.value == nullptr && out.length == 0) << "record cleared";
        } else if (out.value != nullptr) {
            text->assign(reinterpret_cast<char *>(out.value));
            EXPECT_EQ(text->size() + 1, static_cast<size_t>(out.length)) << "length";
            qorFreeMemory(&world, out.value);
        }
        return code;
    }

    int toOctets(Mode m, const std::string &text, Bytes *octets)
    {
        QorEncodedOid out = {0, unused};
        int code = kToOctets[m](&world, text.c_str(), &out);
        octets->clear();
        if (code != 0 && code != QOR_BUFFER_TOO_SMALL) {
            EXPECT_TRUE(out.value == nullptr && out.length == 0) << "record cleared";
        } else {
            octets->assign(out.value, out.value + out.length);
            qorFreeMemory(&world, out.value);
        }
        return code;
    }
};

std::string repeated(const char *piece, size_t n, const char *last = "")
{
    std::string s;
    while (n-- > 0)
        s += piece;
    return s + last;
}

TEST_F(OidConversion, VectorsBothWays)
{
    const Row rows[] = {
        {kDot, "2A 86 48", 0, "1.2.840"},
        {kAsn, "2A 86 48", 0, "{ 1 2 840 }"},
        {kDot, "88 37", 0, "2.999"},
        {kRelDot, "C2 7B 03 02", 0, "8571.3.2"},
        {kRelAsn, "C2 7B 03 02", 0, "{ 8571 3 2 }"},
        // The first subidentifier splits at 40 and 80.
        {kDot, "00", 0, "0.0"},
        {kDot, "27", 0, "0.39"},
        {kDot, "28", 0, "1.0"},
        {kDot, "4F", 0, "1.39"},
        {kDot, "50", 0, "2.0"},
        {kDot, "78", 0, "2.40"},
        {kDot, "00 1A", 0, "0.0.26"},
        {kDot, "01 1B", 0, "0.1.27"},
        // A relative identifier has no first pair and none of its rules.
        {kRelDot, "1B", 0, "27"},
        {kRelDot, "00 00 1B", 0, "0.0.27"},
        {kRelAsn, "00", 0, "{ 0 }"},
        // Arcs beyond 32 bits, up to 64; the first subidentifier of
        // 2.(2^64 - 1) takes 65 bits.
        {kDot, "2A 90 80 80 80 00 03", 0, "1.2.4294967296.3"},
        {kRelDot, "81 FF FF FF FF FF FF FF FF 7F", 0, "18446744073709551615"},
        {kDot, "82 80 80 80 80 80 80 80 80 4F", 0, "2.18446744073709551615"},
        {kAsn, "82 80 80 80 80 80 80 80 80 4F 00", 0, "{ 2 18446744073709551615 0 }"},
    };
    for (const Row &r : rows) {
        std::string text;
        Bytes octets;
        EXPECT_EQ(toText(r.mode, hex(r.octets), &text), r.code) << r.text;
        EXPECT_EQ(text, r.text);
        EXPECT_EQ(toOctets(r.mode, r.text, &octets), r.code) << r.text;
        EXPECT_EQ(octets, hex(r.octets)) << r.text;
    }
}

TEST_F(OidConversion, TextToOctets)
{
    const std::string zeros = repeated("0", 9999, "7");
    const std::string nines = repeated("9", 10000);
    const std::string power = "1" + repeated("0", 9999);
    const std::string badTail = repeated("1.", 3000, "x");
    const Row rows[] = {
        // Both forms and any run of separators, in every call.
        {kDot, "2A 86 48", 0, "{ 1 2 840 }"},
        {kAsn, "2A 86 48", 0, "1.2.840"},
        {kRelAsn, "00 00 1B", 0, "0.0.27"},
        {kDot, "2A 86 48", 0, " ..{1 .{2}}840}. "},
        {kDot, "01", 0, "00.1"},
        {kDot, "2A 86 48", 0, "1.2.0000000000000000000000840"},
        // The first pair's rules.
        {kDot, "", kRange, "1 40"},
        {kDot, "", kRange, "3.1"},
        {kDot, "", kRange, "10.1"},
        {kDot, "", kRange, "0.0.27"},
        {kDot, "", kRange, "0.0.0"},
        // Arcs past 64 bits.
        {kRelDot, "", kRange, "18446744073709551616"},
        {kDot, "", kRange, "2.18446744073709551616"},
        {kDot, "", kRange, "1.2.99999999999999999999"},
        {kRelDot, "", kRange, "999999999999999999999"},
        // Malformed text, and too few arcs.
        {kDot, "", QOR_LIMITED, ""},
        {kRelDot, "", QOR_LIMITED, ""},
        {kDot, "", QOR_LIMITED, "1"},
        {kRelDot, "01", 0, "1"},
        {kAsn, "", QOR_LIMITED, "{ 1 }"},
        {kRelAsn, "", QOR_LIMITED, "{ }"},
        {kDot, "", QOR_LIMITED, "1.2.x"},
        {kDot, "", QOR_LIMITED, "1.-2"},
        {kDot, "", QOR_LIMITED, "1,2"},
        {kDot, "", QOR_LIMITED, "1.2\t3"},
        // A malformed text is refused though the octets would not fit.
        {kRelDot, "", QOR_LIMITED, badTail.c_str()},
        // Arcs of ten thousand digits.
        {kRelDot, "07", 0, zeros.c_str()},
        {kRelDot, "", kRange, nines.c_str()},
        {kRelDot, "", kRange, power.c_str()},
    };
    for (const Row &r : rows) {
        Bytes octets;
        EXPECT_EQ(toOctets(r.mode, r.text, &octets), r.code) << r.text;
        EXPECT_EQ(octets, hex(r.octets)) << r.text;
    }
}

TEST_F(OidConversion, OctetsToText)
{
    const std::string longSubid = repeated("80 ", 9999, "07");
    const std::string wideSubid = repeated("FF ", 9999, "7F");
    const Row rows[] = {
        {kDot, "", QOR_DATA_ERROR, ""},
        {kDot, "2A 86", QOR_DATA_ERROR, ""},
        {kRelAsn, "80", QOR_DATA_ERROR, ""},
        // Leading 0x80 octets add nothing.
        {kRelDot, "80 80 01", 0, "1"},
        // Nine octets of value bits and 21 digits are the most an arc takes:
        // more than 64 bits reads, and the text of it is refused.
        {kRelDot, "82 80 80 80 80 80 80 80 80 00", 0, "18446744073709551616"},
        {kRelDot, "EC B5 E4 EB B8 DD F4 FF FF 7F", 0, "999999999999999999999"},
        {kRelDot, "EC B5 E4 EB B8 DD F5 80 80 00", kRange, ""},
        {kDot, "84 80 80 80 80 80 80 80 80 80 00", kRange, ""},
        {kRelAsn, "01 84 80 80 80 80 80 80 80 80 80 00", kRange, ""},
        // Subidentifiers of ten thousand octets.
        {kRelDot, longSubid.c_str(), 0, "7"},
        {kRelDot, wideSubid.c_str(), kRange, ""},
    };
    for (const Row &r : rows) {
        std::string text;
        EXPECT_EQ(toText(r.mode, hex(r.octets), &text), r.code) << r.octets;
        EXPECT_EQ(text, r.text) << r.octets;
    }
}

TEST_F(OidConversion, CallersBuffers)
{
    Bytes oidOctets = hex("2A 86 48");
    const QorEncodedOid in = {3, oidOctets.data()};
    char text[16];
    for (QorLong size : {16, 8, 7, 1}) {
        memset(text, 'x', sizeof text);
        QorBuf out = {size, reinterpret_cast<unsigned char *>(text)};
        EXPECT_EQ(qorEncodedOidToDotVal(&world, &in, &out), size >= 8 ? 0 : QOR_BUFFER_TOO_SMALL);
        EXPECT_EQ(out.length, size >= 8 ? 8 : size) << size;
        EXPECT_EQ(std::string(text), std::string("1.2.840").substr(0, size - 1)) << size;
    }
    unsigned char octets[4];
    for (uint16_t size : {3, 2}) {
        QorEncodedOid out = {size, octets};
        EXPECT_EQ(qorAsnValToEncodedOid(&world, "{ 1 2 840 }", &out),
                  size == 3 ? 0 : QOR_BUFFER_TOO_SMALL);
        EXPECT_EQ(Bytes(octets, octets + out.length), hex(size == 3 ? "2A 86 48" : "2A 86"));
    }
    // A refusal after the first arcs leaves the caller's text empty.
    Bytes wide = hex("2A 84 80 80 80 80 80 80 80 80 80 00");
    const QorEncodedOid refused = {static_cast<uint16_t>(wide.size()), wide.data()};
    QorBuf out = {sizeof text, reinterpret_cast<unsigned char *>(text)};
    memset(text, 'x', sizeof text);
    EXPECT_EQ(qorEncodedOidToDotVal(&world, &refused, &out), kRange);
    EXPECT_EQ(text[0], '\0');
}

TEST_F(OidConversion, LibraryBuffers)
{
    // 2048 octets, the terminator included, and no more.
    std::string text;
    Bytes octets;
    EXPECT_EQ(toText(kRelDot, Bytes(1024, 1), &text), 0);
    EXPECT_EQ(text, repeated("1.", 1023, "1"));
    EXPECT_EQ(toText(kRelDot, Bytes(1025, 1), &text), QOR_BUFFER_TOO_SMALL);
    EXPECT_EQ(text, repeated("1.", 1023, "1"));
    EXPECT_EQ(toOctets(kRelDot, repeated("1.", 2047, "1"), &octets), 0);
    EXPECT_EQ(octets, Bytes(2048, 1));
    EXPECT_EQ(toOctets(kRelDot, repeated("1.", 2048, "1"), &octets), QOR_BUFFER_TOO_SMALL);
    EXPECT_EQ(octets, Bytes(2048, 1));
    // No memory for the result.
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(toText(kDot, hex("2A 86 48"), &text), QOR_OUT_OF_MEMORY);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(toOctets(kAsn, "{ 1 2 840 }", &octets), QOR_OUT_OF_MEMORY);
}

TEST_F(OidConversion, NullArguments)
{
    Bytes octets = hex("2A 86 48");
    QorEncodedOid in = {3, octets.data()};
    QorEncodedOid out = {0, nullptr};
    QorBuf text = {0, nullptr};
    for (int m = kDot; m <= kRelAsn; m++) {
        EXPECT_EQ(kToText[m](nullptr, &in, &text), QOR_BAD_ARG);
        EXPECT_EQ(kToText[m](&world, nullptr, &text), QOR_BAD_ARG);
        EXPECT_EQ(kToText[m](&world, &in, nullptr), QOR_BAD_ARG);
        QorEncodedOid missing = {3, nullptr};
        EXPECT_EQ(kToText[m](&world, &missing, &text), QOR_NULL_INPUT);
        EXPECT_EQ(kToOctets[m](nullptr, "1.2", &out), QOR_BAD_ARG);
        EXPECT_EQ(kToOctets[m](&world, nullptr, &out), QOR_BAD_ARG);
        EXPECT_EQ(kToOctets[m](&world, "1.2", nullptr), QOR_BAD_ARG);
    }
    EXPECT_EQ(CountingAllocator::calls, 0);
}

TEST_F(OidConversion, EveryPrefix)
{
    // Cut anywhere, octets end a subidentifier or are refused, and text is
    // read to its terminator only; nothing is read beyond either.
    const Bytes octets = hex("2A 86 48 82 80 80 80 80 80 80 80 80 4F 01");
    for (size_t n = 1; n <= octets.size(); n++) {
        const Bytes cut(octets.begin(), octets.begin() + static_cast<long>(n));
        for (int m = kDot; m <= kRelAsn; m++) {
            std::string text;
            const bool ends = (cut.back() & 0x80) == 0;
            EXPECT_EQ(toText(static_cast<Mode>(m), cut, &text), ends ? 0 : QOR_DATA_ERROR) << n;
        }
    }
    const std::string full = "{ 1 2 18446744073709551615 0 }";
    for (size_t n = 0; n <= full.size(); n++) {
        std::vector<char> text(full.begin(), full.begin() + static_cast<long>(n));
        text.push_back('\0');
        for (int m = kDot; m <= kRelAsn; m++) {
            QorEncodedOid out = {0, nullptr};
            int code = kToOctets[m](&world, text.data(), &out);
            EXPECT_TRUE(code == 0 || code == QOR_LIMITED) << text.data() << " " << code;
            qorFreeMemory(&world, out.value);
        }
    }
}

} // namespace
