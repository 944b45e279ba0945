// The XML lexer through the EXER decoder and the Lexems PDU, whose value is
// one line a lexem: what users meet, messages and places included.

#include <string>

#include "xml_support.h"

namespace {

using qortest::Outcome;
using qortest::times;
using qortest::CountingAllocator;

class Lexer : public qortest::XmlTest {};


const char kRich[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\" standalone='yes'?>\r\n"
    "<!DOCTYPE r [\n"
    "  <!ENTITY e \"E&#x41;\">\n"
    "  <!ENTITY m '<i>&e;</i>'>\n"
    "  <!-- in the subset -->\n"
    "]>\n"
    "<r xmlns='urn:example:a' xmlns:p=\"urn:x\" p:q='1&#xD;&#10;2' t=\"\tx\r\ny\">"
    "<p:s/><![CDATA[a]]b\rc]]>&m;<!-- c --><?pi x?>]]>&amp;\xC3\xA9</r>\n";

// Lines of a trace, one a row.
std::string lines(std::initializer_list<const char *> rows)
{
    std::string s;
    for (const char *r : rows)
        s += std::string(r) + "\n";
    return s;
}

TEST_F(Lexer, GoldenTrace)
{
    Outcome o = decode(kRich);
    ASSERT_EQ(o.code, 0) << o.trace;
    EXPECT_EQ(o.trace, lines({
                           "<r {urn:example:a}>",
                           "@t",
                           "'\\x20'",
                           "'x'",
                           "'\\x20'",
                           "'y'",
                           "@p:q {#1}",
                           "'1'",
                           "'\\x0D'",
                           "'\\x0A'",
                           "'2'",
                           "<p:s {#1}/>",
                           "'a'",
                           "']'",
                           "']'",
                           "'b'",
                           "'\\x0D'",
                           "'c'",
                           "<i {urn:example:a}>",
                           "'E'",
                           "'A'",
                           "</i>",
                           "']'",
                           "']'",
                           "'>'",
                           "'&'",
                           "'\xC3\xA9'",
                           "</r>",
                       }));
    EXPECT_EQ(qorGetBytesReadByDecoder(&world), static_cast<long>(sizeof kRich - 1));
}

// Cut short at every octet before its root's end, the rich document says so
// with return code 4, whatever it was in the middle of.
TEST_F(Lexer, TruncatedAtEveryOctet)
{
    const std::string doc = kRich;
    for (size_t n = 0; n + 1 < doc.size(); n++) {
        Outcome o = decode(doc.substr(0, n));
        EXPECT_EQ(o.code, QOR_MORE_INPUT) << n << ": " << o.trace;
    }
}

// Each allocation of the rich document fails in turn: return code 8, no
// value, nothing left behind (the fixture's tear-down counts).
TEST_F(Lexer, EveryAllocationMayFail)
{
    decode(kRich);
    long needed = CountingAllocator::calls;
    ASSERT_GT(needed, 2);
    for (long n = 1; n <= needed; n++) {
        CountingAllocator::reset(n);
        EXPECT_EQ(decode(kRich).code, QOR_OUT_OF_MEMORY) << n;
        EXPECT_EQ(CountingAllocator::outstanding, 0) << n;
    }
    CountingAllocator::reset();
}

struct Row {
    const char *doc;
    const char *trace;
};

// Line ends: CRLF and CR read as LF; in CDATA CRLF is LF and a lone CR
// stays; in an attribute value CRLF is one blank. A CR, then a character of
// two octets, then an LF: the LF goes.
TEST_F(Lexer, LineEnds)
{
    const Row rows[] = {
        {"<a>a\r\nb</a>", "<a>\n'a'\n'\\x0A'\n'b'\n</a>\n"},
        {"<a>a\rb</a>", "<a>\n'a'\n'\\x0A'\n'b'\n</a>\n"},
        {"<a>a\n\rb</a>", "<a>\n'a'\n'\\x0A'\n'\\x0A'\n'b'\n</a>\n"},
        {"<a><![CDATA[\r\n\r]]></a>", "<a>\n'\\x0A'\n'\\x0D'\n</a>\n"},
        {"<a x='\r\n'/>", "<a/>\n@x\n'\\x20'\n"},
        {"<a>\r\xC3\xA9\n</a>", "<a>\n'\\x0A'\n'\xC3\xA9'\n</a>\n"},
        {"<a>&#xD;\n</a>", "<a>\n'\\x0D'\n'\\x0A'\n</a>\n"},
    };
    for (const Row &r : rows) {
        Outcome o = decode(r.doc);
        EXPECT_EQ(o.code, 0) << r.doc << o.trace;
        EXPECT_EQ(o.trace, r.trace) << r.doc;
    }
}

// Documents that pass, each for a reason the lexer must not trip on.
TEST_F(Lexer, Accepted)
{
    const Row rows[] = {
        // Attribute values stay raw until read: one nobody reads may hold
        // anything but a less-than sign (with unknown attributes let pass).
        {"<a unread='&nope;'/>", "<a/>\n"},
        // A name's scan is lenient.
        {"<1a></1a>", "<1a>\n</1a>\n"},
        // A later declaration of an entity wins.
        {"<!DOCTYPE a [<!ENTITY e 'x'><!ENTITY e 'y'>]><a>&e;</a>", "<a>\n'y'\n</a>\n"},
        // A byte order mark at the start only: elsewhere it is a character.
        {"\xEF\xBB\xBF<a/>", "<a/>\n"},
        {"<a>\xEF\xBB\xBF</a>", "<a>\n'\xEF\xBB\xBF'\n</a>\n"},
        // The prefix xml needs no declaration; the same prefix on parent and child.
        {"<a xml:lang='en' xmlns:p='urn:p'><p:b xmlns:p='urn:q'/></a>",
         "<a>\n@xml:lang {http://www.w3.org/XML/1998/namespace}\n'e'\n'n'\n<p:b {#1}/>\n</a>\n"},
        // An undone default namespace.
        {"<a xmlns='urn:example:a'><b xmlns=''/></a>", "<a {urn:example:a}>\n<b/>\n</a>\n"},
        // Wide references come as UTF-8 without the flag of the wide decoders.
        {"<a>&#x20AC;&#x1F600;</a>", "<a>\n'\xE2\x82\xAC'\n'\xF0\x9F\x98\x80'\n</a>\n"},
        // The same without the strict flag, and a declaration the relaxed rules skip.
        {"<!DOCTYPE b><a/>", "<a/>\n"},
        // Comments, processing instructions and blanks after the root.
        {"<a/> <!-- c --><?p?>\n", "<a/>\n"},
    };
    for (const Row &r : rows) {
        Outcome o = decode(r.doc, IGNORE_UNKNOWN_ATTRIBUTES);
        EXPECT_EQ(o.code, 0) << r.doc << o.trace;
        EXPECT_EQ(o.trace, r.trace) << r.doc;
    }
    EXPECT_EQ(decode("<?xml encoding='UTF-16'?><a/>", QOR_RELAXED).trace, "<a/>\n");
}

struct Refusal {
    std::string doc;
    int code;
    const char *message;
    QorULong flags = 0;
};

// Malformed documents: the message's text, its place (the prolog's faults
// come before the PDU is known), and the return code: 4 for a document cut
// short, 10 and 25 for the limits and what is not supported.
TEST_F(Lexer, Refusals)
{
    const Refusal rows[] = {
        {"", 4,
         "0081S: End of input reached before message was fully decoded; check PDU at line 1 position 0"},
        {"<a", 4,
         "0081S: End of input reached before message was fully decoded; check PDU at line 1 position 1"},
        {"<a>&#0;</a>", 5,
         "0190S: Illegal XML character reference; check PDU #26 'Lexems' at line 1 position 4"},
        {"<a>&#1114112;</a>", 5,
         "0190S: Illegal XML character reference; check PDU #26 'Lexems' at line 1 position 4"},
        {"<a>&#;</a>", 5,
         "0189S: Illegal character in XML character reference: ';'; check PDU #26 'Lexems' at line 1 position 4"},
        {"<a x=\"<\"/>", 5,
         "0187E: Invalid XML tag attribute; check PDU at line 1 position 6"},
        {"<a x=\"1\"y=\"2\"/>", 5,
         "0187E: Invalid XML tag attribute; check PDU at line 1 position 8"},
        {"<a x/>", 5,
         "0188E: Equal sign '=' after XML tag attribute expected; check PDU at line 1 position 4"},
        {"<a><!-- a -- b --></a>", 5,
         "0170E: XML comment expected; check PDU #26 'Lexems' at line 1 position 12"},
        {"<a></b>", 5,
         "0153E: XML end-tag name does not match XML start-tag name: 'b'; check PDU #26 'Lexems' at line 1 position 7"},
        {"< a>", 5,
         "0248S: XML name expected; check PDU at line 1 position 1"},
        {"<a>\xFF</a>", 5,
         "0120S: Incorrect sequence of octets in UTF8String; check PDU #26 'Lexems' at line 1 position 3"},
        {std::string("<a>\0</a>", 8), 5,
         "0120S: Incorrect sequence of octets in UTF8String; check PDU #26 'Lexems' at line 1 position 3"},
        {"<a xmlns='urn:b' xmlns='urn:c'/>", 5,
         "0213S: Default namespace defined twice; check PDU at line 1 position 24"},
        {"<a xmlns:p=''/>", 5,
         "0231S: Wrong URI value encountered : ''; check PDU at line 1 position 13"},
        {"<a xmlns:p='http://www.w3.org/XML/1998/namespace'/>", 5,
         "0253S: The prefix 'xml' cannot be bound to any namespace other than XML namespace; no other prefix may be bound to this namespace:'p'; check PDU at line 1 position 49"},
        {"<p:a/>", 5,
         "0193S: Undefined namespace prefix encountered: 'p:a'; check PDU at line 1 position 6"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", 10,
         "0333E: Unsupported XML encoding format was detected.  Please contact QOR if you need support for this format: 'UTF-16'; check PDU at line 1 position 37"},
        {"<?xml encoding='UTF-8'?><a/>", 5,
         "0282S: Error in XML declaration; check PDU at line 1 position 6"},
        {"<!DOCTYPE a><!DOCTYPE a><a/>", 5,
         "0204S: Duplicate DTD; check PDU at line 1 position 14"},
        {"<!DOCTYPE a [<!ENTITY % p 'x'>]><a/>", 25,
         "0198S: This type of entity is not supported yet; check PDU at line 1 position 22"},
        {"<a>&nope;</a>", 5,
         "0191S: Reference to unknown entity: 'nope'; check PDU #26 'Lexems' at line 1 position 9"},
        {"<a>&1;</a>", 5,
         "0191S: Reference to unknown entity: '1'; check PDU #26 'Lexems' at line 1 position 6"},
        {"<a/>x", 5,
         "0355S: The length of the containing BIT/OCTET STRING does not match the length of the encoding it contains.  Either the encoding is too short or it ends with unwanted pad bits; check PDU #26 'Lexems' at line 1 position 5"},
        {"<a>\n<b>\n</a>", 5,
         "0153E: XML end-tag name does not match XML start-tag name: 'a'; check PDU #26 'Lexems' at line 3 position 5"},
        {"<a xmlns:xml='urn:q'/>", 5,
         "0253S: The prefix 'xml' cannot be bound to any namespace other than XML namespace; no other prefix may be bound to this namespace:'xml'; check PDU at line 1 position 20"},
        {"<a unread='1'/>", 5,
         "0229S: Unknown attribute : 'unread'; check PDU #26 'Lexems' at line 1 position 15"},
        {"<a xmlns:1p='urn:q'/>", 5,
         "0206S: Invalid character in a name: '1p'; check PDU at line 1 position 13"},
        {"<a>\xF8\x88\x80\x80\x80</a>", 5,
         "0120S: Incorrect sequence of octets in UTF8String; check PDU #26 'Lexems' at line 1 position 3"},
        {"<a>\xC3", 4,
         "0081S: End of input reached before message was fully decoded; check PDU #26 'Lexems' at line 1 position 3"},
        {"<a:/>", 5,
         "0209S: Missing local part of a QName: 'a:'; check PDU at line 1 position 5"},
        {"<a xmlns:c='urn:oid:2.1.5.2.0.1' c:x='1' c:x='2'/>", 5,
         "0218S: The name of attribute is repeated : 'c:x'; check PDU #26 'Lexems' at line 1 position 50"},
        {"<!DOCTYPE b><a/>", 5,
         "0331E: The name of the root element does not match the name in the DTD: 'a'; check PDU at line 1 position 16",
         STRICT_ENCODING_DECODING_RULES},
        {"<a></a ", 4,
         "0081S: End of input reached before message was fully decoded; check PDU #26 'Lexems' at line 1 position 7"},
    };
    for (const Refusal &r : rows) {
        Outcome o = decode(r.doc, r.flags);
        EXPECT_EQ(o.code, r.code) << r.doc;
        EXPECT_EQ(o.trace, std::string("D") + r.message + ".\n") << r.doc;
    }
}

// The calls of the value decoders on the root's content: matching tags,
// whitespace that must be there, the end of a union's value, a tag that
// must come.
TEST_F(Lexer, ValueDecoderCalls)
{
    const struct {
        const char *doc;
        int code;
        const char *trace; // or the message's start
    } rows[] = {
        {"<r> <a/> <p:b xmlns:p='urn:example:a'/>x\n y</r>", 0,
         "<r>\nmatch 2 0\n<a/>\nmatch 0 2\n<p:b {urn:example:a}/>\n'x'\n'y'\n"},
        {"<r><a xmlns='urn:example:a'/> <b>x</b></r>", 0,
         "<r>\nmatch 0 2\n<a {urn:example:a}/>\nmatch 1 0\n<b>\n'x'\n</b>\n"},
        {"<r/>", 0, "<r/>\n"},
        // URIs compare by pointer: a decoded copy of the table's text is the
        // table's own pointer; the same local name in another namespace is none.
        {"<r><p:b xmlns:p='urn:example&#x3A;a'/><p:b xmlns:p='urn:example:b'/></r>", 0,
         "<r>\nmatch 0 2\n<p:b {urn:example:a}/>\nmatch 0 0\n<p:b {#1}/>\n"},
        {"<r>xy</r>", 5, "D0159E: Expecting mandatory whitespace"},
        {"<r>| <a/></r>", 0, "<r>\n'|'\nmatch 2 0\n<a/>\n"},
        {"<r>| z</r>", 5, "D0214S: XML tag expected"},
        {"<r>! <a/></r>", 0, "<r>\n'!'\nmatch 2 0\n<a/>\n"},
        {"<r>! x</r>", 5, "D0214S: XML tag expected"},
    };
    for (const auto &r : rows) {
        Outcome o = decode(r.doc, 0, PDU_Probes);
        EXPECT_EQ(o.code, r.code) << r.doc << "\n" << o.trace;
        EXPECT_EQ(o.trace.substr(0, strlen(r.trace)), r.trace) << r.doc;
    }
}

// A DOCTYPE declaring `count` entities e1 to e<count>, each referring to
// the next `width` times; the last holds `last`.
std::string chain(int count, int width, const std::string &last)
{
    std::string d = "<!DOCTYPE a [";
    for (int i = 1; i <= count; i++) {
        std::string body = i == count ? last : times("&e" + std::to_string(i + 1) + ";", static_cast<size_t>(width));
        d += "<!ENTITY e" + std::to_string(i) + " '" + body + "'>";
    }
    return d + "]>";
}

// Inputs nest 8 deep whatever pushes them; entities' texts have a budget.
TEST_F(Lexer, InputStackAndEntities)
{
    const struct {
        std::string doc;
        int code;
    } rows[] = {
        {chain(8, 1, "x") + "<a>&e1;</a>", 0},
        {chain(9, 1, "x") + "<a>&e1;</a>", 10},
        {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", 10},
        {chain(7, 1, "x") + "<a x='&e1;'/>", 0},
        {chain(8, 1, "x") + "<a x='&e1;'/>", 10},
        // An entity closes what it opened, and leaves nothing open.
        {"<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</b></a>", 5},
        {"<!DOCTYPE a [<!ENTITY e '</a>'>]><a>&e;", 5},
        {"<!DOCTYPE a [<!ENTITY e '<![CDATA[x'>]><a>&e;]]></a>", 5},
        // A value or an entity that ends inside a reference or a character
        // is malformed, not cut short.
        {"<a x='&amp'/>", 5},
        {"<a x='\xC3'/>", 5},
        {"<!DOCTYPE a [<!ENTITY e '&amp'>]><a>&e;</a>", 5},
        // From an attribute value an entity's less-than sign is refused.
        {"<!DOCTYPE a [<!ENTITY e 'x&lt;'><!ENTITY f '<'>]><a x='&e;&f;'/>", 5},
        // The classic expansion of nine levels of ten, and eight of 64,
        // end at the budget; so do many references to an empty entity.
        {chain(9, 10, "lol") + "<a>&e1;</a>", 10},
        {chain(8, 64, "x") + "<a>&e1;</a>", 10},
        {chain(2, 4000, "") + "<a>" + times("&e1;", 1000) + "</a>", 10},
    };
    for (const auto &r : rows) {
        Outcome o = decode(r.doc);
        EXPECT_EQ(o.code, r.code) << r.doc.substr(0, 200) << "\n" << o.trace;
    }
}

// Huge counts end in a return code, in time linear in the input.
TEST_F(Lexer, HugeCounts)
{
    const size_t n = 1000000;
    // A million attributes on one element, none read.
    EXPECT_EQ(decode("<a" + times(" unread=''", n) + "/>", IGNORE_UNKNOWN_ATTRIBUTES).code, 0);
    // A million namespace declarations on one tag: the cap in scope stops them.
    std::string decls;
    for (size_t i = 0; i < n; i++)
        decls += " xmlns:p" + std::to_string(i) + "='urn:p'";
    Outcome o = decode("<a" + decls + "/>");
    EXPECT_EQ(o.code, 10);
    EXPECT_NE(o.trace.find("0197S"), std::string::npos) << o.trace;
    // Under the cap, nesting declares anew at every level.
    EXPECT_EQ(decode(times("<b xmlns:p='urn:p'>", 250) + times("</b>", 250)).code, 0);
    // A tag name of ten million octets is a name.
    std::string name(10000000, 'n');
    o = decode("<" + name + "/>");
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.trace.size(), name.size() + 4);
}

} // namespace
