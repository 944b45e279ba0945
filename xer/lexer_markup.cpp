// The XML lexer's markup: tags with their attributes and namespace
// declarations, comments, processing instructions, the start of CDATA; and
// the lookups of prefixes, URIs and entities.
#include <cstring>

#include "xer/lexer.h"

namespace qor::tlex {

const char kXmlNamespace[] = "http://www.w3.org/XML/1998/namespace";

namespace {

bool same(const unsigned char *a, uint32_t alen, const void *b, uint32_t blen)
{
    return alen == blen && (alen == 0 || memcmp(a, b, alen) == 0);
}

void *stackTop(QorXmlEnv *env) { return env->world->tempLow; }

template <class T> T *newRecord(QorXmlEnv *env)
{
    auto *r = static_cast<T *>(_qor_tstk_alloc(env->world, sizeof(T)));
    memset(static_cast<void *>(r), 0, sizeof(T));
    return r;
}

// Skips to just past `close` (two octets), raising the end of input if
// there is none.
void skipPast(QorXmlEnv *env, char first, char second)
{
    const unsigned char *p = env->input;
    uint32_t left = env->input_left;
    for (;;) {
        auto *hit = static_cast<const unsigned char *>(memchr(p, first, left));
        if (hit == nullptr || static_cast<uint32_t>(hit - p) + 1 >= left) {
            advance(env, env->input_left);
            endOfInput(env);
        }
        uint32_t at = static_cast<uint32_t>(hit - p);
        if (hit[1] == second) {
            advance(env, static_cast<uint32_t>(hit + 2 - env->input));
            return;
        }
        p = hit + 1;
        left -= at + 1;
    }
}

// A comment after "<!-": a double hyphen ends it, and must come with ">".
void skipComment(QorXmlEnv *env)
{
    if (env->input_left == 0)
        endOfInput(env);
    if (*env->input != '-')
        fail(env, Msg::kXmlCommentExpected);
    advance(env, 1);
    skipPast(env, '-', '-');
    if (env->input_left == 0)
        endOfInput(env);
    if (*env->input != '>')
        fail(env, Msg::kXmlCommentExpected);
    advance(env, 1);
}

// A name at the input: its first octet must be a name octet; the scan is
// lenient, since check_name runs only where a name is kept or shown.
uint32_t scanName(QorXmlEnv *env, int32_t *colon)
{
    if (env->input_left == 0)
        endOfInput(env);
    if ((classOf(*env->input) & kNameClasses) == 0)
        fail(env, Msg::kXmlNameExpected);
    uint32_t n = spanOf(env->input, 1, env->input_left, kNameClasses | kColon);
    if (n == env->input_left)
        endOfInput(env);
    if (colon != nullptr) {
        auto *c = static_cast<const unsigned char *>(memchr(env->input, ':', n));
        *colon = c != nullptr ? static_cast<int32_t>(c - env->input) : -1;
    }
    return n;
}

unsigned char peek(QorXmlEnv *env)
{
    if (env->input_left == 0)
        endOfInput(env);
    return *env->input;
}

// The value of a namespace declaration, after its opening quote: ASCII
// only, references standing for ASCII characters. Left on the input's
// closing quote's far side.
void readNsValue(QorXmlEnv *env, unsigned char quote, const unsigned char **uri, uint32_t *length,
                 uint32_t *flags)
{
    const unsigned char *start = env->input;
    uint32_t decoded = 0;
    bool references = false;
    uint32_t at = 0;
    for (;; ) {
        if (at >= env->input_left) {
            advance(env, env->input_left);
            endOfInput(env);
        }
        unsigned char c = start[at];
        if (c == quote)
            break;
        if (c == '&') {
            references = true;
            // The reference is read where it stands, wide references off.
            uint32_t savedFlags = env->input_flags;
            const unsigned char *savedInput = env->input;
            uint32_t savedLeft = env->input_left;
            uint32_t savedDepth = env->input_depth;
            env->input_flags &= ~QOR_XML_WIDE_REFS;
            advance(env, at + 1);
            int pushed = read_reference(env);
            if (pushed != 0 || env->ch_len != 1 || env->ch.bytes[0] >= 0x80 ||
                env->input_depth != savedDepth)
                failText(env, Msg::kXmlWrongUri, start, at, false);
            at = static_cast<uint32_t>(env->input - start);
            env->input = savedInput;
            env->input_left = savedLeft;
            env->input_flags = savedFlags;
            decoded++;
            continue;
        }
        if (c >= 0x80) {
            advance(env, at);
            failText(env, Msg::kXmlWrongUri, start, at, false);
        }
        decoded++;
        at++;
    }
    advance(env, at + 1);
    *flags = 0;
    if (!references) {
        *uri = start;
        *length = at;
        return;
    }
    auto *copy = static_cast<unsigned char *>(_qor_tstk_alloc(env->world, decoded + 1));
    uint32_t out = 0;
    for (uint32_t i = 0; i < at;) {
        if (start[i] != '&') {
            copy[out++] = start[i++];
            continue;
        }
        const unsigned char *ref = start + i + 1;
        if (*ref == '#') {
            uint32_t used;
            copy[out++] = static_cast<unsigned char>(read_char_ref(env, ref + 1, at - i - 2, &used));
            i += used + 2;
        } else {
            uint32_t n = static_cast<uint32_t>(static_cast<const unsigned char *>(memchr(ref, ';', at - i)) - ref);
            static const char kNames[] = "lt<gt>amp&apos'quot\"";
            for (const char *q = kNames; *q != 0;) {
                uint32_t len = static_cast<uint32_t>(strcspn(q, "<>&'\""));
                if (len == n && memcmp(q, ref, n) == 0)
                    copy[out++] = static_cast<unsigned char>(q[len]);
                q += len + 1;
            }
            i += n + 2;
        }
    }
    copy[out] = 0;
    *uri = copy;
    *length = out;
    *flags = kDecodedCopy;
}

QorXmlNsDecl *findUri(QorXmlEnv *env, const unsigned char *uri, uint32_t length)
{
    Index *index = indexOf(env);
    for (QorXmlNsDecl *d = index->uris[hashOf(uri, length) & (kNsBuckets - 1)];
         d != nullptr && d->seq >= index->nsFloor; d = d->uri_shadow)
        if (d->uri != nullptr && same(uri, length, d->uri, d->uri_len))
            return d;
    return nullptr;
}

// A namespace declaration of the tag being read; `prefix` null for the
// default namespace. `tagStart` counts the declarations in scope before
// the tag's first.
void declareNamespace(QorXmlEnv *env, QorXmlTag *tag, const unsigned char *prefix,
                      uint32_t prefixLength, uint32_t pos, unsigned char quote, uint32_t tagStart)
{
    Index *index = indexOf(env);
    if (prefix != nullptr) {
        if (int bad = check_name(prefix, prefixLength, kNoColon))
            failText(env, static_cast<Msg>(bad), prefix, prefixLength, false);
    }
    if (index->nsInScope >= kMaxNsInScope)
        fail(env, Msg::kXmlTooComplex);
    uint32_t h = hashOf(prefix, prefixLength) & (kNsBuckets - 1);
    for (QorXmlNsDecl *d = index->prefixes[h]; d != nullptr && d->seq >= tagStart; d = d->prefix_shadow) {
        if ((d->prefix == nullptr) != (prefix == nullptr))
            continue;
        if (prefix == nullptr)
            fail(env, Msg::kXmlDefaultNamespaceTwice);
        if (same(prefix, prefixLength, d->prefix, d->prefix_len))
            failText(env, Msg::kXmlPrefixTwice, prefix, prefixLength, false);
    }
    // The record goes first: a decoded copy of the URI above it can then be
    // given back when the URI turns out to be known.
    auto *d = newRecord<QorXmlNsDecl>(env);
    void *mark = stackTop(env);
    const unsigned char *value;
    uint32_t length;
    uint32_t flags;
    readNsValue(env, quote, &value, &length, &flags);
    if (length == 0 && prefix != nullptr)
        failText(env, Msg::kXmlWrongUri, value, length, false);
    bool isXmlPrefix = prefix != nullptr && same(prefix, prefixLength, "xml", 3);
    bool isXmlUri = same(value, length, kXmlNamespace, kXmlNamespaceLength);
    if (isXmlPrefix != isXmlUri)
        failText(env, Msg::kXmlPrefixXmlMisbound, prefix != nullptr ? prefix : tag->name,
                 prefix != nullptr ? prefixLength : 0, false);
    const char *canonical = nullptr;
    if (length != 0) {
        // URIs compare by pointer everywhere else: the schema's own row, or
        // the first declaration in scope of the same text.
        auto *rows = static_cast<const QorXmlNsRow *>(env->ns_table);
        for (uint32_t i = env->ns_count; i > 0 && canonical == nullptr; i--) {
            const char *u = rows[i - 1].uri;
            if (u != nullptr && strlen(u) == length && memcmp(u, value, length) == 0)
                canonical = u;
        }
        if (canonical == nullptr) {
            if (QorXmlNsDecl *older = findUri(env, value, length))
                canonical = older->uri;
        }
        if (canonical != nullptr) {
            if ((flags & kDecodedCopy) != 0)
                _qor_tstk_free(env->world, mark);
            flags = 0;
        } else {
            if (!check_uri(value, length))
                failText(env, Msg::kXmlWrongUri, value, length, false);
            canonical = reinterpret_cast<const char *>(value);
        }
    }
    d->prefix = prefix;
    d->prefix_len = prefixLength;
    d->pos = pos;
    d->uri = canonical;
    d->uri_len = length;
    d->flags = flags;
    d->depth = env->depth;
    d->seq = index->nsInScope++;
    d->next = static_cast<QorXmlNsDecl *>(env->ns_decls);
    env->ns_decls = d;
    d->prefix_shadow = index->prefixes[h];
    index->prefixes[h] = d;
    // By the canonical text, as drop_declarations finds it again.
    uint32_t uh = hashOf(reinterpret_cast<const unsigned char *>(canonical), length) & (kNsBuckets - 1);
    d->uri_shadow = index->uris[uh];
    index->uris[uh] = d;
    tag->attr_mark = stackTop(env);
}

// The URI of a qualified name's prefix; the default namespace's for an
// element without one.
const char *resolve(QorXmlEnv *env, const unsigned char *name, uint32_t length, int32_t colon,
                    bool element)
{
    if (colon < 0) {
        if (!element)
            return nullptr;
        QorXmlNsDecl *d = find_prefix(env, nullptr, 0);
        return d != nullptr ? d->uri : nullptr;
    }
    QorXmlNsDecl *d = find_prefix(env, name, static_cast<uint32_t>(colon));
    if (d != nullptr)
        return d->uri;
    if (colon == 3 && memcmp(name, "xml", 3) == 0)
        return env->xml_uri;
    failText(env, Msg::kXmlUndefinedPrefix, name, length, true);
}

} // namespace

void read_start_tag(QorXmlEnv *env, QorXmlTag *tag)
{
    Index *index = indexOf(env);
    tag->stack_mark = tag->attr_mark = stackTop(env);
    tag->attrs = nullptr;
    tag->ns_uri = nullptr;
    uint32_t tagStart = index->nsInScope;
    for (;;) {
        bool spaced = skip_ws_octets(env);
        unsigned char c = peek(env);
        if (c == '/') {
            advance(env, 1);
            if (peek(env) != '>')
                fail(env, Msg::kXmlBadTagSyntax);
            advance(env, 1);
            tag->kind = 3;
            env->tag_end_left = env->input_left;
            break;
        }
        if (c == '>') {
            advance(env, 1);
            break;
        }
        if (!spaced)
            fail(env, Msg::kXmlBadAttribute);
        const unsigned char *name = env->input;
        uint32_t pos = offsetOf(env);
        int32_t colon;
        uint32_t length = scanName(env, &colon);
        advance(env, length);
        skip_ws_octets(env);
        if (peek(env) != '=')
            fail(env, Msg::kXmlEqualsExpected);
        advance(env, 1);
        skip_ws_octets(env);
        unsigned char quote = peek(env);
        if (quote != '"' && quote != '\'')
            fail(env, Msg::kXmlBadAttribute);
        advance(env, 1);
        bool xmlns = colon < 0 ? same(name, length, "xmlns", 5) : same(name, static_cast<uint32_t>(colon), "xmlns", 5);
        if (xmlns) {
            const unsigned char *prefix = colon < 0 ? nullptr : name + colon + 1;
            uint32_t prefixLength = colon < 0 ? 0 : length - static_cast<uint32_t>(colon) - 1;
            declareNamespace(env, tag, prefix, prefixLength, pos, quote, tagStart);
            continue;
        }
        // The value stays raw until somebody reads it; only a less-than
        // sign is refused here.
        const unsigned char *value = env->input;
        uint32_t valuePos = offsetOf(env);
        uint32_t n = 0;
        for (;; n++) {
            if (n >= env->input_left) {
                advance(env, env->input_left);
                endOfInput(env);
            }
            if (value[n] == quote)
                break;
            if (value[n] == '<') {
                advance(env, n);
                fail(env, Msg::kXmlBadAttribute);
            }
        }
        advance(env, n + 1);
        auto *a = newRecord<QorXmlAttr>(env);
        a->name = name;
        a->name_len = length;
        a->pos = pos;
        a->colon = colon;
        a->value = value;
        a->value_len = n;
        a->value_pos = valuePos;
        a->flags = quote == '\'' ? kApostrophe : 0;
        a->next = static_cast<QorXmlAttr *>(tag->attrs);
        tag->attrs = a;
    }
    tag->ns_uri = resolve(env, tag->name, tag->name_len, tag->colon, true);
    for (auto *a = static_cast<QorXmlAttr *>(tag->attrs); a != nullptr; a = a->next)
        a->ns_uri = resolve(env, a->name, a->name_len, a->colon, false);
}

int read_markup(QorXmlEnv *env)
{
    QorXmlTag *tag = env->tag;
    tag->name = env->input;
    tag->pos = offsetOf(env);
    unsigned char c = peek(env);
    if (c == '!') {
        advance(env, 1);
        c = peek(env);
        if (c == '-') {
            advance(env, 1);
            skipComment(env);
        } else if (c == '[') {
            advance(env, 1);
            static const char kCdata[] = "CDATA[";
            for (int i = 0; i < 6; i++) {
                if (peek(env) != static_cast<unsigned char>(kCdata[i]))
                    fail(env, Msg::kXmlCdataExpected);
                advance(env, 1);
            }
            env->input_flags |= QOR_XML_IN_CDATA;
        } else {
            fail(env, Msg::kXmlBadTagSyntax);
        }
        return 1;
    }
    if (c == '?') {
        advance(env, 1);
        skipPast(env, '?', '>');
        return 1;
    }
    if (c == '/') {
        advance(env, 1);
        tag->kind = 2;
        if ((env->input_flags & QOR_XML_IN_ENTITY) != 0 && env->input_depth > 0 &&
            env->depth <= env->input_stack[env->input_depth - 1].depth)
            fail(env, Msg::kXmlEntityNotWellFormed);
        tag->name = env->input;
        tag->pos = offsetOf(env);
        tag->name_len = scanName(env, &tag->colon);
        advance(env, tag->name_len);
        skip_ws_octets(env);
        if (peek(env) != '>')
            fail(env, Msg::kXmlBadTagSyntax);
        advance(env, 1);
        env->tag_end_left = env->input_left;
        tag->ns_uri = nullptr;
        tag->attrs = nullptr;
        env->lexem = QOR_XML_TAG;
        return 0;
    }
    tag->embed = nullptr;
    tag->kind = 1;
    env->depth++;
    tag->name_len = scanName(env, &tag->colon);
    advance(env, tag->name_len);
    read_start_tag(env, tag);
    env->lexem = QOR_XML_TAG;
    return 0;
}

QorXmlNsDecl *find_prefix(QorXmlEnv *env, const unsigned char *prefix, uint32_t length)
{
    Index *index = indexOf(env);
    for (QorXmlNsDecl *d = index->prefixes[hashOf(prefix, length) & (kNsBuckets - 1)];
         d != nullptr && d->seq >= index->nsFloor; d = d->prefix_shadow) {
        if (prefix == nullptr ? d->prefix == nullptr
                              : d->prefix != nullptr && same(prefix, length, d->prefix, d->prefix_len))
            return d;
    }
    return nullptr;
}

void drop_declarations(QorXmlEnv *env, uint32_t depth)
{
    Index *index = indexOf(env);
    auto *d = static_cast<QorXmlNsDecl *>(env->ns_decls);
    // Newest first: each bucket gets back the head it had before.
    for (; d != nullptr && d->depth >= depth; d = d->next) {
        index->prefixes[hashOf(d->prefix, d->prefix_len) & (kNsBuckets - 1)] = d->prefix_shadow;
        // The canonical text equals the declared one: the same bucket.
        auto *uri = reinterpret_cast<const unsigned char *>(d->uri);
        index->uris[hashOf(uri, d->uri_len) & (kNsBuckets - 1)] = d->uri_shadow;
        index->nsInScope--;
    }
    env->ns_decls = d;
}

const QorXmlEntity *find_entity(QorXmlEnv *env, const unsigned char *name, uint32_t length)
{
    Index *index = indexOf(env);
    if (index->entityBuckets == nullptr)
        return nullptr;
    for (QorXmlEntity *e = index->entityBuckets[hashOf(name, length) & index->entityMask]; e != nullptr;
         e = e->same_hash)
        if (same(name, length, e->name, e->name_len))
            return e;
    return nullptr;
}

void add_entity(QorXmlEnv *env, QorXmlEntity *entity)
{
    Index *index = indexOf(env);
    entity->next = static_cast<QorXmlEntity *>(env->entities);
    env->entities = entity;
    index->entityCount++;
    if (index->entityBuckets == nullptr || index->entityCount > 2 * (index->entityMask + 1)) {
        // A table four times larger, all entities again, newest at each
        // bucket's head: the latest declaration of a name is found first.
        uint32_t size = index->entityBuckets == nullptr ? 64 : 4 * (index->entityMask + 1);
        auto **buckets = static_cast<QorXmlEntity **>(
            _qor_tstk_alloc(env->world, static_cast<QorLong>(size * sizeof(QorXmlEntity *))));
        memset(static_cast<void *>(buckets), 0, size * sizeof(QorXmlEntity *));
        index->entityBuckets = buckets;
        index->entityMask = size - 1;
        // Oldest first, so that newer ones end up in front.
        QorXmlEntity *reversed = nullptr;
        for (QorXmlEntity *e = entity; e != nullptr;) {
            QorXmlEntity *older = e->next;
            e->same_hash = reversed;
            reversed = e;
            e = older;
        }
        for (QorXmlEntity *e = reversed; e != nullptr;) {
            QorXmlEntity *newer = e->same_hash;
            QorXmlEntity **head = &buckets[hashOf(e->name, e->name_len) & index->entityMask];
            e->same_hash = *head;
            *head = e;
            e = newer;
        }
        return;
    }
    QorXmlEntity **head = &index->entityBuckets[hashOf(entity->name, entity->name_len) & index->entityMask];
    entity->same_hash = *head;
    *head = entity;
}

} // namespace qor::tlex
