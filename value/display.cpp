// Display strings: a leaf's text in temporary memory, for the user print
// functions that a schema names. They are never cut.
#include "value/text_out.h"

namespace qor {

namespace {

constexpr QorULong kCompatValueNotationReal = 0x100;

// The text is made twice: once counted, once written into memory of the
// exact size.
template <class Build> char *display(QorGlobal *world, Build &&build)
{
    TextOut counted = TextOut::counting();
    build(counted);
    size_t size = counted.length() + 1;
    // A size beyond the allocator's reach is refused there, as any other.
    auto request = size > INT32_MAX ? QorLong{-1} : static_cast<QorLong>(size);
    auto *text = static_cast<char *>(_qor_dec_gettempmem(world, request));
    TextOut out = TextOut::into(text);
    build(out);
    out.finish();
    return text;
}

// One quoted string, the octets as they are, up to a zero octet.
void quoted(TextOut &out, const char *data, size_t length)
{
    out.put('"');
    if (data != nullptr)
        out.put(data, strnlen(data, length));
    out.put('"');
}

} // namespace

} // namespace qor

using namespace qor;

extern "C" {

char *_qor_getdisp_bit(QorGlobal *world, const unsigned char *bits, QorLong count)
{
    return display(world, [&](TextOut &out) { bitText(out, bits, count); });
}

char *_qor_getdisp_oct(QorGlobal *world, const unsigned char *data, QorLong length)
{
    return _qor_getdisp_hex(world, "'", data, length, "'H");
}

char *_qor_getdisp_hex(QorGlobal *world, const char *prefix, const unsigned char *data,
                       QorLong length, const char *suffix)
{
    return display(world, [&](TextOut &out) { hexText(out, prefix, data, length, suffix); });
}

char *_qor_getdisp_char(QorGlobal *world, const char *data, QorLong length)
{
    size_t n = length > 0 ? static_cast<size_t>(length) : 0;
    return display(world, [&](TextOut &out) { quoted(out, data, n); });
}

char *_qor_getdisp_nchar(QorGlobal *world, const char *text)
{
    size_t n = text != nullptr ? strlen(text) : 0;
    return display(world, [&](TextOut &out) { quoted(out, text, n); });
}

char *_qor_getdisp_mbchar(QorGlobal *world, const void *data, QorLong count, int width)
{
    return display(world, [&](TextOut &out) { mbcharText(out, data, count, width); });
}

char *_qor_getdisp_int(QorGlobal *world, int64_t value)
{
    return display(world, [&](TextOut &out) { out.putSigned(value); });
}

char *_qor_getdisp_uint(QorGlobal *world, uint64_t value)
{
    return display(world, [&](TextOut &out) { out.putUnsigned(value); });
}

char *_qor_getdisp_real(QorGlobal *world, double value)
{
    return display(world, [&](TextOut &out) { realText(out, value); });
}

char *_qor_getdisp_creal(QorGlobal *world, const char *text)
{
    const QorGlobalPrivate *p = world->privateArea;
    bool valueNotation = p != nullptr && (p->compatFlags & kCompatValueNotationReal) != 0;
    return display(world, [&](TextOut &out) { crealDisplayText(out, text, valueNotation); });
}

char *_qor_getdisp_gentime(QorGlobal *world, const GeneralizedTime *value)
{
    return display(world, [&](TextOut &out) { genTimeText(out, value); });
}

char *_qor_getdisp_utctime(QorGlobal *world, const GeneralizedTime *value)
{
    return display(world, [&](TextOut &out) { utcTimeText(out, value); });
}

void _qor_free_disp(QorGlobal *world, void *display)
{
    _qor_dec_freetempmem(world, display);
}

} // extern "C"
