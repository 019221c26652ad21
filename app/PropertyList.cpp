#include "app/PropertyList.h"

#include <plist/plist.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "app/platform/AppPlatform.h"

namespace {

constexpr std::size_t kMaxFileSize = 16 << 20; // property lists here are tiny
constexpr std::size_t kMaxSharedFileSize = 1 << 20;

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};

std::optional<PlistValue> FromNode(plist_t node, int depth);

std::optional<PlistDictionary> DictionaryFromNode(plist_t node, int depth) {
    PlistDictionary dictionary;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        if (key == nullptr) {
            break;
        }
        std::optional<PlistValue> value = FromNode(item, depth + 1);
        if (value) {
            dictionary[key] = std::move(*value);
        }
        std::free(key);
    }
    std::free(iterator);
    return dictionary;
}

std::optional<PlistValue> FromNode(plist_t node, int depth) {
    if (node == nullptr || depth > kMaxPlistNesting) { // deeper files never get here
        return std::nullopt;
    }
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        // Read through the pointer: libplist's copying getter asserts on
        // strings with a zero byte inside.
        uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return PlistValue{text != nullptr ? std::string(text, length) : std::string()};
    }
    case PLIST_UINT: {
        uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return PlistValue{static_cast<long long>(number)};
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return PlistValue{number};
    }
    case PLIST_BOOLEAN: {
        uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return PlistValue{flag != 0};
    }
    case PLIST_ARRAY: {
        PlistArray array;
        for (uint32_t i = 0; i < plist_array_get_size(node); ++i) {
            if (std::optional<PlistValue> item =
                    FromNode(plist_array_get_item(node, i), depth + 1)) {
                array.push_back(std::move(*item));
            }
        }
        return PlistValue{std::move(array)};
    }
    case PLIST_DICT:
        return PlistValue{*DictionaryFromNode(node, depth)};
    case PLIST_DATA: {
        char* bytes = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &bytes, &length);
        PlistData data(bytes, bytes + length);
        std::free(bytes);
        return PlistValue{std::move(data)};
    }
    default:
        return std::nullopt;
    }
}

bool LooksLikeXml(const std::string& bytes) {
    const std::size_t first = bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return first != std::string::npos && bytes.compare(first, 1, "<") == 0;
}

// The deepest nesting of <dict> and <array> elements in XML text, counted
// without parsing; stops counting past `kMaxPlistNesting`.
int XmlNesting(const std::string& bytes) {
    int depth = 0, deepest = 0;
    std::size_t at = bytes.find('<');
    while (at != std::string::npos && deepest <= kMaxPlistNesting) {
        const bool comment = bytes.compare(at, 4, "<!--") == 0;
        const std::size_t end = comment ? bytes.find("-->", at) : bytes.find('>', at);
        if (end == std::string::npos) {
            break;
        }
        const bool closing = bytes[at + 1] == '/';
        const std::size_t name = at + (closing ? 2 : 1);
        if (!comment &&
            (bytes.compare(name, 4, "dict") == 0 || bytes.compare(name, 5, "array") == 0)) {
            if (closing) {
                --depth;
            } else {
                deepest = std::max(deepest, depth + 1);
                depth += bytes[end - 1] == '/' ? 0 : 1; // <dict/> is empty, nothing nests in it
            }
        }
        at = bytes.find('<', end);
    }
    return deepest;
}

// Binary property lists (bplist00): the object table read far enough to
// measure how deeply its arrays, sets and dictionaries nest, with each
// object measured once, so shared and cyclic references cost nothing; and
// to refuse dictionary keys with a zero inside, on which libplist asserts.
class BinaryNesting {
public:
    explicit BinaryNesting(const std::string& bytes) : bytes_(bytes) {}

    // The nesting depth, or -1 when the table is malformed, cyclic, nests
    // deeper than kMaxPlistNesting or has a key with a zero inside.
    int Measure() {
        if (bytes_.size() < 8 + 32) {
            return -1;
        }
        const std::size_t trailer = bytes_.size() - 32;
        offsetSize_ = static_cast<unsigned char>(bytes_[trailer + 6]);
        refSize_ = static_cast<unsigned char>(bytes_[trailer + 7]);
        const std::uint64_t count = Number(trailer + 8, 8), top = Number(trailer + 16, 8);
        offsetTable_ = Number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || top >= count ||
            offsetTable_ > trailer || count > (trailer - offsetTable_) / offsetSize_) {
            return -1;
        }
        heights_.assign(count, kUnknown);
        return Height(top, 1);
    }

