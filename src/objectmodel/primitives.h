// primitives.h: the nine primitive value classes and the wrap/unwrap helpers.
#ifndef VEXIL_PRIMITIVES_H
#define VEXIL_PRIMITIVES_H

#include "object.h"
#include "vexil_export.h"

#include <QString>

#include <string>

namespace Vexil {

/// Creates the nine primitive classes in their fixed order (short, int, long, bool, char, double, int64,
/// void, undefined); the Inspector calls it first, which makes them classes 0 to 8.
VEXIL_EXPORT void vexil_register_primitives();

/// What the seven value classes (short to int64) share: the three constructors, construction, wrapping,
/// freeing of the storage, the conversion rules between them and comparison of their first elements.
/// A value object holds one value, or an array of count values when the attribute's array bit is set
/// (a count below 1 counts as 1).
class VEXIL_EXPORT VexilValueClass : public Class
{
public:
    ~VexilValueClass() override;

    /// The primitive type number of the native storage (Inspector::PrimitiveTypes, 0 to 6).
    int primitiveType() const { return m_type; }

    using Class::construct;
    /// 0: a zero value; 1 and 2: a copy of the value \p args[0] points to. The result owns its storage
    /// and is in pointer form (flags 2). Null for any other index or missing arguments.
    Object::Ptr construct(int index, void **args) const override;
    /// Passes construct(int, void**) storage it can read whole: an argument of another value type is
    /// converted first, a character or character array becomes a text; other arguments yield null.
    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    /// Same class: 0 when the first elements are equal (null storage equals only null storage),
    /// otherwise their order. Different classes: the general comparison.
    int compare(Object::Ptr a, Object::Ptr b) const override;
    Constructor *createConstructor(int index) const override;
    bool canConvertToInternal(const Class *target, bool sourceIsPointer, bool targetIsPointer) const override;
    /// A new owning object of \p target made from the first element; null when the rule forbids it.
    Object::Ptr convertToInternal(Object::Ptr object, const Class *target,
                                  bool targetIsPointer) const override;

protected:
    /// The class takes its name from the type number.
    explicit VexilValueClass(int type);

private:
    int m_type;
};

/// A value class that adds nothing to VexilValueClass; \p Type is its Inspector::PrimitiveTypes number.
template <int Type>
class VEXIL_EXPORT VexilPlainValueClass : public VexilValueClass
{
public:
    VexilPlainValueClass()
        : VexilValueClass(Type)
    {
    }
};

using VexilClass_short = VexilPlainValueClass<0>;
using VexilClass_int = VexilPlainValueClass<1>;
using VexilClass_long = VexilPlainValueClass<2>;
using VexilClass_bool = VexilPlainValueClass<3>;

/// Characters and texts. Storage by attribute: one char; a NUL-terminated text (pointer bit); an array of
/// count chars read as a text (array bit); an array of count texts (both bits).
class VEXIL_EXPORT VexilClass_char : public VexilValueClass
{
public:
    VexilClass_char();

    using VexilValueClass::construct;
    /// 0: an empty text; 1 and 2: a copy of the NUL-terminated text \p args[0] points to.
    Object::Ptr construct(int index, void **args) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    /// The general comparison first; when it finds no equality, two char objects compare by their bytes
    /// (a null text equals only a null text and sorts first).
    int compare(Object::Ptr a, Object::Ptr b) const override;
};

using VexilClass_double = VexilPlainValueClass<5>;
using VexilClass_int64 = VexilPlainValueClass<6>;

/// The class of the one void object; it has no members and converts to nothing.
class VEXIL_EXPORT VexilClass_void : public Class
{
public:
    VexilClass_void();
    ~VexilClass_void() override;
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override;
};

/// A type the model cannot hold a value of: wrapping reports "Can't wrap object to undefined type" and
/// yields null.
class VEXIL_EXPORT VexilClass_undefined : public Class
{
public:
    VexilClass_undefined();
    ~VexilClass_undefined() override;
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override;
};

/// A value object over native storage of one primitive type. The storage type is fixed when the object is
/// made, even if castTo later gives the object another primitive class.
class VEXIL_EXPORT VexilValueObject : public Object
{
public:
    ~VexilValueObject() override;

