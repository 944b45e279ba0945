/* Words in the Lexems trace: the content of an element whose local name
 * begins with "word" is read by the word calls, as a value decoder reads it.
 * Lines: "word <text>" a word; the elements between words as Lexems gives
 * them; after an element that ended a word, "top moved" if the temporary
 * stack's top is not where it was before the word (its records must go
 * above the word's, and leave with the element). "wordq": each word is
 * resolved as a qualified name, its URI after it as in a tag's line.
 * "wordws0", "wordws2", "wordws4": the whole text before each element, read
 * by the white-space form in that mode (preserve, collapse, replace), as
 * "text |<text>|", where the tests lend that form. "wordc": a word copied
 * to the trace's own memory (at most 256 octets) as a value decoder keeps
 * one, the stack given back by the consolidating form when the word is on
 * it, the line written after the element that ended the word, from the
 * copy. "worda": its attributes, newest first, read word by word as
 * "@name" and the word lines. The element's own attributes are otherwise
 * left unread, as a decoder leaves those it does not know. */
#include <string.h>

#include "lexems_trace.h"

/* The white-space form is no exported name: the internal tests lend it. */
void lexemsReadWordWs(QorXmlEnv *env, QorXmlWord *word, int mode) __attribute__((weak));

/* The top that the next records take: the look-ahead start tag's, or the
 * stack's own. */
static void *nextTop(const QorXmlEnv *env)
{
    if (env->lexem == QOR_XML_TAG && env->tag->kind != 2)
        return env->tag->stack_mark;
    return env->world->tempLow;
}

enum { KEPT = 256 };

/* A "wordc" word: kept, then the element that ended it, then its line. */
static void traceKept(Trace *t, QorXmlEnv *env, void *top)
{
    unsigned char kept[KEPT];
    QorXmlWord w;
    uint32_t n;
    _qor_tlex_read_word(env, &w);
    n = w.len < KEPT ? w.len : KEPT;
    _qor_tstk_consolidate_array_tag(env, (void *)w.text, kept, n);
    if (env->lexem == QOR_XML_TAG && env->tag->kind != 2) {
        traceElement(t, env);
        if (nextTop(env) != top)
            traceText(t, "top moved\n");
    }
    traceText(t, "word ");
    tracePut(t, kept, n);
    traceText(t, "\n");
}

/* The words of each attribute of the open tag. */
static void traceAttributeWords(Trace *t, QorXmlEnv *env)
{
    QorXmlInputSave save;
    AttrHead *a = (AttrHead *)env->open_tag->attrs;
    if (a == NULL)
        return;
    _qor_tlex_store_input(env, &save);
    for (; a != NULL; a = a->next) {
        traceText(t, "@");
        tracePut(t, a->name, a->name_len);
        traceText(t, "\n");
        _qor_tlex_set_attr_input(env, a);
        for (;;) {
            QorXmlWord w;
            _qor_tlex_read_word(env, &w);
            if (w.len != 0) {
                traceText(t, "word ");
                tracePut(t, w.text, w.len);
                traceText(t, "\n");
            }
            _qor_tlex_free_name(env);
            if (env->lexem == QOR_XML_END)
                break;
        }
    }
    _qor_tlex_restore_input(env, &save);
}

int traceWords(Trace *t, QorXmlEnv *env)
{
    const QorXmlTag *open = env->open_tag;
    uint32_t skip = open->colon < 0 ? 0 : (uint32_t)open->colon + 1;
    const unsigned char *local = open->name + skip;
    uint32_t n = open->name_len - skip;
    int resolve;
    int copy;
    int mode = -1;
    if (n < 4 || memcmp(local, "word", 4) != 0)
        return 0;
    resolve = n == 5 && local[4] == 'q';
    copy = n == 5 && local[4] == 'c';
    if (n == 7 && memcmp(local + 4, "ws", 2) == 0 && lexemsReadWordWs != NULL)
        mode = local[6] - '0';
    traceTag(t, open);
    if (n == 5 && local[4] == 'a')
        traceAttributeWords(t, env);
    if (open->kind != 1)
        return 1;
    _qor_tlex_get_lex(env);
    for (;;) {
        void *top;
        QorXmlWord w;
        if (mode < 0)
            _qor_tlex_skip_ws(env);
        if (env->lexem == QOR_XML_END)
            return 1;
        if (env->lexem == QOR_XML_TAG) {
            if (env->tag->kind == 2) {
                traceTag(t, env->tag);
                return 1;
            }
            traceElement(t, env);
            continue;
        }
        top = env->world->tempLow;
        if (copy) {
            traceKept(t, env, top);
            continue;
        }
        if (mode >= 0) {
            lexemsReadWordWs(env, &w, mode);
            traceText(t, "text |");
        } else {
            _qor_tlex_read_word(env, &w);
            traceText(t, "word ");
            if (resolve)
                _qor_tlex_resolve_prefix(env, &w);
        }
        tracePut(t, w.text, w.len);
        traceUri(t, w.ns_uri);
        traceText(t, mode >= 0 ? "|\n" : "\n");
        _qor_tlex_free_name(env);
        if (env->lexem == QOR_XML_TAG && env->tag->kind != 2) {
            traceElement(t, env);
            if (nextTop(env) != top)
                traceText(t, "top moved\n");
        }
    }
}
