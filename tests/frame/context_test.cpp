// Context lifecycle: qorinit, qorterm, qorDupWorld, the brief forms, qorWinit.
#include <cstdio>
#include <cstring>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

int initCalls;
QorGlobal *worldSeenByInit;
QorControlTable *tableSeenByInit;

int countingInit(QorGlobal *world)
{
    initCalls++;
    worldSeenByInit = world;
    tableSeenByInit = world->ctlTable;
    qorLinkBer(world);
    return 0;
}

QorControlTable tableWith(QorInitEntry init, uint16_t ber = QOR_BER_VERSION, uint16_t per = 0)
{
    QorControlTable t = testSchemaTable;
    t.initEntry = init;
    t.berVersion = ber;
    t.perVersion = per;
    return t;
}

// Encodes and decodes a small value on `world`; true when both work.
bool roundTrips(QorGlobal *world)
{
    Raw value = rawText("abc");
    void *decoded = nullptr;
    if (decodePdu(world, encodePdu(world, PDU_Raw, &value), PDU_Raw, &decoded) != 0)
        return false;
    bool ok = static_cast<Raw *>(decoded)->length == 3;
    qorFreePDU(world, PDU_Raw, decoded);
    return ok;
}

} // namespace

TEST(Context, InitSetsDefaultsAndCallsTheInitEntryWithoutATable)
{
    QorControlTable table = tableWith(countingInit);
    QorGlobal world;
    memset(&world, 0xAB, sizeof world);
    initCalls = 0;
    ASSERT_EQ(qorinit(&world, &table), 0);
    EXPECT_EQ(initCalls, 1);
    EXPECT_EQ(worldSeenByInit, &world);
    EXPECT_EQ(tableSeenByInit, nullptr);
    EXPECT_EQ(world.ctlTable, &table);
    EXPECT_EQ(world.encRules, QOR_BER);
    EXPECT_EQ(world.encodingFlags, 0x200u);
    EXPECT_EQ(world.decodingFlags, 0x200u);
    EXPECT_EQ(world.printChop, 35u);
    EXPECT_EQ(world.printFn, reinterpret_cast<QorPrintFn>(fprintf));
    EXPECT_EQ(world.printStream, stdout);
    EXPECT_EQ(world.presetDecFlags & 1, 1);
    EXPECT_EQ(world.userVar, nullptr) << "cleared while _qorSetGlobalUserVar is 1";
    EXPECT_NE(world.privateArea, nullptr);
    qorterm(&world);
}

TEST(Context, InitRefusesBadTables)
{
    QorGlobal world;
    EXPECT_EQ(qorinit(nullptr, &testSchemaTable), QOR_BAD_ARG);

    EXPECT_EQ(qorinit(&world, nullptr), QOR_NULL_TABLE);
    EXPECT_EQ(world.ctlTable, nullptr);
    EXPECT_EQ(world.privateArea, nullptr);

    QorControlTable noInit = tableWith(nullptr);
    EXPECT_EQ(qorinit(&world, &noInit), QOR_NULL_FUNCTION);
    EXPECT_EQ(world.ctlTable, nullptr);

    QorControlTable oldBer = tableWith(countingInit, 16);
    EXPECT_EQ(qorinit(&world, &oldBer), QOR_BAD_VERSION);
    EXPECT_EQ(world.ctlTable, nullptr);
    EXPECT_EQ(world.privateArea, nullptr);

    QorControlTable badPer = tableWith(countingInit, QOR_BER_VERSION, 15);
    EXPECT_EQ(qorinit(&world, &badPer), QOR_BAD_VERSION);
    QorControlTable withPer = tableWith(countingInit, QOR_BER_VERSION, QOR_PER_VERSION);
    EXPECT_EQ(qorinit(&world, &withPer), 0);
    qorterm(&world);

    // A wrong XER version in the second half of the table.
    static QorXapiEntries xapi = testSchemaXapi;
    xapi.xerVersion = 1;
    QorControlTable badXer = tableWith([](QorGlobal *w) {
        qorLinkBer(w);
        return qorInitXAPIentries(w, &xapi);
    });
    EXPECT_EQ(qorinit(&world, &badXer), QOR_BAD_VERSION);
    EXPECT_EQ(world.ctlTable, nullptr);
}

TEST(Context, UserVarSurvivesInitOnlyWhenAsked)
{
    QorGlobal world;
    memset(&world, 0, sizeof world);
    int marker = 0;
    world.userVar = &marker;
    _qorSetGlobalUserVar = 0;
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    _qorSetGlobalUserVar = 1;
    EXPECT_EQ(world.userVar, &marker);
    qorterm(&world);
}

TEST(Context, TermTwiceIsANoOpAndTheRecordCanBeInitialisedAgain)
{
    QorGlobal world;
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    qorterm(&world);
    EXPECT_EQ(world.ctlTable, nullptr);
    qorterm(&world);
    qorterm(nullptr);
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    EXPECT_TRUE(roundTrips(&world));
    qorterm(&world);
}

