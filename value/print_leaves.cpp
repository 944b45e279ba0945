// The leaf printers that generated print code calls: new lines, bit, octet
// and character strings, times, enumerators and open types; and the length
// of a named-bit string fitted to its size bounds.
#include "value/text_out.h"

#include "frame/errors.h"

namespace qor {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr QorULong kPrintingOpenType = 0x1;

// Characters of a string, one at a time: native 16- or 32-bit units, or
// UTF-8 read without judging it.
class CharacterReader {
public:
    CharacterReader(const void *data, QorLong count, int width)
        : at_(static_cast<const unsigned char *>(data)), width_(width)
    {
        size_t units = data != nullptr && count > 0 ? static_cast<size_t>(count) : 0;
        end_ = at_ + units * static_cast<size_t>(width == 1 ? 1 : width);
    }

    bool more() const { return at_ < end_; }

    uint32_t next()
    {
        if (width_ == 2) {
            uint16_t unit;
            memcpy(&unit, at_, sizeof unit);
            at_ += sizeof unit;
            return unit;
        }
        if (width_ == 4) {
            uint32_t unit;
            memcpy(&unit, at_, sizeof unit);
            at_ += sizeof unit;
            return unit;
        }
        return nextUtf8();
    }

private:
    // The leading one bits of the first octet give the length of the
    // sequence; an octet with one or eight of them begins none and stands
    // for character 0. A sequence cut by the end of the data keeps its bits.
    uint32_t nextUtf8()
    {
        unsigned char first = *at_++;
        int ones = 0;
        while (ones < 8 && (first & (0x80 >> ones)) != 0)
            ones++;
        if (ones == 0)
            return first;
        if (ones == 1 || ones == 8)
            return 0;
        uint32_t c = first & (0x7Fu >> ones);
        for (int i = 1; i < ones && at_ < end_; i++)
            c = (c << 6) | (*at_++ & 0x3Fu);
        return c;
    }

    const unsigned char *at_;
    const unsigned char *end_;
    int width_;
};

// The walk that 8-bit and wider strings share: runs of printable characters
// in quotes, the others as tuples, the whole in braces when it is mixed or
// has more than one tuple; cut at the chop with "...".
class StringWalk {
public:
    StringWalk(TextOut &out, bool braces, bool quoteCounts)
        : out_(out), chop_(out.chop()), braces_(braces), quoteCounts_(quoteCounts)
    {
        if (braces_)
            out_.put('{');
    }

    // False once the chop is reached: the walk ends.
    bool printableCharacter(char c)
    {
        if (!inQuote_) {
            separate();
            if (exceeds(2))
                return stop();
            out_.put('"');
            inQuote_ = true;
            if (quoteCounts_)
                column_++;
        }
        if (exceeds(1))
            return stop();
        out_.put(c);
        column_++;
        return true;
    }

    bool tuple(const unsigned char *parts, int count)
    {
        if (inQuote_) {
            out_.put('"');
            inQuote_ = false;
            column_++;
        }
        separate();
        // "{h, l}" or "{g, p, r, c}": braces, blanks and commas, then the digits.
        uint64_t width = 2 + 2 * static_cast<uint64_t>(count - 1) + count;
        for (int i = 0; i < count; i++)
            width += (parts[i] > 9 ? 1 : 0) + (parts[i] > 99 ? 1 : 0);
        if (exceeds(width))
            return stop();
        out_.put('{');
        for (int i = 0; i < count; i++) {
            if (i > 0)
                out_.put(", ", 2);
            out_.putUnsigned(parts[i]);
        }
        out_.put('}');
        column_ += width;
        return true;
    }

    void finish()
    {
        if (stopped_) {
            if (inQuote_)
                out_.put(' ');
            out_.put("...", 3);
        }
        if (inQuote_)
            out_.put('"');
        if (braces_)
            out_.put('}');
    }

private:
    void separate()
    {
        if (!first_) {
            out_.put(", ", 2);
            column_ += 2;
        }
        first_ = false;
    }
    bool exceeds(uint64_t width) const { return chop_ != 0 && column_ + width > chop_; }
    bool stop()
    {
        stopped_ = true;
        return false;
    }

