// primitives.cpp: the primitive value classes, their objects, conversions, text and stream forms.
#include "primitives.h"

#include "diagnostics.h"
#include "inspector.h"

#include <QByteArray>
#include <QDataStream>
#include <QStringList>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <typeinfo>
#include <vector>

namespace Vexil {

namespace {

enum Kind { KShort = 0, KInt, KLong, KBool, KChar, KDouble, KInt64 };

const char *const s_typeNames[] = { "short", "int", "long", "bool", "char", "double", "int64" };

// One element read from storage, tagged by how the matrix of conversions treats it.
struct Scalar
{
    enum Tag { Integer, Boolean, Real };
    Tag tag;
    long long i; // the integer value, 0 or 1 for a truth value
    double d;

    static Scalar integer(long long v) { return Scalar { Integer, v, 0.0 }; }
    static Scalar boolean(bool v) { return Scalar { Boolean, v ? 1 : 0, 0.0 }; }
    static Scalar real(double v) { return Scalar { Real, 0, v }; }
};

// Double to integer truncates toward zero. NaN and values out of range give the most negative value, as the
// x86 conversion instruction does; the result must not depend on undefined behaviour.
int truncate32(double d)
{
    if (!(d > -2147483649.0 && d < 2147483648.0))
        return INT_MIN;
    return int(d);
}

long long truncate64(double d)
{
    if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0))
        return LLONG_MIN;
    return static_cast<long long>(d);
}

long long asInt64(const Scalar &v)
{
    return v.tag == Scalar::Real ? truncate64(v.d) : v.i;
}

int asInt32(const Scalar &v)
{
    return v.tag == Scalar::Real ? truncate32(v.d) : int(quint32(quint64(v.i)));
}

short asInt16(const Scalar &v)
{
    return short(quint16(v.tag == Scalar::Real ? quint32(truncate32(v.d)) : quint64(v.i)));
}

char asInt8(const Scalar &v)
{
    return char(quint8(v.tag == Scalar::Real ? quint32(truncate32(v.d)) : quint64(v.i)));
}

bool asBool(const Scalar &v)
{
    return v.tag == Scalar::Real ? v.d != 0.0 : v.i != 0; // NaN != 0.0 holds: a NaN is true
}

double asReal(const Scalar &v)
{
    return v.tag == Scalar::Real ? v.d : double(v.i);
}

int countOf(const ObjectAttribute &attr)
{
    if (!(attr.flags & ObjectAttribute::Array))
        return 1;
    return attr.count < 1 ? 1 : attr.count;
}

// Calls f with a zero of the storage type of kind, so the mapping of kinds to native types stands in one
// place; an unknown kind gives the zero of f's result.
template <class F>
auto withStorageType(int kind, F &&f) -> decltype(f(int()))
{
    switch (kind) {
    case KShort:
        return f(short());
    case KInt:
        return f(int());
    case KLong:
        return f(long());
    case KBool:
        return f(bool());
    case KChar:
        return f(char());
    case KDouble:
        return f(double());
    case KInt64:
        return f(static_cast<long long>(0));
    }
    return decltype(f(int()))();
}

template <class T>
Scalar scalarOf(T v)
{
    return Scalar::integer(v);
}

Scalar scalarOf(bool v)
{
    return Scalar::boolean(v);
}

Scalar scalarOf(char v)
{
    return Scalar::integer(static_cast<signed char>(v));
}

Scalar scalarOf(double v)
{
    return Scalar::real(v);
}

void assign(short &out, const Scalar &v)
{
    out = asInt16(v);
}
void assign(int &out, const Scalar &v)
{
    out = asInt32(v);
}
void assign(long &out, const Scalar &v)
{
    out = long(asInt64(v));
}
void assign(bool &out, const Scalar &v)
{
    out = asBool(v);
}
void assign(char &out, const Scalar &v)
{
    out = asInt8(v);
}
void assign(double &out, const Scalar &v)
{
    out = asReal(v);
}
void assign(long long &out, const Scalar &v)
{
    out = asInt64(v);
}

