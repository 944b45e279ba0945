// The PER bit cursor, called directly as generated code calls it: fixed-width
// writers and readers at every bit offset, the general writer and reader
// across octets and blocks, alignment, sizing mode, a caller's buffer that
// runs full and input that runs out. Every expectation is checked against a
// plain bit-at-a-time model of the stream, not against the cursor's own steps.
#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "support/roundtrip.h"

namespace {

using qortest::Bytes;
using qortest::CountingAllocator;

constexpr unsigned char kGarbage = 0xA5; // what fresh blocks and caller's buffers hold
constexpr unsigned char kSentinel = 0xEE; // beyond what a reader may write

using AppendFn = void (*)(QorGlobal *, unsigned char);
using GetFn = QorULong (*)(QorGlobal *);

const AppendFn kAppend[9] = {nullptr,
                             _qor_append_1bit_unaligned,
                             _qor_append_2bit_unaligned,
                             _qor_append_3bit_unaligned,
                             _qor_append_4bit_unaligned,
                             _qor_append_5bit_unaligned,
                             _qor_append_6bit_unaligned,
                             _qor_append_7bit_unaligned,
                             _qor_append_8bit_unaligned};
const GetFn kGet[9] = {nullptr,
                       _qor_get_1bit_unaligned,
                       _qor_get_2bit_unaligned,
                       _qor_get_3bit_unaligned,
                       _qor_get_4bit_unaligned,
                       _qor_get_5bit_unaligned,
                       _qor_get_6bit_unaligned,
                       _qor_get_7bit_unaligned,
                       _qor_get_8bit_unaligned};

// The stream as it must come out: one entry a bit, first bit first.
struct BitModel {
    std::vector<unsigned char> bits;

