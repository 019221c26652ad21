#include "utils/Conversions.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace {

using fn::fn_wstring;

fn_wstring Wide(std::initializer_list<wchar_t> elements) {
    return fn_wstring(elements.begin(), elements.end());
}

std::string Bytes(std::initializer_list<unsigned char> bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// Byte-wise widening and narrowing keep the documented losses.
TEST(ByteWiseConversion, SignExtendsAndNarrowsToLowByte) {
    struct Case {
        std::string narrow;
        fn_wstring wide;
    };
    const Case cases[] = {
        {Bytes({0x41, 0xE9}), Wide({0x41, -23})},
        {Bytes({0x00, 0x7F, 0x80, 0xFF}), Wide({0, 0x7F, -128, -1})},
        {"", Wide({})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::string2wstring(c.narrow), c.wide);
        EXPECT_EQ(Utils::wstring2string(c.wide), c.narrow);
    }
    // Narrowing keeps only the low byte, whatever the element.
    EXPECT_EQ(Utils::wstring2string(Wide({0xE9, 0x131, 0x1F600, -23})),
              Bytes({0xE9, 0x31, 0x00, 0xE9}));
}

TEST(ByteWiseConversion, RoundTripsEveryByteAtEveryOffset) {
    // Long enough for any vectorised loop to reach its tail and its body.
    std::string all;
    for (int round = 0; round < 3; ++round) {
        for (int b = 0; b < 256; ++b) {
            all.push_back(static_cast<char>(b));
        }
    }
    for (std::size_t start = 0; start < 40; ++start) {
        const std::string text = all.substr(start);
        const fn_wstring wide = Utils::string2wstring(text);
        ASSERT_EQ(wide.size(), text.size());
        for (std::size_t i = 0; i < text.size(); ++i) {
            ASSERT_EQ(wide[i], static_cast<signed char>(text[i])) << "at " << i;
        }
        ASSERT_EQ(Utils::wstring2string(wide), text);
    }
}

TEST(Utf8Encoding, FollowsTheThreeByteRules) {
    struct Case {
        fn_wstring wide;
        std::string utf8;
    };
    const Case cases[] = {
        {Wide({}), ""},
        {Wide({0x41, -23}), Bytes({0x41, 0x69})}, // negative: low seven bits
        {Wide({0xE9}), Bytes({0xC3, 0xA9})},
        {Wide({0x7FF}), Bytes({0xDF, 0xBF})},
        {Wide({0x800}), Bytes({0xE0, 0xA0, 0x80})},
        {Wide({0x20AC}), Bytes({0xE2, 0x82, 0xAC})},
        {Wide({0xD83D}), Bytes({0xED, 0xA0, 0xBD})}, // lone surrogate encoded as is
        {Wide({0xFFFF}), Bytes({0xEF, 0xBF, 0xBF})},
        {Wide({0x1F600}), ""}, // beyond three bytes: dropped
        {Wide({0x61, 0x10000, 0x62, INT_MAX, INT_MIN}), Bytes({0x61, 0x62, 0x00})},
        {Wide({0, 0x41}), Bytes({0x00, 0x41})}, // embedded zero kept
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::wstring2utf8(c.wide), c.utf8);
    }
}

TEST(Utf8Decoding, DecidesByLeadByteOnly) {
    struct Case {
        std::string utf8;
        fn_wstring wide;
    };
    const Case cases[] = {
        {"", Wide({})},
        {Bytes({0xF0, 0x9F, 0x98, 0x80}), Wide({0x1F600})},
        {Bytes({0xE2, 0x82, 0xAC}), Wide({0x20AC})},
        {Bytes({0xC3, 0xA9, 0x41}), Wide({0xE9, 0x41})},
        {Bytes({0x41, 0x80, 0x42}), Wide({0x41})},           // 0x80 decodes to 0 and ends it
        {Bytes({0xA9, 0x41}), Wide({0x29, 0x41})},           // stray continuation byte
        {Bytes({0xC3}), Wide({0xC0})},                       // missing byte read as 0
        {Bytes({0x41, 0xE2, 0x82}), Wide({0x41, 0x2080})},   // cut three-byte sequence
        {Bytes({0xFF, 0xBF, 0xBF, 0xBF}), Wide({0x1FFFFF})}, // 0xF8-0xFF read as four bytes
        {Bytes({0xF8, 0x80, 0x80, 0x80, 0x41}), Wide({})},
        {Bytes({0xC3, 0x41}), Wide({0xC1})},   // continuation not checked
        {Bytes({0xC0, 0x80, 0x41}), Wide({})}, // overlong zero ends the text
        {Bytes({0x41, 0x00, 0x42}), Wide({0x41})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::utf8towstring(c.utf8), c.wide);
    }
}

