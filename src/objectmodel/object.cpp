// object.cpp: objects, their cached delegates, conversions to primitives, references, casting and lists.
#include "object.h"

#include "delegate.h"
#include "inspector.h"

#include <QDataStream>

#include <cstdio>
#include <mutex>
#include <stdexcept>

namespace Vexil {

namespace {

std::mutex s_indexMutex;
unsigned int s_nextIndex = 1;

// The class every invalidated object switches to: named "Dead", in a namespace of its own, never registered.
class ClassOfTheDead : public Class
{
public:
    ClassOfTheDead()
        : Class("Dead", new Namespace(), false)
    {
        setNumMethods(0);
        setNumConstructors(0);
        setNumProperties(0);
        setNumEvents(0);
        setNumEnums(0);
    }
    ~ClassOfTheDead() override { delete nameSpace(); }
};

const Class *theDead()
{
    static ClassOfTheDead *dead = new ClassOfTheDead();
    return dead;
}

} // namespace

Serializable::~Serializable() = default;

void ObjectAttribute::writeObject(QDataStream &stream) const
{
    stream << quint32(flags) << qint32(count);
}

void ObjectAttribute::readObject(QDataStream &stream)
{
    quint32 f = 0;
    qint32 c = 0;
    stream >> f >> c;
    if (stream.status() == QDataStream::Ok) {
        flags = f;
        count = c;
    }
}

ObjectAuxData::~ObjectAuxData() = default;

Object::Object(void *d, const Class *cls, const ObjectAttribute &attr)
    : data(d)
    , m_aux(nullptr)
    , m_class(cls)
    , m_attribute(attr)
    , m_hierarchy(nullptr)
    , m_serialize(nullptr)
    , m_conversion(nullptr)
    , m_comparison(nullptr)
    , m_index(~0u)
    , m_hierarchyLooked(false)
    , m_serializeLooked(false)
    , m_conversionLooked(false)
    , m_comparisonLooked(false)
    , ownsData(false)
    , m_invalidated(false)
{
}

Object::~Object()
{
    // A throwing deleteObjectData ends the process: destructors are noexcept.
    if (ownsData && m_class)
        m_class->deleteObjectData(data, objectAttribute());
    delete m_aux;
}

void Object::put(void *newData)
{
    delete m_aux;
    m_aux = nullptr;
    if (ownsData && m_class)
        m_class->deleteObjectData(data, objectAttribute());
    data = newData;
}

void Object::setAuxData(ObjectAuxData *aux)
{
    if (aux == m_aux)
        return;
    delete m_aux;
    m_aux = aux;
}

bool Object::isA(const Class *cls) const
{
    if (!cls)
        return false;
    return m_class && m_class->isSubClassOf(cls);
}

QString Object::className() const
{
    return m_class ? QString::fromLatin1(m_class->name()) : QString();
}

bool Object::sameAs(Ptr other) const
{
    return m_class ? m_class->sameObjects(self(), other) : false;
}

int Object::compare(Ptr other) const
{
    return m_class ? m_class->compare(self(), other) : (other.get() == this ? 0 : 1);
}

void Object::generateIndex() const
{
    if (m_index != ~0u)
        return;
    std::lock_guard<std::mutex> lock(s_indexMutex);
    m_index = s_nextIndex++;
}

void Object::invalidate()
{
    m_invalidated = true;
    data = nullptr;
    clearDelegates();
    m_class = theDead();
}

Object::Ptr Object::zombie()
{
    return Ptr(new Object(nullptr, theDead(), ObjectAttribute()));
}

void Object::registerClassOfTheDead()
{
    theDead();
}

const Class *Object::classOfTheDead()
{
    return theDead();
}

// Delegates

void Object::clearDelegates() const
{
    m_hierarchy = nullptr;
    m_serialize = nullptr;
    m_conversion = nullptr;
    m_comparison = nullptr;
    m_hierarchyLooked = m_serializeLooked = m_conversionLooked = m_comparisonLooked = false;
}

void Object::setupHierarchyDelegate() const
{
    if (m_hierarchyLooked)
        return;
    m_hierarchyLooked = true;
    DelegateFactory *f = DelegateFactory::self();
    const Delegate *d = f->delegate(m_class, Delegate::Hierarchy);
    if (!d && m_class && vexil_is_qobject_type(QString::fromLatin1(m_class->name())))
        d = f->delegate(QStringLiteral("QObject"), Delegate::Hierarchy);
    m_hierarchy = static_cast<const ObjectHierarchyDelegate *>(d);
}

void Object::setupSerializeDelegate() const
{
    if (m_serializeLooked)
        return;
    m_serializeLooked = true;
    m_serialize = static_cast<const SerializeDelegate *>(
        DelegateFactory::self()->delegate(m_class, Delegate::Serialize));
}

void Object::setupConversionDelegate() const
{
    if (m_conversionLooked)
        return;
    m_conversionLooked = true;
    m_conversion = static_cast<const ConversionDelegate *>(
        DelegateFactory::self()->delegate(m_class, Delegate::Conversion));
}

void Object::setupComparisonDelegate() const
{
    if (m_comparisonLooked)
        return;
    m_comparisonLooked = true;
    m_comparison = static_cast<const ComparisonDelegate *>(
        DelegateFactory::self()->delegate(m_class, Delegate::Comparison));
}

const ObjectHierarchyDelegate *Object::hierarchyDelegate() const
{
    setupHierarchyDelegate();
    return m_hierarchy;
}

const SerializeDelegate *Object::serializeDelegate() const
{
    setupSerializeDelegate();
    return m_serialize;
}

const ConversionDelegate *Object::conversionDelegate() const
{
    setupConversionDelegate();
    return m_conversion;
}

const ComparisonDelegate *Object::comparisonDelegate() const
{
    setupComparisonDelegate();
    return m_comparison;
}

// Hierarchy

int Object::numChildren() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->numChildren(self()) : 0;
}

