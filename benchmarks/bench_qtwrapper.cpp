// bench_qtwrapper.cpp: a multi-property lookup through the Qt wrapper in an application of 10,000 widgets,
// against a hand-written loop over findChildren() that compares the same properties.
#include <globalobject.h>
#include <inspector.h>
#include <qtwrapper.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>

#include <benchmark/benchmark.h>

namespace {

constexpr int Panels = 100;
constexpr int ButtonsPerPanel = 60;
constexpr int LabelsPerPanel = 39; // with the panels themselves: 10,000 widgets in the main window

const QString LookupName = QStringLiteral(
    "{type='QPushButton' text='OK' window={type='QMainWindow' name='benchWindow'}}");

struct Application
{
    QMainWindow *window = nullptr;
    QPushButton *ok = nullptr;
};

// One application for all benchmarks: the buttons differ in their texts, and the one "OK" button of the main
// window is the last widget a depth-first search reaches. Another window has an "OK" button too, which the
// window property has to rule out.
Application &application()
{
    static Application s_app;
    if (s_app.window)
        return s_app;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "bench_qtwrapper";
    static char *argv[] = { name, nullptr };
    new QApplication(argc, argv);

    auto *other = new QDialog;
    other->setObjectName(QStringLiteral("aboutDialog"));
    new QPushButton(QStringLiteral("OK"), other);

    s_app.window = new QMainWindow;
    s_app.window->setObjectName(QStringLiteral("benchWindow"));
    auto *central = new QWidget(s_app.window);
    s_app.window->setCentralWidget(central);
    int widgets = 1;
    for (int p = 0; p < Panels; ++p) {
        auto *panel = new QWidget(central);
        panel->setObjectName(QStringLiteral("panel%1").arg(p));
        ++widgets;
        for (int b = 0; b < ButtonsPerPanel; ++b, ++widgets)
            new QPushButton(QStringLiteral("Button %1.%2").arg(p).arg(b), panel);
        for (int l = 0; l < LabelsPerPanel && widgets < 10000; ++l, ++widgets)
            new QLabel(QStringLiteral("Label %1.%2").arg(p).arg(l), panel);
    }
    QWidget *lastPanel = central->findChild<QWidget *>(QStringLiteral("panel%1").arg(Panels - 1));
    s_app.ok = new QPushButton(QStringLiteral("OK"), lastPanel);
    Vexil::QtWrapper::install();
    return s_app;
}

void BM_MultiPropertyLookup(benchmark::State &state)
{
    Application &app = application();
    Vexil::Inspector *insp = Vexil::Inspector::self();
    for (auto _ : state) {
        Vexil::Object::Ptr found = insp->findObject(LookupName);
        benchmark::DoNotOptimize(found.get());
    }
    if (Vexil::QtWrapper::qobjectOf(insp->findObject(LookupName)) != app.ok)
        state.SkipWithError("the lookup found the wrong widget");
}
BENCHMARK(BM_MultiPropertyLookup)->Unit(benchmark::kMicrosecond);

void BM_HandWrittenLoop(benchmark::State &state)
{
    Application &app = application();
    const QString text = QStringLiteral("OK");
    QPushButton *found = nullptr;
    for (auto _ : state) {
        found = nullptr;
        for (QPushButton *b : app.window->findChildren<QPushButton *>()) {
            if (b->text() == text && b->window() == app.window) {
                found = b;
                break;
            }
        }
        benchmark::DoNotOptimize(found);
    }
    if (found != app.ok)
        state.SkipWithError("the loop found the wrong widget");
}
BENCHMARK(BM_HandWrittenLoop)->Unit(benchmark::kMicrosecond);

// A click as a script makes it: the global function on an object already found, through the window-system
// interface down to the button's clicked signal.
void BM_InProcessClick(benchmark::State &state)
{
    application();
    // A small window of its own: the 10,000 widgets of the lookup window would time their painting.
    QDialog dialog;
    auto *button = new QPushButton(QStringLiteral("Click"), &dialog);
    dialog.show();
    QCoreApplication::processEvents();
    Vexil::Inspector *insp = Vexil::Inspector::self();
    const Vexil::MethodList click = insp->globalClass()->methods(QStringLiteral("mouseClick"));
    const Vexil::ObjectList args { Vexil::QtWrapper::wrapQObject(button) };
    int clicks = 0;
    // Benchmark runs this function several times: the connection goes with each run.
    QObject context;
    QObject::connect(button, &QPushButton::clicked, &context, [&clicks]() { ++clicks; });
    for (auto _ : state) {
        Vexil::Object::Ptr result = click.invoke(Vexil::Object::Ptr(), args);
        benchmark::DoNotOptimize(result.get());
    }
    if (clicks != int(state.iterations()))
        state.SkipWithError(insp->lastError().toLocal8Bit().constData());
}
BENCHMARK(BM_InProcessClick)->Unit(benchmark::kMicrosecond);

} // namespace
