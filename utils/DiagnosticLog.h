// The diagnostic log: a plain text file that the support code appends
// messages to.
//
// The log is on exactly while its folder exists: make
// <temporary folder>/TemporaryItems/quorvel-logs by hand to switch it on,
// remove it to switch it off, at any time. Nothing here ever makes that
// folder, and every write while it is missing fails silently. Each message
// opens the file, appends one line and closes it again:
//
//   Sun Nov 15 01:13:58 2026  Message: <text> ErrorCode: <code>
//
// The time is UTC without a zone mark. Messages are written as they are; a
// line feed in a message spreads it over several lines.
#pragma once

#include <cstdint>
#include <string>

#include "utils/Export.h"
#include "utils/WideString.h"

namespace Utils {

// True when the log folder exists. Like `DirExists`, a true answer leaves
// the working directory in the log folder.
QUORVEL_EXPORT bool IsLoggingOn();

// The full path of the log file, ".../TemporaryItems/quorvel-logs/log.txt"
// ("/quorvel-logs/log.txt" when there is no temporary folder).
QUORVEL_EXPORT std::string GetLogFilename();

// Appends "<stamp>  Message: <message> ErrorCode: <errorCode>".
QUORVEL_EXPORT void LogMessage(const std::string& message, std::int32_t errorCode);

// Appends "<stamp>  Message: <message>".
QUORVEL_EXPORT void LogMessage(const std::string& message);

// As above for a wide message, converted with `wcstombs` in the process's
// current locale and cut at 1023 bytes. What the locale cannot convert is
// left out from the first such element on.
QUORVEL_EXPORT void LogMessage(const fn::fn_wstring& message, std::int32_t errorCode);
// As above, without an error code.
QUORVEL_EXPORT void LogMessage(const fn::fn_wstring& message);

} // namespace Utils