Scalar readElement(int kind, const void *data, int i)
{
    return withStorageType(kind,
                           [&](auto zero) { return scalarOf(static_cast<const decltype(zero) *>(data)[i]); });
}

void writeElement(int kind, void *data, int i, const Scalar &v)
{
    withStorageType(kind, [&](auto zero) { assign(static_cast<decltype(zero) *>(data)[i], v); });
}

// Zeroed storage for n elements; scalar storage unless the array bit asks for an array, to match the freeing.
void *allocateElements(int kind, bool array, int n)
{
    return withStorageType(kind, [&](auto zero) -> void * {
        using T = decltype(zero);
        if (array)
            return new T[n]();
        return new T();
    });
}

// A single new value converted from v, as a conversion result owns it.
void *newElement(int kind, const Scalar &v)
{
    void *p = allocateElements(kind, false, 1);
    if (p)
        writeElement(kind, p, 0, v);
    return p;
}

void freeStorage(int kind, void *data, const ObjectAttribute &attr)
{
    const bool array = (attr.flags & ObjectAttribute::Array) != 0;
    if (kind == KChar && (attr.flags & ObjectAttribute::Pointer)) {
        if (!array) {
            delete[] static_cast<char *>(data);
        } else if (data) {
            char **texts = static_cast<char **>(data);
            const int n = countOf(attr);
            for (int i = 0; i < n; ++i)
                delete[] texts[i];
            delete[] texts;
        }
        return;
    }
    withStorageType(kind, [&](auto zero) {
        using T = decltype(zero);
        if (array)
            delete[] static_cast<T *>(data);
        else
            delete static_cast<T *>(data);
    });
}

QString formatNumber(double d)
{
    return QString::number(d, 'g', 6);
}

QString formatElement(int kind, const Scalar &v)
{
    if (kind == KBool)
        return asBool(v) ? QStringLiteral("true") : QStringLiteral("false");
    if (kind == KDouble)
        return formatNumber(asReal(v));
    return QString::number(asInt64(v));
}

// One element alone, several as "[ a, b ]"; each element is followed by suffix.
QString formatElements(int kind, const void *data, int n, const QString &suffix)
{
    if (n == 1)
        return formatElement(kind, readElement(kind, data, 0)) + suffix;
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts << formatElement(kind, readElement(kind, data, i)) + suffix;
    return QStringLiteral("[ ") + parts.join(QStringLiteral(", ")) + QStringLiteral(" ]");
}

// The text a number or truth value becomes when converted to a text: truth values as "1" or "0".
QString conversionText(const Scalar &v)
{
    if (v.tag == Scalar::Real)
        return formatNumber(v.d);
    return QString::number(v.i);
}

bool textToBool(const QString &text)
{
    const QString lower = text.toLower();
    if (lower == QLatin1String("true"))
        return true;
    return lower.toInt(nullptr, 10) != 0;
}

void writeStreamElement(QDataStream &stream, int kind, const Scalar &v)
{
    switch (kind) {
    case KShort:
    case KInt:
    case KLong: // the low 32 bits only: the stream form of long is 32 bits wide
        stream << qint32(asInt32(v));
        break;
    case KBool:
        stream << qint8(asBool(v) ? 1 : 0);
        break;
    case KChar:
        stream << qint8(asInt8(v));
        break;
    case KDouble: {
        // Always the 64-bit form, whatever floating-point precision the stream is set to.
        const double d = asReal(v);
        quint64 bits;
        std::memcpy(&bits, &d, sizeof bits);
        stream << bits;
        break;
    }
    case KInt64:
        stream << qint64(asInt64(v));
        break;
    }
}

// One value as the stream holds it; zero when the stream runs short.
template <class T>
T readRaw(QDataStream &stream)
{
    T v = 0;
    stream >> v;
    return v;
}

Scalar readStreamElement(QDataStream &stream, int kind)
{
    switch (kind) {
    case KShort:
    case KInt:
    case KLong:
        return Scalar::integer(readRaw<qint32>(stream));
    case KBool:
        return Scalar::boolean(readRaw<qint8>(stream) != 0);
    case KChar:
        return Scalar::integer(readRaw<qint8>(stream));
    case KDouble: {
        const quint64 bits = readRaw<quint64>(stream);
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return Scalar::real(d);
    }
    case KInt64:
        return Scalar::integer(readRaw<qint64>(stream));
    }
    return Scalar::integer(0);
}

