// Whole messages classified from the in-memory mail client against full
// tables that nothing reaches, so that every scan runs to the end.
#include "SampleTables.h"

#include "analysis/Classifier.h"
#include "analysis/HeadlessToolWindow.h"
#include "analysis/PromptDialogs.h"
#include "hosts/memory/MemoryApplication.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

using namespace velmora;

class NoServices final : public FilterServices {
public:
    void showToolWindow() override {}
    void buildDatabase() override {}
};

struct ClassifyingFilter {
    QTemporaryDir dir;
    HeadlessToolWindow toolBox;
    NoServices services;
    HeadlessPromptAnswerer prompts{HeadlessPromptAnswerer::Answer::Close};
    FilterState state{DataFolder(dir.path()), toolBox, services, prompts};
    memory::MemoryApplication app;

    ClassifyingFilter() {
        QDir().mkpath(state.data.folder.dataFolder());
        state.thresholds.LevelP = 86;
        state.thresholds.LevelT = 94;
        state.data.TrustedList.append(QStringLiteral("friend@trusted.example"));
        state.data.TxtTable = bench::sampleTxtTable(bench::kFullTable);
        state.data.PicTable = bench::samplePicTable(bench::kFullTable);
        // Sizes no drawn picture has (the box is at least 108 pixels a side),
        // so that no entry reaches the level and every scan is full.
        for (PicRec& entry : state.data.PicTable)
            entry.Size = 20;
    }
};

// About 2 KB of ordinary prose over 30 lines.
QString textBody(int variant) {
    QString body;
    for (int line = 0; line < 30; ++line)
        body += QStringLiteral(
                    "Line %1 of message %2: the quarterly figures look fine, see you soon\r\n")
                    .arg(line)
                    .arg(variant);
    return body;
}

// A JPEG of about 100 KB.
QByteArray jpegAttachment() {
    QImage picture(640, 480, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb((x * 7 + y) % 256, (x * y) % 256, (x + y * 3) % 256));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPEG", 60);
    return bytes;
}

template <typename MakeMessage>
void classifyMessages(benchmark::State& state, MakeMessage makeMessage) {
    ClassifyingFilter filter;
    QList<std::shared_ptr<memory::MemoryItem>> items;
    for (int i = 0; i < 64; ++i)
        items.append(filter.app.place(filter.app.inbox(), makeMessage(i)));
    qsizetype next = 0;
    int spam = 0;
    for (auto _ : state) {
        auto& item = items[next++ % items.size()];
        item->setSubject(QStringLiteral("Quarterly figures"));
        spam += AnalyseEmail(filter.state, *item) != kFalse;
    }
    state.counters["messages/s"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["spam"] = spam;
}

void BM_ClassifyTextMessage(benchmark::State& state) {
    classifyMessages(state, [](int i) {
        memory::MessageContent message;
        message.sender = QStringLiteral("colleague%1@work.example").arg(i);
        message.subject = QStringLiteral("Quarterly figures");
        message.body = textBody(i);
        return message;
    });
}
BENCHMARK(BM_ClassifyTextMessage)->Unit(benchmark::kMillisecond);

void BM_ClassifyPictureMessage(benchmark::State& state) {
    const QByteArray jpeg = jpegAttachment();
    classifyMessages(state, [&](int i) {
        memory::MessageContent message;
        message.sender = QStringLiteral("friend%1@photos.example").arg(i);
        message.subject = QStringLiteral("Quarterly figures");
        message.body = QStringLiteral("Holiday picture attached\r\n");
        message.attachments.append({QStringLiteral("holiday.jpg"), QString(), jpeg});
        return message;
    });
    state.counters["attachment bytes"] = double(jpeg.size());
}
BENCHMARK(BM_ClassifyPictureMessage)->Unit(benchmark::kMillisecond);

} // namespace
