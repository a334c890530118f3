#include "settings/SettingsStore.h"

#include "base/Cp1252.h"
#include "base/MessageSink.h"
#include "base/Val.h"
#include "settings/IniDocument.h"
#include "settings/SettingsFile.h"
#include "settings/StoredValue.h"

#include <QDir>

#include <optional>

namespace velmora {
namespace {

const QString kKey = QStringLiteral("CorvanelVelmora");
const QString kAppSection = QStringLiteral("Velmora");
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
// "@Variant(...)" holds one) reads the way a 32-bit registry number read into a
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

// The value stored under `key`; a file that cannot be read holds nothing.
StoredValue readStoredValue(const QString& path, const QString& key) {
    const SettingsFileContents contents = readSettingsFile(path);
    if (!contents.error.isEmpty())
        return {};
    const std::optional<IniValueText> value = IniDocument(contents.bytes).value(key);
    return value ? decodeStoredValue(*value) : StoredValue{};
}

bool holdsString(const IniDocument& document, const QString& key, const QString& text) {
    const std::optional<IniValueText> value = document.value(key);
    if (!value)
        return false;
    const StoredValue stored = decodeStoredValue(*value);
    return stored.kind == StoredValue::String && stored.text == text;
}

// Stores `text` as the string value of `key`. Returns why that failed, or "".
// A file that cannot be read in full is not replaced, since what it holds
// would be lost.
QString storeString(const QString& path, const QString& key, const QString& text) {
    const SettingsFileContents old = readSettingsFile(path);
    if (!old.error.isEmpty())
        return old.error;
    if (const QString cause = checkSettingsFileWritable(path); !cause.isEmpty())
        return cause;
    IniDocument document(old.bytes);
    document.setValue(key, encodeStoredString(text));
    // An unclosed quote earlier in a hand-edited file can swallow the line.
    if (!holdsString(document, key, text))
        return QStringLiteral("the value would not read back as written");
    if (document.bytes().size() > kMaxSettingsFileBytes)
        return QStringLiteral("the file would grow larger than 1 MiB");
    if (const QString cause = replaceSettingsFile(path, document.bytes()); !cause.isEmpty())
        return cause;
    const SettingsFileContents now = readSettingsFile(path);
    if (!now.error.isEmpty())
        return now.error;
    if (!holdsString(IniDocument(now.bytes), key, text))
        return QStringLiteral("the value read back differs from the one written");
    return {};
}

QString appKey(const QString& section, const QString& key) {
    return kAppSection + QLatin1Char('/') + section + QLatin1Char('/') + key;
}

} // namespace

SettingsStore::SettingsStore(const QString& iniFile) : m_iniFile(iniFile) {}

QString SettingsStore::ReadSetting(short number) const {
    const StoredValue value =
        readStoredValue(m_iniFile, kKey + QLatin1Char('/') + valueName(number));
    if (value.kind == StoredValue::Number)
        return numberValueText(value.number);
    if (value.kind != StoredValue::String)
        return {}; // missing, or a list, bytes or another type
    QByteArray ansi = toCp1252(value.text);
    if (ansi.size() >= kQueryBufferBytes)
        return {};
    const qsizetype nul = ansi.indexOf('\0');
    if (nul >= 0)
        ansi.truncate(nul);
    return fromCp1252(ansi);
}

void SettingsStore::WriteSetting(const QString& value, short number) {
    const QString stored = fromCp1252(toCp1252(value.isEmpty() ? QStringLiteral(" ") : value));
    const QString cause =
        storeString(m_iniFile, kKey + QLatin1Char('/') + valueName(number), stored);
    if (!cause.isEmpty())
        showMessage(QStringLiteral("Error: can't write registry\n") +
                    QDir::toNativeSeparators(m_iniFile) + QStringLiteral(": ") + cause);
}

void SettingsStore::saveAppSetting(const QString& section, const QString& key,
                                   const QString& value) {
    storeString(m_iniFile, appKey(section, key), value);
}

QString SettingsStore::appSetting(const QString& section, const QString& key) const {
    const StoredValue value = readStoredValue(m_iniFile, appKey(section, key));
    return value.kind == StoredValue::String ? value.text : QString();
}

} // namespace velmora