    void put(const unsigned char *src, uint64_t n)
    {
        for (uint64_t i = 0; i < n; i++)
            bits.push_back((src[i >> 3] >> (7 - (i & 7))) & 1);
    }
    // The top `n` bits of one octet.
    void putTop(unsigned value, unsigned n)
    {
        unsigned char octet = static_cast<unsigned char>(value);
        put(&octet, n);
    }
    void pad()
    {
        while (bits.size() % 8 != 0)
            bits.push_back(0);
    }
    uint64_t size() const { return bits.size(); }
    // Packed, the unused bits of the last octet zero.
    Bytes bytes() const
    {
        Bytes out((bits.size() + 7) / 8, 0);
        for (size_t i = 0; i < bits.size(); i++)
            if (bits[i])
                out[i >> 3] |= static_cast<unsigned char>(0x80 >> (i & 7));
        return out;
    }
};

// `n` bits, left-justified, with garbage below them in the last octet.
Bytes leftJustified(std::mt19937 &rng, uint64_t n)
{
    Bytes out((n + 7) / 8);
    for (auto &b : out)
        b = static_cast<unsigned char>(rng());
    return out;
}

Bytes withoutStrayBits(Bytes b, uint64_t n)
{
    if (n % 8 != 0)
        b[n / 8] &= static_cast<unsigned char>(0xFF << (8 - n % 8));
    return b;
}

// One item of generated code's output.
struct Item {
    enum Kind { kSmall, kOctet, kBulk } kind;
    unsigned width = 0; // kSmall
    unsigned value = 0; // kSmall: left-justified; kOctet: the octet
    int align = 0;      // kBulk
    QorULong count = 0; // kBulk
    Bytes data;         // kBulk
};

std::vector<Item> randomItems(std::mt19937 &rng, size_t n)
{
    std::vector<Item> items;
    const int aligns[] = {0, 1, 1, 2, -1};
    for (size_t i = 0; i < n; i++) {
        Item it{};
        unsigned pick = rng() % 10;
        if (pick < 5) {
            it.kind = Item::kSmall;
            it.width = 1 + rng() % 8;
            it.value = (rng() << (8 - it.width)) & 0xFF;
        } else if (pick < 6) {
            it.kind = Item::kOctet;
            it.value = rng() & 0xFF;
        } else {
            it.kind = Item::kBulk;
            unsigned size = rng() % 10;
            it.count = size < 6 ? rng() % 25 : size < 9 ? 25 + rng() % 180 : rng() % 20000;
            it.align = aligns[rng() % 5];
            it.data = leftJustified(rng, it.count);
        }
        items.push_back(std::move(it));
    }
    return items;
}

void model(BitModel &m, const Item &it, bool aligned)
{
    switch (it.kind) {
    case Item::kSmall:
        m.putTop(it.value, it.width);
        break;
    case Item::kOctet:
        if (aligned)
            m.pad();
        m.putTop(it.value, 8);
        break;
    case Item::kBulk:
        if (it.count != 0 && it.align == 1 && aligned)
            m.pad();
        m.put(it.data.data(), it.count);
        break;
    }
}

void write(QorGlobal *world, const Item &it)
{
    switch (it.kind) {
    case Item::kSmall:
        kAppend[it.width](world, static_cast<unsigned char>(it.value));
        break;
    case Item::kOctet:
        _qor_append_8bit_aligned(world, it.value | 0xAB00); // only the low eight count
        break;
    case Item::kBulk:
        _qor_append(world, it.data.data(), it.count, it.align);
        break;
    }
}

// Fresh blocks hold garbage, so that no writer can lean on zeroed memory.
QorMallocFn g_countingMalloc;
void *dirtyMalloc(QorGlobal *world, size_t size)
{
    void *p = g_countingMalloc(world, size);
    if (p != nullptr)
        memset(p, kGarbage, size);
    return p;
}

// Runs `body` the way a driver runs generated code, with an exit frame armed;
// returns 0 or the return code of the error raised. The body keeps no object
// with a destructor alive across library calls.
template <class Body> int armed(QorGlobal &world, int operation, Body body)
{
    sigjmp_buf frame;
    world.jumpFrame = &frame;
    world.operation = operation;
    world.errMsgTarget = world.errMsgBuffer;
    int code = sigsetjmp(frame, 0);
    if (code == 0)
        body();
    world.jumpFrame = nullptr;
    return code;
}

class BitsTest : public qortest::ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        QorFreeFn countingFree;
        QorReallocFn countingRealloc;
        qorGetUserMallocFreeRealloc(&world, &g_countingMalloc, &countingFree, &countingRealloc);
        qorSetUserMallocFreeRealloc(&world, dirtyMalloc, countingFree, countingRealloc);
    }
    void TearDown() override
    {
        releaseBlocks();
        ContextTest::TearDown();
    }

    // Output into the library's blocks, or into a caller's buffer.
    void startWriting(bool aligned)
    {
        releaseBlocks();
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.outPos = nullptr;
        world.outRoom = 0;
        world.userBuffer = 0;
        world.totalBytes = 0;
        world.encLength = 0;
    }
    void startSizing(bool aligned)
    {
        startWriting(aligned);
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
    }
    void startWritingInto(unsigned char *buffer, QorLong size, bool aligned)
    {
        startWriting(aligned);
        world.userBuffer = 1;
        world.outPos = buffer;
        world.outRoom = world.totalBytes = size;
    }
    void startReading(const Bytes &input, bool aligned)
    {
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.inPos = const_cast<unsigned char *>(input.data());
        world.inRoom = static_cast<QorLong>(input.size());
    }

    template <class Body> int encode(Body body) { return armed(world, QOR_OP_ENCODE, body); }
    template <class Body> int decode(Body body) { return armed(world, QOR_OP_DECODE, body); }

    long blockCount() const
    {
        long n = 0;
        for (const QorMemBlockRecord *r = &world.blockQueue; r != nullptr; r = r->next)
            n += r->count;
        return n;
    }

    // Every octet of the blocks that holds a written bit.
    Bytes written() const
    {
        Bytes out;
        const long blocks = blockCount();
        long seen = 0;
        for (const QorMemBlockRecord *r = &world.blockQueue; r != nullptr; r = r->next) {
            for (int i = 0; i < r->count; i++) {
                const auto *block = static_cast<const unsigned char *>(r->slot[i]);
                long n = QOR_BLOCK_SIZE;
                if (++seen == blocks)
                    n = QOR_BLOCK_SIZE - world.outRoom + (world.bitOffset != 0 ? 1 : 0);
                out.insert(out.end(), block, block + n);
            }
        }
        return out;
    }

    void releaseBlocks()
    {
        QorMemBlockRecord *r = &world.blockQueue;
        while (r != nullptr) {
            for (int i = 0; i < r->count; i++)
                world.userFree(&world, r->slot[i]);
            QorMemBlockRecord *next = r->next;
            if (r != &world.blockQueue)
                world.userFree(&world, r);
            r = next;
        }
        world.blockQueue.count = 0;
        world.blockQueue.next = nullptr;
        world.blockQueueTail = &world.blockQueue;
    }

    std::string message() const { return qorGetErrMsg(const_cast<QorGlobal *>(&world)); }
};

// ---------------------------------------------------------------------------
// Fixed-width writers

