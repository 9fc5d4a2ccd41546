// The whole toolkit in one include.
#pragma once

#include "uilib/UIBase.h"
#include "uilib/CWindowWnd.h"
#include "uilib/CControlUI.h"
#include "uilib/CContainerUI.h"
#include "uilib/CLabelUI.h"
#include "uilib/CButtonUI.h"
#include "uilib/CProgressUI.h"
#include "uilib/CSliderUI.h"
#include "uilib/CPaintManagerUI.h"
#include "uilib/CDialogBuilder.h"
#include "uilib/CRenderEngine.h"
