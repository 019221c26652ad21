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
// anywhere (they are removed, not decoded, deliberately), so the scan does
// not compute them.
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
    // A step at a time through a buffer that stays in cache, so that the
    // result is written once and never sized for the worst case.
    const xmlscan::EscapeFn escape = xmlscan::Active().escape;
    constexpr std::size_t kStep = 4096;
    char buffer[6 * kStep + xmlscan::kSlack];
    result.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); i += kStep) {
        const std::size_t count = std::min(kStep, text.size() - i);
        result.append(buffer, escape(text.data() + i, count, buffer));
    }
    return true;
}

bool XMLUtility::ConvertStringUTF8ToCharacterReference(const std::string& /*text*/,
                                                       std::string& /*result*/) {
    return true; // inert on purpose; the result is not touched
}
