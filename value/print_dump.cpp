// Octets for people: qorPrintHex, plain or as a dump with offsets and
// characters, and the two ready-made user print functions of OCTET STRING.
#include "value/text_out.h"
#include "common/hex.h"

namespace qor {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr QorULong kDebugHexHeading = QOR_DEBUG_HEX_HEADING;
constexpr int kDumpWidth = 16;

void putHexOctet(TextOut &out, unsigned char octet)
{
    char pair[2] = {kHexDigits[octet >> 4], kHexDigits[octet & 15]};
    out.put(pair, 2);
}

void putOffset(TextOut &out, size_t offset)
{
    char digits[16];
    int n = 0;
    do {
        digits[n++] = "0123456789abcdef"[offset & 15];
        offset >>= 4;
    } while (offset != 0);
    for (int i = n; i < 6; i++)
        out.put('0');
    while (n > 0)
        out.put(digits[--n]);
}

void putCharacters(TextOut &out, const unsigned char *data, size_t n)
{
    for (size_t i = 0; i < n; i++)
        out.put(data[i] < 32 || data[i] >= 127 ? '.' : static_cast<char>(data[i]));
}

// 16 octets a line, in pairs, then the same as characters; a short last line
// is padded as the dump has always padded it, by the count of missing octets.
void dump(TextOut &out, const unsigned char *data, size_t length)
{
    out.put("#   000000:   ");
    size_t lineStart = 0;
    for (size_t i = 0; i < length; i++) {
        putHexOctet(out, data[i]);
        size_t inLine = i - lineStart + 1;
        if (inLine % 2 == 0)
            out.put(' ');
        if (inLine < kDumpWidth)
            continue;
        out.put("    ", 4);
        putCharacters(out, data + lineStart, kDumpWidth);
        lineStart = i + 1;
        if (lineStart < length) {
            out.put("\n#   ");
            putOffset(out, lineStart);
            out.put(":   ");
        }
    }
    size_t inLine = length - lineStart;
    if (inLine > 0) {
        size_t missing = kDumpWidth - inLine;
        // "%*c" of a blank: the width in blanks.
        for (size_t w = missing / 2 + missing * 2 + 3; w > 0; w--)
            out.put(' ');
        out.put(' ');
        putCharacters(out, data + lineStart, inLine);
    }
    out.put('\n');
}

// Blanks after every 4 octets and new lines after every 32; the last line
// is ended too.
void plainHex(TextOut &out, const unsigned char *data, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        putHexOctet(out, data[i]);
        size_t count = i + 1;
        if (count == length || count % 32 == 0)
            out.put('\n');
        else if (count % 4 == 0)
            out.put(' ');
    }
}

// The octets of a display string 'hhhh'H, one at a time.
class DisplayOctets {
public:
    explicit DisplayOctets(const char *display)
        : at_(display != nullptr && *display == '\'' ? display + 1 : display)
    {
    }
    bool next(unsigned char *octet)
    {
        if (at_ == nullptr)
            return false;
        int high = hexValue(at_[0]);
        int low = high >= 0 ? hexValue(at_[1]) : -1;
        if (low < 0)
            return false;
        *octet = static_cast<unsigned char>(high << 4 | low);
        at_ += 2;
        return true;
    }

private:
    const char *at_;
};

} // namespace

} // namespace qor

using namespace qor;

extern "C" {

void qorPrintHex(QorGlobal *world, const unsigned char *data, QorLong length)
{
    if (world == nullptr || data == nullptr || length < 1)
        return;
    const QorGlobalPrivate *p = world->privateArea;
    TextOut out = TextOut::toRoute(world);
    if (p != nullptr && (p->debugFlags & kDebugHexHeading) != 0)
        dump(out, data, static_cast<size_t>(length));
    else
        plainHex(out, data, static_cast<size_t>(length));
    out.finish();
}

void qorPrintOctetAsASCII(QorGlobal *world, const char *display)
{
    if (display == nullptr)
        return;
    TextOut out = TextOut::toRoute(world);
    DisplayOctets octets(display);
    unsigned char octet;
    out.put('\'');
    while (octets.next(&octet))
        out.put(printable(octet) ? static_cast<char>(octet) : '?');
    out.put('\'');
    out.finish();
}

void qorPrintOctetAsIPAddress(QorGlobal *world, const char *display)
{
    if (display == nullptr)
        return;
    TextOut out = TextOut::toRoute(world);
    DisplayOctets octets(display);
    unsigned char octet;
    for (bool first = true; octets.next(&octet); first = false) {
        if (!first)
            out.put('.');
        out.putUnsigned(octet);
    }
    out.finish();
}

} // extern "C"
