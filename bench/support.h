// What the Google Benchmark cases and the comparison share: a context on the
// test schema, the values timed, and the buffers of the memcpy floor.
#ifndef QOR_BENCH_SUPPORT_H
#define QOR_BENCH_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "testschema.h"

namespace qorbench {

class Context {
public:
    explicit Context(int rules)
    {
        if (qorinit(&world_, &testSchemaTable) != 0)
            abort();
        world_.encRules = rules;
    }
    ~Context() { qorterm(&world_); }
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    QorGlobal *operator->() { return &world_; }
    QorGlobal *get() { return &world_; }

private:
    QorGlobal world_{};
};

inline std::vector<unsigned char> encodingOf(QorGlobal *world, int pdu, void *value)
{
    QorBuf out = {0, nullptr};
    if (qorEncode(world, pdu, value, &out) != 0)
        abort();
    std::vector<unsigned char> bytes(out.value, out.value + out.length);
    qorFreeBuf(world, out.value);
    return bytes;
}

// An OCTET STRING of `size` octets.
struct Octets {
    explicit Octets(size_t size) : data(size, 0x5A), value{static_cast<QorLong>(size), data.data()}
    {
    }
    Octets(const Octets &) = delete;
    Octets &operator=(const Octets &) = delete;
    std::vector<unsigned char> data;
    Raw value;
};

// A Record whose SEQUENCE OF INTEGER has `count` elements of mixed lengths.
struct Numbers {
    explicit Numbers(size_t count) : many(count)
    {
        for (size_t i = 0; i < many.size(); i++)
            many[i] = static_cast<QorLong>(i * 2654435761u);
        value.active = 1;
        value.level = Level_medium;
        value.pick.choice = Pick_number_chosen;
        value.numbers.count = static_cast<QorLong>(many.size());
        value.numbers.value = many.data();
    }
    Numbers(const Numbers &) = delete;
    Numbers &operator=(const Numbers &) = delete;
    std::vector<QorLong> many;
    Record value{};
};

// Source and target of a memcpy floor. Two heap vectors of 64 KiB land 65 552
// octets apart, 16 modulo 4 KiB, and a copy between them was timed 20 times
// slower than its bandwidth allows; a fixed layout keeps the floor off the
// heap's whims: both 64-octet aligned, half a page apart modulo 4 KiB, and
// touched once.
class CopyBuffers {
public:
    explicit CopyBuffers(size_t size) : size_(size)
    {
        const size_t pages = (size + 4095) / 4096 * 4096;
        base_ = static_cast<unsigned char *>(std::aligned_alloc(4096, 2 * pages + 4096));
        if (base_ == nullptr)
            abort();
        target_ = base_ + pages + 2048;
        memset(base_, 0x5A, size);
        memset(target_, 0, size);
    }
    ~CopyBuffers() { std::free(base_); }
    CopyBuffers(const CopyBuffers &) = delete;
    CopyBuffers &operator=(const CopyBuffers &) = delete;
    const unsigned char *source() const { return base_; }
    unsigned char *target() { return target_; }
    size_t size() const { return size_; }

private:
    size_t size_;
    unsigned char *base_;
    unsigned char *target_;
};

} // namespace qorbench

#endif
