// The value printer: the text of each test PDU through every sink, the frame
// around the print entry, the print route, the leaf printers and display
// strings, and the octet and XML printers.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "frame/world.h"
#include "print.h"
#include "support/vectors.h"

using namespace qortest;

namespace {

// What the user functions were handed, and under which formats.
std::string printed;
std::string formats;

int collectV(QorGlobal *, const char *format, va_list args)
{
    char text[8192];
    int n = vsnprintf(text, sizeof text, format, args);
    printed += text;
    formats += format;
    formats += '|';
    return n;
}

// For a user print function (a context first) and a print function (a stream).
template <class First> int collectEither(First, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int n = collectV(nullptr, format, args);
    va_end(args);
    return n;
}
constexpr auto collect = collectEither<QorGlobal *>;
constexpr auto collectStream = collectEither<void *>;

// A test may print its own leaves here: PDU number kLeafPdu runs `leaf`.
constexpr int kLeafPdu = 99;
void (*leaf)(QorGlobal *world) = nullptr;
int leafThenSchema(QorGlobal *world, int pdunum, void *value)
{
    if (pdunum == kLeafPdu) {
        leaf(world);
        return 0;
    }
    return testSchemaPrint(world, pdunum, value);
}

// The text of one primitive's output, through a user print function.
template <class Body> std::string textOf(QorGlobal *world, Body &&print)
{
    printed.clear();
    QorUserPrintFn saved = world->userPrintFn;
    world->userPrintFn = collect;
    print(world);
    world->userPrintFn = saved;
    return printed;
}

class Print : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        table = testSchemaTable;
        table.printEntry = leafThenSchema;
        world.ctlTable = &table;
        printed.clear();
        formats.clear();
    }

    // The text through the stream, which the library writes itself.
    std::string viaStream(int pdu, void *value, int *code)
    {
        char *data = nullptr;
        size_t size = 0;
        FILE *stream = open_memstream(&data, &size);
        void *saved = world.printStream;
        world.printStream = stream;
        *code = qorPrintPDU(&world, pdu, value);
        world.printStream = saved;
        fclose(stream);
        std::string text(data, size);
        free(data);
        return text;
    }

    // The text through a user print function, or through a vprint one.
    std::string viaUserPrint(int pdu, void *value, int *code, bool vprint = false)
    {
        printed.clear();
        EXPECT_EQ(vprint ? qorSetUserVprint(&world, nullptr, collectV)
                         : qorSetUserPrint(&world, nullptr, collect),
                  0);
        *code = qorPrintPDU(&world, pdu, value);
        EXPECT_EQ(vprint ? qorSetUserVprint(&world, nullptr, nullptr)
                         : qorSetUserPrint(&world, nullptr, nullptr),
                  0);
        return printed;
    }

    // The same text through every sink, and the buffer forms around its size.
    void expectPrinted(int pdu, void *value, const std::string &expected)
    {
        const char *const sinks[] = {"stream", "user print function", "user vprint function"};
        for (int sink = 0; sink < 3; sink++) {
            int code = -1;
            EXPECT_EQ(sink == 0 ? viaStream(pdu, value, &code)
                                : viaUserPrint(pdu, value, &code, sink == 2),
                      expected)
                << sinks[sink];
            EXPECT_EQ(code, 0) << sinks[sink];
        }

        QorLong size = qorDeterminePDUBufferLength(&world, pdu, value);
        EXPECT_EQ(size, static_cast<QorLong>(expected.size() + 1)) << "the terminator counts";

        QorBuf allocated = {0, nullptr};
        ASSERT_EQ(qorPrintPDUToBuffer(&world, pdu, value, &allocated), 0);
        ASSERT_NE(allocated.value, nullptr);
        EXPECT_EQ(allocated.length, size);
        EXPECT_EQ(std::string(reinterpret_cast<char *>(allocated.value)), expected);
        qorFreeBuf(&world, allocated.value);

        std::string exact(expected.size() + 1, '#');
        QorBuf mine = {static_cast<QorLong>(exact.size()),
                       reinterpret_cast<unsigned char *>(exact.data())};
        EXPECT_EQ(qorPrintPDUToBuffer(&world, pdu, value, &mine), 0);
        EXPECT_EQ(exact, expected + '\0');

        std::string small(expected.size(), '#');
        QorBuf tooSmall = {static_cast<QorLong>(small.size()),
                           reinterpret_cast<unsigned char *>(small.data())};
        EXPECT_EQ(qorPrintPDUToBuffer(&world, pdu, value, &tooSmall), QOR_BUFFER_TOO_SMALL);
        EXPECT_EQ(small, expected.substr(0, expected.size() - 1) + '\0') << "cut, still a string";

        EXPECT_EQ(world.userPrintFn, nullptr) << "the sink is gone after the call";
    }

    // The text of the primitive `fn` given `args` after the context.
    template <class Fn, class... Args> std::string leafOf(Fn fn, Args... args)
    {
        return textOf(&world, [&](QorGlobal *w) { fn(w, args...); });
    }

    // The text of a leaf printed inside a print call.
    std::string leafText(void (*print)(QorGlobal *))
    {
        leaf = print;
        QorBuf buffer = {0, nullptr};
        static int anything;
        EXPECT_EQ(qorPrintPDUToBuffer(&world, kLeafPdu, &anything, &buffer), 0);
        std::string text = buffer.value != nullptr ? reinterpret_cast<char *>(buffer.value) : "";
        qorFreeBuf(&world, buffer.value);
        return text;
    }

    QorControlTable table{};
};

