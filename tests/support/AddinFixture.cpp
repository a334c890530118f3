#include "support/AddinFixture.h"

#include "store/DataFileLoads.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

namespace velmora::test {

const QString kSpamBody = spamBody();
const QString kWorkBody =
    mailBody({QStringLiteral("Hi, the meeting moved to Thursday at ten."),
              QStringLiteral("Please bring the draft report."), QStringLiteral("Thanks, Anna")});

QByteArray Addin::fileBytes(QStringView name) {
    QFile file(dataFile(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeSmallDatabase(const QString& workRoot, SettingsStore& settings) {
    QDir().mkpath(DataFolder(workRoot).dataFolder());
    SpamData seed{DataFolder(workRoot)};
    seed.TrustedList.append(QStringLiteral("anna@work.example"));
    seed.TrustedList.append(QStringLiteral("tom@family.example"));
    WriteARRAY(seed.TrustedList, seed.folder.dataFile(kTrustedFile));
    TxtRec txt;
    txt.Sender = QStringLiteral("zz-seed@text.example");
    txt.Flag = kTrue;
    txt.Counts.fill(9999);
    txt.MailAddr = QStringLiteral("x@seed.example");
    txt.LinkHost = QStringLiteral("www.seed.example");
    seed.TxtTable.append(txt);
    WriteTxtTable(seed);
    PicRec pic;
    pic.Sender = QStringLiteral("zz-seed@pic.example");
    pic.Values.fill(5);
    pic.Size = 1;
    seed.PicTable.append(pic);
    WritePicTable(seed);
    settings.WriteSetting(QStringLiteral("6"), SettingLevelP);
    settings.WriteSetting(QStringLiteral("14"), SettingLevelT);
    // Written by the test, not loaded by the filter: the add-in starts with
    // no record of these files.
    dataFileLoads::clear();
}

void afterYields(int yields, std::function<void()> action) {
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [yields, action = std::move(action)]() mutable {
            if (yields <= 1)
                action();
            else
                afterYields(yields - 1, std::move(action));
        },
        Qt::QueuedConnection);
}

} // namespace velmora::test