// Every width at every offset, on a partial octet whose unused bits are
// garbage: the bits above the cursor stay, the value lands below them, the
// unused bits come out zero, and nothing past the last touched octet changes.
// These routines never align, in either variant of PER.
TEST_F(BitsTest, FixedWidthWritersAtEveryOffset)
{
    for (bool aligned : {false, true}) {
        for (unsigned n = 1; n <= 8; n++) {
            for (unsigned offset = 0; offset < 8; offset++) {
                for (unsigned v = 0; v < (1u << n); v++) {
                    SCOPED_TRACE(testing::Message() << "N " << n << " offset " << offset
                                                    << " value " << v << " aligned " << aligned);
                    const unsigned prefix = 0x96 ^ (v * 37);
                    unsigned char buffer[4] = {static_cast<unsigned char>(prefix), kGarbage,
                                               kGarbage, kGarbage};
                    startWritingInto(buffer, 3, aligned);
                    world.bitOffset = static_cast<int>(offset);
                    const unsigned value = v << (8 - n);
                    // Bits below the N are no part of the value.
                    const unsigned stray = (0xFFu >> n) & 0x5Bu;
                    ASSERT_EQ(encode([&] { kAppend[n](&world, static_cast<unsigned char>(value | stray)); }), 0);

                    BitModel m;
                    m.putTop(prefix, offset);
                    m.putTop(value, n);
                    const Bytes expected = m.bytes();
                    EXPECT_EQ(Bytes(buffer, buffer + expected.size()), expected);
                    for (size_t i = expected.size(); i < 4; i++)
                        EXPECT_EQ(buffer[i], kGarbage) << "octet " << i;
                    EXPECT_EQ(world.outPos, buffer + (offset + n) / 8);
                    EXPECT_EQ(world.outRoom, 3 - static_cast<QorLong>((offset + n) / 8));
                    EXPECT_EQ(world.bitOffset, static_cast<int>((offset + n) % 8));
                }
            }
        }
    }
}

// At the last octet of a block: a value that crosses takes a new block and
// goes on in its first octet; one that ends exactly at the block's end takes
// none until the next write.
TEST_F(BitsTest, FixedWidthWritersAtBlockEnd)
{
    std::mt19937 rng(7);
    for (unsigned n = 1; n <= 8; n++) {
        for (unsigned offset = 0; offset < 8; offset++) {
            SCOPED_TRACE(testing::Message() << "N " << n << " offset " << offset);
            startWriting(false);
            const uint64_t lead = 8 * (QOR_BLOCK_SIZE - 1) + offset;
            const Bytes first = leftJustified(rng, lead);
            const unsigned value = (rng() << (8 - n)) & 0xFF;
            ASSERT_EQ(encode([&] {
                          _qor_append(&world, first.data(), static_cast<QorULong>(lead), 0);
                          kAppend[n](&world, static_cast<unsigned char>(value));
                      }),
                      0);
            BitModel m;
            m.put(first.data(), lead);
            m.putTop(value, n);
            const unsigned end = offset + n;
            EXPECT_EQ(blockCount(), end > 8 ? 2 : 1);
            EXPECT_EQ(world.outRoom, end > 8 ? QOR_BLOCK_SIZE : end == 8 ? 0 : 1);
            EXPECT_EQ(world.bitOffset, static_cast<int>(end % 8));
            EXPECT_EQ(written(), m.bytes());
        }
    }
}

TEST_F(BitsTest, BlockFilledToTheLastBitRequestsNoBlockUntilTheNextWrite)
{
    std::mt19937 rng(11);
    const Bytes full = leftJustified(rng, 8 * QOR_BLOCK_SIZE);

    // One 1-bit write as the block's last bit.
    startWriting(false);
    ASSERT_EQ(encode([&] {
                  _qor_append(&world, full.data(), 8 * QOR_BLOCK_SIZE - 1, 0);
                  _qor_append_1bit_unaligned(&world, 0x80);
              }),
              0);
    EXPECT_EQ(blockCount(), 1);
    EXPECT_EQ(world.outRoom, 0);
    EXPECT_EQ(world.bitOffset, 0);
    ASSERT_EQ(encode([&] { _qor_append_1bit_unaligned(&world, 0x80); }), 0);
    EXPECT_EQ(blockCount(), 2);
    EXPECT_EQ(world.outRoom, QOR_BLOCK_SIZE);
    EXPECT_EQ(world.bitOffset, 1);

    // Exactly one block's worth into an empty state.
    startWriting(true);
    ASSERT_EQ(encode([&] { _qor_append(&world, full.data(), 8 * QOR_BLOCK_SIZE, 1); }), 0);
    EXPECT_EQ(blockCount(), 1);
    EXPECT_EQ(world.outRoom, 0);
    EXPECT_EQ(world.bitOffset, 0);
    EXPECT_EQ(written(), full);
    ASSERT_EQ(encode([&] { _qor_append(&world, full.data(), 3, 1); }), 0);
    EXPECT_EQ(blockCount(), 2);
    EXPECT_EQ(world.outRoom, QOR_BLOCK_SIZE);
}