    TextOut &out_;
    uint64_t chop_;
    bool braces_;
    bool quoteCounts_;
    uint64_t column_ = 0;
    bool inQuote_ = false;
    bool first_ = true;
    bool stopped_ = false;
};

// Braces are needed once both kinds of character, or two tuples, are seen.
template <class Next> bool needsBraces(Next &&next)
{
    bool seenPrintable = false;
    int others = 0;
    uint32_t c;
    while (next(&c)) {
        if (printable(c))
            seenPrintable = true;
        else
            others++;
        if (others >= 2 || (others >= 1 && seenPrintable))
            return true;
    }
    return false;
}

void printTime(TextOut &out, const GeneralizedTime *v, bool utcTime)
{
    out.put('"');
    out.putPadded(v->year, utcTime ? 2 : 4);
    out.putPadded(v->month, 2);
    out.putPadded(v->day, 2);
    out.putPadded(v->hour, 2);
    out.putPadded(v->minute, 2);
    out.putPadded(v->second, 2);
    if (!utcTime) {
        out.put('.');
        out.putPadded(v->millisec, 3);
    }
    if (!utcTime && v->utc) {
        out.put('Z');
    } else if (v->mindiff != 0) {
        int minutes = v->mindiff < 0 ? -v->mindiff : v->mindiff;
        out.put(v->mindiff < 0 ? '-' : '+');
        out.putPadded(minutes / 60, 2);
        out.putPadded(minutes % 60, 2);
    } else if (utcTime) {
        out.put('Z');
    }
    out.put('"');
}

void printOpenType(QorGlobal *world, int pduNum, void *decoded, const unsigned char *encoded,
                   QorULong length)
{
    if (decoded != nullptr && pduNum != 0) {
        // The nested call runs in the outer print's frame: a negative PDU
        // number tells both qorPrintPDU and the print entry so.
        QorULong saved = world->internalFlags;
        world->internalFlags |= kPrintingOpenType;
        int result = qorPrintPDU(world, -pduNum, decoded);
        world->internalFlags = saved;
        if (result != 0)
            printText(world, "<error>");
        return;
    }
    if (encoded != nullptr) {
        TextOut out = TextOut::toRoute(world);
        QorULong shown = length > INT32_MAX ? QorULong{INT32_MAX} : length;
        hexText(out, "'", encoded, static_cast<QorLong>(shown), "'H");
        out.finish();
        return;
    }
    printText(world, "<unknown>");
}

} // namespace

void bitText(TextOut &out, const unsigned char *bits, QorLong count)
{
    uint64_t total = bits != nullptr && count > 0 ? static_cast<uint64_t>(count) : 0;
    uint64_t shown = total;
    if (out.chop() != 0 && total > out.chop())
        shown = out.chop();
    out.put('\'');
    for (uint64_t i = 0; i < shown; i++) {
        if (i > 0 && i % 8 == 0)
            out.put(' ');
        out.put((bits[i / 8] >> (7 - i % 8)) & 1 ? '1' : '0');
    }
    out.put(shown < total ? " ...'B" : "'B");
}

void hexText(TextOut &out, const char *prefix, const unsigned char *data, QorLong length,
             const char *suffix)
{
    uint64_t total = data != nullptr && length > 0 ? static_cast<uint64_t>(length) : 0;
    uint64_t shown = total;
    if (out.chop() != 0 && 2 * total > out.chop())
        shown = out.chop() / 2;
    if (prefix != nullptr)
        out.put(prefix);
    for (uint64_t i = 0; i < shown; i++) {
        char pair[2] = {kHexDigits[data[i] >> 4], kHexDigits[data[i] & 15]};
        out.put(pair, 2);
    }
    // Without a suffix the cut goes unmarked.
    if (suffix != nullptr) {
        if (shown < total)
            out.put(" ...", 4);
        out.put(suffix);
    }
}

void charText(TextOut &out, const char *data, QorLong length)
{
    if (data == nullptr || length <= 0) {
        out.put("\"\"", 2);
        return;
    }
    auto octets = reinterpret_cast<const unsigned char *>(data);
    const unsigned char *end = octets + length;
    const unsigned char *scan = octets;
    bool braces = needsBraces([&](uint32_t *c) {
        if (scan == end)
            return false;
        *c = *scan++;
        return true;
    });
    StringWalk walk(out, braces, false);
    for (const unsigned char *p = octets; p < end; p++) {
        unsigned char nibbles[2] = {static_cast<unsigned char>(*p >> 4),
                                    static_cast<unsigned char>(*p & 15)};
        bool going =
            printable(*p) ? walk.printableCharacter(static_cast<char>(*p)) : walk.tuple(nibbles, 2);
        if (!going)
            break;
    }
    walk.finish();
}

void mbcharText(TextOut &out, const void *data, QorLong count, int width)
{
    if (width != 1 && width != 2 && width != 4)
        count = 0;
    CharacterReader scan(data, count, width);
    if (!scan.more()) {
        out.put("\"\"", 2);
        return;
    }
    bool braces = needsBraces([&](uint32_t *c) {
        if (!scan.more())
            return false;
        *c = scan.next();
        return true;
    });
    StringWalk walk(out, braces, true);
    CharacterReader read(data, count, width);
    while (read.more()) {
        uint32_t c = read.next();
        bool going;
        if (printable(c)) {
            going = walk.printableCharacter(static_cast<char>(c));
        } else {
            unsigned char quadruple[4] = {
                static_cast<unsigned char>(c >> 24), static_cast<unsigned char>(c >> 16),
                static_cast<unsigned char>(c >> 8), static_cast<unsigned char>(c)};
            going = walk.tuple(quadruple, 4);
        }
        if (!going)
            break;
    }
    walk.finish();
}

void genTimeText(TextOut &out, const GeneralizedTime *value)
{
    printTime(out, value, false);
}
void utcTimeText(TextOut &out, const GeneralizedTime *value)
{
    printTime(out, value, true);
}

} // namespace qor

using namespace qor;

