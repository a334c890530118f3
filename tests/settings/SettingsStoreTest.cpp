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

TEST(SettingsStore, UnwritableStoreIsReportedOncePerWriteNamingTheFile) {
    RecordingSink sink;
    TempFolder dir;
    dir.writeBytes(QStringLiteral("notafolder"), "x");
    const QString path = dir.file(QStringLiteral("notafolder/velmora.ini"));
    SettingsStore store(path);
    store.WriteSetting(QStringLiteral("6"), SettingLevelP);
    store.WriteSetting(QStringLiteral("14"), SettingLevelT);
    ASSERT_EQ(sink.messages.size(), 2);
    for (const QString& message : sink.messages) {
        EXPECT_TRUE(message.startsWith(QStringLiteral("Error: can't write registry\n")))
            << message.toStdString();
        EXPECT_TRUE(message.contains(path)) << message.toStdString();
    }
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString());
}

TEST(SettingsStore, HandEditedFilesKeepTheirOtherLinesAndAreNeverLost) {
    RecordingSink sink;
    TempFolder dir;
    const QByteArray handMade = "; my notes\n[Other]\nkeep=\"a, b\"\n[CorvanelVelmora]\n"
                                "LevelP=@Variant(\\0\\0\\0\\xb\\0\\0\\0\\x1\\0\\0\\0\\x2\\0"
                                "\\x36)\nLevelT=@Rect(1 2 3 4)\n";
    dir.writeBytes(QStringLiteral("velmora.ini"), handMade);
    SettingsStore store(dir.file(QStringLiteral("velmora.ini")));
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString()); // a streamed list of strings
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QString());

    store.WriteSetting(QStringLiteral("9"), SettingLevelT);
    const QByteArray now = dir.readBytes(QStringLiteral("velmora.ini"));
    EXPECT_TRUE(now.startsWith("; my notes\n[Other]\nkeep=\"a, b\"\n")) << now.constData();
    EXPECT_TRUE(now.contains("LevelT=9\n")) << now.constData();
    EXPECT_EQ(store.ReadSetting(SettingLevelT), QStringLiteral("9"));

    // A file far larger than any the filter writes is neither read nor replaced.
    QByteArray huge = "[CorvanelVelmora]\nLevelP=5\n";
    huge += QByteArray(2 * 1024 * 1024, ';');
    dir.writeBytes(QStringLiteral("velmora.ini"), huge);
    EXPECT_EQ(store.ReadSetting(SettingLevelP), QString());
    store.WriteSetting(QStringLiteral("7"), SettingLevelP);
    EXPECT_EQ(dir.readBytes(QStringLiteral("velmora.ini")), huge);
    ASSERT_EQ(sink.messages.size(), 1);
    EXPECT_TRUE(sink.messages[0].contains(QStringLiteral("larger than 1 MiB")));
}