const char *const kPersonnelText = R"(value PersonnelRecord ::= {
  name {
    givenName "John",
    initial "P",
    familyName "Smith"
  },
  title "Director",
  number 51,
  dateOfHire "19710917",
  nameOfSpouse {
    givenName "Mary",
    initial "T",
    familyName "Smith"
  },
  children {
    {
      name {
        givenName "Ralph",
        initial "T",
        familyName "Smith"
      },
      dateOfBirth "19571111"
    },
    {
      name {
        givenName "Susan",
        initial "B",
        familyName "Jones"
      },
      dateOfBirth "19590717"
    }
  }
}
)";

} // namespace

// The text of every PDU of the test schema.

TEST_F(Print, PersonnelRecordInValueNotation)
{
    expectPrinted(PDU_PersonnelRecord, &personnelExample, kPersonnelText);
    EXPECT_NE(formats.find("number %d"), std::string::npos)
        << "the vprint function gets the entry's own formats";
}

TEST_F(Print, RecordWithEveryComponent)
{
    QorLong numbers[] = {1, -2, 2147483647};
    Record r{};
    r.bit_mask = Record_count_present | Record_nothing_present | Record_big_present |
                 Record_ratio_present | Record_when_present;
    r.id = 7;
    r.count = -3;
    r.level = Level_high;
    r.inner.bit_mask = Inner_b_present;
    r.inner.a = 1;
    r.inner.b = 2;
    r.pick.choice = Pick_code_chosen;
    r.pick.u.code = 4294967295u;
    r.numbers = {3, numbers};
    r.big = INT64_MIN;
    r.ratio = 0.5;
    r.when = GeneralizedTime{2024, 2, 29, 23, 59, 58, 7, 0, 1};
    expectPrinted(PDU_Record, &r, R"(value Record ::= {
  id 7,
  active FALSE,
  count -3,
  level high,
  nothing NULL,
  inner {
    a 1,
    b 2
  },
  pick code : 4294967295,
  numbers {
    1,
    -2,
    2147483647
  },
  big -9223372036854775808,
  ratio { mantissa 1, base 2, exponent -1 },
  when "20240229235958.007Z"
}
)");
}

TEST_F(Print, RecordWithoutOptionalsAndSpecialValues)
{
    Record r{};
    r.id = -1;
    r.active = 1;
    r.level = 7; // no such enumerator
    r.pick.choice = Pick_flag_chosen;
    r.pick.u.flag = 1;
    r.bit_mask = Record_ratio_present;
    r.ratio = 1e39;
    expectPrinted(PDU_Record, &r, R"(value Record ::= {
  id -1,
  active TRUE,
  level qor_unknown_enumerator,
  inner {
    a 0
  },
  pick flag : TRUE,
  numbers {},
  ratio PLUS-INFINITY
}
)");
}

TEST_F(Print, OctetStringsTheirSetsAndOpenTypes)
{
    unsigned char abc[] = {'A', 'B', 'C'};
    Raw raw = {3, abc};
    expectPrinted(PDU_Raw, &raw, "value Raw ::= '414243'H\n");
    Raw empty = {0, nullptr};
    expectPrinted(PDU_Raw, &empty, "value Raw ::= ''H\n");

    Raw items[] = {raw, empty};
    Bag bagItems[] = {{2, items}, {0, nullptr}};
    Bags bags = {2, bagItems};
    expectPrinted(PDU_Bags, &bags,
                  "value Bags ::= {\n  {\n    '414243'H,\n    ''H\n  },\n  {}\n}\n");

    // An open type shows its value, indented as its place asks, or else its
    // encoding.
    Envelope e{};
    e.kind = 2;
    e.content = QorOpenType{PDU_Raw, 5, nullptr, &raw};
    expectPrinted(PDU_Envelope, &e, "value Envelope ::= {\n  kind 2,\n  content '414243'H\n}\n");
    e.content = QorOpenType{PDU_Bags, 0, nullptr, &bags};
    expectPrinted(PDU_Envelope, &e,
                  "value Envelope ::= {\n  kind 2,\n  content {\n    {\n      '414243'H,\n"
                  "      ''H\n    },\n    {}\n  }\n}\n");
    unsigned char encoded[] = {0x04, 0x03, 'A', 'B', 'C'};
    e.content = QorOpenType{0, 5, encoded, nullptr};
    expectPrinted(PDU_Envelope, &e,
                  "value Envelope ::= {\n  kind 2,\n  content '0403414243'H\n}\n");
}

// The frame around the print entry.

TEST_F(Print, ArgumentsTableAndVersionAreCheckedFirst)
{
    Raw raw = {0, nullptr};
    EXPECT_EQ(qorPrintPDU(nullptr, PDU_Raw, &raw), QOR_BAD_ARG);
    EXPECT_EQ(qorPrintPDU(&world, PDU_Raw, nullptr), QOR_BAD_ARG);

    QorControlTable wrongVersion = table;
    wrongVersion.berVersion = 16;
    world.ctlTable = &wrongVersion;
    EXPECT_EQ(qorPrintPDU(&world, PDU_Raw, &raw), QOR_BAD_VERSION);
    EXPECT_EQ(world.lastError, QOR_BAD_VERSION);

    world.ctlTable = nullptr;
    EXPECT_EQ(qorPrintPDU(&world, PDU_Raw, &raw), QOR_NULL_TABLE);
    EXPECT_EQ(world.lastError, QOR_NULL_TABLE);
    world.ctlTable = &table;

    int code = -1;
    EXPECT_EQ(viaUserPrint(0, &raw, &code), "");
    EXPECT_EQ(code, QOR_PDU_RANGE) << "a PDU number below 1 outside an open type";
    EXPECT_EQ(viaUserPrint(PDU_COUNT + 1, &raw, &code), "");
    EXPECT_EQ(code, QOR_PDU_RANGE) << "the entry's own result";

    // Inside an open type the entry gets the number negated: the value alone.
    world.internalFlags = 1;
    EXPECT_EQ(viaUserPrint(-PDU_Raw, &raw, &code), "''H");
    EXPECT_EQ(code, 0);
    world.internalFlags = 0;

    QorBuf buffer = {0, nullptr};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, 0, &raw, &buffer), QOR_BAD_ARG);
    EXPECT_EQ(qorPrintPDUToBuffer(&world, PDU_Raw, &raw, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorPrintPDUToBuffer(nullptr, PDU_Raw, &raw, &buffer), QOR_BAD_ARG);
    EXPECT_EQ(qorDeterminePDUBufferLength(&world, PDU_COUNT + 1, &raw), 0);
    EXPECT_EQ(qorDeterminePDUBufferLength(nullptr, PDU_Raw, &raw), 0);
    EXPECT_EQ(buffer.value, nullptr);
}

