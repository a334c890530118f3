#include "settings/SettingsStore.h"

#include "base/Val.h"
#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::RecordingSink;
using velmora::test::TempFolder;

TEST(SettingsStore, ValuesRoundTripAsAnsiStrings) {
    RecordingSink sink;
    TempFolder dir;
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));

    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString()); // missing reads empty
    store.WriteSetting(QStringLiteral("6"), SettingLevelP);
    store.WriteSetting(QStringLiteral("14"), SettingLevelT);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QStringLiteral("6"));
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("14"));

    // A fresh store on the same file sees the same values.
    EXPECT_EQ(SettingsStore(store.fileName()).ReadSetting(SettingLevelT), QStringLiteral("14"));

    store.WriteSetting(QString(), SettingTextP); // never stored empty
    EXPECT_EQ(store.ReadSetting(SettingTextP), QStringLiteral(" "));
    EXPECT_EQ(Val(store.ReadSetting(SettingTextP)), 0);

    store.WriteSetting(QStringLiteral("a,b \u00E9\u0101"), SettingTextP);
    EXPECT_EQ(store.ReadSetting(SettingTextP), QStringLiteral("a,b \u00E9?"));

    store.WriteSetting(QStringLiteral("12\u0000 34"), SettingLevelP);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QStringLiteral("12"));

    store.WriteSetting(QStringLiteral("default"), 0);
    EXPECT_EQ(store.ReadSetting(-1), QStringLiteral("default"));
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("14"));
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(SettingsStore, ValuesOf1024BytesOrMoreCannotBeRead) {
    TempFolder dir;
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));
    store.WriteSetting(QString(1023, QLatin1Char('7')), SettingLevelP);
    EXPECT_EQ(store.ReadSetting(SettingLevelP).size(), 1023);
    store.WriteSetting(QString(1024, QLatin1Char('7')), SettingLevelP);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString());
}

TEST(SettingsStore, HandEditedValuesOfOtherTypes) {
    TempFolder dir;
    dir.writeBytes(QStringLiteral("velmora.ini"),
                   "[CorvanelVelmora]\nLevelP=6, 7\nLevelT=@ByteArray(14)\nTextP=1\n");
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString()); // a list
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QString()); // binary
    EXPECT_EQ(store.ReadSetting(SettingTextP), QStringLiteral("1"));

    // Numbers read from their bytes before the first zero byte, last first.
    dir.writeBytes(QStringLiteral("velmora.ini"),
                   "[CorvanelVelmora]\nLevelP=@Variant(\\0\\0\\0\\x2\\0\\0\\x1\\x6)\n"
                   "LevelT=@Variant(\\0\\0\\0\\x2\\0\\0\\x1\\0)\n");
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QStringLiteral("22")); // 0x106
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("0"));  // 0x100
}

TEST(SettingsStore, UnwritableStoreIsReportedOncePerWrite) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("notafolder"), "x");
    SettingsStore store(dir.file(QStringLiteral("notafolder/velmora.ini")));
    store.WriteSetting(QStringLiteral("6"), SettingLevelP);
    store.WriteSetting(QStringLiteral("14"), SettingLevelT);
    EXPECT_EQ(sink.messages, (QStringList{QStringLiteral("Error: can't write registry"),
                                          QStringLiteral("Error: can't write registry")}));
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString());
}
