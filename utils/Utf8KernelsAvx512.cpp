// The AVX-512 UTF-8 kernels (AVX-512BW, VBMI2 and BMI2). Decoding works on
// sixty-four bytes a step: it finds where the sequences start from the lead
// bytes, moves each start's bytes together with compress instructions and
// computes the values of thirty-two sequences at a time in 16-bit lanes. Encoding builds every
// element's UTF-8 form in its own 32-bit lane and squeezes out the unused
// bytes with one byte compress for sixteen elements. Compiled for those
// instruction sets and used only when the processor has them.
#if defined(__x86_64__)
#include <immintrin.h>

#include <cstdint>

#include "utils/Utf8Kernels.h"

namespace utf8kernels {
namespace {

// Widens sixty-four ASCII bytes.
void WidenAscii(const unsigned char* p, wchar_t* out) {
    for (int q = 0; q < 4; ++q) {
        const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * q));
        _mm512_storeu_si512(out + 16 * q, _mm512_cvtepu8_epi32(sixteen));
    }
}

// The values of thirty-two sequences of one, two or three bytes in 16-bit
// lanes, from their lead bytes and the two bytes behind each.
__m512i Values(__m256i leads, __m256i next1, __m256i next2) {
    const __m512i b0 = _mm512_cvtepu8_epi16(leads);
    const __m512i low6 = _mm512_set1_epi16(0x3F);
    const __m512i c1 = _mm512_and_si512(_mm512_cvtepu8_epi16(next1), low6);
    const __m512i c2 = _mm512_and_si512(_mm512_cvtepu8_epi16(next2), low6);
    const __mmask32 two = _mm512_cmpge_epu16_mask(b0, _mm512_set1_epi16(0xC0));
    const __mmask32 three = _mm512_cmpge_epu16_mask(b0, _mm512_set1_epi16(0xE0));
    const __m512i one = _mm512_and_si512(b0, _mm512_set1_epi16(0x7F));
    // (b0 << 6) & 0x7C0 | c1: the lead byte's low five bits above c1.
    const __m512i twoValue =
        _mm512_ternarylogic_epi32(_mm512_slli_epi16(b0, 6), _mm512_set1_epi16(0x7C0), c1, 0xEA);
    // The shift by 12 keeps just the lead byte's low four bits.
    const __m512i threeValue =
        _mm512_ternarylogic_epi32(_mm512_slli_epi16(b0, 12), _mm512_slli_epi16(c1, 6), c2, 0xFE);
    return _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(one, two, twoValue), three, threeValue);
}

// Writes thirty-two values widened; the caller counts those that matter.
void StoreValues(__m512i values, wchar_t* out) {
    _mm512_storeu_si512(out, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(values)));
    _mm512_storeu_si512(out + 16, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(values, 1)));
}

// The first `count` (at most 32) bits.
__mmask32 FirstBits(std::size_t count) {
    return static_cast<__mmask32>(_bzhi_u64(0xFFFFFFFFull, static_cast<unsigned>(count)));
}

// The blocks lie sixty-four bytes apart whatever they hold, so that finding
// the next one never waits for the last; what links two blocks is `owned`:
// the bytes at the start of a block that the previous block's last sequence
// takes, whatever they are.
DecodeResult Decode(const unsigned char* s, std::size_t n, std::size_t from, std::size_t limit,
                    wchar_t* out) {
    std::size_t i = from;
    std::size_t k = 0;
    std::uint64_t owned = 0;
    // Bit 0 when byte 0 of the block is known to start a sequence: a stray
    // continuation byte there is a sequence of its own.
    std::uint64_t fresh = 1;
    while (i + 64 <= limit && i + 66 <= n) {
        const __m512i bytes = _mm512_loadu_si512(s + i);
        const std::uint64_t high = _mm512_movepi8_mask(bytes);
        const std::uint64_t zeros = _mm512_testn_epi8_mask(bytes, bytes);
        if ((high | zeros | owned) == 0) {
            WidenAscii(s + i, out + k);
            i += 64;
            k += 64;
            fresh = 0;
            continue;
        }
        const std::uint64_t two =
            _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xC0))) & ~owned;
        const std::uint64_t three =
            _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xE0))) & ~owned;
        const std::uint64_t four =
            _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xF0))) & ~owned;
        const std::uint64_t continuation = high & ~two & ~owned;
        const std::uint64_t misplaced = (continuation & ~fresh) ^ ((two << 1) | (three << 2));
        const std::size_t start = i + _mm_popcnt_u64(owned);
        // The scalar kernel takes the sequences up to the first lead byte of
        // four bytes or misplaced continuation byte, where the starts depend
        // on the walk from byte to byte; then the blocks go on from there.
        if ((four | misplaced) != 0) {
            const std::size_t stop = i + __builtin_ctzll(four | misplaced) + 1;
            const DecodeResult part = DecodeScalar(s, n, start, stop, out + k);
            k += part.count;
            if (part.ended) {
                return {part.next, k, true};
            }
            i = part.next;
            owned = 0;
            fresh = 1;
            continue;
        }
        const std::uint64_t starts = (~continuation & ~owned) | fresh;
        // Each start's lead byte and the two bytes behind it, moved together.
        const __m512i leads = _mm512_maskz_compress_epi8(starts, bytes);
        const __m512i next1 = _mm512_maskz_compress_epi8(starts, _mm512_loadu_si512(s + i + 1));
        const __m512i next2 = _mm512_maskz_compress_epi8(starts, _mm512_loadu_si512(s + i + 2));
        const auto count = static_cast<std::size_t>(_mm_popcnt_u64(starts));
        const __m512i first = Values(_mm512_castsi512_si256(leads), _mm512_castsi512_si256(next1),
                                     _mm512_castsi512_si256(next2));
        __mmask32 zeroValues = _mm512_mask_testn_epi16_mask(FirstBits(count), first, first);
        __m512i second = _mm512_setzero_si512();
        if (count > 32) {
            second =
                Values(_mm512_extracti64x4_epi64(leads, 1), _mm512_extracti64x4_epi64(next1, 1),
                       _mm512_extracti64x4_epi64(next2, 1));
            zeroValues |= _mm512_mask_testn_epi16_mask(FirstBits(count - 32), second, second);
        }
        if (zeroValues != 0) {
            i = start;
            owned = 0;
            break; // the scalar kernel stops at the 0
        }
        StoreValues(first, out + k);
        if (count > 32) {
            StoreValues(second, out + k + 32);
        }
        k += count;
        owned = (two >> 63) | (three >> 62);
        fresh = 0;
        i += 64;
    }
    const DecodeResult rest = DecodeScalar(s, n, i + _mm_popcnt_u64(owned), limit, out + k);
    return {rest.next, k + rest.count, rest.ended};
}

