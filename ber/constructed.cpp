// Constructed strings: the segments of a BER or CER constructed encoding
// gathered into a table of fragments. The reader keeps its own stack of open
// segments instead of recursing, so hostile nesting costs time linear in the
// input and no machine stack, whatever the nesting limit says.
#include "ber/constructed.h"

#include "ber/item.h"

namespace qor {

namespace {

constexpr QorULong kBitStringTag = 3;
constexpr QorULong kOctetStringTag = 4;

// Temporary memory is stack-ordered, so an array that outgrows its piece
// takes a new one of twice the size and leaves the old one in place until
// the table is released: growth stays linear in the input.
void *grow(QorGlobal *world, FragmentTable *table, const void *old, QorLong used, QorLong *capacity,
           size_t elementSize)
{
    int64_t wanted = int64_t{*capacity} * 2;
    int64_t bytes = wanted * static_cast<int64_t>(elementSize);
    raiseIf(world, bytes > INT32_MAX - 64, Msg::kOutOfMemory, -1);
    void *piece = _qor_dec_gettempmem(world, static_cast<QorLong>(bytes));
    if (table->tempMark == nullptr)
        table->tempMark = piece;
    memcpy(piece, old, static_cast<size_t>(used) * elementSize);
    *capacity = static_cast<QorLong>(wanted);
    return piece;
}

void addFragment(QorGlobal *world, FragmentTable *table, const unsigned char *address,
                 QorLong length)
{
    if (table->used == table->capacity) {
        table->entries = static_cast<Fragment *>(
            grow(world, table, table->entries, table->used, &table->capacity, sizeof(Fragment)));
        table->flags |= FragmentTable::kMoved;
    }
    table->entries[table->used++] = {length, address};
}

// The segments still open, innermost on top: where each ends, or null for
// the indefinite form. The nesting limit is kept in the context as well, as
// other readers of constructed values share it.
class OpenSegments {
public:
    OpenSegments(QorGlobal *world, FragmentTable *table)
        : world_(world), table_(table), limit_(world->privateArea->constructedLimit)
    {
    }

    void push(const unsigned char *end)
    {
        if (limit_ != 0 && ++world_->privateArea->constructedDepth > limit_)
            raise(world_, Msg::kConstructedTooDeep, longValue(0));
        if (used_ == capacity_)
            ends_ = static_cast<const unsigned char **>(
                grow(world_, table_, ends_, used_, &capacity_, sizeof(*ends_)));
        ends_[used_++] = end;
    }

    // False once the outermost segment is closed.
    bool pop()
    {
        if (limit_ != 0)
            --world_->privateArea->constructedDepth;
        return --used_ > 0;
    }

