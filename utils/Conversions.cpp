#include "utils/Conversions.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace Utils {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ull;
constexpr std::uint64_t kLowBits = 0x0101010101010101ull;

// True when the eight bytes at `p` are all in 0x01..0x7F, i.e. each decodes
// to itself and none of them ends the decoded text.
bool IsPlainAsciiWord(const unsigned char* p) {
    std::uint64_t w;
    std::memcpy(&w, p, sizeof w);
    const bool anyHigh = (w & kHighBits) != 0;
    const bool anyZero = ((w - kLowBits) & ~w & kHighBits) != 0;
    return !anyHigh && !anyZero;
}

// The byte `k` places after `i`, or 0 when that is past the end: a sequence
// cut off by the end of the input reads its missing bytes as 0.
unsigned ByteAt(const unsigned char* s, std::size_t n, std::size_t i, std::size_t k) {
    return i + k < n ? s[i + k] : 0u;
}

// Decodes one sequence at `i` by its lead byte only and returns its length.
std::size_t DecodeOne(const unsigned char* s, std::size_t n, std::size_t i, wchar_t* value) {
    const unsigned b = s[i];
    if (b >= 0xF0) {
        *value = static_cast<wchar_t>(((b & 0x07u) << 18) | ((ByteAt(s, n, i, 1) & 0x3Fu) << 12) |
                                      ((ByteAt(s, n, i, 2) & 0x3Fu) << 6) |
                                      (ByteAt(s, n, i, 3) & 0x3Fu));
        return 4;
    }
    if (b >= 0xE0) {
        *value = static_cast<wchar_t>(((b & 0x0Fu) << 12) | ((ByteAt(s, n, i, 1) & 0x3Fu) << 6) |
                                      (ByteAt(s, n, i, 2) & 0x3Fu));
        return 3;
    }
    if (b >= 0xC0) {
        *value = static_cast<wchar_t>(((b & 0x1Fu) << 6) | (ByteAt(s, n, i, 1) & 0x3Fu));
        return 2;
    }
    // Stray continuation bytes keep their low seven bits, deliberately.
    *value = static_cast<wchar_t>(b & 0x7Fu);
    return 1;
}

// Appends the UTF-8 form of `v` at `out`; returns the number of bytes written.
std::size_t EncodeOne(wchar_t v, char* out) {
    if (v <= 0x7F) {
        // Negative elements land here too and keep only their low seven bits.
        out[0] = static_cast<char>(v & 0x7F);
        return 1;
    }
    const auto u = static_cast<std::uint32_t>(v);
    if (u <= 0x7FF) {
        out[0] = static_cast<char>(0xC0 | (u >> 6));
        out[1] = static_cast<char>(0x80 | (u & 0x3F));
        return 2;
    }
    if (u <= 0xFFFF) {
        out[0] = static_cast<char>(0xE0 | (u >> 12));
        out[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (u & 0x3F));
        return 3;
    }
    return 0; // no four-byte sequences: the element is dropped
}

std::string FormatNumber(const char* format, long value) {
    char buffer[1024];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

} // namespace

fn::fn_wstring string2wstring(const std::string& text) {
    fn::fn_wstring out(text.size(), L'\0');
    const auto* in = reinterpret_cast<const signed char*>(text.data());
    wchar_t* dst = out.data();
    for (std::size_t i = 0; i < text.size(); ++i) {
        dst[i] = in[i]; // sign extension of bytes 0x80-0xFF is deliberate
    }
    return out;
}

std::string wstring2string(const fn::fn_wstring& text) {
    std::string out(text.size(), '\0');
    char* dst = out.data();
    for (std::size_t i = 0; i < text.size(); ++i) {
        dst[i] = static_cast<char>(text[i] & 0xFF);
    }
    return out;
}

std::string wstring2utf8(const fn::fn_wstring& text) {
    const std::size_t n = text.size();
    const wchar_t* src = text.data();
    // Sized for all-ASCII text; grown once to the worst case when it is not.
    std::string out(n, '\0');
    std::size_t o = 0;
    std::size_t i = 0;
    while (i < n) {
        if (i + 8 <= n && out.size() - o >= 8) {
            std::uint32_t any = 0;
            for (int k = 0; k < 8; ++k) {
                any |= static_cast<std::uint32_t>(src[i + k]);
            }
            if (any < 0x80) {
                for (int k = 0; k < 8; ++k) {
                    out[o + k] = static_cast<char>(src[i + k]);
                }
                i += 8;
                o += 8;
                continue;
            }
        }
        if (out.size() - o < 3) {
            out.resize(o + 3 * (n - i));
        }
        o += EncodeOne(src[i], &out[o]);
        ++i;
    }
    out.resize(o);
    return out;
}

