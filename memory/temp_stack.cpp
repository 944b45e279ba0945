// The temporary stack: scratch memory of one call in blocks of at least
// 4096 octets; a mark given back frees everything newer. Also alternate
// decoder memory, collected in pieces and assembled at the end.
#include <cassert>
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/temp_block.h"
#include "xer/lexer.h"

using namespace qor;

namespace {

constexpr QorLong kMinimumBlock = 4096;
constexpr size_t kAltHeader = sizeof(void *); // the link to the next older piece

constexpr QorLong kLargestPiece = (INT32_MAX - 64) & ~QorLong{7};

void checkSize(QorGlobal *world, QorLong size)
{
    raiseIf(world, size < 0 || size > INT32_MAX - 64, Msg::kOutOfMemory, size);
}

unsigned char *alignUp8(unsigned char *p) { return p + ((0 - reinterpret_cast<uintptr_t>(p)) & 7); }

// The head of a text built in fragments, at the world's word mark. The text
// follows it until the top block cannot take the next fragment; then the
// text moves, to a block twice its size when a block must be added, so that
// an octet is copied a bounded number of times however long the text grows.
struct FragmentHead {
    unsigned char *text; // where the text is now
    unsigned char *end;  // its end, where the next fragment goes
};

} // namespace

extern "C" {

void _qor_tstk_add_block(QorGlobal *world, QorLong size)
{
    if (world->privateArea->tempBufferSize != 0)
        raise(world, Msg::kTempBufferTooSmall, longValue(size)); // a caller's buffer cannot grow
    checkSize(world, size);
    if (size < kMinimumBlock)
        size = kMinimumBlock;
    TempBlock *block = pushTempBlock(world, static_cast<size_t>(size));
    world->tempLow = block->payload();
    world->tempHigh = block->payload() + size;
}

void *_qor_tstk_alloc(QorGlobal *world, QorLong size)
{
    checkSize(world, size);
    QorLong rounded = roundUp8(size);
    if (world->tempLow == nullptr || world->tempHigh - world->tempLow < rounded)
        _qor_tstk_add_block(world, rounded);
    unsigned char *piece = world->tempLow;
    world->tempLow += rounded;
    return piece;
}

void _qor_tstk_free(QorGlobal *world, void *mark)
{
    auto *at = static_cast<unsigned char *>(mark);
    if (world->privateArea->tempBufferSize == 0)
        releaseTempBlocksDownTo(world, at);
    // A mark above the top is stale: taken before its memory was given back
    // by somebody else. Raising the top to it would hand out that memory
    // again while records above the real top still live.
    assert(at <= world->tempLow && "a stale mark above the temporary stack's top");
    world->tempLow = at;
}

void *_qor_tstk_new_fragment_tag(QorXmlEnv *env, QorLong size)
{
    QorGlobal *world = env->world;
    checkSize(world, size);
    auto *head = reinterpret_cast<FragmentHead *>(world->tempMark);
    if (head == nullptr) {
        head = static_cast<FragmentHead *>(_qor_tstk_alloc(world, sizeof(FragmentHead)));
        head->text = head->end = reinterpret_cast<unsigned char *>(head + 1);
        world->tempMark = reinterpret_cast<unsigned char *>(head);
    }
    unsigned char *end = head->end;
    // The top stays a multiple of 8 for the records that come after; the
    // text itself grows without padding, so that it stays one piece.
    if (alignUp8(end) == world->tempLow && world->tempHigh - end >= size) {
        head->end = end + size;
        world->tempLow = alignUp8(head->end);
        return end;
    }
    QorLong length = end - head->text;
    checkSize(world, length + size);
    QorLong need = roundUp8(length + size);
    if (world->tempLow == nullptr || world->tempHigh - world->tempLow < need)
        _qor_tstk_add_block(world, 2 * need <= kLargestPiece ? 2 * need : need);
    unsigned char *text = world->tempLow;
    if (length > 0)
        memcpy(text, head->text, static_cast<size_t>(length));
    head->text = text;
    head->end = text + length + size;
    world->tempLow = alignUp8(head->end);
    return text + length;
}

void _qor_tstk_consolidate_array_tag(QorXmlEnv *env, void *mark, void *target, QorLong size)
{
    QorGlobal *world = env->world;
    auto *from = static_cast<const unsigned char *>(mark);
    auto *head = reinterpret_cast<FragmentHead *>(world->tempMark);
    // A text of the fragment form is found through the word mark, wherever
    // it moved from `mark`. Without one the text is a slice of the input
    // and there is nothing to give back: `mark` is no stack mark then.
    if (head != nullptr)
        from = head->text;
    if (size > 0 && target != nullptr)
        memcpy(target, from, static_cast<size_t>(size));
    if (head != nullptr) {
        world->tempMark = nullptr;
        _qor_tstk_free(world, head);
    }
    qor::tlex::refresh_tag(env);
    env->state &= ~qor::tlex::kWordOnStack;
}

void *_qor_tstk_get_altdecmem(QorGlobal *world, QorLong size)
{
    checkSize(world, size);
    if (world->privateArea->tempBufferSize != 0) {
        // From the top of the caller's temporary buffer, running down.
        QorLong rounded = roundUp8(size);
        raiseIf(world, world->tempHigh - world->tempLow < rounded, Msg::kTempBufferTooSmall, size);
        world->tempHigh -= rounded;
        return world->tempHigh;
    }
    size_t total = kAltHeader + static_cast<size_t>(size);
    auto *piece = static_cast<unsigned char *>(userAllocate(world, total));
    raiseIf(world, piece == nullptr, Msg::kOutOfMemory, static_cast<QorLong>(total));
    *reinterpret_cast<void **>(piece) = world->altDecList;
    world->altDecList = piece;
    return piece + kAltHeader;
}

void _qor_tstk_consolidate_altdecmem(QorGlobal *world, void *target, QorLong total, QorLong chunk)
{
    if (total <= 0 || chunk <= 0)
        return;
    auto *out = static_cast<unsigned char *>(target);
    // The newest piece holds the tail of the value, and may be short.
    QorLong last = total % chunk == 0 ? chunk : total % chunk;
    QorLong at = total - last;
    QorLong size = last;
    bool tempBuffer = world->privateArea->tempBufferSize != 0;
    while (at >= 0) {
        if (tempBuffer) {
            memcpy(out + at, world->tempHigh, static_cast<size_t>(size));
            world->tempHigh += roundUp8(size);
        } else {
            auto *piece = static_cast<unsigned char *>(world->altDecList);
            if (piece == nullptr)
                return;
            memcpy(out + at, piece + kAltHeader, static_cast<size_t>(size));
            world->altDecList = *reinterpret_cast<void **>(piece);
            userRelease(world, piece);
        }
        at -= chunk;
        size = chunk;
    }
}

void _qor_tstk_free_altdecmem(QorGlobal *world, void *mark)
{
    if (world->privateArea->tempBufferSize != 0) {
        world->tempHigh = static_cast<unsigned char *>(mark);
        return;
    }
    while (auto *piece = static_cast<unsigned char *>(world->altDecList)) {
        bool last = piece + kAltHeader == mark;
        world->altDecList = *reinterpret_cast<void **>(piece);
        userRelease(world, piece);
        if (last)
            break;
    }
}

} // extern "C"
