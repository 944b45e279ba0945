/* The copy and compare entries of the hand-written test schema, for its
 * table of further entries. */
#ifndef TESTSCHEMA_VALUES_H
#define TESTSCHEMA_VALUES_H

#include "testschema.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Copies a value of the test schema into decoder memory: into *target when
 * it is set (the caller's record), else into a new record stored there.
 * Returns 0, or 3 for an unknown PDU number; a Fault fails as its encoder
 * does, after it has taken memory. */
int testSchemaCopy(QorGlobal *world, int pdunum, void *source, void **target);

/* 0 when two values of the test schema are equal, 1 when not, 3 for an
 * unknown PDU number; a Fault fails as its encoder does. */
int testSchemaCompare(QorGlobal *world, int pdunum, void *first, void *second);

/* Leaves as a Fault says: a memory violation, or its message. */
void testSchemaFaultRaise(QorGlobal *world, const Fault *fault);

#ifdef __cplusplus
}
#endif

#endif
