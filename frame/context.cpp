// Context lifecycle: qorinit, qorterm, qorDupWorld, the brief forms, the links.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "frame/world.h"
#include "harness/trace.h"
#include "objects/info_objects.h"

extern "C" {
int _qorSetGlobalUserVar = 1;
const unsigned char qorEncoderDecoderType = 1;
void _qor_run_KROD_on_X86_64_LINUX(void) {}
}

namespace qor {

DriverPair g_drivers[kFamilyCount];

namespace {

constexpr QorULong kDefaultFlags = NOTRAPPING;
constexpr QorULong kInitialFeatureBits = 0x0F;
constexpr int kDefaultConstructedLimit = 10;
constexpr int kDefaultSeqSetLimit = 64;
constexpr QorULong kDefaultPrintChop = 35;
constexpr uint16_t kPresetAdvanceInput = QOR_PRESET_ADVANCE_INPUT;

// The process-wide print function is fprintf itself: an application may
// compare the context's function with it. Only the stream's pointer type
// differs, which the calling convention does not see.
const QorPrintFn kProcessPrint = reinterpret_cast<QorPrintFn>(fprintf);

void *userMallocThunk(QorGlobal *, size_t size) { return processMalloc(size); }
void userFreeThunk(QorGlobal *, void *p) { processFree(p); }
void *userReallocThunk(QorGlobal *, void *p, size_t size) { return realloc(p, size); }

void setUpFeatureBits(QorGlobalPrivate *p)
{
    p->moreFlagsCount = 4;
    p->moreFlagsInline = kInitialFeatureBits;
    p->moreFlags = &p->moreFlagsInline;
}

QorGlobalPrivate *newPrivate(QorGlobal *world, void *(*alloc)(size_t))
{
    auto *p = static_cast<QorGlobalPrivate *>(alloc(sizeof(QorGlobalPrivate)));
    if (p == nullptr)
        return nullptr;
    memset(p, 0, sizeof *p);
    p->privMalloc = world->mallocp;
    p->privFree = world->freep;
    p->encStackTop = &p->encStackBase;
    world->privateArea = p;
    return p;
}

// Versions a table must carry; the XER and EXER words are tested only when
// the init entry registered a second half.
int checkVersions(const QorControlTable *ctl, const QorXapiEntries *xapi, bool testExer)
{
    if (ctl->berVersion != QOR_BER_VERSION)
        return QOR_BAD_VERSION;
    if (ctl->perVersion != 0 && ctl->perVersion != QOR_PER_VERSION)
        return QOR_BAD_VERSION;
    if (xapi != nullptr) {
        if (xapi->xerVersion != 0 && xapi->xerVersion != QOR_XER_VERSION)
            return QOR_BAD_VERSION;
        if (testExer && xapi->exerVersion != QOR_EXER_VERSION)
            return QOR_BAD_VERSION;
    }
    return 0;
}

// Undoes a half-made context: the private area goes, the table is forgotten.
int failInit(QorGlobal *world, int result)
{
    releasePrivate(world);
    world->ctlTable = nullptr;
    return result;
}

} // namespace

void *processMalloc(size_t size) { return malloc(size); }
void processFree(void *p) { free(p); }

void setContextDefaults(QorGlobal *world)
{
    world->mallocp = processMalloc;
    world->freep = processFree;
    world->printFn = kProcessPrint;
    world->printStream = stdout;
    world->printChop = kDefaultPrintChop;
    world->userMalloc = userMallocThunk;
    world->userFree = userFreeThunk;
    world->userRealloc = userReallocThunk;
    world->encRules = QOR_BER;
    world->encodingFlags = kDefaultFlags;
    world->decodingFlags = kDefaultFlags;
    world->syncObject = syncObjectOfProcess();
}

void releasePrivate(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    if (p == nullptr)
        return;
    releaseObjectSets(p);
    if (p->namespaceCopy != nullptr)
        p->privFree(p->namespaceCopy);
    if (p->extErrMsg != nullptr)
        p->privFree(p->extErrMsg);
    p->privFree(p);
    world->privateArea = nullptr;
}

} // namespace qor

using namespace qor;

extern "C" {

int qorinit(QorGlobal *world, QorControlTable *ctl)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    void *keptUserVar = world->userVar;
    memset(world, 0, sizeof *world);
    if (_qorSetGlobalUserVar == 0)
        world->userVar = keptUserVar;
    setContextDefaults(world);
    world->ctlTable = ctl;

    QorGlobalPrivate *p = newPrivate(world, world->mallocp);
    if (p == nullptr) {
        world->ctlTable = nullptr;
        return QOR_OUT_OF_MEMORY;
    }
    setUpFeatureBits(p);

    int result = 0;
    if (ctl == nullptr) {
        result = QOR_NULL_TABLE;
    } else if (ctl->initEntry == nullptr) {
        return failInit(world, QOR_NULL_FUNCTION);
    } else if (checkVersions(ctl, nullptr, false) != 0) {
        return failInit(world, QOR_BAD_VERSION);
    } else {
        // The init entry runs with no table in force, so that nothing it calls
        // can start a real encode or decode.
        world->ctlTable = nullptr;
        ctl->initEntry(world);
        world->ctlTable = ctl;
        world->presetDecFlags |= kPresetAdvanceInput;
        if (checkVersions(ctl, p->xapiEntries, false) != 0)
            return failInit(world, QOR_BAD_VERSION);
        world->savedPrintFn = world->printFn;
    }
    p->constructedLimit = kDefaultConstructedLimit;
    p->seqSetLimit = kDefaultSeqSetLimit;
    if (result != 0)
        return failInit(world, result);
    return 0;
}

