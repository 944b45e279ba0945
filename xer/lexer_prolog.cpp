// The XML lexer's prolog: the XML declaration, comments and processing
// instructions, the document type declaration with its internal subset.
#include <cstring>

#include "xer/lexer.h"

namespace qor::tlex {

namespace {

unsigned char peek(QorXmlEnv *env)
{
    if (env->input_left == 0)
        endOfInput(env);
    return *env->input;
}

// Whether the input starts with `word`; consumed if so.
bool take(QorXmlEnv *env, const char *word)
{
    uint32_t n = static_cast<uint32_t>(strlen(word));
    uint32_t have = env->input_left < n ? env->input_left : n;
    if (memcmp(env->input, word, have) != 0)
        return false;
    if (have < n)
        endOfInput(env);
    advance(env, n);
    return true;
}

void skipPastPair(QorXmlEnv *env, char first, char second)
{
    for (;;) {
        unsigned char c = peek(env);
        advance(env, 1);
        if (c == static_cast<unsigned char>(first) && peek(env) == static_cast<unsigned char>(second)) {
            advance(env, 1);
            return;
        }
    }
}

void skipComment(QorXmlEnv *env)
{
    if (peek(env) != '-')
        fail(env, Msg::kXmlCommentExpected);
    advance(env, 1);
    skipPastPair(env, '-', '-');
    if (peek(env) != '>')
        fail(env, Msg::kXmlCommentExpected);
    advance(env, 1);
}

uint32_t nameLength(QorXmlEnv *env, Msg fault)
{
    if ((classOf(peek(env)) & kNameClasses) == 0)
        fail(env, fault);
    uint32_t n = spanOf(env->input, 1, env->input_left, kNameClasses | kColon);
    if (n == env->input_left)
        endOfInput(env);
    return n;
}

// A quoted literal; false if no quote stands here.
bool literal(QorXmlEnv *env, const unsigned char **text, uint32_t *length)
{
    unsigned char quote = peek(env);
    if (quote != '"' && quote != '\'')
        return false;
    advance(env, 1);
    auto *end = static_cast<const unsigned char *>(memchr(env->input, quote, env->input_left));
    if (end == nullptr) {
        advance(env, env->input_left);
        endOfInput(env);
    }
    *text = env->input;
    *length = static_cast<uint32_t>(end - env->input);
    advance(env, *length + 1);
    return true;
}

void needWs(QorXmlEnv *env, Msg fault)
{
    if (!skip_ws_octets(env))
        fail(env, env->input_left == 0 ? Msg::kEndOfInput : fault);
}

// The "= value" of a declaration's pseudo-attribute.
void declValue(QorXmlEnv *env, const unsigned char **text, uint32_t *length)
{
    skip_ws_octets(env);
    if (peek(env) != '=')
        fail(env, Msg::kXmlDeclarationError);
    advance(env, 1);
    skip_ws_octets(env);
    if (!literal(env, text, length))
        fail(env, Msg::kXmlDeclarationError);
}

bool sameFolded(const unsigned char *text, uint32_t length, const char *word)
{
    if (length != strlen(word))
        return false;
    for (uint32_t i = 0; i < length; i++) {
        unsigned char c = text[i];
        if (c >= 'a' && c <= 'z')
            c = static_cast<unsigned char>(c - 32);
        if (c != static_cast<unsigned char>(word[i]))
            return false;
    }
    return true;
}

// After "<?xml": version, then optional encoding and standalone, in order.
void read_xml_decl(QorXmlEnv *env)
{
    const unsigned char *text;
    uint32_t length;
    needWs(env, Msg::kXmlDeclarationError);
    if (!take(env, "version"))
        fail(env, Msg::kXmlDeclarationError);
    declValue(env, &text, &length);
    bool spaced = skip_ws_octets(env);
    if (spaced && take(env, "encoding")) {
        declValue(env, &text, &length);
        if (!sameFolded(text, length, "UTF-8") && !sameFolded(text, length, "US-ASCII"))
            failText(env, Msg::kXmlEncodingUnsupported, text, length, false);
        spaced = skip_ws_octets(env);
    }
    if (spaced && take(env, "standalone")) {
        declValue(env, &text, &length);
        if (!(length == 3 && memcmp(text, "yes", 3) == 0) && !(length == 2 && memcmp(text, "no", 2) == 0))
            fail(env, Msg::kXmlDeclarationError);
        skip_ws_octets(env);
    }
    if (!take(env, "?>"))
        fail(env, Msg::kXmlDeclarationError);
}

// SYSTEM with one literal or PUBLIC with two; `optionalSecond` lets a
// notation's PUBLIC have one.
bool externalId(QorXmlEnv *env, Msg fault, bool optionalSecond)
{
    const unsigned char *text;
    uint32_t length;
    int literals;
    if (take(env, "SYSTEM"))
        literals = 1;
    else if (take(env, "PUBLIC"))
        literals = 2;
    else
        return false;
    for (int i = 0; i < literals; i++) {
        bool spaced = skip_ws_octets(env);
        if (i == 1 && optionalSecond && peek(env) == '>')
            break;
        if (!spaced || !literal(env, &text, &length))
            fail(env, fault);
    }
    return true;
}

void read_notation_decl(QorXmlEnv *env)
{
    needWs(env, Msg::kXmlBadNotation);
    advance(env, nameLength(env, Msg::kXmlBadNotation));
    needWs(env, Msg::kXmlBadNotation);
    if (!externalId(env, Msg::kXmlBadNotation, true))
        fail(env, Msg::kXmlBadNotation);
    skip_ws_octets(env);
    if (peek(env) != '>')
        fail(env, Msg::kXmlBadNotation);
    advance(env, 1);
}

// An internal general entity. Its value stays a slice of the input unless
// it holds a CR or a character reference: then a copy with those decoded
// goes on the temporary stack; references to entities stay for later.
void read_entity_decl(QorXmlEnv *env)
{
    needWs(env, Msg::kXmlBadDtd);
    if (peek(env) == '%')
        fail(env, Msg::kXmlEntityKindUnsupported);
    const unsigned char *name = env->input;
    uint32_t pos = offsetOf(env);
    uint32_t n = nameLength(env, Msg::kXmlNameExpected);
    if (int bad = check_name(name, n, kNoColon))
        failText(env, static_cast<Msg>(bad), name, n, false);
    advance(env, n);
    if (!skip_ws_octets(env))
        failText(env, Msg::kXmlBadEntity, name, n, false);
    if (peek(env) == 'S' || peek(env) == 'P') {
        if (take(env, "SYSTEM") || take(env, "PUBLIC"))
            fail(env, Msg::kXmlEntityKindUnsupported);
    }
    const unsigned char *value;
    uint32_t length;
    uint32_t valuePos = offsetOf(env) + 1;
    if (!literal(env, &value, &length))
        failText(env, Msg::kXmlBadEntity, name, n, false);
    skip_ws_octets(env);
    if (peek(env) != '>')
        failText(env, Msg::kXmlBadEntity, name, n, false);
    advance(env, 1);
    bool decode = memchr(value, '\r', length) != nullptr;
    for (uint32_t i = 0; !decode && i + 1 < length; i++)
        decode = value[i] == '&' && value[i + 1] == '#';
    uint32_t flags = 0;
    if (decode) {
        auto *copy = static_cast<unsigned char *>(_qor_tstk_alloc(env->world, static_cast<QorLong>(length)));
        uint32_t out = 0;
        for (uint32_t i = 0; i < length;) {
            unsigned char c = value[i];
            if (c == '\r') {
                copy[out++] = '\n';
                i += i + 1 < length && value[i + 1] == '\n' ? 2 : 1;
            } else if (c == '&' && i + 1 < length && value[i + 1] == '#') {
                uint32_t used;
                uint32_t code = read_char_ref(env, value + i + 2, length - i - 2, &used);
                uint8_t saved = env->ch_len;
                unsigned char bytes[4];
                memcpy(bytes, env->ch.bytes, 4);
                uint32_t savedFlags = env->input_flags;
                env->input_flags &= ~QOR_XML_WIDE_REFS;
                deliver_code(env, code);
                // A reference never takes more room than its own text.
                memcpy(copy + out, env->ch.bytes, env->ch_len);
                out += env->ch_len;
                env->input_flags = savedFlags;
                env->ch_len = saved;
                memcpy(env->ch.bytes, bytes, 4);
                i += used + 2;
            } else {
                copy[out++] = c;
                i++;
            }
        }
        value = copy;
        length = out;
        flags = kDecodedCopy;
    }
    QorXmlEntity *e = static_cast<QorXmlEntity *>(_qor_tstk_alloc(env->world, sizeof(QorXmlEntity)));
    memset(static_cast<void *>(e), 0, sizeof(QorXmlEntity));
    e->name = name;
    e->name_len = n;
    e->pos = pos;
    e->value = value;
    e->value_len = length;
    e->value_pos = valuePos;
    e->flags = flags;
    add_entity(env, e);
}

// After "<!D": returns the root name that the declaration gives.
void read_doctype(QorXmlEnv *env, const unsigned char **rootName, uint32_t *rootLength)
{
    if (!take(env, "OCTYPE"))
        fail(env, Msg::kXmlBadDtd);
    needWs(env, Msg::kXmlBadDtd);
    *rootName = env->input;
    *rootLength = nameLength(env, Msg::kXmlBadDtd);
    advance(env, *rootLength);
    if (skip_ws_octets(env) && externalId(env, Msg::kXmlBadDtd, false))
        skip_ws_octets(env);
    unsigned char c = peek(env);
    advance(env, 1);
    if (c == '>')
        return;
    if (c != '[')
        fail(env, Msg::kXmlBadDtd);
    for (;;) {
        skip_ws_octets(env);
        c = peek(env);
        if (c == ']') {
            advance(env, 1);
            skip_ws_octets(env);
            if (peek(env) != '>')
                fail(env, Msg::kXmlBadDtd);
            advance(env, 1);
            return;
        }
        if (c == '%')
            fail(env, Msg::kXmlEntityKindUnsupported);
        if (c != '<')
            fail(env, Msg::kXmlBadDtd);
        advance(env, 1);
        if (take(env, "?")) {
            skipPastPair(env, '?', '>');
        } else if (take(env, "!--")) {
            skipPastPair(env, '-', '-');
            if (peek(env) != '>')
                fail(env, Msg::kXmlCommentExpected);
            advance(env, 1);
        } else if (take(env, "!ENTITY")) {
            read_entity_decl(env);
        } else if (take(env, "!ELEMENT") || take(env, "!ATTLIST")) {
            needWs(env, Msg::kXmlBadDtd);
            advance(env, nameLength(env, Msg::kXmlBadDtd));
            auto *end = static_cast<const unsigned char *>(memchr(env->input, '>', env->input_left));
            if (end == nullptr) {
                advance(env, env->input_left);
                endOfInput(env);
            }
            advance(env, static_cast<uint32_t>(end - env->input) + 1);
        } else if (take(env, "!NOTATION")) {
            read_notation_decl(env);
        } else {
            // Any other markup is passed over with its first character, as
            // a deliberate leniency.
            advance(env, env->input_left > 0 ? 1 : 0);
        }
    }
}

} // namespace

int prolog(QorXmlEnv *env)
{
    const unsigned char *rootName = nullptr;
    uint32_t rootLength = 0;
    bool doctype = false;
    skip_ws_octets(env);
    if (peek(env) != '<')
        fail(env, Msg::kXmlPrologExpected);
    if (env->input_left >= 2 && env->input[1] == '?') {
        advance(env, 2);
        if ((env->world->ruleBits & QOR_RULE_RELAXED) != 0) {
            skipPastPair(env, '?', '>');
        } else if (env->input_left < 4 || memcmp(env->input, "xml", 3) != 0 || env->input[3] == ':' ||
                   env->input[3] == '-') {
            skipPastPair(env, '?', '>');
        } else {
            advance(env, 3);
            read_xml_decl(env);
        }
    }
    for (;;) {
        skip_ws_octets(env);
        if (peek(env) != '<')
            fail(env, Msg::kXmlPrologExpected);
        if (env->input_left < 2)
            endOfInput(env);
        unsigned char c = env->input[1];
        if (c == '!') {
            advance(env, 2);
            c = peek(env);
            if (c == '-') {
                advance(env, 1);
                skipComment(env);
            } else if (c == 'D') {
                if (doctype)
                    fail(env, Msg::kXmlDuplicateDtd);
                doctype = true;
                advance(env, 1);
                read_doctype(env, &rootName, &rootLength);
            } else {
                fail(env, Msg::kXmlBadTagSyntax);
            }
        } else if (c == '?') {
            advance(env, 2);
            skipPastPair(env, '?', '>');
        } else {
            break;
        }
    }
    advance(env, 1);
    env->tag_left = env->input_left;
    if (read_markup(env) != 0)
        fail(env, Msg::kXmlTagExpected);
    QorXmlTag *root = env->tag;
    if (doctype && (env->world->decodingFlags & STRICT_ENCODING_DECODING_RULES) != 0 &&
        (root->name_len != rootLength || memcmp(root->name, rootName, rootLength) != 0))
        failText(env, Msg::kXmlRootNotDtdName, root->name, root->name_len, true);
    return root->kind == 1 ? 1 : 0;
}

} // namespace qor::tlex
