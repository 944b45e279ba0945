// The shared skeleton of the rule drivers: one encoder and one decoder frame;
// each family supplies its entry test, its set-up and its finish.
#pragma once

#include "frame/world.h"

namespace qor {

struct EncoderSteps {
    // 0, or the result when the entry or the table's version is wrong.
    int (*check)(QorGlobal *world);
    // Set-up beyond the output fields, which the frame prepares; may be null.
    void (*prepare)(QorGlobal *world, QorBuf *output);
    void (*call)(QorGlobal *world, int pdunum, void *value);
    void (*finish)(QorGlobal *world, QorBuf *output, QorULong flags);
};

struct DecoderSteps {
    int (*check)(QorGlobal *world);
    // Set-up beyond the input and output fields, which the frame prepares; may be null.
    void (*prepare)(QorGlobal *world, QorBuf *input);
    void (*call)(QorGlobal *world, int *pdunum, void **output);
    void (*finish)(QorGlobal *world, QorBuf *input);
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
// carries another version: message 38 or 5 is made, and its code returned.
int missingEntry(QorGlobal *world);
int wrongVersion(QorGlobal *world, int wanted);

} // namespace qor
