/* The EXER entry of Lexems: it walks any document through the XML lexer and
 * writes one line a lexem as the decoded text, written as generated code
 * would be. Lines: "<name {uri}>" a start tag, "<name {uri}/>" an empty one,
 * "</name>" an end tag; "@name {uri}" an attribute, its value's lexems
 * following; "'c'" a character ("'\x0A'" below the blank), "U+XXXX" a code
 * point. Attributes named "unread" are left unread, as a decoder leaves an
 * attribute it does not know. A URI shows as the schema's row text when it is that row's pointer,
 * else as "#n", n counting distinct pointers in order of appearance. */
#include <stdio.h>
#include <string.h>

#include "lexems_trace.h"

enum { CHUNK = 256, MAX_DEPTH = 256, MSG_TOO_COMPLEX = 193, MSG_PDU_RANGE = 3 };

static const QorXmlNsRow lexemRows[] = {
    {0, "urn:oid:2.1.5.2.0.1", "asn1"},
    {0, "urn:example:a", "a"},
    {0, "http://www.w3.org/XML/1998/namespace", "xml"},
};

const QorExerInfo lexemsExerInfo = {0, NULL, 3, lexemRows, NULL, NULL, NULL, NULL, "ns", 0, 65535};

void tracePut(Trace *t, const void *bytes, QorLong n)
{
    const unsigned char *p = (const unsigned char *)bytes;
    while (n > 0) {
        QorLong room;
        if (t->chunk == NULL || t->used == CHUNK) {
            t->chunk = (unsigned char *)_qor_tstk_get_altdecmem(t->world, CHUNK);
            t->used = 0;
        }
        room = CHUNK - t->used;
        if (room > n)
            room = n;
        memcpy(t->chunk + t->used, p, (size_t)room);
        t->used += room;
        t->total += room;
        p += room;
        n -= room;
    }
}

void traceText(Trace *t, const char *text) { tracePut(t, text, (QorLong)strlen(text)); }

void traceUri(Trace *t, const char *uri)
{
    char number[16];
    int i;
    if (uri == NULL)
        return;
    for (i = 0; i < 3; i++) {
        if (uri == lexemRows[i].uri) {
            traceText(t, " {");
            traceText(t, uri);
            traceText(t, "}");
            return;
        }
    }
    for (i = 0; i < t->seenCount && t->seen[i] != uri; i++)
        ;
    if (i == t->seenCount && i < MAX_SEEN)
        t->seen[t->seenCount++] = uri;
    sprintf(number, " {#%d}", i + 1);
    traceText(t, number);
}

void traceTag(Trace *t, const QorXmlTag *tag)
{
    traceText(t, tag->kind == 2 ? "</" : "<");
    tracePut(t, tag->name, tag->name_len);
    traceUri(t, tag->ns_uri);
    traceText(t, tag->kind == 3 ? "/>\n" : ">\n");
}

void traceLexem(Trace *t, const QorXmlEnv *env)
{
    char text[16];
    if (env->lexem == QOR_XML_CODEPOINT) {
        sprintf(text, "U+%04X\n", (unsigned)env->ch.code);
        traceText(t, text);
        return;
    }
    if (env->ch_len == 1 && env->ch.bytes[0] <= ' ') {
        sprintf(text, "'\\x%02X'\n", env->ch.bytes[0]);
        traceText(t, text);
        return;
    }
    traceText(t, "'");
    tracePut(t, env->ch.bytes, env->ch_len);
    traceText(t, "'\n");
}

/* Every attribute of the open tag, newest first, each value read to its end. */
static void putAttributes(Trace *t, QorXmlEnv *env)
{
    QorXmlInputSave save;
    AttrHead *a = (AttrHead *)env->open_tag->attrs;
    if (a == NULL)
        return;
    _qor_tlex_store_input(env, &save);
    for (; a != NULL; a = a->next) {
        if (a->name_len == 6 && memcmp(a->name, "unread", 6) == 0)
            continue;
        traceText(t, "@");
        tracePut(t, a->name, a->name_len);
        traceUri(t, a->ns_uri);
        traceText(t, "\n");
        _qor_tlex_set_attr_input(env, a);
        while (env->lexem != QOR_XML_END) {
            traceLexem(t, env);
            _qor_tlex_get_lex(env);
        }
    }
    _qor_tlex_restore_input(env, &save);
}

