// BER UTCTime and GeneralizedTime: from and to the time record, and held as
// zero-terminated text, with the check that text gets. The text is the
// classic time text every family shares; BER puts it in contents octets and
// says what BER, CER and DER ask of it.
#include <cstring>

#include "ber/item.h"
#include "time/classic_text.h"

using namespace qor;

namespace {

// compatFlags: a NUL may end a time held as text; DER time strictness is off
// (and the text check admits "z" for "Z").
constexpr QorULong kTrailingNulAllowed = 0x80;
constexpr QorULong kTimeNotStrict = 0x8000;

QorULong compatFlags(const QorGlobal *world) { return world->privateArea->compatFlags; }

bool derOrCer(const QorGlobal *world)
{
    return world->encRules == QOR_DER || world->encRules == QOR_CER;
}

QorLong encodeTime(QorGlobal *world, unsigned char **pos, QorLong *room, const GeneralizedTime *t,
                   bool utcTime)
{
    ClassicTimeRules rules{};
    rules.utcTime = utcTime;
    rules.checkFields = (world->encodingFlags & NOCONSTRAIN) == 0;
    rules.dropZeros = world->encRules == QOR_BER;
    rules.utcOnly = derOrCer(world);
    char text[kClassicTimeText];
    size_t length = formatClassicTime(world, t, rules, text);
    return _qor_write_bytes_d(world, pos, room, text, static_cast<QorLong>(length));
}

void decodeTime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                GeneralizedTime *t, bool utcTime)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    ClassicTimeRules rules{};
    rules.utcTime = utcTime;
    rules.canonical = world->encRules == QOR_DER && (compatFlags(world) & kTimeNotStrict) == 0;
    parseClassicTime(world, *pos, length, rules, t);
    *pos += length;
    *room -= length;
}

} // namespace

extern "C" {

QorLong _qor_encd_utime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value)
{
    return encodeTime(world, pos, room, value, true);
}

QorLong _qor_encd_gtime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value)
{
    return encodeTime(world, pos, room, value, false);
}

void _qor_dec_utime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value)
{
    decodeTime(world, pos, room, length, value, true);
}

void _qor_dec_gtime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value)
{
    decodeTime(world, pos, room, length, value, false);
}

QorLong _qor_encd_untime(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                         QorLong max, int kind)
{
    raiseIf(world, text == nullptr, Msg::kBadTime, 0);
    size_t length = strlen(text);
    if (max > 0 && length > static_cast<size_t>(max))
        raise(world, Msg::kSizeExceeded, longValue(static_cast<QorLong>(length)));
    if ((world->encodingFlags & NOCONSTRAIN) == 0)
        _qor_check_nullterm_time(world, text, kind);
    return _qor_write_bytes_d(world, pos, room, text, static_cast<QorLong>(length));
}

void _qor_dec_untime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                     char **out, QorLong max, int kind)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    if (max > 0 && length > max && (world->decodingFlags & NOCONSTRAIN) == 0)
        raise(world, Msg::kSizeExceeded, longValue(length));
    raiseIf(world, max < 0 && length > -static_cast<int64_t>(max), Msg::kLengthTooLong, length);
    needInput(world, room, length);
    if (length > 0 && (*pos)[length - 1] == '\0' &&
        (compatFlags(world) & kTrailingNulAllowed) == 0)
        raise(world, Msg::kEmbeddedNul, longValue(0));
    auto *text = static_cast<char *>(_qor_dec_getfixmem(world, length + 1));
    if (length > 0)
        memcpy(text, *pos, static_cast<size_t>(length));
    text[length] = '\0';
    *pos += length;
    *room -= length;
    *out = text;
    if ((world->decodingFlags & NOCONSTRAIN) == 0)
        _qor_check_nullterm_time(world, text, kind);
}

void _qor_check_nullterm_time(QorGlobal *world, const char *text, int isUTCTime)
{
    ClassicTimeRules rules{};
    rules.utcTime = isUTCTime != 0;
    rules.canonical = derOrCer(world);
    // Only the canonical form refuses "z", and the compatibility flag lets
    // it pass there too.
    rules.lowerZ = !rules.canonical || (compatFlags(world) & kTimeNotStrict) != 0;
    checkClassicTimeText(world, text, rules);
}

} // extern "C"
