// The OER driver pair and its two links, one a direction. OER keeps no room
// counts: `blockStack` holds the end of the output block or caller's buffer
// while encoding, and the end of the input while decoding. It is never a
// frame of the canonical SET OF, so every path clears it before the common
// clean-up could walk it, and before another family's call finds it.
#include "frame/driver.h"
#include "memory/blocks.h"

namespace qor {

namespace {

const QorXapiEntries *oerEntries(const QorGlobal *world)
{
    return world->privateArea->xapiEntries;
}

int checkOerEntry(QorGlobal *world, bool present)
{
    if (!present)
        return missingEntry(world);
    if (oerEntries(world)->oerVersion != QOR_OER_VERSION)
        return wrongVersion(world, QOR_OER_VERSION);
    return 0;
}

int checkOerEncoder(QorGlobal *world)
{
    const QorXapiEntries *entries = oerEntries(world);
    return checkOerEntry(world, entries != nullptr && entries->oerEncodeEntry != nullptr);
}

int checkOerDecoder(QorGlobal *world)
{
    const QorXapiEntries *entries = oerEntries(world);
    return checkOerEntry(world, entries != nullptr && entries->oerDecodeEntry != nullptr);
}

// In the library's blocks the first octet takes a block, as the end equals
// the (null) position. A caller's buffer of a negative size holds nothing.
void prepareOerEncoder(QorGlobal *world, QorBuf *)
{
    world->blockStack = world->userBuffer ? world->outPos + (world->outRoom > 0 ? world->outRoom : 0)
                                          : nullptr;
}

// A negative length holds nothing.
void prepareOerDecoder(QorGlobal *world, QorBuf *input)
{
    world->blockStack = input->value + (input->length > 0 ? input->length : 0);
}

void callOerEncoder(QorGlobal *world, int pdunum, void *value)
{
    oerEntries(world)->oerEncodeEntry(world, pdunum, value);
}

void callOerDecoder(QorGlobal *world, int *pdunum, void **output)
{
    *output = oerEntries(world)->oerDecodeEntry(world, *pdunum);
}

void finishOerEncoder(QorGlobal *world, QorBuf *output, QorULong flags)
{
    world->outRoom = static_cast<QorLong>(static_cast<unsigned char *>(world->blockStack) - world->outPos);
    world->blockStack = nullptr;
    _qorSetOutMemQueue(world, &output->length, &output->value, flags);
}

void clearEnd(QorGlobal *world) { world->blockStack = nullptr; }

void finishOerDecoder(QorGlobal *world, QorBuf *) { world->blockStack = nullptr; }

QorLong oerBytesRead(const QorGlobal *world, const QorBuf *input)
{
    return static_cast<QorLong>(world->inPos - input->value);
}

constexpr EncoderSteps kOerEncoder = {checkOerEncoder, prepareOerEncoder, callOerEncoder,
                                      finishOerEncoder, clearEnd};
constexpr DecoderSteps kOerDecoder = {checkOerDecoder, prepareOerDecoder, callOerDecoder,
                                      finishOerDecoder, clearEnd, oerBytesRead};

int oerEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags)
{
    return runEncoder(world, pdunum, value, output, flags, kOerEncoder);
}

int oerDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags)
{
    return runDecoder(world, pdunum, input, output, flags, kOerDecoder);
}

} // namespace

} // namespace qor

extern "C" {

void qorLinkOerE(QorGlobal *world)
{
    if (world != nullptr)
        qor::g_drivers[qor::kOerFamily].encoder = qor::oerEncoder;
}

void qorLinkOerD(QorGlobal *world)
{
    if (world != nullptr)
        qor::g_drivers[qor::kOerFamily].decoder = qor::oerDecoder;
}

} // extern "C"
