// Feeds any bytes to the property list reader the app uses for its
// Preferences and strings files: it must answer or refuse, never crash.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "app/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::unique_ptr<PlistDictionary> text = ParseTextPropertyList(bytes);
    const std::unique_ptr<PlistDictionary> any = ParsePropertyList(bytes);
    for (const auto* dictionary : {text.get(), any.get()}) {
        if (dictionary == nullptr) {
            continue;
        }
        for (const auto& [key, value] : *dictionary) {
            (void)value.intValue();
            // Escapes only shrink text, except UTF-16 input, which at most
            // doubles in UTF-8 (three bytes for two).
            if (key.size() > 2 * size) {
                std::abort();
            }
        }
    }
    return 0;
}
