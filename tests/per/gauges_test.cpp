// Gauges in aligned and unaligned PER: octets worked out by hand (asn1c
// makes the same unaligned ones), round trips, a list long enough for
// fragments, and the checks the schema's entries make themselves.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "per_support.h"

using namespace qortest;

namespace {

// A decoded value is the one encoded when it encodes to the same octets;
// an absent note comes back as no pointer.
std::function<void(void *)> sameAs(QorGlobal *world, const Bytes &encoding)
{
    return [world, want = &encoding](void *decoded) {
        EXPECT_EQ(encodePdu(world, PDU_Gauges, decoded), *want);
        const auto *got = static_cast<const Gauges *>(decoded);
        if ((got->bit_mask & Gauges_note_present) == 0) {
            EXPECT_EQ(got->note, nullptr);
        }
    };
}

// `count` bits of `octets` from bit `at`, first bit highest.
uint64_t bitsAt(const Bytes &octets, size_t at, unsigned count)
{
    uint64_t v = 0;
    for (size_t k = at; k < at + count; k++)
        v = v << 1 | ((octets[k / 8] >> (7 - k % 8)) & 1);
    return v;
}

class PerGauges : public ContextTest {
protected:
    // The second value: every bound at one end, no note, level e, and a list
    // of 70000 that goes in fragments of 65536 and 4464.
    void makeLongValue()
    {
        items.resize(100001); // room for one too many
        for (size_t i = 0; i < items.size(); i++)
            items[i] = static_cast<unsigned char>(i % 251);
        longValue = Gauges{0, 0, 0, -1000, 0xFFFFFFFF, -100, -129, 7, INT64_MIN,
                           {2, hugeOctets}, GaugeLevel_e, code, digits, nullptr,
                           {70000, items.data()}};
    }
    unsigned char hugeOctets[2] = {0xFF, 0x7F};
    char code[9] = "ABCDEFGH", digits[4] = "1 2";
    std::vector<unsigned char> items;
    Gauges longValue{};
};

} // namespace

TEST_F(PerGauges, WorkedOctetsAndRoundTrips)
{
    const struct {
        int rules;
        const char *octets;
        int padBits;
    } rows[] = {
        {QOR_PER_ALIGNED,
         "D0 C8"                         // note present, tiny 5, to the octet; octet 200
         "08 BA"                         // word 1234: 2234 in two octets
         "40 01 00"                      // wide 256: two octets, counted in two bits
         "02 04 4C"                      // offset 1000: 1100 from -100
         "02 00 80"                      // any 128
         "80 01 08"                      // ext 8: outside the root
         "E0 7F FF FF FF FF FF FF FE"    // big -2: eight octets, counted in three bits
         "09 01 00 00 00 00 00 00 00 00" // huge 2^64
         "80"                            // level d: the first addition
         "40 51 4F 52"                   // code "QOR": length 3 in three bits, codes
         "40 23 45 60"                   // digits "12345": length 5 in four bits, indexes
         "02 48 69"                      // note "Hi"
         "03 00 7F FF",                  // list {0, 127, 255}
         0},
        {QOR_PER_UNALIGNED,
         "DC 80 8B A0 00 00 10 00 20 44 C0 20 08 08 08 43 FF FF FF FF FF FF FF F0 "
         "48 08 00 00 00 00 00 00 00 04 02 83 A2 84 68 AC 05 23 48 18 03 FF F8",
         3},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.rules);
        world.encRules = row.rules;
        const Bytes octets = hex(row.octets);
        expectRoundTrip(&world, PDU_Gauges, &gaugesExample, octets, sameAs(&world, octets));
        encodePdu(&world, PDU_Gauges, &gaugesExample);
        EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits);
    }
    QorBuf text = {0, nullptr};
    ASSERT_EQ(qorPrintPDUToBuffer(&world, PDU_Gauges, &gaugesExample, &text), 0);
    const std::string printed(reinterpret_cast<char *>(text.value));
    qorFreeBuf(&world, text.value);
    for (const char *part : {"ext 8", "huge '010000000000000000'H", "level d", "digits \"12345\""})
        EXPECT_NE(printed.find(part), std::string::npos) << part << " in " << printed;
}

