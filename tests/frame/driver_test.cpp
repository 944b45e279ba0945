// The encode and decode drivers: front-door checks, caller's buffers, the
// failure path and its clean-up, the trap, and the older interface.
#include <cstring>
#include <string>
#include <tuple>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

class Driver : public ContextTest {};

Raw rawOf(Bytes &bytes) { return {static_cast<QorLong>(bytes.size()), bytes.data()}; }

// The contents after the header of an OCTET STRING.
Bytes withHeader(const char *header, const Bytes &contents)
{
    Bytes out = hex(header);
    out.insert(out.end(), contents.begin(), contents.end());
    return out;
}

Fault faultRaising(int message, QorLong number)
{
    Fault f{};
    f.message = message;
    f.raiser = RAISE_LONG;
    f.number = number;
    f.element = 3;
    return f;
}

} // namespace

TEST_F(Driver, RoundTripsAcrossBlockSizes)
{
    // Long runs of the value are referred to from the output queue, whose
    // records may come from a temporary buffer.
    alignas(16) static unsigned char scratch[16384];
    const struct {
        size_t n;
        const char *header;
    } rows[] = {{0, "04 00"},          {1, "04 01"},          {127, "04 7F"},
                {128, "04 81 80"},     {1021, "04 82 03 FD"}, {1022, "04 82 03 FE"},
                {1024, "04 82 04 00"}, {2047, "04 82 07 FF"}, {2048, "04 82 08 00"},
                {3000, "04 82 0B B8"}, {70000, "04 83 01 11 70"}, {70001, "04 83 01 11 71"}};
    for (const auto &row : rows) {
        const size_t n = row.n;
        SCOPED_TRACE(n);
        bool tempBuffer = n % 2 == 1;
        if (tempBuffer)
            useTemporaryBuffer(scratch, sizeof scratch);
        Bytes contents = pattern(n);
        Raw value = rawOf(contents);
        Bytes expected = withHeader(row.header, contents);
        expectRoundTrip(&world, PDU_Raw, &value, expected, [&](void *decoded) {
            auto *raw = static_cast<Raw *>(decoded);
            ASSERT_EQ(raw->length, static_cast<QorLong>(n));
            EXPECT_TRUE(n == 0 || memcmp(raw->data, contents.data(), n) == 0);
        });
        if (tempBuffer)
            useTemporaryBuffer(nullptr, 0);
    }
}

TEST_F(Driver, CallerBufferHoldsTheEncodingAtItsEndOrIsFull)
{
    Raw value = rawText("ab");
    unsigned char room[16];
    QorBuf out = {sizeof room, room};
    ASSERT_EQ(qorEncode(&world, PDU_Raw, &value, &out), 0);
    EXPECT_EQ(out.length, 4);
    EXPECT_EQ(out.value, room + sizeof room - 4);
    EXPECT_EQ(bytesOf(out), hex("04 02 61 62"));
    EXPECT_EQ(CountingAllocator::calls, 0) << "a caller's buffer needs no memory";

    // A full buffer is return code 1, with its size in the message.
    Bytes contents(100);
    Raw big = rawOf(contents);
    unsigned char small[50];
    out = {sizeof small, small};
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &big, &out), QOR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "E0001S: Output buffer too small; total buffer size: 50; check PDU #1 'Raw'.\n");
}

