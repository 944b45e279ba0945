// Error reporting: message texts with each kind of value, field locations,
// long messages, and the return-code texts.
#include <cstdarg>
#include <cstring>
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

class Errors : public ContextTest {
protected:
    // Encodes a Fault that raises `f` and returns the message.
    std::string raised(Fault f, int expectedCode)
    {
        QorBuf out = {0, nullptr};
        EXPECT_EQ(qorEncode(&world, PDU_Fault, &f, &out), expectedCode);
        return qorGetErrMsg(&world);
    }

    static Fault fault(int message, int raiser, QorLong number = 0, QorLong high = 0,
                       double real = 0, const char *text = nullptr)
    {
        Fault f{};
        f.message = message;
        f.raiser = raiser;
        f.number = number;
        f.high = high;
        f.real = real;
        f.text = text;
        f.element = 3;
        return f;
    }
};

std::string printed;

int collectPrint(QorGlobal *, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    printed += va_arg(args, const char *);
    va_end(args);
    return 0;
}

const char kPath[] =
    "; check field 'x' (type: INTEGER) of element #3 (type: Item) of field 'items' (type: Items) "
    "of PDU #2 'Fault'.\n";

} // namespace

TEST_F(Errors, EachKindOfValueIsShownAsTheCatalogueAsks)
{
    const char *const range = "E0062S: Value range constraint violated, value = ";
    const char *const alphabet = "E0064S: Permitted alphabet constraint violated, bad character: ";
    struct Case {
        Fault f;
        int code;
        std::string expected; // before the location
    } cases[] = {
        {fault(22, RAISE_LONG, -42), 17, range + std::string("-42")}, // signed
        {fault(23, RAISE_LONG, -1), 17, range + std::string("4294967295")}, // unsigned
        {fault(22, RAISE_LONGLONG, 0, INT32_MIN), 17, range + std::string("-9223372036854775808")},
        {fault(24, RAISE_REAL, 0, 0, 1.5e300), 17, range + std::string("1.5e+300")},
        {fault(24, RAISE_REAL, 0, 0, 0.25), 17, range + std::string("0.25")},
        {fault(19, RAISE_STRING, 0, 0, 0, "abc"), 17,
         "E0061S: Single value constraint violated, value = 'abc'"},
        {fault(29, RAISE_LONG, 'Q'), 17, alphabet + std::string("'Q'")}, // a character
        {fault(29, RAISE_LONG, 0x1F600), 17, alphabet + std::string("{0,1,246,0}")},
        {fault(29, RAISE_LONG, 7), 17, alphabet + std::string("{0,0,0,7}")},
        {fault(30, RAISE_LONG, 99), 17, "E0065S: Absence constraint violated"}, // no value
        // Takes a value, shows none.
        {fault(85, RAISE_LONG), 5, "E0095S: Mandatory field is not present in extension group: "},
    };
    for (const Case &c : cases)
        EXPECT_EQ(raised(c.f, c.code), c.expected + kPath);
}

// Tags show their class and the tag expected; unbounded values of huge
// integers are hexadecimal, and a text stops at its first zero octet.
TEST_F(Errors, TagsAndUnboundedValues)
{
    static const unsigned char huge[] = {0x80, 0x01, 0xAB};
    const char *const hugeText = reinterpret_cast<const char *>(huge);
    const struct {
        int message, raiser;
        QorLong number;
        const char *text;
        QorLong textLength;
        int code;
        std::string shown;
    } rows[] = {
        {103, RAISE_LONG, (0x4003 << 16) | 2, nullptr, 0, 5,
         std::string("E0033E: Tag mismatch or tag not expected: [UNIVERSAL 2] "
                     "(expected tag [APPLICATION 3])") + kPath},
        {103, RAISE_LONG, 0x8000 | 17, nullptr, 0, 5, "expected: [17];"},
        {103, RAISE_LONG, 0xC000 | 0x3fff, nullptr, 0, 5, "[PRIVATE 16383];"},
        {22, RAISE_UNBOUNDED, 0, hugeText, 3, 17, "value = '0x8001AB'"},
        {23, RAISE_UNBOUNDED, 0, hugeText, 3, 17, "value = '0x08001AB'"}, // reads as positive
        {23, RAISE_UNBOUNDED, 0, hugeText, 0, 17, "value = ''"},
        {20, RAISE_UNBOUNDED, 0, "text\0hidden", 11, 17, "value = 'text';"},
    };
    for (const auto &row : rows) {
        Fault f = fault(row.message, row.raiser, row.number);
        f.text = row.text;
        f.textLength = row.textLength;
        EXPECT_NE(raised(f, row.code).find(row.shown), std::string::npos) << row.shown;
    }
}

