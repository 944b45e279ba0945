// BER REAL: binary, special and decimal contents in the double, float, text
// and mixed forms.
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/roundtrip.h"

#include "ber/ber_support.h"

using namespace qortest;

namespace {

constexpr int kMoreInput = QOR_MORE_INPUT;  // message 45
constexpr int kDataError = QOR_DATA_ERROR;  // messages 83 to 113, 119, 128
constexpr int kLimited = QOR_LIMITED;       // message 94

uint64_t bitsOf(double v)
{
    uint64_t b;
    memcpy(&b, &v, sizeof b);
    return b;
}

uint32_t bitsOf(float v)
{
    uint32_t b;
    memcpy(&b, &v, sizeof b);
    return b;
}

Bytes withForm(unsigned char form, const char *s)
{
    Bytes b = {form};
    Bytes t = text(s);
    b.insert(b.end(), t.begin(), t.end());
    return b;
}

class RealTest : public ContextTest {
protected:
    using Writer = std::function<QorLong(unsigned char **, QorLong *)>;

    // Writes with `write` once in sizing mode and once for real; both must
    // agree on the count and the outcome. Returns the octets, or sets `code`.
    Bytes encode(const Writer &write, int *code = nullptr)
    {
        unsigned char *pos = nullptr;
        QorLong room = 0;
        QorLong counted = -1;
        world.encodingFlags |= DETERMINE_ENC_LENGTH;
        world.encLength = 0;
        int sizing = inFrame(&world, QOR_OP_ENCODE, [&] { counted = write(&pos, &room); });
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        EXPECT_EQ(world.blockQueue.count, 0) << "sizing mode wrote";
        releaseCall();
        if (sizing == 0) {
            EXPECT_EQ(world.encLength, counted);
        }

        QorLong written = -1;
        int result = inFrame(&world, QOR_OP_ENCODE, [&] { written = write(&pos, &room); });
        EXPECT_EQ(sizing, result) << "sizing mode and encoding disagree";
        if (code != nullptr)
            *code = result;
        if (result != 0) {
            releaseCall();
            return {};
        }
        QorLong length = 0;
        unsigned char *value = nullptr;
        EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE,
                          [&] { _qor_set_outmem_d(&world, room, &length, &value); }),
                  0);
        Bytes out(value, value + length);
        if (value != nullptr)
            world.userFree(&world, value);
        EXPECT_EQ(written, length);
        EXPECT_EQ(counted, length);
        releaseCall();
        return out;
    }

    int encodeError(const Writer &write)
    {
        int code = 0;
        encode(write, &code);
        return code;
    }

    template <class Body> int decode(const Bytes &input, QorLong length, Body body)
    {
        return decodeExactly(&world, input, length, body);
    }

    enum class Form { kDouble, kFloat, kText, kMixed };
    static constexpr Form kForms[] = {Form::kDouble, Form::kFloat, Form::kText, Form::kMixed};

    // The decoder of one form over `input`; what it stores is dropped.
    int decodeAs(Form form, const Bytes &input, QorLong length)
    {
        double d;
        float f;
        char *t;
        QorMixedReal m;
        return decode(input, length, [&](unsigned char **p, QorLong *r, QorLong n) {
            switch (form) {
            case Form::kDouble:
                _qor_dec_real(&world, p, r, n, &d);
                break;
            case Form::kFloat:
                _qor_dec_freal(&world, p, r, n, &f);
                break;
            case Form::kText:
                _qor_dec_creal(&world, p, r, n, &t);
                break;
            case Form::kMixed:
                _qor_dec_mreal_ia(&world, p, r, n, &m);
                break;
            }
        });
    }

    int decodeDouble(const Bytes &contents, double *out)
    {
        return decode(contents, static_cast<QorLong>(contents.size()),
                      [&](unsigned char **pos, QorLong *room, QorLong length) {
                          _qor_dec_real(&world, pos, room, length, out);
                      });
    }

    int decodeFloat(const Bytes &contents, float *out)
    {
        return decode(contents, static_cast<QorLong>(contents.size()),
                      [&](unsigned char **pos, QorLong *room, QorLong length) {
                          _qor_dec_freal(&world, pos, room, length, out);
                      });
    }

    // The text form, copied out of decoder memory, which is then released.
    int decodeText(const Bytes &contents, std::string *out)
    {
        char *decoded = nullptr;
        int code = decode(contents, static_cast<QorLong>(contents.size()),
                          [&](unsigned char **pos, QorLong *room, QorLong length) {
                              _qor_dec_creal(&world, pos, room, length, &decoded);
                          });
        if (code == 0)
            *out = decoded;
        releaseCall();
        return code;
    }

    // Gives back what a call left listed: decoder memory and temporary memory,
    // as the driver does when a call fails.
    void releaseCall()
    {
        ASSERT_EQ(world.blockQueue.next, nullptr);
        for (int i = 0; i < world.blockQueue.count; i++)
            world.userFree(&world, world.blockQueue.slot[i]);
        world.blockQueue.count = 0;
        while (auto *block = static_cast<qor::TempBlock *>(world.tempBlockList)) {
            world.tempBlockList = block->prev;
            world.tempHigh = block->savedHigh;
            world.tempLow = block->savedLow;
            world.userFree(&world, block);
        }
    }

    Writer real(double v)
    {
        return [this, v](unsigned char **pos, QorLong *room) {
            return _qor_encd_real(&world, pos, room, v);
        };
    }

    Writer creal(const char *t)
    {
        return [this, t](unsigned char **pos, QorLong *room) {
            return _qor_encd_creal(&world, pos, room, t);
        };
    }
};

