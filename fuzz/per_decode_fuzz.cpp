// Fuzzing the PER decoders: the input is decoded as each PDU that has PER
// entries, in aligned and unaligned PER alike. Every value that decodes is
// printed, encoded again and freed; every failure must end in a return
// code, with nothing leaked and nothing read out of bounds.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "testschema.h"

namespace {

QorGlobal *context()
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QorGlobal *world = context();
    qorSetEncodingFlags(world, 0);
    qorSetDecodingFlags(world, 0);
    // A copy of exactly the input's size, so that any read past it is caught.
    std::vector<unsigned char> input(data, data + size);
    if (input.empty())
        input.push_back(0); // a QorBuf needs an octet to point at
    for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED}) {
        for (int pdu : {PDU_PersonnelRecord, PDU_PersonnelConstrained}) {
            if (qorSetEncodingRules(world, rules) != 0)
                __builtin_trap();
            QorBuf in = {static_cast<QorLong>(size), input.data()};
            void *value = nullptr;
            int found = pdu;
            int rc = qorDecode(world, &found, &in, &value);
            if (rc != 0) {
                if (value != nullptr || qorGetErrMsg(world)[0] == '\0')
                    __builtin_trap(); // a failure leaves no value and says why
                continue;
            }
            if (world->ctlTable->printEntry != nullptr)
                qorPrintPDU(world, found, value);
            QorBuf out = {0, nullptr};
            if (qorEncode(world, found, value, &out) == 0)
                qorFreeBuf(world, out.value);
            qorFreePDU(world, found, value);
        }
    }
    return 0;
}
