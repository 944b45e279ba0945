// The debug hooks that generated entries call around each PDU: under the
// context's debug flags they print the value going in, the octets coming
// out, and the message of a failure. A sizing pass prints nothing.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

enum : QorULong {
    kShowDecodedValue = 0x4,
    kShowDecoderInput = 0x8,
    kShowEncoderOutput = 0x10,
    kShowEncoderInput = 0x20,
    kShowErrors = 0x40,
    kHexHeading = 0x80,
};

constexpr char kHeading[] = "#   Offset    Stream of Octets Written in Hexadecimal    Character Format\n";
constexpr char kRule[] = "#   ======    =======================================    ================\n";

using PrintPduFn = int (*)(QorGlobal *, int, void *);
using PrintHexFn = void (*)(QorGlobal *, const unsigned char *, QorLong);
using PrintXmlFn = void (*)(QorGlobal *, const unsigned char *, QorLong, int);

QorULong debugFlagsOf(const QorGlobal *world)
{
    return world->privateArea != nullptr ? world->privateArea->debugFlags : 0;
}

bool xmlRules(int rules)
{
    return rules == QOR_XER || rules == QOR_CXER || rules == QOR_EXER;
}

// A value through the print hook, in a call of its own inside this one;
// the operation the messages name comes back afterwards.
void printValue(QorGlobal *world, int pdunum, void *value)
{
    const QorGlobalPrivate *p = world->privateArea;
    if (world->ctlTable == nullptr || world->ctlTable->printEntry == nullptr || p->printPduHook == nullptr)
        return;
    const int operation = world->operation;
    reinterpret_cast<PrintPduFn>(p->printPduHook)(world, pdunum, value);
    world->operation = operation;
}

// Octets as the rules show them: XML as text, the rest in hexadecimal.
void printOctets(QorGlobal *world, const unsigned char *data, QorLong length)
{
    const QorGlobalPrivate *p = world->privateArea;
    static const unsigned char empty[1] = {0};
    if (length == 0) {
        data = empty;
        length = 1;
    }
    if (xmlRules(world->encRules) && (world->encodingFlags & COMPRESS) == 0) {
        if (p->printXmlHook != nullptr)
            reinterpret_cast<PrintXmlFn>(p->printXmlHook)(world, data, length, 0);
        printText(world, "\n");
        return;
    }
    const bool heading = (p->debugFlags & kHexHeading) != 0;
    if (heading) {
        printText(world, kHeading);
        printText(world, kRule);
    }
    if (p->printHexHook != nullptr)
        reinterpret_cast<PrintHexFn>(p->printHexHook)(world, data, length);
    if (heading)
        printText(world, kRule);
}

// The encoder's forward output so far, gathered into temporary memory:
// whole blocks, the partial last octet included.
unsigned char *gatherOutput(QorGlobal *world, QorLong *length)
{
    const QorGlobalPrivate *p = world->privateArea;
    if (world->userBuffer) {
        // Without the pre hook of this call there is no start to show from.
        const bool started = p->debugOutPos != nullptr;
        *length = started ? p->debugOutRoom - world->outRoom + (world->bitOffset != 0 ? 1 : 0) : 0;
        return p->debugOutPos;
    }
    const QorLong total = gatheredLength(world, world->outRoom) + (world->bitOffset != 0 ? 1 : 0);
    auto *copy = static_cast<unsigned char *>(_qor_dec_gettempmem(world, total > 0 ? total : 1));
    QorLong at = 0;
    for (QorMemBlockRecord *r = &world->blockQueue; r != nullptr && at < total; r = r->next)
        for (int i = 0; i < r->count && at < total; i++) {
            const QorLong step = total - at < QOR_BLOCK_SIZE ? total - at : QOR_BLOCK_SIZE;
            memcpy(copy + at, r->slot[i], static_cast<size_t>(step));
            at += step;
        }
    *length = total;
    return copy;
}

} // namespace

namespace qor {

void printErrorMessage(QorGlobal *world, bool encoding)
{
    if (world->errMsgTarget == nullptr)
        return;
    const QorULong lead = encoding ? kShowEncoderInput | 0x2 : kShowDecoderInput | 0x1;
    printText(world, (debugFlagsOf(world) & lead) != 0 ? "\n" : "");
    printText(world, encoding ? "The encoder error message:\n\n" : "The decoder error message:\n\n");
    printText(world, qorGetErrMsg(world));
}

} // namespace qor

extern "C" {

void _qor_db_e_pre(QorGlobal *world, int pdunum, void *value, QorLong, unsigned char *pos,
                   QorLong room)
{
    if (sizingOnly(world))
        return;
    QorGlobalPrivate *p = world->privateArea;
    p->debugOutPos = pos;
    p->debugOutRoom = room;
    if ((p->debugFlags & kShowEncoderInput) != 0 && world->ctlTable->printEntry != nullptr) {
        printText(world, "The input to the encoder:\n\n");
        printValue(world, pdunum, value);
    }
}

void _qor_db_e_post(QorGlobal *world, int error, unsigned char *value, QorLong length)
{
    if (sizingOnly(world))
        return;
    const QorULong flags = debugFlagsOf(world);
    if (error != 0) {
        if ((flags & kShowErrors) != 0)
            printErrorMessage(world, true);
        return;
    }
    if ((flags & kShowEncoderOutput) == 0)
        return;
    const int rules = world->encRules;
    const bool inArguments = rules == QOR_BER || rules == QOR_DER || rules == QOR_CER;
    void *gathered = nullptr;
    if (!inArguments) {
        value = gatherOutput(world, &length);
        if (!world->userBuffer)
            gathered = value;
    }
    printText(world, (flags & (kShowEncoderInput | 0x2)) != 0 ? "\nThe encoder output:\n\n"
                                                              : "The encoder output:\n\n");
    printOctets(world, value, length);
    if (gathered != nullptr)
        _qor_dec_freetempmem(world, gathered);
}

void _qor_db_d_pre(QorGlobal *world, unsigned char *data, QorLong length)
{
    if ((debugFlagsOf(world) & kShowDecoderInput) == 0)
        return;
    printText(world, "The input to the decoder:\n\n");
    printOctets(world, data, length);
}

void _qor_db_d_post(QorGlobal *world, int error, int pdunum, void **output)
{
    const QorULong flags = debugFlagsOf(world);
    if (error != 0) {
        if ((flags & kShowErrors) != 0)
            printErrorMessage(world, false);
        return;
    }
    if ((flags & kShowDecodedValue) == 0 || world->ctlTable->printEntry == nullptr || output == nullptr)
        return;
    printText(world, (flags & (kShowDecoderInput | 0x1)) != 0 ? "\nThe decoder output:\n\n"
                                                              : "The decoder output:\n\n");
    printValue(world, pdunum, *output);
}

} // extern "C"
