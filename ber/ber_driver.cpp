// The BER driver pair, which also serves DER and CER, and the link that
// wires it in.
#include "frame/driver.h"

namespace qor {

namespace {

int checkBerEntry(QorGlobal *world, bool present)
{
    if (!present)
        return missingEntry(world);
    if (world->ctlTable->berVersion != QOR_BER_VERSION)
        return wrongVersion(world, QOR_BER_VERSION);
    return 0;
}

int checkBerEncoder(QorGlobal *world)
{
    return checkBerEntry(world, world->ctlTable->berEncodeEntry != nullptr);
}

int checkBerDecoder(QorGlobal *world)
{
    return checkBerEntry(world, world->ctlTable->berDecodeEntry != nullptr);
}

void callBerEncoder(QorGlobal *world, int pdunum, void *value)
{
    world->ctlTable->berEncodeEntry(world, pdunum, value);
}

void callBerDecoder(QorGlobal *world, int *pdunum, void **output)
{
    world->ctlTable->berDecodeEntry(world, pdunum, output);
}

// The entry left the encoding's address in `outPos` and its length in `outRoom`.
void finishBerEncoder(QorGlobal *world, QorBuf *output, QorULong)
{
    output->value = world->outPos;
    output->length = (world->encodingFlags & DETERMINE_ENC_LENGTH) != 0 ? world->encLength
                                                                         : world->outRoom;
}

constexpr EncoderSteps kBerEncoder = {checkBerEncoder, nullptr, callBerEncoder, finishBerEncoder,
                                      nullptr};
constexpr DecoderSteps kBerDecoder = {checkBerDecoder, nullptr, callBerDecoder, nullptr, nullptr,
                                      nullptr};

int berEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags)
{
    return runEncoder(world, pdunum, value, output, flags, kBerEncoder);
}

int berDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags)
{
    return runDecoder(world, pdunum, input, output, flags, kBerDecoder);
}

} // namespace

} // namespace qor

extern "C" void qorLinkBer(QorGlobal *world)
{
    if (world != nullptr)
        qor::linkFamily(qor::kBerFamily, {qor::berEncoder, qor::berDecoder});
}