// dynamic_cast walks the class hierarchy each time, and a converted call argument took five of them, a fifth
// of the call's cost. The classes and objects made here are recognised by their exact type first (a pointer
// comparison); anything else, a subclass say, still takes the dynamic_cast.
template <class Base, class... Exact, class T>
const Base *valueCast(const T *p)
{
    if (!p)
        return nullptr;
    const std::type_info *type = &typeid(*p);
    if (((type == &typeid(Exact)) || ...))
        return static_cast<const Base *>(p);
    return dynamic_cast<const Base *>(p);
}

// The storage type of an object of a primitive class: an object that wrapped storage knows it; a plain Object
// given one of these classes holds the class's type.
int storageKind(const Object *obj, int classKind)
{
    const VexilValueObject *v =
        valueCast<VexilValueObject, VexilObject_short, VexilObject_int, VexilObject_long, VexilObject_bool,
                  VexilObject_char, VexilObject_double, VexilObject_int64>(obj);
    return v ? v->primitiveType() : classKind;
}

int kindOf(const Class *cls)
{
    const VexilValueClass *v =
        valueCast<VexilValueClass, VexilClass_short, VexilClass_int, VexilClass_long, VexilClass_bool,
                  VexilClass_char, VexilClass_double, VexilClass_int64>(cls);
    return v ? v->primitiveType() : -1;
}

// Shared by the seven value classes: a number or truth value can always become a text; otherwise only plain
// values convert, and only to another value class.
bool canConvertPrimitive(const Class *target, bool sourceIsPointer, bool targetIsPointer)
{
    const int kind = kindOf(target);
    if (!sourceIsPointer && targetIsPointer)
        return kind == KChar;
    if (sourceIsPointer || targetIsPointer)
        return false;
    return kind >= KShort && kind <= KInt64;
}

enum CharShape { SingleChar, Text, CharArray, TextArray };

CharShape charShape(const ObjectAttribute &attr)
{
    const bool pointer = (attr.flags & ObjectAttribute::Pointer) != 0;
    const bool array = (attr.flags & ObjectAttribute::Array) != 0;
    if (pointer)
        return array ? TextArray : Text;
    return array ? CharArray : SingleChar;
}

// The characters of a text or character array; a character array ends at its first NUL or after count bytes.
QByteArray textBytes(const void *data, const ObjectAttribute &attr)
{
    if (!data)
        return QByteArray();
    const char *p = static_cast<const char *>(data);
    if (charShape(attr) == CharArray)
        return QByteArray(p, int(qstrnlen(p, uint(countOf(attr)))));
    return QByteArray(p);
}

// The number a char object stands for: a single character's code, a text array's number of texts, otherwise
// what parse makes of the text; zero without storage.
template <class T, class Parse>
T charNumber(const void *data, const ObjectAttribute &attr, Parse parse)
{
    if (!data)
        return T();
    switch (charShape(attr)) {
    case SingleChar:
        return static_cast<signed char>(*static_cast<const char *>(data));
    case TextArray:
        return countOf(attr); // the number of texts, not a parse of them
    default:
        return parse(QString::fromLatin1(textBytes(data, attr)));
    }
}

// One entry per text of a char object for comparison; a null entry stands for a null text.
struct TextEntry
{
    bool null;
    QByteArray bytes;
};

std::vector<TextEntry> textEntries(const Object *obj)
{
    std::vector<TextEntry> out;
    const ObjectAttribute attr = obj->objectAttribute();
    const void *data = obj->rawData();
    switch (charShape(attr)) {
    case SingleChar:
        if (data)
            out.push_back({ false, QByteArray(static_cast<const char *>(data), 1) });
        else
            out.push_back({ true, QByteArray() });
        break;
    case Text:
    case CharArray:
        out.push_back({ data == nullptr, textBytes(data, attr) });
        break;
    case TextArray: {
        if (!data) {
            out.push_back({ true, QByteArray() });
            break;
        }
        const char *const *texts = static_cast<const char *const *>(data);
        const int n = countOf(attr);
        for (int i = 0; i < n; ++i)
            out.push_back({ texts[i] == nullptr, QByteArray(texts[i]) });
        break;
    }
    }
    return out;
}

