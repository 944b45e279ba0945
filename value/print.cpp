// qorPrintPDU with its frame around the generated print entry; the older
// printPDU; and printing into a buffer, through a sink that stands in for the
// user print function for the length of the call.
#include <cstdio>
#include <cstring>

#include "frame/call.h"
#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

constexpr QorULong kPrintingOpenType = 0x1;
constexpr uint16_t kObjectInterface = 0x4;

// A table made without print code is no error: the application learns how
// to get output instead.
constexpr char kNoPrintEntry[] =
    "\n\n\nRemove -nodebug ASN.1 compiler option and/or\nspecify -DQORPRINT when compiling the "
    "generated code file in order\nto have %s produce output, and/or\nspecify -DQORDEBUG=2 to "
    "have %s return an error message.\n\n\n";

struct PrintCall {
    QorValueEntry entry;
    int pdunum;
    void *value;
    QorULong outerOpenType;
    bool insideCall; // a print from a debug hook: the outer call owns temporary memory
};

// Display strings take temporary memory, which goes when the print ends,
// unless it lies in the caller's temporary buffer.
void releasePrintTemp(QorGlobal *world)
{
    const QorGlobalPrivate *p = world->privateArea;
    if (p != nullptr && p->tempBufferSize == 0)
        releaseTemp(world);
}

int printInFrame(QorGlobal *world, void *data)
{
    auto *call = static_cast<PrintCall *>(data);
    int result = call->entry(world, call->pdunum, call->value);
    if (!call->insideCall)
        releasePrintTemp(world);
    return result;
}

void unwindPrint(QorGlobal *world, void *data)
{
    auto *call = static_cast<PrintCall *>(data);
    if (!call->insideCall)
        releasePrintTemp(world);
    // A nested open type that failed had no chance to clear its flag.
    world->internalFlags = (world->internalFlags & ~kPrintingOpenType) | call->outerOpenType;
}

constexpr CallSteps kPrintCall = {printInFrame, unwindPrint};

// Failures below leave through the call frame with their return code.
int runPrintEntry(QorGlobal *world, QorValueEntry entry, int pdunum, void *value)
{
    const bool trapping = ((world->encodingFlags | world->decodingFlags) & NOTRAPPING) == 0;
    PrintCall call = {entry, pdunum, value, world->internalFlags & kPrintingOpenType,
                      world->jumpFrame != nullptr};
    // Messages read as the decoder's, which is how the values came about.
    world->operation = QOR_OP_DECODE;
    world->printIndent = 0;
    world->printReset = 0;
    return runCall(world, trapping, kPrintCall, &call);
}

// Stands in for the user print function while a value is printed into a
// buffer. Without a position it counts; a piece that does not fit fills the
// buffer up to its last octet, which ends the text, and marks the failure
// in lastError.
int bufferSink(QorGlobal *world, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int n = 0;
    if (world->printSinkPos == nullptr) {
        n = vsnprintf(nullptr, 0, format, args);
        if (n > 0)
            world->printSinkRoom += static_cast<QorULong>(n);
    } else if (world->printSinkRoom == 0) {
        world->lastError = QOR_BUFFER_TOO_SMALL;
    } else {
        int written = vsnprintf(reinterpret_cast<char *>(world->printSinkPos), world->printSinkRoom,
                                format, args);
        // Compared unsigned, a failure of the formatter counts as too long.
        if (static_cast<QorULong>(written) < world->printSinkRoom) {
            world->printSinkPos += written;
            world->printSinkRoom -= static_cast<QorULong>(written);
            n = written;
        } else {
            world->printSinkPos += world->printSinkRoom;
            world->printSinkRoom = 0;
            world->printSinkPos[-1] = '\0';
            world->lastError = QOR_BUFFER_TOO_SMALL;
        }
    }
    va_end(args);
    return n;
}

int printInto(QorGlobal *world, int pdunum, void *value, unsigned char *buffer, QorLong length)
{
    world->printSinkPos = buffer;
    world->printSinkRoom = static_cast<QorULong>(length);
    // Text that the route silences still leaves a string behind.
    buffer[0] = '\0';
    int result = qorPrintPDU(world, pdunum, value);
    return world->lastError != 0 ? world->lastError : result;
}

