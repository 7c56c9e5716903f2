// demosession.cpp: starts the demo application in-process for "vexil run" and "vexil tree".
#include "demosession.h"

#include "scriptwords.h"
#include "valuetext.h"

#include <demomainwindow.h>
#include <inspector.h>
#include <qtwrapper.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QThread>
#include <QWidget>

#include <cstdio>
#include <cstdlib>

namespace VexilTool {

namespace {

// QApplication keeps references to these for its whole life.
int s_argc = 1;
char s_arg0[] = "vexil";
char *s_argv[] = { s_arg0, nullptr };

QtMessageHandler s_previousHandler = nullptr;

// The offscreen platform complains about things it cannot do and that no test depends on; those lines
// would only bury the report. Everything else goes through as usual.
void messageFilter(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg || type == QtDebugMsg || type == QtInfoMsg) {
        if (message.startsWith(QLatin1String("This plugin does not support"))
            || message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
            return;
    }
    if (s_previousHandler) {
        s_previousHandler(type, context, message);
        return;
    }
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    if (type == QtFatalMsg)
        std::abort();
}

bool envSet(const char *name)
{
    return !qEnvironmentVariableIsEmpty(name);
}

bool isReady(const Vexil::Object::Ptr &object)
{
    auto *widget = qobject_cast<QWidget *>(Vexil::QtWrapper::qobjectOf(object));
    return !widget || (widget->isVisible() && widget->isEnabled());
}

// The window functions there are, for the error about one that is not.
QString windowActions(const Vexil::Class *global)
{
    QStringList actions;
    for (int i = 0; i < global->numMethods(); ++i) {
        const Vexil::Method *m = global->method(i);
        if (m && m->name().startsWith(QLatin1String("_vexil_window_"))) {
            const QString action = m->name().mid(14);
            if (!actions.contains(action))
                actions.append(action);
        }
    }
    return actions.isEmpty() ? QStringLiteral("none registered") : actions.join(QStringLiteral(", "));
}

} // namespace

DemoSession::~DemoSession()
{
    // The window goes first: its wrappers are invalidated while the application still exists.
    delete m_window;
    m_window = nullptr;
    m_app.reset();
}

std::unique_ptr<DemoSession> DemoSession::start(bool visible, QString *error)
{
    if (visible) {
        // Without a display Qt would abort the process with a message about plugins.
        if (!envSet("QT_QPA_PLATFORM") && !envSet("DISPLAY") && !envSet("WAYLAND_DISPLAY")) {
            *error = QStringLiteral(
                "--visible needs a display, but neither DISPLAY nor WAYLAND_DISPLAY is set "
                "(run without --visible to use the offscreen platform)");
            return nullptr;
        }
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        s_previousHandler = qInstallMessageHandler(messageFilter);
    }
    std::unique_ptr<DemoSession> session(new DemoSession);
    session->m_app.reset(new QApplication(s_argc, s_argv));
    session->m_window = VexilDemo::createMainWindow();
    session->m_window->show();
    if (!Vexil::QtWrapper::install()) {
        *error = QStringLiteral("the Qt wrapper could not be installed");
        return nullptr;
    }
    session->settle();
    return session;
}

void DemoSession::settle()
{
    QCoreApplication::processEvents();
    // Outside a running event loop deferred deletes wait for one; a closed dialog should be gone now.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

QString DemoSession::displayName(const Vexil::Object::Ptr &object)
{
    QObject *qobject = Vexil::QtWrapper::qobjectOf(object);
    if (!qobject)
        return QString();
    const QString real = Vexil::QtWrapper::realName(qobject);
    const QString symbolic = localMap().symbolicName(real, false);
    return symbolic.startsWith(QLatin1Char(':')) ? symbolic : real;
}

QString DemoSession::realName(const Vexil::Object::Ptr &object)
{
    QObject *qobject = Vexil::QtWrapper::qobjectOf(object);
    return qobject ? Vexil::QtWrapper::realName(qobject) : object->qualifiedName();
}

bool DemoSession::loadObjectMap(const QString &, QString *)
{
    return true; // the local map is this program's
}

Vexil::Object::Ptr DemoSession::waitForObject(const QString &name, int ms)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    const QDeadlineTimer deadline(ms);
    for (;;) {
        clearModelError();
        const Vexil::Object::Ptr object = insp->findObject(name);
        const bool found = object && !object->isNull();
        if (found && isReady(object))
            return object;
        if (deadline.hasExpired()) {
            if (found)
                insp->setError(
                    QStringLiteral("Object '%1' was found but is not visible and enabled.").arg(name));
            return Vexil::Object::Ptr();
        }
        settle();
        QThread::msleep(10);
    }
}

bool DemoSession::waitForProperty(const Vexil::Object::Ptr &object, const QString &property,
                                  const QString &text, int ms, QString *error)
{
    // In this process the program only runs while we let it: read, let it run a little, read again.
    const Vexil::Property *p = object->objectClass()->property(property);
    const QDeadlineTimer deadline(ms);
    for (;;) {
        clearModelError();
        const Vexil::Object::Ptr value = p ? p->get(object) : Vexil::Object::Ptr();
        const QString actual = value
            ? displayValue(value, [this](const Vexil::Object::Ptr &o) { return displayName(o); })
            : QString();
        if (value && actual == text)
            return true;
        if (deadline.hasExpired()) {
            *error = QStringLiteral("%1 is %2, expected %3")
                         .arg(property, scriptQuoted(actual), scriptQuoted(text));
            return false;
        }
        settle();
        QThread::msleep(10);
    }
}

Vexil::Object::Ptr DemoSession::callFunction(const QString &name, const Vexil::ObjectList &args,
                                             const QStringList &words, QString *error)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    const Vexil::Class *global = insp->globalClass();
    const Vexil::MethodList methods = global->methods(name);
    if (methods.empty()) {
        *error = name.startsWith(QLatin1String("_vexil_window_"))
            ? QStringLiteral("no window function '%1' (actions: %2)").arg(name, windowActions(global))
            : QStringLiteral("no global function '%1'").arg(name);
        return Vexil::Object::Ptr();
    }
    bool found = false;
    const Vexil::Object::Ptr result = invokeWithWords(methods, Vexil::Object::Ptr(), args, words, &found);
    const QString modelError = insp->lastError();
    if (!found) {
        *error = modelError + overloadHint(methods);
        return Vexil::Object::Ptr();
    }
    if (!result || !modelError.isEmpty()) {
        *error = modelError;
        return Vexil::Object::Ptr();
    }
    return result;
}

} // namespace VexilTool
