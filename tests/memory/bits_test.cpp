// The PER bit cursor, called directly as generated code calls it: fixed-width
// writers and readers at every bit offset, the general writer and reader
// across octets and blocks, alignment, sizing mode, a caller's buffer that
// runs full and input that runs out. Every expectation is checked against a
// plain bit-at-a-time model of the stream, not against the cursor's own steps.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "support/roundtrip.h"

namespace {

using qortest::Bytes;
using qortest::CountingAllocator;

constexpr unsigned char kGarbage = 0xA5;  // what fresh blocks and caller's buffers hold
constexpr unsigned char kSentinel = 0xEE; // beyond what a reader may write

using AppendFn = void (*)(QorGlobal *, unsigned char);
using GetFn = QorULong (*)(QorGlobal *);

const AppendFn kAppend[9] = {
    nullptr, _qor_append_1bit_unaligned, _qor_append_2bit_unaligned, _qor_append_3bit_unaligned,
    _qor_append_4bit_unaligned, _qor_append_5bit_unaligned, _qor_append_6bit_unaligned,
    _qor_append_7bit_unaligned, _qor_append_8bit_unaligned};
const GetFn kGet[9] = {nullptr, _qor_get_1bit_unaligned, _qor_get_2bit_unaligned,
                       _qor_get_3bit_unaligned, _qor_get_4bit_unaligned, _qor_get_5bit_unaligned,
                       _qor_get_6bit_unaligned, _qor_get_7bit_unaligned, _qor_get_8bit_unaligned};

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
        qortest::releaseBlocks(&world);
        ContextTest::TearDown();
    }

    // Output into the library's blocks (or only counted), or into a caller's buffer.
    void startWriting(bool aligned, bool sizing = false) { qortest::startWriting(&world, aligned, sizing); }
    void startWritingInto(unsigned char *buffer, QorLong size, bool aligned)
    {
        startWriting(aligned);
        world.userBuffer = 1;
        world.outPos = buffer;
        world.outRoom = world.totalBytes = size;
    }
    void startReading(const Bytes &input, bool aligned, unsigned offset = 0)
    {
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = static_cast<int>(offset);
        world.inPos = const_cast<unsigned char *>(input.data());
        world.inRoom = static_cast<QorLong>(input.size());
    }

    // 0, or the return code of the error raised.
    template <class Body> int encode(Body body)
    {
        return qortest::inFrame(&world, QOR_OP_ENCODE, body);
    }
    template <class Body> int decode(Body body)
    {
        return qortest::inFrame(&world, QOR_OP_DECODE, body);
    }

    long blockCount() const { return qortest::blocksListed(&world); }

    // Every octet of the blocks that holds a written bit.
    Bytes written()
    {
        Bytes out = qortest::forwardOutput(&world);
        if (world.bitOffset != 0)
            out.push_back(*world.outPos);
        return out;
    }
};

// ---------------------------------------------------------------------------
// Writers

// Every width at every offset, on a partial octet whose unused bits are
// garbage: the bits above the cursor stay, the value lands below them, the
// unused bits come out zero, and nothing past the last touched octet changes.
// These routines never align, in either variant of PER. Read back from an
// input of exactly the octets touched, the value comes back; from one octet
// less, the read fails and consumes nothing. Each input is an allocation of
// exactly its size, so that the sanitizer sees any read past it.
TEST_F(BitsTest, FixedWidthWritersAndReadersAtEveryOffset)
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
                    ASSERT_EQ(encode([&] {
                                  kAppend[n](&world, static_cast<unsigned char>(value | stray));
                              }),
                              0);
                    BitModel m;
                    m.putTop(prefix, offset);
                    m.putTop(value, n);
                    const Bytes expected = m.bytes();
                    EXPECT_EQ(Bytes(buffer, buffer + expected.size()), expected);
                    for (size_t i = expected.size(); i < 4; i++)
                        EXPECT_EQ(buffer[i], kGarbage) << "octet " << i;
                    const auto end = static_cast<QorLong>(offset + n);
                    EXPECT_EQ(world.outPos, buffer + end / 8);
                    EXPECT_EQ(world.outRoom, 3 - end / 8);
                    EXPECT_EQ(world.bitOffset, end % 8);

                    // Read back with ones below the value, which are no part of it.
                    if (end % 8 != 0)
                        buffer[end / 8] |= static_cast<unsigned char>(0xFF >> end % 8);
                    for (size_t left : {expected.size(), expected.size() - 1}) {
                        const Bytes input(buffer, buffer + left);
                        startReading(input, aligned, offset);
                        QorULong got = 0xDEAD;
                        const int code = decode([&] { got = kGet[n](&world); });
                        if (left < expected.size()) {
                            EXPECT_EQ(code, QOR_MORE_INPUT);
                            EXPECT_TRUE(messageHas("0081S:")) << world.errMsgBuffer;
                            EXPECT_EQ(world.inPos, input.data());
                            EXPECT_EQ(world.inRoom, static_cast<QorLong>(left));
                            EXPECT_EQ(world.bitOffset, static_cast<int>(offset));
                            continue;
                        }
                        EXPECT_EQ(code, 0);
                        EXPECT_EQ(got, value);
                        EXPECT_EQ(world.inPos, input.data() + end / 8);
                        EXPECT_EQ(world.inRoom, static_cast<QorLong>(left) - end / 8);
                        EXPECT_EQ(world.bitOffset, end % 8);
                    }
                }
            }
        }
    }
}

