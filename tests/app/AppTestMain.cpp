#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    // Widgets need an application object; the offscreen platform needs no display.
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