int compareEntries(const std::vector<TextEntry> &a, const std::vector<TextEntry> &b)
{
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        if (a[i].null != b[i].null)
            return a[i].null ? -1 : 1;
        const int c = qstrcmp(a[i].bytes, b[i].bytes);
        if (c != 0)
            return c < 0 ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

int compareScalars(const Scalar &a, const Scalar &b)
{
    if (a.tag != Scalar::Real && b.tag != Scalar::Real)
        return a.i < b.i ? -1 : (a.i > b.i ? 1 : 0);
    const double x = asReal(a);
    const double y = asReal(b);
    if (x < y)
        return -1;
    if (x > y)
        return 1;
    return x == y ? 0 : 1; // a NaN equals nothing and has no order
}

template <class T>
Object *makeObject(void *data, const Class *cls, const ObjectAttribute &attr)
{
    return new T(data, cls, attr);
}

// The object type of each kind, in kind order.
Object *(*const s_objectMakers[])(void *, const Class *, const ObjectAttribute &) = {
    makeObject<VexilObject_short>, makeObject<VexilObject_int>,  makeObject<VexilObject_long>,
    makeObject<VexilObject_bool>,  makeObject<VexilObject_char>, makeObject<VexilObject_double>,
    makeObject<VexilObject_int64>,
};

} // namespace

// Value classes

VexilValueClass::VexilValueClass(int type)
    : Class(s_typeNames[type], true)
    , m_type(type)
{
    setNumConstructors(3);
}

VexilValueClass::~VexilValueClass() = default;

