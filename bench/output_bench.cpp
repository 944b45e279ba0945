// Throughput of encoder output: 1 MiB written through the library's writers
// into its own blocks, against a plain memcpy of 1 MiB in the same run. Each
// writer runs inside an armed exit frame, as under a driver; the blocks are
// freed after every iteration, outside the timing.
//
// A further direction of output adds its benchmarks as functions over an
// `OutputBench` and registers them beside the forward ones.
#include <benchmark/benchmark.h>

#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support.h"

namespace {

constexpr size_t kMiB = size_t{1} << 20;

// A context on the test schema with the per-call fields of an encode into
// the library's memory.
class OutputBench {
public:
    OutputBench()
    {
        if (qorinit(&world_, &testSchemaTable) != 0)
            abort();
        world_.operation = QOR_OP_ENCODE;
    }
    ~OutputBench()
    {
        releaseBlocks();
        qorterm(&world_);
    }
    OutputBench(const OutputBench &) = delete;
    OutputBench &operator=(const OutputBench &) = delete;

    QorGlobal *world() { return &world_; }

    // Forward output from an empty state: no block yet, cursor on a boundary.
    void startForward(bool aligned)
    {
        world_.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        world_.perAligned = aligned ? 1 : 0;
        world_.userBuffer = 0;
        world_.outPos = nullptr;
        world_.outRoom = 0;
        world_.bitOffset = 0;
        world_.totalBytes = 0;
        world_.blockQueueTail = &world_.blockQueue;
    }

    // Runs `body` with an exit frame armed; a failure ends the benchmark.
    template <class Body> void run(benchmark::State &state, Body body)
    {
        sigjmp_buf frame;
        world_.jumpFrame = &frame;
        if (sigsetjmp(frame, 0) != 0) {
            world_.jumpFrame = nullptr;
            state.SkipWithError("the writer raised an error");
            return;
        }
        body();
        world_.jumpFrame = nullptr;
    }

