// The XML lexer's inner records and the pieces of it that the EXER decoders
// call directly. Nothing here leaves the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/messages.h"
#include "frame/world.h"

// Records on the temporary stack. Their first members are those that the
// decoders read; the hash links keep lookups short.
struct QorXmlAttr {
    QorXmlAttr *next;
    const unsigned char *name;
    uint32_t name_len;
    uint32_t pos;
    int32_t colon;
    const char *ns_uri;
    const unsigned char *value; // raw: references are expanded only when read
    uint32_t value_len;
    uint32_t value_pos;
    uint32_t flags;
    QorXmlAttr *same_hash; // during the repeat test only
};

struct QorXmlNsDecl {
    QorXmlNsDecl *next;
    const unsigned char *prefix; // null for the default namespace
    uint32_t prefix_len;
    uint32_t pos;
    const char *uri; // canonical pointer; null for an undone default
    uint32_t uri_len;
    uint32_t flags;
    uint32_t depth;
    uint32_t seq;                 // declarations in scope before this one
    QorXmlNsDecl *prefix_shadow;  // the older head of its prefix bucket
    QorXmlNsDecl *uri_shadow;     // the older head of its URI bucket
};

struct QorXmlEntity {
    QorXmlEntity *next;
    const unsigned char *name;
    uint32_t name_len;
    uint32_t pos;
    const unsigned char *value;
    uint32_t value_len;
    uint32_t value_pos;
    uint32_t flags;
    QorXmlEntity *same_hash;
};

namespace qor::tlex {

// Attribute flags.
constexpr uint32_t kApostrophe = 1;
constexpr uint32_t kConsumed = 2;
constexpr uint32_t kExtension = 4;
constexpr uint32_t kTypeAccepted = 8;
// Declaration and entity flags.
constexpr uint32_t kDecodedCopy = 4;

// State bits beyond those of the public header.
constexpr uint32_t kUnionAttempt = 8;
constexpr uint32_t kSkipOne = 0x400;      // skip_content: one element, then a tag
constexpr uint32_t kSkipOneLoose = 0x800; // skip_content: one element, text dropped

constexpr QorULong kIgnoreUnknownAttributes = IGNORE_UNKNOWN_ATTRIBUTES;

// check_name's flag: a colon is an invalid character.
constexpr int kNoColon = 16;

// Limits, stated in the public header.
constexpr uint32_t kMaxNsInScope = 1024;
constexpr uint32_t kNsBuckets = 128;

// The lexer's lookup tables, the first record of a document on the
// temporary stack.
struct Index {
    QorXmlNsDecl *prefixes[kNsBuckets];
    QorXmlNsDecl *uris[kNsBuckets];
    uint32_t nsInScope;
    uint32_t nsFloor; // declarations below it belong to an outer document
    QorXmlEntity **entityBuckets;
    uint32_t entityMask;
    uint32_t entityCount;
    uint64_t expansionLeft; // octets that entities may still push
};

// The character classes.
enum : uint32_t {
    kStopsValue = 0x10,
    kUriPunctuation = 0x20,
    kNameExtra = 0x40,
    kContinuation = 0x80,
    kLead = 0x100,
    kQuote = 0x200,
    kAlnum = 0x400,
    kLetter = 0x800,
    kHexDigit = 0x1000,
    kDigit = 0x2000,
    kWhitespace = 0x4000,
    kForbidden = 0x8000,
    kColon = 0x10000,
    kMarkupStart = 0x20000,
    kRealStart = 0x40000,
    kGreater = 0x80000,
    kEquals = 0x100000,
    kSolidus = 0x200000,
    kHyphen = 0x400000,
    kLower = 0x800000,
    kFeFf = 0x1000000,
};
struct ClassTable {
    uint32_t v[256];
};

constexpr ClassTable buildClasses()
{
    ClassTable t{};
    for (int c = 0; c < 256; c++) {
        uint32_t k = 0;
        if (c >= '0' && c <= '9')
            k |= kAlnum | kHexDigit | kDigit | static_cast<uint32_t>(c - '0');
        else if ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))
            k |= kHexDigit | static_cast<uint32_t>((c | 0x20) - 'a' + 10);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))
            k |= kAlnum | kLetter;
        if (c >= 'a' && c <= 'z')
            k |= kLower;
        if (c < 0x20 || c == ' ' || c == '<' || c == '&' || (c >= 0x80 && c <= 0xBF))
            k |= kStopsValue;
        for (char u : "!#$%&'()*+,/;=?@~")
            if (u != 0 && c == static_cast<unsigned char>(u))
                k |= kUriPunctuation;
        if (c == '-' || c == '.' || c == '_')
            k |= kNameExtra;
        if (c >= 0x80 && c <= 0xBF)
            k |= kContinuation;
        if (c >= 0xC0 && c <= 0xFD)
            k |= kLead | (c <= 0xDF ? 2u : c <= 0xEF ? 3u : c <= 0xF7 ? 4u : c <= 0xFB ? 5u : 6u);
        if (c == '"' || c == '\'')
            k |= kQuote;
        if (c == '\t' || c == '\n' || c == '\r' || c == ' ')
            k |= kWhitespace;
        else if (c < 0x20)
            k |= kForbidden;
        if (c == ':')
            k |= kColon;
        if (c == '<' || c == '&' || c == ']')
            k |= kMarkupStart;
        if (c == 'M' || c == 'N' || c == 'P')
            k |= kRealStart;
        if (c == '>')
            k |= kGreater;
        if (c == '=')
            k |= kEquals;
        if (c == '/')
            k |= kSolidus;
        if (c == '-')
            k |= kHyphen;
        if (c >= 0xFE)
            k |= kFeFf;
        t.v[c] = k;
    }
    return t;
}