// Aligned PER closes a partial octet with zero pad bits before the octet
// writer, and before the general writer when `align` is 1 and there are bits
// to write; any other `align`, and unaligned PER, write at the cursor. Sizing
// mode counts the same pad.
TEST_F(BitsTest, AlignmentOfTheOctetAndGeneralWriters)
{
    constexpr int kOctetWriter = 8;
    const unsigned char value[] = {0xB0}; // 1011
    for (bool sizing : {false, true}) {
        for (bool aligned : {false, true}) {
            for (int align : {-1, 0, 1, 2, kOctetWriter}) {
                for (unsigned offset = 0; offset < 8; offset++) {
                    SCOPED_TRACE(testing::Message()
                                 << "offset " << offset << " align " << align << " aligned "
                                 << aligned << " sizing " << sizing);
                    unsigned char buffer[4] = {0xFF, kGarbage, kGarbage, kGarbage};
                    if (sizing)
                        startWriting(aligned, true);
                    else
                        startWritingInto(buffer, 3, aligned);
                    world.bitOffset = static_cast<int>(offset);
                    unsigned char *const start = world.outPos;
                    const bool octet = align == kOctetWriter;
                    if (!octet) {
                        ASSERT_EQ(encode([&] { _qor_append(&world, value, 0, align); }), 0);
                        EXPECT_EQ(world.outPos, start) << "nothing written, no pad";
                        EXPECT_EQ(world.encLength, 0);
                        EXPECT_EQ(world.bitOffset, static_cast<int>(offset));
                    }
                    ASSERT_EQ(encode([&] {
                                  if (octet)
                                      _qor_append_8bit_aligned(&world, 0x1C3);
                                  else
                                      _qor_append(&world, value, 4, align);
                              }),
                              0);
                    BitModel m;
                    m.putTop(0xFF, offset);
                    if (aligned && (octet || align == 1))
                        m.pad();
                    m.putTop(octet ? 0xC3 : 0xB0, octet ? 8 : 4);
                    const auto octets = static_cast<QorLong>(m.size() / 8);
                    EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));
                    if (sizing) {
                        EXPECT_EQ(world.encLength, octets);
                        continue;
                    }
                    const Bytes expected = m.bytes();
                    EXPECT_EQ(Bytes(buffer, buffer + expected.size()), expected);
                    EXPECT_EQ(buffer[expected.size()], kGarbage);
                    EXPECT_EQ(world.outPos, buffer + octets);
                    EXPECT_EQ(world.outRoom, 3 - octets);
                }
            }
        }
    }
}

