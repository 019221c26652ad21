#include "utils/Conversions.h"

#include <algorithm>
#include <array>
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

// Sequence length by lead byte: 0xF0 and above four, 0xE0 three, 0xC0 two,
// everything else (continuation bytes included) one.
constexpr std::array<unsigned char, 256> kSequenceLength = [] {
    std::array<unsigned char, 256> lengths{};
    for (int b = 0; b < 256; ++b) {
        lengths[b] = static_cast<unsigned char>(1 + (b >= 0xC0) + (b >= 0xE0) + (b >= 0xF0));
    }
    return lengths;
}();

// Decodes the sequence at `p` when four bytes are readable there, without
// branching on the sequence's kind: mixed text defeats branch prediction.
std::size_t DecodeOneWithinBounds(const unsigned char* p, wchar_t* value) {
    const unsigned b0 = p[0];
    const unsigned c1 = p[1] & 0x3Fu;
    const unsigned c2 = p[2] & 0x3Fu;
    const unsigned c3 = p[3] & 0x3Fu;
    const unsigned values[4] = {
        b0 & 0x7Fu,
        ((b0 & 0x1Fu) << 6) | c1,
        ((b0 & 0x0Fu) << 12) | (c1 << 6) | c2,
        ((b0 & 0x07u) << 18) | (c1 << 12) | (c2 << 6) | c3,
    };
    const std::size_t length = kSequenceLength[b0];
    *value = static_cast<wchar_t>(values[length - 1]);
    return length;
}

// Writes the UTF-8 form of `v` at `out`, which has room for three bytes, and
// returns how many of them count. Branch-free for the same reason as above.
std::size_t EncodeOne(wchar_t v, char* out) {
    const auto u = static_cast<std::uint32_t>(v);
    const std::uint32_t one = u & 0x7F; // negative elements keep their low seven bits
    const std::uint32_t two = (0xC0 | (u >> 6)) | ((0x80 | (u & 0x3F)) << 8);
    const std::uint32_t three = ((0xE0 | (u >> 12)) & 0xFF) | ((0x80 | ((u >> 6) & 0x3F)) << 8) |
                                ((0x80 | (u & 0x3F)) << 16);
    const std::size_t multi = (v > 0x7F) + (v > 0x7FF);
    const std::uint32_t forms[3] = {one, two, three};
    const std::uint32_t bytes = forms[multi];
    const std::size_t length = v > 0xFFFF ? 0 : multi + 1; // no four-byte forms
    out[0] = static_cast<char>(bytes);
    out[1] = static_cast<char>(bytes >> 8);
    out[2] = static_cast<char>(bytes >> 16);
    return length;
}

// Collects elements in a small buffer that stays in cache and appends them
// to the result in blocks, so that a large result is written once instead of
// being zero-filled first and written again.
class ChunkedAppender {
public:
    explicit ChunkedAppender(fn::fn_wstring& out) : out_(out) {}

    // A place for at least `count` (at most kSize) more elements.
    wchar_t* Reserve(std::size_t count) {
        if (used_ + count > kSize) {
            Flush();
        }
        return buffer_ + used_;
    }
    void Commit(std::size_t count) { used_ += count; }
    void Flush() {
        out_.append(buffer_, used_);
        used_ = 0;
    }

    static constexpr std::size_t kSize = 1024;

private:
    fn::fn_wstring& out_;
    wchar_t buffer_[kSize];
    std::size_t used_ = 0;
};

std::string FormatNumber(const char* format, long value) {
    char buffer[1024];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

} // namespace

fn::fn_wstring string2wstring(const std::string& text) {
    fn::fn_wstring out;
    out.reserve(text.size());
    ChunkedAppender sink(out);
    const auto* in = reinterpret_cast<const signed char*>(text.data());
    for (std::size_t i = 0; i < text.size(); i += ChunkedAppender::kSize) {
        const std::size_t count = std::min(ChunkedAppender::kSize, text.size() - i);
        wchar_t* dst = sink.Reserve(count);
        for (std::size_t k = 0; k < count; ++k) {
            dst[k] = in[i + k]; // sign extension of bytes 0x80-0xFF is deliberate
        }
        sink.Commit(count);
    }
    sink.Flush();
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
    // Sized for all-ASCII text (with room for one step's worst case); grown
    // once to the worst case for the rest when the text is not.
    std::string out(n + 3 * 8, '\0');
    std::size_t o = 0;
    std::size_t i = 0;
    auto makeRoom = [&](std::size_t bytes) {
        if (out.size() - o < bytes) {
            out.resize(o + 3 * (n - i) + bytes);
        }
    };
    // Eight elements a step: copied straight when all are ASCII, else
    // encoded one by one without looking for ASCII again in between.
    while (i + 8 <= n) {
        makeRoom(3 * 8);
        std::uint32_t any = 0;
        for (int k = 0; k < 8; ++k) {
            any |= static_cast<std::uint32_t>(src[i + k]);
        }
        if (any < 0x80) {
            for (int k = 0; k < 8; ++k) {
                out[o + k] = static_cast<char>(src[i + k]);
            }
            o += 8;
        } else {
            for (int k = 0; k < 8; ++k) {
                o += EncodeOne(src[i + k], &out[o]);
            }
        }
        i += 8;
    }
    for (; i < n; ++i) {
        makeRoom(3);
        o += EncodeOne(src[i], &out[o]);
    }
    out.resize(o);
    return out;
}

fn::fn_wstring utf8towstring(const std::string& text) {
    const std::size_t n = text.size();
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    fn::fn_wstring out;
    out.reserve(n); // never more elements than bytes
    ChunkedAppender sink(out);
    std::size_t i = 0;
    bool ended = false; // the result ends at the first decoded 0
    // Bulk: ASCII eight bytes at a time; otherwise a burst of four sequences
    // before looking for ASCII again, so mixed text does not pay for the
    // look at every character.
    while (!ended && i + 16 <= n) {
        if (IsPlainAsciiWord(s + i)) {
            constexpr std::size_t kRun = ChunkedAppender::kSize / 2;
            wchar_t* dst = sink.Reserve(kRun);
            std::size_t k = 0;
            do {
                // Sixteen bytes a step while both words are plain, else eight.
                const std::size_t step = i + 24 <= n && IsPlainAsciiWord(s + i + 8) ? 16 : 8;
                for (std::size_t j = 0; j < step; ++j) {
                    dst[k + j] = s[i + j];
                }
                k += step;
                i += step;
            } while (k + 16 <= kRun && i + 16 <= n && IsPlainAsciiWord(s + i));
            sink.Commit(k);
            continue;
        }
        wchar_t* dst = sink.Reserve(4);
        std::size_t produced = 0;
        for (; produced < 4; ++produced) {
            const std::size_t length = DecodeOneWithinBounds(s + i, &dst[produced]);
            if (dst[produced] == 0) {
                ended = true;
                break;
            }
            i += length;
        }
        sink.Commit(produced);
    }
    // Tail: one sequence at a time, reading bytes past the end as 0.
    while (!ended && i < n) {
        wchar_t* dst = sink.Reserve(1);
        i += DecodeOne(s, n, i, dst);
        ended = *dst == 0;
        sink.Commit(ended ? 0 : 1);
    }
    sink.Flush();
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
