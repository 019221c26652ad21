// Character and entity references.
//
// Decoding and encoding are each documented as a fixed series of
// ReplaceAllString passes. They are done here in a single pass that gives
// exactly the same text: no replacement contains anything a later pass looks
// for, except the "&" that decoding "&amp;" yields, which the &apos; &lt; and
// &gt; passes still see. The tests and fuzzers hold both forms against each
// other; the scans themselves are in ReferenceScan.h.
#include <algorithm>
#include <cstring>
#include <memory>

#include "xml/ReferenceScan.h"
#include "xml/XMLUtility.h"

namespace {

// Runs a kernel that never grows the text from `text` into `result`.
bool Shrink(const std::string& text, std::string& result, xmlscan::DecodeFn kernel) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    result.resize(text.size() + xmlscan::kSlack);
    result.resize(kernel(text.data(), text.size(), result.data()));
    return true;
}

// Decodes the entity references of the `n` bytes at `in` (at least one)
// into `result`, a step at a time through a buffer that stays in cache: one
// pass over `result`'s memory, where sizing it first would zero-fill it too.
void DecodeEntities(const char* in, std::size_t n, std::string& result) {
    const xmlscan::DecodeFn decode = xmlscan::Active().decode;
    constexpr std::size_t kStep = 32768;
    constexpr std::size_t kLongest = 10; // "&amp;apos;"
    char buffer[kStep + xmlscan::kSlack];
    result.clear();
    result.reserve(n);
    for (std::size_t i = 0; i < n;) {
        std::size_t end = n - i <= kStep ? n : i + kStep;
        // A step ends before an "&" among its last bytes, so that no
        // reference is cut in two.
        if (const void* amp = end < n ? std::memchr(in + end - kLongest, '&', kLongest) : nullptr) {
            end = static_cast<const char*>(amp) - in;
        }
        result.append(buffer, decode(in + i, end - i, buffer));
        i = end;
    }
}

} // namespace

bool XMLUtility::ConvertStringReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    // Not zero-filled: the removal writes every byte that is read back.
    const std::unique_ptr<char[]> withoutCharacters(new char[text.size() + xmlscan::kSlack]);
    const std::size_t size =
        xmlscan::Active().remove(text.data(), text.size(), withoutCharacters.get());
    if (size == 0) {
        return false;
    }
    DecodeEntities(withoutCharacters.get(), size, result);
    return true;
}

// The references' values would only be collected and dropped, never written
// anywhere (they are removed, not decoded, deliberately: callers get the
// text without them, as `ConvertStringReferenceToUTF8` does before its
// entity step), so the scan does not compute them.
bool XMLUtility::ConvertStringCharacterReferenceToUTF8(const std::string& text,
                                                       std::string& result) {
    return Shrink(text, result, xmlscan::Active().remove);
}

bool XMLUtility::ConvertStringEntityReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    DecodeEntities(text.data(), text.size(), result);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToReference(const std::string& text, std::string& result) {
    result.clear();
    std::string encoded;
    if (!ConvertStringUTF8ToEntityReference(text, encoded)) {
        return false;
    }
    result = std::move(encoded);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToEntityReference(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    // Escaped in place a step at a time, the result kept sized for the
    // step's worst case: each step zero-fills only as much as the step before
    // wrote, which is in cache when this step writes over it. Cheaper than
    // copying each step's output in, and never sized for the whole text's
    // worst case.
    const xmlscan::EscapeFn escape = xmlscan::Active().escape;
    constexpr std::size_t kStep = 4096;
    result.reserve(text.size() + text.size() / 8 + 6 * kStep + xmlscan::kSlack);
    std::size_t written = 0;
    for (std::size_t i = 0; i < text.size(); i += kStep) {
        const std::size_t count = std::min(kStep, text.size() - i);
        result.resize(written + 6 * count + xmlscan::kSlack);
        written += escape(text.data() + i, count, text.size() - i, result.data() + written);
    }
    result.resize(written);
    return true;
}

bool XMLUtility::ConvertStringUTF8ToCharacterReference(const std::string& /*text*/,
                                                       std::string& /*result*/) {
    return true; // inert on purpose; the result is not touched
}
