// The quick reader of simple messages against the MIME parser: whenever it
// answers, it answers exactly as the parser reads the message.
#include "hosts/mime/SimpleMessage.h"

#include "support/TestSupport.h"

#include <QDirIterator>
#include <QFile>

#include <random>

using namespace velmora;

namespace {

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// True when the quick reader answered (and then read as the parser does).
bool expectSameReading(const QByteArray& raw, const std::string& name) {
    const std::optional<mime::Message> simple = mime::parseSimpleMessage(raw);
    if (!simple)
        return false;
    const mime::Message parsed = mime::parseMessageAsIs(raw);
    EXPECT_EQ(simple->sender, parsed.sender) << name;
    EXPECT_EQ(simple->subject, parsed.subject) << name;
    EXPECT_EQ(simple->messageId, parsed.messageId) << name;
    EXPECT_EQ(simple->recipients, parsed.recipients) << name;
    EXPECT_EQ(simple->body, parsed.body) << name;
    EXPECT_EQ(simple->htmlBody, parsed.htmlBody) << name;
    EXPECT_TRUE(*simple == parsed) << name;
    return true;
}

const QByteArray kPlain = "From sender@example.com  Thu Aug 22 14:23:39 2002\n"
                          "Return-Path: <sender@example.com>\n"
                          "Received: from a\n\tby b; Thu, 22 Aug 2002\n"
                          "From: \"Ann, Sales\" <Ann.Sales@Example.com>\n"
                          "To: bob@example.com, Carl Smith <carl@example.org>,\n"
                          "  <dora@example.net>\n"
                          "Cc: =?iso-8859-1?q?J=F6rg?= <joerg@example.de>\n"
                          "Subject:  Cheap  meds\n\tnow \n"
                          "Message-ID: <1.2$x@mail.example.com>\n"
                          "MIME-Version: 1.0\n"
                          "Content-Type: text/plain; charset=\"us-ascii\"; format=flowed\n"
                          "\n"
                          "Visit www.example.com today.\nBest,\r\nAnn\n";

const QByteArray kHtml = "From: a@example.com\r\n"
                         "Subject: Offer\r\n"
                         "Content-Type: text/html; charset=iso-8859-1\r\n"
                         "Content-Transfer-Encoding: quoted-printable\r\n"
                         "\r\n"
                         "<html><body><p>Caf=E9 <a href=3D\"http://x.example\">here</a>=\r\n"
                         "</p><br>Bye=20\r\n</body></html>\r\n";

const QByteArray kBase64 = "From: a@example.com\n"
                           "Content-Transfer-Encoding: base64\n"
                           "Content-Type: text/plain; charset=utf-8\n"
                           "\n"
                           "Q2Fmw6kgb3JkZXI=\n";

} // namespace

TEST(SimpleMessageDifferential, PlainFormsReadAsTheParserReadsThemAndOthersAreLeftToIt) {
    for (const QByteArray& raw : {kPlain, kHtml, kBase64})
        EXPECT_TRUE(expectSameReading(raw, raw.toStdString()));

    // Forms the parser reads its own way: several parts, encoded words,
    // comments and groups, international domains, charsets to convert, broken
    // encodings, a field given twice, no empty line after the fields.
    const QByteArray declined[] = {
        "Content-Type: multipart/mixed; boundary=x\n\n--x\n\nhi\n--x--\n",
        "Content-Type: text/plain; name=a.txt\n\nhi\n",
        "Content-Disposition: attachment\n\nhi\n",
        "Content-Disposition: inline; filename=a.txt\n\nhi\n",
        "Subject: =?utf-8?q?Caf=C3=A9?=\n\nhi\n",
        "From: a@example.com (Ann (Sales))\n\nhi\n",
        "To: list: a@example.com;\n\nhi\n",
        "To: a@b, , c@d\n\nhi\n",
        "To: a@xn--bcher-kva.de\n\nhi\n",
        "From: Q <q.@example.com>\n\nhi\n",
        "From: a@example.com.\n\nhi\n",
        "Message-ID: <a b@c>\n\nhi\n",
        "Content-Type: text/plain; charset=iso-8859-15\n\ncaf\xa4\n",
        "Content-Type: text/plain; charset=us-ascii\n\ncaf\xc3\xa9\n",
        "Content-Type: text/plain; charset=shift_jis\n\nC:\\dir ~x\n",
        "Content-Transfer-Encoding: quoted-printable\n\nx =G1\n",
        "Content-Transfer-Encoding: quoted-printable\n\nx=",
        "Content-Transfer-Encoding: base64\n\nYWJjZA\n",
        "Content-Transfer-Encoding: base64\n\nYWJjZA==\nYWJj\n",
        "Subject: one\nSubject: two\n\nhi\n",
        "To: a@b\nTo: c@d\n\nhi\n",
        "Subject: caf\xc3\xa9\n\nhi\n",
        "Subject: no body",
        " folded: first\nSubject: s\n\nhi\n",
    };
    for (const QByteArray& raw : declined)
        EXPECT_FALSE(mime::parseSimpleMessage(raw)) << raw.toStdString();
    // Answered, and the same: a NUL byte ends the text, no fields read, an
    // empty body, lower-case escapes, Latin-1.
    const QByteArray answered[] = {
        QByteArray("Subject: s\n\nbefore\0after\n", 24),
        "X-Only: y\n\n\xe9t\xc3\xa9\n",
        "From: a@example.com (Ann, Sales)\nTo: b@example.com(B), \"C\" <c@example.com> (c)\n"
        "Message-Id: <p05111a3db98449fb8920@[66.149.49.6]>\n\nhi\n",
        "Subject: \n\n",
        "Content-Transfer-Encoding: Quoted-Printable\n\n=4a=4A b  \nc=\nd\n",
        "Content-Type: TEXT/PLAIN; CHARSET=ISO-8859-1\n\ncaf\xe9 \x80\n",
        "Content-Disposition: inline\nContent-Class: x\n"
        "Content-Type: text/plain; encoding=utf-8; charset=us-ascii\n\nhi\n",
    };
    for (const QByteArray& raw : answered)
        EXPECT_TRUE(expectSameReading(raw, raw.toStdString())) << raw.toStdString();
}

