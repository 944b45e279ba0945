// The EXER decoder: its driver over the XML lexer, the set-up of a lexer
// environment, and the error call that every lexer fault goes through.
#include <cstring>

#include "frame/catalogue.h"
#include "frame/driver.h"
#include "frame/errors.h"
#include "xer/lexer.h"

using namespace qor;
using namespace qor::tlex;

namespace {

// The first temporary space of a decode, on the driver's frame: a short
// document needs no heap for its records.
constexpr size_t kFrameArea = 4096;

// The offset of the fault, held to the document.
uint32_t faultOffset(QorXmlEnv *env)
{
    uint64_t at = offsetOf(env);
    // The outermost input is the document itself.
    uint64_t end = env->input_depth > 0
                       ? static_cast<uint64_t>(env->input_stack[0].input_base) + env->input_stack[0].input_len
                       : static_cast<uint64_t>(env->input_base) + env->input_len;
    return static_cast<uint32_t>(at < end ? at : end);
}

void prepareEnv(QorXmlEnv *env, const unsigned char *buffer, QorULong length)
{
    QorGlobal *world = env->world;
    QorXmlTag *tag = env->tag;
    memset(static_cast<void *>(env), 0, sizeof *env);
    env->world = world;
    env->tag = tag;
    const QorGlobalPrivate *p = world->privateArea;
    const auto *info = static_cast<const QorExerInfo *>(p->exerTables);
    const QorXmlNsRow *rows = nullptr;
    uint32_t count = 0;
    if (p->namespaceCopy != nullptr) {
        rows = static_cast<const QorXmlNsRow *>(p->namespaceCopy);
        count = static_cast<uint32_t>(p->namespaceCount);
    } else if (info != nullptr) {
        rows = info->ns_table;
        count = info->ns_count;
    }
    env->ns_table = rows;
    env->ns_count = count;
    if (info != nullptr) {
        env->ctl_uri = info->ctl_ns < count ? rows[info->ctl_ns].uri : nullptr;
        env->ctl_uri2 = info->char_ns != 65535 && info->char_ns < count ? rows[info->char_ns].uri : nullptr;
    }
    env->xml_uri = kXmlNamespace;
    for (uint32_t i = count; i > 0; i--) {
        if (rows[i - 1].uri != nullptr && strcmp(rows[i - 1].uri, kXmlNamespace) == 0) {
            env->xml_uri = rows[i - 1].uri;
            break;
        }
    }
    auto *index = static_cast<Index *>(_qor_tstk_alloc(world, sizeof(Index)));
    memset(static_cast<void *>(index), 0, sizeof *index);
    index->expansionLeft = 64 * static_cast<uint64_t>(length) + (1u << 20);
    env->index = index;
    uint32_t base = 0;
    if (length > 2 && buffer[0] == 0xEF && buffer[1] == 0xBB && buffer[2] == 0xBF) {
        buffer += 3;
        length -= 3;
        base = 3;
    }
    env->input = buffer;
    env->input_left = env->input_len = length;
    env->input_base = base;
    env->input_flags = QOR_XML_DOCUMENT;
    env->state = QOR_XML_DOCUMENT_START;
}

const QorXapiEntries *entriesOf(const QorGlobal *world) { return world->privateArea->xapiEntries; }

int checkExerDecoder(QorGlobal *world)
{
    const QorXapiEntries *e = entriesOf(world);
    if (e == nullptr || e->exerDecodeEntry == nullptr)
        return report(world, Msg::kNotImplemented, longValue(0));
    if (e->exerVersion != QOR_EXER_VERSION)
        return wrongVersion(world, QOR_EXER_VERSION);
    return 0;
}

void callExerDecoder(QorGlobal *world, int *pdunum, void **output)
{
    alignas(8) unsigned char area[kFrameArea];
    if (world->privateArea->tempBufferSize == 0) {
        world->tempLow = area;
        world->tempHigh = area + sizeof area;
    }
    QorXmlEnv env;
    QorXmlTag root;
    QorXmlTag look;
    memset(&root, 0, sizeof root);
    memset(&look, 0, sizeof look);
    env.world = world;
    env.tag = &root;
    // The decoder keeps the document's start in `inPos`, and in `inRoom` how
    // far it got, in place of what is left: that is where a message's line
    // and position point, and what the call read.
    QorLong length = world->inRoom > 0 ? world->inRoom : 0;
    world->inRoom = 0;
    // The prolog belongs to no PDU yet: the entry names its own.
    world->pduNumber = 0;
    world->pduNames = nullptr;
    _qor_tdex_init_env(&env, world->inPos, static_cast<QorULong>(length));
    if (root.kind == 2)
        fail(&env, Msg::kXmlStartOrEmptyExpected);
    env.open_tag = &root;
    env.tag = &look;
    look.name = root.name;
    look.name_len = root.name_len;
    look.pos = root.pos;
    look.colon = root.colon;
    look.ns_uri = root.ns_uri;
    look.kind = root.kind;
    entriesOf(world)->exerDecodeEntry(&env, pdunum, output);
    _qor_tlex_check_close_tag(&env);
    world->inRoom = static_cast<QorLong>(offsetOf(&env));
}

void forgetFrameArea(QorGlobal *world)
{
    if (world->privateArea->tempBufferSize == 0)
        world->tempLow = world->tempHigh = nullptr;
}

void finishExerDecoder(QorGlobal *world, QorBuf *) { forgetFrameArea(world); }

QorLong exerBytesRead(const QorGlobal *world, const QorBuf *) { return world->inRoom; }

constexpr DecoderSteps kExerDecoder = {checkExerDecoder, nullptr, callExerDecoder,
                                       finishExerDecoder, nullptr, exerBytesRead};

int exerDecoder(QorGlobal *world, int *pdunum, QorBuf *input, void **output, QorULong flags)
{
    return runDecoder(world, pdunum, input, output, flags, kExerDecoder);
}

} // namespace

