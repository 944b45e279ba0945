/* Elements of the Lexems trace that are not walked lexem by lexem, chosen by
 * the start of their names:
 * - "skipc": its content goes by _qor_tlex_skip_content, a line "skipped
 *   content"; "skipo" the same one element at a time (state bit 0x400), and
 *   "skipn" with bit 0x800, a line "one" for each;
 * - "skip" otherwise: the element goes by _qor_tlex_skip_type, a line
 *   "skipped";
 * - "doc": its content is a contained document in hexadecimal digits
 *   (others are passed over), walked between the lines "document" and "end
 *   of document" ("end of document, top moved" should the temporary stack's
 *   top not come back).
 * The end tag's line follows, as in a walk. */
#include <string.h>

#include "lexems_trace.h"

enum { SKIP_ONE = 0x400, SKIP_ONE_LOOSE = 0x800 };

static int named(const QorXmlTag *tag, const char *prefix)
{
    size_t n = strlen(prefix);
    return tag->name_len >= n && memcmp(tag->name, prefix, n) == 0;
}

static int isEndTag(const QorXmlEnv *env) { return env->lexem == QOR_XML_TAG && env->tag->kind == 2; }

static int hexValue(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f')
        return (c | 0x20) - 'a' + 10;
    return -1;
}

static void containedDocument(Trace *t, QorXmlEnv *env)
{
    QorGlobal *world = env->world;
    QorXmlDocumentSave save;
    /* Digits the current input holds at most: entities may bring more, and
     * those are dropped. */
    QorLong room = (QorLong)env->input_left / 2 + 1;
    unsigned char *buffer = (unsigned char *)_qor_tstk_alloc(world, room);
    QorLong length = 0;
    int high = -1;
    void *top;
    _qor_tlex_get_lex(env);
    while (env->lexem == QOR_XML_CHAR && !isEndTag(env)) {
        int v = env->ch_len == 1 ? hexValue(env->ch.bytes[0]) : -1;
        if (v >= 0 && high < 0) {
            high = v;
        } else if (v >= 0) {
            if (length < room)
                buffer[length++] = (unsigned char)(high * 16 + v);
            high = -1;
        }
        _qor_tlex_get_lex(env);
    }
    traceText(t, "document\n");
    top = world->tempLow;
    _qor_tlex_push_input(env, &save, buffer, (QorULong)length);
    traceElement(t, env);
    _qor_tlex_pop_input(env, &save);
    traceText(t, world->tempLow == top ? "end of document\n" : "end of document, top moved\n");
    _qor_tstk_free(world, buffer);
}

int walkSkipped(Trace *t, QorXmlEnv *env)
{
    QorXmlTag *open = env->open_tag;
    if (!named(open, "skip") && !named(open, "doc"))
        return 0;
    traceTag(t, open);
    if (named(open, "doc")) {
        if (open->kind == 1)
            containedDocument(t, env);
    } else if (!named(open, "skipc") && !named(open, "skipo") && !named(open, "skipn")) {
        _qor_tlex_skip_type(env);
        traceText(t, "skipped\n");
    } else if (open->kind == 1 && named(open, "skipc")) {
        _qor_tlex_get_lex(env);
        _qor_tlex_skip_content(env);
        traceText(t, "skipped content\n");
    } else if (open->kind == 1) {
        if (named(open, "skipo"))
            _qor_tlex_get_tag(env);
        else
            _qor_tlex_get_lex(env);
        do {
            env->state |= named(open, "skipo") ? SKIP_ONE : SKIP_ONE_LOOSE;
            _qor_tlex_skip_content(env);
            traceText(t, "one\n");
        } while (env->lexem != QOR_XML_END && !isEndTag(env));
    }
    if (isEndTag(env))
        traceTag(t, env->tag);
    return 1;
}
