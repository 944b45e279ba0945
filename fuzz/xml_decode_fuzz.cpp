// Fuzzing the XML lexer: the input is decoded as a Lexems document under
// EXER, which walks every lexem, attribute value and entity it holds, and
// skips or reads as contained documents the elements named for it. An
// input of odd length is decoded under the strict rules, where skipping
// checks what it passes.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QorGlobal *world = qorfuzz::context();
    qorSetDecodingFlags(world, size % 2 != 0 ? STRICT_ENCODING_DECODING_RULES : 0);
    if (qorSetEncodingRules(world, QOR_EXER) != 0)
        __builtin_trap();
    std::vector<unsigned char> input(data, data + size);
    if (input.empty())
        input.push_back(0); // a QorBuf needs an octet to point at
    QorBuf in = {static_cast<QorLong>(size), input.data()};
    void *value = nullptr;
    int pdu = PDU_Lexems;
    if (qorDecode(world, &pdu, &in, &value) != 0) {
        if (value != nullptr || qorGetErrMsg(world)[0] == '\0')
            __builtin_trap();
        return 0;
    }
    qorFreePDU(world, pdu, value);
    return 0;
}
