// The drivers: the per-call set-up of encoding and decoding around the call
// frame, what a failed call gives back, and the result of a call that ends
// well.
#include "frame/driver.h"

#include "frame/call.h"
#include "frame/errors.h"
#include "memory/blocks.h"

namespace qor {

namespace {

// Only TRAPPING asks for the trap, and it wins over NOTRAPPING.
bool trappingWanted(QorULong flags) { return (flags & TRAPPING) != 0; }

// The per-call fields that encoders and decoders both start from.
void startCoding(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    p->bytesRead = 0;
    p->padBits = 0;
    p->constructedDepth = 0;
    p->seqSetDepth = 0;
    p->lastDecodedFlag = 0;
    world->decodeToTemporary = 0;
    p->fixups.reset();
    p->openTypes.reset();
    p->debugOutPos = nullptr;
}

void resetEncoderStack(QorGlobal *world)
{
    // Frames an earlier encode left behind go first.
    releaseEncoderStack(world);
    QorGlobalPrivate *p = world->privateArea;
    p->encStackBase.count = 1;
    p->encStackBase.next = nullptr;
    p->encStackTop = &p->encStackBase;
}

struct EncodeCall {
    int pdunum;
    void *value;
    QorBuf *output;
    QorULong flags;
    int savedRules;
    const EncoderSteps *steps;
};

int encodeInFrame(QorGlobal *world, void *data)
{
    auto *call = static_cast<EncodeCall *>(data);
    resetEncoderStack(world);
    if (call->steps->prepare != nullptr)
        call->steps->prepare(world, call->output);
    call->steps->call(world, call->pdunum, call->value);
    releaseTemp(world);
    call->steps->finish(world, call->output, call->flags);
    return 0;
}

void unwindEncode(QorGlobal *world, void *data)
{
    auto *call = static_cast<EncodeCall *>(data);
    if (call->steps->unwind != nullptr)
        call->steps->unwind(world);
    abortEncoder(world);
    world->encRules = call->savedRules;
}

constexpr CallSteps kEncodeCall = {encodeInFrame, unwindEncode};

struct DecodeCall {
    int *pdunum;
    QorBuf *input;
    void **output;
    int savedRules;
    const DecoderSteps *steps;
};

QorLong bytesReadBy(const QorGlobal *world, const DecodeCall *call)
{
    if (call->steps->bytesRead != nullptr)
        return call->steps->bytesRead(world, call->input);
    return call->input->length - world->inRoom;
}

int decodeInFrame(QorGlobal *world, void *data)
{
    auto *call = static_cast<DecodeCall *>(data);
    if (call->steps->prepare != nullptr)
        call->steps->prepare(world, call->input);
    call->steps->call(world, call->pdunum, call->output);
    releaseTemp(world);
    if (world->userBuffer) {
        world->decodingLength -= world->outRoom;
    } else {
        // The decoded value owns its pieces now.
        world->decodingLength = world->totalBytes;
        memQueueForget(world, world->userFree);
    }
    if (call->steps->finish != nullptr)
        call->steps->finish(world, call->input);
    QorLong read = bytesReadBy(world, call);
    world->privateArea->bytesRead = read;
    if ((world->presetDecFlags & QOR_PRESET_ADVANCE_INPUT) != 0) {
        call->input->value += read;
        call->input->length -= read;
    }
    return 0;
}

void unwindDecode(QorGlobal *world, void *data)
{
    auto *call = static_cast<DecodeCall *>(data);
    if (call->steps->unwind != nullptr)
        call->steps->unwind(world);
    if (world->childWorld != nullptr)
        abortNested(world, true);
    if (world->privateArea->tempBufferSize == 0)
        releaseTemp(world);
    if (!world->userBuffer) {
        memQueueFree(world, world->userFree);
        *call->output = nullptr;
    } else {
        memQueueForget(world, world->userFree);
    }
    world->encRules = call->savedRules;
    world->decodingLength = 0;
    // Where the failure stopped: the caller can tell how far the input was good.
    world->privateArea->bytesRead = bytesReadBy(world, call);
}

constexpr CallSteps kDecodeCall = {decodeInFrame, unwindDecode};

} // namespace

int missingEntry(QorGlobal *world)
{
    report(world, Msg::kNullFunction, longValue(0));
    return QOR_NULL_FUNCTION;
}

int wrongVersion(QorGlobal *world, int wanted)
{
    report(world, Msg::kWrongVersion, longValue(wanted));
    return QOR_BAD_VERSION;
}

void linkFamily(Family family, DriverPair drivers) { g_drivers[family] = drivers; }

void abortEncoder(QorGlobal *world)
{
    if (world->childWorld != nullptr)
        abortNested(world, false); // blocks in the caller's temporary buffer stay
    if (void *nested = world->nestedOutput) {
        world->nestedOutput = nullptr;
        userRelease(world, nested);
    }
    unwindBlockStack(world);
    releaseEncoderStack(world);
    bool tempBuffer = world->privateArea->tempBufferSize != 0;
    if (!tempBuffer)
        releaseTemp(world);
    if (world->userBuffer || tempBuffer)
        memQueueForget(world, nullptr); // the caller's buffer, or the temporary buffer
    else
        memQueueFree(world, world->userFree);
}

int runEncoder(QorGlobal *world, int pdunum, void *value, QorBuf *output, QorULong flags,
               const EncoderSteps &steps)
{
    world->operation = QOR_OP_ENCODE;
    if (int bad = steps.check(world))
        return bad;
    startCoding(world);
    world->encLength = 0;
    if (output->value != nullptr) {
        world->userBuffer = 1;
        world->outRoom = world->totalBytes = output->length;
    } else {
        world->userBuffer = 0;
        world->outRoom = 0;
    }
    world->outPos = output->value;
    EncodeCall call = {pdunum, value, output, flags, world->encRules, &steps};
    return runCall(world, trappingWanted(flags), kEncodeCall, &call);
}

int runDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags,
               const DecoderSteps &steps)
{
    world->operation = QOR_OP_DECODE;
    if (int bad = steps.check(world))
        return bad;
    world->ruleBits = (world->ruleBits & ~QorULong{QOR_RULE_RELAXED}) |
                      ((flags & QOR_RELAXED) != 0 ? QOR_RULE_RELAXED : 0);
    startCoding(world);
    world->inPos = input->value;
    world->inRoom = input->length;
    // Where the output goes is known before anything can fail: the failure
    // path clears *output by it.
    if (*output != nullptr) {
        world->userBuffer = 1;
        world->outRoom = world->totalBytes = world->decodingLength;
    } else {
        world->userBuffer = 0;
        world->outRoom = world->totalBytes = 0;
    }
    world->outPos = static_cast<unsigned char *>(*output);
    DecodeCall call = {pdunum, input, output, world->encRules, &steps};
    return runCall(world, trappingWanted(flags), kDecodeCall, &call);
}

} // namespace qor