// The general writer after a first item that ends at every offset early
// in a block and in its last octet, or exactly at its end (under aligned PER
// after a pad, which may itself close the block), over lengths around the
// octet, word and block sizes, up to one that needs a second slot record; and
// the fixed-width writers after the same items. The blocks hold exactly the
// model's stream, a value that crosses a block's end goes on in the first
// octet of the next, and no block is taken before a bit goes into it, so the
// room and offset agree with the bit count.
TEST_F(BitsTest, WritersAcrossOctetsAndBlocks)
{
    std::mt19937 rng(3);
    std::vector<uint64_t> leads = {0, 1, 3, 7, 8, 61, 8192, 8195};
    for (uint64_t offset = 0; offset < 8; offset++)
        leads.push_back(8 * (QOR_BLOCK_SIZE - 1) + offset);
    const uint64_t counts[] = {
        1, 5, 8, 9, 13, 63, 64, 65, 71, 72, 73, 8191, 8192, 8193, 3 * 8192 + 11, 60 * 8192 + 5};
    for (bool aligned : {false, true}) {
        for (uint64_t lead : leads) {
            // A fixed-width writer for `width` bits, or the general one.
            auto check = [&](uint64_t count, unsigned width) {
                SCOPED_TRACE(testing::Message() << "lead " << lead << " count " << count
                                                << " width " << width << " aligned " << aligned);
                const Bytes first = leftJustified(rng, lead);
                const Bytes second = leftJustified(rng, count);
                startWriting(aligned);
                ASSERT_EQ(encode([&] {
                              _qor_append(&world, first.data(), static_cast<QorULong>(lead), 1);
                              if (width != 0)
                                  kAppend[width](&world, second[0]);
                              else
                                  _qor_append(&world, second.data(), count, 1);
                          }),
                          0);
                BitModel m;
                m.put(first.data(), lead);
                if (aligned && width == 0)
                    m.pad();
                m.put(second.data(), count);
                const uint64_t total = m.size();
                const long blocks = static_cast<long>((total + 8191) / 8192);
                EXPECT_EQ(blockCount(), blocks);
                EXPECT_EQ(world.outRoom, blocks * QOR_BLOCK_SIZE - static_cast<long>(total / 8));
                EXPECT_EQ(world.bitOffset, static_cast<int>(total % 8));
                ASSERT_EQ(written(), m.bytes());
            };
            for (uint64_t count : counts)
                check(count, 0);
            for (unsigned width = 1; width <= 8; width++)
                check(width, width);
        }
    }
}

