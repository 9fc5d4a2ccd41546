// Builds a control tree from a skin XML file under the resource path. The root element
// <Window> carries the window's settings (size, caption, sizebox, roundcorner, mininfo,
// defaultfontcolor); <Font> children declare fonts; every other element is a control,
// either one of the toolkit's (by tag: Control, Container, VerticalLayout,
// HorizontalLayout, Label, Text, Button, Option, Progress, Slider) or one the callback
// creates for its tag. Attributes are handed to the control's SetAttribute in order.
//
// Attributes the toolkit's controls understand (lengths in pixels at 96 DPI, colours
// "#AARRGGBB", images as in CRenderEngine.h, booleans "true"/"false"):
//   every control  name pos="l,t,r,b" (with float="true": offset and size in the parent)
//                  padding width height float visible enabled mouse text bkcolor bkimage
//                  bordercolor bordersize
//                  tooltip     shown when the pointer rests on the control
//                  minwidth minheight  the least a control without a fixed length is
//                              given along its layout's line
//                  hideorder="n"  when a layout's line is too short for its controls,
//                              those with a hide order give way, 1 first, all of one
//                              order together, until the rest fits; 0 (default) never
//   containers     inset="l,t,r,b" childpadding
//   Label, Text    textcolor disabledtextcolor font="index" align="left|center|right"
//                  valign="top|vcenter|bottom" textpadding="l,t,r,b"
//   Button         normalimage hotimage pushedimage disabledimage hottextcolor
//   Option         selected selectedimage
//   Progress       hor min max value foreimage
//   Slider         step thumbsize="cx,cy" thumbimage thumbhotimage thumbpushedimage
//   <Window>       size="cx,cy" caption="l,t,r,b" sizebox="l,t,r,b" roundcorner="cx,cy"
//                  mininfo="cx,cy" defaultfontcolor
//   <Font>         name size bold underline italic (the first is font 0)
#pragma once

#include "uilib/UIBase.h"

namespace UiLib {

class UILIB_API CDialogBuilder {
public:
    // The root control, or null when the file cannot be read or has no control in it.
    CControlUI* Create(STRINGorID xml, STRINGorID type = (UINT)0, IDialogBuilderCallback* pCallback = nullptr,
                       CPaintManagerUI* pManager = nullptr, CControlUI* pParent = nullptr);
    // What went wrong in the last Create, for logs and tests; empty after success.
    const CDuiString& GetLastError() const { return m_sError; }

private:
    CDuiString m_sError;
};

}  // namespace UiLib
