#pragma once

#include <QString>

namespace velmora {

// Numbers of the three settings, as ReadSetting and WriteSetting take them.
enum SettingNumber : short {
    SettingLevelP = 1, // picture sensitivity level, "LevelP"
    SettingLevelT = 2, // text sensitivity level, "LevelT"
    SettingTextP = 3,  // "1" when text analysis is switched off, "TextP"
};

// The user's filter settings: string values under the key "CorvanelVelmora"
// of a per-user INI file. Values pass through the Windows-1252 code page on
// their way in and out, as they always have, and an empty value is stored as
// one blank.
class SettingsStore {
public:
    explicit SettingsStore(const QString& iniFile);

    // The stored text of setting `number`, or "" when it is missing, is not a
    // plain string, or cannot be read. The text is cut at its first NUL, and a
    // value of 1024 or more bytes cannot be read at all.
    QString ReadSetting(short number) const;

    // Stores `value` (note the order: value first) as setting `number`. When
    // the store cannot be written, shows "Error: can't write registry" and
    // returns; nothing is retried.
    void WriteSetting(const QString& value, short number);

    // The add-in's own per-user application settings ("Settings",
    // "DisplayOnConnect"), kept apart from the filter's three values. Errors
    // are ignored.
    void saveAppSetting(const QString& section, const QString& key, const QString& value);
    QString appSetting(const QString& section, const QString& key) const;

    const QString& fileName() const { return m_iniFile; }

private:
    bool setString(const QString& name, const QString& value);

    QString m_iniFile;
};

} // namespace velmora
