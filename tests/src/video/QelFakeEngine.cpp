#include "QelFakeEngine.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sstream>

namespace qel::fake_engine {
namespace {

struct State {
    std::mutex mutex;
    std::vector<Call> calls;
    std::map<std::int32_t, std::int64_t> params;
    QelVideoPlayerHandle hOpenResult = reinterpret_cast<QelVideoPlayerHandle>(0x1234);
    bool bHoldNextOpen = false;
    bool bOpenReleased = false;
    std::condition_variable openReleased;
    int nOpenPlayers = 0;
};

State& TheState() {
    static State state;
    return state;
}

std::int64_t Number(QelVideoPlayerHandle h) {
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(h));
}

void Record(Call call) {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().calls.push_back(std::move(call));
}

void Record(const char* szName, std::vector<std::int64_t> args) {
    Call call;
    call.strName = szName;
    call.args = std::move(args);
    Record(std::move(call));
}

bool IsInt64Param(std::int32_t id) {
    return id == QEL_PARAM_DURATION || id == QEL_PARAM_POSITION;
}

}  // namespace

void Reset() {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().calls.clear();
    TheState().params.clear();
    TheState().hOpenResult = reinterpret_cast<QelVideoPlayerHandle>(0x1234);
    TheState().bHoldNextOpen = false;
    TheState().bOpenReleased = true;
    TheState().nOpenPlayers = 0;
    TheState().openReleased.notify_all();
}

void HoldNextOpen() {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().bHoldNextOpen = true;
    TheState().bOpenReleased = false;
}

void ReleaseOpen() {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().bOpenReleased = true;
    TheState().openReleased.notify_all();
}

int OpenPlayers() {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    return TheState().nOpenPlayers;
}

void SetOpenResult(QelVideoPlayerHandle hPlayer) {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().hOpenResult = hPlayer;
}

void ScriptParam(std::int32_t id, std::int64_t value) {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    TheState().params[id] = value;
}

std::vector<Call> Calls() {
    std::lock_guard<std::mutex> lock(TheState().mutex);
    return TheState().calls;
}

std::string CallNames() {
    std::ostringstream names;
    for (const Call& call : Calls()) {
        if (names.tellp() > 0)
            names << ' ';
        names << call.strName;
        if (call.strName == "GetParam" || call.strName == "SetParam")
            names << ':' << call.args.at(1);
        else if (call.strName == "SetRect")
            names << ':' << call.args.at(1);
    }
    return names.str();
}

}  // namespace qel::fake_engine

using namespace qel::fake_engine;

extern "C" {

QelVideoPlayerHandle QelVideoPlayerOpen(const char* path, std::vector<QelTSItem>* segments, HWND renderWnd) {
    Call call{"Open", {0, static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(renderWnd))}, path ? path : "",
              segments ? segments->size() : 0};
    Record(std::move(call));
    std::unique_lock<std::mutex> lock(TheState().mutex);
    if (TheState().bHoldNextOpen) {
        TheState().bHoldNextOpen = false;
        TheState().openReleased.wait_for(lock, std::chrono::seconds(15), [] { return TheState().bOpenReleased; });
    }
    if (TheState().hOpenResult)
        ++TheState().nOpenPlayers;
    return TheState().hOpenResult;
}

void QelVideoPlayerClose(QelVideoPlayerHandle player) {
    Record("Close", {Number(player)});
    std::lock_guard<std::mutex> lock(TheState().mutex);
    if (player)
        --TheState().nOpenPlayers;
}

void QelVideoPlayerPlay(QelVideoPlayerHandle player) {
    Record("Play", {Number(player)});
}

void QelVideoPlayerPause(QelVideoPlayerHandle player) {
    Record("Pause", {Number(player)});
}

void QelVideoPlayerSeek(QelVideoPlayerHandle player, std::int64_t positionMs) {
    Record("Seek", {Number(player), positionMs});
}

void QelVideoPlayerSetRect(QelVideoPlayerHandle player, std::int32_t area, std::int32_t left, std::int32_t top,
                           std::int32_t width, std::int32_t height) {
    Record("SetRect", {Number(player), area, left, top, width, height});
}

void QelVideoPlayerSetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    std::int64_t number = 0;
    if (value)
        number = IsInt64Param(id) ? *static_cast<std::int64_t*>(value) : *static_cast<std::int32_t*>(value);
    Record("SetParam", {Number(player), id, number});
}

void QelVideoPlayerGetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    Record("GetParam", {Number(player), id});
    if (!player || !value)
        return;
    std::int64_t scripted = 0;
    {
        std::lock_guard<std::mutex> lock(TheState().mutex);
        auto it = TheState().params.find(id);
        if (it != TheState().params.end())
            scripted = it->second;
    }
    if (IsInt64Param(id))
        *static_cast<std::int64_t*>(value) = scripted;
    else
        *static_cast<std::int32_t*>(value) = static_cast<std::int32_t>(scripted);
}

}  // extern "C"
