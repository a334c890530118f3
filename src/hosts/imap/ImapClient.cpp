#include "hosts/imap/ImapClient.h"

#include <QTimer>

namespace velmora::imap {

namespace {

QByteArray flagList(const QByteArrayList& flags) {
    return '(' + flags.join(' ') + ')';
}

// Several FETCH responses may describe one message (servers split them, and
// unsolicited flag updates arrive in between); they are merged by UID.
void merge(FetchedMessage& into, const FetchedMessage& more) {
    if (more.flags)
        into.flags = more.flags;
    if (more.size)
        into.size = more.size;
    if (more.internalDate.isValid())
        into.internalDate = more.internalDate;
    if (more.modSeq)
        into.modSeq = more.modSeq;
    if (more.body)
        into.body = more.body;
    if (more.headerFields)
        into.headerFields = more.headerFields;
    for (auto it = more.sections.begin(); it != more.sections.end(); ++it)
        into.sections.insert(it.key(), it.value());
}

QList<FetchedMessage> fetchedOf(const ImapResult& result, const UidSet& wanted) {
    QList<FetchedMessage> found;
    QHash<quint32, qsizetype> at;
    for (const ImapResponse& response : result.untagged) {
        const auto message = readFetch(response);
        if (!message || message->uid == 0 || !wanted.contains(message->uid))
            continue;
        if (const auto it = at.constFind(message->uid); it != at.constEnd()) {
            merge(found[*it], *message);
        } else {
            at.insert(message->uid, found.size());
            found.append(*message);
        }
    }
    return found;
}

std::optional<CopyUid> copyUidOf(const ImapResult& result) {
    if (auto copy = readCopyUid(result.code))
        return copy;
    // UID MOVE sends it in an untagged OK before the expunges.
    for (const ImapResponse& response : result.untagged)
        if (response.isStatus())
            if (auto copy = readCopyUid(response.code))
                return copy;
    return std::nullopt;
}

} // namespace

template <class T>
void ImapClient::refuse(Then<T> done, const QString& reason) {
    const ImapResult result =
        ImapResult::failed(m_connection.endpoint().name() + QStringLiteral(": ") + reason);
    QTimer::singleShot(0, &m_connection, [done = std::move(done), result] { done(result, T{}); });
}

void ImapClient::enable(const QByteArrayList& extensions, Then<QByteArrayList> done) {
    QByteArrayList offered;
    for (const QByteArray& extension : extensions)
        if (m_connection.hasCapability(extension))
            offered.append(extension.toUpper());
    if (offered.isEmpty() || !m_connection.hasCapability("ENABLE")) {
        QTimer::singleShot(0, &m_connection, [done = std::move(done)] {
            ImapResult result;
            result.status = ImapResult::Status::Ok;
            result.text = QStringLiteral("nothing to enable");
            done(result, {});
        });
        return;
    }
    ImapCommand command(QByteArrayLiteral("ENABLE"));
    for (const QByteArray& extension : offered)
        command.raw(extension);
    m_connection.run(command, [this, done = std::move(done)](const ImapResult& result) {
        QByteArrayList enabled;
        for (const ImapResponse& response : result.untagged)
            if (const auto names = readEnabled(response))
                enabled += *names;
        m_qresync = m_qresync || enabled.contains("QRESYNC");
        m_condstore = m_condstore || enabled.contains("CONDSTORE");
        done(result, enabled);
    });
}

void ImapClient::listFolders(Then<QList<MailboxEntry>> done) {
    ImapCommand command(QByteArrayLiteral("LIST"));
    command.string("").string("*");
    if (m_connection.hasCapability("SPECIAL-USE"))
        command.raw("RETURN (SPECIAL-USE)");
    m_connection.run(command, [done = std::move(done)](const ImapResult& result) {
        QList<MailboxEntry> folders;
        for (const ImapResponse& response : result.untagged)
            if (const auto entry = readList(response))
                folders.append(*entry);
        done(result, result.ok() ? folders : QList<MailboxEntry>());
    });
}

void ImapClient::status(const QString& mailbox, Then<MailboxStatus> done) {
    ImapCommand command(QByteArrayLiteral("STATUS"));
    command.mailbox(mailbox).raw(m_connection.hasCapability("CONDSTORE")
                                     ? "(MESSAGES UIDNEXT UIDVALIDITY UNSEEN HIGHESTMODSEQ)"
                                     : "(MESSAGES UIDNEXT UIDVALIDITY UNSEEN)");
    m_connection.run(command, [done = std::move(done)](const ImapResult& result) {
        MailboxStatus status;
        for (const ImapResponse& response : result.untagged)
            if (const auto read = readStatus(response))
                status = *read;
        done(result, result.ok() ? status : MailboxStatus());
    });
}

void ImapClient::select(const QString& mailbox, bool readOnly, std::optional<KnownState> known,
                        Then<SelectedMailbox> done) {
    ImapCommand command(readOnly ? QByteArrayLiteral("EXAMINE") : QByteArrayLiteral("SELECT"));
    command.mailbox(mailbox);
    if (m_qresync && known && known->uidValidity != 0 && known->highestModSeq != 0) {
        QByteArray state = "(QRESYNC (" + QByteArray::number(known->uidValidity) + ' ' +
                           QByteArray::number(known->highestModSeq);
        if (!known->uids.isEmpty())
            state += ' ' + known->uids.toImap();
        command.raw(state + "))");
    }
    m_connection.run(command, [done = std::move(done), readOnly](const ImapResult& result) {
        SelectedMailbox selected;
        selected.readOnly = readOnly || result.code.is("READ-ONLY");
        UidSet allChanged;
        allChanged.add(1, 0xffffffffu);
        for (const ImapResponse& response : result.untagged) {
            if (const auto exists = readExists(response)) {
                selected.exists = *exists;
            } else if (const auto vanished = readVanished(response)) {
                selected.vanished.add(vanished->uids);
            } else if (response.isData("FLAGS") && !response.values.isEmpty()) {
                for (const ImapValue& flag : response.values.first().items)
                    selected.flags.append(flag.text());
            } else if (response.isStatus()) {
                const ResponseCode& code = response.code;
                if (code.is("UIDVALIDITY") && code.number())
                    selected.uidValidity = static_cast<quint32>(*code.number());
                else if (code.is("UIDNEXT") && code.number())
                    selected.uidNext = static_cast<quint32>(*code.number());
                else if (code.is("HIGHESTMODSEQ") && code.number())
                    selected.highestModSeq = *code.number();
                else if (code.is("NOMODSEQ"))
                    selected.highestModSeq.reset();
                else if (code.is("PERMANENTFLAGS") && !code.arguments.isEmpty())
                    for (const ImapValue& flag : code.arguments.first().items)
                        selected.permanentFlags.append(flag.text());
                // [CLOSED] ends the folder selected before: what preceded it
                // belonged to that one, and only codes after it are read.
                else if (code.is("CLOSED")) {
                    const bool wasReadOnly = selected.readOnly;
                    selected = SelectedMailbox();
                    selected.readOnly = wasReadOnly;
                }
            }
        }
        selected.changed = fetchedOf(result, allChanged);
        done(result, result.ok() ? selected : SelectedMailbox());
    });
}

void ImapClient::searchAll(Then<UidSet> done) {
    ImapCommand command(QByteArrayLiteral("UID SEARCH"));
    // ESEARCH answers with ranges: a short reply however large the folder.
    if (m_connection.hasCapability("ESEARCH"))
        command.raw("RETURN (ALL)");
    command.raw("ALL");
    m_connection.run(command, [done = std::move(done)](const ImapResult& result) {
        UidSet found;
        for (const ImapResponse& response : result.untagged)
            if (const auto uids = readSearch(response))
                found.add(*uids);
        done(result, result.ok() ? found : UidSet());
    });
}

void ImapClient::fetchKeys(const UidSet& uids, Then<QList<FetchedMessage>> done) {
    fetch(uids, "(UID FLAGS RFC822.SIZE INTERNALDATE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID)])",
          std::move(done));
}

void ImapClient::fetchMessages(const UidSet& uids, Then<QList<FetchedMessage>> done) {
    // BODY.PEEK[], never BODY[]: reading a message for the filter must not
    // mark it read for the user.
    fetch(uids, "(UID FLAGS RFC822.SIZE INTERNALDATE BODY.PEEK[])", std::move(done));
}

void ImapClient::fetch(const UidSet& uids, QByteArrayView items, Then<QList<FetchedMessage>> done) {
    if (uids.isEmpty()) {
        refuse(std::move(done), QStringLiteral("nothing to fetch"));
        return;
    }
    ImapCommand command(QByteArrayLiteral("UID FETCH"));
    command.raw(uids.toImap()).raw(items);
    m_connection.run(command, [done = std::move(done), uids](const ImapResult& result) {
        done(result, result.ok() ? fetchedOf(result, uids) : QList<FetchedMessage>());
    });
}

void ImapClient::move(const UidSet& uids, const QString& target,
                      Then<std::optional<CopyUid>> done) {
    if (uids.isEmpty()) {
        refuse(std::move(done), QStringLiteral("nothing to move"));
        return;
    }
    if (m_connection.hasCapability("MOVE")) {
        ImapCommand command(QByteArrayLiteral("UID MOVE"));
        command.raw(uids.toImap()).mailbox(target);
        m_connection.run(command, [done = std::move(done)](const ImapResult& result) {
            done(result, copyUidOf(result));
        });
        return;
    }
    if (!m_connection.hasCapability("UIDPLUS")) {
        refuse(std::move(done),
               QStringLiteral("the server offers neither MOVE nor UIDPLUS, and a plain EXPUNGE "
                              "would also remove messages marked deleted elsewhere; not moving"));
        return;
    }
    ImapCommand copy(QByteArrayLiteral("UID COPY"));
    copy.raw(uids.toImap()).mailbox(target);
    m_connection.run(copy, [this, uids, done = std::move(done)](const ImapResult& copied) {
        if (!copied.ok()) {
            done(copied, std::nullopt);
            return;
        }
        const std::optional<CopyUid> copyUid = copyUidOf(copied);
        // Copied: now take exactly these out of the source. A failure from
        // here on leaves the copy in place and the originals too; the result
        // says which step failed.
        store(uids, FlagChange::Add, {QByteArrayLiteral("\\Deleted")},
              [this, uids, copyUid, done](const ImapResult& marked) {
                  if (!marked.ok()) {
                      done(marked, copyUid);
                      return;
                  }
                  expunge(uids,
                          [copyUid, done](const ImapResult& expunged) { done(expunged, copyUid); });
              });
    });
}

void ImapClient::append(const QString& mailbox, const QByteArray& message,
                        const QByteArrayList& flags, const QDateTime& internalDate,
                        Then<std::optional<AppendUid>> done) {
    ImapCommand command(QByteArrayLiteral("APPEND"));
    command.mailbox(mailbox);
    if (!flags.isEmpty())
        command.raw(flagList(flags));
    if (internalDate.isValid())
        command.raw(quoted(writeInternalDate(internalDate)));
    command.literal(message);
    m_connection.run(command, [done = std::move(done)](const ImapResult& result) {
        done(result, result.ok() ? readAppendUid(result.code) : std::nullopt);
    });
}

void ImapClient::store(const UidSet& uids, FlagChange change, const QByteArrayList& flags,
                       Done done) {
    if (uids.isEmpty()) {
        refuse<int>([done = std::move(done)](const ImapResult& result, int) { done(result); },
                    QStringLiteral("nothing to change"));
        return;
    }
    const char* item = change == FlagChange::Add      ? "+FLAGS.SILENT"
                       : change == FlagChange::Remove ? "-FLAGS.SILENT"
                                                      : "FLAGS.SILENT";
    ImapCommand command(QByteArrayLiteral("UID STORE"));
    command.raw(uids.toImap()).raw(item).raw(flagList(flags));
    m_connection.run(command, std::move(done));
}

void ImapClient::expunge(const UidSet& uids, Done done) {
    const auto refuseWith = [this, &done](const QString& reason) {
        refuse<int>([done = std::move(done)](const ImapResult& result, int) { done(result); },
                    reason);
    };
    if (uids.isEmpty()) {
        refuseWith(QStringLiteral("nothing to expunge"));
        return;
    }
    // Never plain EXPUNGE: it removes every \Deleted message of the folder,
    // also those the user marked in another client and meant to keep for now.
    if (!m_connection.hasCapability("UIDPLUS")) {
        refuseWith(QStringLiteral("the server does not offer UIDPLUS, so only a plain EXPUNGE "
                                  "of the whole folder is possible; not expunging"));
        return;
    }
    ImapCommand command(QByteArrayLiteral("UID EXPUNGE"));
    command.raw(uids.toImap());
    m_connection.run(command, std::move(done));
}

} // namespace velmora::imap
