#include "app/PropertyList.h"

#include <plist/plist.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

constexpr std::size_t kMaxFileSize = 16 << 20; // property lists here are tiny

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
    if (node == nullptr || depth > 64) {
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

const std::string* StringForKey(const PlistDictionary* dictionary, const std::string& key) {
    if (dictionary == nullptr) {
        return nullptr;
    }
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : found->second.string();
}