static void noHook(QorXmlEnv *env, void *hook)
{
    (void)env;
    (void)hook;
}

/* Closing a child reads the lexem that follows it, text included. */
static const QorXmlEmbedFn readOn = noHook;

/* The open element: its tag, attributes and content, up to its end tag. */
static void walkOpen(Trace *t, QorXmlEnv *env)
{
    if (traceWords(t, env))
        return;
    if (walkSkipped(t, env))
        return;
    traceTag(t, env->open_tag);
    putAttributes(t, env);
    if (env->open_tag->kind != 1)
        return;
    _qor_tlex_get_lex(env);
    for (;;) {
        if (env->lexem == QOR_XML_TAG) {
            if (env->tag->kind == 2) {
                traceTag(t, env->tag);
                return;
            }
            traceElement(t, env);
            continue;
        }
        if (env->lexem == QOR_XML_END)
            return;
        traceLexem(t, env);
        _qor_tlex_get_lex(env);
    }
}

void traceElement(Trace *t, QorXmlEnv *env)
{
    QorXmlTag *parent = env->open_tag;
    QorXmlTag look;
    if (env->depth > MAX_DEPTH)
        _qor_tdex_error(env, MSG_TOO_COMPLEX, NULL, 0);
    memset(&look, 0, sizeof look);
    env->open_tag = env->tag;
    look.name = env->tag->name;
    look.name_len = env->tag->name_len;
    look.pos = env->tag->pos;
    look.colon = env->tag->colon;
    look.ns_uri = env->tag->ns_uri;
    look.kind = env->tag->kind;
    env->tag = &look;
    walkOpen(t, env);
    env->open_tag->embed = (void *)&readOn;
    _qor_tlex_check_close_tag(env);
    env->open_tag = parent;
}

/* Probes: the root's content of empty tags and characters, read by the
 * calls a value decoder uses. A tag gives its line and "match N M", the
 * results of matching its own name without a namespace and its local part
 * in "urn:example:a", then the element as Lexems gives it. After a character "|" the rest must be whitespace up
 * to a tag (check_end_union); after "!" a tag must come (get_tag); after any
 * other, whitespace or a tag (check_ws). */
static void probe(Trace *t, QorXmlEnv *env)
{
    char text[32];
    _qor_tlex_get_lex_collapse(env);
    while (env->lexem != QOR_XML_TAG || env->tag->kind != 2) {
        unsigned char c;
        if (env->lexem == QOR_XML_TAG) {
            const QorXmlTag *tag = env->tag;
            uint32_t skip = tag->colon < 0 ? 0 : (uint32_t)tag->colon + 1;
            sprintf(text, "match %d %d\n", _qor_tlex_match_tag(env, (const char *)tag->name, tag->name_len),
                    _qor_tlex_match_qtag(env, lexemRows[1].uri, (const char *)tag->name + skip,
                                         tag->name_len - skip));
            traceText(t, text);
            traceElement(t, env);
            _qor_tlex_skip_ws(env);
            continue;
        }
        traceLexem(t, env);
        c = env->ch.bytes[0];
        if (c == '!') {
            _qor_tlex_get_tag(env);
            continue;
        }
        _qor_tlex_get_lex(env);
        if (c == '|')
            _qor_tlex_check_end_union(env);
        else
            _qor_tlex_check_ws(env);
    }
}

int lexemsExerDecode(void *envp, int *pdunum, void **output)
{
    QorXmlEnv *env = (QorXmlEnv *)envp;
    QorGlobal *world = env->world;
    Trace t;
    Raw *value;
    if (*pdunum != PDU_Lexems && *pdunum != PDU_Probes)
        _qor_enc_error(world, MSG_PDU_RANGE, *pdunum);
    world->pduNumber = *pdunum;
    world->pduNames = testSchemaPduNames[*pdunum - 1];
    memset(&t, 0, sizeof t);
    t.world = world;
    if (*pdunum == PDU_Probes) {
        traceTag(&t, env->open_tag);
        if (env->open_tag->kind == 1)
            probe(&t, env);
    } else {
        walkOpen(&t, env);
    }
    value = (Raw *)_qor_dec_getmem(world, sizeof(Raw));
    value->length = t.total;
    value->data = (unsigned char *)_qor_dec_getmem(world, t.total + 1);
    _qor_tstk_consolidate_altdecmem(world, value->data, t.total, CHUNK);
    *output = value;
    return 0;
}
