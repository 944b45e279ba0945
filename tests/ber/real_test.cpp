// BER REAL: binary, special and decimal contents in the double, float, text
// and mixed forms.
#include <algorithm>
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

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

Bytes withForm(unsigned char form, const std::string &s)
{
    Bytes b(1 + s.size(), form);
    std::copy(s.begin(), s.end(), b.begin() + 1);
    return b;
}

// What any REAL decoder may end in: a value, or the code of a REAL message.
bool realOutcome(int code) { return code == 0 || code == kDataError || code == kLimited; }

enum class Form { kDouble, kFloat, kText, kMixed };
constexpr Form kForms[] = {Form::kDouble, Form::kFloat, Form::kText, Form::kMixed};
constexpr QorLong kWhole = INT32_MIN; // the contents length is all of the input

class RealTest : public BerTest {
protected:
    Bytes encode(const Write &write) { return encodeChecked(write); }
    Write real(double v) { return writer(_qor_encd_real, v); }
    Write creal(const char *t) { return writer(_qor_encd_creal, t); }

    // The decoder of `form` over `input`; what it stores lands in d, f, t or
    // m (a text copied out of decoder memory), and what the call left goes
    // back, as the driver gives it back.
    int decodeAs(Form form, const Bytes &input, QorLong length = kWhole)
    {
        if (length == kWhole)
            length = static_cast<QorLong>(input.size());
        char *text = nullptr;
        memset(&m, 0xEE, sizeof m);
        int code =
            decodeExactly(&world, input, length, [&](unsigned char **p, QorLong *r, QorLong n) {
                switch (form) {
                case Form::kDouble:
                    _qor_dec_real(&world, p, r, n, &d);
                    break;
                case Form::kFloat:
                    _qor_dec_freal(&world, p, r, n, &f);
                    break;
                case Form::kText:
                    _qor_dec_creal(&world, p, r, n, &text);
                    break;
                case Form::kMixed:
                    _qor_dec_mreal_ia(&world, p, r, n, &m);
                    if (m.kind == 1)
                        text = const_cast<char *>(m.value.decimal.text);
                    break;
                }
            });
        t = code == 0 && text != nullptr ? text : "";
        releaseBlocks(&world);
        freeTempBlocks();
        return code;
    }

    double d = 0;
    float f = 0;
    std::string t;
    QorMixedReal m{};
};

struct BinaryCase {
    double value;
    const char *bytes;
};

// Base 2, scale 0, odd mantissa, least exponent octets: the DER form, which
// every rule gets. Checked against an independent computation from the
// exact binary fraction of each value.
const BinaryCase kBinary[] = {
    {1.0, "80 00 01"},
    {-1.5, "C0 FF 03"},
    {3.0, "80 00 03"},
    {1024.0, "80 0A 01"},
    {123456789.0, "80 00 07 5B CD 15"},
    {0.1, "80 C9 0C CC CC CC CC CC CD"},
    {1e300, "81 03 B2 05 F9 0F 22 00 1D 67"},
    {1e-300, "81 FB E7 15 6E 1F C2 F8 F3 59"},
    {DBL_MIN, "81 FC 02 01"},
    {5e-324, "81 FB CE 01"},
    {-1.7976931348623155e308, "C1 03 CC 0F FF FF FF FF FF FF"},
};

TEST_F(RealTest, BinaryValuesGoInTheDerFormUnderEveryRuleAndComeBackExactly)
{
    for (int rules : {QOR_BER, QOR_DER, QOR_CER}) {
        world.encRules = rules;
        for (const BinaryCase &c : kBinary) {
            SCOPED_TRACE(c.value);
            EXPECT_EQ(encode(real(c.value)), hex(c.bytes));
            ASSERT_EQ(decodeAs(Form::kDouble, hex(c.bytes)), 0) << world.errMsgBuffer;
            EXPECT_EQ(bitsOf(d), bitsOf(c.value));
        }
    }
}

