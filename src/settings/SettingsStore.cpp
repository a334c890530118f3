#include "settings/SettingsStore.h"

#include "base/Cp1252.h"
#include "base/MessageSink.h"
#include "base/Val.h"

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

// A value stored as a number rather than a string (only a hand-edited
// "@Variant(...)" does that) reads the way a 32-bit registry number read into a
// text buffer always has: its bytes, lowest first, up to the first zero byte,
// taken from the last to the first as hexadecimal digits. So 0x106 reads "22"
// and any number whose lowest byte is zero reads "0".
QString numberValueText(quint32 value) {
    QString digits;
    int length = 0;
    while (length < 4 && ((value >> (8 * length)) & 0xFF) != 0)
        ++length;
    for (int i = length - 1; i >= 0; --i)
        digits += QString::number((value >> (8 * i)) & 0xFF, 16).toUpper();
    return QString::number(qint64(Val(QStringLiteral("&h") + digits)));
}

bool isNumberType(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

} // namespace

SettingsStore::SettingsStore(const QString& iniFile) : m_iniFile(iniFile) {}

QString SettingsStore::ReadSetting(short number) const {
    QSettings settings(m_iniFile, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError)
        return {};
    const QVariant value = settings.value(kKey + QLatin1Char('/') + valueName(number));
    if (isNumberType(value))
        return numberValueText(static_cast<quint32>(value.toLongLong()));
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

void SettingsStore::saveAppSetting(const QString& section, const QString& key,
                                   const QString& value) {
    QSettings settings(m_iniFile, QSettings::IniFormat);
    settings.setValue(QStringLiteral("Velmora/") + section + QLatin1Char('/') + key, value);
    settings.sync();
}

QString SettingsStore::appSetting(const QString& section, const QString& key) const {
    QSettings settings(m_iniFile, QSettings::IniFormat);
    return settings.value(QStringLiteral("Velmora/") + section + QLatin1Char('/') + key).toString();
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
