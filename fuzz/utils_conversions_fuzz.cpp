// Drives the text and number conversions with arbitrary bytes, checks the
// invariants that must hold for every input, and holds every UTF-8 kernel
// version to the scalar reference, element by element and byte by byte.
#include <algorithm>
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

// Each kernel version, called directly on the whole input and on a window
// of it, gives the scalar reference's answer: the same elements, the same
// stopping place, the same bytes.
void CheckKernelsAgainstScalar(const std::string& bytes, const fn::fn_wstring& wide) {
    const auto* s = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    const std::size_t from = n == 0 ? 0 : s[0] % (n + 1);
    const std::size_t limits[] = {n, from + (n - from) / 2};
    std::vector<wchar_t> expected(n + utf8kernels::kDecodeSlack);
    std::vector<wchar_t> actual(expected.size());
    std::string encodedExpected(3 * wide.size() + utf8kernels::kEncodeSlack, '\0');
    std::string encodedActual(encodedExpected.size(), '\0');
    const std::size_t encodedSize =
        utf8kernels::EncodeScalar(wide.data(), wide.size(), encodedExpected.data());
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        Check(kernelchoice::Force(isa));
        const utf8kernels::Kernels& kernels = utf8kernels::Active();
        for (const std::size_t limit : limits) {
            const utf8kernels::DecodeResult want =
                utf8kernels::DecodeScalar(s, n, from, limit, expected.data());
            const utf8kernels::DecodeResult got = kernels.decode(s, n, from, limit, actual.data());
            Check(got.next == want.next && got.count == want.count && got.ended == want.ended);
            Check(std::equal(actual.begin(), actual.begin() + got.count, expected.begin()));
        }
        Check(kernels.encode(wide.data(), wide.size(), encodedActual.data()) == encodedSize);
        Check(encodedActual.compare(0, encodedSize, encodedExpected, 0, encodedSize) == 0);
    }
}

// The conversions themselves, with each kernel version in use, give what
// they give with the scalar one.
void CheckConversionsAgree(const std::string& bytes, const fn::fn_wstring& wide) {
    kernelchoice::Force(kernelchoice::Isa::kScalar);
    const fn::fn_wstring decoded = Utils::utf8towstring(bytes);
    const std::string encoded = Utils::wstring2utf8(wide);
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        kernelchoice::Force(isa);
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
    CheckKernelsAgainstScalar(bytes, wide);
    CheckConversionsAgree(bytes, wide);

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