    const unsigned char *top() const { return ends_[used_ - 1]; }

private:
    static constexpr QorLong kInline = 16;
    QorGlobal *world_;
    FragmentTable *table_;
    int limit_;
    const unsigned char *inline_[kInline];
    const unsigned char **ends_ = inline_;
    QorLong capacity_ = kInline;
    QorLong used_ = 0;
};

// One segment of the bits form: its unused-bits octet and its data. X.690
// lets only the last segment have unused bits.
QorLong addBitSegment(QorGlobal *world, FragmentTable *table, const unsigned char *at,
                      QorLong length)
{
    if (length == 0)
        return 0;
    int unused = at[0];
    raiseIf(world, table->padBits != 0 || (length == 1 && unused != 0), Msg::kFirstOctetNotZero, 0);
    raiseIf(world, unused > 7, Msg::kUnusedBitsOutOfRange, unused);
    table->padBits = unused;
    if (length > 1)
        addFragment(world, table, at + 1, length - 1);
    return length - 1;
}

QorLong readSegments(QorGlobal *world, FragmentTable *table, unsigned char **pos, QorLong *room,
                     QorLong length, QorULong wanted)
{
    const unsigned char *p = *pos;
    const unsigned char *const inputEnd = p + *room;
    OpenSegments open(world, table);
    if (length >= 0) {
        needInput(world, room, length);
        open.push(p + length);
    } else {
        open.push(nullptr);
    }
    int64_t total = 0;
    for (;;) {
        const unsigned char *end = open.top();
        if (end != nullptr && p >= end) {
            raiseIf(world, p > end, Msg::kInconsistentLengths, 0);
            if (!open.pop())
                break;
            continue;
        }
        // Tag and length are read against the end of the input: a segment
        // that runs past its enclosing one is caught when that one closes.
        raiseIf(world, p >= inputEnd, Msg::kEndOfInput, 0);
        unsigned char first = *p++;
        QorULong number = first & 0x1f;
        if (number == 0x1f) {
            number = 0;
            unsigned char c;
            do {
                raiseIf(world, p >= inputEnd, Msg::kEndOfInput, 0);
                raiseIf(world, number > 127, Msg::kTagTooLong, static_cast<QorLong>(number));
                c = *p++;
                number = (number << 7) | (c & 0x7f);
            } while ((c & 0x80) != 0);
        }
        raiseIf(world, p >= inputEnd, Msg::kEndOfInput, 0);
        unsigned char lead = *p++;
        if (first == 0 && lead == 0) {
            // End-of-contents belongs to the indefinite form only.
            raiseIf(world, end != nullptr, Msg::kInconsistentLengths, 0);
            if (!open.pop())
                break;
            continue;
        }
        QorULong tag = (static_cast<QorULong>(first & 0xc0) << 8) | number;
        // Segments carry the universal tag whatever the string's own type.
        if (tag != wanted)
            raise(world, Msg::kTagMismatch, longValue(static_cast<QorLong>((wanted << 16) | tag)));
        bool constructed = (first & 0x20) != 0;
        if (lead == 0x80) {
            refuseIndefiniteUnderDer(world);
            raiseIf(world, !constructed, Msg::kIndefinitePrimitive, 0);
            open.push(nullptr);
            continue;
        }
        QorULong segment = lead;
        if (lead > 0x80) {
            segment = 0;
            for (int count = lead & 0x7f; count > 0; count--) {
                raiseIf(world, p >= inputEnd, Msg::kEndOfInput, 0);
                if ((segment >> 24) != 0)
                    raise(world, Msg::kLengthTooLong, longValue(static_cast<QorLong>(segment)));
                segment = (segment << 8) | *p++;
            }
        }
        raiseIf(world, segment > static_cast<uint64_t>(inputEnd - p), Msg::kEndOfInput, 0);
        auto size = static_cast<QorLong>(segment);
        if (constructed) {
            open.push(p + size);
            continue;
        }
        if (wanted == kBitStringTag) {
            total += addBitSegment(world, table, p, size);
        } else if (size > 0) {
            addFragment(world, table, p, size);
            total += size;
        }
        p += size;
    }
    *pos = const_cast<unsigned char *>(p);
    *room = static_cast<QorLong>(inputEnd - p);
    return static_cast<QorLong>(total);
}

} // namespace

void initFragments(FragmentTable *table)
{
    table->entries = table->inlineEntries;
    table->capacity = FragmentTable::kInline;
    table->used = 0;
    table->flags = 0;
    table->padBits = 0;
    table->tempMark = nullptr;
}

QorLong readConstructed(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                           QorLong *room, QorLong length)
{
    return readSegments(world, table, pos, room, length, kOctetStringTag);
}

QorLong readConstructedBits(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                               QorLong *room, QorLong length)
{
    return readSegments(world, table, pos, room, length, kBitStringTag);
}

QorLong readStringContents(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                              QorLong *room, QorLong length)
{
    if (world->bitOffset != 0)
        return readConstructed(world, table, pos, room, length);
    const unsigned char *at = takePrimitive(world, pos, room, length);
    if (length > 0)
        addFragment(world, table, at, length);
    return length;
}

QorLong readBitContents(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                           QorLong *room, QorLong length)
{
    if (world->bitOffset != 0)
        return readConstructedBits(world, table, pos, room, length);
    // A primitive BIT STRING has at least its unused-bits octet.
    raiseIf(world, length < 1, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    QorLong octets = addBitSegment(world, table, *pos, length);
    *pos += length;
    *room -= length;
    return octets;
}

void copyFragments(const FragmentTable *table, unsigned char *out, QorLong count)
{
    for (QorLong i = 0; i < table->used && count > 0; i++) {
        QorLong n = table->entries[i].length < count ? table->entries[i].length : count;
        memcpy(out, table->entries[i].address, static_cast<size_t>(n));
        out += n;
        count -= n;
    }
}

const unsigned char *contiguous(QorGlobal *world, FragmentTable *table, QorLong total)
{
    if (table->used == 0)
        return nullptr;
    if (table->used == 1)
        return table->entries[0].address;
    auto *piece = static_cast<unsigned char *>(_qor_dec_gettempmem(world, total));
    if (table->tempMark == nullptr)
        table->tempMark = piece;
    copyFragments(table, piece, total);
    return piece;
}

void releaseFragments(QorGlobal *world, FragmentTable *table)
{
    if (table->tempMark != nullptr)
        _qor_dec_freetempmem(world, table->tempMark);
    table->tempMark = nullptr;
    table->entries = table->inlineEntries;
    table->capacity = FragmentTable::kInline;
    table->used = 0;
    table->flags = 0;
}

} // namespace qor
