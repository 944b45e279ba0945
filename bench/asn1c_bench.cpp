// The same PersonnelRecord through asn1c's code, generated from the shared
// schema into the build folder, so that one run compares the two libraries.
// asn1c's BER encoder writes DER; both sides encode into a caller's buffer
// and decode into their own memory, freeing the value each time.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "compare.h"

#include "ChildInformation.h"
#include "PersonnelRecord.h"
#include "ber_decoder.h"
#include "der_encoder.h"

namespace {

void setText(VisibleString_t *s, const char *text)
{
    if (OCTET_STRING_fromString(s, text) != 0)
        abort();
}

void setName(Name_t *name, const char *given, const char *initial, const char *family)
{
    setText(&name->givenName, given);
    setText(&name->initial, initial);
    setText(&name->familyName, family);
}

ChildInformation *child(const char *given, const char *initial, const char *family,
                        const char *born)
{
    auto *c = static_cast<ChildInformation *>(calloc(1, sizeof(ChildInformation)));
    setName(&c->name, given, initial, family);
    setText(&c->dateOfBirth, born);
    ASN_SET_MKPRESENT(&c->_presence_map, ChildInformation_PR_name);
    ASN_SET_MKPRESENT(&c->_presence_map, ChildInformation_PR_dateOfBirth);
    return c;
}

PersonnelRecord_t *example()
{
    auto *r = static_cast<PersonnelRecord_t *>(calloc(1, sizeof(PersonnelRecord_t)));
    setName(&r->name, "John", "P", "Smith");
    setText(&r->title, "Director");
    r->number = 51;
    setText(&r->dateOfHire, "19710917");
    setName(&r->nameOfSpouse, "Mary", "T", "Smith");
    r->children = static_cast<PersonnelRecord::PersonnelRecord__children *>(
        calloc(1, sizeof(*r->children)));
    ASN_SEQUENCE_ADD(&r->children->list, child("Ralph", "T", "Smith", "19571111"));
    ASN_SEQUENCE_ADD(&r->children->list, child("Susan", "B", "Jones", "19590717"));
    for (int member = PersonnelRecord_PR_name; member <= PersonnelRecord_PR_children; member++)
        ASN_SET_MKPRESENT(&r->_presence_map, member);
    return r;
}

void asn1cEncode(benchmark::State &state)
{
    PersonnelRecord_t *value = example();
    std::vector<unsigned char> buffer(1024);
    int64_t bytes = 0;
    for (auto _ : state) {
        asn_enc_rval_t rc =
            der_encode_to_buffer(&asn_DEF_PersonnelRecord, value, buffer.data(), buffer.size());
        if (rc.encoded < 0)
            state.SkipWithError("asn1c encode failed");
        bytes += rc.encoded;
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(bytes);
    ASN_STRUCT_FREE(asn_DEF_PersonnelRecord, value);
}

void asn1cDecode(benchmark::State &state)
{
    PersonnelRecord_t *value = example();
    std::vector<unsigned char> buffer(1024);
    asn_enc_rval_t rc =
        der_encode_to_buffer(&asn_DEF_PersonnelRecord, value, buffer.data(), buffer.size());
    ASN_STRUCT_FREE(asn_DEF_PersonnelRecord, value);
    if (rc.encoded < 0) {
        state.SkipWithError("asn1c encode failed");
        return;
    }
    for (auto _ : state) {
        PersonnelRecord_t *decoded = nullptr;
        asn_dec_rval_t d = ber_decode(nullptr, &asn_DEF_PersonnelRecord,
                                      reinterpret_cast<void **>(&decoded), buffer.data(),
                                      static_cast<size_t>(rc.encoded));
        if (d.code != RC_OK)
            state.SkipWithError("asn1c decode failed");
        ASN_STRUCT_FREE(asn_DEF_PersonnelRecord, decoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * rc.encoded);
}

} // namespace

namespace qorbench::asn1c {

void *example() { return ::example(); }

void release(void *value)
{
    ASN_STRUCT_FREE(asn_DEF_PersonnelRecord, static_cast<PersonnelRecord_t *>(value));
}

long encode(void *value, unsigned char *buffer, size_t size)
{
    asn_enc_rval_t rc = der_encode_to_buffer(&asn_DEF_PersonnelRecord, value, buffer, size);
    return static_cast<long>(rc.encoded);
}

bool decodeAndFree(const unsigned char *data, size_t length)
{
    PersonnelRecord_t *decoded = nullptr;
    asn_dec_rval_t d = ber_decode(nullptr, &asn_DEF_PersonnelRecord,
                                  reinterpret_cast<void **>(&decoded), data, length);
    ASN_STRUCT_FREE(asn_DEF_PersonnelRecord, decoded);
    return d.code == RC_OK;
}

} // namespace qorbench::asn1c

BENCHMARK(asn1cEncode)->Name("Personnel/asn1c/encode_callers_buffer");
BENCHMARK(asn1cDecode)->Name("Personnel/asn1c/decode_and_free");
