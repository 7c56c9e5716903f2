// bench_remote.cpp: a property read through RemoteInspector from another process, next to the same read
// in-process, the agent's bare Ping round trip (the floor: same socket, same size) and a whole step.
#include <inspector.h>
#include <primitives.h>
#include <qtwrapper.h>
#include <remoteconnection.h>
#include <remoteinspector.h>

#include "demomainwindow.h"
#include "protocol.h"

#include <QApplication>
#include <QDataStream>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

using namespace Vexil;

const QString ObjectName = QStringLiteral("{name='nameEdit'}");
const QString PropertyName = QStringLiteral("text");

struct Setup
{
    std::unique_ptr<Remote::Application> app;
    std::unique_ptr<Remote::RemoteInspector> remote;
    Object::Ptr remoteEdit;
    Object::Ptr localEdit;
    QString error;
};

// One demo in this process (Qt wrapper installed) and one under the agent. The RemoteInspector is used
// directly rather than installed, so the in-process read keeps the local tables; the remote read takes the
// same path either way.
Setup &setup()
{
    static Setup s;
    if (s.app || !s.error.isEmpty())
        return s;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "bench_remote";
    static char *argv[] = { name, nullptr };
    new QApplication(argc, argv);
    VexilDemo::DemoMainWindow *window = VexilDemo::createMainWindow();
    window->show();
    QtWrapper::install();
    s.localEdit = Inspector::self()->findObject(ObjectName);

    s.app = Remote::Application::launch({ QStringLiteral(VEXIL_DEMO_PATH) }, Remote::Application::Options(),
                                        &s.error);
    if (!s.app)
        return s;
    s.remote.reset(new Remote::RemoteInspector(s.app->connection()));
    s.remoteEdit = s.remote->findObject(ObjectName);
    if (!s.remoteEdit)
        s.error = s.remote->lastError();
    return s;
}

void readText(benchmark::State &state, const Object::Ptr &edit)
{
    for (auto _ : state) {
        const Property *p = edit->objectClass()->property(PropertyName);
        Object::Ptr value = p ? p->get(edit) : Object::Ptr();
        if (!value) {
            state.SkipWithError("the property read failed");
            break;
        }
        benchmark::DoNotOptimize(value.get());
    }
}

void BM_RemotePropertyRead(benchmark::State &state)
{
    Setup &s = setup();
    if (!s.remoteEdit) {
        state.SkipWithError(s.error.toUtf8().constData());
        return;
    }
    readText(state, s.remoteEdit);
}
BENCHMARK(BM_RemotePropertyRead)->Unit(benchmark::kMicrosecond);

void BM_InProcessPropertyRead(benchmark::State &state)
{
    Setup &s = setup();
    if (!s.localEdit) {
        state.SkipWithError("the demo's edit was not found in-process");
        return;
    }
    readText(state, s.localEdit);
}
BENCHMARK(BM_InProcessPropertyRead)->Unit(benchmark::kMicrosecond);

// The same socket and the agent's dispatch, with a body as long as the property read's (handle and name).
void BM_SocketPingPong(benchmark::State &state)
{
    Setup &s = setup();
    if (!s.app) {
        state.SkipWithError(s.error.toUtf8().constData());
        return;
    }
    QByteArray body;
    {
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        out << QByteArray(8 + 2 * PropertyName.size(), 'x');
    }
    QByteArray answer;
    Remote::Error error;
    for (auto _ : state) {
        if (!s.app->connection().request(Protocol::Ping, body, &answer, &error, 10000)) {
            state.SkipWithError(error.text.toUtf8().constData());
            break;
        }
    }
}
BENCHMARK(BM_SocketPingPong)->Unit(benchmark::kMicrosecond);

// Locate by a multi-property name, click, read a property: one Step request.
void BM_RemoteStep(benchmark::State &state)
{
    Setup &s = setup();
    if (!s.remote) {
        state.SkipWithError(s.error.toUtf8().constData());
        return;
    }
    Remote::StepRequest request;
    request.name = QStringLiteral("{type='QPushButton' text='OK'}");
    request.action = Remote::StepRequest::InvokeMethod;
    request.member = QStringLiteral("click");
    request.properties = QStringList { QStringLiteral("text") };
    Remote::StepAnswer answer;
    for (auto _ : state) {
        if (!s.remote->step(request, &answer)) {
            state.SkipWithError(s.remote->lastError().toUtf8().constData());
            break;
        }
    }
}
BENCHMARK(BM_RemoteStep)->Unit(benchmark::kMicrosecond);

// Locate and click through the real input path, as one request: one round trip plus the program's handling.
void BM_RemoteClick(benchmark::State &state)
{
    Setup &s = setup();
    if (!s.remote) {
        state.SkipWithError(s.error.toUtf8().constData());
        return;
    }
    Remote::StepRequest request;
    request.name = QStringLiteral("{type='QPushButton' text='OK'}");
    request.action = Remote::StepRequest::CallFunction;
    request.member = QStringLiteral("mouseClick");
    Remote::StepAnswer answer;
    for (auto _ : state) {
        if (!s.remote->step(request, &answer)) {
            state.SkipWithError(s.remote->lastError().toUtf8().constData());
            break;
        }
    }
}
BENCHMARK(BM_RemoteClick)->Unit(benchmark::kMicrosecond);

// Finding an object, and waiting for one that is already there: the wait must cost no more.
void findOrWait(benchmark::State &state, int waitMs)
{
    Setup &s = setup();
    if (!s.remote) {
        state.SkipWithError(s.error.toUtf8().constData());
        return;
    }
    const QString name = QStringLiteral("{type='QPushButton' text='OK'}");
    for (auto _ : state) {
        Object::Ptr found = waitMs < 0 ? s.remote->findObject(name) : s.remote->waitForObject(name, waitMs);
        if (!found) {
            state.SkipWithError(s.remote->lastError().toUtf8().constData());
            break;
        }
        benchmark::DoNotOptimize(found.get());
    }
}

void BM_FindExistingObject(benchmark::State &state)
{
    findOrWait(state, -1);
}
BENCHMARK(BM_FindExistingObject)->Unit(benchmark::kMicrosecond);

void BM_WaitForExistingObject(benchmark::State &state)
{
    findOrWait(state, 20000);
}
BENCHMARK(BM_WaitForExistingObject)->Unit(benchmark::kMicrosecond);

} // namespace
