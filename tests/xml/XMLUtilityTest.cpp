#include "xml/XMLUtility.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using Values = std::vector<std::string>;

using S = const std::string&;
using Op = bool (*)(S text, S a, S b, Values& out);

// Each operation on `text` with its arguments; single-value operations keep
// their string in out[0], the list ones always succeed.
// clang-format off
const Op OuterTag = [](S t, S a, S, Values& o) { return XMLUtility().GetValueForOutermostTag(t, a, o[0]); };
const Op OuterKey = [](S t, S a, S b, Values& o) { return XMLUtility().GetValueForOutermostKey(t, a, b, o[0]); };
const Op InsideKey = [](S t, S a, S b, Values& o) { return XMLUtility().GetValuesInsideKey(t, a, b, o[0]); };
const Op Attribute = [](S t, S a, S, Values& o) { return XMLUtility().GetAttribute(t, a, o[0]); };
const Op Cdata = [](S t, S, S, Values& o) { XMLUtility().GetValueInsideCDATA(t, o[0]); return true; };
const Op ForTag = [](S t, S a, S, Values& o) { XMLUtility().GetValuesForTag(t, a, o); return true; };
const Op WithElement = [](S t, S a, S, Values& o) { XMLUtility().GetValuesWithElement(t, a, o); return true; };
const Op Attributes = [](S t, S a, S, Values& o) { XMLUtility().GetAttributes(t, a, o); return true; };
const Op InsideKeys = [](S t, S a, S b, Values& o) { XMLUtility().GetValuesInsideKeys(t, a, b, o); return true; };
const Op BetweenKeys = [](S t, S a, S b, Values& o) { XMLUtility().GetValuesBetweenKeys(t, a, b, o); return true; };
// clang-format on

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
        EXPECT_EQ(c.op(c.text, c.a, c.b, out), c.ok) << c.text << " with " << c.a;
        EXPECT_EQ(out, c.after) << c.text << " with " << c.a;
    }
}

// The single-pass replace resumes behind each replacement, as the in-place
// loop does (the fuzzer holds it to that loop on any text).
TEST(XMLReplace, ResumesBehindEachReplacement) {
    const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
        {"abc", "", "x", ""} /* not a copy of the text */,
        {"abab", "ab", "abab", "abababab"},
        {"aaa", "aa", "a", "aa"},
        {"a&;&;", "&;", "&", "a&&"},
        {"", "a", "b", ""}};
    XMLUtility xml;
    for (const auto& [text, search, replacement, expected] : cases) {
        std::string result = "old";
        xml.ReplaceAllString(text, search, replacement, result);
        EXPECT_EQ(result, expected) << text << " / " << search;
    }
}

} // namespace
