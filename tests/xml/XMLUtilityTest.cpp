#include "xml/XMLUtility.h"

#include <gtest/gtest.h>

#include <random>

#include "bench/support/InPlaceReplace.h"

namespace {

using Values = std::vector<std::string>;

enum Op {
    OuterTag,
    OuterKey,
    InsideKey,
    Attribute,
    Cdata,
    ForTag,
    WithElement,
    Attributes,
    InsideKeys,
    BetweenKeys
};

// Runs one operation; single-value operations keep their string in out[0].
bool RunOp(Op op, const std::string& text, const std::string& a, const std::string& b,
           Values& out) {
    XMLUtility x;
    switch (op) {
    case OuterTag:
        return x.GetValueForOutermostTag(text, a, out[0]);
    case OuterKey:
        return x.GetValueForOutermostKey(text, a, b, out[0]);
    case InsideKey:
        return x.GetValuesInsideKey(text, a, b, out[0]);
    case Attribute:
        return x.GetAttribute(text, a, out[0]);
    case Cdata:
        x.GetValueInsideCDATA(text, out[0]);
        return true;
    case ForTag:
        x.GetValuesForTag(text, a, out);
        return true;
    case WithElement:
        x.GetValuesWithElement(text, a, out);
        return true;
    case Attributes:
        x.GetAttributes(text, a, out);
        return true;
    case InsideKeys:
        x.GetValuesInsideKeys(text, a, b, out);
        return true;
    case BetweenKeys:
        x.GetValuesBetweenKeys(text, a, b, out);
        return true;
    }
    return false;
}

// What each operation returns and leaves in its result argument (which
// starts as {"old"}) on success and on each kind of failure.
TEST(XMLExtraction, ResultsAndFailureContracts) {
    struct Case {
        Op op;
        std::string a, b, text;
        bool ok;
        Values after;
    };
    // clang-format off
    const Case cases[] = {
        {OuterTag, "a", "", "<a><a>x</a></a>", true, {"<a>x</a>"}},     {OuterTag, "a", "", "<a>1</a><a>2</a>", true, {"1</a><a>2"}},
        {OuterTag, "a", "", "", false, {""}},                           {OuterTag, "a", "", "ab", false, {""}},
        {OuterTag, "a", "", "<a>x", false, {""}},                       {OuterTag, "a", "", "<a id=\"1\">x</a>", false, {""}},
        {OuterTag, "a", "", "<A>x</A>", false, {""}},
        {OuterKey, "[", "]", "[a]b]", true, {"a]b"}},                   {OuterKey, "[", "]", "", false, {"old"}},
        {OuterKey, "[", "]", "[", false, {"old"}},                      {OuterKey, "[", "]", "[x", false, {""}},
        {OuterKey, "[", "]", "]x[", false, {""}},                       {OuterKey, "", "]", "ab]c]", true, {"ab]c"}},
        {OuterKey, "[", "", "x[ab", true, {"ab"}},
        {InsideKey, "[", "]", "[a]b]", true, {"a"}},                    {InsideKey, "[", "]", "", false, {""}},
        {InsideKey, "[", "]", "[", false, {""}},                        {InsideKey, "[", "]", "x[y", false, {""}},
        {Attribute, "id", "", "<u userid=\"7\" id=\"3\"/>", true, {"7"}}, {Attribute, "id", "", "", false, {"old"}},
        {Attribute, "", "", "<u id=\"3\"/>", false, {"old"}},           {Attribute, "id", "", "<u id='3'/>", false, {""}},
        {Attribute, "id", "", "<u id = \"3\"/>", false, {""}},
        {Cdata, "", "", "<d><![CDATA[a<b]]><![CDATA[c]]></d>", true, {"a<b"}}, {Cdata, "", "", "", true, {""}},
        {Cdata, "", "", "<![CDATA[x", true, {""}},
        {ForTag, "i", "", "<i>1</i><i>2</i>", true, {"1", "2"}},        {ForTag, "i", "", "<i><i>1</i></i>", true, {"<i>1"}},
        {ForTag, "i", "", "<i>1</i><i>2", true, {"1"}},                 {ForTag, "i", "", "", true, {}},
        {ForTag, "i", "", "<i x=\"1\">y</i>", true, {}},                {ForTag, "i", "", "<I>1</I>", true, {}},
        {WithElement, "p", "", "<p a=\"1\">x</p><p>y</p>", true, {"<p a=\"1\">x</p>"}},
        {WithElement, "p", "", "<p>y</p>", true, {}},
        {Attributes, "k", "", "<a k=\"1\"/><b k=\"2\"/>", true, {"1", "2"}}, {Attributes, "", "", "<a k=\"1\"/>", true, {}},
        {InsideKeys, "[", "]", "[1][2]", true, {"old", "1", "2"}},      {InsideKeys, "[", "]", "[1][2", true, {"old", "1"}},
        {InsideKeys, "[", "]", "", true, {"old"}},                      {InsideKeys, "[", "", "[a[b", true, {"old", "", ""}},
        {InsideKeys, "", "]", "a]b]", true, {"old", "a", "b"}},         {InsideKeys, "", "", "abc", true, {"old"}},
        {BetweenKeys, "[", "]", "x[1]y[2]", true, {"old", "[1]", "[2]"}}, {BetweenKeys, "[", "]", "", true, {"old"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        Values out = {"old"};
        EXPECT_EQ(RunOp(c.op, c.text, c.a, c.b, out), c.ok) << c.op << " " << c.text;
        EXPECT_EQ(out, c.after) << c.op << " " << c.text;
    }
}

// The single-pass replace against the in-place loop, on texts from a small
// alphabet where matches overlap and touch often.
TEST(XMLReplace, ResumesBehindEachReplacementLikeTheInPlaceLoop) {
    XMLUtility xml;
    std::string result = "old";
    xml.ReplaceAllString("abc", "", "x", result);
    EXPECT_EQ(result, ""); // not a copy of the text
    xml.ReplaceAllString("abab", "ab", "abab", result);
    EXPECT_EQ(result, "abababab");
    std::mt19937 random(7);
    auto make = [&](std::size_t maxLength) {
        std::string s(random() % (maxLength + 1), ' ');
        for (char& c : s) {
            c = "aab&;"[random() % 5];
        }
        return s;
    };
    for (int i = 0; i < 3000; ++i) {
        const std::string text = make(24), search = make(3), replacement = make(4);
        xml.ReplaceAllString(text, search, replacement, result);
        ASSERT_EQ(result, text.empty() ? "" : inplace::ReplaceAll(text, search, replacement))
            << text << " / " << search << " / " << replacement;
    }
}

} // namespace
