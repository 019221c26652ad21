// The byte scans behind the reference conversions and the key search of
// the XML text utility (internal).
//
// Each kernel has one scalar reference, which states the rules, and vector
// versions with the same contract that differ from it only in speed. The
// fastest version the processor supports is chosen once per process; tests
// and fuzzers force each one through `Select`.
#pragma once

#include <array>
#include <cstddef>

#include "utils/KernelChoice.h"

namespace xmlscan {

using kernelchoice::Isa;

constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

// Spare bytes a kernel may scribble on behind the ones it writes.
constexpr std::size_t kSlack = 64;

// Escapes & " ' < > CR LF as &amp; &quot; &apos; &lt; &gt; &#13; &#10; from
// the `n` bytes at `in` into `out`, which has room for `6 * n + kSlack`
// bytes; returns the bytes written. The `readable` bytes at `in` (at least
// `n`) may be read.
using EscapeFn = std::size_t (*)(const char* in, std::size_t n, std::size_t readable, char* out);

// Decodes &quot; &amp; &apos; &lt; &gt; as the five passes in that order
// would (see `DecodeEntityAt`) into `out`, which has room for `n + kSlack`
// bytes; returns the bytes written.
using DecodeFn = std::size_t (*)(const char* in, std::size_t n, char* out);

// Removes every "&#...;" reference, left to right. "&#" with nothing behind
// it stays; "&#" without a ";" behind it loses just those two bytes and ends
// the scan. `out` has room for `n + kSlack` bytes; returns the bytes written.
using RemoveFn = std::size_t (*)(const char* in, std::size_t n, char* out);

// The first `key` (of `length` bytes, at least 1) in the `n` bytes at `text`
// at or after `from` (at most `n`), or kNotFound.
using FindFn = std::size_t (*)(const char* text, std::size_t n, std::size_t from, const char* key,
                               std::size_t length);

struct Kernels {
    EscapeFn escape;
    DecodeFn decode;
    RemoveFn remove;
    FindFn find;
};

// A byte's escaped form, padded so that it can be copied with one fixed-size
// store, and its length (1 for bytes that stand for themselves).
struct EscapedByte {
    char bytes[8];
    unsigned char length;
};
extern const std::array<EscapedByte, 256> kEscapes;

// Decodes the reference at `p` (an "&") into `*out` and returns the bytes it
// used: &quot; first, then &amp;, whose "&" may start &apos; &lt; or &gt;
// in turn, as the later passes would see it. Any other "&" stands for itself.
std::size_t DecodeEntityAt(const char* p, const char* end, char* out);

// The scalar references.
std::size_t EscapeScalar(const char* in, std::size_t n, std::size_t readable, char* out);
std::size_t DecodeScalar(const char* in, std::size_t n, char* out);
std::size_t RemoveScalar(const char* in, std::size_t n, char* out);
std::size_t FindScalar(const char* text, std::size_t n, std::size_t from, const char* key,
                       std::size_t length);

#if defined(__x86_64__)
extern const Kernels kSse2;
extern const Kernels kAvx2;
#endif

// The kernels in use.
const Kernels& Active();

// Makes `isa`'s kernels the ones in use; false (and no change) when this
// processor or build lacks them. For tests and fuzzers.
bool Select(Isa isa);

} // namespace xmlscan
