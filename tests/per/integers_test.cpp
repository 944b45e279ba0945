// PER whole numbers: each form in both variants against octets worked out
// by hand (X.691's examples and asn1c's output), read back, sized, cut
// short at every octet, and hostile forms.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "per_support.h"

namespace {

using pertest::Bytes;
using pertest::bothVariants;
using qortest::hex;

enum Form {
    kUnconstr32,
    kUnconstr64,
    kSemicon32, // lb, min, max
    kSemicon64,
    kIndef32, // maxOctets in `width`
    kIndef64,
    kField32, // `width` bits, lb, ub in min and max
    kField64,
    kSmall,
    kExtensible, // (0..7, ...): an extension bit, 3 bits or unconstrained
};

struct Row {
    Form form;
    int64_t value, lb, min, max;
    uint64_t width;
    const char *aligned, *unaligned;
};

constexpr int64_t kMaxU32 = 0xFFFFFFFF;

void encodeRow(QorGlobal *w, const Row &r)
{
    switch (r.form) {
    case kUnconstr32: _qor_penc_unconstr_int_l(w, static_cast<QorLong>(r.value)); break;
    case kUnconstr64: _qor_penc_unconstr_int(w, r.value); break;
    case kSemicon32: _qor_penc_semicon_int_l(w, static_cast<QorLong>(r.value), static_cast<QorLong>(r.lb)); break;
    case kSemicon64: _qor_penc_semicon_int(w, r.value, r.lb); break;
    case kIndef32:
        _qor_penc_indeflen_int_l(w, static_cast<QorULong>(r.value - r.lb), static_cast<QorULong>(r.width));
        break;
    case kIndef64: _qor_penc_indeflen_int(w, static_cast<uint64_t>(r.value) - static_cast<uint64_t>(r.lb), r.width); break;
    case kField32:
        _qor_penc_nonneg_int_l(w, static_cast<QorULong>(r.value - r.lb), static_cast<QorULong>(r.width));
        break;
    case kField64: _qor_penc_nonneg_int(w, static_cast<uint64_t>(r.value) - static_cast<uint64_t>(r.lb), r.width); break;
    case kSmall: _qor_penc_small_int_l(w, static_cast<QorULong>(r.value)); break;
    case kExtensible:
        if (r.value >= 0 && r.value <= 7) {
            _qor_penc_nonneg_1int(w, 0);
            _qor_penc_nonneg_3int(w, static_cast<QorULong>(r.value));
        } else {
            _qor_penc_nonneg_1int(w, 1);
            _qor_penc_unconstr_int_l(w, static_cast<QorLong>(r.value));
        }
        break;
    }
}

int64_t decodeRow(QorGlobal *w, const Row &r)
{
    const auto lb = static_cast<QorLong>(r.lb), min = static_cast<QorLong>(r.min), max = static_cast<QorLong>(r.max);
    switch (r.form) {
    case kUnconstr32: return _qor_pdec_unconstr_limited_int_l(w, min, max);
    case kUnconstr64: return _qor_pdec_unconstr_limited_int(w, r.min, r.max);
    case kSemicon32: return _qor_pdec_semicon_limited_int_l(w, lb, min, max);
    case kSemicon64: return _qor_pdec_semicon_limited_int(w, r.lb, r.min, r.max);
    case kIndef32: return _qor_pdec_indeflen_limited_int_l(w, static_cast<QorULong>(r.width), lb, min, max);
    case kIndef64: return _qor_pdec_indeflen_limited_int(w, r.width, r.lb, r.min, r.max);
    case kField32:
        return r.lb + _qor_pdec_nonneg_limited_int_l(w, static_cast<QorULong>(r.width), lb, max);
    case kField64:
        return static_cast<int64_t>(static_cast<uint64_t>(r.lb) +
                                    _qor_pdec_nonneg_limited_int(w, r.width, r.lb, r.max));
    case kSmall: return _qor_pdec_small_int_l(w);
    case kExtensible:
        if (_qor_pdec_nonneg_1int(w) == 0)
            return _qor_pdec_nonneg_limited_int_l(w, 3, 0, 7);
        return _qor_pdec_unconstr_limited_int_l(w, INT32_MIN, INT32_MAX);
    }
    return 0;
}

// Whether a decoded 32-bit result stands for `value`: unsigned types come
// back in the same bits.
bool sameValue(const Row &r, int64_t got)
{
    switch (r.form) {
    case kUnconstr64: case kSemicon64: case kIndef64: case kField64: return got == r.value;
    default: return static_cast<uint32_t>(got) == static_cast<uint32_t>(r.value);
    }
}

class IntegerTest : public pertest::PerTest {};

TEST_F(IntegerTest, EncodedFormsReadBackAndCutShort)
{
    const Row rows[] = {
        {kUnconstr32, 128, 0, INT32_MIN, INT32_MAX, 0, "02 00 80", "02 00 80"},
        {kUnconstr32, -129, 0, INT32_MIN, INT32_MAX, 0, "02 FF 7F", "02 FF 7F"},
        {kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "01 00", "01 00"},
        {kUnconstr32, 127, 0, INT32_MIN, INT32_MAX, 0, "01 7F", "01 7F"},
        {kUnconstr32, -128, 0, INT32_MIN, INT32_MAX, 0, "01 80", "01 80"},
        {kUnconstr32, INT32_MIN, 0, INT32_MIN, INT32_MAX, 0, "04 80 00 00 00", "04 80 00 00 00"},
        {kUnconstr32, INT32_MAX, 0, INT32_MIN, INT32_MAX, 0, "04 7F FF FF FF", "04 7F FF FF FF"},
        {kUnconstr64, INT64_MIN, 0, INT64_MIN, INT64_MAX, 0, "08 80 00 00 00 00 00 00 00",
         "08 80 00 00 00 00 00 00 00"},
        {kUnconstr64, 0x8000000000, 0, INT64_MIN, INT64_MAX, 0, "06 00 80 00 00 00 00", "06 00 80 00 00 00 00"},
        {kSemicon32, 128, 0, 0, kMaxU32, 0, "01 80", "01 80"},
        {kSemicon32, 1000, -100, -100, INT32_MAX, 0, "02 04 4C", "02 04 4C"},
        {kSemicon32, 0, 0, 0, kMaxU32, 0, "01 00", "01 00"},
        {kSemicon32, kMaxU32, 0, 0, kMaxU32, 0, "04 FF FF FF FF", "04 FF FF FF FF"},
        {kSemicon64, -1, INT64_MIN, INT64_MIN, INT64_MAX, 0, "08 7F FF FF FF FF FF FF FF",
         "08 7F FF FF FF FF FF FF FF"},
        {kSemicon64, -1, 0, 0, -1, 0, "08 FF FF FF FF FF FF FF FF", "08 FF FF FF FF FF FF FF FF"},
        {kIndef32, 256, 0, 0, kMaxU32, 4, "40 01 00", "40 40 00"},
        {kIndef32, kMaxU32, 0, 0, kMaxU32, 4, "C0 FF FF FF FF", "FF FF FF FF C0"},
        {kIndef32, 0, 0, 0, kMaxU32, 4, "00 00", "00 00"},
        {kIndef32, 5, -5, -5, 100000, 3, "00 0A", "02 80"},
        {kIndef64, 0x10000000000, 0, 0, -1, 8, "A0 01 00 00 00 00 00", "A0 20 00 00 00 00 00"},
        {kIndef64, 300, 0, 0, -1, 4, "40 01 2C", "40 4B 00"}, // two bits for up to four octets
        // The whole of int64_t: up to eight octets, counted in three bits.
        {kIndef64, -2, INT64_MIN, INT64_MIN, INT64_MAX, 8, "E0 7F FF FF FF FF FF FF FE",
         "EF FF FF FF FF FF FF FF C0"},
        {kIndef64, INT64_MIN, INT64_MIN, INT64_MIN, INT64_MAX, 8, "00 00", "00 00"},
        {kIndef64, INT64_MAX, INT64_MIN, INT64_MIN, INT64_MAX, 8, "E0 FF FF FF FF FF FF FF FF",
         "FF FF FF FF FF FF FF FF E0"},
        {kField32, 256, 0, 0, kMaxU32, 32, "00 00 01 00", "00 00 01 00"},
        {kField32, 70000, 0, 0, 65536 * 2, 17, "88 B8 00", "88 B8 00"},
        {kField32, 5, 3, 3, 10, 3, "40", "40"},
        {kField64, -2, INT64_MIN, INT64_MIN, INT64_MAX, 64, "7F FF FF FF FF FF FF FE",
         "7F FF FF FF FF FF FF FE"},
        {kField64, 5, 0, 0, 7, 40, "00 00 00 00 05", "00 00 00 00 05"},
        {kSmall, 5, 0, 0, 0, 0, "0A", "0A"},
        {kSmall, 63, 0, 0, 0, 0, "7E", "7E"},
        {kSmall, 64, 0, 0, 0, 0, "80 01 40", "80 A0 00"},
        {kSmall, 1000, 0, 0, 0, 0, "80 02 03 E8", "81 01 F4 00"},
        {kExtensible, 8, 0, 0, 0, 0, "80 01 08", "80 84 00"},
        {kExtensible, 5, 0, 0, 0, 0, "50", "50"},
        {kExtensible, -1, 0, 0, 0, 0, "80 01 FF", "80 FF 80"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << "form " << row.form << " value " << row.value);
        bothVariants([&](bool aligned) {
            int64_t got = 0;
            expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned), [&] { encodeRow(&world, row); },
                        [&] { got = decodeRow(&world, row); });
            EXPECT_TRUE(sameValue(row, got)) << got;
        });
    }
}

