// Decoder output memory: sizes, the three sources, the temporary buffer.
#include <cstring>
#include <string>

#include "frame/world.h"
#include "support/roundtrip.h"

using namespace qortest;

namespace {

class DecoderMemory : public ContextTest {};

} // namespace

TEST_F(DecoderMemory, LibraryMemoryRoundsAndListsEveryPiece)
{
    void *none = reinterpret_cast<void *>(1);
    void *piece = nullptr;
    ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          none = _qor_dec_getmem(&world, 0);
                          piece = _qor_dec_getmem(&world, 3);
                          _qor_dec_getmem_internal(&world, 9);
                          _qor_dec_getfixmem(&world, 3);
                      }),
              0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(CountingAllocator::calls, 3);
    EXPECT_EQ(world.totalBytes, 8 + 16 + 3);
    EXPECT_EQ(world.blockQueue.count, 3);
    for (int i = 0; i < 3; i++)
        world.userFree(&world, world.blockQueue.slot[i]);
    world.blockQueue.count = 0;
    world.totalBytes = 0;
}

TEST_F(DecoderMemory, CallersBufferTakesRoundedOrExactSizes)
{
    alignas(8) unsigned char flat[32];
    void *a = nullptr, *b = nullptr, *c = nullptr;
    int code = inFrame(&world, QOR_OP_DECODE, [&] {
        world.userBuffer = 1;
        world.outPos = flat;
        world.outRoom = world.totalBytes = sizeof flat;
        a = _qor_dec_getmem(&world, 3);
        b = _qor_dec_getfixmem(&world, 3);
        c = _qor_dec_getfixmem(&world, 21);
        _qor_dec_getmem(&world, 1);
    });
    world.userBuffer = 0;
    EXPECT_EQ(a, flat);
    EXPECT_EQ(b, flat + 8);
    EXPECT_EQ(c, flat + 11);
    EXPECT_EQ(code, QOR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(world.errMsgBuffer, "D0001S: Output buffer too small; total buffer size: 32.\n");
    EXPECT_EQ(CountingAllocator::calls, 0);
}

TEST_F(DecoderMemory, HostileSizesAreRefused)
{
    for (QorLong size : {-1, INT32_MAX, INT32_MAX - 6}) {
        EXPECT_EQ(inFrame(&world, QOR_OP_DECODE, [&] { _qor_dec_getmem(&world, size); }),
                  QOR_OUT_OF_MEMORY)
            << size;
    }
}

TEST_F(DecoderMemory, TemporaryBufferSizeIsAlignedAndMultipleOf16)
{
    alignas(16) unsigned char room[64];
    QorBuf tooSmall = {4, room + 4};
    EXPECT_EQ(qorSetTemporaryBuffer(&world, &tooSmall), QOR_BUFFER_TOO_SMALL);
    QorBuf odd = {24, room + 4};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, &odd), 0);
    EXPECT_EQ(world.privateArea->tempBufferSize, 16);
    EXPECT_EQ(world.privateArea->tempBuffer, room + 8);
    EXPECT_EQ(qorSetTemporaryBuffer(&world, nullptr), 0);
    EXPECT_EQ(world.privateArea->tempBufferSize, 0);
    EXPECT_EQ(qorSetTemporaryBuffer(nullptr, &odd), QOR_BAD_ARG);
}

TEST_F(DecoderMemory, EncodingThroughATemporaryBufferTakesOnlyTheResultFromTheAllocator)
{
    static unsigned char scratch[8 * 1024];
    QorBuf temp = {sizeof scratch, scratch};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, &temp), 0);
    Bytes contents(3000, 0x42);
    Raw value = {3000, contents.data()};
    QorBuf out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Raw, &value, &out), 0);
    EXPECT_EQ(CountingAllocator::calls, 1) << "three blocks came from the temporary buffer";
    EXPECT_EQ(out.length, 3004);
    EXPECT_EQ(Bytes(out.value + 4, out.value + 3004), contents);
    qorFreeBuf(&world, out.value);

    // Too small for the blocks: out of memory, nothing leaked.
    QorBuf small = {1500, scratch};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, &small), 0);
    out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_OUT_OF_MEMORY);
    EXPECT_TRUE(messageHas("0132S: Buffer provided for temporary memory")) << world.errMsgBuffer;
    qorSetTemporaryBuffer(&world, nullptr);
}

TEST_F(DecoderMemory, ClearedHooksGiveNoMemoryAndRaiseNothing)
{
    void *p = qorGetInitializedMemory(&world, 16);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(static_cast<unsigned char *>(p)[15], 0);
    qorFreeMemory(&world, p);
    QorMallocFn m;
    QorFreeFn f;
    QorReallocFn r;
    qorGetUserMallocFreeRealloc(&world, &m, &f, &r);
    qorSetUserMallocFreeRealloc(&world, nullptr, nullptr, nullptr);
    EXPECT_EQ(qorGetMemory(&world, 10), nullptr);
    EXPECT_EQ(qorGetMemory(nullptr, 10), nullptr);
    qorGetUserMallocFreeRealloc(&world, nullptr, nullptr, nullptr);
    qorSetUserMallocFreeRealloc(&world, m, f, r);
}

TEST_F(DecoderMemory, FragmentBlocksAreGatheredInOrderOfArrival)
{
    // Seven 4-octet elements in blocks of three, with an 8-octet header.
    void *list = nullptr;
    void *current = nullptr;
    unsigned char *result = nullptr;
    ASSERT_EQ(inFrame(&world, QOR_OP_DECODE,
                      [&] {
                          for (int block = 0; block < 3; block++) {
                              _qor_allocate_memblock(&world, &current, &list, 8 + 3 * 4);
                              auto *payload = static_cast<unsigned char *>(current) + 8;
                              for (int i = 0; i < 3 && block * 3 + i < 7; i++)
                                  memset(payload + 4 * i, block * 3 + i + 1, 4);
                          }
                          result = static_cast<unsigned char *>(
                              _qor_consolidate_memblock_fast(&world, 4, 7, list, 3, 3, 1, 8));
                      }),
              0);
    ASSERT_NE(result, nullptr);
    for (int i = 0; i < 7; i++)
        EXPECT_EQ(result[8 + 4 * i], i + 1) << i;
    EXPECT_EQ(world.tempBlockList, nullptr) << "each fragment block went back";
    world.userFree(&world, world.blockQueue.slot[0]);
    world.blockQueue.count = 0;
    EXPECT_EQ(qorDetermineNumberOfPadBits(&world), 0);
}
