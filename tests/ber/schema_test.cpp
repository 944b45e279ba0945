// The test schema's SEQUENCE of simple values through the BER drivers: exact
// encodings under BER, DER and CER, other tools' indefinite forms, and
// hostile input.
#include <cstring>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

using BerEnvelope = ContextTest;
using BerChain = ContextTest;

class BerRecord : public ContextTest {
protected:
    QorLong numbers1[3] = {1, 128, -1};
    Record full{};
    Record sparse{};

    void SetUp() override
    {
        ContextTest::SetUp();
        full.bit_mask = Record_count_present | Record_nothing_present | Record_big_present;
        full.id = 5;
        full.active = 1;
        full.count = -129;
        full.level = Level_high;
        full.inner.a = 1;
        full.pick.choice = Pick_flag_chosen;
        full.pick.u.flag = 1;
        full.numbers.count = 3;
        full.numbers.value = numbers1;
        full.big = INT64_MIN;

        sparse.id = 0;
        sparse.active = 0;
        sparse.level = Level_medium;
        sparse.inner.bit_mask = Inner_b_present;
        sparse.inner.b = 7;
        sparse.pick.choice = Pick_code_chosen;
        sparse.pick.u.code = UINT32_MAX;
    }

    static void expectSame(const Record &a, const Record &b)
    {
        EXPECT_EQ(a.bit_mask, b.bit_mask);
        EXPECT_EQ(a.id, b.id);
        EXPECT_EQ(a.active != 0, b.active != 0);
        if (a.bit_mask & Record_count_present) {
            EXPECT_EQ(a.count, b.count);
        }
        EXPECT_EQ(a.level, b.level);
        EXPECT_EQ(a.inner.bit_mask, b.inner.bit_mask);
        EXPECT_EQ(a.inner.a, b.inner.a);
        EXPECT_EQ(a.pick.choice, b.pick.choice);
        EXPECT_EQ(a.pick.u.code, b.pick.u.code);
        ASSERT_EQ(a.numbers.count, b.numbers.count);
        for (QorLong i = 0; i < a.numbers.count; i++)
            EXPECT_EQ(a.numbers.value[i], b.numbers.value[i]);
        if (a.bit_mask & Record_big_present) {
            EXPECT_EQ(a.big, b.big);
        }
    }
};

const char kFull[] = "62 2C 80 01 05 82 02 FF 7F 83 01 02 84 00 A5 03 80 01 01 A6 03 81 01 FF "
                     "A7 0A 02 01 01 02 02 00 80 02 01 FF 88 08 80 00 00 00 00 00 00 00";
const char kSparse[] = "62 19 80 01 00 81 01 00 A5 06 80 01 00 81 01 07 A6 07 82 05 00 FF FF FF FF "
                       "A7 00";
// The full value as a tool that prefers indefinite lengths writes it.
const char kFullIndefinite[] =
    "62 80 80 01 05 82 02 FF 7F 83 01 02 84 00 A5 80 80 01 01 00 00 A6 80 81 01 FF 00 00 "
    "A7 80 02 01 01 02 02 00 80 02 01 FF 00 00 88 08 80 00 00 00 00 00 00 00 00 00";

} // namespace

TEST_F(BerRecord, RoundTripsByteForByteUnderEveryRule)
{
    for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
        SCOPED_TRACE(rules);
        world.encRules = rules;
        expectRoundTrip(&world, PDU_Record, &full, hex(kFull),
                        [&](void *decoded) { expectSame(full, *static_cast<Record *>(decoded)); });
        expectRoundTrip(&world, PDU_Record, &sparse, hex(kSparse),
                        [&](void *decoded) { expectSame(sparse, *static_cast<Record *>(decoded)); });
    }
}

TEST_F(BerRecord, IndefiniteLengthsDecodeToTheSameValue)
{
    void *out = nullptr;
    ASSERT_EQ(decodePdu(&world, hex(kFullIndefinite), PDU_Record, &out), 0);
    expectSame(full, *static_cast<Record *>(out));
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<QorLong>(hex(kFullIndefinite).size()));
    qorFreePDU(&world, PDU_Record, out);
}

TEST_F(BerRecord, EncoderRefusesValuesOutsideTheType)
{
    Record bad = full;
    bad.pick.choice = 9;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Record, &bad, &out), QOR_BAD_CHOICE_OR_PDU);
    EXPECT_STREQ(qorDescribeReturnCode(&world, 9), "Choice selector is out of range");
    bad = full;
    bad.level = 3;
    EXPECT_EQ(qorEncode(&world, PDU_Record, &bad, &out), QOR_CONSTRAINT_VIOLATED);
}