Object::Ptr VexilValueClass::construct(int index, void **args) const
{
    Scalar value = Scalar::integer(0);
    switch (index) {
    case 0:
        break;
    case 1:
    case 2:
        // By value and in pointer form alike, args[0] is the argument's storage: a pointer to the value.
        if (!args || !args[0])
            return Object::Ptr();
        value = readElement(m_type, args[0], 0);
        break;
    default:
        return Object::Ptr();
    }
    void *p = newElement(m_type, value);
    Object::Ptr obj = wrap(p, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!obj) {
        freeStorage(m_type, p, ObjectAttribute(ObjectAttribute::Pointer, 0));
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

Object::Ptr VexilValueClass::construct(int index, const ObjectList &args,
                                       const Constructor *constructor) const
{
    if ((index != 1 && index != 2) || args.size() != 1 || !args[0])
        return Class::construct(index, args, constructor);
    const Object *arg = args[0].get();
    const void *source = arg->rawData();
    const int kind = storageKind(arg, kindOf(arg->objectClass()));
    if (!source || kind < 0)
        return Object::Ptr();
    const ObjectAttribute attr = arg->objectAttribute();

    if (m_type == KChar) {
        if (kind != KChar)
            return Object::Ptr();
        // The copy reads up to a NUL, which a single character or a character array need not have.
        QByteArray bytes;
        switch (charShape(attr)) {
        case Text:
            return Class::construct(index, args, constructor);
        case SingleChar:
            bytes = QByteArray(static_cast<const char *>(source), 1);
            break;
        case CharArray:
            bytes = textBytes(source, attr);
            break;
        case TextArray:
            bytes = QByteArray(static_cast<const char *const *>(source)[0]);
            break;
        }
        void *raw[] = { bytes.data() };
        return construct(index, raw);
    }
    if (kind == m_type)
        return Class::construct(index, args, constructor);
    // An argument of another value type (passed without conversion, or cast) is read as what it holds.
    void *value = newElement(m_type, readElement(kind, source, 0));
    void *raw[] = { value };
    Object::Ptr result = construct(index, raw);
    freeStorage(m_type, value, ObjectAttribute());
    return result;
}

Object::Ptr VexilValueClass::wrap(void *data, const ObjectAttribute &attr) const
{
    if (m_type < KShort || m_type > KInt64)
        return Object::Ptr();
    return Object::Ptr(s_objectMakers[m_type](data, this, attr));
}

void VexilValueClass::deleteObjectData(void *data, const ObjectAttribute &attr) const
{
    freeStorage(m_type, data, attr);
}

int VexilValueClass::compare(Object::Ptr a, Object::Ptr b) const
{
    if (!a || !b || a->objectClass() != this || b->objectClass() != this)
        return Class::compare(a, b);
    const void *pa = a->rawData();
    const void *pb = b->rawData();
    if (!pa || !pb) {
        if (pa == pb)
            return 0;
        return pa ? 1 : -1;
    }
    return compareScalars(readElement(storageKind(a.get(), m_type), pa, 0),
                          readElement(storageKind(b.get(), m_type), pb, 0));
}

Constructor *VexilValueClass::createConstructor(int index) const
{
    switch (index) {
    case 0:
        return new Constructor(this, Signature(), 0);
    case 1:
        return new Constructor(this, Signature(Argument(this, 0u)), 1);
    case 2:
        return new Constructor(this, Signature(Argument(this, unsigned(ObjectAttribute::Pointer))), 2);
    }
    return nullptr;
}

bool VexilValueClass::canConvertToInternal(const Class *target, bool sourceIsPointer,
                                           bool targetIsPointer) const
{
    return canConvertPrimitive(target, sourceIsPointer, targetIsPointer);
}

Object::Ptr VexilValueClass::convertToInternal(Object::Ptr object, const Class *target,
                                               bool targetIsPointer) const
{
    if (!object || !target)
        return Object::Ptr();
    const bool sourceIsPointer = (object->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
    if (!canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return Object::Ptr();
    const void *source = object->rawData();
    if (!source)
        return Object::Ptr();

    // Only the first element of an array takes part; a char source is its first byte.
    const Scalar value = readElement(storageKind(object.get(), m_type), source, 0);
    const int kind = kindOf(target);
    void *p = nullptr;
    ObjectAttribute attr(0, 0);
    if (kind == KChar && targetIsPointer) {
        p = qstrdup(conversionText(value).toUtf8().constData());
        attr = ObjectAttribute(ObjectAttribute::Pointer, 0);
    } else {
        p = newElement(kind, value);
    }
    Object::Ptr result = target->wrap(p, attr);
    if (!result) {
        freeStorage(kind, p, attr);
        return result;
    }
    result->ownsData = true;
    return result;
}

VexilClass_char::VexilClass_char()
    : VexilValueClass(KChar)
{
}

Object::Ptr VexilClass_char::construct(int index, void **args) const
{
    char *p = nullptr;
    switch (index) {
    case 0:
        p = new char[1];
        p[0] = '\0';
        break;
    case 1:
    case 2:
        if (!args || !args[0])
            return Object::Ptr();
        p = qstrdup(static_cast<const char *>(args[0]));
        break;
    default:
        return Object::Ptr();
    }
    Object::Ptr obj = wrap(p, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!obj) {
        delete[] p;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

void VexilClass_char::deleteObjectData(void *data, const ObjectAttribute &attr) const
{
    freeStorage(KChar, data, attr);
}

int VexilClass_char::compare(Object::Ptr a, Object::Ptr b) const
{
    const int general = Class::compare(a, b);
    if (general == 0 || !a || !b)
        return general;
    if (a->objectClass() != this || b->objectClass() != this)
        return general;
    // An object cast here from another primitive class does not hold characters.
    if (storageKind(a.get(), KChar) != KChar || storageKind(b.get(), KChar) != KChar)
        return general;
    return compareEntries(textEntries(a.get()), textEntries(b.get()));
}

VexilClass_void::VexilClass_void()
    : Class("void", true)
{
}

VexilClass_void::~VexilClass_void() = default;

Object::Ptr VexilClass_void::wrap(void *data, const ObjectAttribute &attr) const
{
    return Object::Ptr(new VexilObject_void(data, this, attr));
}

VexilClass_undefined::VexilClass_undefined()
    : Class("undefined", true)
{
}

VexilClass_undefined::~VexilClass_undefined() = default;

Object::Ptr VexilClass_undefined::wrap(void *, const ObjectAttribute &) const
{
    // Reachable from wrapper input (an argument of unknown type), so it reports instead of aborting.
    diagnostic(QStringLiteral("Can't wrap object to undefined type"));
    return Object::Ptr();
}

void vexil_register_primitives()
{
    // The order fixes the type numbers 0 to 8 everything else relies on.
    new VexilClass_short();
    new VexilClass_int();
    new VexilClass_long();
    new VexilClass_bool();
    new VexilClass_char();
    new VexilClass_double();
    new VexilClass_int64();
    new VexilClass_void();
    new VexilClass_undefined();
}

// Value objects

VexilValueObject::VexilValueObject(void *data, const Class *cls, const ObjectAttribute &attr, int type)
    : Object(data, cls, attr)
    , m_owner(cls)
    , m_type(type)
{
}

VexilValueObject::~VexilValueObject()
{
    // castTo may have given the object another primitive class; the storage must still be freed as what it
    // is, so the class that wrapped it does that here instead of the current class in ~Object.
    if (ownsData && m_owner && objectClass() != m_owner) {
        if (data)
            m_owner->deleteObjectData(data, objectAttribute());
        ownsData = false;
    }
}

int VexilValueObject::elementCount() const
{
    return countOf(objectAttribute());
}

bool VexilValueObject::ensureStorage()
{
    if (data)
        return true;
    if (isInvalidated())
        return false;
    const ObjectAttribute attr = objectAttribute();
    data = allocateElements(m_type, (attr.flags & ObjectAttribute::Array) != 0, countOf(attr));
    ownsData = true;
    return data != nullptr;
}

int VexilValueObject::numChildren() const
{
    return 0;
}

void VexilValueObject::streamObject(QDataStream &stream) const
{
    // Null storage still writes count zero elements, so a reader stays in step.
    const int n = elementCount();
    for (int i = 0; i < n; ++i)
        writeStreamElement(stream, m_type, data ? readElement(m_type, data, i) : Scalar::integer(0));
}

void VexilValueObject::objectFromStream(QDataStream &stream)
{
    const int n = elementCount();
    std::vector<Scalar> values;
    values.reserve(size_t(n));
    for (int i = 0; i < n; ++i) {
        values.push_back(readStreamElement(stream, m_type));
        if (stream.status() != QDataStream::Ok)
            return; // a short or broken stream leaves the value as it was
    }
    if (!ensureStorage())
        return;
    for (int i = 0; i < n; ++i)
        writeElement(m_type, data, i, values[size_t(i)]);
}

QString VexilValueObject::toDebugString() const
{
    if (!data)
        return QStringLiteral("0 : ") + className();
    const QString suffix = QStringLiteral(" : ") + QLatin1String(s_typeNames[m_type]);
    return formatElements(m_type, data, elementCount(), suffix);
}

QString VexilValueObject::toString() const
{
    if (!data)
        return QStringLiteral("<null>");
    return formatElements(m_type, data, elementCount(), QString());
}

int VexilValueObject::toInteger() const
{
    return data ? asInt32(readElement(m_type, data, 0)) : 0;
}

long long VexilValueObject::toInt64() const
{
    return data ? asInt64(readElement(m_type, data, 0)) : 0;
}

double VexilValueObject::toDouble() const
{
    return data ? asReal(readElement(m_type, data, 0)) : 0.0;
}

bool VexilValueObject::toBoolean() const
{
    return data ? asBool(readElement(m_type, data, 0)) : false;
}

void VexilValueObject::fromString(const QString &value)
{
    Scalar v = Scalar::integer(0);
    switch (m_type) {
    case KShort:
        v = Scalar::integer(value.toShort(nullptr, 10));
        break;
    case KInt:
        v = Scalar::integer(value.toInt(nullptr, 10));
        break;
    case KLong:
        v = Scalar::integer(value.toLong(nullptr, 10));
        break;
    case KBool:
        v = Scalar::boolean(textToBool(value));
        break;
    case KChar:
        v = Scalar::integer(value.toInt(nullptr, 10));
        break;
    case KDouble:
        v = Scalar::real(value.toDouble());
        break;
    case KInt64:
        v = Scalar::integer(value.toLongLong(nullptr, 10));
        break;
    }
    if (ensureStorage())
        writeElement(m_type, data, 0, v);
}

void VexilValueObject::fromInteger(int value)
{
    if (ensureStorage())
        writeElement(m_type, data, 0, Scalar::integer(value));
}

void VexilValueObject::fromInt64(long long value)
{
    if (ensureStorage())
        writeElement(m_type, data, 0, Scalar::integer(value));
}

void VexilValueObject::fromDouble(double value)
{
    if (ensureStorage())
        writeElement(m_type, data, 0, Scalar::real(value));
}

void VexilValueObject::fromBoolean(bool value)
{
    if (ensureStorage())
        writeElement(m_type, data, 0, Scalar::boolean(value));
}

// Characters and texts

VexilObject_char::VexilObject_char(void *data, const Class *cls, const ObjectAttribute &attr)
    : VexilValueObject(data, cls, attr, KChar)
{
}

void VexilObject_char::installStorage(void *newData)
{
    void *old = data;
    const bool owned = ownsData;
    data = newData;
    ownsData = true;
    if (owned && old)
        freeStorage(KChar, old, objectAttribute());
}

void VexilObject_char::setChar(char c)
{
    if (ensureStorage())
        *static_cast<char *>(data) = c;
}

// Texts are replaced by fresh copies the object owns; storage it did not own is left to its owner.
void VexilObject_char::setText(const QByteArray &utf8)
{
    if (isInvalidated())
        return;
    const ObjectAttribute attr = objectAttribute();
    switch (charShape(attr)) {
    case SingleChar:
        setChar(asInt8(Scalar::integer(QString::fromUtf8(utf8).toInt(nullptr, 10))));
        break;
    case Text:
        installStorage(qstrdup(utf8.constData()));
        break;
    case CharArray:
        // The array keeps its size: the text is cut to fit and always ends with a NUL.
        if (ensureStorage())
            qstrncpy(static_cast<char *>(data), utf8.constData(), uint(countOf(attr)));
        break;
    case TextArray: {
        const int n = countOf(attr);
        char **texts = new char *[size_t(n)]();
        texts[0] = qstrdup(utf8.constData());
        const char *const *old = static_cast<const char *const *>(data);
        for (int i = 1; old && i < n; ++i)
            texts[i] = qstrdup(old[i]);
        installStorage(texts);
        break;
    }
    }
}

void VexilObject_char::streamObject(QDataStream &stream) const
{
    const ObjectAttribute attr = objectAttribute();
    const int n = countOf(attr);
    switch (charShape(attr)) {
    case SingleChar:
    case CharArray:
        for (int i = 0; i < n; ++i)
            stream << qint8(data ? static_cast<const char *>(data)[i] : 0);
        break;
    case Text:
        stream << static_cast<const char *>(data);
        break;
    case TextArray:
        for (int i = 0; i < n; ++i)
            stream << (data ? static_cast<const char *const *>(data)[i] : static_cast<const char *>(nullptr));
        break;
    }
}

void VexilObject_char::objectFromStream(QDataStream &stream)
{
    const ObjectAttribute attr = objectAttribute();
    const int n = countOf(attr);
    switch (charShape(attr)) {
    case SingleChar:
    case CharArray:
        VexilValueObject::objectFromStream(stream);
        break;
    case Text: {
        // QDataStream reads the text in bounded steps, so a huge length in a short stream fails early.
        char *text = nullptr;
        stream >> text;
        if (stream.status() != QDataStream::Ok) {
            delete[] text;
            return;
        }
        if (isInvalidated()) {
            delete[] text;
            return;
        }
        installStorage(text);
        break;
    }
    case TextArray: {
        std::vector<char *> texts;
        texts.reserve(size_t(n));
        for (int i = 0; i < n; ++i) {
            char *text = nullptr;
            stream >> text;
            if (stream.status() != QDataStream::Ok) {
                delete[] text;
                for (char *t : texts)
                    delete[] t;
                return;
            }
            texts.push_back(text);
        }
        if (isInvalidated()) {
            for (char *t : texts)
                delete[] t;
            return;
        }
        char **array = new char *[size_t(n)];
        std::copy(texts.begin(), texts.end(), array);
        installStorage(array);
        break;
    }
    }
}

QString VexilObject_char::toString() const
{
    const ObjectAttribute attr = objectAttribute();
    switch (charShape(attr)) {
    case SingleChar:
        if (!data)
            return QStringLiteral("<null>");
        return QString(QChar(uchar(*static_cast<const char *>(data))));
    case Text:
    case CharArray:
        return QString::fromUtf8(textBytes(data, attr));
    case TextArray: {
        if (!data)
            return QStringLiteral("<null>");
        // No blanks inside the brackets, unlike the numeric arrays.
        QStringList parts;
        const char *const *texts = static_cast<const char *const *>(data);
        const int n = countOf(attr);
        for (int i = 0; i < n; ++i)
            parts << QString::fromUtf8(texts[i]);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    }
    return QString();
}

QString VexilObject_char::toDebugString() const
{
    if (!data)
        return QStringLiteral("0 : ") + className();
    switch (charShape(objectAttribute())) {
    case SingleChar:
    case Text:
        return toString() + QStringLiteral(" : char");
    case CharArray:
        return toString() + QStringLiteral(" : char[]");
    case TextArray:
        return toString() + QStringLiteral(" : char*[]");
    }
    return QString();
}

int VexilObject_char::toInteger() const
{
    return charNumber<int>(data, objectAttribute(),
                           [](const QString &text) { return text.toInt(nullptr, 10); });
}

long long VexilObject_char::toInt64() const
{
    return charNumber<long long>(data, objectAttribute(),
                                 [](const QString &text) { return text.toLongLong(nullptr, 10); });
}

double VexilObject_char::toDouble() const
{
    return charNumber<double>(data, objectAttribute(), [](const QString &text) { return text.toDouble(); });
}

bool VexilObject_char::toBoolean() const
{
    return charNumber<bool>(data, objectAttribute(), textToBool);
}

void VexilObject_char::fromString(const QString &value)
{
    setText(value.toUtf8());
}

void VexilObject_char::setCharOrText(char c, const QByteArray &utf8)
{
    if (charShape(objectAttribute()) == SingleChar)
        setChar(c);
    else
        setText(utf8);
}

void VexilObject_char::fromInteger(int value)
{
    setCharOrText(asInt8(Scalar::integer(value)), QByteArray::number(value));
}

void VexilObject_char::fromInt64(long long value)
{
    setCharOrText(asInt8(Scalar::integer(value)), QByteArray::number(value));
}

void VexilObject_char::fromDouble(double value)
{
    setCharOrText(asInt8(Scalar::real(value)), formatNumber(value).toUtf8());
}

void VexilObject_char::fromBoolean(bool value)
{
    setCharOrText(value ? 1 : 0, value ? QByteArrayLiteral("true") : QByteArrayLiteral("false"));
}

// The void object

VexilObject_void::VexilObject_void(void *data, const Class *cls, const ObjectAttribute &attr)
    : Object(data, cls, attr)
{
}

VexilObject_void::~VexilObject_void() = default;

int VexilObject_void::numChildren() const
{
    return 0;
}

// wrap / unwrap

Object::Ptr wrap(int value)
{
    return Inspector::self()->createPrimitive(value);
}

Object::Ptr wrap(const char *value)
{
    return Inspector::self()->createPrimitive(value);
}

Object::Ptr wrap(const std::string &value)
{
    return Inspector::self()->createPrimitive(value.c_str());
}

Object::Ptr wrap(const QString &value)
{
    return Inspector::self()->createPrimitive(value.toUtf8().constData());
}

void unwrap(Object::Ptr object, QString *value)
{
    if (value)
        *value = object ? object->toString() : QString();
}

void unwrap(Object::Ptr object, std::string *value)
{
    if (value)
        *value = object ? object->toString().toUtf8().toStdString() : std::string();
}

void unwrap(Object::Ptr object, int *value)
{
    if (value)
        *value = object ? object->toInteger() : 0;
}

} // namespace Vexil
