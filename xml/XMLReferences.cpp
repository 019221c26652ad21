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

// Runs a kernel that never grows the text from the `n` bytes at `in` (at
// least one) into `result`, written once and never zero-filled first.
void Shrink(const char* in, std::size_t n, std::string& result, xmlscan::DecodeFn kernel) {
    result.clear();
    result.resize_and_overwrite(n + xmlscan::kSlack,
                                [&](char* out, std::size_t) { return kernel(in, n, out); });
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
    Shrink(withoutCharacters.get(), size, result, xmlscan::Active().decode);
    return true;
}

// The references' values would only be collected and dropped, never written
// anywhere (they are removed, not decoded, deliberately: callers get the
// text without them, as `ConvertStringReferenceToUTF8` does before its
// entity step), so the scan does not compute them.
bool XMLUtility::ConvertStringCharacterReferenceToUTF8(const std::string& text,
                                                       std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    Shrink(text.data(), text.size(), result, xmlscan::Active().remove);
    return true;
}

bool XMLUtility::ConvertStringEntityReferenceToUTF8(const std::string& text, std::string& result) {
    result.clear();
    if (text.empty()) {
        return false;
    }
    Shrink(text.data(), text.size(), result, xmlscan::Active().decode);
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
    // Escaped a step at a time into a result reserved for the usual case,
    // never sized for the whole text's worst case, and never zero-filled.
    const xmlscan::EscapeFn escape = xmlscan::Active().escape;
    constexpr std::size_t kStep = 4096;
    result.reserve(text.size() + text.size() / 8 + 6 * kStep + xmlscan::kSlack);
    for (std::size_t i = 0; i < text.size(); i += kStep) {
        const std::size_t count = std::min(kStep, text.size() - i);
        const std::size_t written = result.size();
        result.resize_and_overwrite(
            written + 6 * count + xmlscan::kSlack, [&](char* out, std::size_t) {
                return written + escape(text.data() + i, count, text.size() - i, out + written);
            });
    }
    return true;
}

bool XMLUtility::ConvertStringUTF8ToCharacterReference(const std::string& /*text*/,
                                                       std::string& /*result*/) {
    return true; // inert on purpose; the result is not touched
}