TEST_F(Driver, FrontDoorRefusesBadArgumentsRulesAndTables)
{
    Raw value = rawText("\x01");
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(nullptr, PDU_Raw, &value, &out), QOR_BAD_ARG);
    EXPECT_EQ(qorEncode(&world, PDU_Raw, nullptr, &out), QOR_BAD_ARG);
    EXPECT_STREQ(world.errMsgBuffer,
                 "E0006S: Unexpected NULL pointer as argument to encoder/decoder.\n");
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, nullptr), QOR_BAD_ARG);

    void *decoded = nullptr;
    int pdu = 0;
    QorBuf in = {0, nullptr};
    EXPECT_EQ(qorDecode(nullptr, &pdu, &in, &decoded), QOR_BAD_ARG);
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_BAD_ARG);
    EXPECT_EQ(world.errMsgBuffer[0], 'D');
    EXPECT_EQ(qorDecode(&world, &pdu, nullptr, &decoded), QOR_BAD_ARG);

    EXPECT_EQ(qorEncode(&world, 0, &value, &out), QOR_PDU_RANGE);
    EXPECT_STREQ(qorGetErrMsg(&world), "E0003S: PDU number not in range: 0.\n");

    EXPECT_EQ(qorDetermineNumberOfPadBits(nullptr), -1);
    EXPECT_EQ(qorGetBytesReadByDecoder(nullptr), -1);
    EXPECT_EQ(qorDetermineNumberOfPadBits(&world), 0);

    // Rules must be known, allowed by the table and linked.
    for (int rules : {QOR_ECN, 10, -1}) {
        world.encRules = rules;
        EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_UNKNOWN_RULES);
    }
    EXPECT_STREQ(world.errMsgBuffer, "E0100S: Unknown encoding rules were requested, use "
                                     "BER/DER/CER/PER/XER only.\n");
    world.encRules = QOR_XER;
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_RULES_NOT_LINKED);
    EXPECT_STREQ(world.errMsgBuffer,
                 "E0103S: The requested encoding rules were not linked: 'XER'.\n");

    world.encRules = QOR_DER;
    world.ruleBits &= ~QorULong{QOR_RULE_DER_ALLOWED};
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_RULES_NOT_LINKED);
    EXPECT_STREQ(world.errMsgBuffer, "E0118S: The encoder/decoder was generated without support "
                                     "for selected encoding rules:'DER'.\n");
    world.ruleBits |= QOR_RULE_DER_ALLOWED;
    encodePdu(&world, PDU_Raw, &value);
    world.encRules = QOR_CER;
    encodePdu(&world, PDU_Raw, &value);

    // A missing entry or a wrong version is the driver's to report.
    QorControlTable table = testSchemaTable;
    world.ctlTable = &table;
    table.berEncodeEntry = nullptr;
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_NULL_FUNCTION);
    EXPECT_STREQ(world.errMsgBuffer, "E0074S: NULL function pointer in the control table.\n");
    table = testSchemaTable;
    table.berVersion = 16;
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_BAD_VERSION);
    EXPECT_TRUE(messageHas("runtime library version, 17.")) << world.errMsgBuffer;
    world.ctlTable = &testSchemaTable;
}

TEST_F(Driver, FailedCallsFreeEverythingTheEntryLeft)
{
    for (QorLong written : {0, 100, 1024, 5000, 60000}) {
        Fault f = faultRaising(106, 0);
        f.written = written;
        QorBuf out = {0, nullptr};
        EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), QOR_DATA_ERROR);
        EXPECT_EQ(CountingAllocator::outstanding, 0) << written;
        EXPECT_EQ(world.errMsgTarget, nullptr) << "no message is wanted after a failure";
    }

    // A failed decode's entry leaves scratch of every kind behind.
    int pdu = 0;
    EXPECT_EQ(decodePdu(&world, hex("30 00"), 0, nullptr, &pdu), QOR_DATA_ERROR);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
    EXPECT_EQ(world.altDecList, nullptr);
    EXPECT_EQ(world.tempBlockList, nullptr);
    EXPECT_EQ(pdu, PDU_Fault);
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "D0037E: Value misencoded or length wrong for value; check PDU #2 'Fault'.\n");
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), 2);
    EXPECT_EQ(world.decodingLength, 0);
}

TEST_F(Driver, AnAllocatorThatFailsAtEveryCallLeavesNothingBehind)
{
    Bytes contents(5000, 0x5a);
    Raw value = rawOf(contents);
    expectEveryAllocationMayFail(&world, PDU_Raw, &value);
}

