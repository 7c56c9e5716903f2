// startup.cpp: how the agent gets into an unmodified program. While the library is being preloaded it only
// hooks Qt's start-up (no Qt calls: no QCoreApplication exists yet). Qt then calls us from its start-up
// contract on the GUI thread; we take the launcher's request from the environment and queue the real work
// to the event loop.
#include "agent.h"

#include "objectmap.h"
#include "qtwrapper.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>
#include <QWindow>
#include <QtCore/private/qhooks_p.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>

namespace Vexil {
namespace Agent {
namespace {

// Kept as raw bytes: decoding text needs Qt, which is not ready while we are being loaded.
struct RawConfig
{
    std::string socketPath, listen, token, timeoutFactor;
};
RawConfig *g_config = nullptr;
const char *g_selfPath = nullptr;
bool g_started = false;
QHooks::StartupCallback g_previousStartup = nullptr;

// Removes this library's own entries from LD_PRELOAD (the user's other preloads stay), so the program's
// child processes run unhooked.
void removeSelfFromPreload(const char *selfPath)
{
    const char *preload = std::getenv("LD_PRELOAD");
    if (!preload || !selfPath)
        return;
    const char *base = std::strrchr(selfPath, '/');
    base = base ? base + 1 : selfPath;
    std::string kept;
    std::string list(preload);
    size_t pos = 0;
    while (pos <= list.size()) {
        const size_t end = list.find_first_of(": ", pos);
        const std::string entry = list.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
        const size_t slash = entry.rfind('/');
        const std::string entryBase = slash == std::string::npos ? entry : entry.substr(slash + 1);
        if (!entry.empty() && entry != selfPath && entryBase != base) {
            if (!kept.empty())
                kept += ':';
            kept += entry;
        }
        if (end == std::string::npos)
            break;
        pos = end + 1;
    }
    if (kept.empty())
        unsetenv("LD_PRELOAD");
    else
        setenv("LD_PRELOAD", kept.c_str(), 1);
}

std::string takeEnv(const char *name)
{
    const char *value = std::getenv(name);
    std::string text = value ? value : "";
    unsetenv(name);
    return text;
}

// What the handshake must say instead of serving, or empty when the program is one we can serve.
QString unsupportedReason()
{
    const quintptr runtime = qtHookData[QHooks::QtVersion];
    if ((runtime >> 8) != (QT_VERSION >> 8)) {
        return QStringLiteral("the program uses Qt %1.%2.%3, the agent was built for Qt %4.%5")
            .arg(runtime >> 16)
            .arg((runtime >> 8) & 0xff)
            .arg(runtime & 0xff)
            .arg(QT_VERSION >> 16)
            .arg((QT_VERSION >> 8) & 0xff);
    }
    QCoreApplication *app = QCoreApplication::instance();
    if (qobject_cast<QApplication *>(app))
        return QString();
    // A Qt Quick program needs no widgets; its windows are there by the time its event loop runs.
    if (qobject_cast<QGuiApplication *>(app)) {
        const QWindowList windows = QGuiApplication::topLevelWindows();
        if (std::any_of(windows.cbegin(), windows.cend(),
                        [](QWindow *w) { return w->inherits("QQuickWindow"); }))
            return QString();
        return QStringLiteral(
            "not a Qt Widgets or Qt Quick program: the application object is a QGuiApplication "
            "and no Qt Quick window was made");
    }
    return QStringLiteral(
        "not a Qt Widgets or Qt Quick program: the application object is a QCoreApplication");
}

void startOnEventLoop()
{
    Config config;
    config.socketPath = QString::fromStdString(g_config->socketPath);
    config.listen = QString::fromStdString(g_config->listen);
    config.token = QByteArray::fromStdString(g_config->token);
    bool ok = false;
    const double factor = QString::fromStdString(g_config->timeoutFactor).toDouble(&ok);
    config.timeoutFactor = ok && factor > 0 ? factor : 1.0;
    const QString reason = unsupportedReason();
    if (reason.isEmpty()) {
        if (!QtWrapper::install())
            return;
        if (!ObjectMap::self())
            new ObjectMap();
    }
    auto *agent = new Agent(config);
    if (!agent->start(reason)) {
        delete agent;
        return;
    }
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, agent,
                     [agent]() { delete agent; });
}

// Runs at the end of the QCoreApplication constructor: the QApplication part is not built yet, so look at
// the program once its event loop runs (by then a Qt Quick program has made its windows).
// The first process that starts Qt takes the launcher's request and cleans the environment, so that a
// wrapper script in front of the program passes the request on, and the program's own children do not
// inherit it.
QtMessageHandler g_previousMessageHandler = nullptr;

// The offscreen platform, which the launchers choose, warns about each window feature it lacks ("This plugin
// does not support propagateSizeHints()"): noise about the test set-up, not about the program.
void withoutOffscreenNoise(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("This plugin does not support ")))
        return;
    if (g_previousMessageHandler)
        g_previousMessageHandler(type, context, message);
}

void onQtStartup()
{
    if (g_started || !std::getenv("VEXIL_AGENT_SOCKET"))
        return;
    g_started = true;
    const char *platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && std::strncmp(platform, "offscreen", 9) == 0)
        g_previousMessageHandler = qInstallMessageHandler(withoutOffscreenNoise);
    removeSelfFromPreload(g_selfPath);
    g_config = new RawConfig;
    g_config->socketPath = takeEnv("VEXIL_AGENT_SOCKET");
    g_config->listen = takeEnv("VEXIL_AGENT_LISTEN");
    g_config->token = takeEnv("VEXIL_AGENT_TOKEN");
    // The time-out factor stays: the program's children and the wrapper may scale by it too.
    const char *factor = std::getenv("VEXIL_TIMEOUT_FACTOR");
    g_config->timeoutFactor = factor ? factor : "";
    QTimer::singleShot(0, QCoreApplication::instance(), &startOnEventLoop);
}

void onStartupHook()
{
    if (g_previousStartup)
        g_previousStartup();
    onQtStartup();
}

} // namespace
} // namespace Agent
} // namespace Vexil

// Also registered the documented way, in case another tool owns the start-up hook and does not chain.
static void vexilAgentStartup()
{
    Vexil::Agent::onQtStartup();
}
Q_COREAPP_STARTUP_FUNCTION(vexilAgentStartup)

__attribute__((constructor)) static void vexilAgentLoaded()
{
    using namespace Vexil::Agent;
    // Only remember who we are and hook Qt's start-up; Qt is not usable yet, and this may not even be the
    // process that runs Qt (a shell script in front of the program).
    if (!std::getenv("VEXIL_AGENT_SOCKET"))
        return;
    Dl_info info;
    g_selfPath = dladdr(reinterpret_cast<void *>(&vexilAgentLoaded), &info) ? info.dli_fname : nullptr;
    g_previousStartup = reinterpret_cast<QHooks::StartupCallback>(qtHookData[QHooks::Startup]);
    qtHookData[QHooks::Startup] = reinterpret_cast<quintptr>(&onStartupHook);
}
