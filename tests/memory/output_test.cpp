// Encoder output: backward writing in blocks, forward gathering, canonical
// SET OF sorting, the encoder stack.
#include <algorithm>
#include <cstring>
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

class Output : public ContextTest {
protected:
    unsigned char *pos = nullptr;
    QorLong room = 0;

    // Writes `data` below what is there, as a BER encoder does.
    int write(const Bytes &data)
    {
        return inFrame(&world, QOR_OP_ENCODE, [&] {
            _qor_write_bytes_d(&world, &pos, &room, data.data(), static_cast<QorLong>(data.size()));
        });
    }

    // Runs `body` on forward output that starts empty at the cursor.
    template <class Body> int forward(Body body)
    {
        return inFrame(&world, QOR_OP_ENCODE, [&] {
            world.outRoom = 0;
            world.bitOffset = 0;
            body();
        });
    }

    // Gathers what was written backwards, as a BER entry does at its end.
    Bytes gathered()
    {
        QorLong length = 0;
        unsigned char *value = nullptr;
        EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE,
                          [&] { _qor_set_outmem_d(&world, room, &length, &value); }),
                  0);
        Bytes out(value, value + length);
        if (value != nullptr)
            world.userFree(&world, value);
        return out;
    }
};

} // namespace

TEST_F(Output, ItemsWrittenBackwardsComeOutInOrderAcrossBlocks)
{
    // Items of awkward sizes, prepended one by one: the result is their
    // concatenation in reverse order of writing.
    Bytes expected;
    for (size_t size : {1, 1023, 7, 1024, 2049, 0, 300, 5000}) {
        Bytes item = pattern(size, static_cast<unsigned>(size));
        ASSERT_EQ(write(item), 0);
        expected.insert(expected.begin(), item.begin(), item.end());
    }
    EXPECT_EQ(gathered(), expected);
}

TEST_F(Output, BlockBoundaries)
{
    // An item written with no room starts a new block with no empty slice;
    // exactly 1024 octets fill a block and leave room 0.
    Bytes block = pattern(1024);
    ASSERT_EQ(write(block), 0);
    EXPECT_EQ(room, 0);
    EXPECT_EQ(blocksListed(&world), 1);
    Bytes one = {0xAB};
    ASSERT_EQ(write(one), 0);
    EXPECT_EQ(blocksListed(&world), 2);
    EXPECT_EQ(room, 1023);
    Bytes expected = one;
    expected.insert(expected.end(), block.begin(), block.end());
    EXPECT_EQ(gathered(), expected);
}

TEST_F(Output, FiftyThreeBlocksNeedASecondRecord)
{
    Bytes big = pattern(53 * 1024, 9);
    ASSERT_EQ(write(big), 0);
    EXPECT_EQ(world.blockQueue.count, 52);
    ASSERT_NE(world.blockQueue.next, nullptr);
    EXPECT_EQ(world.blockQueue.next->count, 1);
    EXPECT_EQ(gathered(), big);
    EXPECT_EQ(world.blockQueue.next, nullptr);
}

TEST_F(Output, SizingModeCountsAndWritesNothing)
{
    world.encodingFlags |= DETERMINE_ENC_LENGTH;
    ASSERT_EQ(write(pattern(3000)), 0);
    ASSERT_EQ(write(pattern(5)), 0);
    EXPECT_EQ(world.encLength, 3005);
    EXPECT_EQ(CountingAllocator::calls, 0);
    world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
}

TEST_F(Output, ForwardOutputIsGatheredOnce)
{
    Bytes data = pattern(2500);
    QorLong length = 0;
    unsigned char *value = nullptr;
    ASSERT_EQ(forward([&] {
                  world.outPos = nullptr;
                  _qor_append(&world, data.data(), 8 * 2500, 0);
                  _qor_append_3bit_unaligned(&world, 0xE0);
                  _qor_set_outmem_p(&world, &length, &value);
              }),
              0);
    Bytes expected = data;
    expected.push_back(0xE0);
    EXPECT_EQ(Bytes(value, value + length), expected) << "the partial octet closes with zeros";
    world.userFree(&world, value);
}