    // Frees the blocks of the last iteration with the context's own hook.
    void releaseBlocks()
    {
        QorMemBlockRecord *r = &world_.blockQueue;
        while (r != nullptr) {
            for (int i = 0; i < r->count; i++)
                world_.userFree(&world_, r->slot[i]);
            QorMemBlockRecord *next = r->next;
            if (r != &world_.blockQueue)
                world_.userFree(&world_, r);
            r = next;
        }
        world_.blockQueue.count = 0;
        world_.blockQueue.next = nullptr;
        world_.blockQueueTail = &world_.blockQueue;
    }

private:
    QorGlobal world_{};
};

// Runs one iteration of `write` per benchmark turn and counts 1 MiB each.
template <class Write> void forward(benchmark::State &state, bool aligned, Write write)
{
    OutputBench bench;
    for (auto _ : state) {
        bench.startForward(aligned);
        bench.run(state, [&] { write(bench.world()); });
        state.PauseTiming();
        bench.releaseBlocks();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}

// Small fields, widths 1 to 8 in turn, as generated code writes preambles,
// choice indexes and small integers: 36 bits a round.
void forwardSmallItems(benchmark::State &state)
{
    using AppendFn = void (*)(QorGlobal *, unsigned char);
    static const AppendFn fns[8] = {_qor_append_1bit_unaligned, _qor_append_2bit_unaligned,
                                    _qor_append_3bit_unaligned, _qor_append_4bit_unaligned,
                                    _qor_append_5bit_unaligned, _qor_append_6bit_unaligned,
                                    _qor_append_7bit_unaligned, _qor_append_8bit_unaligned};
    constexpr uint64_t kBits = 8 * kMiB;
    forward(state, false, [](QorGlobal *world) {
        uint64_t bits = 0;
        unsigned char value = 0x5A;
        while (bits + 36 <= kBits) {
            for (unsigned n = 1; n <= 8; n++) {
                fns[n - 1](world, static_cast<unsigned char>(value & (0xFF << (8 - n))));
                value = static_cast<unsigned char>(value * 5 + 1);
            }
            bits += 36;
        }
        for (; bits < kBits; bits++)
            _qor_append_1bit_unaligned(world, 0x80);
    });
}

// One width only, the same generated-code call repeated.
void forwardFixedWidth(benchmark::State &state)
{
    using AppendFn = void (*)(QorGlobal *, unsigned char);
    static const AppendFn fns[9] = {nullptr,
                                    _qor_append_1bit_unaligned, _qor_append_2bit_unaligned,
                                    _qor_append_3bit_unaligned, _qor_append_4bit_unaligned,
                                    _qor_append_5bit_unaligned, _qor_append_6bit_unaligned,
                                    _qor_append_7bit_unaligned, _qor_append_8bit_unaligned};
    const auto n = static_cast<unsigned>(state.range(0));
    const AppendFn fn = fns[n];
    const uint64_t calls = 8 * kMiB / n;
    forward(state, false, [&](QorGlobal *world) {
        for (uint64_t i = 0; i < calls; i++)
            fn(world, static_cast<unsigned char>(0xA5 << (8 - n)));
    });
}

// Bulk: 1 MiB of bits through `_qor_append` in pieces of range(0) octets,
// starting range(1) bits into the first octet (0: the octet-aligned copy,
// else each output octet built from two source octets).
void forwardBulk(benchmark::State &state)
{
    const auto piece = static_cast<size_t>(state.range(0));
    const auto lead = static_cast<unsigned>(state.range(1));
    std::vector<unsigned char> source(kMiB);
    for (size_t i = 0; i < source.size(); i++)
        source[i] = static_cast<unsigned char>(i * 131 + 7);
    const unsigned char *src = source.data();
    forward(state, false, [&](QorGlobal *world) {
        if (lead != 0)
            _qor_append(world, src, lead, 0);
        for (size_t at = 0; at < kMiB; at += piece)
            _qor_append(world, src + at, static_cast<QorULong>(8 * piece), 0);
    });
}

// Backward output (BER): 1 MiB prepended below the cursor, as BER encoders
// build a message from its end.
template <class Write> void backward(benchmark::State &state, Write write)
{
    OutputBench bench;
    for (auto _ : state) {
        bench.startForward(false);
        bench.run(state, [&] {
            unsigned char *pos = nullptr;
            QorLong room = 0;
            write(bench.world(), &pos, &room);
        });
        state.PauseTiming();
        bench.releaseBlocks();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}

// Small items of range(0) octets each through the general writer.
void backwardItems(benchmark::State &state)
{
    const auto item = static_cast<QorLong>(state.range(0));
    std::vector<unsigned char> source(static_cast<size_t>(item), 0x5A);
    backward(state, [&](QorGlobal *world, unsigned char **pos, QorLong *room) {
        for (size_t at = 0; at < kMiB; at += static_cast<size_t>(item))
            _qor_write_bytes_d(world, pos, room, source.data(), item);
    });
}

// INTEGER items as generated code writes them: tag, length and value in one.
void backwardIntegers(benchmark::State &state)
{
    backward(state, [](QorGlobal *world, unsigned char **pos, QorLong *room) {
        QorLong written = 0;
        for (QorLong v = 0; written < static_cast<QorLong>(kMiB); v += 977)
            written += _qor_encd_int_tl(world, pos, room, v, 0x02);
    });
}

void backwardBulk(benchmark::State &state)
{
    std::vector<unsigned char> source(kMiB, 0x5A);
    backward(state, [&](QorGlobal *world, unsigned char **pos, QorLong *room) {
        _qor_write_bytes_d(world, pos, room, source.data(), static_cast<QorLong>(kMiB));
    });
}

void plainMemcpy(benchmark::State &state)
{
    qorbench::CopyBuffers buffers(kMiB);
    for (auto _ : state) {
        memcpy(buffers.target(), buffers.source(), kMiB);
        benchmark::DoNotOptimize(buffers.target());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}

} // namespace

BENCHMARK(plainMemcpy)->Name("memcpy/1MiB");
BENCHMARK(forwardSmallItems)->Name("Forward/SmallItems_1to8bits");
BENCHMARK(forwardFixedWidth)->Name("Forward/FixedWidth")->Arg(1)->Arg(3)->Arg(8);
BENCHMARK(forwardBulk)
    ->Name("Forward/Bulk")
    ->ArgNames({"octets", "lead"})
    ->Args({int64_t{kMiB}, 0})
    ->Args({int64_t{kMiB}, 3})
    ->Args({1024, 0})
    ->Args({1024, 3})
    ->Args({64, 0})
    ->Args({64, 3});

BENCHMARK(backwardBulk)->Name("Backward/Bulk_1MiB");
BENCHMARK(backwardItems)->Name("Backward/Items")->ArgName("octets")->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(backwardIntegers)->Name("Backward/IntegerItems");
