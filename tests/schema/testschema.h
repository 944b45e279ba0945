/* The hand-written test schema module: a control table and entries written
 * the way generated code is, for the tests, the demo and the benchmarks. */
#ifndef TESTSCHEMA_H
#define TESTSCHEMA_H

#include "qorapi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* PDU numbers. */
enum {
    PDU_Raw = 1,   /* OCTET STRING */
    PDU_Fault = 2, /* SEQUENCE whose encoder and decoder fail on purpose */
    PDU_Bag = 3,   /* SET OF OCTET STRING */
    PDU_Bags = 4,  /* [APPLICATION 1] SET OF Bag */
    PDU_COUNT = 4
};

/* Raw ::= OCTET STRING */
typedef struct Raw {
    QorLong length;
    unsigned char *data;
} Raw;

/* Bag ::= SET OF OCTET STRING (SIZE(0..4000)) */
typedef struct Bag {
    QorLong count;
    Raw *items;
} Bag;

/* Bags ::= [APPLICATION 1] IMPLICIT SET OF Bag */
typedef struct Bags {
    QorLong count;
    Bag *items;
} Bags;

/* How the Fault encoder leaves. */
enum FaultRaiser {
    RAISE_LONG,      /* _qor_enc_error with `number` */
    RAISE_LONGLONG,  /* _qor_enc_llerror with `number` and `high` */
    RAISE_STRING,    /* _qor_krod_error with `text` */
    RAISE_REAL,      /* _qor_krod_real_error with `real` */
    RAISE_UNBOUNDED, /* _qor_unbnd_error with `text`, `textLength` */
    RAISE_SEGV,      /* a memory violation */
    RAISE_IN_CHECK,  /* _qor_enc_error while the operation is a constraint check */
    RAISE_NESTED     /* _qor_enc_error on a nested context */
};

/* Fault ::= SEQUENCE { items SEQUENCE OF Item } ; Item ::= SEQUENCE { x INTEGER }
 * Encoding a Fault writes `written` octets, enters items[`element`].x and
 * raises `message` there with the value of `raiser`. Decoding one takes
 * memory and then reports "Value misencoded". */
typedef struct Fault {
    int message;
    int raiser;
    QorLong number;
    QorLong high;
    double real;
    const char *text;
    QorLong textLength;
    QorLong element;
    QorLong written;
} Fault;

extern QorControlTable testSchemaTable;
extern QorXapiEntries testSchemaXapi;

#ifdef __cplusplus
}
#endif

#endif
