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

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string>

static_assert(sizeof(wchar_t) == 4, "the wide string type needs a 32-bit wchar_t");

namespace fn {

// Character traits for 32-bit wide elements: plain value copies, arrays
// measured up to their first 0 element, and order by signed 32-bit value on
// every processor (`wchar_t` is unsigned on arm64, where the standard traits
// would put a sign-extended byte after every code point).
struct fn_wchar_traits : std::char_traits<wchar_t> {
    // Whether `a` comes before `b`, as signed 32-bit values.
    static constexpr bool lt(char_type a, char_type b) noexcept {
        return static_cast<std::int32_t>(a) < static_cast<std::int32_t>(b);
    }
    // The order of the first `n` elements of `a` and `b`: -1, 0 or 1.
    static constexpr int compare(const char_type* a, const char_type* b, std::size_t n) noexcept {
        for (std::size_t i = 0; i < n; ++i) {
            if (lt(a[i], b[i])) {
                return -1;
            }
            if (lt(b[i], a[i])) {
                return 1;
            }
        }
        return 0;
    }
};

// The library's wide string. `const wchar_t* + fn_wstring` concatenates, as
// for any standard string.
using fn_wstring = std::basic_string<wchar_t, fn_wchar_traits>;

} // namespace fn
