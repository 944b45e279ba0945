// A context for PER primitives called directly, as generated code calls
// them: output written into the library's blocks and read back whole, input
// read from a vector that holds exactly the encoding.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "support/roundtrip.h"

namespace pertest {

using qortest::Bytes;

class PerTest : public qortest::ContextTest {
protected:
    void TearDown() override
    {
        qortest::releaseBlocks(&world);
        ContextTest::TearDown();
    }

    // Runs `body` as an encoder under the given variant from an empty
    // output; returns 0 or the code raised. The octets go to `out`, a last
    // partial octet included.
    int encode(bool aligned, const std::function<void()> &body, Bytes *out = nullptr)
    {
        qortest::releaseBlocks(&world);
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.outPos = nullptr;
        world.outRoom = 0;
        world.userBuffer = 0;
        world.totalBytes = 0;
        world.encLength = 0;
        int code = qortest::inFrame(&world, QOR_OP_ENCODE, [&] { body(); });
        if (out != nullptr) {
            *out = qortest::forwardOutput(&world);
            if (world.bitOffset != 0)
                out->push_back(*world.outPos);
        }
        return code;
    }

    // The same in sizing mode: the octets counted, a partial one included.
    long sized(bool aligned, const std::function<void()> &body)
    {
        qortest::releaseBlocks(&world);
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.encLength = 0;
        int code = qortest::inFrame(&world, QOR_OP_ENCODE, [&] { body(); });
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(code, 0);
        return world.encLength + (world.bitOffset != 0 ? 1 : 0);
    }

    // Runs `body` as a decoder over `input`; returns 0 or the code raised.
    int decode(bool aligned, const Bytes &input, const std::function<void()> &body,
               bool lenient = false)
    {
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.inPos = const_cast<unsigned char *>(input.data());
        world.inRoom = static_cast<QorLong>(input.size());
        qortest::setFlag(world.ruleBits, QOR_RULE_RELAXED, lenient);
        int code = qortest::inFrame(&world, QOR_OP_DECODE, [&] { body(); });
        world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};
        return code;
    }

    // Bits left unread in the input.
    long bitsLeft() const { return long{world.inRoom} * 8 - world.bitOffset; }

    bool messageHas(const char *part) const { return strstr(world.errMsgBuffer, part) != nullptr; }
};

// Return codes of the messages the primitives raise.
constexpr int kEndOfInputCode = 4;    // message 45
constexpr int kMisencodedCode = 5;    // message 106
constexpr int kOutOfBoundsCode = 10;  // messages 10 and 147
constexpr int kNotEnumeratedCode = 17; // message 36

} // namespace pertest
