// demosession.cpp: starts the demo application in-process for "vexil run" and "vexil tree".
#include "demosession.h"

#include <arrayclass.h>
#include <demomainwindow.h>
#include <inspector.h>
#include <objectmap.h>
#include <qtwrapper.h>

#include <QApplication>
#include <QEvent>

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

} // namespace

DemoSession::DemoSession() = default;

DemoSession::~DemoSession()
{
    // The window goes first: its wrappers are invalidated while the application still exists.
    delete m_window;
    m_window = nullptr;
    m_app.reset();
}

bool DemoSession::start(bool visible, QString *error)
{
    if (visible) {
        // Without a display Qt would abort the process with a message about plugins.
        if (!envSet("QT_QPA_PLATFORM") && !envSet("DISPLAY") && !envSet("WAYLAND_DISPLAY")) {
            *error
                = QStringLiteral("--visible needs a display, but neither DISPLAY nor WAYLAND_DISPLAY is set "
                                 "(run without --visible to use the offscreen platform)");
            return false;
        }
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        s_previousHandler = qInstallMessageHandler(messageFilter);
    }
    m_app.reset(new QApplication(s_argc, s_argv));
    m_window = VexilDemo::createMainWindow();
    m_window->show();
    if (!Vexil::QtWrapper::install()) {
        *error = QStringLiteral("the Qt wrapper could not be installed");
        return false;
    }
    settle();
    return true;
}

void DemoSession::settle()
{
    QCoreApplication::processEvents();
    // Outside a running event loop deferred deletes wait for one; a closed dialog should be gone now.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

namespace {

bool isPrimitive(const Vexil::Class *cls)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    for (int i = Vexil::Inspector::Short; i <= Vexil::Inspector::Undefined; ++i) {
        if (insp->type(i) == cls)
            return true;
    }
    return false;
}

QString display(const Vexil::Object::Ptr &value, int depth)
{
    using namespace Vexil;
    if (!value)
        return QStringLiteral("(null)");
    if (value->isInvalidated())
        return QStringLiteral("(destroyed object)");
    if (value->isNull())
        return QStringLiteral("(null object)");
    const Class *cls = value->objectClass();
    if (cls == Inspector::self()->type(Inspector::Void))
        return QStringLiteral("(void)");
    if (QObject *object = QtWrapper::qobjectOf(value)) {
        const QString real = QtWrapper::realName(object);
        if (ObjectMap *map = ObjectMap::self()) {
            const QString symbolic = map->symbolicName(real, false);
            if (symbolic.startsWith(QLatin1Char(':')))
                return symbolic;
        }
        return real;
    }
    if (!cls || isPrimitive(cls) || depth > 1)
        return value->toString();
    // Arrays as "[a, b]", the way the model prints an array of texts.
    if (cls == ArrayClass::registeredClass()) {
        QStringList items;
        for (const Object::Ptr &item : ArrayClass::unwrapObject(value))
            items.append(display(item, depth + 1));
        return QLatin1Char('[') + items.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    // Rectangles, points and dates by their properties: "x=0 y=0 width=480 height=459".
    QStringList fields;
    for (int i = 0; i < cls->numProperties(); ++i) {
        const Property *p = cls->property(i);
        if (!p || !p->isReadable() || p->isStatic())
            continue;
        const Object::Ptr field = p->get(value);
        if (field)
            fields.append(p->name() + QLatin1Char('=') + display(field, depth + 1));
    }
    return fields.isEmpty() ? value->toString() : fields.join(QLatin1Char(' '));
}

} // namespace

QString displayValue(const Vexil::Object::Ptr &value)
{
    return display(value, 0);
}

QString scriptQuoted(const QString &text)
{
    bool plain = !text.isEmpty();
    for (const QChar c : text) {
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('"')) {
            plain = false;
            break;
        }
    }
    if (plain)
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace VexilTool
