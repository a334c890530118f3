#include "app/ChosenMailbox.h"

#include "app/CommandOptions.h"
#include "app/UserSession.h"
#include "base/VbError.h"
#include "hosts/imap/ImapApplication.h"
#include "hosts/maildir/MaildirApplication.h"

namespace velmora {

namespace {

FolderRef findImapFolder(const imap::ImapApplication& app, const QString& name) {
    if (name.compare(QStringLiteral("Inbox"), Qt::CaseInsensitive) == 0)
        return app.folderRef(app.inbox());
    if (auto folder = app.folderByName(name); folder && folder->selectable())
        return folder;
    // "Work/Projects" on a server that separates levels with a dot.
    for (const auto& folder : app.allFolders()) {
        QString path = folder->serverName();
        path.replace(QLatin1Char('.'), QLatin1Char('/'));
        if (path == name || folder->Name() == name)
            return folder;
    }
    return nullptr;
}

} // namespace

MailboxOptions::MailboxOptions() : maildir(maildirOption()) {}

void MailboxOptions::addTo(QCommandLineParser& parser) const {
    parser.addOption(maildir);
    imap.addTo(parser);
}

std::optional<ChosenMailbox> MailboxOptions::open(const QCommandLineParser& parser,
                                                  const SettingsStore& settings,
                                                  const QString& command, QTextStream& err) const {
    const ImapAccountChoice choice = parser.isSet(maildir)
                                         ? ImapAccountChoice()
                                         : imap.chosen(parser, savedImapAccount(settings));
    if (!choice.isSet()) {
        auto app = openMaildir(chooseMaildir(parser.value(maildir), settings), settings, err);
        if (!app)
            return std::nullopt;
        return ChosenMailbox{
            app, app->root(), app->folderRef(app->junk()),
            [app](const QString& name) -> FolderRef {
                auto folder = app->findFolder(name);
                return folder && !folder->directory().isEmpty() ? folder : nullptr;
            },
            [app](const FolderRef& folder) { app->explorer().setCurrentFolder(folder); }};
    }
    QString problem;
    const auto account = imapAccountFrom(choice, &problem);
    if (!account) {
        err << "velmora " << command << ": " << problem << '\n';
        return std::nullopt;
    }
    try {
        auto app = std::make_shared<imap::ImapApplication>(
            *account, [&err](const QString& line) { err << line << '\n'; });
        return ChosenMailbox{
            app, account->name(), app->folderRef(app->junk()),
            [app](const QString& name) { return findImapFolder(*app, name); },
            [app](const FolderRef& folder) { app->explorer().setCurrentFolder(folder); }};
    } catch (const VbError& error) {
        err << "velmora " << command << ": " << error.description() << '\n';
        return std::nullopt;
    }
}

} // namespace velmora
