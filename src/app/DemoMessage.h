#pragma once

#include <QString>

#include <optional>

namespace velmora {

// A message of the bundled demo: "From:" and "Subject:" lines, a blank line,
// then the body, whose lines are given CR LF ends as in real mail.
struct DemoMessage {
    QString fileName;
    QString sender;
    QString subject;
    QString body;
};

// Reads one demo message; nullopt (with `error` set) when the file cannot be
// read or has no blank line after its headers.
std::optional<DemoMessage> readDemoMessage(const QString& path, QString& error);

} // namespace velmora
