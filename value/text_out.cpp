// The printer's text sink: routed in gathered pieces, counted, or buffered.
#include "value/text_out.h"

#include <charconv>

#include "frame/errors.h"

namespace qor {

void TextOut::put(const char *s, size_t n)
{
    if (mode_ == kBuffer)
        memcpy(buffer_ + length_, s, n);
    length_ += n;
    if (mode_ != kRoute)
        return;
    while (n > 0) {
        size_t room = kPendingSize - 1 - pendingLength_;
        if (room == 0) {
            flush();
            continue;
        }
        size_t piece = n < room ? n : room;
        memcpy(pending_ + pendingLength_, s, piece);
        pendingLength_ += piece;
        s += piece;
        n -= piece;
    }
}

void TextOut::putSigned(int64_t value)
{
    char digits[24];
    auto r = std::to_chars(digits, digits + sizeof digits, value);
    put(digits, static_cast<size_t>(r.ptr - digits));
}

void TextOut::putUnsigned(uint64_t value)
{
    char digits[24];
    auto r = std::to_chars(digits, digits + sizeof digits, value);
    put(digits, static_cast<size_t>(r.ptr - digits));
}

void TextOut::putPadded(int64_t value, int width)
{
    // As "%0*d" has it: the sign counts towards the width.
    char digits[24];
    uint64_t magnitude =
        value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    auto r = std::to_chars(digits, digits + sizeof digits, magnitude);
    int n = static_cast<int>(r.ptr - digits);
    if (value < 0) {
        put('-');
        width--;
    }
    for (; width > n; width--)
        put('0');
    put(digits, static_cast<size_t>(n));
}

void TextOut::flush()
{
    if (pendingLength_ == 0)
        return;
    pending_[pendingLength_] = '\0';
    pendingLength_ = 0;
    printText(world_, pending_);
}

void TextOut::finish()
{
    if (mode_ == kRoute)
        flush();
    else if (mode_ == kBuffer)
        buffer_[length_] = '\0';
}

} // namespace qor
