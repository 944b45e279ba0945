// Before any init entry has linked BER, selecting it is refused; OER links
// each direction on its own.
#include <gtest/gtest.h>

#include "testschema.h"

namespace {

int initWithoutLinks(QorGlobal *) { return 0; }

} // namespace

TEST(Unlinked, BerIsRefusedUntilLinked)
{
    QorControlTable table = testSchemaTable;
    table.initEntry = initWithoutLinks;
    QorGlobal world;
    ASSERT_EQ(qorinit(&world, &table), 0);
    unsigned char text[] = "a";
    Raw value = {1, text};
    QorBuf out = {0, nullptr};
    EXPECT_EQ(qorEncode(&world, PDU_Raw, &value, &out), QOR_RULES_NOT_LINKED);
    EXPECT_STREQ(qorGetErrMsg(&world), "E0103S: The requested encoding rules were not linked: 'BER'.\n");
    int pdu = 0;
    void *decoded = nullptr;
    QorBuf in = {1, text};
    EXPECT_EQ(qorDecode(&world, &pdu, &in, &decoded), QOR_RULES_NOT_LINKED);

    qorLinkBer(&world);
    ASSERT_EQ(qorEncode(&world, PDU_Raw, &value, &out), 0);
    qorFreeBuf(&world, out.value);
    qorterm(&world);
}

TEST(Unlinked, OerEncodingAloneLeavesDecodingRefused)
{
    QorControlTable table = testSchemaTable;
    table.initEntry = initWithoutLinks;
    QorGlobal world;
    ASSERT_EQ(qorinit(&world, &table), 0);
    ASSERT_EQ(qorInitXAPIentries(&world, &testSchemaXapi), 0);
    qorLinkOerE(&world);
    world.encRules = QOR_OER;
    QorBuf out = {0, nullptr};
    ASSERT_EQ(qorEncode(&world, PDU_Extended, &extendedExample, &out), 0) << qorGetErrMsg(&world);
    int pdu = PDU_Extended;
    void *decoded = nullptr;
    EXPECT_EQ(qorDecode(&world, &pdu, &out, &decoded), QOR_RULES_NOT_LINKED);
    EXPECT_STREQ(qorGetErrMsg(&world), "D0103S: The requested encoding rules were not linked: 'OER'.\n");
    qorFreeBuf(&world, out.value);
    qorterm(&world);
}
