// ENUMERATED in PER: root indexes in every width, additions as normally
// small indexes, values unknown to the schema through the base, and indexes
// out of range.
#include <gtest/gtest.h>

#include <vector>

#include "per_support.h"

namespace {

using pertest::Bytes;
using pertest::bothVariants;
using qortest::hex;

class EnumTest : public pertest::PerTest {};

// { a, b, c, ..., d, e }, with the additions' base -1.
const QorLong kRoot[] = {0, 1, 2};
const QorLong kAdditions[] = {3, 4, -1};
const QorEnumTable kRootTable = {3, kRoot};
const QorEnumTable kExtTable = {3, kAdditions};

TEST_F(EnumTest, ExtensibleTypeBothVariants)
{
    struct Row {
        QorLong value;
        const char *aligned, *unaligned;
    } rows[] = {
        {0, "00", "00"}, {2, "40", "40"}, {3, "80", "80"}, {4, "81", "81"},
        {-3, "82", "82"},                // unknown here: index 2 from the base
        {-101, "C0 01 64", "C0 59 00"}, // index 100: a normally small number of octets
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.value);
        bothVariants([&](bool aligned) {
            QorLong got = 0;
            expectCoded(aligned, hex(aligned ? row.aligned : row.unaligned),
                        [&] { _qor_penc_enum(&world, row.value, &kRootTable, &kExtTable); },
                        [&] { got = _qor_pdec_enum(&world, &kRootTable, &kExtTable); });
            EXPECT_EQ(got, row.value);
        });
    }
    // Decoded additions past what this version knows come back through the base.
    QorLong got = 0;
    ASSERT_EQ(decode(true, hex("85"), [&] { got = _qor_pdec_enum(&world, &kRootTable, &kExtTable); }), 0);
    EXPECT_EQ(got, -6);
}

TEST_F(EnumTest, RootWidths)
{
    for (QorULong count : {1u, 2u, 3u, 128u, 129u, 255u, 256u, 257u, 1000u, 65536u}) {
        std::vector<QorLong> values(count);
        for (QorULong i = 0; i < count; i++)
            values[i] = static_cast<QorLong>(i * 7) - 5;
        const QorEnumTable root = {count, values.data()};
        const QorULong last = count - 1;
        for (bool extensible : {false, true}) {
            const QorEnumTable *ext = extensible ? &kExtTable : nullptr;
            SCOPED_TRACE(testing::Message() << count << (extensible ? " extensible" : ""));
            bothVariants([&](bool aligned) {
                // The expected field: index `last` after one leading bit of 1.
                unsigned width = 0;
                while ((QorULong{1} << width) < count)
                    width++;
                bool octetAligned = aligned && count > 255;
                // Bits: 1, the extension bit 0, pad to the octet under
                // aligned PER for the wide forms, then the index.
                std::vector<int> bits = {1};
                if (extensible)
                    bits.push_back(0);
                if (octetAligned)
                    while (bits.size() % 8 != 0)
                        bits.push_back(0);
                if (octetAligned && count > 256)
                    width = 16;
                pertest::appendBits(bits, last, width);
                QorLong got = 0;
                expectCoded(aligned, pertest::packBits(bits), [&] {
                    _qor_penc_nonneg_1int(&world, 1);
                    _qor_penc_enum(&world, values[last], &root, ext);
                }, [&] {
                    _qor_pdec_nonneg_1int(&world);
                    got = _qor_pdec_enum(&world, &root, ext);
                });
                EXPECT_EQ(got, values[last]);
            });
        }
    }
}

TEST_F(EnumTest, ValuesAndIndexesOutside)
{
    const QorLong someValues[] = {10, 20, 30, 40, 50};
    const QorEnumTable fiveValues = {5, someValues};
    // Not extensible: a value of no entry.
    EXPECT_EQ(encode(true, [&] { _qor_penc_enum(&world, 7, &kRootTable, nullptr); }), pertest::kNotEnumeratedCode);
    EXPECT_TRUE(messageHas("Value not among the ENUMERATED: 7"));
    // Five values take three bits: indexes 5 to 7 are refused.
    for (unsigned index = 5; index < 8; index++) {
        const Bytes input = {static_cast<unsigned char>(index << 5)};
        EXPECT_EQ(decode(false, input, [&] { _qor_pdec_enum(&world, &fiveValues, nullptr); }),
                  pertest::kNotEnumeratedCode);
    }
    // An extension table with only its base: every addition is unknown.
    const QorLong baseOnly[] = {100};
    const QorEnumTable bare = {1, baseOnly};
    Bytes out;
    ASSERT_EQ(encode(true, [&] { _qor_penc_enum(&world, 98, &kRootTable, &bare); }, &out), 0);
    EXPECT_EQ(out, hex("82"));
    QorLong got = 0;
    ASSERT_EQ(decode(true, out, [&] { got = _qor_pdec_enum(&world, &kRootTable, &bare); }), 0);
    EXPECT_EQ(got, 98);
}

} // namespace
