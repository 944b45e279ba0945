// The same octets as binary, hexadecimal text or base64 text: one pass that
// validates the text and sizes the result, a second that converts into the
// caller's buffer or new memory. Both passes are linear. The compression
// calls have no compressor behind them.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "frame/export.h"
#include "frame/world.h"
#include "common/hex.h"

namespace {

enum Format : int { kBinary = 1, kHex = 2, kBase64 = 4 };

// What went wrong, and where in the input.
enum Failure : int {
    kFine = 0,
    kNoMemory = 1,
    kOutputTooSmall = 2,
    kBadText = 3,
    kUnknownFormat = 7,
};

struct Outcome {
    Failure failure;
    int64_t position;
};

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr char kBase64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kPad = 64;     // '=' in the table below
constexpr unsigned char kInvalid = 65; // in the range, but no base64 character

// Base64 values of the characters from '+' to 'z'; anything outside that
// range is skipped, so line breaks and blanks may come between groups.
struct Base64Table {
    unsigned char value['z' - '+' + 1];
};
constexpr Base64Table makeBase64Table()
{
    Base64Table t{};
    for (auto &v : t.value)
        v = kInvalid;
    for (unsigned i = 0; i < 64; i++)
        t.value[kBase64Digits[i] - '+'] = static_cast<unsigned char>(i);
    t.value['=' - '+'] = kPad;
    return t;
}
constexpr Base64Table kBase64Values = makeBase64Table();

inline bool skipped(unsigned char c) { return c < '+' || c > 'z'; }

// Hands each octet of valid hexadecimal text to `put`; with `put` null,
// checks the text only. Returns the octets, or -1 with the failure's place.
template <class Put> int64_t eachHexOctet(const unsigned char *in, int64_t n, Put &&put, Outcome *bad)
{
    if (n % 2 != 0) {
        *bad = {kBadText, n};
        return -1;
    }
    for (int64_t i = 0; i < n; i += 2) {
        const int high = qor::hexValue(in[i]), low = qor::hexValue(in[i + 1]);
        if (high < 0 || low < 0) {
            *bad = {kBadText, high < 0 ? i : i + 1};
            return -1;
        }
        put(static_cast<unsigned char>(high << 4 | low));
    }
    return n / 2;
}

// The same for base64 text: groups of four characters, padding only in the
// last one or two places of a group, which ends the data.
template <class Put> int64_t eachBase64Octet(const unsigned char *in, int64_t n, Put &&put, Outcome *bad)
{
    unsigned group[4];
    int held = 0;
    int64_t octets = 0;
    for (int64_t i = 0; i < n; i++) {
        if (skipped(in[i]))
            continue;
        const unsigned v = kBase64Values.value[in[i] - '+'];
        // Padding may stand only third or fourth, and a third pad needs a fourth.
        const bool misplacedPad = v == kPad ? held < 2 : held == 3 && group[2] == kPad;
        if (v == kInvalid || misplacedPad) {
            *bad = {kBadText, i};
            return -1;
        }
        group[held++] = v;
        if (held < 4)
            continue;
        held = 0;
        put(static_cast<unsigned char>(group[0] << 2 | group[1] >> 4));
        octets++;
        if (group[2] == kPad)
            return octets; // what follows the padding is not data
        put(static_cast<unsigned char>((group[1] & 0xF) << 4 | group[2] >> 2));
        octets++;
        if (group[3] == kPad)
            return octets;
        put(static_cast<unsigned char>((group[2] & 0x3) << 6 | group[3]));
        octets++;
    }
    if (held != 0) {
        *bad = {kBadText, n};
        return -1;
    }
    return octets;
}

// Octets of the decoded text, validated; -1 with the failure's place.
int64_t decodedSize(int format, const unsigned char *in, int64_t n, Outcome *bad)
{
    const auto ignore = [](unsigned char) {};
    return format == kHex ? eachHexOctet(in, n, ignore, bad) : eachBase64Octet(in, n, ignore, bad);
}

inline int64_t base64Size(int64_t octets) { return (octets + 2) / 3 * 4; }

// Writes octets as hexadecimal or base64 text, or as they are.
class Writer {
public:
    Writer(int format, unsigned char *out) : format_(format), out_(out) {}
    void operator()(unsigned char c)
    {
        if (format_ == kBinary) {
            *out_++ = c;
        } else if (format_ == kHex) {
            *out_++ = static_cast<unsigned char>(kHexDigits[c >> 4]);
            *out_++ = static_cast<unsigned char>(kHexDigits[c & 0xF]);
        } else {
            triple_[held_++] = c;
            if (held_ == 3)
                flush();
        }
    }
    // The last base64 group, padded.
    void finish()
    {
        if (format_ == kBase64 && held_ != 0)
            flush();
    }

private:
    void flush()
    {
        const unsigned a = triple_[0], b = held_ > 1 ? triple_[1] : 0, c = held_ > 2 ? triple_[2] : 0;
        out_[0] = static_cast<unsigned char>(kBase64Digits[a >> 2]);
        out_[1] = static_cast<unsigned char>(kBase64Digits[(a & 0x3) << 4 | b >> 4]);
        out_[2] = held_ > 1 ? static_cast<unsigned char>(kBase64Digits[(b & 0xF) << 2 | c >> 6]) : '=';
        out_[3] = held_ > 2 ? static_cast<unsigned char>(kBase64Digits[c & 0x3F]) : '=';
        out_ += 4;
        held_ = 0;
    }

