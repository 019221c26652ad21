#include "utils/Conversions.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <vector>

#include "utils/Utf8Kernels.h"

namespace {

using fn::fn_wstring;

// Elements by their signed 32-bit value, which `wchar_t` braces cannot take
// where it is unsigned (arm64).
fn_wstring Wide(std::initializer_list<std::int32_t> elements) {
    fn_wstring out;
    for (const std::int32_t element : elements) {
        out.push_back(static_cast<wchar_t>(element));
    }
    return out;
}
std::string Bytes(std::initializer_list<unsigned char> bytes) {
    return std::string(bytes.begin(), bytes.end());
}

TEST(ByteWiseConversion, SignExtendsAndNarrowsToTheLowByte) {
    // The widening loop's blocks are held to the round trip by the fuzzer.
    EXPECT_EQ(Utils::string2wstring(Bytes({0x41, 0xE9, 0x00, 0x80, 0xFF, 0x7F})),
              Wide({0x41, -23, 0, -128, -1, 0x7F}));
    EXPECT_EQ(Utils::wstring2string(Wide({0xE9, 0x131, 0x1F600, -23})),
              Bytes({0xE9, 0x31, 0x00, 0xE9}));
}

// Each kernel version this processor can run, forced in turn; the best one
// stays in use afterwards.
template <typename Body> void OnEveryPath(Body body) {
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        ASSERT_TRUE(kernelchoice::Force(isa));
        SCOPED_TRACE(kernelchoice::Name(isa));
        body();
    }
}

// The scalar kernels' answers: the reference the vector versions are held to.
fn_wstring ScalarDecode(const std::string& text) {
    std::vector<wchar_t> out(text.size() + utf8kernels::kDecodeSlack);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const utf8kernels::DecodeResult r =
        utf8kernels::DecodeScalar(bytes, text.size(), 0, text.size(), out.data());
    return fn_wstring(out.data(), r.count);
}
std::string ScalarEncode(const fn_wstring& text) {
    std::string out(3 * text.size() + utf8kernels::kEncodeSlack, '\0');
    out.resize(utf8kernels::EncodeScalar(text.data(), text.size(), out.data()));
    return out;
}

TEST(Utf8Conversion, EncodesWithTheThreeByteRulesAndDecodesByLeadByte) {
    struct Case {
        fn_wstring wide;
        std::string utf8;
    };
    // clang-format off
    const Case encodings[] = {
        {Wide({}), ""},                       {Wide({0x41, -23}), Bytes({0x41, 0x69})},
        {Wide({0xE9}), Bytes({0xC3, 0xA9})},  {Wide({0x7FF}), Bytes({0xDF, 0xBF})},
        {Wide({0x20AC}), Bytes({0xE2, 0x82, 0xAC})}, {Wide({0xD83D}), Bytes({0xED, 0xA0, 0xBD})},
        {Wide({0xFFFF}), Bytes({0xEF, 0xBF, 0xBF})}, {Wide({0x1F600}), ""},
        {Wide({0x61, 0x10000, INT_MAX, INT_MIN}), Bytes({0x61, 0x00})}, {Wide({0, 0x41}), Bytes({0x00, 0x41})},
    };
    const Case decodings[] = {
        {Wide({}), ""},                       {Wide({0x1F600}), Bytes({0xF0, 0x9F, 0x98, 0x80})},
        {Wide({0xE9, 0x41}), Bytes({0xC3, 0xA9, 0x41})}, {Wide({0x41}), Bytes({0x41, 0x80, 0x42})},
        {Wide({0x29, 0x41}), Bytes({0xA9, 0x41})},       {Wide({0xC0}), Bytes({0xC3})},
        {Wide({0x41, 0x2080}), Bytes({0x41, 0xE2, 0x82})}, {Wide({0x1FFFFF}), Bytes({0xFF, 0xBF, 0xBF, 0xBF})},
        {Wide({0xC1}), Bytes({0xC3, 0x41})},  {Wide({}), Bytes({0xC0, 0x80, 0x41})},
        {Wide({0x41}), Bytes({0x41, 0x00, 0x42})},
    };
    // clang-format on
    fn_wstring bmp;
    for (wchar_t v = 1; v <= 0xFFFF; ++v) {
        bmp.push_back(v);
    }
    OnEveryPath([&] {
        for (const Case& c : encodings) {
            EXPECT_EQ(Utils::wstring2utf8(c.wide), c.utf8);
        }
        for (const Case& c : decodings) {
            EXPECT_EQ(Utils::utf8towstring(c.utf8), c.wide);
        }
        EXPECT_EQ(Utils::utf8towstring(Utils::wstring2utf8(bmp)), bmp);
    });
}

