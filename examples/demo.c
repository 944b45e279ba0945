/* qorapit demo: the PersonnelRecord of the encoding-rule standards (John P
 * Smith, Director, employee 51) encoded under each rule the library links,
 * shown in hexadecimal, decoded back and compared with the original.
 * Given a file, it decodes the file as a PersonnelRecord instead. */
#include <stdio.h>
#include <stdlib.h>
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
    int pdu = PDU_PersonnelRecord; /* PER and OER do not name their PDU; BER would find it */
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

/* Copies the value with qorCpyValue and compares the copy with the original
 * by qorCmpValue, then once more after a change to the copy; 0 when the
 * first compare finds them equal and the second does not. */
static int copyAndCompare(QorGlobal *world)
{
    void *copy = NULL;
    PersonnelRecord *record;
    int same;
    int changed;
    int rc = qorCpyValue(world, PDU_PersonnelRecord, &personnelExample, &copy);
    printf("Copy (qorCpyValue) and compare (qorCmpValue)\n");
    if (rc != 0) {
        printf("  copying failed, return code %d: %s\n", rc, qorGetErrMsg(world));
        return 1;
    }
    record = (PersonnelRecord *)copy;
    showRecord(record);
    same = qorCmpValue(world, PDU_PersonnelRecord, &personnelExample, copy);
    printf("  the copy %s the original (qorCmpValue gives %d).\n",
           same == 0 ? "equals" : "DIFFERS FROM", same);
    record->children.value[1].name.givenName[0] = 'J';
    changed = qorCmpValue(world, PDU_PersonnelRecord, &personnelExample, copy);
    printf("  with the copy's second child named %s, qorCmpValue gives %d; the original still "
           "names %s.\n\n",
           record->children.value[1].name.givenName, changed,
           personnelExample.children.value[1].name.givenName);
    qorFreePDU(world, PDU_PersonnelRecord, copy);
    return same == 0 && changed != 0 ? 0 : 1;
}

struct Rule {
    const char *option;
    int rules;
    const char *name;
};

static const struct Rule knownRules[] = {{"ber", QOR_BER, "BER"},
                                         {"der", QOR_DER, "DER"},
                                         {"cer", QOR_CER, "CER"},
                                         {"per", QOR_PER_ALIGNED, "aligned PER"},
                                         {"uper", QOR_PER_UNALIGNED, "unaligned PER"},
                                         {"oer", QOR_OER, "OER"}};

enum { LARGEST_FILE = 16 << 20 };

/* The whole file in memory, or null with a message. */
static unsigned char *readFile(const char *path, long *length)
{
    unsigned char *data = NULL;
    FILE *f = fopen(path, "rb");
    *length = 0;
    if (f == NULL) {
        printf("cannot open %s\n", path);
        return NULL;
    }
    data = (unsigned char *)malloc(LARGEST_FILE);
    if (data != NULL)
        *length = (long)fread(data, 1, LARGEST_FILE, f);
    if (data != NULL && (ferror(f) || fgetc(f) != EOF)) {
        printf("cannot read %s, or it is over %d octets\n", path, LARGEST_FILE);
        free(data);
        data = NULL;
    }
    fclose(f);
    return data;
}

/* Decodes a file as a PersonnelRecord and prints the value, or the library's
 * message and return code. */
static int decodeFile(QorGlobal *world, const struct Rule *rule, const char *path)
{
    long length;
    unsigned char *data = readFile(path, &length);
    QorBuf input;
    void *decoded = NULL;
    int pdu = PDU_PersonnelRecord;
    int rc;
    if (data == NULL)
        return 1;
    qorSetEncodingRules(world, rule->rules);
    input.length = (QorLong)length;
    input.value = data;
    printf("%s: %ld octets, decoded as a PersonnelRecord under %s\n", path, length, rule->name);
    rc = qorDecode(world, &pdu, &input, &decoded);
    if (rc != 0) {
        printf("  decoding failed, return code %d: %s", rc, qorGetErrMsg(world));
    } else {
        qorPrintPDU(world, pdu, decoded);
        if (qorGetBytesReadByDecoder(world) < length)
            printf("  %ld octets follow the value.\n", length - (long)qorGetBytesReadByDecoder(world));
        qorFreePDU(world, pdu, decoded);
    }
    free(data);
    return rc == 0 ? 0 : 1;
}

static int usage(void)
{
    printf("usage: qordemo                      show PersonnelRecord under every rule\n"
           "       qordemo [ber|der|cer|per|uper|oer] FILE\n"
           "                                    decode FILE as a PersonnelRecord (BER if no rule)\n");
    return 2;
}

int main(int argc, char **argv)
{
    QorGlobal world;
    int failures = 0;
    int rc;
    const struct Rule *rule = &knownRules[0];
    if (argc == 3) {
        size_t i;
        rule = NULL;
        for (i = 0; i < sizeof knownRules / sizeof knownRules[0]; i++)
            if (strcmp(argv[1], knownRules[i].option) == 0)
                rule = &knownRules[i];
        if (rule == NULL)
            return usage();
    } else if (argc > 3 || (argc == 2 && argv[1][0] == '-')) {
        return usage();
    }
    rc = qorinit(&world, &testSchemaTable);
    if (rc != 0) {
        printf("qorinit failed with return code %d\n", rc);
        return 1;
    }
    if (argc > 1) {
        rc = decodeFile(&world, rule, argv[argc - 1]);
        qorterm(&world);
        return rc;
    }
    printf("The value, a PersonnelRecord:\n");
    showRecord(&personnelExample);
    printf("\n");
    failures += roundTrip(&world, QOR_BER, "BER", "Basic Encoding Rules");
    failures += roundTrip(&world, QOR_DER, "DER", "Distinguished Encoding Rules: one encoding per value");
    failures += roundTrip(&world, QOR_CER, "CER", "Canonical Encoding Rules");
    failures += roundTrip(&world, QOR_PER_ALIGNED, "PER", "Packed Encoding Rules, aligned");
    failures += roundTrip(&world, QOR_PER_UNALIGNED, "UPER", "Packed Encoding Rules, unaligned");
    failures += roundTrip(&world, QOR_OER, "OER", "Octet Encoding Rules");
    failures += copyAndCompare(&world);
    printf("%s\n", failures == 0 ? "Round trip exact under every rule." : "Some round trips failed.");
    qorterm(&world);
    return failures == 0 ? 0 : 1;
}
