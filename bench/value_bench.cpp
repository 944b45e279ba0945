// Copy and compare of the decoded PersonnelRecord: a copy into the library's
// memory and its free, a copy into a caller's buffer, and the compare of the
// copy with the decoded value.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "support.h"

namespace {

using qorbench::Context;

// The example decoded under BER into the library's memory, freed at the end.
class Decoded {
public:
    explicit Decoded(QorGlobal *world) : world_(world)
    {
        std::vector<unsigned char> encoding =
            qorbench::encodingOf(world, PDU_PersonnelRecord, &personnelExample);
        QorBuf in = {static_cast<QorLong>(encoding.size()), encoding.data()};
        int pdu = PDU_PersonnelRecord;
        if (qorDecode(world, &pdu, &in, &value_) != 0)
            abort();
    }
    ~Decoded() { qorFreePDU(world_, PDU_PersonnelRecord, value_); }
    Decoded(const Decoded &) = delete;
    Decoded &operator=(const Decoded &) = delete;
    void *get() const { return value_; }

private:
    QorGlobal *world_;
    void *value_ = nullptr;
};

void copyAndFree(benchmark::State &state)
{
    Context world(QOR_BER);
    Decoded decoded(world.get());
    for (auto _ : state) {
        void *copy = nullptr;
        if (qorCpyValue(world.get(), PDU_PersonnelRecord, decoded.get(), &copy) != 0)
            state.SkipWithError("copy failed");
        qorFreePDU(world.get(), PDU_PersonnelRecord, copy);
    }
}

void copyCallersBuffer(benchmark::State &state)
{
    Context world(QOR_BER);
    Decoded decoded(world.get());
    std::vector<unsigned char> flat(4096);
    for (auto _ : state) {
        void *copy = flat.data();
        qorSetDecodingLength(world.get(), static_cast<QorLong>(flat.size()));
        if (qorCpyValue(world.get(), PDU_PersonnelRecord, decoded.get(), &copy) != 0)
            state.SkipWithError("copy failed");
        benchmark::DoNotOptimize(copy);
    }
}

void compareWithCopy(benchmark::State &state)
{
    Context world(QOR_BER);
    Decoded decoded(world.get());
    void *copy = nullptr;
    if (qorCpyValue(world.get(), PDU_PersonnelRecord, decoded.get(), &copy) != 0)
        abort();
    for (auto _ : state) {
        int result = qorCmpValue(world.get(), PDU_PersonnelRecord, decoded.get(), copy);
        if (result != 0)
            state.SkipWithError("the copy differs");
        benchmark::DoNotOptimize(result);
    }
    qorFreePDU(world.get(), PDU_PersonnelRecord, copy);
}

} // namespace

BENCHMARK(copyAndFree)->Name("Personnel/copy_and_free");
BENCHMARK(copyCallersBuffer)->Name("Personnel/copy_callers_buffer");
BENCHMARK(compareWithCopy)->Name("Personnel/compare");
