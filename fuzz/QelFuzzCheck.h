#pragma once
// Invariant checks of the fuzz targets: a broken invariant aborts, which libFuzzer reports as
// a crash with the input that caused it.

#include <cstdio>
#include <cstdlib>

#define QEL_FUZZ_CHECK(condition)                                                      \
    do                                                                                 \
    {                                                                                  \
        if (!(condition))                                                              \
        {                                                                              \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                              \
        }                                                                              \
    } while (0)
