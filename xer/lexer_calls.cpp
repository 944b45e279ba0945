// The XML lexer's calls around elements: matching tags, closing elements,
// the closing check of attributes, and reading attribute values.
#include <cstring>

#include "xer/lexer.h"

namespace qor::tlex {

namespace {

const unsigned char *localPart(const QorXmlAttr *a)
{
    return a->colon < 0 ? a->name : a->name + a->colon + 1;
}

uint32_t localLength(const QorXmlAttr *a)
{
    return a->colon < 0 ? a->name_len : a->name_len - static_cast<uint32_t>(a->colon) - 1;
}

bool sameAttribute(const QorXmlAttr *a, const QorXmlAttr *b)
{
    return a->ns_uri == b->ns_uri && localLength(a) == localLength(b) &&
           memcmp(localPart(a), localPart(b), localLength(a)) == 0;
}

// The repeat test over the attributes that need one, through a table on the
// temporary stack that goes again at once: a tag may carry very many.
void checkRepeats(QorXmlEnv *env, QorXmlAttr *list, bool all)
{
    uint32_t count = 0;
    for (QorXmlAttr *a = list; a != nullptr; a = a->next)
        count += all || (env->ctl_uri != nullptr && a->ns_uri == env->ctl_uri) ? 1 : 0;
    if (count < 2)
        return;
    uint32_t size = 16;
    while (size < 2 * count)
        size *= 2;
    void *mark = env->world->tempLow;
    auto **buckets =
        static_cast<QorXmlAttr **>(_qor_tstk_alloc(env->world, static_cast<QorLong>(size * sizeof(void *))));
    memset(static_cast<void *>(buckets), 0, size * sizeof(void *));
    for (QorXmlAttr *a = list; a != nullptr; a = a->next) {
        if (!all && (env->ctl_uri == nullptr || a->ns_uri != env->ctl_uri))
            continue;
        uint32_t h = (hashOf(localPart(a), localLength(a)) ^
                      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(a->ns_uri) >> 3)) & (size - 1);
        for (QorXmlAttr *b = buckets[h]; b != nullptr; b = b->same_hash)
            if (sameAttribute(a, b))
                failText(env, Msg::kXmlAttributeRepeated, a->name, a->name_len, true);
        a->same_hash = buckets[h];
        buckets[h] = a;
    }
    _qor_tstk_free(env->world, mark);
}

} // namespace

void check_attrs(QorXmlEnv *env)
{
    QorXmlTag *tag = env->open_tag;
    auto *list = static_cast<QorXmlAttr *>(tag->attrs);
    tag->attrs = nullptr;
    bool skipping = tag->kind == 0;
    bool lenient = (env->world->decodingFlags & kIgnoreUnknownAttributes) != 0;
    checkRepeats(env, list, skipping);
    for (QorXmlAttr *a = list; a != nullptr; a = a->next) {
        bool control = env->ctl_uri != nullptr && a->ns_uri == env->ctl_uri;
        if ((a->flags & (kConsumed | kExtension)) != 0 || skipping) {
            if ((a->flags & kExtension) != 0 && !lenient)
                env->state |= QOR_XML_EXT_ATTR;
            continue;
        }
        if (!control) {
            if (!lenient)
                failText(env, Msg::kXmlUnknownAttribute, a->name, a->name_len, true);
        } else if (localLength(a) == 3 && memcmp(localPart(a), "nil", 3) == 0) {
            failText(env, Msg::kXmlNilNotAllowed, a->name, a->name_len, true);
        }
    }
    if (tag->attr_mark != nullptr)
        _qor_tstk_free(env->world, tag->attr_mark);
}

namespace {

// Steps 3 and 4 of closing: the element's declarations and records go.
void releaseElement(QorXmlEnv *env)
{
    QorXmlTag *open = env->open_tag;
    drop_declarations(env, env->depth);
    if (open->stack_mark != nullptr)
        _qor_tstk_free(env->world, open->stack_mark);
    env->depth--;
    env->tag = open;
}

void compareEndTag(QorXmlEnv *env, const QorXmlTag *end)
{
    const QorXmlTag *open = env->open_tag;
    if (end->name_len != open->name_len || memcmp(end->name, open->name, open->name_len) != 0)
        failText(env, Msg::kXmlEndTagMismatch, end->name, end->name_len, true);
}

} // namespace

void close_element(QorXmlEnv *env)
{
    QorXmlTag *open = env->open_tag;
    if (open->attrs != nullptr)
        check_attrs(env);
    if (open->kind == 1) {
        if (env->lexem != QOR_XML_TAG || env->tag->kind != 2)
            fail(env, Msg::kXmlEndTagExpected);
        compareEndTag(env, env->tag);
    }
    releaseElement(env);
}

void close_value_tag(QorXmlEnv *env)
{
    QorXmlTag local;
    memset(&local, 0, sizeof local);
    QorXmlTag *open = env->open_tag;
    env->tag = &local;
    if (open->kind == 1) {
        _qor_tlex_get_tag(env);
        if (local.kind != 2)
            fail(env, Msg::kXmlEndTagExpected);
    }
    if (open->attrs != nullptr)
        check_attrs(env);
    if (open->kind == 1)
        compareEndTag(env, &local);
    releaseElement(env);
}

} // namespace qor::tlex

