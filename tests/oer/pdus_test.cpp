// The OER driver pair on the test schema: PersonnelRecord against the
// encodings that an independent tool made, the PDUs of whole numbers,
// ENUMERATED and extensions by hand from the rules; what the driver sets up
// and clears; and hostile input to every OER PDU.
#include <cstring>
#include <functional>
#include <string>

#include "support/vectors.h"

using namespace qortest;

namespace {

class OerPdus : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        world.encRules = QOR_OER;
    }
};

void expectWidths(void *decoded)
{
    const Widths &got = *static_cast<const Widths *>(decoded), &want = widthsExample;
    EXPECT_EQ(got.u8, want.u8);
    EXPECT_EQ(got.u16, want.u16);
    EXPECT_EQ(got.u32, want.u32);
    EXPECT_EQ(got.u64, want.u64);
    EXPECT_EQ(got.s8, want.s8);
    EXPECT_EQ(got.s16, want.s16);
    EXPECT_EQ(got.s32, want.s32);
    EXPECT_EQ(got.s64, want.s64);
    EXPECT_EQ(got.span, want.span);
    EXPECT_EQ(got.natural, want.natural);
    EXPECT_EQ(got.any, want.any);
    EXPECT_EQ(got.wide, want.wide);
    EXPECT_EQ(got.count, want.count);
    EXPECT_EQ(got.step, want.step);
    EXPECT_EQ(got.ext, want.ext);
    EXPECT_EQ(Bytes(got.huge.value, got.huge.value + got.huge.length),
              Bytes(want.huge.value, want.huge.value + want.huge.length));
    EXPECT_EQ(Bytes(got.total.value, got.total.value + got.total.length), hex("00 80 01"));
}

void expectLevels(void *decoded)
{
    const Levels &got = *static_cast<const Levels *>(decoded);
    EXPECT_EQ(got.size, levelsExample.size);
    EXPECT_EQ(got.sign, levelsExample.sign);
    EXPECT_EQ(got.wide, levelsExample.wide);
}

void expectExtended(void *decoded)
{
    const Extended &got = *static_cast<const Extended *>(decoded);
    EXPECT_EQ(got.bit_mask, Extended_b_present);
    EXPECT_EQ(got.a, 5);
    EXPECT_NE(got.b, 0);
}

struct Row {
    const char *name;
    int pdu;
    void *value;
    const char *schema; // the reference vectors' module, or null: `octets` hold the encoding
    const char *octets;
    std::function<void(void *)> check;
};

const Row kRows[] = {
    {"PersonnelRecord", PDU_PersonnelRecord, &personnelExample, "personnel.asn", nullptr,
     expectPersonnelExample},
    {"constrained", PDU_PersonnelConstrained, &personnelExample, "personnel-constrained.asn", nullptr,
     expectPersonnelExample},
    {"Widths", PDU_Widths, &widthsExample, nullptr,
     "FF FF FF FF FF FF FF  FF FF FF FF FF FF FF FF  80 80 00 80 00 00 00"
     " 80 00 00 00 00 00 00 00  FF FF FC 18  01 80  02 FF 7F  08 80 00 00 00 00 00 00 00"
     " 08 FF FF FF FF FF FF FF FF  02 FE D4  01 08  09 FE 00 00 00 00 00 00 00 00  02 80 01",
     expectWidths},
    {"Levels", PDU_Levels, &levelsExample, nullptr, "7F 81 FF 85 00 FF FF FF FF", expectLevels},
    {"Extended", PDU_Extended, &extendedExample, nullptr, "80 05 02 07 80 01 FF", expectExtended},
};

// The encoding of a row: its reference vector, or its own octets.
Bytes encodingOf(const Row &row)
{
    if (row.schema == nullptr)
        return hex(row.octets);
    const std::vector<Vector> found = vectorsFor(row.schema, "OER");
    return found.empty() ? Bytes{} : found[0].encoding;
}

} // namespace

