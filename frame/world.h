// The private half of the context, and the process-wide state of the library.
#pragma once

#include "frame/export.h"
#include "frame/record_stack.h"

#include <cstdarg>

// A PER open-type length reserved in the output, to be filled in when its
// contents are written. `written` is the output's octet count at the
// reserved octet (`encLength` in sizing mode); `next` the octet after it,
// which may be the first of the next block; `block` and `slot` the block
// that holds the reserved octet.
struct QorFixup {
    unsigned char *pos;
    unsigned char *next;
    QorLong room;
    QorLong written;
    QorMemBlockRecord *block;
    int slot;
    int bitOffset;
};

// The outer input while the decoder reads the contents of an open type.
struct QorOpenTypeView {
    unsigned char *inPos;
    QorLong inRoom;
    unsigned char *joined; // the fragments' joined copy, in temporary memory
    QorULong savedOffset;  // `bitOffset` with the marks below
};
constexpr QorULong kViewOfOneOctet = 0x4000;  // the contents were one octet
constexpr QorULong kViewOffBoundary = 0x8000; // they began inside an octet

// The information object sets of the control table; `setTable` is the
// context's own copy of the changeable sets' entries.
struct QorObjectSets {
    QorLong setCount;
    QorInfoObjectNode **fixedSets;
    QorLong extensibleCount;
    QorObjectSetEntry *setTable;
    QorUniqueFn uniqueFn;
};

using QorVprintFn = int (*)(QorGlobal *world, const char *format, va_list args);

// Allocated by qorinit with `mallocp`; copied byte for byte by qorDupWorld,
// which re-points the fields that point into the record itself.
struct QorGlobalPrivate {
    QorLong bytesRead;
    QorVprintFn userVprintFn;
    void *(*privMalloc)(size_t size);
    void (*privFree)(void *p);
    QorLong tempBufferSize;
    unsigned char *tempBuffer;
    QorMemBlockRecord encStackBase;
    QorMemBlockRecord *encStackTop; // points into this record
    unsigned char padBits;
    uint32_t perTimeMemo; // PER TIME: an interval's time difference, lent to its second end
    QorObjectSets infoObjectSets;
    QorXapiEntries *xapiEntries;
    // The XML prolog's settings; the caller's texts, kept, not copied.
    const char *xmlStylesheet;
    const char *xmlDtdName;
    const char *xmlDtdId;
    uint16_t xmlDtdKind; // 0 none, 1 SYSTEM, otherwise PUBLIC
    void *namespaceCopy;
    QorLong namespaceCount;
    void *exerTables;
    int moreFlagsCount;
    QorULong moreFlagsInline;
    QorULong *moreFlags; // the inline word until the init entry replaces it
    QorULong compatFlags;
    int constructedLimit;
    int constructedDepth;
    int seqSetLimit;
    int seqSetDepth;
    qor::RecordStack<QorFixup> fixups;
    qor::RecordStack<QorOpenTypeView> openTypes;
    unsigned char lastDecodedFlag;
    void *userFieldCopy;
    void *userFieldCompare;
    QorULong debugFlags;
    unsigned char *debugOutPos; // the output as the encode started, for the debug hooks
    QorLong debugOutRoom;
    void *printPduHook;
    void *printHexHook;
    void *printXmlHook;
    void *activeMemoryHandle;
    QorMallocFn savedMalloc;
    QorReallocFn savedRealloc;
    QorFreeFn savedFree;
    void *cppPointer;
    char *extErrMsg; // a message longer than errMsgBuffer, from privMalloc
    const unsigned char *xmlInputStart; // start of the XML text being decoded, for locations
    void *libraryHandle;                // the control table's shared library (qorWinit)
    char *traceTempName;
    bool traceFileOpen; // the print stream is a trace file; the one before it is saved
};

namespace qor {

using EncoderDriver = int (*)(QorGlobal *world, int pdunum, void *value, QorBuf *output,
                              QorULong flags);
using DecoderDriver = int (*)(QorGlobal *world, int *pdunum, QorBuf *input, void **output,
                              QorULong flags);

// The rule drivers, process-wide, in this order; a null word: not linked.
enum Family { kBerFamily, kOerFamily, kPerFamily, kXerFamily, kExerFamily, kFamilyCount };
struct DriverPair {
    EncoderDriver encoder;
    DecoderDriver decoder;
};
extern DriverPair g_drivers[kFamilyCount];

// The record that guards the process-wide trap list.
void *syncObjectOfProcess();

// Family of an encoding rules code, or -1 for an unknown code (ECN included).
int familyOf(int rules);
// Short name of an encoding rules code for messages.
const char *ruleName(int rules);

// Default allocator thunks over the process-wide allocator.
void *processMalloc(size_t size);
void processFree(void *p);
void setContextDefaults(QorGlobal *world);
// Frees what hangs off the private area, then the area itself.
void releasePrivate(QorGlobal *world);

// The context's allocator; its hooks may have been cleared by the application.
inline void *userAllocate(QorGlobal *world, size_t size)
{
    return world->userMalloc != nullptr ? world->userMalloc(world, size) : nullptr;
}

inline void userRelease(QorGlobal *world, void *p)
{
    if (world->userFree != nullptr)
        world->userFree(world, p);
}

// Whether the running decode accepts what the rules only tolerate; DER never does.
inline bool relaxed(const QorGlobal *world)
{
    return (world->ruleBits & QOR_RULE_RELAXED) != 0 && world->encRules != QOR_DER;
}

inline QorGlobal *outermost(QorGlobal *world)
{
    while (world->parentWorld)
        world = world->parentWorld;
    return world;
}

} // namespace qor