// ---------------------------------------------------------------- encoding

struct BinaryCase {
    double value;
    const char *bytes;
};

// Base 2, scale 0, odd mantissa, least exponent octets: the DER form, which
// every rule gets. Checked against an independent computation from the
// exact binary fraction of each value.
const BinaryCase kBinary[] = {
    {1.0, "80 00 01"},
    {-1.0, "C0 00 01"},
    {-1.5, "C0 FF 03"},
    {0.5, "80 FF 01"},
    {3.0, "80 00 03"},
    {-0.75, "C0 FE 03"},
    {1024.0, "80 0A 01"},
    {123456789.0, "80 00 07 5B CD 15"},
    {0.1, "80 C9 0C CC CC CC CC CC CD"},
    {1e300, "81 03 B2 05 F9 0F 22 00 1D 67"},
    {1e-300, "81 FB E7 15 6E 1F C2 F8 F3 59"},
    {DBL_MIN, "81 FC 02 01"},
    {5e-324, "81 FB CE 01"},
    {-1.7976931348623155e308, "C1 03 CC 0F FF FF FF FF FF FF"},
};

TEST_F(RealTest, BinaryEncodingIsTheDerForm)
{
    for (const BinaryCase &c : kBinary) {
        SCOPED_TRACE(c.value);
        EXPECT_EQ(encode(real(c.value)), hex(c.bytes));
    }
}

TEST_F(RealTest, ZeroHasNoContents)
{
    EXPECT_EQ(encode(real(0.0)), Bytes{});
    EXPECT_EQ(encode(creal("0")), Bytes{});
}

TEST_F(RealTest, SpecialValuesAreOneOctet)
{
    // The largest finite values stand for the infinities, and count as them.
    EXPECT_EQ(encode(real(DBL_MAX)), hex("40"));
    EXPECT_EQ(encode(real(HUGE_VAL)), hex("40"));
    EXPECT_EQ(encode(real(-DBL_MAX)), hex("41"));
    EXPECT_EQ(encode(real(-HUGE_VAL)), hex("41"));
    EXPECT_EQ(encode(real(std::nan(""))), hex("42"));
    EXPECT_EQ(encode(real(-0.0)), hex("43"));
    EXPECT_EQ(encode(creal("PLUS_INFINITY")), hex("40"));
    EXPECT_EQ(encode(creal("MINUS_INFINITY")), hex("41"));
    EXPECT_EQ(encode(creal("NOT_A_NUMBER")), hex("42"));
    EXPECT_EQ(encode(creal("-0")), hex("43"));
}

TEST_F(RealTest, BinaryEncodingIsTheSameUnderEveryRule)
{
    for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
        world.encRules = rules;
        EXPECT_EQ(encode(real(-1.5)), hex("C0 FF 03"));
    }
}

struct DecimalCase {
    const char *text;
    const char *ber; // as given, with its NR form
    const char *der; // canonical NR3
};

const DecimalCase kDecimal[] = {
    {"1", "01 31", "03 31 2E 45 2B 30"},                        // "1.E+0"
    {"  -42", "01 20 20 2D 34 32", "03 2D 34 32 2E 45 2B 30"},   // "-42.E+0"
    {"1.5", "02 31 2E 35", "03 31 35 2E 45 2D 31"},             // "15.E-1"
    {"1,5", "02 31 2C 35", "03 31 35 2E 45 2D 31"},
    {"100", "01 31 30 30", "03 31 2E 45 32"},                   // "1.E2"
    {"-0.00125", "02 2D 30 2E 30 30 31 32 35", "03 2D 31 32 35 2E 45 2D 35"},
    {"1.5E3", "03 31 2E 35 45 33", "03 31 35 2E 45 32"},       // "15.E2"
    {"1E3", "03 31 45 33", "03 31 2E 45 33"},                  // digits and exponent: NR3
    {"12.50e-1", "03 31 32 2E 35 30 65 2D 31", "03 31 32 35 2E 45 2D 32"},
    {"+7.", "02 2B 37 2E", "03 37 2E 45 2B 30"},
    {".5", "02 2E 35", "03 35 2E 45 2D 31"},
};

TEST_F(RealTest, DecimalTextUnderBerGoesAsGivenWithItsForm)
{
    for (const DecimalCase &c : kDecimal) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(encode(creal(c.text)), hex(c.ber));
    }
}

