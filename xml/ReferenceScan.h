// The byte scans behind the reference conversions and the key search of
// the XML text utility (internal).
//
// Each kernel has one scalar reference, which states the rules, and vector
// versions with the same contract that differ from it only in speed. The
// version in use is the process-wide choice of utils/KernelChoice.h; tests
// and fuzzers force each one through `kernelchoice::Force`.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>

#include "utils/KernelChoice.h"

namespace xmlscan {

// What a `FindFn` gives when the key is not there.
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

// One version of the four scans; every version keeps the contracts above.
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

// Internal linkage: every file, whatever instruction set it is compiled
// for, inlines its own copy.
namespace {

// True when `key` (of `length` bytes) stands at `p`, with `end` the text's end.
inline bool KeyAt(const char* p, const char* end, const char* key, std::size_t length) {
    return static_cast<std::size_t>(end - p) >= length && std::memcmp(p, key, length) == 0;
}

// Decodes the reference at `p` (an "&") into `*out` and returns the bytes it
// used: &quot; first, then &amp;, whose "&" may start &apos; &lt; or &gt;
// in turn, as the later passes would see it. Any other "&" stands for itself.
inline std::size_t DecodeEntityAt(const char* p, const char* end, char* out) {
    if (KeyAt(p, end, "&quot;", 6)) {
        *out = '"';
        return 6;
    }
    const bool amp = KeyAt(p, end, "&amp;", 5);
    const char* name = amp ? p + 5 : p + 1;
    const std::size_t used = name - p;
    if (name < end) {
        switch (*name) {
        case 'a':
            if (KeyAt(name, end, "apos;", 5)) {
                *out = '\'';
                return used + 5;
            }
            break;
        case 'l':
        case 'g':
            if (KeyAt(name + 1, end, "t;", 2)) {
                *out = *name == 'l' ? '<' : '>';
                return used + 3;
            }
            break;
        default:
            break;
        }
    }
    *out = '&';
    return used;
}

} // namespace

// The scalar references.
std::size_t EscapeScalar(const char* in, std::size_t n, std::size_t readable, char* out);
std::size_t DecodeScalar(const char* in, std::size_t n, char* out);
std::size_t RemoveScalar(const char* in, std::size_t n, char* out);
std::size_t FindScalar(const char* text, std::size_t n, std::size_t from, const char* key,
                       std::size_t length);

// The vector versions, each in its own file compiled for its instruction
// set (ReferenceScanSse2.cpp and so on).
extern const Kernels kSse2;
extern const Kernels kAvx2;
extern const Kernels kAvx512;
extern const Kernels kNeon;

// The kernels in use.
const Kernels& Active();

} // namespace xmlscan
