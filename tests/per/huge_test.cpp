// Whole numbers as octet arrays: the trim of redundant octets, the limits,
// and the semi-constrained reader's fragments.
#include <gtest/gtest.h>

#include "per_support.h"

namespace {

using pertest::Bytes;
using qortest::hex;

class HugeTest : public pertest::PerTest {
protected:
    // Decodes with `reader`; the value, or the code in `code`.
    Bytes read(bool aligned, const Bytes &input, QorULong (*reader)(QorGlobal *, unsigned char **), int *code)
    {
        unsigned char *p = nullptr;
        QorULong n = 0;
        *code = decode(aligned, input, [&] { n = reader(&world, &p); });
        Bytes value;
        if (*code == 0 && p != nullptr) {
            value.assign(p, p + n);
        } else if (*code == 0) {
            EXPECT_EQ(n, 0u);
        }
        qortest::releaseBlocks(&world); // decoder memory is listed with the blocks
        return value;
    }
};

TEST_F(HugeTest, TrimmedAndReadBack)
{
    struct Row {
        bool semi;
        const char *value, *encoding, *decoded;
    } rows[] = {
        {false, "00 00 80", "02 00 80", "00 80"},
        {false, "FF FF 7F", "02 FF 7F", "FF 7F"},
        {false, "FF FF FF", "01 FF", "FF"},
        {false, "00", "01 00", "00"},
        {true, "00 00 80", "02 00 80", "00 80"},
        {true, "FF FF", "02 FF FF", "FF FF"}, // a top bit set: written whole
        {true, "00 00 01", "01 01", "01"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.value << (row.semi ? " semi" : ""));
        pertest::bothVariants([&](bool aligned) {
            const Bytes value = hex(row.value);
            unsigned char *p = nullptr;
            QorULong n = 0;
            expectCoded(aligned, hex(row.encoding), [&] {
                (row.semi ? _qor_penc_semicon_huge_ia : _qor_penc_unconstr_huge_ia)(
                    &world, value.data(), static_cast<QorULong>(value.size()));
            }, [&] { n = (row.semi ? _qor_pdec_semicon_huge_ia : _qor_pdec_unconstr_huge_ia)(&world, &p); });
            EXPECT_EQ(Bytes(p, p + n), hex(row.decoded));
        });
    }
}

TEST_F(HugeTest, Limits)
{
    const Bytes big = qortest::pattern(4097);
    for (auto *writer : {_qor_penc_unconstr_huge_ia, _qor_penc_semicon_huge_ia}) {
        EXPECT_EQ(encode(true, [&] { writer(&world, big.data(), 0); }), pertest::kMisencodedCode);
        EXPECT_EQ(encode(true, [&] { writer(&world, big.data(), 4097); }), pertest::kMisencodedCode);
    }
    int code = -1;
    read(true, hex("00"), _qor_pdec_unconstr_huge_ia, &code);
    EXPECT_EQ(code, pertest::kMisencodedCode);
    Bytes tooLong = hex("90 01");
    tooLong.resize(2 + 4097, 1);
    read(true, tooLong, _qor_pdec_unconstr_huge_ia, &code);
    EXPECT_EQ(code, pertest::kMisencodedCode);
    EXPECT_TRUE(read(true, hex("00"), _qor_pdec_semicon_huge_ia, &code).empty());
    EXPECT_EQ(code, 0);
    // The semi-constrained reader has no limit: fragments are gathered.
    const Bytes items = qortest::pattern(16384 + 3);
    pertest::bothVariants([&](bool aligned) {
        Bytes input = hex("C1");
        input.insert(input.end(), items.begin(), items.begin() + 16384);
        input.push_back(3);
        input.insert(input.end(), items.end() - 3, items.end());
        EXPECT_EQ(read(aligned, input, _qor_pdec_semicon_huge_ia, &code), items);
        EXPECT_EQ(code, 0);
        for (size_t n : {size_t{1}, size_t{100}, size_t{16384}, size_t{16385}, input.size() - 1}) {
            read(aligned, prefix(input, n), _qor_pdec_semicon_huge_ia, &code);
            EXPECT_EQ(code, pertest::kEndOfInputCode) << n;
        }
        read(aligned, hex("C4 00"), _qor_pdec_semicon_huge_ia, &code); // a fragment with short data
        EXPECT_EQ(code, pertest::kEndOfInputCode);
    });
}

} // namespace