TEST_F(Driver, DecodeCountsWhatItUsedAndAlignsACallersBuffer)
{
    Bytes input = hex("04 03 41 42 43");
    alignas(8) unsigned char flat[256];
    int pdu = PDU_Raw;
    auto decodeInto = [&](void **out, QorLong length) {
        qorSetDecodingLength(&world, length);
        QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
        return qorDecode(&world, &pdu, &in, out);
    };
    void *out = flat + 3;
    ASSERT_EQ(decodeInto(&out, 200), 0);
    EXPECT_EQ(out, flat + 8);
    auto *raw = static_cast<Raw *>(out);
    EXPECT_EQ(raw->length, 3);
    EXPECT_EQ(memcmp(raw->data, "ABC", 3), 0);
    EXPECT_EQ(qorGetDecodingLength(&world), static_cast<QorLong>(sizeof(Raw) + 8));
    EXPECT_EQ(CountingAllocator::calls, 0);

    // Too small for the pad, then too small for the value: the buffer is untouched.
    out = flat + 3;
    EXPECT_EQ(decodeInto(&out, 5), QOR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(world.errMsgBuffer, "D0001S: Output buffer too small; total buffer size: 5.\n");
    out = flat;
    EXPECT_EQ(decodeInto(&out, 8), QOR_BUFFER_TOO_SMALL);
    EXPECT_EQ(out, flat) << "a caller's buffer is left where it was";
    qorSetDecodingLength(&world, 0);

    // In library memory too the length counts what was taken.
    out = nullptr;
    ASSERT_EQ(decodePdu(&world, input, 0, &out), 0);
    EXPECT_EQ(world.decodingLength, static_cast<QorLong>(sizeof(Raw) + 8)) << "rounded to 8";
    qorFreePDU(&world, PDU_Raw, out);
    world.decodingLength = 0;
}

TEST_F(Driver, ConsecutivePdusDecodeFromOneBuffer)
{
    Bytes input = hex("04 01 41 04 02 42 43 30");
    QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
    for (QorLong expected : {1, 2}) {
        void *out = nullptr;
        int pdu = 0;
        ASSERT_EQ(qorDecode(&world, &pdu, &in, &out), 0);
        EXPECT_EQ(static_cast<Raw *>(out)->length, expected);
        qorFreePDU(&world, pdu, out);
    }
    EXPECT_EQ(in.length, 1);
    EXPECT_EQ(in.value, input.data() + 7);

    // Without the advance, the caller's QorBuf stays.
    world.presetDecFlags = 0;
    in = {static_cast<QorLong>(input.size()), input.data()};
    void *out = nullptr;
    int pdu = 0;
    ASSERT_EQ(qorDecode(&world, &pdu, &in, &out), 0);
    EXPECT_EQ(in.value, input.data());
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), 3);
    qorFreePDU(&world, pdu, out);
}

TEST_F(Driver, DecoderMismatchAndUnknownTags)
{
    EXPECT_EQ(decodePdu(&world, hex("04 01 41"), PDU_Fault), QOR_BAD_CHOICE_OR_PDU);
    EXPECT_STREQ(qorGetErrMsg(&world), "D0034E: PDU number and input tags do not match: "
                                       "[UNIVERSAL 4] (expected tag [UNIVERSAL 16]).\n");
    EXPECT_STREQ(qorDescribeReturnCode(&world, 9),
                 "The PDU number that you specified does not match the tag found in the encoded data");
    EXPECT_EQ(decodePdu(&world, hex("45 00")), QOR_DATA_ERROR);
    EXPECT_STREQ(qorGetErrMsg(&world), "D0054S: PDU tag not recognized: [APPLICATION 5].\n");
}

TEST_F(Driver, TruncatedInputEndsInACleanCodeAtEveryLength)
{
    Bytes full = withHeader("04 82 01 2C", Bytes(300, 7));
    for (size_t n = 1; n < full.size(); n++)
        ASSERT_EQ(decodePdu(&world, Bytes(full.begin(), full.begin() + static_cast<long>(n))),
                  QOR_MORE_INPUT)
            << n;
    EXPECT_EQ(decodePdu(&world, hex("04 84 7F FF FF FF 00")), QOR_MORE_INPUT)
        << "a length beyond the input";
}

TEST_F(Driver, SizingModeCountsWithoutMemoryAndKeepsTheMessageOnFailure)
{
    Bytes contents(2000, 1);
    Raw value = rawOf(contents);
    CountingAllocator::reset();
    EXPECT_EQ(qorDetermineEncodingLength(&world, PDU_Raw, &value), 2004);
    EXPECT_EQ(CountingAllocator::calls, 0);
    EXPECT_EQ(world.encodingFlags, 0x200u);
    Fault f = faultRaising(106, 0);
    EXPECT_EQ(qorDetermineEncodingLength(&world, PDU_Fault, &f), 0);
    EXPECT_EQ(world.errMsgBuffer[0], 'E');
    EXPECT_EQ(qorDetermineEncodingLength(nullptr, PDU_Raw, &value), 0);
}