// Aligned PER closes the partial octet with zero pad bits first; unaligned
// PER writes the eight bits at the cursor, across two octets.
TEST_F(BitsTest, AlignedOctetWriter)
{
    for (bool aligned : {false, true}) {
        for (unsigned offset = 0; offset < 8; offset++) {
            SCOPED_TRACE(testing::Message() << "offset " << offset << " aligned " << aligned);
            unsigned char buffer[4] = {0xFF, kGarbage, kGarbage, kGarbage};
            startWritingInto(buffer, 3, aligned);
            world.bitOffset = static_cast<int>(offset);
            ASSERT_EQ(encode([&] { _qor_append_8bit_aligned(&world, 0x1C3); }), 0);
            BitModel m;
            m.putTop(0xFF, offset);
            if (aligned)
                m.pad();
            m.putTop(0xC3, 8);
            const Bytes expected = m.bytes();
            EXPECT_EQ(Bytes(buffer, buffer + expected.size()), expected);
            EXPECT_EQ(buffer[expected.size()], kGarbage);
            const int end = aligned ? 0 : static_cast<int>(offset);
            EXPECT_EQ(world.bitOffset, end);
            EXPECT_EQ(world.outRoom, 3 - static_cast<QorLong>(m.size() / 8));
        }
    }
}

// `align` 1 means "on a boundary first", only under aligned PER and only
// when there are bits to write; any other value means no alignment.
TEST_F(BitsTest, GeneralWriterAlignArgument)
{
    const unsigned char value[] = {0xB0}; // 1011
    for (bool aligned : {false, true}) {
        for (int align : {-1, 0, 1, 2}) {
            for (unsigned offset = 0; offset < 8; offset++) {
                SCOPED_TRACE(testing::Message()
                             << "offset " << offset << " align " << align << " aligned " << aligned);
                unsigned char buffer[3] = {0xFF, kGarbage, kGarbage};
                startWritingInto(buffer, 2, aligned);
                world.bitOffset = static_cast<int>(offset);
                ASSERT_EQ(encode([&] { _qor_append(&world, value, 0, align); }), 0);
                EXPECT_EQ(world.outPos, buffer);
                EXPECT_EQ(world.outRoom, 2);
                EXPECT_EQ(world.bitOffset, static_cast<int>(offset)) << "nothing written, no pad";
                EXPECT_EQ(buffer[0], 0xFF);

                ASSERT_EQ(encode([&] { _qor_append(&world, value, 4, align); }), 0);
                BitModel m;
                m.putTop(0xFF, offset);
                if (aligned && align == 1)
                    m.pad();
                m.putTop(0xB0, 4);
                const Bytes expected = m.bytes();
                EXPECT_EQ(Bytes(buffer, buffer + expected.size()), expected);
                EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));
                EXPECT_EQ(world.outPos, buffer + m.size() / 8);
            }
        }
    }
}

// The general writer from every offset and from just before a block's end
// (under aligned PER after a pad, which may itself close the block), over
// lengths around the octet, word and block sizes, up to one that needs a
// second slot record: the blocks hold exactly the model's stream, no empty
// block is ever taken, and the room and offset agree with the bit count.
TEST_F(BitsTest, GeneralWriterAcrossOctetsAndBlocks)
{
    std::mt19937 rng(3);
    const uint64_t leads[] = {0, 1, 3, 7, 8, 61, 8184, 8187, 8191, 8192, 8195};
    const uint64_t counts[] = {1,    5,    8,    9,    13,   63,   64,   65,
                               71,   72,   73,   8191, 8192, 8193, 3 * 8192 + 11,
                               60 * 8192 + 5};
    for (bool aligned : {false, true}) {
        for (uint64_t lead : leads) {
            for (uint64_t count : counts) {
                SCOPED_TRACE(testing::Message() << "lead " << lead << " count " << count);
                const Bytes first = leftJustified(rng, lead);
                const Bytes second = leftJustified(rng, count);
                startWriting(aligned);
                ASSERT_EQ(encode([&] {
                              _qor_append(&world, first.data(), static_cast<QorULong>(lead), 1);
                              _qor_append(&world, second.data(), static_cast<QorULong>(count), 1);
                          }),
                          0);
                BitModel m;
                m.put(first.data(), lead);
                if (aligned)
                    m.pad();
                m.put(second.data(), count);
                const uint64_t total = m.size();
                const long blocks = static_cast<long>((total + 8191) / 8192);
                EXPECT_EQ(blockCount(), blocks);
                EXPECT_EQ(world.outRoom, blocks * QOR_BLOCK_SIZE - static_cast<long>(total / 8));
                EXPECT_EQ(world.bitOffset, static_cast<int>(total % 8));
                ASSERT_EQ(written(), m.bytes());
            }
        }
    }
}

