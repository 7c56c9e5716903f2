// members.cpp: member descriptors (arguments, signatures, methods, constructors, properties, enums,
// events), their printed forms and their stream forms.
#include "object.h"
#include "object_p.h"

#include "diagnostics.h"
#include "inspector.h"

#include <QDataStream>
#include <QIODevice>

namespace Vexil {

using namespace Internal;

namespace {

// Smallest stream form of one element, used to refuse counts a stream can't hold before looping over them.
constexpr qint64 MinArgumentBytes = 24; // name, type, attribute (8), enum owner, enum name
constexpr qint64 MinEnumItemBytes = 8; // key, value

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

} // namespace

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
        diagnostic(QStringLiteral("Property %1::%2 has unknown type %3.")
                       .arg(QString::fromLatin1(m_className), m_name, QString::fromLatin1(m_typeName)));
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
    const auto *item = findItem(
        m_items, [&key](const QPair<QString, int> &i) { return i.first == key; }, ok);
    return item ? item->second : -1;
}

QString Enum::valueToKey(int v, bool *ok) const
{
    const auto *item = findItem(
        m_items, [v](const QPair<QString, int> &i) { return i.second == v; }, ok);
    if (item)
        return item->first;
    diagnostic(QStringLiteral("Could not find value %1 in enum %2").arg(v).arg(m_name));
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

// Event

Event::Event(const Class *owner, const QString &name, const Signature &signature)
    : m_owner(owner)
    , m_name(name)
    , m_signature(signature)
{
}

Event::~Event() = default;

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

} // namespace Vexil
