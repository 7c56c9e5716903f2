// qtwrapper_p.h: internals of the Qt wrapper shared between its sources. Not installed.
#ifndef VEXIL_QTWRAPPER_P_H
#define VEXIL_QTWRAPPER_P_H

#include "delegate.h"
#include "object.h"
#include "objectmap.h"
#include "touchbuilder.h"
#include "windowinteractiondelegate.h"

#include <QHash>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaObject>
#include <QMetaProperty>
#include <QObject>
#include <QPointer>
#include <QVariant>
#include <QVector>

#include <functional>
#include <vector>

QT_BEGIN_NAMESPACE
class QAbstractItemView;
class QAction;
class QComboBox;
class QEventLoop;
class QQuickItem;
class QQuickWindow;
class QWidget;
class QWindow;
QT_END_NAMESPACE

namespace Vexil {
namespace QtWrapper {

/// How a Qt value type appears in the model.
enum class ValueKind {
    Unsupported,
    Int,
    Bool,
    Double,
    Int64,
    String, // the char class in pointer form; colours and URLs as their texts too
    StringList, // an array of texts
    Rect, // ScreenRectangle
    Point, // ScreenPoint
    DateTime, // DateTime with a time
    Date, // DateTime without a time
    Enum, // int with the enum attached
    QObjectPtr, // the wrapper of the object
    Variant // QVariant (QML's var and the parameters of QML functions): the model value of what it holds
};

/// A Qt type as the model sees it: the kind, the meta type, the class of an object type, the enum of an enum.
struct TypeInfo
{
    ValueKind kind = ValueKind::Unsupported;
    int typeId = 0;
    const QMetaObject *objectType = nullptr;
    QMetaEnum metaEnum;

    bool supported() const { return kind != ValueKind::Unsupported; }
};

/// The model's view of a meta type id (method parameters and return values); enums registered with Q_ENUM
/// count as int.
TypeInfo typeInfoForType(int typeId);
/// The same for a property, whose enum comes with the property.
TypeInfo typeInfoForProperty(const QMetaProperty &property);
/// The argument descriptor for a value of that type.
Argument argumentFor(const TypeInfo &info, const QString &name = QString());
/// A new model object for \p value; a null pointer when the value cannot be expressed.
Object::Ptr variantToObject(const QVariant &value, const TypeInfo &info);
/// The Qt value for a model object, of exactly the meta type of \p info; false when it cannot be had.
bool objectToVariant(const Object::Ptr &object, const TypeInfo &info, QVariant *out);
/// The text a multi-property name compares a property value with.
QString variantToText(const QVariant &value, const QMetaProperty &property);

/// A class made from a QMetaObject. Its own members are the supported properties, public slots and
/// invokable methods, signals (as events) and enums of that meta-object, without its superclasses'.
class QtClass : public Class
{
public:
    explicit QtClass(const QMetaObject *metaObject);
    ~QtClass() override;

    const QMetaObject *metaObject() const { return m_metaObject; }

    void initSuperClass() override;
    Property *createProperty(int index) const override;
    Method *createMethod(int index) const override;
    Event *createEvent(int index) const override;
    Enum *createEnum(int index) const override;

    /// Always the one registered wrapper of the QObject, so no second object ever points at it unseen.
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override;

    using Class::getProperty;
    using Class::invoke;
    using Class::setProperty;
    Object::Ptr getProperty(int index, void *object, const Class *cls) const override;
    bool setProperty(int index, void *object, void *value) const override;
    bool setProperty(int index, Object::Ptr object, Object::Ptr value,
                     const Property *property) const override;
    Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const override;
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;

    /// The meta-property of the class's own property at the global index \p index, or an invalid one.
    QMetaProperty metaProperty(int index) const;

private:
    /// The QObject \p data points to when it is one of this class, else null.
    QObject *instance(void *data) const;
    Object::Ptr callMethod(int local, QObject *object, const QVector<QVariant> &args) const;