TEST_F(RealTest, SpecialValuesInvalidTextsAndTheMixedForm)
{
    // The largest finite values stand for the infinities, and count as them.
    // Any text whose value is zero has no contents, "-0.0" included; only
    // the exact "-0" is minus zero, but under DER the canonical text decides.
    // DER parses first, and says what is missing.
    const QorMixedReal binary = {0, {.binary = 1.0}};
    const QorMixedReal decimal = {1, {.decimal = {nullptr, "1.5"}}};
    struct Case {
        int rules;
        Write write;
        int code;
        const char *text; // the contents, or part of the message
    } cases[] = {
        {QOR_BER, real(0.0), 0, ""},
        {QOR_BER, real(DBL_MAX), 0, "40"},
        {QOR_BER, real(HUGE_VAL), 0, "40"},
        {QOR_BER, real(-DBL_MAX), 0, "41"},
        {QOR_BER, real(-HUGE_VAL), 0, "41"},
        {QOR_BER, real(std::nan("")), 0, "42"},
        {QOR_BER, real(-0.0), 0, "43"},
        {QOR_BER, creal("PLUS_INFINITY"), 0, "40"},
        {QOR_BER, creal("MINUS_INFINITY"), 0, "41"},
        {QOR_BER, creal("NOT_A_NUMBER"), 0, "42"},
        {QOR_BER, creal("-0"), 0, "43"},
        {QOR_BER, creal("0"), 0, ""},
        {QOR_BER, creal(" -0.0E5"), 0, ""},
        {QOR_BER, creal("0E1234567890"), 0, ""}, // an exponent too long to parse changes no zero
        {QOR_DER, creal("0.000"), 0, ""},
        {QOR_DER, creal("-0.0"), 0, "43"},
        {QOR_BER, creal(nullptr), kDataError, "0091E"},
        {QOR_BER, creal(""), kDataError, "0091E"},
        {QOR_BER, creal("abc"), kDataError, "0091E"},
        {QOR_BER, creal("1.5E"), kDataError, "0091E"},
        {QOR_BER, creal("E5"), kDataError, "0091E"},
        {QOR_BER, creal("1 5"), kDataError, "0091E"},
        {QOR_BER, creal("--1"), kDataError, "0091E"},
        {QOR_BER, creal("1.5.3"), kDataError, "0091E"},
        {QOR_BER, creal("1e+"), kDataError, "0091E"},
        {QOR_BER, creal("+"), kDataError, "0091E"},
        {QOR_DER, creal("E5"), kDataError, "0038E"},
        {QOR_DER, creal("1E"), kDataError, "0039E"},
        {QOR_DER, creal("1E1234567890"), kLimited, "0021E"},
        {QOR_DER, creal(""), kDataError, "0091E"},
        {QOR_BER, writer(_qor_encd_mreal_ia, 0, &binary), 0, "80 00 01"},
        {QOR_BER, writer(_qor_encd_mreal_ia, 1, &decimal), 0, "02 31 2E 35"},
        {QOR_BER, writer(_qor_encd_mreal_ia, 2, &binary), kDataError, "kind = 2"},
    };
    for (size_t i = 0; i < std::size(cases); i++) {
        SCOPED_TRACE(i);
        world.encRules = cases[i].rules;
        int code = 0;
        Bytes out = encodeChecked(cases[i].write, &code);
        expectOutcome(code, out, cases[i].code, cases[i].text);
    }
}

struct DecimalCase {
    const char *text;
    const char *ber; // as given, with its NR form
    const char *der; // canonical NR3
    double value;
};

const DecimalCase kDecimal[] = {
    {"1", "01 31", "03 31 2E 45 2B 30", 1},                         // "1.E+0"
    {"  -42", "01 20 20 2D 34 32", "03 2D 34 32 2E 45 2B 30", -42}, // "-42.E+0"
    {"1.5", "02 31 2E 35", "03 31 35 2E 45 2D 31", 1.5},            // "15.E-1"
    {"1,5", "02 31 2C 35", "03 31 35 2E 45 2D 31", 1.5},
    {"100", "01 31 30 30", "03 31 2E 45 32", 100},                  // "1.E2"
    {"-0.00125", "02 2D 30 2E 30 30 31 32 35", "03 2D 31 32 35 2E 45 2D 35", -0.00125},
    {"1.5E3", "03 31 2E 35 45 33", "03 31 35 2E 45 32", 1500},      // "15.E2"
    {"12.50e-1", "03 31 32 2E 35 30 65 2D 31", "03 31 32 35 2E 45 2D 32", 1.25},
    {"+7.", "02 2B 37 2E", "03 37 2E 45 2B 30", 7},
    {".5", "02 2E 35", "03 35 2E 45 2D 31", 0.5},
    {"1E3", "03 31 2E 45 33", "03 31 2E 45 33", 1000}, // NR3 gets its point: "1.E3"
    {"-25e-1", "03 2D 32 35 2E 65 2D 31", "03 2D 32 35 2E 45 2D 31", -2.5},
};

