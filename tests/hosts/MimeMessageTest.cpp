#include "hosts/mime/MimeMessage.h"

#include "support/TestSupport.h"

using namespace velmora;
using namespace velmora::mime;

namespace {

QByteArray crlf(QByteArray text) {
    return text.replace("\n", "\r\n");
}

} // namespace

TEST(MimeMessage, PlainMailWithEncodedSubjectAndRecipients) {
    const QByteArray raw = crlf("From: \"Anna\" <Anna@Work.Example>\n"
                                "To: me@home.example, \"Team\" <team@work.example>\n"
                                "Cc: Group: one@x.example, two@x.example;\n"
                                "Bcc: hidden@x.example\n"
                                "Subject: =?UTF-8?Q?Caf=C3=A9_=E2=82=AC?= today\n"
                                "Message-ID: <abc@work.example>\n"
                                "Content-Type: text/plain; charset=iso-8859-1\n"
                                "Content-Transfer-Encoding: quoted-printable\n"
                                "\n"
                                "Gr=FC=DFe\n"
                                "second line\n");
    const Message m = parseMessage(raw);
    EXPECT_EQ(m.itemClass, kMailItemClass);
    EXPECT_EQ(m.typeName, QStringLiteral("MailItem"));
    EXPECT_EQ(m.sender, QStringLiteral("Anna@Work.Example"));
    EXPECT_EQ(m.subject, QStringLiteral("Caf\u00E9 \u20AC today"));
    EXPECT_EQ(m.messageId, QStringLiteral("abc@work.example"));
    EXPECT_EQ(m.recipients,
              (QStringList{QStringLiteral("me@home.example"), QStringLiteral("team@work.example"),
                           QStringLiteral("one@x.example"), QStringLiteral("two@x.example"),
                           QStringLiteral("hidden@x.example")}));
    EXPECT_EQ(m.body, QStringLiteral("Gr\u00FC\u00DFe\r\nsecond line\r\n"));
    EXPECT_EQ(m.htmlBody, QString());
    EXPECT_TRUE(m.attachments.isEmpty());
}

TEST(MimeMessage, AlternativeBodiesAndAPictureAttachment) {
    const QByteArray raw =
        crlf("From: shop@spam.example\n"
             "Subject: Deals\n"
             "MIME-Version: 1.0\n"
             "Content-Type: multipart/mixed; boundary=\"outer\"\n"
             "\n"
             "--outer\n"
             "Content-Type: multipart/alternative; boundary=\"inner\"\n"
             "\n"
             "--inner\n"
             "Content-Type: text/plain; charset=utf-8\n"
             "Content-Transfer-Encoding: base64\n"
             "\n"
             "QnV5IG5vdyE=\n"
             "--inner\n"
             "Content-Type: text/html; charset=utf-8\n"
             "\n"
             "<p>Buy <b>now</b>!</p>\n"
             "--inner--\n"
             "--outer\n"
             "Content-Type: image/png; name=\"shown.png\"\n"
             "Content-Disposition: attachment; filename=\"=?UTF-8?Q?pr=C3=A9sent.PNG?=\"\n"
             "Content-Transfer-Encoding: base64\n"
             "\n"
             "iVBORw0KGgo=\n"
             "--outer--\n");
    const Message m = parseMessage(raw);
    EXPECT_EQ(m.body, QStringLiteral("Buy now!"));
    // The line break before a boundary belongs to the boundary.
    EXPECT_EQ(m.htmlBody, QStringLiteral("<p>Buy <b>now</b>!</p>"));
    ASSERT_EQ(m.attachments.size(), 1);
    EXPECT_EQ(m.attachments[0].fileName, QStringLiteral("pr\u00E9sent.PNG"));
    EXPECT_EQ(m.attachments[0].displayName, QStringLiteral("pr\u00E9sent.PNG"));
    EXPECT_EQ(m.attachments[0].bytes, QByteArray("\x89PNG\r\n\x1A\n"));
}

