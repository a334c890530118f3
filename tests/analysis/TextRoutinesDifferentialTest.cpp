// The tuned text routines against their straightforward versions, on many
// random texts built from the pieces the rules react to, and on real mail.
#include "analysis/ReferenceRoutines.h"
#include "analysis/TextFeatures.h"
#include "analysis/TextNormalisation.h"

#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>

#include <random>

using namespace velmora;

namespace {

const QStringList kTextPieces = {
    QStringLiteral("\r\n"),
    QStringLiteral("\r"),
    QStringLiteral("\n"),
    QStringLiteral(" "),
    QStringLiteral("  "),
    QStringLiteral("http://"),
    QStringLiteral("www."),
    QStringLiteral("www.w3.org"),
    QStringLiteral("HTTP://Shop.Example/a?b=c&d"),
    QStringLiteral("@"),
    QStringLiteral("mailto:"),
    QStringLiteral("mail:"),
    QStringLiteral("mail="),
    QStringLiteral("\""),
    QStringLiteral(","),
    QStringLiteral("<"),
    QStringLiteral(">"),
    QStringLiteral("'"),
    QStringLiteral(":"),
    QStringLiteral("&"),
    QStringLiteral("?"),
    QStringLiteral("!"),
    QStringLiteral("]"),
    QStringLiteral("\\n"),
    QStringLiteral("<br>"),
    QStringLiteral("Dear"),
    QStringLiteral("PILLS"),
    QStringLiteral("offer"),
    QStringLiteral("user@Example.com"),
    QStringLiteral("x.y"),
    QStringLiteral("\u00c9t\u00e9"),
    QStringLiteral("\u00df"),
    QStringLiteral("\u0130\u0131"),
    QStringLiteral("\u2126"),
    QStringLiteral("\U0001F600"),
    QStringLiteral("\t"),
    QStringLiteral("mdhgp"),
    QStringLiteral("UPPER CASE"),
    QStringLiteral("0123456789"),
};

QString randomText(std::mt19937& random, const QStringList& pieces, int maxPieces) {
    std::uniform_int_distribution<int> count(0, maxPieces);
    std::uniform_int_distribution<qsizetype> pick(0, pieces.size() - 1);
    QString text;
    for (int n = count(random); n > 0; --n)
        text += pieces[pick(random)];
    return text;
}

void expectSameAnalysis(const QString& input) {
    QString expectedText = input;
    QString actualText = input;
    const TxtRec expected = reference::AnalyseText(expectedText);
    const TxtRec actual = AnalyseText(actualText);
    ASSERT_EQ(actualText, expectedText) << "input: " << input.toStdString();
    ASSERT_EQ(actual, expected) << "input: " << input.toStdString();
}

QStringList demoMailTexts() {
    QStringList texts;
    const QDir demo(QStringLiteral(VELMORA_SOURCE_DIR "/demo"));
    for (const QString& folder : {QStringLiteral("incoming"), QStringLiteral("learn/good"),
                                  QStringLiteral("learn/spam"), QStringLiteral("sent")}) {
        const QDir dir(demo.filePath(folder));
        for (const QString& name : dir.entryList(QDir::Files)) {
            QFile file(dir.filePath(name));
            if (file.open(QIODevice::ReadOnly))
                texts.append(QString::fromUtf8(file.readAll()));
        }
    }
    return texts;
}

// Counts the host's turns: an event that posts itself again each time it is
// delivered, once per turn.
class YieldCounter : public QObject {
public:
    YieldCounter() { post(); }
    ~YieldCounter() override { QCoreApplication::removePostedEvents(this); }
    int turns = 0;

protected:
    void customEvent(QEvent*) override {
        ++turns;
        post();
    }

private:
    void post() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }
};

template <typename Routine>
int turnsTaken(Routine routine) {
    YieldCounter counter;
    routine();
    return counter.turns;
}

} // namespace

// The host gets a turn at the same places: once a line, none for no text.
TEST(TextRoutinesDifferential, ToLowerYieldsOnceALine) {
    EXPECT_EQ(turnsTaken([] { ToLower(QString()); }), 0);
    EXPECT_EQ(turnsTaken([] { ToLower(QStringLiteral("one")); }), 1);
    EXPECT_EQ(turnsTaken([] { ToLower(QStringLiteral("one\r\ntwo\r\n")); }), 3);
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        const QString input = randomText(random, kTextPieces, 30);
        ASSERT_EQ(turnsTaken([&] { ToLower(input); }),
                  turnsTaken([&] { reference::ToLower(input); }))
            << "input: " << input.toStdString();
    }
}

TEST(TextRoutinesDifferential, ToLowerAndAnalyseTextAgreeOnRandomAndRealText) {
    std::mt19937 random(20261123);
    for (int round = 0; round < 20000; ++round) {
        const QString input = randomText(random, kTextPieces, 40);
        ASSERT_EQ(ToLower(input), reference::ToLower(input)) << "input: " << input.toStdString();
        // Already lower-cased text, as learning hands it over, takes the
        // routine's short way; it must give the same.
        const QString lowered = reference::ToLower(input);
        ASSERT_EQ(ToLower(lowered), reference::ToLower(lowered));
        expectSameAnalysis(input);
        expectSameAnalysis(lowered);
    }
    const QStringList mails = demoMailTexts();
    ASSERT_FALSE(mails.isEmpty());
    for (const QString& mail : mails) {
        QString withCrLf = mail;
        withCrLf.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
        expectSameAnalysis(mail);
        expectSameAnalysis(withCrLf);
    }
}

TEST(TextRoutinesDifferential, TooManyLinesFailsTheSameWay) {
    QString longText;
    for (int i = 0; i < 32768; ++i)
        longText += QStringLiteral("Line\r\n");
    test::RecordingSink expectedMessages;
    QString expectedText = longText;
    const TxtRec expected = reference::AnalyseText(expectedText);
    const QStringList referenceMessages = expectedMessages.messages;
    expectedMessages.messages.clear();
    QString actualText = longText;
    const TxtRec actual = AnalyseText(actualText);
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(actualText, expectedText);
    EXPECT_EQ(expectedMessages.messages, referenceMessages);
    EXPECT_EQ(referenceMessages, QStringList{QStringLiteral("TXT Analysing: Overflow")});
}
