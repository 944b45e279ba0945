// qor_bench: the Google Benchmark cases, or with --compare a table of each
// case against its peer or floor, timed in alternating slices.
#include <benchmark/benchmark.h>

#include <cstring>
#include <malloc.h>

#include "compare.h"

// glibc gives freed memory back to the kernel between iterations, and every
// iteration would then pay for page faults that a running application, with
// its heap warm, does not; keep the heap, so that the library is measured.
int main(int argc, char **argv)
{
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    mallopt(M_TOP_PAD, 64 << 20);
    mallopt(M_MMAP_THRESHOLD, 64 << 20); // large results from the warm heap too
    qorbench::checkSameOctets(); // both sides of the PER rows time the same octets
    for (int i = 1; i < argc; i++)
        if (strcmp(argv[i], "--compare") == 0)
            return qorbench::compare(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
