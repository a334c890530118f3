#include "base/MessageSink.h"

#include <cstdio>

namespace velmora {
namespace {

class StandardErrorSink final : public MessageSink {
public:
    void showMessage(const QString& text, const QString& title) override {
        const QByteArray line =
            (title.isEmpty() ? QStringLiteral("Velmora") : title).toUtf8() + ": " + text.toUtf8();
        std::fprintf(stderr, "%s\n", line.constData());
    }
};

StandardErrorSink g_standardErrorSink;
MessageSink* g_sink = &g_standardErrorSink;

} // namespace

void showMessage(const QString& text, const QString& title) {
    g_sink->showMessage(text, title);
}

MessageSink* setMessageSink(MessageSink* sink) {
    MessageSink* previous = g_sink == &g_standardErrorSink ? nullptr : g_sink;
    g_sink = sink ? sink : &g_standardErrorSink;
    return previous;
}

} // namespace velmora
