// The encode and decode drivers: one of each, run in the call frame; each
// rule family supplies its entry check, its set-up, its call and its finish.
#pragma once

#include "frame/world.h"

namespace qor {

struct EncoderSteps {
    // 0, or the result when the entry or the table's version is wrong.
    int (*check)(QorGlobal *world);
    // Set-up beyond the output fields, which the driver prepares; may be null.
    void (*prepare)(QorGlobal *world, QorBuf *output);
    void (*call)(QorGlobal *world, int pdunum, void *value);
    void (*finish)(QorGlobal *world, QorBuf *output, QorULong flags);
    // After a failure, before the common clean-up: what only this family
    // keeps in the context; may be null.
    void (*unwind)(QorGlobal *world);
};

struct DecoderSteps {
    int (*check)(QorGlobal *world);
    // Set-up beyond the input and output fields, which the driver prepares; may be null.
    void (*prepare)(QorGlobal *world, QorBuf *input);
    void (*call)(QorGlobal *world, int *pdunum, void **output);
    // After success, before the input is advanced; may be null.
    void (*finish)(QorGlobal *world, QorBuf *input);
    // After a failure, before the common clean-up; may be null.
    void (*unwind)(QorGlobal *world);
    // Octets of the input taken so far, success or failure; null: those
    // before `inRoom`.
    QorLong (*bytesRead)(const QorGlobal *world, const QorBuf *input);
};

int runEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags,
               const EncoderSteps &steps);
int runDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags,
               const DecoderSteps &steps);

// Releases what a failed encode had taken.
void abortEncoder(QorGlobal *world);
// Releases what nested contexts of a failed call had taken.
void abortNested(QorGlobal *world, bool freeAll);

// The result of a driver whose control table lacks the rules' entry, or
// carries another version: the message is made, and its code returned.
int missingEntry(QorGlobal *world);
int wrongVersion(QorGlobal *world, int wanted);

// Wires a family's driver pair in, for every context of the process.
void linkFamily(Family family, DriverPair drivers);

} // namespace qor