TEST_F(RealTest, DecimalTextGoesAsGivenButUnderDerAsCanonicalNr3)
{
    // Every rule's output reads back as the value.
    for (int rules : {QOR_BER, QOR_CER, QOR_DER}) {
        world.encRules = rules;
        for (const DecimalCase &c : kDecimal) {
            SCOPED_TRACE(c.text);
            Bytes out = encode(creal(c.text));
            EXPECT_EQ(out, hex(rules == QOR_DER ? c.der : c.ber));
            ASSERT_EQ(decodeAs(Form::kDouble, out), 0) << world.errMsgBuffer;
            EXPECT_DOUBLE_EQ(d, c.value);
        }
    }
    // A long canonical text is built in temporary memory.
    std::string digits = "0." + std::string(40, '0') + std::string(90, '7') + "000";
    EXPECT_EQ(encode(creal(digits.c_str())), withForm(3, std::string(90, '7') + ".E-130"));
    // The compatibility flag keeps DER's text as given.
    ASSERT_EQ(qorSetCompatibilityFlags(&world, 0x400), 0);
    EXPECT_EQ(encode(creal("1.5")), hex("02 31 2E 35"));
    EXPECT_EQ(encode(creal("0.0")), Bytes{});
}

TEST_F(RealTest, WritesBelowWhatIsThereAcrossBlocks)
{
    // A REAL after 1020 octets of other data: its contents cross into a new
    // block and come out in front of the data.
    Bytes filler(1020, 0xAA);
    Bytes out = encode([&](unsigned char **pos, QorLong *room) {
        QorLong n = _qor_write_bytes_d(&world, pos, room, filler.data(), 1020);
        return n + _qor_encd_real(&world, pos, room, 1e300);
    });
    EXPECT_EQ(out, concat({hex("81 03 B2 05 F9 0F 22 00 1D 67"), filler}));
}

