// qtinput.cpp: mouse and keyboard input through the window-system interface, as a person's input arrives,
// and the global input functions of scripts.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "globalobject.h"
#include "inspector.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeySequence>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStyleHints>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace Vexil {
namespace QtWrapper {

namespace {

using Sync = QWindowSystemInterface::SynchronousDelivery;

// What a person holds down between calls: mousePress then mouseMove drags, keyPress("Shift") then a
// click is a shift-click.
struct InputState
{
    Qt::MouseButtons buttons;
    Qt::KeyboardModifiers heldModifiers;
    ulong lastTimestamp = 0;
    ulong lastPressTimestamp = 0;
    QElapsedTimer clock;
};

InputState &state()
{
    static InputState s_state;
    if (!s_state.clock.isValid())
        s_state.clock.start();
    return s_state;
}

// Time stamps never run backwards and never fall below \p atLeast.
ulong nextTimestamp(ulong atLeast = 0)
{
    InputState &s = state();
    ulong ts = std::max<ulong>(ulong(s.clock.elapsed()) + 1, s.lastTimestamp + 1);
    ts = std::max(ts, atLeast);
    s.lastTimestamp = ts;
    return ts;
}

// A press far enough after the previous one that Qt does not pair them into a double-click.
ulong singlePressTimestamp()
{
    const ulong interval = ulong(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    const InputState &s = state();
    return nextTimestamp(s.lastPressTimestamp ? s.lastPressTimestamp + interval + 1 : 0);
}

QWindow *windowHandleOf(QWidget *widget)
{
    QWidget *window = widget->window();
    return window->windowHandle();
}

InputTarget widgetTarget(QWidget *widget)
{
    InputTarget target;
    target.widget = widget;
    target.rect = widget->rect();
    return target;
}

bool isAlive(const InputTarget &target)
{
    return target.widget || target.quickItem;
}

// \p pos is in the widget's coordinates when there is one, else in the item's.
void sendMouse(const InputTarget &target, const QPoint &pos, QEvent::Type type, Qt::MouseButton button,
               Qt::KeyboardModifiers modifiers, ulong timestamp)
{
    QWindow *handle = nullptr;
    QPointF local, global;
    if (QWidget *widget = target.widget.data()) {
        handle = windowHandleOf(widget);
        local = widget->mapTo(widget->window(), pos);
        global = widget->mapToGlobal(pos);
    } else if (QQuickItem *item = target.quickItem.data()) {
        // The scene's coordinates are the window's.
        handle = item->window();
        local = item->mapToScene(pos);
        global = item->mapToGlobal(pos);
    }
    if (!handle)
        return;
    InputState &s = state();
    if (type == QEvent::MouseButtonPress) {
        s.buttons |= button;
        s.lastPressTimestamp = timestamp;
    } else if (type == QEvent::MouseButtonRelease) {
        s.buttons &= ~button;
    }
    QWindowSystemInterface::handleMouseEvent<Sync>(handle, timestamp, local, global, s.buttons, button, type,
                                                   modifiers | s.heldModifiers);
}

const struct
{
    const char *name;
    Qt::KeyboardModifier modifier;
    Qt::Key key;
} kModifiers[] = {
    { "Ctrl", Qt::ControlModifier, Qt::Key_Control },
    { "Shift", Qt::ShiftModifier, Qt::Key_Shift },
    { "Alt", Qt::AltModifier, Qt::Key_Alt },
    { "Meta", Qt::MetaModifier, Qt::Key_Meta },
};

// One key as a person presses it: the key, the modifiers held with it and the text it types.
struct KeyStroke
{
    int key = 0;
    Qt::KeyboardModifiers modifiers;
    QString text;
};

QString textOfKey(int key, Qt::KeyboardModifiers modifiers)
{
    if (modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return QString();
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return QStringLiteral("\r");
    case Qt::Key_Tab:
        return QStringLiteral("\t");
    case Qt::Key_Backspace:
        return QStringLiteral("\b");
    case Qt::Key_Escape:
        return QStringLiteral("\x1b");
    case Qt::Key_Delete:
        return QStringLiteral("\x7f");
    default:
        break;
    }
    // Keys of printable characters are numbered by the (upper-case) character.
    if (key >= Qt::Key_Space && key <= 0xff && QChar(key).isPrint()) {
        const QChar c(key);
        return QString((modifiers & Qt::ShiftModifier) ? c.toUpper() : c.toLower());
    }
    return QString();
}

KeyStroke strokeForCharacter(QChar c)
{
    KeyStroke k;
    if (c == QLatin1Char('\n') || c == QLatin1Char('\r')) {
        k.key = Qt::Key_Return;
        k.text = QStringLiteral("\r");
        return k;
    }
    if (c == QLatin1Char('\t')) {
        k.key = Qt::Key_Tab;
        k.text = QStringLiteral("\t");
        return k;
    }
    k.key = c.toUpper().unicode();
    k.text = QString(c);
    return k;
}

// One key or chord as QKeySequence spells it ("Return", "Ctrl+A", "Shift+Home"), or a modifier alone.
bool parseKeyName(const QString &name, KeyStroke *out, QString *error)
{
    const QString trimmed = name.trimmed();
    for (const auto &m : kModifiers) {
        if (trimmed.compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0) {
            out->key = m.key;
            out->modifiers = Qt::NoModifier;
            out->text.clear();
            return true;
        }
    }
    const QKeySequence seq = QKeySequence::fromString(trimmed, QKeySequence::PortableText);
    const int combined = seq.count() == 1 ? seq[0] : 0;
    const int key = combined & ~int(Qt::KeyboardModifierMask);
    if (trimmed.isEmpty() || key == 0 || key == Qt::Key_unknown) {
        // Name the part that is wrong: a modifier that is none, else the key.
        QStringList parts = trimmed.split(QLatin1Char('+'));
        QString bad = parts.isEmpty() ? trimmed : parts.last();
        for (int i = 0; i + 1 < parts.size(); ++i) {
            bool known = false;
            for (const auto &m : kModifiers)
                known = known || parts.at(i).compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0;
            if (!known && !parts.at(i).isEmpty()) {
                bad = parts.at(i);
                break;
            }
        }
        *error = QStringLiteral("Unknown key name '%1' in '%2'").arg(bad.isEmpty() ? trimmed : bad, name);
        return false;
    }
    out->key = key;
    out->modifiers = Qt::KeyboardModifiers(combined & int(Qt::KeyboardModifierMask));
    out->text = textOfKey(key, out->modifiers);
    return true;
}

// "Hi<Return>": characters and bracketed keys; "<<" is a literal "<".
bool parseTypedText(const QString &text, QVector<KeyStroke> *out, QString *error)
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c != QLatin1Char('<')) {
            out->append(strokeForCharacter(c));
            continue;
        }
        if (i + 1 < text.size() && text.at(i + 1) == QLatin1Char('<')) {
            out->append(strokeForCharacter(c));
            ++i;
            continue;
        }
        // The closing bracket of "<Ctrl+>>" style chords is the last ">" of a run.
        int close = text.indexOf(QLatin1Char('>'), i + 1);
        while (close >= 0 && close + 1 < text.size() && text.at(close + 1) == QLatin1Char('>'))
            ++close;
        if (close < 0) {
            *error = QStringLiteral("Unclosed '<' at position %1 in '%2' (a literal '<' is written '<<')")
                         .arg(i)
                         .arg(text);
            return false;
        }
        KeyStroke k;
        if (!parseKeyName(text.mid(i + 1, close - i - 1), &k, error))
            return false;
        out->append(k);
        i = close;
    }
    return true;
}

