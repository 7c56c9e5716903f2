// inspector.cpp: the registry of classes and namespaces, primitive values, settings, errors and the
// top-level hierarchy delegates.
#include "inspector.h"

#include "diagnostics.h"
#include "arrayclass.h"
#include "datetime.h"
#include "delegate.h"
#include "inspector_p.h"
#include "gesturebuilderclass.h"
#include "globalobject.h"
#include "mapclass.h"
#include "primitives.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QRegExp>

#include <cstdio>
#include <cstring>

namespace Vexil {

namespace {

const size_t kInitialCapacity = 64;
const size_t kGrowth = 8;
const int kNameHashSize = 1031;

// The registration tables grow by a fixed step, as wrappers register classes one by one at load time.
template <class T>
void appendGrowing(std::vector<T> &v, T item)
{
    if (v.size() == v.capacity())
        v.reserve(v.capacity() + kGrowth);
    v.push_back(item);
}

} // namespace

Inspector *Inspector::insp = nullptr;

Inspector *Inspector::self()
{
    if (!insp)
        new Inspector();
    return insp;
}

Inspector::Inspector()
    : lookupCacheEnabled(true)
    , m_globalClassIndex(9)
    , m_globalNamespaceIndex(0)
    , m_handlers(nullptr)
    , m_topLevel(nullptr)
    , m_impl(nullptr)
{
    silentLookups = false;
    m_sendEventDelegates = nullptr;
    m_eventNotifyDelegate = nullptr;
    m_handlers = createEventHandlerStore();
    m_classes.reserve(kInitialCapacity);
    m_classByName.reserve(kNameHashSize);
    m_namespaces.reserve(kInitialCapacity);
    m_namespaceByName.reserve(kNameHashSize);

    // Classes built below call self() while we are still being constructed.
    insp = this;

    Namespace *global = new Namespace(nullptr, QString());
    vexil_register_primitives();
    m_voidObject = type(Void)->wrap(nullptr, ObjectAttribute());

    new GlobalClass();
    new ArrayClass();
    new MapClass();
    new GestureBuilderClass(global);
    Namespace *uiTypes = new Namespace(global, QStringLiteral("UiTypes"));
    new ScreenPointClass(uiTypes);
    new ScreenRectangle_class(uiTypes);
    new DateTime_class(uiTypes);
}

Inspector::~Inspector()
{
    m_voidObject = Object::Ptr();
    m_cachedObject = Object::Ptr();
    destroyEventHandlerStore(m_handlers);
    m_handlers = nullptr;
    for (const Class *c : m_ownedClasses)
        delete c;
    for (Namespace *ns : m_ownedNamespaces)
        delete ns;
    m_classes.clear();
    m_namespaces.clear();
    delete m_topLevel;
    if (insp == this)
        insp = nullptr;
}

void Inspector::setInspectorInterfaceImpl(InspectorInterface *impl)
{
    // The tables start again empty; the name hashes and the ownership of what was registered stay.
    m_classes.clear();
    m_classes.shrink_to_fit();
    m_classes.reserve(kInitialCapacity);
    m_namespaces.clear();
    m_namespaces.shrink_to_fit();
    m_namespaces.reserve(kInitialCapacity);
    m_impl = impl;
}

// Top-level objects

void Inspector::setupPropertyDelegate() const
{
    // With an implementation installed the top level lives there; nothing to build here.
    if (m_impl || m_topLevel)
        return;
    m_topLevel = new std::vector<ObjectHierarchyDelegate *>();
    static const char *const names[] = { "Vexil::ToplevelQt",     "Vexil::ToplevelXView",
                                         "Vexil::ToplevelTk",     "Vexil::ToplevelWeb",
                                         "Vexil::ToplevelJava",   "Vexil::ToplevelMac",
                                         "Vexil::ToplevelWin",    "QtGUIObject",
                                         "Vexil::ToplevelAndroid" };
    DelegateFactory *f = DelegateFactory::self();
    for (const char *name : names) {
        const Delegate *d = f->delegate(QString::fromLatin1(name), Delegate::Hierarchy);
        if (d)
            m_topLevel->push_back(
                const_cast<ObjectHierarchyDelegate *>(static_cast<const ObjectHierarchyDelegate *>(d)));
    }
}

void Inspector::addTopLevelHierarchyDelegate(ObjectHierarchyDelegate *d)
{
    if (m_topLevel && !m_impl)
        m_topLevel->push_back(d);
}

int Inspector::numObjects() const
{
    if (m_impl)
        return m_impl->numObjects();
    setupPropertyDelegate();
    if (!m_topLevel)
        return 0;
    int n = 0;
    for (const ObjectHierarchyDelegate *d : *m_topLevel)
        n += d->numChildren(Object::Ptr());
    return n;
}

Object::Ptr Inspector::object(int index) const
{
    if (m_impl)
        return m_impl->object(index);
    setupPropertyDelegate();
    if (!m_topLevel || index < 0)
        return Object::Ptr();
    for (const ObjectHierarchyDelegate *d : *m_topLevel) {
        const int n = d->numChildren(Object::Ptr());
        if (n > index)
            return d->child(Object::Ptr(), index);
        index -= n;
    }
    return Object::Ptr();
}

Object::Ptr Inspector::object(const QString &name) const
{
    if (m_impl)
        return m_impl->object(name);
    return object(name, nullptr);
}

Object::Ptr Inspector::object(const QString &name, ObjectHierarchyDelegate **which) const
{
    if (which)
        *which = nullptr;
    if (m_impl)
        return m_impl->object(name);
    setupPropertyDelegate();
    if (!m_topLevel)
        return Object::Ptr();
    for (ObjectHierarchyDelegate *d : *m_topLevel) {
        Object::Ptr o = d->childByName(Object::Ptr(), name);
        if (o) {
            if (which)
                *which = d;
            return o;
        }
    }
    return Object::Ptr();
}

ObjectList Inspector::objects() const
{
    if (m_impl)
        return m_impl->objects();
    setupPropertyDelegate();
    ObjectList result;
    if (!m_topLevel)
        return result;
    for (const ObjectHierarchyDelegate *d : *m_topLevel) {
        const ObjectList topLevel = d->children(Object::Ptr());
        for (const Object::Ptr &o : topLevel)
            result.push_back(o);
    }
    return result;
}

// Classes and namespaces

int Inspector::numClasses() const
{
    if (m_impl)
        return m_impl->numClasses();
    return int(m_classes.size());
}

const Class *Inspector::type(int index) const
{
    if (m_impl)
        return m_impl->type(index);
    if (index < 0 || size_t(index) >= m_classes.size())
        return nullptr;
    return m_classes[size_t(index)];
}

const Class *Inspector::type(const QString &name) const
{
    if (m_impl)
        return m_impl->type(name);
    QString key = name;
    if (key.endsWith(QLatin1Char('*')) || key.endsWith(QLatin1Char('&')))
        key.chop(1);
    return m_classByName.value(key, nullptr);
}

int Inspector::registerClass(const Class *cls) const
{
    if (m_impl)
        return m_impl->registerClass(cls);
    if (!cls)
        return -1;
    appendGrowing(m_classes, cls);
    m_ownedClasses.push_back(cls);
    m_classByName.insert(QString::fromLatin1(cls->name()), cls);
    return int(m_classes.size()) - 1;
}

int Inspector::numNamespaces() const
{
    if (m_impl)
        return m_impl->numNamespaces();
    return int(m_namespaces.size());
}

Namespace *Inspector::nameSpace(int index) const
{
    if (m_impl)
        return m_impl->nameSpace(index);
    if (index < 0 || size_t(index) >= m_namespaces.size())
        return nullptr;
    return m_namespaces[size_t(index)];
}

Namespace *Inspector::nameSpace(const QString &name) const
{
    if (m_impl)
        return m_impl->nameSpace(name);
    return m_namespaceByName.value(name, nullptr);
}

Namespace *Inspector::nameSpaceFromFullyQualifiedName(const QString &name) const
{
    if (m_impl)
        return m_impl->nameSpaceFromFullyQualifiedName(name);
    if (name.isEmpty())
        return nullptr;
    Namespace *ns = globalNamespace();
    if (!ns)
        return nullptr;
    const QStringList segments = name.split(QStringLiteral("::"));
    for (int i = 0; i < segments.size() - 1; ++i) {
        ns = ns->getNamespace(segments.at(i));
        if (!ns)
            return nullptr;
    }
    return ns->getNamespace(segments.last());
}

int Inspector::registerNamespace(Namespace *ns) const
{
    if (m_impl)
        return m_impl->registerNamespace(ns);
    if (!ns)
        return -1;
    appendGrowing(m_namespaces, ns);
    m_ownedNamespaces.push_back(ns);
    m_namespaceByName.insert(ns->name(), ns);
    return int(m_namespaces.size()) - 1;
}

const Class *Inspector::globalClass() const
{
    return type(m_globalClassIndex);
}

Namespace *Inspector::globalNamespace() const
{
    return nameSpace(m_globalNamespaceIndex);
}

// Primitive values: a heap copy the new object owns.

namespace {

template <class T>
Object::Ptr ownedPrimitive(const Inspector *in, int typeIndex, T value)
{
    const Class *cls = in->type(typeIndex);
    if (!cls)
        return Object::Ptr();
    T *copy = new T(value);
    Object::Ptr obj = cls->wrap(copy, ObjectAttribute(0, 0));
    if (!obj) {
        delete copy;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

} // namespace

Object::Ptr Inspector::createPrimitive(int value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    return ownedPrimitive(this, Int, value);
}

Object::Ptr Inspector::createPrimitive(long long value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    return ownedPrimitive(this, Int64, value);
}

Object::Ptr Inspector::createPrimitive(long value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    return ownedPrimitive(this, Long, value);
}

Object::Ptr Inspector::createPrimitive(bool value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    return ownedPrimitive(this, Bool, value);
}

Object::Ptr Inspector::createPrimitive(double value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    return ownedPrimitive(this, Double, value);
}

Object::Ptr Inspector::createPrimitive(const char *value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    const Class *cls = type(Char);
    if (!cls)
        return Object::Ptr();
    char *copy = qstrdup(value ? value : "");
    Object::Ptr obj = cls->wrap(copy, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!obj) {
        delete[] copy;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

Object::Ptr Inspector::createPrimitive(const QStringList &value)
{
    if (m_impl)
        return m_impl->createPrimitive(value);
    const Class *cls = type(Char);
    if (!cls)
        return Object::Ptr();
    const int n = value.size();
    char **texts = new char *[size_t(n > 0 ? n : 1)];
    for (int i = 0; i < n; ++i)
        texts[i] = qstrdup(value.at(i).toUtf8().constData());
    if (n == 0)
        texts[0] = nullptr;
    Object::Ptr obj = cls->wrap(texts, ObjectAttribute(ObjectAttribute::Pointer | ObjectAttribute::Array, n));
    if (!obj) {
        for (int i = 0; i < n; ++i)
            delete[] texts[i];
        delete[] texts;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

Object::Ptr Inspector::createNull(const Class *cls) const
{
    if (m_impl)
        return m_impl->createNull(cls);
    return Object::Ptr(new Object(nullptr, cls, ObjectAttribute(ObjectAttribute::Pointer, 0)));
}

Object::Ptr Inspector::voidObject() const
{
    if (m_impl)
        return m_impl->voidObject();
    return m_voidObject;
}

// Events

void Inspector::sendEvent(const Event *event, Object::Ptr object, const ObjectList &args) const
{
    if (!event || !object) {
        // %p as the C library prints it, which is what this message always showed.
        char text[160];
        std::snprintf(text, sizeof text,
                      "Inspector::sendEvent failed because object or event are null (event: %p, object: %p)",
                      static_cast<const void *>(event), static_cast<const void *>(object.get()));
        diagnostic(QString::fromLatin1(text), false);
        return;
    }
    if (m_impl) {
        m_impl->sendEvent(event, object, args);
        return;
    }
    InspectorInterface::sendEvent(event, object, args);
}

// Settings

void Inspector::addPropertyDelegate(const QString &className, const QStringList &declarations)
{
    if (m_impl) {
        m_impl->addPropertyDelegate(className, declarations);
        return;
    }
    if (!type(className))
        return;
    new GenericStaticPropertyDelegate(className, declarations);
}

void Inspector::setUniqueProperty(const QString &key, const QString &property)
{
    if (m_impl) {
        m_impl->setUniqueProperty(key, property);
        return;
    }
    m_uniquePropertyClasses.append(key);
    m_uniqueProperties.insert(key, property);
}

QString Inspector::uniqueProperty(const QString &key) const
{
    return m_uniqueProperties.value(key);
}

QStringList Inspector::uniquePropertyClasses() const
{
    return m_uniquePropertyClasses;
}

void Inspector::setExtensionCode(const QString &code, const QString &language)
{
    if (m_impl) {
        m_impl->setExtensionCode(code, language);
        return;
    }
    m_extensionCode = code;
    m_extensionLanguage = language;
}

QString Inspector::extensionCode() const
{
    return m_extensionCode;
}

QString Inspector::extensionLanguage() const
{
    return m_extensionLanguage;
}

void Inspector::setMouseTracking(const QString &key, bool on)
{
    if (m_impl) {
        m_impl->setMouseTracking(key, on);
        return;
    }
    m_mouseTracking.remove(key);
    m_mouseTracking.insert(key, on);
}

void Inspector::setRecordMouseDrag(const QString &key, bool on)
{
    if (m_impl) {
        m_impl->setRecordMouseDrag(key, on);
        return;
    }
    m_recordMouseDrag.remove(key);
    m_recordMouseDrag.insert(key, on);
}

void Inspector::setAllowKeyEventCompression(const QString &key, bool on)
{
    if (m_impl) {
        m_impl->setAllowKeyEventCompression(key, on);
        return;
    }
    m_keyEventCompression.remove(key);
    m_keyEventCompression.insert(key, on);
}

void Inspector::enableEventCompression(const QString &key, bool on)
{
    // Only a remote implementation knows what to do with it.
    if (m_impl)
        m_impl->enableEventCompression(key, on);
}

bool Inspector::hasMouseTracking(const QString &key) const
{
    return m_mouseTracking.value(key, false);
}

bool Inspector::hasRecordMouseDrag(const QString &key) const
{
    return m_recordMouseDrag.value(key, true);
}

bool Inspector::isKeyEventCompressionAllowed(const QString &key) const
{
    return m_keyEventCompression.value(key, true);
}

void Inspector::setRecorderFilter(const QString &key, const QString &filter)
{
    if (m_impl) {
        m_impl->setRecorderFilter(key, filter);
        return;
    }
    m_recorderFilters[key].append(filter);
}

bool Inspector::matchRecordFilter(const QString &key, const QString &value) const
{
    auto it = m_recorderFilters.constFind(key);
    if (it == m_recorderFilters.constEnd())
        return false;
    for (const QString &filter : it.value()) {
        if (value == filter)
            return true;
        QRegExp rx(filter, Qt::CaseSensitive, QRegExp::Wildcard);
        if (rx.exactMatch(value))
            return true;
    }
    return false;
}

// Errors and unmatched properties

void Inspector::setError(const QString &text)
{
    if (m_impl)
        m_impl->setError(text);
    if (text.isEmpty())
        m_unmatchedProperties.clear();
    m_error = text;
}

QString Inspector::lastError() const
{
    if (m_impl)
        return m_impl->lastError();
    const QString text = m_error;
    m_error.clear();
    m_unmatchedProperties.clear();
    return text;
}

void Inspector::setUnmatchedProperties(const QString &key, const QStringList &properties)
{
    auto it = m_unmatchedProperties.find(key);
    if (it != m_unmatchedProperties.end() && properties.size() > it.value().size())
        return; // the shortest list explains the nearest miss best
    m_unmatchedProperties.insert(key, properties);
}

void Inspector::addUnmatchedProperty(const QString &key, const QString &property)
{
    QStringList &list = m_unmatchedProperties[key];
    if (!list.contains(property))
        list.append(property);
}

void Inspector::removeUnmatchedProperties(const QString &key)
{
    m_unmatchedProperties.remove(key);
}

QMap<QString, QStringList> Inspector::unmatchedProperties() const
{
    if (m_impl)
        return m_impl->unmatchedProperties();
    return m_unmatchedProperties;
}

// Remote calls

QVariant Inspector::call(const QString &name, const FList<QVariant> &args)
{
    if (m_impl)
        return m_impl->call(name, args);
    setError(QStringLiteral(
        "Cannot make remote calls right now. Make sure your application is running and hooked by Vexil."));
    return QVariant();
}

QString unescape2(const QString &s)
{
    // Most path segments have nothing to unescape.
    if (!s.contains(QChar(1)) && !s.contains(QLatin1Char('\\')))
        return s;
    QString result = s;
    result.replace(QChar(1), QLatin1Char('.'));
    result.replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
    return result;
}

} // namespace Vexil