    const QMetaObject *m_metaObject;
    // Absolute indexes in the meta-object of the members the model shows, in the order it numbers them.
    std::vector<int> m_properties;
    std::vector<int> m_methods;
    std::vector<int> m_signals;
    std::vector<int> m_enums;
};

/// The QtClass of a model class, or null.
const QtClass *qtClass(const Class *cls);

/// The children the model shows for \p parent: its QObject children except windows, which are top-level
/// objects of their own; for Qt Quick objects the visual item tree. A null parent gives the top-level
/// objects.
QObjectList childObjects(QObject *parent);
/// The model's parent: null for a window, the parent item (or window) for a Qt Quick item, else the QObject
/// parent.
QObject *parentObject(QObject *object);
/// The window an object belongs to: a widget's window, an item's QQuickWindow (or the window of the
/// QQuickWidget that shows it), else that of its nearest widget ancestor, else its topmost ancestor.
QObject *windowOf(QObject *object);
/// Whether the model lists \p object among the top-level objects: a window widget or a QQuickWindow.
bool isTopLevelObject(const QObject *object);
/// The top-level objects in the model's order: top-level widgets and Qt Quick windows.
QObjectList topLevelObjects();
/// Whether widgets can exist here at all: the application object is a QApplication.
bool hasWidgets();
/// The object's name with "\" and "." escaped as in dotted paths.
QString escapeName(const QString &name);

/// Finds objects by multi-property names. The first pass stops at the wanted occurrence; only a failed
/// search walks again to find the candidate that came closest, for the unmatched-property report.
class NameMatcher
{
public:
    /// \p scope null: the whole application. \p report: leave the unmatched properties with the Inspector.
    static QObject *find(const ObjectName &name, QObject *scope, bool report, int depth = 0);
    /// All objects (under \p scope, or among the top-level widgets only) that match \p name without regard
    /// to its occurrence, in search order.
    static QObjectList findAll(const ObjectName &name, QObject *scope, bool windowsOnly = false);
    /// Resolves the value of a window or container property to the object it names.
    static QObject *resolveReference(const PropertyValue &value, bool windowsOnly, int depth);
};

/// Keeps the QObject -> wrapper map and invalidates wrappers when their QObject dies.
class ObjectTracker : public QObject
{
    Q_OBJECT
public:
    static ObjectTracker *self();

    Object::Ptr wrap(QObject *object);
    void forget(QObject *object, const Object *wrapper);
    int count() const { return m_wrappers.size(); }

public Q_SLOTS:
    void objectDestroyed(QObject *object);

private:
    QHash<QObject *, Object *> m_wrappers;
};

/// The hierarchy of QObjects, for the class "QObject" and, with a null parent, the top level.
class QtHierarchyDelegate : public ObjectHierarchyDelegate
{
public:
    explicit QtHierarchyDelegate(const QString &className);
    ~QtHierarchyDelegate() override;

    int numChildren(Object::Ptr parent) const override;
    Object::Ptr child(Object::Ptr parent, int index) const override;
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override;
    Object::Ptr objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const override;
    QString name(Object::Ptr object) const override;
    QString qualifiedName(Object::Ptr object) const override;
    ObjectList children(Object::Ptr parent) const override;
    Object::Ptr parent(Object::Ptr object) const override;
    int wrapperType(Object::Ptr object) const override;
};

/// Window operations on QWidgets (each acts on the widget's window) and on QWindows (Qt Quick windows); one
/// instance is registered for each of the two classes.
class QtWindowDelegate : public WindowInteractionDelegate
{
public:
    explicit QtWindowDelegate(const QString &className);
    ~QtWindowDelegate() override;

    FunctionCallResult<void> closeWindow(Object::Ptr window) const override;
    FunctionCallResult<void> maximizeWindow(Object::Ptr window) const override;
    FunctionCallResult<void> minimizeWindow(Object::Ptr window) const override;
    FunctionCallResult<void> moveWindowTo(Object::Ptr window, int x, int y) const override;
    FunctionCallResult<void> resizeWindowTo(Object::Ptr window, int width, int height) const override;
    FunctionCallResult<void> restoreWindow(Object::Ptr window) const override;
    FunctionCallResult<void> setFullscreenWindow(Object::Ptr window) const override;
    FunctionCallResult<void> setForegroundWindow(Object::Ptr window) const override;
    FunctionCallResult<void> setFocusedWindow(Object::Ptr window) const override;
    FunctionCallResult<Object::Ptr> focusedWindow() const override;
    FunctionCallResult<ScreenRectangle> windowGeometry(Object::Ptr window) const override;

private:
    const bool m_widgets = className() == QLatin1String("QWidget");
};

/// Turns clicks, key presses and text changes on widgets and Qt Quick items into records for the Inspector's notify delegate.
class Recorder : public QObject
{
    Q_OBJECT
public:
    explicit Recorder(QObject *parent = nullptr);
    ~Recorder() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isRepeat(QEvent *event);
    void watchText(QObject *object);
    void flushText();
    void recordClick(QObject *object, QEvent *event);
    void recordKey(QObject *object, QEvent *event);
    /// A click or Return on an item of a menu; true when the event was one.
    bool recordMenuActivation(QWidget *widget, QEvent *event);
    void recordTouch(QObject *object, QEvent *event);

