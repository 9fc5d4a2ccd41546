#include "utils/QelTime.h"

#include <ctime>

long long QelTime::TimetToMilliSeconds(long long t) { return t * 1000; }

long long QelTime::CurrentTimeMilliSeconds() {
#ifdef _WIN32
    return TimetToMilliSeconds(static_cast<long long>(_time64(nullptr)));
#else
    return TimetToMilliSeconds(static_cast<long long>(std::time(nullptr)));
#endif
}