    int primitiveType() const { return m_type; }
    /// The class that wrapped the storage; it frees the storage when the object owns it.
    const Class *ownerClass() const { return m_owner; }
    /// The number of elements: count when the array bit is set (at least 1), otherwise 1.
    int elementCount() const;

    int numChildren() const override;
    void streamObject(QDataStream &stream) const override;
    void objectFromStream(QDataStream &stream) override;
    QString toDebugString() const override;
    QString toString() const override;
    int toInteger() const override;
    long long toInt64() const override;
    double toDouble() const override;
    bool toBoolean() const override;
    void fromString(const QString &value) override;
    void fromInteger(int value) override;
    void fromInt64(long long value) override;
    void fromDouble(double value) override;
    void fromBoolean(bool value) override;

protected:
    VexilValueObject(void *data, const Class *cls, const ObjectAttribute &attr, int type);
    /// Gives an object without storage a zeroed, owned one (not after invalidation); false when it has none.
    bool ensureStorage();

private:
    const Class *m_owner;
    int m_type;
};

/// A value object that adds nothing to VexilValueObject; \p Type is its Inspector::PrimitiveTypes number.
template <int Type>
class VEXIL_EXPORT VexilPlainValueObject : public VexilValueObject
{
public:
    VexilPlainValueObject(void *data, const Class *cls, const ObjectAttribute &attr)
        : VexilValueObject(data, cls, attr, Type)
    {
    }
};

using VexilObject_short = VexilPlainValueObject<0>;
using VexilObject_int = VexilPlainValueObject<1>;
using VexilObject_long = VexilPlainValueObject<2>;
using VexilObject_bool = VexilPlainValueObject<3>;

class VEXIL_EXPORT VexilObject_char : public VexilValueObject
{
public:
    VexilObject_char(void *data, const Class *cls, const ObjectAttribute &attr);

    void streamObject(QDataStream &stream) const override;
    void objectFromStream(QDataStream &stream) override;
    QString toDebugString() const override;
    QString toString() const override;
    int toInteger() const override;
    long long toInt64() const override;
    double toDouble() const override;
    bool toBoolean() const override;
    void fromString(const QString &value) override;
    void fromInteger(int value) override;
    void fromInt64(long long value) override;
    void fromDouble(double value) override;
    void fromBoolean(bool value) override;

private:
    void setChar(char c);
    void setText(const QByteArray &utf8);
    /// A single character takes \p c, every other shape the text \p utf8.
    void setCharOrText(char c, const QByteArray &utf8);
    void installStorage(void *newData);
};

using VexilObject_double = VexilPlainValueObject<5>;
using VexilObject_int64 = VexilPlainValueObject<6>;

/// The void value: a null object of class "void".
class VEXIL_EXPORT VexilObject_void : public Object
{
public:
    VexilObject_void(void *data, const Class *cls, const ObjectAttribute &attr);
    ~VexilObject_void() override;
    int numChildren() const override;
};

/// A new integer object (the Inspector's createPrimitive(int)).
VEXIL_EXPORT Object::Ptr wrap(int value);
/// A new text object holding a copy of \p value.
VEXIL_EXPORT Object::Ptr wrap(const char *value);
VEXIL_EXPORT Object::Ptr wrap(const std::string &value);
/// A new text object holding the UTF-8 encoding of \p value.
VEXIL_EXPORT Object::Ptr wrap(const QString &value);

/// Stores the object's toString() (empty for a null pointer).
VEXIL_EXPORT void unwrap(Object::Ptr object, QString *value);
/// Stores the UTF-8 encoding of the object's toString() (empty for a null pointer).
VEXIL_EXPORT void unwrap(Object::Ptr object, std::string *value);
/// Stores the object's toInteger() (0 for a null pointer).
VEXIL_EXPORT void unwrap(Object::Ptr object, int *value);

} // namespace Vexil

#endif // VEXIL_PRIMITIVES_H
