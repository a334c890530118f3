#pragma once

#include <QCoreApplication>
#include <QThread>

#include <functional>
#include <list>
#include <memory>
#include <utility>

namespace velmora {

// Ends one subscription when it is destroyed or reset: clearing the member
// that holds it is what stops the events, as clearing an event-receiving
// reference does in the host.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : m_cancel(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : m_cancel(std::exchange(other.m_cancel, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            m_cancel = std::exchange(other.m_cancel, {});
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }

    void reset() {
        if (auto cancel = std::exchange(m_cancel, {}))
            cancel();
    }
    bool isActive() const { return static_cast<bool>(m_cancel); }

private:
    std::function<void()> m_cancel;
};

// One event of a host object. Handlers run synchronously, on the host's
// thread, in the order they subscribed; a handler may subscribe or unsubscribe
// others (or itself) while the event runs. The source may be destroyed before
// its subscriptions: they then simply do nothing.
template <typename... Args>
class EventSource {
public:
    using Handler = std::function<void(Args...)>;

    Subscription subscribe(Handler handler) {
        auto entry = std::make_shared<Handler>(std::move(handler));
        m_state->handlers.push_back(entry);
        std::weak_ptr<State> state = m_state;
        std::weak_ptr<Handler> weakEntry = entry;
        return Subscription([state, weakEntry] {
            if (auto s = state.lock())
                s->handlers.remove_if([&](const auto& h) { return h == weakEntry.lock(); });
        });
    }

    void raise(Args... args) const {
        // Hosts raise events on the event loop's thread only: the add-in
        // guards its state by flags, not locks.
        Q_ASSERT(!QCoreApplication::instance() ||
                 QThread::currentThread() == QCoreApplication::instance()->thread());
        // Copies, so that handlers may change the subscriptions meanwhile,
        // and even destroy the source, while the event runs.
        const std::shared_ptr<State> state = m_state;
        const auto handlers = state->handlers;
        for (const auto& handler : handlers) {
            if (isSubscribed(*state, handler))
                (*handler)(args...);
        }
    }

    int subscriberCount() const { return static_cast<int>(m_state->handlers.size()); }

private:
    struct State {
        std::list<std::shared_ptr<Handler>> handlers;
    };

    static bool isSubscribed(const State& state, const std::shared_ptr<Handler>& handler) {
        for (const auto& h : state.handlers) {
            if (h == handler)
                return true;
        }
        return false;
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace velmora