TEST_F(RealTest, DecimalTextUnderDerIsCanonicalNr3)
{
    world.encRules = QOR_DER;
    for (const DecimalCase &c : kDecimal) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(encode(creal(c.text)), hex(c.der));
    }
}

TEST_F(RealTest, DecimalTextUnderCerIsNotCanonicalised)
{
    world.encRules = QOR_CER;
    EXPECT_EQ(encode(creal("1.5")), hex("02 31 2E 35"));
}

TEST_F(RealTest, DerKeepsTheTextWhenTheCompatibilityFlagSaysSo)
{
    world.encRules = QOR_DER;
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x400), 0);
    EXPECT_EQ(encode(creal("1.5")), hex("02 31 2E 35"));
    // Outside the strict mode any spelling of zero has no contents.
    EXPECT_EQ(encode(creal("0")), Bytes{});
    EXPECT_EQ(encode(creal("0.0")), Bytes{});
}

TEST_F(RealTest, ZeroSpellings)
{
    // BER: any text whose value is zero has no contents, "-0.0" included;
    // only the exact "-0" is minus zero.
    EXPECT_EQ(encode(creal("0.000")), Bytes{});
    EXPECT_EQ(encode(creal(" -0.0E5")), Bytes{});
    EXPECT_EQ(encode(creal("-0")), hex("43"));
    // DER: the canonical text decides; a negative zero there is minus zero.
    world.encRules = QOR_DER;
    EXPECT_EQ(encode(creal("0.000")), Bytes{});
    EXPECT_EQ(encode(creal("-0.0")), hex("43"));
}

TEST_F(RealTest, LongCanonicalTextUsesTemporaryMemory)
{
    world.encRules = QOR_DER;
    std::string digits = "0." + std::string(40, '0') + std::string(90, '7') + "000";
    Bytes expected = withForm(3, (std::string(90, '7') + ".E-130").c_str());
    EXPECT_EQ(encode(creal(digits.c_str())), expected);
}

TEST_F(RealTest, InvalidDecimalTexts)
{
    for (const char *t : {"", "abc", "1.5E", "E5", "1 5", "--1", "1.5.3", "1e+", "+"}) {
        SCOPED_TRACE(t);
        EXPECT_EQ(encodeError(creal(t)), kDataError);
    }
    EXPECT_EQ(encodeError(creal(nullptr)), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0091E"), nullptr) << world.errMsgBuffer;

    // DER parses first, and says what is missing.
    world.encRules = QOR_DER;
    EXPECT_EQ(encodeError(creal("E5")), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0038E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(creal("1E")), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0039E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(creal("1E1234567890")), kLimited);
    EXPECT_NE(strstr(world.errMsgBuffer, "0021E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(encodeError(creal("")), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0091E"), nullptr) << world.errMsgBuffer;
}

TEST_F(RealTest, MixedEncoderPicksByKind)
{
    QorMixedReal binary = {};
    binary.value.binary = 1.0;
    QorMixedReal decimal = {};
    decimal.kind = 1;
    decimal.value.text = "1.5";
    auto mixed = [this](int kind, const QorMixedReal *record) -> Writer {
        return [this, kind, record](unsigned char **pos, QorLong *room) {
            return _qor_encd_mreal_ia(&world, pos, room, kind, record);
        };
    };
    EXPECT_EQ(encode(mixed(0, &binary)), hex("80 00 01"));
    EXPECT_EQ(encode(mixed(1, &decimal)), hex("02 31 2E 35"));
    EXPECT_EQ(encodeError(mixed(2, &binary)), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "kind = 2"), nullptr) << world.errMsgBuffer;
}

TEST_F(RealTest, WritesBelowWhatIsThereAcrossBlocks)
{
    // A REAL after 1020 octets of other data: its contents cross into a new
    // block and come out in front of the data.
    Bytes filler(1020, 0xAA);
    unsigned char *pos = nullptr;
    QorLong room = 0;
    ASSERT_EQ(inFrame(&world, QOR_OP_ENCODE,
                      [&] {
                          _qor_write_bytes_d(&world, &pos, &room, filler.data(), 1020);
                          _qor_encd_real(&world, &pos, &room, 1e300);
                      }),
              0);
    QorLong length = 0;
    unsigned char *value = nullptr;
    ASSERT_EQ(
        inFrame(&world, QOR_OP_ENCODE, [&] { _qor_set_outmem_d(&world, room, &length, &value); }),
        0);
    Bytes expected = hex("81 03 B2 05 F9 0F 22 00 1D 67");
    expected.insert(expected.end(), filler.begin(), filler.end());
    EXPECT_EQ(Bytes(value, value + length), expected);
    world.userFree(&world, value);
}

// ---------------------------------------------------------------- decoding

TEST_F(RealTest, BinaryRoundTrips)
{
    for (const BinaryCase &c : kBinary) {
        SCOPED_TRACE(c.value);
        double v = 0;
        ASSERT_EQ(decodeDouble(hex(c.bytes), &v), 0) << world.errMsgBuffer;
        EXPECT_EQ(bitsOf(v), bitsOf(c.value));
    }
}