// Every sequence kind (truncated, stray and ending ones included) at every
// position of ASCII texts of every length up to 64 and from 120 to 140, so
// across every block boundary and tail of the vector loops (up to sixty-four
// bytes or elements a step), each text at another alignment; then long texts,
// for many steps of the conversions' chunked loops, and three-byte sequences
// only, where the loops' power-of-two steps end inside one.
TEST(Utf8Conversion, EveryKernelMatchesTheScalarOne) {
    // clang-format off
    const std::string pieces[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\x80", "\xBF", "\xC3",
                                  "\xE2\x82", "\xF0\x9F", std::string(1, '\0'), "\xC0\x80", "\x7F",
                                  "\xDF\xBF\xEF\xBF\xBF\xC3\xA9", "\xC3\xC3\xA9", "\xE2\xC3\xA9", "\xFF\xFF\xFF\xFF\xFF"};
    // clang-format on
    const wchar_t elements[] = {0x80,
                                0x7FF,
                                0x800,
                                0x20AC,
                                0xFFFF,
                                0x10000,
                                0x1F600,
                                static_cast<wchar_t>(-1),
                                0,
                                0x7F,
                                static_cast<wchar_t>(INT_MIN),
                                0xD83D};
    std::string longText;
    fn_wstring longWide;
    for (std::size_t i = 0; longText.size() < 150000; ++i) { // more than two decoding steps
        longText += pieces[(i * i + i / 5) % 6];             // whole, stray and cut sequences
        longWide += elements[(i * 7 + i / 3) % std::size(elements)];
    }
    std::string euros;
    for (int i = 0; i < 100000; ++i) {
        euros += "\xE2\x82\xAC";
    }
    constexpr std::size_t kLongest = 140;
    std::string padded(kLongest + 16 + 3, '\0');
    std::vector<wchar_t> decoded(kLongest + 16 + utf8kernels::kDecodeSlack);
    OnEveryPath([&] {
        for (std::size_t length = 0; length <= kLongest; length = length == 64 ? 120 : length + 1) {
            for (std::size_t pos = 0; pos <= length; ++pos) {
                const std::size_t align = (length + pos) % 16;
                for (const std::string& piece : pieces) {
                    const std::string text =
                        (std::string(length, 'a').replace(pos, piece.size(), piece))
                            .substr(0, length);
                    const fn_wstring expected = ScalarDecode(text);
                    ASSERT_EQ(Utils::utf8towstring(text), expected) << length << "@" << pos;
                    // The kernel itself, on bytes at another offset from a vector boundary.
                    padded.replace(align, text.size(), text);
                    const auto* s = reinterpret_cast<const unsigned char*>(padded.data()) + align;
                    const utf8kernels::DecodeResult r = utf8kernels::Active().decode(
                        s, text.size(), 0, text.size(), decoded.data() + align % 8);
                    ASSERT_EQ(fn_wstring(decoded.data() + align % 8, r.count), expected);
                }
                for (const wchar_t element : elements) {
                    fn_wstring text(length, L'x');
                    if (pos < length) {
                        text[pos] = element;
                    }
                    ASSERT_EQ(Utils::wstring2utf8(text), ScalarEncode(text))
                        << element << "@" << pos;
                }
            }
        }
        EXPECT_EQ(Utils::utf8towstring(longText), ScalarDecode(longText));
        EXPECT_EQ(Utils::wstring2utf8(longWide), ScalarEncode(longWide));
        EXPECT_EQ(Utils::utf8towstring(euros), fn_wstring(100000, 0x20AC));
    });
}

