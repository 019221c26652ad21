// Conversions between narrow byte strings, wide strings, UTF-16 units and
// numbers; version comparison, byte-size texts and trimming.
//
// Only `wstring2utf8` and `utf8towstring` know UTF-8. Every other narrow/wide
// conversion maps one byte to one element or one element to one byte, and
// the loss rules documented below are part of the contract: callers rely on
// them, so they are kept even where they look wrong. None of these functions
// reports an error; unconvertible input gives the documented lossy result.
// All are safe to call from any thread.
#pragma once

#include <cstddef>
#include <string>

#include "utils/Export.h"
#include "utils/WideString.h"

namespace Utils {

// Widens byte by byte: one element per byte, embedded zeros included. Each
// byte is sign-extended, so 0xE9 becomes -23 (0xFFFFFFE9), not U+00E9.
QUORVEL_EXPORT fn::fn_wstring string2wstring(const std::string& text);

// Narrows element by element to the low 8 bits of each (U+0131 gives 0x31).
// Undoes `string2wstring` exactly.
QUORVEL_EXPORT std::string wstring2string(const fn::fn_wstring& text);

// Encodes as UTF-8 with at most three bytes per element. Elements up to 0x7F,
// negative ones included, give one byte `v & 0x7F`; surrogates are encoded
// like any other value; elements of 0x10000 and above are dropped.
QUORVEL_EXPORT std::string wstring2utf8(const fn::fn_wstring& text);

// Decodes UTF-8 by the lead byte's top bits alone (continuation bytes are not
// checked; a stray continuation byte gives `b & 0x7F`). A sequence cut off by
// the end of the input reads its missing bytes as 0. The result ends at the
// first decoded 0.
QUORVEL_EXPORT fn::fn_wstring utf8towstring(const std::string& text);

// Plain decimal texts ("%ld" / "%d"): a leading '-' when negative, nothing else.
QUORVEL_EXPORT std::string long2string(long value);
// As `long2string`, as a wide string.
QUORVEL_EXPORT fn::fn_wstring long2wstring(long value);
// As `long2string`, for an int.
QUORVEL_EXPORT std::string int2string(int value);
// As `int2string`, as a wide string.
QUORVEL_EXPORT fn::fn_wstring int2wstring(int value);

// `atoi` / `atol` of the text: leading white space, an optional sign, digits
// up to the first other character; no leading digits gives 0.
QUORVEL_EXPORT int string2int(const std::string& text);
// As `string2int`, for a long.
QUORVEL_EXPORT long string2long(const std::string& text);

// As above after narrowing with `wstring2string`, so an element whose low
// byte is an ASCII digit counts as that digit.
QUORVEL_EXPORT int wstring2int(const fn::fn_wstring& text);
// As `wstring2int`, for a long.
QUORVEL_EXPORT long wstring2long(const fn::fn_wstring& text);

// Copies zero-terminated UTF-16 units into a new zero-terminated array, one
// zero-extended element per unit (surrogate pairs stay two elements). The
// caller frees the result with `delete[]`. A null input gives an empty array.
QUORVEL_EXPORT wchar_t* wshort2wchar(const unsigned short* units);

// As `wshort2wchar`, into a wide string. A null input gives an empty string.
QUORVEL_EXPORT fn::fn_wstring wshort2wstring(const unsigned short* units);

// Copies `count` UTF-16 units, one zero-extended element each; the result
// ends at the first 0 unit. Null or empty input gives an empty string. This
// takes the place of a platform string object on systems that have none.
QUORVEL_EXPORT fn::fn_wstring nsstring2wstring(const char16_t* units, std::size_t count);

// "N Bytes", "N KB" or "N MB": divides by 1024 (truncating) only while the
// value is strictly greater than 1024, at most twice. 1024 gives
// "1024 Bytes", 1025 gives "1 KB".
QUORVEL_EXPORT std::string bytesize2string(unsigned int bytes);

// Compares dotted versions number by number (-1, 0 or 1). Empty pieces are
// skipped, a piece that is not a number counts as 0, and when all shared
// positions are equal the version with more numbers is the greater one, so
// "1.0" < "1.0.0".
QUORVEL_EXPORT int compare_version(const fn::fn_wstring& a, const fn::fn_wstring& b);

// Removes the leading bytes of `text` that occur in `set`.
QUORVEL_EXPORT std::string trim_left(const std::string& text, const std::string& set);

// Removes the trailing bytes of `text` that occur in `set`.
QUORVEL_EXPORT std::string trim_right(const std::string& text, const std::string& set);

// Removes the bytes of `set` from both ends of `text`.
QUORVEL_EXPORT std::string trim(const std::string& text, const std::string& set);

} // namespace Utils
