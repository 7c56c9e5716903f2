// qtscreenshot.cpp: PNG pictures of widgets, items and windows, for clients and for failing scripts.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "inspector.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QFile>
#include <QPixmap>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWidget>

namespace Vexil {
namespace QtWrapper {

namespace {

// The active window, else the first shown: a widget or a Qt Quick window.
QObject *defaultWindow()
{
    if (hasWidgets()) {
        if (QWidget *active = QApplication::activeWindow())
            return active;
    }
    for (QObject *o : topLevelObjects()) {
        if (o == QGuiApplication::focusWindow())
            return o;
    }
    for (QObject *o : topLevelObjects()) {
        if (o->isWidgetType() ? static_cast<QWidget *>(o)->isVisible()
                              : static_cast<QWindow *>(o)->isVisible())
            return o;
    }
    return nullptr;
}

Object::Ptr saveScreenshotFunction(const ObjectList &args, const Class *)
{
    const Object::Ptr object = args.empty() ? Object::Ptr() : args[0];
    const QString path = args.size() > 1 && args[1] ? args[1]->toString() : QString();
    QString error;
    const QByteArray png = objectScreenshotPng(object, &error);
    if (png.isEmpty())
        return failCall(QStringLiteral("Cannot take a screenshot: %1").arg(error));
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(png) != png.size())
        return failCall(QStringLiteral("Cannot save the screenshot to '%1': %2")
                            .arg(path, path.isEmpty() ? QStringLiteral("no file name") : file.errorString()));
    return Inspector::self()->voidObject();
}

} // namespace

QByteArray screenshotPng(QObject *objectOrNull, QString *error)
{
    QWidget *widget = nullptr;
    if (!objectOrNull) {
        objectOrNull = defaultWindow();
        if (!objectOrNull) {
            if (error)
                *error = QStringLiteral("no window is shown");
            return QByteArray();
        }
    }
    if (quickItem(objectOrNull) || qobject_cast<QQuickWindow *>(objectOrNull))
        return quickScreenshotPng(objectOrNull, error);
    if (objectOrNull->isWidgetType()) {
        widget = static_cast<QWidget *>(objectOrNull);
    }
    if (!widget) {
        if (error)
            *error = QStringLiteral("objects of type %1 have no picture")
                         .arg(objectOrNull->metaObject()->className());
        return QByteArray();
    }
    return screenshotPng(widget, widget->rect(), error);
}

QByteArray screenshotPng(QWidget *widget, const QRect &rect, QString *error)
{
    if (!widget->isVisible()) {
        if (error)
            *error = QStringLiteral("the widget '%1' is hidden").arg(printableName(widget));
        return QByteArray();
    }
    const QPixmap picture = widget->grab(rect);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (picture.isNull() || !picture.save(&buffer, "PNG")) {
        if (error)
            *error = QStringLiteral("the picture of '%1' could not be taken").arg(printableName(widget));
        return QByteArray();
    }
    return png;
}

QByteArray objectScreenshotPng(const Object::Ptr &object, QString *error)
{
    if (!object || object->isNull())
        return screenshotPng(static_cast<QObject *>(nullptr), error);
    if (itemOf(object)) {
        // An item is pictured where its view shows it.
        InputTarget target;
        const QString why = itemInputTarget(object, &target);
        if (!why.isEmpty() || !target.widget) {
            if (error)
                *error = why.isEmpty() ? QStringLiteral("the item is gone") : why;
            return QByteArray();
        }
        return screenshotPng(target.widget.data(), target.rect, error);
    }
    QObject *o = qobjectOf(object);
    if (!o) {
        if (error)
            *error = QStringLiteral("objects of type %1 have no picture").arg(object->className());
        return QByteArray();
    }
    return screenshotPng(o, error);
}

void registerScreenshotFunctions()
{
    addGlobalFunction(saveScreenshotFunction, "saveScreenshot",
                      Signature(objectParameter("object"), textParameter("path")));
}

} // namespace QtWrapper
} // namespace Vexil
