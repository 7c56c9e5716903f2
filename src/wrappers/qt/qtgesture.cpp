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
#include <QTimer>
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
    int time = 0;   // milliseconds after the first
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

// The gestures as touch events on \p widget: points relative to its top-left in pixels, states from the
// points' own where they say "up" and otherwise from which pointers are down from one sample to the next.
QVector<TouchFrame> framesFor(QWidget *widget, std::vector<MultiTouchInfo> gestures)
{
    QScreen *screen = widget->screen();
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
                const QPointF global = widget->mapToGlobal(QPointF(tp.x, tp.y).toPoint());
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

// Plays the frames from timers in an event loop of our own, so that the application paints and runs its
// timers between them as it does for a finger.
QString replay(QWidget *widget, const std::vector<MultiTouchInfo> &gestures)
{
    const QVector<TouchFrame> frames = framesFor(widget, gestures);
    if (frames.isEmpty())
        return QStringLiteral("the gesture has no samples (was build() called?)");
    activateWindowOf(widget);
    QPointer<QWidget> guard(widget);
    QTouchDevice *device = touchScreen();
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    int next = 0;
    bool lost = false;
    auto send = [&]() {
        while (next < frames.size() && frames.at(next).time <= clock.elapsed()) {
            if (!guard || !guard->window()->windowHandle()) {
                lost = true;
                loop.quit();
                return;
            }
            QWindowSystemInterface::handleTouchEvent<QWindowSystemInterface::SynchronousDelivery>(
                guard->window()->windowHandle(), device, frames.at(next).points);
            ++next;
        }
        if (next >= frames.size()) {
            loop.quit();
            return;
        }
        timer.start(int(std::max<qint64>(0, frames.at(next).time - clock.elapsed())));
    };
    QObject::connect(&timer, &QTimer::timeout, &loop, send);
    timer.start(0);
    loop.exec();
    flushInput();
    return lost ? QStringLiteral("the widget went away during the gesture") : QString();
}

Object::Ptr replayOn(const Object::Ptr &object, const std::vector<MultiTouchInfo> &gestures, const QString &what)
{
    QObject *o = qobjectOf(object);
    if (!o || !o->isWidgetType())
        return failCall(QStringLiteral("Cannot replay %1: the object is no widget").arg(what));
    auto *w = static_cast<QWidget *>(o);
    QString error = clickableAt(w, w->rect().center());
    if (error.isEmpty())
        error = replay(w, gestures);
    if (!error.isEmpty())
        return failCall(QStringLiteral("Cannot replay %1 on '%2': %3").arg(what, printableName(w), error));
    return Inspector::self()->voidObject();
}

Object::Ptr replayGestureFunction(const ObjectList &args, const Class *)
{
    const Object::Ptr gesture = args.size() > 1 ? args[1] : Object::Ptr();
    const auto *cls = gesture ? dynamic_cast<const GestureBuilderClass *>(gesture->objectClass()) : nullptr;
    TouchBuilder *builder = cls ? cls->builderOf(gesture) : nullptr;
    if (!builder)
        return failCall(QStringLiteral("Cannot replay the gesture: the second argument is no GestureBuilder"));
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
    addGlobalFunction(replayGestureFileFunction, "replayGestureFile", Signature(object, textParameter("path")));
}

} // namespace QtWrapper
} // namespace Vexil
