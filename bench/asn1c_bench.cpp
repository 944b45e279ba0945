// The same PersonnelRecord through asn1c's code, generated from the shared
// schema into the build folder, so that one run compares the two libraries.
// asn1c's BER encoder writes DER. Its unaligned PER goes through
// PersonnelSequence, the same record written as SEQUENCEs in canonical tag
// order (personnel-sequence.asn), whose encoding is the same octets. Both
// sides encode into a caller's buffer and decode into their own memory,
// freeing the value each time.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <vector>

#include "compare.h"

#include "ChildInformation.h"
#include "ChildSequence.h"
#include "Children.h"
#include "PersonnelRecord.h"
#include "PersonnelSequence.h"
#include "ber_decoder.h"
#include "constr_SET.h"
#include "der_encoder.h"
#include "per_decoder.h"
#include "per_encoder.h"

namespace {

using qorbench::asn1c::Rules;

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

// asn1c's SET keeps a map of the components present; its SEQUENCE does not.
template <typename Child>
Child *child(const char *given, const char *initial, const char *family, const char *born)
{
    auto *c = static_cast<Child *>(calloc(1, sizeof(Child)));
    setName(&c->name, given, initial, family);
    setText(&c->dateOfBirth, born);
    if constexpr (std::is_same_v<Child, ChildInformation>) {
        ASN_SET_MKPRESENT(&c->_presence_map, ChildInformation_PR_name);
        ASN_SET_MKPRESENT(&c->_presence_map, ChildInformation_PR_dateOfBirth);
    }
    return c;
}

template <typename Record, typename Child> Record *example()
{
    auto *r = static_cast<Record *>(calloc(1, sizeof(Record)));
    setName(&r->name, "John", "P", "Smith");
    setText(&r->title, "Director");
    r->number = 51;
    setText(&r->dateOfHire, "19710917");
    setName(&r->nameOfSpouse, "Mary", "T", "Smith");
    r->children = static_cast<std::remove_pointer_t<decltype(r->children)> *>(
        calloc(1, sizeof(*r->children)));
    ASN_SEQUENCE_ADD(&r->children->list, child<Child>("Ralph", "T", "Smith", "19571111"));
    ASN_SEQUENCE_ADD(&r->children->list, child<Child>("Susan", "B", "Jones", "19590717"));
    if constexpr (std::is_same_v<Record, PersonnelRecord_t>)
        for (int member = PersonnelRecord_PR_name; member <= PersonnelRecord_PR_children; member++)
            ASN_SET_MKPRESENT(&r->_presence_map, member);
    return r;
}

asn_TYPE_descriptor_t *typeOf(Rules rules)
{
    return rules == Rules::uper ? &asn_DEF_PersonnelSequence : &asn_DEF_PersonnelRecord;
}

void asn1cEncode(benchmark::State &state, Rules rules)
{
    void *value = qorbench::asn1c::example(rules);
    std::vector<unsigned char> buffer(1024);
    int64_t bytes = 0;
    for (auto _ : state) {
        const long length = qorbench::asn1c::encode(rules, value, buffer.data(), buffer.size());
        if (length < 0)
            state.SkipWithError("asn1c encode failed");
        bytes += length;
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(bytes);
    qorbench::asn1c::release(rules, value);
}

void asn1cDecode(benchmark::State &state, Rules rules)
{
    void *value = qorbench::asn1c::example(rules);
    std::vector<unsigned char> buffer(1024);
    const long length = qorbench::asn1c::encode(rules, value, buffer.data(), buffer.size());
    qorbench::asn1c::release(rules, value);
    if (length < 0) {
        state.SkipWithError("asn1c encode failed");
        return;
    }
    for (auto _ : state)
        if (!qorbench::asn1c::decodeAndFree(rules, buffer.data(), static_cast<size_t>(length)))
            state.SkipWithError("asn1c decode failed");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * length);
}

} // namespace

// asn1c 0.9.28 declares unaligned PER entries for SET, and -gen-PER puts them
// in every SET's descriptor, but there is no code behind them: the PER of
// PersonnelRecord goes through PersonnelSequence. These only satisfy the
// linker, and refuse.
asn_dec_rval_t SET_decode_uper(asn_codec_ctx_t *, asn_TYPE_descriptor_t *, asn_per_constraints_t *,
                               void **, asn_per_data_t *)
{
    return {RC_FAIL, 0};
}

asn_enc_rval_t SET_encode_uper(asn_TYPE_descriptor_t *td, asn_per_constraints_t *, void *sptr,
                               asn_per_outp_t *)
{
    return {-1, td, sptr};
}

namespace qorbench::asn1c {

void *example(Rules rules)
{
    if (rules == Rules::uper)
        return ::example<PersonnelSequence_t, ChildSequence_t>();
    return ::example<PersonnelRecord_t, ChildInformation_t>();
}

void release(Rules rules, void *value) { ASN_STRUCT_FREE(*typeOf(rules), value); }

long encode(Rules rules, void *value, unsigned char *buffer, size_t size)
{
    if (rules == Rules::uper) {
        asn_enc_rval_t rc = uper_encode_to_buffer(typeOf(rules), value, buffer, size);
        return rc.encoded < 0 ? -1 : static_cast<long>((rc.encoded + 7) / 8); // bits
    }
    asn_enc_rval_t rc = der_encode_to_buffer(typeOf(rules), value, buffer, size);
    return static_cast<long>(rc.encoded);
}

bool decodeAndFree(Rules rules, const unsigned char *data, size_t length)
{
    void *decoded = nullptr;
    asn_dec_rval_t d = rules == Rules::uper
                           ? uper_decode_complete(nullptr, typeOf(rules), &decoded, data, length)
                           : ber_decode(nullptr, typeOf(rules), &decoded, data, length);
    ASN_STRUCT_FREE(*typeOf(rules), decoded);
    return d.code == RC_OK;
}

} // namespace qorbench::asn1c

BENCHMARK_CAPTURE(asn1cEncode, ber, Rules::ber)->Name("Personnel/asn1c/encode_callers_buffer");
BENCHMARK_CAPTURE(asn1cDecode, ber, Rules::ber)->Name("Personnel/asn1c/decode_and_free");
BENCHMARK_CAPTURE(asn1cEncode, uper, Rules::uper)
    ->Name("Personnel/asn1c_UPER/encode_callers_buffer");
BENCHMARK_CAPTURE(asn1cDecode, uper, Rules::uper)->Name("Personnel/asn1c_UPER/decode_and_free");
