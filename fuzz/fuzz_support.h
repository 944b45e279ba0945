// What every decoder target does: one context for the whole run, and the
// check of one decode. A value that decodes is printed (silently), encoded
// again and freed; a failure must leave no value and say why.
#pragma once

#include <cstdint>
#include <vector>

#include "testschema.h"

namespace qorfuzz {

inline QorGlobal *context()
{
    static QorGlobal world;
    static bool ready = false;
    if (!ready) {
        if (qorinit(&world, &testSchemaTable) != 0)
            __builtin_trap();
        world.printStream = nullptr; // printing runs, silently
        ready = true;
    }
    return &world;
}

// `input` holds exactly the octets, so that any read past them is caught.
inline void decodeOnce(QorGlobal *world, int pdu, std::vector<unsigned char> &input,
                       QorLong length)
{
    QorBuf in = {length, input.data()};
    void *value = nullptr;
    if (qorDecode(world, &pdu, &in, &value) != 0) {
        if (value != nullptr || qorGetErrMsg(world)[0] == '\0')
            __builtin_trap();
        return;
    }
    if (world->ctlTable->printEntry != nullptr)
        qorPrintPDU(world, pdu, value);
    QorBuf out = {0, nullptr};
    if (qorEncode(world, pdu, value, &out) == 0)
        qorFreeBuf(world, out.value);
    qorFreePDU(world, pdu, value);
}

} // namespace qorfuzz
