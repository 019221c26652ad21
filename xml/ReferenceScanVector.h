// The vector versions of the XML scans, written once over a vector type `V`
// (internal). Each x86 file instantiates them with its own `V`:
//
//   V::kWidth                bytes per vector
//   V::Load(p), V::Store(p, v)   unaligned
//   V::Splat(c), V::Eq(a, b), V::Or(a, b), V::And(a, b)
//   V::Mask(v)               one bit per byte, from each byte's top bit
//
// The blocks are handled here and the rest is left to the scalar kernels;
// what each kernel does is in ReferenceScan.h.
#pragma once

#include <cstring>

#include "xml/ReferenceScan.h"

namespace xmlscan {
namespace vector {

// The bytes that need escaping.
template <typename V> typename V::Vec Specials(typename V::Vec v) {
    using W = typename V::Vec;
    const W markup = V::Or(V::Or(V::Eq(v, V::Splat('&')), V::Eq(v, V::Splat('"'))),
                           V::Or(V::Eq(v, V::Splat('\'')), V::Eq(v, V::Splat('<'))));
    const W lineEnds = V::Or(V::Eq(v, V::Splat('\r')), V::Eq(v, V::Splat('\n')));
    return V::Or(V::Or(markup, V::Eq(v, V::Splat('>'))), lineEnds);
}

// Each block is stored as it is; at each byte that needs escaping the
// escape goes in and the rest of the block is stored again behind it.
template <typename V> std::size_t Escape(const char* in, std::size_t n, char* out) {
    constexpr std::size_t kWidth = V::kWidth;
    char* w = out;
    std::size_t i = 0;
    for (; i + 2 * kWidth <= n; i += kWidth) {
        const typename V::Vec v = V::Load(in + i);
        auto mask = V::Mask(Specials<V>(v));
        V::Store(w, v);
        std::size_t start = 0; // the first byte of the block not yet written
        while (mask != 0) {
            const std::size_t k = __builtin_ctzll(mask);
            w += k - start;
            const EscapedByte& escape = kEscapes[static_cast<unsigned char>(in[i + k])];
            std::memcpy(w, escape.bytes, sizeof escape.bytes);
            w += escape.length;
            start = k + 1;
            V::Store(w, V::Load(in + i + start));
            mask &= mask - 1;
        }
        w += kWidth - start;
    }
    return (w - out) + EscapeScalar(in + i, n - i, w);
}

// Plain bytes are stored a block at a time; each "&" is decoded by
// `DecodeEntityAt`, and the scan goes on behind what it used.
template <typename V> std::size_t Decode(const char* in, std::size_t n, char* out) {
    const typename V::Vec amp = V::Splat('&');
    char* w = out;
    std::size_t i = 0;
    while (i + V::kWidth <= n) {
        const typename V::Vec v = V::Load(in + i);
        const auto mask = V::Mask(V::Eq(v, amp));
        V::Store(w, v);
        if (mask == 0) {
            w += V::kWidth;
            i += V::kWidth;
            continue;
        }
        const std::size_t k = __builtin_ctzll(mask);
        w += k;
        i += k;
        i += DecodeEntityAt(in + i, in + n, w++);
    }
    return (w - out) + DecodeScalar(in + i, n - i, w);
}

// Copies the bytes from `*from` up to the next "&#" to `*w` and moves both
// on; false when the blocks ran out before one was found.
template <typename V>
bool CopyToReference(const char* in, std::size_t n, std::size_t* from, char** w) {
    const typename V::Vec amp = V::Splat('&');
    const typename V::Vec hash = V::Splat('#');
    for (std::size_t i = *from; i + V::kWidth + 1 <= n; i += V::kWidth) {
        const typename V::Vec v = V::Load(in + i);
        const auto mask = V::Mask(V::And(V::Eq(v, amp), V::Eq(V::Load(in + i + 1), hash)));
        V::Store(*w, v);
        if (mask != 0) {
            const std::size_t k = __builtin_ctzll(mask);
            *w += k;
            *from = i + k;
            return true;
        }
        *w += V::kWidth;
        *from = i + V::kWidth;
    }
    return false;
}

template <typename V> std::size_t Remove(const char* in, std::size_t n, char* out) {
    char* w = out;
    std::size_t work = 0;
    while (n - work >= 2 && CopyToReference<V>(in, n, &work, &w)) {
        if (work + 2 >= n) {
            break; // a trailing "&#" stays
        }
        const void* semicolon = std::memchr(in + work + 2, ';', n - work - 2);
        if (semicolon == nullptr) {
            work += 2; // only the "&#" is lost, and the scan ends
            std::memcpy(w, in + work, n - work);
            return (w - out) + (n - work);
        }
        work = static_cast<const char*>(semicolon) - in + 1;
    }
    return (w - out) + RemoveScalar(in + work, n - work, w);
}

// Candidates are the positions where the key's first and last bytes both
// match; only those are compared in full.
template <typename V>
std::size_t Find(const char* text, std::size_t n, std::size_t from, const char* key,
                 std::size_t length) {
    const typename V::Vec first = V::Splat(key[0]);
    const typename V::Vec last = V::Splat(key[length - 1]);
    std::size_t i = from;
    for (; i + length - 1 + V::kWidth <= n; i += V::kWidth) {
        auto mask = V::Mask(
            V::And(V::Eq(V::Load(text + i), first), V::Eq(V::Load(text + i + length - 1), last)));
        while (mask != 0) {
            const std::size_t k = __builtin_ctzll(mask);
            if (std::memcmp(text + i + k + 1, key + 1, length < 2 ? 0 : length - 2) == 0) {
                return i + k;
            }
            mask &= mask - 1;
        }
    }
    return i >= n ? kNotFound : FindScalar(text, n, i, key, length);
}

} // namespace vector
} // namespace xmlscan