TEST_F(Output, AnEmptyForwardEncodingIsOneZeroOctetUnlessAllowed)
{
    QorLong length = 0;
    unsigned char *value = nullptr;
    ASSERT_EQ(forward([&] { _qor_set_outmem_p(&world, &length, &value); }), 0);
    ASSERT_EQ(length, 1);
    EXPECT_EQ(value[0], 0);
    world.userFree(&world, value);
    world.outState = 1;
    value = reinterpret_cast<unsigned char *>(&length);
    ASSERT_EQ(inFrame(&world, QOR_OP_ENCODE, [&] { _qor_set_outmem_p(&world, &length, &value); }),
              0);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(world.outState, 0u) << "the permission lasts one encoding";
}

TEST_F(Output, CallersBufferForwardsWithBackAlign)
{
    unsigned char buffer[8];
    memset(buffer, 0xEE, sizeof buffer);
    QorLong length = sizeof buffer;
    unsigned char *value = buffer;
    ASSERT_EQ(forward([&] {
                  world.userBuffer = 1;
                  world.outPos = buffer;
                  world.outRoom = world.totalBytes = sizeof buffer;
                  _qor_append_8bit_unaligned(&world, 0x12);
                  _qor_append_4bit_unaligned(&world, 0x30);
                  _qorSetOutMemQueue(&world, &length, &value, BACK_ALIGN);
              }),
              0);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(value, buffer + 6);
    EXPECT_EQ(Bytes(value, value + 2), hex("12 30"));

    length = sizeof buffer;
    value = buffer;
    ASSERT_EQ(forward([&] {
                  world.outPos = buffer;
                  world.outRoom = sizeof buffer;
                  _qorSetOutMemQueue(&world, &length, &value, 0);
              }),
              0);
    EXPECT_EQ(length, 1) << "an empty encoding is one zero octet";
    EXPECT_EQ(buffer[0], 0);
    world.userBuffer = 0;
}

namespace {

class SetOf : public Output {
protected:
    // Encodes the elements as a SET OF would, with the sort in force.
    Bytes encodeSet(const std::vector<Bytes> &elements, unsigned char mask = 0)
    {
        pos = nullptr;
        room = 0;
        EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE,
                          [&] {
                              _qor_beginBlock(&world, static_cast<QorLong>(elements.size()), &pos,
                                              &room);
                              for (size_t i = elements.size(); i-- > 0;) {
                                  _qor_nextItem(&world, &room);
                                  _qor_write_bytes_d(&world, &pos, &room, elements[i].data(),
                                                     static_cast<QorLong>(elements[i].size()));
                              }
                              _qor_endBlock(&world, &pos, &room, mask);
                          }),
                  0);
        return gathered();
    }
};

} // namespace

TEST_F(SetOf, DerSortsTheEncodingsShorterFirstOnACommonPrefix)
{
    world.encRules = QOR_DER;
    EXPECT_EQ(encodeSet({hex("04 02 41 42"), hex("04 01 41"), hex("02 01 05"), hex("04 02 41 41")}),
              hex("02 01 05 04 01 41 04 02 41 41 04 02 41 42"));
    EXPECT_EQ(encodeSet({hex("0A 0B"), hex("0A")}), hex("0A 0A 0B"));
    // The mask lets the constructed bit be ignored in the first octet.
    EXPECT_EQ(encodeSet({hex("24 00"), hex("04 01")}, 0x20), hex("24 00 04 01"));
    EXPECT_EQ(encodeSet({hex("24 00"), hex("04 01")}), hex("04 01 24 00"));
    EXPECT_EQ(encodeSet({}), Bytes{});
    EXPECT_EQ(world.blockStack, nullptr);
}

TEST_F(SetOf, ManyElementsAcrossBlocksSortLikeAStableReference)
{
    world.encRules = QOR_DER;
    std::vector<Bytes> elements;
    for (unsigned i = 0; i < 300; i++)
        elements.push_back(pattern(1 + (i * 37) % 1500, i * 11));
    std::vector<Bytes> sorted = elements;
    std::sort(sorted.begin(), sorted.end());
    Bytes expected;
    for (const Bytes &e : sorted)
        expected.insert(expected.end(), e.begin(), e.end());
    EXPECT_EQ(encodeSet(elements), expected);
}

