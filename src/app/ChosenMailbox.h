#pragma once

#include "addin/host/HostApplication.h"
#include "app/ImapAccountSettings.h"
#include "settings/SettingsStore.h"

#include <QCommandLineParser>
#include <QTextStream>

#include <memory>
#include <optional>

namespace velmora {

// The mailbox a one-shot command (build, sweep) works on, opened: the IMAP
// account named with --imap or saved by `velmora account add`, unless
// --maildir is given; otherwise the Maildir.
struct ChosenMailbox {
    std::shared_ptr<HostApplication> app;
    QString where; // the Maildir's path, or the account's name
    FolderRef junk;
    // The folder a user names: "Inbox", or its path ("Work/Projects"), or
    // its name as the server lists it; nullptr when there is none.
    std::function<FolderRef(const QString&)> findFolder;
    // Opens the folder in the explorer, as the user does before a sweep.
    std::function<void(const FolderRef&)> showFolder;
};

// The options that choose it, shared by those commands.
struct MailboxOptions {
    MailboxOptions();
    void addTo(QCommandLineParser& parser) const;
    // Opens the mailbox the options and settings choose; on failure writes
    // why to `err` (prefixed with "velmora <command>: ") and returns nothing.
    std::optional<ChosenMailbox> open(const QCommandLineParser& parser,
                                      const SettingsStore& settings, const QString& command,
                                      QTextStream& err) const;

    QCommandLineOption maildir;
    ImapOptions imap;
};

} // namespace velmora
