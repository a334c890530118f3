#include "settings/Thresholds.h"

#include "base/Rounding.h"
#include "base/Val.h"
#include "base/VbError.h"

namespace velmora {

Thresholds deriveThresholds(const SettingsStore& store) {
    Thresholds t;
    // A level out of range fails as it always has; the error names the value
    // and the file, so the user can find and mend it.
    const auto level = [&](SettingNumber number, const char* name, const auto& derive) {
        const QString stored = store.ReadSetting(number);
        try {
            return derive(stored);
        } catch (const VbError& error) {
            throw VbError(error.number(), QStringLiteral("%1 = \"%2\" in %3")
                                              .arg(QLatin1String(name), stored, store.fileName()));
        }
    };
    t.LevelP = level(SettingLevelP, "LevelP", [](const QString& v) { return Val(v) + 80; });
    t.LevelT =
        level(SettingLevelT, "LevelT", [](const QString& v) { return toInt16(Val(v) + 80); });
    t.TextFlag = toBool16(store.ReadSetting(SettingTextP) == QStringLiteral("1"));
    return t;
}

void applyStartupDefaults(SettingsStore& store) {
    if (store.ReadSetting(SettingLevelP).isEmpty())
        store.WriteSetting(QStringLiteral("6"), SettingLevelP);
    if (store.ReadSetting(SettingLevelT).isEmpty())
        store.WriteSetting(QStringLiteral("14"), SettingLevelT);
    // Intended: tests the text level again, not the text switch. The switch is
    // defaulted only where the database is found missing.
    if (store.ReadSetting(SettingLevelT).isEmpty())
        store.WriteSetting(QStringLiteral("0"), SettingTextP);
}

void writeDefaultSettings(SettingsStore& store) {
    store.WriteSetting(QStringLiteral("6"), SettingLevelP);
    store.WriteSetting(QStringLiteral("14"), SettingLevelT);
    store.WriteSetting(QStringLiteral("0"), SettingTextP);
}

} // namespace velmora
