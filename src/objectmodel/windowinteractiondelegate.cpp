// windowinteractiondelegate.cpp: window operations routed from global script functions to delegates.
#include "windowinteractiondelegate.h"

#include "globalobject.h"
#include "inspector.h"

namespace Vexil {

namespace {

QString classNameOf(const Object::Ptr &object)
{
    return object ? object->className() : QString();
}

bool isNullWindow(const Object::Ptr &window)
{
    return !window || window->isNull();
}

const WindowInteractionDelegate *windowDelegateFor(const Object::Ptr &window)
{
    const Delegate *d = DelegateFactory::self()->delegate(window->objectClass(), Delegate::WindowInteraction);
    return dynamic_cast<const WindowInteractionDelegate *>(d);
}

Object::Ptr fail(const QString &text)
{
    Inspector::self()->setError(text);
    return Object::Ptr();
}

FunctionCallResult<void> noDelegate()
{
    return FunctionCallResult<void>(QStringLiteral("No window interaction delegate given"));
}

// The two integers a move or resize needs, from a list that scripts or wrappers may have cut short.
bool twoIntegers(const ObjectList &args, int *first, int *second)
{
    if (args.size() < 2 || !args[0] || !args[1])
        return false;
    *first = args[0]->toInteger();
    *second = args[1]->toInteger();
    return true;
}

} // namespace

WindowInteractionDelegate::WindowInteractionDelegate(const QString &className)
    : Delegate(className, WindowInteraction)
{
}

WindowInteractionDelegate::~WindowInteractionDelegate() = default;

FunctionCallResult<void> WindowInteractionDelegate::setFullscreenWindow(Object::Ptr window) const
{
    const QString text = QStringLiteral("Setting fullscreen state on objects of type %1 is not supported.");
    return FunctionCallResult<void>(text.arg(classNameOf(window)));
}

FunctionCallResult<void> WindowInteractionDelegate::setForegroundWindow(Object::Ptr window) const
{
    const QString text = QStringLiteral("Setting foreground state on objects of type %1 is not supported.");
    return FunctionCallResult<void>(text.arg(classNameOf(window)));
}

FunctionCallResult<void> WindowInteractionDelegate::setFocusedWindow(Object::Ptr window) const
{
    return FunctionCallResult<void>(
        QStringLiteral("Focusing objects of type %1 is not supported.").arg(classNameOf(window)));
}

FunctionCallResult<Object::Ptr> WindowInteractionDelegate::focusedWindow() const
{
    return FunctionCallResult<Object::Ptr>();
}

FunctionCallResult<ScreenRectangle> WindowInteractionDelegate::windowGeometry(Object::Ptr window) const
{
    return FunctionCallResult<ScreenRectangle>(
        ScreenRectangle(-1, -1, -1, -1),
        QStringLiteral("Fetching window geometry for objects of type %1 is not supported.")
            .arg(classNameOf(window)));
}

FunctionCallResult<void> closeWindow(Object::Ptr window, const ObjectList &,
                                     const WindowInteractionDelegate *d)
{
    return d ? d->closeWindow(window) : noDelegate();
}

FunctionCallResult<void> maximizeWindow(Object::Ptr window, const ObjectList &,
                                        const WindowInteractionDelegate *d)
{
    return d ? d->maximizeWindow(window) : noDelegate();
}

FunctionCallResult<void> minimizeWindow(Object::Ptr window, const ObjectList &,
                                        const WindowInteractionDelegate *d)
{
    return d ? d->minimizeWindow(window) : noDelegate();
}

FunctionCallResult<void> restoreWindow(Object::Ptr window, const ObjectList &,
                                       const WindowInteractionDelegate *d)
{
    return d ? d->restoreWindow(window) : noDelegate();
}

FunctionCallResult<void> setFullscreenWindow(Object::Ptr window, const ObjectList &,
                                             const WindowInteractionDelegate *d)
{
    return d ? d->setFullscreenWindow(window) : noDelegate();
}

FunctionCallResult<void> setForegroundWindow(Object::Ptr window, const ObjectList &,
                                             const WindowInteractionDelegate *d)
{
    return d ? d->setForegroundWindow(window) : noDelegate();
}

FunctionCallResult<void> setFocusedWindow(Object::Ptr window, const ObjectList &,
                                          const WindowInteractionDelegate *d)
{
    return d ? d->setFocusedWindow(window) : noDelegate();
}

FunctionCallResult<void> moveWindowTo(Object::Ptr window, const ObjectList &args,
                                      const WindowInteractionDelegate *d)
{
    if (!d)
        return noDelegate();
    int x = 0;
    int y = 0;
    if (!twoIntegers(args, &x, &y))
        return FunctionCallResult<void>(QStringLiteral("Moving a window needs the coordinates x and y"));
    return d->moveWindowTo(window, x, y);
}

FunctionCallResult<void> resizeWindowTo(Object::Ptr window, const ObjectList &args,
                                        const WindowInteractionDelegate *d)
{
    if (!d)
        return noDelegate();
    int width = 0;
    int height = 0;
    if (!twoIntegers(args, &width, &height))
        return FunctionCallResult<void>(QStringLiteral("Resizing a window needs the width and the height"));
    return d->resizeWindowTo(window, width, height);
}

Object::Ptr interactWithWindow(const ObjectList &args, const QString &action, WindowOperation op)
{
    const Object::Ptr window = args.empty() ? Object::Ptr() : args[0];
    if (isNullWindow(window))
        return fail(QStringLiteral("Can't %1 null object.").arg(action));
    const WindowInteractionDelegate *d = windowDelegateFor(window);
    if (!d)
        return fail(
            QStringLiteral("Don't know how to %1 object of type %2").arg(action, window->className()));
    if (!op)
        return Object::Ptr();

    ObjectList rest;
    rest.reserve(args.size() - 1);
    for (size_t i = 1; i < args.size(); ++i)
        rest.push_back(args[i]);
    const FunctionCallResult<void> result = op(window, rest, d);
    if (!result.ok())
        return fail(result.error);
    return Inspector::self()->voidObject();
}

Object::Ptr closeWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("close"), closeWindow);
}

