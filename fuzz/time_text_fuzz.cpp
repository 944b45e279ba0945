// Any text through both TIME grammars. The working record's grammar raises,
// so it runs in a call's frame and may end only in 0, 10 (a number past 32
// bits) or 12. The public conversions' grammar raises nothing; what it reads
// in any kind must be written back, read again as the same records, and have
// a canonical form that reads back and is its own canonical form.
#include <cstdint>
#include <cstring>
#include <string>

#include "frame/call.h"
#include "time/iso_time.h"

namespace {

void check(bool ok)
{
    if (!ok)
        __builtin_trap();
}

struct WorkingCall {
    const char *text;
    QorDateTimeValue value;
};

int readWorking(QorGlobal *world, void *call)
{
    auto *c = static_cast<WorkingCall *>(call);
    return _qorGetDateTimeValue(world, c->text, &c->value);
}

std::string written(const qor::IsoTime &time, bool canonical)
{
    std::string out(qor::writeIsoTime(time, canonical, nullptr, 0), '\0');
    check(qor::writeIsoTime(time, canonical, out.data(), out.size()) == out.size());
    return out;
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
    const char *text = input.c_str(); // up to the first NUL, if any

    WorkingCall call{text, {}};
    const int code = qor::runCall(&world, false, {readWorking, nullptr}, &call);
    check(code == 0 || code == QOR_LIMITED || code == QOR_BAD_TIME);

    const int shape = qorGetTimeKind(&world, text);
    for (int kind = 0; kind < qor::kNoTimeKind; kind++) {
        qor::IsoTime time, back;
        if (!qor::parseIsoTime(text, kind, &time))
            continue;
        // A fraction of more digits than any record keeps is refused.
        const std::string plain = written(time, false);
        check(!plain.empty() || strlen(text) > 0xFFFF);
        if (plain.empty())
            continue;
        check(qor::parseIsoTime(plain.c_str(), kind, &back));
        check(written(back, false) == plain);
        const std::string canonical = written(time, true);
        check(qor::parseIsoTime(canonical.c_str(), kind, &back));
        check(written(back, true) == canonical);
        if (kind == shape) {
            check(qorGetTimeKind(&world, plain.c_str()) == kind);
            check(_qor_cmp_date_time(&world, text, plain.c_str()) == 0);
            check(_qor_cmp_date_time(&world, text, canonical.c_str()) == 0);
            char area[128];
            const size_t length = qor::canonicalTime(text, area, sizeof area);
            check(length == canonical.size() &&
                  (length > sizeof area || memcmp(area, canonical.data(), length) == 0));
        }
    }
    return 0;
}
