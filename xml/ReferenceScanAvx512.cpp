// The AVX-512 versions of the XML scans: sixty-four bytes a step, with the
// comparisons' results in mask registers. Compiled for AVX-512BW and used
// only when the processor has it.
#if defined(__x86_64__)
#include <immintrin.h>

#include <cstdint>

#include "xml/ReferenceScanVector.h"

namespace xmlscan {
namespace {

struct Avx512 {
    using Vec = __m512i;
    static constexpr std::size_t kWidth = 64;
    static Vec Load(const char* p) { return _mm512_loadu_si512(p); }
    static void Store(char* p, Vec v) { _mm512_storeu_si512(p, v); }
    static Vec Splat(char c) { return _mm512_set1_epi8(c); }
    // Comparisons give one bit per byte, which Or, And and Mask pass on.
    static std::uint64_t Eq(Vec a, Vec b) { return _mm512_cmpeq_epi8_mask(a, b); }
    static std::uint64_t Or(std::uint64_t a, std::uint64_t b) { return a | b; }
    static std::uint64_t And(std::uint64_t a, std::uint64_t b) { return a & b; }
    static std::uint64_t Mask(std::uint64_t bits) { return bits; }
    static std::size_t Count(std::uint64_t /*bits*/, std::uint64_t mask) {
        return _mm_popcnt_u64(mask);
    }
    // The positions come from two compress instructions, thirty-two 16-bit
    // lanes each, instead of a loop over the bits.
    static void List(std::uint64_t mask, std::uint16_t offset, std::uint16_t* positions) {
        const __m512i lanes = _mm512_add_epi16(
            _mm512_set_epi16(31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14,
                             13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0),
            _mm512_set1_epi16(static_cast<short>(offset)));
        const auto low = static_cast<__mmask32>(mask);
        const auto high = static_cast<__mmask32>(mask >> 32);
        _mm512_storeu_si512(positions, _mm512_maskz_compress_epi16(low, lanes));
        _mm512_storeu_si512(
            positions + _mm_popcnt_u32(low),
            _mm512_maskz_compress_epi16(high, _mm512_add_epi16(lanes, _mm512_set1_epi16(32))));
    }
    // By nibbles, as in the AVX2 version: & " ' are 0x2_, < > 0x3_, CR LF
    // 0x0_, and each high nibble has its own bit that the low nibble's entry
    // must share.
    static std::uint64_t Specials(Vec v) {
        const Vec byLow =
            _mm512_broadcast_i32x4(_mm_setr_epi8(0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 4, 0, 2, 4, 2, 0));
        const Vec byHigh =
            _mm512_broadcast_i32x4(_mm_setr_epi8(4, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
        const Vec high = _mm512_and_si512(_mm512_srli_epi16(v, 4), _mm512_set1_epi8(0x0F));
        // A byte of 0x80 or above picks 0 from the low table.
        return _mm512_test_epi8_mask(_mm512_shuffle_epi8(byLow, v),
                                     _mm512_shuffle_epi8(byHigh, high));
    }
};

} // namespace

extern const Kernels kAvx512 = {vector::Escape<Avx512>, vector::Decode<Avx512>,
                                vector::Remove<Avx512>, vector::Find<Avx512>};

} // namespace xmlscan
#endif
