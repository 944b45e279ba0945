// PersonnelRecord under BER, DER and CER, against the encodings that
// independent tools made of the same value.
#include <cstring>

#include "support/vectors.h"

using namespace qortest;

namespace {

class Personnel : public ContextTest {
protected:
    static void expectName(const Name &a, const Name &b)
    {
        EXPECT_STREQ(a.givenName, b.givenName);
        EXPECT_STREQ(a.initial, b.initial);
        EXPECT_STREQ(a.familyName, b.familyName);
    }

    static void expectExample(const void *decoded)
    {
        const auto &got = *static_cast<const PersonnelRecord *>(decoded);
        const PersonnelRecord &want = personnelExample;
        expectName(got.name, want.name);
        EXPECT_STREQ(got.title, want.title);
        EXPECT_EQ(got.number, want.number);
        EXPECT_STREQ(got.dateOfHire, want.dateOfHire);
        expectName(got.nameOfSpouse, want.nameOfSpouse);
        ASSERT_EQ(got.children.count, want.children.count);
        for (QorLong i = 0; i < got.children.count; i++) {
            expectName(got.children.value[i].name, want.children.value[i].name);
            EXPECT_STREQ(got.children.value[i].dateOfBirth, want.children.value[i].dateOfBirth);
        }
    }
};

} // namespace

TEST_F(Personnel, DerIsExactlyTheReferenceEncoding)
{
    std::vector<Vector> der = vectorsFor("personnel.asn", "DER");
    if (der.empty())
        GTEST_SKIP() << "reference vectors not found";
    ASSERT_EQ(der.size(), 1u);
    world.encRules = QOR_DER;
    expectRoundTrip(&world, PDU_PersonnelRecord, &personnelExample, der[0].encoding, expectExample);
}

TEST_F(Personnel, EveryReferenceFormDecodesToTheSameValue)
{
    int seen = 0;
    for (const char *schema : {"personnel.asn", "personnel-constrained.asn"}) {
        for (const char *rule : {"BER", "DER", "CER"}) {
            for (const Vector &v : vectorsFor(schema, rule)) {
                SCOPED_TRACE(std::string(schema) + " " + rule + " by " + v.madeBy);
                world.encRules = std::string(rule) == "DER" ? QOR_DER : QOR_BER;
                Bytes input = v.encoding;
                QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
                void *out = nullptr;
                int pdu = 0;
                ASSERT_EQ(qorDecode(&world, &pdu, &in, &out), 0) << qorGetErrMsg(&world);
                EXPECT_EQ(pdu, PDU_PersonnelRecord);
                EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<QorLong>(input.size()));
                expectExample(out);
                EXPECT_EQ(qorFreePDU(&world, pdu, out), 0);
                seen++;
            }
        }
    }
    if (seen == 0)
        GTEST_SKIP() << "reference vectors not found";
    EXPECT_GE(seen, 8);
}

TEST_F(Personnel, BerAndCerEncodeTheSameDefiniteForm)
{
    std::vector<Vector> der = vectorsFor("personnel.asn", "DER");
    if (der.empty())
        GTEST_SKIP() << "reference vectors not found";
    for (int rules : {QOR_BER, QOR_CER}) {
        world.encRules = rules;
        expectRoundTrip(&world, PDU_PersonnelRecord, &personnelExample, der[0].encoding,
                        expectExample);
    }
}

TEST_F(Personnel, HostileFormsOfTheReferenceEndCleanly)
{
    std::vector<Vector> forms = vectorsFor("personnel.asn", "CER");
    for (const Vector &v : vectorsFor("personnel.asn", "BER"))
        forms.push_back(v);
    if (forms.empty())
        GTEST_SKIP() << "reference vectors not found";
    for (const Vector &v : forms) {
        for (size_t n = 1; n < v.encoding.size(); n++) {
            Bytes cut(v.encoding.begin(), v.encoding.begin() + static_cast<long>(n));
            QorBuf in = {static_cast<QorLong>(n), cut.data()};
            void *out = nullptr;
            int pdu = 0;
            EXPECT_NE(qorDecode(&world, &pdu, &in, &out), 0) << n;
            EXPECT_EQ(out, nullptr);
        }
        for (size_t i = 0; i < v.encoding.size(); i++) {
            for (unsigned char lie : {0x00, 0x80, 0x84, 0xFF, 0x24}) {
                Bytes mutated = v.encoding;
                mutated[i] = lie;
                QorBuf in = {static_cast<QorLong>(mutated.size()), mutated.data()};
                void *out = nullptr;
                int pdu = 0;
                if (qorDecode(&world, &pdu, &in, &out) == 0)
                    qorFreePDU(&world, pdu, out);
            }
        }
    }
}
