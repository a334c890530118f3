#include "analysis/PromptWait.h"

#include <QTimer>

#include <gtest/gtest.h>

using namespace velmora;

TEST(PromptWait, ASecondOpenerWhileWaitingSharesTheOneAnswer) {
    FilterFlags flags;
    HeadlessPromptAnswerer prompts(HeadlessPromptAnswerer::Answer::Never);
    prompts.answerInto(flags);
    bool innerAccepted = false;
    // While the first prompt waits, another mail event opens it again; the
    // user's single click then ends the inner wait, and the outer one with it.
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] { flags.PromptAccepted = kTrue; });
        innerAccepted = askToBuildDatabase(flags, prompts);
    });
    const bool outerAccepted = askToBuildDatabase(flags, prompts);
    EXPECT_TRUE(innerAccepted);
    EXPECT_TRUE(outerAccepted);
    EXPECT_EQ(prompts.shown,
              (QStringList{QStringLiteral("database prompt"), QStringLiteral("database prompt"),
                           QStringLiteral("unload database prompt"),
                           QStringLiteral("unload database prompt")}));
}

TEST(PromptWait, BothButtonsBeforeTheWaitLooksLeaveBothAnswers) {
    FilterFlags flags;
    flags.PromptAccepted = kTrue; // an old answer is cleared first
    HeadlessPromptAnswerer prompts(HeadlessPromptAnswerer::Answer::Never);
    QTimer::singleShot(0, [&] {
        flags.PromptClosed = kTrue;
        flags.PromptAccepted = kTrue;
    });
    askAboutAddressConflict(flags, prompts, QStringLiteral("both@x.example"));
    EXPECT_EQ(flags.PromptAccepted, kTrue);
    EXPECT_EQ(flags.PromptClosed, kTrue);
    EXPECT_EQ(prompts.shown, (QStringList{QStringLiteral("conflict prompt both@x.example"),
                                          QStringLiteral("unload conflict prompt")}));
}
