// The normally small length, whose decoder is the family's own: written by
// the exported encoder, read back by the internal reader.
#include <gtest/gtest.h>

#include "per/per.h"
#include "per_support.h"

namespace {

using pertest::Bytes;
using qortest::hex;

class SmallLengthTest : public pertest::PerTest {};

TEST_F(SmallLengthTest, NormallySmallLength)
{
    struct Row {
        QorULong value;
        const char *aligned, *unaligned;
    } rows[] = {
        {1, "00", "00"},
        {64, "7E", "7E"},
        {65, "80 41", "A0 80"},
        {200, "80 80 C8", "C0 64 00"},
        {16384, "80 C1", "E0 80"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.value);
        pertest::bothVariants([&](bool aligned) {
            QorULong items = 0, got = 0;
            unsigned char done = 0;
            expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned),
                        [&] { items = _qor_penc_small_len_l(&world, row.value); },
                        [&] { got = qor::decodeSmallLength(&world, &done); });
            EXPECT_EQ(items, row.value);
            EXPECT_EQ(got, row.value);
            EXPECT_EQ(done, row.value >= 16384 ? 0 : 1); // a whole fragment: more follow
        });
    }
}

} // namespace
