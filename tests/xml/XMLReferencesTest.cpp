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
    const Convert inert = &XMLUtility::ConvertStringUTF8ToCharacterReference;
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
        {inert, "a<b", true, "old"} /* result untouched */,
    };
    // clang-format on
    for (const Case& c : cases) {
        XMLUtility xml;
        std::string result = "old";
        EXPECT_EQ((xml.*c.op)(c.text, result), c.ok) << c.text;
        EXPECT_EQ(result, c.result) << c.text;
    }
}

// Each scan version this processor can run, forced in turn; the best one
// stays in use afterwards.
template <typename Body> void OnEveryPath(Body body) {
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        ASSERT_TRUE(kernelchoice::Force(isa));
        SCOPED_TRACE(kernelchoice::Name(isa));
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

std::string Escaped(xmlscan::EscapeFn escape, const char* in, std::size_t n, std::size_t readable) {
    std::string out(6 * n + xmlscan::kSlack, '\0');
    out.resize(escape(in, n, readable, out.data()));
    return out;
}

// The scans themselves, on bytes at every offset from a vector boundary and
// of every length, against the scalar ones; the conversions on every length
// against the documented passes; and one text dense with references, longer
// than a step of the escaping loop.
TEST(XMLReferences, EveryScanMatchesTheScalarOneAndTheDocumentedPasses) {
    std::string text =
        "&#1;ab&lt;c&#13;d\"e&amp;f<item>g</item>&#x41;h&amp;gt;ij\r\n&amp;lt;&#10;"
        "<item>klmnopqrstuvwxyz0123456789</item>&amp&#;&#&quot;&#x41&am&l&apos&apos;&gt;;";
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    const std::string pieces[] = {"&", "amp;", "lt;", "gt;", "quot;", "apos;", "&#", "x41", ";",
                                  "<", ">",    "\"",  "'",   "\r",    "\n",    "a",  "#"};
    std::string dense; // every pair of pieces, twice with a third behind
    for (std::size_t third = 0; third < 2; ++third) {
        for (std::size_t a = 0; a < std::size(pieces); ++a) {
            for (std::size_t b = 0; b < std::size(pieces); ++b) {
                dense += pieces[a] + pieces[b] + pieces[(third == 0 ? a + b : a * b) % 17];
            }
        }
    }
    std::vector<char> in(text.size() + 32);
    OnEveryPath([&] {
        ExpectAsDocumented(dense, Scanned(xmlscan::RemoveScalar, dense.data(), dense.size()));
        // A long text through the whole conversions.
        {
            const std::string text = std::string(40000, 'a') + "&amp;apos;&lt;&#13;" + dense;
            const std::string removed = Scanned(xmlscan::RemoveScalar, text.data(), text.size());
            std::string actual;
            XMLUtility().ConvertStringEntityReferenceToUTF8(text, actual);
            ASSERT_EQ(actual, Scanned(xmlscan::DecodeScalar, text.data(), text.size()));
            XMLUtility().ConvertStringReferenceToUTF8(text, actual);
            ASSERT_EQ(actual, Scanned(xmlscan::DecodeScalar, removed.data(), removed.size()));
        }
        const xmlscan::Kernels& scan = xmlscan::Active();
        for (std::size_t align = 0; align < 32; ++align) {
            std::copy(text.begin(), text.end(), in.begin() + align);
            const char* p = in.data() + align;
            for (std::size_t n = 0; n <= text.size(); n += n < 160 ? 1 : 7) {
                if (align == 0) {
                    ExpectAsDocumented(text.substr(0, n), Scanned(xmlscan::RemoveScalar, p, n));
                }
                ASSERT_EQ(Scanned(scan.decode, p, n), Scanned(xmlscan::DecodeScalar, p, n)) << n;
                ASSERT_EQ(Scanned(scan.remove, p, n), Scanned(xmlscan::RemoveScalar, p, n)) << n;
                // Bytes behind the ones to escape may be read, not escaped.
                ASSERT_EQ(Escaped(scan.escape, p, n, text.size()),
                          Escaped(xmlscan::EscapeScalar, p, n, n))
                    << n;
                // Keys of every length class the candidate check has, and
                // near misses that differ only in the byte before the last:
                // the candidates' first and last bytes match.
                for (const char* key :
                     {"</item>", "&", "#;&#", "lmnopqrstu", "lmnopqrsXu", "</iteX>",
                      "<item>klmnopqrstuvwxyz0123456789</item>", "klmnopqrstuvwxyz01234567X9"}) {
                    ASSERT_EQ(scan.find(p, n, 0, key, std::strlen(key)),
                              xmlscan::FindScalar(p, n, 0, key, std::strlen(key)))
                        << n << key;
                }
            }
        }
    });
}

} // namespace