TEST_F(RealTest, EmptyContentsAreZero)
{
    double v = 1;
    EXPECT_EQ(decodeDouble({}, &v), 0);
    EXPECT_EQ(bitsOf(v), bitsOf(0.0));
}

TEST_F(RealTest, SpecialValuesDecodeToTheirMemoryForm)
{
    double v = 0;
    ASSERT_EQ(decodeDouble(hex("40"), &v), 0);
    EXPECT_EQ(v, DBL_MAX);
    ASSERT_EQ(decodeDouble(hex("41"), &v), 0);
    EXPECT_EQ(v, -DBL_MAX);
    ASSERT_EQ(decodeDouble(hex("42"), &v), 0);
    EXPECT_EQ(bitsOf(v), 0xFFF8000000000000u);
    ASSERT_EQ(decodeDouble(hex("43"), &v), 0);
    EXPECT_EQ(bitsOf(v), 0x8000000000000000u);
    // Not a number survives the round trip with its bits.
    Bytes nan = encode(real(std::nan("")));
    ASSERT_EQ(decodeDouble(nan, &v), 0);
    EXPECT_EQ(bitsOf(v), 0xFFF8000000000000u);
    EXPECT_EQ(encode(real(v)), hex("42"));

    float f = 0;
    ASSERT_EQ(decodeFloat(hex("40"), &f), 0);
    EXPECT_EQ(f, FLT_MAX);
    ASSERT_EQ(decodeFloat(hex("41"), &f), 0);
    EXPECT_EQ(f, -FLT_MAX);
    ASSERT_EQ(decodeFloat(hex("42"), &f), 0);
    EXPECT_EQ(bitsOf(f), 0xFFC00000u);
    ASSERT_EQ(decodeFloat(hex("43"), &f), 0);
    EXPECT_EQ(bitsOf(f), 0x80000000u);
}

TEST_F(RealTest, ReservedSpecialOctets)
{
    double v;
    for (const char *bytes : {"44", "7F", "40 00", "43 43"}) {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(decodeDouble(hex(bytes), &v), kDataError);
        EXPECT_NE(strstr(world.errMsgBuffer, "0044E"), nullptr) << world.errMsgBuffer;
    }
}

struct ValueCase {
    const char *bytes;
    double value;
};

TEST_F(RealTest, BasesAndScale)
{
    // Base 8 and 16 shift the exponent by 3 and 4 places: times 8 and 16.
    const ValueCase cases[] = {
        {"90 01 01", 256.0},             // base 8, exponent 1
        {"90 FF 01", 1.0 / 256},         // base 8, exponent -1
        {"A0 01 01", 65536.0},           // base 16, exponent 1
        {"A0 01 03", 3 * 65536.0},
        {"84 00 01", 2.0},               // scale 1
        {"8C 00 01", 8.0},               // scale 3
        {"C4 00 01", -2.0},
        {"83 01 05 03", 96.0},           // exponent length in its own octet
        {"81 00 80 01", std::ldexp(1.0, 128)},
        {"80 00 00 00 01", 1.0},         // leading zero octets of the mantissa
        {"80 04 01 01", 4112.0},         // mantissa 257, exponent 4
    };
    for (const ValueCase &c : cases) {
        SCOPED_TRACE(c.bytes);
        double v = 0;
        ASSERT_EQ(decodeDouble(hex(c.bytes), &v), 0) << world.errMsgBuffer;
        EXPECT_EQ(v, c.value);
    }
}

TEST_F(RealTest, BinaryFailures)
{
    struct Failure {
        const char *bytes;
        int code;
        const char *message;
    };
    const Failure cases[] = {
        {"80 00 00", kDataError, "0043E"},             // mantissa zero
        {"80 00", kDataError, "0043E"},                // no mantissa at all
        {"81 80 00 01", kDataError, "0043E"},          // 2^-32768: nothing left
        {"B0 00 01", kDataError, "0044E"},             // base 3 is reserved
        {"83", kLimited, "0021E"},                     // no count octet
        {"83 05 00 00 00 00 01 01", kLimited, "0021E"}, // five exponent octets
        {"82 01 02", kLimited, "0021E"},               // exponent beyond the contents
        {"81 00", kLimited, "0021E"},
        {"80", kLimited, "0021E"},
        {"83 00 01", kDataError, "0037E"},             // an exponent of no octets
        {"81 00 05 01", kDataError, "0022E"},          // exponent needlessly long
        {"81 04 01 01", kDataError, "0099E"},          // exponent 1025
        {"81 04 00 01", kDataError, "0099E"},          // 2^1024 is beyond the range
        {"A3 04 10 00 00 00 01", kLimited, "0021E"},   // the shift loses bits
        {"93 04 10 00 00 00 01", kLimited, "0021E"},   // base 8, likewise
    };
    for (const Failure &c : cases) {
        SCOPED_TRACE(c.bytes);
        double v;
        EXPECT_EQ(decodeDouble(hex(c.bytes), &v), c.code);
        EXPECT_NE(strstr(world.errMsgBuffer, c.message), nullptr) << world.errMsgBuffer;
    }
    // A needlessly long exponent passes under relaxed rules.
    world.ruleBits |= QOR_RULE_RELAXED;
    double v = 0;
    EXPECT_EQ(decodeDouble(hex("81 00 05 01"), &v), 0);
    EXPECT_EQ(v, 32.0);
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};
}

