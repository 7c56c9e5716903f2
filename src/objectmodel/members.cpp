// members.cpp: member descriptors, their printed and stream forms, overload choice, the checks before a call
// or a property access, and the Class slots that carry a call down to the raw native slots.
#include "object.h"

#include "delegate.h"
#include "inspector.h"

#include <QDataStream>
#include <QIODevice>

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace Vexil {

namespace {

// Smallest stream form of one element, used to refuse counts a stream can't hold before looping over them.
constexpr qint64 MinArgumentBytes = 24;   // name, type, attribute (8), enum owner, enum name
constexpr qint64 MinEnumItemBytes = 8;    // key, value

bool streamOk(const QDataStream &stream)
{
    return stream.status() == QDataStream::Ok;
}

// False (and the stream marked corrupt) when \p count can't be right for what is left in the stream.
bool plausibleCount(QDataStream &stream, qint32 count, qint64 minElementBytes)
{
    if (count < 0) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return false;
    }
    const QIODevice *dev = stream.device();
    if (!dev) {
        if (count > 0)
            stream.setStatus(QDataStream::ReadPastEnd);
        return count == 0;
    }
    // A sequential device may not have everything buffered yet; there the element reads themselves stop at
    // the first failure, so a wild count costs nothing but the loop's early exit.
    if (!dev->isSequential() && qint64(count) * minElementBytes > dev->bytesAvailable()) {
        stream.setStatus(QDataStream::ReadPastEnd);
        return false;
    }
    return true;
}

void writeClassRef(QDataStream &stream, const Class *cls)
{
    stream << (cls ? cls->fullyQualifiedClassName() : QString());
}

// Resolves a fully qualified class name through the namespaces, then as a class of the global namespace
// (names like "Vexil::Global" contain "::" themselves), then by short name.
const Class *classFromName(const QString &name)
{
    if (name.isEmpty())
        return nullptr;
    Inspector *insp = Inspector::self();
    const int sep = name.lastIndexOf(QLatin1String("::"));
    if (sep > 0) {
        if (Namespace *ns = insp->nameSpaceFromFullyQualifiedName(name.left(sep))) {
            if (const Class *c = ns->getClass(name.mid(sep + 2)))
                return c;
        }
    }
    if (Namespace *global = insp->globalNamespace()) {
        if (const Class *c = global->getClass(name))
            return c;
    }
    return insp->type(name);
}

const Class *readClassRef(QDataStream &stream, bool *ok)
{
    QString name;
    stream >> name;
    *ok = streamOk(stream);
    return *ok ? classFromName(name) : nullptr;
}

void writeEnumRef(QDataStream &stream, const Enum *e)
{
    writeClassRef(stream, e ? e->ownerClass() : nullptr);
    stream << (e ? e->name() : QString());
}

const Enum *readEnumRef(QDataStream &stream, bool *ok)
{
    const Class *owner = readClassRef(stream, ok);
    QString name;
    stream >> name;
    *ok = *ok && streamOk(stream);
    if (!*ok || !owner || name.isEmpty())
        return nullptr;
    return owner->enumerator(name);
}

const Class *undefinedClass()
{
    Inspector *insp = Inspector::self();
    return insp->numClasses() > Inspector::Undefined ? insp->type(Inspector::Undefined) : nullptr;
}

// The primitive index (0 to 8) of \p c, or -1 for any other class.
int primitiveIndex(const Class *c)
{
    if (!c)
        return -1;
    const int id = c->classId();
    if (id < 0 || id > Inspector::Undefined)
        return -1;
    return Inspector::self()->type(id) == c ? id : -1;
}

bool isPointer(const Object::Ptr &object)
{
    return (object->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
}

void *rawDataOf(const Object::Ptr &object)
{
    return object ? object->rawData() : nullptr;
}

// The class whose slots serve \p object: its own, or \p fallback for a null object or one without a class.
const Class *servingClass(const Object::Ptr &object, const Class *fallback)
{
    return object && object->objectClass() ? object->objectClass() : fallback;
}

// Leaves \p text as the Inspector's error; false, for the checks to return.
bool refuse(const QString &text)
{
    Inspector::self()->setError(text);
    return false;
}

bool isVoidClass(const Class *c)
{
    return c && c->classId() == Inspector::Void && std::strcmp(c->name(), "void") == 0;
}

QString className(const Class *c)
{
    return c ? QString::fromLatin1(c->name()) : QString();
}

// The type part of a printed argument: "const ", the type or the enum, then the pointer forms.
QString typeText(const Argument &arg, bool blankBeforeReference)
{
    const unsigned int f = arg.flags();
    QString out;
    if (f & ObjectAttribute::ConstValue)
        out += QLatin1String("const ");
    const Enum *e = arg.enumeration();
    if (e) {
        const Class *owner = e->ownerClass();
        if (owner && owner != Inspector::self()->globalClass())
            out += className(owner) + QLatin1String("::");
        out += e->name();
    } else {
        out += className(arg.type());
    }
    const QLatin1String blank(blankBeforeReference ? " " : "");
    if (f & ObjectAttribute::Reference)
        out += blank + QLatin1Char('&');
    if (f & ObjectAttribute::Pointer)
        out += blank + QLatin1Char('*');
    if (f & ObjectAttribute::Array) {
        out += QLatin1String(" [");
        if (arg.count() > 0)
            out += QString::number(arg.count());
        out += QLatin1Char(']');
    }
    if (f & ObjectAttribute::ConstPointer)
        out += QLatin1String(" const");
    return out;
}

// The argument as the parameter takes it: as it is when it already is-a the parameter's class (or the
// parameter is void), converted when its class can, otherwise null.
Object::Ptr acceptArgument(const Object::Ptr &arg, const Argument &param)
{
    if (!arg)
        return Object::Ptr();
    const Class *type = param.type();
    if (isVoidClass(type) || arg->isA(type))
        return arg;
    const Class *cls = arg->objectClass();
    if (!cls || !type)
        return Object::Ptr();
    const bool paramIsPointer = (param.flags() & ObjectAttribute::Pointer) != 0;
    if (!cls->canConvertTo(type, isPointer(arg), paramIsPointer, nullptr))
        return Object::Ptr();
    return cls->convertTo(arg, type, paramIsPointer);
}

// Fills \p converted with the arguments as \p sig takes them; false at the first one that can't be had.
// \p converted stays empty when every argument is taken as it is, so the caller can pass the original list.
bool acceptArguments(const Signature &sig, const ObjectList &args, ObjectList &converted)
{
    const int n = sig.count();
    bool copying = false;
    for (int i = 0; i < n; ++i) {
        const Object::Ptr &arg = args[size_t(i)];
        Object::Ptr taken = acceptArgument(arg, sig.at(i));
        if (!taken)
            return false;
        if (taken != arg && !copying) {
            copying = true;
            converted.reserve(size_t(n));
            for (int k = 0; k < i; ++k)
                converted.push_back(args[size_t(k)]);
        }
        if (copying)
            converted.push_back(taken);
    }
    return true;
}

// The raw data pointers of a list of arguments, on the stack for the usual short lists.
class RawArguments
{
public:
    explicit RawArguments(const ObjectList &args)
        : m_data(m_fixed)
    {
        const size_t n = args.size();
        if (n > FixedSize) {
            m_heap.resize(n);
            m_data = m_heap.data();
        }
        for (size_t i = 0; i < n; ++i)
            m_data[i] = args[i] ? args[i]->rawData() : nullptr;
    }
    void **data() { return m_data; }

private:
    static constexpr size_t FixedSize = 8;
    void *m_fixed[FixedSize] = {};
    std::vector<void *> m_heap;
    void **m_data;
};

} // namespace

// ---------------------------------------------------------------------------------------------------------
// Argument

Argument::Argument()
    : m_type(nullptr)
    , m_enum(nullptr)
{
}

Argument::Argument(const Class *type, unsigned int flags, int count, const Enum *e)
    : Argument(QString(), type, ObjectAttribute(flags, count), e)
{
}

Argument::Argument(const QString &name, const Class *type, unsigned int flags, int count, const Enum *e)
    : Argument(name, type, ObjectAttribute(flags, count), e)
{
}

Argument::Argument(const Class *type, const ObjectAttribute &attribute, const Enum *e)
    : Argument(QString(), type, attribute, e)
{
}

Argument::Argument(const QString &name, const Class *type, const ObjectAttribute &attribute, const Enum *e)
    : m_name(name)
    , m_type(type ? type : undefinedClass())
    , m_attribute(attribute)
    , m_enum(e)
{
}

Argument::Argument(const Argument &other)
    : Serializable()
    , m_name(other.m_name)
    , m_type(other.m_type)
    , m_attribute(other.m_attribute)
    , m_enum(other.m_enum)
{
}

Argument &Argument::operator=(const Argument &other)
{
    m_name = other.m_name;
    m_type = other.m_type;
    m_attribute = other.m_attribute;
    m_enum = other.m_enum;
    return *this;
}

Argument::~Argument() = default;

void Argument::writeObject(QDataStream &stream) const
{
    stream << m_name;
    writeClassRef(stream, m_type);
    stream << quint32(m_attribute.flags) << qint32(m_attribute.count);
    writeEnumRef(stream, m_enum);
}

void Argument::readObject(QDataStream &stream)
{
    QString name;
    stream >> name;
    if (!streamOk(stream))
        return;
    bool ok = false;
    const Class *type = readClassRef(stream, &ok);
    if (!ok)
        return;
    quint32 flags = 0;
    qint32 count = 0;
    stream >> flags >> count;
    if (!streamOk(stream))
        return;
    const Enum *e = readEnumRef(stream, &ok);
    if (!ok)
        return;
    m_name = name;
    m_type = type;
    m_attribute = ObjectAttribute(flags, count);
    m_enum = e;
}

// ---------------------------------------------------------------------------------------------------------
// Signature

Signature::Signature() = default;

Signature::Signature(const Argument &a1)
{
    m_args << a1;
}

Signature::Signature(const Argument &a1, const Argument &a2)
{
    m_args << a1 << a2;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3)
{
    m_args << a1 << a2 << a3;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4)
{
    m_args << a1 << a2 << a3 << a4;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5)
{
    m_args << a1 << a2 << a3 << a4 << a5;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5, const Argument &a6)
{
    m_args << a1 << a2 << a3 << a4 << a5 << a6;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5, const Argument &a6, const Argument &a7)
{
    m_args << a1 << a2 << a3 << a4 << a5 << a6 << a7;
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5, const Argument &a6, const Argument &a7, const Argument &a8)
{
    m_args << a1 << a2 << a3 << a4 << a5 << a6 << a7 << a8;
}

const Argument &Signature::at(int i) const
{
    static const Argument none;
    return i >= 0 && i < m_args.size() ? m_args.at(i) : none;
}

QString Signature::toString() const
{
    QString out = QStringLiteral("(");
    for (int i = 0; i < m_args.size(); ++i) {
        if (i > 0)
            out += QLatin1String(", ");
        const Argument &arg = m_args.at(i);
        out += typeText(arg, true);
        if (!arg.name().isEmpty())
            out += QLatin1Char(' ') + arg.name();
    }
    out += QLatin1Char(')');
    return out;
}

void Signature::writeObject(QDataStream &stream) const
{
    stream << qint32(m_args.size());
    for (const Argument &arg : m_args)
        arg.writeObject(stream);
}

void Signature::readObject(QDataStream &stream)
{
    qint32 count = 0;
    stream >> count;
    if (!streamOk(stream) || !plausibleCount(stream, count, MinArgumentBytes))
        return;
    QVector<Argument> args;
    for (qint32 i = 0; i < count; ++i) {
        Argument arg;
        arg.readObject(stream);
        if (!streamOk(stream))
            return;
        args.append(arg);
    }
    m_args = args;
}

// ---------------------------------------------------------------------------------------------------------
// Method and overload sets

Method::Method(const Class *owner, const Argument &returnArgument, const QString &name,
               const Signature &signature, bool isStatic, int index)
    : m_owner(owner)
    , m_return(returnArgument)
    , m_name(name)
    , m_signature(signature)
    , m_flags(isStatic ? 1u : 0u)
    , m_index(index)
{
}

Method::~Method() = default;

QString Method::toString() const
{
    // The return type keeps "&" and "*" next to the type, unlike the parameters: the two forms differ on
    // purpose, scripts and recorded traces rely on both.
    return typeText(m_return, false) + QLatin1Char(' ') + m_name + m_signature.toString();
}

Object::Ptr Method::invoke(Object::Ptr object, const ObjectList &args) const
{
    if (!verifyMethodInvocation(object, this))
        return Object::Ptr();
    if (!m_owner)
        return Object::Ptr();
    return m_owner->invoke(m_index, object, args, this);
}

void Method::writeObject(QDataStream &stream) const
{
    writeClassRef(stream, m_owner);
    m_return.writeObject(stream);
    stream << m_name;
    m_signature.writeObject(stream);
    stream << quint32(m_flags) << qint32(m_index) << m_deprecation;
}

void Method::readObject(QDataStream &stream)
{
    bool ok = false;
    const Class *owner = readClassRef(stream, &ok);
    if (!ok)
        return;
    Argument ret;
    ret.readObject(stream);
    QString name;
    stream >> name;
    if (!streamOk(stream))
        return;
    Signature sig;
    sig.readObject(stream);
    quint32 flags = 0;
    qint32 index = 0;
    QString deprecation;
    stream >> flags >> index >> deprecation;
    if (!streamOk(stream))
        return;
    m_owner = owner;
    m_return = ret;
    m_name = name;
    m_signature = sig;
    m_flags = flags;
    m_index = index;
    m_deprecation = deprecation;
}

const Method *MethodList::methodForArguments(const ObjectList &args) const
{
    for (const Method *m : *this) {
        if (!m)
            continue;
        const Signature &sig = m->signature();
        if (size_t(sig.count()) != args.size())
            continue;
        bool all = true;
        for (int i = 0; i < sig.count() && all; ++i) {
            const Object::Ptr &arg = args[size_t(i)];
            const Class *type = sig.at(i).type();
            all = arg && (isVoidClass(type) || arg->isA(type));
        }
        if (all)
            return m;
    }
    return nullptr;
}

Object::Ptr MethodList::invoke(Object::Ptr object, const ObjectList &args, bool *found) const
{
    if (found)
        *found = false;
    if (empty()) {
        Inspector::self()->setError(QStringLiteral("Function not available"));
        return Object::Ptr();
    }
    for (const Method *m : *this) {
        if (!m || size_t(m->signature().count()) != args.size())
            continue;
        ObjectList converted;
        if (!acceptArguments(m->signature(), args, converted))
            continue;
        if (found)
            *found = true;
        return m->invoke(object, converted.empty() ? args : converted);
    }
    Inspector::self()->setError(QStringLiteral("Found no matching overload"));
    return Object::Ptr();
}

bool MethodList::invoke(Object::Ptr object, const ObjectList &args, Object::Ptr &result) const
{
    bool found = false;
    result = invoke(object, args, &found);
    return found;
}

// ---------------------------------------------------------------------------------------------------------
// Constructor

Constructor::Constructor(const Class *owner, const Signature &signature, int index)
    : m_owner(owner)
    , m_signature(signature)
    , m_index(index)
{
}

Constructor::~Constructor() = default;

QString Constructor::toString() const
{
    return className(m_owner) + m_signature.toString();
}

Object::Ptr Constructor::construct(const ObjectList &args) const
{
    if (size_t(m_signature.count()) != args.size()) {
        std::fprintf(stderr, "Constructor::construct %s: %d arguments expected, %lu given\n",
                     m_owner ? m_owner->name() : "", m_signature.count(),
                     static_cast<unsigned long>(args.size()));
        return Object::Ptr();
    }
    if (!m_owner)
        return Object::Ptr();
    return m_owner->construct(m_index, args, this);
}

void Constructor::writeObject(QDataStream &stream) const
{
    writeClassRef(stream, m_owner);
    m_signature.writeObject(stream);
    stream << qint32(m_index);
}

void Constructor::readObject(QDataStream &stream)
{
    bool ok = false;
    const Class *owner = readClassRef(stream, &ok);
    if (!ok)
        return;
    Signature sig;
    sig.readObject(stream);
    qint32 index = 0;
    stream >> index;
    if (!streamOk(stream))
        return;
    m_owner = owner;
    m_signature = sig;
    m_index = index;
}

// ---------------------------------------------------------------------------------------------------------
// Properties

PropertyDeclaration::PropertyDeclaration(const Class *owner, const Argument &value, const QString &name,
                                         unsigned int flags, const QString &readMethod,
                                         const QString &writeMethod)
    : m_owner(owner)
    , m_value(value)
    , m_name(name)
    , m_flags(flags)
    , m_readMethod(readMethod)
    , m_writeMethod(writeMethod)
    , m_readFunction(nullptr)
    , m_writeFunction(nullptr)
    , m_className(owner ? QByteArray(owner->name()) : QByteArray())
    , m_typeName(value.type() ? QByteArray(value.type()->name()) : QByteArray())
    , m_resolved(true)
{
}

PropertyDeclaration::PropertyDeclaration(const char *className, const char *typeName, const QString &name,
                                         unsigned int flags, const QString &readMethod,
                                         const QString &writeMethod)
    : m_owner(nullptr)
    , m_name(name)
    , m_flags(flags)
    , m_readMethod(readMethod)
    , m_writeMethod(writeMethod)
    , m_readFunction(nullptr)
    , m_writeFunction(nullptr)
    , m_className(className ? className : "")
    , m_typeName(typeName ? typeName : "")
    , m_resolved(false)
{
}

PropertyDeclaration::PropertyDeclaration(const Class *owner, const Argument &value, const QString &name,
                                         unsigned int flags, ReadFunction readFunction,
                                         WriteFunction writeFunction)
    : PropertyDeclaration(owner, value, name, flags, QString(), QString())
{
    m_readFunction = readFunction;
    m_writeFunction = writeFunction;
}

PropertyDeclaration::~PropertyDeclaration() = default;

void PropertyDeclaration::lazySetup() const
{
    if (m_resolved)
        return;
    // Declarations by name are made while wrappers load, before every class they name exists.
    m_resolved = true;
    Inspector *insp = Inspector::self();
    m_owner = insp->type(QString::fromLatin1(m_className));
    const Class *type = insp->type(QString::fromLatin1(m_typeName));
    if (!type) {
        std::fprintf(stderr, "Property %s::%s has unknown type %s.\n", m_className.constData(),
                     m_name.toUtf8().constData(), m_typeName.constData());
        return;
    }
    m_value.setType(type);
}

const Class *PropertyDeclaration::ownerClass() const
{
    lazySetup();
    return m_owner;
}

const Argument &PropertyDeclaration::value() const
{
    lazySetup();
    return m_value;
}

const Class *PropertyDeclaration::type() const
{
    lazySetup();
    return m_value.type();
}

void PropertyDeclaration::writeObject(QDataStream &stream) const
{
    lazySetup();
    writeClassRef(stream, m_owner);
    m_value.writeObject(stream);
    stream << m_name << quint32(m_flags) << m_readMethod << m_writeMethod << m_className << m_typeName;
    // Read and write functions are addresses in this process; they are kept, not streamed.
}

void PropertyDeclaration::readObject(QDataStream &stream)
{
    bool ok = false;
    const Class *owner = readClassRef(stream, &ok);
    if (!ok)
        return;
    Argument value;
    value.readObject(stream);
    QString name, readMethod, writeMethod;
    quint32 flags = 0;
    QByteArray cls, type;
    stream >> name >> flags >> readMethod >> writeMethod >> cls >> type;
    if (!streamOk(stream))
        return;
    m_owner = owner;
    m_value = value;
    m_name = name;
    m_flags = flags;
    m_readMethod = readMethod;
    m_writeMethod = writeMethod;
    m_className = cls;
    m_typeName = type;
    m_resolved = true;
}

Property::Property(const PropertyDeclaration *declaration, const Class *cls, int index, bool ownsDeclaration)
    : m_declaration(declaration)
    , m_class(cls)
    , m_index(index)
    , m_ownsDeclaration(ownsDeclaration)
{
}

Property::~Property()
{
    if (m_ownsDeclaration)
        delete m_declaration;
}

const QString &Property::name() const
{
    static const QString none;
    return m_declaration ? m_declaration->name() : none;
}

const Class *Property::type() const
{
    return m_declaration ? m_declaration->type() : nullptr;
}

const Class *Property::propertyClass() const
{
    const Class *owner = m_declaration ? m_declaration->ownerClass() : nullptr;
    return owner ? owner : m_class;
}

const Enum *Property::enumeration() const
{
    return m_declaration ? m_declaration->value().enumeration() : nullptr;
}

unsigned int Property::flags() const
{
    return m_declaration ? m_declaration->flags() : 0;
}

bool Property::isReadable() const
{
    return m_declaration && m_declaration->isReadable();
}

bool Property::isWritable() const
{
    return m_declaration && m_declaration->isWritable();
}

bool Property::stored() const
{
    return m_declaration && m_declaration->stored();
}

bool Property::isStatic() const
{
    return m_declaration && m_declaration->isStatic();
}

namespace {

// The class that reads and writes \p p: the one it is bound to, else its declaration's owner.
const Class *accessingClass(const Property &p)
{
    if (p.boundClass())
        return p.boundClass();
    return p.declaration() ? p.declaration()->ownerClass() : nullptr;
}

} // namespace

Object::Ptr Property::get(Object::Ptr object) const
{
    if (!verifyPropertyAccess(object, this))
        return Object::Ptr();
    const Class *owner = accessingClass(*this);
    return owner ? owner->getProperty(object, this) : Object::Ptr();
}

bool Property::set(Object::Ptr object, Object::Ptr value) const
{
    if (!verifyPropertyAccess(object, this))
        return false;
    const Class *owner = accessingClass(*this);
    return owner ? owner->setProperty(object, this, value) : false;
}

void Property::writeObject(QDataStream &stream) const
{
    stream << bool(m_declaration != nullptr);
    if (m_declaration)
        m_declaration->writeObject(stream);
    writeClassRef(stream, m_class);
    stream << qint32(m_index);
}

void Property::readObject(QDataStream &stream)
{
    bool hasDeclaration = false;
    stream >> hasDeclaration;
    if (!streamOk(stream))
        return;
    PropertyDeclaration *decl = nullptr;
    if (hasDeclaration) {
        decl = new PropertyDeclaration(nullptr, Argument(), QString(), 0);
        decl->readObject(stream);
    }
    bool ok = streamOk(stream);
    const Class *cls = ok ? readClassRef(stream, &ok) : nullptr;
    qint32 index = 0;
    if (ok) {
        stream >> index;
        ok = streamOk(stream);
    }
    if (!ok) {
        delete decl;
        return;
    }
    // The read declaration belongs to this property; one it shared with its class is left alone.
    if (m_ownsDeclaration)
        delete m_declaration;
    m_declaration = decl;
    m_ownsDeclaration = decl != nullptr;
    m_class = cls;
    m_index = index;
}

// ---------------------------------------------------------------------------------------------------------
// Enum

Enum::Enum(const Class *owner, const QString &name)
    : m_owner(owner)
    , m_name(name)
    , m_isMask(true)
    , m_maskOverridden(false)
{
}

Enum::~Enum() = default;

namespace {

// The first item \p match accepts, or null; \p ok (when given) says which.
template <typename Items, typename Match>
const typename Items::value_type *findItem(const Items &items, Match match, bool *ok)
{
    for (const auto &item : items) {
        if (match(item)) {
            if (ok)
                *ok = true;
            return &item;
        }
    }
    if (ok)
        *ok = false;
    return nullptr;
}

} // namespace

void Enum::addItem(const QString &key, int value)
{
    m_items.append(qMakePair(key, value));
    if (!m_maskOverridden)
        m_isMask = detectIsMask();
}

int Enum::value(const QString &key, bool *ok) const
{
    const auto *item = findItem(m_items, [&key](const QPair<QString, int> &i) { return i.first == key; }, ok);
    return item ? item->second : -1;
}

QString Enum::valueToKey(int v, bool *ok) const
{
    const auto *item = findItem(m_items, [v](const QPair<QString, int> &i) { return i.second == v; }, ok);
    if (item)
        return item->first;
    std::fprintf(stderr, "Could not find value %d in enum %s\n", v, m_name.toUtf8().constData());
    return QString();
}

bool Enum::detectIsMask() const
{
    unsigned int seen = 0;
    for (const auto &item : m_items) {
        const unsigned int v = static_cast<unsigned int>(item.second);
        if (v & seen)
            return false;
        seen |= v;
    }
    return true;
}

void Enum::writeObject(QDataStream &stream) const
{
    writeClassRef(stream, m_owner);
    stream << m_name << qint32(m_items.size());
    for (const auto &item : m_items)
        stream << item.first << qint32(item.second);
    stream << m_isMask << m_maskOverridden;
}

void Enum::readObject(QDataStream &stream)
{
    bool ok = false;
    const Class *owner = readClassRef(stream, &ok);
    if (!ok)
        return;
    QString name;
    qint32 count = 0;
    stream >> name >> count;
    if (!streamOk(stream) || !plausibleCount(stream, count, MinEnumItemBytes))
        return;
    QVector<QPair<QString, int>> items;
    for (qint32 i = 0; i < count; ++i) {
        QString key;
        qint32 value = 0;
        stream >> key >> value;
        if (!streamOk(stream))
            return;
        items.append(qMakePair(key, int(value)));
    }
    bool isMask = false, overridden = false;
    stream >> isMask >> overridden;
    if (!streamOk(stream))
        return;
    m_owner = owner;
    m_name = name;
    m_items = items;
    m_isMask = isMask;
    m_maskOverridden = overridden;
}

// ---------------------------------------------------------------------------------------------------------
// Event

Event::Event(const Class *owner, const QString &name, const Signature &signature)
    : m_owner(owner)
    , m_name(name)
    , m_signature(signature)
{
}

Event::~Event() = default;

void Event::sendEvent(Object::Ptr object, const ObjectList &args) const
{
    Inspector::self()->sendEvent(this, object, args);
}

void Event::writeObject(QDataStream &stream) const
{
    writeClassRef(stream, m_owner);
    stream << m_name;
    m_signature.writeObject(stream);
}

void Event::readObject(QDataStream &stream)
{
    bool ok = false;
    const Class *owner = readClassRef(stream, &ok);
    if (!ok)
        return;
    QString name;
    stream >> name;
    if (!streamOk(stream))
        return;
    Signature sig;
    sig.readObject(stream);
    if (!streamOk(stream))
        return;
    m_owner = owner;
    m_name = name;
    m_signature = sig;
}

// ---------------------------------------------------------------------------------------------------------
// Checks before a call or a property access

bool verifyMethodInvocation(Object::Ptr object, const Method *method)
{
    if (!method)
        return false;
    if (object && !method->isStatic() && object->isNull())
        return refuse(QStringLiteral("Cannot invoke member function %1() on null object reference")
                          .arg(method->name()));
    if (object && object->isInvalidated())
        return refuse(QStringLiteral("Cannot invoke member function %1() on invalidated object reference")
                          .arg(method->name()));
    if (!object && !method->isStatic())
        return refuse(QStringLiteral("Cannot invoke non-static function %1() without a object reference")
                          .arg(method->name()));
    return true;
}

bool verifyMethodArgumentCount(const QString &className, const Method *method, const ObjectList &args)
{
    if (!method)
        return false;
    const int expected = method->signature().count();
    if (size_t(expected) == args.size())
        return true;
    // One arg() call, so that a "%" in the class name is not taken for a place holder.
    const QString text = QStringLiteral("Class::invoke %1::%2: %3 arguments expected, %4 given")
                             .arg(className, QString::number(method->index()), QString::number(expected),
                                  QString::number(qulonglong(args.size())));
    std::fprintf(stderr, "%s\n", text.toUtf8().constData());
    return refuse(text);
}

bool verifyPropertyAccess(Object::Ptr object, const Property *property)
{
    if (!property)
        return false;
    const QString name = property->name();
    if (!object && !property->isStatic())
        return refuse(QStringLiteral("Cannot access non-static property %1 without object reference").arg(name));
    if (object && object->isNull())
        return refuse(QStringLiteral("Cannot access property %1 on null object reference").arg(name));
    if (object && object->isInvalidated())
        return refuse(QStringLiteral("Cannot access property %1 on invalidated object reference").arg(name));
    return true;
}

bool verifyPropertyWrite(Object::Ptr object, const Property *property)
{
    if (!property)
        return false;
    if (!object && !property->isStatic()) {
        std::fprintf(stderr, "Class::setProperty: Can't set non-static property without object reference\n");
        return false;
    }
    if (!property->isWritable()) {
        std::fprintf(stderr, "Object::setProperty: property %s is not writable\n",
                     property->name().toUtf8().constData());
        return false;
    }
    return true;
}

bool vexilidl_compare_args(const Argument &a, const Argument &b)
{
    if (a.type() == b.type()) {
        const bool aPointer = (a.flags() & ObjectAttribute::Pointer) != 0;
        const bool bPointer = (b.flags() & ObjectAttribute::Pointer) != 0;
        if (a.flags() == b.flags() || aPointer == bPointer || (aPointer && !bPointer))
            return true;
    }
    return a.type() && b.type() && std::strcmp(a.type()->name(), "char") == 0
        && std::strcmp(b.type()->name(), "QCString") == 0;
}

// ---------------------------------------------------------------------------------------------------------
// Class: the road from objects and lists down to the raw slots

Object::Ptr Class::invoke(Object::Ptr object, const Method *method, void **args) const
{
    if (!method || !verifyMethodInvocation(object, method))
        return Object::Ptr();
    return invoke(method->index(), rawDataOf(object), args, servingClass(object, this));
}

Object::Ptr Class::invoke(int index, Object::Ptr object, const ObjectList &args, const Method *method) const
{
    if (!method && index >= 0 && index < numMethods())
        method = this->method(index);
    // The raw slot reads one pointer per parameter: a short list must not reach it. The name is only made
    // for the report, a call is not slowed down by it.
    if (method && size_t(method->signature().count()) != args.size()) {
        verifyMethodArgumentCount(QString::fromLatin1(name()), method, args);
        return Object::Ptr();
    }
    RawArguments raw(args);
    return invoke(index, rawDataOf(object), raw.data(), servingClass(object, this));
}

Object::Ptr Class::construct(int index, const ObjectList &args, const Constructor *constructor) const
{
    if (constructor && size_t(constructor->signature().count()) != args.size())
        return constructor->construct(args);   // reports the count
    RawArguments raw(args);
    return construct(index, raw.data());
}

Object::Ptr Class::construct(const ObjectList &args) const
{
    const int n = numConstructors();
    for (int i = 0; i < n; ++i) {
        const Constructor *c = constructor(i);
        if (!c || size_t(c->signature().count()) != args.size())
            continue;
        ObjectList converted;
        if (!acceptArguments(c->signature(), args, converted))
            continue;
        return c->construct(converted.empty() ? args : converted);
    }
    std::fprintf(stderr, "Class::construct: No matching constructor found\n");
    return Object::Ptr();
}

Object::Ptr Class::getProperty(Object::Ptr object, const Property *property) const
{
    return getProperty(property ? property->index() : -1, object, property);
}

bool Class::setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const
{
    return setProperty(property ? property->index() : -1, object, value, property);
}

Object::Ptr Class::getProperty(int index, Object::Ptr object, const Property *property) const
{
    if (!property && index >= 0 && index < numProperties())
        property = this->property(index);
    if (!property) {
        std::fprintf(stderr, "Class::getProperty: No such property: %d\n", index);
        return Object::Ptr();
    }
    if (!property->isReadable()) {
        std::fprintf(stderr, "Class::getProperty: property %s is not readable\n",
                     property->name().toUtf8().constData());
        return Object::Ptr();
    }
    // Declared properties may name a reader of their own; the rest are the class's raw slot's business.
    if (const PropertyDeclaration *decl = property->declaration()) {
        if (decl->readFunction())
            return decl->readFunction()(object);
        if (!decl->readMethod().isEmpty())
            return servingClass(object, this)->methods(decl->readMethod()).invoke(object, ObjectList());
    }
    return getProperty(index, rawDataOf(object), servingClass(object, this));
}

bool Class::setProperty(int index, Object::Ptr object, Object::Ptr value, const Property *property) const
{
    if (!property && index >= 0 && index < numProperties())
        property = this->property(index);
    if (!verifyPropertyWrite(object, property))
        return false;
    Object::Ptr taken = value;
    const PropertyDeclaration *decl = property->declaration();
    // A type left unset by a declaration that named an unknown one takes the value as it is.
    if (decl && decl->type()) {
        taken = acceptArgument(value, decl->value());
        if (!taken) {
            std::fprintf(stderr, "Object::setProperty: type %s cannot be converted to %s\n",
                         value && value->objectClass() ? value->objectClass()->name() : "null",
                         decl->type()->name());
            return false;
        }
    }
    if (decl) {
        if (decl->writeFunction())
            return decl->writeFunction()(object, taken);
        if (!decl->writeMethod().isEmpty()) {
            bool found = false;
            servingClass(object, this)->methods(decl->writeMethod()).invoke(object, ObjectList { taken }, &found);
            return found;
        }
    }
    return setProperty(index, rawDataOf(object), rawDataOf(taken));
}

// ---------------------------------------------------------------------------------------------------------
// Class: general conversion and comparison

namespace {

// The delegate conversion that serves a primitive target, or 0 when the target is no such primitive.
ConversionDelegate::ConvertFlag delegateConversionFor(const Class *target)
{
    switch (primitiveIndex(target)) {
    case Inspector::Int:
        return ConversionDelegate::ConvertInteger;
    case Inspector::Bool:
        return ConversionDelegate::ConvertBoolean;
    case Inspector::Char:
        return ConversionDelegate::ConvertString;
    case Inspector::Double:
        return ConversionDelegate::ConvertDouble;
    case Inspector::Int64:
        return ConversionDelegate::ConvertInt64;
    default:
        return ConversionDelegate::ConvertFlag(0);
    }
}

Object::Ptr convertThroughDelegate(const Object::Ptr &object, const ConversionDelegate *d,
                                   ConversionDelegate::ConvertFlag flag)
{
    Inspector *insp = Inspector::self();
    switch (flag) {
    case ConversionDelegate::ConvertInteger:
        return insp->createPrimitive(d->toInteger(object));
    case ConversionDelegate::ConvertBoolean:
        return insp->createPrimitive(d->toBoolean(object));
    case ConversionDelegate::ConvertString:
        return insp->createPrimitive(d->toString(object).toUtf8().constData());
    case ConversionDelegate::ConvertDouble:
        return insp->createPrimitive(d->toDouble(object));
    case ConversionDelegate::ConvertInt64:
        return insp->createPrimitive(d->toInt64(object));
    default:
        return Object::Ptr();
    }
}

// A class asked to convert into itself answers whether it can build itself from other objects. The
// primitives answer that question for their own values only, so they are never asked it.
bool targetBuildsItself(const Class *source, const Class *target)
{
    return target != source && primitiveIndex(target) < 0;
}

} // namespace

bool Class::canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                         void **converter) const
{
    if (converter)
        *converter = nullptr;
    if (!target)
        return false;
    if (target == this || isSubClassOf(target))
        return true;
    if (canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return true;
    if (targetBuildsItself(this, target)
        && target->canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return true;
    const ConversionDelegate::ConvertFlag flag = delegateConversionFor(target);
    if (flag) {
        const Delegate *found = DelegateFactory::self()->delegate(this, Delegate::Conversion);
        const auto *d = static_cast<const ConversionDelegate *>(found);
        if (d && supportsConversion(d, flag))
            return true;
    }
    return false;
}

Object::Ptr Class::convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const
{
    if (!object || !target)
        return Object::Ptr();
    const bool sourceIsPointer = isPointer(object);
    // An object of the target class is taken as it is, unless its class has a rule for changing its form
    // (a single character asked for as a text becomes its number's digits).
    if (object->isA(target)) {
        if (sourceIsPointer != targetIsPointer && canConvertToInternal(target, sourceIsPointer, targetIsPointer))
            return convertToInternal(object, target, targetIsPointer);
        return object;
    }
    if (canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return convertToInternal(object, target, targetIsPointer);
    if (targetBuildsItself(this, target)
        && target->canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return target->convertToInternal(object, target, targetIsPointer);
    const ConversionDelegate::ConvertFlag flag = delegateConversionFor(target);
    if (flag) {
        const ConversionDelegate *d = object->conversionDelegate();
        if (d && supportsConversion(d, flag))
            return convertThroughDelegate(object, d, flag);
    }
    return Object::Ptr();
}

bool Class::canConvertToTolerant(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                 void **converter) const
{
    if (canConvertTo(target, sourceIsPointer, targetIsPointer, converter))
        return true;
    // Referencing or dereferencing the source first gives it the target's pointer form.
    return sourceIsPointer != targetIsPointer
        && canConvertTo(target, targetIsPointer, targetIsPointer, converter);
}

Object::Ptr Class::convertToTolerant(Object::Ptr object, const Class *target, bool targetIsPointer) const
{
    if (!object || !target)
        return Object::Ptr();
    const bool sourceIsPointer = isPointer(object);
    if (object->isA(target) && sourceIsPointer == targetIsPointer)
        return object;
    if (!object->isA(target) && canConvertTo(target, sourceIsPointer, targetIsPointer, nullptr))
        return convertTo(object, target, targetIsPointer);
    if (sourceIsPointer == targetIsPointer)
        return Object::Ptr();
    Object::Ptr flipped = targetIsPointer ? object->reference() : object->dereference();
    if (!flipped) {
        Inspector::self()->setError(QStringLiteral("Referencing or dereferencing of object failed."));
        return Object::Ptr();
    }
    if (flipped->isA(target))
        return flipped;
    const Class *cls = flipped->objectClass();
    if (!cls || !cls->canConvertTo(target, isPointer(flipped), targetIsPointer, nullptr))
        return Object::Ptr();
    return cls->convertTo(flipped, target, targetIsPointer);
}

bool Class::sameObjects(Object::Ptr a, Object::Ptr b) const
{
    if (!a || !b)
        return false;
    if (const ComparisonDelegate *d = a->comparisonDelegate())
        return d->sameObjects(a, b);
    if (a == b)
        return true;
    return a->rawData() && a->rawData() == b->rawData();
}

int Class::compare(Object::Ptr a, Object::Ptr b) const
{
    if (a) {
        if (const ComparisonDelegate *d = a->comparisonDelegate())
            return d->compare(a, b);
    }
    if (sameObjects(a, b))
        return 0;
    // No order is known between unrelated objects; a null pointer goes first, the rest follow their data
    // addresses so that the answer at least stays the same for the same pair.
    if (!a)
        return b ? -1 : 1;
    if (!b)
        return 1;
    return std::less<const void *>()(a->rawData(), b->rawData()) ? -1 : 1;
}

QString Class::realType(const QString &typeName) const
{
    return typeName;
}

} // namespace Vexil
