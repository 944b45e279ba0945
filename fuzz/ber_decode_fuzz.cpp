// Fuzzing the BER decoders: the first octet picks the rules (BER, DER, CER),
// whether decoding is relaxed, and the PDU number (0: found from the tag);
// the rest is the encoding.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    QorGlobal *world = qorfuzz::context();
    static const int rules[] = {QOR_BER, QOR_DER, QOR_CER};
    const uint8_t selector = data[0];
    world->encRules = rules[(selector & 3) % 3];
    qorSetDecodingFlags(world, (selector & 4) != 0 ? QOR_RELAXED : 0);
    qorSetEncodingFlags(world, 0);
    int pdu = (selector >> 3) % (PDU_COUNT + 1);
    if (pdu == PDU_Fault)
        pdu = 0;
    std::vector<unsigned char> input(data + 1, data + size);
    qorfuzz::decodeOnce(world, pdu, input, static_cast<QorLong>(input.size()));
    return 0;
}
