#pragma once

#include "addin/host/MailItemView.h"
#include "hosts/mime/MimeMessage.h"

#include <memory>

namespace velmora::maildir {

class MaildirFolder;

class MaildirAttachment final : public HostAttachment {
public:
    explicit MaildirAttachment(mime::Attachment attachment) : m_attachment(std::move(attachment)) {}
    QString fileName() const override { return m_attachment.fileName; }
    QString displayName() const override { return m_attachment.displayName; }
    void saveAsFile(const QString& path) const override;

private:
    mime::Attachment m_attachment;
};

// One message of a Maildir folder. The handle is a snapshot of the file as it
// was when the handle was made (message files never change; only their names
// do, when flags change). save() and move() find the file again by its base
// name, so a flag change by another client in between does not matter.
//
// save() writes a changed subject as a new message file and then removes the
// old one (see MessageFiles.h); the handle keeps its EntryID. move() renames
// the file into the destination and raises ItemRemove then ItemAdd before it
// returns; the handle then refers to the message in its new folder.
class MaildirItem final : public MailItemView, public std::enable_shared_from_this<MaildirItem> {
public:
    // Reads and parses the file `fileName` of `folder` (its name relative to
    // the folder, "cur/..." or "new/..."). Throws VbError naming the file
    // when it cannot be read.
    MaildirItem(MaildirFolder& folder, const QString& fileName);

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

    MaildirFolder& folder() const { return *m_folder; }
    // The file's name relative to its folder, as last known.
    const QString& fileName() const { return m_fileName; }
    const mime::Message& message() const { return m_message; }

private:
    // The file's current name, found again by its base name. Throws VbError
    // when the message is no longer in the folder.
    QString locate();
    void writeSubject();

    MaildirFolder* m_folder;
    QString m_fileName;
    QString m_entryId;
    mime::Message m_message;
    bool m_subjectChanged = false;
};

} // namespace velmora::maildir