struct HostileRow {
    Row row; // value unused; the aligned column is the input
    int strict, relaxed; // codes
    int64_t value;       // when relaxed succeeds
};

TEST_F(IntegerTest, HostileForms)
{
    const int kBad = pertest::kMisencodedCode, kTooBig = pertest::kOutOfBoundsCode;
    const HostileRow rows[] = {
        {{kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "02 00 01", ""}, kBad, 0, 1},
        {{kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "02 FF FF", ""}, 0, 0, -1}, // passes on purpose
        {{kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "02 00 80", ""}, 0, 0, 128},
        {{kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "00", ""}, 0, 0, 0},
        {{kUnconstr32, 0, 0, INT32_MIN, INT32_MAX, 0, "05 00 00 00 00 01", ""}, kTooBig, kTooBig, 0},
        {{kUnconstr64, 0, 0, INT64_MIN, INT64_MAX, 0, "09 00 00 00 00 00 00 00 00 01", ""}, kTooBig, kTooBig, 0},
        {{kUnconstr32, 0, 0, -10, 10, 0, "01 F5", ""}, kTooBig, kTooBig, 0},
        {{kUnconstr32, 0, 0, 0, 200, 0, "01 FF", ""}, kTooBig, kTooBig, 0}, // min 0: unsigned
        {{kSemicon32, 0, 0, 0, kMaxU32, 0, "05 00 00 00 00 01", ""}, kTooBig, kTooBig, 0},
        {{kSemicon32, 0, 0, 0, kMaxU32, 0, "02 00 05", ""}, kBad, 0, 5},
        {{kSemicon32, 0, 7, 7, 100, 0, "00", ""}, 0, 0, 7}, // no octets: the lower bound
        {{kSemicon32, 0, 0, 0, 100, 0, "01 65", ""}, kTooBig, kTooBig, 0},
        {{kSemicon32, 0, 5, 0, kMaxU32, 0, "04 FF FF FF FF", ""}, kTooBig, kTooBig, 0}, // wraps past 2^32
        {{kSemicon32, 0, -100, -100, INT32_MAX, 0, "04 FF FF FF FF", ""}, kTooBig, kTooBig, 0},
        {{kSemicon64, 0, -100, -100, INT64_MAX, 0, "08 FF FF FF FF FF FF FF FF", ""}, kTooBig, kTooBig, 0},
        {{kSemicon64, 0, 0, 0, -1, 0, "09 00 00 00 00 00 00 00 00 01", ""}, kTooBig, kTooBig, 0},
        {{kIndef32, 0, 0, 0, kMaxU32, 4, "40 00 05", ""}, kBad, 0, 5},
        {{kIndef32, 0, 0, 0, kMaxU32, 4, "40 00 00", ""}, kBad, 0, 0},
        {{kIndef32, 0, -5, -5, 5, 4, "00 0B", ""}, kTooBig, kTooBig, 0},
        {{kIndef32, 0, 0, 0, 100000, 4, "80 01 86 A1", ""}, kTooBig, kTooBig, 0},
        {{kIndef32, 0, 0, 0, kMaxU32, 5, "80 00 00 00 00 01", ""}, kTooBig, kTooBig, 0}, // 5 octets
        {{kIndef64, 0, 2, 0, -1, 8, "E0 FF FF FF FF FF FF FF FF", ""}, kTooBig, kTooBig, 0}, // wraps
        {{kField32, 0, 0, 0, 5, 3, "E0", ""}, kTooBig, kTooBig, 0},
        {{kField64, 0, 10, 10, 20, 8, "0B", ""}, kTooBig, kTooBig, 0},
        {{kSmall, 0, 0, 0, 0, 0, "80 05 00 00 00 00 01", ""}, kTooBig, kTooBig, 0},
    };
    for (const HostileRow &h : rows) {
        int64_t got = 0;
        expectLenience(h.row.aligned, h.strict, h.relaxed, [&] { got = decodeRow(&world, h.row); },
                       [&] { EXPECT_EQ(got, h.value); });
    }
}

