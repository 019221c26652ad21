#include <gtest/gtest.h>

#include <random>

#include "bench/support/InPlaceReplace.h"
#include "xml/XMLUtility.h"

namespace {

using Convert = bool (XMLUtility::*)(const std::string&, std::string&);

struct Case {
    Convert op;
    std::string text;
    bool ok;
    std::string result;
};

TEST(XMLReferences, DecodesAndEncodesAsDocumented) {
    const Convert chars = &XMLUtility::ConvertStringCharacterReferenceToUTF8;
    const Convert entities = &XMLUtility::ConvertStringEntityReferenceToUTF8;
    const Convert both = &XMLUtility::ConvertStringReferenceToUTF8;
    const Convert encode = &XMLUtility::ConvertStringUTF8ToEntityReference;
    const Convert encodeAlias = &XMLUtility::ConvertStringUTF8ToReference;
    // clang-format off
    const Case cases[] = {
        {chars, "A&#66;C", true, "AC"} /* removed, not decoded */, {chars, "&#x41;", true, ""},
        {chars, "&#X41;z", true, "z"},      {chars, "a&#", true, "a&#"} /* nothing behind "&#" */,
        {chars, "a&#b", true, "ab"} /* no ";": only "&#" is lost */, {chars, "&#;x", true, "x"},
        {chars, "x&#1;y&#2;z&#99999999999;", true, "xyz"}, {chars, "&#1;&", true, "&"},
        {chars, "&amp;", true, "&amp;"},    {chars, "", false, ""},
        {entities, "&amp;lt;", true, "<"} /* decoded twice, deliberately */, {entities, "&amp;quot;", true, "&quot;"},
        {entities, "&amp;apos;&amp;gt;", true, "'>"}, {entities, "&amp;amp;lt;", true, "&amp;lt;"},
        {entities, "&quot;&apos;&lt;&gt;", true, "\"'<>"}, {entities, "&LT;&unknown; & &", true, "&LT;&unknown; & &"},
        {entities, "&amp;&amp;lt;", true, "&<"}, {entities, "", false, ""},
        {both, "&#38;lt;", true, "lt;"} /* numeric references go first */, {both, "a&#10;&lt;&amp;#65;", true, "a<&#65;"},
        {both, "&#65;", false, ""} /* nothing left for the entity step */, {both, "", false, ""},
        {encode, "a<b & \n", true, "a&lt;b &amp; &#10;"}, {encode, "\"'\r>&amp;", true, "&quot;&apos;&#13;&gt;&amp;amp;"},
        {encode, "caf\xC3\xA9", true, "caf\xC3\xA9"}, {encode, "", false, ""},
        {encodeAlias, "<x>", true, "&lt;x&gt;"}, {encodeAlias, "", false, ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        XMLUtility xml;
        std::string result = "old";
        EXPECT_EQ((xml.*c.op)(c.text, result), c.ok) << c.text;
        EXPECT_EQ(result, c.result) << c.text;
    }
    XMLUtility xml;
    std::string untouched = "old";
    EXPECT_TRUE(xml.ConvertStringUTF8ToCharacterReference("a<b", untouched));
    EXPECT_EQ(untouched, "old");
}

// The single-pass conversions against the documented passes run one after
// the other, on texts dense with entity fragments.
TEST(XMLReferences, MatchTheDocumentedPasses) {
    const std::string pieces[] = {"&", "amp;", "lt;", "gt;", "quot;", "apos;", "&#", "x41", ";",
                                  "<", ">",    "\"",  "'",   "\r",    "\n",    "a",  "#"};
    std::mt19937 random(11);
    XMLUtility xml;
    for (int i = 0; i < 5000; ++i) {
        std::string text;
        for (int n = random() % 8; n > 0; --n) {
            text += pieces[random() % std::size(pieces)];
        }
        std::string expected, actual;
        const bool decodedOk = inplace::DecodeEntities(text, expected);
        ASSERT_EQ(xml.ConvertStringEntityReferenceToUTF8(text, actual), decodedOk) << text;
        ASSERT_EQ(actual, expected) << text;
        const bool encodedOk = inplace::EncodeEntities(text, expected);
        ASSERT_EQ(xml.ConvertStringUTF8ToEntityReference(text, actual), encodedOk) << text;
        ASSERT_EQ(actual, expected) << text;
    }
}

} // namespace
