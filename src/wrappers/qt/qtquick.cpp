// qtquick.cpp: Qt Quick programs in the model: windows and the visual item tree, QML type names and ids,
// where input to an item lands and pictures of items.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include <QApplication>
#include <QBuffer>
#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QScreen>
#include <QSet>
#include <QWidget>

#include <algorithm>

namespace Vexil {
namespace QtWrapper {

namespace {

// The QQuickWidgets' hidden windows, each with its widget: their items are shown through the widget.
QHash<QQuickWindow *, QQuickWidget *> quickWidgetWindows()
{
    QHash<QQuickWindow *, QQuickWidget *> found;
    if (!hasWidgets())
        return found;
    for (QWidget *w : QApplication::allWidgets()) {
        if (auto *qw = qobject_cast<QQuickWidget *>(w)) {
            if (QQuickWindow *window = qw->quickWindow())
                found.insert(window, qw);
        }
    }
    return found;
}

QQuickWidget *quickWidgetFor(QQuickWindow *window)
{
    return window ? quickWidgetWindows().value(window) : nullptr;
}

// The object that shows a Qt Quick window's items: the window, or the QQuickWidget it renders for.
QObject *shownBy(QQuickWindow *window)
{
    if (QQuickWidget *qw = quickWidgetFor(window))
        return qw;
    return window;
}

bool isAncestorItem(const QQuickItem *ancestor, const QQuickItem *item)
{
    for (const QQuickItem *p = item ? item->parentItem() : nullptr; p; p = p->parentItem()) {
        if (p == ancestor)
            return true;
    }
    return false;
}

// The topmost item at a scene point that a person would see or that takes mouse buttons: children before
// their parents, the higher z first.
QQuickItem *topItemAt(QQuickItem *item, const QPointF &scenePos)
{
    if (!item->isVisible())
        return nullptr;
    const bool inside = item->contains(item->mapFromScene(scenePos));
    if (item->clip() && !inside)
        return nullptr;
    QList<QQuickItem *> kids = item->childItems();
    std::stable_sort(kids.begin(), kids.end(), [](QQuickItem *a, QQuickItem *b) { return a->z() < b->z(); });
    for (auto it = kids.crbegin(); it != kids.crend(); ++it) {
        if (QQuickItem *hit = topItemAt(*it, scenePos))
            return hit;
    }
    if (inside
        && ((item->flags() & QQuickItem::ItemHasContents) || item->acceptedMouseButtons() != Qt::NoButton))
        return item;
    return nullptr;
}

struct TypeNames
{
    QString qml;
    QString cpp; // the C++ class a QML-made type extends; empty when the class is a C++ one
};

TypeNames typeNamesOf(const QMetaObject *metaObject)
{
    static QHash<const QMetaObject *, TypeNames> s_cache;
    auto it = s_cache.constFind(metaObject);
    if (it != s_cache.constEnd())
        return it.value();
    TypeNames names;
    for (const QMetaObject *m = metaObject; m; m = m->superClass()) {
        const QByteArray className(m->className());
        // QML names the meta-objects it makes: "Button_QMLTYPE_12" for the type of Button.qml,
        // "QQuickRectangle_QML_5" for a Rectangle that declares members of its own.
        const int typeAt = className.indexOf("_QMLTYPE_");
        if (typeAt > 0) {
            if (names.qml.isEmpty())
                names.qml = QString::fromLatin1(className.left(typeAt));
            continue;
        }
        if (className.contains("_QML_"))
            continue;
        if (m != metaObject)
            names.cpp = QString::fromLatin1(className);
        if (names.qml.isEmpty()) {
            // Qt Quick registers its own types under the class name without the prefix; a few are exceptions.
            if (className == "QQuickWindowQmlImpl")
                names.qml = QStringLiteral("Window");
            else if (className.startsWith("QQuick") && className != "QQuickWindow"
                     && className != "QQuickView" && className != "QQuickRootItem"
                     && m->inherits(&QObject::staticMetaObject))
                names.qml = QString::fromLatin1(className.mid(6));
        }
        break;
    }
    s_cache.insert(metaObject, names);
    return names;
}

} // namespace

QQuickItem *quickItem(QObject *object)
{
    return qobject_cast<QQuickItem *>(object);
}

QList<QQuickWindow *> quickWindows()
{
    QList<QQuickWindow *> windows;
    for (QWindow *w : QGuiApplication::topLevelWindows()) {
        if (auto *qw = qobject_cast<QQuickWindow *>(w))
            windows.append(qw);
    }
    if (windows.isEmpty())
        return windows;
    const QHash<QQuickWindow *, QQuickWidget *> hidden = quickWidgetWindows();
    windows.erase(std::remove_if(windows.begin(), windows.end(),
                                 [&hidden](QQuickWindow *w) { return hidden.contains(w); }),
                  windows.end());
    return windows;
}

bool isQuickNode(QObject *object)
{
    // Asked for every leaf of every lookup walk, where the same class comes many times in a row: the answer
    // depends on the class alone, so the last one is kept.
    static const QMetaObject *lastClass = nullptr;
    static bool lastAnswer = false;
    const QMetaObject *cls = object->metaObject();
    if (cls == lastClass)
        return lastAnswer;
    if (object->isWindowType())
        lastAnswer = qobject_cast<QQuickWindow *>(object) != nullptr;
    else if (object->isWidgetType())
        lastAnswer = qobject_cast<QQuickWidget *>(object) != nullptr;
    else
        lastAnswer = quickItem(object) != nullptr;
    lastClass = cls;
    return lastAnswer;
}

bool quickChildren(QObject *parent, QObjectList *out)
{
    const auto addItems = [out](QQuickItem *item) {
        if (!item)
            return;
        const QList<QQuickItem *> kids = item->childItems();
        out->reserve(out->size() + kids.size());
        for (QQuickItem *kid : kids)
            out->append(kid);
    };
    if (QQuickItem *item = quickItem(parent)) {
        addItems(item);
        return true;
    }
    if (auto *window = qobject_cast<QQuickWindow *>(parent)) {
        // The content item is Qt Quick's own: its children are the window's items.
        addItems(window->contentItem());
        return true;
    }
    if (auto *qw = qobject_cast<QQuickWidget *>(parent)) {
        for (QObject *kid : parent->children()) {
            if (!isTopLevelObject(kid) && !kid->isWindowType() && !quickItem(kid))
                out->append(kid);
        }
        addItems(qw->quickWindow() ? qw->quickWindow()->contentItem() : nullptr);
        return true;
    }
    return false;
}

bool quickParent(QObject *object, QObject **out)
{
    QQuickItem *item = quickItem(object);
    if (!item)
        return false;
    QQuickItem *parent = item->parentItem();
    QQuickWindow *window = item->window();
    if (parent && window && parent == window->contentItem())
        *out = shownBy(window);
    else
        *out = parent ? static_cast<QObject *>(parent) : object->parent();
    return true;
}

QObject *quickWindowObject(QQuickItem *item)
{
    QQuickWindow *window = item->window();
    if (!window)
        return nullptr;
    if (QQuickWidget *qw = quickWidgetFor(window))
        return qw->window();
    return window;
}

QString qmlTypeName(const QMetaObject *metaObject)
{
    return metaObject ? typeNamesOf(metaObject).qml : QString();
}

bool typeNameMatches(const QMetaObject *metaObject, const PropertyValue &value)
{
    if (value.matches(QString::fromLatin1(metaObject->className())))
        return true;
    const TypeNames names = typeNamesOf(metaObject);
    return (!names.qml.isEmpty() && value.matches(names.qml))
        || (!names.cpp.isEmpty() && value.matches(names.cpp));
}

QString shownTypeName(const QObject *object)
{
    const QMetaObject *mo = object->metaObject();
    const QString qml = typeNamesOf(mo).qml;
    return qml.isEmpty() ? QString::fromLatin1(mo->className()) : qml;
}

QStringList qmlIds(QObject *object)
{
    QStringList ids;
    const auto look = [&ids, object](QObject *holder) {
        for (QQmlContext *c = holder ? qmlContext(holder) : nullptr; c; c = c->parentContext()) {
            const QString id = c->nameForObject(object);
            if (!id.isEmpty() && !ids.contains(id))
                ids.append(id);
        }
    };
    // The document that declares an object holds its parent too, and knows it by the id given there; the
    // object's own context is that of its component, whose id for it is the same in every instance.
    look(object->parent());
    if (QQuickItem *item = quickItem(object))
        look(item->parentItem());
    look(object);
    return ids;
}

QString quickInputTarget(QQuickItem *item, InputTarget *target)
{
    QQuickWindow *window = item->window();
    if (!window)
        return QStringLiteral("the item is in no window");
    target->quickItem = item;
    if (QQuickWidget *qw = quickWidgetFor(window)) {
        // The widget's coordinates are the scene's.
        const QPointF topLeft = item->mapToScene(QPointF(0, 0));
        target->widget = qw;
        target->rect = QRect(topLeft.toPoint(), QSize(qRound(item->width()), qRound(item->height())));
    } else {
        target->rect = QRect(0, 0, qRound(item->width()), qRound(item->height()));
    }
    return QString();
}

QString quickClickableAt(QQuickItem *item, const QPointF &pos)
{
    QQuickWindow *window = item->window();
    if (!item->isVisible() || !window || (!window->isVisible() && !quickWidgetFor(window)))
        return QStringLiteral("the item is hidden");
    if (!item->isEnabled())
        return QStringLiteral("the item is disabled");
    const QString at = QStringLiteral("(%1, %2)").arg(qRound(pos.x())).arg(qRound(pos.y()));
    if (!QRectF(0, 0, item->width(), item->height()).contains(pos))
        return QStringLiteral("the point %1 is outside the item").arg(at);
    const QPointF scenePos = item->mapToScene(pos);
    for (QQuickItem *p = item->parentItem(); p; p = p->parentItem()) {
        if (p->clip() && !p->contains(p->mapFromScene(scenePos)))
            return QStringLiteral("the point %1 is scrolled out of '%2'").arg(at, printableName(p));
    }
    // Items of the same parent make up one control (a button's label over its mouse area); anything else
    // on top hides the point.
    QQuickItem *top = topItemAt(window->contentItem(), scenePos);
    QQuickItem *family = item->parentItem() ? item->parentItem() : item;
    if (top && top != item && !isAncestorItem(item, top) && !isAncestorItem(top, item)
        && !isAncestorItem(family, top))
        return QStringLiteral("the point %1 is covered by '%2'").arg(at, printableName(top));
    return QString();
}

void activateQuickWindow(QQuickItem *item)
{
    QQuickWindow *window = item->window();
    if (!window)
        return;
    if (QQuickWidget *qw = quickWidgetFor(window)) {
        activateWindowOf(qw);
        return;
    }
    if (QGuiApplication::focusWindow() == window)
        return;
    window->raise();
    window->requestActivate();
    // Platforms that activate at once (offscreen among them) have queued the activation: take it now. No
    // waiting here: a waiting event loop would let the agent answer the call before the input is sent.
    flushInput();
}

QWindow *quickKeyWindow(QQuickItem *item)
{
    activateQuickWindow(item);
    QQuickWindow *window = item->window();
    if (!window)
        return nullptr;
    QQuickWidget *qw = quickWidgetFor(window);
    if (qw && qw->focusPolicy() != Qt::NoFocus)
        qw->setFocus(Qt::OtherFocusReason);
    if (!item->hasActiveFocus()) {
        // As a click would: the text field the item is or holds takes the keys, else the item itself.
        QQuickItem *focus = nullptr;
        QList<QQuickItem *> queue { item };
        while (!queue.isEmpty() && !focus) {
            QQuickItem *next = queue.takeFirst();
            if ((next->flags() & QQuickItem::ItemAcceptsInputMethod) && next->isVisible()
                && next->isEnabled())
                focus = next;
            queue += next->childItems();
        }
        (focus ? focus : item)->forceActiveFocus(Qt::OtherFocusReason);
    }
    if (qw)
        return qw->window()->windowHandle();
    return window;
}

QByteArray quickScreenshotPng(QObject *object, QString *error)
{
    const auto fail = [error](const QString &why) {
        if (error)
            *error = why;
        return QByteArray();
    };
    auto *window = qobject_cast<QQuickWindow *>(object);
    QQuickItem *item = quickItem(object);
    QRect rect;
    if (item) {
        window = item->window();
        if (!window || !item->isVisible())
            return fail(QStringLiteral("the item '%1' is hidden").arg(printableName(item)));
        const QPointF topLeft = item->mapToScene(QPointF(0, 0));
        rect = QRect(topLeft.toPoint(), QSize(qRound(item->width()), qRound(item->height())));
    } else if (window) {
        rect = QRect(QPoint(0, 0), window->size());
    } else {
        return fail(
            QStringLiteral("objects of type %1 have no picture").arg(object->metaObject()->className()));
    }
    if (QQuickWidget *qw = quickWidgetFor(window))
        return screenshotPng(qw, rect, error);
    if (!window->isVisible())
        return fail(QStringLiteral("the window '%1' is hidden").arg(printableName(window)));
    if (rect.isEmpty())
        return fail(QStringLiteral("the item '%1' has no size").arg(printableName(object)));
    QImage picture = window->grabWindow();
    if (!picture.isNull()) {
        const qreal ratio = picture.devicePixelRatio();
        picture = picture.copy(QRect(rect.topLeft() * ratio, rect.size() * ratio));
    } else if (QScreen *screen = window->screen()) {
        // The software renderer cannot read back from some platforms' backing stores (offscreen among them);
        // the platform's screen grab can.
        picture =
            screen->grabWindow(window->winId(), rect.x(), rect.y(), rect.width(), rect.height()).toImage();
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (picture.isNull() || !picture.save(&buffer, "PNG"))
        return fail(QStringLiteral("the picture of '%1' could not be taken").arg(printableName(object)));
    return png;
}

} // namespace QtWrapper
} // namespace Vexil
