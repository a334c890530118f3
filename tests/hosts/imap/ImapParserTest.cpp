#include "hosts/imap/ImapParser.h"
#include "hosts/imap/ImapData.h"

#include "support/TestSupport.h"

#include <QElapsedTimer>

using namespace velmora::imap;

namespace {

// Every response the bytes complete, one line each, as describe() gives it.
QStringList parseAll(QByteArrayView bytes, QString* error = nullptr) {
    ImapParser parser;
    QStringList lines;
    for (const ImapResponse& response : parser.feed(bytes))
        lines.append(response.describe());
    if (error)
        *error = parser.error();
    return lines;
}

ImapResponse parseOne(QByteArrayView bytes) {
    ImapParser parser;
    const QList<ImapResponse> responses = parser.feed(bytes);
    EXPECT_EQ(responses.size(), 1) << parser.error().toStdString();
    return responses.value(0);
}

} // namespace

// Lines as Dovecot and other servers send them, and how they are read.
TEST(ImapParser, ReadsRecordedServerLines) {
    const struct {
        const char* wire;
        const char* read;
    } cases[] = {
        {"* OK [CAPABILITY IMAP4rev1 SASL-IR LITERAL+ AUTH=PLAIN] Dovecot ready.\r\n",
         "* OK [CAPABILITY IMAP4rev1 SASL-IR LITERAL+ AUTH=PLAIN] Dovecot ready."},
        {"A1 OK [READ-WRITE] Select completed (0.001 + 0.000 secs).\r\n",
         "A1 OK [READ-WRITE] Select completed (0.001 + 0.000 secs)."},
        {"a2 no [TRYCREATE] Mailbox doesn't exist: Nope\r\n",
         "a2 NO [TRYCREATE] Mailbox doesn't exist: Nope"},
        {"* BYE Server shutting down.\r\n", "* BYE Server shutting down."},
        {"+ idling\r\n", "+ idling"},
        {"+\r\n", "+ "},
        {"* 23 EXISTS\r\n", "* 23 EXISTS"},
        {"* 4 EXPUNGE\r\n", "* 4 EXPUNGE"},
        {"* FLAGS (\\Answered \\Flagged \\Deleted \\Seen \\Draft $Junk)\r\n",
         "* FLAGS (\\Answered \\Flagged \\Deleted \\Seen \\Draft $Junk)"},
        {"* OK [PERMANENTFLAGS (\\Deleted \\Seen \\*)] Flags permitted.\r\n",
         "* OK [PERMANENTFLAGS (\\Deleted \\Seen \\*)] Flags permitted."},
        {"* LIST (\\HasNoChildren \\Junk) \".\" Junk\r\n",
         "* LIST (\\HasNoChildren \\Junk) \".\" Junk"},
        {"* LIST (\\Noselect) NIL \"\"\r\n", "* LIST (\\Noselect) NIL \"\""},
        {"* LIST () \"/\" {8}\r\nEntw\"rfe\r\n", "* LIST () \"/\" \"Entw\\\"rfe\""},
        {"* STATUS \"Sent Items\" (MESSAGES 2 UIDNEXT 3)\r\n",
         "* STATUS \"Sent Items\" (MESSAGES 2 UIDNEXT 3)"},
        {"* 1 FETCH (UID 7 FLAGS (\\Seen) INTERNALDATE \" 5-Jan-2024 09:03:01 +0100\")\r\n",
         "* 1 FETCH (UID 7 FLAGS (\\Seen) INTERNALDATE \" 5-Jan-2024 09:03:01 +0100\")"},
        {"* 2 FETCH (BODY[HEADER.FIELDS (MESSAGE-ID)] {21}\r\nMessage-ID: <a@b>\r\n\r\n UID 9)\r\n",
         "* 2 FETCH (BODY[HEADER.FIELDS (MESSAGE-ID)] \"Message-ID: <a@b>\\r\\n\\r\\n\" UID 9)"},
        {"* 3 FETCH (BODY[]<0> {3+}\r\nabc BINARY[] ~{2}\r\n\x01\x02)\r\n",
         "* 3 FETCH (BODY[]<0> \"abc\" BINARY[] \"\x01\x02\")"},
        {"* VANISHED (EARLIER) 41,43:116,118\r\n", "* VANISHED (EARLIER) 41,43:116,118"},
        {"* ESEARCH (TAG \"A5\") UID ALL 3:9,12\r\n", "* ESEARCH (TAG \"A5\") UID ALL 3:9,12"},
        {"* SEARCH\r\n", "* SEARCH"},
        {"* ENABLED QRESYNC CONDSTORE\r\n", "* ENABLED QRESYNC CONDSTORE"},
        {"* OK [CLOSED] Previous mailbox closed.\r\n", "* OK [CLOSED] Previous mailbox closed."},
        {"* OK [NOMODSEQ] No permanent modsequences\r\n",
         "* OK [NOMODSEQ] No permanent modsequences"},
        {"* NO [ALERT] Quota at 95%\r\n", "* NO [ALERT] Quota at 95%"},
        {"A7 OK [COPYUID 1711 3:4 20,22] Moved UIDs.\r\n",
         "A7 OK [COPYUID 1711 3:4 20,22] Moved UIDs."},
        // Status text is text: a trailing {5} announces nothing.
        {"A8 NO Message too large {5}\r\n", "A8 NO Message too large {5}"},
        {"* OK Still here {5}\r\n", "* OK Still here {5}"},
        {"+ Ready for literal data {5}\r\n", "+ Ready for literal data {5}"},
        // A bare LF is taken as a line end, as some servers send it.
        {"* 1 EXISTS\n", "* 1 EXISTS"},
    };
    for (const auto& c : cases) {
        QString error;
        EXPECT_EQ(parseAll(c.wire, &error), QStringList{QString::fromUtf8(c.read)})
            << c.wire << " -> " << error.toStdString();
    }
    // Several responses in one chunk, the status with {5} not swallowing the next.
    EXPECT_EQ(parseAll("A8 NO Too large {5}\r\n* 2 EXISTS\r\n* 1 RECENT\r\n"),
              (QStringList{QStringLiteral("A8 NO Too large {5}"), QStringLiteral("* 2 EXISTS"),
                           QStringLiteral("* 1 RECENT")}));
}