TEST_F(SetOf, OtherRulesAndSizingModeKeepTheArrayOrder)
{
    for (int rules : {QOR_BER, QOR_CER}) {
        world.encRules = rules;
        EXPECT_EQ(encodeSet({hex("04 02 41 42"), hex("02 01 05")}), hex("04 02 41 42 02 01 05"));
    }
    world.encRules = QOR_DER;
    world.encodingFlags |= DETERMINE_ENC_LENGTH;
    world.encLength = 0;
    encodeSet({hex("04 02 41 42"), hex("02 01 05")});
    EXPECT_EQ(world.encLength, 7);
    EXPECT_EQ(world.blockStack, nullptr);
    world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
}

TEST_F(SetOf, AFailureInsideNestedSetsFreesEveryFrameAndElement)
{
    world.encRules = QOR_DER;
    static unsigned char text[5000];
    Raw fine[3] = {{1500, text}, {20, text}, {700, text}};
    Raw tooLong[2] = {{10, text}, {4001, text}};
    Bag inner[3] = {{3, fine}, {2, tooLong}, {1, fine}};
    Bags outer = {3, inner};
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Bags, &outer, &out), 16);
    EXPECT_TRUE(messageHas("length of value = 4001")) << world.errMsgBuffer;
    EXPECT_EQ(world.blockStack, nullptr);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(SetOf, NestedSetsRoundTripInCanonicalOrder)
{
    world.encRules = QOR_DER;
    static unsigned char b[] = "b", a2[] = "aa", a[] = "a";
    Raw first[2] = {{1, b}, {2, a2}};
    Raw second[1] = {{1, a}};
    Bag inner[2] = {{2, first}, {1, second}};
    Bags outer = {2, inner};
    // Each Bag sorts its strings; the outer set then sorts the Bags' encodings.
    expectRoundTrip(&world, PDU_Bags, &outer,
                    hex("61 0E 31 03 04 01 61 31 07 04 01 62 04 02 61 61"), [](void *decoded) {
                        auto *bags = static_cast<Bags *>(decoded);
                        ASSERT_EQ(bags->count, 2);
                        EXPECT_EQ(bags->items[0].count, 1);
                        ASSERT_EQ(bags->items[1].count, 2);
                        EXPECT_EQ(bags->items[1].items[1].length, 2);
                    });
    world.encRules = QOR_BER;
    expectRoundTrip(&world, PDU_Bags, &outer,
                    hex("61 0E 31 07 04 01 62 04 02 61 61 31 03 04 01 61"), [](void *) {});
}

TEST_F(Output, EncoderStackFramesComeAndGo)
{
    int count = -1;
    ASSERT_EQ(inFrame(&world, QOR_OP_ENCODE,
                      [&] {
                          void **base = _qor_load_enc_stack(&world, &count);
                          _qor_save_enc_stack(&world, 7);
                          void **second = _qor_increment_enc_stack(&world);
                          EXPECT_NE(second, base);
                          _qor_save_enc_stack(&world, 3);
                          _qor_increment_enc_stack(&world);
                          EXPECT_EQ(_qor_decrement_enc_stack(&world), second);
                          _qor_load_enc_stack(&world, &count);
                      }),
              0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(CountingAllocator::outstanding, 1);
    // The next encode starts from the bottom frame, and gives back what was left.
    Raw value = rawText("x");
    encodePdu(&world, PDU_Raw, &value);
}

TEST_F(SetOf, AnAllocatorFailingAtEveryCallOfASortedRoundTripLeavesNothing)
{
    world.encRules = QOR_DER;
    static unsigned char text[3000];
    Raw first[3] = {{1200, text}, {5, text}, {2500, text}};
    Raw second[2] = {{7, text}, {0, text}};
    Bag inner[2] = {{3, first}, {2, second}};
    Bags outer = {2, inner};
    expectEveryAllocationMayFail(&world, PDU_Bags, &outer);
}
