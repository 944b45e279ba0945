// Skipping elements and reading contained documents, through the Lexems
// trace (elements named "skip...", "doc..."), and the copy sink that the
// ANY-ELEMENT decoder will read skipped content through.

#include <cstddef>
#include <string>

#include "xml_support.h"
#include "xer/lexer.h"

// The save record is the contained document's tag record first; generated
// code reserves it on its frame, so its layout is fixed.
static_assert(offsetof(QorXmlDocumentSave, tag) == 0);
static_assert(sizeof(void *) != 8 || (offsetof(QorXmlDocumentSave, saved_tag) == 72 &&
                                       offsetof(QorXmlDocumentSave, open_tag) == 80 &&
                                       offsetof(QorXmlDocumentSave, ns_decls) == 88 &&
                                       offsetof(QorXmlDocumentSave, stack_top) == 96 &&
                                       offsetof(QorXmlDocumentSave, word_mark) == 104 &&
                                       offsetof(QorXmlDocumentSave, lexem) == 112 &&
                                       offsetof(QorXmlDocumentSave, tag_left) == 116 &&
                                       offsetof(QorXmlDocumentSave, tag_end_left) == 120 &&
                                       offsetof(QorXmlDocumentSave, state) == 124 &&
                                       offsetof(QorXmlDocumentSave, ns_floor) == 128 &&
                                       offsetof(QorXmlDocumentSave, ch) == 132 &&
                                       offsetof(QorXmlDocumentSave, ch_len) == 136 &&
                                       offsetof(QorXmlDocumentSave, input_depth) == 138 &&
                                       sizeof(QorXmlDocumentSave) == 144));

namespace {

using qortest::times;

constexpr QorULong kStrict = STRICT_ENCODING_DECODING_RULES;

struct Row {
    std::string doc;
    QorULong flags;
    const char *trace; // the whole trace, or the start of the message
};

class Skip : public qortest::XmlTest {
protected:
    void expectRows(const Row *rows, size_t count)
    {
        for (size_t i = 0; i < count; i++) {
            std::string got = traceOf(rows[i].doc, rows[i].flags);
            EXPECT_EQ(got.substr(0, strlen(rows[i].trace)), rows[i].trace) << rows[i].doc.substr(0, 120);
        }
    }
};


// A contained document as the content of a "doc" element.
std::string doc(const std::string &inner)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string s = "<doc>";
    for (unsigned char c : inner)
        s += std::string{kDigits[c >> 4], kDigits[c & 15]};
    return s + "</doc>";
}


// A greater-than sign in a quoted value ends a tag for the fast skip, not
// for the checking one; either passes over what it does not decode, text
// and attributes included, and the checking one finds what is malformed.
TEST_F(Skip, SkipType)
{
    const std::string deep = times("<u>", 1000000) + times("</u>", 1000000);
    const Row rows[] = {
        {"<skipu><x a=\"1>2\"/></skipu>", 0, "D0154E: Expecting XML end-tag"},
        {"<skipu><x a=\"1>2\"/></skipu>", kStrict, "<skipu>\nskipped\n</skipu>\n"},
        {"<skip>" + deep + "</skip>", 0, "<skip>\nskipped\n</skip>\n"},
        {"<skip>" + deep + "</skip>", kStrict, "<skip>\nskipped\n</skip>\n"},
        {"<r><skip z='1' p:y='&nope;' xmlns:p='urn:p'>t<!--<x>--><?p <x>?><![CDATA[<x>]]>&amp;<e/></skip></r>", 0,
         "<r>\n<skip>\nskipped\n</skip>\n</r>\n"},
        {"<r><skip z='1'>t<!--<x>--><?p <x>?><![CDATA[<x>]]>&amp;&#60;<e/></skip></r>", kStrict,
         "<r>\n<skip>\nskipped\n</skip>\n</r>\n"},
        {"<skip/>", 0, "<skip/>\nskipped\n"},
        {"<skip a='1' a='2'/>", 0, "D0218S: The name of attribute is repeated : 'a'"},
        // The checking skip's refusals; the fast one lets all of them by.
        {"<skip>\xFF</skip>", kStrict, "D0120S"},
        {"<skip><x a='\xC3('/></skip>", kStrict, "D0120S"},
        {"<skip><!-- a -- b --></skip>", kStrict, "D0170E"},
        {"<skip><![CDAT[x]]></skip>", kStrict, "D0195S"},
        {"<skip><!x></skip>", kStrict, "D0167E"},
        {"<skip>< x/></skip>", kStrict, "D0248S"},
        {"<skip>&;</skip>", kStrict, "D0248S"},
        {"<skip>&nope;</skip>", kStrict, "D0191S"},
        {"<skip><x a='&nope;'/></skip>", kStrict, "D0191S"},
        {"<skip><x></x </skip>", kStrict, "D0167E"},
        {"<skip><x a='<'/></skip>", kStrict, "D0187E"},
        {"<skip><x a></skip>", kStrict, "D0188E"},
        {"<skip>\xFF&;< x/><x></x></skip>", 0, "<skip>\nskipped\n</skip>\n"},
        // Entities are followed, and must close what they open.
        {"<!DOCTYPE skip [<!ENTITY e '<b>x</b>&#38;amp;'>]><skip>&e;</skip>", kStrict,
         "<skip>\nskipped\n</skip>\n"},
        {"<!DOCTYPE skip [<!ENTITY e '<b>'>]><skip>&e;</b></skip>", kStrict, "D0201S"},
        {"<!DOCTYPE skip [<!ENTITY e '</skip>'>]><skip>&e;", kStrict, "D0201S"},
        // Cut short in the content, in markup, in a character.
        {"<skip><x>", 0, "D0154E"},
        {"<skip><x>", kStrict, "D0154E"},
        {"<skip><x a='", kStrict, "D0154E"},
        {"<skip>\xC3", kStrict, "D0154E"},
    };
    expectRows(rows, std::size(rows));
}