TEST_F(RealTest, HugeMantissaIsTooLarge)
{
    Bytes b = hex("80 00");
    b.insert(b.end(), 200, 0xFF);
    double v;
    EXPECT_EQ(decodeDouble(b, &v), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0099E"), nullptr) << world.errMsgBuffer;
}

TEST_F(RealTest, DecimalForms)
{
    const ValueCase cases[] = {
        {"01 31", 1.0},
        {"01 20 20 2D 34 32", -42.0},
        {"01 2B 37", 7.0},
        {"02 31 2E 35", 1.5},
        {"02 31 2C 35", 1.5},
        {"02 2E 35", 0.5},
        {"02 37 2E", 7.0},
        {"02 30 2E 33", 0.3},
        {"03 31 2E 35 45 33", 1500.0},
        {"03 31 2E 35 65 2B 33", 1500.0},
        {"03 2D 31 32 2E 45 2D 31", -1.2},
        {"03 31 35 2E 45 2D 31", 1.5},
        {"00 31", 1.0}, // form 0: no form to check
    };
    for (const ValueCase &c : cases) {
        SCOPED_TRACE(c.bytes);
        double v = 0;
        ASSERT_EQ(decodeDouble(hex(c.bytes), &v), 0) << world.errMsgBuffer;
        EXPECT_EQ(v, c.value);
    }
}

TEST_F(RealTest, DecimalFormMustMatchItsOctet)
{
    struct Failure {
        const char *bytes;
        const char *message;
    };
    const Failure cases[] = {
        {"02 31", "0041E"},             // "1" as NR2
        {"03 31", "0042E"},             // "1" as NR3
        {"03 31 45 33", "0042E"},       // "1E3": NR3 needs the point
        {"03 31 2E 35", "0042E"},
        {"01 31 2E 35", "0040E"},       // "1.5" as NR1
        {"01 31 45 33", "0040E"},
        {"02 31 2E 35 45 33", "0041E"}, // "1.5E3" as NR2
        {"04 31", "0044E"},
        {"3F 31", "0044E"},
    };
    for (const Failure &c : cases) {
        SCOPED_TRACE(c.bytes);
        double v;
        EXPECT_EQ(decodeDouble(hex(c.bytes), &v), kDataError);
        EXPECT_NE(strstr(world.errMsgBuffer, c.message), nullptr) << world.errMsgBuffer;
    }
}

TEST_F(RealTest, DecimalSyntaxErrors)
{
    struct Failure {
        Bytes bytes;
        const char *message;
    };
    const Failure cases[] = {
        {withForm(1, "1X"), "0037E"},
        {withForm(1, "1 "), "0037E"},     // no trailing blanks
        {withForm(1, "- 1"), "0037E"},    // nor blanks after the sign
        {withForm(3, "1.5E3.1"), "0037E"},
        {Bytes{0x01, 0x31, 0x00}, "0037E"},
        {withForm(1, "+"), "0038E"},
        {withForm(1, ""), "0038E"},
        {withForm(2, "."), "0038E"},
        {withForm(3, "E5"), "0038E"},
        {withForm(3, "1.E"), "0039E"},
        {withForm(3, "1.E-"), "0039E"},
    };
    for (const Failure &c : cases) {
        double v;
        EXPECT_EQ(decodeDouble(c.bytes, &v), kDataError);
        EXPECT_NE(strstr(world.errMsgBuffer, c.message), nullptr) << world.errMsgBuffer;
    }
}

// The decimal exponent applied as the decoder does it, restated here: steps
// of 1e10 while the value stays clear of the limit, then steps of 10.
double stepped(double digits, int scale)
{
    double v = digits;
    int e = scale;
    if (e < 0) {
        for (; e <= -10 && v > 2.2250738585072014e-298; e += 10)
            v /= 1e10;
        if (e <= -10)
            return 0.0;
        for (; e < 0 && v > 2.2250738585072014e-307; e++)
            v /= 10;
        return e < 0 ? 0.0 : v;
    }
    for (; e >= 10 && v < 1.7976931348623157e+298; e -= 10)
        v *= 1e10;
    for (; e > 0 && v < 1.7976931348623158e+307; e--)
        v *= 10;
    return e > 0 ? -1.0 : v;
}

TEST_F(RealTest, DecimalExponentSteps)
{
    struct StepCase {
        const char *text;
        double digits;
        int scale;
        double near;
    };
    const StepCase cases[] = {
        {"1.E-300", 1, -300, 1e-300},
        {"1.E-307", 1, -307, 1e-307},
        {"3.E-308", 3, -308, 3e-308},
        {"25.E-2", 25, -2, 0.25},
        {"1.E308", 1, 308, 1e308},
        {"17.E307", 17, 307, 1.7e308},
        {"1.E22", 1, 22, 1e22},
        {"1.2345E-20", 12345, -24, 1.2345e-20},
    };
    for (const StepCase &c : cases) {
        SCOPED_TRACE(c.text);
        double v = 0;
        ASSERT_EQ(decodeDouble(withForm(3, c.text), &v), 0) << world.errMsgBuffer;
        EXPECT_EQ(v, stepped(c.digits, c.scale));
        EXPECT_NEAR(v / c.near, 1.0, 1e-13);
    }
}

TEST_F(RealTest, DecimalOutOfRange)
{
    double v;
    // Below the last step's limit the value goes to 0.0, which then is a
    // zero with contents, though strtod would still find 1e-308.
    for (const char *t : {"1.E-308", "1.E-400", "1.E-999999999999999", "0.0E5", "-0.E0"}) {
        SCOPED_TRACE(t);
        EXPECT_EQ(decodeDouble(withForm(3, t), &v), kDataError);
        EXPECT_NE(strstr(world.errMsgBuffer, "0043E"), nullptr) << world.errMsgBuffer;
    }
    EXPECT_EQ(decodeDouble(withForm(1, "0"), &v), kDataError);
    EXPECT_EQ(decodeDouble(withForm(1, "-000"), &v), kDataError);
    for (const char *t : {"18.E307", "2.E308", "1.E400", "1.E999999999999999999999"}) {
        SCOPED_TRACE(t);
        EXPECT_EQ(decodeDouble(withForm(3, t), &v), kDataError);
        EXPECT_NE(strstr(world.errMsgBuffer, "0099E"), nullptr) << world.errMsgBuffer;
    }
    // Long digit strings: the first 19 digits make the number.
    std::string big = "1" + std::string(400, '0');
    EXPECT_EQ(decodeDouble(withForm(1, big.c_str()), &v), kDataError);
    std::string tiny = "0." + std::string(400, '0') + "1";
    EXPECT_EQ(decodeDouble(withForm(2, tiny.c_str()), &v), kDataError);
    std::string pi = "3.14159265358979323846264338327950288419716939937510";
    ASSERT_EQ(decodeDouble(withForm(2, pi.c_str()), &v), 0);
    EXPECT_NEAR(v, M_PI, 1e-15);
    std::string many = std::string(30, '9') + ".5";
    ASSERT_EQ(decodeDouble(withForm(2, many.c_str()), &v), 0);
    EXPECT_NEAR(v / 1e30, 1.0, 1e-15);
}

TEST_F(RealTest, FloatLimits)
{
    float f = 0;
    ASSERT_EQ(decodeFloat(hex("C0 FF 03"), &f), 0);
    EXPECT_EQ(f, -1.5f);
    ASSERT_EQ(decodeFloat(withForm(3, "34.E37"), &f), 0);
    EXPECT_NEAR(f / 3.4e38f, 1.0f, 1e-6f);
    EXPECT_EQ(decodeFloat(withForm(3, "35.E37"), &f), kDataError);
    EXPECT_EQ(decodeFloat(withForm(3, "1.E39"), &f), kDataError);
    EXPECT_EQ(decodeFloat(hex("81 00 80 01"), &f), kDataError); // 2^128
    EXPECT_NE(strstr(world.errMsgBuffer, "0099E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(decodeFloat(withForm(3, "1.E-46"), &f), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0043E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(decodeFloat(hex("81 FF 00 01"), &f), kDataError); // 2^-256 rounds to 0
    ASSERT_EQ(decodeFloat({}, &f), 0);
    EXPECT_EQ(f, 0.0f);
}

TEST_F(RealTest, NegativeLengthIsPrimitiveIndefinite)
{
    double v;
    EXPECT_EQ(decode(hex("80 00 01"), -1,
                     [&](unsigned char **pos, QorLong *room, QorLong length) {
                         _qor_dec_real(&world, pos, room, length, &v);
                     }),
              kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0051S"), nullptr) << world.errMsgBuffer;
}

TEST_F(RealTest, TextForm)
{
    struct TextCase {
        Bytes bytes;
        const char *text;
    };
    const TextCase cases[] = {
        {{}, "0"},
        {hex("40"), "PLUS_INFINITY"},
        {hex("41"), "MINUS_INFINITY"},
        {hex("42"), "NOT_A_NUMBER"},
        {hex("43"), "-0"},
        {withForm(2, " 1,50"), " 1,50"},        // decimal contents are kept as they are
        {withForm(3, "1.E999"), "1.E999"},      // beyond any double, still a text
        {hex("80 00 01"), "1.0E0"},
        {hex("C0 FF 03"), "-1.5E0"},
        {hex("80 C9 0C CC CC CC CC CC CD"), "1.0E-1"},
        {hex("81 03 B2 05 F9 0F 22 00 1D 67"), "1.0E300"},
        {hex("81 FB CE 01"), "5.0E-324"},
        {hex("80 00 07 5B CD 15"), "1.23456789E8"},
    };
    for (const TextCase &c : cases) {
        SCOPED_TRACE(c.text);
        std::string out;
        ASSERT_EQ(decodeText(c.bytes, &out), 0) << world.errMsgBuffer;
        EXPECT_EQ(out, c.text);
    }
    std::string out;
    EXPECT_EQ(decodeText(withForm(1, "0"), &out), kDataError);
    EXPECT_EQ(decodeText(withForm(2, "1"), &out), kDataError);
    EXPECT_NE(strstr(world.errMsgBuffer, "0041E"), nullptr) << world.errMsgBuffer;
    EXPECT_EQ(decodeText(withForm(1, "1x"), &out), kDataError);
    EXPECT_EQ(decodeText(hex("80 00 00"), &out), kDataError);
}

TEST_F(RealTest, TextFormRoundTrip)
{
    // The text that a binary value decodes to encodes again, under DER, to
    // the canonical text of the same value.
    world.encRules = QOR_DER;
    std::string out;
    ASSERT_EQ(decodeText(hex("C0 FF 03"), &out), 0);
    EXPECT_EQ(encode(creal(out.c_str())), withForm(3, "-15.E-1"));
}

TEST_F(RealTest, MixedForm)
{
    QorMixedReal m;
    auto run = [&](const Bytes &b) {
        memset(&m, 0xEE, sizeof m);
        return decode(b, static_cast<QorLong>(b.size()),
                      [&](unsigned char **pos, QorLong *room, QorLong length) {
                          _qor_dec_mreal_ia(&world, pos, room, length, &m);
                      });
    };
    ASSERT_EQ(run(hex("C0 FF 03")), 0);
    EXPECT_EQ(m.kind, 0);
    EXPECT_EQ(m.value.binary, -1.5);
    ASSERT_EQ(run({}), 0);
    EXPECT_EQ(m.kind, 0);
    EXPECT_EQ(m.value.binary, 0.0);
    ASSERT_EQ(run(withForm(2, "1.5")), 0);
    EXPECT_EQ(m.kind, 1);
    EXPECT_STREQ(m.value.text, "1.5");
    releaseCall();
    ASSERT_EQ(run(hex("41")), 0);
    EXPECT_EQ(m.kind, 1);
    EXPECT_STREQ(m.value.text, "MINUS_INFINITY");
    releaseCall();
    EXPECT_EQ(run(withForm(3, "1")), kDataError);
    releaseCall();
}

// ---------------------------------------------------------------- hostile input

std::vector<Bytes> allForms()
{
    std::vector<Bytes> forms;
    for (const BinaryCase &c : kBinary)
        forms.push_back(hex(c.bytes));
    for (const char *b : {"40", "43", "83 01 05 03", "A0 01 03", "84 00 01"})
        forms.push_back(hex(b));
    for (const DecimalCase &c : kDecimal) {
        forms.push_back(hex(c.ber));
        forms.push_back(hex(c.der));
    }
    return forms;
}

TEST_F(RealTest, LengthBeyondTheInputIsEndOfInput)
{
    // Every decoder, every form, every shorter input: message 45.
    for (const Bytes &full : allForms()) {
        const auto length = static_cast<QorLong>(full.size());
        for (size_t cut = 0; cut < full.size(); cut++) {
            Bytes input(full.begin(), full.begin() + static_cast<long>(cut));
            for (Form form : kForms)
                EXPECT_EQ(decodeAs(form, input, length), kMoreInput) << static_cast<int>(form);
            releaseCall();
        }
    }
}

TEST_F(RealTest, TruncatedContentsEndInACatalogueCode)
{
    // Contents cut at every octet, with a length that says so: each decoder
    // either decodes or fails with the code of a REAL message.
    for (const Bytes &full : allForms()) {
        for (size_t cut = 1; cut < full.size(); cut++) {
            Bytes input(full.begin(), full.begin() + static_cast<long>(cut));
            const auto length = static_cast<QorLong>(cut);
            std::vector<int> codes;
            for (Form form : kForms)
                codes.push_back(decodeAs(form, input, length));
            releaseCall();
            for (int code : codes)
                EXPECT_TRUE(code == 0 || code == kDataError || code == kLimited)
                    << "code " << code << " at " << cut << ": " << world.errMsgBuffer;
        }
    }
}

TEST_F(RealTest, EveryFirstOctetWithShortContents)
{
    // All 256 first octets, alone and with one or two more octets: nothing
    // crashes, nothing reads beyond the contents, every failure is a REAL one.
    for (int first = 0; first < 256; first++) {
        for (const Bytes &tail :
             {Bytes{}, Bytes{0x01}, Bytes{0x80, 0x01}, Bytes{0x03, 0xFF, 0x00, 0x01}}) {
            Bytes input = {static_cast<unsigned char>(first)};
            input.insert(input.end(), tail.begin(), tail.end());
            double d;
            int c1 = decodeDouble(input, &d);
            int c2 = decodeAs(Form::kText, input, static_cast<QorLong>(input.size()));
            releaseCall();
            for (int code : {c1, c2})
                EXPECT_TRUE(code == 0 || code == kDataError || code == kLimited)
                    << "first " << first << " code " << code << ": " << world.errMsgBuffer;
        }
    }
}

TEST_F(RealTest, HugeExponents)
{
    double d;
    float f;
    // Four-octet exponents at the edges, in every base.
    for (const char *b : {"83 04 7F FF FF FF 01", "83 04 80 00 00 00 01", "93 04 7F FF FF FF 01",
                          "A3 04 80 00 00 00 01", "A3 04 F8 00 00 00 01", "8F 04 7F FF FF FF 01"}) {
        SCOPED_TRACE(b);
        int code = decodeDouble(hex(b), &d);
        EXPECT_TRUE(code == kDataError || code == kLimited) << code;
        code = decodeFloat(hex(b), &f);
        EXPECT_TRUE(code == kDataError || code == kLimited) << code;
    }
    EXPECT_EQ(decodeDouble(hex("83 04 7F FF FF FF 01"), &d), kDataError); // 0099E
    EXPECT_EQ(decodeDouble(hex("83 04 80 00 00 00 01"), &d), kDataError); // 0043E
    EXPECT_EQ(decodeDouble(hex("93 04 7F FF FF FF 01"), &d), kLimited);   // shift loses bits
    // Decimal exponents of any size end quickly.
    std::string huge = "1.E" + std::string(5000, '9');
    EXPECT_EQ(decodeDouble(withForm(3, huge.c_str()), &d), kDataError);
    std::string hugeNegative = "1.E-" + std::string(5000, '9');
    EXPECT_EQ(decodeDouble(withForm(3, hugeNegative.c_str()), &d), kDataError);
}

TEST_F(RealTest, RandomContents)
{
    // A small deterministic fuzz of the four decoders: random contents,
    // their first octet biased towards the binary and decimal forms.
    uint32_t state = 20240102;
    auto next = [&state] {
        state = state * 1103515245u + 12345u;
        return state >> 16;
    };
    const char alphabet[] = "0123456789.,Ee+- ";
    for (int i = 0; i < 20000; i++) {
        Bytes b(next() % 14);
        bool decimal = next() % 2 == 0;
        for (unsigned char &o : b)
            o = decimal ? static_cast<unsigned char>(alphabet[next() % (sizeof alphabet - 1)])
                        : static_cast<unsigned char>(next());
        if (!b.empty())
            b[0] = static_cast<unsigned char>(decimal ? next() % 5 : 0x80 | (next() & 0x7F));
        std::vector<int> codes;
        for (Form form : kForms)
            codes.push_back(decodeAs(form, b, static_cast<QorLong>(b.size())));
        releaseCall();
        for (int code : codes)
            ASSERT_TRUE(code == 0 || code == kDataError || code == kLimited) << i << ": " << code;
    }
}

TEST_F(RealTest, AllocationFailures)
{
    // The text decoders take one piece; the DER encoder of a long text one
    // piece of temporary memory and an output block. Each failing is message
    // 6, and nothing stays allocated.
    for (const Bytes &b : {Bytes{}, hex("40"), hex("80 00 01"), withForm(2, "1.5")}) {
        CountingAllocator::failAt = CountingAllocator::calls + 1;
        std::string out;
        EXPECT_EQ(decodeText(b, &out), QOR_OUT_OF_MEMORY);
        EXPECT_NE(strstr(world.errMsgBuffer, "0008S"), nullptr) << world.errMsgBuffer;
        CountingAllocator::failAt = 0;
    }
    world.encRules = QOR_DER;
    std::string digits = std::string(100, '3') + ".25";
    for (long call = 1; call <= 3; call++) {
        CountingAllocator::failAt = CountingAllocator::calls + call;
        unsigned char *pos = nullptr;
        QorLong room = 0;
        int code = inFrame(&world, QOR_OP_ENCODE, [&] {
            _qor_encd_creal(&world, &pos, &room, digits.c_str());
        });
        CountingAllocator::failAt = 0;
        EXPECT_EQ(code, call <= 2 ? QOR_OUT_OF_MEMORY : 0) << call;
        releaseCall();
    }
}

TEST_F(RealTest, NoLocaleInNumbers)
{
    // A locale with a decimal comma changes nothing. Skipped where no such
    // locale is installed.
    const char *names[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"};
    const char *chosen = nullptr;
    for (const char *name : names)
        if (chosen == nullptr && setlocale(LC_ALL, name) != nullptr)
            chosen = name;
    if (chosen == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma";
    std::string out;
    EXPECT_EQ(decodeText(hex("C0 FF 03"), &out), 0);
    EXPECT_EQ(out, "-1.5E0");
    double v = 0;
    EXPECT_EQ(decodeDouble(withForm(2, "1.5"), &v), 0);
    EXPECT_EQ(v, 1.5);
    EXPECT_EQ(encode(creal("1,5")), hex("02 31 2C 35"));
    world.encRules = QOR_DER;
    EXPECT_EQ(encode(creal("1,5")), withForm(3, "15.E-1"));
    setlocale(LC_ALL, "C");
}

} // namespace
