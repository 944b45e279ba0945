// Shared test support: a counting allocator that can fail on purpose, a
// context fixture, and the round-trip check every family's tests use.
#pragma once

#include <gtest/gtest.h>

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "testschema.h"

namespace qortest {

using Bytes = std::vector<unsigned char>;

// Counts what the library takes and gives back; fails the N-th call when asked.
struct CountingAllocator {
    static long outstanding;
    static long calls;
    static long failAt; // 0: never
    static size_t lastSize;
    static void reset(long failAtCall = 0);
    static void install(QorGlobal *world);
};

// A context on the test schema, ended (and checked for leaks) after the test.
class ContextTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Whether the context's message holds `part`.
    bool messageHas(const std::string &part) const
    {
        return strstr(world.errMsgBuffer, part.c_str()) != nullptr;
    }

    // A caller's temporary buffer, in place as the driver puts it for a
    // call; null takes it away.
    void useTemporaryBuffer(unsigned char *buffer, QorLong size);

    QorGlobal world{};
};

// Runs `body` as a driver would, with an exit frame armed and the per-call
// fields set; returns 0, or the code of the error that `body` raised. The
// body must keep no object with a destructor alive across library calls.
template <class Body> int inFrame(QorGlobal *world, int operation, Body &&body)
{
    sigjmp_buf frame;
    void *outer = world->jumpFrame;
    world->jumpFrame = &frame;
    world->operation = operation;
    world->errMsgTarget = world->errMsgBuffer;
    world->blockQueueTail = &world->blockQueue;
    int code = sigsetjmp(frame, 0);
    if (code == 0)
        body();
    world->jumpFrame = outer;
    return code;
}

// The octets written forwards so far, gathered from the block queue.
Bytes forwardOutput(QorGlobal *world);

Bytes bytesOf(const QorBuf &buf);
Bytes hex(const char *text); // "04 03 41 42 43"
Bytes pattern(size_t n, unsigned seed = 1); // octets that differ from their neighbours

// A Raw value of the characters of `text`, which outlives it.
inline Raw rawText(const char *text)
{
    return {static_cast<QorLong>(strlen(text)),
            reinterpret_cast<unsigned char *>(const_cast<char *>(text))};
}

// Sets or clears `flag` in one of the context's flag words.
template <class Word> void setFlag(Word &word, QorULong flag, bool on)
{
    word = static_cast<Word>(on ? word | flag : word & ~flag);
}

// Forgets the open-type records a failed call left, as a driver does.
void startCall(QorGlobal *world);

// Fresh output for a PER primitive: into the library's blocks, or only
// counted when `sizing`.
void startWriting(QorGlobal *world, bool aligned, bool sizing = false);

// Output blocks listed in the context; given back, as the driver does after a call.
long blocksListed(const QorGlobal *world);
void releaseBlocks(QorGlobal *world);

// Encodes `value` as `pdu` into library memory; the call must succeed.
Bytes encodePdu(QorGlobal *world, int pdu, void *value);

// Decodes `input` as `pdu` (0: the PDU its tag names) into library memory and
// returns the code. A failure must leave no value and say why; a value is
// freed unless `value` takes it. `found` gets the PDU decoded.
int decodePdu(QorGlobal *world, const Bytes &input, int pdu = 0, void **value = nullptr,
              int *found = nullptr);

// Each pair of names is one entry point of the library, looked up at run time:
// a compiler may assume two declared functions differ and fold a comparison.
void expectOneFunction(std::initializer_list<std::pair<const char *, const char *>> pairs);

// Encodes `value` as `pdu` under the current rules and checks, against
// `expected`: sizing mode, library memory, a caller's buffer of the exact size
// and one octet too small; then decodes in library memory and into a caller's
// buffer, handing each decoded value to `check`, and frees it. Every
// allocation must be given back.
void expectRoundTrip(QorGlobal *world, int pdu, void *value, const Bytes &expected,
                     const std::function<void(void *)> &check);

// Fails each allocation of encoding `value` as `pdu` in turn, then each of
// decoding `input` (by default that encoding): every failure must be result
// 8, with no output, no frame left and nothing outstanding.
void expectEveryAllocationMayFail(QorGlobal *world, int pdu, void *value,
                                  const Bytes *input = nullptr);

} // namespace qortest
