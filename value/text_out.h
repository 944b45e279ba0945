// Where the printer's text goes: through the print route, counted, or into a
// buffer that a counting pass sized. Each leaf is written once against this,
// and serves the printers and the display strings alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/world.h"

namespace qor {

// Trivially destructible, so that it may live in a frame that an error
// leaves. The routed form gathers its pieces and hands them on in one call
// when full and at finish().
class TextOut {
public:
    static TextOut toRoute(QorGlobal *world)
    {
        return TextOut(kRoute, world, nullptr, world != nullptr ? world->printChop : 0);
    }
    static TextOut counting() { return TextOut(kCount, nullptr, nullptr, 0); }
    static TextOut into(char *buffer) { return TextOut(kBuffer, nullptr, buffer, 0); }

    // Leaf limit in printed characters; 0, no limit.
    QorULong chop() const { return chop_; }
    // Characters handed over so far.
    size_t length() const { return length_; }

    void put(const char *s, size_t n);
    void put(const char *s) { put(s, strlen(s)); }
    void put(char c) { put(&c, 1); }
    void putSigned(int64_t value);
    void putUnsigned(uint64_t value);
    // At least `width` digits, zeros in front; a sign goes before them.
    void putPadded(int64_t value, int width);
    // Hands on what is gathered; zero-terminates the buffer form.
    void finish();

private:
    enum Mode { kRoute, kCount, kBuffer };
    static constexpr size_t kPendingSize = 256;

    TextOut(Mode mode, QorGlobal *world, char *buffer, QorULong chop)
        : mode_(mode), world_(world), buffer_(buffer), chop_(chop)
    {
    }
    void flush();

    Mode mode_;
    QorGlobal *world_;
    char *buffer_;
    QorULong chop_;
    size_t length_ = 0;
    size_t pendingLength_ = 0;
    char pending_[kPendingSize];
};

// The leaves, shared by the printers and the display strings. A routed
// TextOut applies its chop; the others never cut.
void bitText(TextOut &out, const unsigned char *bits, QorLong count);
void hexText(TextOut &out, const char *prefix, const unsigned char *data, QorLong length,
             const char *suffix);
// Octets with tuples for those that are not printable, as the printer shows them.
void charText(TextOut &out, const char *data, QorLong length);
void mbcharText(TextOut &out, const void *data, QorLong count, int width);
void realText(TextOut &out, double value);
void crealText(TextOut &out, const char *text);
// The display string's own reading of a character REAL: the number itself,
// as 314E-2 or, in value notation, {mantissa 314, base 10, exponent -2}.
void crealDisplayText(TextOut &out, const char *text, bool valueNotation);
void genTimeText(TextOut &out, const GeneralizedTime *value);
void utcTimeText(TextOut &out, const GeneralizedTime *value);

// A printable octet, whatever the process locale.
inline bool printable(uint32_t c)
{
    return c <= 0xFF && (_qorCharFlags[c] & QOR_CHAR_PRINTABLE) != 0;
}

} // namespace qor