TEST_F(RealTest, SpecialValuesAndZeroInEveryForm)
{
    // The text and mixed forms spell the special values; zero is a double.
    struct Case {
        const char *bytes;
        uint64_t doubleBits;
        uint32_t floatBits;
        const char *text;
    } cases[] = {
        {"", 0, 0, "0"},
        {"40", bitsOf(DBL_MAX), bitsOf(FLT_MAX), "PLUS_INFINITY"},
        {"41", bitsOf(-DBL_MAX), bitsOf(-FLT_MAX), "MINUS_INFINITY"},
        {"42", 0xFFF8000000000000u, 0xFFC00000u, "NOT_A_NUMBER"},
        {"43", 0x8000000000000000u, 0x80000000u, "-0"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        const Bytes b = hex(c.bytes);
        d = 1;
        f = 1;
        ASSERT_EQ(decodeAs(Form::kDouble, b), 0);
        EXPECT_EQ(bitsOf(d), c.doubleBits);
        ASSERT_EQ(decodeAs(Form::kFloat, b), 0);
        EXPECT_EQ(bitsOf(f), c.floatBits);
        ASSERT_EQ(decodeAs(Form::kText, b), 0);
        EXPECT_EQ(t, c.text);
        ASSERT_EQ(decodeAs(Form::kMixed, b), 0);
        EXPECT_EQ(m.kind, b.empty() ? 0 : 1);
        if (b.empty())
            EXPECT_EQ(bitsOf(m.value.binary), 0u);
        else
            EXPECT_EQ(t, c.text);
    }
    // Not a number as decoded, its sign bit set, goes out as it came.
    ASSERT_EQ(decodeAs(Form::kDouble, hex("42")), 0);
    EXPECT_EQ(encode(real(d)), hex("42"));
}

TEST_F(RealTest, Values)
{
    // A tolerance of 0 asks for the exact value; decimal exponents are
    // applied in steps, which may lose a little.
    struct Case {
        Bytes bytes;
        double value;
        double tolerance = 0; // relative
        Form form = Form::kDouble;
    } cases[] = {
        // Base 8 and 16 multiply the exponent by 8 and 16, as the library
        // has always read them.
        {hex("90 01 01"), 256.0},
        {hex("90 FF 01"), 1.0 / 256},
        {hex("A0 01 03"), 3 * 65536.0},
        {hex("84 00 01"), 2.0},       // scale 1
        {hex("CC 00 01"), -8.0},      // scale 3
        {hex("83 01 05 03"), 96.0},   // exponent length in its own octet
        {hex("81 00 80 01"), std::ldexp(1.0, 128)},
        {hex("80 00 00 00 01"), 1.0}, // leading zero octets of the mantissa
        {hex("80 04 01 01"), 4112.0}, // mantissa 257, exponent 4
        {hex("02 30 2E 33"), 0.3},
        {hex("00 31"), 1.0}, // form 0: no form to check
        {withForm(3, "1.E-307"), 1e-307, 1e-13},
        {withForm(3, "3.E-308"), 3e-308, 1e-13},
        {withForm(3, "17.E307"), 1.7e308, 1e-13},
        {withForm(3, "1.E22"), 1e22},
        {withForm(3, "1.2345E-20"), 1.2345e-20, 1e-13},
        // Long digit strings: the first 19 digits make the number.
        {withForm(2, "3.14159265358979323846264338327950288419716939937510"), M_PI, 1e-15},
        {withForm(2, std::string(30, '9') + ".5"), 1e30, 1e-15},
        {hex("C0 FF 03"), -1.5, 0, Form::kFloat},
        {withForm(3, "34.E37"), 3.4e38, 1e-6, Form::kFloat},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        ASSERT_EQ(decodeAs(c.form, c.bytes), 0) << world.errMsgBuffer;
        double v = c.form == Form::kFloat ? f : d;
        EXPECT_NEAR(v, c.value, std::fabs(c.value) * c.tolerance);
    }
    // A needlessly long exponent, and NR3 without its point, pass under
    // relaxed rules; never under DER.
    world.ruleBits |= QOR_RULE_RELAXED;
    ASSERT_EQ(decodeAs(Form::kDouble, hex("81 00 05 01")), 0);
    EXPECT_EQ(d, 32.0);
    ASSERT_EQ(decodeAs(Form::kDouble, withForm(3, "1E3")), 0);
    EXPECT_EQ(d, 1000.0);
    ASSERT_EQ(decodeAs(Form::kText, withForm(3, "1E3")), 0);
    EXPECT_EQ(t, "1E3");
    world.encRules = QOR_DER;
    EXPECT_EQ(decodeAs(Form::kDouble, withForm(3, "1E3")), kDataError);
    EXPECT_TRUE(messageHas("0042E")) << world.errMsgBuffer;
}

TEST_F(RealTest, Failures)
{
    struct Case {
        Bytes bytes;
        int code;
        const char *message;
        Form form = Form::kDouble;
        QorLong length = kWhole;
    } cases[] = {
        {hex("80 00 01"), kDataError, "0051S", Form::kDouble, -1}, // primitive, indefinite
        // Reserved octets.
        {hex("44"), kDataError, "0044E"},
        {hex("40 00"), kDataError, "0044E"},
        {hex("B0 00 01"), kDataError, "0044E"}, // base 3
        {hex("04 31"), kDataError, "0044E"},
        // Binary contents.
        {hex("80 00"), kDataError, "0043E"},       // no mantissa at all
        {hex("81 80 00 01"), kDataError, "0043E"}, // 2^-32768: nothing left
        {hex("80 00 00"), kDataError, "0043E", Form::kText},
        {hex("83"), kLimited, "0021E"},                      // no count octet
        {hex("83 05 00 00 00 00 01 01"), kLimited, "0021E"}, // five exponent octets
        {hex("80"), kLimited, "0021E"},                      // no room for the exponent
        {hex("A3 04 10 00 00 00 01"), kLimited, "0021E"},    // the shift loses bits
        {hex("93 04 10 00 00 00 01"), kLimited, "0021E"},    // base 8, likewise
        {hex("83 00 01"), kDataError, "0037E"},              // an exponent of no octets
        {hex("81 00 05 01"), kDataError, "0022E"},           // exponent needlessly long
        {hex("81 04 01 01"), kDataError, "0099E"},           // exponent 1025
        {hex("81 04 00 01"), kDataError, "0099E"},           // 2^1024 is beyond the range
        {concat({hex("80 00"), Bytes(200, 0xFF)}), kDataError, "0099E"},
        {hex("81 00 80 01"), kDataError, "0099E", Form::kFloat}, // 2^128
        // The form octet against the text.
        {withForm(1, "1.5"), kDataError, "0040E"},
        {withForm(2, "1"), kDataError, "0041E"},
        {withForm(2, "1.5E3"), kDataError, "0041E", Form::kText},
        {withForm(3, "1.5"), kDataError, "0042E"},
        {withForm(3, "1E3"), kDataError, "0042E"}, // NR3 needs the point
        // Decimal syntax.
        {withForm(1, "1X"), kDataError, "0037E"},
        {withForm(1, "- 1"), kDataError, "0037E"},              // no blanks after the sign
        {withForm(1, "1 "), kDataError, "0037E", Form::kText}, // nor trailing ones
        {withForm(1, ""), kDataError, "0038E"},
        {withForm(3, "E5"), kDataError, "0038E"},
        {withForm(3, "1.E-"), kDataError, "0039E"},
        // Decimal values: zero has no contents, and below the last step's
        // limit the value goes to 0.0, though strtod would still find 1e-308.
        {withForm(1, "0"), kDataError, "0043E", Form::kText},
        {withForm(3, "0.0E5"), kDataError, "0043E"},
        {withForm(3, "1.E-308"), kDataError, "0043E"},
        {withForm(2, "0." + std::string(400, '0') + "1"), kDataError, "0043E"},
        {withForm(3, "1.E-" + std::string(5000, '9')), kDataError, "0043E"},
        {withForm(3, "1.E-46"), kDataError, "0043E", Form::kFloat}, // rounds to 0 as a float
        {withForm(3, "18.E307"), kDataError, "0099E"},
        {withForm(3, "1.E" + std::string(5000, '9')), kDataError, "0099E"},
        {withForm(1, "1" + std::string(400, '0')), kDataError, "0099E"},
        {withForm(3, "35.E37"), kDataError, "0099E", Form::kFloat},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        EXPECT_EQ(decodeAs(c.form, c.bytes, c.length), c.code);
        EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
    }
}

TEST_F(RealTest, TextAndMixedForms)
{
    // The text form keeps decimal contents as they are; the mixed form
    // holds binary values as a double, decimal ones as the same text.
    const std::pair<Bytes, const char *> cases[] = {
        {withForm(2, " 1,50"), " 1,50"},
        {withForm(3, "1.E999"), "1.E999"}, // beyond any double, still a text
        {hex("C0 FF 03"), "-1.5E0"},
        {hex("80 C9 0C CC CC CC CC CC CD"), "1.0E-1"},
        {hex("81 FB CE 01"), "5.0E-324"},
        {hex("80 00 07 5B CD 15"), "1.23456789E8"},
    };
    for (const auto &[bytes, text] : cases) {
        SCOPED_TRACE(text);
        ASSERT_EQ(decodeAs(Form::kText, bytes), 0) << world.errMsgBuffer;
        EXPECT_EQ(t, text);
        const bool binary = (bytes[0] & 0x80) != 0;
        ASSERT_EQ(decodeAs(Form::kMixed, bytes), 0);
        ASSERT_EQ(m.kind, binary ? 0 : 1);
        if (!binary) {
            EXPECT_EQ(t, text);
            continue;
        }
        const double value = m.value.binary;
        ASSERT_EQ(decodeAs(Form::kDouble, bytes), 0);
        EXPECT_EQ(bitsOf(value), bitsOf(d));
    }
    // Texts under form 0 are not checked, yet go out in a form that reads
    // back: an exponent without a point gets one.
    const std::tuple<const char *, unsigned char, const char *> unchecked[] = {
        {"1E5", 3, "1.E5"}, {"7e-2", 3, "7.e-2"}, {" -3E+1", 3, " -3.E+1"}, {"12", 1, "12"}};
    for (const auto &[text, nr, sent] : unchecked) {
        SCOPED_TRACE(text);
        const Bytes expected = withForm(nr, sent);
        for (Form form : {Form::kText, Form::kMixed}) {
            ASSERT_EQ(decodeAs(form, withForm(0, text)), 0) << world.errMsgBuffer;
            ASSERT_EQ(t, text);
            const std::string held = t;
            const QorMixedReal record = {1, {.decimal = {nullptr, held.c_str()}}};
            Bytes out = encode([&](unsigned char **pos, QorLong *room) {
                return form == Form::kText ? _qor_encd_creal(&world, pos, room, held.c_str())
                                           : _qor_encd_mreal_ia(&world, pos, room, 1, &record);
            });
            EXPECT_EQ(out, expected);
            ASSERT_EQ(decodeAs(form, out), 0) << world.errMsgBuffer;
            EXPECT_EQ(t, sent);
        }
    }
    // The text of a binary value encodes again, under DER, to the canonical
    // text of the same value.
    world.encRules = QOR_DER;
    ASSERT_EQ(decodeAs(Form::kText, hex("C0 FF 03")), 0);
    EXPECT_EQ(encode(creal(t.c_str())), withForm(3, "-15.E-1"));
}

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

TEST_F(RealTest, HostileContents)
{
    // Contents cut short, all 256 first octets with a few more octets, and
    // four-octet exponents at the edges in every base: nothing reads beyond
    // the contents, every failure is a REAL one. Random input is the BER
    // fuzz target's.
    std::vector<Bytes> inputs;
    // Every form cut short: with the full length, the end of the input.
    for (const Bytes &full : allForms()) {
        for (const Bytes &input : prefixes(full)) {
            for (Form form : kForms)
                EXPECT_EQ(decodeAs(form, input, static_cast<QorLong>(full.size())), kMoreInput)
                    << testing::PrintToString(full) << " cut at " << input.size();
            inputs.push_back(input);
        }
    }
    for (int first = 0; first < 256; first++)
        for (const char *tail : {"", "01", "80 01", "03 FF 00 01"})
            inputs.push_back(concat({{static_cast<unsigned char>(first)}, hex(tail)}));
    const char *edges[] = {"83 04 7F FF FF FF 01", "83 04 80 00 00 00 01", "93 04 7F FF FF FF 01",
                           "A3 04 80 00 00 00 01", "A3 04 F8 00 00 00 01", "8F 04 7F FF FF FF 01"};
    for (const char *b : edges)
        inputs.push_back(hex(b));
    for (const Bytes &b : inputs) {
        for (Form form : kForms) {
            int code = decodeAs(form, b);
            ASSERT_TRUE(realOutcome(code)) << testing::PrintToString(b) << ": " << code;
        }
    }
    for (const char *b : edges) {
        for (Form form : {Form::kDouble, Form::kFloat}) {
            int code = decodeAs(form, hex(b));
            EXPECT_TRUE(code == kDataError || code == kLimited) << b << ": " << code;
        }
    }
}

TEST_F(RealTest, AllocationFailures)
{
    // The text decoder takes one piece; the DER encoder of a long text one
    // piece of temporary memory and an output block. Each failing is message
    // 6, and nothing stays allocated.
    for (const Bytes &b : {Bytes{}, hex("40"), hex("80 00 01"), withForm(2, "1.5")}) {
        CountingAllocator::failAt = CountingAllocator::calls + 1;
        EXPECT_EQ(decodeAs(Form::kText, b), QOR_OUT_OF_MEMORY);
        EXPECT_TRUE(messageHas("0008S")) << world.errMsgBuffer;
        CountingAllocator::failAt = 0;
    }
    world.encRules = QOR_DER;
    std::string digits = std::string(100, '3') + ".25";
    EXPECT_EQ(failuresBeforeSuccess([&] {
                  int code = inFrame(&world, QOR_OP_ENCODE, [&] {
                      unsigned char *pos = nullptr;
                      QorLong room = 0;
                      _qor_encd_creal(&world, &pos, &room, digits.c_str());
                  });
                  releaseBlocks(&world);
                  freeTempBlocks();
                  return code;
              }),
              2);
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
    EXPECT_EQ(decodeAs(Form::kText, hex("C0 FF 03")), 0);
    EXPECT_EQ(t, "-1.5E0");
    EXPECT_EQ(decodeAs(Form::kDouble, withForm(2, "1.5")), 0);
    EXPECT_EQ(d, 1.5);
    EXPECT_EQ(encode(creal("1,5")), hex("02 31 2C 35"));
    world.encRules = QOR_DER;
    EXPECT_EQ(encode(creal("1,5")), withForm(3, "15.E-1"));
    setlocale(LC_ALL, "C");
}

} // namespace
