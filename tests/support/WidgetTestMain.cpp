#include <QApplication>
#include <gtest/gtest.h>

// Screen tests need a widget application. They never need a display: without a platform given,
// they draw offscreen (test discovery at build time runs the binary without the ctest setting).
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
