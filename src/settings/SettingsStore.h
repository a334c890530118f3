#pragma once

#include <QString>

namespace velmora {

// Numbers of the three settings, as ReadSetting and WriteSetting take them.
enum SettingNumber : short {
    SettingLevelP = 1, // picture sensitivity level, "LevelP"
    SettingLevelT = 2, // text sensitivity level, "LevelT"
    SettingTextP = 3,  // "1" when text analysis is switched off, "TextP"
};

// The user's filter settings: string values in the section "CorvanelVelmora"
// of a per-user INI file, in the format QSettings reads and writes. Values pass
// through the Windows-1252 code page on their way in and out, as they always
// have, and an empty value is stored as one blank. Every value is taken as
// plain text: nothing in the file is turned into an object of another type.
// The file is read afresh on every call, so several stores (and hand edits)
// on the same file see each other's values.
class SettingsStore {
public:
    explicit SettingsStore(const QString& iniFile);

    // The stored text of setting `number`, or "" when it is missing, is not a
    // plain string, or cannot be read. The text is cut at its first NUL, and a
    // value of 1024 or more bytes cannot be read at all. A value stored as a
    // whole number reads the way a registry number read as text does (see
    // SettingsStore.cpp). Never shows a message.
    QString ReadSetting(short number) const;

    // Stores `value` (note the order: value first) as setting `number`,
    // replacing the file as a whole and reading the value back. When that
    // fails, shows "Error: can't write registry", a line break, the file's path
    // and the cause, and returns; nothing is retried and the old file is kept.
    void WriteSetting(const QString& value, short number);

    // The add-in's own per-user application settings ("Settings",
    // "DisplayOnConnect"), kept apart from the filter's three values in the
    // section "Velmora". Errors are ignored; a value that is not a plain
    // string reads as "".
    void saveAppSetting(const QString& section, const QString& key, const QString& value);
    QString appSetting(const QString& section, const QString& key) const;

    const QString& fileName() const { return m_iniFile; }

private:
    QString m_iniFile;
};

} // namespace velmora