extern "C" {

void *qorLink_Exer(QorGlobal *world, void *exerTables)
{
    if (world == nullptr || world->privateArea == nullptr)
        return nullptr;
    world->privateArea->exerTables = exerTables;
    g_drivers[kExerFamily].decoder = exerDecoder;
    return world->privateArea;
}

int _qor_tdex_init_env(QorXmlEnv *env, const unsigned char *buffer, QorULong length)
{
    prepareEnv(env, buffer, length);
    return prolog(env);
}

void _qor_tdex_error(QorXmlEnv *env, int code, const void *argument, int kind)
{
    QorGlobal *world = env->world;
    if ((env->state & kUnionAttempt) != 0)
        leave(world, code >= 0 && code < kMessageCount ? kMessages[code].returnCode : QOR_FATAL);
    outermost(world)->inRoom = static_cast<QorLong>(faultOffset(env));
    ErrorValue value = longValue(0);
    switch (kind & ~64) {
    case 0:
        if (argument != nullptr) {
            int32_t n;
            memcpy(&n, argument, sizeof n);
            value = longValue(n);
        }
        break;
    case 1:
        value = longValue(*static_cast<const unsigned char *>(argument));
        break;
    case 2: {
        int32_t n;
        memcpy(&n, argument, sizeof n);
        value = longValue(n);
        break;
    }
    case 4: {
        int64_t n;
        memcpy(&n, argument, sizeof n);
        value = {ErrorValue::kLongLong, n, 0, nullptr, 0};
        break;
    }
    case 8:
        value = stringValue(static_cast<const char *>(argument));
        break;
    case 16:
    case 32: {
        // The text goes into the message as it stands in the input: the
        // message builder takes a length, so no copy is needed.
        const auto *t = static_cast<const QorXmlText *>(argument);
        if ((kind & 64) == 0) {
            if (int bad = check_name(t->text, t->len, 0))
                code = bad;
        }
        value = {ErrorValue::kText, 0, 0, reinterpret_cast<const char *>(t->text),
                 static_cast<QorLong>(t->len)};
        break;
    }
    default:
        break;
    }
    raise(world, static_cast<Msg>(code), value);
}

} // extern "C"
