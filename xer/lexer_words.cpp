// The XML lexer's words: one whitespace-delimited token, a slice of the
// input when it can be, else built on the temporary stack; and the start
// tag that ended it, unread and read again, so that the stack is given back
// in the order it was taken.
#include <cstring>

#include "common/utf8.h"
#include "xer/lexer.h"

namespace qor::tlex {

namespace {

// Octets that get_lex would give as they stand and that go on in a word:
// ASCII, neither whitespace nor markup nor a control XML forbids.
bool plainOctet(unsigned char c)
{
    return (classOf(c) & (kWhitespace | kForbidden | kContinuation | kLead | kFeFf)) == 0 && c != '<' &&
           c != '&';
}

uint32_t plainSpan(const QorXmlEnv *env)
{
    const unsigned char *p = env->input;
    uint32_t n = 0;
    while (n < env->input_left && plainOctet(p[n]))
        n++;
    return n;
}

bool wordChar(const QorXmlEnv *env)
{
    return env->lexem == QOR_XML_CODEPOINT || (env->lexem == QOR_XML_CHAR && !wsLexem(env));
}

// A text on the temporary stack: contiguous, wherever the fragment form
// has moved it.
struct Text {
    const unsigned char *text;
    uint32_t len;
};

void append(QorXmlEnv *env, Text *t, const unsigned char *bytes, uint32_t n)
{
    if (n == 0)
        return;
    // Entities may make a word longer than any input.
    if (n > UINT32_MAX - t->len)
        fail(env, Msg::kXmlTooComplex);
    auto *room = static_cast<unsigned char *>(_qor_tstk_new_fragment_tag(env, n));
    memcpy(room, bytes, n);
    t->text = room - t->len;
    t->len += n;
}

void appendLexem(QorXmlEnv *env, Text *t)
{
    if (env->lexem == QOR_XML_CODEPOINT) {
        unsigned char bytes[4];
        append(env, t, bytes, static_cast<uint32_t>(putUtf8Char(bytes, env->ch.code) - bytes));
        return;
    }
    unsigned char bytes[4];
    memcpy(bytes, env->ch.bytes, 4);
    append(env, t, bytes, env->ch_len);
}

// Plain octets after the lexem go in a run, without a lexem each: only
// references, CDATA and other characters take the slow way.
void appendRun(QorXmlEnv *env, Text *t)
{
    if ((env->input_flags & QOR_XML_IN_CDATA) != 0)
        return;
    uint32_t n = plainSpan(env);
    if (n == 0)
        return;
    append(env, t, env->input, n);
    advance(env, n);
    env->input_flags &= ~QOR_XML_AFTER_CR;
}

void slowWord(QorXmlEnv *env, Text *t)
{
    while (wordChar(env)) {
        appendLexem(env, t);
        appendRun(env, t);
        _qor_tlex_get_lex(env);
    }
}

// The word as a slice of the input, if the lexem was read from it and the
// word ends before a reference and before the input does; else the slow
// way from where the slice stopped.
void readWord(QorXmlEnv *env, Text *t)
{
    uint32_t used = env->input_len - env->input_left;
    if ((env->input_flags & QOR_XML_IN_CDATA) != 0 || env->lexem != QOR_XML_CHAR || used < env->ch_len ||
        env->input[-1] != env->ch.bytes[env->ch_len - 1]) {
        slowWord(env, t);
        return;
    }
    const unsigned char *start = env->input - env->ch_len;
    bool moved = false;
    for (;;) {
        uint32_t n = plainSpan(env);
        if (n != 0) {
            advance(env, n);
            moved = true;
        }
        const unsigned char *p = env->input;
        uint32_t left = env->input_left;
        bool attrEnd = left == 0 && (env->input_flags & (QOR_XML_IN_ATTR | QOR_XML_ATTR_ENTITY)) == QOR_XML_IN_ATTR;
        // A comment, a processing instruction or CDATA does not end a word:
        // the slow way reads through them.
        bool tag = left != 0 && p[0] == '<' && (left == 1 || (p[1] != '!' && p[1] != '?'));
        if (attrEnd || tag || (left != 0 && isWs(p[0]))) {
            t->text = start;
            t->len = static_cast<uint32_t>(env->input - start);
            if (moved)
                env->input_flags &= ~QOR_XML_AFTER_CR;
            _qor_tlex_get_lex(env);
            return;
        }
        if (left == 0 || (classOf(p[0]) & kLead) == 0)
            break;
        next_char(env); // a character of several octets, checked; or its fault
        moved = true;
    }
    // An ampersand, markup that is no tag, an entity's end, or an octet
    // that get_lex refuses.
    append(env, t, start, static_cast<uint32_t>(env->input - start));
    if (moved)
        env->input_flags &= ~QOR_XML_AFTER_CR;
    _qor_tlex_get_lex(env);
    slowWord(env, t);
}

void startWord(QorXmlEnv *env, QorXmlWord *w)
{
    w->text = nullptr;
    w->len = 0;
    w->colon = -1;
    w->ns_uri = nullptr;
    uint32_t at = offsetOf(env);
    w->pos = env->lexem == QOR_XML_CHAR && at >= env->ch_len ? at - env->ch_len : at;
    env->state |= kWordOnStack;
}

void finishWord(QorXmlEnv *env, QorXmlWord *w, const Text *t)
{
    w->text = t->text;
    w->len = t->len;
    // While an attribute value is read the stored tag is no look-ahead.
    if ((env->state & QOR_XML_STORED) == 0)
        unread_tag(env);
}

} // namespace

void read_word_ws(QorXmlEnv *env, QorXmlWord *w, int mode)
{
    startWord(env, w);
    Text t = {nullptr, 0};
    bool blank = false; // collapsing: a run of whitespace is pending
    while (env->lexem == QOR_XML_CHAR || env->lexem == QOR_XML_CODEPOINT) {
        if (wsLexem(env)) {
            if (mode == kWsCollapse) {
                blank = true;
            } else {
                unsigned char c = mode == kWsReplace ? ' ' : env->ch.bytes[0];
                append(env, &t, &c, 1);
            }
        } else {
            if (blank) {
                static const unsigned char kBlank = ' ';
                append(env, &t, &kBlank, 1);
                blank = false;
            }
            appendLexem(env, &t);
            appendRun(env, &t);
        }
        _qor_tlex_get_lex(env);
    }
    finishWord(env, w, &t);
}

void unread_tag(QorXmlEnv *env)
{
    QorXmlTag *tag = env->tag;
    if (env->lexem != QOR_XML_TAG || tag->kind == 2)
        return;
    auto *d = static_cast<const QorXmlNsDecl *>(env->ns_decls);
    bool declares = d != nullptr && d->depth >= env->depth;
    if (!declares && tag->attrs == nullptr) {
        env->state |= kTagMarksStale;
        return;
    }
    // The tag's records lie above the word: they go, and come back above
    // it once the word is given back.
    drop_declarations(env, env->depth);
    uint32_t back = env->tag_left - env->input_left;
    env->input -= back;
    env->input_left = env->tag_left;
    env->depth--;
    tag->attrs = nullptr;
    _qor_tstk_free(env->world, tag->stack_mark);
    env->state |= kTagUnread;
}

void reread_tag(QorXmlEnv *env)
{
    QorXmlTag *tag = env->tag;
    env->state &= ~kTagUnread;
    tag->kind = 1;
    env->depth++;
    advance(env, tag->name_len);
    read_start_tag(env, tag);
    // A reference in a namespace value was read as a lexem of its own: the
    // tag is the lexem again.
    env->lexem = QOR_XML_TAG;
}

void refresh_tag(QorXmlEnv *env)
{
    if ((env->state & kTagMarksStale) != 0) {
        env->tag->stack_mark = env->tag->attr_mark = env->world->tempLow;
        env->state &= ~kTagMarksStale;
    } else if ((env->state & kTagUnread) != 0) {
        reread_tag(env);
    }
}

} // namespace qor::tlex

using namespace qor::tlex;

extern "C" {

void _qor_tlex_read_word(QorXmlEnv *env, QorXmlWord *w)
{
    if (wsLexem(env))
        _qor_tlex_skip_ws(env);
    startWord(env, w);
    if (!wordChar(env))
        return;
    Text t = {nullptr, 0};
    readWord(env, &t);
    finishWord(env, w, &t);
}

void _qor_tlex_free_name(QorXmlEnv *env)
{
    QorGlobal *world = env->world;
    if (world->tempMark != nullptr) {
        _qor_tstk_free(world, world->tempMark);
        world->tempMark = nullptr;
    }
    if ((env->state & kWordTaken) == 0)
        refresh_tag(env);
    env->state &= ~(kWordTaken | kWordOnStack);
}

} // extern "C"