// Any non-zero value makes a 1 bit; the other narrow fields keep their low bits.
TEST_F(IntegerTest, NarrowFieldsAreRightJustified)
{
    using Put = void (*)(QorGlobal *, QorULong);
    using Get = QorULong (*)(QorGlobal *);
    const Put puts[8] = {_qor_penc_nonneg_1int, _qor_penc_nonneg_2int, _qor_penc_nonneg_3int, _qor_penc_nonneg_4int,
                         _qor_penc_nonneg_5int, _qor_penc_nonneg_6int, _qor_penc_nonneg_7int, _qor_penc_nonneg_8int};
    const Get gets[8] = {_qor_pdec_nonneg_1int, _qor_pdec_nonneg_2int, _qor_pdec_nonneg_3int, _qor_pdec_nonneg_4int,
                         _qor_pdec_nonneg_5int, _qor_pdec_nonneg_6int, _qor_pdec_nonneg_7int, _qor_pdec_nonneg_8int};
    for (unsigned n = 1; n <= 8; n++) {
        for (unsigned lead = 0; lead < 8; lead++) {
            SCOPED_TRACE(testing::Message() << n << " bits after " << lead);
            const QorULong value = (n == 1 ? 1u : (1u << n) - 2u);
            Bytes out;
            ASSERT_EQ(encode(true, [&] {
                          _qor_penc_nonneg_int_l(&world, (1u << lead) - 1, lead);
                          puts[n - 1](&world, n == 1 ? 0x1234 : value);
                          _qor_penc_nonneg_1int(&world, 1);
                      }, &out), 0);
            // `lead` ones, the value, a one.
            std::vector<int> bits(lead, 1);
            pertest::appendBits(bits, value, n);
            bits.push_back(1);
            EXPECT_EQ(out, pertest::packBits(bits));
            QorULong got = 0, last = 0;
            ASSERT_EQ(decode(false, out, [&] {
                          _qor_pdec_nonneg_int_l(&world, lead);
                          got = gets[n - 1](&world);
                          last = _qor_pdec_nonneg_1int(&world);
                      }), 0);
            EXPECT_EQ(got, value);
            EXPECT_EQ(last, 1u);
        }
    }
}

} // namespace
