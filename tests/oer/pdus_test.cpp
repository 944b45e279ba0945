// The OER driver pair on the test schema: PersonnelRecord against the
// encodings that an independent tool made, the PDUs of whole numbers,
// ENUMERATED and extensions by hand from the rules; what the driver sets up
// and clears; and hostile input to every OER PDU.

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

void expectExtended(const void *decoded)
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
    void (*check)(const void *decoded); // null: the value encodes to the same octets again
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
     nullptr},
    {"Levels", PDU_Levels, &levelsExample, nullptr, "7F 81 FF 85 00 FF FF FF FF", nullptr},
    {"Extended", PDU_Extended, &extendedExample, nullptr, "80 05 02 07 80 01 FF", expectExtended},
    {"OerBits", PDU_OerBits, &oerBitsExample, nullptr,
     "02 00 A5  03 00 E0 00  04 04 DE AD B0  02 05 60  AB C0  04 06 A5 5A C0  04 06 80 00 40"
     "  02 05 E0  03 06 12 40  03 07 FF 80",
     nullptr},
    {"OerTexts", PDU_OerTexts, &oerTextsExample, nullptr,
     "03 41 42 43  78 79 7A  04 6E 6F 74 65  04 00 41 03 A9  08 00 01 F6 00 00 00 00 42"
     "  03 B1 03 B2  00 01 00 00 00 00 00 61  06 C3 A9 E2 82 AC 7A  05 F0 90 8D 88 41",
     nullptr},
    {"OerLeaves", PDU_OerLeaves, &oerLeavesExample, nullptr,
     "06 2A 86 48 86 F7 0D  02 55 04  02 2B 06  01 09  07 88 37 8F FF FF FF 7F  03 81 00 05"
     "  03 31 2E 35  05 2D 30 2E 32 35  08 20 31 32 2C 35 45 2D 31  05 31 45 39 39 39"
     "  11 32 30 30 31 30 32 30 33 30 34 30 35 30 36 2E 35 5A"
     "  11 39 39 31 32 33 31 32 33 35 39 35 38 2D 30 31 33 30"
     "  08 32 30 30 31 30 32 30 33  06 30 34 30 35 30 36"
     "  0E 32 30 30 31 30 32 30 33 30 34 30 35 30 36  04 31 59 32 4D"
     "  08 32 30 30 31 2D 57 30 35",
     nullptr},
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
        if (row.check != nullptr)
            expectRoundTrip(&world, row.pdu, row.value, want, row.check);
        else
            expectRoundTrip(&world, row.pdu, row.value, want,
                            [&](void *decoded) { EXPECT_EQ(encodePdu(&world, row.pdu, decoded), want); });
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

    // A caller's buffer of a negative size holds nothing.
    out = {-1, seven};
    EXPECT_EQ(qorEncode(&world, PDU_Extended, &extendedExample, &out), QOR_BUFFER_TOO_SMALL);

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
        {"a bit string of 2^31 octets", PDU_OerBits, "84 80 00 00 00 00", 4},
        {"a BMPString of odd length", PDU_OerTexts, "01 41 78 79 7A 00 03 00 41 00", 5},
        {"an identifier of 2^32 - 1 octets", PDU_OerLeaves, "84 FF FF FF FF 2A", 4},
        {"arcs past 16 bits in the 16-bit record", PDU_OerLeaves, "01 00 04 2A 84 80 00", 10},
        {"a REAL of 2^31 octets", PDU_OerLeaves, "01 00 01 00 01 00 01 00 01 00 01 00 84 80 00 00 00 31", 4},
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