// Library memory, a caller's buffer of the exact size and one octet short,
// sizing mode; decoded back into both memories, `bytesRead` each time.
TEST_F(OerPdus, EncodeExactlyAndDecodeBack)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const Bytes want = encodingOf(row);
        if (want.empty()) {
            ADD_FAILURE() << "reference vectors not found";
            continue;
        }
        expectRoundTrip(&world, row.pdu, row.value, want, row.check);
        EXPECT_EQ(world.blockStack, nullptr);
    }
    // The canonical form is the same octets.
    for (const Vector &v : vectorsFor("personnel.asn", "COER"))
        EXPECT_EQ(v.encoding, encodingOf(kRows[0]));
}

TEST_F(OerPdus, EveryAllocationMayFail)
{
    for (const Row &row : kRows)
        expectEveryAllocationMayFail(&world, row.pdu, row.value);
}

// NULL is no octets where the entry allows an empty encoding, in both
// memories; decoded from no octets.
TEST_F(OerPdus, AnEmptyEncoding)
{
    Nothing nothing = {0};
    QorBuf out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Nothing, &nothing, &out), 0) << qorGetErrMsg(&world);
    EXPECT_EQ(out.length, 0);
    EXPECT_EQ(out.value, nullptr);
    unsigned char room[4];
    out = {sizeof room, room};
    ASSERT_EQ(qorEncode(&world, PDU_Nothing, &nothing, &out), 0) << qorGetErrMsg(&world);
    EXPECT_EQ(out.length, 0);
    EXPECT_EQ(qorDetermineEncodingLength(&world, PDU_Nothing, &nothing), 0);
    EXPECT_EQ(world.outState, 0u);
    QorBuf in = {0, room};
    void *decoded = nullptr;
    int pdu = PDU_Nothing;
    ASSERT_EQ(qorDecode(&world, &pdu, &in, &decoded), 0) << qorGetErrMsg(&world);
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), 0);
    EXPECT_EQ(qorFreePDU(&world, pdu, decoded), 0);
}

TEST_F(OerPdus, TheDriverPair)
{
    // The table's version and entries.
    QorXapiEntries entries = testSchemaXapi;
    ASSERT_EQ(qorInitXAPIentries(&world, &entries), 0);
    entries.oerVersion = 1;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Levels, &levelsExample, &out), QOR_BAD_VERSION);
    EXPECT_TRUE(messageHas("0007S: The files generated by the ASN.1 compiler are incompatible "
                           "with the runtime library version, 0")) << world.errMsgBuffer;
    unsigned char one[] = {0};
    QorBuf in = {1, one};
    void *decoded = nullptr;
    int pdu = PDU_Levels;
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_BAD_VERSION);
    entries.oerVersion = QOR_OER_VERSION;
    entries.oerDecodeEntry = nullptr;
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_NULL_FUNCTION);
    qorInitXAPIentries(&world, &testSchemaXapi);

    // `bytesRead` after a good decode of two PDUs in a row, the input moved on
    // past each; and where a failed one stopped.
    Bytes two = hex("7F 81 FF 85 00 FF FF FF FF  00 00 00");
    in = {static_cast<QorLong>(two.size()), two.data()};
    world.presetDecFlags |= QOR_PRESET_ADVANCE_INPUT;
    for (int round = 0; round < 2; round++) {
        pdu = PDU_Levels;
        decoded = nullptr;
        int code = qorDecode(&world, &pdu, &in, &decoded);
        ASSERT_EQ(code, 0) << qorGetErrMsg(&world);
        EXPECT_EQ(qorGetBytesReadByDecoder(&world), round == 0 ? 9 : 3);
        qorFreePDU(&world, pdu, decoded);
    }
    EXPECT_EQ(in.length, 0);
    world.presetDecFlags &= ~QOR_PRESET_ADVANCE_INPUT;
    EXPECT_NE(decodePdu(&world, hex("80 04 4A 6F"), PDU_PersonnelRecord), 0);
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), 2) << "the preamble and the length";
    EXPECT_EQ(world.blockStack, nullptr);

    // The end of a caller's buffer is not left for the next call: a DER SET
    // OF, which stacks its frames there, works after a good and a failed encode.
    Raw items[2] = {rawText("b"), rawText("a")};
    Bag bag = {2, items};
    unsigned char seven[7];
    for (QorLong size : {7, 6}) {
        out = {size, seven};
        qorEncode(&world, PDU_Extended, &extendedExample, &out);
        EXPECT_EQ(world.blockStack, nullptr);
        world.encRules = QOR_DER;
        EXPECT_EQ(encodePdu(&world, PDU_Bag, &bag), hex("31 06 04 01 61 04 01 62"));
        world.encRules = QOR_OER;
    }

    // A PDU without OER entries.
    Raw raw = rawText("a");
    out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &raw, &out), QOR_PDU_RANGE);
    EXPECT_EQ(decodePdu(&world, hex("00"), PDU_Gauges), QOR_PDU_RANGE);
}

