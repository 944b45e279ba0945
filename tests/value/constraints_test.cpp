// The constraint checker: the frame of qorCheckConstraints and the codes it
// maps message indices to, the test schema's constraint entry, and the check
// primitives, under a check and inside an encoder.
#include <array>
#include <csignal>
#include <string>

#include "support/roundtrip.h"

#include "value/constraints.h"

using namespace qortest;

namespace {

// Each row runs its body as the constraint entry: qorCheckConstraints gets
// the row itself as the value.
struct Row {
    const char *name;
    void (*body)(QorGlobal *world);
    int code;
};

int rowEntry(QorGlobal *world, int, void *value)
{
    static_cast<Row *>(value)->body(world);
    return 1; // ignored: only a raise is a violation
}

QorXapiEntries rowXapi = {26, nullptr, nullptr, nullptr, nullptr, 0, rowEntry,
                          0,  nullptr, nullptr, 0, 0, nullptr, nullptr};

class Checker : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        qorInitXAPIentries(&world, &rowXapi);
    }
    int check(const Row &row) { return qorCheckConstraints(&world, 1, const_cast<Row *>(&row)); }
    void expectRows(const Row *rows, size_t count)
    {
        for (size_t i = 0; i < count; i++) {
            EXPECT_EQ(check(rows[i]), rows[i].code) << rows[i].name;
            EXPECT_STREQ(qorGetErrMsg(&world), "") << rows[i].name;
        }
    }
};

int raisedIndex;
volatile uintptr_t wildAddress = 16;

TEST_F(Checker, MapsEachMessageIndexToItsCode)
{
    const struct {
        int index;
        int code;
    } cases[] = {
        {9, 14},
        {13, 19},
        {14, 83},
        {15, 82},
        {16, 81},
        {17, 80},
        {19, 79},
        {20, 123},
        {21, 78},
        {22, 77},
        {23, 76},
        {24, 75},
        {27, 74},
        {28, 73},
        {29, 72},
        {30, 71},
        {284, 71},
        {31, 70},
        {285, 70},
        {34, 69},
        {35, 68},
        {283, 68},
        {36, 67},
        {41, 66},
        {71, 11},
        {150, 100},
        {151, 101},
        {286, 122},
        {287, 122},
        {18, 17},
        {25, 17},
        {26, 17},
        {149, 17},
        {0, 17},
        {1, 17},
        {135, 17},
        {306, 17},
        {400, 17},
    };
    const Row raise = {"raise", [](QorGlobal *w) { _qor_enc_error(w, raisedIndex, 1); }, 0};
    for (const auto &c : cases) {
        raisedIndex = c.index;
        EXPECT_EQ(check(raise), c.code) << "index " << c.index;
        EXPECT_STREQ(qorGetErrMsg(&world), "") << "no message for index " << c.index;
        EXPECT_EQ(world.operation, QOR_OP_CHECK);
    }
}

TEST_F(Checker, Frame)
{
    const Row nothing = {"returns 1 without raising", [](QorGlobal *) {}, 0};
    // The frame leaves the per-call state alone.
    QorFieldRecord outer = {nullptr, nullptr, 0};
    world.fieldStack = &outer;
    EXPECT_EQ(check(nothing), 0);
    EXPECT_EQ(world.fieldStack, &outer);
    EXPECT_EQ(world.jumpFrame, nullptr);
    world.fieldStack = nullptr;

    EXPECT_EQ(qorCheckConstraints(nullptr, 1, &world), QOR_BAD_ARG);
    EXPECT_EQ(qorCheckConstraints(&world, 1, nullptr), QOR_BAD_ARG);
    // Without check code nothing is violated.
    const Row never = {"never run", [](QorGlobal *w) { _qor_enc_error(w, 29, 0); }, 0};
    QorXapiEntries noEntry = rowXapi;
    noEntry.constraintEntry = nullptr;
    qorInitXAPIentries(&world, &noEntry);
    EXPECT_EQ(check(never), 0);
    qorInitXAPIentries(&world, nullptr);
    EXPECT_EQ(check(never), 0);
}

TEST_F(Checker, MemoryViolationUnderTrapping)
{
    struct sigaction before;
    sigaction(SIGSEGV, nullptr, &before);
    ASSERT_EQ(qorSetFlags(&world, TRAPPING), 0);
    const Row segv = {"segv",
                      [](QorGlobal *) { *reinterpret_cast<volatile char *>(wildAddress) = 1; },
                      QOR_MEMORY_VIOLATION};
    for (int round = 0; round < 2; round++) {
        EXPECT_EQ(check(segv), QOR_MEMORY_VIOLATION);
        EXPECT_STREQ(qorGetErrMsg(&world), "");
        EXPECT_EQ(qor::checkTraps.head, nullptr) << "the record left the list";
        EXPECT_EQ(qor::callTraps.head, nullptr) << "the drivers' list untouched";
        struct sigaction after;
        sigaction(SIGSEGV, nullptr, &after);
        EXPECT_EQ(after.sa_handler, before.sa_handler) << "the old handler is back";
    }
    // A list that can't be used: 19, and no record to take off.
    void *sync = world.syncObject;
    world.syncObject = nullptr;
    EXPECT_EQ(check(segv), QOR_SYNC_ERROR);
    world.syncObject = sync;
    EXPECT_EQ(qor::checkTraps.head, nullptr);
}

