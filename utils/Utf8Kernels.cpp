// The scalar UTF-8 kernels, and the choice among the versions.
#include "utils/Utf8Kernels.h"

#include <cstdint>

namespace utf8kernels {
namespace {

// The byte `k` places after `i`, or 0 when that is past the end: a sequence
// cut off by the end of the input reads its missing bytes as 0.
unsigned ByteAt(const unsigned char* s, std::size_t n, std::size_t i, std::size_t k) {
    return i + k < n ? s[i + k] : 0u;
}

// Decodes one sequence at `i` by its lead byte only and returns its length.
// Continuation bytes are not checked; only their low six bits count.
std::size_t DecodeOne(const unsigned char* s, std::size_t n, std::size_t i, wchar_t* value) {
    const unsigned b = s[i];
    const unsigned c1 = ByteAt(s, n, i, 1) & 0x3Fu;
    const unsigned c2 = ByteAt(s, n, i, 2) & 0x3Fu;
    const unsigned c3 = ByteAt(s, n, i, 3) & 0x3Fu;
    if (b >= 0xF0) {
        *value = static_cast<wchar_t>(((b & 0x07u) << 18) | (c1 << 12) | (c2 << 6) | c3);
        return 4;
    }
    if (b >= 0xE0) {
        *value = static_cast<wchar_t>(((b & 0x0Fu) << 12) | (c1 << 6) | c2);
        return 3;
    }
    if (b >= 0xC0) {
        *value = static_cast<wchar_t>(((b & 0x1Fu) << 6) | c1);
        return 2;
    }
    // Stray continuation bytes keep their low seven bits, deliberately: every
    // vector kernel copies this rule, and callers get 0xA9 back as U+0029.
    *value = static_cast<wchar_t>(b & 0x7Fu);
    return 1;
}

// Writes the UTF-8 form of `v` and returns its length: at most three bytes,
// nothing at all for 0x10000 and above.
std::size_t EncodeOne(wchar_t element, char* out) {
    // Elements are signed 32-bit values on every processor, though arm64's
    // wchar_t is unsigned.
    const auto v = static_cast<std::int32_t>(element);
    const auto u = static_cast<std::uint32_t>(v);
    if (v <= 0x7F) {
        out[0] = static_cast<char>(u & 0x7F); // negative elements keep their low seven bits
        return 1;
    }
    if (v <= 0x7FF) {
        out[0] = static_cast<char>(0xC0 | (u >> 6));
        out[1] = static_cast<char>(0x80 | (u & 0x3F));
        return 2;
    }
    if (v <= 0xFFFF) { // surrogates are encoded like any other value
        out[0] = static_cast<char>(0xE0 | (u >> 12));
        out[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (u & 0x3F));
        return 3;
    }
    return 0; // no four-byte forms: dropped
}

const kernelchoice::Family<Kernels>& Versions() {
    static constexpr Kernels kScalar = {DecodeScalar, EncodeScalar};
#if defined(__x86_64__)
    static const kernelchoice::Family<Kernels> versions(
        {&kScalar, &kSse2, &kAvx2, &kAvx512, nullptr});
#elif defined(__aarch64__)
    static const kernelchoice::Family<Kernels> versions(
        {&kScalar, nullptr, nullptr, nullptr, &kNeon});
#else
    static const kernelchoice::Family<Kernels> versions(
        {&kScalar, nullptr, nullptr, nullptr, nullptr});
#endif
    return versions;
}

} // namespace

DecodeResult DecodeScalar(const unsigned char* s, std::size_t n, std::size_t from,
                          std::size_t limit, wchar_t* out) {
    std::size_t i = from;
    std::size_t count = 0;
    while (i < limit) {
        wchar_t value;
        const std::size_t length = DecodeOne(s, n, i, &value);
        if (value == 0) {
            return {i, count, true};
        }
        out[count++] = value;
        i += length;
    }
    return {i, count, false};
}

std::size_t EncodeScalar(const wchar_t* in, std::size_t count, char* out) {
    std::size_t written = 0;
    for (std::size_t i = 0; i < count; ++i) {
        written += EncodeOne(in[i], out + written);
    }
    return written;
}

const Kernels& Active() {
    return Versions().Active();
}

} // namespace utf8kernels
