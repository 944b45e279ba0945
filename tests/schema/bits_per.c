/* Bits in aligned and unaligned PER, written as generated code would be:
 * each bit or octet string through the primitives of its memory form. */
#include "testschema.h"

enum { FLAGS_UB = 16, FIXED_SIZE = 20, OCTETS_LB = 1, OCTETS_UB = 8, WORD_UB = 32 };
enum { MSG_SIZE_VIOLATED = 27, MSG_MISENCODED = 106 };

static unsigned char exampleNamed[1] = {0x84};
static unsigned char exampleBlob[5] = {'H', 'e', 'l', 'l', 'o'};
Bits bitsExample = {{3, {0xA0, 0}}, {0xAB, 0xCD, 0xE0}, {6, exampleNamed},
                    {3, {1, 2, 3}},  {5, exampleBlob},  0x80400000};

/* Named bits go without their trailing zeros. */
static QorULong significantBits(const unsigned char *bits, QorULong count)
{
    while (count > 0 && !(bits[(count - 1) / 8] & (0x80 >> ((count - 1) % 8))))
        count--;
    return count;
}

void bitsPerEncode(QorGlobal *world, const Bits *v)
{
    unsigned char word[4];
    word[0] = (unsigned char)(v->word >> 24);
    word[1] = (unsigned char)(v->word >> 16);
    word[2] = (unsigned char)(v->word >> 8);
    word[3] = (unsigned char)v->word;

    _qor_penc_nonneg_1int(world, 0); /* no extension additions */
    /* Not padded to a size, so the value isn't written to. */
    _qor_penc_constr_bit_l(world, (unsigned char *)v->flags.value, v->flags.length, 0, FLAGS_UB,
                           0, 0);
    _qor_penc_fix_bit(world, v->fixed, FIXED_SIZE);
    _qor_penc_uncon_bit(world, v->named.value, significantBits(v->named.value, v->named.length));
    if (v->octets.length < OCTETS_LB || v->octets.length > OCTETS_UB)
        _qor_enc_error(world, MSG_SIZE_VIOLATED, (QorLong)v->octets.length);
    _qor_penc_length_l(world, v->octets.length, OCTETS_LB, OCTETS_UB, 0);
    _qor_append(world, v->octets.value, (QorULong)v->octets.length * 8, 1);
    _qor_penc_uncon_oct(world, v->blob.value, v->blob.length);
    _qor_penc_constr_bit_l(world, word, significantBits(word, WORD_UB), 0, WORD_UB, 0, 0);
}

/* Additions of a later version: a bitmap of those present, then each as an
 * open type, consumed at once from temporary memory. */
static void skipAdditions(QorGlobal *world)
{
    QorULong count, present = 0, i;
    unsigned char done = 1;
    if (_qor_pdec_nonneg_1int(world) == 0)
        count = _qor_pdec_nonneg_6int(world) + 1;
    else
        count = _qor_pdec_length(world, 0, 0, &done);
    if (!done)
        _qor_enc_error(world, MSG_MISENCODED, 0);
    for (i = 0; i < count; i++)
        present += _qor_pdec_nonneg_1int(world);
    world->decodeToTemporary = 1;
    for (i = 0; i < present; i++) {
        unsigned char *skipped = NULL;
        _qor_pdec_unconstr_uoct_ia(world, &skipped);
        if (skipped != NULL)
            _qor_dec_freetempmem(world, skipped);
    }
    world->decodeToTemporary = 0;
}

void *bitsPerDecode(QorGlobal *world)
{
    Bits *v = (Bits *)_qor_dec_getmem(world, sizeof(Bits));
    const QorULong extended = _qor_pdec_nonneg_1int(world);
    v->flags.length = (unsigned short)_qor_pdec_constr_vbit_ia(world, v->flags.value, 0, FLAGS_UB);
    _qor_pdec_constr_bpbit_l(world, v->fixed, sizeof v->fixed, FIXED_SIZE, FIXED_SIZE);
    v->named.length = _qor_pdec_unconstr_ubit_ia(world, &v->named.value);
    v->octets.length =
        (unsigned short)_qor_pdec_constr_voct_ia(world, v->octets.value, OCTETS_LB, OCTETS_UB);
    v->blob.length = _qor_pdec_unconstr_uoct_ia(world, &v->blob.value);
    _qor_pdec_constr_pbit_l(world, &v->word, sizeof v->word, 0, WORD_UB);
    if (extended)
        skipAdditions(world);
    return v;
}

void bitsFree(QorGlobal *world, Bits *v)
{
    _qor_dec_free(world, v->named.value);
    _qor_dec_free(world, v->blob.value);
    _qor_dec_free(world, v);
}
