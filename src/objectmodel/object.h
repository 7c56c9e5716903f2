// object.h: objects and their lists; includes the member, class and record headers, so this one header
// gives the whole object model as before.
#ifndef VEXIL_OBJECT_H
#define VEXIL_OBJECT_H

#include "sharedptr.h"
#include "vexil_export.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QVector>

#include <cstddef>
#include <initializer_list>
#include <vector>

class QDataStream;

namespace Vexil {

class Class;
class ClassPrivate;
class Namespace;
class Object;
class ObjectList;
class Method;
class Constructor;
class Property;
class PropertyDeclaration;
class Event;
class Enum;
class Interface;
class ObjectHierarchyDelegate;
class SerializeDelegate;
class ConversionDelegate;
class ComparisonDelegate;

template <class T>
using FList = QList<T>;

/// Something that writes itself to and reads itself from a Qt data stream.
class VEXIL_EXPORT Serializable
{
public:
    virtual ~Serializable();
    virtual void writeObject(QDataStream &stream) const = 0;
    virtual void readObject(QDataStream &stream) = 0;
};

/// How a native value is held. Flag bits: 1 reference type, 2 pointer (a NUL-terminated text for char),
/// 4 constant value, 8 constant pointer, 16 array of count elements. Other bits are carried untouched.
class VEXIL_EXPORT ObjectAttribute : public Serializable
{
public:
    enum Flag : unsigned int { Reference = 1, Pointer = 2, ConstValue = 4, ConstPointer = 8, Array = 16 };

    ObjectAttribute()
        : flags(0)
        , count(0)
    {
    }
    ObjectAttribute(unsigned int f, int c = 0)
        : flags(f)
        , count(c)
    {
    }
    ObjectAttribute(const ObjectAttribute &other)
        : Serializable()
        , flags(other.flags)
        , count(other.count)
    {
    }
    ObjectAttribute &operator=(const ObjectAttribute &other)
    {
        flags = other.flags;
        count = other.count;
        return *this;
    }

    bool operator==(const ObjectAttribute &o) const { return flags == o.flags && count == o.count; }
    bool operator!=(const ObjectAttribute &o) const { return !(*this == o); }

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

    unsigned int flags;
    int count;
};

/// An owned, polymorphic record a wrapper may hang on an object; deleted with the object and by put().
class VEXIL_EXPORT ObjectAuxData
{
public:
    virtual ~ObjectAuxData();
};

/// The one handle for a value or application object: native data, its Class and how the data is held.
/// Always passed as Object::Ptr; a null pointer and a null object (isNull()) are different things.
class VEXIL_EXPORT Object : public Shared, public Serializable
{
public:
    typedef SharedPtr<Object> Ptr;

    Object(void *data, const Class *cls, const ObjectAttribute &attr);
    ~Object() override;

    virtual int numChildren() const;
    virtual Ptr child(int index) const;
    virtual Ptr childByName(const QString &name) const;
    virtual ObjectList children() const;
    virtual Ptr parent() const;
    virtual QString name() const;
    virtual QString qualifiedName() const;
    virtual void streamObject(QDataStream &stream) const;
    virtual void objectFromStream(QDataStream &stream);
    virtual QString toDebugString() const;
    virtual QString toString() const;
    virtual int toInteger() const;
    virtual long long toInt64() const;
    virtual double toDouble() const;
    virtual bool toBoolean() const;
    virtual void fromString(const QString &value);
    virtual void fromInteger(int value);
    virtual void fromInt64(long long value);
    virtual void fromDouble(double value);
    virtual void fromBoolean(bool value);
    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;
    virtual ObjectAttribute objectAttribute() const;
    virtual bool isNull() const;
    virtual Ptr castTo(const Class *target);
    virtual Ptr reference() const;
    virtual Ptr dereference() const;
    virtual int wrapperType() const;

    /// Replaces the data; frees the old data when the object owns it and drops the auxiliary record.
    void put(void *newData);
    void get(void **out) const { *out = data; }
    void *rawData() const { return data; }

    const Class *objectClass() const { return m_class; }
    bool isA(const Class *cls) const;
    QString className() const;
    bool sameAs(Ptr other) const;
    int compare(Ptr other) const;

    void generateIndex() const;
    unsigned int index() const { return m_index; }

    /// One-way: the object turns into a null object of class "Dead"; its data is no longer freed by it.
    void invalidate();
    bool isInvalidated() const { return m_invalidated; }

    static Ptr zombie();
    static void registerClassOfTheDead();
    static const Class *classOfTheDead();

    ObjectAuxData *auxData() const { return m_aux; }
    void setAuxData(ObjectAuxData *aux);

    void clearDelegates() const;
    void setupHierarchyDelegate() const;
    void setupSerializeDelegate() const;
    void setupConversionDelegate() const;
    void setupComparisonDelegate() const;

    const ObjectHierarchyDelegate *hierarchyDelegate() const;
    const SerializeDelegate *serializeDelegate() const;
    const ConversionDelegate *conversionDelegate() const;
    const ComparisonDelegate *comparisonDelegate() const;

    /// A counted pointer to this very object.
    Ptr self() const { return Ptr(const_cast<Object *>(this)); }

protected:
    void *data;

private:
    ObjectAuxData *m_aux;
    const Class *m_class;
    ObjectAttribute m_attribute;
    mutable const ObjectHierarchyDelegate *m_hierarchy;
    mutable const SerializeDelegate *m_serialize;
    mutable const ConversionDelegate *m_conversion;
    mutable const ComparisonDelegate *m_comparison;
    mutable unsigned int m_index;
    mutable bool m_hierarchyLooked : 1;
    mutable bool m_serializeLooked : 1;
    mutable bool m_conversionLooked : 1;
    mutable bool m_comparisonLooked : 1;

public:
    /// Set by wrapper code that hands over data the class must free when the object lets go of it.
    bool ownsData : 1;

private:
    bool m_invalidated : 1;

    friend class Class;
};

/// Ordered list of object pointers. at() is bounds-checked (std::out_of_range), operator[] is not.
class VEXIL_EXPORT ObjectList
{
public:
    typedef std::vector<Object::Ptr>::iterator iterator;
    typedef std::vector<Object::Ptr>::const_iterator const_iterator;

    ObjectList() = default;
    ObjectList(std::initializer_list<Object::Ptr> items)
        : m_items(items)
    {
    }

    void push_back(const Object::Ptr &obj) { m_items.push_back(obj); }
    void pop_back() { m_items.pop_back(); }
    void clear() { m_items.clear(); }
    iterator erase(iterator it) { return m_items.erase(it); }
    void reserve(size_t n) { m_items.reserve(n); }

    Object::Ptr &at(size_t i);
    const Object::Ptr &at(size_t i) const;
    Object::Ptr &operator[](size_t i) { return m_items[i]; }
    const Object::Ptr &operator[](size_t i) const { return m_items[i]; }

    iterator begin() { return m_items.begin(); }
    iterator end() { return m_items.end(); }
    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }

    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }

private:
    std::vector<Object::Ptr> m_items;
};

/// An object standing for a value that lives in another application context.
class VEXIL_EXPORT RemoteObjectBase : public Object
{
public:
    RemoteObjectBase(const Class *cls, unsigned int contextId);
    ~RemoteObjectBase() override;
    unsigned int contextId() const { return m_contextId; }

private:
    unsigned int m_contextId;
};

} // namespace Vexil

// Members and classes need Object complete; their headers include this one first, so whichever of them a
// user includes, the whole set comes in this order.
#include "members.h"
#include "class.h"
#include "eventdata.h"

#endif // VEXIL_OBJECT_H
