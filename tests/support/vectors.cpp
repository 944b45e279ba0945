// A reader for the reference vectors: a JSON list of flat objects whose
// fields are strings or lists of strings; that is all it understands.
#include "support/vectors.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace qortest {

namespace {

// The string value of `key` in the object text, unescaped.
std::string field(const std::string &object, const std::string &key)
{
    std::string marker = "\"" + key + "\"";
    size_t at = object.find(marker);
    if (at == std::string::npos)
        return "";
    at = object.find_first_of("\"[", at + marker.size());
    if (at == std::string::npos)
        return "";
    if (object[at] == '[') // a list: its first string
        at = object.find('"', at);
    std::string out;
    for (size_t i = at + 1; i < object.size() && object[i] != '"'; i++) {
        if (object[i] == '\\' && i + 1 < object.size()) {
            char c = object[++i];
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c;
        } else {
            out += object[i];
        }
    }
    return out;
}

std::vector<Vector> load()
{
    std::vector<Vector> all;
    std::ifstream in(QOR_VECTORS_DIR "/personnel.json");
    if (!in)
        return all;
    std::stringstream buffer;
    buffer << in.rdbuf();
    std::string text = buffer.str();
    // Objects of the list, found outside strings (values hold braces).
    std::vector<std::string> objects;
    bool inString = false;
    size_t start = 0;
    for (size_t i = 0; i < text.size(); i++) {
        char c = text[i];
        if (inString) {
            if (c == '\\')
                i++;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '{') {
            start = i;
        } else if (c == '}') {
            objects.push_back(text.substr(start, i - start + 1));
        }
    }
    for (const std::string &object : objects) {
        Vector v;
        v.schema = field(object, "schema");
        v.rule = field(object, "rule");
        v.madeBy = field(object, "made_by");
        v.text = field(object, "encoding_text");
        v.encoding = hex(field(object, "encoding_hex").c_str());
        all.push_back(v);
    }
    return all;
}

} // namespace

std::vector<Vector> vectorsFor(const std::string &schema, const std::string &rule)
{
    static const std::vector<Vector> all = load();
    std::vector<Vector> out;
    for (const Vector &v : all)
        if (v.schema == schema && v.rule == rule)
            out.push_back(v);
    return out;
}

namespace {

void expectName(const Name &a, const Name &b)
{
    EXPECT_STREQ(a.givenName, b.givenName);
    EXPECT_STREQ(a.initial, b.initial);
    EXPECT_STREQ(a.familyName, b.familyName);
}

} // namespace

void expectPersonnelExample(const void *decoded) { expectPersonnel(decoded, personnelExample); }

void expectPersonnel(const void *decoded, const PersonnelRecord &want)
{
    const auto &got = *static_cast<const PersonnelRecord *>(decoded);
    expectName(got.name, want.name);
    EXPECT_STREQ(got.title, want.title);
    EXPECT_EQ(got.number, want.number);
    EXPECT_STREQ(got.dateOfHire, want.dateOfHire);
    expectName(got.nameOfSpouse, want.nameOfSpouse);
    ASSERT_EQ(got.children.count, want.children.count);
    for (QorLong i = 0; i < got.children.count; i++) {
        expectName(got.children.value[i].name, want.children.value[i].name);
        EXPECT_STREQ(got.children.value[i].dateOfBirth, want.children.value[i].dateOfBirth);
        EXPECT_EQ(got.children.value[i].bit_mask, want.children.value[i].bit_mask);
        EXPECT_EQ(got.children.value[i].sex, want.children.value[i].sex);
    }
}

} // namespace qortest
