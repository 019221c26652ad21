// The SSE2 UTF-8 kernels: sixteen bytes or elements a step, with the
// scalar kernel for the blocks they leave and for the tail.
#if defined(__x86_64__)
#include <cstdint>
#include <cstring>

#include "utils/Utf8Kernels.h"
#include "utils/Utf8KernelsX86.h"

namespace utf8kernels {
namespace {

void WidenAscii(__m128i bytes, wchar_t* out) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    auto* dst = reinterpret_cast<__m128i*>(out);
    _mm_storeu_si128(dst, _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(dst + 1, _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(dst + 2, _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(dst + 3, _mm_unpackhi_epi16(high, zero));
}

// Writes the values of the block's sequences in order; returns how many.
std::size_t Compact(const Block& block, wchar_t* out) {
    alignas(16) std::uint16_t values[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(values), block.low);
    _mm_store_si128(reinterpret_cast<__m128i*>(values + 8), block.high);
    std::size_t k = 0;
    for (unsigned j = 0; j < 16; ++j) {
        out[k] = values[j]; // overwritten unless a sequence starts here
        k += (block.starts >> j) & 1u;
    }
    return k;
}

// Encodes four elements (at most three bytes each, one spare) at `out`.
std::size_t EncodeFour(__m128i v, char* out) {
    const __m128i low6 = _mm_set1_epi32(0x3F);
    const __m128i mark = _mm_set1_epi32(0x80);
    const __m128i tail = _mm_or_si128(_mm_and_si128(v, low6), mark);
    const __m128i middle = _mm_or_si128(_mm_and_si128(_mm_srli_epi32(v, 6), low6), mark);
    const __m128i one = _mm_and_si128(v, _mm_set1_epi32(0x7F));
    const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(v, 6), _mm_set1_epi32(0xC0)),
                                     _mm_slli_epi32(tail, 8));
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(v, 12), _mm_set1_epi32(0xE0)),
                     _mm_or_si128(_mm_slli_epi32(middle, 8), _mm_slli_epi32(tail, 16)));
    const __m128i isTwo = _mm_cmpgt_epi32(v, _mm_set1_epi32(0x7F));
    const __m128i isThree = _mm_cmpgt_epi32(v, _mm_set1_epi32(0x7FF));
    const __m128i dropped = _mm_cmpgt_epi32(v, _mm_set1_epi32(0xFFFF));
    const __m128i length =
        _mm_andnot_si128(dropped, _mm_sub_epi32(_mm_sub_epi32(_mm_set1_epi32(1), isTwo), isThree));
    alignas(16) std::uint32_t words[4];
    alignas(16) std::uint32_t lengths[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(words),
                    Select(isThree, three, Select(isTwo, two, one)));
    _mm_store_si128(reinterpret_cast<__m128i*>(lengths), length);
    std::size_t o = 0;
    for (int j = 0; j < 4; ++j) {
        std::memcpy(out + o, &words[j], 4);
        o += lengths[j];
    }
    return o;
}

DecodeResult Decode(const unsigned char* s, std::size_t n, std::size_t from, std::size_t limit,
                    wchar_t* out) {
    const auto widen = [s](std::size_t i, wchar_t* dst) -> std::size_t {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        if (!PlainAscii(bytes)) {
            return 0;
        }
        WidenAscii(bytes, dst);
        return 16;
    };
    return DecodeBlocks(s, n, from, limit, out, widen, Compact);
}

std::size_t Encode(const wchar_t* in, std::size_t count, char* out) {
    const __m128i notAscii = _mm_set1_epi32(~0x7F);
    const __m128i zero = _mm_setzero_si128();
    std::size_t i = 0;
    std::size_t o = 0;
    for (; i + 16 <= count; i += 16) {
        const auto* src = reinterpret_cast<const __m128i*>(in + i);
        const __m128i a = _mm_loadu_si128(src);
        const __m128i b = _mm_loadu_si128(src + 1);
        const __m128i c = _mm_loadu_si128(src + 2);
        const __m128i d = _mm_loadu_si128(src + 3);
        const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(any, notAscii), zero)) == 0xFFFF) {
            const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), bytes);
            o += 16;
            continue;
        }
        o += EncodeFour(a, out + o);
        o += EncodeFour(b, out + o);
        o += EncodeFour(c, out + o);
        o += EncodeFour(d, out + o);
    }
    return o + EncodeScalar(in + i, count - i, out + o);
}

} // namespace

extern const Kernels kSse2 = {Decode, Encode};

} // namespace utf8kernels
#endif
