#include "settings/UserPaths.h"

#include <QDir>

namespace velmora {
namespace {

// An XDG base folder: the variable when it holds an absolute path, else the
// fallback below the home folder (relative values are ignored, as the XDG
// rules ask).
QString xdgFolder(const char* variable, const char* fallbackBelowHome) {
    const QString value = qEnvironmentVariable(variable);
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return QDir::cleanPath(value);
    return QDir::homePath() + QLatin1Char('/') + QLatin1String(fallbackBelowHome);
}

} // namespace

QString userWorkRoot() {
    return xdgFolder("XDG_DATA_HOME", ".local/share") + QStringLiteral("/CORVANELSPAM/");
}

QString userSettingsFile() {
    return xdgFolder("XDG_CONFIG_HOME", ".config") + QStringLiteral("/velmora.ini");
}

} // namespace velmora
