// windowinteractiondelegate.h: window operations for scripts, carried out by a per-toolkit delegate.
#ifndef VEXIL_WINDOWINTERACTIONDELEGATE_H
#define VEXIL_WINDOWINTERACTIONDELEGATE_H

#include "delegate.h"
#include "object.h"
#include "screenrectangle.h"
#include "vexil_export.h"

#include <QString>

namespace Vexil {

/// The result of an operation that can fail: a value and an error text, empty on success.
template <class T>
struct FunctionCallResult
{
    FunctionCallResult()
        : value()
        , error()
    {
    }
    FunctionCallResult(const T &v, const QString &e = QString())
        : value(v)
        , error(e)
    {
    }

    bool ok() const { return error.isEmpty(); }

    T value;
    QString error;
};

/// The result of an operation without a value: only the error text, empty on success.
template <>
struct FunctionCallResult<void>
{
    FunctionCallResult()
        : error()
    {
    }
    FunctionCallResult(const QString &e)
        : error(e)
    {
    }

    bool ok() const { return error.isEmpty(); }

    QString error;
};

/// How a toolkit operates its top-level windows. Registers itself for \p className like every delegate;
/// the operations that are not pure answer that they are not supported.
class VEXIL_EXPORT WindowInteractionDelegate : public Delegate
{
public:
    explicit WindowInteractionDelegate(const QString &className);
    ~WindowInteractionDelegate() override;

    virtual FunctionCallResult<void> closeWindow(Object::Ptr window) const = 0;
    virtual FunctionCallResult<void> maximizeWindow(Object::Ptr window) const = 0;
    virtual FunctionCallResult<void> minimizeWindow(Object::Ptr window) const = 0;
    virtual FunctionCallResult<void> moveWindowTo(Object::Ptr window, int x, int y) const = 0;
    virtual FunctionCallResult<void> resizeWindowTo(Object::Ptr window, int width, int height) const = 0;
    virtual FunctionCallResult<void> restoreWindow(Object::Ptr window) const = 0;
    virtual FunctionCallResult<void> setFullscreenWindow(Object::Ptr window) const;
    virtual FunctionCallResult<void> setForegroundWindow(Object::Ptr window) const;
    virtual FunctionCallResult<void> setFocusedWindow(Object::Ptr window) const;
    /// The window that has the focus; by default none (a null pointer) and no error.
    virtual FunctionCallResult<Object::Ptr> focusedWindow() const;
    /// By default the rectangle (-1, -1, -1, -1) and an error.
    virtual FunctionCallResult<ScreenRectangle> windowGeometry(Object::Ptr window) const;
};

/// One window operation as interactWithWindow calls it: the window, the script's remaining arguments and
/// the delegate that serves the window's class.
typedef FunctionCallResult<void> (*WindowOperation)(Object::Ptr window, const ObjectList &args,
                                                    const WindowInteractionDelegate *d);

VEXIL_EXPORT FunctionCallResult<void> closeWindow(Object::Ptr window, const ObjectList &args,
                                                  const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> maximizeWindow(Object::Ptr window, const ObjectList &args,
                                                     const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> minimizeWindow(Object::Ptr window, const ObjectList &args,
                                                     const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> restoreWindow(Object::Ptr window, const ObjectList &args,
                                                    const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> setFullscreenWindow(Object::Ptr window, const ObjectList &args,
                                                          const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> setForegroundWindow(Object::Ptr window, const ObjectList &args,
                                                          const WindowInteractionDelegate *d);
VEXIL_EXPORT FunctionCallResult<void> setFocusedWindow(Object::Ptr window, const ObjectList &args,
                                                       const WindowInteractionDelegate *d);
/// x and y are the integer values of args[0] and args[1].
VEXIL_EXPORT FunctionCallResult<void> moveWindowTo(Object::Ptr window, const ObjectList &args,
                                                   const WindowInteractionDelegate *d);
/// Width and height are the integer values of args[0] and args[1].
VEXIL_EXPORT FunctionCallResult<void> resizeWindowTo(Object::Ptr window, const ObjectList &args,
                                                     const WindowInteractionDelegate *d);

/// Runs \p op on the window args[0] with the delegate of its class and the remaining arguments. The shared
/// void object on success; otherwise the Inspector's error says why and the result is null.
VEXIL_EXPORT Object::Ptr interactWithWindow(const ObjectList &args, const QString &action,
                                            WindowOperation op);

// Global functions for scripts: args[0] is the window, further arguments as the operation needs them.
VEXIL_EXPORT Object::Ptr closeWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr maximizeWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr minimizeWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr restoreWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr moveWindowToByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr resizeWindowToByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr setFullscreenWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr setForegroundWindowByObject(const ObjectList &args, const Class *cls);
VEXIL_EXPORT Object::Ptr setFocusedWindowByObject(const ObjectList &args, const Class *cls);
/// The window's geometry as a ScreenRectangle object; null with the Inspector's error set on failure.
VEXIL_EXPORT Object::Ptr getWindowGeometryByObject(const ObjectList &args, const Class *cls);
/// The first window that a window-interaction delegate reports as focused, asking them in factory order.
VEXIL_EXPORT Object::Ptr focusedWindow(const ObjectList &args, const Class *cls);

/// Publishes the window functions ("_vexil_window_close" and its siblings) as static methods of the global
/// class, their window parameter typed \p windowClass. Calling it for several window classes gives each
/// function one overload per class.
VEXIL_EXPORT void registerWindowInteractionMethods(const Class *windowClass);

} // namespace Vexil

#endif // VEXIL_WINDOWINTERACTIONDELEGATE_H
