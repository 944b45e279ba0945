// The older interface: encode, decode and freePDU, each usable without a
// context of the caller's.
#include <cstring>

#include "frame/errors.h"

using namespace qor;

namespace {

// The context a legacy call runs on: the caller's, given the table, or one of
// the call's own.
int openContext(QorGlobal **world, QorGlobal *local, QorControlTable *ctl)
{
    if (*world == nullptr) {
        *world = local;
        return qorinit(local, ctl);
    }
    // A null table would leave the caller's context unusable and its private
    // area unreachable: keep the one in force.
    if (ctl != nullptr)
        (*world)->ctlTable = ctl;
    return 0;
}

void closeContext(QorGlobal *world, QorGlobal *local, char *errMsg)
{
    if (errMsg != nullptr && errMsg != world->errMsgBuffer)
        memcpy(errMsg, world->errMsgBuffer, sizeof world->errMsgBuffer);
    if (world == local)
        qorterm(local);
}

} // namespace

extern "C" {

int encode(QorGlobal *world, int pdunum, void *value, unsigned char **encoded, QorLong *length,
           QorControlTable *ctl, QorULong flags, char *errMsg)
{
    QorGlobal local;
    if (int bad = openContext(&world, &local, ctl))
        return bad;
    qorLinkBer(world);
    int result;
    if (encoded == nullptr) {
        result = earlyError(world, Msg::kNullArgument, longValue(0), false);
    } else if (length == nullptr) {
        result = earlyError(world, Msg::kBufferTooSmall, longValue(0), false);
    } else {
        // BUFFER_PROVIDED (the value 4) marks the caller's buffer.
        bool provided = (flags & BUFFER_PROVIDED) != 0;
        QorBuf out = {provided ? *length : 0, provided ? *encoded : nullptr};
        QorULong saved = world->encodingFlags;
        world->encodingFlags = flags;
        result = qorEncode(world, pdunum, value, &out);
        world->encodingFlags = saved;
        if (result == 0) {
            *encoded = out.value;
            *length = out.length;
        }
    }
    closeContext(world, &local, errMsg);
    return result;
}

int decode(QorGlobal *world, int *pdunum, unsigned char **encoded, QorLong *length, void **output,
           QorLong *outputLength, QorControlTable *ctl, QorULong flags, char *errMsg)
{
    QorGlobal local;
    if (int bad = openContext(&world, &local, ctl))
        return bad;
    qorLinkBer(world);
    int result;
    if (encoded == nullptr || length == nullptr || output == nullptr) {
        result = earlyError(world, Msg::kNullArgument, longValue(0), true);
    } else {
        if (outputLength != nullptr && (flags & BUFFER_PROVIDED) != 0) {
            world->decodingLength = *outputLength;
        } else {
            *output = nullptr;
            world->decodingLength = 0;
        }
        QorBuf in = {*length, *encoded};
        QorULong saved = world->decodingFlags;
        world->decodingFlags = flags;
        result = qorDecode(world, pdunum, &in, output);
        world->decodingFlags = saved;
        if (outputLength != nullptr)
            *outputLength = world->decodingLength;
        *encoded = in.value;
        *length = in.length;
    }
    closeContext(world, &local, errMsg);
    return result;
}

int freePDU(QorGlobal *world, int pdunum, void *value, QorControlTable *ctl)
{
    if (world != nullptr)
        return qorFreePDU(world, pdunum, value);
    QorGlobal local;
    memset(&local, 0, sizeof local);
    setContextDefaults(&local);
    local.ctlTable = ctl;
    return qorFreePDU(&local, pdunum, value);
}

} // extern "C"
