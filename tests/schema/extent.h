/* How the schema's decoders walk a constructed value: to its definite end,
 * or to the end-of-contents octets of the indefinite form. */
#ifndef EXTENT_H
#define EXTENT_H

#include <string.h>

#include "qorapi.h"

typedef struct Extent {
    const unsigned char *end;
    int indefinite;
} Extent;

/* Reads the header of a value with a one-octet tag. A lone 0x80 after it is
 * the indefinite form (a genuine 128 is always written long), returned as -1,
 * which is how the string decoders take it. */
static inline QorLong header(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong expected)
{
    unsigned char *start = *pos;
    QorLong length = _qor_dec_tag_length(world, pos, room, expected);
    return length == 0x80 && *pos - start == 2 ? -1 : length;
}

static inline void beginValue(QorGlobal *world, unsigned char **pos, QorLong *room,
                              QorULong expected, Extent *e)
{
    QorLong length = header(world, pos, room, expected);
    e->indefinite = length < 0;
    e->end = e->indefinite ? NULL : *pos + length;
}

/* Whether a component follows before the value's end. */
static inline int more(QorGlobal *world, unsigned char **pos, const QorLong *room, const Extent *e)
{
    if (!e->indefinite)
        return *pos < e->end;
    if (*room < 2)
        _qor_enc_error(world, 45, 0);
    return (*pos)[0] != 0 || (*pos)[1] != 0;
}

static inline void endValue(QorGlobal *world, unsigned char **pos, QorLong *room, const Extent *e)
{
    if (e->indefinite) {
        if (*room < 2 || (*pos)[0] != 0 || (*pos)[1] != 0)
            _qor_enc_error(world, 118, 0); /* expected end-of-contents */
        *pos += 2;
        *room -= 2;
    } else if (*pos != e->end) {
        _qor_enc_error(world, 102, 0); /* inconsistent lengths */
    }
}

/* Whether the next component has this first tag octet. */
static inline int peek(QorGlobal *world, unsigned char **pos, const QorLong *room,
                       const Extent *e, unsigned char tag)
{
    return more(world, pos, room, e) && (*pos)[0] == tag;
}

/* A one-octet tag in the packed form of messages: class in bits 15-14,
 * number below. */
static inline QorLong packedTag(unsigned char tag)
{
    return ((QorLong)(tag >> 6) << 14) | (tag & 0x1f);
}

/* Decodes one element of a list into the memory at `element`. */
typedef void (*ElementDecoder)(QorGlobal *world, unsigned char **pos, QorLong *room,
                               void *element);

/* A SEQUENCE OF or SET OF of unknown count: elements of `size` octets,
 * cleared and then decoded, in fragment blocks of `perBlock` elements in
 * temporary memory, gathered into one array at the end. Returns the array;
 * the count goes to `*count`. */
static inline void *decodeList(QorGlobal *world, unsigned char **pos, QorLong *room,
                               QorULong tag, QorLong size, QorLong perBlock,
                               ElementDecoder decodeElement, QorLong *count)
{
    Extent e;
    void *list = NULL;
    void *current = NULL;
    QorLong inBlock = perBlock, blocks = 0;
    *count = 0;
    beginValue(world, pos, room, tag, &e);
    while (more(world, pos, room, &e)) {
        unsigned char *element;
        if (inBlock == perBlock) {
            _qor_allocate_memblock(world, &current, &list, perBlock * size);
            inBlock = 0;
            blocks++;
        }
        element = (unsigned char *)current + inBlock++ * size;
        memset(element, 0, (size_t)size);
        decodeElement(world, pos, room, element);
        (*count)++;
    }
    endValue(world, pos, room, &e);
    return _qor_consolidate_memblock_fast(world, size, *count, list, perBlock, blocks, inBlock, 0);
}

#endif
