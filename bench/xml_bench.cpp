// The XML reference conversions beside the in-place replace loop (the
// obvious implementation) and a bare memchr pass (the limit), and tag
// extraction beside a bare memmem scan for the same opening key.
#include <cstring>
#include <random>
#include <string>

#include "bench/support/InPlaceReplace.h"
#include "bench/support/RatioReporter.h"
#include "xml/XMLUtility.h"

namespace {

constexpr std::size_t kMiB = 1 << 20;

// Text in which about 5 % of the bytes need escaping.
std::string MakePlainText(std::size_t bytes) {
    static const char kSpecial[] = "&\"'<>\r\n";
    std::mt19937 random(3);
    std::string text(bytes, ' ');
    for (char& c : text) {
        const unsigned r = random() % 100;
        c = r < 5 ? kSpecial[random() % 7] : static_cast<char>('a' + r % 26);
    }
    return text;
}

const std::string& PlainText(std::size_t bytes) {
    static const std::string small = MakePlainText(kMiB), large = MakePlainText(16 * kMiB);
    return bytes == kMiB ? small : large;
}

const std::string& EncodedText(std::size_t bytes) {
    static std::string small, large;
    std::string& text = bytes == kMiB ? small : large;
    if (text.empty()) {
        XMLUtility().ConvertStringUTF8ToEntityReference(PlainText(bytes), text);
    }
    return text;
}

const std::string& Document() {
    static const std::string document = [] {
        std::string text;
        text.reserve(64 * kMiB);
        for (int i = 0; i < 1000000; ++i) {
            std::string item = "<item>value " + std::to_string(i) + " of a generated list";
            item.resize(64 - 7, '.'); // 64 bytes an element
            text += item + "</item>";
        }
        return text;
    }();
    return document;
}

using Conversion = bool (*)(const std::string&, std::string&);

bool Encode(const std::string& text, std::string& out) {
    return XMLUtility().ConvertStringUTF8ToEntityReference(text, out);
}

bool Decode(const std::string& text, std::string& out) {
    return XMLUtility().ConvertStringReferenceToUTF8(text, out);
}

void Convert(benchmark::State& state, const std::string* text, Conversion convert) {
    std::string out;
    for (auto _ : state) {
        convert(*text, out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text->size()));
}

// Visits every "&" of the text: the least any decoder must do.
void MemchrPass(benchmark::State& state, const std::string* text) {
    for (auto _ : state) {
        std::size_t count = 0;
        const char* p = text->data();
        const char* end = p + text->size();
        while ((p = static_cast<const char*>(std::memchr(p, '&', end - p))) != nullptr) {
            ++count;
            ++p;
        }
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text->size()));
}

void ValuesForTag(benchmark::State& state) {
    const std::string& text = Document();
    XMLUtility xml;
    std::vector<std::string> values;
    for (auto _ : state) {
        xml.GetValuesForTag(text, "item", values);
        benchmark::DoNotOptimize(values.data());
    }
    state.counters["values"] = static_cast<double>(values.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void MemmemScan(benchmark::State& state) {
    const std::string& text = Document();
    for (auto _ : state) {
        std::size_t count = 0;
        const char* p = text.data();
        const char* end = p + text.size();
        while ((p = static_cast<const char*>(memmem(p, end - p, "<item>", 6))) != nullptr) {
            ++count;
            p += 6;
        }
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

} // namespace

int main(int argc, char** argv) {
    benchsupport::RatioReporter reporter;
    const auto ms = benchmark::kMillisecond;
    const std::string* plain[] = {&PlainText(kMiB), &PlainText(16 * kMiB)};
    const std::string* encoded[] = {&EncodedText(kMiB), &EncodedText(16 * kMiB)};
    benchmark::RegisterBenchmark("encode/1MiB", Convert, plain[0], Encode)->Unit(ms);
    benchmark::RegisterBenchmark("encode/16MiB", Convert, plain[1], Encode)->Unit(ms);
    benchmark::RegisterBenchmark("decode/1MiB", Convert, encoded[0], Decode)->Unit(ms);
    benchmark::RegisterBenchmark("decode/16MiB", Convert, encoded[1], Decode)->Unit(ms);
    benchmark::RegisterBenchmark("inplace_encode/1MiB", Convert, plain[0], inplace::EncodeEntities)
        ->Unit(ms)
        ->Iterations(2);
    benchmark::RegisterBenchmark("inplace_decode/1MiB", Convert, encoded[0],
                                 inplace::DecodeEntities)
        ->Unit(ms)
        ->Iterations(2);
    benchmark::RegisterBenchmark("memchr_plain/16MiB", MemchrPass, &PlainText(16 * kMiB))->Unit(ms);
    benchmark::RegisterBenchmark("memchr_encoded/16MiB", MemchrPass, &EncodedText(16 * kMiB))
        ->Unit(ms);
    benchmark::RegisterBenchmark("values_for_tag/64MiB", ValuesForTag)->Unit(ms);
    benchmark::RegisterBenchmark("memmem_scan/64MiB", MemmemScan)->Unit(ms);
    reporter.Compare("encode/1MiB", "inplace_encode/1MiB");
    reporter.Compare("decode/1MiB", "inplace_decode/1MiB");
    reporter.Compare("encode/16MiB", "memchr_plain/16MiB");
    reporter.Compare("decode/16MiB", "memchr_encoded/16MiB");
    reporter.Compare("values_for_tag/64MiB", "memmem_scan/64MiB");
    return benchsupport::RunWithRatios(argc, argv, reporter);
}
