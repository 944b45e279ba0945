// A context for PER primitives called directly, as generated code calls
// them: output written into the library's blocks and read back whole, input
// read from a vector that holds exactly the encoding.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "support/roundtrip.h"

namespace pertest {

using qortest::Bytes;

// Return codes of the messages the primitives raise.
constexpr int kEndOfInputCode = 4;    // message 45
constexpr int kMisencodedCode = 5;    // message 106
constexpr int kOutOfBoundsCode = 10;  // messages 10 and 147
constexpr int kNotEnumeratedCode = 17; // message 36
constexpr int kConstraintCode = 17;    // messages 22 and 23

class PerTest : public qortest::ContextTest {
protected:
    void TearDown() override
    {
        qortest::releaseBlocks(&world);
        ContextTest::TearDown();
    }

    // Runs `body` in a frame; temporary memory taken in it is given back
    // afterwards, as the drivers do, whether it finished or raised.
    int framed(int operation, const std::function<void()> &body)
    {
        void *mark = _qor_dec_gettempmem(&world, 1);
        int code = qortest::inFrame(&world, operation, [&] { body(); });
        _qor_dec_freetempmem(&world, mark);
        return code;
    }

    // Runs `body` as an encoder under the given variant from an empty
    // output; returns 0 or the code raised. The octets go to `out`, a last
    // partial octet included.
    int encode(bool aligned, const std::function<void()> &body, Bytes *out = nullptr)
    {
        qortest::startWriting(&world, aligned);
        int code = framed(QOR_OP_ENCODE, body);
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
        qortest::startWriting(&world, aligned, true);
        int code = framed(QOR_OP_ENCODE, body);
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(code, 0);
        return world.encLength + (world.bitOffset != 0 ? 1 : 0);
    }

    // Runs `body` as a decoder over `input`; returns 0 or the code raised.
    int decode(bool aligned, const Bytes &input, const std::function<void()> &body,
               bool lenient = false)
    {
        qortest::startCall(&world);
        world.perAligned = aligned ? 1 : 0;
        world.bitOffset = 0;
        world.inPos = const_cast<unsigned char *>(input.data());
        world.inRoom = static_cast<QorLong>(input.size());
        qortest::setFlag(world.ruleBits, QOR_RULE_RELAXED, lenient);
        int code = framed(QOR_OP_DECODE, body);
        world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};
        return code;
    }

    // Bits left unread in the input.
    long bitsLeft() const { return long{world.inRoom} * 8 - world.bitOffset; }

    // Expects `put` to write `expected` (and to count as many octets), `get`
    // to read it back to within a partial octet, and every shorter input to
    // run out. `get` runs on the whole input last, so what it read is there
    // to check afterwards.
    void expectCoded(bool aligned, const Bytes &expected, const std::function<void()> &put,
                     const std::function<void()> &get)
    {
        Bytes out;
        ASSERT_EQ(encode(aligned, put, &out), 0) << world.errMsgBuffer;
        EXPECT_EQ(out, expected);
        EXPECT_EQ(sized(aligned, put), static_cast<long>(expected.size()));
        for (size_t n = 0; n < expected.size(); n++)
            EXPECT_EQ(decode(aligned, prefix(expected, n), get), kEndOfInputCode) << n << " octets";
        ASSERT_EQ(decode(aligned, expected, get), 0) << world.errMsgBuffer;
        EXPECT_LT(bitsLeft(), 8);
    }

    // Decodes aligned `input` by `get`, strict then relaxed, expecting the
    // codes; `check` looks at what a successful read gave.
    void expectLenience(const char *input, int strict, int relaxed, const std::function<void()> &get,
                        const std::function<void()> &check)
    {
        for (bool lenient : {false, true}) {
            SCOPED_TRACE(testing::Message() << input << (lenient ? " relaxed" : " strict"));
            const int code = decode(true, qortest::hex(input), get, lenient);
            EXPECT_EQ(code, lenient ? relaxed : strict);
            if (code == 0) {
                check();
            } else if (code == kOutOfBoundsCode) {
                EXPECT_TRUE(messageHas("Integer or enumerated value too long")) << world.errMsgBuffer;
            }
        }
    }

    static Bytes prefix(const Bytes &bytes, size_t n) { return {bytes.begin(), bytes.begin() + static_cast<long>(n)}; }
};

// Appends the low `width` bits of `value` to `bits`, one entry a bit.
inline void appendBits(std::vector<int> &bits, uint64_t value, unsigned width)
{
    while (width-- > 0)
        bits.push_back(static_cast<int>((value >> width) & 1));
}

// The octets of `bits`, first bit first, a last partial octet padded with 0.
inline Bytes packBits(const std::vector<int> &bits)
{
    Bytes octets((bits.size() + 7) / 8, 0);
    for (size_t i = 0; i < bits.size(); i++)
        if (bits[i])
            octets[i / 8] |= static_cast<unsigned char>(0x80 >> (i % 8));
    return octets;
}

// Runs `body` in both variants, aligned first, each traced.
inline void bothVariants(const std::function<void(bool)> &body)
{
    for (bool aligned : {true, false}) {
        SCOPED_TRACE(aligned ? "aligned" : "unaligned");
        body(aligned);
    }
}

} // namespace pertest
