// A context for OER primitives called directly, as generated code calls
// them: output into the library's blocks, a caller's buffer or only counted;
// input read from a vector that holds exactly the encoding.
#pragma once

#include <functional>

#include "support/roundtrip.h"

namespace oertest {

using qortest::Bytes;

// Return codes of the messages the primitives raise.
constexpr int kBufferCode = 1;     // message 1
constexpr int kEndOfInputCode = 4; // message 45
constexpr int kMisencodedCode = 5; // messages 91 and 106
constexpr int kTooLongCode = 10;   // messages 92 and 147
constexpr int kRangeCode = 17;     // messages 22 and 23
constexpr int kNotSupportedCode = 25; // messages 2 and 289

class OerTest : public qortest::ContextTest {
protected:
    void TearDown() override
    {
        qortest::releaseBlocks(&world);
        ContextTest::TearDown();
    }

    // Runs `body` as an encoder: into the library's blocks (`room` below 0),
    // a caller's buffer of `room` octets, or counting only. Returns 0 or the
    // code raised; the octets go to `out`.
    int encode(const std::function<void()> &body, Bytes *out = nullptr, long room = -1,
               bool sizing = false)
    {
        qortest::startWriting(&world, false, sizing);
        // A caller's buffer of no octets still has an address.
        buffer.assign(room > 0 ? static_cast<size_t>(room) : 1, 0);
        world.userBuffer = room >= 0 ? 1 : 0;
        world.totalBytes = room;
        world.outPos = room >= 0 ? buffer.data() : nullptr;
        world.blockStack = world.outPos + (room > 0 ? room : 0);
        const int code = qortest::inFrame(&world, QOR_OP_ENCODE, [&] { body(); });
        if (out != nullptr && room >= 0) {
            *out = Bytes(buffer.data(), world.outPos);
        } else if (out != nullptr) {
            world.outRoom = static_cast<QorLong>(static_cast<unsigned char *>(world.blockStack) - world.outPos);
            *out = qortest::forwardOutput(&world);
        }
        world.blockStack = nullptr;
        qortest::setFlag(world.encodingFlags, DETERMINE_ENC_LENGTH, false);
        return code;
    }

    // Runs `body` as a decoder of `bytes` into the library's memory; `read`
    // gets the octets taken.
    int decode(const Bytes &bytes, const std::function<void()> &body)
    {
        qortest::releaseBlocks(&world);
        input = bytes;
        world.userBuffer = 0;
        world.inPos = input.data();
        world.blockStack = input.data() + input.size();
        const int code = qortest::inFrame(&world, QOR_OP_DECODE, [&] { body(); });
        read = world.inPos - input.data();
        world.blockStack = nullptr;
        return code;
    }

    // `want` from `put` in every output mode, refused by a caller's buffer
    // one octet short, counted alike in sizing mode, and all of it read back
    // by `get`, if given.
    void expectCoded(const Bytes &want, const std::function<void()> &put,
                     const std::function<void()> &get)
    {
        Bytes got;
        ASSERT_EQ(encode(put, &got), 0) << world.errMsgBuffer;
        EXPECT_EQ(got, want) << "blocks";
        ASSERT_EQ(encode(put, &got, static_cast<long>(want.size())), 0) << world.errMsgBuffer;
        EXPECT_EQ(got, want) << "caller's buffer";
        if (!want.empty()) {
            EXPECT_EQ(encode(put, nullptr, static_cast<long>(want.size()) - 1), kBufferCode)
                << "one octet short";
        }
        ASSERT_EQ(encode(put, nullptr, -1, true), 0);
        EXPECT_EQ(world.encLength, static_cast<QorLong>(want.size())) << "sizing";
        if (!get)
            return;
        ASSERT_EQ(decode(want, get), 0) << world.errMsgBuffer;
        EXPECT_EQ(read, static_cast<long>(want.size()));
    }

    Bytes buffer;
    Bytes input;
    long read = 0;
};

} // namespace oertest
