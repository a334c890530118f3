#pragma once

#include <QByteArray>
#include <QString>

namespace velmora {

// A settings file holds a few short lines. Anything larger is not one the
// filter wrote: it is neither read (so a stray huge or binary file cannot make
// the filter hold it in memory) nor replaced (so it is never lost).
constexpr qint64 kMaxSettingsFileBytes = 1024 * 1024;

// The whole settings file, or why it cannot be had. A file that does not
// exist reads as empty.
struct SettingsFileContents {
    QByteArray bytes;
    QString error; // empty when the bytes were read
};
SettingsFileContents readSettingsFile(const QString& path);

// Why the file at `path` may not be replaced, or "" when it may: it is
// missing, or a regular file that can be written.
QString checkSettingsFileWritable(const QString& path);

// Replaces the file with `bytes` as a whole: a crash or a full disk leaves the
// old file or the new one, never a mix. Its folder is created when missing.
// Returns why it failed, or "".
QString replaceSettingsFile(const QString& path, const QByteArray& bytes);

} // namespace velmora
