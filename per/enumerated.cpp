// ENUMERATED in PER: the index of the value among the root's, or, past the
// extension bit, a normally small index among the additions. A value that
// this version of the schema doesn't know travels as its distance from the
// base that ends the extension table, which is how the decoder made it.
#include "per/per.h"

using namespace qor;

namespace {

// Index of `value` among the first `count` entries of `table`, or -1.
int64_t indexOf(const QorEnumTable *table, QorULong count, QorLong value)
{
    for (QorULong i = 0; i < count; i++)
        if (table->values[i] == value)
            return i;
    return -1;
}

void encodeEnum(QorGlobal *world, QorLong value, const QorEnumTable *root, const QorEnumTable *extension)
{
    const int64_t found = indexOf(root, root->count, value);
    const QorULong count = root->count;
    if (found >= 0) {
        const auto i = static_cast<QorULong>(found);
        if (count <= 128) {
            // The extension bit, 0, is the top bit of one wider field.
            _qor_penc_nonneg_int_l(world, i, kBitsForRange.bits[count] + (extension != nullptr ? 1 : 0));
            return;
        }
        if (extension != nullptr)
            _qor_penc_nonneg_1int(world, 0);
        if (count <= 255)
            _qor_penc_nonneg_int_l(world, i, kBitsForRange.bits[count]);
        else if (count == 256)
            _qor_append_8bit_aligned(world, i);
        else if (count <= 65536) {
            if (world->perAligned)
                _qor_penc_int16_aligned(world, i);
            else
                _qor_penc_nonneg_int_l(world, i, bitLength(count - 1));
        }
        return;
    }
    raiseIf(world, extension == nullptr || extension->count == 0, Msg::kNotAnEnumerator, value);
    const QorULong additions = extension->count - 1;
    int64_t index = indexOf(extension, additions, value);
    if (index < 0)
        index = static_cast<QorULong>(extension->values[additions]) - static_cast<QorULong>(value);
    _qor_penc_nonneg_1int(world, 1);
    _qor_penc_small_int_l(world, static_cast<QorULong>(index));
}

QorLong decodeEnum(QorGlobal *world, const QorEnumTable *root, const QorEnumTable *extension)
{
    if (extension != nullptr && _qor_pdec_nonneg_1int(world) != 0) {
        const QorULong index = _qor_pdec_small_int_l(world);
        raiseIf(world, extension->count == 0, Msg::kNotAnEnumerator, static_cast<QorLong>(index));
        const QorULong additions = extension->count - 1;
        if (index >= additions)
            return static_cast<QorLong>(static_cast<QorULong>(extension->values[additions]) - index);
        return extension->values[index];
    }
    const QorULong count = root->count;
    raiseIf(world, count == 0, Msg::kNotAnEnumerator, 0);
    const QorULong n = count - 1;
    QorULong index;
    if (n < 255)
        index = _qor_pdec_nonneg_int_l(world, bitLength(n));
    else if (n == 255)
        index = readOctet(world, true);
    else if (world->perAligned)
        index = static_cast<QorULong>(readOctets(world, 2));
    else
        index = _qor_pdec_nonneg_int_l(world, bitLength(n));
    raiseIf(world, index >= count, Msg::kNotAnEnumerator, static_cast<QorLong>(index));
    return root->values[index];
}

} // namespace

extern "C" {

void _qor_penc_enum(QorGlobal *world, QorLong value, const QorEnumTable *root, const QorEnumTable *extension)
{
    encodeEnum(world, value, root, extension);
}

void _qor_penc_uenum(QorGlobal *world, QorULong value, const QorEnumTable *root, const QorEnumTable *extension)
{
    encodeEnum(world, static_cast<QorLong>(value), root, extension);
}

QorLong _qor_pdec_enum(QorGlobal *world, const QorEnumTable *root, const QorEnumTable *extension)
{
    return decodeEnum(world, root, extension);
}

QorULong _qor_pdec_uenum(QorGlobal *world, const QorEnumTable *root, const QorEnumTable *extension)
{
    return static_cast<QorULong>(decodeEnum(world, root, extension));
}

} // extern "C"
