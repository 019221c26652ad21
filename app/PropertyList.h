// Property lists as the companion app reads them: its Preferences, its
// Info.plist, the shared installer property list and Localizable.strings.
//
// XML and binary property lists are read with libplist; old-style text
// property lists and the `"key" = "value";` strings format (UTF-8, or
// UTF-16 with a byte order mark) are read by our own parser. A file that is
// missing, unreadable or malformed in any way gives no dictionary at all,
// exactly as if it were missing; so does one nested deeper than
// `kMaxPlistNesting` containers, which is refused before any parser
// recurses into it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// The deepest nesting of dictionaries and arrays read (the root is 1).
inline constexpr int kMaxPlistNesting = 64;

// The containers and raw bytes of a property list, as the app reads them.
struct PlistValue;
using PlistDictionary = std::map<std::string, PlistValue>;
using PlistArray = std::vector<PlistValue>;
using PlistData = std::vector<std::uint8_t>;

// One value of a property list.
struct PlistValue {
    std::variant<std::string, long long, double, bool, PlistData, PlistArray, PlistDictionary>
        value;

    // The string, or null when the value is not a string.
    const std::string* string() const { return std::get_if<std::string>(&value); }

    // The value as an int, as the platform reads one: numbers are cut to
    // int, booleans give 0 or 1, strings their leading decimal number
    // (atoi), everything else 0.
    int intValue() const;
};

// The dictionary at the top of the file at `path`; null when the file is
// missing, unreadable, malformed, or holds something other than a
// dictionary.
std::unique_ptr<PlistDictionary> LoadPropertyList(const std::string& path);

// As `LoadPropertyList`, for a file in a folder that anyone can write to
// (the shared installer property list in /tmp): read only when it is a
// regular file of at most 1 MiB, never through a link, never waiting on a
// FIFO.
std::unique_ptr<PlistDictionary> LoadSharedPropertyList(const std::string& path);

// As `LoadPropertyList`, from bytes already in memory.
std::unique_ptr<PlistDictionary> ParsePropertyList(const std::string& bytes);

// The old-style text and strings formats alone (for tests and the fuzzer).
std::unique_ptr<PlistDictionary> ParseTextPropertyList(const std::string& bytes);

// The string stored under `key`, or null when it is missing or not a string.
const std::string* StringForKey(const PlistDictionary* dictionary, const std::string& key);
