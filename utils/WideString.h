// The wide string type of the support library.
//
// A wide string holds one 32-bit `wchar_t` value per element, normally one
// Unicode code point, but the byte-wise conversions in Conversions.h can put
// other values there (sign-extended bytes, lone UTF-16 surrogates). Its own
// traits class keeps it a distinct type from `std::wstring`, so that the
// library's conversions are the only way text moves between the two.
//
// The length of a zero-terminated element array is the number of elements
// before the first 0, so assigning such an array stops at its first 0.
#pragma once

#include <cwchar>
#include <string>

static_assert(sizeof(wchar_t) == 4, "the wide string type needs a 32-bit wchar_t");

namespace fn {

// Character traits for 32-bit wide elements: plain value copies, and arrays
// measured up to their first 0 element.
struct fn_wchar_traits : std::char_traits<wchar_t> {};

// The library's wide string. `const wchar_t* + fn_wstring` concatenates, as
// for any standard string.
using fn_wstring = std::basic_string<wchar_t, fn_wchar_traits>;

} // namespace fn