// A long random mix of items, both variants of PER: sizing counts what
// writing writes and touches no memory; the blocks hold the model's stream,
// which reads back item by item from an input of exactly its size; a
// caller's buffer of exactly that size takes it, and one octet less fails
// with code 1 and nothing written past the buffer.
TEST_F(BitsTest, RandomItemsSizedWrittenAndReadBack)
{
    std::mt19937 rng(20240601);
    for (bool aligned : {false, true}) {
        SCOPED_TRACE(aligned ? "aligned" : "unaligned");
        const std::vector<Item> items = randomItems(rng, 1500);
        BitModel m;
        for (const Item &it : items)
            model(m, it, aligned);
        const Bytes expected = m.bytes();
        auto writeAll = [&] {
            for (const Item &it : items)
                write(&world, it);
        };

        startWriting(aligned, true);
        const long calls = CountingAllocator::calls;
        ASSERT_EQ(encode(writeAll), 0);
        EXPECT_EQ(CountingAllocator::calls, calls) << "sizing allocates nothing";
        EXPECT_EQ(blockCount(), 0);
        EXPECT_EQ(world.outPos, nullptr);
        EXPECT_EQ(world.encLength, static_cast<QorLong>(m.size() / 8));
        EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));

        startWriting(aligned);
        ASSERT_EQ(encode(writeAll), 0);
        const Bytes encoding = written();
        ASSERT_EQ(encoding, expected);
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
            << world.errMsgBuffer;
        for (size_t i = 0; i < items.size(); i++) {
            const Item &it = items[i];
            SCOPED_TRACE(testing::Message() << "item " << i);
            if (it.kind == Item::kBulk) {
                BitModel bits;
                bits.put(it.data.data(), it.count);
                Bytes expected = bits.bytes();
                expected.resize(expected.size() + 8, kSentinel);
                ASSERT_EQ(targets[i], expected);
            } else {
                ASSERT_EQ(got[i], it.value);
            }
        }
        EXPECT_EQ(world.inPos, encoding.data() + m.size() / 8);
        EXPECT_EQ(world.inRoom, static_cast<QorLong>(encoding.size() - m.size() / 8));
        EXPECT_EQ(world.bitOffset, static_cast<int>(m.size() % 8));

        const auto size = static_cast<QorLong>(expected.size());
        for (QorLong room : {size, size - 1}) {
            Bytes buffer(expected.size() + 16, kGarbage);
            startWritingInto(buffer.data(), room, aligned);
            const int code = encode(writeAll);
            EXPECT_EQ(Bytes(buffer.begin() + room, buffer.end()),
                      Bytes(buffer.size() - static_cast<size_t>(room), kGarbage));
            if (room == size) {
                EXPECT_EQ(code, 0);
                EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + size), expected);
                EXPECT_EQ(world.outRoom, world.bitOffset != 0 ? 1 : 0);
            } else {
                EXPECT_EQ(code, QOR_BUFFER_TOO_SMALL);
                EXPECT_TRUE(messageHas("0001S:")) << world.errMsgBuffer;
                EXPECT_EQ(blockCount(), 0);
            }
        }
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
        std::function<void()> write;
    } cases[] = {
        {"1 bit into an empty buffer", 0, false, 0,
         [&] { _qor_append_1bit_unaligned(&world, 0x80); }},
        {"3 bits crossing the last octet", 1, false, 6,
         [&] { _qor_append_3bit_unaligned(&world, 0xE0); }},
        {"8 bits after a full octet", 1, false, 0,
         [&] {
             _qor_append_8bit_unaligned(&world, 0xFF);
             _qor_append_1bit_unaligned(&world, 0x80);
         }},
        {"an aligned octet after the pad", 1, true, 3,
         [&] { _qor_append_8bit_aligned(&world, 0xFF); }},
        {"17 bits into two octets", 2, false, 0, [&] { _qor_append(&world, bits, 17, 0); }},
        {"10 bits at offset 7 into two octets", 2, false, 7,
         [&] { _qor_append(&world, bits, 10, 0); }},
        {"9 bits after the pad", 2, true, 1, [&] { _qor_append(&world, bits, 9, 1); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Bytes buffer(8, kGarbage);
        startWritingInto(buffer.data(), c.size, c.aligned);
        world.bitOffset = c.offset;
        EXPECT_EQ(encode(c.write), QOR_BUFFER_TOO_SMALL);
        EXPECT_EQ(blockCount(), 0);
        EXPECT_EQ(Bytes(buffer.begin() + c.size, buffer.end()), Bytes(8 - c.size, kGarbage));
    }
}

TEST_F(BitsTest, OutOfMemoryForABlock)
{
    const unsigned char bits[] = {0xFF};
    for (bool general : {false, true}) {
        SCOPED_TRACE(general ? "general writer" : "fixed-width writer");
        startWriting(false);
        CountingAllocator::failAt = CountingAllocator::calls + 1;
        EXPECT_EQ(encode([&] {
                      if (general)
                          _qor_append(&world, bits, 8, 0);
                      else
                          _qor_append_1bit_unaligned(&world, 0x80);
                  }),
                  QOR_OUT_OF_MEMORY);
        EXPECT_TRUE(messageHas("0008S:")) << world.errMsgBuffer;
    }
    CountingAllocator::failAt = 0;
}

// ---------------------------------------------------------------------------
// Readers

// The general reader at every offset, with an input of exactly the octets it
// needs, then one octet short: it reads the model's bits into the top of the
// target, writes nothing past the target's last octet, and a short input
// fails before any octet is copied. Reading no bits reads no pad either.
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
                    BitModel all, wanted;
                    all.put(stream.data(), 8 * needed);
                    const auto from = all.bits.begin() + static_cast<long>(offset + skip);
                    wanted.bits.assign(from, from + static_cast<long>(count));
                    Bytes expected = wanted.bytes();
                    expected.resize(expected.size() + 8, kSentinel);

                    const Bytes exact(stream.begin(), stream.begin() + static_cast<long>(needed));
                    Bytes target(expected.size(), kSentinel);
                    startReading(exact, aligned, offset);
                    auto read = [&] {
                        _qor_get_bits(&world, target.data(), static_cast<QorULong>(count), align);
                    };
                    ASSERT_EQ(decode(read), 0);
                    EXPECT_EQ(target, expected);
                    const uint64_t end = offset + skip + count;
                    EXPECT_EQ(world.inPos, exact.data() + end / 8);
                    EXPECT_EQ(world.inRoom, static_cast<QorLong>(needed - end / 8));
                    EXPECT_EQ(world.bitOffset, static_cast<int>(end % 8));

                    const Bytes shorter(exact.begin(), exact.end() - 1);
                    target.assign(expected.size(), kSentinel);
                    startReading(shorter, aligned, offset);
                    EXPECT_EQ(decode(read), QOR_MORE_INPUT);
                    EXPECT_EQ(target, Bytes(expected.size(), kSentinel)) << "nothing copied";
                    EXPECT_EQ(world.inRoom, static_cast<QorLong>(needed - 1));
                    EXPECT_EQ(world.bitOffset, static_cast<int>(offset));
                }
            }
        }
    }

    const Bytes input = {0xFF};
    unsigned char target = kSentinel;
    startReading(input, true, 3);
    ASSERT_EQ(decode([&] { _qor_get_bits(&world, &target, 0, 1); }), 0);
    EXPECT_EQ(world.bitOffset, 3);
    EXPECT_EQ(world.inPos, input.data());
    EXPECT_EQ(world.inRoom, 1);
    EXPECT_EQ(target, kSentinel);
}

