#include "app/SystemLog.h"

#include <cstdarg>
#include <cstdio>

#include "app/platform/AppPlatform.h"

void NSLog(const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    AppPlatform::WriteLogLine(text);
}
