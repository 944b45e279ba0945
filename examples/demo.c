/* qorapit demo: set up a context, encode a value under BER, show the octets,
 * decode them back and compare. */
#include <stdio.h>
#include <string.h>

#include "testschema.h"

static void showHex(const unsigned char *data, QorLong length)
{
    QorLong i;
    for (i = 0; i < length; i++)
        printf("%02X%s", data[i], (i + 1) % 16 == 0 || i + 1 == length ? "\n" : " ");
}

int main(void)
{
    QorGlobal world;
    static unsigned char text[] = "Hello from an ASN.1 run-time library";
    Raw value = {(QorLong)(sizeof text - 1), text};
    QorBuf encoded = {0, NULL};
    Raw *decoded = NULL;
    int pdu = 0;
    int rc = qorinit(&world, &testSchemaTable);
    if (rc != 0) {
        printf("qorinit failed with return code %d\n", rc);
        return 1;
    }
    printf("Value: an OCTET STRING of %ld octets: \"%s\"\n\n", (long)value.length, text);

    rc = qorEncode(&world, PDU_Raw, &value, &encoded);
    if (rc != 0) {
        printf("Encoding failed with return code %d: %s", rc, qorGetErrMsg(&world));
        qorterm(&world);
        return 1;
    }
    printf("BER encoding, %ld octets:\n", (long)encoded.length);
    showHex(encoded.value, encoded.length);

    rc = qorDecode(&world, &pdu, &encoded, (void **)&decoded);
    if (rc != 0) {
        printf("Decoding failed with return code %d: %s", rc, qorGetErrMsg(&world));
        qorterm(&world);
        return 1;
    }
    printf("\nDecoded PDU #%d: an OCTET STRING of %ld octets: \"%.*s\"\n", pdu, (long)decoded->length,
           (int)decoded->length, (const char *)decoded->data);
    printf("Round trip %s.\n",
           decoded->length == value.length && memcmp(decoded->data, text, (size_t)value.length) == 0
               ? "exact"
               : "DIFFERENT");

    qorFreePDU(&world, pdu, decoded);
    /* The decoder advanced `encoded` past the PDU; free the buffer it started at. */
    qorFreeBuf(&world, encoded.value - qorGetBytesReadByDecoder(&world));
    qorterm(&world);
    return 0;
}
