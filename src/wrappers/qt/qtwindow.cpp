// qtwindow.cpp: window operations on QWidgets and on QWindows (Qt Quick windows) for the global window functions.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

namespace Vexil {
namespace QtWrapper {

namespace {

// The window an operation acts on: a widget's window (an operation on a child widget acts on its window),
// or a QWindow itself (a Qt Quick window).
struct WindowTarget
{
    QWidget *widget = nullptr;
    QWindow *window = nullptr;
    explicit operator bool() const { return widget || window; }
};

WindowTarget windowOf(const Object::Ptr &object)
{
    WindowTarget t;
    QObject *o = qobjectOf(object);
    if (o && o->isWidgetType())
        t.widget = static_cast<QWidget *>(o)->window();
    else if (o && o->isWindowType())
        t.window = static_cast<QWindow *>(o);
    return t;
}

QString notAWindow(const Object::Ptr &object)
{
    return QStringLiteral("Object of type %1 is not a widget")
        .arg(object ? object->className() : QStringLiteral("null"));
}

// Window changes travel through the platform and come back as events; let them arrive before the script
// looks at the window again.
void settle()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

template <class WidgetOperation, class WindowOperation>
FunctionCallResult<void> onWindow(const Object::Ptr &object, WidgetOperation onWidget,
                                  WindowOperation onQWindow)
{
    const WindowTarget t = windowOf(object);
    if (!t)
        return FunctionCallResult<void>(notAWindow(object));
    const QString error = t.widget ? onWidget(t.widget) : onQWindow(t.window);
    settle();
    return FunctionCallResult<void>(error);
}

// The same operation through each kind of window, for operations both spell alike (a generic lambda).
template <class Operation>
FunctionCallResult<void> onWindow(const Object::Ptr &object, Operation op)
{
    const auto done = [&op](auto *w) {
        op(w);
        return QString();
    };
    return onWindow(object, done, done);
}

} // namespace

QtWindowDelegate::QtWindowDelegate(const QString &className)
    : WindowInteractionDelegate(className)
{
}

QtWindowDelegate::~QtWindowDelegate() = default;

FunctionCallResult<void> QtWindowDelegate::closeWindow(Object::Ptr window) const
{
    const auto refused = [](bool closed) {
        return closed ? QString() : QStringLiteral("The window refused to close.");
    };
    return onWindow(
        window, [&](QWidget *w) { return refused(w->close()); },
        [&](QWindow *w) { return refused(w->close()); });
}

FunctionCallResult<void> QtWindowDelegate::maximizeWindow(Object::Ptr window) const
{
    return onWindow(window, [&](auto *w) { w->showMaximized(); });
}

FunctionCallResult<void> QtWindowDelegate::minimizeWindow(Object::Ptr window) const
{
    return onWindow(window, [&](auto *w) { w->showMinimized(); });
}

FunctionCallResult<void> QtWindowDelegate::moveWindowTo(Object::Ptr window, int x, int y) const
{
    // Both place the frame's corner.
    return onWindow(
        window,
        [&](QWidget *w) {
            w->move(x, y);
            return QString();
        },
        [&](QWindow *w) {
            w->setFramePosition(QPoint(x, y));
            return QString();
        });
}

FunctionCallResult<void> QtWindowDelegate::resizeWindowTo(Object::Ptr window, int width, int height) const
{
    if (!windowOf(window))
        return FunctionCallResult<void>(notAWindow(window));
    if (width < 0 || height < 0)
        return FunctionCallResult<void>(
            QStringLiteral("Cannot resize a window to %1x%2.").arg(width).arg(height));
    return onWindow(window, [&](auto *w) { w->resize(width, height); });
}

FunctionCallResult<void> QtWindowDelegate::restoreWindow(Object::Ptr window) const
{
    return onWindow(window, [&](auto *w) { w->showNormal(); });
}

FunctionCallResult<void> QtWindowDelegate::setFullscreenWindow(Object::Ptr window) const
{
    return onWindow(window, [&](auto *w) { w->showFullScreen(); });
}

FunctionCallResult<void> QtWindowDelegate::setForegroundWindow(Object::Ptr window) const
{
    return onWindow(
        window,
        [](QWidget *w) {
            if (w->isMinimized())
                w->showNormal();
            else
                w->show();
            w->raise();
            w->activateWindow();
            return QString();
        },
        [](QWindow *w) {
            if (w->windowStates() & Qt::WindowMinimized)
                w->showNormal();
            else
                w->show();
            w->raise();
            w->requestActivate();
            return QString();
        });
}

FunctionCallResult<void> QtWindowDelegate::setFocusedWindow(Object::Ptr window) const
{
    const auto hidden = [](const QString &name) {
        return QStringLiteral("Cannot focus the hidden window %1.").arg(name);
    };
    return onWindow(
        window,
        [&](QWidget *w) {
            if (!w->isVisible())
                return hidden(w->objectName());
            w->activateWindow();
            // The platform may grant the activation later or not at all; the application takes it
            // at once.
            QApplication::setActiveWindow(w);
            return QString();
        },
        [&](QWindow *w) {
            if (!w->isVisible())
                return hidden(w->objectName());
            w->requestActivate();
            QWindowSystemInterface::handleWindowActivated(w);
            QWindowSystemInterface::flushWindowSystemEvents();
            return QString();
        });
}

FunctionCallResult<Object::Ptr> QtWindowDelegate::focusedWindow() const
{
    if (m_widgets) {
        QWidget *w = hasWidgets() ? QApplication::activeWindow() : nullptr;
        if (!w && hasWidgets() && QApplication::focusWidget())
            w = QApplication::focusWidget()->window();
        return FunctionCallResult<Object::Ptr>(wrapQObject(w));
    }
    // A widget's own QWindow is not an object of the model; its widget answers for it.
    QWindow *w = QGuiApplication::focusWindow();
    const bool ofAWidget = w && w->inherits("QWidgetWindow");
    return FunctionCallResult<Object::Ptr>(ofAWidget ? Object::Ptr() : wrapQObject(w));
}

FunctionCallResult<ScreenRectangle> QtWindowDelegate::windowGeometry(Object::Ptr window) const
{
    const WindowTarget t = windowOf(window);
    if (!t)
        return FunctionCallResult<ScreenRectangle>(ScreenRectangle(), notAWindow(window));
    const QRect r = t.widget ? t.widget->frameGeometry() : t.window->frameGeometry();
    return FunctionCallResult<ScreenRectangle>(ScreenRectangle(r.x(), r.y(), r.width(), r.height()));
}

} // namespace QtWrapper
} // namespace Vexil
