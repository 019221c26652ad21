// Drives the text and number conversions with arbitrary bytes, checks the
// invariants that must hold for every input, and holds every UTF-8 kernel
// version to the scalar reference.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "utils/Conversions.h"
#include "utils/Utf8Kernels.h"

namespace {

fn::fn_wstring WideFrom(const std::uint8_t* data, std::size_t size) {
    fn::fn_wstring wide(size / 4, L'\0');
    std::memcpy(wide.data(), data, wide.size() * 4);
    return wide;
}

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The UTF-8 conversions with each vector kernel version this processor has
// give what they give with the scalar one.
void CheckKernelsAgree(const std::string& bytes, const fn::fn_wstring& wide) {
    utf8kernels::Select(utf8kernels::Isa::kScalar);
    const fn::fn_wstring decoded = Utils::utf8towstring(bytes);
    const std::string encoded = Utils::wstring2utf8(wide);
    for (const utf8kernels::Isa isa : kernelchoice::SupportedIsas()) {
        utf8kernels::Select(isa);
        Check(Utils::utf8towstring(bytes) == decoded);
        Check(Utils::wstring2utf8(wide) == encoded);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    const fn::fn_wstring decoded = Utils::utf8towstring(bytes);
    Check(decoded.size() <= bytes.size());
    Check(decoded.find(L'\0') == fn::fn_wstring::npos);

    const fn::fn_wstring widened = Utils::string2wstring(bytes);
    Check(Utils::wstring2string(widened) == bytes);

    const fn::fn_wstring wide = WideFrom(data, size);
    const std::string utf8 = Utils::wstring2utf8(wide);
    Check(utf8.size() <= 3 * wide.size());
    CheckKernelsAgree(bytes, wide);

    std::vector<unsigned short> units(size / 2 + 1, 0);
    std::memcpy(units.data(), data, (size / 2) * 2);
    delete[] Utils::wshort2wchar(units.data());
    Check(Utils::wshort2wstring(units.data()).size() <= size / 2);
    Check(
        Utils::nsstring2wstring(reinterpret_cast<const char16_t*>(units.data()), size / 2).size() <=
        size / 2);

    (void)Utils::string2int(bytes);
    (void)Utils::string2long(bytes);
    (void)Utils::wstring2long(wide);

    const std::size_t half = size / 2;
    const fn::fn_wstring a = Utils::string2wstring(bytes.substr(0, half));
    const fn::fn_wstring b = Utils::string2wstring(bytes.substr(half));
    const int ab = Utils::compare_version(a, b);
    Check(ab == -Utils::compare_version(b, a));
    Check(Utils::compare_version(a, a) == 0);

    Check(Utils::trim(bytes.substr(half), bytes.substr(0, half)).size() <= size - half);
    return 0;
}
