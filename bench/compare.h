// The comparison mode of qor_bench, and the asn1c peer it times against.
#ifndef QOR_BENCH_COMPARE_H
#define QOR_BENCH_COMPARE_H

#include <cstddef>

namespace qorbench {

// Runs `qor_bench --compare [--rounds=N] [--slice-ms=M] [--wall] [--filter=TEXT]`.
int compare(int argc, char **argv);

// Aborts, saying which, unless our unaligned PER of PersonnelRecord and, when
// it is built, asn1c's are the reference octets of the shared vectors.
void checkSameOctets();

// asn1c's code for PersonnelRecord, linked when the build generated it
// (QOR_BENCH_ASN1C defined).
namespace asn1c {
// DER encode and BER decode of PersonnelRecord; or unaligned PER, of the same
// value as PersonnelSequence.
enum class Rules { ber, uper };
void *example(Rules rules);             // the example value
void release(Rules rules, void *value); // ASN_STRUCT_FREE
long encode(Rules rules, void *value, unsigned char *buffer, size_t size); // octets; -1 on failure
bool decodeAndFree(Rules rules, const unsigned char *data, size_t length); // decode, then free
} // namespace asn1c

} // namespace qorbench

#endif