private:
    static constexpr int kUnknown = -2, kVisiting = -3;

    std::uint64_t Number(std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | static_cast<unsigned char>(bytes_[at + i]);
        }
        return value;
    }

    // Where object `object` starts; nullopt when outside the object area.
    std::optional<std::uint64_t> Offset(std::uint64_t object) const {
        if (object >= heights_.size()) {
            return std::nullopt;
        }
        const std::uint64_t at = Number(offsetTable_ + object * offsetSize_, offsetSize_);
        return at < offsetTable_ ? std::optional<std::uint64_t>(at) : std::nullopt;
    }

    // The element count in the marker at `at`, and where the elements
    // start; nullopt when they would run past the object area.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> Count(std::uint64_t at,
                                                                 std::uint64_t elementSize) const {
        std::uint64_t count = static_cast<unsigned char>(bytes_[at]) & 0x0F, first = at + 1;
        if (count == 0x0F) { // the count follows as an integer object
            if (first >= offsetTable_) {
                return std::nullopt;
            }
            const unsigned char sizeMarker = static_cast<unsigned char>(bytes_[first]);
            const std::size_t size = std::size_t{1} << (sizeMarker & 0x0F);
            if ((sizeMarker >> 4) != 0x1 || size > 8 || first + 1 + size > offsetTable_) {
                return std::nullopt;
            }
            count = Number(first + 1, size);
            first += 1 + size;
        }
        if (count > (offsetTable_ - first) / elementSize) {
            return std::nullopt;
        }
        return std::make_pair(count, first);
    }

    // True when `object` is a string without a zero inside (ASCII, UTF-16
    // or UTF-8), as a dictionary key must be.
    bool IsCleanKey(std::uint64_t object) const {
        const std::optional<std::uint64_t> at = Offset(object);
        const int kind = at ? static_cast<unsigned char>(bytes_[*at]) >> 4 : 0;
        const std::uint64_t unit = kind == 0x6 ? 2 : 1;
        const auto text =
            at && (kind == 0x5 || kind == 0x6 || kind == 0x7) ? Count(*at, unit) : std::nullopt;
        if (!text) {
            return false;
        }
        for (std::uint64_t i = 0; i < text->first; ++i) {
            if (Number(text->second + i * unit, unit) == 0) {
                return false;
            }
        }
        return true;
    }

    // Containers from `object` down; -1 when too deep, cyclic or malformed.
    int Height(std::uint64_t object, int depth) {
        const std::optional<std::uint64_t> at = Offset(object);
        if (!at || heights_[object] == kVisiting) {
            return -1;
        }
        if (heights_[object] != kUnknown) {
            return depth + heights_[object] - 1 > kMaxPlistNesting ? -1 : heights_[object];
        }
        const int kind = static_cast<unsigned char>(bytes_[*at]) >> 4;
        if (kind != 0xA && kind != 0xC && kind != 0xD) {
            return heights_[object] = 0;
        }
        const auto elements = Count(*at, kind == 0xD ? 2 * refSize_ : refSize_);
        if (depth > kMaxPlistNesting || !elements) {
            return -1;
        }
        const auto [count, first] = *elements;
        const std::uint64_t refs = kind == 0xD ? 2 * count : count;
        heights_[object] = kVisiting;
        int below = 0;
        for (std::uint64_t i = 0; i < refs; ++i) {
            const std::uint64_t ref = Number(first + i * refSize_, refSize_);
            const int height =
                kind == 0xD && i < count && !IsCleanKey(ref) ? -1 : Height(ref, depth + 1);
            if (height < 0) {
                return -1;
            }
            below = std::max(below, height);
        }
        return heights_[object] = below + 1;
    }

    const std::string& bytes_;
    std::size_t offsetSize_ = 0, refSize_ = 0;
    std::uint64_t offsetTable_ = 0;
    std::vector<int> heights_;
};

} // namespace

int PlistValue::intValue() const {
    if (const long long* number = std::get_if<long long>(&value)) {
        return static_cast<int>(*number);
    }
    if (const double* number = std::get_if<double>(&value)) {
        return (*number > -2147483649.0 && *number < 2147483648.0) ? static_cast<int>(*number) : 0;
    }
    if (const bool* flag = std::get_if<bool>(&value)) {
        return *flag ? 1 : 0;
    }
    if (const std::string* text = string()) {
        return std::atoi(text->c_str());
    }
    return 0;
}

std::unique_ptr<PlistDictionary> ParsePropertyList(const std::string& bytes) {
    if (bytes.size() > kMaxFileSize) {
        return nullptr;
    }
    const bool binary = bytes.compare(0, 8, "bplist00") == 0;
    if (!binary && !LooksLikeXml(bytes)) {
        return ParseTextPropertyList(bytes);
    }
    // libplist recurses without a limit: deep files must never reach it.
    if (binary ? BinaryNesting(bytes).Measure() < 0 : XmlNesting(bytes) > kMaxPlistNesting) {
        return nullptr;
    }
    plist_t root = nullptr;
    if (binary) {
        plist_from_bin(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    } else {
        plist_from_xml(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    }
    const std::unique_ptr<void, PlistDeleter> owner(root);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) {
        return nullptr;
    }
    return std::make_unique<PlistDictionary>(*DictionaryFromNode(root, 0));
}

std::unique_ptr<PlistDictionary> LoadPropertyList(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return nullptr;
    }
    std::string bytes;
    char chunk[65536];
    while (file.read(chunk, sizeof chunk) || file.gcount() > 0) {
        bytes.append(chunk, static_cast<std::size_t>(file.gcount()));
        if (bytes.size() > kMaxFileSize) {
            return nullptr;
        }
    }
    return ParsePropertyList(bytes);
}

std::unique_ptr<PlistDictionary> LoadSharedPropertyList(const std::string& path) {
    std::string bytes;
    if (!AppPlatform::ReadSmallRegularFile(path, kMaxSharedFileSize, &bytes)) {
        return nullptr;
    }
    return ParsePropertyList(bytes);
}

const std::string* StringForKey(const PlistDictionary* dictionary, const std::string& key) {
    if (dictionary == nullptr) {
        return nullptr;
    }
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : found->second.string();
}