fn::fn_wstring utf8towstring(const std::string& text) {
    const std::size_t n = text.size();
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    fn::fn_wstring out(n, L'\0'); // never more elements than bytes
    wchar_t* dst = out.data();
    std::size_t o = 0;
    std::size_t i = 0;
    while (i < n) {
        if (i + 8 <= n && IsPlainAsciiWord(s + i)) {
            for (int k = 0; k < 8; ++k) {
                dst[o + k] = s[i + k];
            }
            i += 8;
            o += 8;
            continue;
        }
        wchar_t value;
        const std::size_t length = DecodeOne(s, n, i, &value);
        if (value == 0) {
            break; // the result ends at the first decoded 0
        }
        dst[o++] = value;
        i += length;
    }
    out.resize(o);
    return out;
}

std::string long2string(long value) {
    return FormatNumber("%ld", value);
}

fn::fn_wstring long2wstring(long value) {
    return string2wstring(long2string(value));
}

std::string int2string(int value) {
    return FormatNumber("%ld", value); // an int prints the same through "%ld"
}

fn::fn_wstring int2wstring(int value) {
    return string2wstring(int2string(value));
}

int string2int(const std::string& text) {
    return std::atoi(text.c_str());
}

long string2long(const std::string& text) {
    return std::atol(text.c_str());
}

int wstring2int(const fn::fn_wstring& text) {
    return string2int(wstring2string(text));
}

long wstring2long(const fn::fn_wstring& text) {
    return string2long(wstring2string(text));
}

wchar_t* wshort2wchar(const unsigned short* units) {
    std::size_t count = 0;
    while (units != nullptr && units[count] != 0) {
        ++count;
    }
    auto* out = new wchar_t[count + 1];
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<wchar_t>(units[i]);
    }
    out[count] = 0;
    return out;
}

fn::fn_wstring wshort2wstring(const unsigned short* units) {
    const wchar_t* array = wshort2wchar(units);
    fn::fn_wstring out(array);
    delete[] array;
    return out;
}

fn::fn_wstring nsstring2wstring(const char16_t* units, std::size_t count) {
    fn::fn_wstring out;
    if (units == nullptr) {
        return out;
    }
    std::size_t length = 0;
    while (length < count && units[length] != 0) {
        ++length;
    }
    out.resize(length);
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<wchar_t>(units[i]);
    }
    return out;
}

std::string bytesize2string(unsigned int bytes) {
    unsigned long value = bytes;
    const char* unit = " Bytes";
    // Strictly greater than 1024, and never above MB: both deliberate.
    if (value > 1024) {
        value >>= 10;
        unit = " KB";
        if (value > 1024) {
            value >>= 10;
            unit = " MB";
        }
    }
    char buffer[1024];
    std::snprintf(buffer, sizeof buffer, "%lu", value);
    return std::string(buffer) + unit;
}

namespace {

std::vector<long> VersionNumbers(const fn::fn_wstring& version) {
    std::vector<long> numbers;
    std::size_t start = 0;
    while (start <= version.size()) {
        std::size_t dot = version.find(L'.', start);
        if (dot == fn::fn_wstring::npos) {
            dot = version.size();
        }
        if (dot > start) {
            numbers.push_back(wstring2long(version.substr(start, dot - start)));
        }
        start = dot + 1;
    }
    return numbers;
}

} // namespace

int compare_version(const fn::fn_wstring& a, const fn::fn_wstring& b) {
    const std::vector<long> left = VersionNumbers(a);
    const std::vector<long> right = VersionNumbers(b);
    const std::size_t shared = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shared; ++i) {
        if (left[i] != right[i]) {
            return left[i] < right[i] ? -1 : 1;
        }
    }
    // Equal so far: more numbers is newer, so trailing zero pieces count.
    if (left.size() == right.size()) {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}

std::string trim_left(const std::string& text, const std::string& set) {
    const std::size_t first = text.find_first_not_of(set);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string trim_right(const std::string& text, const std::string& set) {
    const std::size_t last = text.find_last_not_of(set);
    return last == std::string::npos ? std::string() : text.substr(0, last + 1);
}

std::string trim(const std::string& text, const std::string& set) {
    return trim_left(trim_right(text, set), set);
}

} // namespace Utils
