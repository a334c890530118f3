#include <QCoreApplication>

#include <gtest/gtest.h>

// The routines under test yield to the event loop, so a real application
// object exists, as it does in every host.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