// The demo value keeps the constrained module's constraints; each change
// breaks one, and other PDUs' entries report theirs.
TEST_F(ContextTest, SchemaConstraintEntry)
{
    EXPECT_EQ(qorCheckConstraints(&world, PDU_PersonnelConstrained, &personnelExample), 0);
    char digit[] = "J0hn", twoInitials[] = "PQ", shortDate[] = "1971091";
    const struct {
        char **field;
        char *text;
        int code;
    } cases[] = {
        {&personnelExample.name.givenName, digit, 72},
        {&personnelExample.nameOfSpouse.initial, twoInitials, 74},
        {&personnelExample.children.value[1].dateOfBirth, shortDate, 74},
    };
    for (const auto &c : cases) {
        char *kept = *c.field;
        *c.field = c.text;
        EXPECT_EQ(qorCheckConstraints(&world, PDU_PersonnelConstrained, &personnelExample), c.code)
            << c.text;
        EXPECT_EQ(qorCheckConstraints(&world, PDU_PersonnelRecord, &personnelExample), 0);
        *c.field = kept;
    }
    Record record{};
    record.level = 3;
    EXPECT_EQ(qorCheckConstraints(&world, PDU_Record, &record), 67);
    Texts texts = textsExample;
    EXPECT_EQ(qorCheckConstraints(&world, PDU_Texts, &texts), 0);
    QorULong outside[] = {'a', '7', 0x3C0};
    texts.symbols = {3, outside};
    EXPECT_EQ(qorCheckConstraints(&world, PDU_Texts, &texts), 72);
    EXPECT_STREQ(qorGetErrMsg(&world), "");
}

// The characters from 0x400, every one marked 255.
const auto kNoneMarked = [] {
    std::array<unsigned char, 256> table;
    table.fill(255);
    return table;
}();
const QorPermittedAlphabet kWide300 = {300, nullptr, kNoneMarked.data(), 0x400};
const QorPermittedAlphabet kWide10 = {10, nullptr, kNoneMarked.data(), 0x400};

// "a".."z" (smaller side: "0".."9"), then a list (0x3B1 0x3B2 0x3C9) and a
// last single value, 0x20AC.
// clang-format off
const QorULong kRanges[] = {
    0x42000006, 'a', 'z',
    0x40000000, '0', '9',
    0x94000005, 0x3B1, 0x3B2, 0x3C9, 0,
    0, 0x20AC};
// clang-format on
const QorPermittedAlphabet kRangeList = {0xFFFFFFFF, kRanges, nullptr, 0};

template <class Char> void wide(QorGlobal *w, Char c, const QorPermittedAlphabet &a)
{
    if constexpr (sizeof(Char) == 2)
        _qor_chk_pac2(w, &c, 1, &a);
    else
        _qor_chk_pac4(w, &c, 1, &a);
}

const QorLong kLevels[] = {0, 1, 2};
const QorEnumTable kEnum = {3, kLevels};
const QorEnumTable kEmptyEnum = {0, kLevels};

const unsigned char *u(const char *s)
{
    return reinterpret_cast<const unsigned char *>(s);
}

