// Facts about the machine the component runs on.
#pragma once

#include "winapi/QelWinApi.h"

class QelOS {
public:
    // Size of the primary monitor in pixels. Without a Windows desktop to ask, a fixed
    // 1920 x 1080.
    static SIZE GetScreenSize();
};