TEST_F(Print, TableWithoutPrintCodeGivesAdviceAndSucceeds)
{
    table.printEntry = nullptr;
    Raw raw = {0, nullptr};
    int code = -1;
    std::string advice = viaUserPrint(PDU_Raw, &raw, &code);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(advice, "\n\n\nRemove -nodebug ASN.1 compiler option and/or\nspecify -DQORPRINT when "
                      "compiling the generated code file in order\nto have qorPrintPDU() produce "
                      "output, and/or\nspecify -DQORDEBUG=2 to have qorGetErrMsg() return an error "
                      "message.\n\n\n");
    world.presetDecFlags |= 0x4;
    advice = viaUserPrint(PDU_Raw, &raw, &code);
    EXPECT_NE(advice.find("to have ASN1Handle::print() produce"), std::string::npos) << advice;
    EXPECT_NE(advice.find("to have QorControl::getErrorMsg() return"), std::string::npos);
}

TEST_F(Print, FailureInTheEntryEndsThePrintAndReleasesItsScratch)
{
    Fault f{};
    f.message = 106;
    f.raiser = RAISE_LONG;
    int code = -1;
    std::string text = viaUserPrint(PDU_Fault, &f, &code);
    EXPECT_EQ(code, QOR_DATA_ERROR);
    EXPECT_EQ(text, "value Fault ::= {\n  ") << "what was printed before the failure stays";
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "D0037E: Value misencoded or length wrong for value; check PDU #2 'Fault'.\n");
    EXPECT_EQ(CountingAllocator::outstanding, 0) << "the display string was released";
    EXPECT_EQ(world.jumpFrame, nullptr);
    // The next print starts from the left margin again.
    Raw items[] = {{0, nullptr}};
    Bag bag = {1, items};
    EXPECT_EQ(viaUserPrint(PDU_Bag, &bag, &code), "value Bag ::= {\n  ''H\n}\n");

    f.raiser = RAISE_STRING;
    f.text = "why";
    QorBuf buffer = {0, nullptr};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, PDU_Fault, &f, &buffer), QOR_DATA_ERROR);
    EXPECT_EQ(buffer.value, nullptr);
    EXPECT_EQ(qorDeterminePDUBufferLength(&world, PDU_Fault, &f), 0);
    EXPECT_EQ(CountingAllocator::outstanding, 0);

    // A caller's temporary buffer serves the scratch instead, and stays his.
    alignas(16) unsigned char scratch[256];
    QorBuf temporary = {sizeof scratch, scratch};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, &temporary), 0);
    f.raiser = RAISE_LONG;
    long calls = CountingAllocator::calls;
    EXPECT_EQ(viaUserPrint(PDU_Fault, &f, &code), "value Fault ::= {\n  ");
    EXPECT_EQ(code, QOR_DATA_ERROR);
    EXPECT_EQ(CountingAllocator::calls, calls) << "no allocation when the caller gave memory";
    ASSERT_EQ(qorSetTemporaryBuffer(&world, nullptr), 0);
}

TEST_F(Print, MemoryViolationUnderTrappingIsReturnCode14)
{
    struct sigaction before;
    sigaction(SIGSEGV, nullptr, &before);
    ASSERT_EQ(qorSetFlags(&world, TRAPPING), 0);
    Fault f{};
    f.raiser = RAISE_SEGV;
    int code = -1;
    viaUserPrint(PDU_Fault, &f, &code);
    EXPECT_EQ(code, QOR_MEMORY_VIOLATION);
    EXPECT_TRUE(messageHas("0014S: A memory-violation error occurred, signal 11"))
        << qorGetErrMsg(&world);
    struct sigaction after;
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler) << "the old handler is back";

    // The next print runs as any other.
    Raw raw = {0, nullptr};
    EXPECT_EQ(viaUserPrint(PDU_Raw, &raw, &code), "value Raw ::= ''H\n");
    EXPECT_EQ(code, 0);
}

TEST_F(Print, OlderFormRunsWithoutAContext)
{
    Raw raw = rawText("ABC");
    testing::internal::CaptureStdout();
    int code = printPDU(nullptr, PDU_Raw, &raw, &table);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(code, 0);
    EXPECT_EQ(out, "value Raw ::= '414243'H\n");

    // The call's own context is gone afterwards; nothing of it is kept.
    Fault f{};
    f.message = 106;
    testing::internal::CaptureStdout();
    EXPECT_EQ(printPDU(nullptr, PDU_Fault, &f, &table), QOR_DATA_ERROR);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "value Fault ::= {\n  ");
    EXPECT_EQ(printPDU(nullptr, PDU_Raw, &raw, nullptr), QOR_NULL_TABLE);

    printed.clear();
    qorSetUserPrint(&world, nullptr, collect);
    EXPECT_EQ(printPDU(&world, PDU_Raw, &raw, nullptr), 0) << "a context of the caller's";
    EXPECT_EQ(printed, "value Raw ::= '414243'H\n");
}