// Ten thousand generated cases, the same on every processor, and a digest of
// every result fixed here: x86-64 and arm64 (where char and wchar_t are
// unsigned) are held to the same bytes, by every kernel version.
TEST(ByteWiseConversion, GeneratedCasesGiveTheSameBytesOnEveryProcessor) {
    EXPECT_EQ(Utils::wstring2utf8(Utils::string2wstring("\xE9")), "i");
    EXPECT_LT(Utils::string2wstring("\xE9"), Utils::string2wstring("A"));
    OnEveryPath([] {
        std::uint64_t state = 0x9E3779B97F4A7C15u; // xorshift64
        const auto next = [&state] {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            return state;
        };
        std::uint64_t digest = 0xCBF29CE484222325u; // FNV-1a over every result
        const auto mix = [&digest](std::uint32_t value, int bytes) {
            for (int k = 0; k < bytes; ++k) {
                digest = (digest ^ ((value >> (8 * k)) & 0xFF)) * 0x100000001B3u;
            }
        };
        const auto mixBytes = [&mix](const std::string& text) {
            mix(static_cast<std::uint32_t>(text.size()), 4);
            for (const char c : text) {
                mix(static_cast<unsigned char>(c), 1);
            }
        };
        const auto mixWide = [&mix](const fn_wstring& text) {
            mix(static_cast<std::uint32_t>(text.size()), 4);
            for (const wchar_t element : text) {
                mix(static_cast<std::uint32_t>(element), 4);
            }
        };
        for (int i = 0; i < 10000; ++i) {
            std::string bytes;
            fn_wstring wide;
            for (std::uint64_t n = next() % 24; n > 0; --n) {
                const std::uint64_t r = next();
                bytes.push_back(static_cast<char>(r & 0xFF));
                // Every range: any 32-bit value, sign-extended bytes, the BMP, two-byte values.
                const std::uint32_t ranges[] = {
                    static_cast<std::uint32_t>(r >> 32),
                    static_cast<std::uint32_t>(static_cast<std::int8_t>(r >> 8)),
                    static_cast<std::uint32_t>(r >> 16) & 0xFFFF,
                    static_cast<std::uint32_t>(r >> 16) & 0x7FF};
                wide.push_back(static_cast<wchar_t>(ranges[(r >> 40) % 4]));
            }
            const fn_wstring widened = Utils::string2wstring(bytes);
            mixWide(widened);
            mixBytes(Utils::wstring2utf8(widened));
            mixWide(Utils::utf8towstring(bytes));
            mixBytes(Utils::wstring2utf8(wide));
            mixBytes(Utils::wstring2string(wide));
            mix(static_cast<std::uint32_t>(Utils::wstring2int(wide)), 4);
            mix(static_cast<std::uint32_t>(widened.compare(wide) < 0 ? 1
                                           : widened == wide         ? 2
                                                                     : 3),
                1);
        }
        EXPECT_EQ(digest, 0xA47191B4EA9DCAEu);
    });
}

