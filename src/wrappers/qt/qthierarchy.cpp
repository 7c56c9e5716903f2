// qthierarchy.cpp: the QObject tree as the model walks it, dotted and multi-property names of Qt objects.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "inspector.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSet>
#include <QVarLengthArray>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWidget>

#include <algorithm>

namespace Vexil {
namespace QtWrapper {

namespace {

// Deeper nesting of window and container references than this is taken as a name that finds nothing.
constexpr int MaxReferenceDepth = 32;

bool isWindowWidget(const QObject *object)
{
    return object->isWidgetType() && static_cast<const QWidget *>(object)->isWindow();
}

// The order in which the model lists top-level objects: first seen first, so that windows opened later come
// later and the list does not reshuffle between two calls.
QVector<QPointer<QObject>> &topLevelOrder()
{
    static QVector<QPointer<QObject>> s_order;
    return s_order;
}

// Children the walk visits: Qt Quick objects list their items, other objects their QObject children.
QObjectList walkedChildren(QObject *parent)
{
    QObjectList kids;
    if (quickChildren(parent, &kids))
        return kids;
    return parent->children();
}

bool boolText(const PropertyValue &value, bool state)
{
    return state ? value.matches(QStringLiteral("true")) || value.matches(QStringLiteral("1"))
                 : value.matches(QStringLiteral("false")) || value.matches(QStringLiteral("0"));
}

using TextReader = QString (*)(const QObject *);

// A meta call to read a property costs some twenty times the getter it ends in. The texts that names use most
// are read through their getters directly, when the property found is that very declaration: a subclass that
// declares a property of the same name keeps the meta call.
TextReader directTextReader(const QMetaProperty &property)
{
    if (qstrcmp(property.name(), "text") != 0)
        return nullptr;
    const QMetaObject *owner = property.enclosingMetaObject();
    if (owner == &QAbstractButton::staticMetaObject)
        return [](const QObject *o) { return static_cast<const QAbstractButton *>(o)->text(); };
    if (owner == &QLabel::staticMetaObject)
        return [](const QObject *o) { return static_cast<const QLabel *>(o)->text(); };
    if (owner == &QLineEdit::staticMetaObject)
        return [](const QObject *o) { return static_cast<const QLineEdit *>(o)->text(); };
    if (owner == &QAction::staticMetaObject)
        return [](const QObject *o) { return static_cast<const QAction *>(o)->text(); };
    return nullptr;
}

// One property of a multi-property name, ready to be tested against many objects.
struct Check
{
    enum Kind { Type, Name, Window, Container, Visible, QmlId, Property };

    Kind kind;
    QString key;
    PropertyValue value;
    QObject *target = nullptr; // the resolved window or container
    bool implied = false; // a window check that the search scope already guarantees
    QByteArray propertyName;
    bool exactText = false; // a plain text compared as it is: no pattern, no symbolic name
    // Most candidates share a few classes: the last answer per meta-object saves the name lookups.
    mutable const QMetaObject *lastMetaObject = nullptr;
    mutable QMetaProperty lastProperty;
    mutable int lastIndex = -1; // absolute property index, -1 for none readable
    mutable bool lastIsText = false;
    mutable TextReader lastReader = nullptr;
    mutable bool lastTypeMatch = false;

