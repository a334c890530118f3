#include "settings/SettingsStore.h"

#include "base/Cp1252.h"
#include "base/MessageSink.h"

#include <QFileInfo>
#include <QSettings>

namespace velmora {
namespace {

const QString kKey = QStringLiteral("CorvanelVelmora");
constexpr int kQueryBufferBytes = 1024;

QString valueName(short number) {
    switch (number) {
    case SettingLevelP:
        return QStringLiteral("LevelP");
    case SettingLevelT:
        return QStringLiteral("LevelT");
    case SettingTextP:
        return QStringLiteral("TextP");
    default:
        // Other numbers address the key's unnamed default value.
        return QStringLiteral("(Default)");
    }
}

} // namespace

SettingsStore::SettingsStore(const QString& iniFile) : m_iniFile(iniFile) {}

QString SettingsStore::ReadSetting(short number) const {
    QSettings settings(m_iniFile, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError)
        return {};
    const QVariant value = settings.value(kKey + QLatin1Char('/') + valueName(number));
    if (value.typeId() != QMetaType::QString)
        return {}; // missing, or a list or binary value
    QByteArray ansi = toCp1252(value.toString());
    if (ansi.size() >= kQueryBufferBytes)
        return {};
    const qsizetype nul = ansi.indexOf('\0');
    if (nul >= 0)
        ansi.truncate(nul);
    return fromCp1252(ansi);
}

void SettingsStore::WriteSetting(const QString& value, short number) {
    if (!setString(valueName(number), value))
        showMessage(QStringLiteral("Error: can't write registry"));
}

bool SettingsStore::setString(const QString& name, const QString& value) {
    QSettings settings(m_iniFile, QSettings::IniFormat);
    if (!settings.isWritable())
        return false;
    const QString stored = value.isEmpty() ? QStringLiteral(" ") : value;
    settings.setValue(kKey + QLatin1Char('/') + name, fromCp1252(toCp1252(stored)));
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace velmora