Object::Ptr Object::child(int index) const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->child(self(), index) : Ptr();
}

Object::Ptr Object::childByName(const QString &name) const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    if (!h || numChildren() == 0)
        return Ptr();
    return h->childByName(self(), name);
}

ObjectList Object::children() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->children(self()) : ObjectList();
}

Object::Ptr Object::parent() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->parent(self()) : Ptr();
}

QString Object::name() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->name(self()) : QStringLiteral("unnamed");
}

QString Object::qualifiedName() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->qualifiedName(self()) : QStringLiteral("unnamed");
}

int Object::wrapperType() const
{
    const ObjectHierarchyDelegate *h = hierarchyDelegate();
    return h ? h->wrapperType(self()) : 0;
}

// Streams

void Object::streamObject(QDataStream &) const
{
}

void Object::objectFromStream(QDataStream &)
{
}

void Object::writeObject(QDataStream &stream) const
{
    streamObject(stream);
}

void Object::readObject(QDataStream &stream)
{
    objectFromStream(stream);
}

// Conversion to and from primitives

namespace {

// Converts through the class when no delegate answers: the class must reach the primitive in pointer form.
Object::Ptr convertedThroughClass(const Object *obj, int primitive)
{
    const Class *cls = obj->objectClass();
    const Class *target = Inspector::self()->type(primitive);
    if (!cls || !target)
        return Object::Ptr();
    const bool isRef = (obj->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
    if (!cls->canConvertTo(target, isRef, true, nullptr))
        return Object::Ptr();
    Object::Ptr converted = cls->convertTo(obj->self(), target, true);
    // A class that converts to itself would loop forever.
    if (converted.get() == obj)
        return Object::Ptr();
    return converted;
}

} // namespace

QString Object::toString() const
{
    if (isNull())
        return QStringLiteral("<null>");
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertString))
        return c->toString(self());
    Ptr conv = convertedThroughClass(this, Inspector::Char);
    return conv ? conv->toString() : QString();
}

int Object::toInteger() const
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertInteger))
        return c->toInteger(self());
    Ptr conv = convertedThroughClass(this, Inspector::Int);
    return conv ? conv->toInteger() : 0;
}

long long Object::toInt64() const
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertInt64))
        return c->toInt64(self());
    Ptr conv = convertedThroughClass(this, Inspector::Int64);
    return conv ? conv->toInt64() : 0;
}

double Object::toDouble() const
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertDouble))
        return c->toDouble(self());
    Ptr conv = convertedThroughClass(this, Inspector::Double);
    return conv ? conv->toDouble() : 0.0;
}

