// The AVX2 versions of the XML scans: thirty-two bytes a step. Compiled
// with -mavx2 and used only when the processor has it.
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
    static unsigned Mask(Vec v) { return static_cast<unsigned>(_mm256_movemask_epi8(v)); }
};

} // namespace

extern const Kernels kAvx2 = {vector::Escape<Avx2>, vector::Decode<Avx2>, vector::Remove<Avx2>,
                              vector::Find<Avx2>};

} // namespace xmlscan
#endif
