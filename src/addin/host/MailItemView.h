#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace velmora {

class HostFolder;

// Item classes the filter tells apart ("Class").
inline constexpr int kMailItemClass = 43;

// One attachment of an item.
class HostAttachment {
public:
    virtual ~HostAttachment() = default;
    // The attachment's file name, as the sender named it.
    virtual QString fileName() const = 0;
    // The name the mail client shows for it (usually the file name).
    virtual QString displayName() const = 0;
    // Writes the attachment's bytes to `path`, replacing any file there.
    // Throws VbError when the file cannot be written.
    virtual void saveAsFile(const QString& path) const = 0;
};

// A handle on one item of a host folder: a mail message, a post, or any other
// item a folder can hold (meeting requests, delivery reports). It copies
// nothing: every read goes to the host, and a changed subject reaches the
// host's store when save() is called.
//
// Contract for every member: it runs on the host's thread and does not call
// back into the filter before returning, except move(), which raises the
// folders' item events. A handle stays usable after its item has been moved
// by the user (the removal handlers work on the items they were moved with);
// a call the host cannot carry out throws VbError.
class MailItemView {
public:
    virtual ~MailItemView() = default;

    // "Class": 43 for a mail message.
    virtual int itemClass() const = 0;
    // The run-time type name: "MailItem", "PostItem", "MeetingItem", ...
    virtual QString typeName() const = 0;
    // The host's permanent identifier of the item.
    virtual QString EntryID() const = 0;

    virtual QString senderEmailAddress() const = 0; // case as received
    virtual QString subject() const = 0;
    virtual void setSubject(const QString& subject) = 0;
    virtual QString body() const = 0;     // plain-text body
    virtual QString htmlBody() const = 0; // empty for plain mail

    virtual int attachmentCount() const = 0;
    // Attachment `index`, counted from 1. The item owns it; the pointer stays
    // usable as long as the caller holds it.
    virtual std::shared_ptr<HostAttachment> attachment(int index) const = 0;

    // Each recipient's address, in the host's order (sent mail only).
    virtual QStringList Recipients() const = 0;

    // Commits a changed subject to the host's store. Raises no event; the
    // item keeps its EntryID and this handle stays valid. A failure throws
    // VbError and leaves the stored item as it was.
    virtual void save() = 0;
    // Moves the item into `destination`: ItemRemove on the source, then
    // ItemAdd on the destination, both raised before this returns (and never
    // again later as if the user had moved it). A failure throws VbError and
    // leaves the item whole in its folder. The add-in does not use a handle it
    // has moved; a host still keeps it working (it refers to the item in its
    // new folder), because handles the add-in remembered, such as the
    // explorer's selection, may be moved by others.
    virtual void move(HostFolder& destination) = 0;
};

using MailItemRef = std::shared_ptr<MailItemView>;

} // namespace velmora