TEST_F(Driver, TrappingTurnsAMemoryViolationIntoReturnCode14)
{
    Fault f = faultRaising(0, 0);
    f.raiser = RAISE_SEGV;
    f.written = 3000;
    qorSetEncodingFlags(&world, TRAPPING | NOTRAPPING); // TRAPPING wins
    EXPECT_EQ(world.encodingFlags & NOTRAPPING, 0u);
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), QOR_MEMORY_VIOLATION);
    EXPECT_TRUE(messageHas("E0014S: A memory-violation error occurred, signal 11; check"));
    EXPECT_EQ(CountingAllocator::outstanding, 0);

    // The trap is gone after the call, and a trapped call that succeeds leaves none.
    Raw value = rawText("\x01\x02");
    encodePdu(&world, PDU_Raw, &value);
    qorSetEncodingFlags(&world, 0);
}

// Without a context a buffer goes to the runtime's free; a PDU needs a table
// and an entry.
TEST(Free, BuffersAndPdus)
{
    qorFreeBuf(nullptr, malloc(10));
    freeBUF(nullptr, malloc(3));
    qorFreeBuf(nullptr, nullptr);

    QorGlobal world;
    EXPECT_EQ(qorFreePDU(nullptr, 1, nullptr), QOR_BAD_ARG);
    ASSERT_EQ(qorbriefinit(&world), 0);
    EXPECT_EQ(qorFreePDU(&world, PDU_Raw, reinterpret_cast<void *>(8)), QOR_NULL_TABLE);
    QorControlTable noFree = testSchemaTable;
    noFree.freeEntry = nullptr;
    world.ctlTable = &noFree;
    EXPECT_EQ(qorFreePDU(&world, PDU_Raw, nullptr), QOR_NULL_FUNCTION);
    world.ctlTable = nullptr;
    qorbriefterm(&world);

    // The older form works with no context at all.
    Raw *raw = static_cast<Raw *>(malloc(sizeof(Raw)));
    raw->length = 0;
    raw->data = nullptr;
    EXPECT_EQ(freePDU(nullptr, PDU_Raw, raw, &testSchemaTable), 0);
}

TEST(Legacy, EncodeAndDecodeWithoutAContext)
{
    Raw value = rawText("xyz");
    unsigned char *encoded = nullptr;
    QorLong length = 0;
    char message[512] = "untouched";
    ASSERT_EQ(encode(nullptr, PDU_Raw, &value, &encoded, &length, &testSchemaTable, 0, message), 0);
    EXPECT_EQ(Bytes(encoded, encoded + length), hex("04 03 78 79 7A"));
    EXPECT_STREQ(message, "");

    unsigned char *cursor = encoded;
    QorLong left = length;
    void *decoded = nullptr;
    int pdu = 0;
    ASSERT_EQ(decode(nullptr, &pdu, &cursor, &left, &decoded, nullptr, &testSchemaTable, 0, message),
              0);
    EXPECT_EQ(pdu, PDU_Raw);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(cursor, encoded + length);
    EXPECT_EQ(freePDU(nullptr, PDU_Raw, decoded, &testSchemaTable), 0);
    freeBUF(nullptr, encoded);

    EXPECT_EQ(encode(nullptr, PDU_Raw, &value, nullptr, &length, &testSchemaTable, 0, message),
              QOR_BAD_ARG);
    EXPECT_STREQ(message, "E0006S: Unexpected NULL pointer as argument to encoder/decoder.\n");
    EXPECT_EQ(encode(nullptr, PDU_Raw, &value, &encoded, nullptr, &testSchemaTable, 0, message),
              QOR_BUFFER_TOO_SMALL);
    EXPECT_EQ(encode(nullptr, PDU_Raw, &value, &encoded, &length, nullptr, 0, message),
              QOR_NULL_TABLE);
}

TEST(Legacy, CallersBuffersThroughBufferProvided)
{
    QorGlobal world;
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    Raw value = rawText("hi");
    unsigned char room[32];
    unsigned char *encoded = room;
    QorLong length = sizeof room;
    ASSERT_EQ(encode(&world, PDU_Raw, &value, &encoded, &length, nullptr, BUFFER_PROVIDED, nullptr),
              0);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(encoded, room + sizeof room - 4);

    alignas(8) unsigned char flat[128];
    void *decoded = flat;
    QorLong flatLength = sizeof flat;
    int pdu = PDU_Raw;
    ASSERT_EQ(decode(&world, &pdu, &encoded, &length, &decoded, &flatLength, nullptr,
                     BUFFER_PROVIDED, nullptr),
              0);
    EXPECT_EQ(decoded, flat);
    EXPECT_EQ(flatLength, static_cast<QorLong>(sizeof(Raw) + 8));
    EXPECT_EQ(memcmp(static_cast<Raw *>(decoded)->data, "hi", 2), 0);
    qorterm(&world);
}

