// qtgesture.cpp: gestures replayed as multi-touch input from a touch screen, with their recorded timing.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "gesturebuilderclass.h"
#include "inspector.h"
#include "touchbuilder.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QScreen>
#include <QThread>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTouchDevice>
#include <QWidget>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

#include <cmath>

namespace Vexil {
namespace QtWrapper {

namespace {

QTouchDevice *touchScreen()
{
    // Registered once and kept: Qt holds on to registered devices for the life of the application.
    static QTouchDevice *s_device = nullptr;
    if (!s_device) {
        s_device = new QTouchDevice;
        s_device->setName(QStringLiteral("Vexil touch screen"));
        s_device->setType(QTouchDevice::TouchScreen);
        s_device->setCapabilities(QTouchDevice::Position | QTouchDevice::Area | QTouchDevice::Pressure
                                  | QTouchDevice::NormalizedPosition);
        s_device->setMaximumTouchPoints(10);
        QWindowSystemInterface::registerTouchDevice(s_device);
    }
    return s_device;
}

using WsiPoint = QWindowSystemInterface::TouchPoint;

// One touch event: the points of a sample, each with the state it has then.
struct TouchFrame
{
    int time = 0; // milliseconds after the first
    QList<WsiPoint> points;
};

WsiPoint touchPoint(int id, const QPointF &global, float pressure, qreal diameter, Qt::TouchPointState state,
                    const QRectF &screen)
{
    WsiPoint p;
    p.id = id;
    p.state = state;
    p.pressure = state == Qt::TouchPointReleased ? 0.0 : (pressure >= 0 ? qreal(pressure) : 1.0);
    p.area = QRectF(0, 0, diameter, diameter);
    p.area.moveCenter(global);
    p.normalPosition = QPointF((global.x() - screen.x()) / std::max<qreal>(1, screen.width()),
                               (global.y() - screen.y()) / std::max<qreal>(1, screen.height()));
    return p;
}

// What a gesture touches: a widget, or a Qt Quick item; points are relative to its top-left. An item in a
// QQuickWidget is touched through the widget, at the item's place in it.
struct TouchTarget
{
    QPointer<QWidget> widget;
    QPointer<QQuickItem> item;
    QPoint origin;

