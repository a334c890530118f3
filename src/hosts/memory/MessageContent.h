#pragma once

#include "addin/host/MailItemView.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace velmora::memory {

struct AttachmentContent {
    QString fileName;
    QString displayName; // empty: the file name
    QByteArray bytes;
};

// Everything an item of the in-memory host holds.
struct MessageContent {
    int itemClass = kMailItemClass;
    QString typeName = QStringLiteral("MailItem");
    QString sender;
    QString subject;
    QString body;
    QString htmlBody;
    QStringList recipients;
    QList<AttachmentContent> attachments;
};

} // namespace velmora::memory
