#include "settings/Thresholds.h"

#include "base/VbError.h"
#include "settings/UserPaths.h"
#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::RecordingSink;
using velmora::test::TempFolder;

TEST(Thresholds, FirstStartRunsAt80AndDefaultsApplyFromTheNext) {
    RecordingSink sink;
    TempFolder dir;
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));

    const Thresholds first = deriveThresholds(store);
    EXPECT_EQ(first.LevelP, 80);
    EXPECT_EQ(first.LevelT, 80);
    EXPECT_EQ(first.TextFlag, kFalse);

    applyStartupDefaults(store);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QStringLiteral("6"));
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("14"));
    // Kept slip: the text switch is only defaulted when the text level still
    // reads empty, which it does not.
    EXPECT_EQ(store.ReadSetting(SettingTextP), QString());

    const Thresholds second = deriveThresholds(store);
    EXPECT_EQ(second.LevelP, 86);
    EXPECT_EQ(second.LevelT, 94);
    EXPECT_EQ(second.TextFlag, kFalse);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(Thresholds, DefaultsAreKeptOrResetAsAsked) {
    TempFolder dir;
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));
    store.WriteSetting(QStringLiteral("2.5"), SettingLevelP);
    store.WriteSetting(QStringLiteral("2.5"), SettingLevelT);
    store.WriteSetting(QStringLiteral("1"), SettingTextP);
    applyStartupDefaults(store);
    Thresholds t = deriveThresholds(store);
    EXPECT_EQ(t.LevelP, 82.5);
    EXPECT_EQ(t.LevelT, 82); // 82.5 rounds to even
    EXPECT_EQ(t.TextFlag, kTrue);

    store.WriteSetting(QStringLiteral("1 "), SettingTextP); // not exactly "1"
    EXPECT_EQ(deriveThresholds(store).TextFlag, kFalse);

    writeDefaultSettings(store);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QStringLiteral("6"));
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("14"));
    EXPECT_EQ(store.ReadSetting(SettingTextP), QStringLiteral("0"));

    store.WriteSetting(QStringLiteral("40000"), SettingLevelT);
    EXPECT_THROW(deriveThresholds(store), VbError);
}

TEST(Thresholds, UnwritableStoreDefaultsTheTextSwitchToo) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("file"), "x");
    SettingsStore store(dir.file(QStringLiteral("file/velmora.ini")));
    applyStartupDefaults(store);
    EXPECT_EQ(sink.messages.size(), 3); // all three writes were tried and failed
}

TEST(UserPaths, FollowTheXdgFolders) {
    const QByteArray oldData = qgetenv("XDG_DATA_HOME");
    const QByteArray oldConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_DATA_HOME", "/tmp/velmora-data");
    qputenv("XDG_CONFIG_HOME", "/tmp/velmora-config/");
    EXPECT_EQ(userWorkRoot(), QStringLiteral("/tmp/velmora-data/CORVANELSPAM/"));
    EXPECT_EQ(userSettingsFile(), QStringLiteral("/tmp/velmora-config/velmora.ini"));
    qputenv("XDG_DATA_HOME", "relative/ignored");
    EXPECT_TRUE(userWorkRoot().endsWith(QStringLiteral("/.local/share/CORVANELSPAM/")));
    qputenv("XDG_DATA_HOME", oldData);
    qputenv("XDG_CONFIG_HOME", oldConfig);
}
