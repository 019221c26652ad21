// Block analysis shared by the x86 UTF-8 kernels (internal). Included by
// the SSE2 and the AVX2 files; everything here has internal linkage so that
// each file keeps its own copy, compiled for its own instruction set.
#pragma once

#include <emmintrin.h>

#include <cstddef>

#include "utils/Utf8Kernels.h"

namespace utf8kernels {
namespace {

// Each byte of `v` that is at least `t` (unsigned) becomes 0xFF, the rest 0.
inline __m128i AtLeast(__m128i v, unsigned char t) {
    return _mm_cmpeq_epi8(_mm_max_epu8(v, _mm_set1_epi8(static_cast<char>(t))), v);
}

// Each byte of `yes` where `mask` is 0xFF, of `no` elsewhere.
inline __m128i Select(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// The value of a sequence of one, two or three bytes at every position, in
// 16-bit lanes, from its lead byte and the two bytes behind it.
inline __m128i ValuesAt(__m128i b0, __m128i c1, __m128i c2, __m128i two, __m128i three) {
    const __m128i one = _mm_and_si128(b0, _mm_set1_epi16(0x7F));
    const __m128i twoValue =
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x1F)), 6), c1);
    const __m128i threeValue =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x0F)), 12),
                                  _mm_slli_epi16(c1, 6)),
                     c2);
    return Select(three, threeValue, Select(two, twoValue, one));
}

// Sixteen bytes whose sequences can be decoded side by side.
struct Block {
    unsigned starts;  // bit j: a sequence starts at byte j
    unsigned zeros;   // bit j: the sequence starting at byte j decodes to 0
    std::size_t next; // where the sequence behind the block starts
    __m128i low;      // values of the sequences starting at bytes 0-7 (16-bit lanes)
    __m128i high;     // ... and at bytes 8-15
};

// Analyses the sixteen bytes at `p`, of which `p[0]` starts a sequence and
// behind which two more bytes are readable. False when the block is left to
// the scalar kernel: it holds a lead byte of four bytes, or continuation
// bytes that do not follow their lead byte exactly (with those, where the
// sequences start depends on the walk from byte to byte). Otherwise every
// byte that is no continuation byte starts a sequence.
inline bool AnalyseBlock(const unsigned char* p, Block* block) {
    const __m128i b0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i two = AtLeast(b0, 0xC0);
    const __m128i three = AtLeast(b0, 0xE0);
    if (_mm_movemask_epi8(AtLeast(b0, 0xF0)) != 0) {
        return false;
    }
    const __m128i continuation = _mm_andnot_si128(two, AtLeast(b0, 0x80));
    const __m128i expected = _mm_or_si128(_mm_slli_si128(two, 1), _mm_slli_si128(three, 2));
    // Byte 0 starts a sequence whatever it is: a stray continuation byte
    // there is a sequence of its own.
    if ((_mm_movemask_epi8(_mm_xor_si128(continuation, expected)) & 0xFFFE) != 0) {
        return false;
    }
    block->starts = (~static_cast<unsigned>(_mm_movemask_epi8(continuation)) & 0xFFFF) | 1u;

    const __m128i zero = _mm_setzero_si128();
    const __m128i low6 = _mm_set1_epi8(0x3F);
    const __m128i c1 =
        _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 1)), low6);
    const __m128i c2 =
        _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2)), low6);
    block->low = ValuesAt(_mm_unpacklo_epi8(b0, zero), _mm_unpacklo_epi8(c1, zero),
                          _mm_unpacklo_epi8(c2, zero), _mm_unpacklo_epi8(two, two),
                          _mm_unpacklo_epi8(three, three));
    block->high = ValuesAt(_mm_unpackhi_epi8(b0, zero), _mm_unpackhi_epi8(c1, zero),
                           _mm_unpackhi_epi8(c2, zero), _mm_unpackhi_epi8(two, two),
                           _mm_unpackhi_epi8(three, three));
    const __m128i zeroValues =
        _mm_packs_epi16(_mm_cmpeq_epi16(block->low, zero), _mm_cmpeq_epi16(block->high, zero));
    block->zeros = static_cast<unsigned>(_mm_movemask_epi8(zeroValues)) & block->starts;

    const unsigned last = 31u - static_cast<unsigned>(__builtin_clz(block->starts));
    block->next = last + 1 + (p[last] >= 0xC0) + (p[last] >= 0xE0);
    return true;
}

// True when the sixteen bytes are ASCII without a 0, so each is its own value.
inline bool PlainAscii(__m128i bytes) {
    return _mm_movemask_epi8(bytes) == 0 &&
           _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) == 0;
}

// The decoding loop of the x86 kernels, sixteen bytes a step, with the
// scalar kernel for the blocks it leaves and for the tail. `widen(i, out)`
// widens plain ASCII at `i` (at most `limit - i` bytes) and returns how many
// bytes it took, 0 for none; `pack(block, out)` writes a block's values and
// returns how many.
template <typename Widen, typename Pack>
DecodeResult DecodeBlocks(const unsigned char* s, std::size_t n, std::size_t from,
                          std::size_t limit, wchar_t* out, Widen widen, Pack pack) {
    std::size_t i = from;
    std::size_t k = 0;
    while (i + 16 <= limit && i + 18 <= n) {
        if (const std::size_t plain = widen(i, out + k)) {
            k += plain;
            i += plain;
            continue;
        }
        Block block;
        if (!AnalyseBlock(s + i, &block)) {
            const DecodeResult part = DecodeScalar(s, n, i, i + 16, out + k);
            k += part.count;
            i = part.next;
            if (part.ended) {
                return {i, k, true};
            }
            continue;
        }
        if (block.zeros != 0) {
            break; // the scalar kernel stops at the 0
        }
        k += pack(block, out + k);
        i += block.next;
    }
    const DecodeResult rest = DecodeScalar(s, n, i, limit, out + k);
    return {rest.next, k + rest.count, rest.ended};
}

} // namespace
} // namespace utf8kernels
