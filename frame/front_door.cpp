// qorEncode and qorDecode: argument checks, the choice of the rules' driver,
// and the calls around them that size, skip and report.
#include <cstdlib>
#include <cstring>

#include "frame/errors.h"

using namespace qor;

namespace {

void startMessage(QorGlobal *world)
{
    world->errMsgBuffer[0] = '\0';
    world->errMsgTarget = world->errMsgBuffer;
}

// The family of the current rules, or the early message's code.
int chooseFamily(QorGlobal *world, bool decoding, int *family)
{
    int rules = world->encRules;
    *family = familyOf(rules);
    if (*family < 0)
        return earlyError(world, Msg::kUnknownRules, longValue(0), decoding);
    if (rules == QOR_DER && (world->ruleBits & QOR_RULE_DER_ALLOWED) == 0)
        return earlyError(world, Msg::kRulesNotGenerated, stringValue("DER"), decoding);
    return 0;
}

int checkLinkedAndReady(QorGlobal *world, bool linked, bool decoding)
{
    if (!linked)
        return earlyError(world, Msg::kRulesNotLinked, stringValue(ruleName(world->encRules)), decoding);
    if (world->ctlTable == nullptr || world->privateArea == nullptr)
        return earlyError(world, Msg::kNullTable, longValue(0), decoding);
    return 0;
}

} // namespace

extern "C" {

int qorEncode(QorGlobal *world, int pdunum, void *value, QorBuf *output)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    startMessage(world);
    if (value == nullptr || output == nullptr)
        return earlyError(world, Msg::kNullArgument, longValue(0), false);
    int family;
    if (int bad = chooseFamily(world, false, &family))
        return bad;
    if (world->encRules == QOR_CXER && output->value != nullptr && output->length > 0)
        memset(output->value, ' ', static_cast<size_t>(output->length));
    EncoderDriver driver = g_drivers[family].encoder;
    if (int bad = checkLinkedAndReady(world, driver != nullptr, false))
        return bad;
    QorULong savedFlags = world->encodingFlags;
    int result = driver(world, pdunum, value, output, world->encodingFlags);
    world->encodingFlags = savedFlags;
    return result;
}

int qorDecode(QorGlobal *world, int *pdunum, QorBuf *input, void **output)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    startMessage(world);
    if (pdunum == nullptr || input == nullptr || input->value == nullptr || output == nullptr)
        return earlyError(world, Msg::kNullArgument, longValue(0), true);
    if (*output != nullptr) {
        // A caller's buffer starts on a multiple of 8, as decoded records need.
        QorLong pad = static_cast<QorLong>((-reinterpret_cast<uintptr_t>(*output)) & 7);
        if (world->decodingLength <= pad)
            return earlyError(world, Msg::kBufferTooSmall, longValue(world->decodingLength), true);
        *output = static_cast<unsigned char *>(*output) + pad;
        world->decodingLength -= pad;
    }
    int family;
    if (int bad = chooseFamily(world, true, &family))
        return bad;
    QorULong flags = world->decodingFlags;
    if (world->encRules == QOR_DER)
        flags &= ~QorULong{QOR_RELAXED}; // DER is never relaxed
    DecoderDriver driver = g_drivers[family].decoder;
    if (int bad = checkLinkedAndReady(world, driver != nullptr, true))
        return bad;
    return driver(world, pdunum, input, output, flags);
}

QorLong qorDetermineEncodingLength(QorGlobal *world, int pdunum, void *value)
{
    if (world == nullptr)
        return 0;
    QorULong saved = world->encodingFlags;
    world->encodingFlags = (saved & ~QorULong{DEBUGPDU}) | DETERMINE_ENC_LENGTH;
    QorBuf sizing = {0, nullptr};
    int result = qorEncode(world, pdunum, value, &sizing);
    world->encodingFlags = saved;
    return result == 0 ? sizing.length : 0;
}

int qorDetermineNumberOfPadBits(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return world->privateArea->padBits;
}

QorLong qorGetBytesReadByDecoder(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return world->privateArea->bytesRead;
}

void qorFreeBuf(QorGlobal *world, void *buffer)
{
    if (buffer == nullptr)
        return;
    if (world != nullptr && world->userFree != nullptr)
        world->userFree(world, buffer);
    else
        free(buffer);
}

void freeBUF(QorGlobal *world, void *buffer) __attribute__((alias("qorFreeBuf")));

} // extern "C"
