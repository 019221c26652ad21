// The scalar XML scans, and the choice among the versions.
#include "xml/ReferenceScan.h"

#include <cstring>
#include <string.h> // memmem

namespace xmlscan {
namespace {

// The escape for a byte, or null when it stands for itself.
constexpr const char* EscapeFor(unsigned char byte) {
    switch (byte) {
    case '&':
        return "&amp;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    case '\n':
        return "&#10;";
    default:
        return nullptr;
    }
}

const kernelchoice::Family<Kernels>& Versions() {
    static constexpr Kernels kScalar = {EscapeScalar, DecodeScalar, RemoveScalar, FindScalar};
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

extern const std::array<EscapedByte, 256> kEscapes = [] {
    std::array<EscapedByte, 256> table{};
    for (int byte = 0; byte < 256; ++byte) {
        EscapedByte& entry = table[byte];
        const char* escape = EscapeFor(static_cast<unsigned char>(byte));
        if (escape == nullptr) {
            entry.bytes[0] = static_cast<char>(byte);
            entry.length = 1;
            continue;
        }
        while (escape[entry.length] != '\0') {
            entry.bytes[entry.length] = escape[entry.length];
            ++entry.length;
        }
    }
    return table;
}();

std::size_t EscapeScalar(const char* in, std::size_t n, std::size_t /*readable*/, char* out) {
    char* w = out;
    for (std::size_t i = 0; i < n; ++i) {
        const EscapedByte& escape = kEscapes[static_cast<unsigned char>(in[i])];
        std::memcpy(w, escape.bytes, sizeof escape.bytes);
        w += escape.length;
    }
    return w - out;
}

std::size_t DecodeScalar(const char* in, std::size_t n, char* out) {
    const char* const end = in + n;
    char* w = out;
    for (const char* p = in; p < end;) {
        if (*p != '&') {
            *w++ = *p++;
            continue;
        }
        p += DecodeEntityAt(p, end, w++);
    }
    return w - out;
}

std::size_t RemoveScalar(const char* in, std::size_t n, char* out) {
    char* w = out;
    std::size_t work = 0; // where the unprocessed rest begins
    while (n - work >= 2) {
        const std::size_t amp = FindScalar(in, n, work, "&#", 2);
        if (amp == kNotFound || amp + 2 >= n) {
            break; // a trailing "&#" stays
        }
        std::memcpy(w, in + work, amp - work);
        w += amp - work;
        work = amp + 2;
        const void* semicolon = std::memchr(in + work, ';', n - work);
        if (semicolon == nullptr) {
            break; // only the "&#" is lost
        }
        work = static_cast<const char*>(semicolon) - in + 1;
    }
    std::memcpy(w, in + work, n - work);
    return w + (n - work) - out;
}

std::size_t FindScalar(const char* text, std::size_t n, std::size_t from, const char* key,
                       std::size_t length) {
    const void* hit = memmem(text + from, n - from, key, length);
    return hit == nullptr ? kNotFound : static_cast<const char*>(hit) - text;
}

const Kernels& Active() {
    return Versions().Active();
}

} // namespace xmlscan
