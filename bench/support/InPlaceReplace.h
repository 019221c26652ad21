// The reference conversions written the obvious way: each documented pass a
// replace loop that edits one string in place and resumes behind each
// replacement. Quadratic on large texts, which is why the library does not
// use it; the benchmarks measure against it and the tests and fuzzers hold
// the library's single-pass conversions to its results.
#pragma once

#include <string>
#include <utility>

namespace inplace {

// Replaces every `search` in `text` in place, resuming behind each
// replacement. An empty search leaves the text empty, like the library.
inline std::string ReplaceAll(std::string text, const std::string& search,
                              const std::string& replacement) {
    if (search.empty()) {
        return "";
    }
    std::size_t pos = 0;
    while ((pos = text.find(search, pos)) != std::string::npos) {
        text.replace(pos, search.size(), replacement);
        pos += replacement.size();
        if (pos >= text.size()) {
            break;
        }
    }
    return text;
}

// Runs the passes in order; false (and empty) as soon as a pass leaves nothing.
template <std::size_t N>
bool RunPasses(const std::string& text, const std::pair<const char*, const char*> (&passes)[N],
               std::string& out) {
    out = text;
    for (const auto& [search, replacement] : passes) {
        out = out.empty() ? out : ReplaceAll(out, search, replacement);
        if (out.empty()) {
            return false;
        }
    }
    return true;
}

inline bool DecodeEntities(const std::string& text, std::string& out) {
    static const std::pair<const char*, const char*> passes[] = {
        {"&quot;", "\""}, {"&amp;", "&"}, {"&apos;", "'"}, {"&lt;", "<"}, {"&gt;", ">"}};
    return RunPasses(text, passes, out);
}

inline bool EncodeEntities(const std::string& text, std::string& out) {
    static const std::pair<const char*, const char*> passes[] = {
        {"&", "&amp;"}, {"\"", "&quot;"}, {"'", "&apos;"}, {"<", "&lt;"},
        {">", "&gt;"},  {"\r", "&#13;"},  {"\n", "&#10;"}};
    return RunPasses(text, passes, out);
}

} // namespace inplace
