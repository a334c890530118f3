#include "app/QuitSignals.h"

#include <QSocketNotifier>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace velmora {
namespace {

int signalPipe[2] = {-1, -1};
struct sigaction previousInt {};
struct sigaction previousTerm {};

void onSignal(int number) {
    const unsigned char byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(std::function<void(int)> handler) : m_onSignal(std::move(handler)) {
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // no pipe: the signals keep their default effect
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &previousInt);
    ::sigaction(SIGTERM, &action, &previousTerm);
    m_notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        unsigned char byte = 0;
        while (::read(signalPipe[0], &byte, 1) == 1)
            m_onSignal(byte);
    });
}

QuitSignals::~QuitSignals() {
    if (!m_notifier)
        return;
    ::sigaction(SIGINT, &previousInt, nullptr);
    ::sigaction(SIGTERM, &previousTerm, nullptr);
    m_notifier.reset();
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

} // namespace velmora