inline constexpr ClassTable qor_xml_char_class = buildClasses();

constexpr uint32_t kNameClasses = kNameExtra | kContinuation | kLead | kAlnum;

inline uint32_t classOf(unsigned char c) { return qor_xml_char_class.v[c]; }
inline bool isWs(unsigned char c) { return (classOf(c) & kWhitespace) != 0; }

extern const char kXmlNamespace[]; // the URI bound to the prefix xml
constexpr uint32_t kXmlNamespaceLength = 36;

// The six words of the current input, laid out in the environment as in a
// saved frame, and copied as a block (without the frame's tail padding,
// which the environment's `ch` occupies).
constexpr size_t kFrameBytes = offsetof(QorXmlInputFrame, depth) + sizeof(uint32_t);
static_assert(offsetof(QorXmlEnv, depth) - offsetof(QorXmlEnv, input) == offsetof(QorXmlInputFrame, depth));
static_assert(offsetof(QorXmlEnv, input_flags) - offsetof(QorXmlEnv, input) ==
              offsetof(QorXmlInputFrame, input_flags));

inline void saveInput(QorXmlEnv *env, QorXmlInputFrame *frame) { memcpy(frame, &env->input, kFrameBytes); }
inline void restoreInput(QorXmlEnv *env, const QorXmlInputFrame *frame) { memcpy(&env->input, frame, kFrameBytes); }

inline Index *indexOf(QorXmlEnv *env) { return static_cast<Index *>(env->index); }

// Offset of the next unread octet in the outer document.
inline uint32_t offsetOf(const QorXmlEnv *env)
{
    return env->input_base + (env->input_len - env->input_left);
}

// Raising, through _qor_tdex_error.
[[noreturn]] void fail(QorXmlEnv *env, Msg message);
[[noreturn]] void failText(QorXmlEnv *env, Msg message, const unsigned char *text, uint32_t length,
                           bool validate);
[[noreturn]] void failChar(QorXmlEnv *env, Msg message, unsigned char c);
[[noreturn]] void endOfInput(QorXmlEnv *env);

// Whether the current lexem is a whitespace character.
inline bool wsLexem(const QorXmlEnv *env)
{
    return env->lexem == QOR_XML_CHAR && env->ch_len == 1 && isWs(env->ch.bytes[0]);
}

