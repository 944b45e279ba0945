// Fuzzing the OER decoders: the input is decoded as each PDU that has OER
// entries.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QorGlobal *world = qorfuzz::context();
    qorSetEncodingFlags(world, 0);
    qorSetDecodingFlags(world, 0);
    if (qorSetEncodingRules(world, QOR_OER) != 0)
        __builtin_trap();
    std::vector<unsigned char> input(data, data + size);
    if (input.empty())
        input.push_back(0); // a QorBuf needs an octet to point at
    for (int pdu : {PDU_PersonnelRecord, PDU_PersonnelConstrained, PDU_Widths, PDU_Levels,
                    PDU_Extended, PDU_Nothing, PDU_OerBits, PDU_OerTexts, PDU_OerLeaves})
        qorfuzz::decodeOnce(world, pdu, input, static_cast<QorLong>(size));
    return 0;
}