// A byte-at-a-time decoder written straight from the rules, as the oracle
// for the word-at-a-time paths.
fn_wstring ReferenceDecode(const std::string& text) {
    fn_wstring out;
    const auto at = [&](std::size_t i) -> unsigned {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    for (std::size_t i = 0; i < text.size();) {
        const unsigned b = at(i);
        unsigned v;
        std::size_t n;
        if (b >= 0xF0) {
            v = ((b & 7) << 18) | ((at(i + 1) & 63) << 12) | ((at(i + 2) & 63) << 6) |
                (at(i + 3) & 63);
            n = 4;
        } else if (b >= 0xE0) {
            v = ((b & 15) << 12) | ((at(i + 1) & 63) << 6) | (at(i + 2) & 63);
            n = 3;
        } else if (b >= 0xC0) {
            v = ((b & 31) << 6) | (at(i + 1) & 63);
            n = 2;
        } else {
            v = b & 127;
            n = 1;
        }
        if (v == 0) {
            break;
        }
        out.push_back(static_cast<wchar_t>(v));
        i += n;
    }
    return out;
}

TEST(Utf8Decoding, SpecialByteAtEveryPositionOfLongAsciiRuns) {
    const unsigned char specials[] = {0x00, 0x80, 0xC3, 0xE2, 0xF0, 0x7F, 0x01};
    for (unsigned char special : specials) {
        for (std::size_t length = 1; length < 40; ++length) {
            for (std::size_t pos = 0; pos < length; ++pos) {
                std::string text(length, 'a');
                text[pos] = static_cast<char>(special);
                ASSERT_EQ(Utils::utf8towstring(text), ReferenceDecode(text))
                    << "byte " << int(special) << " at " << pos << " of " << length;
            }
        }
    }
}

TEST(Utf8RoundTrip, KeepsEveryBmpValueOutsideTheAsciiZero) {
    fn_wstring all;
    for (wchar_t v = 1; v <= 0xFFFF; ++v) {
        all.push_back(v);
    }
    EXPECT_EQ(Utils::utf8towstring(Utils::wstring2utf8(all)), all);
}

TEST(Utf8Encoding, WideElementAtEveryPositionOfLongAsciiRuns) {
    const wchar_t specials[] = {0x80, 0x20AC, 0x1F600, -1, 0};
    for (wchar_t special : specials) {
        for (std::size_t pos = 0; pos < 20; ++pos) {
            fn_wstring text(20, L'x');
            text[pos] = special;
            std::string expected(pos, 'x');
            expected += Utils::wstring2utf8(fn_wstring(1, special));
            expected += std::string(19 - pos, 'x');
            ASSERT_EQ(Utils::wstring2utf8(text), expected)
                << "element " << special << " at " << pos;
        }
    }
}

TEST(NumberText, FormatsPlainDecimal) {
    EXPECT_EQ(Utils::int2string(-7), "-7");
    EXPECT_EQ(Utils::int2string(INT_MIN), "-2147483648");
    EXPECT_EQ(Utils::long2string(LONG_MAX), "9223372036854775807");
    EXPECT_EQ(Utils::long2string(0), "0");
    EXPECT_EQ(Utils::int2wstring(1234), fn_wstring(L"1234"));
    EXPECT_EQ(Utils::long2wstring(-42), fn_wstring(L"-42"));
}

TEST(NumberText, ParsesLikeAtoi) {
    struct Case {
        std::string text;
        long value;
    };
    const Case cases[] = {
        {"  42abc", 42}, {"abc", 0}, {"", 0},     {"-17", -17}, {"+5", 5},
        {"\t\n 9", 9},   {"- 3", 0}, {"0x1F", 0}, {"007", 7},   {"12 34", 12},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::string2int(c.text), c.value) << c.text;
        EXPECT_EQ(Utils::string2long(c.text), c.value) << c.text;
        EXPECT_EQ(Utils::wstring2int(Utils::string2wstring(c.text)), c.value) << c.text;
        EXPECT_EQ(Utils::wstring2long(Utils::string2wstring(c.text)), c.value) << c.text;
    }
    EXPECT_EQ(Utils::string2long("9000000000"), 9000000000L);
    // Narrowing first: U+0131 and U+0132 read as the digits 1 and 2.
    EXPECT_EQ(Utils::wstring2int(Wide({0x131, 0x132})), 12);
    EXPECT_EQ(Utils::wstring2long(Wide({0x34, 0x100, 0x35})), 4); // 0x100 narrows to 0
}

