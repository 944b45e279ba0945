// The XML lexer's skipping of elements that nobody decodes: a fast scan
// that trusts the document, a checking walk that does not, and the content
// of several elements at once. Nesting is a counter, never a C frame: an
// unknown element may nest as deep as the document is long.
#include <cstring>

#include "common/utf8.h"
#include "xer/lexer.h"

namespace qor::tlex {

namespace {

// Skipped content that ends before its end tag.
[[noreturn]] void cutShort(QorXmlEnv *env)
{
    advance(env, env->input_left);
    fail(env, Msg::kXmlEndTagExpected);
}

// Just past the first `text` (of `length` octets) in [p, end); null if none.
const unsigned char *pastText(const unsigned char *p, const unsigned char *end, const char *text,
                              size_t length)
{
    while (static_cast<size_t>(end - p) >= length) {
        auto *hit = static_cast<const unsigned char *>(memchr(p, text[0], static_cast<size_t>(end - p)));
        if (hit == nullptr || static_cast<size_t>(end - hit) < length)
            return nullptr;
        if (memcmp(hit, text, length) == 0)
            return hit + length;
        p = hit + 1;
    }
    return nullptr;
}

void copy(QorXmlEnv *env, CopySink *sink, const unsigned char *from, const unsigned char *to)
{
    if (sink != nullptr && to > from)
        sink->put(env, sink, from, static_cast<uint32_t>(to - from));
}

// The end tag that ends the skip: its less-than sign is the next octet.
void readEndTag(QorXmlEnv *env)
{
    advance(env, 1);
    env->tag_left = env->input_left;
    read_markup(env);
    env->input_flags &= ~QOR_XML_AFTER_CR;
}

// Looks only far enough to find each markup's end: a greater-than sign in
// a quoted value ends a tag too, and no character is validated.
void fastSkip(QorXmlEnv *env, CopySink *sink)
{
    const unsigned char *start = env->input;
    const unsigned char *end = start + env->input_left;
    const unsigned char *p = start;
    uint64_t level = 0;
    for (;;) {
        p = static_cast<const unsigned char *>(memchr(p, '<', static_cast<size_t>(end - p)));
        if (p == nullptr || end - p < 2)
            cutShort(env);
        unsigned char c = p[1];
        if (c == '/' && level == 0)
            break;
        const unsigned char *q;
        if (c == '/') {
            q = pastText(p + 2, end, ">", 1);
            level--;
        } else if (c == '!' && end - p >= 4 && p[2] == '-' && p[3] == '-') {
            q = pastText(p + 4, end, "-->", 3);
        } else if (c == '!' && end - p >= 9 && memcmp(p + 2, "[CDATA[", 7) == 0) {
            q = pastText(p + 9, end, "]]>", 3);
        } else if (c == '?') {
            q = pastText(p + 2, end, "?>", 2);
        } else {
            q = pastText(p + 1, end, ">", 1);
            if (c != '!' && q != nullptr && q[-2] != '/')
                level++;
        }
        if (q == nullptr)
            cutShort(env);
        p = q;
    }
    copy(env, sink, start, p);
    advance(env, static_cast<uint32_t>(p - start));
    readEndTag(env);
}

unsigned char need(QorXmlEnv *env)
{
    if (env->input_left == 0)
        cutShort(env);
    return *env->input;
}

void expect(QorXmlEnv *env, unsigned char c, Msg message)
{
    if (need(env) != c)
        fail(env, message);
    advance(env, 1);
}

// One character of text or of a value, its UTF-8 checked.
void stepChar(QorXmlEnv *env)
{
    uint32_t k = classOf(*env->input);
    if ((k & (kLead | kContinuation | kForbidden | kFeFf)) == 0) {
        advance(env, 1);
        return;
    }
    if ((k & kLead) == 0)
        fail(env, Msg::kBadUtf8Sequence);
    QorULong code;
    int used;
    if (!decodeUtf8Char(env->world, &code, env->input, env->input_left, 4, &used, 4)) {
        if (used > static_cast<int>(env->input_left))
            cutShort(env);
        fail(env, Msg::kBadUtf8Sequence);
    }
    advance(env, static_cast<uint32_t>(used));
}

uint32_t stepName(QorXmlEnv *env)
{
    if ((classOf(need(env)) & kNameClasses) == 0)
        fail(env, Msg::kXmlNameExpected);
    uint32_t n = spanOf(env->input, 1, env->input_left, kNameClasses | kColon);
    advance(env, n);
    return n;
}

// A reference after its ampersand: a character reference is stepped over,
// a name must be declared; an entity is pushed only when `push`.
void stepReference(QorXmlEnv *env, bool push)
{
    unsigned char c = need(env);
    if (c != '#' && (classOf(c) & kNameClasses) == 0)
        fail(env, Msg::kXmlNameExpected);
    if (push) {
        read_reference(env);
        return;
    }
    if (c == '#') {
        uint32_t used;
        read_char_ref(env, env->input + 1, env->input_left - 1, &used);
        advance(env, used + 1);
        return;
    }
    const unsigned char *name = env->input;
    uint32_t n = stepName(env);
    expect(env, ';', Msg::kXmlBadEntityReference);
    static const char *const kPredefined[] = {"lt", "gt", "amp", "apos", "quot"};
    for (const char *p : kPredefined)
        if (strlen(p) == n && memcmp(p, name, n) == 0)
            return;
    if (find_entity(env, name, n) == nullptr)
        failText(env, Msg::kXmlUnknownEntity, name, n, false);
}

// A start or empty-element tag after its less-than sign: names, quoted
// values with their references and characters checked.
void stepStartTag(QorXmlEnv *env)
{
    stepName(env);
    for (;;) {
        bool spaced = skip_ws_octets(env);
        unsigned char c = need(env);
        if (c == '/') {
            advance(env, 1);
            expect(env, '>', Msg::kXmlBadTagSyntax);
            return;
        }
        if (c == '>') {
            advance(env, 1);
            env->depth++;
            return;
        }
        if (!spaced)
            fail(env, Msg::kXmlBadAttribute);
        stepName(env);
        skip_ws_octets(env);
        expect(env, '=', Msg::kXmlEqualsExpected);
        skip_ws_octets(env);
        unsigned char quote = need(env);
        if (quote != '"' && quote != '\'')
            fail(env, Msg::kXmlBadAttribute);
        advance(env, 1);
        while ((c = need(env)) != quote) {
            if (c == '<')
                fail(env, Msg::kXmlBadAttribute);
            if (c == '&') {
                advance(env, 1);
                stepReference(env, false);
            } else {
                stepChar(env);
            }
        }
        advance(env, 1);
    }
}

// Markup after its less-than sign, other than the skip's own end tag.
void stepMarkup(QorXmlEnv *env)
{
    unsigned char c = need(env);
    if (c == '/') {
        advance(env, 1);
        stepName(env);
        skip_ws_octets(env);
        expect(env, '>', Msg::kXmlBadTagSyntax);
        env->depth--;
    } else if (c == '?') {
        const unsigned char *q = pastText(env->input, env->input + env->input_left, "?>", 2);
        if (q == nullptr)
            cutShort(env);
        advance(env, static_cast<uint32_t>(q - env->input));
    } else if (c == '!') {
        advance(env, 1);
        if (need(env) == '-') {
            advance(env, 1);
            expect(env, '-', Msg::kXmlCommentExpected);
            const unsigned char *q = pastText(env->input, env->input + env->input_left, "--", 2);
            if (q == nullptr)
                cutShort(env);
            advance(env, static_cast<uint32_t>(q - env->input));
            expect(env, '>', Msg::kXmlCommentExpected);
            return;
        }
        for (const char *p = "[CDATA["; *p != 0; p++)
            expect(env, static_cast<unsigned char>(*p), *p == '[' && p[1] == 'C' ? Msg::kXmlBadTagSyntax
                                                                                  : Msg::kXmlCdataExpected);
        while (env->input_left < 3 || memcmp(env->input, "]]>", 3) != 0) {
            need(env);
            stepChar(env);
        }
        advance(env, 3);
    } else {
        stepStartTag(env);
    }
}

// Validates on the way, and follows entities: their markup nests as the
// document's does, and the depth they are pushed at is held to them.
void checkingSkip(QorXmlEnv *env, CopySink *sink)
{
    uint32_t floor = env->depth;
    const unsigned char *run = env->input;
    for (;;) {
        if (env->input_left == 0) {
            copy(env, sink, run, env->input);
            if ((env->input_flags & QOR_XML_IN_ENTITY) == 0 || env->input_depth == 0)
                cutShort(env);
            pop_entity(env);
            run = env->input;
            continue;
        }
        unsigned char c = *env->input;
        if (c == '<') {
            if (env->input_left >= 2 && env->input[1] == '/' && env->depth == floor)
                break;
            advance(env, 1);
            stepMarkup(env);
        } else if (c == '&') {
            const unsigned char *at = env->input;
            uint16_t inputs = env->input_depth;
            copy(env, sink, run, at);
            advance(env, 1);
            stepReference(env, true);
            // A character's reference is copied as it is written; an
            // entity's text is copied as it is walked.
            run = env->input_depth == inputs ? at : env->input;
        } else {
            stepChar(env);
        }
    }
    copy(env, sink, run, env->input);
    readEndTag(env);
}

// Text between skipped elements: plain octets go by without a lexem each.
void dropText(QorXmlEnv *env)
{
    if ((env->input_flags & QOR_XML_IN_CDATA) == 0) {
        const unsigned char *p = env->input;
        uint32_t n = 0;
        while (n < env->input_left &&
               (classOf(p[n]) & (kMarkupStart | kLead | kContinuation | kForbidden | kFeFf)) == 0)
            n++;
        advance(env, n);
        env->input_flags &= ~QOR_XML_AFTER_CR;
    }
    _qor_tlex_get_lex(env);
}

} // namespace

void skip_element(QorXmlEnv *env, CopySink *sink)
{
    QorXmlTag *open = env->open_tag;
    if (open->kind == 1) {
        if ((env->world->decodingFlags & STRICT_ENCODING_DECODING_RULES) != 0)
            checkingSkip(env, sink);
        else
            fastSkip(env, sink);
    }
    // Kind 0 lets every attribute pass the closing check.
    uint32_t kind = open->kind;
    open->kind = 0;
    if (open->attrs != nullptr)
        check_attrs(env);
    open->kind = kind;
}

} // namespace qor::tlex

