// Counts that generated copy code and the encoders share: the significant
// length of a bit string and of a character array, and the number of items
// in an encoded SET OF or SEQUENCE OF, for decoders that size a list before
// they read it.
#include "frame/errors.h"

using namespace qor;

extern "C" {

QorULong _qor_count_bits(const unsigned char *bits, QorULong length)
{
    return _qor_chop_zero_bits(bits, length, 0);
}

QorULong _qor_count_chars(const char *text, QorULong length)
{
    if (text == nullptr)
        return 0;
    while (length > 0 && (text[length - 1] == '\0' || text[length - 1] == ' '))
        length--;
    return length;
}

// The XML encoders call the same functions under names of their own.
QorULong _qor_tex_count_bits(const unsigned char *bits, QorULong length)
    __attribute__((alias("_qor_count_bits")));
QorULong _qor_tex_count_chars(const char *text, QorULong length)
    __attribute__((alias("_qor_count_chars")));

// Walks a copy of the position, so that the caller reads the items again;
// the tag reader's marks in the context are put back as they were.
QorLong _qor_count_setof_items(QorGlobal *world, unsigned char **position, QorLong *room,
                               QorLong length)
{
    unsigned char *pos = *position;
    QorLong left = *room;
    unsigned char *const tagStartPos = world->tagStartPos;
    const QorLong tagStartRoom = world->tagStartRoom;
    const int bitOffset = world->bitOffset;
    QorLong count = 0;
    if (length >= 0) {
        QorLong consumed = 0;
        while (consumed < length) {
            const QorLong before = left;
            _qor_dec_tag(world, &pos, &left);
            _qor_skip_past_item(world, &pos, &left, _qor_dec_length(world, &pos, &left));
            consumed += before - left;
            raiseIf(world, consumed > length, Msg::kInconsistentLengths, 0);
            count++;
        }
    } else {
        for (;;) {
            const QorULong tag = _qor_dec_tag(world, &pos, &left);
            const QorLong itemLength = _qor_dec_length(world, &pos, &left);
            if (tag == 0) {
                raiseIf(world, itemLength != 0, Msg::kNonStandardEoc, 0);
                break;
            }
            _qor_skip_past_item(world, &pos, &left, itemLength);
            count++;
        }
    }
    world->tagStartPos = tagStartPos;
    world->tagStartRoom = tagStartRoom;
    world->bitOffset = bitOffset;
    return count;
}

} // extern "C"
