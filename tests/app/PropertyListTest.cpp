#include "app/PropertyList.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <functional>

#include "tests/support/ScratchDir.h"

namespace {

std::string Utf16(const std::u16string& text, bool bigEndian) {
    std::string out = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        out += bigEndian ? std::string{high, low} : std::string{low, high};
    }
    return out;
}

// Text formats: what each parses to, as key=value pairs of strings.
TEST(PropertyLists, ReadsTextPlistsAndStringsFiles) {
    struct Case {
        std::string text;
        std::map<std::string, std::string> expected;
    };
    const Case cases[] = {
        {"{ OperationType = 7; InstallationFileName = \"a b\"; }",
         {{"OperationType", "7"}, {"InstallationFileName", "a b"}}},
        {"// c\n/* c */ \"IDS_OK\" = \"Continue\";\n\"IDS_CANCEL\" = \"Cancel\" ;",
         {{"IDS_OK", "Continue"}, {"IDS_CANCEL", "Cancel"}}},
        {"\"same\";", {{"same", "same"}}},
        {"\"e\" = \"tab\\there \\\"q\\\" \\U00e9 \\101\";", {{"e", "tab\there \"q\" \xC3\xA9 A"}}},
        {"\xEF\xBB\xBF\"k\" = \"v\";", {{"k", "v"}}},
        {Utf16(u"\"k\" = \"\u00e9\U0001F600\";", false), {{"k", "\xC3\xA9\xF0\x9F\x98\x80"}}},
        {Utf16(u"\"k\" = \"v\";", true), {{"k", "v"}}},
        // \U surrogate pairs, as UTF-16 minded tools write them; a lone one is U+FFFD.
        {"\"k\" = \"\\UD83D\\UDE00|\\UD83D|\\UDE00|\\UD83D\\U0041\";",
         {{"k", "\xF0\x9F\x98\x80|\xEF\xBF\xBD|\xEF\xBF\xBD|\xEF\xBF\xBD"
                "A"}}},
    };
    for (const Case& c : cases) {
        const std::unique_ptr<PlistDictionary> parsed = ParsePropertyList(c.text);
        ASSERT_NE(parsed, nullptr) << c.text;
        for (const auto& [key, value] : c.expected) {
            ASSERT_NE(StringForKey(parsed.get(), key), nullptr) << key;
            EXPECT_EQ(*StringForKey(parsed.get(), key), value);
        }
    }
    const auto nested =
        ParsePropertyList("{ list = (a, \"b\", ); data = <0aFF>; nested = { x = y; }; }");
    EXPECT_EQ(std::get<PlistArray>(nested->at("list").value).size(), 2u);
    EXPECT_EQ(std::get<PlistData>(nested->at("data").value), (PlistData{0x0A, 0xFF}));
    EXPECT_EQ(*StringForKey(&std::get<PlistDictionary>(nested->at("nested").value), "x"), "y");
}

TEST(PropertyLists, MalformedFilesCountAsMissing) {
    const std::string malformed[] = {
        "{ a = b; ", "\"k\" = \"v\"", "\"k\" = ;", "{ a = b; } trailing", "{ a = b; } /* open",
        "( a, b )", "\"unterminated", "/* open comment", "", " // only a comment\n",
        "{ d = <0a1>; }", "{ d = <zz>; }", "= \"v\";", std::string(100, '{'),
        "<?xml version=\"1.0\"?><plist><dict><key>k</key></plist>",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>", "bplist00garbage",
        // A zero inside a binary key, on which libplist asserts.
        std::string("bplist00\xD1\x01\x02\x53"
                    "a\0b\x51v\x08\x0B\x0F",
                    20) +
            std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + "\x03" +
            std::string(15, '\0') + "\x11"};
    for (const std::string& text : malformed) {
        EXPECT_EQ(ParsePropertyList(text), nullptr) << text;
    }
    EXPECT_EQ(LoadPropertyList("/nonexistent/Preferences"), nullptr);
    // A zero inside an XML string once tripped an assertion in libplist.
    const auto zero = ParsePropertyList(std::string(
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key><string>a\0b</string>"
        "</dict></plist>",
        95));
    ASSERT_NE(StringForKey(zero.get(), "k"), nullptr);
    EXPECT_EQ(StringForKey(zero.get(), "k")->size(), 3u); // what libplist makes of it is its own
}

// Nesting beyond 64 containers is refused in every form, before libplist's
// recursion could overflow the stack on it.
TEST(PropertyLists, NestingDeeperThan64IsRefusedInEveryForm) {
    const auto xml = [](int depth) {
        std::string text = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key>";
        for (int i = 1; i < depth; ++i) {
            text += "<array><!-- <array> --><string>s</string>";
        }
        for (int i = 1; i < depth; ++i) {
            text += "</array>";
        }
        return text + "</dict></plist>";
    };
    const auto binary = [&](int depth) {
        const std::string source = xml(depth);
        plist_t root = nullptr;
        plist_from_xml(source.data(), static_cast<uint32_t>(source.size()), &root);
        char* bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(root, &bytes, &length);
        const std::string out(bytes, length);
        plist_free(root);
        std::free(bytes);
        return out;
    };
    const auto text = [](int depth) {
        return "{ k = " + std::string(depth - 1, '(') + std::string(depth - 1, ')') + "; }";
    };
    for (const auto& form :
         {std::function<std::string(int)>(xml), std::function<std::string(int)>(binary),
          std::function<std::string(int)>(text)}) {
        EXPECT_NE(ParsePropertyList(form(64)), nullptr) << form(64).substr(0, 80);
        EXPECT_EQ(ParsePropertyList(form(65)), nullptr) << form(65).substr(0, 80);
    }
    EXPECT_EQ(ParsePropertyList(xml(100000)), nullptr); // once a crash inside libplist
    EXPECT_EQ(ParsePropertyList(text(100000)), nullptr);
}

// The installer's shared list, which anyone may plant in /tmp, is read up
// to 1 MiB and not a byte more.
TEST(PropertyLists, SharedListIsReadUpToOneMebibyte) {
    testsupport::ScratchDir scratch;
    const std::string head = "{ k = \"", tail = "\"; }";
    for (const std::size_t size : {std::size_t{1} << 20, (std::size_t{1} << 20) + 1}) {
        const std::string text = head + std::string(size - head.size() - tail.size(), 'x') + tail;
        EXPECT_EQ(LoadSharedPropertyList(scratch.Write("list", text)) != nullptr, size == 1 << 20);
    }
}

TEST(PropertyLists, ReadsXmlThroughLibplistWithIntValues) {
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
  <key>OperationType</key><integer>8</integer>
  <key>Real</key><real>7.9</real>
  <key>Flag</key><true/>
  <key>Text</key><string>12abc</string>
  <key>Big</key><integer>4294967303</integer>
</dict></plist>)";
    const auto parsed = ParsePropertyList(xml);
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(parsed->at("OperationType").intValue(), 8);
    EXPECT_EQ(parsed->at("Real").intValue(), 7);
    EXPECT_EQ(parsed->at("Flag").intValue(), 1);
    EXPECT_EQ(parsed->at("Text").intValue(), 12); // a string reads its leading number
    EXPECT_EQ(parsed->at("Big").intValue(), 7);   // cut to int
}

} // namespace