// ---------------------------------------------------------------------------
// Sizing mode

// Sizing counts what writing writes, bit for bit, and touches no memory.
TEST_F(BitsTest, SizingCountsWhatWritingWrites)
{
    std::mt19937 rng(5);
    for (bool aligned : {false, true}) {
        SCOPED_TRACE(aligned ? "aligned" : "unaligned");
        const std::vector<Item> items = randomItems(rng, 800);
        BitModel m;
        for (const Item &it : items)
            model(m, it, aligned);

        startSizing(aligned);
        const long calls = CountingAllocator::calls;
        ASSERT_EQ(encode([&] {
                      for (const Item &it : items)
                          write(&world, it);
                  }),
                  0);
        EXPECT_EQ(CountingAllocator::calls, calls) << "sizing allocates nothing";
        EXPECT_EQ(blockCount(), 0);
        EXPECT_EQ(world.outPos, nullptr);
        EXPECT_EQ(world.encLength, static_cast<QorLong>(m.size() / 8));
        EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));

        startWriting(aligned);
        ASSERT_EQ(encode([&] {
                      for (const Item &it : items)
                          write(&world, it);
                  }),
                  0);
        EXPECT_EQ(written(), m.bytes());
    }
}

TEST_F(BitsTest, SizingCountsPadAndNothingForEmptyItems)
{
    const unsigned char value[] = {0xFF, 0xFF};
    startSizing(true);
    world.bitOffset = 3;
    ASSERT_EQ(encode([&] { _qor_append(&world, value, 0, 1); }), 0);
    EXPECT_EQ(world.encLength, 0);
    EXPECT_EQ(world.bitOffset, 3);
    ASSERT_EQ(encode([&] { _qor_append(&world, value, 2, 1); }), 0);
    EXPECT_EQ(world.encLength, 1) << "the pad closes one octet";
    EXPECT_EQ(world.bitOffset, 2);
    ASSERT_EQ(encode([&] { _qor_append_8bit_aligned(&world, 0); }), 0);
    EXPECT_EQ(world.encLength, 3);
    EXPECT_EQ(world.bitOffset, 0);

    startSizing(false);
    world.bitOffset = 3;
    ASSERT_EQ(encode([&] {
                  _qor_append(&world, value, 2, 1);
                  _qor_append_8bit_aligned(&world, 0);
                  _qor_append_7bit_unaligned(&world, 0);
              }),
              0);
    EXPECT_EQ(world.encLength, 2); // 3 + 2 + 8 + 7 = 20 bits
    EXPECT_EQ(world.bitOffset, 4);
}

// ---------------------------------------------------------------------------
// Round trips

// A long random mix of items, written into blocks and read back from one
// input of exactly the encoding's size; both variants of PER.
TEST_F(BitsTest, RandomItemsRoundTrip)
{
    std::mt19937 rng(20240601);
    for (bool aligned : {false, true}) {
        SCOPED_TRACE(aligned ? "aligned" : "unaligned");
        const std::vector<Item> items = randomItems(rng, 1500);
        BitModel m;
        for (const Item &it : items)
            model(m, it, aligned);

        startWriting(aligned);
        ASSERT_EQ(encode([&] {
                      for (const Item &it : items)
                          write(&world, it);
                  }),
                  0);
        const Bytes encoding = written();
        ASSERT_EQ(encoding, m.bytes());
        ASSERT_GT(blockCount(), 3) << "the stream should cross several blocks";

        std::vector<QorULong> got(items.size());
        std::vector<Bytes> targets;
        for (const Item &it : items)
            targets.emplace_back(it.data.size() + 8, kSentinel);
        startReading(encoding, aligned);
        ASSERT_EQ(decode([&] {
                      for (size_t i = 0; i < items.size(); i++) {
                          const Item &it = items[i];
                          if (it.kind == Item::kSmall)
                              got[i] = kGet[it.width](&world);
                          else if (it.kind == Item::kOctet)
                              got[i] = _qor_get_octet(&world, 1) & 0xFF;
                          else
                              _qor_get_bits(&world, targets[i].data(), it.count, it.align);
                      }
                  }),
                  0)
            << message();
        for (size_t i = 0; i < items.size(); i++) {
            const Item &it = items[i];
            SCOPED_TRACE(testing::Message() << "item " << i);
            if (it.kind == Item::kBulk) {
                Bytes expected = withoutStrayBits(it.data, it.count);
                expected.resize(expected.size() + 8, kSentinel);
                ASSERT_EQ(targets[i], expected);
            } else {
                ASSERT_EQ(got[i], it.value);
            }
        }
        EXPECT_EQ(world.inPos, encoding.data() + m.size() / 8);
        EXPECT_EQ(world.inRoom, static_cast<QorLong>(encoding.size() - m.size() / 8));
        EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));
    }
}

