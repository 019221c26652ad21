// Queries of the machine and the user's settings: country, language,
// processor family, and the operating system's name and version.
//
// Each query asks one system source afresh and returns a plain value;
// missing information gives an empty string or the fallback stated at the
// function. Only `getOsName` and `getOsVersion` remember their answer: each
// keeps the first non-empty value it finds for the life of the process.
#pragma once

#include "utils/Export.h"
#include "utils/WideString.h"

namespace Utils {

// The country part of the user's locale: what follows the first "_"
// ("en_US" gives "US", "en_US_POSIX" gives "US_POSIX"). A locale without
// "_" comes back whole, and one ending in "_" loses only that "_" ("en_").
// Empty when the user has no locale.
QUORVEL_EXPORT fn::fn_wstring getCountry();

// The user's most preferred language as a tag ("en", "ja", "en-US"), whole.
// Empty when the user has none.
QUORVEL_EXPORT fn::fn_wstring getLanguage();

// "68k", "ARM", "PowerPC" or "Intel" for this machine's processor. "Intel"
// is the answer for anything unknown.
QUORVEL_EXPORT fn::fn_wstring getProcessorType();

// The name `getProcessorType` gives for a processor type number (7 and
// 0x01000007 are Intel, 12 and 0x0100000C ARM, 18 and 0x01000012 PowerPC,
// 6 68k, anything else Intel).
QUORVEL_EXPORT fn::fn_wstring getProcessorTypeFor(int cpuType);

// "Apple MacOS <version>", with the system's product version; the text
// "(null)" stands in for a version that cannot be read. The first answer is
// kept for the life of the process.
QUORVEL_EXPORT fn::fn_wstring getOsName();

// The system's product version ("12", "24.04"). Empty when it cannot be
// read, and then read again on the next call; the first non-empty answer is
// kept for the life of the process.
QUORVEL_EXPORT fn::fn_wstring getOsVersion();

// The system version packed as the hexadecimal digits of "0x%02d%02d%02d"
// (10.15.7 gives 0x101507). A part above 99 prints three digits and shifts
// the packing; callers compare against values packed the same way.
QUORVEL_EXPORT unsigned long getOsBuildNumber();

} // namespace Utils