TEST_F(Print, BufferFormsLeaveTheUserFunctionsAndFailCleanly)
{
    ASSERT_EQ(qorSetUserPrint(&world, nullptr, collect), 0);
    ASSERT_EQ(qorSetUserVprint(&world, nullptr, collectV), 0);
    Raw raw = rawText("ABC");
    QorBuf sizeOnly = {1, nullptr};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, PDU_Raw, &raw, &sizeOnly), 0);
    EXPECT_EQ(sizeOnly.length, 25);
    EXPECT_EQ(sizeOnly.value, nullptr);
    EXPECT_EQ(printed, "") << "the user's functions saw none of it";
    QorUserPrintFn fn = nullptr;
    QorUserVprintFn vfn = nullptr;
    qorGetUserPrint(&world, nullptr, &fn);
    qorGetUserVprint(&world, nullptr, &vfn);
    EXPECT_EQ(fn, collect);
    EXPECT_EQ(vfn, collectV);

    // The buffer comes from the context's allocator.
    CountingAllocator::reset(1);
    QorBuf buffer = {0, nullptr};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, PDU_Raw, &raw, &buffer), QOR_OUT_OF_MEMORY);
    EXPECT_EQ(buffer.value, nullptr);
    CountingAllocator::reset();

    // One octet of room holds the terminator alone.
    char one = '#';
    QorBuf tiny = {1, reinterpret_cast<unsigned char *>(&one)};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, PDU_Raw, &raw, &tiny), QOR_BUFFER_TOO_SMALL);
    EXPECT_EQ(one, '\0');
}

TEST_F(Print, DebugFlagsInstallThePrinters)
{
    ASSERT_EQ(qorSetDebugFlags(&world, QOR_DEBUG_ERRORS), 0);
    EXPECT_EQ(world.privateArea->printPduHook, reinterpret_cast<void *>(qorPrintPDU));
    EXPECT_EQ(world.privateArea->printHexHook, reinterpret_cast<void *>(qorPrintHex));
    EXPECT_EQ(world.privateArea->printXmlHook, reinterpret_cast<void *>(qorPrintXML));
}

// The print route.

TEST_F(Print, NullStreamSilencesUserFunctionsToo)
{
    Raw raw = rawText("ABC");
    world.printStream = nullptr;
    int code = -1;
    EXPECT_EQ(viaUserPrint(PDU_Raw, &raw, &code), "");
    EXPECT_EQ(code, 0);
    EXPECT_EQ(viaUserPrint(PDU_Raw, &raw, &code, true), "");
    EXPECT_EQ(qorPrint(&world, "%s", "anything"), 0);
    // The buffer sink stands where a user function does: silent as well.
    EXPECT_EQ(qorDeterminePDUBufferLength(&world, PDU_Raw, &raw), 1);
    QorBuf buffer = {0, nullptr};
    ASSERT_EQ(qorPrintPDUToBuffer(&world, PDU_Raw, &raw, &buffer), 0);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer.value), "");
    qorFreeBuf(&world, buffer.value);
}

TEST_F(Print, UserFunctionsSeeWhatTheStreamWouldSee)
{
    // A user print function gets finished text, however long.
    std::string longText(3000, 'x');
    printed.clear();
    qorSetUserPrint(&world, nullptr, collect);
    EXPECT_EQ(qorPrint(&world, "<%s|%d|%lld>", longText.c_str(), -42, (long long)INT64_MAX), 3026);
    EXPECT_EQ(printed, "<" + longText + "|-42|9223372036854775807>");
    EXPECT_EQ(formats, "%s|");
    EXPECT_EQ(CountingAllocator::outstanding, 0) << "the long line went back";

    // The vprint function comes first on a context with a control table, and
    // gets the format itself.
    printed.clear();
    formats.clear();
    qorSetUserVprint(&world, nullptr, collectV);
    EXPECT_EQ(qorPrintWin(&world, "%d-%s", 5, "five"), 6);
    EXPECT_EQ(printed, "5-five");
    EXPECT_EQ(formats, "%d-%s|");
}

TEST(PrintRoute, ContextWithoutTableUsesItsPrintFunction)
{
    QorGlobal brief;
    ASSERT_EQ(qorbriefinit(&brief), 0);
    printed.clear();
    formats.clear();
    brief.printFn = collectStream;
    qorSetUserVprint(&brief, nullptr, collectV); // counts only with a control table
    EXPECT_EQ(qorPrint(&brief, "%03d", 7), 3);
    EXPECT_EQ(printed, "007");
    EXPECT_EQ(formats, "%s|");

    // A null context prints to the standard output.
    testing::internal::CaptureStdout();
    EXPECT_EQ(qorPrint(nullptr, "x%d", 5), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "x5");
    qorbriefterm(&brief);
}

// Leaves.