    int format_;
    unsigned char *out_;
    unsigned char triple_[3] = {};
    int held_ = 0;
};

bool knownFormat(int format) { return format == kBinary || format == kHex || format == kBase64; }

// The size of the output, or -1 with what went wrong.
int64_t outputSize(int from, int to, const unsigned char *in, int64_t n, Outcome *bad)
{
    if (!knownFormat(from) || !knownFormat(to)) {
        *bad = {kUnknownFormat, 0};
        return -1;
    }
    if (from == to)
        return n;
    const int64_t octets = from == kBinary ? n : decodedSize(from, in, n, bad);
    if (octets < 0)
        return -1;
    return to == kBinary ? octets : to == kHex ? octets * 2 : base64Size(octets);
}

void convert(int from, int to, const unsigned char *in, int64_t n, unsigned char *out)
{
    if (from == to) {
        memcpy(out, in, static_cast<size_t>(n));
        return;
    }
    Writer write(to, out);
    Outcome unused{};
    if (from == kBinary) {
        for (int64_t i = 0; i < n; i++)
            write(in[i]);
    } else if (from == kHex) {
        eachHexOctet(in, n, write, &unused);
    } else {
        eachBase64Octet(in, n, write, &unused);
    }
    write.finish();
}

// The message of a failure, in the context's message buffer.
int fail(QorGlobal *world, const Outcome &bad)
{
    free_ext_errMsg(world);
    const auto position = static_cast<long>(bad.position);
    char *buffer = world->errMsgBuffer;
    const size_t size = sizeof world->errMsgBuffer;
    switch (bad.failure) {
    case kNoMemory:
        snprintf(buffer, size, "%s.  Input position %ld.\n", "Out of memory", position);
        return QOR_OUT_OF_MEMORY;
    case kOutputTooSmall:
        snprintf(buffer, size, "%s.  Input position %ld.\n", "Output buffer too small", position);
        return QOR_BUFFER_TOO_SMALL;
    case kBadText:
        snprintf(buffer, size, "%s.  Input position %ld.\n",
                 "Invalid sequence of octets in the input buffer", position);
        return QOR_DATA_ERROR;
    case kUnknownFormat:
        snprintf(buffer, size, "%s.\n", "Unknown data format was requested");
        return QOR_NOT_SUPPORTED;
    default:
        snprintf(buffer, size, "This error cannot happen.  Input position %ld; inform QOR, code = %d.\n",
                 position, static_cast<int>(bad.failure));
        return QOR_FATAL;
    }
}

} // namespace

extern "C" {

int qorConvertData(QorGlobal *world, QorBuf *input, int inputFormat, QorBuf *output,
                   int outputFormat)
{
    if (world == nullptr || input == nullptr || output == nullptr)
        return QOR_BAD_ARG;
    if (input->length <= 0 || input->value == nullptr) {
        output->length = 0;
        return 0;
    }
    Outcome bad{};
    const int64_t size = outputSize(inputFormat, outputFormat, input->value, input->length, &bad);
    if (size < 0)
        return fail(world, bad);
    if (size == 0) {
        // Only blanks between base64 groups: no octets, no memory.
        output->length = 0;
        return 0;
    }
    if (output->length == 0 || output->value == nullptr) {
        // Sizes are 64-bit: one past a 32-bit length is refused, not wrapped.
        void *memory = size <= INT32_MAX ? qor::userAllocate(world, static_cast<size_t>(size)) : nullptr;
        if (memory == nullptr)
            return fail(world, {kNoMemory, 0});
        output->value = static_cast<unsigned char *>(memory);
    } else if (output->length < size) {
        return fail(world, {kOutputTooSmall, 0});
    }
    output->length = static_cast<QorLong>(size);
    convert(inputFormat, outputFormat, input->value, input->length, output->value);
    return 0;
}

int qorCompress(QorGlobal *world, QorBuf *input, QorBuf *output, QorLong level)
{
    if (world == nullptr || input == nullptr || output == nullptr || level < 0)
        return QOR_BAD_ARG;
    return QOR_NOT_SUPPORTED;
}

int qorUnCompress(QorGlobal *world, QorBuf *input, QorBuf *output, QorLong flag)
{
    static_cast<void>(flag);
    if (world == nullptr || input == nullptr || output == nullptr)
        return QOR_BAD_ARG;
    return QOR_NOT_SUPPORTED;
}

} // extern "C"
