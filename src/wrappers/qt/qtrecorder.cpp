// qtrecorder.cpp: records clicks, key presses and text changes on widgets for the recording layer.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "eventdata.h"
#include "inspector.h"
#include "interface.h"
#include "primitives.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QTouchEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QWidget>

namespace Vexil {
namespace QtWrapper {

namespace {

const Enum *qtEnum(const char *name)
{
    const Class *qt = classForMetaObject(qt_getQtMetaObject());
    return qt ? qt->enumerator(QString::fromLatin1(name)) : nullptr;
}

EventDataArg intArgument(const QString &name, int value, const Enum *e = nullptr)
{
    Inspector *insp = Inspector::self();
    return EventData::createArgument(name, insp->type(Inspector::Int), e, insp->createPrimitive(value));
}

EventDataArg textArgument(const QString &name, const QString &value)
{
    return EventData::createArgument(name, Inspector::self()->type(Inspector::Char), nullptr, wrap(value));
}

void record(const QString &eventName, const QString &objectId, const std::vector<EventDataArg> &args)
{
    EventData data;
    data.type = EventData::EventType;
    data.eventName = eventName;
    data.objectId = objectId;
    data.arguments.resize(unsigned(args.size()));
    for (size_t i = 0; i < args.size(); ++i)
        data.arguments[unsigned(i)] = args[i];
    Inspector::self()->recordEvent(data);
}

void record(const QString &eventName, QObject *object, const std::vector<EventDataArg> &args)
{
    record(eventName, recordedName(object), args);
}

// The text the user edits in a widget: its user property, when that is a writable text; in a Qt Quick text
// field, its text.
QMetaProperty editedText(QObject *object)
{
    const QMetaObject *mo = object->metaObject();
    QMetaProperty p = mo->userProperty();
    if (QQuickItem *item = quickItem(object)) {
        const int index = mo->indexOfProperty("text");
        p = (item->flags() & QQuickItem::ItemAcceptsInputMethod) && index >= 0 ? mo->property(index)
                                                                               : QMetaProperty();
    }
    if (p.isValid() && p.isReadable() && p.isWritable() && p.userType() == QMetaType::QString)
        return p;
    return QMetaProperty();
}

// Clicks on an item that has no name or text of its own (the mouse area of a button) are recorded on the
// nearest item around it that has one, so that the record reads as a person sees it.
QObject *namedClickTarget(QQuickItem *item, QPointF *pos)
{
    for (QQuickItem *p = item; p; p = p->parentItem()) {
        if (p->window() && p == p->window()->contentItem())
            break;
        const QVariant text = p->property("text");
        if (!p->objectName().isEmpty()
            || (text.userType() == QMetaType::QString && !text.toString().isEmpty())) {
            *pos = item->mapToItem(p, *pos);
            return p;
        }
    }
    return item;
}

bool isModifierKey(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Meta || key == Qt::Key_Alt
        || key == Qt::Key_AltGr || key == Qt::Key_CapsLock || key == Qt::Key_unknown;
}

} // namespace

QString recordedName(QObject *object)
{
    const QString real = realName(object);
    ObjectMap *map = ObjectMap::self();
    return map ? map->symbolicName(real, true) : real;
}

Recorder::Recorder(QObject *parent)
    : QObject(parent)
{
}

Recorder::~Recorder() = default;

bool Recorder::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease && type != QEvent::KeyPress
        && type != QEvent::KeyRelease && type != QEvent::FocusOut && type != QEvent::TouchBegin
        && type != QEvent::TouchUpdate && type != QEvent::TouchEnd)
        return false;
    // Nobody records, or a record is being delivered and its receiver stirred the application.
    if (!Inspector::self()->eventNotifyDelegate() || m_busy
        || !(watched->isWidgetType() || quickItem(watched)))
        return false;
    // A QQuickWidget passes its input on to its items, which are recorded.
    if (qobject_cast<QQuickWidget *>(watched))
        return false;
    m_busy = true;
    QObject *widget = watched;
    // Menus are recorded as the items they activate, not as the clicks and keys that open and walk them.
    auto *menu = qobject_cast<QMenu *>(widget);
    const bool inMenu = menu || qobject_cast<QMenuBar *>(widget);
    if (inMenu && (type == QEvent::MouseButtonRelease || type == QEvent::KeyPress)) {
        if (!isRepeat(event) && menu)
            recordMenuActivation(menu, event);
        m_pressed = nullptr;
        m_busy = false;
        return false;
    }
    switch (type) {
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        recordTouch(widget, event);
        break;
    case QEvent::MouseButtonPress:
        flushText();
        if (!isRepeat(event))
            m_pressed = widget;
        break;
    case QEvent::MouseButtonRelease:
        if (!isRepeat(event) && m_pressed == widget)
            recordClick(widget, event);
        m_pressed = nullptr;
        break;
    case QEvent::KeyPress:
        if (!isRepeat(event)) {
            flushText();
            recordKey(widget, event);
            watchText(widget);
        }
        break;
    case QEvent::KeyRelease:
        isRepeat(event); // a press that follows is a new one, even with the same time stamp
        flushText();
        break;
    case QEvent::FocusOut:
        flushText();
        break;
    default:
        break;
    }
    m_busy = false;
    return false;
}