// ---------------------------------------------------------------------------
// A caller's buffer, and running out of memory

// The same stream into a caller's buffer of exactly its size succeeds; one
// octet less fails with code 1, and nothing is written past the buffer.
TEST_F(BitsTest, CallerBufferOfExactSizeAndOneOctetShort)
{
    std::mt19937 rng(9);
    for (bool aligned : {false, true}) {
        SCOPED_TRACE(aligned ? "aligned" : "unaligned");
        const std::vector<Item> items = randomItems(rng, 300);
        BitModel m;
        for (const Item &it : items)
            model(m, it, aligned);
        const Bytes expected = m.bytes();
        const auto size = static_cast<QorLong>(expected.size());

        Bytes buffer(expected.size() + 16, kGarbage);
        startWritingInto(buffer.data(), size, aligned);
        ASSERT_EQ(encode([&] {
                      for (const Item &it : items)
                          write(&world, it);
                  }),
                  0);
        EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + size), expected);
        EXPECT_EQ(world.outRoom, world.bitOffset != 0 ? 1 : 0);
        EXPECT_EQ(Bytes(buffer.begin() + size, buffer.end()), Bytes(16, kGarbage));

        buffer.assign(expected.size() + 16, kGarbage);
        startWritingInto(buffer.data(), size - 1, aligned);
        ASSERT_EQ(encode([&] {
                      for (const Item &it : items)
                          write(&world, it);
                  }),
                  QOR_BUFFER_TOO_SMALL);
        EXPECT_NE(message().find("0001S:"), std::string::npos) << message();
        EXPECT_EQ(blockCount(), 0);
        EXPECT_EQ(Bytes(buffer.begin() + size - 1, buffer.end()), Bytes(17, kGarbage));
    }
}

