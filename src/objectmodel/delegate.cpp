// delegate.cpp: the delegate registry, lookup along the class chain and the delegates' default behaviour.
#include "delegate.h"

#include "inspector.h"
#include "object_p.h"

#include <algorithm>
#include <iterator>

namespace Vexil {

namespace {

// Starts above 0, the generation of a cache entry never filled.
unsigned int s_lookupGeneration = 1;

// The superclass link after lazy set-up; null at a root or where the link could not be set up.
const Class *stepUp(const Class *c)
{
    return c->superClass();
}

} // namespace

unsigned int delegateLookupGeneration()
{
    return s_lookupGeneration;
}

void invalidateDelegateLookups()
{
    if (++s_lookupGeneration == 0)
        s_lookupGeneration = 1;
}

// Delegate

Delegate::Delegate(const QString &className, Type type)
    : m_className(className)
    , m_type(type)
    , m_superComputed(false)
    , m_super(nullptr)
{
    DelegateFactory::self()->addDelegate(this);
}

Delegate::~Delegate() = default;

const Delegate *Delegate::super() const
{
    if (m_superComputed)
        return m_super;
    m_super = nullptr;
    m_superComputed = true; // a failed search is not repeated
    const DelegateFactory *f = DelegateFactory::self();
    for (const Class *c = Inspector::self()->type(m_className); c; c = stepUp(c)) {
        const Delegate *d = f->delegate(QString::fromLatin1(c->name()), m_type);
        if (d && d != this) {
            m_super = d;
            break;
        }
    }
    return m_super;
}

// DelegateFactory

DelegateFactory *DelegateFactory::selfPtr = nullptr;

DelegateFactory *DelegateFactory::self()
{
    if (!selfPtr)
        new DelegateFactory();
    return selfPtr;
}

DelegateFactory::DelegateFactory()
{
    selfPtr = this;
    invalidateDelegateLookups();
}

DelegateFactory::~DelegateFactory()
{
    invalidateDelegateLookups();
    if (selfPtr == this)
        selfPtr = nullptr;
    for (Delegate *d : m_delegates)
        delete d;
    for (Delegate *d : m_displaced)
        delete d;
    m_delegates.clear();
    m_displaced.clear();
}

void DelegateFactory::addDelegate(Delegate *d)
{
    if (!d)
        return;
    invalidateDelegateLookups();
    const QPair<int, QString> key(int(d->type()), d->className());
    auto it = m_delegates.find(key);
    if (it != m_delegates.end()) {
        if (it.value() != d)
            m_displaced.push_back(it.value());
        it.value() = d;
    } else {
        m_delegates.insert(key, d);
    }
}

const Delegate *DelegateFactory::delegate(const QString &className, Delegate::Type type) const
{
    return m_delegates.value(qMakePair(int(type), className), nullptr);
}

const Delegate *DelegateFactory::delegate(const Class *cls, Delegate::Type type) const
{
    if (!cls || m_delegates.isEmpty())
        return nullptr;
    ClassPrivate *p = ClassPrivate::get(cls);
    const int t = int(type);
    const bool cacheable = t >= 0 && t < ClassPrivate::NumCachedDelegateTypes;
    if (cacheable && p->delegateCacheFactory == this
        && p->delegateCacheGeneration[t] == delegateLookupGeneration())
        return p->delegateCache[t];

    const Delegate *found = nullptr;
    // A link that stays uninitialised is set up again on the next walk, so such an answer is not kept.
    bool settled = true;
    for (const Class *c = cls; c;) {
        found = delegate(QString::fromLatin1(c->name()), type);
        if (found)
            break;
        const Class *next = stepUp(c);
        if (!next && ClassPrivate::get(c)->superClass == Class::uninitialized)
            settled = false;
        c = next;
    }
    if (cacheable && settled) {
        if (p->delegateCacheFactory != this) {
            p->delegateCacheFactory = this;
            std::fill(std::begin(p->delegateCacheGeneration), std::end(p->delegateCacheGeneration), 0u);
        }
        p->delegateCache[t] = found;
        p->delegateCacheGeneration[t] = delegateLookupGeneration();
    }
    return found;
}

std::vector<const Delegate *> DelegateFactory::delegatesForType(Delegate::Type type) const
{
    std::vector<const Delegate *> result;
    for (auto it = m_delegates.constBegin(); it != m_delegates.constEnd(); ++it) {
        if (it.key().first == int(type))
            result.push_back(it.value());
    }
    return result;
}

// ObjectHierarchyDelegate

ObjectHierarchyDelegate::ObjectHierarchyDelegate(const QString &className)
    : Delegate(className, Hierarchy)
{
}

ObjectHierarchyDelegate::~ObjectHierarchyDelegate() = default;

Object::Ptr ObjectHierarchyDelegate::objectByQualifiedName(Object::Ptr, const ObjectName &) const
{
    return Object::Ptr();
}

ObjectList ObjectHierarchyDelegate::children(Object::Ptr parent) const
{
    ObjectList result;
    const int n = numChildren(parent);
    if (n > 0)
        result.reserve(size_t(n));
    for (int i = 0; i < n; ++i) {
        Object::Ptr c = child(parent, i);
        if (c)
            result.push_back(c);
    }
    return result;
}

Object::Ptr ObjectHierarchyDelegate::parent(Object::Ptr object) const
{
    if (!object)
        return Object::Ptr();
    const ObjectList tops = Inspector::self()->objects();
    for (const Object::Ptr &top : tops) {
        if (!top)
            continue;
        if (object->sameAs(top))
            return Object::Ptr();
        Object::Ptr hit = recursiveParent(top, object);
        if (hit)
            return hit;
    }
    return Object::Ptr();
}

Object::Ptr ObjectHierarchyDelegate::recursiveParent(Object::Ptr candidate, Object::Ptr object) const
{
    // Depth-first, pre-order, with an explicit stack so a deep tree cannot exhaust the call stack.
    std::vector<std::pair<Object::Ptr, ObjectList>> stack;
    stack.emplace_back(candidate, candidate->children());
    std::vector<size_t> next(1, 0);
    while (!stack.empty()) {
        auto &top = stack.back();
        size_t &i = next.back();
        if (i >= top.second.size()) {
            stack.pop_back();
            next.pop_back();
            continue;
        }
        Object::Ptr c = top.second[i++];
        if (!c)
            continue;
        if (c->sameAs(object))
            return top.first;
        ObjectList grandChildren = c->children();
        stack.emplace_back(c, grandChildren);
        next.push_back(0);
    }
    return Object::Ptr();
}

// GeometryDelegate

GeometryDelegate::GeometryDelegate(const QString &className)
    : Delegate(className, Geometry)
{
}

GeometryDelegate::~GeometryDelegate() = default;

Rect<NativeCoordinates> GeometryDelegate::nativeGlobalBounds(Object::Ptr object) const
{
    const Rect<GlobalCoordinates> b = globalBounds(object);
    return Rect<NativeCoordinates> { b.x, b.y, b.width, b.height, b.screen };
}

Point<RelativeCoordinates> GeometryDelegate::globalToRelative(Object::Ptr object, int x, int y) const
{
    const Rect<GlobalCoordinates> b = globalBounds(object);
    if (b.width < 0 || b.height < 0)
        return Point<RelativeCoordinates> { false, 0, 0, -1 };
    return Point<RelativeCoordinates> { true, x - b.x, y - b.y, -1 };
}

Point<GlobalCoordinates> GeometryDelegate::relativeToGlobal(Object::Ptr object, int x, int y) const
{
    const Rect<GlobalCoordinates> b = globalBounds(object);
    if (b.width < 0 || b.height < 0)
        return Point<GlobalCoordinates> { false, 0, 0, -1 };
    return Point<GlobalCoordinates> { true, x + b.x, y + b.y, -1 };
}

Point<NativeCoordinates> GeometryDelegate::relativeToNative(Object::Ptr object, int x, int y) const
{
    const Point<GlobalCoordinates> p = relativeToGlobal(object, x, y);
    return Point<NativeCoordinates> { p.valid, p.x, p.y, p.screen };
}

// DumpObjectTreeDelegate

DumpObjectTreeDelegate::DumpObjectTreeDelegate(const QString &className)
    : Delegate(className, DumpObjectTree)
{
}

DumpObjectTreeDelegate::~DumpObjectTreeDelegate() = default;

bool DumpObjectTreeDelegate::enterDump(Object::Ptr, const std::map<std::string, DumpFilter *> &,
                                       QString *) const
{
    return true;
}

bool DumpObjectTreeDelegate::leaveDump(QString *) const
{
    return true;
}

bool DumpObjectTreeDelegate::dumpObject(Object::Ptr, bool, UIAbstraction::UIElement **,
                                        const std::map<std::string, DumpFilter *> &, QString *) const
{
    return false;
}

bool DumpObjectTreeDelegate::takeScreenshot(Object::Ptr, UIAbstraction::UIElement *) const
{
    return false;
}

bool DumpObjectTreeDelegate::setProperty(const Property *, Object::Ptr, UIAbstraction::UIElement *, int) const
{
    return false;
}

bool DumpObjectTreeDelegate::children(Object::Ptr, ObjectList *) const
{
    return false;
}

bool DumpObjectTreeDelegate::visibleGlobalBounds(Object::Ptr, Rect<GlobalCoordinates> *) const
{
    return false;
}

bool DumpObjectTreeDelegate::isTransparent(Object::Ptr) const
{
    return false;
}

bool DumpObjectTreeDelegate::simplifiedType(Object::Ptr, QString *) const
{
    return false;
}

// Static properties

StaticPropertyDelegate::StaticPropertyDelegate(const QString &className)
    : Delegate(className, StaticProperty)
{
}

StaticPropertyDelegate::~StaticPropertyDelegate() = default;

GenericStaticPropertyDelegate::GenericStaticPropertyDelegate(const QString &className,
                                                             const QStringList &declarations)
    : StaticPropertyDelegate(className)
{
    const QByteArray cls = className.toLatin1();
    for (const QString &decl : declarations) {
        const QStringList f = decl.split(QLatin1Char(','), Qt::SkipEmptyParts);
        // Six fields: type, name, getter, setter, static flag, stored flag. Fewer is a broken declaration.
        if (f.size() < 6)
            qFatal("GenericStaticPropertyDelegate: index out of range: declaration '%s' has %d fields, "
                   "6 expected",
                   decl.toLocal8Bit().constData(), int(f.size()));
        unsigned int flags = PropertyDeclaration::Readable;
        if (!f.at(3).isEmpty())
            flags |= PropertyDeclaration::Writable;
        if (f.at(4) == QLatin1String("1"))
            flags |= PropertyDeclaration::Static;
        if (f.at(5) == QLatin1String("1"))
            flags |= PropertyDeclaration::Stored;
        const QByteArray type = f.at(0).toLatin1();
        m_declarations.push_back(
            new PropertyDeclaration(cls.constData(), type.constData(), f.at(1), flags, f.at(2), f.at(3)));
    }
}

GenericStaticPropertyDelegate::~GenericStaticPropertyDelegate()
{
    for (PropertyDeclaration *d : m_declarations)
        delete d;
}

int GenericStaticPropertyDelegate::numProperties() const
{
    return int(m_declarations.size());
}

const PropertyDeclaration *GenericStaticPropertyDelegate::propertyDeclaration(int index) const
{
    return index >= 0 && size_t(index) < m_declarations.size() ? m_declarations[size_t(index)] : nullptr;
}

// Serialize, conversion, comparison, cast

SerializeDelegate::SerializeDelegate(const QString &className)
    : Delegate(className, Serialize)
{
}

SerializeDelegate::~SerializeDelegate() = default;

ConversionDelegate::ConversionDelegate(const QString &className)
    : Delegate(className, Conversion)
{
}

ConversionDelegate::~ConversionDelegate() = default;

QString ConversionDelegate::toString(Object::Ptr) const
{
    return QString();
}

int ConversionDelegate::toInteger(Object::Ptr) const
{
    return 0;
}

double ConversionDelegate::toDouble(Object::Ptr) const
{
    return 0.0;
}

bool ConversionDelegate::toBoolean(Object::Ptr) const
{
    return false;
}

void ConversionDelegate::fromString(const QString &, Object::Ptr) const
{
}

void ConversionDelegate::fromInteger(int, Object::Ptr) const
{
}

void ConversionDelegate::fromDouble(double, Object::Ptr) const
{
}

void ConversionDelegate::fromBoolean(bool, Object::Ptr) const
{
}

bool supportsConversion(const ConversionDelegate *d, ConversionDelegate::ConvertFlags wanted)
{
    if (!d)
        return false;
    return (d->supportedConversions(wanted) & wanted) == wanted;
}

ComparisonDelegate::ComparisonDelegate(const QString &className)
    : Delegate(className, Comparison)
{
}

ComparisonDelegate::~ComparisonDelegate() = default;

CastDelegate::CastDelegate(const QString &className)
    : Delegate(className, Cast)
{
}

CastDelegate::~CastDelegate() = default;

// Callbacks registered with the Inspector

SendEventDelegate::SendEventDelegate()
{
    Inspector::self()->addSendEventDelegate(this);
}

SendEventDelegate::~SendEventDelegate()
{
    if (Inspector::insp)
        Inspector::insp->removeSendEventDelegate(this);
}

EventNotifyDelegate::EventNotifyDelegate()
{
    Inspector::self()->setEventNotifyDelegate(this);
}

EventNotifyDelegate::~EventNotifyDelegate()
{
    if (Inspector::insp && Inspector::insp->eventNotifyDelegate() == this)
        Inspector::insp->setEventNotifyDelegate(nullptr);
}

} // namespace Vexil
