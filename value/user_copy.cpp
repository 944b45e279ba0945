// Helpers for applications that build values by hand: each makes one cell or
// record from the context's allocator and fills it. None is used by the
// copier. A helper that runs out of memory gives back what it took and
// returns null.
#include <cstring>

#include "frame/world.h"

namespace {

// A count followed by its data, as generated code lays out unbounded values.
struct Counted {
    QorULong length;
    void *value;
};

// The record of a CONTAINING bit or octet string: the encoding and the value.
struct Containing {
    QorULong length;
    unsigned char *encoded;
    void *decoded;
};

void *take(QorGlobal *world, uint64_t size, bool clear)
{
    if (size == 0 || size > INT32_MAX)
        return nullptr;
    return clear ? qorGetInitializedMemory(world, static_cast<QorLong>(size))
                 : qorGetMemory(world, static_cast<QorLong>(size));
}

template <class T> T *cell(QorGlobal *world, T value)
{
    auto *p = static_cast<T *>(take(world, sizeof(T), false));
    if (p != nullptr)
        memcpy(p, &value, sizeof value);
    return p;
}

// Where a record keeps the count and the pointer of its data.
struct Pair {
    size_t recordSize;
    size_t lengthAt;
    size_t valueAt;
};
constexpr Pair kCounted = {sizeof(Counted), offsetof(Counted, length), offsetof(Counted, value)};
constexpr Pair kContaining = {sizeof(Containing), offsetof(Containing, length),
                              offsetof(Containing, encoded)};

// A cleared record with `count` and a copy of `bytes` octets, of which
// `readBytes` are read from `data` and the rest cleared, and a terminating
// zero behind them when asked. No octets: a null pointer.
void *counted(QorGlobal *world, const void *data, QorULong count, uint64_t bytes,
              uint64_t readBytes, const Pair &pair, bool terminate = false)
{
    if (data == nullptr && readBytes != 0)
        return nullptr;
    auto *record = static_cast<unsigned char *>(take(world, pair.recordSize, true));
    if (record == nullptr)
        return nullptr;
    memcpy(record + pair.lengthAt, &count, sizeof count);
    if (bytes != 0) {
        const uint64_t size = bytes + (terminate ? 1 : 0);
        auto *copy = static_cast<unsigned char *>(take(world, size, false));
        if (copy == nullptr) {
            qorFreeMemory(world, record);
            return nullptr;
        }
        if (readBytes != 0)
            memcpy(copy, data, readBytes);
        memset(copy + readBytes, 0, size - readBytes);
        memcpy(record + pair.valueAt, &copy, sizeof copy);
    }
    return record;
}

void *countedRecord(QorGlobal *world, const void *data, QorULong count, uint64_t bytes)
{
    return counted(world, data, count, bytes, bytes, kCounted);
}

// A cleared record of `recordSize` whose word at `at` receives a copy of
// `value` by the copy service, in the library's memory.
unsigned char *withDecodedCopy(QorGlobal *world, void *value, int pdunum, size_t recordSize,
                               size_t at)
{
    if (at + sizeof(void *) > recordSize)
        return nullptr;
    auto *record = static_cast<unsigned char *>(take(world, recordSize, true));
    if (record == nullptr)
        return nullptr;
    void *copy = nullptr;
    if (qorCpyValue(world, pdunum, value, &copy) != 0) {
        qorFreeMemory(world, record);
        return nullptr;
    }
    memcpy(record + at, &copy, sizeof copy);
    return record;
}

// A time record from GeneralizedTime or UTCTime text, through the
// conversions: the fraction's digits scaled to milliseconds; a difference
// of 1, which is how the conversions report "Z", sets `utc`. The record is
// written only when the text converts. Returns 0 or the conversion's code.
int setTime(QorGlobal *world, GeneralizedTime *record, const char *text, bool utcTime)
{
    short year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, precision = 0;
    int fraction = 0, mindiff = 0;
    const int code = utcTime ? qorUTCTimeToShorts(world, text, &year, &month, &day, &hour, &minute,
                                                  &second, &mindiff)
                             : qorGeneralizedTimeToShorts(world, text, &year, &month, &day, &hour,
                                                          &minute, &second, &fraction, &precision,
                                                          &mindiff);
    if (code != 0)
        return code;
    int64_t millisec = fraction;
    for (int p = precision; p < 3; p++)
        millisec *= 10;
    for (int p = precision; p > 3; p--)
        millisec /= 10;
    *record = GeneralizedTime{};
    record->year = year;
    record->month = month;
    record->day = day;
    record->hour = hour;
    record->minute = minute;
    record->second = second;
    record->millisec = static_cast<int16_t>(utcTime ? 0 : millisec);
    record->utc = mindiff == 1 ? 1 : 0;
    record->mindiff = static_cast<int16_t>(mindiff == 1 ? 0 : mindiff);
    return 0;
}

GeneralizedTime *newTime(QorGlobal *world, const char *text, bool utcTime)
{
    auto *record = static_cast<GeneralizedTime *>(take(world, sizeof(GeneralizedTime), true));
    if (record != nullptr && setTime(world, record, text, utcTime) != 0) {
        qorFreeMemory(world, record);
        return nullptr;
    }
    return record;
}

} // namespace

