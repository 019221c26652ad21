// Drives every XML text operation with fuzzer-chosen text, keys and
// replacement, holds the single-pass conversions to the documented passes,
// and every vector scan version to the scalar one.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/support/InPlaceReplace.h"
#include "xml/ReferenceScan.h"
#include "xml/XMLUtility.h"

namespace {

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Splits the input at its first three 0xFF bytes: text, open, close, replacement.
std::vector<std::string> Split(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> parts(4);
    std::size_t part = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && part < 3) {
            ++part;
        } else {
            parts[part] += static_cast<char>(data[i]);
        }
    }
    return parts;
}

// What the scanning operations give, in one string.
std::string ScanResults(const std::string& text, const std::string& key,
                        const std::string& replacement) {
    XMLUtility xml;
    std::string all, value;
    std::vector<std::string> values;
    for (const auto convert : {&XMLUtility::ConvertStringReferenceToUTF8,
                               &XMLUtility::ConvertStringCharacterReferenceToUTF8,
                               &XMLUtility::ConvertStringUTF8ToEntityReference}) {
        all += (xml.*convert)(text, value) ? "+" : "-";
        all += value + '\xFF';
    }
    xml.ReplaceAllString(text, key, replacement, value);
    xml.GetValuesInsideKeys(text, key, replacement, values);
    for (const std::string& v : values) {
        all += v + '\xFF';
    }
    return all + value;
}

void CheckScansAgree(const std::string& text, const std::string& key,
                     const std::string& replacement) {
    kernelchoice::Force(kernelchoice::Isa::kScalar);
    const std::string expected = ScanResults(text, key, replacement);
    for (const kernelchoice::Isa isa : kernelchoice::SupportedIsas()) {
        kernelchoice::Force(isa);
        Check(ScanResults(text, key, replacement) == expected);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> parts = Split(data, size);
    const std::string& text = parts[0];
    const std::string& open = parts[1];
    const std::string& close = parts[2];
    const std::string& replacement = parts[3];
    XMLUtility xml;
    std::string value;
    std::vector<std::string> values;

    xml.GetValueForOutermostTag(text, open, value);
    xml.GetValueForOutermostKey(text, open, close, value);
    xml.GetValuesInsideKey(text, open, close, value);
    xml.GetAttribute(text, open, value);
    xml.GetValueInsideCDATA(text, value);
    xml.GetValuesForTag(text, open, values);
    xml.GetValuesWithElement(text, open, values);
    xml.GetAttributes(text, open, values);
    values.clear();
    xml.GetValuesInsideKeys(text, open, close, values);
    xml.GetValuesBetweenKeys(text, open, close, values);
    Check(values.size() <= 2 * (text.size() + 1));

    CheckScansAgree(text, open, replacement);
    xml.ReplaceAllString(text, open, replacement, value);
    Check(value == (text.empty() ? "" : inplace::ReplaceAll(text, open, replacement)));

    std::string expected;
    Check(xml.ConvertStringEntityReferenceToUTF8(text, value) ==
          inplace::DecodeEntities(text, expected));
    Check(value == expected);
    Check(xml.ConvertStringUTF8ToEntityReference(text, value) ==
          inplace::EncodeEntities(text, expected));
    Check(value == expected);
    xml.ConvertStringUTF8ToReference(text, value);
    xml.ConvertStringCharacterReferenceToUTF8(text, value);
    Check(value.size() <= text.size());
    xml.ConvertStringReferenceToUTF8(text, value);
    Check(value.size() <= text.size());
    return 0;
}