// The network may cut a response anywhere, inside a literal's announcement,
// between its CR and LF, or inside its bytes: the result is the same.
TEST(ImapParser, ResponsesSplitAtEveryByteReadTheSame) {
    const QByteArray wire = "* 12 FETCH (UID 40 RFC822.SIZE 43 FLAGS (\\Seen $Junk) BODY[] {43}\r\n"
                            "Subject: hi\r\nMessage-ID: <x@y>\r\n\r\n{5}\r\nbody MODSEQ (77))\r\n"
                            "A3 NO Too big {5}\r\n"
                            "* 2 FETCH (BODY[HEADER.FIELDS (MESSAGE-ID)] {0}\r\n UID 3)\r\n";
    const QStringList whole = parseAll(wire);
    ASSERT_EQ(whole.size(), 3);
    for (qsizetype cut = 1; cut < wire.size(); ++cut) {
        ImapParser parser;
        QStringList lines;
        for (const ImapResponse& r : parser.feed(QByteArrayView(wire).first(cut)))
            lines.append(r.describe());
        for (const ImapResponse& r : parser.feed(QByteArrayView(wire).sliced(cut)))
            lines.append(r.describe());
        ASSERT_EQ(lines, whole) << "cut at " << cut;
    }
    ImapParser byteByByte;
    QStringList lines;
    for (const char c : wire)
        for (const ImapResponse& r : byteByByte.feed(QByteArrayView(&c, 1)))
            lines.append(r.describe());
    EXPECT_EQ(lines, whole);

    const auto message = readFetch(parseOne(wire.left(wire.indexOf("A3"))));
    ASSERT_TRUE(message);
    EXPECT_EQ(message->body, QByteArray("Subject: hi\r\nMessage-ID: <x@y>\r\n\r\n{5}\r\nbody"));
    EXPECT_EQ(message->modSeq, 77u);
}