TEST(Utf16Units, CopiesUnitsWithoutPairing) {
    const unsigned short pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(Utils::wshort2wstring(pair), Wide({0xD83D, 0xDE00}));
    const unsigned short text[] = {0x48, 0xE9, 0xFFFF, 0};
    std::unique_ptr<wchar_t[]> array(Utils::wshort2wchar(text));
    EXPECT_EQ(array[0], 0x48);
    EXPECT_EQ(array[1], 0xE9);
    EXPECT_EQ(array[2], 0xFFFF); // zero-extended, not sign-extended
    EXPECT_EQ(array[3], 0);
    const unsigned short empty[] = {0};
    EXPECT_EQ(Utils::wshort2wstring(empty), fn_wstring());
    EXPECT_EQ(Utils::wshort2wstring(nullptr), fn_wstring());
}

TEST(Utf16Units, PlatformStringStopsAtFirstZeroUnit) {
    const char16_t text[] = {u'a', 0xD83D, 0xDE00, 0, u'b'};
    EXPECT_EQ(Utils::nsstring2wstring(text, 5), Wide({0x61, 0xD83D, 0xDE00}));
    EXPECT_EQ(Utils::nsstring2wstring(text, 2), Wide({0x61, 0xD83D}));
    EXPECT_EQ(Utils::nsstring2wstring(text, 0), fn_wstring());
    EXPECT_EQ(Utils::nsstring2wstring(nullptr, 5), fn_wstring());
    const char16_t high[] = {0xFFFE};
    EXPECT_EQ(Utils::nsstring2wstring(high, 1), Wide({0xFFFE}));
}

TEST(ByteSizeText, UsesStrictThresholds) {
    struct Case {
        unsigned int bytes;
        const char* text;
    };
    const Case cases[] = {
        {0, "0 Bytes"},       {1024, "1024 Bytes"}, {1025, "1 KB"},    {2047, "1 KB"},
        {1048576, "1024 KB"}, {1049599, "1024 KB"}, {1049600, "1 MB"}, {4294967295u, "4095 MB"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::bytesize2string(c.bytes), c.text) << c.bytes;
    }
}

TEST(VersionComparison, ComparesNumberByNumber) {
    struct Case {
        const wchar_t* a;
        const wchar_t* b;
        int result;
    };
    const Case cases[] = {
        {L"10.2", L"9.9", 1},     {L"9.9", L"10.2", -1},
        {L"1.0", L"1.0.0", -1}, // trailing zero pieces count
        {L"1.2.0", L"1.2", 1},    {L"1..2", L"1.2", 0},
        {L".5", L"5", 0},         {L"", L"", 0},
        {L"", L"0", -1},          {L"a", L"0", 0},
        {L"3a", L"3", 0},         {L"1.beta", L"1.0", 0},
        {L"-1", L"0", -1},        {L"9000000000", L"8999999999", 1}, // 64-bit pieces
        {L"1.2.3", L"1.2.4", -1}, {L"2", L"1.9.9", 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::compare_version(c.a, c.b), c.result)
            << "'" << Utils::wstring2utf8(c.a) << "' vs '" << Utils::wstring2utf8(c.b) << "'";
    }
}

TEST(Trimming, RemovesSetBytesFromTheEnds) {
    struct Case {
        std::string text;
        std::string set;
        std::string left;
        std::string right;
        std::string both;
    };
    const Case cases[] = {
        {"  x y  ", " ", "x y  ", "  x y", "x y"},
        {"   ", " ", "", "", ""},
        {"", " ", "", "", ""},
        {" x ", "", " x ", " x ", " x "},
        {"\t-x-\n", "\t\n-", "x-\n", "\t-x", "x"},
        {std::string("\0a\0", 3), std::string("\0", 1), std::string("a\0", 2),
         std::string("\0a", 2), "a"},
        {"\xff"
         "a\xff",
         "\xff", "a\xff",
         "\xff"
         "a",
         "a"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::trim_left(c.text, c.set), c.left);
        EXPECT_EQ(Utils::trim_right(c.text, c.set), c.right);
        EXPECT_EQ(Utils::trim(c.text, c.set), c.both);
    }
}

} // namespace
