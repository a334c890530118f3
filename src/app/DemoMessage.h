#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace velmora {

// A message of the bundled demo: "From:", "Subject:" and optional
// "Attachment:" lines, a blank line, then the body, whose lines are given
// CR LF ends as in real mail. An attachment names a file of the demo's
// "pictures" folder.
struct DemoMessage {
    QString fileName;
    QString sender;
    QString subject;
    QString body;
    QStringList recipients;
    QString attachmentName;
    QByteArray attachment;
};

// Reads one demo message; nullopt (with `error` set) when the file or its
// attachment cannot be read or it has no blank line after its headers.
std::optional<DemoMessage> readDemoMessage(const QString& path, const QString& picturesFolder,
                                           QString& error);

} // namespace velmora