TEST_F(PerGauges, AListInFragments)
{
    makeLongValue();
    const struct {
        int rules;
        const char *head; // up to the list
        size_t listBit;   // where its first length starts
        size_t octets;
    } rows[] = {
        {QOR_PER_ALIGNED,
         "00 00 00 00 C0 FF FF FF FF 01 00 02 FF 7F 70 00 "
         "02 FF 7F 81 E0 41 42 43 44 45 46 47 48 20 20 30",
         32 * 8, 32 + 1 + 65536 + 2 + 4464},
        {QOR_PER_UNALIGNED,
         "00 00 00 0F FF FF FF F0 10 00 2F F7 F7 00 00 00 "
         "00 00 00 00 00 02 FF 7F 81 E0 08 86 42 98 E4 40",
         259, 70036},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.rules);
        world.encRules = row.rules;
        const Bytes encoding = encodePdu(&world, PDU_Gauges, &longValue);
        ASSERT_EQ(encoding.size(), row.octets);
        const Bytes head = hex(row.head);
        EXPECT_EQ(Bytes(encoding.begin(), encoding.begin() + static_cast<long>(head.size())), head);
        EXPECT_EQ(bitsAt(encoding, row.listBit, 8), 0xC4u) << "four fragments of 16384";
        EXPECT_EQ(bitsAt(encoding, row.listBit + 8, 24), 0x000102u) << "the first items";
        EXPECT_EQ(bitsAt(encoding, row.listBit + 8 + 65536 * 8, 16), 0x9170u) << "4464 more";
        expectRoundTrip(&world, PDU_Gauges, &longValue, encoding, sameAs(&world, encoding));
    }
    expectEveryAllocationMayFail(&world, PDU_Gauges, &longValue);
}

// Values outside their constraints aren't encoded; input outside them, or
// a list longer than its bound, isn't decoded; BER has no Gauges.
TEST_F(PerGauges, TheEntriesCheckBounds)
{
    makeLongValue();
    const struct {
        const char *name;
        void (*change)(Gauges &);
    } bad[] = {
        {"tiny 8", [](Gauges &g) { g.tiny = 8; }},
        {"word 60001", [](Gauges &g) { g.word = 60001; }},
        {"word -1001", [](Gauges &g) { g.word = -1001; }},
        {"offset -101", [](Gauges &g) { g.offset = -101; }},
        {"code lowercase", [](Gauges &g) { g.code[0] = 'a'; }},
        {"list of 100001", [](Gauges &g) { g.list.count = 100001; }},
    };
    for (const auto &c : bad) {
        SCOPED_TRACE(c.name);
        for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED}) {
            world.encRules = rules;
            Gauges value = longValue;
            char changedCode[9];
            strcpy(changedCode, code);
            value.code = changedCode;
            c.change(value);
            QorBuf out = {0, nullptr};
            EXPECT_EQ(qorEncode(&world, PDU_Gauges, &value, &out), QOR_CONSTRAINT_VIOLATED);
            EXPECT_EQ(out.value, nullptr);
        }
    }

    world.encRules = QOR_PER_ALIGNED;
    const Bytes good = encodePdu(&world, PDU_Gauges, &gaugesExample);
    Bytes input = good;
    input[2] = 0xEE, input[3] = 0x48; // word 60000
    void *decoded = nullptr;
    ASSERT_EQ(decodePdu(&world, input, PDU_Gauges, &decoded), 0);
    EXPECT_EQ(static_cast<Gauges *>(decoded)->word, 60000);
    qorFreePDU(&world, PDU_Gauges, decoded);
    input[3] = 0x49; // 60001
    EXPECT_EQ(decodePdu(&world, input, PDU_Gauges), QOR_LIMITED);

    // Two full fragments pass the bound before the second one is read.
    input.assign(good.begin(), good.end() - 4);
    input.push_back(0xC4);
    input.insert(input.end(), 65536, 0x55);
    input.push_back(0xC4);
    EXPECT_EQ(decodePdu(&world, input, PDU_Gauges), QOR_CONSTRAINT_VIOLATED);
    EXPECT_TRUE(messageHas("number of SET OF/SEQUENCE OF components = 131072"))
        << qorGetErrMsg(&world);

    world.encRules = QOR_BER;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Gauges, &gaugesExample, &out), QOR_PDU_RANGE);
    EXPECT_EQ(decodePdu(&world, hex("30 00"), PDU_Gauges), QOR_PDU_RANGE);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}
