// One Qt application object for every test binary: widget tests need QApplication,
// the rest a core application with an event loop.

#include <gtest/gtest.h>

#ifdef CORVANE_TESTS_WITH_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char **argv)
{
    // ctest lists the cases by running the binary before any test environment applies, and a
    // plain `ctest` has no display: tests never need one.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
