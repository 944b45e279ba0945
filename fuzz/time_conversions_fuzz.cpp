// Any text through the application's time conversions that read text:
// GeneralizedTime and UTCTime to integers under lenient and canonical rules,
// both to calendar time, and every XML Schema form. None raises; each gives
// 0 or 12 (6 for nothing), and what one reads is written back and read again
// as the same integers.
#include <cstdint>
#include <cstring>
#include <string>

#include "qorapi.h"

namespace {

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

void classicTimes(QorGlobal *world, const char *text)
{
    for (int rules : {QOR_BER, QOR_DER}) {
        world->encRules = rules;
        int y, mo, d, h, mi, s, f, zone;
        short p;
        int code = qorGeneralizedTimeToInts(world, text, &y, &mo, &d, &h, &mi, &s, &f, &p, &zone);
        check(code == 0 || code == QOR_BAD_TIME);
        if (code == 0 && p <= 18) {
            char out[64];
            if (qorIntsToGeneralizedTime(world, y, mo, d, h, mi, s, f, p, zone, out) == 0) {
                int v[8];
                short q;
                check(qorGeneralizedTimeToInts(world, out, &v[0], &v[1], &v[2], &v[3], &v[4],
                                               &v[5], &v[6], &q, &v[7]) == 0);
                check(v[0] == y && v[3] == h && v[4] == mi && v[5] == s && v[7] == zone);
            }
        }
        code = qorUTCTimeToInts(world, text, &y, &mo, &d, &h, &mi, &s, &zone);
        check(code == 0 || code == QOR_BAD_TIME);
    }
    world->encRules = QOR_BER;
    int64_t calendar = 0;
    for (int utc = 0; utc < 2; utc++) {
        const int code = utc != 0 ? qorUTCTimeStringToCalTime(world, text, &calendar)
                                  : qorGenTimeStringToCalTime(world, text, &calendar);
        check(code == 0 || code == QOR_BAD_TIME);
        if (code != 0)
            continue;
        check(calendar >= 0 && calendar <= INT32_MAX);
        char *out = nullptr;
        if (qorCalTimeToGenTimeString(world, calendar, 0, &out) == 0) {
            int64_t again = -1;
            check(qorGenTimeStringToCalTime(world, out, &again) == 0 && again == calendar);
        }
        qorFreeMemory(world, out);
    }
}

void schemaForms(QorGlobal *world, const char *text)
{
    int a, b, c, d, e, f, g, tz, n;
    const char *digits;
    const int codes[] = {
        qorDateToInts(world, text, &a, &b, &c, &tz),
        qorTimeToInts(world, text, &a, &b, &c, &digits, &n, &tz),
        qorDateTimeToInts(world, text, &a, &b, &c, &d, &e, &f, &digits, &n, &tz),
        qorGYearToInts(world, text, &a, &tz),
        qorGYearMonthToInts(world, text, &a, &b, &tz),
        qorGMonthToInts(world, text, &a, &tz),
        qorGMonthDayToInts(world, text, &a, &b, &tz),
        qorGDayToInts(world, text, &a, &tz),
        qorDurationToInts(world, text, &a, &b, &c, &d, &e, &f, &g, &digits, &n),
    };
    for (int code : codes)
        check(code == 0 || code == QOR_BAD_TIME);
    if (codes[8] == 0) {
        char *out = nullptr;
        check(qorIntsToDuration(world, a, b, c, d, e, f, g, digits, n, &out) == 0);
        int v[7], m;
        const char *again;
        check(qorDurationToInts(world, out, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6],
                                &again, &m) == 0);
        check(v[1] == b && v[2] == c && v[3] == d && v[4] == e && v[5] == f && v[6] == g &&
              m == n);
        qorFreeBuf(world, out);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QorGlobal world;
    static bool ready = false;
    if (!ready) {
        check(qorbriefinit(&world) == 0);
        ready = true;
    }
    const std::string input(reinterpret_cast<const char *>(data), size);
    classicTimes(&world, input.c_str());
    schemaForms(&world, input.c_str());
    return 0;
}