extern "C" {

int qor__GeneralizedTime_setv_nullterm(QorGlobal *world, GeneralizedTime *record, const char *text)
{
    return setTime(world, record, text, false);
}

int qor__UTCTime_setv_nullterm(QorGlobal *world, GeneralizedTime *record, const char *text)
{
    return setTime(world, record, text, true);
}

GeneralizedTime *qor__GeneralizedTime_copy_nullterm(QorGlobal *world, const char *text)
{
    return newTime(world, text, false);
}

GeneralizedTime *qor__UTCTime_copy_nullterm(QorGlobal *world, const char *text)
{
    return newTime(world, text, true);
}

int *qor__Int_copy(QorGlobal *world, int value)
{
    return cell(world, value);
}
QorLong *qor__Long_copy(QorGlobal *world, QorLong value)
{
    return cell(world, value);
}
unsigned int *qor__UInt_copy(QorGlobal *world, unsigned int value)
{
    return cell(world, value);
}
QorULong *qor__ULong_copy(QorGlobal *world, QorULong value)
{
    return cell(world, value);
}
void **qor__Ptr_copy(QorGlobal *world, void *value)
{
    return cell(world, value);
}
int64_t *qor__LongLong_copy(QorGlobal *world, int64_t value)
{
    return cell(world, value);
}
uint64_t *qor__ULongLong_copy(QorGlobal *world, uint64_t value)
{
    return cell(world, value);
}
char *qor__Bool_copy(QorGlobal *world, char value)
{
    return cell(world, value);
}
char *qor__Char_copy(QorGlobal *world, char value)
{
    return cell(world, value);
}
unsigned char *qor__UChar_copy(QorGlobal *world, unsigned char value)
{
    return cell(world, value);
}
float *qor__Float_copy(QorGlobal *world, float value)
{
    return cell(world, value);
}
double *qor__Double_copy(QorGlobal *world, double value)
{
    return cell(world, value);
}

char *qor__CharStr_new(QorGlobal *world, QorULong size)
{
    auto *text = static_cast<char *>(take(world, uint64_t{size} + 1, false));
    if (text != nullptr)
        text[0] = '\0';
    return text;
}

char *qor__CharStr_copy(QorGlobal *world, const char *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t size = strlen(text) + 1;
    auto *copy = static_cast<char *>(take(world, size, false));
    if (copy != nullptr)
        memcpy(copy, text, size);
    return copy;
}

void *qor__UnbCharString_copy(QorGlobal *world, const char *data, QorULong length)
{
    return counted(world, data, length, length, length, kCounted, true);
}

// An empty text still gets its terminator, so the pointer is never null.
void *qor__UnbCharString_copy_nullterm(QorGlobal *world, const char *text)
{
    if (text == nullptr)
        return nullptr;
    const size_t length = strlen(text);
    auto *record = static_cast<Counted *>(
        counted(world, text, static_cast<QorULong>(length), length, length, kCounted, true));
    if (record != nullptr && length == 0) {
        record->value = take(world, 1, true);
        if (record->value == nullptr) {
            qorFreeMemory(world, record);
            return nullptr;
        }
    }
    return record;
}

void *qor__BmpString_copy(QorGlobal *world, const uint16_t *data, QorULong count)
{
    return countedRecord(world, data, count, uint64_t{count} * 2);
}

void *qor__UnivString_copy(QorGlobal *world, const QorULong *data, QorULong count)
{
    return countedRecord(world, data, count, uint64_t{count} * 4);
}

// One octet more than the bits need when they fill whole octets, as
// applications of older releases expect; only the octets that hold bits
// are read.
void *qor__UnbBitStr_copy(QorGlobal *world, const unsigned char *data, QorULong bits)
{
    return counted(world, data, bits, uint64_t{bits} / 8 + 1, (uint64_t{bits} + 7) / 8, kCounted);
}

void *qor__UnbSeqOf_new(QorGlobal *world, QorULong count, QorULong size, int clear)
{
    auto *record = static_cast<Counted *>(take(world, sizeof(Counted), true));
    if (record == nullptr)
        return nullptr;
    record->length = count;
    const uint64_t bytes = uint64_t{count} * size;
    if (bytes != 0) {
        record->value = take(world, bytes, clear != 0);
        if (record->value == nullptr) {
            qorFreeMemory(world, record);
            return nullptr;
        }
    }
    return record;
}

void *qor__UnbSeqOf_copy(QorGlobal *world, const void *data, QorULong count, QorULong size)
{
    return countedRecord(world, data, count, uint64_t{count} * size);
}

void *qor__OpenType_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length,
                                 QorULong recordSize)
{
    if (recordSize < sizeof(QorOpenType))
        return nullptr;
    const Pair pair = {recordSize, offsetof(QorOpenType, length), offsetof(QorOpenType, encoded)};
    return counted(world, data, length, length, length, pair);
}

