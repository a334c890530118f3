#pragma once

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace velmora {

// Turns SIGINT and SIGTERM into a call of `onSignal` on the event loop (a
// signal handler may do almost nothing itself: it writes to a pipe that the
// loop watches). The previous handlers come back when this is destroyed.
class QuitSignals final : public QObject {
public:
    explicit QuitSignals(std::function<void(int signal)> onSignal);
    ~QuitSignals() override;

private:
    std::function<void(int)> m_onSignal;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmora
