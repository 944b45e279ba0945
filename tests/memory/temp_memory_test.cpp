// Temporary memory of a call: stack-ordered pieces, the temporary stack,
// alternate decoder memory, and their release by the drivers (after a failure:
// Driver.FailedDecodeFreesEverythingAndClearsTheOutput).
#include <cstring>

#include "frame/world.h"
#include "support/roundtrip.h"

using namespace qortest;

namespace {

class TempMemory : public ContextTest {
protected:
    void TearDown() override
    {
        EXPECT_EQ(world.tempBlockList, nullptr);
        ContextTest::TearDown();
    }
};

} // namespace

TEST_F(TempMemory, FreeingAPieceFreesEveryNewerOne)
{
    ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          void *a = _qor_dec_gettempmem(&world, 10);
                          void *b = _qor_dec_gettempmem(&world, 20);
                          _qor_tstk_alloc(&world, 30);
                          void *d = _qor_tstk_alloc(&world, 40);
                          EXPECT_EQ(CountingAllocator::outstanding, 3);
                          _qor_dec_freetempmem(&world, d); // inside the stack block: a mark
                          EXPECT_EQ(CountingAllocator::outstanding, 3);
                          _qor_dec_freetempmem(&world, b); // frees the stack block and b's
                          EXPECT_EQ(CountingAllocator::outstanding, 1);
                          _qor_dec_freetempmem(&world, a);
                      }),
              0);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(TempMemory, StackBlocksAreAtLeast4096AndFitLargePieces)
{
    ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          void *small = _qor_tstk_alloc(&world, 1);
                          EXPECT_EQ(CountingAllocator::lastSize, 4096 + 4 * sizeof(void *));
                          _qor_tstk_alloc(&world, 4999);
                          EXPECT_EQ(CountingAllocator::lastSize, 5000 + 4 * sizeof(void *));
                          void *mark = _qor_tstk_alloc(&world, 0);
                          _qor_tstk_alloc(&world, 100000);
                          _qor_tstk_alloc(&world, 10);
                          EXPECT_EQ(CountingAllocator::outstanding, 4);
                          _qor_tstk_free(&world, mark); // in an older block
                          EXPECT_EQ(CountingAllocator::outstanding, 2);
                          _qor_tstk_free(&world, small);
                          EXPECT_EQ(CountingAllocator::outstanding, 1);
                          _qor_tstk_free(&world, nullptr);
                      }),
              0);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(TempMemory, AStackBlockCannotGrowInACallersTemporaryBuffer)
{
    alignas(16) static unsigned char scratch[256];
    useTemporaryBuffer(scratch, sizeof scratch);
    EXPECT_EQ(inFrame(&world, QOR_OP_DECODE, [&] { _qor_tstk_add_block(&world, 1); }),
              QOR_OUT_OF_MEMORY);
    void *a = nullptr;
    EXPECT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          a = _qor_tstk_alloc(&world, 100);
                          _qor_dec_gettempmem(&world, 100);
                          _qor_dec_freetempmem(&world, a);
                          EXPECT_EQ(world.tempLow, scratch);
                          _qor_dec_gettempmem(&world, 300);
                      }),
              QOR_OUT_OF_MEMORY);
    EXPECT_EQ(a, scratch);
    useTemporaryBuffer(nullptr, 0);
}

TEST_F(TempMemory, AlternateMemoryIsAssembledNewestLast)
{
    for (bool tempBuffer : {false, true}) {
        SCOPED_TRACE(tempBuffer);
        alignas(16) static unsigned char scratch[512];
        if (tempBuffer)
            useTemporaryBuffer(scratch, sizeof scratch);
        char out[40] = {};
        for (QorLong total : {QorLong{30}, QorLong{20}}) {
            ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                              [&] {
                                  // Pieces of 10, the last one short unless the
                                  // total is a multiple of the chunk.
                                  for (QorLong at = 0; at < total; at += 10) {
                                      QorLong n = total - at < 10 ? total - at : 10;
                                      auto *piece = static_cast<char *>(
                                          _qor_tstk_get_altdecmem(&world, n));
                                      for (QorLong i = 0; i < n; i++)
                                          piece[i] = static_cast<char>('a' + at / 10);
                                  }
                                  _qor_tstk_consolidate_altdecmem(&world, out, total, 10);
                              }),
                      0);
            EXPECT_EQ(std::string(out, static_cast<size_t>(total)),
                      std::string("aaaaaaaaaabbbbbbbbbbcccccccccc").substr(0, static_cast<size_t>(total)));
        }
        EXPECT_EQ(world.altDecList, nullptr);
        if (tempBuffer) {
            EXPECT_EQ(world.tempHigh, scratch + sizeof scratch);
            useTemporaryBuffer(nullptr, 0);
        }
    }
}

TEST_F(TempMemory, FreeingAlternateMemoryUpToAMark)
{
    ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          _qor_tstk_get_altdecmem(&world, 8);
                          void *mark = _qor_tstk_get_altdecmem(&world, 8);
                          _qor_tstk_get_altdecmem(&world, 8);
                          _qor_tstk_free_altdecmem(&world, mark);
                          EXPECT_EQ(CountingAllocator::outstanding, 1);
                      }),
              0);
    EXPECT_NE(world.altDecList, nullptr);
    // What a call leaves behind goes with the call.
    Raw value = rawText("x");
    encodePdu(&world, PDU_Raw, &value);
    EXPECT_EQ(world.altDecList, nullptr);
}