TEST(Context, DuplicateSharesSettingsOutlivesNothingAndRefusesBadArguments)
{
    QorGlobal source, dup;
    ASSERT_EQ(qorinit(&source, &testSchemaTable), 0);
    source.encodingFlags = 0x20 | 0x40000000 | NOTRAPPING; // stored by hand, unnormalised
    source.decodingFlags = QOR_RELAXED | 0x20000000;
    qorSetCompatibilityFlags(&source, 0x8000);
    source.printChop = 7;

    ASSERT_EQ(qorDupWorld(&source, &dup), 0);
    EXPECT_EQ(dup.ctlTable, source.ctlTable);
    EXPECT_EQ(dup.dupMark, 1u);
    EXPECT_EQ(dup.printChop, 7u);
    EXPECT_EQ(dup.encodingFlags & 0x20, 0u) << "INDEFINITE cannot survive a duplication";
    EXPECT_NE(dup.encodingFlags & IGNORE_DEFER_DECODING, 0u);
    EXPECT_EQ(dup.decodingFlags & QOR_RELAXED, 0u);
    EXPECT_EQ(qorGetCompatibilityFlags(&dup), 0x8000);
    EXPECT_NE(dup.privateArea, source.privateArea);
    EXPECT_TRUE(roundTrips(&dup));

    // Ending the duplicate leaves the source working, and the other way round.
    qorterm(&dup);
    EXPECT_TRUE(roundTrips(&source));
    ASSERT_EQ(qorDupWorld(&source, &dup), 0);
    qorterm(&source);
    EXPECT_TRUE(roundTrips(&dup));
    qorterm(&dup);

    EXPECT_EQ(qorDupWorld(&source, nullptr), QOR_BAD_ARG);
    ASSERT_EQ(qorinit(&source, &testSchemaTable), 0);
    QorControlTable noInit = tableWith(nullptr);
    source.ctlTable = &noInit;
    EXPECT_EQ(qorDupWorld(&source, &dup), QOR_NULL_FUNCTION);
    EXPECT_EQ(dup.ctlTable, nullptr);
    EXPECT_EQ(dup.privateArea, nullptr);
    source.ctlTable = &testSchemaTable;
    qorterm(&source);
}

TEST(Context, BriefContextHasNoTableAndNoNestingLimits)
{
    QorGlobal world;
    EXPECT_EQ(qorbriefinit(nullptr), QOR_BAD_ARG);
    ASSERT_EQ(qorbriefinit(&world), 0);
    EXPECT_EQ(world.ctlTable, nullptr);
    ASSERT_NE(world.privateArea, nullptr);
    EXPECT_EQ(qorGetConstructedNestingLimit(&world), 0);
    EXPECT_EQ(qorGetSeqSetNestingLimit(&world), 0);
    Raw value = rawText("abc");
    QorBuf out = {0, nullptr};
    qorLinkBer(&world);
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_NULL_TABLE);
    qorbriefterm(&world);
    EXPECT_EQ(world.privateArea, nullptr);
}

TEST(Context, SizesAndConstants)
{
    EXPECT_EQ(qorGetQorGlobalSize(), static_cast<int>(sizeof(QorGlobal)));
    EXPECT_EQ(qorEncoderDecoderType, 1);
    EXPECT_EQ(qorLoadMemoryManager(nullptr, 0, nullptr), 4);
    EXPECT_EQ(qorInitSync(), 0);
    qorTermSync();
    _qor_run_KROD_on_X86_64_LINUX();
}

TEST(Context, LinksIgnoreANullContext)
{
    qorLinkBer(nullptr);
    qorLinkPer(nullptr);
    qorLinkXer(nullptr);
    qorLinkOerE(nullptr);
    qorLinkOerD(nullptr);
    qorLinkZlib(nullptr);
    EXPECT_EQ(qorLink_Exer(nullptr, nullptr), nullptr);
    QorGlobal world;
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    int tables = 0;
    EXPECT_EQ(qorLink_Exer(&world, &tables), world.privateArea);
    qorterm(&world);
}

TEST(Context, WinitTakesATableOrALibrary)
{
    QorGlobal world;
    EXPECT_EQ(qorWinit(nullptr, &testSchemaTable, nullptr, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorWinit(&world, nullptr, nullptr, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorWinit(&world, nullptr, "libqorapit-no-such-table.so", nullptr),
              QOR_LIBRARY_LOAD_FAILED);
    EXPECT_NE(strstr(world.errMsgBuffer, "0139S: Controltable shared library failed to load: "),
              nullptr);

    int window = 0;
    ASSERT_EQ(qorWinit(&world, &testSchemaTable, nullptr, &window), 0);
    EXPECT_NE(world.traceTemp, nullptr);
    EXPECT_TRUE(roundTrips(&world));
    qorWterm(&world);
    EXPECT_EQ(world.ctlTable, nullptr);
    EXPECT_EQ(world.traceTemp, nullptr);
}
