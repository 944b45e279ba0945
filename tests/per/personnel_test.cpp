// PersonnelRecord in aligned and unaligned PER, for the module with
// unconstrained strings and the one with permitted alphabets and sizes,
// against the encodings that independent tools made of the same value; and
// the hostile sweeps over every PDU with PER entries.
#include <functional>
#include <string>

#include "support/vectors.h"

using namespace qortest;

namespace {

struct Row {
    const char *schema; // null: no reference vectors (the PDU's own test has its octets)
    const char *rule;   // as the vectors name it
    int rules;
    int pdu;
    size_t octets;
    int padBits;
    void *value;
};

// Unaligned, unconstrained: 671 bits.
const Row kRows[] = {
    {"personnel.asn", "PER", QOR_PER_ALIGNED, PDU_PersonnelRecord, 94, 0, &personnelExample},
    {"personnel.asn", "UPER", QOR_PER_UNALIGNED, PDU_PersonnelRecord, 84, 1, &personnelExample},
    {"personnel-constrained.asn", "PER", QOR_PER_ALIGNED, PDU_PersonnelConstrained, 74, 0,
     &personnelExample},
    {"personnel-constrained.asn", "UPER", QOR_PER_UNALIGNED, PDU_PersonnelConstrained, 61, 3,
     &personnelExample},
    {"personnel-extensible.asn", "PER", QOR_PER_ALIGNED, PDU_PersonnelExtensible, 83, 0,
     &personnelExtensibleExample},
    {"personnel-extensible.asn", "UPER", QOR_PER_UNALIGNED, PDU_PersonnelExtensible, 65, 1,
     &personnelExtensibleExample},
    {nullptr, "PER", QOR_PER_ALIGNED, PDU_Gauges, 51, 0, &gaugesExample},
    {nullptr, "UPER", QOR_PER_UNALIGNED, PDU_Gauges, 47, 3, &gaugesExample},
    {nullptr, "PER", QOR_PER_ALIGNED, PDU_Bits, 20, 6, &bitsExample},
    {nullptr, "UPER", QOR_PER_UNALIGNED, PDU_Bits, 17, 2, &bitsExample},
    {nullptr, "PER", QOR_PER_ALIGNED, PDU_Leaves, 0, 0, &leavesExample},
    {nullptr, "UPER", QOR_PER_UNALIGNED, PDU_Leaves, 0, 0, &leavesExample},
    {nullptr, "PER", QOR_PER_ALIGNED, PDU_Texts, 0, 0, &textsExample},
    {nullptr, "UPER", QOR_PER_UNALIGNED, PDU_Texts, 0, 0, &textsExample},
};

class PerPersonnel : public ContextTest {
protected:
    // The one reference encoding of a row, or null when the vectors are missing.
    const Vector *reference(const Row &row)
    {
        if (row.schema == nullptr)
            return nullptr;
        found = vectorsFor(row.schema, row.rule);
        if (found.empty())
            return nullptr;
        EXPECT_EQ(found.size(), 1u);
        return &found[0];
    }
    std::vector<Vector> found;

    // Runs `body` for each row, under its rules.
    void eachRow(const std::function<void(const Row &)> &body)
    {
        for (const Row &row : kRows) {
            const char *name = row.schema != nullptr ? row.schema : testSchemaPduNames[row.pdu - 1][0];
            SCOPED_TRACE(std::string(name) + " " + row.rule);
            world.encRules = row.rules;
            body(row);
        }
    }
};

} // namespace

TEST_F(PerPersonnel, EncodesExactlyTheReferenceAndDecodesBack)
{
    int seen = 0;
    eachRow([&](const Row &row) {
        const Vector *v = reference(row);
        if (v == nullptr)
            return;
        seen++;
        ASSERT_EQ(v->encoding.size(), row.octets);
        const auto &value = *static_cast<const PersonnelRecord *>(row.value);
        expectRoundTrip(&world, row.pdu, row.value, v->encoding,
                        [&](void *decoded) { expectPersonnel(decoded, value); });
        EXPECT_EQ(encodePdu(&world, row.pdu, row.value), v->encoding);
        EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits);
        EXPECT_EQ(qorDetermineEncodingLength(&world, row.pdu, row.value),
                  static_cast<QorLong>(row.octets));
        EXPECT_EQ(qorDetermineNumberOfPadBits(&world), row.padBits) << "sizing mode";
    });
    if (seen == 0)
        GTEST_SKIP() << "reference vectors not found";
}

