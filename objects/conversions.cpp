// Object identifiers between contents octets and text: dotted ("1.2.840") and
// value notation ("{ 1 2 840 }"), absolute and relative, arcs of 64 bits.
// Nothing here raises: every check returns its code, so that an encoder may
// call these inside its own frame, and nothing is taken but the result, last.
// Digits are tested and made by their codes, never through the locale.
#include <cstring>

#include "common/digits.h"
#include "objects/arcs.h"

using namespace qor;

namespace {

// The low bit of a mode picks value notation, the next a relative identifier.
constexpr unsigned kValueForm = 1;
constexpr unsigned kRelative = 2;

// Without a caller's buffer, a result is made in this many octets.
constexpr size_t kLocalRoom = 2048;
// Nine octets of value bits reach 22 digits; one more than this is refused.
constexpr int kMaxArcText = 21;

inline bool isSeparator(char c) { return c == ' ' || c == '.' || c == '{' || c == '}'; }

// Where a result is made: the caller's buffer, cleared, or the local one.
struct Room {
    unsigned char *start;
    size_t size;
    bool callers;
};

Room roomFor(unsigned char *value, size_t length, unsigned char *local)
{
    Room room = length > 0 && value != nullptr ? Room{value, length, true}
                                               : Room{local, kLocalRoom, false};
    memset(room.start, 0, room.size);
    return room;
}

// A writer that keeps what fits and remembers that something did not.
struct Sink {
    unsigned char *pos;
    size_t room;
    bool cut;

