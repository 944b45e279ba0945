// The PER driver pair: pad bits, the one zero octet of an empty encoding,
// and how much input a decode took, through entries that write and read a
// given number of bits.
#include <algorithm>
#include <cstring>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

// The value: how many bits, and the bits themselves (at most 32).
struct BitsValue {
    QorULong count;
    unsigned char bits[4];
};

int encodeBits(QorGlobal *world, int, void *value)
{
    auto *v = static_cast<BitsValue *>(value);
    _qor_append(world, v->bits, v->count, 0);
    return 0;
}

BitsValue decodedBits;

int decodeBits(QorGlobal *world, int *, void **output)
{
    _qor_get_bits(world, decodedBits.bits, decodedBits.count, 0);
    *output = &decodedBits;
    return 0;
}

class PerDriver : public ContextTest {
protected:
    void SetUp() override
    {
        ContextTest::SetUp();
        table = testSchemaTable;
        table.perEncodeEntry = encodeBits;
        table.perDecodeEntry = decodeBits;
        table.perVersion = QOR_PER_VERSION;
        world.ctlTable = &table;
        qorLinkPer(&world);
        world.encRules = QOR_PER_UNALIGNED;
    }
    void TearDown() override
    {
        world.ctlTable = &testSchemaTable;
        ContextTest::TearDown();
    }
    QorControlTable table{};
};

} // namespace

TEST_F(PerDriver, PadBitsAndTheEmptyEncoding)
{
    struct Row {
        QorULong count;
        Bytes bits;
        Bytes encoding;
        int padBits;
    };
    const Row rows[] = {
        {0, {}, {0x00}, 8},
        {3, {0xA0}, {0xA0}, 5},
        {8, {0x5A}, {0x5A}, 0},
        {12, {0x12, 0x30}, {0x12, 0x30}, 4},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.count);
        BitsValue value = {row.count, {}};
        std::copy(row.bits.begin(), row.bits.end(), value.bits);
        for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED}) {
            world.encRules = rules;
            EXPECT_EQ(qorDetermineEncodingLength(&world, 1, &value),
                      static_cast<QorLong>(row.encoding.size()));
            EXPECT_EQ(encodePdu(&world, 1, &value), row.encoding);
            EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits);
            unsigned char room[8];
            QorBuf out = {sizeof room, room};
            ASSERT_EQ(qorEncode(&world, 1, &value, &out), 0);
            EXPECT_EQ(Bytes(out.value, out.value + out.length), row.encoding);

            // The decode takes the partial octet, or the one octet of an
            // empty encoding, and leaves what follows.
            Bytes input = row.encoding;
            input.push_back(0xEE);
            decodedBits.count = row.count;
            QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
            void *decoded = nullptr;
            int pdu = 1;
            world.presetDecFlags |= QOR_PRESET_ADVANCE_INPUT;
            ASSERT_EQ(qorDecode(&world, &pdu, &in, &decoded), 0);
            world.presetDecFlags &= ~QOR_PRESET_ADVANCE_INPUT;
            EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<QorLong>(row.encoding.size()));
            EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits);
            EXPECT_EQ(in.length, 1);
            EXPECT_EQ(in.value, input.data() + row.encoding.size());
        }
    }
}

// A table of another version, a missing entry, and a decode past the input.
TEST_F(PerDriver, Refusals)
{
    BitsValue value = {1, {0x80}};
    QorBuf out = {0, nullptr};
    table.perVersion = 15;
    EXPECT_EQ(qorEncode(&world, 1, &value, &out), QOR_BAD_VERSION);
    EXPECT_NE(std::string(qorGetErrMsg(&world)).find("version, 16."), std::string::npos);
    table.perVersion = QOR_PER_VERSION;
    decodedBits.count = 12;
    unsigned char octet = 0xFF;
    QorBuf in = {1, &octet};
    void *decoded = nullptr;
    int pdu = 1;
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_MORE_INPUT);
    EXPECT_EQ(decoded, nullptr);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
    table.perDecodeEntry = nullptr;
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_NULL_FUNCTION);
}
