#include "utils/Conversions.h"

#include "utils/Utf8Kernels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace Utils {
namespace {

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
            // Deliberate sign extension of bytes 0x80-0xFF: callers carry raw bytes
            // in wide strings and get them back whole from wstring2string.
            dst[k] = in[i + k];
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
    const utf8kernels::EncodeFn encode = utf8kernels::Active().encode;
    constexpr std::size_t kStep = 1024; // elements a step, so that the bytes stay in cache
    char buffer[3 * kStep + utf8kernels::kEncodeSlack];
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += kStep) {
        const std::size_t count = std::min(kStep, text.size() - i);
        const std::size_t written = encode(text.data() + i, count, buffer);
        if (i == 0) {
            // Sized once, from the first step's bytes per element and an
            // eighth more: growing a large result step by step would copy it
            // and fault in fresh pages each time.
            out.reserve(written * (text.size() / count) + text.size() / 8 + 3 * kStep);
        }
        out.append(buffer, written);
    }
    return out;
}

fn::fn_wstring utf8towstring(const std::string& text) {
    const utf8kernels::DecodeFn decode = utf8kernels::Active().decode;
    const std::size_t n = text.size();
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    // Decoded in place, a step at a time: zero-filling a step that stays in
    // cache and writing over it costs less than appending small pieces to a
    // large result, whose fresh pages then fault one by one.
    constexpr std::size_t kStep = 65536; // bytes a step; never more elements than bytes
    fn::fn_wstring out;
    out.reserve(n + utf8kernels::kDecodeSlack);
    std::size_t count = 0;
    utf8kernels::DecodeResult step{0, 0, false};
    while (!step.ended && step.next < n) {
        const std::size_t limit = std::min(n, step.next + kStep);
        out.resize(count + (limit - step.next) + utf8kernels::kDecodeSlack);
        step = decode(s, n, step.next, limit, out.data() + count);
        count += step.count;
    }
    out.resize(count);
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
    // Strictly greater than 1024, and never above MB: both deliberate, since
    // the library's users show these exact texts ("1024 Bytes", "4095 MB").
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
