#pragma once

#include "hosts/imap/ImapResponse.h"

#include <QList>
#include <QString>

namespace velmora::imap {

// How one command ended, with the untagged responses that arrived while it
// ran (its data, and anything the server chose to say meanwhile).
struct ImapResult {
    enum class Status {
        Ok,
        No,     // the server refused (no such folder, over quota, …)
        Bad,    // the server did not understand
        Failed, // never completed: connection lost, time-out, or refused here
    };

    Status status = Status::Failed;
    ResponseCode code; // of the tagged response
    QString text;      // the server's text, or the reason it failed here
    QList<ImapResponse> untagged;

    bool ok() const { return status == Status::Ok; }
    // "NO [TRYCREATE] Mailbox does not exist", or the reason for Failed.
    QString describe() const;

    static ImapResult failed(const QString& reason) {
        ImapResult result;
        result.text = reason;
        return result;
    }
};

} // namespace velmora::imap
