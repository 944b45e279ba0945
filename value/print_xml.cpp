// qorPrintXML: XML text as it stands, or re-indented without being parsed:
// items are told apart by their first octets, and tags start lines of their
// own, two blanks deeper for each open element.
#include "value/text_out.h"

namespace qor {

namespace {

enum ItemKind { kOpening, kEmpty, kClosing, kMarkup, kCdata };

bool isWhite(unsigned char c)
{
    return (_qorCharFlags[c] & QOR_CHAR_SPACE) != 0;
}

bool startsWith(const unsigned char *p, const unsigned char *end, const char *text)
{
    size_t n = strlen(text);
    return static_cast<size_t>(end - p) >= n && memcmp(p, text, n) == 0;
}

// Past the first `text` at or after `p`; the end when there is none.
const unsigned char *past(const unsigned char *p, const unsigned char *end, const char *text)
{
    size_t n = strlen(text);
    for (; static_cast<size_t>(end - p) >= n; p++)
        if (memcmp(p, text, n) == 0)
            return p + n;
    return end;
}

// The item at `p`, a "<": its kind and where it ends. Quoted values are
// passed over with their own quote, so a ">" inside one ends nothing.
const unsigned char *itemEnd(const unsigned char *p, const unsigned char *end, ItemKind *kind)
{
    if (startsWith(p, end, "<!--")) {
        *kind = kMarkup;
        return past(p + 4, end, "-->");
    }
    if (startsWith(p, end, "<![CDATA[")) {
        *kind = kCdata;
        return past(p + 9, end, "]]>");
    }
    if (startsWith(p, end, "<?")) {
        *kind = kMarkup;
        return past(p + 2, end, "?>");
    }
    bool declaration = startsWith(p, end, "<!");
    *kind = declaration ? kMarkup : startsWith(p, end, "</") ? kClosing : kOpening;
    unsigned char quote = 0;
    int brackets = 0; // a document type's internal subset
    for (const unsigned char *q = p + 1; q < end; q++) {
        if (quote != 0) {
            if (*q == quote)
                quote = 0;
        } else if (*q == '"' || *q == '\'') {
            quote = *q;
        } else if (declaration && *q == '[') {
            brackets++;
        } else if (declaration && *q == ']') {
            brackets--;
        } else if (*q == '>' && brackets <= 0) {
            if (*kind == kOpening && q[-1] == '/')
                *kind = kEmpty;
            return q + 1;
        }
    }
    return end;
}

class XmlPrinter {
public:
    explicit XmlPrinter(TextOut &out) : out_(out) {}

    void emit(const unsigned char *p, size_t n)
    {
        if (n == 0)
            return;
        out_.put(reinterpret_cast<const char *>(p), n);
        atLineStart_ = p[n - 1] == '\n';
    }
    void emit(const char *text)
    {
        emit(reinterpret_cast<const unsigned char *>(text), strlen(text));
    }

    void startLine(int depth)
    {
        if (!atLineStart_)
            emit("\n");
        for (int i = 0; i < depth; i++)
            out_.put("  ", 2);
    }

    // Runs of white space, line breaks among them, become one blank; quoted
    // values stand as they are.
    void tag(const unsigned char *p, const unsigned char *end)
    {
        unsigned char quote = 0;
        bool blank = false;
        for (; p < end; p++) {
            if (quote == 0 && isWhite(*p)) {
                blank = true;
                continue;
            }
            if (blank)
                emit(" ");
            blank = false;
            if (quote != 0 && *p == quote)
                quote = 0;
            else if (quote == 0 && (*p == '"' || *p == '\''))
                quote = *p;
            emit(p, 1);
        }
    }

    // The name alone: "</a  >" is "</a>".
    void closing(const unsigned char *p, const unsigned char *end)
    {
        const unsigned char *name = p;
        while (name < end && !isWhite(*name) && *name != '>')
            name++;
        emit(p, static_cast<size_t>(name - p));
        emit(">");
    }

private:
    TextOut &out_;
    bool atLineStart_ = true;
};

bool allWhite(const unsigned char *p, const unsigned char *end)
{
    for (; p < end; p++)
        if (!isWhite(*p))
            return false;
    return true;
}

const unsigned char *nextItem(const unsigned char *p, const unsigned char *end)
{
    while (p < end && *p != '<')
        p++;
    return p;
}

void pretty(TextOut &out, const unsigned char *p, const unsigned char *end)
{
    XmlPrinter printer(out);
    ItemKind kind;
    p = nextItem(p, end);
    // The prolog, with the line breaks between its items.
    while (p < end) {
        const unsigned char *after = itemEnd(p, end, &kind);
        if (kind != kMarkup)
            break;
        printer.emit(p, static_cast<size_t>(after - p));
        for (p = after; p < end && *p != '<'; p++)
            if (*p == '\n')
                printer.emit("\n");
    }
    // The root element. A tag after nothing but white space starts its own
    // line; a closing tag does so only after another element closed.
    int depth = 0;
    bool textBefore = false;
    bool afterOpening = false;
    bool rootDone = false;
    while (p < end && !rootDone) {
        const unsigned char *after = itemEnd(p, end, &kind);
        switch (kind) {
        case kOpening:
        case kEmpty:
            if (!textBefore)
                printer.startLine(depth);
            printer.tag(p, after);
            if (kind == kOpening)
                depth++;
            afterOpening = kind == kOpening;
            rootDone = depth == 0;
            break;
        case kClosing:
            if (depth > 0)
                depth--;
            if (!textBefore && !afterOpening)
                printer.startLine(depth);
            printer.closing(p, after);
            afterOpening = false;
            rootDone = depth == 0;
            break;
        case kMarkup:
            if (!textBefore)
                printer.startLine(depth);
            printer.emit(p, static_cast<size_t>(after - p));
            afterOpening = false;
            break;
        case kCdata:
            printer.emit(p, static_cast<size_t>(after - p));
            break;
        }
        const unsigned char *text = after;
        p = nextItem(after, end);
        textBefore = kind == kCdata || !allWhite(text, p);
        if (textBefore && !rootDone)
            printer.emit(text, static_cast<size_t>(p - text));
    }
    // Comments and processing instructions after the root.
    while (p < end) {
        const unsigned char *after = itemEnd(p, end, &kind);
        if (kind != kMarkup)
            break;
        printer.startLine(0);
        printer.emit(p, static_cast<size_t>(after - p));
        p = nextItem(after, end);
    }
}

// Line by line as it stands; a carriage return before a line feed goes.
void plain(TextOut &out, const unsigned char *p, const unsigned char *end)
{
    const unsigned char *run = p;
    for (; p < end; p++) {
        if (*p == '\r' && p + 1 < end && p[1] == '\n') {
            out.put(reinterpret_cast<const char *>(run), static_cast<size_t>(p - run));
            run = p + 1;
        }
    }
    out.put(reinterpret_cast<const char *>(run), static_cast<size_t>(end - run));
}

} // namespace

} // namespace qor

using namespace qor;

extern "C" {

void qorPrintXML(QorGlobal *world, const unsigned char *data, QorLong length, int pretty)
{
    if (world == nullptr || data == nullptr || length < 1)
        return;
    TextOut out = TextOut::toRoute(world);
    if (pretty != 0)
        qor::pretty(out, data, data + length);
    else
        plain(out, data, data + length);
    out.finish();
}

} // extern "C"