void *qor__BitStrCC_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong bits)
{
    const uint64_t bytes = (uint64_t{bits} + 7) / 8;
    return counted(world, data, bits, bytes, bytes, kContaining);
}

void *qor__OctStrCC_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length)
{
    return counted(world, data, length, length, length, kContaining);
}

void *qor__OpenType_copy_decoded(QorGlobal *world, void *value, int pdunum, QorULong recordSize)
{
    if (recordSize < sizeof(QorOpenType))
        return nullptr;
    unsigned char *record =
        withDecodedCopy(world, value, pdunum, recordSize, offsetof(QorOpenType, decoded));
    if (record != nullptr)
        memcpy(record, &pdunum, sizeof pdunum);
    return record;
}

void *qor__CC_copy_decoded(QorGlobal *world, void *value, int pdunum)
{
    return withDecodedCopy(world, value, pdunum, sizeof(Containing), offsetof(Containing, decoded));
}

void *qor__NewOpenType_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length,
                                    QorULong recordSize, QorULong offset)
{
    if (uint64_t{offset} + sizeof(QorNewOpenType) > recordSize)
        return nullptr;
    const Pair pair = {recordSize, offset + offsetof(QorNewOpenType, length),
                       offset + offsetof(QorNewOpenType, encoded)};
    return counted(world, data, length, length, length, pair);
}

void *qor__NewOpenType_copy_decoded(QorGlobal *world, void *value, int pdunum, QorULong recordSize,
                                    int width, QorULong offset)
{
    if ((width != 1 && width != 2 && width != 4) || uint64_t{offset} < uint64_t(width))
        return nullptr;
    unsigned char *record = withDecodedCopy(world, value, pdunum, recordSize, offset);
    if (record == nullptr)
        return nullptr;
    if (width == 1) {
        auto n = static_cast<int8_t>(pdunum);
        memcpy(record, &n, sizeof n);
    } else if (width == 2) {
        auto n = static_cast<int16_t>(pdunum);
        memcpy(record, &n, sizeof n);
    } else {
        memcpy(record, &pdunum, sizeof pdunum);
    }
    return record;
}

} // extern "C"
