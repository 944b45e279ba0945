// Settings on the context: flag words with their normalising, the encoding
// rules and the feature bits that gate them, limits, and the allocator hooks.
#include <initializer_list>

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

// Compatibility flags of each release, by release number. A later release
// keeps fewer of the old behaviours.
constexpr QorULong kReleaseCompatFlags[] = {0, 0x280FF, 0x280FE, 0x28080, 0x28000, 0x20000};
constexpr int kReleaseCount = sizeof kReleaseCompatFlags / sizeof kReleaseCompatFlags[0];

// A bit of the control table's feature set. Bits lie in 32-bit words, and
// only the first `moreFlagsCount` of them count.
bool hasFeature(const QorGlobalPrivate *p, int bit)
{
    if (bit >= p->moreFlagsCount)
        return false;
    return ((p->moreFlags[bit / 32] >> (bit % 32)) & 1) != 0;
}

// Whether the control table was made with `rules`. Each code has the bits
// under which generated code for it may appear: a table made for DER or CER
// carries BER entries, and either PER variant the other's.
bool tableCarries(const QorGlobalPrivate *p, int rules)
{
    // No feature set to consult (a brief context, or a table that cleared
    // it): nothing is ruled out here.
    if (p == nullptr || p->moreFlags == nullptr)
        return true;
    auto any = [p](std::initializer_list<int> bits) {
        for (int bit : bits)
            if (hasFeature(p, bit))
                return true;
        return false;
    };
    switch (rules) {
    case QOR_BER:
        return any({0, 3, 7});
    case QOR_PER_ALIGNED:
    case QOR_PER_UNALIGNED:
        return any({1, 2, 10});
    case QOR_DER:
        return any({3, 7});
    case QOR_XER:
        return any({4, 5});
    case QOR_CXER:
        return any({5});
    case QOR_CER:
        return any({7});
    case QOR_EXER:
        return any({8});
    case QOR_OER:
        return any({12});
    default:
        return false;
    }
}

bool familyLinked(int family)
{
    const qor::DriverPair &pair = qor::g_drivers[family];
    return pair.encoder != nullptr || pair.decoder != nullptr;
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

int qorSetFlags(QorGlobal *world, QorULong flags)
{
    int result = qorSetEncodingFlags(world, flags);
    if (result == QOR_BAD_ARG)
        return result;
    // INDEFINITE means nothing to a decoder; the decoding word keeps it as asked.
    qorSetDecodingFlags(world, flags);
    return result;
}

QorLong qorGetFlags(QorGlobal *world)
{
    if (world == nullptr)
        return -1;
    return static_cast<QorLong>(world->encodingFlags | world->decodingFlags);
}

int qorSetEncodingRules(QorGlobal *world, int rules)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    int family = qor::familyOf(rules);
    if (family < 0)
        return QOR_UNKNOWN_RULES;
    // The code is kept even when refused, so that the application learns of
    // the missing rules again from the encode or decode it goes on to call.
    world->encRules = rules;
    if (!tableCarries(world->privateArea, rules) || !familyLinked(family))
        return QOR_RULES_NOT_LINKED;
    return 0;
}

int qorGetEncodingRules(QorGlobal *world) { return world != nullptr ? world->encRules : -1; }

int qorSetInternalFlags(QorGlobal *world, QorULong flags)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    world->internalFlags = flags;
    return 0;
}

QorLong qorGetInternalFlags(QorGlobal *world)
{
    return world != nullptr ? static_cast<QorLong>(world->internalFlags) : -1;
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

int qorSetRuntimeVersion(QorGlobal *world, int version)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    if (version < 0 || version >= kReleaseCount)
        return QOR_BAD_ARG;
    world->privateArea->compatFlags = kReleaseCompatFlags[version];
    return 0;
}

int qorGetRuntimeVersion(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    QorULong flags = world->privateArea->compatFlags;
    for (int version = 0; version < kReleaseCount; version++)
        if (kReleaseCompatFlags[version] == flags)
            return version;
    // Flags set bit by bit that match no release.
    return -2;
}

int qorSetConstructedNestingLimit(QorGlobal *world, int limit)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->constructedLimit = limit;
    return 0;
}

int qorGetConstructedNestingLimit(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return world->privateArea->constructedLimit;
}

int qorSetSeqSetNestingLimit(QorGlobal *world, int limit)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    world->privateArea->seqSetLimit = limit;
    return 0;
}

int qorGetSeqSetNestingLimit(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    return world->privateArea->seqSetLimit;
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

// These two don't test the context: they are for one known to be initialised.
int qorSetPresetDecFlags(QorGlobal *world, QorULong flags)
{
    world->presetDecFlags = static_cast<uint16_t>(flags);
    return 0;
}

QorULong qorGetPresetDecFlags(QorGlobal *world) { return world->presetDecFlags; }

void qorSetPaddingBits(QorGlobal *world, int padBits)
{
    if (world == nullptr || world->privateArea == nullptr)
        return;
    world->privateArea->padBits = static_cast<unsigned char>(padBits);
}

int qorPrivateSetMoreFlags(QorGlobal *world, int count, void *bits)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    // The init entry fixes the feature set once, for the context and its
    // duplicates; nothing called later can widen it.
    if (p->moreFlags != &p->moreFlagsInline)
        return 0;
    p->moreFlagsCount = count;
    p->moreFlags = static_cast<QorULong *>(bits);
    return 0;
}

int qorPrivateGetMoreFlags(QorGlobal *world, int *count, void **bits)
{
    if (world == nullptr || world->privateArea == nullptr)
        return -1;
    if (count != nullptr)
        *count = world->privateArea->moreFlagsCount;
    if (bits != nullptr)
        *bits = world->privateArea->moreFlags;
    return 0;
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
