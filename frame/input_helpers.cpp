// Calls that look at an input buffer before or between decodes: the length of
// a BER message, pad octets, the compression prefix.
#include "frame/world.h"

extern "C" {

QorLong qorDetermineMessageLength(QorGlobal *, QorBuf *input)
{
    if (input == nullptr || input->value == nullptr || input->length < 1)
        return 0;
    const unsigned char *p = input->value;
    const QorLong n = input->length;
    QorLong at = 1;
    if ((p[0] & 0x1f) == 0x1f) {
        // Long tag: subsequent octets while bit 8 is set.
        while (at < n && (p[at] & 0x80) != 0)
            at++;
        if (at >= n)
            return 0;
        at++;
    }
    if (at >= n)
        return 0;
    unsigned char first = p[at++];
    if (first == 0x80)
        return 0; // indefinite: the end is not known from the header
    if ((first & 0x80) == 0)
        return at + first;
    QorLong count = first & 0x7f;
    if (count > 4 || at + count > n)
        return 0;
    uint64_t contents = 0;
    for (QorLong i = 0; i < count; i++)
        contents = (contents << 8) | p[at + i];
    // The total may exceed what was given: the caller learns how much to read.
    uint64_t total = static_cast<uint64_t>(at + count) + contents;
    return total > INT32_MAX ? 0 : static_cast<QorLong>(total);
}

int qorSkipPadBytes(QorGlobal *world, QorBuf *input, unsigned char pad)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    if (input == nullptr || input->value == nullptr)
        return QOR_NULL_INPUT;
    if (input->length <= 0)
        return QOR_MORE_INPUT;
    while (input->length > 0 && *input->value == pad) {
        input->value++;
        input->length--;
    }
    return input->length == 0 ? QOR_MORE_INPUT : 0;
}

int qorSkipCompressionPrefix(QorGlobal *world, QorBuf *input, QorLong *originalLength,
                             QorLong *compressedLength)
{
    if (world == nullptr || input == nullptr || input->value == nullptr || input->length <= 0)
        return QOR_BAD_ARG;
    QorLong numbers[2];
    QorLong at = 0;
    for (QorLong &number : numbers) {
        // 1 to 5 octets, seven bits each, high bits first, the last below 128.
        uint64_t value = 0;
        int octets = 0;
        for (;;) {
            if (at >= input->length || octets == 5)
                return QOR_DATA_ERROR;
            unsigned char c = input->value[at++];
            octets++;
            value = (value << 7) | (c & 0x7f);
            if (c < 0x80)
                break;
        }
        if (value > INT32_MAX)
            return QOR_DATA_ERROR;
        number = static_cast<QorLong>(value);
    }
    if (originalLength != nullptr)
        *originalLength = numbers[0];
    if (compressedLength != nullptr)
        *compressedLength = numbers[1];
    input->value += at;
    input->length -= at;
    return 0;
}

} // extern "C"