TEST_F(BerRecord, RealsAndTimesRideInTheRecord)
{
    struct Case {
        double ratio;
        const char *ratioBytes; // contents of [9]
    } reals[] = {
        {0.0, "89 00"},
        {1.0, "89 03 80 00 01"},
        {-1.5, "89 03 C0 FF 03"},
        {1.7976931348623157e+308, "89 01 40"},
        {-1.7976931348623157e+308, "89 01 41"},
    };
    const GeneralizedTime when{2026, 11, 21, 16, 5, 30, 250, 0, 1};
    const char timeBytes[] = "8A 12 32 30 32 36 31 31 32 31 31 36 30 35 33 30 2E 32 35 5A";
    for (const Case &c : reals) {
        SCOPED_TRACE(c.ratioBytes);
        Record r = sparse;
        r.bit_mask |= Record_ratio_present | Record_when_present;
        r.ratio = c.ratio;
        r.when = when;
        Bytes body = concat({after(hex(kSparse), 2), hex(c.ratioBytes), hex(timeBytes)});
        Bytes expected = concat({{0x62, static_cast<unsigned char>(body.size())}, body});
        for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
            world.encRules = rules;
            expectRoundTrip(&world, PDU_Record, &r, expected, [&](void *decoded) {
                const Record &got = *static_cast<Record *>(decoded);
                EXPECT_EQ(got.ratio, c.ratio);
                EXPECT_EQ(got.when.millisec, 250);
                EXPECT_EQ(got.when.utc, 1);
                EXPECT_EQ(got.when.year, 2026);
            });
        }
    }
}

TEST_F(BerEnvelope, AutomaticOpenTypesEncodeOnANestedContextAndDecodeBack)
{
    world.encodingFlags |= AUTOMATIC_ENCDEC;
    world.decodingFlags |= AUTOMATIC_ENCDEC;
    static unsigned char text[] = "inner";
    Raw inner = {5, text};
    Envelope v{};
    v.kind = 7;
    v.content.pduNum = PDU_Raw;
    v.content.decoded = &inner;
    // [APPLICATION 3] { [0] 7, [1] { OCTET STRING "inner" } }
    expectRoundTrip(&world, PDU_Envelope, &v, hex("63 0C 80 01 07 A1 07 04 05 69 6E 6E 65 72"),
                    [](void *decoded) {
                        auto *e = static_cast<Envelope *>(decoded);
                        EXPECT_EQ(e->kind, 7);
                        ASSERT_EQ(e->content.pduNum, PDU_Raw);
                        ASSERT_NE(e->content.decoded, nullptr);
                        EXPECT_EQ(static_cast<Raw *>(e->content.decoded)->length, 5);
                        EXPECT_EQ(e->content.length, 7u) << "the kept encoding, tag and length";
                    });
    EXPECT_EQ(world.childWorld, nullptr);
}

TEST_F(BerEnvelope, AFailureInsideTheNestedEncodingReachesTheOuterCallAndFreesAll)
{
    world.encodingFlags |= AUTOMATIC_ENCDEC;
    Fault f{};
    f.message = 22;
    f.number = -5;
    f.element = 1;
    f.written = 2500; // blocks of the nested context
    Envelope v{};
    v.content.pduNum = PDU_Fault;
    v.content.decoded = &f;
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Envelope, &v, &out), QOR_CONSTRAINT_VIOLATED);
    // The message lands in the outer context, with the outer call's place.
    EXPECT_STREQ(qorGetErrMsg(&world),
                 "E0062S: Value range constraint violated, value = -5; check PDU #7 'Envelope'.\n");
    EXPECT_EQ(world.childWorld, nullptr);
    EXPECT_EQ(world.tempBlockList, nullptr);
    EXPECT_EQ(CountingAllocator::outstanding, 0);
    // Without the flag the kept encoding is written as it stands.
    world.encodingFlags &= ~QorULong{AUTOMATIC_ENCDEC};
    static unsigned char kept[] = {0x05, 0x00};
    v.content.decoded = nullptr;
    v.content.encoded = kept;
    v.content.length = 2;
    EXPECT_EQ(encodePdu(&world, PDU_Envelope, &v), hex("63 07 80 01 00 A1 02 05 00"));
}

TEST_F(BerChain, RecursiveSequenceRoundTrips)
{
    Chain links[2] = {{&links[1], 1}, {nullptr, -2}};
    // [APPLICATION 4] { [0] 1, [1] { [0] -2 } }
    expectRoundTrip(&world, PDU_Chain, links, hex("64 08 80 01 01 A1 03 80 01 FE"),
                    [](void *decoded) {
                        auto *c = static_cast<Chain *>(decoded);
                        EXPECT_EQ(c->value, 1);
                        ASSERT_NE(c->next, nullptr);
                        EXPECT_EQ(c->next->value, -2);
                        EXPECT_EQ(c->next->next, nullptr);
                    });
}
