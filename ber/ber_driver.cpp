// The BER driver pair, which also serves DER and CER.
#include "frame/driver.h"

namespace qor {

namespace {

int checkBerEncoder(QorGlobal *world)
{
    const QorControlTable *ctl = world->ctlTable;
    if (ctl->berEncodeEntry == nullptr)
        return missingEntry(world);
    if (ctl->berVersion != QOR_BER_VERSION)
        return wrongVersion(world, QOR_BER_VERSION);
    return 0;
}

int checkBerDecoder(QorGlobal *world)
{
    const QorControlTable *ctl = world->ctlTable;
    if (ctl->berDecodeEntry == nullptr)
        return missingEntry(world);
    if (ctl->berVersion != QOR_BER_VERSION)
        return wrongVersion(world, QOR_BER_VERSION);
    return 0;
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

void finishBerDecoder(QorGlobal *world, QorBuf *input)
{
    world->privateArea->bytesRead = input->length - world->inRoom;
}

constexpr EncoderSteps kBerEncoder = {checkBerEncoder, nullptr, callBerEncoder, finishBerEncoder};
constexpr DecoderSteps kBerDecoder = {checkBerDecoder, nullptr, callBerDecoder, finishBerDecoder};

int berEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags)
{
    return runEncoder(world, pdunum, value, output, flags, kBerEncoder);
}

int berDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags)
{
    return runDecoder(world, pdunum, input, output, flags, kBerDecoder);
}

} // namespace

DriverPair berDriverPair() { return {berEncoder, berDecoder}; }

} // namespace qor
