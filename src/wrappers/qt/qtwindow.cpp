// qtwindow.cpp: window operations on QWidgets for the global window functions.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include <QApplication>
#include <QWidget>

namespace Vexil {
namespace QtWrapper {

namespace {

// The window of the widget an object wraps; an operation on a child widget acts on its window.
QWidget *windowWidget(const Object::Ptr &object)
{
    QObject *o = qobjectOf(object);
    return o && o->isWidgetType() ? static_cast<QWidget *>(o)->window() : nullptr;
}

FunctionCallResult<void> notAWidget(const Object::Ptr &object)
{
    return FunctionCallResult<void>(QStringLiteral("Object of type %1 is not a widget")
                                        .arg(object ? object->className() : QStringLiteral("null")));
}

// Window changes travel through the platform and come back as events; let them arrive before the script
// looks at the window again.
void settle()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

template <class Operation>
FunctionCallResult<void> onWindow(const Object::Ptr &object, Operation op)
{
    QWidget *w = windowWidget(object);
    if (!w)
        return notAWidget(object);
    const QString error = op(w);
    settle();
    return FunctionCallResult<void>(error);
}

} // namespace

QtWindowDelegate::QtWindowDelegate()
    : WindowInteractionDelegate(QStringLiteral("QWidget"))
{
}

QtWindowDelegate::~QtWindowDelegate() = default;

FunctionCallResult<void> QtWindowDelegate::closeWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        return w->close() ? QString() : QStringLiteral("The window refused to close.");
    });
}

FunctionCallResult<void> QtWindowDelegate::maximizeWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        w->showMaximized();
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::minimizeWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        w->showMinimized();
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::moveWindowTo(Object::Ptr window, int x, int y) const
{
    return onWindow(window, [x, y](QWidget *w) {
        w->move(x, y);
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::resizeWindowTo(Object::Ptr window, int width, int height) const
{
    return onWindow(window, [width, height](QWidget *w) {
        if (width < 0 || height < 0)
            return QStringLiteral("Cannot resize a window to %1x%2.").arg(width).arg(height);
        w->resize(width, height);
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::restoreWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        w->showNormal();
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::setFullscreenWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        w->showFullScreen();
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::setForegroundWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        if (w->isMinimized())
            w->showNormal();
        else
            w->show();
        w->raise();
        w->activateWindow();
        return QString();
    });
}

FunctionCallResult<void> QtWindowDelegate::setFocusedWindow(Object::Ptr window) const
{
    return onWindow(window, [](QWidget *w) {
        if (!w->isVisible())
            return QStringLiteral("Cannot focus the hidden window %1.").arg(w->objectName());
        w->activateWindow();
        // The platform may grant the activation later or not at all; the application takes it at once.
        QApplication::setActiveWindow(w);
        return QString();
    });
}

FunctionCallResult<Object::Ptr> QtWindowDelegate::focusedWindow() const
{
    QWidget *w = QApplication::activeWindow();
    if (!w && QApplication::focusWidget())
        w = QApplication::focusWidget()->window();
    return FunctionCallResult<Object::Ptr>(wrapQObject(w));
}

FunctionCallResult<ScreenRectangle> QtWindowDelegate::windowGeometry(Object::Ptr window) const
{
    QWidget *w = windowWidget(window);
    if (!w)
        return FunctionCallResult<ScreenRectangle>(ScreenRectangle(), notAWidget(window).error);
    const QRect r = w->frameGeometry();
    return FunctionCallResult<ScreenRectangle>(ScreenRectangle(r.x(), r.y(), r.width(), r.height()));
}

} // namespace QtWrapper
} // namespace Vexil
