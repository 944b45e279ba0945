// PER UTCTime and GeneralizedTime from and to the time record: the classic
// time text every family shares, as a VisibleString under a general length,
// eight bits a character in aligned PER and seven in unaligned PER. PER
// writes every field down to the seconds, and an offset of whole hours as
// "+hh"; it reads "z" for "Z" and rounds a fraction to the millisecond.
#include "per/per.h"
#include "time/classic_text.h"

using namespace qor;

namespace {

// No classic time text reaches this length.
constexpr QorULong kLongestText = 32;

void encodeTime(QorGlobal *world, const GeneralizedTime *t, bool utcTime)
{
    ClassicTimeRules rules = perTimeRules(utcTime);
    rules.checkFields = (world->encodingFlags & NOCONSTRAIN) == 0;
    char text[kClassicTimeText];
    const size_t length = formatClassicTime(world, t, rules, text);
    _qor_penc_lfrag(world, static_cast<QorULong>(length));
    if (world->perAligned) {
        _qor_append(world, text, static_cast<QorULong>(8 * length), 1);
        return;
    }
    for (size_t i = 0; i < length; i++)
        _qor_penc_nonneg_7int(world, static_cast<unsigned char>(text[i]));
}

void decodeTime(QorGlobal *world, GeneralizedTime *t, bool utcTime)
{
    unsigned char done;
    const QorULong length = _qor_pdec_length(world, 0, 0, &done);
    raiseIf(world, done == 0 || length >= kLongestText, Msg::kMisencoded,
            static_cast<QorLong>(length));
    unsigned char text[kLongestText];
    if (world->perAligned) {
        _qor_get_bits(world, text, 8 * length, 1);
    } else {
        for (QorULong i = 0; i < length; i++)
            text[i] = static_cast<unsigned char>(_qor_pdec_nonneg_7int(world));
    }
    const ClassicTimeRules rules = perTimeRules(utcTime);
    parseClassicTime(world, text, static_cast<QorLong>(length), rules, t);
    if ((world->decodingFlags & NOCONSTRAIN) == 0)
        checkTimeFields(world, t, utcTime);
}

} // namespace

extern "C" {

void _qor_penc_utime(QorGlobal *world, const GeneralizedTime *value)
{
    encodeTime(world, value, true);
}

void _qor_penc_gtime(QorGlobal *world, const GeneralizedTime *value)
{
    encodeTime(world, value, false);
}

void _qor_pdec_utime(QorGlobal *world, GeneralizedTime *value)
{
    decodeTime(world, value, true);
}

void _qor_pdec_gtime(QorGlobal *world, GeneralizedTime *value)
{
    decodeTime(world, value, false);
}

} // extern "C"
