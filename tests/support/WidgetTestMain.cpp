#include <QApplication>

#include <gtest/gtest.h>

// Window tests run a real widget application; CTest sets the offscreen
// platform unless a display is asked for.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
