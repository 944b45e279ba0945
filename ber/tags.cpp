// BER tags and lengths: the encoders' header items, the decoders' readers,
// and skipping an item whole.
#include "ber/item.h"

using namespace qor;

namespace {

// The packed form of a tag given in the decoders' expected form: octets in
// stream order from the low byte, constructed bit clear.
QorULong packedOfExpected(QorULong expected)
{
    QorULong first = expected & 0xff;
    QorULong number = first & 0x1f;
    if (number == 0x1f) {
        number = 0;
        for (QorULong rest = expected >> 8; rest != 0; rest >>= 8) {
            number = (number << 7) | (rest & 0x7f);
            if ((rest & 0x80) == 0)
                break;
        }
    }
    return ((first & 0xc0) << 8) | number;
}

// Any tag and length, as one item.
__attribute__((noinline)) QorLong writeHeader(QorGlobal *world, unsigned char **pos, QorLong *room,
                                              QorLong length, QorULong tag)
{
    unsigned char item[kMaxItem];
    unsigned char *end = putLength(putTag(item, tag), length);
    return writeBytes(world, pos, room, item, static_cast<int>(end - item));
}

} // namespace

extern "C" {

QorLong _qor_encd_tag_length(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                             QorULong tag)
{
    // Most headers are a one-octet tag and a short length, written in place.
    if (tag < 0x100 && static_cast<QorULong>(length) < 0x80 && *room >= 2 && !sizingOnly(world))
        [[likely]] {
        *pos -= 2;
        *room -= 2;
        (*pos)[0] = static_cast<unsigned char>(tag);
        (*pos)[1] = static_cast<unsigned char>(length);
        return 2;
    }
    return writeHeader(world, pos, room, length, tag);
}

QorLong _qor_encd_tag_length2(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                              QorULong innerTag, QorULong outerTag)
{
    unsigned char inner[kMaxItem];
    unsigned char *innerEnd = putLength(putTag(inner, innerTag), length);
    auto innerSize = static_cast<QorLong>(innerEnd - inner);
    unsigned char item[kMaxItem];
    unsigned char *end = putLength(putTag(item, outerTag), length + innerSize);
    memcpy(end, inner, static_cast<size_t>(innerSize));
    end += innerSize;
    return writeBytes(world, pos, room, item, static_cast<int>(end - item));
}

QorULong _qor_dec_tag(QorGlobal *world, unsigned char **pos, QorLong *room)
{
    world->tagStartPos = *pos;
    world->tagStartRoom = *room;
    needInput(world, room, 1);
    unsigned char first = *(*pos)++;
    --*room;
    world->bitOffset = first & 0x20;
    QorULong number = first & 0x1f;
    if (number == 0x1f) {
        number = 0;
        bool leadingZero = false;
        unsigned char c;
        int octets = 0;
        do {
            needInput(world, room, 1);
            c = **pos;
            // At most 14 bits of tag number.
            raiseIf(world, number > 127, Msg::kTagTooLong, static_cast<QorLong>(number));
            if (octets++ == 0 && c == 0x80)
                leadingZero = true;
            ++*pos;
            --*room;
            number = (number << 7) | (c & 0x7f);
        } while ((c & 0x80) != 0);
        raiseIf(world, (number < 31 || leadingZero) && !relaxed(world), Msg::kTagNeedlesslyLong, 0);
    }
    return (static_cast<QorULong>(first & 0xc0) << 8) | number;
}

QorLong _qor_dec_length(QorGlobal *world, unsigned char **pos, QorLong *room)
{
    needInput(world, room, 1);
    unsigned char first = *(*pos)++;
    --*room;
    if (first == 0x80) {
        refuseIndefiniteUnderDer(world);
        return -1;
    }
    if (first < 0x80) {
        if (world->operation > QOR_OP_ENCODE)
            needInput(world, room, first);
        return first;
    }
    int count = first & 0x7f;
    QorULong value = 0;
    for (int i = 0; i < count; i++) {
        raiseIf(world, (value >> 24) != 0, Msg::kLengthTooLong, static_cast<QorLong>(value));
        needInput(world, room, 1);
        value = (value << 8) | *(*pos)++;
        --*room;
    }
    raiseIf(world, value > INT32_MAX, Msg::kLengthTooLong, static_cast<QorLong>(value));
    // An open type's encoder re-reads its own data with a room that means nothing.
    if (world->operation > QOR_OP_ENCODE && static_cast<QorLong>(value) > *room)
        raise(world, Msg::kEndOfInput, longValue(0));
    return static_cast<QorLong>(value);
}

} // extern "C"