// Every prefix ends in a return code with no value and nothing left; so do
// lies about lengths and counts, and an octet changed anywhere, or else
// the value decodes and is freed.
TEST_F(OerPdus, HostileInput)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const Bytes encoding = encodePdu(&world, row.pdu, row.value);
        for (size_t n = 0; n < encoding.size(); n++)
            EXPECT_NE(decodePdu(&world, Bytes(encoding.data(), encoding.data() + n), row.pdu), 0) << n;
        for (size_t i = 0; i < encoding.size(); i++) {
            for (unsigned char lie : {0x00, 0x01, 0x7F, 0x80, 0x84, 0xFF}) {
                Bytes mutated = encoding;
                mutated[i] = lie;
                decodePdu(&world, mutated, row.pdu);
            }
        }
        EXPECT_EQ(CountingAllocator::outstanding, 0);
    }
    const struct {
        const char *what;
        int pdu;
        const char *octets;
        int code;
    } lies[] = {
        {"a name of 2^31 octets", PDU_PersonnelRecord, "80 84 80 00 00 00 41", 4},
        {"a name of 2^32 - 1 octets", PDU_PersonnelRecord, "80 84 FF FF FF FF 41", 4},
        {"2^31 children", PDU_PersonnelRecord,
         "80 01 41 01 42 01 43 01 33 01 44 01 45 01 46 01 47 01 48 04 80 00 00 00 01 41", 4},
        {"a number of five octets", PDU_PersonnelRecord, "00 01 41 01 42 01 43 05 00 00 00 00 01", 10},
        {"a bit map of 16 bits, nothing behind", PDU_Extended, "80 05 03 00 FF FF", 4},
        {"a bit map of 2^31 octets", PDU_Extended, "80 05 84 80 00 00 00 07", 4},
        {"a bit map with 8 unused bits", PDU_Extended, "80 05 02 08 80 01 FF", 5},
        {"an addition of 2^32 - 1 octets", PDU_Extended, "80 05 02 07 80 84 FF FF FF FF FF", 4},
        {"an addition of no octets", PDU_Extended, "80 05 02 07 80 00 FF", 5},
        {"an unsigned enumeration of six octets", PDU_Levels, "7F 81 FF 86 00 00 FF FF FF FF", 10},
        {"an enumeration not listed", PDU_Levels, "05 81 FF 00", 17},
    };
    for (const auto &lie : lies) {
        EXPECT_EQ(decodePdu(&world, hex(lie.octets), lie.pdu), lie.code) << lie.what;
        EXPECT_EQ(CountingAllocator::outstanding, 0) << lie.what;
    }
    // An addition longer than this version knows, and additions it doesn't know.
    void *decoded = nullptr;
    ASSERT_EQ(decodePdu(&world, hex("80 05 02 06 C0 03 FF 00 00 02 AA BB 77"), PDU_Extended, &decoded), 0)
        << qorGetErrMsg(&world);
    expectExtended(decoded);
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), 12);
    qorFreePDU(&world, PDU_Extended, decoded);
}