    void put(const void *data, size_t n)
    {
        if (n > room) {
            n = room;
            cut = true;
        }
        memcpy(pos, data, n);
        pos += n;
        room -= n;
    }
};

// A result of `length` octets is in the caller's buffer already, or is
// copied from the local one into new memory; a cut result too, with 1.
// Without a caller's buffer, any other failure leaves the record cleared.
template <class Record>
int handOver(QorGlobal *world, Record *record, const Room &room, size_t length, int code)
{
    if (code != 0 && code != QOR_BUFFER_TOO_SMALL) {
        if (!room.callers)
            *record = Record{0, nullptr};
        return code;
    }
    if (!room.callers) {
        auto *copy =
            static_cast<unsigned char *>(qorGetMemory(world, static_cast<QorLong>(length)));
        if (copy == nullptr) {
            *record = Record{0, nullptr};
            return QOR_OUT_OF_MEMORY;
        }
        memcpy(copy, room.start, length);
        record->value = copy;
    }
    record->length = static_cast<decltype(record->length)>(length);
    return code;
}

// ---------------------------------------------------------------- octets to text

// The decimal digits of `arc`, by long division of its three 32-bit parts:
// false when there are more than kMaxArcText.
bool putArc(WideSubid arc, Sink &out)
{
    uint32_t parts[3] = {arc.high, static_cast<uint32_t>(arc.low >> 32),
                         static_cast<uint32_t>(arc.low)};
    char text[kMaxArcText];
    int at = kMaxArcText;
    do {
        if (at == 0)
            return false;
        uint64_t rest = 0;
        for (uint32_t &part : parts) {
            const uint64_t value = rest << 32 | part;
            part = static_cast<uint32_t>(value / 10);
            rest = value % 10;
        }
        text[--at] = static_cast<char>('0' + rest);
    } while ((parts[0] | parts[1] | parts[2]) != 0);
    out.put(text + at, static_cast<size_t>(kMaxArcText - at));
    return true;
}

// The arcs of `length` octets whose last one ends a subidentifier.
int writeArcs(const unsigned char *p, size_t length, unsigned mode, Sink &out)
{
    const char separator = (mode & kValueForm) != 0 ? ' ' : '.';
    const unsigned char *end = p + length;
    bool first = true;
    if ((mode & kValueForm) != 0)
        out.put("{ ", 2);
    while (p < end) {
        WideSubid arc = {0, 0};
        unsigned char octet;
        do {
            octet = *p++;
            if (!takeSubidOctet(arc, octet))
                return QOR_PARAMETER_RANGE;
        } while ((octet & 0x80) != 0);
        if (first && (mode & kRelative) == 0) {
            const char digit = static_cast<char>('0' + firstArcOf(arc));
            out.put(&digit, 1);
            arc = secondArcOf(arc);
            first = false;
        }
        if (!first)
            out.put(&separator, 1);
        first = false;
        if (!putArc(arc, out))
            return QOR_PARAMETER_RANGE;
    }
    if ((mode & kValueForm) != 0)
        out.put(" }", 2);
    return 0;
}

// Octets that end in a whole subidentifier, checked before any is read.
int checkOctets(const QorEncodedOid *encoded)
{
    if (encoded->length == 0)
        return QOR_DATA_ERROR;
    if (encoded->value == nullptr)
        return QOR_NULL_INPUT;
    return (encoded->value[encoded->length - 1] & 0x80) != 0 ? QOR_DATA_ERROR : 0;
}

int encodedToText(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text, unsigned mode)
{
    if (world == nullptr || encoded == nullptr || text == nullptr)
        return QOR_BAD_ARG;
    unsigned char local[kLocalRoom];
    const size_t length = text->length > 0 ? static_cast<size_t>(text->length) : 0;
    const Room room = roomFor(text->value, length, local);
    // The last octet stays for the terminator, which the clearing wrote.
    Sink out = {room.start, room.size - 1, false};
    int code = checkOctets(encoded);
    if (code == 0)
        code = writeArcs(encoded->value, encoded->length, mode, out);
    if (code != 0 && room.callers)
        room.start[0] = '\0';
    if (code == 0 && out.cut)
        code = QOR_BUFFER_TOO_SMALL;
    return handOver(world, text, room, static_cast<size_t>(out.pos - room.start) + 1, code);
}

// ---------------------------------------------------------------- text to octets

// The decimal arc at `p`, read up to its last digit: false when it passes 64
// bits, which a text of any length finds within 21 significant digits.
bool readArc(const char *&p, uint64_t &arc)
{
    arc = 0;
    for (; isDigit(*p); p++) {
        const auto digit = static_cast<unsigned>(*p - '0');
        if (arc > (UINT64_MAX - digit) / 10)
            return false;
        arc = arc * 10 + digit;
    }
    return true;
}

void putSubid(Sink &out, WideSubid subid)
{
    unsigned char octets[kMaxWideSubidSize];
    out.put(octets, static_cast<size_t>(putSubidentifier(octets, subid) - octets));
}

// A relative identifier has no first pair: each of its arcs is a
// subidentifier, and it takes the first pair's rules nowhere.
int packText(const char *p, unsigned mode, Sink &out)
{
    const bool relative = (mode & kRelative) != 0;
    uint64_t pair[2] = {0, 0};
    size_t count = 0;
    for (;; count++) {
        while (isSeparator(*p))
            p++;
        if (*p == '\0')
            break;
        uint64_t arc;
        if (!isDigit(*p))
            return QOR_LIMITED;
        if (!readArc(p, arc))
            return QOR_PARAMETER_RANGE;
        if (relative || count > 2) {
            putSubid(out, {arc, 0});
        } else if (count == 2) {
            if (firstPairFault(pair[0], pair[1], &arc) >= 0)
                return QOR_PARAMETER_RANGE;
            putSubid(out, {arc, 0});
        } else {
            pair[count] = arc;
            if (firstPairFault(pair[0], pair[1], nullptr) >= 0)
                return QOR_PARAMETER_RANGE;
            if (count == 1)
                putSubid(out, firstSubidentifier(static_cast<unsigned>(pair[0]), pair[1]));
        }
    }
    return count < (relative ? 1u : 2u) ? QOR_LIMITED : 0;
}

int textToEncoded(QorGlobal *world, const char *string, QorEncodedOid *encoded, unsigned mode)
{
    if (world == nullptr || string == nullptr || encoded == nullptr)
        return QOR_BAD_ARG;
    unsigned char local[kLocalRoom];
    const Room room = roomFor(encoded->value, encoded->length, local);
    Sink out = {room.start, room.size, false};
    int code = packText(string, mode, out);
    if (code == 0 && out.cut)
        code = QOR_BUFFER_TOO_SMALL;
    return handOver(world, encoded, room, static_cast<size_t>(out.pos - room.start), code);
}

} // namespace

extern "C" {

int qorEncodedOidToDotVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text)
{
    return encodedToText(world, encoded, text, 0);
}

int qorEncodedOidToAsnVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text)
{
    return encodedToText(world, encoded, text, kValueForm);
}

int qorEncodedRelOidToDotVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text)
{
    return encodedToText(world, encoded, text, kRelative);
}

int qorEncodedRelOidToAsnVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text)
{
    return encodedToText(world, encoded, text, kRelative | kValueForm);
}

int qorDotValToEncodedOid(QorGlobal *world, const char *string, QorEncodedOid *encoded)
{
    return textToEncoded(world, string, encoded, 0);
}

int qorAsnValToEncodedOid(QorGlobal *world, const char *string, QorEncodedOid *encoded)
{
    return textToEncoded(world, string, encoded, kValueForm);
}

int qorDotValToEncodedRelOid(QorGlobal *world, const char *string, QorEncodedOid *encoded)
{
    return textToEncoded(world, string, encoded, kRelative);
}

int qorAsnValToEncodedRelOid(QorGlobal *world, const char *string, QorEncodedOid *encoded)
{
    return textToEncoded(world, string, encoded, kRelative | kValueForm);
}

} // extern "C"
