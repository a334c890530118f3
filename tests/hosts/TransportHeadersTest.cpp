// Leaving out the fields added in transport changes nothing the filter reads
// of a message: parsed with and without them, every message reads the same.
#include "hosts/mime/TransportHeaders.h"
#include "hosts/mime/MimeMessage.h"

#include "support/TestSupport.h"

#include <QDirIterator>
#include <QFile>

using namespace velmora;

namespace {

void expectSameReading(const QByteArray& raw, const QString& name) {
    ASSERT_EQ(mime::parseMessage(raw), mime::parseMessageAsIs(raw)) << name.toStdString();
}

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(TransportHeaders, DroppedOnlyFromAPlainHeaderBlockAndNothingReadChanges) {
    const QByteArray body =
        "Content-Type: text/plain; charset=utf-8\r\n\r\nHello www.example.com\r\n";
    const QByteArray delivered = "From someone@example.com  Thu Aug 22 14:23:39 2002\r\n"
                                 "Return-Path: <a@example.com>\r\n"
                                 "Received: from a\r\n\tby b; Thu, 22 Aug 2002\r\n"
                                 "From: Ann <ann@example.com>\r\n"
                                 "X-Mailer: Something\r\n"
                                 "To: bob@example.com, carl@example.com\r\n"
                                 "Subject: =?utf-8?q?Caf=C3=A9?=\r\n"
                                 "List-Post: <mailto:list@example.com>\r\n"
                                 "Message-ID: <1@example.com>\r\n" +
                                 body;
    const QByteArray lighter = mime::withoutTransportHeaders(delivered);
    EXPECT_FALSE(lighter.contains("Received"));
    EXPECT_FALSE(lighter.contains("X-Mailer"));
    EXPECT_FALSE(lighter.contains("List-Post"));
    EXPECT_TRUE(lighter.startsWith("From someone@example.com"));
    EXPECT_TRUE(lighter.endsWith(body));
    expectSameReading(delivered, QStringLiteral("delivered"));

    // Left to the parser as they are: a line that is no field, a continuation
    // of nothing, only transport fields, nothing to drop.
    const QByteArray notAField = "Received: x\r\nthis is no field\r\nSubject: s\r\n\r\nbody\r\n";
    const QByteArray orphan = " folded\r\nReceived: x\r\nSubject: s\r\n\r\nbody\r\n";
    const QByteArray onlyTransport = "Received: x\r\nX-Spam: yes\r\n\r\nbody\r\n";
    const QByteArray nothingToDrop = "Subject: s\r\nFrom: a@example.com\r\n\r\nbody\r\n";
    for (const QByteArray& raw : {notAField, orphan, onlyTransport, nothingToDrop}) {
        EXPECT_TRUE(mime::withoutTransportHeaders(raw).isNull()) << raw.toStdString();
        expectSameReading(raw, QString::fromLatin1(raw));
    }
    // Line feeds only, no body, the last field dropped, a field at the very end.
    const QByteArray lfOnly = "Received: x\nSubject: s\nX-Last: y\n\nbody\n";
    const QByteArray headersOnly = "Subject: s\r\nReceived: x\r\n";
    const QByteArray noLineEnd = "Subject: s\r\nX-Tail: y";
    for (const QByteArray& raw : {lfOnly, headersOnly, noLineEnd}) {
        EXPECT_FALSE(mime::withoutTransportHeaders(raw).isNull()) << raw.toStdString();
        expectSameReading(raw, QString::fromLatin1(raw));
    }
}

// Every message of the demo, and of a whole corpus when VELMORA_MAIL_CORPUS
// names a folder of raw messages (the public corpus the benchmark fetches).
TEST(TransportHeaders, RealMailReadsTheSame) {
    QStringList roots{QStringLiteral(VELMORA_SOURCE_DIR "/demo")};
    if (qEnvironmentVariableIsSet("VELMORA_MAIL_CORPUS"))
        roots.append(qEnvironmentVariable("VELMORA_MAIL_CORPUS"));
    int messages = 0;
    for (const QString& root : roots) {
        QDirIterator files(root, {QStringLiteral("*.txt")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            expectSameReading(fileBytes(path), path);
            ++messages;
        }
    }
    EXPECT_GT(messages, 5);
}