    bool matches(QObject *object) const;
    bool matchesText(const QString &text) const
    {
        return exactText ? text == value.value() : value.matches(text);
    }
    bool matchesProperty(QObject *object) const;
};

bool Check::matchesProperty(QObject *object) const
{
    const QMetaObject *mo = object->metaObject();
    if (mo != lastMetaObject) {
        lastMetaObject = mo;
        lastIndex = mo->indexOfProperty(propertyName.constData());
        lastProperty = lastIndex >= 0 ? mo->property(lastIndex) : QMetaProperty();
        if (!lastProperty.isReadable())
            lastIndex = -1;
        lastIsText = lastIndex >= 0 && !lastProperty.isEnumType()
            && lastProperty.userType() == QMetaType::QString;
        lastReader = lastIsText ? directTextReader(lastProperty) : nullptr;
    }
    if (lastIndex < 0)
        return false;
    if (lastReader)
        return matchesText(lastReader(object));
    if (lastIsText) {
        // Read straight into a string: no variant, no copy. This is the common case (texts, titles).
        QString text;
        int status = -1;
        void *argv[] = { &text, nullptr, &status };
        QMetaObject::metacall(object, QMetaObject::ReadProperty, lastIndex, argv);
        return matchesText(argv[0] == &text ? text : *static_cast<const QString *>(argv[0]));
    }
    const QVariant v = lastProperty.read(object);
    if (!v.isValid())
        return false;
    if (v.userType() == QMetaType::Bool)
        return boolText(value, v.toBool());
    if (matchesText(variantToText(v, lastProperty)))
        return true;
    // Enums match by key and by number.
    return lastProperty.isEnumType() && value.matches(QString::number(v.toInt()));
}

bool Check::matches(QObject *object) const
{
    switch (kind) {
    case Type: {
        const QMetaObject *mo = object->metaObject();
        if (mo != lastMetaObject) {
            lastMetaObject = mo;
            lastTypeMatch = typeNameMatches(mo, value);
        }
        return lastTypeMatch;
    }
    case Name:
        return matchesText(object->objectName());
    case QmlId: {
        // QML ids are no properties; the documents that declare the object know them.
        const QStringList ids = qmlIds(object);
        return std::any_of(ids.cbegin(), ids.cend(), [this](const QString &id) { return matchesText(id); });
    }
    case Window: {
        if (implied)
            return true;
        QObject *window = windowOf(object);
        if (value.modifiers() != PropertyValue::Equals)
            return window && value.matches(window->objectName());
        return target && window == target;
    }
    case Container: {
        if (value.modifiers() != PropertyValue::Equals) {
            for (QObject *p = parentObject(object); p; p = parentObject(p)) {
                if (value.matches(p->objectName()))
                    return true;
            }
            return false;
        }
        if (!target)
            return false;
        for (QObject *p = parentObject(object); p; p = parentObject(p)) {
            if (p == target)
                return true;
        }
        return false;
    }
    case Visible: {
        if (object->isWidgetType())
            return boolText(value, static_cast<QWidget *>(object)->isVisible());
        // Objects that are no widgets are visible unless they say otherwise (actions do).
        const QVariant v = object->property("visible");
        return boolText(value, v.isValid() ? v.toBool() : true);
    }
    case Property:
        return matchesProperty(object);
    }
    return false;
}

// A parsed multi-property name: its checks in the order that rejects most candidates soonest.
class Query
{
public:
    Query(const ObjectName &name, int depth);

    bool matches(QObject *object) const
    {
        for (const Check &c : m_checks) {
            if (!c.implied && !c.matches(object))
                return false;
        }
        return true;
    }
    QStringList failures(QObject *object) const
    {
        QStringList failed;
        for (const Check &c : m_checks) {
            if (!c.matches(object))
                failed.append(c.key);
        }
        std::sort(failed.begin(), failed.end());
        return failed;
    }
    QStringList keys() const
    {
        QStringList all;
        for (const Check &c : m_checks)
            all.append(c.key);
        std::sort(all.begin(), all.end());
        return all;
    }

