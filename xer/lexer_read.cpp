// The XML lexer's reading of characters: UTF-8, line ends, character and
// entity references, CDATA, and the stack of inputs that entities push.
#include <cstring>

#include "common/utf8.h"
#include "xer/lexer.h"

namespace qor::tlex {

[[noreturn]] void fail(QorXmlEnv *env, Msg message)
{
    _qor_tdex_error(env, static_cast<int>(message), nullptr, 0);
}

[[noreturn]] void failText(QorXmlEnv *env, Msg message, const unsigned char *text, uint32_t length,
                           bool validate)
{
    QorXmlText t = {text, length};
    _qor_tdex_error(env, static_cast<int>(message), &t, validate ? 16 : 16 | 64);
}

[[noreturn]] void failChar(QorXmlEnv *env, Msg message, unsigned char c)
{
    _qor_tdex_error(env, static_cast<int>(message), &c, 1);
}

[[noreturn]] void endOfInput(QorXmlEnv *env) { fail(env, Msg::kEndOfInput); }

uint32_t hashOf(const unsigned char *text, uint32_t length)
{
    uint32_t h = 2166136261u;
    for (uint32_t i = 0; i < length; i++)
        h = (h ^ text[i]) * 16777619u;
    return h ^ (h >> 15);
}

bool skip_ws_octets(QorXmlEnv *env)
{
    const unsigned char *p = env->input;
    uint32_t n = spanOf(p, 0, env->input_left, kWhitespace);
    advance(env, n);
    return n != 0;
}

int next_char(QorXmlEnv *env)
{
    if (env->input_left == 0)
        endOfInput(env);
    unsigned char b = *env->input;
    uint32_t k = classOf(b);
    env->lexem = QOR_XML_CHAR;
    env->ch.bytes[0] = b;
    env->ch_len = 1;
    if ((k & (kLead | kContinuation | kForbidden | kFeFf)) == 0) {
        advance(env, 1);
        return 1;
    }
    if ((k & kLead) == 0)
        fail(env, Msg::kBadUtf8Sequence);
    QorULong code;
    int used;
    bool good = decodeUtf8Char(env->world, &code, env->input, env->input_left, 4, &used, 4);
    if (!good && used > static_cast<int>(env->input_left) &&
        (env->input_flags & QOR_XML_DOCUMENT) != 0) {
        // A document cut inside a character is a truncated one; a value or
        // an entity that ends inside one is malformed.
        bool prefixGood = true;
        for (uint32_t i = 1; i < env->input_left; i++)
            prefixGood = prefixGood && (classOf(env->input[i]) & kContinuation) != 0;
        if (prefixGood)
            endOfInput(env);
    }
    if (!good)
        fail(env, Msg::kBadUtf8Sequence);
    memcpy(env->ch.bytes, env->input, static_cast<size_t>(used));
    env->ch_len = static_cast<uint8_t>(used);
    advance(env, static_cast<uint32_t>(used));
    return 0;
}

uint32_t read_char_ref(QorXmlEnv *env, const unsigned char *p, uint32_t left, uint32_t *used)
{
    uint32_t at = 0;
    uint32_t radix = 10;
    uint32_t mask = kDigit;
    if (left > 0 && p[0] == 'x') {
        radix = 16;
        mask = kHexDigit;
        at = 1;
    }
    uint32_t value = 0;
    uint32_t digits = 0;
    for (;; at++) {
        if (at >= left)
            endOfInput(env);
        unsigned char c = p[at];
        if (c == ';' && digits > 0)
            break;
        uint32_t k = classOf(c);
        if ((k & mask) == 0)
            failChar(env, Msg::kXmlBadCharacterReference, c);
        // Past the last code point the value stays there: no overflow.
        value = value > 0x10FFFF ? value : value * radix + (k & 15);
        digits++;
    }
    *used = at + 1;
    if (value > 0x10FFFF || (value < 0x20 && (classOf(static_cast<unsigned char>(value)) & kForbidden)))
        fail(env, Msg::kXmlIllegalCharacterReference);
    return value;
}

void deliver_code(QorXmlEnv *env, uint32_t value)
{
    env->lexem = QOR_XML_CHAR;
    if (value < 0x80) {
        env->ch.bytes[0] = static_cast<unsigned char>(value);
        env->ch_len = 1;
    } else if ((env->input_flags & QOR_XML_WIDE_REFS) != 0) {
        env->ch.code = value;
        env->ch_len = 4;
        env->lexem = QOR_XML_CODEPOINT;
    } else {
        env->ch_len = static_cast<uint8_t>(putUtf8Char(env->ch.bytes, value) - env->ch.bytes);
    }
}

namespace {

struct Predefined {
    const char *name;
    uint32_t length;
    unsigned char c;
};
constexpr Predefined kPredefined[] = {
    {"lt", 2, '<'}, {"gt", 2, '>'}, {"amp", 3, '&'}, {"apos", 4, '\''}, {"quot", 4, '"'},
};

} // namespace

int read_reference(QorXmlEnv *env)
{
    const unsigned char *p = env->input;
    uint32_t left = env->input_left;
    if (left > 0 && p[0] == '#') {
        uint32_t used;
        uint32_t value = read_char_ref(env, p + 1, left - 1, &used);
        advance(env, used + 1);
        deliver_code(env, value);
        return 0;
    }
    uint32_t n = spanOf(p, 0, left, kNameClasses | kColon);
    if (n == left && (env->input_flags & QOR_XML_DOCUMENT) != 0)
        endOfInput(env);
    if (n == 0 || n == left || p[n] != ';')
        fail(env, Msg::kXmlBadEntityReference);
    advance(env, n + 1);
    if (n >= 2 && n <= 4) {
        for (const Predefined &d : kPredefined) {
            if (d.length == n && memcmp(p, d.name, n) == 0) {
                env->lexem = QOR_XML_CHAR;
                env->ch.bytes[0] = d.c;
                env->ch_len = 1;
                return 0;
            }
        }
    }
    const QorXmlEntity *entity = find_entity(env, p, n);
    if (entity == nullptr)
        failText(env, Msg::kXmlUnknownEntity, p, n, false);
    push_entity(env, entity);
    return 1;
}

namespace {

void pushFrame(QorXmlEnv *env)
{
    if (env->input_depth >= QOR_XML_INPUT_STACK)
        fail(env, Msg::kXmlTooComplex);
    saveInput(env, &env->input_stack[env->input_depth]);
    env->input_depth++;
}

} // namespace

void push_entity(QorXmlEnv *env, const QorXmlEntity *entity)
{
    Index *index = indexOf(env);
    // Each push counts an octet beyond its text, so that empty entities
    // cannot be pushed without end either.
    uint64_t cost = static_cast<uint64_t>(entity->value_len) + 1;
    if (index->expansionLeft < cost)
        fail(env, Msg::kXmlTooComplex);
    pushFrame(env);
    index->expansionLeft -= cost;
    uint32_t flags = QOR_XML_IN_ENTITY | (env->input_flags & QOR_XML_WIDE_REFS);
    if ((env->input_flags & QOR_XML_IN_ATTR) != 0)
        flags |= QOR_XML_IN_ATTR | QOR_XML_ATTR_ENTITY;
    env->input = entity->value;
    env->input_left = env->input_len = entity->value_len;
    env->input_base = entity->value_pos;
    env->input_flags = flags;
}

void pop_entity(QorXmlEnv *env)
{
    // A document, the main one or a contained one, ends the reading: an
    // input below a contained document is never read on into.
    if (env->input_depth == 0 || (env->input_flags & QOR_XML_DOCUMENT) != 0)
        endOfInput(env);
    const QorXmlInputFrame &saved = env->input_stack[env->input_depth - 1];
    // An entity closes what it opened, and opens nothing it leaves open.
    if (saved.depth != env->depth)
        fail(env, Msg::kXmlEntityNotWellFormed);
    restoreInput(env, &saved);
    env->input_depth--;
}

namespace {

// Inside CDATA: false when the section ended instead of giving a character.
bool cdata_char(QorXmlEnv *env)
{
    if (next_char(env) == 0)
        return true;
    unsigned char c = env->ch.bytes[0];
    const unsigned char *p = env->input;
    if (c == ']') {
        if (env->input_left >= 2 && p[0] == ']' && p[1] == '>') {
            advance(env, 2);
            env->input_flags &= ~QOR_XML_IN_CDATA;
            return false;
        }
    } else if (c == '\r') {
        // CRLF is one LF; a lone CR stays what it is.
        if (env->input_left >= 1 && p[0] == '\n') {
            advance(env, 1);
            env->ch.bytes[0] = '\n';
        }
    }
    return true;
}

} // namespace

} // namespace qor::tlex

