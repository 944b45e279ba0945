// Memory handles: decoded values in a private heap, thrown away at once.
#include "support/roundtrip.h"

using namespace qortest;

namespace {

class Handles : public ContextTest {
protected:
    QorMemoryHandleStat stat(void *handle, QorULong flags = 1)
    {
        QorMemoryHandleStat s{};
        EXPECT_EQ(qorGetMemoryHandleStat(&world, handle, &s, flags), 0);
        return s;
    }
};

} // namespace

TEST_F(Handles, DecodedValuesLandInTheHandleAndGoWithIt)
{
    std::vector<Bytes> encodings;
    for (int rules : {QOR_BER, QOR_DER}) {
        world.encRules = rules;
        encodings.push_back(encodePdu(&world, PDU_PersonnelRecord, &personnelExample));
    }
    const long before = CountingAllocator::calls;
    void *handle = qorCreateMemoryHandle(&world, 4096);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(qorGetActiveMemoryHandle(&world), handle);
    for (int round = 0; round < 50; round++) {
        for (const Bytes &e : encodings) {
            void *out = nullptr;
            ASSERT_EQ(decodePdu(&world, e, 0, &out), 0);
            EXPECT_STREQ(static_cast<PersonnelRecord *>(out)->children.value[1].name.givenName,
                         "Susan");
            if (round % 2 == 0)
                qorFreePDU(&world, PDU_PersonnelRecord, out); // given back piece by piece
        }
        if (round % 10 == 9) {
            EXPECT_EQ(qorCleanMemoryHandle(&world, handle), 0); // or all at once
        }
    }
    EXPECT_EQ(CountingAllocator::calls, before) << "the user's allocator was not called";
    QorMemoryHandleStat s = stat(handle);
    EXPECT_EQ(s.allocated, 0u);
    EXPECT_GE(s.blockCount, 1u);
    EXPECT_EQ(s.totalBytes, s.usedInternally + s.free);
    EXPECT_EQ(qorDeleteMemoryHandle(&world, handle), 0);
    EXPECT_EQ(qorGetActiveMemoryHandle(&world), nullptr);
    // The user's allocator is back.
    encodePdu(&world, PDU_PersonnelRecord, &personnelExample);
    EXPECT_GT(CountingAllocator::calls, before);
}

TEST_F(Handles, FreedNeighboursMergeAndLargeRequestsGetABlock)
{
    void *handle = qorCreateMemoryHandle(&world, 1024);
    void *a = qorGetMemory(&world, 100);
    void *b = qorGetMemory(&world, 100);
    void *c = qorGetMemory(&world, 100);
    ASSERT_TRUE(a && b && c);
    QorMemoryHandleStat s = stat(handle);
    EXPECT_EQ(s.blockCount, 1u);
    EXPECT_EQ(s.allocated, 312u) << "sizes rounded to 8";
    const QorULong freeBefore = s.free;
    qorFreeMemory(&world, a);
    qorFreeMemory(&world, b);
    s = stat(handle);
    // Two neighbours merge: the header between them counts as free.
    EXPECT_GT(s.free, freeBefore + 208);
    EXPECT_EQ(s.allocated, 104u);
    void *big = qorGetMemory(&world, 5000);
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(stat(handle).blockCount, 2u) << "larger than a block: a block of its own";
    void *again = qorGetMemory(&world, 200);
    EXPECT_EQ(again, a) << "first fit reuses the merged space";
    qorCleanMemoryHandle(&world, handle);
    EXPECT_EQ(stat(handle).allocated, 0u);
    qorDeleteMemoryHandle(&world, handle);
}

TEST_F(Handles, ActivationAndStatistics)
{
    EXPECT_EQ(qorSetActiveMemoryHandle(&world, nullptr), 0) << "none active: nothing changes";
    EXPECT_EQ(qorSetActiveMemoryHandle(nullptr, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorCreateMemoryHandle(nullptr, 10), nullptr);
    EXPECT_EQ(qorCleanMemoryHandle(&world, nullptr), QOR_BAD_ARG);
    EXPECT_EQ(qorDeleteMemoryHandle(&world, nullptr), QOR_BAD_ARG);

    void *handle = qorCreateMemoryHandle(&world, 2048);
    QorGlobal dup;
    ASSERT_EQ(qorDupWorld(&world, &dup), 0);
    EXPECT_EQ(qorGetActiveMemoryHandle(&dup), nullptr) << "a handle serves one context";
    EXPECT_NE(dup.userMalloc, world.userMalloc);
    qorterm(&dup);

    qorGetMemory(&world, 10);
    FILE *sink = tmpfile();
    world.printStream = sink;
    QorMemoryHandleStat quiet{};
    EXPECT_EQ(qorGetMemoryHandleStat(&world, handle, &quiet, 0), 0);
    EXPECT_EQ(ftell(sink), 0) << "level 0 prints nothing";
    EXPECT_EQ(quiet.allocated, 0u) << "level 0 fills the sizes only";
    QorMemoryHandleStat loud{};
    EXPECT_EQ(qorGetMemoryHandleStat(&world, handle, &loud, 4 | 0x20), 0);
    fflush(sink);
    rewind(sink);
    char text[512] = {};
    size_t n = fread(text, 1, sizeof text - 1, sink);
    fclose(sink);
    world.printStream = stdout;
    EXPECT_GT(n, 0u);
    EXPECT_EQ(std::string(text).find("Handle:\n  Block #1: length = "), 0u) << text;
    EXPECT_NE(std::string(text).find("    Fragment #1: status = 'allocated', length = 16\n"),
              std::string::npos)
        << text;
    EXPECT_NE(std::string(text).find("Handle summary (bytes): 16 allocated"), std::string::npos);
    qorDeleteMemoryHandle(&world, handle);
}

TEST_F(Handles, MemoryTheHandleNeverGaveIsLeftAlone)
{
    // A piece from the user's allocator, and one of another handle, freed
    // or resized while a handle is active: neither heap is touched.
    void *before = world.userMalloc(&world, 100);
    void *first = qorCreateMemoryHandle(&world, 1024);
    void *ofFirst = world.userMalloc(&world, 100);
    void *kept = world.userMalloc(&world, 100);
    void *second = qorCreateMemoryHandle(&world, 1024);
    world.userFree(&world, before);
    world.userFree(&world, ofFirst);
    EXPECT_EQ(world.userRealloc(&world, kept, 200), nullptr);
    EXPECT_EQ(stat(second).allocated, 0u);
    EXPECT_EQ(stat(first).allocated, 208u) << "both pieces still the first handle's";
    EXPECT_EQ(qorDeleteMemoryHandle(&world, first), 0);
    void *fresh = world.userMalloc(&world, 16);
    EXPECT_NE(fresh, nullptr);
    world.userFree(&world, fresh);
    EXPECT_EQ(qorDeleteMemoryHandle(&world, second), 0);
    world.userFree(&world, before); // the user's allocator again

    // Requests whose size arithmetic would wrap get nothing.
    void *third = qorCreateMemoryHandle(&world, 1024);
    EXPECT_EQ(world.userMalloc(&world, SIZE_MAX), nullptr);
    EXPECT_EQ(world.userMalloc(&world, SIZE_MAX - 15), nullptr);
    stat(third);
    EXPECT_EQ(qorDeleteMemoryHandle(&world, third), 0);
}

TEST_F(Handles, TheAuditStopsAtADamagedLength)
{
    void *handle = qorCreateMemoryHandle(&world, 1024);
    auto *piece = static_cast<unsigned char *>(world.userMalloc(&world, 64));
    size_t *length = reinterpret_cast<size_t *>(piece - 32 + 8); // the header's length word
    const size_t good = *length;
    *length = SIZE_MAX / 2;
    QorMemoryHandleStat s{};
    EXPECT_EQ(qorGetMemoryHandleStat(&world, handle, &s, 1), QOR_FATAL);
    *length = good;
    EXPECT_EQ(qorGetMemoryHandleStat(&world, handle, &s, 1), 0);
    EXPECT_EQ(qorDeleteMemoryHandle(&world, handle), 0);
}

// Each script: `+n` asks for n octets, `-i` gives piece i back, `c` cleans,
// `=i,j` piece i lies where piece j did, `>i,j` right behind piece j, `#n`
// the handle has n blocks. After every step the audit passes, the sizes add
// up, and every live piece still holds what was written into it.
TEST_F(Handles, AllocationBumpsUnlessAFreedFragmentFits)
{
    struct Row {
        const char *name;
        long blockSize;
        const char *script;
    };
    const Row rows[] = {
        {"a hole too small is passed over, then reused", 1024, "+16 +16 +16 -1 +24 >3,2 +16 =4,1 #1"},
        {"a walk finds a hole once the hint is used up", 1024,
         "+64 +8 +32 +8 -0 -2 +40 =4,0 +24 =5,2 +40 >6,3"},
        {"the last pieces given back go back to the tail", 1024, "+16 +24 -1 +40 =2,1 -0 -2 +100 =3,0"},
        {"the tail moves on to a new block", 256, "+64 +64 +64 #2 >1,0 +16 >3,2"},
        {"a block of its own leaves the tail where it was", 1024, "+100 +2000 +100 #2 >2,0"},
        {"a block emptied by a release becomes the tail", 512, "+400 +64 #2 -0 +200 =2,0"},
        {"cleaning keeps the blocks for reuse", 256, "+64 +64 +64 +64 +64 +64 #3 c +64 +64 +64 +64 +64 +64 #3"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        void *handle = qorCreateMemoryHandle(&world, row.blockSize);
        std::vector<unsigned char *> pieces;
        std::vector<size_t> sizes;
        std::vector<bool> live;
        for (const char *at = row.script; *at != '\0';) {
            char op = *at++;
            long i = strtol(at, const_cast<char **>(&at), 10), j = 0;
            if (*at == ',')
                j = strtol(at + 1, const_cast<char **>(&at), 10);
            while (*at == ' ')
                at++;
            SCOPED_TRACE(std::string(1, op) + std::to_string(i));
            switch (op) {
            case '+':
                pieces.push_back(static_cast<unsigned char *>(world.userMalloc(&world, size_t(i))));
                ASSERT_NE(pieces.back(), nullptr);
                sizes.push_back(size_t(i));
                live.push_back(true);
                memset(pieces.back(), int(pieces.size()), size_t(i));
                break;
            case '-':
                world.userFree(&world, pieces[i]);
                live[i] = false;
                break;
            case 'c':
                EXPECT_EQ(qorCleanMemoryHandle(&world, handle), 0);
                live.assign(live.size(), false);
                break;
            case '=':
                EXPECT_EQ(pieces[i], pieces[j]);
                break;
            case '>':
                EXPECT_EQ(pieces[i], pieces[j] + ((sizes[j] + 7) & ~size_t{7}) + 32);
                break;
            case '#':
                EXPECT_EQ(stat(handle).blockCount, QorULong(i));
                break;
            }
            QorMemoryHandleStat s = stat(handle);
            EXPECT_EQ(s.totalBytes, s.usedInternally + s.allocated + s.free);
            size_t held = 0;
            for (size_t k = 0; k < pieces.size(); k++) {
                if (!live[k])
                    continue;
                held += (sizes[k] + 7) & ~size_t{7};
                for (size_t n = 0; n < sizes[k]; n++)
                    ASSERT_EQ(pieces[k][n], (unsigned char)(k + 1)) << "piece " << k;
            }
            EXPECT_GE(s.allocated, held);
            EXPECT_LT(s.allocated, held + 40 * pieces.size() + 1);
        }
        EXPECT_EQ(qorDeleteMemoryHandle(&world, handle), 0);
    }
}
