// qorCpyValue, the generated copy entry in the service frame, and the copy
// primitives for what does not differ by schema: linked lists, character
// reals, open types, unbounded values and the presence bits of extension
// additions. Every piece comes from decoder memory, so a copy is freed as a
// decoded value is.
#include <cstring>

#include "memory/copy.h"
#include "frame/errors.h"
#include "memory/blocks.h"
#include "value/service.h"

using namespace qor;

namespace {

int copyInFrame(QorGlobal *world, const ServiceCall &call)
{
    return call.entries->copyEntry(world, call.pdunum, call.first, call.target);
}

// An element of a linked list: its next pointer, for a doubly linked one
// the previous pointer, then the payload.
struct Link {
    Link *next;
    Link *prev;
};

struct Chain {
    Link *first;
    Link *last;
    QorULong count;
};

// Each element copied whole, which brings the source's null next pointer
// into the last one; the next pointers of the others are set as the next
// element is made.
Chain copyChain(QorGlobal *world, const Link *from, QorLong size, bool doubly)
{
    const auto links = static_cast<QorLong>((doubly ? 2 : 1) * sizeof(Link *));
    raiseIf(world, size < links, Msg::kImpossible, size);
    Chain chain = {nullptr, nullptr, 0};
    Link **slot = &chain.first;
    for (; from != nullptr; from = from->next) {
        auto *to = static_cast<Link *>(_qor_dec_getmem_internal(world, size));
        memcpy(to, from, static_cast<size_t>(size));
        if (doubly)
            to->prev = chain.last;
        *slot = to;
        slot = &to->next;
        chain.last = to;
        chain.count++;
    }
    return chain;
}

// A head is its first pointer and one more word; a new one has that word clear.
struct ListHead {
    Link *first;
    void *more;
};

// The first pointer of a source head, which may be the one word of a
// component that holds the list.
const Link *firstOf(const void *head)
{
    return head != nullptr ? *static_cast<Link *const *>(head) : nullptr;
}

void *copyList(QorGlobal *world, const void *source, void *target, QorLong size, bool doubly)
{
    Chain chain = copyChain(world, firstOf(source), size, doubly);
    if (target == nullptr)
        target = _qor_dec_getmem(world, sizeof(ListHead));
    static_cast<ListHead *>(target)->first = chain.first;
    return target;
}

QorULong readCounter(const unsigned char *record, int width) { return loadCell(record, width == 2 ? 2 : 4); }

void writeCounter(unsigned char *record, int width, QorULong n)
{
    if (width == 2) {
        auto narrow = static_cast<uint16_t>(n);
        memcpy(record, &narrow, sizeof narrow);
    } else {
        memcpy(record, &n, sizeof n);
    }
}

// Decoder memory for `size` octets counted in 64 bits: a size that no piece
// can have is out of memory.
void *piece(QorGlobal *world, uint64_t size)
{
    raiseIf(world, size > INT32_MAX, Msg::kOutOfMemory, -1);
    return _qor_dec_getmem_internal(world, static_cast<QorLong>(size));
}

QorULong userFlags(const QorGlobal *world)
{
    return world->encodingFlags | world->decodingFlags;
}

} // namespace

