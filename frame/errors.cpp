// Error reporting: the raisers, the making of a message from the catalogue,
// the value and the field location, and the calls that read messages back.
#include "frame/errors.h"

#include <charconv>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/catalogue.h"

namespace qor {

namespace {

constexpr size_t kMessageBufferSize = sizeof(QorGlobal::errMsgBuffer);
constexpr size_t kTail = 3; // ".\n" and the terminating zero always fit
constexpr size_t kPduNameLimit = 498;
constexpr QorULong kDebugPrintErrors = 0x40;

// Appends pieces of a message to a fixed buffer. A piece goes in whole or not
// at all; one that does not fit marks the message as cut.
class MessageWriter {
public:
    MessageWriter(char *buf, size_t size) : buf_(buf), size_(size) { buf_[0] = '\0'; }

    bool truncated() const { return truncated_; }
    size_t length() const { return len_; }
    const char *text() const { return buf_; }

    bool fits(size_t n)
    {
        if (len_ + n + kTail <= size_)
            return true;
        truncated_ = true;
        return false;
    }

    bool put(const char *s, size_t n)
    {
        if (!fits(n))
            return false;
        memcpy(buf_ + len_, s, n);
        len_ += n;
        buf_[len_] = '\0';
        return true;
    }
    bool put(const char *s) { return put(s, strlen(s)); }

    __attribute__((format(printf, 2, 3))) bool format(const char *fmt, ...)
    {
        size_t avail = size_ - kTail - len_;
        va_list args;
        va_start(args, fmt);
        int n = vsnprintf(buf_ + len_, avail + 1, fmt, args);
        va_end(args);
        if (n < 0 || static_cast<size_t>(n) > avail) {
            buf_[len_] = '\0';
            truncated_ = true;
            return false;
        }
        len_ += static_cast<size_t>(n);
        return true;
    }

    // A text longer than the room is cut, and "..." shows the cut.
    void putCut(const char *s)
    {
        size_t n = strlen(s);
        size_t avail = size_ - kTail - len_;
        if (n <= avail) {
            put(s, n);
            return;
        }
        truncated_ = true;
        size_t keep = avail > 3 ? avail - 3 : 0;
        memcpy(buf_ + len_, s, keep);
        len_ += keep;
        memcpy(buf_ + len_, "...", avail - keep);
        len_ += avail - keep;
        buf_[len_] = '\0';
    }