    int occurrence() const { return m_occurrence; }
    /// Visits the candidates: those under \p scope, else under the container, else the window and what is
    /// under it, else all objects; with \p windowsOnly the top-level widgets alone.
    template <class Visitor>
    bool walk(QObject *scope, bool windowsOnly, Visitor &visitor);
    /// A window or container named that does not exist: nothing can match.
    bool unresolved() const { return m_unresolved; }

private:
    std::vector<Check> m_checks;
    int m_occurrence;
    bool m_unresolved = false;
    Check *m_window = nullptr;
    Check *m_container = nullptr;
};

Query::Query(const ObjectName &name, int depth)
    : m_occurrence(name.occurrenceValue())
{
    const QMap<QString, PropertyValue> &props = name.properties();
    for (auto it = props.constBegin(); it != props.constEnd(); ++it) {
        const QString &key = it.key();
        if (key == QLatin1String("occurrence"))
            continue;
        Check c;
        c.key = key;
        c.value = it.value();
        c.exactText = c.value.modifiers() == PropertyValue::Equals
            && c.value.type() == PropertyValue::PlainText && !c.value.value().startsWith(QLatin1Char(':'));
        if (key == QLatin1String("type")) {
            c.kind = Check::Type;
        } else if (key == QLatin1String("name")) {
            c.kind = Check::Name;
        } else if (key == QLatin1String("visible")) {
            c.kind = Check::Visible;
        } else if (key == QLatin1String("id")) {
            c.kind = Check::QmlId;
        } else if (key == QLatin1String("window") || key == QLatin1String("container")) {
            const bool window = key == QLatin1String("window");
            c.kind = window ? Check::Window : Check::Container;
            if (c.value.modifiers() == PropertyValue::Equals) {
                c.target = NameMatcher::resolveReference(c.value, window, depth + 1);
                if (!c.target)
                    m_unresolved = true;
            }
        } else {
            c.kind = Check::Property;
            c.propertyName = key.toLatin1();
        }
        m_checks.push_back(c);
    }
    // Cheap tests first; properties that need a meta call last.
    std::stable_sort(m_checks.begin(), m_checks.end(),
                     [](const Check &a, const Check &b) { return a.kind < b.kind; });
    for (Check &c : m_checks) {
        if (c.kind == Check::Window && c.target)
            m_window = &c;
        else if (c.kind == Check::Container && c.target)
            m_container = &c;
    }
}

// The walks below take a visitor with two operations: wants(object), a test without side effects, and
// take(object), called for each wanted object in order, which returns false to end the walk.

// Depth-first, pre-order, as the hierarchy delegate lists children, skipping windows (they are top-level
// objects of their own). Whether a widget is a window is kept in memory that the rest of the walk does not
// touch, so only the objects that matter are asked: those the visitor wants and those with children.
template <class Visitor>
bool walkChildren(QObject *parent, Visitor &visitor)
{
    // A copy of the list (shared, not duplicated) stays valid if a property read adds children.
    const QObjectList kids = walkedChildren(parent);
    for (QObject *kid : kids) {
        const bool hasKids = !kid->children().isEmpty() || isQuickNode(kid);
        const bool wanted = visitor.wants(kid);
        if ((!wanted && !hasKids) || isTopLevelObject(kid))
            continue;
        if (wanted && !visitor.take(kid))
            return false;
        if (hasKids && !walkChildren(kid, visitor))
            return false;
    }
    return true;
}

template <class Visitor>
bool walkFrom(QObject *root, bool recurse, Visitor &visitor)
{
    if (visitor.wants(root) && !visitor.take(root))
        return false;
    return !recurse || walkChildren(root, visitor);
}

template <class Visitor>
bool walk(const QObjectList &roots, bool recurse, Visitor &visitor)
{
    for (QObject *root : roots) {
        if (!walkFrom(root, recurse, visitor))
            return false;
    }
    return true;
}

// The top-level widgets (and, with \p recurse, everything below them) in the model's order. Listing the
// application's widgets costs a pass over all of them, so the windows already known are visited first:
// windows seen later always come after them, so only a visitor that is not done with the known ones makes
// the list be taken again, for the new windows.
template <class Visitor>
bool walkTopLevels(bool recurse, Visitor &visitor)
{
    const QVector<QPointer<QObject>> known = topLevelOrder();
    QVarLengthArray<QObject *, 16> visited;
    for (const QPointer<QObject> &p : known) {
        QObject *o = p.data();
        if (!o
            || (o->isWidgetType()
                && (!isWindowWidget(o) || static_cast<QWidget *>(o)->windowType() == Qt::Desktop)))
            continue;
        visited.append(o);
        if (!walkFrom(o, recurse, visitor))
            return false;
    }
    for (QObject *o : topLevelObjects()) {
        if (std::find(visited.cbegin(), visited.cend(), o) == visited.cend()
            && !walkFrom(o, recurse, visitor))
            return false;
    }
    return true;
}

template <class Visitor>
bool Query::walk(QObject *scope, bool windowsOnly, Visitor &visitor)
{
    if (windowsOnly)
        return walkTopLevels(false, visitor);
    if (scope)
        return QtWrapper::walk(childObjects(scope), true, visitor);
    if (m_container)
        return QtWrapper::walk(childObjects(m_container->target), true, visitor);
    if (m_window) {
        // Everything below a window that is not a window itself belongs to it.
        m_window->implied = true;
        return walkFrom(m_window->target, true, visitor);
    }
    return walkTopLevels(true, visitor);
}

// Stops at the wanted occurrence of the objects that match.
struct FindVisitor
{
    const Query &query;
    int wanted;
    int seen = 0;
    QObject *found = nullptr;

    bool wants(QObject *object) const { return query.matches(object); }
    bool take(QObject *object)
    {
        if (++seen < wanted)
            return true;
        found = object;
        return false;
    }
};

// Every object that matches.
struct CollectVisitor
{
    const Query &query;
    QObjectList all;