// Encodes the elements of `v` that `lanes` picks; writes sixty-four bytes.
std::size_t EncodeSixteen(__m512i v, __mmask16 lanes, char* out) {
    const __mmask16 isTwo = _mm512_cmpgt_epi32_mask(v, _mm512_set1_epi32(0x7F));
    const __mmask16 isThree = _mm512_cmpgt_epi32_mask(v, _mm512_set1_epi32(0x7FF));
    const __mmask16 kept = lanes & ~_mm512_cmpgt_epi32_mask(v, _mm512_set1_epi32(0xFFFF));
    const __m512i low6 = _mm512_set1_epi32(0x3F);
    const __m512i mark = _mm512_set1_epi32(0x80);
    // (x & 0x3F) | 0x80: a continuation byte.
    const __m512i tail = _mm512_ternarylogic_epi32(v, low6, mark, 0xEA);
    const __m512i middle = _mm512_ternarylogic_epi32(_mm512_srli_epi32(v, 6), low6, mark, 0xEA);
    const __m512i one = _mm512_and_si512(v, _mm512_set1_epi32(0x7F));
    const __m512i two = _mm512_ternarylogic_epi32(_mm512_srli_epi32(v, 6), _mm512_set1_epi32(0xC0),
                                                  _mm512_slli_epi32(tail, 8), 0xFE);
    const __m512i three = _mm512_ternarylogic_epi32(
        _mm512_or_si512(_mm512_srli_epi32(v, 12), _mm512_set1_epi32(0xE0)),
        _mm512_slli_epi32(middle, 8), _mm512_slli_epi32(tail, 16), 0xFE);
    const __m512i words =
        _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(one, isTwo, two), isThree, three);
    // Byte b of lane j is kept when the form is longer than b.
    const std::uint64_t bytes = _pdep_u64(kept, 0x1111111111111111ull) |
                                _pdep_u64(kept & isTwo, 0x2222222222222222ull) |
                                _pdep_u64(kept & isThree, 0x4444444444444444ull);
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(bytes, words));
    return static_cast<std::size_t>(_mm_popcnt_u64(bytes));
}

std::size_t Encode(const wchar_t* in, std::size_t count, char* out) {
    const __m512i notAscii = _mm512_set1_epi32(~0x7F);
    std::size_t i = 0;
    std::size_t o = 0;
    for (; i + 64 <= count; i += 64) {
        const __m512i a = _mm512_loadu_si512(in + i);
        const __m512i b = _mm512_loadu_si512(in + i + 16);
        const __m512i c = _mm512_loadu_si512(in + i + 32);
        const __m512i d = _mm512_loadu_si512(in + i + 48);
        const __m512i any = _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d));
        if (_mm512_test_epi32_mask(any, notAscii) == 0) {
            auto* dst = reinterpret_cast<__m128i*>(out + o);
            _mm_storeu_si128(dst, _mm512_cvtepi32_epi8(a));
            _mm_storeu_si128(dst + 1, _mm512_cvtepi32_epi8(b));
            _mm_storeu_si128(dst + 2, _mm512_cvtepi32_epi8(c));
            _mm_storeu_si128(dst + 3, _mm512_cvtepi32_epi8(d));
            o += 64;
            continue;
        }
        o += EncodeSixteen(a, 0xFFFF, out + o);
        o += EncodeSixteen(b, 0xFFFF, out + o);
        o += EncodeSixteen(c, 0xFFFF, out + o);
        o += EncodeSixteen(d, 0xFFFF, out + o);
    }
    for (; i < count; i += 16) {
        const std::size_t left = count - i;
        const auto lanes = static_cast<__mmask16>(left >= 16 ? 0xFFFF : (1u << left) - 1);
        o += EncodeSixteen(_mm512_maskz_loadu_epi32(lanes, in + i), lanes, out + o);
    }
    return o;
}

} // namespace

extern const Kernels kAvx512 = {Decode, Encode};

} // namespace utf8kernels
#endif