TEST_F(Errors, MessagesWithoutLocationAndPdusNamedByType)
{
    Fault f = fault(3, RAISE_LONG);
    f.number = 77;
    EXPECT_EQ(raised(f, QOR_PDU_RANGE), "E0003S: PDU number not in range: 77.\n");
}

TEST_F(Errors, ALongPathGoesToTheExtendedMessageAndTheBufferKeepsACutText)
{
    static char longName[2000];
    memset(longName, 'n', sizeof longName - 1);
    static const QorFieldInfo rootInfo = {"Fault", "Fault", 16};
    static const QorFieldInfo longInfo = {longName, "Long", 16};
    QorFieldRecord root = {nullptr, &rootInfo, 0};
    QorFieldRecord inner = {&root, &longInfo, 0};
    world.fieldStack = &inner;
    world.operation = QOR_OP_ENCODE;
    world.pduNumber = 2;
    world.errMsgTarget = world.errMsgBuffer;
    EXPECT_EQ(_qor_krod_api_error(&world, 106, 0), QOR_DATA_ERROR);
    std::string full = qorGetErrMsg(&world);
    EXPECT_EQ(full, std::string("E0037E: Value misencoded or length wrong for value; check field '") +
                        longName + "' (type: Long) of PDU #2.\n");
    EXPECT_LT(strlen(world.errMsgBuffer), 512u);
    EXPECT_EQ(std::string(world.errMsgBuffer), "E0037E: Value misencoded or length wrong for value; check PDU #2.\n");
    free_ext_errMsg(&world);
    EXPECT_STREQ(qorGetErrMsg(&world), world.errMsgBuffer);
    world.fieldStack = nullptr;
}

TEST_F(Errors, NoTargetMeansNoMessageButTheCodeIsKept)
{
    world.errMsgTarget = nullptr;
    world.errMsgBuffer[0] = '\0';
    EXPECT_EQ(_qor_krod_api_error(&world, 48, 10), QOR_OUT_OF_MEMORY);
    EXPECT_EQ(world.lastError, QOR_OUT_OF_MEMORY);
    EXPECT_STREQ(world.errMsgBuffer, "");
    EXPECT_EQ(CountingAllocator::calls, 0);
}

TEST_F(Errors, DebugFlagPrintsTheMessageThroughTheUserPrintFunction)
{
    printed.clear();
    world.userPrintFn = collectPrint;
    world.encodingFlags |= DEBUGPDU;
    Fault f = fault(106, RAISE_LONG);
    raised(f, 5);
    EXPECT_NE(printed.find("The encoder error message:\n\nE0037E"), std::string::npos) << printed;
}

TEST_F(Errors, UnknownMessageNumbersBecomeTheImpossibleMessage)
{
    Fault f = fault(400, RAISE_LONG);
    EXPECT_NE(raised(f, QOR_FATAL).find("0056S: This error cannot happen; inform QOR, code = 400"),
              std::string::npos);
}

TEST(ReturnCodes, TextsFollowTheOperation)
{
    EXPECT_STREQ(qorDescribeReturnCode(nullptr, 0), "Success");
    EXPECT_STREQ(qorDescribeReturnCode(nullptr, 8), "Out of memory");
    EXPECT_EQ(qorDescribeReturnCode(nullptr, 87), nullptr);
    EXPECT_EQ(qorDescribeReturnCode(nullptr, 133), nullptr);
    EXPECT_EQ(qorDescribeReturnCode(nullptr, -1), nullptr);
    EXPECT_STREQ(qorDescribeReturnCode(nullptr, 62), "Error when closing iconv() tables");
    QorGlobal world{};
    world.operation = QOR_OP_ENCODE;
    EXPECT_STREQ(qorDescribeReturnCode(&world, 9), "Choice selector is out of range");
    EXPECT_NE(std::string(qorDescribeReturnCode(nullptr, 9)).find("Encoder: Choice"),
              std::string::npos);
    world.operation = QOR_OP_DECODE;
    EXPECT_STREQ(qorDescribeReturnCode(&world, 10),
                 "Implementation limit exceeded.  For example, an integer value was too great");
    EXPECT_NE(std::string(qorDescribeReturnCode(nullptr, 7)).find("few causes:\n1. In general"),
              std::string::npos);
}

TEST(Messages, NullContextCalls)
{
    EXPECT_EQ(qorGetErrMsg(nullptr), nullptr);
    free_ext_errMsg(nullptr);
    EXPECT_EQ(_qor_krod_api_error(nullptr, 1, 0), QOR_BAD_ARG);
}