// The octet reader, aligned or at the cursor by `align` and the variant,
// with the whole input left, its first octet only, or nothing. From a
// non-zero offset in the last octet it succeeds: the bits that would come
// from beyond the input are 0, and nothing past it is read; every read after
// that reports the end of the input, and consumes nothing. With the pad
// taking the last octet, or none left, it fails.
TEST_F(BitsTest, OctetReaderAtEveryOffset)
{
    const unsigned char pattern[3] = {0x9C, 0x3A, 0xE7};
    for (size_t left : {3, 1, 0}) {
        BitModel m;
        m.put(pattern, 8 * left);
        m.bits.resize(32, 0);
        for (bool aligned : {false, true}) {
            for (int align : {0, 1, 2}) {
                for (unsigned offset = 0; offset < 8; offset++) {
                    SCOPED_TRACE(testing::Message() << "left " << left << " aligned " << aligned
                                                    << " align " << align << " offset " << offset);
                    const Bytes input(pattern, pattern + left);
                    startReading(input, aligned, offset);
                    QorULong got = 0;
                    const int code = decode([&] { got = _qor_get_octet(&world, align); });
                    const unsigned start = aligned && align == 1 && offset != 0 ? 8 : offset;
                    if (start >= 8 * left) {
                        EXPECT_EQ(code, QOR_MORE_INPUT);
                        EXPECT_EQ(world.inRoom, static_cast<QorLong>(left));
                        continue;
                    }
                    ASSERT_EQ(code, 0);
                    unsigned expected = 0;
                    for (unsigned i = 0; i < 8; i++)
                        expected |= static_cast<unsigned>(m.bits[start + i]) << (7 - i);
                    EXPECT_EQ(got & 0xFF, expected);
                    EXPECT_EQ(world.bitOffset, static_cast<int>(start % 8));
                    EXPECT_EQ(world.inPos, input.data() + (start + 8) / 8);
                    const QorLong room = static_cast<QorLong>(left - (start + 8) / 8);
                    EXPECT_EQ(world.inRoom, room);
                    if (room != 0 || start == 0)
                        continue;
                    unsigned char target = kSentinel;
                    EXPECT_EQ(decode([&] { _qor_get_1bit_unaligned(&world); }), QOR_MORE_INPUT);
                    EXPECT_EQ(decode([&] { _qor_get_octet(&world, 0); }), QOR_MORE_INPUT);
                    EXPECT_EQ(decode([&] { _qor_get_bits(&world, &target, 1, 0); }),
                              QOR_MORE_INPUT);
                    world.perAligned = 1;
                    EXPECT_EQ(decode([&] { _qor_get_octet(&world, 1); }), QOR_MORE_INPUT);
                    EXPECT_EQ(decode([&] { _qor_get_bits(&world, &target, 1, 1); }),
                              QOR_MORE_INPUT);
                    EXPECT_EQ(world.inRoom, 0) << "failed reads consume nothing";
                    EXPECT_EQ(target, kSentinel);
                }
            }
        }
    }
}

} // namespace
