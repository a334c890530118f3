#include "app/TerminalQuestions.h"

#include "hosts/maildir/MaildirFixture.h"

#include <QTimer>

#include <cstring>

#include <unistd.h>

using namespace velmora;
using namespace velmora::test;

namespace {

// Standard input replaced by a pipe the test writes into, for as long as it lives.
struct TypedInput {
    TypedInput() {
        int ends[2];
        if (::pipe(ends) != 0)
            ADD_FAILURE() << "no pipe";
        saved = ::dup(STDIN_FILENO);
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        writer = ends[1];
    }
    ~TypedInput() {
        ::close(writer);
        ::dup2(saved, STDIN_FILENO);
        ::close(saved);
    }
    void type(const char* text) const {
        [[maybe_unused]] const ssize_t n = ::write(writer, text, std::strlen(text));
    }
    int saved = -1;
    int writer = -1;
};

} // namespace

TEST(TerminalQuestions, TheEventLoopGoesOnWhileTheAnswerIsTyped) {
    TypedInput input;
    FilterFlags flags;
    HeadlessPromptAnswerer answerer(HeadlessPromptAnswerer::Answer::Close);
    answerer.answerInto(flags);
    QString asked;
    QTextStream err(&asked);
    TerminalQuestions questions(answerer, err);

    answerer.showDatabasePrompt();
    EXPECT_TRUE(asked.contains(QStringLiteral("Build it now")));
    // Other work runs while nothing is typed.
    bool otherWork = false;
    QTimer::singleShot(20, [&] { otherWork = true; });
    ASSERT_TRUE(waitUntil([&] { return otherWork; }));
    EXPECT_EQ(flags.PromptAccepted, kFalse);
    EXPECT_EQ(flags.PromptClosed, kFalse);

    input.type("y");
    input.type("es\n");
    ASSERT_TRUE(waitUntil([&] { return flags.PromptAccepted == kTrue; }));

    flags = {};
    answerer.showAddressConflict(QStringLiteral("pal@club.example"));
    EXPECT_TRUE(asked.contains(QStringLiteral("pal@club.example")));
    input.type("no\n");
    ASSERT_TRUE(waitUntil([&] { return flags.PromptClosed == kTrue; }));
    EXPECT_EQ(flags.PromptAccepted, kFalse);
}