bool Recorder::isRepeat(QEvent *event)
{
    // An event a widget ignores travels on to its parents as a copy with the same time stamp; only the
    // widget that got it first is recorded.
    const auto *input = static_cast<QInputEvent *>(event);
    int detail = 0;
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        detail = static_cast<QKeyEvent *>(event)->key();
    } else {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        detail = mouse->globalX() * 7919 + mouse->globalY() * 31 + int(mouse->button());
    }
    const bool repeat = int(event->type()) == m_lastType && input->timestamp() == m_lastTimestamp
        && detail == m_lastDetail;
    m_lastType = int(event->type());
    m_lastTimestamp = input->timestamp();
    m_lastDetail = detail;
    return repeat;
}

void Recorder::recordClick(QObject *widget, QEvent *event)
{
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const std::vector<EventDataArg> where = {
        intArgument(QStringLiteral("button"), int(mouse->button()), qtEnum("MouseButtons")),
        intArgument(QStringLiteral("modifiers"), int(mouse->modifiers()), qtEnum("KeyboardModifiers"))
    };
    if (QQuickItem *item = quickItem(widget)) {
        QPointF at = mouse->localPos();
        QObject *target = namedClickTarget(item, &at);
        record(QStringLiteral("mouseClick"), target,
               { intArgument(QStringLiteral("x"), qRound(at.x())),
                 intArgument(QStringLiteral("y"), qRound(at.y())), where[0], where[1] });
        return;
    }
    // A click on an item names the item, at a place relative to it.
    if (QAbstractItemView *view = viewOfViewport(static_cast<QWidget *>(widget))) {
        const QModelIndex index = view->indexAt(mouse->pos());
        if (index.isValid()) {
            const QPoint at = mouse->pos() - view->visualRect(index).topLeft();
            const QString real = itemRealName(view, index);
            ObjectMap *map = ObjectMap::self();
            record(QStringLiteral("mouseClick"), map ? map->symbolicName(real, true) : real,
                   { intArgument(QStringLiteral("x"), at.x()), intArgument(QStringLiteral("y"), at.y()),
                     where[0], where[1] });
            return;
        }
    }
    record(QStringLiteral("mouseClick"), widget,
           { intArgument(QStringLiteral("x"), mouse->pos().x()),
             intArgument(QStringLiteral("y"), mouse->pos().y()), where[0], where[1] });
}

bool Recorder::recordMenuActivation(QWidget *widget, QEvent *event)
{
    auto *menu = qobject_cast<QMenu *>(widget);
    if (!menu)
        return false;
    QAction *action = nullptr;
    if (event->type() == QEvent::MouseButtonRelease) {
        action = menu->actionAt(static_cast<QMouseEvent *>(event)->pos());
    } else {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            action = menu->activeAction();
    }
    if (!action || action->menu() || action->isSeparator() || !action->isEnabled())
        return false;
    QWidget *root = nullptr;
    const QString path = menuPath(action, &root);
    record(QStringLiteral("activateMenuItem"), root ? root : menu,
           { textArgument(QStringLiteral("path"), path) });
    return true;
}

