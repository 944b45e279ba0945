// Hostile input for every PDU of the test schema, table-driven: each damaged
// encoding ends in a return code with a message, no value, nothing leaked.
#include <chrono>
#include <cstring>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

struct Sample {
    const char *name;
    int pdu;
    Bytes encoding;
};

class Hostile : public ContextTest {
protected:
    std::vector<Sample> samples;

    void SetUp() override
    {
        ContextTest::SetUp();
        static unsigned char text[] = "some octets";
        static Raw raws[2] = {{11, text}, {0, text}};
        static Bag bags[2] = {{2, raws}, {1, raws}};
        static Bags bagsValue = {2, bags};
        static QorLong numbers[3] = {1, -300, 70000};
        static Record record = [] {
            Record r{};
            r.bit_mask = Record_count_present | Record_big_present;
            r.active = 0;
            r.level = Level_high;
            r.inner.a = 3;
            r.pick.choice = Pick_code_chosen;
            r.pick.u.code = 9;
            r.numbers.count = 3;
            r.numbers.value = numbers;
            r.big = -5;
            return r;
        }();
        static Envelope envelope = [] {
            Envelope e{};
            e.kind = 1;
            static unsigned char kept[] = {0x04, 0x01, 0x41};
            e.content.encoded = kept;
            e.content.length = 3;
            return e;
        }();
        add("Raw", PDU_Raw, &raws[0]);
        add("Bags", PDU_Bags, &bagsValue);
        add("Record", PDU_Record, &record);
        add("PersonnelRecord", PDU_PersonnelRecord, &personnelExample);
        add("Envelope", PDU_Envelope, &envelope);
        static Chain links[3] = {{&links[1], 1}, {&links[2], -2}, {nullptr, 300}};
        add("Chain", PDU_Chain, &links[0]);
        // Indefinite and constructed forms that other tools write.
        samples.push_back({"Raw constructed", PDU_Raw, hex("24 80 04 02 41 42 24 03 04 01 43 00 00")});
        samples.push_back({"Bag indefinite", PDU_Bag, hex("31 80 04 01 41 04 00 00 00")});
    }

    void add(const char *name, int pdu, void *value)
    {
        QorBuf out = {0, nullptr};
        ASSERT_EQ(qorEncode(&world, pdu, value, &out), 0) << name;
        samples.push_back({name, pdu, bytesOf(out)});
        qorFreeBuf(&world, out.value);
    }

    // Decodes `input` as `pdu`; a failure must leave no value and a message.
    int decode(const Bytes &input, int pdu)
    {
        Bytes copy = input.empty() ? Bytes{0} : input;
        QorBuf in = {static_cast<QorLong>(input.size()), copy.data()};
        void *out = nullptr;
        int code = qorDecode(&world, &pdu, &in, &out);
        if (code == 0) {
            EXPECT_EQ(qorFreePDU(&world, pdu, out), 0);
        } else {
            EXPECT_EQ(out, nullptr);
            EXPECT_NE(qorGetErrMsg(&world)[0], '\0') << "a failure says why";
        }
        return code;
    }
};

constexpr int kNestingTooDeep = 109;

// A Chain of `depth` links whose value is its depth.
std::vector<Chain> chainOf(size_t depth)
{
    std::vector<Chain> links(depth);
    for (size_t i = 0; i < depth; i++)
        links[i] = {i + 1 < depth ? &links[i + 1] : nullptr, static_cast<QorLong>(i + 1)};
    return links;
}

} // namespace

TEST_F(Hostile, TruncationAtEveryOctet)
{
    for (const Sample &s : samples) {
        for (int pdu : {0, s.pdu}) {
            for (size_t n = 0; n < s.encoding.size(); n++) {
                Bytes cut(s.encoding.begin(), s.encoding.begin() + static_cast<long>(n));
                EXPECT_NE(decode(cut, pdu), 0) << s.name << " cut at " << n;
            }
            EXPECT_EQ(decode(s.encoding, pdu), 0) << s.name;
        }
    }
}