// A server sending garbage ends in an error naming the line, never a crash,
// a hang, or a guess.
TEST(ImapParser, GarbageIsAnErrorNamingTheLine) {
    const struct {
        QByteArray wire;
        const char* reason;
        const char* shown;
    } cases[] = {
        {"hello world\r\n", "OK, NO or BAD expected after the tag", "hello world"},
        {"A1 FETCH (UID 1)\r\n", "OK, NO or BAD expected", "A1 FETCH (UID 1)"},
        {"* 1 FETCH (UID 1\r\n", "a list without its closing )", "* 1 FETCH (UID 1"},
        {"* 1 FETCH (UID 1))\r\n", "a ) that closes nothing", "* 1 FETCH (UID 1))"},
        {"* LIST () \"/ INBOX\r\n", "a quoted string without its closing quote",
         "* LIST () \"/ INBOX"},
        {QByteArray("* 1 FETCH (X \x01\x02)\r\n"), "a control character 0x01",
         "* 1 FETCH (X \\x01\\x02)"},
        {" * OK\r\n", "a response must begin with a tag", " * OK"},
        {"*\r\n", "a space expected after the tag", "*"},
        {"* OK [ALERT no end\r\n", "a response code without its closing ]", "* OK [ALERT no end"},
        {"* 99999999999 EXISTS\r\n", "a message number that is not a number",
         "* 99999999999 EXISTS"},
        {"* 1 FETCH (BODY[] {999999999999}\r\n", "a literal of 999999999999 bytes",
         "* 1 FETCH (BODY[] {999999999999}"},
        {"A1 BYE now\r\n", "a tagged BYE", "A1 BYE now"},
        {QByteArray(200, '(') + "\r\n", "a response must begin", "((((("},
        {"* X " + QByteArray(100, '(') + "\r\n", "lists nested too deep", "* X (((("},
    };
    for (const auto& c : cases) {
        ImapParser parser;
        EXPECT_TRUE(parser.feed(c.wire).isEmpty()) << c.wire.constData();
        ASSERT_TRUE(parser.failed()) << c.wire.constData();
        EXPECT_TRUE(parser.error().contains(QString::fromUtf8(c.reason)))
            << parser.error().toStdString();
        EXPECT_TRUE(parser.error().contains(QStringLiteral("in: ") + QString::fromUtf8(c.shown)))
            << parser.error().toStdString();
        // Once failed, the parser stays failed and reads nothing more.
        EXPECT_TRUE(parser.feed("* 1 EXISTS\r\n").isEmpty());
    }
    // A line that never ends is cut off rather than buffered for ever.
    ImapParser endless;
    const QByteArray chunk(64 * 1024, 'x');
    for (int i = 0; i < 20 && !endless.failed(); ++i)
        endless.feed(chunk);
    EXPECT_TRUE(endless.error().contains(QStringLiteral("a line longer than")))
        << endless.error().toStdString();
}

