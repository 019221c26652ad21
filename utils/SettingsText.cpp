#include "utils/SettingsText.h"

#include <cstdlib>

#include "utils/TextPieces.h"

namespace SettingsText {
namespace {

std::string WithoutCodesetAndModifier(const std::string& name) {
    return name.substr(0, name.find_first_of(".@"));
}

std::string WithoutQuotes(const std::string& value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

long NumberOrZero(const std::string& piece) {
    const bool numeric =
        !piece.empty() && piece.find_first_not_of("0123456789") == std::string::npos;
    return numeric ? std::strtol(piece.c_str(), nullptr, 10) : 0;
}

} // namespace

std::string LocaleName(const std::string& value) {
    const std::string name = WithoutCodesetAndModifier(value);
    return (name == "C" || name == "POSIX") ? "" : name;
}

std::vector<std::string> LanguageTags(const std::string& languageList, const std::string& locale) {
    std::vector<std::string> tags;
    for (const std::string& entry : TextPieces::Split(languageList, ':')) {
        if (!entry.empty()) {
            tags.push_back(entry);
        }
    }
    if (tags.empty() && !locale.empty()) {
        tags.push_back(locale);
    }
    for (std::string& tag : tags) {
        tag = WithoutCodesetAndModifier(tag);
        for (char& c : tag) {
            c = c == '_' ? '-' : c;
        }
    }
    return tags;
}

std::optional<std::string> KeyValue(const std::string& line, const std::string& key) {
    if (line.compare(0, key.size() + 1, key + "=") != 0) {
        return std::nullopt;
    }
    return WithoutQuotes(line.substr(key.size() + 1));
}

VersionNumbers ParseVersionNumbers(const std::string& text) {
    const std::vector<std::string> pieces = TextPieces::Split(text, '.');
    VersionNumbers numbers;
    long* parts[] = {&numbers.major, &numbers.minor, &numbers.patch};
    for (std::size_t i = 0; i < 3 && i < pieces.size(); ++i) {
        *parts[i] = NumberOrZero(pieces[i]);
    }
    return numbers;
}

} // namespace SettingsText