    void finish()
    {
        memcpy(buf_ + len_, ".\n", 3);
        len_ += 2;
    }

private:
    char *buf_;
    size_t size_;
    size_t len_ = 0;
    bool truncated_ = false;
};

char operationLetter(int operation)
{
    if (operation >= 0 && operation <= 2)
        return 'E';
    if (operation >= 3 && operation <= 5)
        return 'D';
    return ' ';
}

int64_t signedOf(const ErrorValue &v)
{
    return v.kind == ErrorValue::kReal ? static_cast<int64_t>(v.real) : v.number;
}

// A packed tag: class in bits 15 and 14, number in bits 13 to 0.
void putTagForm(MessageWriter &w, QorULong tag)
{
    static const char *const classes[] = {"[UNIVERSAL %lu]", "[APPLICATION %lu]", "[%lu]",
                                          "[PRIVATE %lu]"};
    w.format(classes[(tag >> 14) & 3], static_cast<unsigned long>(tag & 0x3fff));
}

// The found tag in the low half; the expected one, when given, in the high half.
void putTag(MessageWriter &w, QorULong packed)
{
    putTagForm(w, packed & 0xffff);
    if ((packed >> 16) != 0) {
        w.put(" (expected tag ");
        putTagForm(w, packed >> 16);
        w.put(")");
    }
}

void putReal(MessageWriter &w, double real)
{
    // "%g" without the process locale's decimal point.
    char scratch[60];
    auto r = std::to_chars(scratch, scratch + sizeof scratch, real, std::chars_format::general, 6);
    w.put(scratch, static_cast<size_t>(r.ptr - scratch));
}

void putHexText(MessageWriter &w, int message, const unsigned char *data, size_t n)
{
    static const char digits[] = "0123456789ABCDEF";
    // An unsigned huge value with its high bit set reads as positive.
    bool extraZero = message == 23 && n > 0 && (data[0] & 0x80) != 0;
    size_t total = n == 0 ? 2 : 2 + 2 + (extraZero ? 1 : 0) + 2 * n;
    if (!w.fits(total))
        return;
    char piece[8];
    w.put("'", 1);
    if (n > 0) {
        w.put(extraZero ? "0x0" : "0x");
        for (size_t i = 0; i < n; i++) {
            piece[0] = digits[data[i] >> 4];
            piece[1] = digits[data[i] & 15];
            w.put(piece, 2);
        }
    }
    w.put("'", 1);
}

void putQuoted(MessageWriter &w, int message, const ErrorValue &v)
{
    if (v.text == nullptr)
        return;
    if (v.kind == ErrorValue::kText && (message == 22 || message == 23)) {
        putHexText(w, message, reinterpret_cast<const unsigned char *>(v.text),
                   static_cast<size_t>(v.textLength > 0 ? v.textLength : 0));
        return;
    }
    size_t n = v.kind == ErrorValue::kText
                   ? strnlen(v.text, static_cast<size_t>(v.textLength > 0 ? v.textLength : 0))
                   : strlen(v.text);
    if (!w.fits(n + 2))
        return;
    w.put("'", 1);
    w.put(v.text, n);
    w.put("'", 1);
}

void putCharacter(MessageWriter &w, QorULong c)
{
    if (c <= 255 && (_qorCharFlags[c] & QOR_CHAR_PRINTABLE) != 0)
        w.format("'%c'", static_cast<int>(c));
    else
        w.format("{%u,%u,%u,%u}", c >> 24, (c >> 16) & 255, (c >> 8) & 255, c & 255);
}

void putValue(MessageWriter &w, int message, int shape, const ErrorValue &v)
{
    // A text value (an unbounded number in hexadecimal, say) is shown as text
    // whatever the message expected.
    bool textual = v.kind == ErrorValue::kString || v.kind == ErrorValue::kText;
    if (textual && shape != kShowNothing && shape != kShowNothingTaken) {
        putQuoted(w, message, v);
        return;
    }
    switch (shape) {
    case kShowTag:
        putTag(w, static_cast<QorULong>(v.number));
        break;
    case kShowSigned:
        w.format("%lld", static_cast<long long>(signedOf(v)));
        break;
    case kShowUnsigned:
        if (v.kind == ErrorValue::kLongLong)
            w.format("%llu", static_cast<unsigned long long>(v.number));
        else
            w.format("%lu", static_cast<unsigned long>(static_cast<QorULong>(signedOf(v))));
        break;
    case kShowReal:
        putReal(w, v.kind == ErrorValue::kReal ? v.real : static_cast<double>(v.number));
        break;
    case kShowString:
    case kShowString2:
        putQuoted(w, message, v);
        break;
    case kShowCharacter:
        putCharacter(w, static_cast<QorULong>(signedOf(v)));
        break;
    default:
        break;
    }
}

const char *pduNameOf(const QorGlobal *world)
{
    const char *name = world->pduNames[0];
    // A generated name of the form "Xxxx#n" stands for an unnamed type: the
    // type's own name reads better.
    if (name != nullptr && strlen(name) > 4 && name[4] == '#')
        name = world->pduNames[1];
    return name != nullptr ? name : "";
}

// " field 'x' (type: T) of" for each enclosing component, innermost first.
void putFieldPath(MessageWriter &w, const QorGlobal *world)
{
    for (const QorFieldRecord *r = world->fieldStack; r != nullptr && r->link != nullptr;
         r = r->link) {
        const QorFieldInfo *info = r->info;
        const char *name = info != nullptr && info->fieldName != nullptr ? info->fieldName : "";
        const char *type = info != nullptr && info->typeName != nullptr ? info->typeName : "";
        const QorFieldInfo *outer = r->link->info;
        QorLong outerKind = outer != nullptr ? outer->kind : 0;
        bool ok;
        if (outerKind == 8 || outerKind == 10 || outerKind == 21)
            ok = w.format(" element #%ld (type: %s) of", static_cast<long>(r->index), type);
        else if ((_qorCharFlags[static_cast<unsigned char>(name[0])] & QOR_CHAR_UPPER) != 0)
            ok = w.format(" PDU '%s' (type: %s) of", name, type);
        else
            ok = w.format(" field '%s' (type: %s) of", name, type);
        if (!ok)
            break;
    }
}

void putLocation(MessageWriter &w, const QorGlobal *world)
{
    w.put("; check");
    putFieldPath(w, world);
    if (world->pduNames == nullptr) {
        w.format(" PDU #%d", world->pduNumber);
        return;
    }
    const char *name = pduNameOf(world);
    size_t n = strlen(name);
    if (n > kPduNameLimit)
        w.format(" PDU #%d '%.*s...'", world->pduNumber, static_cast<int>(kPduNameLimit), name);
    else
        w.format(" PDU #%d '%s'", world->pduNumber, name);
}

// Line and position in the XML input: the position is one higher on every
// line but the first, as users of the XML rules have come to expect.
void putXmlPlace(MessageWriter &w, const QorGlobal *world)
{
    const unsigned char *from;
    const unsigned char *to;
    if (world->encRules == QOR_EXER) {
        from = world->inPos;
        to = world->inPos != nullptr ? world->inPos + world->inRoom : nullptr;
    } else {
        from = world->privateArea != nullptr ? world->privateArea->xmlInputStart : nullptr;
        to = world->inPos;
    }
    long line = 1;
    long position = 0;
    if (from != nullptr && to != nullptr) {
        for (const unsigned char *c = from; c < to; c++) {
            if (*c == '\n') {
                line++;
                position = 1;
            } else {
                position++;
            }
        }
    }
    if (world->pduNumber == 0)
        w.put("; check PDU");
    w.format(" at line %ld position %ld", line, position);
}

void writeMessage(MessageWriter &w, const QorGlobal *world, int message, const ErrorValue &value)
{
    const Message &m = kMessages[message];
    char letter = operationLetter(world->operation);
    w.put(&letter, 1);
    w.putCut(m.text);
    putValue(w, message, m.flags & kShapeMask, value);
    if ((m.flags & kNoLocation) == 0 && world->pduNumber > 0)
        putLocation(w, world);
    if (letter == 'D' && (world->encRules == QOR_XER || world->encRules == QOR_CXER ||
                          world->encRules == QOR_EXER))
        putXmlPlace(w, world);
    w.finish();
}

void buildMessage(QorGlobal *world, int message, const ErrorValue &value)
{
    world->lastError = kMessages[message].returnCode;
    if (world->errMsgTarget == nullptr)
        return;
    QorGlobalPrivate *p = world->privateArea;
    if (p != nullptr && p->extErrMsg != nullptr) {
        p->privFree(p->extErrMsg);
        p->extErrMsg = nullptr;
    }
    size_t size = kMessageBufferSize;
    char *longer = nullptr;
    MessageWriter first(world->errMsgTarget, size);
    writeMessage(first, world, message, value);
    bool truncated = first.truncated();
    // Longer messages are made again in growing buffers; the context keeps the
    // cut text and the whole one.
    while (truncated && p != nullptr && size + kMessageBufferSize <= kMaxMessageSize) {
        char *next = static_cast<char *>(p->privMalloc(size + kMessageBufferSize));
        if (next == nullptr)
            break;
        if (longer != nullptr)
            p->privFree(longer);
        longer = next;
        size += kMessageBufferSize;
        MessageWriter again(longer, size);
        writeMessage(again, world, message, value);
        truncated = again.truncated();
    }
    if (longer != nullptr)
        p->extErrMsg = longer;
}

void traceMessage(QorGlobal *world)
{
    if (world->errMsgTarget == nullptr)
        return;
    bool encoding = operationLetter(world->operation) == 'E';
    QorGlobalPrivate *p = world->privateArea;
    QorULong debug = p != nullptr ? p->debugFlags : 0;
    QorULong flags = encoding ? world->encodingFlags : world->decodingFlags;
    if ((debug & kDebugPrintErrors) != 0) {
        if (encoding)
            _qor_db_e_post(world, world->lastError, nullptr, 0);
        else
            _qor_db_d_post(world, world->lastError, 0, nullptr);
    } else if ((flags & DEBUGPDU) != 0) {
        printErrorMessage(world, encoding);
    }
}

bool knownMessage(int message) { return message >= 0 && message < kMessageCount; }

} // namespace

[[noreturn]] void leave(QorGlobal *world, int value)
{
    QorGlobal *top = outermost(world);
    if (top->jumpFrame == nullptr) {
        // A primitive was called outside any encode, decode or service call:
        // there is no caller to return to.
        fprintf(stderr, "qorapit: error %d raised outside a library call\n", value);
        abort();
    }
    siglongjmp(*static_cast<sigjmp_buf *>(top->jumpFrame), value == 0 ? kZeroExit : value);
}

[[noreturn]] void raise(QorGlobal *world, Msg message, const ErrorValue &value)
{
    QorGlobal *top = outermost(world);
    int number = static_cast<int>(message);
    raiseIf(top, !knownMessage(number), Msg::kImpossible, number);
    // A constraint check maps message numbers itself and wants no text.
    if (top->operation == QOR_OP_CHECK)
        leave(top, number);
    buildMessage(top, number, value);
    traceMessage(top);
    leave(top, top->lastError);
}

int report(QorGlobal *world, Msg message, const ErrorValue &value)
{
    QorGlobal *top = outermost(world);
    int number = static_cast<int>(message);
    if (!knownMessage(number))
        return report(top, Msg::kImpossible, longValue(number));
    buildMessage(top, number, value);
    traceMessage(top);
    return top->lastError;
}

int earlyError(QorGlobal *world, Msg message, const ErrorValue &value, bool decoding)
{
    const Message &m = kMessages[static_cast<int>(message)];
    free_ext_errMsg(world);
    MessageWriter w(world->errMsgBuffer, kMessageBufferSize);
    w.put(decoding ? "D" : "E", 1);
    w.putCut(m.text);
    int shape = m.flags & kShapeMask;
    if (shape == kShowSigned || shape == kShowReal || shape == kShowString)
        putValue(w, static_cast<int>(message), shape, value);
    w.finish();
    world->lastError = m.returnCode;
    QorULong flags = decoding ? world->decodingFlags : world->encodingFlags;
    QorULong debug = world->privateArea != nullptr ? world->privateArea->debugFlags : 0;
    if ((flags & DEBUGPDU) != 0 || (debug & kDebugPrintErrors) != 0)
        printText(world, world->errMsgBuffer);
    return m.returnCode;
}

} // namespace qor

