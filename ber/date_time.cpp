// BER contents of the TIME types, held as ISO 8601 text: DATE, TIME-OF-DAY
// and DATE-TIME without their punctuation, DURATION without its "P", and
// the general TIME as it stands. DER sends a TIME or DURATION in its
// canonical form and takes no other.
#include <cstring>

#include "ber/item.h"
#include "time/iso_time.h"

using namespace qor;

namespace {

// Room on the frame for the contents in hand; longer canonical forms go to
// temporary memory.
constexpr size_t kArea = 128;

void refuseOtherKinds(QorGlobal *world, int kind)
{
    raiseIf(world, kind != kTimeKind && kind != kDurationKind, Msg::kBadTime, 0);
}

// The canonical form of `text` at `area`, or in temporary memory when it
// is longer; its length goes to `length`, 0 when the text is no TIME value.
const char *canonicalForm(QorGlobal *world, const char *text, char *area, size_t &length)
{
    length = canonicalTime(text, area, kArea);
    if (length <= kArea)
        return area;
    auto *longer = static_cast<char *>(_qor_dec_gettempmem(world, static_cast<QorLong>(length)));
    (void)canonicalTime(text, longer, length);
    return longer;
}

void releaseForm(QorGlobal *world, const char *form, const char *area)
{
    if (form != area)
        _qor_dec_freetempmem(world, const_cast<char *>(form));
}

} // namespace

extern "C" {

QorLong _qor_encd_date_time(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                            int kind)
{
    raiseIf(world, text == nullptr, Msg::kBadTime, 0);
    char area[kArea];
    if (const CompactTimeForm *form = compactTimeForm(kind)) {
        size_t n = 0;
        for (const char *p = text; *p != '\0'; p++) {
            if (strchr(form->removed, *p) != nullptr)
                continue;
            raiseIf(world, n == kArea, Msg::kBadTime, 0);
            area[n++] = *p;
        }
        return writeBytes(world, pos, room, area, static_cast<QorLong>(n));
    }
    refuseOtherKinds(world, kind);
    const char *contents = text;
    size_t length = strlen(text);
    if (world->encRules == QOR_DER) {
        contents = canonicalForm(world, text, area, length);
        raiseIf(world, length == 0, Msg::kBadTime, 0);
    }
    const char *start = contents;
    if (kind == kDurationKind && length > 0 && *start == 'P')
        start++, length--;
    const QorLong written = writeBytes(world, pos, room, start, static_cast<QorLong>(length));
    releaseForm(world, contents, area);
    return written;
}

void _qor_dec_date_time(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                        char **out, int kind)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    raiseIf(world, length == 0, Msg::kMisencoded, 0);
    const unsigned char *in = *pos;
    char *text = nullptr;
    if (const CompactTimeForm *form = compactTimeForm(kind)) {
        raiseIf(world, static_cast<size_t>(length) != form->size, Msg::kBadTime, 0);
        text = timeTextOf(world, in, static_cast<size_t>(length), kind);
    } else {
        refuseOtherKinds(world, kind);
        text = timeTextOf(world, in, static_cast<size_t>(length), kind);
        const size_t size = strlen(text);
        if (world->encRules == QOR_DER) {
            char area[kArea];
            size_t canonicalLength = 0;
            const char *canonical = canonicalForm(world, text, area, canonicalLength);
            const bool same = canonicalLength == size && strlen(text) == size &&
                              memcmp(canonical, text, size) == 0;
            releaseForm(world, canonical, area);
            if (!same)
                raise(world, Msg::kNonCanonicalTime, stringValue(text));
        }
    }
    *pos += length;
    *room -= length;
    *out = text;
}

} // extern "C"