bool parseButton(const QString &text, Qt::MouseButton *out, QString *error)
{
    const QString t = text.trimmed().toLower();
    if (t.isEmpty() || t == QLatin1String("left"))
        *out = Qt::LeftButton;
    else if (t == QLatin1String("right"))
        *out = Qt::RightButton;
    else if (t == QLatin1String("middle"))
        *out = Qt::MiddleButton;
    else {
        *error = QStringLiteral("Unknown mouse button '%1' (use left, right or middle)").arg(text);
        return false;
    }
    return true;
}

bool parseModifiers(const QString &text, Qt::KeyboardModifiers *out, QString *error)
{
    *out = Qt::NoModifier;
    const QStringList parts = text.split(QLatin1Char('+'), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        bool known = false;
        for (const auto &m : kModifiers) {
            if (part.trimmed().compare(QLatin1String(m.name), Qt::CaseInsensitive) == 0) {
                *out |= m.modifier;
                known = true;
            }
        }
        if (!known) {
            *error = QStringLiteral("Unknown modifier '%1' (use Ctrl, Shift, Alt or Meta joined by '+')")
                         .arg(part.trimmed());
            return false;
        }
    }
    return true;
}

void sendKey(QWindow *handle, QEvent::Type type, const KeyStroke &k)
{
    if (handle)
        QWindowSystemInterface::handleKeyEvent<Sync>(handle, nextTimestamp(), type, k.key,
                                                     k.modifiers | state().heldModifiers, k.text);
}