TEST(NumberText, FormatsPlainDecimalParsesLikeAtoiAndSizesBytes) {
    EXPECT_EQ(Utils::int2string(-7), "-7");
    EXPECT_EQ(Utils::int2string(INT_MIN), "-2147483648");
    EXPECT_EQ(Utils::long2string(LONG_MAX), "9223372036854775807");
    EXPECT_EQ(Utils::int2wstring(1234), fn_wstring(L"1234"));
    EXPECT_EQ(Utils::long2wstring(-42), fn_wstring(L"-42"));
    const std::pair<std::string, long> cases[] = {{"  42abc", 42}, {"abc", 0},   {"", 0},
                                                  {"-17", -17},    {"+5", 5},    {"- 3", 0},
                                                  {"0x1F", 0},     {"12 34", 12}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(Utils::string2int(text), value) << text;
        EXPECT_EQ(Utils::string2long(text), value) << text;
        EXPECT_EQ(Utils::wstring2int(Utils::string2wstring(text)), value) << text;
        EXPECT_EQ(Utils::wstring2long(Utils::string2wstring(text)), value) << text;
    }
    EXPECT_EQ(Utils::string2long("9000000000"), 9000000000L);
    EXPECT_EQ(Utils::wstring2int(Wide({0x131, 0x132})), 12); // narrowed first: U+0131 reads as "1"
    EXPECT_EQ(Utils::wstring2long(Wide({0x34, 0x100, 0x35})), 4); // 0x100 narrows to 0
    // Byte sizes use strict thresholds.
    const std::pair<unsigned, const char*> sizes[] = {
        {0, "0 Bytes"},       {1024, "1024 Bytes"}, {1025, "1 KB"},    {2047, "1 KB"},
        {1048576, "1024 KB"}, {1049599, "1024 KB"}, {1049600, "1 MB"}, {4294967295u, "4095 MB"}};
    for (const auto& [bytes, text] : sizes) {
        EXPECT_EQ(Utils::bytesize2string(bytes), text) << bytes;
    }
}

TEST(Utf16Units, CopiesUnitsZeroExtendedWithoutPairing) {
    const unsigned short pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(Utils::wshort2wstring(pair), Wide({0xD83D, 0xDE00}));
    EXPECT_EQ(Utils::wshort2wstring(nullptr), fn_wstring());
    const unsigned short text[] = {0x48, 0xFFFF, 0};
    std::unique_ptr<wchar_t[]> array(Utils::wshort2wchar(text));
    EXPECT_TRUE(array[0] == 0x48 && array[1] == 0xFFFF && array[2] == 0);
    const char16_t units[] = {u'a', 0xD83D, 0xDE00, 0, u'b'};
    EXPECT_EQ(Utils::nsstring2wstring(units, 5),
              Wide({0x61, 0xD83D, 0xDE00})); // ends at the 0 unit
    EXPECT_EQ(Utils::nsstring2wstring(units, 2), Wide({0x61, 0xD83D}));
    EXPECT_EQ(Utils::nsstring2wstring(units, 0), fn_wstring());
    EXPECT_EQ(Utils::nsstring2wstring(nullptr, 5), fn_wstring());
}

TEST(VersionComparison, ComparesNumberByNumber) {
    struct Case {
        const wchar_t *a, *b;
        int result;
    };
    // clang-format off
    const Case cases[] = {
        {L"10.2", L"9.9", 1}, {L"9.9", L"10.2", -1}, {L"1.0", L"1.0.0", -1}, {L"1.2.0", L"1.2", 1},
        {L"1..2", L"1.2", 0}, {L".5", L"5", 0},      {L"", L"", 0},          {L"", L"0", -1},
        {L"a", L"0", 0},      {L"3a", L"3", 0},      {L"-1", L"0", -1},      {L"9000000000", L"8999999999", 1},
        {L"2", L"1.9.9", 1},
    };
    // clang-format on
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::compare_version(c.a, c.b), c.result)
            << Utils::wstring2utf8(c.a) << " vs " << Utils::wstring2utf8(c.b);
    }
}

TEST(Trimming, RemovesSetBytesFromTheEnds) {
    struct Case {
        std::string text, set, left, right, both;
    };
    const std::string nul(1, '\0');
    const Case cases[] = {
        {"  x y  ", " ", "x y  ", "  x y", "x y"},
        {"   ", " ", "", "", ""},
        {" x ", "", " x ", " x ", " x "},
        {"\t-x-\n", "\t\n-", "x-\n", "\t-x", "x"},
        {nul + "a" + nul, nul, "a" + nul, nul + "a", "a"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::trim_left(c.text, c.set), c.left);
        EXPECT_EQ(Utils::trim_right(c.text, c.set), c.right);
        EXPECT_EQ(Utils::trim(c.text, c.set), c.both);
    }
}

} // namespace
