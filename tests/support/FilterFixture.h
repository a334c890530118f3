#pragma once

#include "analysis/FilterState.h"
#include "analysis/HeadlessToolWindow.h"
#include "analysis/PromptDialogs.h"
#include "hosts/memory/MemoryApplication.h"
#include "support/TestSupport.h"

#include <QImage>

namespace velmora::test {

// Services that record what the engine asked for.
class RecordingServices final : public FilterServices {
public:
    void showToolWindow() override { calls.append(QStringLiteral("show tool window")); }
    void buildDatabase() override { calls.append(QStringLiteral("build database")); }

    QStringList calls;
};

// A running filter on an in-memory mail client, with its data folder in a
// temporary folder and a headless tool window. The tables start with one
// trusted address, one text record and one picture entry, so that nothing is
// refused for an empty table.
struct FilterFixture {
    FilterFixture();

    TempFolder root;
    std::shared_ptr<memory::MemoryApplication> app = std::make_shared<memory::MemoryApplication>();
    HeadlessToolWindow toolBox;
    RecordingServices services;
    // Declines by default; set its answer to accept.
    HeadlessPromptAnswerer prompts{HeadlessPromptAnswerer::Answer::Close};
    std::unique_ptr<FilterState> state;

    SpamData& data() { return state->data; }
};

// A plain mail message.
memory::MessageContent mail(const QString& sender, const QString& subject, const QString& body);
// The same with a picture attachment of those bytes.
memory::MessageContent pictureMail(const QString& sender, const QString& subject,
                                   const QString& fileName, const QByteArray& bytes,
                                   const QString& displayName = {});

// A picture file: `picture` saved in `format`, padded with zero bytes to
// `size` bytes when that is given (the decoders stop at the picture's end).
QByteArray pictureFile(const QImage& picture, const char* format = "PNG", qsizetype size = -1);
QImage solidPicture(int width, int height, QRgb colour);

// Lines of text ended by CR LF, as mail bodies are.
QString mailBody(const QStringList& lines);

// A short advertising mail body with a link, for examples of spam.
QString spamBody();

} // namespace velmora::test