TEST_F(PerPersonnel, EveryAllocationMayFail)
{
    eachRow([&](const Row &row) { expectEveryAllocationMayFail(&world, row.pdu, row.value); });
}

// Every prefix ends in a return code, with no value and nothing leaked; so
// does an octet changed anywhere, or else the value decodes and is freed.
TEST_F(PerPersonnel, TruncatedAndMutatedFormsEndCleanly)
{
    eachRow([&](const Row &row) {
        const Bytes encoding = encodePdu(&world, row.pdu, row.value);
        for (size_t n = 0; n < encoding.size(); n++)
            EXPECT_NE(decodePdu(&world, Bytes(encoding.data(), encoding.data() + n), row.pdu), 0) << n;
        for (size_t i = 0; i < encoding.size(); i++) {
            for (unsigned char lie : {0x00, 0x7F, 0x80, 0xC4, 0xFF}) {
                Bytes mutated = encoding;
                mutated[i] = lie;
                decodePdu(&world, mutated, row.pdu);
            }
        }
        EXPECT_EQ(CountingAllocator::outstanding, 0);
    });
}

// The constraints are checked on encoding: a character outside the
// alphabet, a size outside the bounds.
TEST_F(PerPersonnel, TheConstrainedModuleChecksItsStrings)
{
    char digit[] = "J0hn", empty[] = "", twoInitials[] = "PQ", shortDate[] = "1971091";
    struct Case {
        const char *name;
        char **field;
        char *text;
    } cases[] = {
        {"digit in a name", &personnelExample.name.givenName, digit},
        {"empty name", &personnelExample.name.familyName, empty},
        {"two initials", &personnelExample.name.initial, twoInitials},
        {"short date", &personnelExample.dateOfHire, shortDate},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        char *kept = *c.field;
        *c.field = c.text;
        for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED}) {
            world.encRules = rules;
            QorBuf out = {0, nullptr};
            EXPECT_NE(qorEncode(&world, PDU_PersonnelConstrained, &personnelExample, &out), 0);
            EXPECT_EQ(out.value, nullptr);
            // The unconstrained module takes any VisibleString.
            Bytes plain = encodePdu(&world, PDU_PersonnelRecord, &personnelExample);
            EXPECT_FALSE(plain.empty());
        }
        *c.field = kept;
    }
}

// Both modules have the same BER; the constrained one is found by number.
TEST_F(PerPersonnel, BothModulesShareTheirBer)
{
    world.encRules = QOR_DER;
    const Bytes der = encodePdu(&world, PDU_PersonnelRecord, &personnelExample);
    EXPECT_EQ(encodePdu(&world, PDU_PersonnelConstrained, &personnelExample), der);
    void *out = nullptr;
    int pdu = 0;
    ASSERT_EQ(decodePdu(&world, der, PDU_PersonnelConstrained, &out, &pdu), 0);
    EXPECT_EQ(pdu, PDU_PersonnelConstrained);
    expectPersonnelExample(out);
    EXPECT_EQ(qorFreePDU(&world, pdu, out), 0);
}

// PER input names no PDU, and only PersonnelRecord has PER entries.
TEST_F(PerPersonnel, APduNumberIsNeeded)
{
    world.encRules = QOR_PER_UNALIGNED;
    const Bytes encoding = encodePdu(&world, PDU_PersonnelRecord, &personnelExample);
    EXPECT_NE(decodePdu(&world, encoding, 0), 0);
    EXPECT_NE(decodePdu(&world, encoding, PDU_Raw), 0);
    Raw raw = rawText("a");
    QorBuf out = {0, nullptr};
    EXPECT_NE(qorEncode(&world, PDU_Raw, &raw, &out), 0);
    EXPECT_EQ(out.value, nullptr);
}