    bool alive() const { return widget || item; }
    // The window that receives the touch events: for an item in a QQuickWidget, the widget's.
    QWindow *window() const
    {
        if (widget)
            return widget->window()->windowHandle();
        return item ? item->window() : nullptr;
    }
    QPointF mapToGlobal(const QPointF &pos) const
    {
        return widget ? QPointF(widget->mapToGlobal(origin + pos.toPoint())) : item->mapToGlobal(pos);
    }
    QScreen *screen() const { return window() ? window()->screen() : nullptr; }
};

// The gestures as touch events on \p target: points relative to its top-left in pixels, states from the
// points' own where they say "up" and otherwise from which pointers are down from one sample to the next.
QVector<TouchFrame> framesFor(const TouchTarget &widget, std::vector<MultiTouchInfo> gestures)
{
    QScreen *screen = widget.screen();
    const QRectF screenRect = screen ? QRectF(screen->geometry()) : QRectF(0, 0, 1, 1);
    const float dpiX = screen ? float(screen->physicalDotsPerInchX()) : 96.0f;
    const float dpiY = screen ? float(screen->physicalDotsPerInchY()) : 96.0f;
    QVector<TouchFrame> frames;
    int offset = 0;
    for (MultiTouchInfo &g : gestures) {
        g.toPixel(dpiX, dpiY);
        const double speed = g.speedSet ? double(g.speed) : 1.0;
        // A point's size is its contact diameter as a share of the smaller side of the touch area.
        const qreal side = std::min(g.areaWidth, g.areaHeight);
        QHash<int, WsiPoint> down;
        int first = g.samples.empty() ? 0 : g.samples.front().timestamp;
        int last = offset;
        for (const TouchSample &sample : g.samples) {
            TouchFrame frame;
            frame.time = offset + int(std::lround((sample.timestamp - first) * speed));
            last = frame.time;
            QHash<int, WsiPoint> now;
            for (const TouchPoint &tp : sample.points) {
                const QPointF global = widget.mapToGlobal(QPointF(tp.x, tp.y));
                const qreal diameter = tp.size > 0 && side > 0 ? qreal(tp.size) * side : 0.0;
                Qt::TouchPointState st = Qt::TouchPointPressed;
                auto before = down.constFind(tp.id);
                if (before != down.constEnd())
                    st = before->area.center() == global ? Qt::TouchPointStationary : Qt::TouchPointMoved;
                if (tp.state == TouchPoint::Up && before != down.constEnd())
                    st = Qt::TouchPointReleased;
                const WsiPoint p = touchPoint(tp.id, global, tp.pressure, diameter, st, screenRect);
                frame.points.append(p);
                if (st != Qt::TouchPointReleased)
                    now.insert(tp.id, p);
            }
            // Pointers that are no longer there were lifted where they were last.
            for (auto it = down.constBegin(); it != down.constEnd(); ++it) {
                bool listed = false;
                for (const WsiPoint &p : frame.points)
                    listed = listed || p.id == it.key();
                if (!listed) {
                    WsiPoint lifted = it.value();
                    lifted.state = Qt::TouchPointReleased;
                    lifted.pressure = 0;
                    frame.points.append(lifted);
                }
            }
            down = now;
            if (!frame.points.isEmpty())
                frames.append(frame);
        }
        if (!down.isEmpty()) {
            TouchFrame lift;
            lift.time = last;
            for (WsiPoint p : qAsConst(down)) {
                p.state = Qt::TouchPointReleased;
                p.pressure = 0;
                lift.points.append(p);
            }
            frames.append(lift);
        }
        offset = last;
    }
    return frames;
}

// Plays the frames at their times.
QString replay(const TouchTarget &guard, const std::vector<MultiTouchInfo> &gestures)
{
    const QVector<TouchFrame> frames = framesFor(guard, gestures);
    if (frames.isEmpty())
        return QStringLiteral("the gesture has no samples (was build() called?)");
    if (guard.widget)
        activateWindowOf(guard.widget);
    else
        activateQuickWindow(guard.item);
    QTouchDevice *device = touchScreen();
    QElapsedTimer clock;
    clock.start();
    int next = 0;
    bool lost = false;
    // The application runs between the frames (it paints, runs its timers and animations, as for a finger),
    // but from a loop that never waits for events: a waiting nested loop would make the agent answer the
    // call before the gesture is over.
    while (next < frames.size()) {
        const qint64 early = frames.at(next).time - clock.elapsed();
        if (early > 0) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, int(early));
            QThread::msleep(ulong(std::min<qint64>(early, 2)));
            continue;
        }
        if (!guard.alive() || !guard.window()) {
            lost = true;
            break;
        }
        QWindowSystemInterface::handleTouchEvent<QWindowSystemInterface::SynchronousDelivery>(
            guard.window(), device, frames.at(next).points);
        ++next;
    }
    flushInput();
    return lost ? QStringLiteral("the object went away during the gesture") : QString();
}

Object::Ptr replayOn(const Object::Ptr &object, const std::vector<MultiTouchInfo> &gestures,
                     const QString &what)
{
    QObject *o = qobjectOf(object);
    QQuickItem *item = quickItem(o);
    if (!o || (!o->isWidgetType() && !item))
        return failCall(QStringLiteral("Cannot replay %1: the object is no widget or item").arg(what));
    TouchTarget target;
    QString error;
    if (item) {
        InputTarget input;
        error = quickInputTarget(item, &input);
        if (error.isEmpty())
            error = quickClickableAt(item, QPointF(item->width() / 2, item->height() / 2));
        target.item = item;
        target.widget = input.widget;
        target.origin = input.rect.topLeft();
    } else {
        target.widget = static_cast<QWidget *>(o);
        error = clickableAt(target.widget, target.widget->rect().center());
    }
    if (error.isEmpty())
        error = replay(target, gestures);
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot replay %1 on '%2': %3").arg(what, printableName(o), error));
    return Inspector::self()->voidObject();
}

Object::Ptr replayGestureFunction(const ObjectList &args, const Class *)
{
    const Object::Ptr gesture = args.size() > 1 ? args[1] : Object::Ptr();
    const auto *cls = gesture ? dynamic_cast<const GestureBuilderClass *>(gesture->objectClass()) : nullptr;
    TouchBuilder *builder = cls ? cls->builderOf(gesture) : nullptr;
    if (!builder)
        return failCall(
            QStringLiteral("Cannot replay the gesture: the second argument is no GestureBuilder"));
    return replayOn(args[0], builder->gestures(), QStringLiteral("the gesture"));
}

Object::Ptr replayGestureFileFunction(const ObjectList &args, const Class *)
{
    const QString path = args.size() > 1 && args[1] ? args[1]->toString() : QString();
    const QString what = QStringLiteral("the gesture file '%1'").arg(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return failCall(QStringLiteral("Cannot replay %1: %2").arg(what, file.errorString()));
    TouchBuilder builder;
    std::string error;
    if (!builder.fromXml(file.readAll().toStdString(), &error))
        return failCall(QStringLiteral("Cannot replay %1: %2").arg(what, QString::fromStdString(error)));
    return replayOn(args.empty() ? Object::Ptr() : args[0], builder.gestures(), what);
}

} // namespace

void registerGestureFunctions()
{
    const Argument object = objectParameter("object");
    addGlobalFunction(replayGestureFunction, "replayGesture", Signature(object, objectParameter("gesture")));
    addGlobalFunction(replayGestureFileFunction, "replayGestureFile",
                      Signature(object, textParameter("path")));
}

} // namespace QtWrapper
} // namespace Vexil