TEST(MimeMessage, ReportsInvitationsAndHtmlOnlyMail) {
    const Message report = parseMessage(
        crlf("From: MAILER-DAEMON@mx.example\nSubject: Undelivered\n"
             "Content-Type: multipart/report; report-type=delivery-status; boundary=b\n\n"
             "--b\nContent-Type: text/plain\n\nIt failed.\n--b\n"
             "Content-Type: message/delivery-status\n\nStatus: 5.0.0\n--b--\n"));
    EXPECT_NE(report.itemClass, kMailItemClass);
    EXPECT_EQ(report.typeName, QStringLiteral("ReportItem"));

    const Message invitation = parseMessage(crlf(
        "From: boss@work.example\nSubject: Meeting\n"
        "Content-Type: multipart/alternative; boundary=b\n\n"
        "--b\nContent-Type: text/plain\n\nMeet me.\n--b\n"
        "Content-Type: text/calendar; method=REQUEST\n\nBEGIN:VCALENDAR\nEND:VCALENDAR\n--b--\n"));
    EXPECT_NE(invitation.itemClass, kMailItemClass);
    EXPECT_EQ(invitation.body, QStringLiteral("Meet me."));

    const Message html = parseMessage(
        crlf("From: a@b.example\nSubject: x\nContent-Type: text/html\n\n"
             "<html><head><style>p {}</style></head><body>One &amp; two<br>three</body></html>\n"));
    EXPECT_EQ(html.body, QStringLiteral("One & two\r\nthree"));
}

TEST(MimeMessage, BrokenInputStillGivesWhatCanBeRead) {
    // Truncated inside a part, no From, an unknown charset, broken base64.
    const Message truncated =
        parseMessage(crlf("Subject: cut\nContent-Type: multipart/mixed; boundary=b\n\n--b\n"
                          "Content-Type: text/plain; charset=x-no-such-charset\n\nhalf a li"));
    EXPECT_EQ(truncated.sender, QString());
    EXPECT_EQ(truncated.subject, QStringLiteral("cut"));
    EXPECT_TRUE(truncated.body.startsWith(QStringLiteral("half a li")));

    const Message broken = parseMessage(
        crlf("From: x@y.example\nContent-Type: multipart/mixed; boundary=b\n\n--b\n"
             "Content-Type: image/gif; name=a.gif\nContent-Transfer-Encoding: base64\n\n"
             "R0lG!!!*** not base64 zzzz\n--b--\n"));
    ASSERT_EQ(broken.attachments.size(), 1);
    EXPECT_EQ(broken.attachments[0].fileName, QStringLiteral("a.gif"));

    for (const QByteArray& garbage :
         {QByteArray(), QByteArray("\0\0\0", 3), QByteArray(5000, '\xFF'), QByteArray("::::\n\n")})
        parseMessage(garbage); // no crash, whatever comes out
}

TEST(MimeMessage, SubjectIsReplacedAndNothingElseChanges) {
    struct Case {
        QByteArray raw;
        QString subject;
        QByteArray expected;
    };
    const QByteArray body = "\r\nBody: Subject: not a header\r\n";
    const Case cases[] = {
        {"From: a@b\r\nSubject: Old\r\nX: y\r\n" + body, QStringLiteral("{S:97%} Old"),
         "From: a@b\r\nSubject: {S:97%} Old\r\nX: y\r\n" + body},
        // Folded over two lines, lower-case name, LF line ends.
        {"subject: long\n  folded\nX: y\n\nbody\n", QStringLiteral("New"),
         "Subject: New\nX: y\n\nbody\n"},
        // None yet: added at the end of the headers.
        {"From: a@b\r\n\r\nbody", QStringLiteral("Hi"), "From: a@b\r\nSubject: Hi\r\n\r\nbody"},
        // Non-ASCII: an encoded word (whichever charset fits).
        {"Subject: x\r\n\r\n", QStringLiteral("{RESTR} Gr\u00FC\u00DFe \u20AC"), {}},
    };
    for (const Case& c : cases) {
        const QByteArray rewritten = withSubject(c.raw, c.subject);
        if (c.expected.isEmpty()) {
            EXPECT_TRUE(rewritten.startsWith("Subject: {RESTR} =?")) << rewritten.constData();
            EXPECT_TRUE(rewritten.endsWith("?=\r\n\r\n"));
            for (const char byte : rewritten)
                EXPECT_LT(static_cast<unsigned char>(byte), 0x80);
        } else {
            EXPECT_EQ(rewritten, c.expected);
        }
        EXPECT_EQ(parseMessage(rewritten).subject, c.subject);
    }
}