int printToBuffer(QorGlobal *world, int pdunum, void *value, QorBuf *buffer)
{
    if (buffer->length != 0 && buffer->value != nullptr)
        return printInto(world, pdunum, value, buffer->value, buffer->length);

    world->printSinkPos = nullptr;
    world->printSinkRoom = 0;
    int result = qorPrintPDU(world, pdunum, value);
    if (result != 0)
        return result;
    uint64_t size = uint64_t{world->printSinkRoom} + 1;
    if (size > INT32_MAX)
        return QOR_OUT_OF_MEMORY;
    // A length of 1 without a buffer asks for the size alone.
    if (buffer->length == 1) {
        buffer->length = static_cast<QorLong>(size);
        return 0;
    }
    auto *text = static_cast<unsigned char *>(qorGetMemory(world, static_cast<QorLong>(size)));
    if (text == nullptr)
        return QOR_OUT_OF_MEMORY;
    result = printInto(world, pdunum, value, text, static_cast<QorLong>(size));
    // A caller frees only after success, or after 1 (the text came out
    // longer, and stands cut and zero-terminated); any other failure keeps
    // nothing.
    if (result != 0 && result != QOR_BUFFER_TOO_SMALL) {
        qorFreeMemory(world, text);
        buffer->value = nullptr;
        buffer->length = 0;
        return result;
    }
    buffer->value = text;
    buffer->length = static_cast<QorLong>(size);
    return result;
}

} // namespace

extern "C" {

int qorPrintPDU(QorGlobal *world, int pdunum, void *value)
{
    if (world == nullptr || value == nullptr)
        return QOR_BAD_ARG;
    const QorControlTable *ctl = world->ctlTable;
    if (ctl == nullptr)
        return world->lastError = QOR_NULL_TABLE;
    if (ctl->berVersion != QOR_BER_VERSION)
        return world->lastError = QOR_BAD_VERSION;
    QorValueEntry entry = ctl->printEntry;
    if (entry == nullptr) {
        bool objects = (world->presetDecFlags & kObjectInterface) != 0;
        qorPrint(world, kNoPrintEntry, objects ? "ASN1Handle::print()" : "qorPrintPDU()",
                 objects ? "QorControl::getErrorMsg()" : "qorGetErrMsg()");
        return 0;
    }
    if (pdunum < 1) {
        // A nested open type: it runs in the outer frame, so that a failure
        // below ends the whole print.
        if ((world->internalFlags & kPrintingOpenType) == 0)
            return QOR_PDU_RANGE;
        return entry(world, pdunum, value);
    }
    return runPrintEntry(world, entry, pdunum, value);
}

int printPDU(QorGlobal *world, int pdunum, void *value, QorControlTable *ctl)
{
    if (world != nullptr)
        return qorPrintPDU(world, pdunum, value);
    // A context of the call's own, with the print settings of a new one and
    // a private area on the stack, so that display strings have their
    // temporary memory.
    QorGlobal local;
    QorGlobalPrivate localPrivate;
    memset(&local, 0, sizeof local);
    memset(&localPrivate, 0, sizeof localPrivate);
    setContextDefaults(&local);
    localPrivate.privMalloc = local.mallocp;
    localPrivate.privFree = local.freep;
    localPrivate.encStackTop = &localPrivate.encStackBase;
    local.privateArea = &localPrivate;
    local.ctlTable = ctl;
    int result = qorPrintPDU(&local, pdunum, value);
    free_ext_errMsg(&local);
    return result;
}

int qorPrintPDUToBuffer(QorGlobal *world, int pdunum, void *value, QorBuf *buffer)
{
    if (world == nullptr || buffer == nullptr || value == nullptr || pdunum < 1 ||
        buffer->length < 0)
        return QOR_BAD_ARG;
    // The sink takes the place of the user's functions for this call only.
    QorGlobalPrivate *p = world->privateArea;
    QorUserPrintFn savedPrint = world->userPrintFn;
    QorVprintFn savedVprint = p != nullptr ? p->userVprintFn : nullptr;
    world->userPrintFn = bufferSink;
    if (p != nullptr)
        p->userVprintFn = nullptr;
    world->lastError = 0;
    int result = printToBuffer(world, pdunum, value, buffer);
    world->userPrintFn = savedPrint;
    if (p != nullptr)
        p->userVprintFn = savedVprint;
    world->printSinkPos = nullptr;
    world->printSinkRoom = 0;
    return result;
}

QorLong qorDeterminePDUBufferLength(QorGlobal *world, int pdunum, void *value)
{
    QorBuf size = {1, nullptr};
    return qorPrintPDUToBuffer(world, pdunum, value, &size) == 0 ? size.length : 0;
}

} // extern "C"