// The static pieces.
int next_char(QorXmlEnv *env);
// After the less-than sign: 1 for a comment, a processing instruction or
// the start of CDATA, 0 for a tag in env->tag.
int read_markup(QorXmlEnv *env);
// After the ampersand: 1 if an entity was pushed, 0 if a character is in `ch`.
int read_reference(QorXmlEnv *env);
void push_entity(QorXmlEnv *env, const QorXmlEntity *entity);
void pop_entity(QorXmlEnv *env);
void check_attrs(QorXmlEnv *env);
void close_value_tag(QorXmlEnv *env);
// 0, or the catalogue number of the name's fault.
int check_name(const unsigned char *text, uint32_t length, int flags);
bool check_uri(const unsigned char *text, uint32_t length);
// Reads the prolog and the root tag; 1 when the root is a start tag.
int prolog(QorXmlEnv *env);

// The value of a character reference at `p` (after "&#"), of at most `left`
// octets; `used` gets the octets through the semicolon.
uint32_t read_char_ref(QorXmlEnv *env, const unsigned char *p, uint32_t left, uint32_t *used);
// Puts a character reference's value into `ch` as lexem 2 or 3.
void deliver_code(QorXmlEnv *env, uint32_t value);

// Namespace declarations.
QorXmlNsDecl *find_prefix(QorXmlEnv *env, const unsigned char *prefix, uint32_t length);
void drop_declarations(QorXmlEnv *env, uint32_t depth);
// The entity of that name, the latest declared; null if none.
const QorXmlEntity *find_entity(QorXmlEnv *env, const unsigned char *name, uint32_t length);
void add_entity(QorXmlEnv *env, QorXmlEntity *entity);

// Octets of `text` that fit the class mask from `from` on.
inline uint32_t spanOf(const unsigned char *text, uint32_t from, uint32_t length, uint32_t mask)
{
    while (from < length && (classOf(text[from]) & mask) != 0)
        from++;
    return from;
}

uint32_t hashOf(const unsigned char *text, uint32_t length);

// Reading helpers on the current input.
inline void advance(QorXmlEnv *env, uint32_t n)
{
    env->input += n;
    env->input_left -= n;
}
// Drops whitespace octets; whether there were any.
bool skip_ws_octets(QorXmlEnv *env);

// Words, and the look-ahead tag that ended one.
constexpr uint32_t kWordOnStack = 4;       // a word is alive: free_name ends it
constexpr uint32_t kWordTaken = 0x1000;    // the caller brings the tag up to date
constexpr uint32_t kTagUnread = 0x2000;    // the tag's attributes are to be read again
constexpr uint32_t kTagMarksStale = 0x4000; // the tag has no records, only old marks
// Whitespace modes of read_word_ws.
constexpr int kWsPreserve = 0;
constexpr int kWsCollapse = 2;
constexpr int kWsReplace = 4;

// The whole text up to the next tag or the end of the input, whitespace
// written by `mode`, on the temporary stack; collapsing writes each run as
// one blank and drops a trailing one. As read_word, free_name ends its life.
void read_word_ws(QorXmlEnv *env, QorXmlWord *word, int mode);
// Gives back the records of a start tag that is the look-ahead, to be read
// again later: a word below them can then go first.
void unread_tag(QorXmlEnv *env);
void reread_tag(QorXmlEnv *env);
// After a word's stack is given back: the tag's new marks, or its re-read.
void refresh_tag(QorXmlEnv *env);
// The attributes and declarations of the start tag in `tag`, its name read.
void read_start_tag(QorXmlEnv *env, QorXmlTag *tag);
// Skipping. The raw text of skipped content goes to a sink in pieces, in
// order, as the skip passes it: the ANY-ELEMENT decoder collects it there.
struct CopySink {
    void (*put)(QorXmlEnv *env, CopySink *sink, const unsigned char *text, uint32_t length);
};
// Skips the open element's content through its end tag, which becomes the
// lexem, and drops its attributes; with a sink, the content goes there.
void skip_element(QorXmlEnv *env, CopySink *sink);
// The closing of the open element without reading on: its attributes
// checked, the lexem compared as its end tag, its records given back.
void close_element(QorXmlEnv *env);

} // namespace qor::tlex
