// The PER driver pair, for aligned and unaligned PER alike, and the link
// that wires it in. Output goes forwards through the bit cursor; the driver
// keeps the count of pad bits in the last octet.
#include "frame/driver.h"
#include "memory/blocks.h"

namespace qor {

namespace {

int checkPerEntry(QorGlobal *world, bool present)
{
    if (!present)
        return missingEntry(world);
    if (world->ctlTable->perVersion != QOR_PER_VERSION)
        return wrongVersion(world, QOR_PER_VERSION);
    return 0;
}

int checkPerEncoder(QorGlobal *world)
{
    return checkPerEntry(world, world->ctlTable->perEncodeEntry != nullptr);
}

int checkPerDecoder(QorGlobal *world)
{
    return checkPerEntry(world, world->ctlTable->perDecodeEntry != nullptr);
}

// A time difference lent within one TIME value never outlives the call.
void preparePerEncoder(QorGlobal *world, QorBuf *)
{
    world->bitOffset = 0;
    world->privateArea->perTimeMemo &= ~uint32_t{3};
}
void preparePerDecoder(QorGlobal *world, QorBuf *)
{
    world->bitOffset = 0;
    world->privateArea->perTimeMemo &= ~uint32_t{3};
}

void callPerEncoder(QorGlobal *world, int pdunum, void *value)
{
    world->ctlTable->perEncodeEntry(world, pdunum, value);
}

void callPerDecoder(QorGlobal *world, int *pdunum, void **output)
{
    world->ctlTable->perDecodeEntry(world, pdunum, output);
}

// Nothing written yet: no octet counted, taken from a block or from the
// caller's buffer.
bool nothingWritten(const QorGlobal *world, const QorBuf *output)
{
    if (sizingOnly(world))
        return world->encLength == 0;
    if (world->userBuffer)
        return world->outRoom == output->length;
    return blockCount(world) == 0;
}

// A partly used last octet leaves its unused bits as padding; an empty
// encoding is one zero octet, all padding.
void finishPerEncoder(QorGlobal *world, QorBuf *output, QorULong flags)
{
    QorGlobalPrivate *p = world->privateArea;
    if (world->bitOffset != 0)
        p->padBits = static_cast<unsigned char>(8 - world->bitOffset);
    else if (nothingWritten(world, output))
        p->padBits = 8;
    _qorSetOutMemQueue(world, &output->length, &output->value, flags);
}

// The partly read last octet counts as read; so does the one octet of an
// empty encoding.
void finishPerDecoder(QorGlobal *world, QorBuf *input)
{
    QorGlobalPrivate *p = world->privateArea;
    if (world->bitOffset != 0) {
        world->inPos++;
        world->inRoom--;
        p->padBits = static_cast<unsigned char>(8 - world->bitOffset);
        world->bitOffset = 0;
    }
    if (input->length - world->inRoom == 0) {
        p->padBits = 8;
        if (world->inRoom > 0) {
            world->inPos++;
            world->inRoom--;
        }
    }
}

constexpr EncoderSteps kPerEncoder = {checkPerEncoder, preparePerEncoder, callPerEncoder,
                                      finishPerEncoder, nullptr};
constexpr DecoderSteps kPerDecoder = {checkPerDecoder, preparePerDecoder, callPerDecoder,
                                      finishPerDecoder, nullptr, nullptr};

int perEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags)
{
    return runEncoder(world, pdunum, value, output, flags, kPerEncoder);
}

int perDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags)
{
    return runDecoder(world, pdunum, input, output, flags, kPerDecoder);
}

} // namespace

} // namespace qor

extern "C" void qorLinkPer(QorGlobal *world)
{
    if (world != nullptr)
        qor::linkFamily(qor::kPerFamily, {qor::perEncoder, qor::perDecoder});
}
