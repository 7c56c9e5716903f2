// qtwrapper.h: Qt Widgets and Qt Quick applications seen through the object model: classes from the meta-object system,
// one wrapper object per live QObject, hierarchy and window delegates and the input recorder.
#ifndef VEXIL_QTWRAPPER_H
#define VEXIL_QTWRAPPER_H

#include "object.h"
#include "vexil_qtwrapper_export.h"

#include <QByteArray>
#include <QList>
#include <QString>

QT_BEGIN_NAMESPACE
class QObject;
class QRect;
class QWidget;
struct QMetaObject;
QT_END_NAMESPACE

namespace Vexil {
namespace QtWrapper {

/// Registers the hierarchy delegates ("QObject" and the top-level "Vexil::ToplevelQt"), the window delegate for
/// "QWidget", the global window functions and the input recorder. Call it once the QApplication (or, for a
/// Qt Quick program without widgets, the QGuiApplication) exists and before the first lookup; later calls do
/// nothing. False (with a message on stderr) without either.
VEXIL_QTWRAPPER_EXPORT bool install();
VEXIL_QTWRAPPER_EXPORT bool isInstalled();

/// The class of \p metaObject, named by its class name and created with its superclasses on first sight.
/// Null for null.
VEXIL_QTWRAPPER_EXPORT const Class *classForMetaObject(const QMetaObject *metaObject);

/// The one wrapper object of a live QObject (the same object as long as something holds it); a null pointer
/// for null. The wrapper is invalidated when the QObject is destroyed.
VEXIL_QTWRAPPER_EXPORT Object::Ptr wrapQObject(QObject *object);
/// The QObject behind a wrapper object; null for a null pointer, a null or invalidated object, or an object
/// that does not wrap a QObject.
VEXIL_QTWRAPPER_EXPORT QObject *qobjectOf(const Object::Ptr &object);

/// The application's top-level widgets in the order the model shows them (Qt Quick windows, which the model
/// lists among them, left out): the order in which they were first
/// seen, widgets seen together sorted by object name and class name.
VEXIL_QTWRAPPER_EXPORT QList<QWidget *> topLevelWidgets();
/// The dotted path of object names from the object's top-level window down to it, "." in names as "\.".
VEXIL_QTWRAPPER_EXPORT QString qualifiedName(QObject *object);
/// A multi-property name that finds \p object again: its type, its object name (or, without one, the text of
/// a button or label, or a window's title), visible='1' for a shown widget, the nested name of its window,
/// and an occurrence when other objects match the same properties first.
VEXIL_QTWRAPPER_EXPORT QString realName(QObject *object);

/// A PNG picture of a widget, at its size in logical pixels; with a null object, of the active window or
/// else the first visible top-level window. Empty with the reason in \p error (when given) for a hidden
/// widget, an object that is no widget, or no window shown.
VEXIL_QTWRAPPER_EXPORT QByteArray screenshotPng(QObject *objectOrNull, QString *error);
/// The same for any model object: widgets, item objects (the part of the view that shows them) and null.
VEXIL_QTWRAPPER_EXPORT QByteArray objectScreenshotPng(const Object::Ptr &object, QString *error);

/// The factor every default time-out of the wrapper is multiplied by: VEXIL_TIMEOUT_FACTOR from the
/// environment when it is a number above 0, else 1.
VEXIL_QTWRAPPER_EXPORT double timeoutFactor();

/// True while the innermost event loop of the GUI thread is one the wrapper runs as part of a call (pacing a
/// drag, waiting for a menu to open): unlike a loop the program starts (a modal dialog), the call is not
/// over when it waits for events.
VEXIL_QTWRAPPER_EXPORT bool inOwnEventLoop();
/// The number of wrapper objects alive right now (for diagnostics).
VEXIL_QTWRAPPER_EXPORT int liveWrapperCount();

} // namespace QtWrapper
} // namespace Vexil

#endif // VEXIL_QTWRAPPER_H
