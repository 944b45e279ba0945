// PersonnelRecord under BER, DER and CER, against the encodings that
// independent tools made of the same value.
#include <cstring>

#include "ber/ber_support.h"
#include "support/vectors.h"

using namespace qortest;

namespace {

using Personnel = ContextTest;

} // namespace

// BER and CER write the same definite form as DER.
TEST_F(Personnel, EveryRuleEncodesExactlyTheReferenceDerEncoding)
{
    std::vector<Vector> der = vectorsFor("personnel.asn", "DER");
    if (der.empty())
        GTEST_SKIP() << "reference vectors not found";
    ASSERT_EQ(der.size(), 1u);
    for (int rules : {QOR_DER, QOR_BER, QOR_CER}) {
        world.encRules = rules;
        expectRoundTrip(&world, PDU_PersonnelRecord, &personnelExample, der[0].encoding,
                        expectPersonnelExample);
    }
}

TEST_F(Personnel, EveryReferenceFormDecodesToTheSameValue)
{
    int seen = 0;
    for (const char *schema : {"personnel.asn", "personnel-constrained.asn"}) {
        for (const char *rule : {"BER", "DER", "CER"}) {
            for (const Vector &v : vectorsFor(schema, rule)) {
                SCOPED_TRACE(std::string(schema) + " " + rule + " by " + v.madeBy);
                world.encRules = std::string(rule) == "DER" ? QOR_DER : QOR_BER;
                void *out = nullptr;
                int pdu = 0;
                ASSERT_EQ(decodePdu(&world, v.encoding, 0, &out, &pdu), 0);
                EXPECT_EQ(pdu, PDU_PersonnelRecord);
                EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<QorLong>(v.encoding.size()));
                expectPersonnelExample(out);
                EXPECT_EQ(qorFreePDU(&world, pdu, out), 0);
                seen++;
            }
        }
    }
    if (seen == 0)
        GTEST_SKIP() << "reference vectors not found";
    EXPECT_GE(seen, 8);
}
