// Memory handles: a cycle of small allocations, or of PersonnelRecord decodes,
// thrown away by cleaning the handle; nanoseconds a cycle.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "testschema.h"

namespace {

// 19 pieces of 8 to 64 octets, as many as a decoded PersonnelRecord has.
void *pieces[19];

void allocateAndClean(benchmark::State &state)
{
    QorGlobal world{};
    if (qorinit(&world, &testSchemaTable) != 0)
        abort();
    // range(0) is the block size: small blocks make cleaning reuse several.
    void *handle = qorCreateMemoryHandle(&world, state.range(0));
    for (auto _ : state) {
        for (int round = 0; round < state.range(1); round++)
            for (int i = 0; i < 19; i++)
                pieces[i] = world.userMalloc(&world, 8 + static_cast<size_t>(i * 13 % 57));
        benchmark::DoNotOptimize(pieces);
        qorCleanMemoryHandle(&world, handle);
    }
    qorDeleteMemoryHandle(&world, handle);
    qorterm(&world);
}

// Holes about: every other piece goes back, then as many again are asked
// for, a little larger, before the handle is cleaned.
void allocateWithHoles(benchmark::State &state)
{
    QorGlobal world{};
    if (qorinit(&world, &testSchemaTable) != 0)
        abort();
    void *handle = qorCreateMemoryHandle(&world, 4096);
    for (auto _ : state) {
        for (int i = 0; i < 19; i++)
            pieces[i] = world.userMalloc(&world, 8 + static_cast<size_t>(i * 13 % 57));
        for (int i = 1; i < 19; i += 2)
            world.userFree(&world, pieces[i]);
        for (int i = 1; i < 19; i += 2)
            pieces[i] = world.userMalloc(&world, 16 + static_cast<size_t>(i * 13 % 57));
        benchmark::DoNotOptimize(pieces);
        qorCleanMemoryHandle(&world, handle);
    }
    qorDeleteMemoryHandle(&world, handle);
    qorterm(&world);
}

void decodeInto(benchmark::State &state, bool clean)
{
    QorGlobal world{};
    if (qorinit(&world, &testSchemaTable) != 0)
        abort();
    world.encRules = QOR_BER;
    QorBuf out = {0, nullptr};
    if (qorEncode(&world, PDU_PersonnelRecord, &personnelExample, &out) != 0)
        abort();
    std::vector<unsigned char> encoding(out.value, out.value + out.length);
    qorFreeBuf(&world, out.value);
    void *handle = qorCreateMemoryHandle(&world, 4096);
    for (auto _ : state) {
        QorBuf in = {static_cast<QorLong>(encoding.size()), encoding.data()};
        void *decoded = nullptr;
        int pdu = PDU_PersonnelRecord;
        if (qorDecode(&world, &pdu, &in, &decoded) != 0)
            state.SkipWithError("decode failed");
        if (clean)
            qorCleanMemoryHandle(&world, handle);
        else
            qorFreePDU(&world, pdu, decoded);
    }
    qorDeleteMemoryHandle(&world, handle);
    qorterm(&world);
}

void decodeAndClean(benchmark::State &state) { decodeInto(state, true); }
void decodeAndFree(benchmark::State &state) { decodeInto(state, false); }

} // namespace

BENCHMARK(allocateAndClean)->Name("Handle/allocate19_clean")->Args({4096, 1})->Args({256, 1})
    ->Args({4096, 50});
BENCHMARK(allocateWithHoles)->Name("Handle/allocate19_free9_allocate9_clean");
BENCHMARK(decodeAndClean)->Name("Handle/Personnel_BER_decode_clean");
BENCHMARK(decodeAndFree)->Name("Handle/Personnel_BER_decode_free");
