// Settings on the context: flag words with their normalising, and the allocator hooks.
#include "frame/world.h"

namespace {

// Steps shared by the encoding and decoding flag setters.
QorULong normalised(QorULong flags)
{
    if ((flags & COMPRESS) != 0)
        flags |= IGNORE_DEFER_DECODING;
    if ((flags & STRICT_ENCODING_DECODING_RULES) != 0)
        flags &= ~QorULong{QOR_RELAXED};
    // Only TRAPPING turns the trap on; any other setting turns it off.
    if ((flags & TRAPPING) != 0)
        flags &= ~QorULong{NOTRAPPING};
    else
        flags |= NOTRAPPING;
    return flags;
}

} // namespace

extern "C" {

int qorSetEncodingFlags(QorGlobal *world, QorULong flags)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    int result = 0;
    if ((flags & INDEFINITE) != 0) {
        // This variant has no indefinite-length encoder; the rest still counts.
        flags &= ~QorULong{INDEFINITE};
        result = QOR_INDEFINITE_NOT_SUPPORTED;
    }
    world->encodingFlags = normalised(flags);
    return result;
}

int qorSetDecodingFlags(QorGlobal *world, QorULong flags)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    world->decodingFlags = normalised(flags);
    return 0;
}

QorLong qorGetEncodingFlags(QorGlobal *world)
{
    return world != nullptr ? static_cast<QorLong>(world->encodingFlags) : -1;
}

QorLong qorGetDecodingFlags(QorGlobal *world)
{
    return world != nullptr ? static_cast<QorLong>(world->decodingFlags) : -1;
}

int qorSetCompatibilityFlags(QorGlobal *world, QorULong flags)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->compatFlags = flags;
    return 0;
}

QorLong qorGetCompatibilityFlags(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return static_cast<QorLong>(world->privateArea->compatFlags);
}

int qorSetDecodingLength(QorGlobal *world, QorLong length)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    world->decodingLength = length;
    return 0;
}

QorLong qorGetDecodingLength(QorGlobal *world)
{
    return world != nullptr ? world->decodingLength : -1;
}

void qorSetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn mallocFn, QorFreeFn freeFn,
                                 QorReallocFn reallocFn)
{
    if (world == nullptr)
        return;
    world->userMalloc = mallocFn;
    world->userFree = freeFn;
    world->userRealloc = reallocFn;
}

void qorGetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn *mallocFn, QorFreeFn *freeFn,
                                 QorReallocFn *reallocFn)
{
    if (world == nullptr)
        return;
    if (mallocFn != nullptr)
        *mallocFn = world->userMalloc;
    if (freeFn != nullptr)
        *freeFn = world->userFree;
    if (reallocFn != nullptr)
        *reallocFn = world->userRealloc;
}

} // extern "C"
