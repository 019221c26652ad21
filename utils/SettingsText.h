// Reading the texts the system keeps its settings in: locale names, the
// LANGUAGE list, KEY=value lines (os-release, user-dirs.dirs) and dotted
// version numbers.
//
// Pure text work, kept apart from the operating-system seam that finds the
// texts, so it can be tested without touching the machine's settings.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace SettingsText {

// A locale name without codeset and modifier ("en_US" from
// "en_US.UTF-8@euro"). Empty for "C" and "POSIX", which name no locale.
std::string LocaleName(const std::string& value);

// The user's languages as tags, most preferred first: the non-empty entries
// of the colon list `languageList`, else `locale` alone; codeset and
// modifier dropped and "_" written "-" ("en_US" gives "en-US"). Empty when
// both are empty; the caller leaves out the list where gettext ignores it.
std::vector<std::string> LanguageTags(const std::string& languageList, const std::string& locale);

// The value of `key` when `line` is "KEY=value", one pair of matching single
// or double quotes removed; nullopt for any other line.
std::optional<std::string> KeyValue(const std::string& line, const std::string& key);

// A product version read as numbers; missing or non-numeric parts are 0.
struct VersionNumbers {
    long major = 0;
    long minor = 0;
    long patch = 0;
};

// Splits a dotted version text ("24.04" gives 24, 4, 0).
VersionNumbers ParseVersionNumbers(const std::string& text);

} // namespace SettingsText
