#pragma once

#include <QString>

namespace velmora {

// Where every message box of the system goes. The add-in's messages are all
// informational with an OK button only; showing one returns when the user has
// dismissed it. A window host installs a sink that opens a real message box,
// a headless run keeps the default sink (standard error), and tests install a
// recorder. The sink is process-wide because the routines that report errors
// are free functions called from everywhere.
class MessageSink {
public:
    virtual ~MessageSink() = default;
    // `title` empty means the default title (the application's name).
    virtual void showMessage(const QString& text, const QString& title) = 0;
};

// Shows an OK-only message box through the current sink.
void showMessage(const QString& text, const QString& title = {});

// Installs `sink` (not owned; nullptr restores the standard-error sink) and
// returns the previous one.
MessageSink* setMessageSink(MessageSink* sink);

// Keeps `sink` installed for the lifetime of the guard.
class ScopedMessageSink {
public:
    explicit ScopedMessageSink(MessageSink* sink) : m_previous(setMessageSink(sink)) {}
    ~ScopedMessageSink() { setMessageSink(m_previous); }
    ScopedMessageSink(const ScopedMessageSink&) = delete;
    ScopedMessageSink& operator=(const ScopedMessageSink&) = delete;

private:
    MessageSink* m_previous;
};

} // namespace velmora