extern "C" {

void _qor_indent(QorGlobal *world, int delta)
{
    if (delta < 0)
        world->printIndent += delta;
    TextOut out = TextOut::toRoute(world);
    out.put('\n');
    // Two blanks a level; a level below 0 (braces out of balance) counts by
    // its size, as a negative printf width does.
    int levels = world->printIndent < 0 ? -world->printIndent : world->printIndent;
    for (int i = 0; i < levels; i++)
        out.put("  ", 2);
    out.finish();
    if (delta > 0)
        world->printIndent += delta;
}

void _qor_prt_bit(QorGlobal *world, const unsigned char *bits, QorLong count)
{
    TextOut out = TextOut::toRoute(world);
    bitText(out, bits, count);
    out.finish();
}

void _qor_prt_pbit(QorGlobal *world, const void *value, int size, QorLong count)
{
    // The integer's octets, highest first: its highest bit is the first bit.
    uint64_t word = 0;
    switch (size) {
    case 1:
        word = *static_cast<const uint8_t *>(value);
        break;
    case 2: {
        uint16_t v;
        memcpy(&v, value, sizeof v);
        word = v;
        break;
    }
    case 4: {
        uint32_t v;
        memcpy(&v, value, sizeof v);
        word = v;
        break;
    }
    case 8:
        memcpy(&word, value, sizeof word);
        break;
    default:
        size = 0;
    }
    unsigned char octets[8];
    for (int i = 0; i < size; i++)
        octets[i] = static_cast<unsigned char>(word >> (8 * (size - 1 - i)));
    if (count > 8 * size)
        count = 8 * size;
    _qor_prt_bit(world, octets, count);
}

void _qor_prt_oct(QorGlobal *world, const unsigned char *data, QorLong length)
{
    _qor_prt_hex(world, "'", data, length, "'H");
}

void _qor_prt_hex(QorGlobal *world, const char *prefix, const unsigned char *data, QorLong length,
                  const char *suffix)
{
    TextOut out = TextOut::toRoute(world);
    hexText(out, prefix, data, length, suffix);
    out.finish();
}

void _qor_prt_char(QorGlobal *world, const char *data, QorLong length)
{
    TextOut out = TextOut::toRoute(world);
    charText(out, data, length);
    out.finish();
}

void _qor_prt_nchar(QorGlobal *world, const char *text)
{
    size_t n = text != nullptr ? strlen(text) : 0;
    _qor_prt_char(world, text, n > INT32_MAX ? INT32_MAX : static_cast<QorLong>(n));
}

void _qor_prt_mbchar(QorGlobal *world, const void *data, QorLong count, int width)
{
    TextOut out = TextOut::toRoute(world);
    mbcharText(out, data, count, width);
    out.finish();
}

void _qor_prt_gentime(QorGlobal *world, const GeneralizedTime *value)
{
    TextOut out = TextOut::toRoute(world);
    genTimeText(out, value);
    out.finish();
}

void _qor_prt_utctime(QorGlobal *world, const GeneralizedTime *value)
{
    TextOut out = TextOut::toRoute(world);
    utcTimeText(out, value);
    out.finish();
}

// Only the low half is compared, and only while the high half is 0: a
// negative enumerator is never found, as older generated code expects.
void _qor_prt_enum(QorGlobal *world, QorLong low, QorLong high, const QorEnumeratorName *table,
                   QorLong count)
{
    const char *name = "qor_unknown_enumerator";
    if (high == 0 && table != nullptr) {
        for (QorLong i = 0; i < count; i++) {
            if (table[i].value == low) {
                name = table[i].identifier;
                break;
            }
        }
    }
    printText(world, name != nullptr ? name : "");
}

void _qor_prt_opentype(QorGlobal *world, const QorOpenType *value)
{
    if (value == nullptr)
        printOpenType(world, 0, nullptr, nullptr, 0);
    else
        printOpenType(world, value->pduNum, value->decoded, value->encoded, value->length);
}

void _qor_prt_new_opentype(QorGlobal *world, int pduNum, void *decoded, const QorNewOpenType *value)
{
    printOpenType(world, pduNum, decoded, value != nullptr ? value->encoded : nullptr,
                  value != nullptr ? value->length : 0);
}

// Named-bit strings: trailing zero bits carry no value, so a length may drop
// to the last one bit, but never below the type's lower size bound.
QorULong _qor_chop_zero_bits(const unsigned char *bits, QorULong length, QorULong lower)
{
    if (bits == nullptr)
        return length < lower ? length : lower;
    while (length > lower) {
        QorULong last = length - 1;
        if ((bits[last / 8] >> (7 - last % 8)) & 1)
            break;
        length = last;
    }
    return length;
}

int _qor_nmbit_lfit(const unsigned char *bits, QorULong *length, QorULong lower, QorULong upper)
{
    if (*length < lower) {
        *length = lower;
        return 1;
    }
    if (*length == lower)
        return 1;
    QorULong fitted = _qor_chop_zero_bits(bits, *length, lower);
    if (fitted > upper)
        return 0;
    *length = fitted;
    return 1;
}

} // extern "C"
