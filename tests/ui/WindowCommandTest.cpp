#include "app/CommandLine.h"

#include "support/TestSupport.h"
#include "ui/ToolBox.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

using namespace velmora;

TEST(WindowCommand, OpensTheToolWindowOnTheDemoMailAndEndsWhenItCloses) {
    test::RecordingSink sink;
    test::TempFolder root;
    QString out, err;
    QTextStream outStream(&out), errStream(&err);
    QString counter;
    QTimer::singleShot(0, [&] {
        for (QWidget* toolBox : QApplication::topLevelWidgets()) {
            if (toolBox->objectName() == QStringLiteral("ToolBox") && toolBox->isVisible()) {
                toolBox->findChild<QPushButton*>(QStringLiteral("Button4"))->click();
                counter = toolBox->findChild<QLabel*>(QStringLiteral("Label5"))->text();
                toolBox->close();
            }
        }
    });
    const int code =
        runCommandLine({QStringLiteral("window"), QStringLiteral("--work-root"), root.path()},
                       outStream, errStream);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(counter, QStringLiteral("Done")); // the database was built
    EXPECT_TRUE(out.contains(QStringLiteral("tool window is open")));
    EXPECT_TRUE(QFile::exists(root.file(QStringLiteral("CORVANELSPAM/spamdata/txtdata.dat"))));
}
