#pragma once

#include "addin/Connect.h"
#include "addin/HeadlessAddinWindows.h"
#include "support/FilterFixture.h"

#include <functional>

namespace velmora::test {

// A database that exists under `workRoot`: two trusted addresses, a text and
// a picture record, and the default levels.
void writeSmallDatabase(const QString& workRoot, SettingsStore& settings);

// A mail body of a plain work mail, and one of spam.
extern const QString kSpamBody;
extern const QString kWorkBody;

// The add-in connected (by connectToHost) to an in-memory mail client, with
// headless windows whose prompts answer as given, its data and settings in a
// temporary home.
struct Addin {
    explicit Addin(HeadlessPromptAnswerer::Answer answer = HeadlessPromptAnswerer::Answer::Close)
        : windows(answer) {}

    TempFolder home;
    QString workRoot = home.file(QStringLiteral("data/CORVANELSPAM/"));
    SettingsStore settings{home.file(QStringLiteral("config/velmora.ini"))};
    std::shared_ptr<memory::MemoryApplication> app = std::make_shared<memory::MemoryApplication>();
    HeadlessAddinWindows windows;
    std::unique_ptr<Connect> connect =
        std::make_unique<Connect>(DataFolder(workRoot), settings, windows);

    SpamData& data() { return connect->state().data; }
    QString dataFile(QStringView name) { return data().folder.dataFile(name); }
    QByteArray fileBytes(QStringView name);
    void connectToHost() { connect->OnConnection(app); }

    // A database that exists (see below).
    void writeSmallDatabase() { velmora::test::writeSmallDatabase(workRoot, settings); }
};

// Runs `action` from inside the `yields`-th yield to the event loop from now
// (posted events are delivered at every yield), as a host event or a click
// that arrives while the filter works.
void afterYields(int yields, std::function<void()> action);

} // namespace velmora::test
