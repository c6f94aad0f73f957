// The widget tests need a QApplication; they run on the offscreen platform.
#include "fonts.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    useDeterministicFonts();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
