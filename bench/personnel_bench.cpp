// PersonnelRecord, the classic example value, encoded and decoded under BER,
// DER, aligned and unaligned PER and OER: nanoseconds a PDU and bytes a second, with
// the library's memory and with a caller's buffer; and the scaling of large
// values against memcpy.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support.h"

namespace {

using qorbench::Context;
using qorbench::encodingOf;

// Encodes into the library's memory, freeing each result.
void encodeLoop(benchmark::State &state, QorGlobal *world, int pdu, void *value)
{
    int64_t bytes = 0;
    for (auto _ : state) {
        QorBuf out = {0, nullptr};
        if (qorEncode(world, pdu, value, &out) != 0)
            state.SkipWithError("encode failed");
        bytes += out.length;
        qorFreeBuf(world, out.value);
    }
    state.SetBytesProcessed(bytes);
}

void encodeLibraryMemory(benchmark::State &state, int rules, int pdu, void *value)
{
    Context world(rules);
    encodeLoop(state, world.get(), pdu, value);
}

void encodeCallersBuffer(benchmark::State &state, int rules, int pdu, void *value)
{
    Context world(rules);
    std::vector<unsigned char> room(encodingOf(world.get(), pdu, value).size() + 64);
    int64_t bytes = 0;
    for (auto _ : state) {
        QorBuf out = {static_cast<QorLong>(room.size()), room.data()};
        if (qorEncode(world.get(), pdu, value, &out) != 0)
            state.SkipWithError("encode failed");
        bytes += out.length;
        benchmark::DoNotOptimize(out.value);
    }
    state.SetBytesProcessed(bytes);
}

// The blocks come from a temporary buffer the caller lends once: no allocation
// but the result's.
void encodeTemporaryBuffer(benchmark::State &state, int rules, int pdu, void *value)
{
    Context world(rules);
    std::vector<unsigned char> scratch(encodingOf(world.get(), pdu, value).size() * 2 + 65536);
    QorBuf lent = {static_cast<QorLong>(scratch.size()), scratch.data()};
    if (qorSetTemporaryBuffer(world.get(), &lent) != 0)
        abort();
    encodeLoop(state, world.get(), pdu, value);
}

// Decode and free, as an application that decodes into the library's memory does.
void decodeLibraryMemory(benchmark::State &state, int rules, int pdu, void *value)
{
    Context world(rules);
    std::vector<unsigned char> encoding = encodingOf(world.get(), pdu, value);
    for (auto _ : state) {
        QorBuf in = {static_cast<QorLong>(encoding.size()), encoding.data()};
        void *decoded = nullptr;
        int found = pdu;
        if (qorDecode(world.get(), &found, &in, &decoded) != 0)
            state.SkipWithError("decode failed");
        qorFreePDU(world.get(), found, decoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(encoding.size()));
}

void decodeCallersBuffer(benchmark::State &state, int rules, int pdu, void *value)
{
    Context world(rules);
    std::vector<unsigned char> encoding = encodingOf(world.get(), pdu, value);
    std::vector<unsigned char> flat(encoding.size() * 4 + 4096);
    for (auto _ : state) {
        QorBuf in = {static_cast<QorLong>(encoding.size()), encoding.data()};
        void *decoded = flat.data();
        int found = pdu;
        qorSetDecodingLength(world.get(), static_cast<QorLong>(flat.size()));
        if (qorDecode(world.get(), &found, &in, &decoded) != 0)
            state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(encoding.size()));
}

void personnel(benchmark::State &state, void (*run)(benchmark::State &, int, int, void *), int rules)
{
    run(state, rules, PDU_PersonnelRecord, &personnelExample);
}

// A PDU of the test schema with its example value.
void example(benchmark::State &state, void (*run)(benchmark::State &, int, int, void *), int rules,
             int pdu, void *value)
{
    run(state, rules, pdu, value);
}

// An OCTET STRING of range(0) octets; memcpy of the same size is the floor.
void octets(benchmark::State &state, void (*run)(benchmark::State &, int, int, void *))
{
    qorbench::Octets octets(static_cast<size_t>(state.range(0)));
    run(state, QOR_BER, PDU_Raw, &octets.value);
}

// A SEQUENCE OF INTEGER of range(0) elements inside the Record PDU.
void numbers(benchmark::State &state, void (*run)(benchmark::State &, int, int, void *))
{
    qorbench::Numbers numbers(static_cast<size_t>(state.range(0)));
    run(state, QOR_BER, PDU_Record, &numbers.value);
}

void copyFloor(benchmark::State &state)
{
    qorbench::CopyBuffers buffers(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        memcpy(buffers.target(), buffers.source(), buffers.size());
        benchmark::DoNotOptimize(buffers.target());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

} // namespace

// Personnel/<rules>/<way>: the four ways for each family, and DER's two.
const bool personnelRegistered = [] {
    using Runner = void (*)(benchmark::State &, int, int, void *);
    const struct {
        const char *name;
        int rules;
        int ways; // how many of the ways below
    } rules[] = {{"BER", QOR_BER, 4}, {"DER", QOR_DER, 2}, {"PER", QOR_PER_ALIGNED, 4},
                 {"UPER", QOR_PER_UNALIGNED, 4}, {"OER", QOR_OER, 4}};
    const struct {
        const char *name;
        Runner run;
    } ways[] = {{"encode", encodeLibraryMemory}, {"decode_and_free", decodeLibraryMemory},
                {"encode_callers_buffer", encodeCallersBuffer},
                {"decode_callers_buffer", decodeCallersBuffer}};
    for (const auto &r : rules)
        for (int w = 0; w < r.ways; w++)
            benchmark::RegisterBenchmark(
                (std::string("Personnel/") + r.name + "/" + ways[w].name).c_str(), personnel,
                ways[w].run, r.rules);
    // PER-only PDUs: strings of every memory form, bit and octet strings,
    // the extensible PersonnelRecord with its addition in an open type.
    const struct {
        const char *name;
        int pdu;
        void *value;
    } pdus[] = {{"Texts", PDU_Texts, &textsExample},
                {"Bits", PDU_Bits, &bitsExample},
                {"PersonnelExtensible", PDU_PersonnelExtensible, &personnelExtensibleExample}};
    for (const auto &p : pdus)
        for (const auto &r : rules)
            if (r.rules == QOR_PER_ALIGNED || r.rules == QOR_PER_UNALIGNED)
                for (const auto &way : ways)
                    benchmark::RegisterBenchmark(
                        (std::string(p.name) + "/" + r.name + "/" + way.name).c_str(), example,
                        way.run, r.rules, p.pdu, p.value);
    return true;
}();

BENCHMARK(copyFloor)->Name("Scaling/memcpy")->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK_CAPTURE(octets, encode, encodeLibraryMemory)
    ->Name("Scaling/OCTET_STRING/encode")->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK_CAPTURE(octets, encode_temporary, encodeTemporaryBuffer)
    ->Name("Scaling/OCTET_STRING/encode_temporary_buffer")->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK_CAPTURE(octets, encode_buffer, encodeCallersBuffer)
    ->Name("Scaling/OCTET_STRING/encode_callers_buffer")->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK_CAPTURE(octets, decode, decodeLibraryMemory)
    ->Name("Scaling/OCTET_STRING/decode_and_free")->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK_CAPTURE(numbers, encode, encodeLibraryMemory)
    ->Name("Scaling/SEQUENCE_OF_INTEGER/encode")->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000);
BENCHMARK_CAPTURE(numbers, decode, decodeLibraryMemory)
    ->Name("Scaling/SEQUENCE_OF_INTEGER/decode_and_free")->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000);