TEST_F(Hostile, LyingLengthsAndReplacedTags)
{
    for (const Sample &s : samples) {
        for (size_t i = 0; i < s.encoding.size(); i++) {
            // Each octet as a forbidden indefinite form, a tag of another kind,
            // one more than it was, and a four-octet length of all ones.
            for (unsigned char lie : {0x80, 0x00, 0x1F, 0x30, 0xA0}) {
                Bytes mutated = s.encoding;
                mutated[i] = lie;
                decode(mutated, 0);
            }
            Bytes bigger = s.encoding;
            bigger[i] = static_cast<unsigned char>(bigger[i] + 1);
            decode(bigger, s.pdu);
            Bytes huge = s.encoding;
            Bytes ones = hex("84 FF FF FF FF");
            huge.erase(huge.begin() + static_cast<long>(i));
            huge.insert(huge.begin() + static_cast<long>(i), ones.begin(), ones.end());
            decode(huge, s.pdu);
        }
    }
}

TEST_F(Hostile, AnAllocatorFailingAtEveryCall)
{
    for (const Sample &s : samples) {
        SCOPED_TRACE(s.name);
        Bytes input = s.encoding;
        QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
        void *value = nullptr;
        int pdu = s.pdu;
        ASSERT_EQ(qorDecode(&world, &pdu, &in, &value), 0);
        expectEveryAllocationMayFail(&world, pdu, value, &input);
        qorFreePDU(&world, pdu, value);
        CountingAllocator::reset(); // the value was taken before the helper's count began
    }
}

TEST_F(Hostile, BombsEndInLinearTime)
{
    // A constructed OCTET STRING nested 100 000 deep: the nesting limit
    // stops it; with the limit off the input runs out.
    Bytes deep;
    for (int i = 0; i < 100000; i++) {
        deep.push_back(0x24);
        deep.push_back(0x80);
    }
    EXPECT_EQ(decode(deep, PDU_Raw), 108);
    qorSetConstructedNestingLimit(&world, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(decode(deep, PDU_Raw), QOR_MORE_INPUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    qorSetConstructedNestingLimit(&world, 10);

    // A SEQUENCE nested 100 000 deep in the indefinite form, each level
    // holding its INTEGER: the limit on nested SEQUENCEs stops it early.
    Bytes chain;
    for (int i = 0; i < 100000; i++) {
        for (unsigned char octet : {i == 0 ? 0x64 : 0xA1, 0x80, 0x80, 0x01, 0x00})
            chain.push_back(octet);
    }
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(decode(chain, 0), kNestingTooDeep);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(CountingAllocator::outstanding, 0);

    // A SET OF SET OF with 1 000 000 empty elements decodes, and frees.
    const size_t n = 1000000;
    Bytes bags = {0x61, 0x83, static_cast<unsigned char>((2 * n) >> 16),
                  static_cast<unsigned char>((2 * n) >> 8), static_cast<unsigned char>(2 * n)};
    bags.reserve(5 + 2 * n);
    for (size_t i = 0; i < n; i++) {
        bags.push_back(0x31);
        bags.push_back(0x00);
    }
    EXPECT_EQ(decode(bags, 0), 0);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(Hostile, SequenceNestingLimitBothWays)
{
    // The default limit of 64 takes 64 levels and refuses the 65th, encoding
    // and decoding; 0 takes any depth.
    std::vector<Chain> allowed = chainOf(64), beyond = chainOf(65), deep = chainOf(1000);
    QorBuf out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Chain, allowed.data(), &out), 0);
    EXPECT_EQ(decode(bytesOf(out), PDU_Chain), 0);
    qorFreeBuf(&world, out.value);

    out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Chain, beyond.data(), &out), kNestingTooDeep);
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "E0185E: The nesting level of encoding of SET, SEQUENCE, SET OF, SEQUENCE OF or "
                 "CHOICE exceeded the limitation; check PDU #8 'Chain'.\n");
    qorSetSeqSetNestingLimit(&world, 0);
    out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Chain, deep.data(), &out), 0);
    Bytes encoding = bytesOf(out);
    qorFreeBuf(&world, out.value);
    EXPECT_EQ(decode(encoding, PDU_Chain), 0);
    qorSetSeqSetNestingLimit(&world, 64);
    EXPECT_EQ(decode(encoding, PDU_Chain), kNestingTooDeep);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}
