// Shared test support for every family's tests.
#include "support/roundtrip.h"

#include "frame/world.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

namespace qortest {

long CountingAllocator::outstanding = 0;
long CountingAllocator::calls = 0;
long CountingAllocator::failAt = 0;
size_t CountingAllocator::lastSize = 0;

namespace {

void *countingMalloc(QorGlobal *, size_t size)
{
    long call = ++CountingAllocator::calls;
    CountingAllocator::lastSize = size;
    if (CountingAllocator::failAt != 0 && call == CountingAllocator::failAt)
        return nullptr;
    void *p = malloc(size);
    if (p != nullptr)
        CountingAllocator::outstanding++;
    return p;
}

void countingFree(QorGlobal *, void *p)
{
    if (p != nullptr)
        CountingAllocator::outstanding--;
    free(p);
}

void *countingRealloc(QorGlobal *, void *p, size_t size)
{
    if (p == nullptr)
        return countingMalloc(nullptr, size);
    return realloc(p, size);
}

} // namespace

void CountingAllocator::reset(long failAtCall)
{
    outstanding = 0;
    calls = 0;
    failAt = failAtCall;
}

void CountingAllocator::install(QorGlobal *world)
{
    qorSetUserMallocFreeRealloc(world, countingMalloc, countingFree, countingRealloc);
}

void ContextTest::SetUp()
{
    ASSERT_EQ(qorinit(&world, &testSchemaTable), 0);
    CountingAllocator::reset();
    CountingAllocator::install(&world);
}

void ContextTest::TearDown()
{
    qorterm(&world);
    EXPECT_EQ(CountingAllocator::outstanding, 0) << "allocations not given back";
}

void ContextTest::useTemporaryBuffer(unsigned char *buffer, QorLong size)
{
    QorBuf b = {size, buffer};
    ASSERT_EQ(qorSetTemporaryBuffer(&world, buffer != nullptr ? &b : nullptr), 0);
    world.tempLow = buffer != nullptr ? world.privateArea->tempBuffer : nullptr;
    world.tempHigh = buffer != nullptr ? world.tempLow + world.privateArea->tempBufferSize : nullptr;
}

Bytes bytesOf(const QorBuf &buf) { return Bytes(buf.value, buf.value + buf.length); }

long blocksListed(const QorGlobal *world)
{
    long n = 0;
    for (const QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next)
        n += r->count;
    return n;
}

void releaseBlocks(QorGlobal *world)
{
    for (QorMemBlockRecord *r = &world->blockQueue; r != nullptr;) {
        for (int i = 0; i < r->count; i++)
            world->userFree(world, r->slot[i]);
        QorMemBlockRecord *next = r->next;
        if (r != &world->blockQueue)
            world->userFree(world, r);
        r = next;
    }
    world->blockQueue.count = 0;
    world->blockQueue.next = nullptr;
    world->blockQueueTail = &world->blockQueue;
    world->totalBytes = 0;
}

Bytes forwardOutput(QorGlobal *world)
{
    Bytes out;
    const long blocks = blocksListed(world);
    long seen = 0;
    for (const QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next) {
        for (int i = 0; i < r->count; i++) {
            auto *block = static_cast<const unsigned char *>(r->slot[i]);
            long n = ++seen < blocks ? QOR_BLOCK_SIZE : QOR_BLOCK_SIZE - world->outRoom;
            out.insert(out.end(), block, block + n);
        }
    }
    return out;
}

Bytes hex(const char *text)
{
    Bytes out;
    for (const char *p = text; *p != '\0';) {
        if (*p == ' ') {
            p++;
            continue;
        }
        out.push_back(static_cast<unsigned char>(strtoul(std::string(p, 2).c_str(), nullptr, 16)));
        p += 2;
    }
    return out;
}

Bytes pattern(size_t n, unsigned seed)
{
    Bytes b(n);
    for (size_t i = 0; i < n; i++)
        b[i] = static_cast<unsigned char>(i * 31 + (i >> 8) + seed);
    return b;
}

Bytes encodePdu(QorGlobal *world, int pdu, void *value)
{
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(world, pdu, value, &out), 0) << qorGetErrMsg(world);
    Bytes encoding = bytesOf(out);
    qorFreeBuf(world, out.value);
    return encoding;
}

int decodePdu(QorGlobal *world, const Bytes &input, int pdu, void **value, int *found)
{
    Bytes copy = input.empty() ? Bytes{0} : input; // a QorBuf needs octets to point at
    QorBuf in = {static_cast<QorLong>(input.size()), copy.data()};
    void *out = nullptr;
    int code = qorDecode(world, &pdu, &in, &out);
    if (found != nullptr)
        *found = pdu;
    if (code != 0) {
        EXPECT_EQ(out, nullptr);
        EXPECT_NE(qorGetErrMsg(world)[0], '\0') << "a failure says why";
    } else if (value != nullptr) {
        *value = out;
    } else {
        EXPECT_EQ(qorFreePDU(world, pdu, out), 0);
    }
    return code;
}