TEST_F(Driver, ExitsOfAConstraintCheckAndOfANestedContext)
{
    Fault f = faultRaising(22, 5);
    f.raiser = RAISE_IN_CHECK;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), 22);
    EXPECT_STREQ(world.errMsgBuffer, "");
    // Message 0 would be an exit with 0, which the driver reports as 18.
    f.message = 0;
    EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), QOR_FATAL);

    // An error on a nested context reaches the outermost frame.
    f = faultRaising(36, 9);
    f.raiser = RAISE_NESTED;
    EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), QOR_CONSTRAINT_VIOLATED);
    EXPECT_TRUE(messageHas("E0071S: Value not among the ENUMERATED: 9;")) << world.errMsgBuffer;
    world.childWorld = nullptr;
}

namespace {

QorFreeFn countingFree;
long freesBeforeRaise;
long frees;

// A release hook that gives the piece back, then fails on one call, as a
// broken allocator might during clean-up.
void freeThenRaise(QorGlobal *world, void *p)
{
    countingFree(world, p);
    frees++;
    if (--freesBeforeRaise == 0)
        _qor_enc_error(world, 48, 1);
}

} // namespace

TEST_F(Driver, AFailingReleaseHookNeverFreesTwiceNorLeaks)
{
    // Every release of a successful encode fails in turn: blocks gathered
    // into the result, and elements of a SET OF sorted under DER.
    static unsigned char data[3000];
    Raw big = {3000, data};
    Raw items[3] = {{1200, data}, {5, data}, {20, data}};
    Bag bag = {3, items};
    countingFree = world.userFree;
    for (auto [pdu, value, rules] : {std::tuple{PDU_Raw, static_cast<void *>(&big), QOR_BER},
                                     std::tuple{PDU_Bag, static_cast<void *>(&bag), QOR_DER}}) {
        world.encRules = rules;
        world.userFree = countingFree;
        const long before = CountingAllocator::calls;
        QorBuf out = {0, nullptr};
        ASSERT_EQ(qorEncode(&world, pdu, value, &out), 0);
        qorFreeBuf(&world, out.value);
        const long allocations = CountingAllocator::calls - before; // as many as frees
        world.userFree = freeThenRaise;
        for (long n = 1; n <= allocations; n++) {
            SCOPED_TRACE(n);
            freesBeforeRaise = n;
            out = {0, nullptr};
            int code = qorEncode(&world, pdu, value, &out);
            if (code == 0) {
                world.userFree = countingFree;
                qorFreeBuf(&world, out.value);
                world.userFree = freeThenRaise;
            } else {
                EXPECT_EQ(out.value, nullptr);
            }
            EXPECT_EQ(CountingAllocator::outstanding, 0);
        }
    }

    // A second error while a failed call cleans up is ignored: the first
    // code stands, and the clean-up goes on to release every block once.
    Fault f = faultRaising(106, 0);
    f.written = 3000;
    freesBeforeRaise = 1;
    frees = 0;
    world.encRules = QOR_BER;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), QOR_DATA_ERROR);
    EXPECT_EQ(std::string(qorGetErrMsg(&world)).substr(0, 10), "E0037E: Va");
    EXPECT_EQ(frees, 3);
    world.userFree = countingFree;
}

TEST_F(Driver, ADecodeThatCannotArmItsTrapLeavesTheCallersBuffer)
{
    // The previous call used the library's memory; this one a caller's
    // buffer, and fails before decoding anything.
    Raw raw = rawText("abc");
    QorBuf out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Raw, &raw, &out), 0);
    void *savedSync = world.syncObject;
    world.syncObject = nullptr;
    world.decodingFlags |= TRAPPING;
    alignas(8) unsigned char room[256];
    void *decoded = room;
    int pdu = PDU_Raw;
    qorSetDecodingLength(&world, sizeof room);
    EXPECT_NE(qorDecode(&world, &pdu, &out, &decoded), 0);
    EXPECT_EQ(decoded, room);
    world.syncObject = savedSync;
    world.decodingFlags &= ~QorULong{TRAPPING};
    qorFreeBuf(&world, out.value);
}
