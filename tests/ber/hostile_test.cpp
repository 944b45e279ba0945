// Hostile input for every PDU of the test schema, table-driven: each damaged
// encoding ends in a return code with a message, no value, nothing leaked.
#include <chrono>
#include <cstring>

#include "ber/ber_support.h"

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
        samples.push_back({name, pdu, encodePdu(&world, pdu, value)});
    }

    int decode(const Bytes &input, int pdu) { return decodePdu(&world, input, pdu); }
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
        void *value = nullptr;
        ASSERT_EQ(decodePdu(&world, s.encoding, s.pdu, &value), 0);
        expectEveryAllocationMayFail(&world, s.pdu, value, &s.encoding);
        qorFreePDU(&world, s.pdu, value);
        CountingAllocator::reset(); // the value was taken before the helper's count began
    }
}

TEST_F(Hostile, BombsEndInLinearTime)
{
    // A constructed OCTET STRING nested 100 000 deep: the nesting limit
    // stops it; with the limit off the input runs out.
    const Bytes deep = repeat("24 80", 100000);
    EXPECT_EQ(decode(deep, PDU_Raw), 108);
    qorSetConstructedNestingLimit(&world, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(decode(deep, PDU_Raw), QOR_MORE_INPUT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    qorSetConstructedNestingLimit(&world, 10);

    // A SEQUENCE nested 100 000 deep in the indefinite form, each level
    // holding its INTEGER: the limit on nested SEQUENCEs stops it early.
    const Bytes chain = concat({hex("64 80 80 01 00"), repeat("A1 80 80 01 00", 99999)});
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(decode(chain, 0), kNestingTooDeep);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(CountingAllocator::outstanding, 0);

    // A SET OF SET OF with 1 000 000 empty elements (2 000 000 octets) decodes, and frees.
    EXPECT_EQ(decode(concat({hex("61 83 1E 84 80"), repeat("31 00", 1000000)}), 0), 0);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}

TEST_F(Hostile, SequenceNestingLimitBothWays)
{
    // The default limit of 64 takes 64 levels and refuses the 65th, encoding
    // and decoding; 0 takes any depth.
    std::vector<Chain> allowed = chainOf(64), beyond = chainOf(65), deep = chainOf(1000);
    EXPECT_EQ(decode(encodePdu(&world, PDU_Chain, allowed.data()), PDU_Chain), 0);
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Chain, beyond.data(), &out), kNestingTooDeep);
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "E0185E: The nesting level of encoding of SET, SEQUENCE, SET OF, SEQUENCE OF or "
                 "CHOICE exceeded the limitation; check PDU #8 'Chain'.\n");
    qorSetSeqSetNestingLimit(&world, 0);
    Bytes encoding = encodePdu(&world, PDU_Chain, deep.data());
    EXPECT_EQ(decode(encoding, PDU_Chain), 0);
    qorSetSeqSetNestingLimit(&world, 64);
    EXPECT_EQ(decode(encoding, PDU_Chain), kNestingTooDeep);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
}
