// qttestmain.cpp: the main of the Qt wrapper tests: a QApplication before any test, an object map for symbolic
// names (as the tool has one), the wrapper installed.
#include <objectmap.h>
#include <qtwrapper.h>

#include <QApplication>

#include <gtest/gtest.h>

// Sanitizer builds: Qt's own leaks are suppressed by the file beside this test, also when the test list is
// taken at build time, outside ctest's environment. Qt is built without frame pointers; only the slow
// unwinder gets through its frames to the plugin that made the allocation.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_options()
{
    return "print_suppressions=0:suppressions=" VEXIL_QT_LSAN_SUPPRESSIONS;
}

extern "C" __attribute__((visibility("default"))) const char *__asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

int main(int argc, char **argv)
{
    // Tests run without a display; a developer may still choose another platform.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    Vexil::ObjectMap map;
    if (!Vexil::QtWrapper::install())
        return 1;
    return RUN_ALL_TESTS();
}