// A 50 MB message arrives in 16 kB pieces and is read whole, in one pass.
TEST(ImapParser, ReadsALargeMessageInSmallChunks) {
    const qsizetype size = 50 * 1024 * 1024;
    QByteArray message(size, 'a');
    for (qsizetype i = 76; i < size; i += 78) {
        message[i] = '\r';
        message[i + 1] = '\n';
    }
    const QByteArray wire = "* 1 FETCH (UID 5 BODY[] {" + QByteArray::number(size) + "}\r\n" +
                            message + ")\r\nA4 OK Fetch completed.\r\n";
    ImapParser parser;
    QList<ImapResponse> responses;
    QElapsedTimer timer;
    timer.start();
    for (qsizetype at = 0; at < wire.size(); at += 16 * 1024)
        responses += parser.feed(
            QByteArrayView(wire).sliced(at, qMin<qsizetype>(16 * 1024, wire.size() - at)));
    ASSERT_EQ(responses.size(), 2) << parser.error().toStdString();
    const auto fetched = readFetch(responses[0]);
    ASSERT_TRUE(fetched);
    EXPECT_EQ(fetched->uid, 5u);
    EXPECT_TRUE(fetched->body == message);
    EXPECT_LT(timer.elapsed(), 20'000); // linear: a rescan per chunk would take minutes
}

// What the host reads from responses, typed.
TEST(ImapParser, TypedReadersTakeWhatTheHostNeeds) {
    const auto list = readList(
        parseOne("* LIST (\\HasNoChildren \\Sent) \".\" \"INBOX.Gesendete &- Entw&APw-rfe\"\r\n"));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->name, QStringLiteral("INBOX.Gesendete & Entwürfe"));
    EXPECT_EQ(list->leafName(), QStringLiteral("Gesendete & Entwürfe"));
    EXPECT_EQ(list->delimiter, QLatin1Char('.'));
    EXPECT_TRUE(list->has("\\sent"));
    EXPECT_TRUE(list->selectable());
    EXPECT_EQ(readList(parseOne("* LIST (\\Noselect) NIL inbox\r\n"))->name,
              QStringLiteral("INBOX"));
    EXPECT_FALSE(readList(parseOne("* LIST (\\Noselect) NIL inbox\r\n"))->selectable());

    const auto status = readStatus(parseOne("* STATUS Junk (MESSAGES 3 UIDNEXT 9 UIDVALIDITY 1711 "
                                            "UNSEEN 1 HIGHESTMODSEQ 123456789012)\r\n"));
    ASSERT_TRUE(status);
    EXPECT_EQ(status->mailbox, QStringLiteral("Junk"));
    EXPECT_EQ(status->messages, 3u);
    EXPECT_EQ(status->uidNext, 9u);
    EXPECT_EQ(status->uidValidity, 1711u);
    EXPECT_EQ(status->unseen, 1u);
    EXPECT_EQ(status->highestModSeq, 123456789012u);

    const auto fetch = readFetch(parseOne(
        "* 4 FETCH (UID 12 FLAGS (\\Seen $NotJunk) RFC822.SIZE 2310 INTERNALDATE "
        "\"17-Jul-1996 02:44:25 -0700\" MODSEQ (65402) BODY[HEADER.FIELDS (MESSAGE-ID)] {32}\r\n"
        "Message-ID:\r\n <long@example>\r\n\r\n)\r\n"));
    ASSERT_TRUE(fetch);
    EXPECT_EQ(fetch->sequence, 4u);
    EXPECT_EQ(fetch->uid, 12u);
    EXPECT_TRUE(fetch->hasFlag("$notjunk"));
    EXPECT_FALSE(fetch->hasFlag("\\Deleted"));
    EXPECT_EQ(fetch->size, 2310);
    EXPECT_EQ(fetch->modSeq, 65402u);
    EXPECT_EQ(fetch->internalDate.toUTC(),
              QDateTime(QDate(1996, 7, 17), QTime(9, 44, 25), Qt::UTC));
    EXPECT_EQ(fetch->internalDate.offsetFromUtc(), -7 * 3600);
    EXPECT_EQ(messageIdOf(*fetch->headerFields), QStringLiteral("<long@example>"));
    EXPECT_FALSE(fetch->body);
    EXPECT_EQ(writeInternalDate(fetch->internalDate), QByteArray("17-Jul-1996 02:44:25 -0700"));
    EXPECT_EQ(readInternalDate(" 5-Jan-2024 09:03:01 +0100").offsetFromUtc(), 3600);
    EXPECT_FALSE(readInternalDate("5 January 2024").isValid());

    const auto earlier = readVanished(parseOne("* VANISHED (EARLIER) 41,43:45,118\r\n"));
    ASSERT_TRUE(earlier);
    EXPECT_TRUE(earlier->earlier);
    EXPECT_EQ(earlier->uids.toList(), (QList<quint32>{41, 43, 44, 45, 118}));
    const auto now = readVanished(parseOne("* VANISHED 7\r\n"));
    ASSERT_TRUE(now);
    EXPECT_FALSE(now->earlier);
    EXPECT_EQ(now->uids.toImap(), QByteArray("7"));
    EXPECT_FALSE(readVanished(parseOne("* VANISHED (LATER) 7\r\n")));

    EXPECT_EQ(readSearch(parseOne("* SEARCH 5 3 4 9\r\n"))->toImap(), QByteArray("3:5,9"));
    EXPECT_EQ(readSearch(parseOne("* ESEARCH (TAG \"V4\") UID ALL 3:5,9\r\n"))->toImap(),
              QByteArray("3:5,9"));
    EXPECT_TRUE(readSearch(parseOne("* ESEARCH (TAG \"V4\") UID\r\n"))->isEmpty());

    const auto append =
        readAppendUid(parseOne("V3 OK [APPENDUID 1711 25] Append completed.\r\n").code);
    ASSERT_TRUE(append);
    EXPECT_EQ(append->uidValidity, 1711u);
    EXPECT_EQ(append->uid, 25u);
    const auto copy = readCopyUid(parseOne("* OK [COPYUID 1711 5,3:4 20:22] Moved UIDs.\r\n").code);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->moved, (QList<std::pair<quint32, quint32>>{{5, 20}, {3, 21}, {4, 22}}));
    EXPECT_FALSE(readCopyUid(parseOne("* OK [COPYUID 1711 3:5 20] x\r\n").code));

    EXPECT_EQ(readCapabilities(parseOne("* CAPABILITY IMAP4rev1 literal+ IDLE\r\n")),
              (QSet<QByteArray>{"IMAP4REV1", "LITERAL+", "IDLE"}));
    EXPECT_EQ(parseOne("* OK [HIGHESTMODSEQ 715194045007] Highest\r\n").code.number(),
              715194045007u);
}