// A key as a person strikes it: modifiers down, the key down and up, modifiers up. The window may close
// on the way (Escape in a dialog): every step checks it is still there.
void strikeKey(const QPointer<QWindow> &widget, const KeyStroke &k)
{
    Qt::KeyboardModifiers held;
    for (const auto &m : kModifiers) {
        if (!widget || !(k.modifiers & m.modifier) || k.key == m.key)
            continue;
        sendKey(widget, QEvent::KeyPress, KeyStroke { m.key, held, QString() });
        held |= m.modifier;
    }
    if (widget)
        sendKey(widget, QEvent::KeyPress, k);
    if (widget)
        sendKey(widget, QEvent::KeyRelease, k);
    for (int i = int(sizeof(kModifiers) / sizeof(kModifiers[0])) - 1; i >= 0; --i) {
        const auto &m = kModifiers[i];
        if (!widget || !(held & m.modifier))
            continue;
        held &= ~m.modifier;
        sendKey(widget, QEvent::KeyRelease, KeyStroke { m.key, held | m.modifier, QString() });
    }
}

// Objects as input targets

QString describe(const Object::Ptr &object)
{
    if (!object || object->isNull())
        return QStringLiteral("null object");
    if (QObject *o = qobjectOf(object))
        return printableName(o);
    if (itemOf(object))
        return itemDisplayName(object);
    return QStringLiteral("object of type ") + object->className();
}

// The widget and rectangle behind an object, or the reason there is none.
QString inputTarget(const Object::Ptr &object, InputTarget *target)
{
    if (!object || object->isNull())
        return QStringLiteral("the object is null");
    if (itemOf(object))
        return itemInputTarget(object, target);
    QObject *o = qobjectOf(object);
    if (auto *action = qobject_cast<QAction *>(o))
        return actionInputTarget(action, target);
    if (QQuickItem *item = quickItem(o))
        return quickInputTarget(item, target);
    if (!o || !o->isWidgetType())
        return QStringLiteral("objects of type %1 take no mouse input").arg(object->className());
    auto *w = static_cast<QWidget *>(o);
    target->widget = w;
    target->rect = w->rect();
    return QString();
}

QPoint pointIn(const InputTarget &target, int x, int y)
{
    if (x == -1 && y == -1)
        return target.rect.center();
    return target.rect.topLeft() + QPoint(x, y);
}

struct MouseArgs
{
    Object::Ptr object;
    int x = -1;
    int y = -1;
    Qt::MouseButton button = Qt::LeftButton;
    Qt::KeyboardModifiers modifiers;
};

// object[, x, y[, button[, modifiers]]], with \p leading integers (x, y and, for drags, dx, dy) after the
// object.
bool readMouseArgs(const ObjectList &args, int leading, MouseArgs *out, int *extra, QString *error)
{
    if (args.empty() || !args[0]) {
        *error = QStringLiteral("the object is null");
        return false;
    }
    out->object = args[0];
    size_t i = 1;
    if (args.size() >= size_t(1 + leading) && leading >= 2) {
        out->x = args[1] ? args[1]->toInteger() : -1;
        out->y = args[2] ? args[2]->toInteger() : -1;
        for (int k = 2; k < leading; ++k)
            extra[k - 2] = args[size_t(1 + k)] ? args[size_t(1 + k)]->toInteger() : 0;
        i = size_t(1 + leading);
    }
    if (args.size() > i && args[i] && !parseButton(args[i]->toString(), &out->button, error))
        return false;
    if (args.size() > i + 1 && args[i + 1]
        && !parseModifiers(args[i + 1]->toString(), &out->modifiers, error))
        return false;
    return true;
}

