#pragma once

#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"
#include "app/DataFolderLock.h"
#include "settings/SettingsStore.h"

#include <QTextStream>

#include <memory>

namespace velmora {

namespace maildir {
class MaildirApplication;
}

// The add-in as the user's own commands run it: the user's settings file and
// data folder, and windows without a screen whose prompts are asked on the
// terminal when there is one, and declined otherwise.
struct UserSession {
    explicit UserSession(QTextStream& err);
    ~UserSession();

    // False, with the reason written to `err`, when another velmora process
    // (a running watch) has the data folder: the command must end.
    bool mayUseData(const QString& command, QTextStream& err) const;
    // For commands that never ask: every question is declined silently.
    void declineQuestions();

    DataFolderLock lock;
    SettingsStore settings;
    HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
    Connect connect;

    SpamData& data() { return connect.state().data; }

private:
    std::unique_ptr<class TerminalQuestions> m_terminal;
};

// The Maildir to use: `option` (from --maildir) when given, else the one the
// settings file names ("Velmora/Maildir/Path"), else ~/Maildir.
QString chooseMaildir(const QString& option, const SettingsStore& settings);

// Opens the Maildir at `path`, with the Junk, Sent and Trash folders the
// settings name ("Velmora/Maildir/Junk" ...; found by their usual names when
// not named). On failure writes why to `err` and returns null.
std::shared_ptr<maildir::MaildirApplication>
openMaildir(const QString& path, const SettingsStore& settings, QTextStream& err);

} // namespace velmora