    bool wants(QObject *object) const { return query.matches(object); }
    bool take(QObject *object)
    {
        all.append(object);
        return true;
    }
};

// The candidate that fails fewest properties (the first of them in search order), and the number of matches.
struct ScoreVisitor
{
    const Query &query;
    QStringList best;
    bool haveBest = false;
    int matches = 0;

    bool wants(QObject *) const { return true; }
    bool take(QObject *object)
    {
        const QStringList failed = query.failures(object);
        if (failed.isEmpty())
            ++matches;
        else if (!haveBest || failed.size() < best.size()) {
            best = failed;
            haveBest = true;
        }
        return true;
    }
};

// The first object of a name.
struct NameVisitor
{
    const QString &name;
    QObject *found = nullptr;

    bool wants(QObject *object) const { return object->objectName() == name; }
    bool take(QObject *object)
    {
        found = object;
        return false;
    }
};

QObject *search(Query &query, QObject *scope, bool windowsOnly, bool report, const QString &key)
{
    const int wanted = query.occurrence();
    FindVisitor finder { query, wanted };
    if (wanted > 0 && !query.unresolved())
        query.walk(scope, windowsOnly, finder);
    if (!report)
        return finder.found;

    Inspector *insp = Inspector::self();
    insp->removeUnmatchedProperties(key);
    if (finder.found)
        return finder.found;

    // Explain the failure with the candidate that came closest, or with the occurrence when there are
    // matches, only too few of them. An unresolved window or container leaves the search at the whole
    // scope, so every candidate is scored.
    ScoreVisitor scorer { query, {} };
    query.walk(scope, windowsOnly, scorer);
    QStringList unmatched = scorer.best;
    if (wanted <= 0 || scorer.matches > 0)
        unmatched = QStringList { QStringLiteral("occurrence") };
    else if (!scorer.haveBest)
        unmatched = query.keys();
    insp->setUnmatchedProperties(key, unmatched);
    return nullptr;
}

// The first child of that name; among the top-level widgets for a null parent.
QObject *childNamed(QObject *parent, const QString &name)
{
    NameVisitor visitor { name };
    if (parent)
        walk(childObjects(parent), false, visitor);
    else
        walkTopLevels(false, visitor);
    return visitor.found;
}

// A dotted path: the first part among the top-level widgets, the rest among the children.
QObject *resolvePath(const QString &path)
{
    QString escaped = path;
    escaped.replace(QStringLiteral("\\."), QString(QChar(1)));
    const QStringList parts = escaped.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    QObject *current = nullptr;
    for (int i = 0; i < parts.size(); ++i) {
        QObject *next = childNamed(current, unescape2(parts.at(i)));
        if (!next)
            return nullptr;
        current = next;
    }
    return current;
}

QString shownText(QObject *object)
{
    if (qobject_cast<QAbstractButton *>(object) || qobject_cast<QLabel *>(object)
        || qobject_cast<QAction *>(object))
        return object->property("text").toString();
    if (auto *box = qobject_cast<QGroupBox *>(object))
        return box->title();
    if (isWindowWidget(object))
        return static_cast<QWidget *>(object)->windowTitle();
    if (object->isWindowType())
        return static_cast<QWindow *>(object)->title();
    // Qt Quick's texts, buttons and fields, and components that pass a text on.
    if (quickItem(object)) {
        const QVariant text = object->property("text");
        return text.userType() == QMetaType::QString ? text.toString() : QString();
    }
    return QString();
}

QString shownTextKey(QObject *object)
{
    if (qobject_cast<QGroupBox *>(object))
        return QStringLiteral("title");
    if (isWindowWidget(object))
        return QStringLiteral("windowTitle");
    if (object->isWindowType())
        return QStringLiteral("title");
    return QStringLiteral("text");
}

QMap<QString, PropertyValue> identifyingProperties(QObject *object)
{
    QMap<QString, PropertyValue> props;
    const auto plain = [](const QString &text) {
        return PropertyValue(text, PropertyValue::Equals, PropertyValue::PlainText);
    };
    props.insert(QStringLiteral("type"), plain(shownTypeName(object)));
    if (!object->objectName().isEmpty()) {
        props.insert(QStringLiteral("name"), plain(object->objectName()));
    } else {
        // An item's id is as stable as an object name; its text may change.
        const QStringList ids = quickItem(object) ? qmlIds(object) : QStringList();
        const QString text = shownText(object);
        if (!ids.isEmpty())
            props.insert(QStringLiteral("id"), plain(ids.first()));
        else if (!text.isEmpty())
            props.insert(shownTextKey(object), plain(text));
    }
    if ((object->isWidgetType() && static_cast<QWidget *>(object)->isVisible())
        || (quickItem(object) && quickItem(object)->isVisible()))
        props.insert(QStringLiteral("visible"), plain(QStringLiteral("1")));
    QObject *window = windowOf(object);
    if (window && window != object) {
        props.insert(QStringLiteral("window"),
                     PropertyValue(realName(window), PropertyValue::Equals, PropertyValue::NestedName));
    }
    return props;
}

} // namespace

// The tree

bool hasWidgets()
{
    return qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
}

bool isTopLevelObject(const QObject *object)
{
    if (object->isWidgetType())
        return static_cast<const QWidget *>(object)->isWindow();
    return object->isWindowType() && qobject_cast<const QQuickWindow *>(object);
}

QObjectList topLevelObjects()
{
    QObjectList current;
    if (hasWidgets()) {
        for (QWidget *w : QApplication::topLevelWidgets())
            current.append(w);
    }
    for (QQuickWindow *w : quickWindows())
        current.append(w);
    const QSet<QObject *> present(current.cbegin(), current.cend());
    QVector<QPointer<QObject>> &order = topLevelOrder();
    QObjectList result;
    QSet<QObject *> listed;
    for (const QPointer<QObject> &o : order) {
        if (o && present.contains(o.data()) && !listed.contains(o.data())) {
            result.append(o.data());
            listed.insert(o.data());
        }
    }
    QObjectList fresh;
    for (QObject *o : current) {
        if (!listed.contains(o))
            fresh.append(o);
    }
    // Windows first seen together come in no order of Qt's own; sort them so that runs agree.
    std::sort(fresh.begin(), fresh.end(), [](QObject *a, QObject *b) {
        if (a->objectName() != b->objectName())
            return a->objectName() < b->objectName();
        const int byClass = qstrcmp(a->metaObject()->className(), b->metaObject()->className());
        if (byClass != 0)
            return byClass < 0;
        return std::less<QObject *>()(a, b);
    });
    result += fresh;
    if (!fresh.isEmpty() || result.size() != order.size()) {
        order.clear();
        order.reserve(result.size());
        for (QObject *o : result)
            order.append(QPointer<QObject>(o));
    }
    return result;
}

QList<QWidget *> topLevelWidgets()
{
    QList<QWidget *> widgets;
    for (QObject *o : topLevelObjects()) {
        if (o->isWidgetType())
            widgets.append(static_cast<QWidget *>(o));
    }
    return widgets;
}

QObjectList childObjects(QObject *parent)
{
    if (!parent)
        return topLevelObjects();
    QObjectList result;
    if (quickChildren(parent, &result))
        return result;
    const QObjectList &kids = parent->children();
    result.reserve(kids.size());
    for (QObject *kid : kids) {
        if (!isTopLevelObject(kid))
            result.append(kid);
    }
    return result;
}

QObject *parentObject(QObject *object)
{
    if (!object || isTopLevelObject(object))
        return nullptr;
    QObject *parent = nullptr;
    if (quickParent(object, &parent))
        return parent;
    return object->parent();
}

QObject *windowOf(QObject *object)
{
    if (QQuickItem *item = quickItem(object)) {
        if (QObject *window = quickWindowObject(item))
            return window;
    }
    if (object && object->isWindowType() && isTopLevelObject(object))
        return object;
    QObject *top = object;
    for (QObject *p = object; p; p = p->parent()) {
        if (p->isWidgetType())
            return static_cast<QWidget *>(p)->window();
        top = p;
    }
    return top;
}

QString escapeName(const QString &name)
{
    QString escaped = name;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    escaped.replace(QLatin1Char('.'), QStringLiteral("\\."));
    return escaped;
}

QString qualifiedName(QObject *object)
{
    QStringList parts;
    for (QObject *p = object; p; p = parentObject(p))
        parts.prepend(escapeName(p->objectName()));
    return parts.join(QLatin1Char('.'));
}

QString realName(QObject *object)
{
    if (!object)
        return QString();
    QMap<QString, PropertyValue> props = identifyingProperties(object);
    const ObjectName name(props);
    // Windows are found again among the windows, as window references are resolved.
    const QObjectList all = NameMatcher::findAll(name, nullptr, isTopLevelObject(object));
    const int at = all.indexOf(object);
    if (at > 0) {
        props.insert(QStringLiteral("occurrence"),
                     PropertyValue(QString::number(at + 1), PropertyValue::Equals, PropertyValue::PlainText));
        return ObjectName(props).qualifiedName();
    }
    return name.qualifiedName();
}

// Name matching

QObject *NameMatcher::find(const ObjectName &name, QObject *scope, bool report, int depth)
{
    if (depth > MaxReferenceDepth || !name.isValid() || !name.isMultiProperty())
        return nullptr;
    Query query(name, depth);
    return search(query, scope, false, report, name.qualifiedName());
}

QObjectList NameMatcher::findAll(const ObjectName &name, QObject *scope, bool windowsOnly)
{
    QObjectList all;
    if (!name.isValid() || !name.isMultiProperty())
        return all;
    Query query(name, 0);
    if (query.unresolved())
        return all;
    CollectVisitor collector { query, {} };
    query.walk(scope, windowsOnly, collector);
    return collector.all;
}

QObject *NameMatcher::resolveReference(const PropertyValue &value, bool windowsOnly, int depth)
{
    if (depth > MaxReferenceDepth)
        return nullptr;
    QString text = value.value();
    if (value.type() == PropertyValue::PlainText && text.startsWith(QLatin1Char(':'))) {
        ObjectMap *map = ObjectMap::self();
        text = map ? map->realName(text) : text.mid(1);
    }
    if (!isMultiPropertyName(text))
        return resolvePath(text);
    const ObjectName nested(text);
    if (!nested.isValid())
        return nullptr;
    if (!windowsOnly)
        return find(nested, nullptr, false, depth);
    Query query(nested, depth);
    return search(query, nullptr, true, false, QString());
}

// Hierarchy delegate

QtHierarchyDelegate::QtHierarchyDelegate(const QString &className)
    : ObjectHierarchyDelegate(className)
{
}

QtHierarchyDelegate::~QtHierarchyDelegate() = default;

int QtHierarchyDelegate::numChildren(Object::Ptr parent) const
{
    QObject *p = qobjectOf(parent);
    if (parent && !p)
        return 0;
    return childObjects(p).size();
}

Object::Ptr QtHierarchyDelegate::child(Object::Ptr parent, int index) const
{
    QObject *p = qobjectOf(parent);
    if (parent && !p)
        return Object::Ptr();
    const QObjectList kids = childObjects(p);
    return index >= 0 && index < kids.size() ? wrapQObject(kids.at(index)) : Object::Ptr();
}

Object::Ptr QtHierarchyDelegate::childByName(Object::Ptr parent, const QString &name) const
{
    QObject *p = qobjectOf(parent);
    if (parent && !p)
        return Object::Ptr();
    return wrapQObject(childNamed(p, name));
}

Object::Ptr QtHierarchyDelegate::objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const
{
    // Dotted names are left to the path walk, which asks childByName part by part.
    if (!name.isValid() || !name.isMultiProperty())
        return Object::Ptr();
    QObject *scope = qobjectOf(parent);
    if (parent && !scope)
        return Object::Ptr();
    // Items of item views are no QObjects; their names say so by their type.
    if (isItemName(name))
        return findItem(name, scope, true);
    return wrapQObject(NameMatcher::find(name, scope, true));
}

QString QtHierarchyDelegate::name(Object::Ptr object) const
{
    QObject *o = qobjectOf(object);
    return o ? o->objectName() : QString();
}

QString QtHierarchyDelegate::qualifiedName(Object::Ptr object) const
{
    return QtWrapper::qualifiedName(qobjectOf(object));
}

ObjectList QtHierarchyDelegate::children(Object::Ptr parent) const
{
    ObjectList result;
    QObject *p = qobjectOf(parent);
    if (parent && !p)
        return result;
    const QObjectList kids = childObjects(p);
    result.reserve(size_t(kids.size()));
    for (QObject *kid : kids)
        result.push_back(wrapQObject(kid));
    return result;
}

Object::Ptr QtHierarchyDelegate::parent(Object::Ptr object) const
{
    return wrapQObject(parentObject(qobjectOf(object)));
}

int QtHierarchyDelegate::wrapperType(Object::Ptr) const
{
    return 1; // every object here wraps a QObject
}

} // namespace QtWrapper
} // namespace Vexil
