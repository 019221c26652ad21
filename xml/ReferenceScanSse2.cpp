// The SSE2 versions of the XML scans: sixteen bytes a step.
#if defined(__x86_64__)
#include <emmintrin.h>

#include "xml/ReferenceScanVector.h"

namespace xmlscan {
namespace {

struct Sse2 {
    using Vec = __m128i;
    static constexpr std::size_t kWidth = 16;
    static Vec Load(const char* p) { return _mm_loadu_si128(reinterpret_cast<const Vec*>(p)); }
    static void Store(char* p, Vec v) { _mm_storeu_si128(reinterpret_cast<Vec*>(p), v); }
    static Vec Splat(char c) { return _mm_set1_epi8(c); }
    static Vec Eq(Vec a, Vec b) { return _mm_cmpeq_epi8(a, b); }
    static Vec Or(Vec a, Vec b) { return _mm_or_si128(a, b); }
    static Vec And(Vec a, Vec b) { return _mm_and_si128(a, b); }
    static std::size_t Count(Vec v, unsigned /*mask*/) {
        const Vec sums = _mm_sad_epu8(_mm_and_si128(v, _mm_set1_epi8(1)), _mm_setzero_si128());
        return static_cast<std::size_t>(_mm_cvtsi128_si64(sums) + _mm_extract_epi16(sums, 4));
    }
    static Vec Specials(Vec v) { return vector::CompareSpecials<Sse2>(v); }
    static unsigned Mask(Vec v) { return static_cast<unsigned>(_mm_movemask_epi8(v)); }
};

} // namespace

extern const Kernels kSse2 = {vector::Escape<Sse2>, vector::Decode<Sse2>, vector::Remove<Sse2>,
                              vector::Find<Sse2>};

} // namespace xmlscan
#endif
