#include "xml/XMLUtility.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "bench/support/InPlaceReplace.h"

namespace {

using Values = std::vector<std::string>;
using Operation = std::function<bool(XMLUtility&, const std::string&, Values&)>;

// Adapters so that every operation fits one table: single-value operations
// keep their string in values[0].
Operation Single(bool (XMLUtility::*op)(const std::string&, const std::string&, std::string&),
                 std::string arg) {
    return [op, arg](XMLUtility& x, const std::string& text, Values& out) {
        const bool ok = (x.*op)(text, arg, out[0]);
        return ok;
    };
}
Operation SingleKeys(bool (XMLUtility::*op)(const std::string&, const std::string&,
                                            const std::string&, std::string&),
                     std::string open, std::string close) {
    return [=](XMLUtility& x, const std::string& text, Values& out) {
        return (x.*op)(text, open, close, out[0]);
    };
}
Operation Multi(void (XMLUtility::*op)(const std::string&, const std::string&, Values&),
                std::string arg) {
    return [=](XMLUtility& x, const std::string& text, Values& out) {
        (x.*op)(text, arg, out);
        return true;
    };
}
Operation MultiKeys(void (XMLUtility::*op)(const std::string&, const std::string&,
                                           const std::string&, Values&),
                    std::string open, std::string close) {
    return [=](XMLUtility& x, const std::string& text, Values& out) {
        (x.*op)(text, open, close, out);
        return true;
    };
}

struct Case {
    const char* what;
    Operation op;
    std::string text;
    bool ok;
    Values after; // the result argument, which starts as {"old"}
};

// What each operation returns and leaves in its result argument, on success
// and on each kind of failure.
TEST(XMLExtraction, ResultsAndFailureContracts) {
    const auto outerTag = Single(&XMLUtility::GetValueForOutermostTag, "a");
    const auto outerKey = SingleKeys(&XMLUtility::GetValueForOutermostKey, "[", "]");
    const auto insideKey = SingleKeys(&XMLUtility::GetValuesInsideKey, "[", "]");
    const auto attribute = Single(&XMLUtility::GetAttribute, "id");
    const auto cdata = Operation([](XMLUtility& x, const std::string& text, Values& out) {
        x.GetValueInsideCDATA(text, out[0]);
        return true;
    });
    const auto forTag = Multi(&XMLUtility::GetValuesForTag, "i");
    const auto withElement = Multi(&XMLUtility::GetValuesWithElement, "p");
    const auto attributes = Multi(&XMLUtility::GetAttributes, "k");
    const auto insideKeys = MultiKeys(&XMLUtility::GetValuesInsideKeys, "[", "]");
    const auto betweenKeys = MultiKeys(&XMLUtility::GetValuesBetweenKeys, "[", "]");

    const Case cases[] = {
        {"outer tag: nested", outerTag, "<a><a>x</a></a>", true, {"<a>x</a>"}},
        {"outer tag: siblings", outerTag, "<a>1</a><a>2</a>", true, {"1</a><a>2"}},
        {"outer tag: empty text", outerTag, "", false, {""}},
        {"outer tag: loose length test", outerTag, "ab", false, {""}},
        {"outer tag: no close", outerTag, "<a>x", false, {""}},
        {"outer tag: attributes", outerTag, "<a id=\"1\">x</a>", false, {""}},
        {"outer tag: case", outerTag, "<A>x</A>", false, {""}},
        {"outer key: last close", outerKey, "[a]b]", true, {"a]b"}},
        {"outer key: empty text", outerKey, "", false, {"old"}},
        {"outer key: shorter than keys", outerKey, "[", false, {"old"}},
        {"outer key: no close", outerKey, "[x", false, {""}},
        {"outer key: close only before", outerKey, "]x[", false, {""}},
        {"outer key: empty open",
         SingleKeys(&XMLUtility::GetValueForOutermostKey, "", "]"),
         "ab]c]",
         true,
         {"ab]c"}},
        {"outer key: empty close",
         SingleKeys(&XMLUtility::GetValueForOutermostKey, "[", ""),
         "x[ab",
         true,
         {"ab"}},
        {"inside key: first close", insideKey, "[a]b]", true, {"a"}},
        {"inside key: empty text", insideKey, "", false, {""}},
        {"inside key: short", insideKey, "[", false, {""}},
        {"inside key: no close", insideKey, "x[y", false, {""}},
        {"attribute: substring match", attribute, "<u userid=\"7\" id=\"3\"/>", true, {"7"}},
        {"attribute: empty text", attribute, "", false, {"old"}},
        {"attribute: empty name",
         Single(&XMLUtility::GetAttribute, ""),
         "<u id=\"3\"/>",
         false,
         {"old"}},
        {"attribute: single quotes", attribute, "<u id='3'/>", false, {""}},
        {"attribute: blanks", attribute, "<u id = \"3\"/>", false, {""}},
        {"cdata: first section", cdata, "<d><![CDATA[a<b]]><![CDATA[c]]></d>", true, {"a<b"}},
        {"cdata: empty text", cdata, "", true, {""}},
        {"cdata: unterminated", cdata, "<![CDATA[x", true, {""}},
        {"for tag: each", forTag, "<i>1</i><i>2</i>", true, {"1", "2"}},
        {"for tag: nested cuts short", forTag, "<i><i>1</i></i>", true, {"<i>1"}},
        {"for tag: found so far", forTag, "<i>1</i><i>2", true, {"1"}},
        {"for tag: empty text", forTag, "", true, {}},
        {"for tag: attributes", forTag, "<i x=\"1\">y</i>", true, {}},
        {"for tag: case", forTag, "<I>1</I>", true, {}},
        {"with element: whole span",
         withElement,
         "<p a=\"1\">x</p><p>y</p>",
         true,
         {"<p a=\"1\">x</p>"}},
        {"with element: no attributes", withElement, "<p>y</p>", true, {}},
        {"attributes: each", attributes, "<a k=\"1\"/><b k=\"2\"/>", true, {"1", "2"}},
        {"attributes: empty name", Multi(&XMLUtility::GetAttributes, ""), "<a k=\"1\"/>", true, {}},
        {"inside keys: appends", insideKeys, "[1][2]", true, {"old", "1", "2"}},
        {"inside keys: found so far", insideKeys, "[1][2", true, {"old", "1"}},
        {"inside keys: empty text", insideKeys, "", true, {"old"}},
        {"inside keys: empty close",
         MultiKeys(&XMLUtility::GetValuesInsideKeys, "[", ""),
         "[a[b",
         true,
         {"old", "", ""}},
        {"inside keys: empty open",
         MultiKeys(&XMLUtility::GetValuesInsideKeys, "", "]"),
         "a]b]",
         true,
         {"old", "a", "b"}},
        {"inside keys: both empty",
         MultiKeys(&XMLUtility::GetValuesInsideKeys, "", ""),
         "abc",
         true,
         {"old"}},
        {"between keys: appends spans", betweenKeys, "x[1]y[2]", true, {"old", "[1]", "[2]"}},
        {"between keys: empty text", betweenKeys, "", true, {"old"}},
    };
    for (const Case& c : cases) {
        XMLUtility xml;
        Values out = {"old"};
        EXPECT_EQ(c.op(xml, c.text, out), c.ok) << c.what;
        EXPECT_EQ(out, c.after) << c.what;
    }
}

TEST(XMLReplace, ResumesBehindEachReplacement) {
    struct Case {
        std::string text, search, replacement, result;
    };
    const Case cases[] = {
        {"aaaa", "aa", "a", "aa"},    {"abab", "ab", "abab", "abababab"},
        {"abc", "", "x", ""},         {"", "a", "b", ""},
        {"xyz", "q", "r", "xyz"},     {"a.b.c", ".", "", "abc"},
        {"aaa", "a", "aa", "aaaaaa"}, {std::string("a\0b", 3), std::string("\0", 1), "-", "a-b"},
    };
    XMLUtility xml;
    for (const Case& c : cases) {
        std::string result = "old";
        xml.ReplaceAllString(c.text, c.search, c.replacement, result);
        EXPECT_EQ(result, c.result) << c.text << " / " << c.search;
    }
}

// The single-pass replace against the in-place loop, on texts from a small
// alphabet where matches overlap and touch often.
TEST(XMLReplace, MatchesTheInPlaceLoop) {
    std::mt19937 random(7);
    const std::string alphabet = "aab&;";
    auto make = [&](std::size_t maxLength) {
        std::string s(random() % (maxLength + 1), ' ');
        for (char& c : s) {
            c = alphabet[random() % alphabet.size()];
        }
        return s;
    };
    XMLUtility xml;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = make(24), search = make(3), replacement = make(4);
        std::string result;
        xml.ReplaceAllString(text, search, replacement, result);
        ASSERT_EQ(result, text.empty() ? "" : inplace::ReplaceAll(text, search, replacement))
            << text << " / " << search << " / " << replacement;
    }
}

} // namespace
