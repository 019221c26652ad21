// UTF-8 and byte-wise conversions beside glibc iconv (UTF-8 <-> WCHAR_T),
// both writing into a wide or narrow result string allocated the same way.
#include <iconv.h>

#include <random>
#include <string>

#include "bench/support/RatioReporter.h"
#include "utils/Conversions.h"

namespace {

constexpr std::size_t kSmall = 1 << 20;
constexpr std::size_t kLarge = 64 << 20;

// The texts: ASCII letters; a mix with about 30 % two-byte and 10 %
// three-byte characters; or CJK-heavy, 90 % ideographs (three bytes each)
// between ASCII letters.
enum class Kind { kAscii, kMixed, kCjk };
constexpr Kind kKinds[] = {Kind::kAscii, Kind::kMixed, Kind::kCjk};
const char* const kKindNames[] = {"ascii", "mixed", "cjk"};

// A text of `kind`, cut to a whole character near `bytes`.
std::string MakeText(std::size_t bytes, Kind kind) {
    std::mt19937 random(42);
    std::uniform_int_distribution<int> pick(0, 99);
    std::string text;
    text.reserve(bytes + 3);
    while (text.size() < bytes) {
        const int p = kind == Kind::kAscii ? 99 : pick(random);
        if (kind == Kind::kCjk && p < 90) {
            const unsigned c = 0x4E00 + random() % 0x5200; // the unified ideographs
            text += static_cast<char>(0xE0 | (c >> 12));
            text += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (c & 0x3F));
        } else if (kind == Kind::kMixed && p < 30) {
            text += "\xC3\xA9"; // é
        } else if (kind == Kind::kMixed && p < 40) {
            text += "\xE2\x82\xAC"; // €
        } else {
            text += static_cast<char>('a' + pick(random) % 26);
        }
    }
    return text;
}

const std::string& Text(std::size_t bytes, Kind kind) {
    static const std::string texts[2][3] = {
        {MakeText(kSmall, Kind::kAscii), MakeText(kSmall, Kind::kMixed),
         MakeText(kSmall, Kind::kCjk)},
        {MakeText(kLarge, Kind::kAscii), MakeText(kLarge, Kind::kMixed),
         MakeText(kLarge, Kind::kCjk)}};
    return texts[bytes == kLarge ? 1 : 0][static_cast<int>(kind)];
}

fn::fn_wstring IconvToWide(iconv_t cd, const std::string& in) {
    fn::fn_wstring out(in.size(), L'\0');
    char* src = const_cast<char*>(in.data());
    std::size_t srcLeft = in.size();
    char* dst = reinterpret_cast<char*>(out.data());
    std::size_t dstLeft = out.size() * sizeof(wchar_t);
    iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    out.resize(out.size() - dstLeft / sizeof(wchar_t));
    return out;
}

std::string IconvToUtf8(iconv_t cd, const fn::fn_wstring& in) {
    std::string out(in.size() * 3, '\0');
    char* src = reinterpret_cast<char*>(const_cast<wchar_t*>(in.data()));
    std::size_t srcLeft = in.size() * sizeof(wchar_t);
    char* dst = out.data();
    std::size_t dstLeft = out.size();
    iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    out.resize(out.size() - dstLeft);
    return out;
}

void Run(benchmark::State& state, std::size_t bytes, Kind kind, int which) {
    const std::string& text = Text(bytes, kind);
    const fn::fn_wstring wide = Utils::utf8towstring(text);
    iconv_t toWide = iconv_open("WCHAR_T", "UTF-8");
    iconv_t toUtf8 = iconv_open("UTF-8", "WCHAR_T");
    for (auto _ : state) {
        switch (which) {
        case 0:
            benchmark::DoNotOptimize(Utils::utf8towstring(text));
            break;
        case 1:
            benchmark::DoNotOptimize(IconvToWide(toWide, text));
            break;
        case 2:
            benchmark::DoNotOptimize(Utils::wstring2utf8(wide));
            break;
        case 3:
            benchmark::DoNotOptimize(IconvToUtf8(toUtf8, wide));
            break;
        case 4:
            benchmark::DoNotOptimize(Utils::string2wstring(text));
            break;
        }
    }
    iconv_close(toWide);
    iconv_close(toUtf8);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

const char* const kNames[] = {"utf8towstring", "iconv_utf8_to_wchar", "wstring2utf8",
                              "iconv_wchar_to_utf8", "string2wstring"};

std::string Name(int which, std::size_t bytes, Kind kind) {
    return std::string(kNames[which]) + "/" + kKindNames[static_cast<int>(kind)] + "/" +
           (bytes == kLarge ? "64MiB" : "1MiB");
}

} // namespace

int main(int argc, char** argv) {
    benchsupport::RatioReporter reporter;
    for (std::size_t bytes : {kSmall, kLarge}) {
        for (const Kind kind : kKinds) {
            for (int which = 0; which < 5; ++which) {
                benchmark::RegisterBenchmark(Name(which, bytes, kind).c_str(), Run, bytes, kind,
                                             which)
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime();
            }
            reporter.Compare(Name(0, bytes, kind), Name(1, bytes, kind));
            reporter.Compare(Name(2, bytes, kind), Name(3, bytes, kind));
            reporter.Compare(Name(4, bytes, kind), Name(1, bytes, kind));
            if (kind ==
                Kind::kAscii) { // the same elements either way: a plain widening is the copy limit
                reporter.Compare(Name(0, bytes, kind), Name(4, bytes, kind));
            }
        }
    }
    return benchsupport::RunWithRatios(argc, argv, reporter);
}
