// The AVX2 versions of the XML scans: thirty-two bytes a step. Compiled
// with -mavx2 -mpopcnt and used only when the processor has both.
#if defined(__x86_64__)
#include <immintrin.h>

#include "xml/ReferenceScanVector.h"

namespace xmlscan {
namespace {

struct Avx2 {
    using Vec = __m256i;
    static constexpr std::size_t kWidth = 32;
    static Vec Load(const char* p) { return _mm256_loadu_si256(reinterpret_cast<const Vec*>(p)); }
    static void Store(char* p, Vec v) { _mm256_storeu_si256(reinterpret_cast<Vec*>(p), v); }
    static Vec Splat(char c) { return _mm256_set1_epi8(c); }
    static Vec Eq(Vec a, Vec b) { return _mm256_cmpeq_epi8(a, b); }
    static Vec Or(Vec a, Vec b) { return _mm256_or_si256(a, b); }
    static Vec And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
    static std::size_t Count(Vec /*v*/, unsigned mask) { return _mm_popcnt_u32(mask); }
    // By nibbles: & " ' are 0x2_, < > 0x3_, CR LF 0x0_, and each high nibble
    // has its own bit that the low nibble's entry must share.
    static Vec Specials(Vec v) {
        const Vec byLow = _mm256_setr_epi8(0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 4, 0, 2, 4, 2, 0, //
                                           0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 4, 0, 2, 4, 2, 0);
        const Vec byHigh = _mm256_setr_epi8(4, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
                                            4, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        const Vec high = _mm256_and_si256(_mm256_srli_epi16(v, 4), _mm256_set1_epi8(0x0F));
        // A byte of 0x80 or above picks 0 from the low table.
        const Vec both =
            _mm256_and_si256(_mm256_shuffle_epi8(byLow, v), _mm256_shuffle_epi8(byHigh, high));
        return _mm256_xor_si256(_mm256_cmpeq_epi8(both, _mm256_setzero_si256()),
                                _mm256_set1_epi8(-1));
    }
    static unsigned Mask(Vec v) { return static_cast<unsigned>(_mm256_movemask_epi8(v)); }
};

} // namespace

extern const Kernels kAvx2 = {vector::Escape<Avx2>, vector::Decode<Avx2>, vector::Remove<Avx2>,
                              vector::Find<Avx2>};

} // namespace xmlscan
#endif