TEST_F(Checker, EnumeratedAndAlphabets)
{
    const Row rows[] = {
        {"enumerator", [](QorGlobal *w) { _qor_chk_enum(w, 2, &kEnum); }, 0},
        {"not an enumerator", [](QorGlobal *w) { _qor_chk_uenum(w, 3, &kEnum); }, 67},
        {"zero count", [](QorGlobal *w) { _qor_chk_enum(w, 0, &kEmptyEnum); }, 67},
        {"name", [](QorGlobal *w) { _qor_chk_pac(w, "Smith-Jones", 11, &nameAlphabet); }, 0},
        {"digit in a name", [](QorGlobal *w) { _qor_chk_pac(w, "J0hn", 4, &nameAlphabet); }, 72},
        {"eight bits", [](QorGlobal *w) { _qor_chk_pac(w, "Jo\xe9", 3, &nameAlphabet); }, 72},
        {"300: base", [](QorGlobal *w) { wide<uint16_t>(w, 0x400, kWide300); }, 0},
        {"300: base + 255", [](QorGlobal *w) { wide<QorULong>(w, 0x4FF, kWide300); }, 0},
        {"300: above", [](QorGlobal *w) { wide<uint16_t>(w, 0x500, kWide300); }, 72},
        {"300: below", [](QorGlobal *w) { wide<QorULong>(w, 0x3FF, kWide300); }, 72},
        {"10: marked 255", [](QorGlobal *w) { wide<uint16_t>(w, 0x401, kWide10); }, 72},
        {"range at the root", [](QorGlobal *w) { wide<QorULong>(w, 'q', kRangeList); }, 0},
        {"sibling skip", [](QorGlobal *w) { wide<uint16_t>(w, '5', kRangeList); }, 0},
        {"below the sibling", [](QorGlobal *w) { wide<QorULong>(w, '/', kRangeList); }, 72},
        {"past the sibling's end", [](QorGlobal *w) { wide<QorULong>(w, 'A', kRangeList); }, 72},
        {"list item", [](QorGlobal *w) { wide<QorULong>(w, 0x3C9, kRangeList); }, 0},
        {"in the list's span", [](QorGlobal *w) { wide<QorULong>(w, 0x3C0, kRangeList); }, 72},
        {"single value", [](QorGlobal *w) { wide<uint16_t>(w, 0x20AC, kRangeList); }, 0},
        {"past the end", [](QorGlobal *w) { wide<QorULong>(w, 0x20AD, kRangeList); }, 72},
    };
    expectRows(rows, std::size(rows));
    void *volatile enumCheck = reinterpret_cast<void *>(&_qor_chk_enum);
    void *volatile uenumCheck = reinterpret_cast<void *>(&_qor_chk_uenum);
    EXPECT_EQ(enumCheck, uenumCheck) << "one function, two names";
}

TEST_F(Checker, Utf8AndContainers)
{
    // Message 135 and 306 have no code of their own.
    const Row rows[] = {
        {"overlong zero", [](QorGlobal *w) { _qor_checkUtf8String(w, u("a\xC0\x80"), 3); }, 0},
        {"surrogate", [](QorGlobal *w) { _qor_checkUtf8String(w, u("\xED\xA0\x80"), 3); }, 0},
        {"six octets",
         [](QorGlobal *w) { _qor_checkUtf8String(w, u("\xFC\x84\x80\x80\x80\x80"), 6); }, 0},
        {"empty", [](QorGlobal *w) { _qor_checkUtf8String(w, nullptr, 0); }, 0},
        {"continuation first", [](QorGlobal *w) { _qor_checkUtf8String(w, u("\x80"), 1); }, 17},
        {"cut", [](QorGlobal *w) { _qor_checkUtf8String(w, u("\xE2\x82\xAC"), 2); }, 17},
        {"bad follower", [](QorGlobal *w) { _qor_checkUtf8String(w, u("\xE2\x41\xAC"), 3); }, 17},
        {"seven ones", [](QorGlobal *w) { _qor_checkUtf8String(w, u("\xFE"), 1); }, 17},
        {"terminated", [](QorGlobal *w) { _qor_checkUtf8String_nlltrm(w, "\xE2\x82\xAC!"); }, 0},
        {"null text", [](QorGlobal *w) { _qor_checkUtf8String_nlltrm(w, nullptr); }, 0},
        {"cut by the end", [](QorGlobal *w) { _qor_checkUtf8String_nlltrm(w, "\xE2\x82"); }, 17},
        {"octets all read", [](QorGlobal *w) { _qor_check_container(w, 0, 0, u("abc"), 3); }, 0},
        {"white space left", [](QorGlobal *w) { _qor_check_container(w, 3, 0, u("ab \t\n"), 5); },
         0},
        {"text left", [](QorGlobal *w) { _qor_check_container(w, 1, 0, u("abc"), 3); }, 17},
        {"no data to look at", [](QorGlobal *w) { _qor_check_container(w, 1, 0, nullptr, 3); }, 17},
        {"newline mark", [](QorGlobal *w) { _qor_check_container(w, 1, 1, u("ab\n"), 3); }, 0},
        {"mark, nothing left", [](QorGlobal *w) { _qor_check_container(w, 0, 1, u("ab\n"), 3); },
         17},
        {"one of one", [](QorGlobal *w) { _qor_check_container(w, 1, 0, u("x"), 1); }, 0},
        {"more left than held", [](QorGlobal *w) { _qor_check_container(w, 4, 0, u("abc"), 3); },
         17},
        {"bits all read", [](QorGlobal *w) { _qor_check_container(w, 0, 0x20, u("ab"), 16); }, 0},
        {"bits unpadded", [](QorGlobal *w) { _qor_check_container(w, 0, 0x24, u("ab"), 12); }, 17},
        {"bits padded", [](QorGlobal *w) { _qor_check_container(w, 0, 0x34, u("ab"), 12); }, 0},
        {"bits, blank left", [](QorGlobal *w) { _qor_check_container(w, 1, 0x20, u("ab "), 24); },
         0},
        {"bits, pad bits used", [](QorGlobal *w) { _qor_check_container(w, 0, 0x30, u("ab"), 12); },
         17},
    };
    expectRows(rows, std::size(rows));
}