extern "C" {

int qorCpyValue(QorGlobal *world, int pdunum, void *source, void **target)
{
    if (world == nullptr || source == nullptr || target == nullptr)
        return QOR_BAD_ARG;
    const QorXapiEntries *entries = xapiEntriesOf(world);
    if (entries == nullptr || entries->copyEntry == nullptr)
        return QOR_NOT_SUPPORTED;
    world->outPos = static_cast<unsigned char *>(*target);
    if (*target != nullptr) {
        if (world->decodingLength <= 0)
            return QOR_BAD_ARG;
        world->userBuffer = 1;
        world->outRoom = world->totalBytes = world->decodingLength;
        *target = nullptr;
    } else {
        world->userBuffer = 0;
        world->outRoom = world->totalBytes = 0;
    }
    ServiceCall call = {copyInFrame, entries, pdunum, source, nullptr, target};
    return runService(world, call);
}

void *_qor_cpy_link_obj(QorGlobal *world, const void *source, void *target, QorLong size)
{
    return copyList(world, source, target, size, false);
}

void *_qor_cpy_dlink_obj(QorGlobal *world, const void *source, void *target, QorLong size)
{
    return copyList(world, source, target, size, true);
}

void *_qor_cpy_dlink_plus(QorGlobal *world, const void *source, void *target, QorLong size)
{
    Chain chain = copyChain(world, firstOf(source), size, true);
    if (target == nullptr)
        target = _qor_dec_getmem(world, sizeof(QorDLinkPlusHead));
    auto *head = static_cast<QorDLinkPlusHead *>(target);
    head->head = chain.first;
    head->tail = chain.last;
    head->count = chain.count;
    return head;
}

char *_qor_cpy_char_real(QorGlobal *world, const char *text)
{
    return text != nullptr ? textPiece(world, text) : nullptr;
}

// A record the caller supplies has been copied word for word by generated
// code: its pointers are the source's until they are replaced here, so the
// copy never shares memory with the source.
QorOpenType *_qor_cpy_open_type(QorGlobal *world, const QorOpenType *source, QorOpenType *target)
{
    if (target == nullptr) {
        const size_t size = (world->presetDecFlags & QOR_PRESET_OPEN_TYPE_USER_FIELD) != 0
                                ? sizeof(QorOpenTypeUser)
                                : sizeof(QorOpenType);
        target =
            static_cast<QorOpenType *>(_qor_dec_getmem_internal(world, static_cast<QorLong>(size)));
        memcpy(target, source, size);
    }
    const QorULong flags = userFlags(world);
    target->encoded = nullptr;
    target->length = source->length;
    if (source->length != 0 && source->encoded != nullptr) {
        if ((flags & DONT_DO_ENCODED) != 0) {
            target->length = 0;
        } else {
            raiseIf(world, source->length > INT32_MAX, Msg::kOutOfMemory, -1);
            auto *octets = static_cast<unsigned char *>(
                _qor_dec_getfixmem(world, static_cast<QorLong>(source->length)));
            memcpy(octets, source->encoded, source->length);
            target->encoded = octets;
        }
    }
    target->decoded = nullptr;
    target->pduNum = source->pduNum;
    if (source->pduNum != 0 && source->decoded != nullptr) {
        if ((flags & DONT_DO_DECODED) != 0) {
            target->pduNum = 0;
        } else {
            const QorXapiEntries *entries = xapiEntriesOf(world);
            raiseIf(world, entries == nullptr || entries->copyEntry == nullptr, Msg::kNullFunction,
                    0);
            // A nested value that the entry cannot copy must not pass for a copy.
            raiseIf(world,
                    entries->copyEntry(world, source->pduNum, source->decoded, &target->decoded) !=
                        0,
                    Msg::kOpenTypeCopyFailed, 0);
        }
    }
    auto userCopy = reinterpret_cast<QorUserFieldCopyFn>(world->privateArea->userFieldCopy);
    if (userCopy != nullptr)
        raiseIf(world,
                userCopy(world, reinterpret_cast<const QorOpenTypeUser *>(source),
                         reinterpret_cast<QorOpenTypeUser *>(target)) != 0,
                Msg::kUserFieldFailed, 0);
    return target;
}

void *_qor_cpy_unbnd_octet_ia(QorGlobal *world, const void *source, void *target, int width,
                              QorLong elementSize, QorLong offset)
{
    raiseIf(world, offset < 0, Msg::kImpossible, offset);
    const auto *from = static_cast<const unsigned char *>(source);
    const QorULong count = readCounter(from, width);
    if (target == nullptr)
        target = _qor_dec_getmem(world, offset + static_cast<QorLong>(sizeof(void *)));
    auto *to = static_cast<unsigned char *>(target);
    writeCounter(to, width, count);
    const uint64_t bytes = elementSize < 0 ? (uint64_t{count} + 7) / 8
                                           : uint64_t{count} * static_cast<uint64_t>(elementSize);
    const void *data;
    memcpy(&data, from + offset, sizeof data);
    void *copy = nullptr;
    if (bytes != 0 && data != nullptr) {
        copy = piece(world, bytes);
        memcpy(copy, data, bytes);
    }
    memcpy(to + offset, &copy, sizeof copy);
    return target;
}

QorULong _qor_copy_preamble(QorGlobal *world, const unsigned char *bits, QorULong total,
                            QorULong known, void *counter, unsigned char **target, int width)
{
    QorULong unknown = total > known ? total - known : 0;
    QorULong set = 0;
    unsigned char *copy = nullptr;
    if (unknown != 0) {
        copy = static_cast<unsigned char *>(piece(world, (uint64_t{unknown} + 7) / 8));
        memset(copy, 0, (size_t{unknown} + 7) / 8);
        for (QorULong i = 0; i < unknown; i++) {
            const QorULong at = known + i;
            if (((bits[at / 8] >> (7 - at % 8)) & 1) != 0) {
                copy[i / 8] |= static_cast<unsigned char>(0x80 >> (i % 8));
                set++;
            }
        }
    }
    *target = copy;
    switch (width) {
    case 1: {
        auto n = static_cast<uint8_t>(unknown);
        memcpy(counter, &n, sizeof n);
        break;
    }
    case 2: {
        auto n = static_cast<uint16_t>(unknown);
        memcpy(counter, &n, sizeof n);
        break;
    }
    case 8: {
        uint64_t n = unknown;
        memcpy(counter, &n, sizeof n);
        break;
    }
    default:
        memcpy(counter, &unknown, sizeof unknown);
    }
    return set;
}

} // extern "C"
