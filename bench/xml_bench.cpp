// The XML lexer on hostile documents, each at size n and 2n: the time of
// the second over the first tells whether the work stays linear (below 2.5).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "testschema.h"

namespace {

std::string times(const std::string &piece, long n)
{
    std::string s;
    for (long i = 0; i < n; i++)
        s += piece;
    return s;
}

// Entities e1..e<levels>, each of `width` references to the next.
std::string chain(int levels, long width)
{
    std::string d = "<!DOCTYPE a [";
    for (int i = 1; i <= levels; i++) {
        std::string body = i == levels ? "lol" : times("&e" + std::to_string(i + 1) + ";", width);
        d += "<!ENTITY e" + std::to_string(i) + " '" + body + "'>";
    }
    return d + "]>";
}

std::string document(long kind, long n)
{
    std::string d;
    switch (kind) {
    case 0: // references whose expansion the budget stops
        d = chain(8, 64);
        d.append("<a>").append(times("&e1;", n / 64)).append("</a>");
        break;
    case 1: // attributes on one element
        d.append("<a").append(times(" unread=''", n)).append("/>");
        break;
    case 2: // namespace declarations on one tag, past the cap
        d.append("<a");
        for (long i = 0; i < n; i++)
            d.append(" xmlns:p").append(std::to_string(i)).append("='urn:p'");
        d.append("/>");
        break;
    case 3: // one long name
        d.append("<").append(static_cast<size_t>(n), 'n').append("/>");
        break;
    case 5: // one word, copied for the reference in front
        d.append("<word>&amp;").append(static_cast<size_t>(n), 'w').append("</word>");
        break;
    case 6: // one word, a slice of the input
        d.append("<word>").append(static_cast<size_t>(n), 'w').append("</word>");
        break;
    case 7: // n / 10 entities, each referred to ten times
    case 8: // the same in an element that the checking skip passes over
        d = kind == 7 ? "<!DOCTYPE a [" : "<!DOCTYPE skip [";
        for (long i = 0; i < n / 10; i++)
            d.append("<!ENTITY e").append(std::to_string(i)).append(" 'x'>");
        d.append(kind == 7 ? "]><a>" : "]><skip>");
        for (long i = 0; i < n; i++)
            d.append("&e").append(std::to_string(i % (n / 10))).append(";");
        d.append(kind == 7 ? "</a>" : "</skip>");
        break;
    case 9: // an element nested n deep, skipped
        d.append("<skip>").append(times("<u>", n)).append(times("</u>", n)).append("</skip>");
        break;
    default: // plain text
        d.append("<a>").append(times("text &amp; more ", n / 16)).append("</a>");
    }
    return d;
}

void lexHostile(benchmark::State &state)
{
    QorGlobal world{};
    if (qorinit(&world, &testSchemaTable) != 0 || qorSetEncodingRules(&world, QOR_EXER) != 0)
        abort();
    qorSetDecodingFlags(&world, IGNORE_UNKNOWN_ATTRIBUTES |
                                    (state.range(0) == 8 ? STRICT_ENCODING_DECODING_RULES : 0));
    std::string doc = document(state.range(0), state.range(1));
    for (auto _ : state) {
        QorBuf in = {static_cast<QorLong>(doc.size()), reinterpret_cast<unsigned char *>(doc.data())};
        void *out = nullptr;
        int pdu = PDU_Lexems;
        int code = qorDecode(&world, &pdu, &in, &out);
        if (code == 0)
            qorFreePDU(&world, pdu, out);
        else if (state.range(0) >= 5) // these documents are good ones
            state.SkipWithError(qorGetErrMsg(&world));
    }
    qorterm(&world);
}

BENCHMARK(lexHostile)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {250000, 500000}})
    ->Unit(benchmark::kMillisecond);

// Words of fifty and a hundred million octets (the trace writes them out too).
BENCHMARK(lexHostile)
    ->ArgsProduct({{5, 6}, {50000000, 100000000}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

// Entities and skips at the sizes where a quadratic step would show:
// 10^5 entities with 10^6 references, and 10^6 nested elements skipped.
BENCHMARK(lexHostile)
    ->ArgsProduct({{7, 8, 9}, {1000000, 2000000}})
    ->Unit(benchmark::kMillisecond);

} // namespace
