#include "FuzzSupport.h"

#include "base/MessageSink.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace velmora::fuzz {
namespace {

class RecordingSink final : public MessageSink {
public:
    void showMessage(const QString& text, const QString&) override { messages.append(text); }

    QStringList messages;
};

struct Process {
    QTemporaryDir scratch;
    RecordingSink sink;
    std::unique_ptr<QCoreApplication> app;

    Process() {
        if (!scratch.isValid())
            fail("cannot create the scratch folder", scratch.errorString());
        // Before the application object exists, so that Qt sees them too.
        qputenv("XDG_DATA_HOME", QFile::encodeName(scratch.filePath(QStringLiteral("data"))));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratch.filePath(QStringLiteral("config"))));
        static int argc = 1;
        static char name[] = "velmora-fuzz";
        static char* argv[] = {name, nullptr};
        app = std::make_unique<QCoreApplication>(argc, argv);
        setMessageSink(&sink);
    }
};

Process& process() {
    static Process p;
    return p;
}

} // namespace

void setUp() {
    process().sink.messages.clear();
}

QStringList takeMessages() {
    return std::exchange(process().sink.messages, {});
}

QString freshFolder(const QString& name) {
    const QString path = process().scratch.filePath(name);
    QDir dir(path);
    if ((dir.exists() && !dir.removeRecursively()) || !QDir().mkpath(path))
        fail("cannot empty a scratch folder", path);
    return path + QLatin1Char('/');
}

void writeFile(const QString& path, QByteArrayView bytes) {
    QDir().mkpath(path.left(path.lastIndexOf(QLatin1Char('/'))));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes.data(), bytes.size()) != bytes.size() || !file.flush())
        fail("cannot write an input file", path + QStringLiteral(": ") + file.errorString());
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void fail(const char* what, const QString& detail) {
    std::fprintf(stderr, "\n==velmora-fuzz== %s%s%s\n", what, detail.isEmpty() ? "" : ": ",
                 detail.toUtf8().constData());
    std::abort();
}

} // namespace velmora::fuzz
