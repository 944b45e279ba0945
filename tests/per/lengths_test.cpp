// PER length determinants: the constrained ladder, the general form and its
// fragments, the normally small form; read back and hostile input.
#include <gtest/gtest.h>

#include "per_support.h"

namespace {

using pertest::Bytes;
using pertest::bothVariants;
using qortest::hex;

class LengthTest : public pertest::PerTest {};

struct LengthRow {
    QorULong length, lb, ub;
    unsigned char extended;
    const char *aligned, *unaligned; // the octets, a last partial one padded with 0
    QorULong items;                  // what the encoder returns
};

TEST_F(LengthTest, EncodedFormsAndReadBack)
{
    const LengthRow rows[] = {
        {5, 5, 5, 0, "", "", 5},                      // one possible size: nothing
        {3, 1, 4, 0, "80", "80", 3},                  // 2 bits
        {8, 1, 8, 0, "E0", "E0", 8},                  // 3 bits, top of the range
        {7, 0, 255, 0, "07", "07", 7},                // 256 sizes: one octet
        {10, 0, 300, 0, "00 0A", "05 00", 10},        // 9 bits unaligned
        {32768, 0, 65535, 0, "80 00", "80 00", 32768}, // 16 bits, no fragment
        {65535, 0, 65535, 0, "FF FF", "FF FF", 65535},
        {32768, 0, 65536, 0, "C2", "C2", 32768},      // no upper bound below 64K
        {5, 0, 10, 1, "05", "05", 5},                 // extended: the general form
        {0, 0, 0, 0, "00", "00", 0},
        {127, 0, 0, 0, "7F", "7F", 127},
        {128, 0, 0, 0, "80 80", "80 80", 128},
        {16383, 0, 0, 0, "BF FF", "BF FF", 16383},
        {16384, 0, 0, 0, "C1", "C1", 16384},
        {49151, 0, 0, 0, "C2", "C2", 32768},
        {70000, 0, 0, 0, "C4", "C4", 65536},
        {4464, 0, 0, 0, "91 70", "91 70", 4464},
        {0xFFFFFFFF, 0, 0, 0, "C4", "C4", 65536},
    };
    for (const LengthRow &row : rows) {
        SCOPED_TRACE(testing::Message() << row.length << " (" << row.lb << ".." << row.ub << ")");
        bothVariants([&](bool aligned) {
            QorULong items = 0, got = 0;
            unsigned char done = 9;
            expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned),
                        [&] { items = _qor_penc_length_l(&world, row.length, row.lb, row.ub, row.extended); },
                        [&] { got = _qor_pdec_length(&world, row.lb, row.extended ? 0 : row.ub, &done); });
            EXPECT_EQ(items, row.items);
            EXPECT_EQ(got, row.items);
            const bool fragment = row.items >= 16384 && (row.extended || row.ub == 0 || row.ub >= 65536);
            EXPECT_EQ(done, fragment ? 0 : 1);
        });
    }
}

// A length after one bit: the general form starts on a boundary in aligned
// PER only; the constrained form never moves to one.
TEST_F(LengthTest, AlignmentAfterABit)
{
    struct Row {
        QorULong lb, ub;
        const char *aligned, *unaligned;
    } rows[] = {
        {0, 0, "80 05", "82 80"},
        {0, 7, "D0", "D0"},          // 3 bits right after the first
        {0, 255, "80 05", "82 80"},  // 256 sizes: an aligned octet
        {0, 1000, "80 00 05", "80 A0"}, // two aligned octets, or 10 bits
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.ub);
        bothVariants([&](bool aligned) {
            unsigned char done = 0;
            QorULong got = 0, bit = 0;
            expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned), [&] {
                _qor_penc_nonneg_1int(&world, 1);
                _qor_penc_length_l(&world, 5, row.lb, row.ub, 0);
            }, [&] {
                bit = _qor_pdec_nonneg_1int(&world);
                got = _qor_pdec_length(&world, row.lb, row.ub, &done);
            });
            EXPECT_EQ(bit, 1u);
            EXPECT_EQ(got, 5u);
        });
    }
}

