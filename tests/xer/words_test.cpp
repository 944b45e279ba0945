// Words of the XML lexer through the Lexems trace (lexems_words.c): slices
// and copies, the start tag that ended a word unread and read again with the
// temporary stack in order, qualified names, the white-space form.

#include <string>

#include "frame/world.h"
#include "memory/blocks.h"
#include "xml_support.h"
#include "xer/lexer.h"

// The trace's white-space elements reach the library's own form through this.
extern "C" void lexemsReadWordWs(QorXmlEnv *env, QorXmlWord *word, int mode)
{
    qor::tlex::read_word_ws(env, word, mode);
}

namespace {


class Words : public qortest::XmlTest {};

struct Row {
    std::string doc;
    std::string trace; // or the message's start
    QorULong flags = 0;
};

const std::string kLong = std::string(5000, 'a') + "&amp;" + std::string(5000, 'b');

// Each word, and the element that ended it read whole after it; the stack's
// top back where it was ("top moved" never shows; a stale mark would also
// trip the debug build's assertion).
TEST_F(Words, WordsAndTheTagsThatEndThem)
{
    const Row rows[] = {
        // Copied for the reference; the tag's declaration and attributes
        // unread, then read again.
        {"<word>abc&amp;def<x xmlns:p='urn:u' p:a='1' b='2'>t</x> ghi</word>",
         "<word>\nword abc&def\n<x>\n@b\n'2'\n@p:a {#1}\n'1'\n't'\n</x>\nword ghi\n</word>\n"},
        // A slice of the input, ended by an empty tag with an attribute.
        {"<word> abc<x a='1'/></word>", "<word>\nword abc\n<x/>\n@a\n'1'\n</word>\n"},
        // A tag with no records only takes new marks.
        {"<word>ab&#99;<x>1</x><y/>d</word>", "<word>\nword abc\n<x>\n'1'\n</x>\n<y/>\nword d\n</word>\n"},
        // A reference in a namespace value: the tag read again is the lexem.
        {"<word>abc<x xmlns:p='urn:a&#47;b'/>d</word>", "<word>\nword abc\n<x/>\nword d\n</word>\n"},
        // Ten thousand octets around a reference, across the first block.
        {"<word>" + kLong + "<x a='1'/></word>", "<word>\nword " + std::string(5000, 'a') + "&" +
                                                     std::string(5000, 'b') + "\n<x/>\n@a\n'1'\n</word>\n"},
        // Words run through entities and CDATA; whitespace ends them there too.
        {"<!DOCTYPE word [<!ENTITY e 'b c'>]><word>a&e;d</word>", "<word>\nword ab\nword cd\n</word>\n"},
        {"<word>a<![CDATA[b c]]>d\xC3\xA9 \xC3\xA9t\xC3\xA9</word>",
         "<word>\nword ab\nword cd\xC3\xA9\nword \xC3\xA9t\xC3\xA9\n</word>\n"},
        // A word inside an element that a word ended.
        {"<word>a<word xmlns:p='urn:u'>b<c/></word></word>",
         "<word>\nword a\n<word>\nword b\n<c/>\n</word>\n</word>\n"},
        // The word kept beyond the tag's re-read: the consolidating form
        // for a copy, the word's end for a slice.
        {"<wordc>abc&amp;def<x xmlns:p='urn:u' p:a='1'>t</x>g<y/></wordc>",
         "<wordc>\n<x>\n@p:a {#1}\n'1'\n't'\n</x>\nword abc&def\n<y/>\nword g\n</wordc>\n"},
        {"<wordc>&amp;" + kLong + "<x/></wordc>", "<wordc>\n<x/>\nword &" + std::string(255, 'a') + "\n</wordc>\n"},
        // In attribute values: a slice to the value's end, through
        // references and entities, whitespace normalised.
        {"<!DOCTYPE worda [<!ENTITY e 'c\td'>]><worda x=' a&amp;b&e;e\tf' y='&#x31;2'/>",
         "<worda/>\n@y\nword 12\n@x\nword a&bc\nword de\nword f\n"},
        {"<word>a\xFF</word>", "D0120S: Incorrect sequence of octets in UTF8String"},
        {"<word>a&nope;</word>", "D0191S: Reference to unknown entity: 'nope'"},
        {"<word>a", "D0081S"},
        // Attributes the element leaves unread.
        {"<word x='&nope;'/>", "<word/>\n", IGNORE_UNKNOWN_ATTRIBUTES},
        {"<word x='1'/>", "D0229S: Unknown attribute : 'x'"},
        {"<a x='1' unread='2'/>", "<a/>\n@x\n'1'\n", IGNORE_UNKNOWN_ATTRIBUTES},
        {"<a x='1' unread='2'/>", "D0229S: Unknown attribute : 'unread'"},
        {"<word xmlns:c='urn:oid:2.1.5.2.0.1' c:nil='true'/>",
         "D0251S: A nil identification attribute is not allowed for this type: 'c:nil'", IGNORE_UNKNOWN_ATTRIBUTES},
    };
    for (const Row &r : rows) {
        std::string trace = traceOf(r.doc, r.flags);
        EXPECT_EQ(trace.substr(0, r.trace.size()), r.trace) << r.doc.substr(0, 100);
    }
}

// Qualified names: canonical pointers, the default namespace and its undoing,
// the prefix xml, a prefix declared on the element itself.
TEST_F(Words, QualifiedNames)
{
    const Row rows[] = {
        {"<wordq xmlns:p='urn:u'><wordq xmlns:q='urn:u'>p:a q:b</wordq>p:c</wordq>",
         "<wordq>\n<wordq>\nword p:a {#1}\nword q:b {#1}\n</wordq>\nword p:c {#1}\n</wordq>\n"},
        {"<wordq xmlns='urn:example:a'><wordq xmlns=''>a</wordq> b xml:lang</wordq>",
         "<wordq {urn:example:a}>\n<wordq>\nword a\n</wordq>\nword b {urn:example:a}\n"
         "word xml:lang {http://www.w3.org/XML/1998/namespace}\n</wordq>\n"},
        {"<p:wordq xmlns:p='urn:u'>p:x</p:wordq>", "<p:wordq {#1}>\nword p:x {#1}\n</p:wordq>\n"},
        {"<wordq xmlns:p='urn:example&#x3A;a'>p:x</wordq>", "<wordq>\nword p:x {urn:example:a}\n</wordq>\n"},
        {"<wordq>p:x</wordq>", "D0193S: Undefined namespace prefix encountered: 'p:x'"},
        {"<wordq>p:</wordq>", "D0206S: Invalid character in a name: 'p:'"},
        {"<wordq>1a</wordq>", "D0206S: Invalid character in a name: '1a'"},
    };
    for (const Row &r : rows) {
        std::string trace = traceOf(r.doc, r.flags);
        EXPECT_EQ(trace.substr(0, r.trace.size()), r.trace) << r.doc;
    }
}

// A URI that rows of the namespace table repeat is the last such row's
// pointer: the trace names the schema's own row, and numbers another.
TEST_F(Words, DuplicatedRowsGiveTheLast)
{
    static const char kCopy[] = "urn:example:a";
    const QorXmlNsRow *own = lexemsExerInfo.ns_table;
    const QorXmlNsRow rows[2][4] = {
        {{0, kCopy, "c"}, own[0], own[1], own[2]},
        {own[0], own[1], own[2], {0, kCopy, "c"}},
    };
    const char *traces[2] = {"<wordq>\nword p:x {urn:example:a}\n", "<wordq>\nword p:x {#1}\n"};
    for (int i = 0; i < 2; i++) {
        world.privateArea->namespaceCopy = const_cast<QorXmlNsRow *>(rows[i]);
        world.privateArea->namespaceCount = 4;
        std::string trace = traceOf("<wordq xmlns:p='urn:example:a'>p:x</wordq>");
        world.privateArea->namespaceCopy = nullptr;
        EXPECT_EQ(trace.substr(0, strlen(traces[i])), traces[i]) << i;
    }
}

// The white-space form: the whole text before a tag, kept, collapsed or
// replaced.
TEST_F(Words, WhiteSpaceForm)
{
    const Row rows[] = {
        {"<wordws0> a&#9;b<x/></wordws0>", "<wordws0>\ntext | a\tb|\n<x/>\n</wordws0>\n"},
        {"<wordws2> \t a \n\n b&#32;<x a='1'/> c</wordws2>",
         "<wordws2>\ntext | a b|\n<x/>\n@a\n'1'\ntext | c|\n</wordws2>\n"},
        {"<wordws4> a\tb <x/></wordws4>", "<wordws4>\ntext | a b |\n<x/>\n</wordws4>\n"},
    };
    for (const Row &r : rows)
        EXPECT_EQ(traceOf(r.doc, r.flags), r.trace) << r.doc;
}

// Ten million octets in one word, in place and copied: linear, and one piece.
TEST_F(Words, LongWords)
{
    const std::string body(10000000, 'w');
    for (const char *ref : {"", "&amp;"}) {
        int code = -1;
        std::string trace = traceOf(std::string("<word>") + ref + body + "</word>", 0, &code);
        ASSERT_EQ(code, 0) << trace.substr(0, 200);
        EXPECT_EQ(trace.size(), body.size() + (ref[0] != 0 ? 1 : 0) + 21);
    }
}

// A mark above the stack's top was taken before somebody gave its memory
// back: handing out that memory again would break live records, and debug
// builds stop there.
TEST_F(Words, StaleMarkAsserts)
{
    auto *piece = static_cast<unsigned char *>(_qor_tstk_alloc(&world, 64));
    _qor_tstk_free(&world, piece + 32);
    EXPECT_DEBUG_DEATH(_qor_tstk_free(&world, piece + 64), "stale mark");
    qor::releaseTemp(&world);
}

} // namespace
