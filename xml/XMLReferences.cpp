// Character and entity references.
//
// Decoding and encoding are each documented as a fixed series of
// ReplaceAllString passes. They are done here in a single pass that gives
// exactly the same text: no replacement contains anything a later pass looks
// for, except the "&" that decoding "&amp;" yields, which the &apos; &lt; and
// &gt; passes still see. The tests and fuzzers hold both forms against each
// other; the scans themselves are in ReferenceScan.h.
#include <algorithm>

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

} // namespace

bool XMLUtility::ConvertStringReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    std::string withoutCharacters;
    if (!ConvertStringCharacterReferenceToUTF8(text, withoutCharacters)) {
        return false;
    }
    return ConvertStringEntityReferenceToUTF8(withoutCharacters, result);
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
    return Shrink(text, result, xmlscan::Active().decode);
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