    // The previous input event seen, to skip the copies that propagate to parent widgets.
    int m_lastType = 0;
    ulong m_lastTimestamp = 0;
    int m_lastDetail = 0;
    bool m_busy = false;
    QPointer<QObject> m_pressed;
    QPointer<QObject> m_textWidget;
    QString m_textBefore;
    // The touch gesture going on: the widget that takes it, the first event's time and the samples.
    QPointer<QObject> m_touchWidget;
    ulong m_touchStart = 0;
    ulong m_lastTouchTimestamp = 0;
    std::vector<TouchSample> m_touchSamples;
};

// Input (qtinput.cpp)

/// Where a mouse function acts: the widget that receives the events and the object's rectangle in it. For
/// a Qt Quick item in a window of its own, no widget: the item, and its own rectangle.
struct InputTarget
{
    QPointer<QWidget> widget;
    QRect rect;
    bool itemEnabled = true; // false for an item whose model disables it
    QPointer<QQuickItem> quickItem;
};

/// The name error texts give an object: its symbolic name when the object map has one.
QString printableName(QObject *object);
/// Runs \p loop as part of the call in progress: while it is the innermost loop, inOwnEventLoop() is true.
void execOwnLoop(QEventLoop &loop);
/// Runs the event loop until \p condition holds or \p timeoutMs (scaled by the time-out factor) passed.
bool waitUntil(const std::function<bool()> &condition, int timeoutMs);
/// Lets the application handle what the input caused: window-system and posted events.
void flushInput();
/// Moves the mouse to \p pos in \p widget, then presses and releases \p button there (twice, as one
/// double-click, with \p doubleClick). Returns the explanation when the point cannot be clicked.
QString clickWidget(QWidget *widget, const QPoint &pos, Qt::MouseButton button,
                    Qt::KeyboardModifiers modifiers, bool doubleClick = false);
/// The same for any target: \p pos in the widget's coordinates, or in the item's for an item in its own window.
QString clickTarget(const InputTarget &target, const QPoint &pos, Qt::MouseButton button,
                    Qt::KeyboardModifiers modifiers, bool doubleClick = false);
void moveMouse(QWidget *widget, const QPoint &pos);
/// Whether a person could click \p widget at \p pos: shown, enabled, not blocked by a modal dialog and not
/// covered there by another widget. The reason when not, else empty.
QString clickableAt(QWidget *widget, const QPoint &pos);
/// Brings the widget's window to the front and makes it the active window, as a click on it would.
void activateWindowOf(QWidget *widget);
void registerInputFunctions();

/// Adds a function to the global class; one of the same name and parameters is replaced.
void addGlobalFunction(Object::Ptr (*function)(const ObjectList &, const Class *), const char *name,
                       const Signature &signature, const Argument &result = Argument());
/// Parameters of global functions: any object, an int, a text.
Argument objectParameter(const char *name);
Argument intParameter(const char *name);
Argument textParameter(const char *name);
/// Sets the Inspector's error and returns the null pointer a failed global function gives.
Object::Ptr failCall(const QString &text);

// Item views and menus (qtitemviews.cpp)

/// An item of an item view as the model holds it: the view (and the combo box whose pop-up it is) and
/// the item's index.
struct ItemRef;
/// The class "QModelIndex" of item objects; made on first use.
const Class *itemClass();
/// The item behind an item object; null for anything else.
ItemRef *itemOf(const Object::Ptr &object);
/// The item's name for error texts: its symbolic name when the object map has one.
QString itemDisplayName(const Object::Ptr &item);
/// Whether a multi-property name asks for an item (type='QModelIndex').
bool isItemName(const ObjectName &name);
/// The item a multi-property name gives, within \p scope when given; with \p report the unmatched
/// properties are left with the Inspector on failure.
Object::Ptr findItem(const ObjectName &name, QObject *scope, bool report);
/// The multi-property name of the item at \p index of \p view (the combo box's, when it is its pop-up).
QString itemRealName(QAbstractItemView *view, const QModelIndex &index);
/// The item's view brought to where a person could click the item: the pop-up of a combo box opened,
/// the item scrolled into view. Fills \p target; the reason when it cannot be done.
QString itemInputTarget(const Object::Ptr &item, InputTarget *target);
/// The widget and rectangle a person clicks to trigger \p action: its place in a menu (opening the menus
/// that lead to it from a menu bar) or its tool button.
QString actionInputTarget(QAction *action, InputTarget *target);
/// Opens the menus of \p path ("File|Open...") from a menu bar, a menu or a window with a menu bar and
/// clicks the last item. The reason on failure.
QString activateMenuPath(QWidget *start, const QString &path);
/// The path of a menu item from the menu bar or top menu that holds it, and that holder.
QString menuPath(QAction *action, QWidget **root);
/// The item view a viewport belongs to, or null.
QAbstractItemView *viewOfViewport(QWidget *widget);
void registerItemFunctions();

// Screenshots and gestures (qtscreenshot.cpp, qtgesture.cpp)

/// A PNG picture of \p rect of \p widget; empty with the reason in \p error when it cannot be had.
QByteArray screenshotPng(QWidget *widget, const QRect &rect, QString *error);
void registerScreenshotFunctions();
void registerGestureFunctions();

// Qt Quick (qtquick.cpp)

/// The item behind \p object, or null.
QQuickItem *quickItem(QObject *object);
/// Qt Quick windows that are windows of their own, not the hidden ones behind QQuickWidgets.
QList<QQuickWindow *> quickWindows();
/// The model children of a Qt Quick window, item or QQuickWidget; false for other objects.
bool quickChildren(QObject *parent, QObjectList *out);
/// Whether \p object may have children that QObject::children() does not list.
bool isQuickNode(QObject *object);
/// The model parent of an item; false for objects that are no items.
bool quickParent(QObject *object, QObject **out);
/// The top-level object that shows an item: its QQuickWindow or the window of its QQuickWidget.
QObject *quickWindowObject(QQuickItem *item);
/// The QML type name of a meta-object: the component's name for types declared in QML files, the registered
/// name for Qt Quick's own types ("Rectangle" for QQuickRectangle); empty where there is none.
QString qmlTypeName(const QMetaObject *metaObject);
/// Whether a type name (pattern) matches \p metaObject: its class name, its QML type name or, for types made
/// by QML, the name of the C++ class they extend.
bool typeNameMatches(const QMetaObject *metaObject, const PropertyValue &value);
/// The name a record gives the object's type: the QML type name where there is one, else the class name.
QString shownTypeName(const QObject *object);
/// The QML ids an object has in the documents that declare it, outermost first.
QStringList qmlIds(QObject *object);
/// Fills \p target for a click on \p item: the QQuickWidget and the item's rectangle in it, or the item in
/// its own window. The reason when it cannot be clicked at all.
QString quickInputTarget(QQuickItem *item, InputTarget *target);
/// Whether a person could click \p item at \p pos (item coordinates); the reason when not.
QString quickClickableAt(QQuickItem *item, const QPointF &pos);
/// Makes the item's window the active one, as a click would.
void activateQuickWindow(QQuickItem *item);
/// Gives the item (or the text field in it) the keyboard focus; the window keys go to.
QWindow *quickKeyWindow(QQuickItem *item);
/// A PNG of a Qt Quick item or window, through the window's grab.
QByteArray quickScreenshotPng(QObject *object, QString *error);

/// The name a record gives: its symbolic name in the current object map (created when new), or
/// its real name without a map.
QString recordedName(QObject *object);

} // namespace QtWrapper
} // namespace Vexil

#endif // VEXIL_QTWRAPPER_P_H
