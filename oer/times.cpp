// OER UTCTime and GeneralizedTime from and to the time record, as their
// text behind a length, written and read by the classic time text that
// every family shares under PER's rules: every field down to the seconds,
// "z" read for "Z", a fraction rounded to the millisecond. The ASN.1 TIME
// types go as their text too, with the punctuation that their form fixes
// left out on the wire and put back on decoding.
#include <cstring>

#include "oer/oer.h"
#include "time/classic_text.h"
#include "time/iso_time.h"

using namespace qor;

namespace {

// The shortest texts that hold the year and what must follow it.
constexpr uint64_t kShortestGeneralized = 4;
constexpr uint64_t kShortestUtc = 2;

void encodeTime(QorGlobal *world, const GeneralizedTime *t, bool utcTime)
{
    ClassicTimeRules rules = perTimeRules(utcTime);
    rules.checkFields = (world->encodingFlags & NOCONSTRAIN) == 0;
    char text[kClassicTimeText];
    const size_t length = formatClassicTime(world, t, rules, text);
    _qor_oenc_octet_length(world, static_cast<QorULong>(length));
    oerPut(world, reinterpret_cast<const unsigned char *>(text), length);
}

void decodeTime(QorGlobal *world, GeneralizedTime *t, bool utcTime)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length < (utcTime ? kShortestUtc : kShortestGeneralized),
            Msg::kInconsistentLengths, static_cast<QorLong>(length));
    raiseIf(world, length > INT32_MAX, Msg::kMisencoded, 0);
    parseClassicTime(world, takeContents(world, length), static_cast<QorLong>(length),
                     perTimeRules(utcTime), t);
    if ((world->decodingFlags & NOCONSTRAIN) == 0)
        checkTimeFields(world, t, utcTime);
}

// The TIME types' kinds: the general TIME, DATE, TIME-OF-DAY, DATE-TIME,
// DURATION.
void checkKind(QorGlobal *world, int kind)
{
    raiseIf(world, kind != kTimeKind && kind != kDurationKind && compactTimeForm(kind) == nullptr,
            Msg::kBadTime, kind);
}

// The longest text of a DATE, TIME-OF-DAY or DATE-TIME taken when its
// constraints were not checked.
constexpr size_t kLongestUncheckedText = 128;

} // namespace

extern "C" {

void _qor_oenc_utime(QorGlobal *world, const GeneralizedTime *value)
{
    encodeTime(world, value, true);
}

void _qor_oenc_gtime(QorGlobal *world, const GeneralizedTime *value)
{
    encodeTime(world, value, false);
}

void _qor_odec_utime(QorGlobal *world, GeneralizedTime *value)
{
    decodeTime(world, value, true);
}

void _qor_odec_gtime(QorGlobal *world, GeneralizedTime *value)
{
    decodeTime(world, value, false);
}

// The octets are counted before any is written, and the text goes out
// through a staging buffer that it never overflows, whatever its length.
void _qor_oenc_date_time(QorGlobal *world, const char *text, int kind)
{
    checkKind(world, kind);
    const CompactTimeForm *form = compactTimeForm(kind);
    raiseIf(world, text == nullptr, Msg::kNullInput, 0);
    const size_t length = strlen(text);
    raiseIf(world, (world->encodingFlags & NOCONSTRAIN) != 0 && form != nullptr &&
                       length > kLongestUncheckedText,
            Msg::kBadTime, static_cast<QorLong>(length));
    uint64_t count = 0;
    bool pSeen = false;
    for (const char *p = text; *p != '\0'; p++)
        count += keptInContents(form, kind, p, pSeen) ? 1 : 0;
    raiseIf(world, count > INT32_MAX, Msg::kBadTime, 0);
    _qor_oenc_octet_length(world, static_cast<QorULong>(count));
    if (sizingOnly(world)) {
        world->encLength += static_cast<QorLong>(count);
        return;
    }
    OerStaging out(world);
    pSeen = false;
    for (const char *p = text; *p != '\0'; p++)
        if (keptInContents(form, kind, p, pSeen))
            out.put(static_cast<unsigned char>(*p));
    out.flush();
}

// The text with its punctuation, zero-terminated, in decoder memory.
void _qor_odec_date_time(QorGlobal *world, char **result, int kind)
{
    checkKind(world, kind);
    const CompactTimeForm *form = compactTimeForm(kind);
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length == 0, Msg::kMisencoded, 0);
    raiseIf(world, form != nullptr && length != form->size, Msg::kBadTime, static_cast<QorLong>(length));
    raiseIf(world, length > INT32_MAX - 8, Msg::kMisencoded, 0);
    *result = timeTextOf(world, takeContents(world, length), static_cast<size_t>(length), kind);
}

} // extern "C"
