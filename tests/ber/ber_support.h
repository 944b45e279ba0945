// Calling BER primitives directly: an encoder's output gathered, a decoder
// run over given octets.
#pragma once

#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "frame/world.h"
#include "memory/temp_block.h"
#include "support/roundtrip.h"

namespace qortest {

// Return codes as the BER tests name them.
constexpr int kMoreInput = QOR_MORE_INPUT, kDataError = QOR_DATA_ERROR, kLimited = QOR_LIMITED,
              kNullInput = QOR_NULL_INPUT, kBadTime = QOR_BAD_TIME,
              kOutOfMemory = QOR_OUT_OF_MEMORY;
constexpr int kSizeExceeded = 16;   // message 79
constexpr int kNestedTooDeep = 108; // constructed encodings, message 180

inline Bytes concat(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes &p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

// The characters of `s`, without its NUL.
inline Bytes text(const char *s) { return Bytes(s, s + strlen(s)); }

// `hexText` written `times` times over.
inline Bytes repeat(const char *hexText, int times)
{
    Bytes one = hex(hexText);
    Bytes out;
    for (int i = 0; i < times; i++)
        out.insert(out.end(), one.begin(), one.end());
    return out;
}

inline Bytes slice(const Bytes &b, size_t from, size_t to)
{
    return Bytes(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(to));
}

// The octets after the first `n`.
inline Bytes after(const Bytes &b, size_t n) { return slice(b, n, b.size()); }

// Every proper prefix of `b`, the empty one first.
inline std::vector<Bytes> prefixes(const Bytes &b)
{
    std::vector<Bytes> out;
    for (size_t n = 0; n < b.size(); n++)
        out.push_back(slice(b, 0, n));
    return out;
}

// Runs `attempt` (0, or the code it raised) with its first allocation
// failing, then its second, and so on until it succeeds; every failure must
// be out of memory. Gives the number of failures.
template <class Attempt> int failuresBeforeSuccess(Attempt &&attempt)
{
    for (int failures = 0; failures < 1000; failures++) {
        CountingAllocator::failAt = CountingAllocator::calls + failures + 1;
        int code = attempt();
        CountingAllocator::failAt = 0;
        if (code == 0)
            return failures;
        EXPECT_EQ(code, QOR_OUT_OF_MEMORY) << "allocation " << failures + 1;
    }
    ADD_FAILURE() << "never succeeds";
    return -1;
}

// Runs `body` over a copy of `input` of exactly its size, with `length` as
// the contents length; on success it must have taken exactly `length` octets.
template <class Body>
int decodeExactly(QorGlobal *world, const Bytes &input, QorLong length, Body &&body)
{
    Bytes copy = input;
    unsigned char *start = copy.empty() ? nullptr : copy.data();
    unsigned char *pos = start;
    auto room = static_cast<QorLong>(copy.size());
    int code = inFrame(world, QOR_OP_DECODE, [&] { body(&pos, &room, length); });
    if (code == 0) {
        EXPECT_EQ(pos - start, length);
        EXPECT_EQ(room, static_cast<QorLong>(copy.size()) - length);
    }
    return code;
}

// One call of an encoder, given the output position and room; of a decoder,
// given the input position, room and contents length.
using Write = std::function<QorLong(unsigned char **, QorLong *)>;
using Read = std::function<QorLong(unsigned char **, QorLong *, QorLong)>;

class BerTest : public ContextTest {
protected:
    struct Encoding {
        int code;         // 0, or what the call raised
        Bytes bytes;      // empty after a failure
        QorLong returned; // the encoder's result
        QorLong counted;  // its result in sizing mode
    };

    // `fn` called with `args` after the context and the position and room
    // (and the length, for a decoder).
    template <class Fn, class... Args> Write writer(Fn fn, Args... args)
    {
        return [=, this](unsigned char **pos, QorLong *room) {
            return fn(&world, pos, room, args...);
        };
    }
    template <class Fn, class... Args> Read reader(Fn fn, Args... args)
    {
        return [=, this](unsigned char **pos, QorLong *room, QorLong length) {
            return static_cast<QorLong>(fn(&world, pos, room, length, args...));
        };
    }

    // Runs `write` below an empty output, then again in sizing mode, which
    // must count the same, write nothing and fail alike. A failed call gives
    // its blocks back, as the driver would; one whose allocation failed is
    // not run again (the encoder stack it left is the driver's).
    template <class W> Encoding attempt(W &&write)
    {
        unsigned char *pos = nullptr, *value = nullptr;
        QorLong room = 0, length = 0, returned = 0, counted = 0;
        const int code = inFrame(&world, QOR_OP_ENCODE, [&] {
            returned = write(&pos, &room);
            _qor_set_outmem_d(&world, room, &length, &value);
        });
        if (code != 0)
            releaseBlocks(&world);
        if (code == QOR_OUT_OF_MEMORY)
            return {code, {}, 0, 0};
        Bytes out(value, value + length);
        if (value != nullptr)
            world.userFree(&world, value);
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
        world.encLength = 0;
        pos = nullptr;
        room = 0;
        const int sized = inFrame(&world, QOR_OP_ENCODE, [&] { counted = write(&pos, &room); });
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(sized, code) << "sizing mode and encoding disagree";
        EXPECT_TRUE(code != 0 || world.encLength == length) << "sizing mode counted " << world.encLength;
        EXPECT_EQ(world.blockQueue.count, 0) << "sizing mode wrote";
        freeTempBlocks();
        return {code, out, code == 0 ? returned : 0, code == 0 ? counted : 0};
    }

    // A successful call must also return the length it wrote, and sizing
    // mode the same.
    template <class W> Encoding encode(W &&write)
    {
        Encoding e = attempt(write);
        if (e.code == 0) {
            EXPECT_EQ(e.returned, static_cast<QorLong>(e.bytes.size())) << "returned size";
            EXPECT_EQ(e.counted, e.returned) << "sizing mode's result";
        }
        return e;
    }

    // The octets of a call that must succeed; a call that may fail gives its
    // code to `code`.
    template <class W> Bytes encodeChecked(W &&write, int *code = nullptr)
    {
        Encoding e = encode(write);
        if (code != nullptr)
            *code = e.code;
        else
            EXPECT_EQ(e.code, 0) << world.errMsgBuffer;
        return e.bytes;
    }

    template <class W> int encodeError(W &&write) { return encode(write).code; }

    // A row's expectation: `wantCode`, then the octets that `text` names or
    // a message that holds it.
    void expectOutcome(int code, const Bytes &got, int wantCode, const char *text)
    {
        EXPECT_EQ(code, wantCode) << world.errMsgBuffer;
        if (wantCode == 0)
            EXPECT_EQ(got, hex(text));
        else
            EXPECT_TRUE(messageHas(text)) << world.errMsgBuffer;
    }

    // Runs `read` over `input`; returns 0 or the raised code, and how many
    // octets it consumed.
    template <class R> int decoded(const Bytes &input, R &&read, QorLong *consumed = nullptr)
    {
        Bytes copy = input;
        unsigned char *pos = copy.data();
        QorLong room = static_cast<QorLong>(copy.size());
        int code = inFrame(&world, QOR_OP_DECODE, [&] { read(&pos, &room); });
        if (consumed != nullptr)
            *consumed = static_cast<QorLong>(copy.size()) - room;
        releaseBlocks(&world);
        return code;
    }

    // Reads tag and length as generated code does, the indefinite form as -1.
    QorLong header(unsigned char **pos, QorLong *room)
    {
        _qor_dec_tag(&world, pos, room);
        return _qor_dec_length(&world, pos, room);
    }

    // Decodes the whole encoding `input` with `read`, which gets the length
    // from the header, then ends the call as the driver would. A call that
    // succeeds must have consumed all of the input and given its temporary
    // memory back itself.
    template <class R> int decode(const Bytes &input, R &&read)
    {
        QorLong consumed = -1;
        int code = decoded(
            input, [&](unsigned char **pos, QorLong *room) { read(pos, room, header(pos, room)); },
            &consumed);
        if (code == 0) {
            EXPECT_EQ(consumed, static_cast<QorLong>(input.size())) << "octets consumed";
            EXPECT_EQ(world.tempBlockList, nullptr) << "temporary memory kept";
            EXPECT_EQ(world.privateArea->constructedDepth, 0) << "nesting count";
        }
        endCall();
        return code;
    }

    // `decode` with a decoder's result going to `*n`.
    int run(const Bytes &input, const Read &read, QorLong *n = nullptr)
    {
        return decode(input, [&](unsigned char **pos, QorLong *room, QorLong length) {
            QorLong result = read(pos, room, length);
            if (n != nullptr)
                *n = result;
        });
    }

    // What the driver does after every call: temporary memory goes, the
    // nesting count starts again.
    void endCall()
    {
        freeTempBlocks();
        world.privateArea->constructedDepth = 0;
    }

    // Temporary memory goes back, as the driver gives it back after a call.
    void freeTempBlocks()
    {
        while (auto *block = static_cast<qor::TempBlock *>(world.tempBlockList)) {
            world.tempBlockList = block->prev;
            world.userFree(&world, block);
        }
        world.tempLow = world.tempHigh = nullptr;
    }
};

} // namespace qortest