// Every message of the demo, and of a whole corpus when VELMORA_MAIL_CORPUS
// names a folder of raw messages (the public corpus the benchmark fetches).
TEST(SimpleMessageDifferential, RealMailReadsTheSame) {
    QStringList roots{QStringLiteral(VELMORA_SOURCE_DIR "/demo")};
    if (qEnvironmentVariableIsSet("VELMORA_MAIL_CORPUS"))
        roots.append(qEnvironmentVariable("VELMORA_MAIL_CORPUS"));
    int messages = 0;
    int answered = 0;
    for (const QString& root : roots) {
        QDirIterator files(root, {QStringLiteral("*.txt")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            answered += expectSameReading(fileBytes(path), path.toStdString()) ? 1 : 0;
            ++messages;
        }
    }
    EXPECT_GT(messages, 5);
    EXPECT_GT(answered, messages / 3);
    std::printf("%d of %d messages read without the parser\n", answered, messages);
}

// Random edits of simple messages, with the bytes and pieces that decide
// between the forms, wherever they land.
TEST(SimpleMessageDifferential, RandomEditsReadTheSame) {
    std::vector<QByteArray> seeds{kPlain, kHtml, kBase64};
    QStringList roots{QStringLiteral(VELMORA_SOURCE_DIR "/demo")};
    if (qEnvironmentVariableIsSet("VELMORA_MAIL_CORPUS"))
        roots.append(qEnvironmentVariable("VELMORA_MAIL_CORPUS"));
    for (const QString& root : roots) {
        QDirIterator files(root, {QStringLiteral("*.txt")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            seeds.push_back(fileBytes(files.next()));
    }
    static const QByteArray kPieces[] = {
        "=",
        "=?",
        "[",
        "]",
        "[1.2]",
        "(c)",
        "?=",
        "=\n",
        "=\r\n",
        "=4",
        "=4a",
        "=FF",
        "\r",
        "\n",
        "\r\n",
        "\n ",
        "\n\t",
        "\n\n",
        " ",
        "\t",
        QByteArray("\0", 1),
        "\x80",
        "\xe9",
        "\xc3\xa9",
        ",",
        "<",
        ">",
        "\"",
        "(",
        ")",
        ";",
        ":",
        ".",
        "..",
        "@",
        "xn--",
        "\\",
        "A",
        "/",
        "==",
        "charset=utf-8",
        "; name=x",
        "; name*=x",
        "; filename=x",
        "inline",
        "attachment",
        "Content-Disposition: inline\n",
        "Subject: t\n",
        "To: z@example.com\n",
        "Content-",
        "From ",
    };
    std::mt19937 random(20261123);
    int answered = 0;
    const int kEdits = 20000;
    for (int round = 0; round < kEdits; ++round) {
        QByteArray raw = seeds[random() % seeds.size()];
        const int edits = 1 + int(random() % 3);
        for (int e = 0; e < edits && !raw.isEmpty(); ++e) {
            // Edits land mostly in the header block, where the forms are.
            const qsizetype headerEnd = qMax<qsizetype>(1, raw.indexOf("\n\n"));
            const qsizetype at =
                qsizetype(random() % quint32(random() % 4 ? headerEnd : raw.size()));
            const QByteArray& piece = kPieces[random() % std::size(kPieces)];
            switch (random() % 3) {
            case 0:
                raw.insert(at, piece);
                break;
            case 1:
                raw.replace(at, qMin<qsizetype>(piece.size(), raw.size() - at), piece);
                break;
            default:
                raw.remove(at, 1 + random() % 4);
            }
        }
        answered += expectSameReading(raw, raw.toStdString()) ? 1 : 0;
        if (::testing::Test::HasFailure())
            break;
    }
    EXPECT_GT(answered, kEdits / 10);
}
