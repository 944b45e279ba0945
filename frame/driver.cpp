// The driver frame: arms the exit, optionally the memory-violation trap,
// enters generated code, and on failure releases what the call took and
// returns one code.
#include "frame/driver.h"

#include <csetjmp>

#include "frame/errors.h"
#include "frame/trap.h"
#include "memory/blocks.h"

namespace qor {

namespace {

constexpr int kSerializationResult = 19;

QorULong trappingFlags(QorULong flags)
{
    // TRAPPING asks for the trap and wins over NOTRAPPING.
    return (flags & TRAPPING) != 0 ? flags & ~QorULong{NOTRAPPING} : flags | NOTRAPPING;
}

// The per-call fields that encoders and decoders both start from.
void startCall(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    world->fieldStack = nullptr;
    world->parentWorld = nullptr;
    world->childWorld = nullptr;
    world->blockQueueTail = &world->blockQueue;
    if (p->tempBufferSize != 0) {
        world->tempLow = p->tempBuffer;
        world->tempHigh = p->tempBuffer + p->tempBufferSize;
    } else {
        world->tempLow = nullptr;
        world->tempHigh = nullptr;
    }
    p->bytesRead = 0;
    p->padBits = 0;
    p->constructedDepth = 0;
    p->seqSetDepth = 0;
    p->lastDecodedFlag = 0;
    p->fastPushCount = 0;
    p->fastPushChain = &p->fastPushChain;
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

int finalCode(int code) { return code == kZeroExit ? QOR_FATAL : code; }

// First steps of a failed call. The first exit's code stands. An error raised
// by the clean-up itself (a failing release hook, say) enters the clean-up
// again, which goes on from where it stopped, since each piece leaves its
// list before it is released; it makes no message, so the first one stays.
void abandonCall(QorGlobal *world, int exitValue, volatile int *code)
{
    if (*code == 0)
        *code = exitValue;
    // The field records lived in frames that the exit has left.
    world->fieldStack = nullptr;
    world->errMsgTarget = nullptr;
}

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
    flags = trappingFlags(flags);
    world->operation = QOR_OP_ENCODE;
    if (int bad = steps.check(world))
        return bad;

    sigjmp_buf frame;
    TrapState trap;
    world->jumpFrame = &frame;
    startCall(world);
    world->encLength = 0;
    volatile int savedRules = world->encRules;
    volatile int code = 0;
    const bool trapping = (flags & NOTRAPPING) == 0;

    int exitValue = sigsetjmp(frame, trapping ? 1 : 0);
    if (exitValue != 0) {
        abandonCall(world, exitValue, &code);
        abortEncoder(world);
        world->encRules = savedRules;
        if (trapping)
            disarmTrap(world, &trap, code != kSerializationResult);
        world->jumpFrame = nullptr;
        return finalCode(code);
    }
    if (trapping)
        armTrap(world, &trap);
    resetEncoderStack(world);
    if (output->value != nullptr) {
        world->userBuffer = 1;
        world->outRoom = world->totalBytes = output->length;
    } else {
        world->userBuffer = 0;
        world->outRoom = 0;
    }
    world->outPos = output->value;
    if (steps.prepare != nullptr)
        steps.prepare(world, output);
    steps.call(world, pdunum, value);
    releaseTemp(world);
    steps.finish(world, output, flags);
    if (trapping)
        disarmTrap(world, &trap, true);
    world->jumpFrame = nullptr;
    return 0;
}

int runDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags,
               const DecoderSteps &steps)
{
    flags = trappingFlags(flags);
    world->operation = QOR_OP_DECODE;
    if (int bad = steps.check(world))
        return bad;

    sigjmp_buf frame;
    TrapState trap;
    world->jumpFrame = &frame;
    world->ruleBits = (world->ruleBits & ~QorULong{QOR_RULE_RELAXED}) |
                      ((flags & QOR_RELAXED) != 0 ? QOR_RULE_RELAXED : 0);
    startCall(world);
    world->inPos = input->value;
    world->inRoom = input->length;
    volatile int savedRules = world->encRules;
    volatile int code = 0;
    const bool trapping = (flags & NOTRAPPING) == 0;

    int exitValue = sigsetjmp(frame, trapping ? 1 : 0);
    if (exitValue != 0) {
        abandonCall(world, exitValue, &code);
        if (world->childWorld != nullptr)
            abortNested(world, true);
        if (world->privateArea->tempBufferSize == 0)
            releaseTemp(world);
        if (!world->userBuffer) {
            memQueueFree(world, world->userFree);
            *output = nullptr;
        } else {
            memQueueForget(world, world->userFree);
        }
        world->encRules = savedRules;
        world->decodingLength = 0;
        // Where the failure stopped: the caller can tell how far the input was good.
        world->privateArea->bytesRead = input->length - world->inRoom;
        if (trapping)
            disarmTrap(world, &trap, code != kSerializationResult);
        world->jumpFrame = nullptr;
        return finalCode(code);
    }
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
    if (trapping)
        armTrap(world, &trap);
    if (steps.prepare != nullptr)
        steps.prepare(world, input);
    steps.call(world, pdunum, output);
    releaseTemp(world);
    if (world->userBuffer) {
        world->decodingLength -= world->outRoom;
    } else {
        // The decoded value owns its pieces now.
        world->decodingLength = world->totalBytes;
        memQueueForget(world, world->userFree);
    }
    steps.finish(world, input);
    if ((world->presetDecFlags & QOR_PRESET_ADVANCE_INPUT) != 0) {
        input->value = world->inPos;
        input->length = world->inRoom;
    }
    if (trapping)
        disarmTrap(world, &trap, true);
    world->jumpFrame = nullptr;
    return 0;
}

} // namespace qor
