// The one export macro of QelMediaPlayer's public classes.
#pragma once

#if defined(_WIN32)
#if defined(QEL_BUILDING_LIBRARY)
#define QEL_API __declspec(dllexport)
#else
#define QEL_API __declspec(dllimport)
#endif
#else
#define QEL_API __attribute__((visibility("default")))
#endif
