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

std::string FormatNumber(const char* format, long value) {
    char buffer[1024];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

} // namespace

fn::fn_wstring string2wstring(const std::string& text) {
    fn::fn_wstring out;
    const auto* in = reinterpret_cast<const signed char*>(text.data());
    // Written once, never zero-filled first: the same holds for every
    // conversion below. None of them reads the size the operation is given:
    // GCC 12 passes the grown capacity there instead of the size asked for.
    const std::size_t size = text.size();
    out.resize_and_overwrite(size, [in, size](wchar_t* dst, std::size_t) {
        for (std::size_t k = 0; k < size; ++k) {
            // Deliberate sign extension of bytes 0x80-0xFF: callers carry raw bytes
            // in wide strings and get them back whole from wstring2string.
            dst[k] = in[k];
        }
        return size;
    });
    return out;
}

std::string wstring2string(const fn::fn_wstring& text) {
    std::string out;
    out.resize_and_overwrite(text.size(), [&text](char* dst, std::size_t) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            dst[i] = static_cast<char>(text[i] & 0xFF);
        }
        return text.size();
    });
    return out;
}

std::string wstring2utf8(const fn::fn_wstring& text) {
    const utf8kernels::EncodeFn encode = utf8kernels::Active().encode;
    constexpr std::size_t kStep = 1024; // elements a step
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += kStep) {
        const std::size_t count = std::min(kStep, text.size() - i);
        const std::size_t written = out.size();
        out.resize_and_overwrite(written + 3 * count + utf8kernels::kEncodeSlack,
                                 [&](char* dst, std::size_t) {
                                     return written + encode(text.data() + i, count, dst + written);
                                 });
        if (i == 0) {
            // Sized once, from the first step's bytes per element and an
            // eighth more, rather than for three bytes an element: growing a
            // large result step by step would copy it and fault in fresh
            // pages each time.
            out.reserve(out.size() * (text.size() / count) + text.size() / 8 + 3 * kStep +
                        utf8kernels::kEncodeSlack);
        }
    }
    return out;
}

fn::fn_wstring utf8towstring(const std::string& text) {
    const utf8kernels::DecodeFn decode = utf8kernels::Active().decode;
    const std::size_t n = text.size();
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    fn::fn_wstring out;
    // Never more elements than bytes.
    out.resize_and_overwrite(n + utf8kernels::kDecodeSlack, [&](wchar_t* dst, std::size_t) {
        const utf8kernels::DecodeResult result = decode(s, n, 0, n, dst);
        return result.count;
    });
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
