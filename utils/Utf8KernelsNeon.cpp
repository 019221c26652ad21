// The NEON UTF-8 kernels for arm64: sixteen bytes a decoding step, checked
// and analysed as the x86 kernels do, and four elements an encoding step,
// whose UTF-8 forms are moved together by one table lookup. Elements are
// signed 32-bit values here too, as on every processor.
#if defined(__aarch64__)
#include <arm_neon.h>

#include <array>
#include <cstdint>

#include "utils/Utf8Kernels.h"

namespace utf8kernels {
namespace {

// One bit per byte of `mask` (each 0xFF or 0), byte 0 lowest.
unsigned Bits(uint8x16_t mask) {
    const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t w = vandq_u8(mask, weights);
    return vaddv_u8(vget_low_u8(w)) | (static_cast<unsigned>(vaddv_u8(vget_high_u8(w))) << 8);
}

// The values of the sequences that would start at eight bytes, in 16-bit
// lanes, from the lead bytes, the two bytes behind each (low six bits) and
// the lead bytes of two and of three bytes.
uint16x8_t ValuesAt(uint8x8_t lead, uint8x8_t c1, uint8x8_t c2, uint8x8_t two, uint8x8_t three) {
    const uint16x8_t b0 = vmovl_u8(lead);
    const uint16x8_t n1 = vmovl_u8(c1);
    const uint16x8_t n2 = vmovl_u8(c2);
    const uint16x8_t one = vandq_u16(b0, vdupq_n_u16(0x7F));
    const uint16x8_t twoValue = vorrq_u16(vshlq_n_u16(vandq_u16(b0, vdupq_n_u16(0x1F)), 6), n1);
    // The shift by 12 keeps just the lead byte's low four bits.
    const uint16x8_t threeValue = vorrq_u16(vorrq_u16(vshlq_n_u16(b0, 12), vshlq_n_u16(n1, 6)), n2);
    const uint16x8_t isTwo = vreinterpretq_u16_s16(vmovl_s8(vreinterpret_s8_u8(two)));
    const uint16x8_t isThree = vreinterpretq_u16_s16(vmovl_s8(vreinterpret_s8_u8(three)));
    return vbslq_u16(isThree, threeValue, vbslq_u16(isTwo, twoValue, one));
}

void WidenAscii(uint8x16_t bytes, wchar_t* out) {
    const uint16x8_t low = vmovl_u8(vget_low_u8(bytes));
    const uint16x8_t high = vmovl_u8(vget_high_u8(bytes));
    auto* dst = reinterpret_cast<std::uint32_t*>(out);
    vst1q_u32(dst, vmovl_u16(vget_low_u16(low)));
    vst1q_u32(dst + 4, vmovl_u16(vget_high_u16(low)));
    vst1q_u32(dst + 8, vmovl_u16(vget_low_u16(high)));
    vst1q_u32(dst + 12, vmovl_u16(vget_high_u16(high)));
}

DecodeResult Decode(const unsigned char* s, std::size_t n, std::size_t from, std::size_t limit,
                    wchar_t* out) {
    std::size_t i = from;
    std::size_t k = 0;
    while (i + 16 <= limit && i + 18 <= n) {
        const uint8x16_t b0 = vld1q_u8(s + i);
        if (vmaxvq_u8(b0) < 0x80 && vminvq_u8(b0) != 0) {
            WidenAscii(b0, out + k);
            i += 16;
            k += 16;
            continue;
        }
        const uint8x16_t two = vcgeq_u8(b0, vdupq_n_u8(0xC0));
        const uint8x16_t three = vcgeq_u8(b0, vdupq_n_u8(0xE0));
        const uint8x16_t continuation = vbicq_u8(vcgeq_u8(b0, vdupq_n_u8(0x80)), two);
        const uint8x16_t zero = vdupq_n_u8(0);
        const uint8x16_t expected = vorrq_u8(vextq_u8(zero, two, 15), vextq_u8(zero, three, 14));
        // Lead bytes of four bytes, and continuation bytes that do not follow
        // their lead byte exactly (byte 0 starts a sequence whatever it is),
        // leave the block to the scalar kernel: with those, where the
        // sequences start depends on the walk from byte to byte.
        if (vmaxvq_u8(b0) >= 0xF0 || (Bits(veorq_u8(continuation, expected)) & 0xFFFEu) != 0) {
            const DecodeResult part = DecodeScalar(s, n, i, i + 16, out + k);
            k += part.count;
            if (part.ended) {
                return {part.next, k, true};
            }
            i = part.next;
            continue;
        }
        const unsigned starts = (~Bits(continuation) & 0xFFFFu) | 1u;
        const uint8x16_t low6 = vdupq_n_u8(0x3F);
        const uint8x16_t c1 = vandq_u8(vld1q_u8(s + i + 1), low6);
        const uint8x16_t c2 = vandq_u8(vld1q_u8(s + i + 2), low6);
        std::uint16_t values[16];
        vst1q_u16(values, ValuesAt(vget_low_u8(b0), vget_low_u8(c1), vget_low_u8(c2),
                                   vget_low_u8(two), vget_low_u8(three)));
        vst1q_u16(values + 8, ValuesAt(vget_high_u8(b0), vget_high_u8(c1), vget_high_u8(c2),
                                       vget_high_u8(two), vget_high_u8(three)));
        std::size_t count = 0;
        bool ended = false;
        for (unsigned j = 0; j < 16; ++j) {
            out[k + count] = values[j]; // overwritten unless a sequence starts here
            const unsigned starts_here = (starts >> j) & 1u;
            ended = ended || (starts_here != 0 && values[j] == 0);
            count += starts_here;
        }
        if (ended) {
            break; // the scalar kernel stops at the 0
        }
        k += count;
        const unsigned last = 31u - static_cast<unsigned>(__builtin_clz(starts));
        i += last + 1 + (s[i + last] >= 0xC0) + (s[i + last] >= 0xE0);
    }
    const DecodeResult rest = DecodeScalar(s, n, i, limit, out + k);
    return {rest.next, k + rest.count, rest.ended};
}

struct Shuffle {
    std::uint8_t bytes[16];
    std::uint8_t count;
};

// For four UTF-8 forms in 32-bit lanes whose lengths (0 to 3) are packed two
// bits each: the lookup that moves the forms' bytes together, and their total.
constexpr std::array<Shuffle, 256> kPackForms = [] {
    std::array<Shuffle, 256> table{};
    for (unsigned code = 0; code < 256; ++code) {
        Shuffle& entry = table[code];
        for (std::uint8_t lane = 0; lane < 4; ++lane) {
            for (unsigned b = 0; b < ((code >> (2 * lane)) & 3u); ++b) {
                entry.bytes[entry.count++] = static_cast<std::uint8_t>(4 * lane + b);
            }
        }
        for (unsigned b = entry.count; b < 16; ++b) {
            entry.bytes[b] = 0xFF; // out of range: a lookup gives 0
        }
    }
    return table;
}();

// Encodes four elements; writes sixteen bytes.
std::size_t EncodeFour(int32x4_t v, char* out) {
    const int32x4_t low6 = vdupq_n_s32(0x3F);
    const int32x4_t mark = vdupq_n_s32(0x80);
    const int32x4_t tail = vorrq_s32(vandq_s32(v, low6), mark);
    const int32x4_t middle = vorrq_s32(vandq_s32(vshrq_n_s32(v, 6), low6), mark);
    const int32x4_t one = vandq_s32(v, vdupq_n_s32(0x7F));
    const int32x4_t two =
        vorrq_s32(vorrq_s32(vshrq_n_s32(v, 6), vdupq_n_s32(0xC0)), vshlq_n_s32(tail, 8));
    const int32x4_t three = vorrq_s32(vorrq_s32(vshrq_n_s32(v, 12), vdupq_n_s32(0xE0)),
                                      vorrq_s32(vshlq_n_s32(middle, 8), vshlq_n_s32(tail, 16)));
    const uint32x4_t isTwo = vcgtq_s32(v, vdupq_n_s32(0x7F));
    const uint32x4_t isThree = vcgtq_s32(v, vdupq_n_s32(0x7FF));
    const uint32x4_t dropped = vcgtq_s32(v, vdupq_n_s32(0xFFFF));
    const int32x4_t words = vbslq_s32(isThree, three, vbslq_s32(isTwo, two, one));
    // Lengths 1 to 3 (the masks are -1), 0 when dropped, two bits a lane.
    const uint32x4_t length =
        vbicq_u32(vsubq_u32(vsubq_u32(vdupq_n_u32(1), isTwo), isThree), dropped);
    const int32x4_t shifts = {0, 2, 4, 6};
    const Shuffle& entry = kPackForms[vaddvq_u32(vshlq_u32(length, shifts))];
    vst1q_u8(reinterpret_cast<std::uint8_t*>(out),
             vqtbl1q_u8(vreinterpretq_u8_s32(words), vld1q_u8(entry.bytes)));
    return entry.count;
}

std::size_t Encode(const wchar_t* in, std::size_t count, char* out) {
    const auto* src = reinterpret_cast<const std::int32_t*>(in);
    std::size_t i = 0;
    std::size_t o = 0;
    for (; i + 16 <= count; i += 16) {
        const int32x4_t a = vld1q_s32(src + i);
        const int32x4_t b = vld1q_s32(src + i + 4);
        const int32x4_t c = vld1q_s32(src + i + 8);
        const int32x4_t d = vld1q_s32(src + i + 12);
        const uint32x4_t any = vreinterpretq_u32_s32(vorrq_s32(vorrq_s32(a, b), vorrq_s32(c, d)));
        if (vmaxvq_u32(any) <= 0x7F) { // negative elements have the top bit
            const uint16x8_t ab = vcombine_u16(vmovn_u32(vreinterpretq_u32_s32(a)),
                                               vmovn_u32(vreinterpretq_u32_s32(b)));
            const uint16x8_t cd = vcombine_u16(vmovn_u32(vreinterpretq_u32_s32(c)),
                                               vmovn_u32(vreinterpretq_u32_s32(d)));
            vst1q_u8(reinterpret_cast<std::uint8_t*>(out + o),
                     vcombine_u8(vmovn_u16(ab), vmovn_u16(cd)));
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

extern const Kernels kNeon = {Decode, Encode};

} // namespace utf8kernels
#endif
