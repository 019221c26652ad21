#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "xml/ReferenceScan.h"

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

// Each scan version this processor can run, forced in turn; the best one
// stays in use afterwards.
template <typename Body> void OnEveryPath(Body body) {
    for (const xmlscan::Isa isa : kernelchoice::SupportedIsas()) {
        ASSERT_TRUE(xmlscan::Select(isa));
        SCOPED_TRACE("scan set " + std::to_string(static_cast<int>(isa)));
        body();
    }
}

// Holds the entity conversions on one text to the documented passes, and
// the reference removal to the scalar scan's answer.
void ExpectAsDocumented(const std::string& text, const std::string& removed) {
    XMLUtility xml;
    std::string expected, actual;
    const bool decodedOk = inplace::DecodeEntities(text, expected);
    ASSERT_EQ(xml.ConvertStringEntityReferenceToUTF8(text, actual), decodedOk) << text;
    ASSERT_EQ(actual, expected) << text;
    const bool encodedOk = inplace::EncodeEntities(text, expected);
    ASSERT_EQ(xml.ConvertStringUTF8ToEntityReference(text, actual), encodedOk) << text;
    ASSERT_EQ(actual, expected) << text;
    ASSERT_EQ(xml.ConvertStringCharacterReferenceToUTF8(text, actual), !text.empty());
    ASSERT_EQ(actual, removed) << text;
}

std::string Scanned(xmlscan::DecodeFn scan, const char* in, std::size_t n) {
    std::string out(n + xmlscan::kSlack, '\0');
    out.resize(scan(in, n, out.data()));
    return out;
}

// Every fragment at every position of plain texts of every length up to
// 80, so across every block boundary and tail of the vector loops, and one
// text dense with fragments, longer than a step of the escaping loop.
TEST(XMLReferences, EveryScanMatchesTheDocumentedPasses) {
    const std::string fragments[] = {"&amp;lt;", "&#10;", "&#", "&quot;", "<",    "\r\n",
                                     "&#x41",    "&am",   "&l", "&apos",  "&gt;;"};
    std::vector<std::string> texts;
    for (std::size_t length = 0; length <= 80; ++length) {
        for (std::size_t pos = 0; pos <= length; ++pos) {
            for (const std::string& fragment : fragments) {
                texts.push_back(std::string(length, 'a')
                                    .replace(pos, fragment.size(), fragment)
                                    .substr(0, length));
            }
        }
    }
    const std::string pieces[] = {"&", "amp;", "lt;", "gt;", "quot;", "apos;", "&#", "x41", ";",
                                  "<", ">",    "\"",  "'",   "\r",    "\n",    "a",  "#"};
    texts.emplace_back();
    for (std::size_t i = 0; i < 4000; ++i) {
        texts.back() += pieces[(i * i + i / 7) % std::size(pieces)];
    }
    OnEveryPath([&] {
        for (const std::string& text : texts) {
            ExpectAsDocumented(text, Scanned(xmlscan::RemoveScalar, text.data(), text.size()));
        }
    });
}

std::string Escaped(xmlscan::EscapeFn escape, const char* in, std::size_t n, std::size_t readable) {
    std::string out(6 * n + xmlscan::kSlack, '\0');
    out.resize(escape(in, n, readable, out.data()));
    return out;
}

// The scans themselves, on bytes at every offset from a vector boundary and
// of every length, against the scalar ones.
TEST(XMLReferences, EveryScanWorksAtEveryAlignmentAndLength) {
    std::string text = "&#1;ab&lt;c&#13;d\"e&amp;f<item>g</item>&#x41;h&amp;gt;ij\r\n"
                       "<item>klmnopqrstuvwxyz0123456789</item>&amp&#;&#";
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    std::vector<char> in(text.size() + 32);
    OnEveryPath([&] {
        const xmlscan::Kernels& scan = xmlscan::Active();
        for (std::size_t align = 0; align < 32; ++align) {
            std::copy(text.begin(), text.end(), in.begin() + align);
            const char* p = in.data() + align;
            for (std::size_t n = 0; n <= text.size(); n += n < 160 ? 1 : 7) {
                ASSERT_EQ(Scanned(scan.decode, p, n), Scanned(xmlscan::DecodeScalar, p, n)) << n;
                ASSERT_EQ(Scanned(scan.remove, p, n), Scanned(xmlscan::RemoveScalar, p, n)) << n;
                // Bytes behind the ones to escape may be read, not escaped.
                ASSERT_EQ(Escaped(scan.escape, p, n, text.size()),
                          Escaped(xmlscan::EscapeScalar, p, n, n))
                    << n;
                for (const char* key : {"</item>", "&", "#;&#"}) {
                    ASSERT_EQ(scan.find(p, n, 0, key, std::strlen(key)),
                              xmlscan::FindScalar(p, n, 0, key, std::strlen(key)))
                        << n << key;
                }
            }
        }
    });
}

} // namespace
