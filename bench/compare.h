// The comparison mode of qor_bench, and the asn1c peer it times against.
#ifndef QOR_BENCH_COMPARE_H
#define QOR_BENCH_COMPARE_H

#include <cstddef>

namespace qorbench {

// Runs `qor_bench --compare [--rounds=N] [--slice-ms=M] [--wall] [--filter=TEXT]`.
int compare(int argc, char **argv);

// asn1c's code for PersonnelRecord, linked when the build generated it
// (QOR_BENCH_ASN1C defined).
namespace asn1c {
void *example();                                              // the example value
void release(void *value);                                    // ASN_STRUCT_FREE
long encode(void *value, unsigned char *buffer, size_t size); // DER; -1 on failure
bool decodeAndFree(const unsigned char *data, size_t length); // BER decode, then free
} // namespace asn1c

} // namespace qorbench

#endif