void Recorder::recordTouch(QObject *widget, QEvent *event)
{
    const auto *touch = static_cast<QTouchEvent *>(event);
    // An event a widget leaves goes on to its parents with the same time stamp; the last to get it took it.
    const bool copy = !m_touchSamples.empty() && touch->timestamp() == m_lastTouchTimestamp;
    if (event->type() == QEvent::TouchBegin && !copy) {
        m_touchSamples.clear();
        m_touchStart = touch->timestamp();
    }
    m_touchWidget = widget;
    m_lastTouchTimestamp = touch->timestamp();
    TouchSample sample;
    sample.timestamp = int(touch->timestamp() - m_touchStart);
    for (const QTouchEvent::TouchPoint &p : touch->touchPoints()) {
        TouchPoint point;
        point.id = p.id();
        point.x = float(p.pos().x());
        point.y = float(p.pos().y());
        point.pressure = float(p.pressure());
        point.state = p.state() == Qt::TouchPointPressed ? TouchPoint::Down
            : p.state() == Qt::TouchPointReleased        ? TouchPoint::Up
                                                         : TouchPoint::Move;
        sample.points.push_back(point);
    }
    if (copy)
        m_touchSamples.back() = sample;
    else
        m_touchSamples.push_back(sample);
    if (event->type() != QEvent::TouchEnd)
        return;
    // The gesture in pixels of the widget that took it, as replayGesture plays it back.
    TouchBuilder builder;
    MultiTouchInfo &gesture = builder.gestures().front();
    gesture.unit = MultiTouchInfo::Pixel;
    const QSizeF size = widget->isWidgetType()
        ? QSizeF(static_cast<QWidget *>(widget)->size())
        : QSizeF(quickItem(widget)->width(), quickItem(widget)->height());
    gesture.areaWidth = float(size.width());
    gesture.areaHeight = float(size.height());
    gesture.samples = m_touchSamples;
    m_touchSamples.clear();
    record(QStringLiteral("replayGesture"), widget,
           { textArgument(QStringLiteral("gesture"), QString::fromStdString(builder.toXml())) });
}

void Recorder::recordKey(QObject *widget, QEvent *event)
{
    const auto *key = static_cast<QKeyEvent *>(event);
    if (isModifierKey(key->key()))
        return;
    // Printable keys as the text they type, the others by name in angle brackets: "a", "<Return>".
    const QString text = key->text();
    const bool printable = !text.isEmpty() && text.at(0).isPrint();
    const QString typed = printable
        ? text
        : QLatin1Char('<') + QKeySequence(key->key()).toString(QKeySequence::PortableText) + QLatin1Char('>');
    record(QStringLiteral("keyPress"), widget,
           { textArgument(QStringLiteral("key"), typed),
             intArgument(QStringLiteral("modifiers"), int(key->modifiers()), qtEnum("KeyboardModifiers")) });
}

void Recorder::watchText(QObject *widget)
{
    const QMetaProperty p = editedText(widget);
    if (!p.isValid())
        return;
    // The widget changes its text while it handles the key, after this filter ran: compare when the key is
    // released (or focus moves, or another key or click comes).
    m_textWidget = widget;
    m_textBefore = p.read(widget).toString();
}

void Recorder::flushText()
{
    QObject *widget = m_textWidget.data();
    m_textWidget = nullptr;
    if (!widget)
        return;
    const QMetaProperty p = editedText(widget);
    if (!p.isValid())
        return;
    const QString now = p.read(widget).toString();
    if (now != m_textBefore)
        record(QStringLiteral("textChanged"), widget, { textArgument(QStringLiteral("text"), now) });
}

} // namespace QtWrapper
} // namespace Vexil
