// What every HLS test shares, from one segment download to a remote video end to end: the
// loopback server and the order of its requests, a notify window with every message it
// received, and the process log read back.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qelserve/QelLoopbackServer.h"
#include "support/TestEventually.h"
#include "support/TestNotifyWindow.h"

namespace qel::test {

// Turns a hang into a failure; never a judgement of speed.
inline constexpr std::chrono::seconds kHangBound{30};

// The process log (one file per process); a capture reads what was written after it was made.
class LogCapture {
public:
    LogCapture();
    std::string Text() const;
    int Count(const std::string& strText) const;
    // The scheduler's group lines in order, e.g. "first 0 ready resume 1:2-4 seek 2:7".
    std::string Groups() const;

private:
    long long m_llStart;
};

class HlsFixture : public ::testing::Test {
protected:
    // wUserDataLow: the low 32 bits of the play request's user data, as successes carry them.
    explicit HlsFixture(WPARAM wUserDataLow) : m_wUserDataLow(wUserDataLow) {}

    // The server for a content folder (empty: in-memory bodies only), made on first use.
    TestHttpServer& Serve(const std::filesystem::path& root = {});
    TestHttpServer& Server() { return *m_pServer; }
    // Segment indexes ("...<N>.ts") in the order their requests came; -1 for other paths.
    std::vector<int> RequestedSegments() const;
    std::string DescribeRequests() const;

    // Takes the window's messages for the time given, keeping them, each answered through
    // OnMessage.
    void Pump(std::chrono::milliseconds duration);
    // Takes messages until the predicate holds; false when the bound passes first.
    bool PumpUntil(const std::function<bool()>& predicate, std::chrono::milliseconds bound = kHangBound);
    // The first message of that number (and wParam, when given) from the nFrom-th on.
    std::optional<PostedMessage> WaitFor(UINT message, std::optional<WPARAM> wParam = std::nullopt, size_t nFrom = 0,
                                         std::chrono::milliseconds bound = kHangBound);
    // Waits until nCount messages of that number have come.
    bool WaitForCount(UINT message, int nCount, std::chrono::milliseconds bound = kHangBound);
    const std::vector<PostedMessage>& Messages() const { return m_vecMessages; }
    int Count(UINT message) const;
    // The messages from the nFrom-th on: "ok ok started failed(1,7) seek(20) event(..)"; a
    // success that does not carry the user data shows it: "ok(3)".
    std::string Describe(size_t nFrom = 0) const;
    virtual void OnMessage(const PostedMessage&) {}

    LogCapture m_log;
    TestNotifyWindow m_window;

private:
    WPARAM m_wUserDataLow;
    std::unique_ptr<TestHttpServer> m_pServer;
    std::vector<PostedMessage> m_vecMessages;
};

}  // namespace qel::test