using namespace qor::tlex;

extern "C" {

void _qor_tlex_get_lex(QorXmlEnv *env)
{
    bool normaliseCr = (env->input_flags & QOR_XML_IN_ENTITY) == 0;
    for (;;) {
        while (env->input_left == 0) {
            uint32_t f = env->input_flags;
            if ((f & QOR_XML_IN_CDATA) != 0)
                fail(env, (f & QOR_XML_DOCUMENT) == 0 ? qor::Msg::kXmlCdataUnfinished : qor::Msg::kEndOfInput);
            if ((f & QOR_XML_IN_ATTR) != 0 && (f & QOR_XML_ATTR_ENTITY) == 0) {
                env->lexem = QOR_XML_END;
                return;
            }
            pop_entity(env);
            normaliseCr = (env->input_flags & QOR_XML_IN_ENTITY) == 0;
        }
        if ((env->input_flags & QOR_XML_IN_CDATA) != 0) {
            if (cdata_char(env))
                return;
            continue;
        }
        if (next_char(env) == 0)
            return; // a multi-byte character; AFTER_CR stays as it is
        unsigned char c = env->ch.bytes[0];
        if ((env->input_flags & QOR_XML_AFTER_CR) != 0) {
            env->input_flags &= ~QOR_XML_AFTER_CR;
            if (c == '\n')
                continue;
        }
        if (c == '\r') {
            if (normaliseCr) {
                env->input_flags |= QOR_XML_AFTER_CR;
                env->ch.bytes[0] = '\n';
            }
        } else if (c == '&') {
            if (read_reference(env) != 0) {
                normaliseCr = false;
                continue;
            }
            // A referenced character is taken as it stands, but in an entity
            // reached from an attribute value.
            if ((env->input_flags & QOR_XML_ATTR_ENTITY) == 0)
                return;
            c = env->ch.bytes[0];
            if (env->ch_len != 1)
                return;
        } else if (c == '<') {
            if ((env->input_flags & QOR_XML_ATTR_ENTITY) != 0)
                fail(env, qor::Msg::kXmlBadAttribute);
            env->tag_left = env->input_left;
            if (read_markup(env) != 0)
                continue;
            env->lexem = QOR_XML_TAG;
            return;
        }
        if ((env->input_flags & QOR_XML_IN_ATTR) != 0 && (c == '\t' || c == '\n' || c == '\r'))
            env->ch.bytes[0] = ' ';
        return;
    }
}

QorXmlTag *_qor_tlex_push_input(QorXmlEnv *env, QorXmlDocumentSave *save, const unsigned char *buffer,
                                QorULong length)
{
    Index *index = indexOf(env);
    if (length > UINT32_MAX)
        fail(env, qor::Msg::kXmlTooComplex);
    save->saved_tag = env->tag;
    save->open_tag = env->open_tag;
    save->ns_decls = env->ns_decls;
    save->stack_top = env->world->tempLow;
    save->word_mark = env->world->tempMark;
    save->lexem = env->lexem;
    save->tag_left = env->tag_left;
    save->tag_end_left = env->tag_end_left;
    save->state = env->state;
    save->ns_floor = index->nsFloor;
    memcpy(save->ch, env->ch.bytes, 4);
    save->ch_len = env->ch_len;
    save->reserved = 0;
    save->input_depth = env->input_depth;
    // The contained document has no place of its own in the outer one:
    // its faults point at the outer document's place, plus their offset.
    uint32_t base = offsetOf(env);
    pushFrame(env);
    if (length >= 3 && buffer[0] == 0xEF && buffer[1] == 0xBB && buffer[2] == 0xBF) {
        buffer += 3;
        length -= 3;
    }
    env->input = buffer;
    env->input_left = env->input_len = static_cast<uint32_t>(length);
    env->input_base = base;
    env->input_flags = QOR_XML_DOCUMENT;
    env->depth = 0;
    // The outer document's declarations are out of scope in there.
    env->ns_decls = nullptr;
    index->nsFloor = index->nsInScope;
    // A word or a stored lexem of the outer document waits for the pop: the
    // contained document's words start afresh above it.
    env->world->tempMark = nullptr;
    env->state &= ~(QOR_XML_STORED | kWordOnStack | kWordTaken | kTagUnread | kTagMarksStale);
    env->state |= QOR_XML_DOCUMENT_START;
    memset(&save->tag, 0, sizeof save->tag);
    env->tag = &save->tag;
    _qor_tlex_get_tag(env);
    if (save->tag.kind == 2)
        fail(env, qor::Msg::kXmlStartOrEmptyExpected);
    env->open_tag = &save->tag;
    return &save->tag;
}

void _qor_tlex_pop_input(QorXmlEnv *env, QorXmlDocumentSave *save)
{
    Index *index = indexOf(env);
    // The contained document's declarations were a list of their own.
    drop_declarations(env, 0);
    index->nsFloor = save->ns_floor;
    // Whatever the contained document left pushed goes with it.
    env->input_depth = save->input_depth;
    restoreInput(env, &env->input_stack[save->input_depth]);
    env->ns_decls = save->ns_decls;
    env->tag = save->saved_tag;
    env->open_tag = save->open_tag;
    env->lexem = save->lexem;
    env->tag_left = save->tag_left;
    env->tag_end_left = save->tag_end_left;
    env->state = save->state;
    memcpy(env->ch.bytes, save->ch, 4);
    env->ch_len = save->ch_len;
    // A word of the contained document dies with it; the outer one's lives on.
    _qor_tstk_free(env->world, save->stack_top);
    env->world->tempMark = save->word_mark;
}

void _qor_tlex_get_lex_collapse(QorXmlEnv *env)
{
    do
        _qor_tlex_get_lex(env);
    while (wsLexem(env));
}

void _qor_tlex_get_tag(QorXmlEnv *env)
{
    _qor_tlex_get_lex_collapse(env);
    if (env->lexem != QOR_XML_TAG)
        fail(env, qor::Msg::kXmlTagExpected);
}

void _qor_tlex_skip_ws(QorXmlEnv *env)
{
    if (!wsLexem(env))
        return;
    // Plain whitespace octets go by without a lexem each; a CR last among
    // them still folds an LF that follows it.
    if ((env->input_flags & QOR_XML_IN_CDATA) == 0 && skip_ws_octets(env)) {
        env->input_flags &= ~QOR_XML_AFTER_CR;
        if (env->input[-1] == '\r' && (env->input_flags & QOR_XML_IN_ENTITY) == 0)
            env->input_flags |= QOR_XML_AFTER_CR;
    }
    _qor_tlex_get_lex_collapse(env);
}

void _qor_tlex_check_ws(QorXmlEnv *env)
{
    if ((env->lexem == QOR_XML_CHAR || env->lexem == QOR_XML_CODEPOINT) && !wsLexem(env))
        fail(env, qor::Msg::kXmlWhitespaceExpected);
    _qor_tlex_skip_ws(env);
}

void _qor_tlex_check_end(QorXmlEnv *env)
{
    if (wsLexem(env))
        _qor_tlex_skip_ws(env);
    if (env->lexem != QOR_XML_END)
        fail(env, (env->input_flags & QOR_XML_DOCUMENT) != 0 ? qor::Msg::kContainerLength
                                                             : qor::Msg::kXmlAttributeEncodingCharacter);
}

void _qor_tlex_check_end_union(QorXmlEnv *env)
{
    if (wsLexem(env))
        _qor_tlex_skip_ws(env);
    if (env->lexem == QOR_XML_CHAR || env->lexem == QOR_XML_CODEPOINT)
        fail(env, qor::Msg::kXmlTagExpected);
}

} // extern "C"
