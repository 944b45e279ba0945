// OER output: the byte writers over 1024-octet blocks or the caller's
// buffer, and the length determinant, written and read.
#include <cstring>

#include "oer/oer.h"

using namespace qor;

namespace {

constexpr unsigned kLengthLongForm = 0x80;
constexpr unsigned kLongestLength = 4; // octets of a length this library reads

void takeBlock(QorGlobal *world)
{
    unsigned char *block = nextOutBlock(world);
    world->outPos = block;
    world->blockStack = block + QOR_BLOCK_SIZE;
}

} // namespace

namespace qor {

void oerSpill(QorGlobal *world, const unsigned char *bytes, uint64_t n)
{
    uint64_t fits = static_cast<uint64_t>(oerEnd(world) - world->outPos);
    if (fits > n)
        fits = n;
    if (fits > 0) {
        memcpy(world->outPos, bytes, static_cast<size_t>(fits));
        world->outPos += fits;
        bytes += fits;
        n -= fits;
    }
    while (n > 0) {
        takeBlock(world);
        const uint64_t step = n < QOR_BLOCK_SIZE ? n : QOR_BLOCK_SIZE;
        if (step == QOR_BLOCK_SIZE)
            copyBlock(world->outPos, bytes, QOR_BLOCK_SIZE);
        else
            memcpy(world->outPos, bytes, static_cast<size_t>(step));
        world->outPos += step;
        bytes += step;
        n -= step;
    }
}

} // namespace qor

extern "C" {

void _qor_oenc_append_byte(QorGlobal *world, unsigned char byte)
{
    if (sizingOnly(world)) {
        world->encLength += 1;
        return;
    }
    if (world->outPos == oerEnd(world)) [[unlikely]]
        takeBlock(world);
    *world->outPos++ = byte;
}

void _qor_oenc_append_2bytes(QorGlobal *world, unsigned char first, unsigned char second)
{
    const unsigned char bytes[2] = {first, second};
    oerPut(world, bytes, 2);
}

void _qor_oenc_append_3bytes(QorGlobal *world, unsigned char first, unsigned char second,
                             unsigned char third)
{
    const unsigned char bytes[3] = {first, second, third};
    oerPut(world, bytes, 3);
}

void _qor_oenc_append_bytes(QorGlobal *world, const void *bytes, QorULong count)
{
    oerPut(world, static_cast<const unsigned char *>(bytes), count);
}

void _qor_oenc_octet_length(QorGlobal *world, QorULong length)
{
    if (length < kLengthLongForm) {
        _qor_oenc_append_byte(world, static_cast<unsigned char>(length));
        return;
    }
    unsigned char bytes[kItemRoom];
    const unsigned n = unsignedOctets(length);
    bytes[0] = static_cast<unsigned char>(kLengthLongForm | n);
    storeBigEndian(bytes + 1, length, n);
    oerPutItem(world, bytes, 1 + n);
}

int _qor_oenc_enc_length(QorULong length, unsigned char *buffer)
{
    if (length == 0) {
        buffer[0] = kLengthLongForm;
        return 1;
    }
    const unsigned n = unsignedOctets(length);
    buffer[0] = static_cast<unsigned char>(kLengthLongForm | n);
    storeBigEndian(buffer + 1, length, n);
    return static_cast<int>(1 + n);
}

// Long forms that aren't minimal are accepted under every setting: an
// encoder that reserved room for a length before knowing it writes them.
QorULong _qor_odec_length(QorGlobal *world)
{
    needInput(world, 1);
    const unsigned first = *world->inPos++;
    uint64_t length = first;
    if (first >= kLengthLongForm) {
        const unsigned n = first & 0x7F;
        raiseIf(world, n == 0, Msg::kMisencoded, 0);
        needInput(world, n);
        raiseIf(world, n > kLongestLength, Msg::kIntegerTooLong, static_cast<QorLong>(n));
        length = takeBigEndian(world, n);
    }
    needInput(world, length);
    return static_cast<QorULong>(length);
}

} // extern "C"
