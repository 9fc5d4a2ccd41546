// Facts about the machine the component runs on.
#pragma once

#include "winapi/QelWinApi.h"

class QelOS {
public:
    // Size of the primary monitor in pixels. Without a Windows desktop to ask, a fixed
    // 1920 x 1080.
    static SIZE GetScreenSize();

    // The id of this process.
    static unsigned long CurrentProcessId();
    // A process with that id exists (it may belong to another user). An id that has been
    // given to a new process since counts as running.
    static bool IsProcessRunning(unsigned long nProcessId);
};
