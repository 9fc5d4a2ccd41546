#include "winapi/QelMessageQueue.h"

#include <atomic>
#include <unordered_map>

namespace qel {

struct MessageQueue::State {
    mutable std::mutex mutex;
    std::condition_variable arrived;
    std::deque<PostedMessage> messages;
};

namespace {

// Handles are never reused, so a stale handle can never reach a newer queue.
class HandleRegistry {
public:
    static HandleRegistry& Instance() {
        static HandleRegistry registry;
        return registry;
    }

    HWND Add(const std::shared_ptr<MessageQueue::State>& state) {
        std::lock_guard<std::mutex> lock(m_mutex);
        HWND hWnd = reinterpret_cast<HWND>(++m_lastHandle);
        m_queues.emplace(hWnd, state);
        return hWnd;
    }

    void Remove(HWND hWnd) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queues.erase(hWnd);
    }

    std::shared_ptr<MessageQueue::State> Find(HWND hWnd) {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_queues.find(hWnd);
        return it == m_queues.end() ? nullptr : it->second;
    }

private:
    std::mutex m_mutex;
    std::uintptr_t m_lastHandle = 0x1000;
    std::unordered_map<HWND, std::shared_ptr<MessageQueue::State>> m_queues;
};

}  // namespace

MessageQueue::MessageQueue() : m_state(std::make_shared<State>()) {
    m_hWnd = HandleRegistry::Instance().Add(m_state);
}

MessageQueue::~MessageQueue() {
    HandleRegistry::Instance().Remove(m_hWnd);
}

std::optional<PostedMessage> MessageQueue::Receive(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    if (!m_state->arrived.wait_for(lock, timeout, [this] { return !m_state->messages.empty(); }))
        return std::nullopt;
    PostedMessage message = m_state->messages.front();
    m_state->messages.pop_front();
    return message;
}

std::optional<PostedMessage> MessageQueue::ReceiveMessage(UINT message, std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_state->mutex);
    std::optional<PostedMessage> found;
    auto take = [&] {
        for (auto it = m_state->messages.begin(); it != m_state->messages.end(); ++it) {
            if (it->message == message) {
                found = *it;
                m_state->messages.erase(it);
                return true;
            }
        }
        return false;
    };
    m_state->arrived.wait_for(lock, timeout, take);
    return found;
}

std::size_t MessageQueue::Pending() const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->messages.size();
}

}  // namespace qel

BOOL PostMessageW(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    auto state = qel::HandleRegistry::Instance().Find(hWnd);
    if (!state)
        return FALSE;
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        state->messages.push_back({msg, wParam, lParam});
    }
    state->arrived.notify_all();
    return TRUE;
}

BOOL IsWindow(HWND hWnd) {
    return qel::HandleRegistry::Instance().Find(hWnd) ? TRUE : FALSE;
}
