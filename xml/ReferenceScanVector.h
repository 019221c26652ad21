// The vector versions of the XML scans, written once over a vector type `V`
// (internal). Each x86 file instantiates them with its own `V`:
//
//   V::kWidth                bytes per vector
//   V::Load(p), V::Store(p, v)   unaligned
//   V::Splat(c)              a vector of `c`
//   V::Eq(a, b)              which bytes are equal: a vector of 0xFF or 0
//                            bytes, or one bit per byte where the
//                            instruction set compares into masks
//   V::Or(a, b), V::And(a, b)    on results of Eq
//   V::Mask(r)               one bit per byte of a result
//   V::Count(r, mask)        how many bytes `r` marks; `mask` is V::Mask(r)
//   V::Specials(v)           a result marking the bytes that need escaping
//
// The blocks are handled here and the rest is left to the scalar kernels;
// what each kernel does is in ReferenceScan.h.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "xml/ReferenceScan.h"

namespace xmlscan {
namespace vector {

// The bytes that need escaping, by comparison with each: for vector types
// without a faster way.
template <typename V> typename V::Vec CompareSpecials(typename V::Vec v) {
    const auto is = [v](char c) { return V::Eq(v, V::Splat(c)); };
    const typename V::Vec markup = V::Or(V::Or(is('&'), is('"')), V::Or(is('\''), is('<')));
    const typename V::Vec lineEnds = V::Or(is('\r'), is('\n'));
    return V::Or(V::Or(markup, is('>')), lineEnds);
}

// Copies `length` bytes, in whole vectors: up to two more than asked are
// written, and read. Two vectors, or one of 64 bytes, are copied whatever
// the length, which is mostly below that; one narrower vector alone would
// leave the loop mispredicted too often.
template <typename V> void CopyRun(const char* from, std::size_t length, char* to) {
    constexpr std::size_t kAlways = V::kWidth >= 64 ? V::kWidth : 2 * V::kWidth;
    V::Store(to, V::Load(from));
    if (kAlways > V::kWidth) {
        V::Store(to + V::kWidth, V::Load(from + V::kWidth));
    }
    for (std::size_t c = kAlways; c < length; c += V::kWidth) {
        V::Store(to + c, V::Load(from + c));
    }
}

// Whether `V` has `V::List(mask, offset, positions)`, which writes `offset`
// plus the index of each bit set in `mask`, in order, and may write up to
// 64 entries.
template <typename V, typename = void> constexpr bool kListsPositions = false;
template <typename V> constexpr bool kListsPositions<V, std::void_t<decltype(&V::List)>> = true;

// Writes `offset` plus the index of each of the `found` bits set in `mask`,
// in order, to `positions`, which has room for 64 entries.
template <typename V>
void ListPositions(std::uint64_t mask, std::size_t found, std::uint16_t offset,
                   std::uint16_t* positions) {
    if constexpr (kListsPositions<V>) {
        V::List(mask, offset, positions);
    } else {
        // The first few steps are taken whatever `found` is: a loop that ends
        // at `found` alone would mispredict its end on most blocks.
        constexpr std::size_t kSteps = V::kWidth / 16 + 1; // more in a block are rare
        const auto list = [&](std::size_t s) {
            const std::size_t k = __builtin_ctzll(mask | (std::uint64_t{1} << 63));
            positions[s] = static_cast<std::uint16_t>(offset + k);
            mask &= mask - 1;
        };
        for (std::size_t s = 0; s < kSteps; ++s) {
            list(s);
        }
        for (std::size_t s = kSteps; s < found; ++s) {
            list(s);
        }
    }
}

// Two passes over spans of the text: the first lists where the bytes that
// need escaping are, the second copies the runs between them and puts in
// the escapes. Both do the same few steps for almost every block or byte,
// where a loop over each block's bytes would mispredict its end every time.
template <typename V>
std::size_t Escape(const char* in, std::size_t n, std::size_t readable, char* out) {
    constexpr std::size_t kWidth = V::kWidth;
    constexpr std::size_t kSpan = 1024;
    // Runs are copied in whole vectors: the spans end two vectors before the
    // end of what may be read.
    const std::size_t room = readable >= 2 * kWidth ? readable - 2 * kWidth : 0;
    const std::size_t covered = (n < room ? n : room) / kWidth * kWidth;
    std::uint16_t positions[kSpan + 64];
    char* w = out;
    for (std::size_t base = 0; base < covered; base += kSpan) {
        const std::size_t end = base + kSpan < covered ? base + kSpan : covered;
        std::size_t count = 0;
        for (std::size_t b = base; b < end; b += kWidth) {
            __builtin_prefetch(in + b + 4 * kSpan); // the prefetcher alone falls behind
            const auto specials = V::Specials(V::Load(in + b));
            const std::uint64_t mask = V::Mask(specials);
            const std::size_t found = V::Count(specials, mask);
            ListPositions<V>(mask, found, static_cast<std::uint16_t>(b - base), positions + count);
            count += found;
        }
        std::size_t run = base;
        for (std::size_t j = 0; j < count; ++j) {
            const std::size_t k = base + positions[j];
            CopyRun<V>(in + run, k - run, w);
            w += k - run;
            const EscapedByte& escape = kEscapes[static_cast<unsigned char>(in[k])];
            std::memcpy(w, escape.bytes, sizeof escape.bytes);
            w += escape.length;
            run = k + 1;
        }
        CopyRun<V>(in + run, end - run, w);
        w += end - run;
    }
    return (w - out) + EscapeScalar(in + covered, n - covered, n - covered, w);
}

// The `T`-sized word at `p`.
template <typename T> T WordAt(const char* p) {
    T word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The first `bytes` bytes at `p` (eight readable) as a number, the first
// byte lowest.
inline std::uint64_t Word(const char* p, unsigned bytes) {
    const auto word = WordAt<std::uint64_t>(p);
    return bytes == 8 ? word : word & ((std::uint64_t{1} << (8 * bytes)) - 1);
}

// `DecodeEntityAt` for a reference with at least sixteen bytes from its "&"
// on: every candidate is compared at once and the answer picked without a
// branch, where the branches on which reference it is would mispredict on
// most of them.
inline std::size_t DecodeEntityAhead(const char* p, char* out) {
    const unsigned amp = Word(p, 5) == Word("&amp;\0\0\0", 5);
    const std::size_t used = 1 + 4 * amp;
    const std::uint64_t name = Word(p + used, 8);
    // At most one of these holds; sums, not selections, so that the compiler
    // keeps them free of branches.
    const unsigned gt = (name & 0xFFFFFF) == Word("gt;\0\0\0\0\0", 3);
    const unsigned lt = (name & 0xFFFFFF) == Word("lt;\0\0\0\0\0", 3);
    const unsigned apos = (name & 0xFFFFFFFFFF) == Word("apos;\0\0\0", 5);
    const unsigned quot = Word(p, 6) == Word("&quot;\0\0", 6); // then `used` is 1
    *out = static_cast<char>('&' + gt * ('>' - '&') + lt * ('<' - '&') + apos * ('\'' - '&') +
                             quot * ('"' - '&'));
    return used + 3 * (gt + lt) + 5 * (apos + quot);
}

// The blocks lie a vector apart whatever they hold, and each block's "&"s
// are decoded in turn from one comparison, the bytes before each copied
// with one vector: where the next "&" is never waits for the last reference
// to be decoded. A reference holds no "&" but its first, so the ones it
// takes from the next block are never taken for references.
template <typename V> std::size_t Decode(const char* in, std::size_t n, char* out) {
    const typename V::Vec amp = V::Splat('&');
    char* w = out;
    std::size_t done = 0; // where the bytes not yet written start
    for (std::size_t i = 0; i + 2 * V::kWidth + 16 <= n; i += V::kWidth) {
        std::uint64_t mask = V::Mask(V::Eq(V::Load(in + i), amp));
        while (mask != 0) {
            const std::size_t k = i + __builtin_ctzll(mask);
            mask &= mask - 1;
            V::Store(w, V::Load(in + done));
            w += k - done;
            done = k + DecodeEntityAhead(in + k, w++);
        }
        const std::size_t end = i + V::kWidth;
        V::Store(w, V::Load(in + done));
        w += done < end ? end - done : 0;
        done = done < end ? end : done;
    }
    return (w - out) + DecodeScalar(in + done, n - done, w);
}

// The first ";" from `p` on, before `end`, or null: references are short, so
// the next eight bytes are looked at first, at once.
inline const char* FindSemicolon(const char* p, const char* end) {
    if (end - p >= 8) {
        const std::uint64_t x = Word(p, 8) ^ 0x3B3B3B3B3B3B3B3Bull; // ";" bytes become 0
        // The lowest bit set marks the first 0 byte exactly.
        const std::uint64_t zeros = (x - 0x0101010101010101ull) & ~x & 0x8080808080808080ull;
        if (zeros != 0) {
            return p + __builtin_ctzll(zeros) / 8;
        }
    }
    return static_cast<const char*>(std::memchr(p, ';', end - p));
}

// As `Decode`: the blocks lie a vector apart, each block's "&#"s are found
// by one comparison and handled in turn, and the bytes before each are
// copied with one vector. A "&#" inside a reference already removed is
// passed over.
template <typename V> std::size_t Remove(const char* in, std::size_t n, char* out) {
    const typename V::Vec amp = V::Splat('&');
    const typename V::Vec hash = V::Splat('#');
    char* w = out;
    std::size_t done = 0; // where the bytes not yet written start
    for (std::size_t i = 0; i + 2 * V::kWidth + 1 <= n; i += V::kWidth) {
        std::uint64_t mask =
            V::Mask(V::And(V::Eq(V::Load(in + i), amp), V::Eq(V::Load(in + i + 1), hash)));
        while (mask != 0) {
            const std::size_t k = i + __builtin_ctzll(mask);
            mask &= mask - 1;
            if (k < done) {
                continue;
            }
            V::Store(w, V::Load(in + done));
            w += k - done;
            const char* semicolon = FindSemicolon(in + k + 2, in + n);
            if (semicolon == nullptr) {
                // Only the "&#" is lost, and the scan ends.
                std::memcpy(w, in + k + 2, n - k - 2);
                return (w - out) + (n - k - 2);
            }
            done = semicolon - in + 1;
        }
        const std::size_t end = i + V::kWidth;
        if (done < end) {
            V::Store(w, V::Load(in + done));
            w += end - done;
            done = end;
        }
    }
    return (w - out) + RemoveScalar(in + done, n - done, w);
}

// Whether the `length` bytes at `a` and `b` are the same. Keys are short, and
// a library call for each candidate would cost more than the comparison
// (and make the caller save its vectors around it): eight bytes at a time,
// the last word overlapping the one before.
inline bool SameBytes(const char* a, const char* b, std::size_t length) {
    if (length >= 8) {
        for (std::size_t k = 0; k + 8 < length; k += 8) {
            if (WordAt<std::uint64_t>(a + k) != WordAt<std::uint64_t>(b + k)) {
                return false;
            }
        }
        const std::size_t last = length - 8;
        return WordAt<std::uint64_t>(a + last) == WordAt<std::uint64_t>(b + last);
    }
    if (length >= 4) {
        const std::size_t last = length - 4;
        return WordAt<std::uint32_t>(a) == WordAt<std::uint32_t>(b) &&
               WordAt<std::uint32_t>(a + last) == WordAt<std::uint32_t>(b + last);
    }
    for (std::size_t k = 0; k < length; ++k) {
        if (a[k] != b[k]) {
            return false;
        }
    }
    return true;
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
            if (SameBytes(text + i + k + 1, key + 1, length < 2 ? 0 : length - 2)) {
                return i + k;
            }
            mask &= mask - 1;
        }
    }
    return i >= n ? kNotFound : FindScalar(text, n, i, key, length);
}

} // namespace vector
} // namespace xmlscan