using namespace qor::tlex;
using qor::Msg;

extern "C" {

int _qor_tlex_match_tag(QorXmlEnv *env, const char *name, QorULong length)
{
    const QorXmlTag *t = env->tag;
    if (env->lexem != QOR_XML_TAG || t->kind == 2 || t->ns_uri != nullptr || t->name_len != length ||
        memcmp(t->name, name, length) != 0)
        return 0;
    return t->kind == 1 ? 1 : 2;
}

int _qor_tlex_match_qtag(QorXmlEnv *env, const char *uri, const char *name, QorULong length)
{
    const QorXmlTag *t = env->tag;
    if (env->lexem != QOR_XML_TAG || t->kind == 2 || t->ns_uri != uri)
        return 0;
    uint32_t skip = t->colon < 0 ? 0 : static_cast<uint32_t>(t->colon) + 1;
    if (t->name_len - skip != length || memcmp(t->name + skip, name, length) != 0)
        return 0;
    return t->kind == 1 ? 1 : 2;
}

void _qor_tlex_check_close_tag(QorXmlEnv *env)
{
    QorXmlTag *open = env->open_tag;
    if (open->attrs != nullptr)
        check_attrs(env);
    if (open->kind == 1) {
        if (wsLexem(env))
            _qor_tlex_skip_ws(env);
        if (env->lexem != QOR_XML_TAG || env->tag->kind != 2)
            fail(env, Msg::kXmlEndTagExpected);
        compareEndTag(env, env->tag);
    }
    void *embed = open->embed;
    releaseElement(env);
    if (env->depth == 0) {
        // After the root only whitespace, comments and processing
        // instructions may follow: read as an attribute value, the end of
        // the input is a lexem and not a fault.
        if ((env->input_flags & QOR_XML_DOCUMENT) != 0) {
            env->input_flags |= QOR_XML_IN_ATTR;
            _qor_tlex_get_lex(env);
            _qor_tlex_check_end(env);
            env->input_flags &= ~QOR_XML_IN_ATTR;
        }
        return;
    }
    if (embed != nullptr) {
        _qor_tlex_get_lex(env);
        env->tag->embed = embed;
        (*static_cast<QorXmlEmbedFn *>(embed))(env, embed);
        return;
    }
    _qor_tlex_get_tag(env);
}

void _qor_tlex_store_input(QorXmlEnv *env, QorXmlInputSave *save)
{
    save->tag = env->tag;
    save->lexem = env->lexem;
    save->tag_left = env->tag_left;
    save->tag_end_left = env->tag_end_left;
    memcpy(save->ch, env->ch.bytes, 4);
    save->ch_len = env->ch_len;
    env->state |= QOR_XML_STORED;
}

void _qor_tlex_set_attr_input(QorXmlEnv *env, void *attribute)
{
    auto *a = static_cast<QorXmlAttr *>(attribute);
    // Entities still open in a value read before are left behind with it.
    while ((env->input_flags & QOR_XML_ATTR_ENTITY) != 0 && env->input_depth > 0)
        restoreInput(env, &env->input_stack[--env->input_depth]);
    if ((env->input_flags & QOR_XML_IN_ATTR) == 0) {
        if (env->input_depth >= QOR_XML_INPUT_STACK)
            fail(env, Msg::kXmlTooComplex);
        saveInput(env, &env->input_stack[env->input_depth++]);
    }
    env->input = a->value;
    env->input_left = env->input_len = a->value_len;
    env->input_base = a->value_pos;
    env->input_flags = QOR_XML_IN_ATTR;
    a->flags |= kConsumed;
    _qor_tlex_get_lex(env);
}

void _qor_tlex_restore_input(QorXmlEnv *env, QorXmlInputSave *save)
{
    while ((env->input_flags & QOR_XML_IN_ATTR) != 0 && env->input_depth > 0)
        restoreInput(env, &env->input_stack[--env->input_depth]);
    env->tag = save->tag;
    env->lexem = save->lexem;
    env->tag_left = save->tag_left;
    env->tag_end_left = save->tag_end_left;
    memcpy(env->ch.bytes, save->ch, 4);
    env->ch_len = save->ch_len;
    env->state &= ~static_cast<uint32_t>(QOR_XML_STORED | QOR_XML_EXT_ATTR);
    if ((env->state & QOR_XML_ATTRS_SEEN) != 0) {
        if ((env->world->decodingFlags & kIgnoreUnknownAttributes) == 0) {
            for (auto *a = static_cast<QorXmlAttr *>(env->open_tag->attrs); a != nullptr; a = a->next)
                if ((a->flags & kExtension) != 0)
                    env->state |= QOR_XML_EXT_ATTR;
        }
        env->state &= ~static_cast<uint32_t>(QOR_XML_ATTRS_SEEN);
    } else {
        check_attrs(env);
    }
}

} // extern "C"