using namespace qor::tlex;

extern "C" {

void _qor_tlex_skip_type(QorXmlEnv *env) { skip_element(env, nullptr); }

void _qor_tlex_skip_content(QorXmlEnv *env)
{
    QorXmlTag *parent = env->open_tag;
    QorXmlTag *look = env->tag;
    void *embed = look->embed;
    uint32_t options = env->state & (kSkipOne | kSkipOneLoose);
    for (;;) {
        if (env->lexem == QOR_XML_END) {
            if ((options & kSkipOne) != 0)
                fail(env, qor::Msg::kXmlTagExpected);
            break;
        }
        if (env->lexem != QOR_XML_TAG) {
            if ((options & kSkipOne) != 0)
                fail(env, qor::Msg::kXmlTagExpected);
            dropText(env);
            continue;
        }
        if (look->kind == 2) {
            if ((options & kSkipOne) != 0)
                fail(env, qor::Msg::kXmlStartOrEmptyExpected);
            break;
        }
        // The element is closed on a record of its own: its end tag comes
        // into the caller's.
        QorXmlTag element;
        memcpy(&element, look, sizeof element);
        env->open_tag = &element;
        skip_element(env, nullptr);
        close_element(env);
        env->tag = look;
        env->open_tag = parent;
        if ((options & kSkipOne) != 0) {
            _qor_tlex_get_tag(env);
            break;
        }
        _qor_tlex_get_lex(env);
        if ((options & kSkipOneLoose) != 0) {
            while (env->lexem == QOR_XML_CHAR || env->lexem == QOR_XML_CODEPOINT)
                dropText(env);
            break;
        }
    }
    env->state &= ~static_cast<uint32_t>(kSkipOne | kSkipOneLoose);
    look->embed = embed;
    env->open_tag = parent;
}

} // extern "C"