using namespace qor;

extern "C" {

void _qor_enc_error(QorGlobal *world, int message, QorLong value)
{
    raise(world, static_cast<Msg>(message), longValue(value));
}

void _qor_enc_llerror(QorGlobal *world, int message, QorLong low, QorLong high)
{
    int64_t wide = static_cast<int64_t>((static_cast<uint64_t>(static_cast<QorULong>(high)) << 32) |
                                        static_cast<QorULong>(low));
    raise(world, static_cast<Msg>(message), {ErrorValue::kLongLong, wide, 0, nullptr, 0});
}

void _qor_krod_error(QorGlobal *world, int message, const char *value)
{
    raise(world, static_cast<Msg>(message), stringValue(value));
}

void _qor_krod_real_error(QorGlobal *world, int message, double value)
{
    raise(world, static_cast<Msg>(message), {ErrorValue::kReal, 0, value, nullptr, 0});
}

void _qor_unbnd_error(QorGlobal *world, int message, const void *data, QorLong length)
{
    raise(world, static_cast<Msg>(message),
          {ErrorValue::kText, 0, 0, static_cast<const char *>(data), data != nullptr ? length : 0});
}

int _qor_krod_api_error(QorGlobal *world, int message, QorLong value)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    return report(world, static_cast<Msg>(message), longValue(value));
}

const char *qorGetErrMsg(QorGlobal *world)
{
    if (world == nullptr)
        return nullptr;
    const QorGlobalPrivate *p = world->privateArea;
    if (p != nullptr && p->extErrMsg != nullptr && world->errMsgBuffer[0] != '\0')
        return p->extErrMsg;
    return world->errMsgBuffer;
}

void free_ext_errMsg(QorGlobal *world)
{
    if (world == nullptr || world->privateArea == nullptr)
        return;
    QorGlobalPrivate *p = world->privateArea;
    if (p->extErrMsg != nullptr) {
        p->privFree(p->extErrMsg);
        p->extErrMsg = nullptr;
    }
}

const char *qorDescribeReturnCode(QorGlobal *world, int code)
{
    if (code < 0 || code >= kReturnCodeCount)
        return nullptr;
    if (code == 9 || code == 10) {
        const char *const *texts = code == 9 ? kReturnCode9Texts : kReturnCode10Texts;
        if (world == nullptr)
            return texts[2];
        return texts[world->operation == QOR_OP_DECODE ? 1 : 0];
    }
    return kReturnCodeTexts[code];
}

} // extern "C"
