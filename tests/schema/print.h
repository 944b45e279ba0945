/* The print entry of the hand-written test schema, for its control table. */
#ifndef TESTSCHEMA_PRINT_H
#define TESTSCHEMA_PRINT_H

#include "testschema.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prints a value of the test schema in ASN.1 value notation: "value Type ::= "
 * and the value, then a new line. A negative PDU number prints the value
 * alone, as an open type inside another value does. Returns 0, or 3 for an
 * unknown PDU number; a Fault fails as its encoder does. */
int testSchemaPrint(QorGlobal *world, int pdunum, void *value);

#ifdef __cplusplus
}
#endif

#endif