namespace {

// Any tag and length, the general way.
__attribute__((noinline)) QorLong readTagLength(QorGlobal *world, unsigned char **pos,
                                                QorLong *room, QorULong expected)
{
    if (expected != 0) {
        world->tagStartPos = *pos;
        world->tagStartRoom = *room;
        needInput(world, room, 1);
        const unsigned char *p = *pos;
        QorLong left = *room;
        unsigned char first = *p++;
        left--;
        world->bitOffset = first & 0x20;
        bool same = (first & ~0x20) == (expected & 0xff);
        if (same && (first & 0x1f) == 0x1f) {
            // The tag's further octets, compared as they stand.
            for (QorULong rest = expected >> 8;; rest >>= 8) {
                if (left < 1 || *p != (rest & 0xff)) {
                    same = false;
                    break;
                }
                p++;
                left--;
                if ((rest & 0x80) == 0)
                    break;
            }
        }
        if (same) {
            *pos = const_cast<unsigned char *>(p);
            *room = left;
        } else {
            // Read the tag properly: a right tag written needlessly long
            // passes only under the relaxed rules.
            QorULong wanted = packedOfExpected(expected);
            QorULong found = _qor_dec_tag(world, pos, room);
            if (found != wanted || !relaxed(world))
                raise(world, Msg::kTagMismatch, longValue(static_cast<QorLong>((wanted << 16) | found)));
        }
    }
    needInput(world, room, 1);
    unsigned char first = *(*pos)++;
    --*room;
    if (first == 0x80) {
        refuseIndefiniteUnderDer(world);
        return first; // the indefinite form reads as 128: a genuine 128 is never short
    }
    if (first < 0x80) {
        needInput(world, room, first);
        return first;
    }
    QorLong count = first & 0x7f;
    needInput(world, room, count);
    while (count > 4 && **pos == 0) {
        ++*pos;
        --*room;
        count--;
    }
    raiseIf(world, count > 4 || (count == 4 && (**pos & 0x80) != 0), Msg::kLengthTooLong, count);
    QorULong value = 0;
    for (QorLong i = 0; i < count; i++)
        value = (value << 8) | *(*pos)++;
    *room -= count;
    needInput(world, room, static_cast<QorLong>(value));
    return static_cast<QorLong>(value);
}

} // namespace

extern "C" {

QorLong _qor_dec_tag_length(QorGlobal *world, unsigned char **pos, QorLong *room,
                            QorULong expected)
{
    // The common case in a few instructions, apart from the general reader:
    // the expected one-octet tag and a short length whose contents are all
    // there.
    const unsigned char *at = *pos;
    const QorLong left = *room;
    if (left >= 2 && expected != 0 && (expected & 0x1f) != 0x1f && (at[0] & ~0x20u) == expected &&
        at[1] < 0x80 && at[1] <= left - 2) [[likely]] {
        world->tagStartPos = *pos;
        world->tagStartRoom = left;
        world->bitOffset = at[0] & 0x20;
        *pos += 2;
        *room = left - 2;
        return at[1];
    }
    return readTagLength(world, pos, room, expected);
}

void _qor_skip_past_item(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    if (length >= 0) {
        needInput(world, room, length);
        *pos += length;
        *room -= length;
        return;
    }
    // Up to the matching end-of-contents octets; every turn reads at least
    // two octets, so this ends in time linear in the input.
    QorLong depth = 1;
    while (depth > 0) {
        QorULong tag = _qor_dec_tag(world, pos, room);
        QorLong itemLength = _qor_dec_length(world, pos, room);
        if (tag == 0) {
            raiseIf(world, itemLength != 0, Msg::kNonStandardEoc, 0);
            depth--;
        } else if (itemLength < 0) {
            depth++;
        } else {
            needInput(world, room, itemLength);
            *pos += itemLength;
            *room -= itemLength;
        }
    }
}

} // extern "C"