enum class MouseAction { Click, DoubleClick, Press, Release, Move, Drag };

const char *verbOf(MouseAction action)
{
    switch (action) {
    case MouseAction::Click:
        return "click";
    case MouseAction::DoubleClick:
        return "double-click";
    case MouseAction::Press:
        return "press the mouse on";
    case MouseAction::Release:
        return "release the mouse on";
    case MouseAction::Move:
        return "move the mouse to";
    case MouseAction::Drag:
        return "drag";
    }
    return "use";
}

// Steps of a drag run from timers, so that a drag-and-drop that starts its own event loop on the way
// still gets the moves and the release that follow.
void runDrag(const InputTarget &guard, const QPoint &from, const QPoint &to, Qt::MouseButton button,
             Qt::KeyboardModifiers modifiers)
{
    const int steps = 10;
    QEventLoop loop;
    int step = 0;
    QTimer timer;
    timer.setInterval(10);
    QObject::connect(&timer, &QTimer::timeout, &loop, [&]() {
        if (!isAlive(guard)) {
            loop.quit();
            return;
        }
        ++step;
        const QPoint p = from + (to - from) * step / steps;
        if (step <= steps) {
            sendMouse(guard, p, QEvent::MouseMove, Qt::NoButton, modifiers, nextTimestamp());
        } else {
            timer.stop();
            sendMouse(guard, to, QEvent::MouseButtonRelease, button, modifiers, nextTimestamp());
            loop.quit();
        }
    });
    sendMouse(guard, from, QEvent::MouseMove, Qt::NoButton, modifiers, nextTimestamp());
    sendMouse(guard, from, QEvent::MouseButtonPress, button, modifiers, singlePressTimestamp());
    timer.start();
    execOwnLoop(loop);
}

Object::Ptr mouseFunction(MouseAction action, const ObjectList &args)
{
    const int leading = action == MouseAction::Drag ? 4 : 2;
    MouseArgs m;
    int extra[2] = { 0, 0 };
    QString error;
    const QString verb = QString::fromLatin1(verbOf(action));
    if (!readMouseArgs(args, leading, &m, extra, &error))
        return failCall(QStringLiteral("Cannot %1 '%2': %3").arg(verb, describe(m.object), error));
    // Names cost a search of the application: made only for an error text.
    const auto name = [&m]() { return describe(m.object); };
    InputTarget target;
    error = inputTarget(m.object, &target);
    QWidget *w = target.widget.data();
    QQuickItem *item = target.quickItem.data();
    if (error.isEmpty() && !w && !item)
        error = QStringLiteral("the object is gone");
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot %1 '%2': %3").arg(verb, name(), error));
    const QPoint pos = pointIn(target, m.x, m.y);
    // An item in a QQuickWidget is clicked in the widget; the point in the item is for the item's checks.
    const QPointF itemPos = w && item ? item->mapFromScene(pos) : QPointF(pos);
    // Releases and moves go wherever the pointer is; what gets pressed must be there to be pressed.
    if (action == MouseAction::Release || action == MouseAction::Move) {
        if (w ? !w->isVisible() : !item->isVisible())
            error = w ? QStringLiteral("the widget is hidden") : QStringLiteral("the item is hidden");
    } else {
        error = !target.itemEnabled ? QStringLiteral("the item is disabled")
            : w                     ? clickableAt(w, pos)
                                    : QString();
        if (error.isEmpty() && item)
            error = quickClickableAt(item, itemPos);
    }
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot %1 '%2': %3").arg(verb, name(), error));

    if (item)
        activateQuickWindow(item);
    else
        activateWindowOf(w);
    switch (action) {
    case MouseAction::Click:
    case MouseAction::DoubleClick:
        error = clickTarget(target, pos, m.button, m.modifiers, action == MouseAction::DoubleClick);
        break;
    case MouseAction::Press:
        sendMouse(target, pos, QEvent::MouseMove, Qt::NoButton, m.modifiers, nextTimestamp());
        if (isAlive(target))
            sendMouse(target, pos, QEvent::MouseButtonPress, m.button, m.modifiers, singlePressTimestamp());
        break;
    case MouseAction::Release:
        sendMouse(target, pos, QEvent::MouseMove, Qt::NoButton, m.modifiers, nextTimestamp());
        if (isAlive(target))
            sendMouse(target, pos, QEvent::MouseButtonRelease, m.button, m.modifiers, nextTimestamp());
        break;
    case MouseAction::Move:
        sendMouse(target, pos, QEvent::MouseMove, Qt::NoButton, m.modifiers, nextTimestamp());
        break;
    case MouseAction::Drag:
        runDrag(target, pos, pos + QPoint(extra[0], extra[1]), m.button, m.modifiers);
        break;
    }
    flushInput();
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot %1 '%2': %3").arg(verb, name(), error));
    return Inspector::self()->voidObject();
}

