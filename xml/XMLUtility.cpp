// Tag, key and attribute extraction.
#include "xml/XMLUtility.h"

#include <utility>

#include "xml/ByteSearch.h"

using xmlsearch::Find;
using xmlsearch::kNotFound;

namespace {

// Key checks shared by the scanners: nothing to find in an empty text or
// one too short to hold both keys.
bool TooShort(const std::string& text, const std::string& open, const std::string& close) {
    return text.empty() || text.size() < open.size() + close.size();
}

// The looser test of the tag front ends: the tag's length plus 2, on purpose.
bool TooShortForTag(const std::string& text, const std::string& tag) {
    return text.empty() || text.size() < tag.size() + 2;
}

std::string AttributeKey(const std::string& name) {
    return name + "=\"";
}

// How far ahead of the scan the text is fetched into the cache.
constexpr std::size_t kPrefetchAhead = 1024;

// Calls `take(found, start, end)` for each value between `open` (found at
// `found`, value from `start`) and the first `close` behind it (at `end`),
// until a search fails or `take` returns false.
template <typename Take>
void ScanValues(const std::string& text, const std::string& open, const std::string& close,
                Take take) {
    if (TooShort(text, open, close) || (open.empty() && close.empty())) {
        return; // two empty keys would never move on
    }
    const xmlscan::FindFn kernel = xmlscan::Active().find;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t found = Find(text, open, pos, kernel);
        if (found == kNotFound) {
            return;
        }
        const std::size_t start = found + open.size();
        const std::size_t end = Find(text, close, start, kernel);
        if (end == kNotFound) {
            return;
        }
        if (!take(found, start, end)) {
            return;
        }
        pos = end + close.size();
        // Values are short and close together: the searches then wait on
        // memory more than they compare, unless the text ahead is on its way.
        if (pos + kPrefetchAhead < text.size()) {
            __builtin_prefetch(text.data() + pos + kPrefetchAhead);
        }
    }
}

// Replaces `values` with the values `ScanValues` finds between `open` and
// `close`, each `Take` gives as (position, length). The strings already in
// `values` are written over, keeping their memory: callers that collect
// into the same list again and again then allocate nothing per value.
template <typename Take>
void CollectValues(const std::string& text, const std::string& open, const std::string& close,
                   std::vector<std::string>& values, Take take) {
    std::size_t count = 0;
    ScanValues(text, open, close, [&](std::size_t found, std::size_t start, std::size_t end) {
        const auto [position, length] = take(found, start, end);
        if (count < values.size()) {
            values[count].assign(text, position, length);
        } else {
            values.emplace_back(text, position, length);
        }
        ++count;
        return true;
    });
    values.resize(count);
}

// What `GetValuesInsideKeys` takes: the bytes between the keys.
std::pair<std::size_t, std::size_t> Inside(std::size_t, std::size_t start, std::size_t end) {
    return {start, end - start};
}

} // namespace

bool XMLUtility::GetValueForOutermostKey(const std::string& text, const std::string& open,
                                         const std::string& close, std::string& value) {
    if (TooShort(text, open, close)) {
        return false; // deliberate: callers keep their default in `value`
    }
    value.clear();
    const std::size_t found = Find(text, open, 0);
    if (found == kNotFound) {
        return false;
    }
    const std::size_t start = found + open.size();
    const std::size_t last = text.rfind(close);
    if (last == kNotFound || last < start) {
        return false;
    }
    value.assign(text, start, last - start);
    return true;
}

bool XMLUtility::GetValueForOutermostTag(const std::string& text, const std::string& tag,
                                         std::string& value) {
    value.clear();
    if (TooShortForTag(text, tag)) {
        return false;
    }
    return GetValueForOutermostKey(text, "<" + tag + ">", "</" + tag + ">", value);
}

bool XMLUtility::GetValuesInsideKey(const std::string& text, const std::string& open,
                                    const std::string& close, std::string& value) {
    value.clear();
    if (TooShort(text, open, close)) {
        return false;
    }
    const std::size_t found = Find(text, open, 0);
    if (found == kNotFound) {
        return false;
    }
    const std::size_t start = found + open.size();
    const std::size_t end = Find(text, close, start);
    if (end == kNotFound) {
        return false;
    }
    value.assign(text, start, end - start);
    return true;
}

bool XMLUtility::GetAttribute(const std::string& text, const std::string& name,
                              std::string& value) {
    if (text.empty() || name.empty()) {
        return false; // deliberate: callers keep their default in `value`
    }
    return GetValuesInsideKey(text, AttributeKey(name), "\"", value);
}

void XMLUtility::GetValueInsideCDATA(const std::string& text, std::string& value) {
    value.clear();
    if (text.empty()) {
        return;
    }
    // Only the first section counts, so the scan stops there.
    ScanValues(text, "<![CDATA[", "]]>", [&](std::size_t, std::size_t start, std::size_t end) {
        value.assign(text, start, end - start);
        return false;
    });
}

void XMLUtility::GetValuesInsideKeys(const std::string& text, const std::string& open,
                                     const std::string& close, std::vector<std::string>& values) {
    ScanValues(text, open, close, [&](std::size_t, std::size_t start, std::size_t end) {
        values.emplace_back(text, start, end - start);
        return true;
    });
}

void XMLUtility::GetValuesBetweenKeys(const std::string& text, const std::string& open,
                                      const std::string& close, std::vector<std::string>& values) {
    ScanValues(text, open, close, [&](std::size_t found, std::size_t, std::size_t end) {
        values.emplace_back(text, found, end + close.size() - found);
        return true;
    });
}

void XMLUtility::GetValuesForTag(const std::string& text, const std::string& tag,
                                 std::vector<std::string>& values) {
    if (TooShortForTag(text, tag)) {
        values.clear();
        return;
    }
    CollectValues(text, "<" + tag + ">", "</" + tag + ">", values, Inside);
}

void XMLUtility::GetValuesWithElement(const std::string& text, const std::string& tag,
                                      std::vector<std::string>& values) {
    if (TooShortForTag(text, tag)) {
        values.clear();
        return;
    }
    const std::string close = "</" + tag + ">";
    CollectValues(text, "<" + tag + " ", close, values,
                  [&](std::size_t found, std::size_t, std::size_t end) {
                      return std::pair<std::size_t, std::size_t>{found, end + close.size() - found};
                  });
}

void XMLUtility::GetAttributes(const std::string& text, const std::string& name,
                               std::vector<std::string>& values) {
    if (text.empty() || name.empty()) {
        values.clear();
        return;
    }
    CollectValues(text, AttributeKey(name), "\"", values, Inside);
}

void XMLUtility::ReplaceAllString(const std::string& text, const std::string& search,
                                  const std::string& replacement, std::string& result) {
    result.clear();
    if (text.empty() || search.empty()) {
        return; // an empty search gives an empty result, not a copy: intended
    }
    // One pass into a new string: the same as replacing in place and resuming
    // behind each replacement, without shifting the tail at every hit.
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    for (std::size_t hit = Find(text, search, 0); hit != kNotFound; hit = Find(text, search, pos)) {
        out.append(text, pos, hit - pos);
        out += replacement;
        pos = hit + search.size();
    }
    out.append(text, pos, std::string::npos);
    result = std::move(out);
}
