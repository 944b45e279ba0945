// Each case against its peer or floor, timed in the same process: the two run
// in turn, a slice of about 25 ms each, for several rounds. The machine is
// shared and its speed drifts within seconds, so that figures from separate
// runs do not compare; the ratio of neighbouring slices does. Each round
// gives a ratio; the table shows the medians and the spread of the ratios.
//
// Peers: asn1c's DER encode and BER decode + ASN_STRUCT_FREE of the same
// PersonnelRecord, and its unaligned PER encode and decode + free, which
// stand for our aligned PER and OER too (Debian's asn1c has neither);
// memcpy of N octets for an OCTET STRING of N; for a SEQUENCE OF INTEGER,
// the time an element at 1000 elements, so that the ratio is the growth
// with size (1.0 for linear).
#include "compare.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support.h"

namespace qorbench {
namespace {

#ifdef QOR_BENCH_ASN1C
constexpr bool kAsn1c = true;
#else
constexpr bool kAsn1c = false;
#endif

// The unaligned PER of PersonnelRecord in the shared vectors, in hex.
#ifdef QOR_PERSONNEL_UPER
constexpr const char *kUper = QOR_PERSONNEL_UPER;
#else
constexpr const char *kUper = nullptr;
#endif

// Runs the timed operation n times.
using Loop = std::function<void(long n)>;

struct Pair {
    Loop ours;
    Loop peer; // empty: timed alone
};

struct Row {
    std::string name;
    std::string peerName;
    double units;     // units of work in one call of ours: 1, or elements
    double peerUnits; // and of the peer's
    const char *unit; // "" for a call, else "/el"
    std::function<Pair()> make;
};

struct Options {
    int rounds = 7;
    double sliceNs = 25e6;
    bool wall = false;
    std::string filter;
    int width = 0; // of the case column
};

[[noreturn]] void fail(const char *what, QorGlobal *world)
{
    fprintf(stderr, "qor_bench: %s failed: %s\n", what, world ? qorGetErrMsg(world) : "");
    exit(1);
}

// Thread CPU time by default: time stolen by other builders on the machine
// does not count, while what they do to the caches and the clock still does.
double now(bool wall)
{
    timespec t{};
    clock_gettime(wall ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

double timeOf(const Loop &loop, long n, bool wall)
{
    const double start = now(wall);
    loop(n);
    return now(wall) - start;
}

// Calls that fill a slice, from a warm start.
long calibrate(const Loop &loop, const Options &o)
{
    loop(1);
    long n = 1;
    double t = timeOf(loop, n, o.wall);
    while (t < o.sliceNs / 8 && n < (1L << 40)) {
        n *= 2;
        t = timeOf(loop, n, o.wall);
    }
    return std::max(1L, std::lround(static_cast<double>(n) * o.sliceNs / std::max(t, 1.0)));
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t m = v.size() / 2;
    return v.size() % 2 ? v[m] : (v[m - 1] + v[m]) / 2;
}

std::string duration(double ns, const char *unit)
{
    char text[48];
    if (ns < 1e3)
        snprintf(text, sizeof text, "%.3g ns%s", ns, unit);
    else if (ns < 1e6)
        snprintf(text, sizeof text, "%.3g us%s", ns / 1e3, unit);
    else
        snprintf(text, sizeof text, "%.3g ms%s", ns / 1e6, unit);
    return text;
}

void measure(const Row &row, const Options &o)
{
    Pair pair = row.make();
    const long n = calibrate(pair.ours, o);
    const long m = pair.peer ? calibrate(pair.peer, o) : 0;
    std::vector<double> ours, peer, ratio;
    for (int round = 0; round < o.rounds; round++) {
        // Alternate who goes first, so that a steady drift favours neither.
        double a = 0, b = 0;
        if (pair.peer && round % 2)
            b = timeOf(pair.peer, m, o.wall) / (static_cast<double>(m) * row.peerUnits);
        a = timeOf(pair.ours, n, o.wall) / (static_cast<double>(n) * row.units);
        if (pair.peer && round % 2 == 0)
            b = timeOf(pair.peer, m, o.wall) / (static_cast<double>(m) * row.peerUnits);
        ours.push_back(a);
        if (pair.peer) {
            peer.push_back(b);
            ratio.push_back(a / b);
        }
    }
    if (pair.peer) {
        const auto [lo, hi] = std::minmax_element(ratio.begin(), ratio.end());
        char spread[32];
        snprintf(spread, sizeof spread, "%.3g-%.3g", *lo, *hi);
        printf("%-*s %12s  %-24s %12s %8.3g  %s\n", o.width, row.name.c_str(),
               duration(median(ours), row.unit).c_str(), row.peerName.c_str(),
               duration(median(peer), row.unit).c_str(), median(ratio), spread);
    } else {
        printf("%-*s %12s  %-24s\n", o.width, row.name.c_str(),
               duration(median(ours), row.unit).c_str(), row.peerName.c_str());
    }
    fflush(stdout);
}

// A context and an input, kept alive by the loops that use them.
struct Setup {
    explicit Setup(int rules) : world(rules) {}
    Context world;
    std::vector<unsigned char> encoding;
    std::vector<unsigned char> room;
    void *handle = nullptr;
    ~Setup()
    {
        if (handle != nullptr)
            qorDeleteMemoryHandle(world.get(), handle);
    }
};

Loop encodeLibraryMemory(std::shared_ptr<Setup> s, int pdu, void *value)
{
    return [s, pdu, value](long n) {
        for (long i = 0; i < n; i++) {
            QorBuf out = {0, nullptr};
            if (qorEncode(s->world.get(), pdu, value, &out) != 0)
                fail("encode", s->world.get());
            qorFreeBuf(s->world.get(), out.value);
        }
    };
}

Loop encodeCallersBuffer(std::shared_ptr<Setup> s, int pdu, void *value)
{
    s->room.resize(encodingOf(s->world.get(), pdu, value).size() + 64);
    return [s, pdu, value](long n) {
        for (long i = 0; i < n; i++) {
            QorBuf out = {static_cast<QorLong>(s->room.size()), s->room.data()};
            if (qorEncode(s->world.get(), pdu, value, &out) != 0)
                fail("encode", s->world.get());
            benchmark::DoNotOptimize(out.value);
        }
    };
}

// One decode of the setup's encoding; `decoded` null asks for new memory.
void *decodeOnce(Setup &s, int pdu, void *decoded)
{
    QorBuf in = {static_cast<QorLong>(s.encoding.size()), s.encoding.data()};
    int found = pdu;
    if (qorDecode(s.world.get(), &found, &in, &decoded) != 0)
        fail("decode", s.world.get());
    return decoded;
}

Loop decodeAndFree(std::shared_ptr<Setup> s, int pdu, void *value)
{
    s->encoding = encodingOf(s->world.get(), pdu, value);
    return [s, pdu](long n) {
        for (long i = 0; i < n; i++)
            qorFreePDU(s->world.get(), pdu, decodeOnce(*s, pdu, nullptr));
    };
}

Loop decodeCallersBuffer(std::shared_ptr<Setup> s, int pdu, void *value)
{
    s->encoding = encodingOf(s->world.get(), pdu, value);
    s->room.resize(s->encoding.size() * 4 + 4096);
    return [s, pdu](long n) {
        for (long i = 0; i < n; i++) {
            qorSetDecodingLength(s->world.get(), static_cast<QorLong>(s->room.size()));
            benchmark::DoNotOptimize(decodeOnce(*s, pdu, s->room.data()));
        }
    };
}

// Decodes into a memory handle, and throws the value away by cleaning it.
Loop decodeIntoHandle(std::shared_ptr<Setup> s, int pdu, void *value)
{
    s->encoding = encodingOf(s->world.get(), pdu, value);
    s->handle = qorCreateMemoryHandle(s->world.get(), 4096); // and makes it active
    if (s->handle == nullptr)
        fail("qorCreateMemoryHandle", s->world.get());
    return [s, pdu](long n) {
        for (long i = 0; i < n; i++) {
            benchmark::DoNotOptimize(decodeOnce(*s, pdu, nullptr));
            if (qorCleanMemoryHandle(s->world.get(), s->handle) != 0)
                fail("qorCleanMemoryHandle", s->world.get());
        }
    };
}

Loop copyFloor(size_t size)
{
    auto buffers = std::make_shared<CopyBuffers>(size);
    return [buffers](long n) {
        for (long i = 0; i < n; i++) {
            memcpy(buffers->target(), buffers->source(), buffers->size());
            benchmark::DoNotOptimize(buffers->target());
            benchmark::ClobberMemory();
        }
    };
}

#ifdef QOR_BENCH_ASN1C
struct Asn1cValue {
    explicit Asn1cValue(asn1c::Rules rules)
        : rules(rules), value(asn1c::example(rules)), buffer(1024)
    {
        const long length = asn1c::encode(rules, value, buffer.data(), buffer.size());
        if (length < 0)
            fail("asn1c encode", nullptr);
        buffer.resize(static_cast<size_t>(length));
    }
    ~Asn1cValue() { asn1c::release(rules, value); }
    Asn1cValue(const Asn1cValue &) = delete;
    Asn1cValue &operator=(const Asn1cValue &) = delete;
    asn1c::Rules rules;
    void *value;
    std::vector<unsigned char> buffer; // its encoding
};
#endif

Loop asn1cEncode([[maybe_unused]] asn1c::Rules rules)
{
#ifdef QOR_BENCH_ASN1C
    auto v = std::make_shared<Asn1cValue>(rules);
    auto room = std::make_shared<std::vector<unsigned char>>(1024);
    return [v, room](long n) {
        for (long i = 0; i < n; i++) {
            if (asn1c::encode(v->rules, v->value, room->data(), room->size()) < 0)
                fail("asn1c encode", nullptr);
            benchmark::DoNotOptimize(room->data());
        }
    };
#else
    return {};
#endif
}

Loop asn1cDecode([[maybe_unused]] asn1c::Rules rules)
{
#ifdef QOR_BENCH_ASN1C
    auto v = std::make_shared<Asn1cValue>(rules);
    return [v](long n) {
        for (long i = 0; i < n; i++)
            if (!asn1c::decodeAndFree(v->rules, v->buffer.data(), v->buffer.size()))
                fail("asn1c decode", nullptr);
    };
#else
    return {};
#endif
}

using Way = Loop (*)(std::shared_ptr<Setup>, int, void *);

struct Named {
    const char *what;
    Way way;
};

struct Sized {
    const char *label;
    size_t size;
};

// PersonnelRecord under one of our rules, and asn1c's peer for it.
struct PersonnelRules {
    const char *label;
    int rules;
    asn1c::Rules peer;
    const char *encodePeer;
    const char *decodePeer;
};

std::vector<Row> rows()
{
    std::vector<Row> all;
    const PersonnelRules personnelRules[] = {
        {"BER", QOR_BER, asn1c::Rules::ber, "asn1c DER encode", "asn1c BER decode + free"},
        {"PER (vs UPER)", QOR_PER_ALIGNED, asn1c::Rules::uper, "asn1c UPER encode",
         "asn1c UPER decode + free"},
        {"UPER", QOR_PER_UNALIGNED, asn1c::Rules::uper, "asn1c UPER encode",
         "asn1c UPER decode + free"},
        {"OER (vs UPER)", QOR_OER, asn1c::Rules::uper, "asn1c UPER encode",
         "asn1c UPER decode + free"},
    };
    const Named personnel[] = {
        {"encode, library memory", encodeLibraryMemory},
        {"encode, caller's buffer", encodeCallersBuffer},
        {"decode + free", decodeAndFree},
        {"decode, caller's buffer", decodeCallersBuffer},
        {"decode, memory handle + clean", decodeIntoHandle},
    };
    for (const PersonnelRules &r : personnelRules)
        for (const Named &p : personnel) {
            const bool encodes = strncmp(p.what, "encode", 6) == 0;
            const Way way = p.way;
            const int rules = r.rules;
            const asn1c::Rules peer = r.peer;
            const char *peerName = encodes ? r.encodePeer : r.decodePeer;
            all.push_back({std::string("PersonnelRecord ") + r.label + " " + p.what,
                           kAsn1c ? peerName : "(asn1c not built)", 1, 1, "",
                           [way, encodes, rules, peer] {
                               return Pair{way(std::make_shared<Setup>(rules), PDU_PersonnelRecord,
                                               &personnelExample),
                                           encodes ? asn1cEncode(peer) : asn1cDecode(peer)};
                           }});
        }
    const Named octets[] = {
        {"encode, library memory", encodeLibraryMemory},
        {"encode, caller's buffer", encodeCallersBuffer},
        {"decode + free", decodeAndFree},
    };
    const Sized sizes[] = {
        {"1 KiB", size_t{1} << 10}, {"64 KiB", size_t{1} << 16}, {"1 MiB", size_t{1} << 20}};
    for (const Sized &z : sizes)
        for (const Named &p : octets) {
            const Way way = p.way;
            const size_t size = z.size;
            all.push_back({std::string("OCTET STRING ") + z.label + " " + p.what,
                           std::string("memcpy ") + z.label, 1, 1, "", [way, size] {
                               auto value = std::make_shared<Octets>(size);
                               Loop ours =
                                   way(std::make_shared<Setup>(QOR_BER), PDU_Raw, &value->value);
                               return Pair{[value, ours](long n) { ours(n); }, copyFloor(size)};
                           }});
        }
    const Named sequences[] = {
        {"encode", encodeLibraryMemory},
        {"decode + free", decodeAndFree},
    };
    const Sized counts[] = {{"10^3", 1000}, {"10^4", 10000}, {"10^5", 100000}, {"10^6", 1000000}};
    for (const Named &p : sequences)
        for (const Sized &z : counts) {
            const Way way = p.way;
            auto timed = [way](size_t elements) {
                auto value = std::make_shared<Numbers>(elements);
                Loop loop = way(std::make_shared<Setup>(QOR_BER), PDU_Record, &value->value);
                return Loop([value, loop](long n) { loop(n); });
            };
            const size_t count = z.size;
            const bool first = count == 1000;
            all.push_back({std::string("SEQUENCE OF INTEGER ") + z.label + " " + p.what,
                           first ? "(alone)" : "the same at 10^3", static_cast<double>(count), 1000,
                           "/el", [timed, count, first] {
                               return Pair{timed(count), first ? Loop() : timed(1000)};
                           }});
        }
    return all;
}

bool parse(int argc, char **argv, Options &o)
{
    for (int i = 1; i < argc; i++) {
        const char *a = argv[i];
        if (strcmp(a, "--compare") == 0)
            continue;
        if (strncmp(a, "--rounds=", 9) == 0 && atoi(a + 9) > 0)
            o.rounds = atoi(a + 9);
        else if (strncmp(a, "--slice-ms=", 11) == 0 && atof(a + 11) > 0)
            o.sliceNs = atof(a + 11) * 1e6;
        else if (strcmp(a, "--wall") == 0)
            o.wall = true;
        else if (strncmp(a, "--filter=", 9) == 0)
            o.filter = a + 9;
        else {
            fprintf(stderr, "usage: qor_bench --compare [--rounds=N] [--slice-ms=M] [--wall] "
                            "[--filter=TEXT]\n");
            return false;
        }
    }
    return true;
}

std::string hex(const std::vector<unsigned char> &bytes)
{
    std::string text;
    char pair[3];
    for (unsigned char b : bytes) {
        snprintf(pair, sizeof pair, "%02x", b);
        text += pair;
    }
    return text;
}

void checkOctets(const char *who, const std::vector<unsigned char> &got, const char *want)
{
    if (hex(got) == want)
        return;
    fprintf(stderr,
            "qor_bench: %s unaligned PER of PersonnelRecord is not the UPER vector of "
            "personnel.json, so the two sides would not time the same octets\n"
            "  got  %s\n  want %s\n",
            who, hex(got).c_str(), want);
    exit(1);
}

} // namespace

void checkSameOctets()
{
    if (kUper == nullptr)
        return;
    Context world(QOR_PER_UNALIGNED);
    checkOctets("our", encodingOf(world.get(), PDU_PersonnelRecord, &personnelExample), kUper);
#ifdef QOR_BENCH_ASN1C
    checkOctets("asn1c's", Asn1cValue(asn1c::Rules::uper).buffer, kUper);
#endif
}

int compare(int argc, char **argv)
{
    Options o;
    if (!parse(argc, argv, o))
        return 2;
    printf("%d rounds of %.0f ms slices, %s time; medians; ratio = ours / peer, with its range\n",
           o.rounds, o.sliceNs / 1e6, o.wall ? "wall" : "thread CPU");
    std::vector<Row> chosen;
    for (Row &row : rows())
        if (row.name.find(o.filter) != std::string::npos) {
            o.width = std::max(o.width, static_cast<int>(row.name.size()));
            chosen.push_back(std::move(row));
        }
    printf("%-*s %12s  %-24s %12s %8s  %s\n", o.width, "case", "ours", "peer or floor", "peer",
           "ratio", "range");
    for (const Row &row : chosen)
        measure(row, o);
    return 0;
}

} // namespace qorbench