TEST_F(Print, BitAndOctetStrings)
{
    static const unsigned char bits[] = {0xB3, 0x50, 0xFF, 0x00, 0xAA, 0x55};
    auto text = [&](QorLong count) { return leafOf(_qor_prt_bit, bits, count); };
    EXPECT_EQ(text(12), "'10110011 0101'B");
    EXPECT_EQ(text(8), "'10110011'B");
    EXPECT_EQ(text(0), "''B");
    // The default chop of 35 cuts 40 digits; the blanks don't count.
    EXPECT_EQ(text(40), "'10110011 01010000 11111111 00000000 101 ...'B");
    world.printChop = 0;
    EXPECT_EQ(text(48), "'10110011 01010000 11111111 00000000 10101010 01010101'B");

    // A bit string in an integer: its highest bit first.
    uint8_t small = 0xA0;
    uint16_t middle = 0x8001;
    uint32_t word = 0x80000001u;
    uint64_t wide = 0xF000000000000001ull;
    EXPECT_EQ(leafOf(_qor_prt_pbit, &small, 1, 3), "'101'B");
    EXPECT_EQ(leafOf(_qor_prt_pbit, &middle, 2, 16), "'10000000 00000001'B");
    EXPECT_EQ(leafOf(_qor_prt_pbit, &word, 4, 40), "'10000000 00000000 00000000 00000001'B")
        << "no more bits than the integer holds";
    EXPECT_EQ(leafOf(_qor_prt_pbit, &wide, 8, 5), "'11110'B");

    static const unsigned char ten[] = {0, 1, 2, 3, 0xAB, 5, 6, 7, 8, 9};
    world.printChop = 7;
    EXPECT_EQ(leafOf(_qor_prt_oct, ten, 10), "'000102 ...'H");
    EXPECT_EQ(leafOf(_qor_prt_hex, "0x", ten, 10, nullptr), "0x000102")
        << "without a suffix the cut is not marked";
    world.printChop = 0;
    EXPECT_EQ(leafOf(_qor_prt_hex, nullptr, ten, 10, "!"), "00010203AB0506070809!");
    EXPECT_EQ(leafOf(_qor_prt_oct, ten, 0), "''H");
}

TEST(NamedBits, LengthFitsItsSizeBounds)
{
    static const unsigned char bits[] = {0xA0, 0x00, 0x80, 0x00}; // bits 0, 2 and 16 set
    EXPECT_EQ(_qor_chop_zero_bits(bits, 32, 0), 17u);
    EXPECT_EQ(_qor_chop_zero_bits(bits, 16, 0), 3u) << "from the length given, not the array";
    EXPECT_EQ(_qor_chop_zero_bits(bits, 32, 20), 20u) << "never below the lower bound";
    EXPECT_EQ(_qor_chop_zero_bits(bits, 2, 0), 1u);
    // A short string comes up to the lower bound; one too long even without
    // its zero bits is left alone.
    const struct {
        QorULong length, low, high;
        int fits;
        QorULong fitted;
    } rows[] = {{2, 8, 24, 1, 8},    {32, 4, 24, 1, 17}, {32, 4, 16, 0, 32},
                {32, 20, 24, 1, 20}, {8, 8, 8, 1, 8}};
    for (const auto &r : rows) {
        QorULong length = r.length;
        EXPECT_EQ(_qor_nmbit_lfit(bits, &length, r.low, r.high), r.fits) << r.length << r.low;
        EXPECT_EQ(length, r.fitted) << r.length << " in " << r.low << ".." << r.high;
    }
}

TEST_F(Print, CharacterStringsWithOctetsThatAreNotPrintable)
{
    auto text = [&](const char *data, QorLong n) { return leafOf(_qor_prt_char, data, n); };
    EXPECT_EQ(text("abc\x01", 4), R"({"abc", {0, 1}})");
    EXPECT_EQ(text("\x01", 1), "{0, 1}") << "one tuple alone has no braces";
    EXPECT_EQ(text("", 0), R"("")");
    EXPECT_EQ(text("a\xe9z\x7f", 4), R"({"a", {14, 9}, "z", {7, 15}})")
        << "octets above 126 are no characters, in any locale";
    EXPECT_EQ(text("a\0b", 3), R"({"a", {0, 0}, "b"})");
    EXPECT_EQ(leafOf(_qor_prt_nchar, "Director"), R"("Director")");

    // The chop counts characters, separators and tuples, not the opening quote.
    world.printChop = 5;
    EXPECT_EQ(text("abcdefgh", 8), R"("abcde ...")");
    world.printChop = 14;
    EXPECT_EQ(text("\x01\x02\x03", 3), "{{0, 1}, {0, 2}, ...}");
    world.printChop = 9;
    EXPECT_EQ(text("ab\x01", 3), R"({"ab", ...})");
}

TEST_F(Print, MultiOctetStrings)
{
    auto text = [&](const void *data, QorLong count, int width) {
        return leafOf(_qor_prt_mbchar, data, count, width);
    };
    world.printChop = 0;
    EXPECT_EQ(text("h\xc3\xa9llo", 6, 1), R"({"h", {0, 0, 0, 233}, "llo"})");
    EXPECT_EQ(text("\xf0\x9f\x98\x80", 4, 1), "{0, 1, 246, 0}");
    EXPECT_EQ(text("\x80\x61", 2, 1), R"({{0, 0, 0, 0}, "a"})") << "a stray continuation is 0";
    EXPECT_EQ(text("\xc3", 1, 1), "{0, 0, 0, 3}") << "a sequence cut by the end keeps its bits";
    const uint16_t bmp[] = {'A', 'B', 0x20AC};
    EXPECT_EQ(text(bmp, 3, 2), R"({"AB", {0, 0, 32, 172}})");
    const uint32_t universal[] = {0x10FFFF, 'x'};
    EXPECT_EQ(text(universal, 2, 4), R"({{0, 16, 255, 255}, "x"})");
    EXPECT_EQ(text(universal, 0, 4), R"("")");

    // Here the opening quote counts towards the chop.
    world.printChop = 4;
    const uint16_t letters[] = {'a', 'b', 'c', 'd', 'e'};
    EXPECT_EQ(text(letters, 5, 2), R"("abc ...")");
    world.printChop = 20;
    EXPECT_EQ(text("a\xc3\xa9\xc3\xa9", 5, 1), R"({"a", {0, 0, 0, 233}, ...})");
}

