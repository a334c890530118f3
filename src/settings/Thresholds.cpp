#include "settings/Thresholds.h"

#include "base/Rounding.h"
#include "base/Val.h"

namespace velmora {

Thresholds deriveThresholds(const SettingsStore& store) {
    Thresholds t;
    t.LevelP = Val(store.ReadSetting(SettingLevelP)) + 80;
    t.LevelT = toInt16(Val(store.ReadSetting(SettingLevelT)) + 80);
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
