// Fuzzing the BER decoders: the first octet picks the rules (BER, DER, CER),
// whether decoding is relaxed, and the PDU number (0: found from the tag);
// the rest is the encoding. Every value that decodes is printed, encoded
// again and freed; every failure must end in a return code, with nothing
// leaked and nothing read out of bounds.
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
    if (size < 2)
        return 0;
    QorGlobal *world = context();
    static const int rules[] = {QOR_BER, QOR_DER, QOR_CER};
    const uint8_t selector = data[0];
    world->encRules = rules[(selector & 3) % 3];
    qorSetDecodingFlags(world, (selector & 4) != 0 ? QOR_RELAXED : 0);
    qorSetEncodingFlags(world, 0);
    int pdu = (selector >> 3) % (PDU_COUNT + 1);
    if (pdu == PDU_Fault)
        pdu = 0;
    // A copy of exactly the input's size, so that any read past it is caught.
    std::vector<unsigned char> input(data + 1, data + size);
    QorBuf in = {static_cast<QorLong>(input.size()), input.data()};
    void *value = nullptr;
    int rc = qorDecode(world, &pdu, &in, &value);
    if (rc != 0) {
        if (value != nullptr || qorGetErrMsg(world)[0] == '\0')
            __builtin_trap(); // a failure leaves no value and says why
        return 0;
    }
    if (world->ctlTable->printEntry != nullptr)
        qorPrintPDU(world, pdu, value);
    QorBuf out = {0, nullptr};
    if (qorEncode(world, pdu, value, &out) == 0)
        qorFreeBuf(world, out.value);
    qorFreePDU(world, pdu, value);
    return 0;
}