TEST_F(BitsTest, CallerBufferFullAtEachWriter)
{
    const unsigned char bits[] = {0xFF, 0xFF, 0xFF};
    struct Case {
        const char *what;
        QorLong size;
        bool aligned;
        int offset;
        void (*write)(QorGlobal *, const unsigned char *);
    };
    const Case cases[] = {
        {"1 bit into an empty buffer", 0, false, 0,
         [](QorGlobal *w, const unsigned char *) { _qor_append_1bit_unaligned(w, 0x80); }},
        {"3 bits crossing the last octet", 1, false, 6,
         [](QorGlobal *w, const unsigned char *) { _qor_append_3bit_unaligned(w, 0xE0); }},
        {"8 bits after a full octet", 1, false, 0,
         [](QorGlobal *w, const unsigned char *) {
             _qor_append_8bit_unaligned(w, 0xFF);
             _qor_append_1bit_unaligned(w, 0x80);
         }},
        {"an aligned octet after the pad", 1, true, 3,
         [](QorGlobal *w, const unsigned char *) { _qor_append_8bit_aligned(w, 0xFF); }},
        {"17 bits into two octets", 2, false, 0,
         [](QorGlobal *w, const unsigned char *b) { _qor_append(w, b, 17, 0); }},
        {"10 bits at offset 7 into two octets", 2, false, 7,
         [](QorGlobal *w, const unsigned char *b) { _qor_append(w, b, 10, 0); }},
        {"9 bits after the pad", 2, true, 1,
         [](QorGlobal *w, const unsigned char *b) { _qor_append(w, b, 9, 1); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Bytes buffer(8, kGarbage);
        startWritingInto(buffer.data(), c.size, c.aligned);
        world.bitOffset = c.offset;
        EXPECT_EQ(encode([&] { c.write(&world, bits); }), QOR_BUFFER_TOO_SMALL);
        EXPECT_EQ(blockCount(), 0);
        EXPECT_EQ(Bytes(buffer.begin() + c.size, buffer.end()), Bytes(8 - c.size, kGarbage));
    }
}

TEST_F(BitsTest, OutOfMemoryForABlock)
{
    const unsigned char bits[] = {0xFF};
    startWriting(false);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(encode([&] { _qor_append_1bit_unaligned(&world, 0x80); }), QOR_OUT_OF_MEMORY);
    EXPECT_NE(message().find("0008S:"), std::string::npos) << message();

    startWriting(false);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(encode([&] { _qor_append(&world, bits, 8, 0); }), QOR_OUT_OF_MEMORY);
    CountingAllocator::failAt = 0;
}

// ---------------------------------------------------------------------------
// Readers

// Every width at every offset, with two, one and no octets of input left.
// Each input is an allocation of exactly its size, so that the sanitizer
// sees any read past it. A read that fails consumes nothing.
TEST_F(BitsTest, FixedWidthReadersAtEveryOffset)
{
    const unsigned char pattern[2] = {0xB6, 0x5D};
    for (unsigned n = 1; n <= 8; n++) {
        for (unsigned offset = 0; offset < 8; offset++) {
            for (size_t left = 0; left <= 2; left++) {
                SCOPED_TRACE(testing::Message() << "N " << n << " offset " << offset << " left " << left);
                const Bytes input(pattern, pattern + left);
                startReading(input, false);
                world.bitOffset = static_cast<int>(offset);
                QorULong got = 0xDEAD;
                const int code = decode([&] { got = kGet[n](&world); });
                if (offset + n > 8 * left) {
                    EXPECT_EQ(code, QOR_MORE_INPUT);
                    EXPECT_NE(message().find("0081S:"), std::string::npos) << message();
                    EXPECT_EQ(world.inPos, input.data());
                    EXPECT_EQ(world.inRoom, static_cast<QorLong>(left));
                    EXPECT_EQ(world.bitOffset, static_cast<int>(offset));
                    continue;
                }
                ASSERT_EQ(code, 0);
                BitModel m;
                m.put(pattern, 16);
                unsigned expected = 0;
                for (unsigned i = 0; i < n; i++)
                    expected |= static_cast<unsigned>(m.bits[offset + i]) << (7 - i);
                EXPECT_EQ(got, expected);
                EXPECT_EQ(world.inPos, input.data() + (offset + n) / 8);
                EXPECT_EQ(world.inRoom, static_cast<QorLong>(left - (offset + n) / 8));
                EXPECT_EQ(world.bitOffset, static_cast<int>((offset + n) % 8));
            }
        }
    }
}

TEST_F(BitsTest, GeneralReaderLeavesBitsInTheTopOfTheTarget)
{
    const Bytes input = {0x2D}; // 001 011 01
    unsigned char target[2] = {kSentinel, kSentinel};
    startReading(input, false);
    world.bitOffset = 2;
    ASSERT_EQ(decode([&] { _qor_get_bits(&world, target, 3, 0); }), 0);
    EXPECT_EQ(target[0], 0xA0); // 101 then five zero bits
    EXPECT_EQ(target[1], kSentinel);
    EXPECT_EQ(world.bitOffset, 5);
    EXPECT_EQ(world.inRoom, 1);
}

// The general reader at every offset, with an input of exactly the octets it
// needs, then one octet short: it reads the model's bits, writes nothing past
// the target's last octet, and a short input fails before any octet is copied.
TEST_F(BitsTest, GeneralReaderAtEveryOffsetAndInputSize)
{
    std::mt19937 rng(13);
    const uint64_t counts[] = {1, 2, 7, 8, 9, 15, 16, 17, 63, 64, 65, 71, 72, 73, 127, 200, 1029};
    for (bool aligned : {false, true}) {
        for (int align : {0, 1}) {
            for (unsigned offset = 0; offset < 8; offset++) {
                for (uint64_t count : counts) {
                    SCOPED_TRACE(testing::Message() << "aligned " << aligned << " align " << align
                                                    << " offset " << offset << " count " << count);
                    const bool pad = aligned && align == 1 && offset != 0;
                    const uint64_t skip = pad ? 8 - offset : 0;
                    const uint64_t needed = (offset + skip + count + 7) / 8;
                    const Bytes stream = leftJustified(rng, 8 * needed);
                    BitModel m;
                    m.put(stream.data(), 8 * needed);
                    Bytes expected((count + 7) / 8 + 8, kSentinel);
                    std::fill(expected.begin(), expected.begin() + static_cast<long>((count + 7) / 8), 0);
                    for (uint64_t i = 0; i < count; i++)
                        if (m.bits[offset + skip + i])
                            expected[i / 8] |= static_cast<unsigned char>(0x80 >> (i % 8));

                    const Bytes exact(stream.begin(), stream.begin() + static_cast<long>(needed));
                    Bytes target(expected.size(), kSentinel);
                    startReading(exact, aligned);
                    world.bitOffset = static_cast<int>(offset);
                    ASSERT_EQ(decode([&] { _qor_get_bits(&world, target.data(), static_cast<QorULong>(count), align); }),
                              0);
                    EXPECT_EQ(target, expected);
                    const uint64_t end = offset + skip + count;
                    EXPECT_EQ(world.inPos, exact.data() + end / 8);
                    EXPECT_EQ(world.inRoom, static_cast<QorLong>(needed - end / 8));
                    EXPECT_EQ(world.bitOffset, static_cast<int>(end % 8));

                    const Bytes shorter(stream.begin(), stream.begin() + static_cast<long>(needed - 1));
                    target.assign(expected.size(), kSentinel);
                    startReading(shorter, aligned);
                    world.bitOffset = static_cast<int>(offset);
                    EXPECT_EQ(decode([&] { _qor_get_bits(&world, target.data(), static_cast<QorULong>(count), align); }),
                              QOR_MORE_INPUT);
                    EXPECT_EQ(target, Bytes(expected.size(), kSentinel)) << "nothing copied";
                    EXPECT_EQ(world.inRoom, static_cast<QorLong>(needed - 1));
                    EXPECT_EQ(world.bitOffset, static_cast<int>(offset));
                }
            }
        }
    }
}

TEST_F(BitsTest, GeneralReaderOfNoBitsChangesNothing)
{
    const Bytes input = {0xFF};
    unsigned char target = kSentinel;
    startReading(input, true);
    world.bitOffset = 3;
    ASSERT_EQ(decode([&] { _qor_get_bits(&world, &target, 0, 1); }), 0);
    EXPECT_EQ(world.bitOffset, 3);
    EXPECT_EQ(world.inRoom, 1);
    EXPECT_EQ(world.inPos, input.data());
    EXPECT_EQ(target, kSentinel);
}

// The octet reader: aligned or at the cursor, by `align` and the variant.
TEST_F(BitsTest, OctetReaderAtEveryOffset)
{
    const unsigned char pattern[3] = {0x9C, 0x3A, 0xE7};
    BitModel m;
    m.put(pattern, 24);
    for (bool aligned : {false, true}) {
        for (int align : {0, 1, 2}) {
            for (unsigned offset = 0; offset < 8; offset++) {
                SCOPED_TRACE(testing::Message()
                             << "aligned " << aligned << " align " << align << " offset " << offset);
                const Bytes input(pattern, pattern + 3);
                startReading(input, aligned);
                world.bitOffset = static_cast<int>(offset);
                QorULong got = 0;
                ASSERT_EQ(decode([&] { got = _qor_get_octet(&world, align); }), 0);
                const unsigned start = aligned && align == 1 && offset != 0 ? 8 : offset;
                unsigned expected = 0;
                for (unsigned i = 0; i < 8; i++)
                    expected |= static_cast<unsigned>(m.bits[start + i]) << (7 - i);
                EXPECT_EQ(got & 0xFF, expected);
                EXPECT_EQ(world.bitOffset, static_cast<int>(start % 8));
                EXPECT_EQ(world.inPos, input.data() + (start + 8) / 8);
                EXPECT_EQ(world.inRoom, 3 - static_cast<QorLong>((start + 8) / 8));
            }
        }
    }
}

// At a non-zero offset with one octet left the read succeeds: the bits that
// would come from beyond the input are 0, and nothing past it is read. The
// next read reports the end of the input.
TEST_F(BitsTest, OctetReaderWithOneOctetLeft)
{
    for (unsigned offset = 1; offset < 8; offset++) {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        const Bytes input = {0xD7};
        unsigned char target = kSentinel;
        QorULong got = 0;
        startReading(input, false);
        world.bitOffset = static_cast<int>(offset);
        ASSERT_EQ(decode([&] { got = _qor_get_octet(&world, 0); }), 0);
        EXPECT_EQ(got & 0xFF, (0xD7u << offset) & 0xFF);
        EXPECT_EQ(world.inRoom, 0);

        const QorLong room = world.inRoom;
        EXPECT_EQ(decode([&] { _qor_get_1bit_unaligned(&world); }), QOR_MORE_INPUT);
        EXPECT_EQ(decode([&] { _qor_get_octet(&world, 0); }), QOR_MORE_INPUT);
        EXPECT_EQ(decode([&] { _qor_get_bits(&world, &target, 1, 0); }), QOR_MORE_INPUT);
        world.perAligned = 1;
        EXPECT_EQ(decode([&] { _qor_get_octet(&world, 1); }), QOR_MORE_INPUT);
        EXPECT_EQ(decode([&] { _qor_get_bits(&world, &target, 1, 1); }), QOR_MORE_INPUT);
        EXPECT_EQ(world.inRoom, room) << "failed reads consume nothing";
        EXPECT_EQ(target, kSentinel);
    }

    // With no octet left, or with the pad taking the last one, it fails.
    const Bytes one = {0xD7};
    startReading(Bytes(), false);
    EXPECT_EQ(decode([&] { _qor_get_octet(&world, 0); }), QOR_MORE_INPUT);
    startReading(one, true);
    world.bitOffset = 2;
    EXPECT_EQ(decode([&] { _qor_get_octet(&world, 1); }), QOR_MORE_INPUT);
    EXPECT_EQ(world.inRoom, 1);
}

} // namespace
