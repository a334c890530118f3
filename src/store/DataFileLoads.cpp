#include "store/DataFileLoads.h"

#include <QFileInfo>
#include <QHash>

namespace velmora::dataFileLoads {
namespace {

// Path -> cause of an incomplete load ("" for a complete one).
QHash<QString, QString>& outcomes() {
    static QHash<QString, QString> byPath;
    return byPath;
}

QString key(const QString& path) {
    return QFileInfo(path).absoluteFilePath();
}

} // namespace

void noteComplete(const QString& path) {
    outcomes().insert(key(path), QString());
}

void noteIncomplete(const QString& path, const QString& cause) {
    outcomes().insert(key(path),
                      cause.isEmpty() ? QStringLiteral("it was not read in full") : cause);
}

void noteIfUnknown(const QString& path, const QString& cause) {
    if (!outcomes().contains(key(path)))
        outcomes().insert(key(path), cause);
}

QString riskOfReplacing(const QString& path) {
    const auto found = outcomes().constFind(key(path));
    if (found == outcomes().constEnd())
        return QStringLiteral("it was not loaded when the filter started");
    return *found;
}

void clear() {
    outcomes().clear();
}

} // namespace velmora::dataFileLoads
