#pragma once

#include "addin/host/MailItemView.h"
#include "hosts/imap/ImapData.h"
#include "hosts/mime/MimeMessage.h"

#include <QByteArrayList>
#include <QDateTime>

#include <memory>

namespace velmora::imap {

class ImapFolder;

// The flags as a new copy of the message can be given them.
QByteArrayList settableFlags(QByteArrayList flags);

class ImapAttachment final : public HostAttachment {
public:
    explicit ImapAttachment(mime::Attachment attachment) : m_attachment(std::move(attachment)) {}
    QString fileName() const override { return m_attachment.fileName; }
    QString displayName() const override { return m_attachment.displayName; }
    void saveAsFile(const QString& path) const override;

private:
    mime::Attachment m_attachment;
};

// One message on the server, held whole in memory: the surface's reads are
// synchronous, so the host fetches the message (BODY.PEEK[], leaving \Seen
// as it was) before it hands the item out.
//
// save() writes a changed subject as a new message (APPEND with the
// original flags and date) and then expunges exactly the old UID; move() is
// UID MOVE. Both wait for the server and raise nothing later: the
// application's log of its own actions keeps the watchers from reporting
// them back. The handle follows its message to its new UID, and keeps its
// EntryID.
class ImapItem final : public MailItemView, public std::enable_shared_from_this<ImapItem> {
public:
    // `fetched` holds the message's UID, flags, size, internal date and its
    // bytes (BODY[]).
    ImapItem(ImapFolder& folder, QString entryId, const FetchedMessage& fetched);

    int itemClass() const override { return m_message.itemClass; }
    QString typeName() const override { return m_message.typeName; }
    QString EntryID() const override { return m_entryId; }
    QString senderEmailAddress() const override { return m_message.sender; }
    QString subject() const override { return m_message.subject; }
    void setSubject(const QString& subject) override;
    QString body() const override { return m_message.body; }
    QString htmlBody() const override { return m_message.htmlBody; }
    int attachmentCount() const override { return int(m_message.attachments.size()); }
    std::shared_ptr<HostAttachment> attachment(int index) const override;
    QStringList Recipients() const override { return m_message.recipients; }
    void save() override;
    void move(HostFolder& destination) override;

    ImapFolder& folder() const { return *m_folder; }
    quint32 uid() const { return m_uid; }
    const QByteArray& raw() const { return m_raw; }
    const QByteArrayList& flags() const { return m_flags; }
    const QDateTime& internalDate() const { return m_internalDate; }
    const QString& key() const { return m_key; }
    const mime::Message& message() const { return m_message; }

    // The message now lives elsewhere (moved, or rewritten under a new UID).
    void relocate(ImapFolder& folder, quint32 uid) {
        m_folder = &folder;
        m_uid = uid;
    }
    // The rewritten message is the one now.
    void rewritten(quint32 uid, QByteArray raw, QString key);

private:
    ImapFolder* m_folder;
    QString m_entryId;
    quint32 m_uid;
    QByteArray m_raw;
    QByteArrayList m_flags;
    QDateTime m_internalDate;
    QString m_key;
    mime::Message m_message;
    bool m_subjectChanged = false;
};

} // namespace velmora::imap
