// Wall-clock time in the 64-bit milliseconds the component's records use.
#pragma once

class QelTime {
public:
    // Seconds since the epoch (a time_t) to milliseconds.
    static long long TimetToMilliSeconds(long long t);
    // The current time, whole seconds only, in milliseconds.
    static long long CurrentTimeMilliSeconds();
};