// The fragment rule as generated code runs it: lengths and items until none
// are left, then a zero octet if the last part was a whole fragment.
Bytes fragmented(QorULong total, const Bytes &items)
{
    Bytes out;
    size_t at = 0;
    QorULong left = total, last = 0;
    while (true) {
        last = left < 16384 ? left : (left >> 14 > 4 ? 4 : left >> 14) * 16384;
        if (left < 128)
            out.push_back(static_cast<unsigned char>(left));
        else if (left < 16384) {
            out.push_back(static_cast<unsigned char>(0x80 | left >> 8));
            out.push_back(static_cast<unsigned char>(left));
        } else
            out.push_back(static_cast<unsigned char>(0xC0 | last >> 14));
        out.insert(out.end(), items.begin() + static_cast<long>(at), items.begin() + static_cast<long>(at + last));
        at += last;
        left -= last;
        if (left == 0)
            break;
    }
    if (total >= 16384 && (last & 0x3FFF) == 0)
        out.push_back(0);
    return out;
}

TEST_F(LengthTest, FragmentsOfOctetsWrittenAndReadBack)
{
    for (QorULong total : {0u, 127u, 16383u, 16384u, 32768u, 65536u, 65537u, 70000u, 81920u, 147456u, 200000u}) {
        for (bool aligned : {true, false}) {
            SCOPED_TRACE(testing::Message() << total << (aligned ? " aligned" : " unaligned"));
            const Bytes items = qortest::pattern(total);
            Bytes out;
            ASSERT_EQ(encode(aligned, [&] {
                          QorULong left = total, at = 0, part = 0;
                          do {
                              part = _qor_penc_length_l(&world, left, 0, 0, 0);
                              _qor_append(&world, items.data() + at, part * 8, 1);
                              at += part;
                              left -= part;
                          } while (left != 0);
                          if (total >= 16384 && (part & 0x3FFF) == 0)
                              _qor_append_8bit_aligned(&world, 0);
                      }, &out), 0);
            ASSERT_EQ(out, fragmented(total, items));

            Bytes back(total + 1);
            ASSERT_EQ(decode(aligned, out, [&] {
                          unsigned char done = 0;
                          QorULong at = 0;
                          do {
                              QorULong part = _qor_pdec_length(&world, 0, 0, &done);
                              ASSERT_LE(at + part, total);
                              _qor_get_bits(&world, back.data() + at, part * 8, 1);
                              at += part;
                          } while (!done);
                          EXPECT_EQ(at, total);
                      }), 0);
            back.resize(total);
            EXPECT_EQ(back, items);
            EXPECT_EQ(bitsLeft(), 0);
        }
    }
}

struct HostileRow {
    const char *input;
    QorULong lb, ub;
    int code;         // strict
    QorULong relaxedValue; // when relaxed succeeds (code 0 in strict too means the same value)
    int relaxedCode;
    unsigned char done;
};

TEST_F(LengthTest, HostileAndLenientInput)
{
    const HostileRow rows[] = {
        {"80 05", 0, 0, pertest::kMisencodedCode, 5, 0, 1},    // two octets for a short length
        {"80 7F", 0, 0, pertest::kMisencodedCode, 127, 0, 1},
        {"80 80", 0, 0, 0, 128, 0, 1},
        {"C0", 0, 0, pertest::kMisencodedCode, 0, 0, 1},       // a fragment of nothing
        {"C7", 0, 0, 0, 114688, 0, 0},                         // accepted on purpose
        {"FC", 0, 0, 0, 65536, 0, 0},                          // bits 3 to 5 not looked at
        {"C4", 0, 70000, 0, 65536, 0, 0},                      // ub 65536 and above: general
        {"", 0, 0, pertest::kEndOfInputCode, 0, pertest::kEndOfInputCode, 0},
        {"81", 0, 0, pertest::kEndOfInputCode, 0, pertest::kEndOfInputCode, 0},
        {"C0", 1, 4, 0, 4, 0, 1},                              // 3 in 2 bits, plus lb
        {"E0", 1, 5, 0, 8, 0, 1},                              // above ub: the caller bounds it
        {"01", 0, 1000, pertest::kEndOfInputCode, 0, pertest::kEndOfInputCode, 0},
    };
    for (const HostileRow &row : rows) {
        unsigned char done = 9;
        QorULong got = 0;
        expectLenience(row.input, row.code, row.relaxedCode, [&] { got = _qor_pdec_length(&world, row.lb, row.ub, &done); },
                       [&] {
                           EXPECT_EQ(got, row.relaxedValue);
                           EXPECT_EQ(done, row.done);
                       });
    }
}

} // namespace
