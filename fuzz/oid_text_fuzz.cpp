// The object identifier conversions on any input: taken as contents octets by
// the four calls that read octets, and as text by the four that read text,
// each into library memory and into a small caller's buffer. What converts
// must convert back: text to the same octets, octets to the same text.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

using ToText = int (*)(QorGlobal *, const QorEncodedOid *, QorBuf *);
using ToOctets = int (*)(QorGlobal *, const char *, QorEncodedOid *);
constexpr ToText kToText[] = {qorEncodedOidToDotVal, qorEncodedOidToAsnVal,
                              qorEncodedRelOidToDotVal, qorEncodedRelOidToAsnVal};
constexpr ToOctets kToOctets[] = {qorDotValToEncodedOid, qorAsnValToEncodedOid,
                                  qorDotValToEncodedRelOid, qorAsnValToEncodedRelOid};
constexpr size_t kSmall = 8;

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

// No subidentifier led by 0x80: the octets that text gives back.
bool minimal(const unsigned char *p, size_t n)
{
    for (size_t i = 0; i < n; i++)
        if (p[i] == 0x80 && (i == 0 || (p[i - 1] & 0x80) == 0))
            return false;
    return true;
}

// A result in library memory, and the same into a caller's buffer of kSmall
// octets: the same code when it fits, else 1 with the first octets.
template <class Record, class Call>
int convert(QorGlobal *world, Call call, std::vector<unsigned char> &result)
{
    Record out = {0, nullptr};
    const int code = call(&out);
    check((code == 0 || code == QOR_BUFFER_TOO_SMALL) == (out.value != nullptr));
    result.assign(out.value, out.value + (out.value != nullptr ? out.length : 0));
    qorFreeMemory(world, out.value);

    unsigned char small[kSmall];
    Record mine = {kSmall, small};
    const int smallCode = call(&mine);
    if (code == 0 && result.size() <= kSmall)
        check(smallCode == 0 && memcmp(small, result.data(), result.size()) == 0);
    else if (code == 0 || code == QOR_BUFFER_TOO_SMALL)
        check(smallCode == QOR_BUFFER_TOO_SMALL && static_cast<size_t>(mine.length) == kSmall);
    else
        check(smallCode == code);
    return code;
}

int toText(QorGlobal *world, int mode, const std::vector<unsigned char> &octets,
           std::vector<unsigned char> &text)
{
    const QorEncodedOid in = {static_cast<uint16_t>(octets.size()),
                              const_cast<unsigned char *>(octets.data())};
    return convert<QorBuf>(world, [&](QorBuf *out) { return kToText[mode](world, &in, out); },
                           text);
}

int toOctets(QorGlobal *world, int mode, const char *text, std::vector<unsigned char> &octets)
{
    return convert<QorEncodedOid>(
        world, [&](QorEncodedOid *out) { return kToOctets[mode](world, text, out); }, octets);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QorGlobal *world = qorfuzz::context();
    const std::vector<unsigned char> octets(data, data + (size < 65535 ? size : 65535));
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::vector<unsigned char> made, back, again;
    auto asText = [](const std::vector<unsigned char> &v) {
        return reinterpret_cast<const char *>(v.data());
    };
    for (int mode = 0; mode < 4; mode++) {
        // Octets to text and back: the same octets, unless an arc passes 64
        // bits, which text refuses.
        if (toText(world, mode, octets, made) == 0) {
            const int code = toOctets(world, mode, asText(made), back);
            check(code == QOR_PARAMETER_RANGE ||
                  (code == 0 && (back == octets || !minimal(octets.data(), octets.size()))));
        }
        // Text to octets and back: text that reads the same.
        if (toOctets(world, mode, text.c_str(), made) == 0) {
            const int code = toText(world, mode, made, back);
            check(code == 0 || code == QOR_BUFFER_TOO_SMALL);
            if (code == 0) {
                check(toOctets(world, mode, asText(back), again) == 0);
                check(again == made);
            }
        }
    }
    return 0;
}
