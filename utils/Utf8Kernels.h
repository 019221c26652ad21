// The UTF-8 kernels behind `Utils::utf8towstring` and `Utils::wstring2utf8`
// (internal).
//
// Each kernel has one scalar reference, which states the rules, and vector
// versions with the same contract that differ from it only in speed. The
// version in use is the process-wide choice of utils/KernelChoice.h; tests
// and fuzzers force each one through `kernelchoice::Force`.
#pragma once

#include <cstddef>

#include "utils/KernelChoice.h"

namespace utf8kernels {

// How far a decoder got.
struct DecodeResult {
    std::size_t next;  // where the next sequence starts
    std::size_t count; // elements written
    bool ended;        // a sequence decoded to 0, which ends the text
};

// Spare elements a decoder may scribble on behind the ones it writes.
constexpr std::size_t kDecodeSlack = 16;
// Spare bytes an encoder may scribble on behind the ones it writes.
constexpr std::size_t kEncodeSlack = 64;

// Decodes the sequences of the `n` bytes at `s` that start at `from` and
// before `limit` (at most `n`) into `out`, which has room for
// `limit - from + kDecodeSlack` elements. The lead byte alone gives a
// sequence's length; bytes past `n` read as 0. Stops before a sequence that
// decodes to 0.
using DecodeFn = DecodeResult (*)(const unsigned char* s, std::size_t n, std::size_t from,
                                  std::size_t limit, wchar_t* out);

// Encodes `count` elements into `out`, which has room for
// `3 * count + kEncodeSlack` bytes; returns the bytes written.
using EncodeFn = std::size_t (*)(const wchar_t* in, std::size_t count, char* out);

// One version of the two kernels; every version keeps the contracts above.
struct Kernels {
    DecodeFn decode;
    EncodeFn encode;
};

// The scalar references.
DecodeResult DecodeScalar(const unsigned char* s, std::size_t n, std::size_t from,
                          std::size_t limit, wchar_t* out);
std::size_t EncodeScalar(const wchar_t* in, std::size_t count, char* out);

// The vector versions, each in its own file compiled for its instruction
// set (Utf8KernelsSse2.cpp and so on); null where a build has none.
extern const Kernels kSse2;
extern const Kernels kAvx2;
extern const Kernels kAvx512;
extern const Kernels kNeon;

// The kernels in use.
const Kernels& Active();

} // namespace utf8kernels
