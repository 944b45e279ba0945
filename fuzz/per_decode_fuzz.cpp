// Fuzzing the PER decoders: the input is decoded as each PDU that has PER
// entries, in aligned and unaligned PER alike.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QorGlobal *world = qorfuzz::context();
    qorSetEncodingFlags(world, 0);
    qorSetDecodingFlags(world, 0);
    std::vector<unsigned char> input(data, data + size);
    if (input.empty())
        input.push_back(0); // a QorBuf needs an octet to point at
    for (int rules : {QOR_PER_ALIGNED, QOR_PER_UNALIGNED}) {
        for (int pdu : {PDU_PersonnelRecord, PDU_PersonnelConstrained, PDU_Gauges, PDU_Texts, PDU_Bits,
                        PDU_PersonnelExtensible, PDU_PersonnelExtensibleFirst, PDU_Leaves,
                        PDU_Times}) {
            if (qorSetEncodingRules(world, rules) != 0)
                __builtin_trap();
            qorfuzz::decodeOnce(world, pdu, input, static_cast<QorLong>(size));
        }
    }
    return 0;
}