// The window keys go to: that of the object's widget, given the focus as a click would give it; for a Qt
// Quick item, its window with the focus on the item.
QString keyTarget(const Object::Ptr &object, QPointer<QWindow> *out)
{
    InputTarget target;
    QString error = inputTarget(object, &target);
    if (!error.isEmpty())
        return error;
    if (QQuickItem *item = target.quickItem.data()) {
        if (!item->isVisible())
            return QStringLiteral("the item is hidden");
        if (!item->isEnabled())
            return QStringLiteral("the item is disabled");
        *out = quickKeyWindow(item);
        return *out ? QString() : QStringLiteral("the item is in no window");
    }
    QWidget *w = target.widget;
    if (!w)
        return QStringLiteral("the object is gone");
    if (!w->isVisible())
        return QStringLiteral("the widget is hidden");
    if (!w->isEnabled())
        return QStringLiteral("the widget is disabled");
    activateWindowOf(w);
    // A view's viewport passes the focus on to its view.
    QWidget *focus = w->focusProxy() ? w->focusProxy() : w;
    if (QAbstractItemView *view = viewOfViewport(w))
        focus = view;
    if (QApplication::focusWidget() != focus && focus->focusPolicy() != Qt::NoFocus)
        focus->setFocus(Qt::OtherFocusReason);
    *out = windowHandleOf(QApplication::focusWidget() && QApplication::focusWidget()->window() == w->window()
                              ? QApplication::focusWidget()
                              : w);
    return QString();
}

Object::Ptr mouseClickFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::Click, args);
}
Object::Ptr doubleClickFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::DoubleClick, args);
}
Object::Ptr mousePressFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::Press, args);
}
Object::Ptr mouseReleaseFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::Release, args);
}
Object::Ptr mouseMoveFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::Move, args);
}
Object::Ptr mouseDragFunction(const ObjectList &args, const Class *)
{
    return mouseFunction(MouseAction::Drag, args);
}

Object::Ptr typeFunction(const ObjectList &args, const Class *)
{
    const Object::Ptr object = args.empty() ? Object::Ptr() : args[0];
    const auto name = [&object]() { return describe(object); };
    const QString text = args.size() > 1 && args[1] ? args[1]->toString() : QString();
    QVector<KeyStroke> strokes;
    QString error;
    if (!parseTypedText(text, &strokes, &error))
        return failCall(QStringLiteral("Cannot type into '%1': %2").arg(name(), error));
    QPointer<QWindow> window;
    error = keyTarget(object, &window);
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot type into '%1': %2").arg(name(), error));
    for (const KeyStroke &k : strokes) {
        // Focus moves as keys are typed (Tab): each key goes where the focus is then. Qt Quick moves it
        // within the window.
        QWidget *focus = hasWidgets() ? QApplication::focusWidget() : nullptr;
        strikeKey(focus && windowHandleOf(focus) ? QPointer<QWindow>(windowHandleOf(focus)) : window, k);
    }
    flushInput();
    return Inspector::self()->voidObject();
}