const char *iriText;
QorULong iriFlags;

TEST_F(Checker, OidIris)
{
    const struct {
        const char *text;
        QorULong flags; // 1: absolute
        int code;
    } cases[] = {
        {"/ITU-T/0/A", 1, 0},
        {"/ITU-T/Administration/1", 1, 0},
        {"/ITU-T/5", 1, 122},
        {"/0/Recommendation/26", 1, 0},
        {"/0/0/27", 1, 122},
        {"/0/0/01", 1, 122},
        {"/ISO/Member-Body/840", 1, 0},
        {"/ISO/Question", 1, 122},
        {"/Joint-ISO-ITU-T/anything/x", 1, 0},
        {"/Foo/bar", 1, 0},
        {"//", 1, 122},
        {"/", 1, 122},
        {"ISO", 1, 122},
        {"/Foo/0", 1, 0},
        {"/Foo/0123", 1, 122},
        {"/Foo/a b", 1, 122},
        {"/Foo/a\x1f", 1, 122},
        {"/Foo/\xC2\xA0", 1, 0},
        {"/Foo/\xC2\x9F", 1, 122},
        {"/Foo/\xED\x9F\xBF", 1, 0},
        {"/Foo/\xED\xA0\x80", 1, 122},
        {"/Foo/\xEF\xBF\xBE", 1, 122},
        {"/Foo/\xF0\x9F\x98\x80", 1, 0},
        {"/Foo/\xF3\xA0\x80\x80", 1, 122},
        {"/Foo/\xF3\xA1\x80\x80", 1, 0},
        {"/Foo/\x80", 1, 122},
        {"a/b", 0, 0},
        {"/a", 0, 122},
        {"", 0, 122},
    };
    const Row iri = {"iri",
                     [](QorGlobal *w) {
                         _qor_check_oid_iri(w, iriText, static_cast<QorLong>(strlen(iriText)),
                                            iriFlags);
                     },
                     0};
    for (const auto &c : cases) {
        iriText = c.text;
        iriFlags = c.flags;
        EXPECT_EQ(check(iri), c.code) << c.text;
    }
}

// Inside an encoder the same raises make their messages, with the piece of
// text at fault cut to 127 characters around the fault.
TEST_F(Checker, MessagesInsideAnEncoder)
{
    const std::string arc = std::string(200, 'a') + "!" + std::string(200, 'a');
    const std::string text = "/Foo/" + arc;
    const std::string tail = std::string(200, 'a') + "!a";
    const std::string arcMessage =
        "E0335E: Invalid arc in the OID internationalized resource identifier value: '";
    const std::string valueMessage =
        "E0334E: Invalid OID internationalized resource identifier value: '";
    const struct {
        const char *text;
        QorULong flags;
        std::string message;
    } cases[] = {
        {text.c_str(), 1,
         arcMessage + "..." + std::string(60, 'a') + "!" + std::string(60, 'a') + "...'"},
        {text.c_str() + 155, 0,
         arcMessage + std::string(50, 'a') + "!" + std::string(73, 'a') + "...'"},
        {tail.c_str(), 0, arcMessage + "..." + std::string(122, 'a') + "!a'"},
        {text.c_str() + 155, 2,
         valueMessage + std::string(50, 'a') + "!" + std::string(73, 'a') + "...'"},
        {"//x", 1, valueMessage + "//x'"},
    };
    for (const auto &c : cases) {
        const int code = inFrame(&world, QOR_OP_ENCODE, [&] {
            _qor_check_oid_iri(&world, c.text, static_cast<QorLong>(strlen(c.text)), c.flags);
        });
        EXPECT_EQ(code, QOR_DATA_ERROR);
        EXPECT_TRUE(messageHas(c.message)) << qorGetErrMsg(&world);
    }
    const int code =
        inFrame(&world, QOR_OP_ENCODE, [&] { _qor_chk_pac(&world, "J0hn", 4, &nameAlphabet); });
    EXPECT_EQ(code, QOR_CONSTRAINT_VIOLATED);
    EXPECT_TRUE(messageHas("E0064S: Permitted alphabet constraint violated, bad character: '0'"))
        << qorGetErrMsg(&world);
}

} // namespace
