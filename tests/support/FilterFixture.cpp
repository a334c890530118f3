#include "support/FilterFixture.h"

#include <QBuffer>
#include <QDir>

namespace velmora::test {

FilterFixture::FilterFixture() {
    const DataFolder folder(root.path());
    QDir().mkpath(folder.dataFolder());
    state = std::make_unique<FilterState>(folder, toolBox, services, prompts);
    prompts.answerInto(state->flags);
    state->application = app;
    state->thresholds.LevelP = 86;
    state->thresholds.LevelT = 94;

    state->data.TrustedList.append(QStringLiteral("friend@trusted.example"));
    TxtRec txt;
    txt.Sender = QStringLiteral("seed@text.example");
    txt.Flag = kTrue;
    txt.Counts.fill(9999); // far from any real mail
    txt.MailAddr = QStringLiteral("seed@addr.example");
    txt.LinkHost = QStringLiteral("www.seed.example");
    state->data.TxtTable.append(txt);
    PicRec pic;
    pic.Sender = QStringLiteral("seed@pic.example");
    pic.Flag = kTrue;
    pic.Values.fill(5); // far from any one-colour picture
    pic.Size = 1;
    state->data.PicTable.append(pic);
}

memory::MessageContent mail(const QString& sender, const QString& subject, const QString& body) {
    memory::MessageContent content;
    content.sender = sender;
    content.subject = subject;
    content.body = body;
    return content;
}

memory::MessageContent pictureMail(const QString& sender, const QString& subject,
                                   const QString& fileName, const QByteArray& bytes,
                                   const QString& displayName) {
    memory::MessageContent content = mail(sender, subject, QStringLiteral("see picture\r\n"));
    content.attachments.append({fileName, displayName, bytes});
    return content;
}

QByteArray pictureFile(const QImage& picture, const char* format, qsizetype size) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, format);
    if (size >= 0 && bytes.size() < size)
        bytes.append(QByteArray(size - bytes.size(), '\0'));
    return bytes;
}

QImage solidPicture(int width, int height, QRgb colour) {
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

QString mailBody(const QStringList& lines) {
    QString body;
    for (const QString& line : lines)
        body += line + QStringLiteral("\r\n");
    return body;
}

QString spamBody() {
    return mailBody({QStringLiteral("Cheap watches for sale, all brands"),
                     QStringLiteral("Order at www.watches.example/buy"),
                     QStringLiteral("Only this week, free delivery"),
                     QStringLiteral("Unsubscribe below")});
}

} // namespace velmora::test