void expectOneFunction(std::initializer_list<std::pair<const char *, const char *>> pairs)
{
    for (const auto &[first, second] : pairs) {
        void *address = dlsym(RTLD_DEFAULT, first);
        EXPECT_NE(address, nullptr) << first;
        EXPECT_EQ(address, dlsym(RTLD_DEFAULT, second)) << second;
    }
}

void expectRoundTrip(QorGlobal *world, int pdu, void *value, const Bytes &expected,
                     const std::function<void(void *)> &check)
{
    const auto size = static_cast<QorLong>(expected.size());
    EXPECT_EQ(qorDetermineEncodingLength(world, pdu, value), size) << "sizing mode";

    QorBuf library = {0, nullptr};
    ASSERT_EQ(qorEncode(world, pdu, value, &library), 0) << qorGetErrMsg(world);
    EXPECT_EQ(bytesOf(library), expected) << "library memory";

    Bytes room(expected.size() + 1);
    QorBuf exact = {size, room.data() + 1};
    ASSERT_EQ(qorEncode(world, pdu, value, &exact), 0) << qorGetErrMsg(world);
    EXPECT_EQ(bytesOf(exact), expected) << "caller's buffer";

    if (size > 0) {
        QorBuf tight = {size - 1, room.data()};
        EXPECT_EQ(qorEncode(world, pdu, value, &tight), QOR_BUFFER_TOO_SMALL) << "one octet short";
    }

    QorBuf input = {library.length, library.value};
    void *decoded = nullptr;
    // BER finds the PDU from the tag; PER and OER input doesn't say.
    const int rules = qorGetEncodingRules(world);
    int found = rules == QOR_PER_ALIGNED || rules == QOR_PER_UNALIGNED || rules == QOR_OER ? pdu : 0;
    ASSERT_EQ(qorDecode(world, &found, &input, &decoded), 0) << qorGetErrMsg(world);
    EXPECT_EQ(found, pdu);
    EXPECT_EQ(qorGetBytesReadByDecoder(world), size);
    check(decoded);
    EXPECT_EQ(qorFreePDU(world, pdu, decoded), 0);

    std::vector<unsigned char> flat(4096 + expected.size() * 2);
    void *intoCaller = flat.data();
    qorSetDecodingLength(world, static_cast<QorLong>(flat.size()));
    input = {library.length, library.value};
    found = pdu;
    ASSERT_EQ(qorDecode(world, &found, &input, &intoCaller), 0) << qorGetErrMsg(world);
    EXPECT_GE(static_cast<unsigned char *>(intoCaller), flat.data());
    check(intoCaller);
    qorSetDecodingLength(world, 0);

    qorFreeBuf(world, library.value);
}

void expectEveryAllocationMayFail(QorGlobal *world, int pdu, void *value, const Bytes *input)
{
    CountingAllocator::reset();
    QorBuf good = {0, nullptr};
    ASSERT_EQ(qorEncode(world, pdu, value, &good), 0) << qorGetErrMsg(world);
    const long encodeCalls = CountingAllocator::calls;
    Bytes encoding = input != nullptr ? *input : bytesOf(good);
    qorFreeBuf(world, good.value);
    for (long n = 1; n <= encodeCalls; n++) {
        CountingAllocator::reset(n);
        QorBuf out = {0, nullptr};
        EXPECT_EQ(qorEncode(world, pdu, value, &out), QOR_OUT_OF_MEMORY) << "encode, call " << n;
        EXPECT_EQ(out.value, nullptr);
        EXPECT_EQ(world->blockStack, nullptr);
        EXPECT_EQ(CountingAllocator::outstanding, 0) << "encode, call " << n;
    }
    CountingAllocator::reset();
    QorBuf in = {static_cast<QorLong>(encoding.size()), encoding.data()};
    void *decoded = nullptr;
    int found = pdu;
    ASSERT_EQ(qorDecode(world, &found, &in, &decoded), 0) << qorGetErrMsg(world);
    const long decodeCalls = CountingAllocator::calls;
    qorFreePDU(world, found, decoded);
    for (long n = 1; n <= decodeCalls; n++) {
        CountingAllocator::reset(n);
        in = {static_cast<QorLong>(encoding.size()), encoding.data()};
        decoded = nullptr;
        found = pdu;
        EXPECT_EQ(qorDecode(world, &found, &in, &decoded), QOR_OUT_OF_MEMORY) << "decode, call " << n;
        EXPECT_EQ(decoded, nullptr);
        EXPECT_EQ(CountingAllocator::outstanding, 0) << "decode, call " << n;
    }
    CountingAllocator::reset();
}

void startCall(QorGlobal *world)
{
    world->privateArea->fixups.reset();
    world->privateArea->openTypes.reset();
}

void startWriting(QorGlobal *world, bool aligned, bool sizing)
{
    startCall(world);
    releaseBlocks(world);
    setFlag(world->encodingFlags, DETERMINE_ENC_LENGTH, sizing);
    world->perAligned = aligned ? 1 : 0;
    world->bitOffset = 0;
    world->outPos = nullptr;
    world->outRoom = 0;
    world->userBuffer = 0;
    world->totalBytes = 0;
    world->encLength = 0;
}

} // namespace qortest
