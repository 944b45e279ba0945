// Arrays of a fragmented SEQUENCE OF or SET OF: generated code calls these
// before it decodes each part's items. Until the last part the array lives
// in temporary memory; then it moves, whole, to decoder memory.
//
// Temporary memory is freed in stack order, so an array that must move to a
// bigger piece can't give the old one back at once. Each piece therefore
// starts with a hidden record of its capacity and of the array's first
// piece: growth doubles, so copies cost little, and freeing the first piece
// at the end gives back all of them.
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

struct GrowthRecord {
    uint64_t capacity; // octets of array behind the record
    void *first;       // the array's first piece
};

constexpr uint64_t kMaxPiece = INT32_MAX - 64 - sizeof(GrowthRecord);

inline GrowthRecord *recordOf(void *array)
{
    return static_cast<GrowthRecord *>(array) - 1;
}

void *tempPiece(QorGlobal *world, uint64_t capacity, void *first)
{
    auto *record = static_cast<GrowthRecord *>(
        _qor_dec_gettempmem(world, static_cast<QorLong>(sizeof(GrowthRecord) + capacity)));
    raiseIf(world, record == nullptr, Msg::kOutOfMemory, static_cast<QorLong>(capacity));
    record->capacity = capacity;
    record->first = first != nullptr ? first : record;
    return record + 1;
}

// A part that isn't the last: the array holds `size` octets from now on,
// `kept` of them already decoded.
void grow(QorGlobal *world, void **array, uint64_t size, uint64_t kept, bool first)
{
    raiseIf(world, size > kMaxPiece, Msg::kOutOfMemory, static_cast<QorLong>(size));
    if (first) {
        *array = tempPiece(world, size, nullptr);
        return;
    }
    GrowthRecord *record = recordOf(*array);
    if (size <= record->capacity)
        return;
    uint64_t capacity = record->capacity * 2;
    if (capacity < size)
        capacity = size;
    if (capacity > kMaxPiece)
        capacity = size;
    void *bigger = tempPiece(world, capacity, record->first);
    memcpy(bigger, *array, kept);
    *array = bigger;
}

// The last part: the array moves to decoder memory of `size` octets.
void settle(QorGlobal *world, void **array, uint64_t size, uint64_t kept, bool first)
{
    raiseIf(world, size > kMaxPiece, Msg::kOutOfMemory, static_cast<QorLong>(size));
    void *final = _qor_dec_getmem(world, static_cast<QorLong>(size));
    if (!first) {
        GrowthRecord *record = recordOf(*array);
        memcpy(final, *array, kept);
        _qor_dec_freetempmem(world, record->first);
    }
    *array = final;
}

void fragment(QorGlobal *world, void **array, QorULong newBytes, QorULong oldBytes,
              uint64_t headerSize, bool done)
{
    raiseIf(world, newBytes < oldBytes, Msg::kImpossible, static_cast<QorLong>(newBytes));
    // The first part has nothing before it: `*array` is no piece of ours yet.
    const bool first = oldBytes == 0;
    const uint64_t size = headerSize + newBytes;
    const uint64_t kept = headerSize + oldBytes;
    if (done)
        settle(world, array, size, kept, first);
    else
        grow(world, array, size, kept, first);
}

} // namespace

extern "C" {

void _qor_pdec_array_frg(QorGlobal *world, void **array, QorULong newBytes, QorULong oldBytes,
                         QorULong headerSize, unsigned char *done)
{
    fragment(world, array, newBytes, oldBytes, headerSize, *done != 0);
}

void _qor_pdec_unbnd_frg(QorGlobal *world, void **array, QorULong newBytes, QorULong oldBytes,
                         unsigned char *done)
{
    if (*done && newBytes == 0)
        return;
    fragment(world, array, newBytes, oldBytes, 0, *done != 0);
}

} // extern "C"
