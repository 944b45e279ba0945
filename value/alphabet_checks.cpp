// Checks of ENUMERATED values, permitted alphabets and UTF-8 form, for the
// generated constraint entry and for the encoders under strict checking.
#include "common/utf8.h"
#include "frame/errors.h"
#include "per/alphabet.h"

using namespace qor;

namespace {

// The wide alphabets: a table of the 256 characters from `base`, or, with
// the count all ones, a range list, which is a compact alphabet tree
// without its mark word.
template <class Char>
void checkWide(QorGlobal *world, const Char *data, QorULong count,
               const QorPermittedAlphabet *alphabet)
{
    const bool ranges = alphabet->count == kNotInAlphabet;
    const auto *list = static_cast<const QorULong *>(alphabet->decodeTable);
    for (QorULong i = 0; i < count; i++) {
        const QorULong ch = data[i];
        const bool good =
            ranges ? rangeListContains(list, ch) : wideTableIndexOf(alphabet, ch) != kNotInAlphabet;
        raiseIf(world, !good, Msg::kBadCharacter, static_cast<QorLong>(ch));
    }
}

} // namespace

extern "C" {

void _qor_chk_enum(QorGlobal *world, QorLong value, const QorEnumTable *record)
{
    for (QorULong i = 0; i < record->count; i++)
        if (record->values[i] == value)
            return;
    raise(world, Msg::kNotAnEnumerator, longValue(value));
}

// One function: the unsigned enumerators are compared as the same 32 bits.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wattribute-alias"
#endif
void _qor_chk_uenum(QorGlobal *world, QorULong value, const QorEnumTable *record)
    __attribute__((alias("_qor_chk_enum")));
#pragma GCC diagnostic pop

void _qor_chk_pac(QorGlobal *world, const char *data, QorULong length,
                  const QorPermittedAlphabet *alphabet)
{
    checkAlphabetChars(world, reinterpret_cast<const unsigned char *>(data), length, alphabet);
}

void _qor_chk_pac2(QorGlobal *world, const uint16_t *data, QorULong count,
                   const QorPermittedAlphabet *alphabet)
{
    checkWide(world, data, count, alphabet);
}

void _qor_chk_pac4(QorGlobal *world, const QorULong *data, QorULong count,
                   const QorPermittedAlphabet *alphabet)
{
    checkWide(world, data, count, alphabet);
}

void _qor_checkUtf8String(QorGlobal *world, const unsigned char *data, QorLong length)
{
    static_cast<void>(utf8CharCount(world, data, length));
}

void _qor_checkUtf8String_nlltrm(QorGlobal *world, const char *text)
{
    if (text == nullptr)
        return;
    // The terminator ends a cut sequence, as no continuation octet is 0.
    int used = 0;
    for (auto *p = reinterpret_cast<const unsigned char *>(text); *p != 0; p += used) {
        QorULong scratch;
        if (!decodeUtf8Char(world, &scratch, p, 6, 4, &used))
            raise(world, Msg::kBadUtf8Sequence, longValue(0));
    }
}

} // extern "C"
