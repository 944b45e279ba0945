/* qorapit demo: the PersonnelRecord of the encoding-rule standards (John P
 * Smith, Director, employee 51) encoded under each rule the library links,
 * shown in hexadecimal, decoded back and compared with the original. */
#include <stdio.h>
#include <string.h>

#include "testschema.h"

static void showHex(const unsigned char *data, QorLong length)
{
    QorLong i;
    for (i = 0; i < length; i++)
        printf("%s%02X%s", i % 16 == 0 ? "    " : "", data[i],
               (i + 1) % 16 == 0 || i + 1 == length ? "\n" : " ");
}

static int sameName(const Name *a, const Name *b)
{
    return strcmp(a->givenName, b->givenName) == 0 && strcmp(a->initial, b->initial) == 0 &&
           strcmp(a->familyName, b->familyName) == 0;
}

static int sameRecord(const PersonnelRecord *a, const PersonnelRecord *b)
{
    QorLong i;
    if (!sameName(&a->name, &b->name) || strcmp(a->title, b->title) != 0 ||
        a->number != b->number || strcmp(a->dateOfHire, b->dateOfHire) != 0 ||
        !sameName(&a->nameOfSpouse, &b->nameOfSpouse) || a->children.count != b->children.count)
        return 0;
    for (i = 0; i < a->children.count; i++) {
        if (!sameName(&a->children.value[i].name, &b->children.value[i].name) ||
            strcmp(a->children.value[i].dateOfBirth, b->children.value[i].dateOfBirth) != 0)
            return 0;
    }
    return 1;
}

static void showRecord(const PersonnelRecord *r)
{
    QorLong i;
    printf("    %s %s %s, %s, employee %ld, hired %s\n", r->name.givenName, r->name.initial,
           r->name.familyName, r->title, (long)r->number, r->dateOfHire);
    printf("    spouse %s %s %s\n", r->nameOfSpouse.givenName, r->nameOfSpouse.initial,
           r->nameOfSpouse.familyName);
    for (i = 0; i < r->children.count; i++)
        printf("    child %s %s %s, born %s\n", r->children.value[i].name.givenName,
               r->children.value[i].name.initial, r->children.value[i].name.familyName,
               r->children.value[i].dateOfBirth);
}

/* Encodes, shows, decodes and compares under one rule; 0 when all went well. */
static int roundTrip(QorGlobal *world, int rules, const char *name, const char *about)
{
    QorBuf encoded = {0, NULL};
    QorBuf input;
    PersonnelRecord *decoded = NULL;
    int pdu = 0;
    int rc;
    qorSetEncodingRules(world, rules);
    printf("%s (%s)\n", name, about);
    rc = qorEncode(world, PDU_PersonnelRecord, &personnelExample, &encoded);
    if (rc != 0) {
        printf("  encoding failed, return code %d: %s\n", rc, qorGetErrMsg(world));
        return 1;
    }
    printf("  encoded in %ld octets:\n", (long)encoded.length);
    showHex(encoded.value, encoded.length);
    input = encoded;
    rc = qorDecode(world, &pdu, &input, (void **)&decoded);
    if (rc != 0) {
        printf("  decoding failed, return code %d: %s\n", rc, qorGetErrMsg(world));
        qorFreeBuf(world, encoded.value);
        return 1;
    }
    printf("  decoded back as PDU #%d, printed by the library:\n", pdu);
    qorPrintPDU(world, pdu, decoded);
    rc = sameRecord(decoded, &personnelExample) ? 0 : 1;
    printf("  the decoded value %s the original.\n\n", rc == 0 ? "equals" : "DIFFERS FROM");
    qorFreePDU(world, pdu, decoded);
    qorFreeBuf(world, encoded.value);
    return rc;
}

int main(void)
{
    QorGlobal world;
    int failures = 0;
    int rc = qorinit(&world, &testSchemaTable);
    if (rc != 0) {
        printf("qorinit failed with return code %d\n", rc);
        return 1;
    }
    printf("The value, a PersonnelRecord:\n");
    showRecord(&personnelExample);
    printf("\n");
    failures += roundTrip(&world, QOR_BER, "BER", "Basic Encoding Rules");
    failures += roundTrip(&world, QOR_DER, "DER", "Distinguished Encoding Rules: one encoding per value");
    failures += roundTrip(&world, QOR_CER, "CER", "Canonical Encoding Rules");
    printf("%s\n", failures == 0 ? "Round trip exact under every rule." : "Some round trips failed.");
    qorterm(&world);
    return failures == 0 ? 0 : 1;
}
