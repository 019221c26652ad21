// The AVX-512 UTF-8 kernels (AVX-512BW, VBMI2 and BMI2). Decoding works on
// sixty-four bytes a step: it finds where the sequences start from the lead
// bytes, computes a value at every byte in 16-bit lanes and keeps those at
// the starts with one compress instruction per half. Encoding builds every
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

// The values of the sequences of one, two or three bytes that would start at
// each of the thirty-two bytes at `p` (two more readable), in 16-bit lanes;
// `two` and `three` mark the lead bytes of two and three bytes.
__m512i ValuesAt(const unsigned char* p, __mmask32 two, __mmask32 three) {
    const auto load = [p](int offset) {
        return _mm512_cvtepu8_epi16(
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + offset)));
    };
    const __m512i b0 = load(0);
    const __m512i low6 = _mm512_set1_epi16(0x3F);
    const __m512i c1 = _mm512_and_si512(load(1), low6);
    const __m512i c2 = _mm512_and_si512(load(2), low6);
    const __m512i one = _mm512_and_si512(b0, _mm512_set1_epi16(0x7F));
    // (b0 << 6) & 0x7C0 | c1: the lead byte's low five bits above c1.
    const __m512i twoValue =
        _mm512_ternarylogic_epi32(_mm512_slli_epi16(b0, 6), _mm512_set1_epi16(0x7C0), c1, 0xEA);
    // The shift by 12 keeps just the lead byte's low four bits.
    const __m512i threeValue =
        _mm512_ternarylogic_epi32(_mm512_slli_epi16(b0, 12), _mm512_slli_epi16(c1, 6), c2, 0xFE);
    return _mm512_mask_mov_epi16(_mm512_mask_mov_epi16(one, two, twoValue), three, threeValue);
}

// Writes the values of the lanes `starts` picks, widened; returns how many.
// Writes thirty-two elements whatever the count: a branch on it would
// mispredict on mixed text.
std::size_t PackValues(__m512i values, __mmask32 starts, wchar_t* out) {
    const __m512i packed = _mm512_maskz_compress_epi16(starts, values);
    const auto count = static_cast<std::size_t>(_mm_popcnt_u32(starts));
    _mm512_storeu_si512(out, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(packed)));
    _mm512_storeu_si512(out + 16, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(packed, 1)));
    return count;
}

DecodeResult Decode(const unsigned char* s, std::size_t n, std::size_t from, std::size_t limit,
                    wchar_t* out) {
    std::size_t i = from;
    std::size_t k = 0;
    while (i + 64 <= limit && i + 66 <= n) {
        const __m512i bytes = _mm512_loadu_si512(s + i);
        const std::uint64_t high = _mm512_movepi8_mask(bytes);
        const std::uint64_t zeros = _mm512_testn_epi8_mask(bytes, bytes);
        if ((high | zeros) == 0) {
            WidenAscii(s + i, out + k);
            i += 64;
            k += 64;
            continue;
        }
        const std::uint64_t two = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xC0)));
        const std::uint64_t three = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xE0)));
        const std::uint64_t four = _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(char(0xF0)));
        const std::uint64_t continuation = high & ~two;
        // Byte 0 starts a sequence whatever it is: a stray continuation byte
        // there is a sequence of its own.
        const std::uint64_t misplaced = (continuation ^ ((two << 1) | (three << 2))) & ~1ull;
        // The scalar kernel takes the sequences up to the first lead byte of
        // four bytes or misplaced continuation byte, where the starts depend
        // on the walk from byte to byte; then the blocks go on.
        if ((four | misplaced) != 0) {
            const std::size_t stop = i + __builtin_ctzll(four | misplaced) + 1;
            const DecodeResult part = DecodeScalar(s, n, i, stop, out + k);
            k += part.count;
            if (part.ended) {
                return {part.next, k, true};
            }
            i = part.next;
            continue;
        }
        const std::uint64_t starts = ~continuation | 1u;
        const __m512i low =
            ValuesAt(s + i, static_cast<__mmask32>(two), static_cast<__mmask32>(three));
        const __m512i upper = ValuesAt(s + i + 32, static_cast<__mmask32>(two >> 32),
                                       static_cast<__mmask32>(three >> 32));
        const std::uint64_t zeroValues =
            (static_cast<std::uint64_t>(_mm512_testn_epi16_mask(upper, upper)) << 32 |
             _mm512_testn_epi16_mask(low, low)) &
            starts;
        if (zeroValues != 0) {
            break; // the scalar kernel stops at the 0
        }
        k += PackValues(low, static_cast<__mmask32>(starts), out + k);
        k += PackValues(upper, static_cast<__mmask32>(starts >> 32), out + k);
        const unsigned last = 63u - static_cast<unsigned>(__builtin_clzll(starts));
        i += last + 1 + (s[i + last] >= 0xC0) + (s[i + last] >= 0xE0);
    }
    const DecodeResult rest = DecodeScalar(s, n, i, limit, out + k);
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
