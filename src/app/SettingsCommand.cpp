#include "app/SettingsCommand.h"

#include "app/CommandOptions.h"
#include "settings/SettingsStore.h"
#include "settings/Thresholds.h"
#include "settings/UserPaths.h"

#include <QDir>

namespace velmora {

int SettingsCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Shows the settings, or sets them. A message is spam when it resembles learnt spam by "
        "at least 80 % plus the level: raise a level to catch less."));
    const QCommandLineOption picture(QStringLiteral("picture-level"),
                                     QStringLiteral("The picture level (\"LevelP\")."),
                                     QStringLiteral("n"));
    const QCommandLineOption text(QStringLiteral("text-level"),
                                  QStringLiteral("The text level (\"LevelT\")."),
                                  QStringLiteral("n"));
    const QCommandLineOption textOff(QStringLiteral("text-off"),
                                     QStringLiteral("Switch text analysis off (\"TextP\" 1)."));
    const QCommandLineOption textOn(QStringLiteral("text-on"),
                                    QStringLiteral("Switch text analysis on (\"TextP\" 0)."));
    const QCommandLineOption maildir(QStringLiteral("maildir"),
                                     QStringLiteral("The Maildir the commands use by default."),
                                     QStringLiteral("dir"));
    const QCommandLineOption junk(QStringLiteral("junk"),
                                  QStringLiteral("The Junk folder, as a Maildir++ name "
                                                 "(\"Spam\", \"Archive.Junk\"); \"\" to find it."),
                                  QStringLiteral("folder"));
    const QCommandLineOption sent(QStringLiteral("sent"), QStringLiteral("The Sent folder."),
                                  QStringLiteral("folder"));
    const QCommandLineOption trash(QStringLiteral("trash"), QStringLiteral("The Trash folder."),
                                   QStringLiteral("folder"));
    parser.addOptions({picture, text, textOff, textOn, maildir, junk, sent, trash});
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    if (parser.isSet(textOff) && parser.isSet(textOn)) {
        err << "velmora settings: --text-on or --text-off, not both\n";
        return kExitUsage;
    }
    for (const QCommandLineOption* level : {&picture, &text}) {
        bool number = false;
        if (parser.isSet(*level) && (parser.value(*level).toInt(&number), !number)) {
            err << "velmora settings: --" << level->names().first() << " takes a whole number\n";
            return kExitUsage;
        }
    }

    SettingsStore store(userSettingsFile());
    if (parser.isSet(picture))
        store.WriteSetting(parser.value(picture), SettingLevelP);
    if (parser.isSet(text))
        store.WriteSetting(parser.value(text), SettingLevelT);
    if (parser.isSet(textOff) || parser.isSet(textOn))
        store.WriteSetting(parser.isSet(textOff) ? QStringLiteral("1") : QStringLiteral("0"),
                           SettingTextP);
    if (parser.isSet(maildir))
        store.saveAppSetting(QStringLiteral("Maildir"), QStringLiteral("Path"),
                             QDir(parser.value(maildir)).absolutePath());

    for (const auto& [option, key] :
         {std::pair{&junk, "Junk"}, std::pair{&sent, "Sent"}, std::pair{&trash, "Trash"}}) {
        if (parser.isSet(*option))
            store.saveAppSetting(QStringLiteral("Maildir"), QLatin1String(key),
                                 parser.value(*option));
    }
    const auto folder = [&](const char* key) {
        const QString name = store.appSetting(QStringLiteral("Maildir"), QLatin1String(key));
        return name.isEmpty() ? QStringLiteral("(found by its usual names)") : name;
    };

    out << "settings file: " << store.fileName() << '\n'
        << "LevelP = \"" << store.ReadSetting(SettingLevelP) << "\"\n"
        << "LevelT = \"" << store.ReadSetting(SettingLevelT) << "\"\n"
        << "TextP  = \"" << store.ReadSetting(SettingTextP) << "\"\n"
        << "Maildir = " << store.appSetting(QStringLiteral("Maildir"), QStringLiteral("Path"))
        << '\n'
        << "Junk = " << folder("Junk") << ", Sent = " << folder("Sent")
        << ", Trash = " << folder("Trash") << '\n';
    try {
        const Thresholds thresholds = deriveThresholds(store);
        out << "spam from " << thresholds.LevelP << " % resemblance (pictures), "
            << thresholds.LevelT << " % (text); text analysis "
            << (thresholds.TextFlag != kFalse ? "off" : "on") << '\n';
    } catch (const std::exception&) {
        out << "the levels cannot be used as they are\n";
    }
    return kExitOk;
}

} // namespace velmora