bool Object::toBoolean() const
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertBoolean))
        return c->toBoolean(self());
    Ptr conv = convertedThroughClass(this, Inspector::Bool);
    return conv ? conv->toBoolean() : false;
}

void Object::fromString(const QString &value)
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertString))
        c->fromString(value, self());
}

void Object::fromInteger(int value)
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertInteger))
        c->fromInteger(value, self());
}

void Object::fromInt64(long long value)
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertInt64))
        c->fromInt64(value, self());
}

void Object::fromDouble(double value)
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertDouble))
        c->fromDouble(value, self());
}

void Object::fromBoolean(bool value)
{
    const ConversionDelegate *c = conversionDelegate();
    if (c && supportsConversion(c, ConversionDelegate::ConvertBoolean))
        c->fromBoolean(value, self());
}

ObjectAttribute Object::objectAttribute() const
{
    return m_attribute;
}

bool Object::isNull() const
{
    return data == nullptr;
}

// References and casting

Object::Ptr Object::reference() const
{
    const unsigned int flags = objectAttribute().flags;
    if (flags & (ObjectAttribute::Pointer | ObjectAttribute::Array))
        return self();
    if (!m_class)
        return Ptr();
    return m_class->wrap(data, ObjectAttribute(ObjectAttribute::Pointer, 0));
}

Object::Ptr Object::dereference() const
{
    const unsigned int flags = objectAttribute().flags;
    if (!(flags & (ObjectAttribute::Reference | ObjectAttribute::Pointer))
        || (flags & ObjectAttribute::Reference))
        return self();
    if (!data || !m_class)
        return Ptr();
    return m_class->wrap(data, ObjectAttribute(0, 0));
}

Object::Ptr Object::castTo(const Class *target)
{
    if (target == m_class)
        return self();
    bool change = false;
    if (target && m_class && target->isSubClassOf(m_class)) {
        change = true; // down-cast
    } else if (target && m_class && m_class->isSubClassOf(target)) {
        change = true; // up-cast
    } else {
        // Only the built-in primitives (the first seven registered classes) can be forced into one another.
        const unsigned int fromId = m_class ? unsigned(m_class->classId()) : ~0u;
        const unsigned int toId = target ? unsigned(target->classId()) : ~0u;
        change = !(fromId > 6 || toId > 6);
    }
    if (change) {
        m_class = target;
        clearDelegates();
    }
    return self();
}

// Debug string

QString Object::toDebugString() const
{
    const SerializeDelegate *s = serializeDelegate();
    if (s)
        return s->toDebugString(self());
    if (isNull())
        return QStringLiteral("0 : ") + className();
    QString out = QStringLiteral("{ ");
    const int n = m_class ? m_class->numProperties() : 0;
    for (int i = 0; i < n; ++i) {
        const Property *p = m_class->property(i);
        if (!p || !p->isReadable())
            continue;
        Ptr value = p->get(self());
        if (value) {
            out += p->name();
            out += QStringLiteral(" = ");
            if (value->objectClass() != m_class)
                out += value->toDebugString();
            else
                out += value->toString() + QStringLiteral(" : ") + value->className();
        }
        if (i != n - 1)
            out += QStringLiteral(", ");
    }
    out += QStringLiteral(" } : ") + className();
    return out;
}

// ObjectList

namespace {

[[noreturn]] void throwRange(size_t n, size_t size)
{
    char buf[160];
    std::snprintf(buf, sizeof buf,
                  "vector::_M_range_check: __n (which is %zu) >= this->size() (which is %zu)", n, size);
    throw std::out_of_range(buf);
}

} // namespace

Object::Ptr &ObjectList::at(size_t i)
{
    if (i >= m_items.size())
        throwRange(i, m_items.size());
    return m_items[i];
}

const Object::Ptr &ObjectList::at(size_t i) const
{
    if (i >= m_items.size())
        throwRange(i, m_items.size());
    return m_items[i];
}

// Remote objects

RemoteObjectBase::RemoteObjectBase(const Class *cls, unsigned int contextId)
    : Object(nullptr, cls, ObjectAttribute())
    , m_contextId(contextId)
{
}

RemoteObjectBase::~RemoteObjectBase() = default;

} // namespace Vexil
