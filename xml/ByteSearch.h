// Byte-exact substring search for the XML text utility (internal).
#pragma once

#include <string>

#include "xml/ReferenceScan.h"

namespace xmlsearch {

// What `Find` gives when the key is not there: std::string's own mark, so
// callers compare against npos as with std::string::find.
constexpr std::size_t kNotFound = std::string::npos;

// The first occurrence of `key` in `text` at or after `from`; an empty key is
// found at `from`. kNotFound when there is none. Scans that search many
// times pass the kernel in use, fetched once.
inline std::size_t Find(const std::string& text, const std::string& key, std::size_t from,
                        xmlscan::FindFn kernel = xmlscan::Active().find) {
    if (from > text.size()) {
        return kNotFound;
    }
    if (key.empty()) {
        return from;
    }
    const std::size_t hit = kernel(text.data(), text.size(), from, key.data(), key.size());
    return hit == xmlscan::kNotFound ? kNotFound : hit;
}

} // namespace xmlsearch
