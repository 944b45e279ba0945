// Hostile input for every PDU of the test schema: each damaged encoding ends
// in a return code with a message, no value, nothing leaked.
#include <cstring>

#include "ber/ber_support.h"
#include "support/vectors.h"

using namespace qortest;

namespace {

struct Sample {
    const char *name;
    int pdu;
    Bytes encoding;
};

constexpr int kNestingTooDeep = 109;

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
        // Enough numbers for several fragment blocks.
        static QorLong numbers[300];
        for (size_t i = 0; i < 300; i++)
            numbers[i] = static_cast<QorLong>(i * 1000) - 300;
        static Record record = [] {
            Record r{};
            r.bit_mask = Record_count_present | Record_big_present;
            r.level = Level_high;
            r.inner.a = 3;
            r.pick.choice = Pick_code_chosen;
            r.pick.u.code = 9;
            r.numbers.count = 300;
            r.numbers.value = numbers;
            r.big = -5;
            return r;
        }();
        static unsigned char kept[] = {0x04, 0x01, 0x41};
        static Envelope envelope = {};
        envelope.kind = 1;
        envelope.content.encoded = kept;
        envelope.content.length = 3;
        static Chain links[3] = {{&links[1], 1}, {&links[2], -2}, {nullptr, 300}};
        add("Raw", PDU_Raw, &raws[0]);
        add("Bags", PDU_Bags, &bagsValue);
        add("Record", PDU_Record, &record);
        add("PersonnelRecord", PDU_PersonnelRecord, &personnelExample);
        add("Envelope", PDU_Envelope, &envelope);
        add("Chain", PDU_Chain, &links[0]);
        // Indefinite and constructed forms that other tools write.
        samples.push_back({"Raw constructed", PDU_Raw, hex("24 80 04 02 41 42 24 03 04 01 43 00 00")});
        samples.push_back({"Bag indefinite", PDU_Bag, hex("31 80 04 01 41 04 00 00 00")});
        samples.push_back({"Record sparse", PDU_Record,
                           hex("62 19 80 01 00 81 01 00 A5 06 80 01 00 81 01 07 A6 07 82 05 00 FF "
                               "FF FF FF A7 00")});
        samples.push_back({"Record indefinite", PDU_Record,
                           hex("62 80 80 01 05 82 02 FF 7F 83 01 02 84 00 A5 80 80 01 01 00 00 A6 "
                               "80 81 01 FF 00 00 A7 80 02 01 01 02 02 00 80 02 01 FF 00 00 88 08 "
                               "80 00 00 00 00 00 00 00 00 00")});
        for (const char *rule : {"BER", "CER"})
            for (const Vector &v : vectorsFor("personnel.asn", rule))
                samples.push_back({"PersonnelRecord by another tool", PDU_PersonnelRecord, v.encoding});
    }

    void add(const char *name, int pdu, void *value)
    {
        samples.push_back({name, pdu, encodePdu(&world, pdu, value)});
    }

    int decode(const Bytes &input, int pdu) { return decodePdu(&world, input, pdu); }
};

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
            for (const Bytes &cut : prefixes(s.encoding))
                EXPECT_NE(decode(cut, pdu), 0) << s.name << " cut at " << cut.size();
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
            for (unsigned char lie : {0x80, 0x00, 0x1F, 0x30, 0xA0, 0x24, 0x01, 0x7F, 0x81, 0x84, 0xFF}) {
                Bytes mutated = s.encoding;
                mutated[i] = lie;
                int code = decode(mutated, 0);
                EXPECT_TRUE(code == 0 || code == QOR_MORE_INPUT || code == QOR_DATA_ERROR ||
                            code == QOR_LIMITED || code == QOR_BAD_CHOICE_OR_PDU ||
                            code == QOR_NEGATIVE_UNSIGNED || code == QOR_CONSTRAINT_VIOLATED)
                    << s.name << " octet " << i << " as " << int(lie) << ": " << code;
            }
            Bytes bigger = s.encoding;
            bigger[i] = static_cast<unsigned char>(bigger[i] + 1);
            decode(bigger, s.pdu);
            Bytes huge = concat({slice(s.encoding, 0, i), hex("84 FF FF FF FF"), after(s.encoding, i + 1)});
            decode(huge, s.pdu);
        }
    }
    const std::pair<const char *, int> cases[] = {
        {"62 84 FF FF FF FF 80 01 05", QOR_LIMITED},
        {"62 04 80 01 05", QOR_MORE_INPUT},
        {"62 03 80 02 05 00", QOR_DATA_ERROR}, // inner past the outer
    };
    for (const auto &[input, code] : cases)
        EXPECT_EQ(decode(hex(input), 0), code) << input;
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

TEST_F(Hostile, Bombs)
{
    // A constructed OCTET STRING nested 100 000 deep: the nesting limit
    // stops it; with the limit off the input runs out.
    const Bytes deep = repeat("24 80", 100000);
    EXPECT_EQ(decode(deep, PDU_Raw), kNestedTooDeep);
    qorSetConstructedNestingLimit(&world, 0);
    EXPECT_EQ(decode(deep, PDU_Raw), QOR_MORE_INPUT);
    qorSetConstructedNestingLimit(&world, 10);
    // A SEQUENCE nested 100 000 deep in the indefinite form, each level
    // holding its INTEGER: the limit on nested SEQUENCEs stops it early.
    EXPECT_EQ(decode(concat({hex("64 80 80 01 00"), repeat("A1 80 80 01 00", 99999)}), 0),
              kNestingTooDeep);
    // A SET OF SET OF with 1 000 000 empty elements (2 000 000 octets).
    EXPECT_EQ(decode(concat({hex("61 83 1E 84 80"), repeat("31 00", 1000000)}), 0), 0);
    // [7] with 100 000 INTEGER 0 elements inside a Record.
    Bytes input = concat({hex("62 83 04 93 F2 80 01 05 A5 03 80 01 01 A6 03 81 01 FF A7 83 04 93 E0"),
                          repeat("02 01 00", 100000)});
    void *out = nullptr;
    ASSERT_EQ(decodePdu(&world, input, 0, &out), 0);
    EXPECT_EQ(static_cast<Record *>(out)->numbers.count, 100000);
    qorFreePDU(&world, PDU_Record, out);
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
