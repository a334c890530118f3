#pragma once

#include "hosts/imap/ImapEndpoint.h"
#include "hosts/imap/SpecialFolders.h"

#include <QString>

namespace velmora::imap {

// Everything the IMAP host is handed to reach one mailbox: where, who, which
// folders serve as Junk, Sent and Trash (empty: found on the server), and
// where the host keeps what it must remember between runs.
struct ImapAccount {
    ImapEndpoint endpoint;
    ImapCredentials credentials;
    SpecialFolders folders;
    QString stateDirectory;  // folder snapshots and the log of own actions
    int sentPollMs = 60'000; // how often Sent is asked for new messages
    int reconnectMaxMs = 60'000;

    // `user@host:port`, the way messages name the account.
    QString name() const { return credentials.user + u'@' + endpoint.name(); }
};

} // namespace velmora::imap