Object::Ptr keyFunction(const ObjectList &args, bool press)
{
    const Object::Ptr object = args.empty() ? Object::Ptr() : args[0];
    const auto name = [&object]() { return describe(object); };
    const QString verb = press ? QStringLiteral("press") : QStringLiteral("release");
    KeyStroke k;
    QString error;
    if (!parseKeyName(args.size() > 1 && args[1] ? args[1]->toString() : QString(), &k, &error))
        return failCall(QStringLiteral("Cannot %1 a key on '%2': %3").arg(verb, name(), error));
    QPointer<QWindow> widget;
    error = keyTarget(object, &widget);
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot %1 a key on '%2': %3").arg(verb, name(), error));
    // A modifier held down stays down for the input that follows, until it is released.
    for (const auto &m : kModifiers) {
        if (k.key == m.key) {
            if (press)
                state().heldModifiers |= m.modifier;
            else
                state().heldModifiers &= ~m.modifier;
        }
    }
    sendKey(widget, press ? QEvent::KeyPress : QEvent::KeyRelease, k);
    flushInput();
    return Inspector::self()->voidObject();
}

Object::Ptr keyPressFunction(const ObjectList &args, const Class *)
{
    return keyFunction(args, true);
}

Object::Ptr keyReleaseFunction(const ObjectList &args, const Class *)
{
    return keyFunction(args, false);
}

} // namespace

double timeoutFactor()
{
    bool ok = false;
    const double factor = qEnvironmentVariable("VEXIL_TIMEOUT_FACTOR").toDouble(&ok);
    return ok && std::isfinite(factor) && factor > 0 ? factor : 1.0;
}

QString printableName(QObject *object)
{
    const QString real = realName(object);
    ObjectMap *map = ObjectMap::self();
    return map ? map->printableName(real) : real;
}

namespace {
// The loop levels of the loops running in execOwnLoop(), innermost last.
std::vector<int> &ownLoopLevels()
{
    static std::vector<int> levels;
    return levels;
}
} // namespace

void execOwnLoop(QEventLoop &loop)
{
    // exec() adds one level for this loop.
    ownLoopLevels().push_back(QThread::currentThread()->loopLevel() + 1);
    loop.exec();
    ownLoopLevels().pop_back();
}

bool inOwnEventLoop()
{
    const std::vector<int> &levels = ownLoopLevels();
    return !levels.empty() && levels.back() == QThread::currentThread()->loopLevel();
}

bool waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    QElapsedTimer elapsed;
    elapsed.start();
    const qint64 limit = qint64(timeoutMs * timeoutFactor());
    while (!condition()) {
        if (elapsed.elapsed() > limit)
            return false;
        // Sleep in the event loop, not beside it: timers (a menu's pop-up delay) must run.
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        execOwnLoop(loop);
    }
    return true;
}

void flushInput()
{
    QWindowSystemInterface::flushWindowSystemEvents();
    QCoreApplication::sendPostedEvents();
}

void activateWindowOf(QWidget *widget)
{
    QWidget *window = widget->window();
    // Pop-ups are never active windows; the window that opened them keeps that role.
    if (window->windowType() == Qt::Popup || QApplication::activeWindow() == window)
        return;
    window->raise();
    window->activateWindow();
    QApplication::setActiveWindow(window);
}

QString clickableAt(QWidget *widget, const QPoint &pos)
{
    if (!widget->isVisible())
        return QStringLiteral("the widget is hidden");
    if (!widget->isEnabled())
        return QStringLiteral("the widget is disabled");
    QWidget *window = widget->window();
    if (QWidget *modal = QApplication::activeModalWidget()) {
        if (modal != window && !modal->isAncestorOf(window)
            && modal->windowModality() == Qt::ApplicationModal)
            return QStringLiteral("the window is blocked by the modal dialog '%1'").arg(printableName(modal));
    }
    if (!widget->rect().contains(pos))
        return QStringLiteral("the point (%1, %2) is outside the widget").arg(pos.x()).arg(pos.y());
    QWidget *hit = window->childAt(widget->mapTo(window, pos));
    if (!hit)
        hit = window;
    if (hit != widget && !widget->isAncestorOf(hit))
        return QStringLiteral("the point (%1, %2) is covered by '%3'")
            .arg(pos.x())
            .arg(pos.y())
            .arg(printableName(hit));
    return QString();
}

void moveMouse(QWidget *widget, const QPoint &pos)
{
    sendMouse(widgetTarget(widget), pos, QEvent::MouseMove, Qt::NoButton, Qt::NoModifier, nextTimestamp());
}

QString clickWidget(QWidget *widget, const QPoint &pos, Qt::MouseButton button,
                    Qt::KeyboardModifiers modifiers, bool doubleClick)
{
    return clickTarget(widgetTarget(widget), pos, button, modifiers, doubleClick);
}