TEST_F(Print, DoubleReals)
{
    // 31 bits of the mantissa are kept; beyond the largest float is infinity.
    const std::pair<double, const char *> rows[] = {
        {0.5, "{ mantissa 1, base 2, exponent -1 }"},
        {-3.0, "{ mantissa -3, base 2, exponent 0 }"},
        {6.0, "{ mantissa 3, base 2, exponent 1 }"},
        {0.1, "{ mantissa 858993459, base 2, exponent -33 }"},
        {3.0e38, "{ mantissa 473316543, base 2, exponent 99 }"},
        {5e-324, "{ mantissa 1, base 2, exponent -1074 }"},
        {1e39, "PLUS-INFINITY"}, {FLT_MAX, "PLUS-INFINITY"}, {-1e39, "MINUS-INFINITY"},
        {NAN, "NOT-A-NUMBER"},   {-0.0, "-0"},               {0.0, "0"},
    };
    for (const auto &[value, text] : rows)
        EXPECT_EQ(leafOf(_qor_prt_real, value), text) << value;
}

// A character real prints as its digits and exponent; its display string
// reads the number in value notation first, comments and all.
TEST_F(Print, CharacterRealsPrintedAndAsDisplayStrings)
{
    auto display = [&](const char *v) {
        char *text = _qor_getdisp_creal(&world, v);
        std::string s = text;
        _qor_free_disp(&world, text);
        return s;
    };
    const std::string longMantissa = "1." + std::string(70, '9');
    const std::string cut = "1" + std::string(49, '9') + "...E-70"; // room for the exponent
    const std::string tooLong(80, '1');
    const std::string tooLongExponent = std::string(70, '1') + "E" + std::string(10, '1');
    const char *limit = "<IMPLEMENTATION LIMIT EXCEEDED>";
    const struct {
        const char *text;
        const char *printed;   // nullptr: not printed here
        const char *displayed; // nullptr: no display string here
    } rows[] = {
        {"3.14E2", "314E0", "314E0"},
        {"1.50", "15E-1", "15E-1"},
        {"-0.00125", "-125E-5", nullptr},
        {"-1.5E-3", nullptr, "-15E-4"},
        {"  +42", "42E0", nullptr},
        {"0.000", "0E0", nullptr},
        {"0", "0", "0"},
        {"-0", "-0", nullptr},
        {nullptr, "NULL", "NULL"},
        {"PLUS_INFINITY", "PLUS-INFINITY", "PLUS-INFINITY"},
        {"MINUS_INFINITY", "MINUS-INFINITY", "MINUS-INFINITY"},
        {"NOT_A_NUMBER", "NOT-A-NUMBER", ""}, // the display string knows three names only
        {"{ -- a comment -- 25 }", nullptr, "25E0"},
        {"{\n  -- to the end of the line\n  7.0e+2 }", nullptr, "7E2"},
        {"7E123456789", "7E1234...", nullptr}, // a long exponent is cut
        {longMantissa.c_str(), cut.c_str(), nullptr},
        {tooLong.c_str(), nullptr, limit},
        {tooLongExponent.c_str(), nullptr, limit},
    };
    for (const auto &r : rows) {
        SCOPED_TRACE(r.text != nullptr ? r.text : "(null)");
        if (r.printed != nullptr) {
            EXPECT_EQ(leafOf(_qor_prt_creal, r.text), r.printed);
        }
        if (r.displayed != nullptr) {
            EXPECT_EQ(display(r.text), r.displayed);
        }
    }
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x100), 0);
    EXPECT_EQ(display("3.14"), "{mantissa 314, base 10, exponent -2}");
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(Print, TimesEnumeratorsAndIndentation)
{
    // The fields are year to millisecond, the difference in minutes, utc.
    const struct {
        GeneralizedTime t;
        bool utcTime;
        const char *text;
    } times[] = {
        {{2024, 1, 2, 3, 4, 5, 6, 0, 1}, false, R"("20240102030405.006Z")"},
        {{2024, 1, 2, 3, 4, 5, 6, 90, 0}, false, R"("20240102030405.006+0130")"},
        {{2024, 1, 2, 3, 4, 5, 6, 0, 0}, false, R"("20240102030405.006")"}, // local time
        {{24, 1, 2, 3, 4, 5, 6, 0, 0}, true, R"("240102030405Z")"},
        {{24, 1, 2, 3, 4, 5, 6, -600, 1}, true, R"("240102030405-1000")"}, // utc is not looked at
    };
    for (const auto &c : times)
        EXPECT_EQ(leafOf(c.utcTime ? _qor_prt_utctime : _qor_prt_gentime, &c.t), c.text);

    static const QorEnumeratorName names[] = {
        {"red", {0, 0}, 0}, {"minus", {0, 0}, -1}, {"big", {0, 0}, 1000}};
    auto name = [&](QorLong low, QorLong high, QorLong count) {
        return leafOf(_qor_prt_enum, low, high, names, count);
    };
    EXPECT_EQ(name(1000, 0, 3), "big");
    EXPECT_EQ(name(0, 0, 3), "red");
    EXPECT_EQ(name(5, 0, 3), "qor_unknown_enumerator");
    EXPECT_EQ(name(1000, 0, 2), "qor_unknown_enumerator") << "only `count` records";
    EXPECT_EQ(name(-1, -1, 3), "qor_unknown_enumerator") << "negative enumerators are never found";

    world.printIndent = 0;
    EXPECT_EQ(textOf(&world,
                     [](QorGlobal *w) {
                         qorPrint(w, "{");
                         _qor_indent(w, 1);
                         qorPrint(w, "a");
                         _qor_indent(w, 1);
                         qorPrint(w, "b");
                         _qor_indent(w, 0);
                         qorPrint(w, "c");
                         _qor_indent(w, -2);
                         qorPrint(w, "}");
                     }),
              "{\na\n  b\n    c\n}")
        << "a positive delta counts from the next new line";
    EXPECT_EQ(world.printIndent, 0);
    // Braces out of balance: a level below 0 indents by its size.
    EXPECT_EQ(leafOf(_qor_indent, -1), "\n  ");
    world.printIndent = 0;
}

