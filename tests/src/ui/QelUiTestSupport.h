// The shared window-test helpers under the names the player-window tests use.
#pragma once

#include "support/TestSkinSupport.h"
#include "support/TestWin32.h"

namespace qel::uitest {

using qel::test::BuiltSkinFolder;
using qel::test::ClickAt;
using qel::test::ClickControl;
using qel::test::ClientPoint;
using qel::test::NotifyRecorder;
using qel::test::PumpPending;
using qel::test::PumpUntil;
using qel::test::ReadPixel;
using qel::test::RecordedNotify;
using qel::test::Repaint;
using qel::test::ScreenPoint;
using qel::test::TempSkinFolder;

}  // namespace qel::uitest
