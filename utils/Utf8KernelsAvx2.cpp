// The AVX2 UTF-8 kernels: the SSE2 block analysis, with the sequences'
// values packed by byte shuffles instead of one store each, and thirty-two
// bytes or elements a step on ASCII. Compiled with -mavx2 and used only
// when the processor has it.
#if defined(__x86_64__)
#include <immintrin.h>

#include <array>
#include <cstdint>

#include "utils/Utf8Kernels.h"
#include "utils/Utf8KernelsX86.h"

namespace utf8kernels {
namespace {

struct Shuffle {
    std::uint8_t bytes[16];
    std::uint8_t count;
};

// For each 8-bit set of 16-bit lanes: the shuffle that moves those lanes to
// the front, and how many there are.
constexpr std::array<Shuffle, 256> kPackLanes = [] {
    std::array<Shuffle, 256> table{};
    for (unsigned mask = 0; mask < 256; ++mask) {
        Shuffle& entry = table[mask];
        for (std::uint8_t lane = 0; lane < 8; ++lane) {
            if ((mask >> lane) & 1u) {
                entry.bytes[2 * entry.count] = static_cast<std::uint8_t>(2 * lane);
                entry.bytes[2 * entry.count + 1] = static_cast<std::uint8_t>(2 * lane + 1);
                ++entry.count;
            }
        }
        for (unsigned b = 2u * entry.count; b < 16; ++b) {
            entry.bytes[b] = 0x80;
        }
    }
    return table;
}();

// For four UTF-8 forms in 32-bit lanes whose lengths (0 to 3) are packed two
// bits each: the shuffle that moves the forms' bytes together, and their total.
constexpr std::array<Shuffle, 256> kPackForms = [] {
    std::array<Shuffle, 256> table{};
    for (unsigned code = 0; code < 256; ++code) {
        Shuffle& entry = table[code];
        for (std::uint8_t lane = 0; lane < 4; ++lane) {
            const unsigned length = (code >> (2 * lane)) & 3u;
            for (std::uint8_t b = 0; b < length; ++b) {
                entry.bytes[entry.count++] = static_cast<std::uint8_t>(4 * lane + b);
            }
        }
        for (unsigned b = entry.count; b < 16; ++b) {
            entry.bytes[b] = 0x80;
        }
    }
    return table;
}();

__m128i LoadShuffle(const Shuffle& entry) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(entry.bytes));
}

// Writes the values of the eight 16-bit lanes picked by `mask`, widened.
std::size_t PackValues(__m128i values, unsigned mask, wchar_t* out) {
    const Shuffle& entry = kPackLanes[mask];
    const __m128i packed = _mm_shuffle_epi8(values, LoadShuffle(entry));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_cvtepu16_epi32(packed));
    return entry.count;
}

void WidenAscii(const unsigned char* p, wchar_t* out) {
    auto* dst = reinterpret_cast<__m256i*>(out);
    for (int q = 0; q < 4; ++q) {
        const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 8 * q));
        _mm256_storeu_si256(dst + q, _mm256_cvtepu8_epi32(eight));
    }
}

bool PlainAscii32(__m256i bytes) {
    return _mm256_movemask_epi8(bytes) == 0 &&
           _mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())) == 0;
}

// Encodes eight elements; see `kPackForms`.
std::size_t EncodeEight(__m256i v, char* out) {
    const __m256i low6 = _mm256_set1_epi32(0x3F);
    const __m256i mark = _mm256_set1_epi32(0x80);
    const __m256i tail = _mm256_or_si256(_mm256_and_si256(v, low6), mark);
    const __m256i middle = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(v, 6), low6), mark);
    const __m256i one = _mm256_and_si256(v, _mm256_set1_epi32(0x7F));
    const __m256i two =
        _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi32(v, 6), _mm256_set1_epi32(0xC0)),
                        _mm256_slli_epi32(tail, 8));
    const __m256i three =
        _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi32(v, 12), _mm256_set1_epi32(0xE0)),
                        _mm256_or_si256(_mm256_slli_epi32(middle, 8), _mm256_slli_epi32(tail, 16)));
    const __m256i isTwo = _mm256_cmpgt_epi32(v, _mm256_set1_epi32(0x7F));
    const __m256i isThree = _mm256_cmpgt_epi32(v, _mm256_set1_epi32(0x7FF));
    const __m256i dropped = _mm256_cmpgt_epi32(v, _mm256_set1_epi32(0xFFFF));
    const __m256i words = _mm256_blendv_epi8(_mm256_blendv_epi8(one, two, isTwo), three, isThree);

    // Each lane's length (1 to 3, 0 when dropped) moved to bits 2j of its
    // half's code, the lanes of a half then ORed together.
    const __m256i length = _mm256_andnot_si256(
        dropped, _mm256_sub_epi32(_mm256_sub_epi32(_mm256_set1_epi32(1), isTwo), isThree));
    __m256i code = _mm256_sllv_epi32(length, _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6));
    code = _mm256_or_si256(code, _mm256_shuffle_epi32(code, 0x4E));
    code = _mm256_or_si256(code, _mm256_shuffle_epi32(code, 0xB1));
    const Shuffle& low = kPackForms[_mm256_extract_epi32(code, 0)];
    const Shuffle& high = kPackForms[_mm256_extract_epi32(code, 4)];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_shuffle_epi8(_mm256_castsi256_si128(words), LoadShuffle(low)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + low.count),
                     _mm_shuffle_epi8(_mm256_extracti128_si256(words, 1), LoadShuffle(high)));
    return low.count + high.count;
}

DecodeResult Decode(const unsigned char* s, std::size_t n, std::size_t from, std::size_t limit,
                    wchar_t* out) {
    const auto widen = [s, limit](std::size_t i, wchar_t* dst) -> std::size_t {
        if (i + 32 > limit ||
            !PlainAscii32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)))) {
            return 0;
        }
        WidenAscii(s + i, dst);
        return 32;
    };
    const auto pack = [](const Block& block, wchar_t* dst) {
        const std::size_t low = PackValues(block.low, block.starts & 0xFFu, dst);
        return low + PackValues(block.high, block.starts >> 8, dst + low);
    };
    return DecodeBlocks(s, n, from, limit, out, widen, pack);
}

std::size_t Encode(const wchar_t* in, std::size_t count, char* out) {
    const __m256i notAscii = _mm256_set1_epi32(~0x7F);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t i = 0;
    std::size_t o = 0;
    for (; i + 32 <= count; i += 32) {
        const auto* src = reinterpret_cast<const __m256i*>(in + i);
        const __m256i a = _mm256_loadu_si256(src);
        const __m256i b = _mm256_loadu_si256(src + 1);
        const __m256i c = _mm256_loadu_si256(src + 2);
        const __m256i d = _mm256_loadu_si256(src + 3);
        const __m256i any = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
        if (_mm256_testz_si256(any, notAscii)) {
            // Packing works within 128-bit halves; the permutation restores the order.
            const __m256i bytes =
                _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + o),
                                _mm256_permutevar8x32_epi32(bytes, order));
            o += 32;
            continue;
        }
        o += EncodeEight(a, out + o);
        o += EncodeEight(b, out + o);
        o += EncodeEight(c, out + o);
        o += EncodeEight(d, out + o);
    }
    return o + EncodeScalar(in + i, count - i, out + o);
}

} // namespace

extern const Kernels kAvx2 = {Decode, Encode};

} // namespace utf8kernels
#endif
