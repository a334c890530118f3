#pragma once

#include "hosts/memory/MessageContent.h"

#include <memory>

namespace velmora::memory {

class MemoryFolder;

class MemoryAttachment final : public HostAttachment {
public:
    explicit MemoryAttachment(AttachmentContent content) : m_content(std::move(content)) {}
    QString fileName() const override { return m_content.fileName; }
    QString displayName() const override;
    void saveAsFile(const QString& path) const override;

    int saveCount() const { return m_saveCount; }

private:
    AttachmentContent m_content;
    mutable int m_saveCount = 0;
};

// An item of the in-memory host. It belongs to one folder at a time; moving it
// raises the source folder's ItemRemove and the destination's ItemAdd,
// synchronously and in that order, once the move is complete.
class MemoryItem final : public MailItemView, public std::enable_shared_from_this<MemoryItem> {
public:
    MemoryItem(QString entryId, MessageContent content);

    int itemClass() const override { return m_content.itemClass; }
    QString typeName() const override { return m_content.typeName; }
    QString EntryID() const override { return m_entryId; }
    QString senderEmailAddress() const override { return m_content.sender; }
    QString subject() const override { return m_content.subject; }
    void setSubject(const QString& subject) override {
        m_content.subject = subject;
        ++m_subjectWrites;
    }
    QString body() const override { return m_content.body; }
    QString htmlBody() const override { return m_content.htmlBody; }
    int attachmentCount() const override { return int(m_attachments.size()); }
    std::shared_ptr<HostAttachment> attachment(int index) const override;
    QStringList Recipients() const override { return m_content.recipients; }
    void save() override;
    void move(HostFolder& destination) override;

    // What the store holds: the subject as last saved, and how often it was.
    QString savedSubject() const { return m_savedSubject; }
    int saveCount() const { return m_saveCount; }
    // How often the subject was written (a real host may store a new message
    // for each write).
    int subjectWrites() const { return m_subjectWrites; }
    MemoryFolder* folder() const { return m_folder; }
    // Makes save() or move() fail from now on, as a host call can.
    enum class Operation { Save, Move };
    void setFailing(Operation operation, bool failing = true);

    // What the item holds now, for making a copy of it.
    MessageContent content() const;
    void setFolder(MemoryFolder* folder) { m_folder = folder; }
    std::shared_ptr<MemoryAttachment> memoryAttachment(int index) const;

private:
    QString m_entryId;
    MessageContent m_content;
    QList<std::shared_ptr<MemoryAttachment>> m_attachments;
    QString m_savedSubject;
    int m_saveCount = 0;
    int m_subjectWrites = 0;
    MemoryFolder* m_folder = nullptr;
    bool m_saveFails = false;
    bool m_moveFails = false;
};

} // namespace velmora::memory
