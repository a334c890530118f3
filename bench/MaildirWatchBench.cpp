// Mail delivered into a watched Maildir, timed until every message has been
// judged (and spam moved), beside the same messages judged by `classify`.
#include "SampleTables.h"

#include "addin/HeadlessAddinWindows.h"
#include "app/CommandLine.h"
#include "app/WatchSession.h"
#include "settings/Thresholds.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>

namespace {

using namespace velmora;

constexpr int kMessages = 1000;

// Peak resident memory of the process so far, in MB.
double peakMegabytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return 0;
}

QByteArray message(int i) {
    QByteArray body;
    for (int line = 0; line < 20; ++line)
        body += "Line " + QByteArray::number(line) + " of message " + QByteArray::number(i) +
                ": the quarterly figures look fine, see you soon\r\n";
    return "From: sender" + QByteArray::number(i % 97) +
           "@example.org\r\nTo: me@home.example\r\n"
           "Subject: Figures " +
           QByteArray::number(i) + "\r\nMessage-ID: <" + QByteArray::number(i) + "@bench>\r\n\r\n" +
           body;
}

// A user's data folder with a 3,000-record text table and a picture table.
void writeDatabase(const QString& home) {
    SpamData data{DataFolder(home + QStringLiteral("/data/CORVANELSPAM"))};
    QDir().mkpath(data.folder.dataFolder());
    data.TxtTable = bench::sampleTxtTable(3000);
    data.PicTable = bench::samplePicTable(100);
    data.TrustedList.append(QStringLiteral("friend@trusted.example"));
    data.TrustedList.append(QStringLiteral("other@trusted.example"));
    WriteTxtTable(data);
    WritePicTable(data);
    WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    SettingsStore settings(home + QStringLiteral("/config/velmora.ini"));
    writeDefaultSettings(settings);
}

void makeMaildir(const QString& root) {
    for (const char* sub : {"cur", "new", "tmp"})
        QDir().mkpath(root + QLatin1Char('/') + QLatin1String(sub));
}

void BM_WatchedMaildirJudgesDeliveredMail(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir home;
        writeDatabase(home.path());
        const QString root = home.path() + QStringLiteral("/Maildir");
        makeMaildir(root);
        SettingsStore settings(home.path() + QStringLiteral("/config/velmora.ini"));
        HeadlessAddinWindows windows{HeadlessPromptAnswerer::Answer::Close};
        Connect connect(DataFolder(home.path() + QStringLiteral("/data/CORVANELSPAM")), settings,
                        windows);
        auto app = std::make_shared<maildir::MaildirApplication>(root);
        QString log;
        QTextStream logStream(&log);
        WatchSession watch(connect, app, logStream, false);
        int judged = 0;
        const Subscription counting = app->NewMailEx.subscribe(
            [&](const QString& ids) { judged += int(ids.count(u',')) + 1; });
        state.ResumeTiming();

        // As a delivery agent delivers: written in tmp/, renamed into new/.
        for (int i = 0; i < kMessages; ++i) {
            const QByteArray raw = message(i);
            const QString name = QStringLiteral("%1.bench%2").arg(1700000000 + i).arg(i);
            QFile file(root + QStringLiteral("/tmp/") + name);
            file.open(QIODevice::WriteOnly);
            file.write(raw);
            file.close();
            QFile::rename(file.fileName(), root + QStringLiteral("/new/") + name);
            if (i % 50 == 0)
                QCoreApplication::processEvents();
        }
        while (judged < kMessages) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::usleep(200);
        }
    }
    state.counters["messages/s"] =
        benchmark::Counter(double(state.iterations()) * kMessages, benchmark::Counter::kIsRate);
    state.counters["peak MB"] = peakMegabytes();
}
BENCHMARK(BM_WatchedMaildirJudgesDeliveredMail)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->UseRealTime();

void BM_ClassifyCommandOnTheSameMail(benchmark::State& state) {
    QTemporaryDir home;
    writeDatabase(home.path());
    QStringList arguments{QStringLiteral("classify")};
    for (int i = 0; i < kMessages; ++i) {
        const QString path = home.path() + QStringLiteral("/m%1.eml").arg(i);
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(message(i));
        arguments.append(path);
    }
    qputenv("XDG_DATA_HOME", (home.path() + QStringLiteral("/data")).toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + QStringLiteral("/config")).toUtf8());
    for (auto _ : state) {
        QString out;
        QString err;
        QTextStream outStream(&out);
        QTextStream errStream(&err);
        runCommandLine(arguments, outStream, errStream);
    }
    qunsetenv("XDG_DATA_HOME");
    qunsetenv("XDG_CONFIG_HOME");
    state.counters["messages/s"] =
        benchmark::Counter(double(state.iterations()) * kMessages, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ClassifyCommandOnTheSameMail)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->UseRealTime();

} // namespace