QString clickTarget(const InputTarget &target, const QPoint &pos, Qt::MouseButton button,
                    Qt::KeyboardModifiers modifiers, bool doubleClick)
{
    // The click may close the window (and delete the widget or item) half-way; the target's pointers are
    // guarded.
    const InputTarget &guard = target;
    sendMouse(guard, pos, QEvent::MouseMove, Qt::NoButton, modifiers, nextTimestamp());
    if (isAlive(guard))
        sendMouse(guard, pos, QEvent::MouseButtonPress, button, modifiers, singlePressTimestamp());
    if (isAlive(guard))
        sendMouse(guard, pos, QEvent::MouseButtonRelease, button, modifiers, nextTimestamp());
    if (doubleClick) {
        if (!isAlive(guard))
            return QStringLiteral("the object went away after the first click");
        // Within the double-click interval and at the same place: Qt makes the second press a double-click.
        sendMouse(guard, pos, QEvent::MouseButtonPress, button, modifiers, nextTimestamp());
        if (isAlive(guard))
            sendMouse(guard, pos, QEvent::MouseButtonRelease, button, modifiers, nextTimestamp());
    }
    return QString();
}

Argument objectParameter(const char *name)
{
    // void takes any object unchanged: widgets, actions and items alike.
    return Argument(QString::fromLatin1(name), Inspector::self()->type(Inspector::Void));
}

Argument intParameter(const char *name)
{
    return Argument(QString::fromLatin1(name), Inspector::self()->type(Inspector::Int));
}

Argument textParameter(const char *name)
{
    return Argument(QString::fromLatin1(name), Inspector::self()->type(Inspector::Char),
                    ObjectAttribute::Pointer);
}

Object::Ptr failCall(const QString &text)
{
    Inspector::self()->setError(text);
    return Object::Ptr();
}

void addGlobalFunction(Object::Ptr (*function)(const ObjectList &, const Class *), const char *name,
                       const Signature &signature, const Argument &result)
{
    Inspector *insp = Inspector::self();
    auto *global = const_cast<GlobalClass *>(dynamic_cast<const GlobalClass *>(insp->globalClass()));
    if (!global)
        return;
    const Argument returned = result.type() ? result : Argument(insp->type(Inspector::Void));
    delete global->injectMethod(new GlobalMethod(function, returned, QString::fromLatin1(name), signature));
}

void registerInputFunctions()
{
    const Argument object = objectParameter("object");
    const Argument x = intParameter("x");
    const Argument y = intParameter("y");
    const Argument button = textParameter("button");
    const Argument modifiers = textParameter("modifiers");
    const struct
    {
        const char *name;
        Object::Ptr (*function)(const ObjectList &, const Class *);
    } clicks[] = {
        { "mouseClick", mouseClickFunction },
        { "doubleClick", doubleClickFunction },
        { "mousePress", mousePressFunction },
        { "mouseRelease", mouseReleaseFunction },
    };
    for (const auto &c : clicks) {
        addGlobalFunction(c.function, c.name, Signature(object));
        addGlobalFunction(c.function, c.name, Signature(object, x, y));
        addGlobalFunction(c.function, c.name, Signature(object, x, y, button));
        addGlobalFunction(c.function, c.name, Signature(object, x, y, button, modifiers));
    }
    addGlobalFunction(mouseMoveFunction, "mouseMove", Signature(object, x, y));
    const Argument dx = intParameter("dx");
    const Argument dy = intParameter("dy");
    addGlobalFunction(mouseDragFunction, "mouseDrag", Signature(object, x, y, dx, dy));
    addGlobalFunction(mouseDragFunction, "mouseDrag", Signature(object, x, y, dx, dy, button));
    addGlobalFunction(mouseDragFunction, "mouseDrag", Signature(object, x, y, dx, dy, button, modifiers));
    addGlobalFunction(typeFunction, "type", Signature(object, textParameter("text")));
    addGlobalFunction(keyPressFunction, "keyPress", Signature(object, textParameter("key")));
    addGlobalFunction(keyReleaseFunction, "keyRelease", Signature(object, textParameter("key")));
}

} // namespace QtWrapper
} // namespace Vexil
