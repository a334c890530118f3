#include "app/UserSession.h"

#include "app/StarterPictures.h"
#include "app/TerminalQuestions.h"
#include "base/VbError.h"
#include "hosts/maildir/MaildirApplication.h"
#include "settings/UserPaths.h"

#include <QDir>
#include <QTextStream>

#include <unistd.h>

namespace velmora {

UserSession::UserSession(QTextStream& err)
    : lock(userWorkRoot()), settings(userSettingsFile()),
      connect(DataFolder(userWorkRoot()), settings, windows) {
    if (lock.held())
        provideStarterPictures(DataFolder(userWorkRoot()));
    QTextStream* errors = &err;
    if (::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO)) {
        m_terminal = std::make_unique<TerminalQuestions>(windows.answerer(), err);
    } else {
        windows.answerer().decide = [errors](const QString& prompt) {
            *errors << "declined (no terminal to ask): " << prompt << '\n';
            errors->flush();
            return HeadlessPromptAnswerer::Answer::Close;
        };
    }
}

UserSession::~UserSession() = default;

void UserSession::declineQuestions() {
    m_terminal.reset();
    windows.answerer().decide = [](const QString&) {
        return HeadlessPromptAnswerer::Answer::Close;
    };
}

bool UserSession::mayUseData(const QString& command, QTextStream& err) const {
    if (lock.held())
        return true;
    err << "velmora " << command << ": " << lock.refusal() << '\n';
    return false;
}

QString chooseMaildir(const QString& option, const SettingsStore& settings) {
    if (!option.isEmpty())
        return option;
    const QString saved = settings.appSetting(QStringLiteral("Maildir"), QStringLiteral("Path"));
    if (!saved.isEmpty())
        return saved;
    return QDir::home().filePath(QStringLiteral("Maildir"));
}

maildir::SpecialFolders chosenSpecialFolders(const SettingsStore& settings) {
    const auto folder = [&](const char* key) {
        return settings.appSetting(QStringLiteral("Maildir"), QLatin1String(key));
    };
    return {folder("Junk"), folder("Sent"), folder("Trash")};
}

std::shared_ptr<maildir::MaildirApplication>
openMaildir(const QString& path, const SettingsStore& settings, QTextStream& err) {
    try {
        return std::make_shared<maildir::MaildirApplication>(path, chosenSpecialFolders(settings));
    } catch (const VbError& error) {
        err << "velmora: " << error.description() << '\n';
        return nullptr;
    }
}

} // namespace velmora
