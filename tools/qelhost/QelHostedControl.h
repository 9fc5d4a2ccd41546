// The media player control in a window of ours, through atl.dll's container: made by its
// ProgID, given Type and Path as a document would hold them (a persisted stream saved
// from a first instance), then created and activated by the container from that stream.
#pragma once

#include <windows.h>
#include <unknwn.h>
#include <wrl/client.h>

#include <string>

// HRESULT of the first step that failed; the container is attached to hHost on success.
HRESULT QelEmbedMediaPlayerControl(HWND hHost, const std::wstring& strType, const std::wstring& strPath,
                                   Microsoft::WRL::ComPtr<IUnknown>& spContainer);

// The player window the control made inside its own window, or null.
HWND QelFindPlayerWindow(HWND hHost);