// Content skipped element by element, whole or one element at a time.
TEST_F(Skip, SkipContent)
{
    const std::string deep = times("<u>", 1000000) + times("</u>", 1000000);
    const Row rows[] = {
        {"<r><skipc>a<x/>b<y><z/></y>&amp;c\r\n<![CDATA[d]]></skipc></r>", 0,
         "<r>\n<skipc>\nskipped content\n</skipc>\n</r>\n"},
        {"<skipc>t" + deep + "t</skipc>", 0, "<skipc>\nskipped content\n</skipc>\n"},
        {"<skipc>t" + deep + "t</skipc>", kStrict, "<skipc>\nskipped content\n</skipc>\n"},
        {"<skipc><x unread='1'/></skipc>", 0, "<skipc>\nskipped content\n</skipc>\n"},
        {"<skipc><x></y></skipc>", 0, "D0153E"},
        {"<skipo> <x/> <y>t</y> </skipo>", 0, "<skipo>\none\none\n</skipo>\n"},
        {"<skipo></skipo>", 0, "D0150E"},
        {"<skipo><x/>t<y/></skipo>", 0, "D0214S"},
        {"<skipn>a<x/>b<y/>c</skipn>", 0, "<skipn>\none\none\n</skipn>\n"},
    };
    expectRows(rows, std::size(rows));
}

// A contained document is read on its own: no declarations of the outer
// one, none left behind, and its end is the end of the reading.
TEST_F(Skip, ContainedDocuments)
{
    const Row rows[] = {
        {doc("\xEF\xBB\xBF<a/>"), 0, "<doc>\ndocument\n<a/>\nend of document\n</doc>\n"},
        {doc("<?xml version='1.0'?><!-- c --><a>x</a> "), 0,
         "<doc>\ndocument\n<a>\n'x'\n</a>\nend of document\n</doc>\n"},
        {"<r xmlns='urn:example:a' xmlns:p='urn:p'>" + doc("<a/>") + "<b/><p:c/></r>", 0,
         "<r {urn:example:a}>\n<doc {urn:example:a}>\ndocument\n<a/>\nend of document\n</doc>\n"
         "<b {urn:example:a}/>\n<p:c {#1}/>\n</r>\n"},
        {"<r>" + doc("<a xmlns:p='urn:q'><p:b/></a>") + "<p:c/></r>", 0, "D0193S"},
        {"<r xmlns:p='urn:p'>" + doc("<p:a/>") + "</r>", 0, "D0193S"},
        {"<r>" + doc(doc("<a/>")) + "</r>", 0,
         "<r>\n<doc>\ndocument\n<doc>\ndocument\n<a/>\nend of document\n</doc>\nend of document\n</doc>\n</r>\n"},
        {doc("<a/>x"), 0, "D0355S"},
        {doc("</a>"), 0, "D0150E"},
        {doc(""), 0, "D0081S"},
        // The reading ends in the contained document, never in the outer
        // one, whose text would otherwise close it.
        {doc("<a>") + "</a>", 0, "D0081S"},
    };
    expectRows(rows, std::size(rows));
}

// Cut at every octet before its root's end, a contained document is one
// cut short.
TEST_F(Skip, ContainedDocumentTruncated)
{
    const std::string inner = "<a x='1'>t&amp;\xC3\xA9<b/><![CDATA[c]]></a>";
    for (size_t n = 0; n < inner.size(); n++) {
        int code = 0;
        std::string got = traceOf("<r>" + doc(inner.substr(0, n)) + "</r>", 0, &code);
        EXPECT_EQ(code, QOR_MORE_INPUT) << n << ": " << got;
    }
}

struct Collected {
    qor::tlex::CopySink sink;
    char text[256];
    size_t used;
};

void collect(QorXmlEnv *, qor::tlex::CopySink *sink, const unsigned char *text, uint32_t length)
{
    auto *c = reinterpret_cast<Collected *>(sink);
    size_t n = length < sizeof c->text - c->used ? length : sizeof c->text - c->used;
    memcpy(c->text + c->used, text, n);
    c->used += n;
}

// The copy sink gets the content as written; the checking walk gives an
// entity's text in place of its reference.
TEST_F(Skip, CopySink)
{
    const char kDoc[] = "<!DOCTYPE a [<!ENTITY e '<i>E</i>'>]><a x='1'>1<b y='&gt;'>&e;</b>&#60;<!--c--></a>";
    const struct {
        QorULong flags;
        const char *copied;
    } rows[] = {
        {0, "1<b y='&gt;'>&e;</b>&#60;<!--c-->"},
        {kStrict, "1<b y='&gt;'><i>E</i></b>&#60;<!--c-->"},
    };
    for (const auto &r : rows) {
        Collected c{{collect}, {}, 0};
        QorXmlEnv env;
        QorXmlTag root{};
        QorXmlTag look{};
        world.decodingFlags = r.flags;
        int code = qortest::inFrame(&world, 0, [&] {
            env.world = &world;
            env.tag = &root;
            _qor_tdex_init_env(&env, reinterpret_cast<const unsigned char *>(kDoc), sizeof kDoc - 1);
            env.open_tag = &root;
            env.tag = &look;
            qor::tlex::skip_element(&env, &c.sink);
        });
        _qor_tstk_free(&world, nullptr);
        EXPECT_EQ(code, 0) << world.errMsgBuffer;
        EXPECT_EQ(std::string(c.text, c.used), r.copied);
        EXPECT_EQ(look.kind, 2u);
        EXPECT_EQ(root.attrs, nullptr); // dropped unexamined
    }
}

} // namespace
