/* Leaves in aligned and unaligned PER, written as generated code would be:
 * object identifiers in three memory forms, REAL as a double and mixed, the
 * classic times, and an open type whose contents are written in place by
 * the fast push and pop and decoded through the push and pop. */
#include "testschema.h"

static QorULong exampleArcs[] = {1, 2, 840, 113549, 1, 1, 11};
static QorObjidNode pathArcs[3] = {{&pathArcs[1], 2}, {&pathArcs[2], 999}, {NULL, 3}};
static unsigned char exampleRelative[] = {0xC2, 0x7B, 0x03, 0x02}; /* 8571.3.2 */
static char exampleMixedText[] = "3.14159";
Leaves leavesExample = {
    {7, exampleArcs},
    pathArcs,
    {4, exampleRelative},
    -40.0,
    {1, {.decimal = {NULL, exampleMixedText}}},
    {2001, 2, 3, 4, 5, 6, 500, 0, 1},
    {1999, 12, 31, 23, 59, 59, 0, 0, 1},
    123456};

void leavesPerEncode(QorGlobal *world, const Leaves *v)
{
    _qor_penc_objidi(world, v->id.value, v->id.count);
    _qor_penc_link_objidi(world, v->path);
    _qor_penc_ereloid_ia(world, v->relative.value, (QorULong)v->relative.length, 0);
    _qor_penc_real(world, v->ratio);
    _qor_penc_mreal_ia(world, v->mixed.kind, &v->mixed);
    _qor_penc_gtime(world, &v->when);
    _qor_penc_utime(world, &v->day);
    /* content: an open type holding INTEGER */
    _qor_fast_push_global(world);
    _qor_penc_unconstr_int_l(world, v->content);
    _qor_fast_pop_global(world);
}

void *leavesPerDecode(QorGlobal *world)
{
    Leaves *v = (Leaves *)_qor_dec_getmem(world, sizeof(Leaves));
    unsigned char *relative = NULL;
    _qor_pdec_uobjidi(world, &v->id.value, &v->id.count);
    _qor_pdec_link_objidi(world, &v->path);
    v->relative.length = _qor_pdec_ereloid_ia(world, &relative, -1);
    v->relative.value = relative;
    v->ratio = _qor_pdec_real(world);
    _qor_pdec_mreal_ia(world, &v->mixed);
    _qor_pdec_gtime(world, &v->when);
    _qor_pdec_utime(world, &v->day);
    world->expectOpenTypeContent = 1;
    _qor_pdec_push(world);
    v->content = _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
    _qor_pdec_pop(world);
    return v;
}

void leavesFree(QorGlobal *world, Leaves *v)
{
    QorObjidNode *node = v->path;
    while (node != NULL) {
        QorObjidNode *next = node->next;
        _qor_dec_free(world, node);
        node = next;
    }
    _qor_dec_free(world, v->id.value);
    _qor_dec_free(world, v->relative.value);
    if (v->mixed.kind == 1)
        _qor_dec_free(world, (void *)v->mixed.value.decimal.text);
    _qor_dec_free(world, v);
}
