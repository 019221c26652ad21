#include "app/SystemLog.h"

#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>

extern char* program_invocation_short_name; // glibc

void NSLog(const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);

    timeval now{};
    gettimeofday(&now, nullptr);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    std::fprintf(stderr, "%s.%03ld %s[%d] %s\n", stamp, static_cast<long>(now.tv_usec / 1000),
                 program_invocation_short_name, static_cast<int>(getpid()), text);
    syslog(LOG_NOTICE, "%s", text);
}
