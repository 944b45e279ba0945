// Settings that hand the library the application's functions and texts: print
// and open-type hooks, the XML prolog, a wrapper's word; the reader of retained
// extension additions; and the calls kept for older applications, which have
// fixed results in this variant.
#include "frame/world.h"

extern "C" {

int qorSetUserPrint(QorGlobal *world, void *stream, QorUserPrintFn fn)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    world->userPrintFn = fn;
    // A null stream keeps the current one: the stream, not the function, is
    // what silences the library.
    if (stream != nullptr)
        world->printStream = stream;
    return 0;
}

int qorGetUserPrint(QorGlobal *world, void **stream, QorUserPrintFn *fn)
{
    if (world == nullptr)
        return -1;
    if (stream != nullptr)
        *stream = world->printStream;
    if (fn != nullptr)
        *fn = world->userPrintFn;
    return 0;
}

int qorSetUserVprint(QorGlobal *world, void *stream, QorUserVprintFn fn)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->userVprintFn = fn;
    if (stream != nullptr)
        world->printStream = stream;
    return 0;
}

int qorGetUserVprint(QorGlobal *world, void **stream, QorUserVprintFn *fn)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    if (stream != nullptr)
        *stream = world->printStream;
    if (fn != nullptr)
        *fn = world->privateArea->userVprintFn;
    return 0;
}

int qorSetUserFieldCpyCmp(QorGlobal *world, QorUserFieldCopyFn copyFn,
                          QorUserFieldCompareFn compareFn)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->userFieldCopy = reinterpret_cast<void *>(copyFn);
    world->privateArea->userFieldCompare = reinterpret_cast<void *>(compareFn);
    return 0;
}

int qorGetUserFieldCpyCmp(QorGlobal *world, QorUserFieldCopyFn *copyFn,
                          QorUserFieldCompareFn *compareFn)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    if (copyFn != nullptr)
        *copyFn = reinterpret_cast<QorUserFieldCopyFn>(world->privateArea->userFieldCopy);
    if (compareFn != nullptr)
        *compareFn = reinterpret_cast<QorUserFieldCompareFn>(world->privateArea->userFieldCompare);
    return 0;
}

// The context itself isn't tested, as for the preset decoding flags; a context
// whose initialisation failed has no private area, and keeps no word.
int qorSetCppPointer(QorGlobal *world, void *pointer)
{
    if (world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->cppPointer = pointer;
    return 0;
}

void *qorGetCppPointer(QorGlobal *world)
{
    return world->privateArea != nullptr ? world->privateArea->cppPointer : nullptr;
}

int qorSetXmlStylesheet(QorGlobal *world, const char *href)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->xmlStylesheet = href;
    return 0;
}

// The DOCTYPE line: `<!DOCTYPE name SYSTEM "id">`, or PUBLIC.
int qorSetXmlDTD(QorGlobal *world, const char *name, const char *id, int kind)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    if (kind != QOR_DTD_NONE && (name == nullptr || id == nullptr))
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    p->xmlDtdKind = static_cast<uint16_t>(kind);
    p->xmlDtdName = name;
    p->xmlDtdId = id;
    return 0;
}

int qorGetExtensionAddition(QorGlobal *world, const QorExtensionAddition *extensions,
                            QorULong index, QorBuf *value)
{
    if (value == nullptr)
        return QOR_BAD_ARG;
    *value = QorBuf{0, nullptr};
    if (world == nullptr)
        return QOR_BAD_ARG;
    // The decoder ends each chain with an empty record, which is no addition:
    // an addition always has octets.
    const QorExtensionAddition *record = extensions;
    for (; record != nullptr && record->value != nullptr && index > 0; index--)
        record = record->next;
    if (record == nullptr || record->value == nullptr)
        return QOR_BAD_ARG;
    *value = QorBuf{record->length, record->value};
    return 0;
}

// Marked objects aren't part of this variant; the names stay for older
// applications, and getting and unmarking an object share one entry point.
int qorMarkObj(QorGlobal *, void *) { return -1; }
int qorGetObj(QorGlobal *, void *) { return -1; }
int qorUnmarkObj(QorGlobal *world, void *handle) __attribute__((alias("qorGetObj")));
int qorTestObj(QorGlobal *, void *) { return 0; }
int qorCallerIsDecoder(QorGlobal *) { return -1; }
void qorSetTimeout(QorGlobal *, QorLong) {}
int qorGetFormatterBufferSize(QorGlobal *) { return 0; }
int qorSetFormatterBufferSize(QorGlobal *, QorULong) { return QOR_NOT_SUPPORTED; }

// No compression in this variant. A setter and its getter are one function:
// it looks at its arguments only to tell an empty call, and all of them are
// pointers, so the getter's name can stand for the setter's code.
int qorSetCompressDecompressFunctions(QorGlobal *world, QorCompressFn compressFn,
                                      QorDecompressFn decompressFn)
{
    bool empty = world == nullptr && compressFn == nullptr && decompressFn == nullptr;
    return empty ? QOR_BAD_ARG : QOR_NOT_SUPPORTED;
}

int qorSetCompressDecompressInfo(QorGlobal *world, void *info)
{
    return world == nullptr && info == nullptr ? QOR_BAD_ARG : QOR_NOT_SUPPORTED;
}

int qorSetCompSizeEstimator(QorGlobal *world, QorCompSizeEstimatorFn estimator)
{
    return world == nullptr && estimator == nullptr ? QOR_BAD_ARG : QOR_NOT_SUPPORTED;
}

#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wattribute-alias" // the types differ on purpose, see above
#endif
int qorGetCompressDecompressFunctions(QorGlobal *world, QorCompressFn *compressFn,
                                      QorDecompressFn *decompressFn)
    __attribute__((alias("qorSetCompressDecompressFunctions")));
int qorGetCompressDecompressInfo(QorGlobal *world, void **info)
    __attribute__((alias("qorSetCompressDecompressInfo")));
int qorGetCompSizeEstimator(QorGlobal *world, QorCompSizeEstimatorFn *estimator)
    __attribute__((alias("qorSetCompSizeEstimator")));
#pragma GCC diagnostic pop

} // extern "C"
