// The Linux stand-in for posted window messages: order, gone handles, racing posters.
#include "winapi/QelMessageQueue.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

TEST(QelMessageQueue, DeliversInOrderAndReceiveMessageSkipsOthersKeepingTheirOrder) {
    qel::MessageQueue queue;
    for (UINT i = 1; i <= 3; ++i)
        EXPECT_TRUE(PostMessageW(queue.Handle(), i, i, -static_cast<LPARAM>(i)));
    auto two = queue.ReceiveMessage(2, 1s);
    ASSERT_TRUE(two);
    EXPECT_EQ(two->wParam, 2u);
    EXPECT_EQ(two->lParam, -2);
    EXPECT_EQ(queue.Receive(1s)->message, 1u);
    EXPECT_EQ(queue.Receive(1s)->message, 3u);
    EXPECT_FALSE(queue.Receive(10ms));
}

TEST(QelMessageQueue, PostingToAGoneOrNullHandleFails) {
    HWND stale;
    {
        qel::MessageQueue queue;
        stale = queue.Handle();
    }
    EXPECT_FALSE(IsWindow(stale));
    EXPECT_FALSE(PostMessageW(stale, 1, 0, 0));
    EXPECT_FALSE(PostMessageW(nullptr, 1, 0, 0));
    EXPECT_FALSE(IsWindow(nullptr));

    // A new queue never takes an old handle.
    qel::MessageQueue fresh;
    EXPECT_NE(fresh.Handle(), stale);
    EXPECT_FALSE(PostMessageW(stale, 1, 0, 0));
    EXPECT_EQ(fresh.Pending(), 0u);
}

TEST(QelMessageQueue, WakesAWaitingReceiverAndKeepsEachThreadsOrder) {
    qel::MessageQueue queue;
    constexpr int kThreads = 4;
    constexpr int kEach = 500;
    std::vector<std::thread> posters;
    for (int t = 0; t < kThreads; ++t)
        posters.emplace_back([&queue, t] {
            for (int i = 0; i < kEach; ++i)
                PostMessageW(queue.Handle(), static_cast<UINT>(t), static_cast<WPARAM>(i), 0);
        });
    std::vector<WPARAM> next(kThreads, 0);
    for (int received = 0; received < kThreads * kEach; ++received) {
        auto message = queue.Receive(5s);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->wParam, next[message->message]++);
    }
    for (auto& t : posters)
        t.join();
}

TEST(QelMessageQueue, PostersRacingTheQueuesEndNeitherCrashNorBlock) {
    for (int round = 0; round < 50; ++round) {
        auto queue = std::make_unique<qel::MessageQueue>();
        HWND hWnd = queue->Handle();
        std::thread poster([hWnd] {
            for (int i = 0; i < 200; ++i)
                PostMessageW(hWnd, 1, 0, 0);
        });
        queue.reset();
        poster.join();
        EXPECT_FALSE(IsWindow(hWnd));
    }
}

}  // namespace