TEST_F(Print, OpenTypesPrintTheirValueInTheOuterPrint)
{
    static QorOpenType open;
    static QorNewOpenType fresh;
    static unsigned char abc[] = {'A', 'B', 'C'};
    static Raw raw = {3, abc};
    static Fault fault;
    const std::pair<QorOpenType, const char *> opens[] = {
        {{PDU_Raw, 5, abc, &raw}, "'414243'H"},
        {{42, 5, abc, &raw}, "<error>"}, // the entry refuses PDU 42
        {{0, 2, abc, &raw}, "'4142'H"},
        {{PDU_Raw, 0, nullptr, nullptr}, "<unknown>"},
    };
    for (const auto &[value, text] : opens) {
        open = value;
        EXPECT_EQ(leafText([](QorGlobal *w) { _qor_prt_opentype(w, &open); }), text);
        EXPECT_EQ(world.internalFlags, 0u) << "the flag is set for the nested call only";
    }

    fresh = QorNewOpenType{1, abc};
    EXPECT_EQ(leafText([](QorGlobal *w) { _qor_prt_new_opentype(w, PDU_Raw, &raw, &fresh); }),
              "'414243'H");
    EXPECT_EQ(leafText([](QorGlobal *w) { _qor_prt_new_opentype(w, 0, &raw, &fresh); }), "'41'H");
    EXPECT_EQ(leafText([](QorGlobal *w) { _qor_prt_new_opentype(w, 0, nullptr, nullptr); }),
              "<unknown>");

    // A failure below ends the whole print, in the outer frame.
    fault = Fault{};
    fault.message = 106;
    leaf = [](QorGlobal *w) {
        qorPrint(w, "before ");
        _qor_prt_new_opentype(w, PDU_Fault, &fault, nullptr);
        qorPrint(w, " after");
    };
    int code = -1;
    static int anything;
    EXPECT_EQ(viaUserPrint(kLeafPdu, &anything, &code), "before {\n  ");
    EXPECT_EQ(code, QOR_DATA_ERROR);
    EXPECT_EQ(world.internalFlags, 0u) << "the flag does not outlive the failure";
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(Print, DisplayStringsAreTheLeavesUncut)
{
    world.printChop = 3;
    static const unsigned char bits[] = {0xB3, 0x50};
    GeneralizedTime t{2024, 1, 2, 3, 4, 5, 6, -90, 0};
    const uint16_t bmp[] = {'h', 0xE9};
    // Each is given back newest first, as temporary memory is.
    struct Case {
        char *text;
        const char *expected;
    } cases[] = {
        {_qor_getdisp_bit(&world, bits, 12), "'10110011 0101'B"},
        {_qor_getdisp_oct(&world, bits, 2), "'B350'H"},
        {_qor_getdisp_hex(&world, "<", bits, 2, ">"), "<B350>"},
        {_qor_getdisp_char(&world, "ab\x01" "cd", 5), "\"ab\x01" "cd\""},
        {_qor_getdisp_char(&world, "ab\0cd", 5), "\"ab\""},
        {_qor_getdisp_nchar(&world, "Director"), "\"Director\""},
        {_qor_getdisp_mbchar(&world, bmp, 2, 2), R"({"h", {0, 0, 0, 233}})"},
        {_qor_getdisp_int(&world, INT64_MIN), "-9223372036854775808"},
        {_qor_getdisp_uint(&world, UINT64_MAX), "18446744073709551615"},
        {_qor_getdisp_real(&world, 0.5), "{ mantissa 1, base 2, exponent -1 }"},
        {_qor_getdisp_gentime(&world, &t), R"("20240102030405.006-0130")"},
        {_qor_getdisp_utctime(&world, &t), R"("20240102030405-0130")"},
    };
    for (const Case &c : cases)
        EXPECT_STREQ(c.text, c.expected);
    for (size_t i = sizeof cases / sizeof cases[0]; i-- > 0;)
        _qor_free_disp(&world, cases[i].text);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

// Octets and XML.

TEST_F(Print, HexadecimalPlainAndAsADump)
{
    unsigned char data[40];
    for (int i = 0; i < 40; i++)
        data[i] = static_cast<unsigned char>(0x41 + i);
    auto text = [&](QorLong n) { return leafOf(qorPrintHex, data, n); };
    EXPECT_EQ(text(9), "41424344 45464748 49\n");
    EXPECT_EQ(text(40), "41424344 45464748 494A4B4C 4D4E4F50 51525354 55565758 595A5B5C 5D5E5F60\n"
                        "61626364 65666768\n");
    EXPECT_EQ(text(0), "");
    EXPECT_EQ(leafOf(qorPrintHex, nullptr, 4), "");

    ASSERT_EQ(qorSetDebugFlags(&world, QOR_DEBUG_HEX_HEADING), 0);
    data[2] = 0x00;
    data[3] = 0x7F;
    data[4] = 0x80;
    EXPECT_EQ(text(17),
              "#   000000:   4142 007F 8046 4748 494A 4B4C 4D4E 4F50     AB...FGHIJKLMNOP\n"
              "#   000010:   51" +
                  std::string(40, ' ') + " Q\n");
    EXPECT_EQ(text(32),
              "#   000000:   4142 007F 8046 4748 494A 4B4C 4D4E 4F50     AB...FGHIJKLMNOP\n"
              "#   000010:   5152 5354 5556 5758 595A 5B5C 5D5E 5F60     QRSTUVWXYZ[\\]^_`\n");
    // A short line is padded by the count of missing octets, as it always was.
    EXPECT_EQ(text(4), "#   000000:   4142 007F " + std::string(6 + 24 + 3, ' ') + " AB..\n");
}

TEST_F(Print, OctetsAsCharactersAndAsAnAddress)
{
    auto ascii = [&](const char *d) { return leafOf(qorPrintOctetAsASCII, d); };
    auto address = [&](const char *d) { return leafOf(qorPrintOctetAsIPAddress, d); };
    EXPECT_EQ(ascii("'41427E0A'H"), "'AB~?'");
    EXPECT_EQ(ascii("''H"), "''");
    EXPECT_EQ(address("'C0A80001'H"), "192.168.0.1");
    EXPECT_EQ(address("''H"), "");
    EXPECT_EQ(ascii(nullptr), "");

    // Made by the display string of the same octets.
    static const unsigned char ip[] = {10, 0, 0, 255};
    char *display = _qor_getdisp_oct(&world, ip, 4);
    EXPECT_EQ(address(display), "10.0.0.255");
    _qor_free_disp(&world, display);
}

TEST_F(Print, XmlAsItStandsAndReindented)
{
    auto text = [&](const std::string &xml, int pretty) {
        return textOf(&world, [&](QorGlobal *w) {
            qorPrintXML(w, reinterpret_cast<const unsigned char *>(xml.data()),
                        static_cast<QorLong>(xml.size()), pretty);
        });
    };
    EXPECT_EQ(text("<a>\r\n<b>x\ry</b>\r\n</a>", 0), "<a>\n<b>x\ry</b>\n</a>");

    EXPECT_EQ(
        text("<?xml version=\"1.0\"?>\n<!-- made by hand -->"
             "<Rec><a>1</a><b  x = \"1  2\"\n y='>'><c/></b><!-- note --><p>Hi <i>there</i>!</p>"
             "<d></d  ></Rec>\n<!-- tail -->\ntrailing text",
             1),
        "<?xml version=\"1.0\"?>\n<!-- made by hand -->\n<Rec>\n  <a>1</a>\n"
        "  <b x = \"1  2\" y='>'>\n    <c/>\n  </b>\n  <!-- note -->\n"
        "  <p>Hi <i>there</i>!</p>\n  <d></d>\n</Rec>\n<!-- tail -->");

    // The canonical XER of the reference value, and its indented form, give
    // the indented document with two blanks a level where asn1c has four.
    std::string expected;
    for (const Vector &x : vectorsFor("personnel.asn", "XER")) {
        if (x.madeBy.find("asn1c") == std::string::npos)
            continue;
        std::istringstream lines(x.text);
        for (std::string line; std::getline(lines, line);) {
            size_t blanks = std::min(line.find_first_not_of(' '), line.size());
            expected += (expected.empty() ? "" : "\n") + std::string(blanks / 2, ' ') +
                        line.substr(blanks);
        }
    }
    int seen = 0;
    for (const char *rule : {"XER", "CXER"}) {
        for (const Vector &v : vectorsFor("personnel.asn", rule)) {
            if (v.madeBy.find("asn1c") == std::string::npos)
                continue;
            EXPECT_EQ(text(v.text, 1), expected) << rule;
            seen++;
        }
    }
    if (seen == 0)
        GTEST_SKIP() << "reference vectors not found";
}

TEST_F(Print, ALongPieceWithoutMemoryFailsTheCallRatherThanCutIt)
{
    // The piece lives outside the frame: the call may leave through it.
    static char piece[2001];
    memset(piece, 'x', 2000);
    leaf = [](QorGlobal *w) { qorPrint(w, "%s", piece); };
    static int anything;
    for (long n = 1; n <= 4; n++) {
        SCOPED_TRACE(n);
        CountingAllocator::reset(n);
        QorBuf buffer = {0, nullptr};
        int code = qorPrintPDUToBuffer(&world, kLeafPdu, &anything, &buffer);
        CountingAllocator::failAt = 0;
        if (code == 0) {
            EXPECT_EQ(strlen(reinterpret_cast<char *>(buffer.value)), 2000u);
            qorFreeBuf(&world, buffer.value);
        } else {
            // Also in the writing pass (n 3): the caller is left nothing to free.
            EXPECT_EQ(code, QOR_OUT_OF_MEMORY);
            EXPECT_EQ(buffer.value, nullptr);
            EXPECT_EQ(buffer.length, 0);
        }
        EXPECT_EQ(CountingAllocator::outstanding, 0);
    }
}

TEST_F(Print, ASecondPassThatComesOutLongerLeavesTheCutTextToTheCaller)
{
    static int passes;
    passes = 0;
    leaf = [](QorGlobal *w) { qorPrint(w, passes++ == 0 ? "ab" : "abcdef"); };
    static int anything;
    QorBuf buffer = {0, nullptr};
    EXPECT_EQ(qorPrintPDUToBuffer(&world, kLeafPdu, &anything, &buffer), QOR_BUFFER_TOO_SMALL);
    ASSERT_NE(buffer.value, nullptr);
    EXPECT_EQ(buffer.length, 3);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer.value), "ab");
    qorFreeBuf(&world, buffer.value);
}