Object::Ptr maximizeWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("maximize"), maximizeWindow);
}

Object::Ptr minimizeWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("minimize"), minimizeWindow);
}

Object::Ptr restoreWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("restore"), restoreWindow);
}

Object::Ptr moveWindowToByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("move"), moveWindowTo);
}

Object::Ptr resizeWindowToByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("resize"), resizeWindowTo);
}

Object::Ptr setFullscreenWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("set fullscreen"), setFullscreenWindow);
}

Object::Ptr setForegroundWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("set foreground"), setForegroundWindow);
}

Object::Ptr setFocusedWindowByObject(const ObjectList &args, const Class *)
{
    return interactWithWindow(args, QStringLiteral("set focused"), setFocusedWindow);
}

Object::Ptr getWindowGeometryByObject(const ObjectList &args, const Class *)
{
    const Object::Ptr window = args.empty() ? Object::Ptr() : args[0];
    if (isNullWindow(window))
        return fail(QStringLiteral("Can't fetch geometry for null object."));
    const WindowInteractionDelegate *d = windowDelegateFor(window);
    if (!d) {
        // The message's only placeholder is numbered 2; arg() fills the lowest one there is.
        const QString text = QStringLiteral("Don't know how to fetch geometry for object of type %2");
        return fail(text.arg(window->className()));
    }
    const FunctionCallResult<ScreenRectangle> result = d->windowGeometry(window);
    if (!result.ok())
        return fail(result.error);
    return wrapScreenRectangle(result.value);
}

Object::Ptr focusedWindow(const ObjectList &, const Class *)
{
    const std::vector<const Delegate *> delegates = DelegateFactory::self()->delegatesForType(
        Delegate::WindowInteraction);
    for (const Delegate *candidate : delegates) {
        const WindowInteractionDelegate *d = dynamic_cast<const WindowInteractionDelegate *>(candidate);
        if (!d)
            continue;
        const FunctionCallResult<Object::Ptr> result = d->focusedWindow();
        // An error ends the search: a later toolkit's answer would hide what went wrong.
        if (!result.ok())
            return fail(result.error);
        if (result.value && !result.value->isNull())
            return result.value;
    }
    return fail(QStringLiteral("No focused window found"));
}

void registerWindowInteractionMethods(const Class *windowClass)
{
    Inspector *insp = Inspector::self();
    // globalClass() is const for readers; registration is the one writer.
    GlobalClass *global = const_cast<GlobalClass *>(dynamic_cast<const GlobalClass *>(insp->globalClass()));
    if (!global)
        return;

    const Argument window(QStringLiteral("object"), windowClass);
    const Argument nothing(insp->type(Inspector::Void));
    const Class *intClass = insp->type(Inspector::Int);
    const Argument x(QStringLiteral("x"), intClass);
    const Argument y(QStringLiteral("y"), intClass);
    const Argument width(QStringLiteral("w"), intClass);
    const Argument height(QStringLiteral("h"), intClass);
    const Argument rectangle(objectModelScreenRectangleClass());

    // Made and added one at a time: a global method takes the next free index when it is made.
    auto add = [global](GlobalMethod::ListFunction function, const Argument &result, const char *name,
                        const Signature &signature) {
        global->addMethod(new GlobalMethod(function, result, QString::fromLatin1(name), signature));
    };
    add(closeWindowByObject, nothing, "_vexil_window_close", Signature(window));
    add(maximizeWindowByObject, nothing, "_vexil_window_maximize", Signature(window));
    add(minimizeWindowByObject, nothing, "_vexil_window_minimize", Signature(window));
    add(moveWindowToByObject, nothing, "_vexil_window_moveto", Signature(window, x, y));
    add(resizeWindowToByObject, nothing, "_vexil_window_resizeto", Signature(window, width, height));
    add(restoreWindowByObject, nothing, "_vexil_window_restore", Signature(window));
    add(setFullscreenWindowByObject, nothing, "_vexil_window_fullscreen_set", Signature(window));
    add(setForegroundWindowByObject, nothing, "_vexil_window_foreground_set", Signature(window));
    add(setFocusedWindowByObject, nothing, "_vexil_window_focus_set", Signature(window));
    add(getWindowGeometryByObject, rectangle, "_vexil_window_geometry_get", Signature(window));
    add(focusedWindow, nothing, "_vexil_window_focused", Signature());
}

} // namespace Vexil
