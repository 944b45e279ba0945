/* Texts in aligned and unaligned PER, written as generated code would be:
 * one string primitive a component, each memory form through its decoder. */
#include <stddef.h>
#include <string.h>

#include "testschema.h"

/* bmp: BMPString (SIZE (1..4)), 16 bits a character in both variants. */
static const QorStringDescriptor bmpString = {NULL, 1, 4, 0, 16 | (16 << 8)};

/* symbols: 40 characters, an index of 8 bits aligned, 6 unaligned, looked
 * up in a tree: "a".."z" at the root, "0".."9" before it, then the Greek
 * list and the euro sign. */
#define RANGE_NODE 0x40000000u
#define LIST_NODE(s) (0x80000000u | ((QorULong)(s) << 26))
#define SMALLER_FOLLOWS 0x02000000u
static const QorULong symbolsTree[] = {10, RANGE_NODE | SMALLER_FOLLOWS | 8, 'a', 'z',
                                       0,  RANGE_NODE, '0', '9',
                                       36, LIST_NODE(5) | 6, 0x3B1, 0x3B2, 0x3C9, 0,
                                       39, 0, 0x20AC};
static const QorPermittedAlphabet symbolsAlphabet = {40, symbolsTree, NULL, 0};
static const QorStringDescriptor symbolsString = {&symbolsAlphabet, 1, 0, 0, 8 | (6 << 8) | 0x40000};

/* code: PrintableString (SIZE (4)); name: VisibleString (SIZE (0..10));
 * note: IA5String. Codes, 8 bits aligned and 7 unaligned. */
static const QorStringDescriptor codeString = {NULL, 4, 4, 4, 0x88 | (0x87 << 8)};
static const QorStringDescriptor nameString = {NULL, 0, 10, 10, 0x88 | (0x87 << 8)};
static const QorStringDescriptor noteString = {NULL, 1, 0, 0, 0x88 | (0x87 << 8)};

enum { TAG_CAPACITY = 8, FIXED_SIZE = 6, LINE_CAPACITY = 16 };

static uint16_t exampleBmp[] = {'a', 'b'};
static QorULong exampleSymbols[] = {'a', '0', 0x3B1, 0x20AC};
static uint16_t exampleLabel[] = {'g', 'r', 0xFC, 0xDF};
static QorULong exampleEmoji[] = {0x1F600, '!'};
static TextsRun exampleNote = {1, "N"};
static unsigned char exampleComment[] = "no comment";
static unsigned char exampleBlob[] = {0x00, 0xFF, 0x80};
static TextsRun exampleMemo = {1, "M"};
Texts textsExample = {{2, exampleBmp},
                      {4, exampleSymbols},
                      {4, exampleLabel},
                      {2, exampleEmoji},
                      {'Q', 'R', '4', '2'},
                      {3, {'A', 'n', 'n'}},
                      &exampleNote,
                      "tag",
                      exampleComment,
                      {'A', 'B', 'C', 'D', 'E', 'F'},
                      {exampleBlob, 3},
                      {4, {'l', 'i', 'n', 'e'}},
                      &exampleMemo};

static QorULong textLength(const unsigned char *text)
{
    return text != NULL ? (QorULong)strlen((const char *)text) : 0;
}

void textsPerEncode(QorGlobal *world, const Texts *v)
{
    _qor_penc_bmpstr(world, v->bmp.value, v->bmp.length, &bmpString, 0);
    _qor_penc_unistr(world, v->symbols.value, v->symbols.length, &symbolsString, 0);
    _qor_penc_utf8bmpstr_l(world, v->label.value, v->label.length);
    _qor_penc_utf8unistr_l(world, v->emoji.value, v->emoji.length);
    _qor_penc_kmstr(world, v->code, sizeof v->code, &codeString, 0);
    _qor_penc_kmstr(world, v->name.value, v->name.count, &nameString, 0);
    _qor_penc_kmstr(world, v->note->value, v->note->length, &noteString, 0);
    _qor_penc_nkmstr_l(world, v->tag, textLength(v->tag));
    _qor_penc_nkmstr_l(world, v->comment, textLength(v->comment));
    _qor_penc_nkmstr_l(world, v->fixed, FIXED_SIZE);
    _qor_penc_nkmstr_l(world, v->blob.value, v->blob.length);
    _qor_penc_nkmstr_l(world, v->line.value, v->line.count);
    _qor_penc_nkmstr_l(world, (const unsigned char *)v->memo->value, v->memo->length);
}

void *textsPerDecode(QorGlobal *world)
{
    Texts *v = (Texts *)_qor_dec_getmem(world, sizeof(Texts));
    void *run;
    v->bmp.length = (QorULong)_qor_pdec_bmpstr(world, &v->bmp.value, &bmpString);
    v->symbols.length = (QorULong)_qor_pdec_unistr(world, &v->symbols.value, &symbolsString);
    v->label.length = (QorULong)_qor_pdec_utf8bmpstr_ia(world, &v->label.value);
    v->emoji.length = (QorULong)_qor_pdec_utf8unistr_ia(world, &v->emoji.value);
    _qor_pdec_pad_kmstr(world, v->code, &codeString);
    v->name.count = (QorULong)_qor_pdec_va_kmstr(world, v->name.value, &nameString);
    {
        QorLong length = _qor_pdec_vap_kmstr(world, &run, TEXTS_RUN_HEADER, &noteString);
        v->note = (TextsRun *)run;
        v->note->length = (QorULong)length;
    }
    _qor_pdec_nt_nkmstr(world, v->tag, TAG_CAPACITY);
    _qor_pdec_ntp_nkmstr(world, &v->comment);
    _qor_pdec_pad_nkmstr(world, v->fixed, FIXED_SIZE);
    v->blob.length = (QorULong)_qor_pdec_ub_nkmstr_ia(world, &v->blob);
    v->line.count = (QorULong)_qor_pdec_va_nkmstr_ia(world, v->line.value, LINE_CAPACITY);
    {
        QorLong length = _qor_pdec_vap_nkmstr_ia(world, &run, TEXTS_RUN_HEADER);
        v->memo = (TextsRun *)run;
        v->memo->length = (QorULong)length;
    }
    return v;
}

void textsFree(QorGlobal *world, Texts *v)
{
    _qor_dec_free(world, v->bmp.value);
    _qor_dec_free(world, v->symbols.value);
    _qor_dec_free(world, v->label.value);
    _qor_dec_free(world, v->emoji.value);
    _qor_dec_free(world, v->note);
    _qor_dec_free(world, v->comment);
    _qor_dec_free(world, v->blob.value);
    _qor_dec_free(world, v->memo);
    _qor_dec_free(world, v);
}