void qorbriefterm(QorGlobal *world)
{
    if (world == nullptr)
        return;
    endTrace(world);
    releasePrivate(world);
    if (world->traceFile != nullptr) {
        fclose(static_cast<FILE *>(world->traceFile));
        world->traceFile = nullptr;
    }
    if (world->traceFileName != nullptr) {
        unlink(world->traceFileName);
        free(world->traceFileName);
        world->traceFileName = nullptr;
    }
    if (world->savedPrintFn != nullptr && world->savedPrintFn != world->printFn)
        world->printFn = world->savedPrintFn;
    world->ctlTable = nullptr;
}

void qorterm(QorGlobal *world)
{
    if (world == nullptr || world->ctlTable == nullptr)
        return;
    qorbriefterm(world);
}

int qorbriefinit(QorGlobal *world)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    memset(world, 0, sizeof *world);
    setContextDefaults(world);
    if (newPrivate(world, world->mallocp) == nullptr)
        return QOR_OUT_OF_MEMORY;
    return 0;
}

int qorDupWorld(QorGlobal *source, QorGlobal *target)
{
    if (target == nullptr || source == nullptr)
        return QOR_BAD_ARG;
    memset(target, 0, sizeof *target);
    target->userVar = source->userVar;
    setContextDefaults(target);
    target->printChop = source->printChop;

    const QorGlobalPrivate *from = source->privateArea;
    if (from == nullptr)
        return QOR_NULL_TABLE;
    auto *p = static_cast<QorGlobalPrivate *>(from->privMalloc(sizeof(QorGlobalPrivate)));
    if (p == nullptr)
        return QOR_OUT_OF_MEMORY;
    memcpy(p, from, sizeof *p);
    target->privateArea = p;
    // Pointers into the source's own record must follow the copy, or the
    // duplicate reads freed memory once the source ends.
    p->extErrMsg = nullptr;
    p->namespaceCopy = nullptr;
    p->libraryHandle = nullptr;
    p->traceTempName = nullptr;
    p->traceFileOpen = false;
    p->infoObjectSets.setTable = nullptr; // until its own copy is made below
    if (from->moreFlags == &from->moreFlagsInline)
        p->moreFlags = &p->moreFlagsInline;
    p->encStackTop = &p->encStackBase;
    p->fixups.reset();
    p->openTypes.reset();
    // A caller's temporary buffer is scratch of one thread's calls.
    p->tempBufferSize = 0;
    p->tempBuffer = nullptr;

    target->ctlTable = source->ctlTable;
    if (from->namespaceCopy != nullptr && from->namespaceCount > 0) {
        size_t bytes = static_cast<size_t>(from->namespaceCount) * 3 * sizeof(void *);
        p->namespaceCopy = p->privMalloc(bytes);
        if (p->namespaceCopy == nullptr)
            return failInit(target, QOR_OUT_OF_MEMORY);
        memcpy(p->namespaceCopy, from->namespaceCopy, bytes);
    }
    if (copyObjectSets(p, from) != 0)
        return failInit(target, QOR_OUT_OF_MEMORY);
    target->dupMark = 1;

    const QorControlTable *ctl = target->ctlTable;
    if (ctl == nullptr)
        return failInit(target, QOR_NULL_TABLE);
    if (ctl->initEntry == nullptr)
        return failInit(target, QOR_NULL_FUNCTION);
    if (checkVersions(ctl, p->xapiEntries, true) != 0)
        return failInit(target, QOR_BAD_VERSION);

    target->ruleBits |= source->ruleBits & QOR_RULE_DER_ALLOWED;
    target->encRules = source->encRules;
    target->ctlWord = source->ctlWord;
    qorSetEncodingFlags(target, source->encodingFlags);
    qorSetDecodingFlags(target, source->decodingFlags);
    target->internalFlags = source->internalFlags;
    qorSetCompatibilityFlags(target, from->compatFlags);
    target->presetDecFlags = source->presetDecFlags;
    target->printFn = source->printFn;
    target->savedPrintFn = source->savedPrintFn;
    target->printStream = untracedStream(source); // a trace file stays its context's
    target->printFlags = source->printFlags;
    target->printFlags2 = source->printFlags2;
    target->userPrintFn = source->userPrintFn;
    target->syncObject = source->syncObject;
    target->userMalloc = source->userMalloc;
    target->userFree = source->userFree;
    target->userRealloc = source->userRealloc;
    if (p->activeMemoryHandle != nullptr) {
        // A memory handle serves one context: the duplicate gets the allocator
        // the handle replaced.
        qorSetUserMallocFreeRealloc(target, p->savedMalloc, p->savedFree, p->savedRealloc);
        p->activeMemoryHandle = nullptr;
    }
    return 0;
}

int qorGetQorGlobalSize(void) { return static_cast<int>(sizeof(QorGlobal)); }

int qorLoadMemoryManager(QorGlobal *, int, const char *) { return 4; }

} // extern "C"
