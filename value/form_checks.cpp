// Checks of form: the length of a value inside a CONTAINING BIT or OCTET
// STRING, and OID internationalized resource identifiers.
#include <cstring>

#include "common/utf8.h"
#include "frame/errors.h"

using namespace qor;

namespace {

// Bits of the container check's flags.
constexpr QorULong kBitContainer = 0x20;
constexpr QorULong kPaddingAllowed = 0x10;
constexpr QorULong kLowBits = 0x0F;

bool xmlSpace(unsigned char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Bits of the OID-IRI check's flags.
constexpr QorULong kAbsoluteIri = 0x1;
constexpr QorULong kEncodedIri = 0x2;
// The piece of text a message shows, "..." included.
constexpr size_t kPieceLimit = 127;
constexpr size_t kDots = 3;

struct Iri {
    QorGlobal *world;
    const unsigned char *text;
    size_t length;
    bool encoded;
};

// Raises `message` with text[from, to), cut to the limit around `at` so
// that the faulty place stays in view. A value that came from an encoding
// is shown whole: there is nowhere else to look at it.
[[noreturn]] void iriFault(const Iri &iri, Msg message, size_t from, size_t to, size_t at)
{
    if (iri.encoded) {
        message = Msg::kBadOidIri;
        from = 0;
        to = iri.length;
    }
    char piece[kPieceLimit + 1];
    size_t n = 0;
    auto put = [&](const void *s, size_t count) {
        if (count != 0)
            memcpy(piece + n, s, count);
        n += count;
    };
    const size_t keep = kPieceLimit - kDots;
    if (to - from <= kPieceLimit) {
        put(iri.text + from, to - from);
    } else if (at - from < keep) {
        put(iri.text + from, keep);
        put("...", kDots);
    } else if (to - at <= keep) {
        put("...", kDots);
        put(iri.text + to - keep, keep);
    } else {
        const size_t middle = kPieceLimit - 2 * kDots;
        put("...", kDots);
        put(iri.text + at - middle / 2, middle);
        put("...", kDots);
    }
    piece[n] = '\0';
    raise(iri.world, message, stringValue(piece));
}

// Code points that X.660 admits in an arc, as IRIs have them (ucschar):
// never the surrogates, the private use area or the non-characters.
bool arcCodePoint(QorULong cp)
{
    if (cp >= 0x10000)
        return (cp & 0xFFFF) <= 0xFFFD && (cp < 0xE0000 || (cp >= 0xE1000 && cp < 0xF0000));
    return (cp >= 0xA0 && cp <= 0xD7FF) || (cp >= 0xF900 && cp <= 0xFDCF) ||
           (cp >= 0xFDF0 && cp <= 0xFFEF);
}

bool digit(unsigned char c)
{
    return (_qorCharFlags[c] & QOR_CHAR_DIGIT) != 0;
}

bool allDigits(const unsigned char *s, size_t n)
{
    for (size_t i = 0; i < n; i++)
        if (!digit(s[i]))
            return false;
    return true;
}

// The arc text[from, to) by its characters; the caller has refused it empty.
void checkArcChars(const Iri &iri, size_t from, size_t to)
{
    const unsigned char *s = iri.text;
    if (s[from] == '0' && to - from > 1 && allDigits(s + from, to - from))
        iriFault(iri, Msg::kBadOidIriArc, from, to, from);
    for (size_t at = from; at < to;) {
        const unsigned char c = s[at];
        if (c < 0x80) {
            const bool letter = (_qorCharFlags[c] & (QOR_CHAR_LOWER | QOR_CHAR_UPPER)) != 0;
            if (!letter && !digit(c) && strchr("-._~", c) == nullptr)
                iriFault(iri, Msg::kBadOidIriArc, from, to, at);
            at++;
            continue;
        }
        QorULong cp = 0;
        int used = 0;
        if (!decodeUtf8Char(iri.world, &cp, s + at, static_cast<QorLong>(to - at), 4, &used) ||
            !arcCodePoint(cp))
            iriFault(iri, Msg::kBadOidIriArc, from, to, at);
        at += static_cast<size_t>(used);
    }
}

bool arcIs(const unsigned char *s, size_t n, const char *name)
{
    return strlen(name) == n && memcmp(s, name, n) == 0;
}

bool arcIsOneOf(const unsigned char *s, size_t n, const char *const *names)
{
    for (; *names != nullptr; names++)
        if (arcIs(s, n, *names))
            return true;
    return false;
}

// The first arcs that the library knows, by name or number.
constexpr const char *kItuT[] = {"0", "ITU-T", nullptr};
constexpr const char *kIso[] = {"1", "ISO", nullptr};
constexpr const char *kJoint[] = {"2", "Joint-ISO-ITU-T", nullptr};
constexpr const char *kItuTSecond[] = {"Recommendation",   "Administration",
                                       "Network-Operator", "Identified-Organization",
                                       "R-Recommendation", nullptr};
constexpr const char *kIsoSecond[] = {"Standard", "Registration-Authority", "Member-Body",
                                      "Identified-Organization", nullptr};
constexpr const char *kRecommendation[] = {"0", "Recommendation", nullptr};

// The third arc under ITU-T recommendation: a letter "A" to "Z", or its
// number 1 to 26.
bool recommendationSeries(const unsigned char *s, size_t n)
{
    if (n == 1)
        return (s[0] >= 'A' && s[0] <= 'Z') || (s[0] >= '1' && s[0] <= '9');
    // 10 to 26, without a leading zero.
    return n == 2 && (s[0] == '1' || s[0] == '2') && digit(s[1]) && (s[0] == '1' || s[1] <= '6');
}

} // namespace

extern "C" {

void _qor_check_container(QorGlobal *world, QorULong read, QorULong flags,
                          const unsigned char *data, QorULong length)
{
    const QorULong low = flags & kLowBits;
    int64_t used;
    int64_t rest = read;
    if (flags & kBitContainer) {
        raiseIf(world, length % 8 != 0 && !(flags & kPaddingAllowed), Msg::kContainerLength, 0);
        // Octets taken by the contained encoding, less the unused bits of
        // its last octet.
        used = 8 * ((int64_t{length} + 7) / 8 - rest) - low;
    } else {
        // A mark in the low bits: the encoding ended in a newline or the
        // like, which the contained value doesn't count.
        if (low != 0) {
            raiseIf(world, rest < 1, Msg::kContainerLength, 0);
            rest--;
        }
        if (length == 1 && rest == 1 && low == 0)
            rest = 0;
        used = int64_t{length} - rest;
    }
    if (used == int64_t{length})
        return;
    raiseIf(world, used > int64_t{length} || used < 0 || (data == nullptr && length != 0),
            Msg::kContainerLength, 0);
    // XML forms may end in white space after the contained value.
    const int64_t unit = (flags & kBitContainer) ? 8 : 1;
    const int64_t octets = (int64_t{length} + unit - 1) / unit;
    for (int64_t i = (used + unit - 1) / unit; data != nullptr && i < octets; i++)
        raiseIf(world, !xmlSpace(data[i]), Msg::kContainerLength, 0);
}

void _qor_check_oid_iri(QorGlobal *world, const char *text, QorLong length, QorULong flags)
{
    const bool absolute = (flags & kAbsoluteIri) != 0;
    const Iri iri = {world, reinterpret_cast<const unsigned char *>(text),
                     length > 0 && text != nullptr ? static_cast<size_t>(length) : 0,
                     (flags & kEncodedIri) != 0};
    const size_t n = iri.length;
    const unsigned char *s = iri.text;
    if (n < (absolute ? 2u : 1u) || (absolute && (s[0] != '/' || s[1] == '/')))
        iriFault(iri, Msg::kBadOidIri, 0, n, absolute && n > 1 ? 1 : 0);
    // What the arcs so far have told: the first known (0 to 2, or -1), and
    // whether the arc is the third under ITU-T recommendation.
    int first = -1;
    bool series = false;
    size_t arc = 0;
    for (size_t from = absolute ? 1 : 0; from <= n; arc++) {
        const void *slash = memchr(s + from, '/', n - from);
        const size_t to = slash != nullptr
                              ? static_cast<size_t>(static_cast<const unsigned char *>(slash) - s)
                              : n;
        const unsigned char *a = s + from;
        const size_t an = to - from;
        if (an == 0)
            iriFault(iri, Msg::kBadOidIri, 0, n, from);
        bool known = false;
        if (absolute && arc == 0) {
            const char *const *firsts[] = {kItuT, kIso, kJoint};
            for (int k = 0; k < 3 && first < 0; k++)
                first = arcIsOneOf(a, an, firsts[k]) ? k : -1;
            known = first >= 0;
        } else if (arc == 1 && (first == 0 || first == 1)) {
            const bool number = an == 1 && a[0] >= '0' && a[0] <= '3';
            if (!number && !arcIsOneOf(a, an, first == 0 ? kItuTSecond : kIsoSecond))
                iriFault(iri, Msg::kBadOidIriArc, from, to, from);
            series = first == 0 && arcIsOneOf(a, an, kRecommendation);
            known = true;
        } else if (arc == 2 && series) {
            if (!recommendationSeries(a, an))
                iriFault(iri, Msg::kBadOidIriArc, from, to, from);
            known = true;
        }
        if (!known)
            checkArcChars(iri, from, to);
        from = to + 1;
    }
}

} // extern "C"
