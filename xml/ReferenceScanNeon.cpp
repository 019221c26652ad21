// The NEON versions of the XML scans for arm64: sixteen bytes a step.
#if defined(__aarch64__)
#include <arm_neon.h>

#include "xml/ReferenceScanVector.h"

namespace xmlscan {
namespace {

struct Neon {
    using Vec = uint8x16_t;
    static constexpr std::size_t kWidth = 16;
    static Vec Load(const char* p) { return vld1q_u8(reinterpret_cast<const std::uint8_t*>(p)); }
    static void Store(char* p, Vec v) { vst1q_u8(reinterpret_cast<std::uint8_t*>(p), v); }
    static Vec Splat(char c) { return vdupq_n_u8(static_cast<std::uint8_t>(c)); }
    static Vec Eq(Vec a, Vec b) { return vceqq_u8(a, b); }
    static Vec Or(Vec a, Vec b) { return vorrq_u8(a, b); }
    static Vec And(Vec a, Vec b) { return vandq_u8(a, b); }
    static std::size_t Count(Vec v, unsigned /*mask*/) {
        return vaddvq_u8(vandq_u8(v, vdupq_n_u8(1)));
    }
    // By nibbles, as in the x86 versions: & " ' are 0x2_, < > 0x3_, CR LF
    // 0x0_, and each high nibble has its own bit that the low nibble's entry
    // must share. Indexes of 16 and above look up 0.
    static Vec Specials(Vec v) {
        const Vec byLow = {0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 4, 0, 2, 4, 2, 0};
        const Vec byHigh = {4, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        const Vec lowNibble = vandq_u8(v, vdupq_n_u8(0x0F));
        return vtstq_u8(vqtbl1q_u8(byLow, lowNibble), vqtbl1q_u8(byHigh, vshrq_n_u8(v, 4)));
    }
    static unsigned Mask(Vec v) {
        const Vec weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
        const Vec w = vandq_u8(v, weights);
        return vaddv_u8(vget_low_u8(w)) | (static_cast<unsigned>(vaddv_u8(vget_high_u8(w))) << 8);
    }
};

} // namespace

extern const Kernels kNeon = {vector::Escape<Neon>, vector::Decode<Neon>, vector::Remove<Neon>,
                              vector::Find<Neon>};

} // namespace xmlscan
#endif
