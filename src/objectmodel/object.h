// object.h: objects and shared references, classes and namespaces, member descriptors and invocation.
#ifndef VEXIL_OBJECT_H
#define VEXIL_OBJECT_H

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

/// Intrusive, non-atomic reference count. The count is 0 when the object is made; SharedPtr does the rest.
class VEXIL_EXPORT Shared
{
public:
    Shared() : m_refCount(0) { }
    Shared(const Shared &) : m_refCount(0) { }
    Shared &operator=(const Shared &) { return *this; }

    void ref() const { ++m_refCount; }
    /// Drops one reference; true when none is left and the owner must delete the object.
    bool deref() const { return --m_refCount == 0; }
    unsigned int refCount() const { return m_refCount; }

protected:
    ~Shared() = default;

private:
    mutable unsigned int m_refCount;
};

/// Counted pointer to a Shared subclass; deletes the pointee through its virtual destructor on the last release.
template <class T>
class SharedPtr
{
public:
    SharedPtr() : m_ptr(nullptr) { }
    SharedPtr(std::nullptr_t) : m_ptr(nullptr) { }
    SharedPtr(T *p) : m_ptr(p)
    {
        if (m_ptr)
            m_ptr->ref();
    }
    SharedPtr(const SharedPtr &other) : m_ptr(other.m_ptr)
    {
        if (m_ptr)
            m_ptr->ref();
    }
    template <class U>
    SharedPtr(const SharedPtr<U> &other) : m_ptr(other.get())
    {
        if (m_ptr)
            m_ptr->ref();
    }
    SharedPtr(SharedPtr &&other) noexcept : m_ptr(other.m_ptr) { other.m_ptr = nullptr; }
    ~SharedPtr() { release(m_ptr); }

    SharedPtr &operator=(const SharedPtr &other)
    {
        // Take the new reference before dropping the old one, so self-assignment keeps the object.
        if (other.m_ptr)
            other.m_ptr->ref();
        T *old = m_ptr;
        m_ptr = other.m_ptr;
        release(old);
        return *this;
    }
    SharedPtr &operator=(SharedPtr &&other) noexcept
    {
        if (this != &other) {
            T *old = m_ptr;
            m_ptr = other.m_ptr;
            other.m_ptr = nullptr;
            release(old);
        }
        return *this;
    }

    T *get() const { return m_ptr; }
    T *operator->() const { return m_ptr; }
    T &operator*() const { return *m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }

    template <class U>
    bool operator==(const SharedPtr<U> &other) const { return m_ptr == other.get(); }
    template <class U>
    bool operator!=(const SharedPtr<U> &other) const { return m_ptr != other.get(); }
    bool operator==(std::nullptr_t) const { return m_ptr == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_ptr != nullptr; }

private:
    static void release(T *p)
    {
        if (p && p->deref())
            delete p;
    }
    T *m_ptr;
};

template <class T>
bool operator==(std::nullptr_t, const SharedPtr<T> &p) { return p == nullptr; }
template <class T>
bool operator!=(std::nullptr_t, const SharedPtr<T> &p) { return p != nullptr; }

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
    enum Flag : unsigned int {
        Reference = 1,
        Pointer = 2,
        ConstValue = 4,
        ConstPointer = 8,
        Array = 16
    };

    ObjectAttribute() : flags(0), count(0) { }
    ObjectAttribute(unsigned int f, int c = 0) : flags(f), count(c) { }
    ObjectAttribute(const ObjectAttribute &other) : Serializable(), flags(other.flags), count(other.count) { }
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
    ObjectList(std::initializer_list<Object::Ptr> items) : m_items(items) { }

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

// ---------------------------------------------------------------------------------------------------------
// Member descriptors

/// A typed slot: parameter, return value or property value.
class VEXIL_EXPORT Argument : public Serializable
{
public:
    Argument();
    Argument(const Class *type, unsigned int flags = 0, int count = 0, const Enum *e = nullptr);
    Argument(const QString &name, const Class *type, unsigned int flags = 0, int count = 0,
             const Enum *e = nullptr);
    Argument(const Class *type, const ObjectAttribute &attribute, const Enum *e = nullptr);
    Argument(const QString &name, const Class *type, const ObjectAttribute &attribute, const Enum *e = nullptr);
    Argument(const Argument &other);
    Argument &operator=(const Argument &other);
    ~Argument() override;

    const QString &name() const { return m_name; }
    const Class *type() const { return m_type; }
    ObjectAttribute attribute() const { return m_attribute; }
    unsigned int flags() const { return m_attribute.flags; }
    int count() const { return m_attribute.count; }
    const Enum *enumeration() const { return m_enum; }

    void setName(const QString &name) { m_name = name; }
    void setType(const Class *type) { m_type = type; }
    void setEnumeration(const Enum *e) { m_enum = e; }

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    QString m_name;
    const Class *m_type;
    ObjectAttribute m_attribute;
    const Enum *m_enum;
};

/// The ordered parameters of a method, constructor or event.
class VEXIL_EXPORT Signature
{
public:
    Signature();
    explicit Signature(const Argument &a1);
    Signature(const Argument &a1, const Argument &a2);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
              const Argument &a5);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
              const Argument &a5, const Argument &a6);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
              const Argument &a5, const Argument &a6, const Argument &a7);
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
              const Argument &a5, const Argument &a6, const Argument &a7, const Argument &a8);

    void append(const Argument &arg) { m_args.append(arg); }
    int count() const { return m_args.size(); }
    /// The parameter at \p i; an argument without type or name when \p i is out of range.
    const Argument &at(int i) const;
    /// "(" parameters ")" as scripts and diagnostics show them.
    QString toString() const;

    void writeObject(QDataStream &stream) const;
    void readObject(QDataStream &stream);

private:
    QVector<Argument> m_args;
};

class VEXIL_EXPORT Method : public Serializable
{
public:
    Method(const Class *owner, const Argument &returnArgument, const QString &name, const Signature &signature,
           bool isStatic, int index);
    ~Method() override;

    const QString &name() const { return m_name; }
    const Argument &returnArgument() const { return m_return; }
    const Signature &signature() const { return m_signature; }
    bool isStatic() const { return (m_flags & 1) != 0; }
    unsigned int flags() const { return m_flags; }
    int index() const { return m_index; }
    /// For a method that takes over another's place (GlobalClass::injectMethod).
    void setIndex(int index) { m_index = index; }
    const Class *ownerClass() const { return m_owner; }

    QString toString() const;
    /// Checks the call (verifyMethodInvocation), then hands it to the owner class's invoke.
    virtual Object::Ptr invoke(Object::Ptr object, const ObjectList &args) const;

    void deprecate(const QString &message) { m_deprecation = message; }
    QString deprecationMessage() const { return m_deprecation; }

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_owner;
    Argument m_return;
    QString m_name;
    Signature m_signature;
    unsigned int m_flags;
    int m_index;
    QString m_deprecation;
};

/// The overload set of one method name, in the class's member order.
class VEXIL_EXPORT MethodList : public std::vector<const Method *>
{
public:
    /// First overload whose parameters all accept the arguments without conversion; null if none.
    const Method *methodForArguments(const ObjectList &args) const;
    /// Calls the first overload the arguments reach, converting them where needed.
    Object::Ptr invoke(Object::Ptr object, const ObjectList &args, bool *found = nullptr) const;
    /// The same; the result goes to \p result and the return value says whether an overload was found.
    bool invoke(Object::Ptr object, const ObjectList &args, Object::Ptr &result) const;
};

class VEXIL_EXPORT Constructor : public Serializable
{
public:
    Constructor(const Class *owner, const Signature &signature, int index);
    ~Constructor() override;

    const Class *ownerClass() const { return m_owner; }
    const Signature &signature() const { return m_signature; }
    int index() const { return m_index; }
    QString toString() const;
    Object::Ptr construct(const ObjectList &args) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_owner;
    Signature m_signature;
    int m_index;
};

/// Static description of a property. Flags: 1 readable, 2 writable, 4 stored, 8 static.
class VEXIL_EXPORT PropertyDeclaration : public Serializable
{
public:
    enum Flag : unsigned int { Readable = 1, Writable = 2, Stored = 4, Static = 8 };
    typedef Object::Ptr (*ReadFunction)(Object::Ptr object);
    typedef bool (*WriteFunction)(Object::Ptr object, Object::Ptr value);

    PropertyDeclaration(const Class *owner, const Argument &value, const QString &name, unsigned int flags,
                        const QString &readMethod = QString(), const QString &writeMethod = QString());
    /// Class and type given by name; both are resolved on first use.
    PropertyDeclaration(const char *className, const char *typeName, const QString &name, unsigned int flags,
                        const QString &readMethod = QString(), const QString &writeMethod = QString());
    PropertyDeclaration(const Class *owner, const Argument &value, const QString &name, unsigned int flags,
                        ReadFunction readFunction, WriteFunction writeFunction);
    ~PropertyDeclaration() override;

    const Class *ownerClass() const;
    const Argument &value() const;
    const Class *type() const;
    const QString &name() const { return m_name; }
    unsigned int flags() const { return m_flags; }
    bool isReadable() const { return (m_flags & Readable) != 0; }
    bool isWritable() const { return (m_flags & Writable) != 0; }
    bool stored() const { return (m_flags & Stored) != 0; }
    bool isStatic() const { return (m_flags & Static) != 0; }
    const QString &readMethod() const { return m_readMethod; }
    const QString &writeMethod() const { return m_writeMethod; }
    ReadFunction readFunction() const { return m_readFunction; }
    WriteFunction writeFunction() const { return m_writeFunction; }

    /// Resolves names given at construction; an unknown type is reported on stderr and left unset.
    void lazySetup() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    mutable const Class *m_owner;
    mutable Argument m_value;
    QString m_name;
    unsigned int m_flags;
    QString m_readMethod;
    QString m_writeMethod;
    ReadFunction m_readFunction;
    WriteFunction m_writeFunction;
    QByteArray m_className;
    QByteArray m_typeName;
    mutable bool m_resolved;
};

/// A property declaration bound to a class under its global index.
class VEXIL_EXPORT Property : public Serializable
{
public:
    Property(const PropertyDeclaration *declaration, const Class *cls, int index, bool ownsDeclaration = false);
    ~Property() override;

    const PropertyDeclaration *declaration() const { return m_declaration; }
    const QString &name() const;
    const Class *type() const;
    const Enum *enumeration() const;
    /// The declaration's owning class (the bound class when there is no declaration).
    const Class *propertyClass() const;
    /// The class the property is bound to under index().
    const Class *boundClass() const { return m_class; }
    int index() const { return m_index; }
    unsigned int flags() const;
    bool isReadable() const;
    bool isWritable() const;
    bool stored() const;
    bool isStatic() const;

    /// Reads the value after verifyPropertyAccess; null on failure (the Inspector's error says why).
    Object::Ptr get(Object::Ptr object) const;
    bool set(Object::Ptr object, Object::Ptr value) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const PropertyDeclaration *m_declaration;
    const Class *m_class;
    int m_index;
    bool m_ownsDeclaration;
};

class VEXIL_EXPORT Enum : public Serializable
{
public:
    Enum(const Class *owner, const QString &name);
    ~Enum() override;

    void addItem(const QString &key, int value);
    const QString &name() const { return m_name; }
    const Class *ownerClass() const { return m_owner; }
    int count() const { return m_items.size(); }
    /// By position; an empty key and -1 out of range.
    QString key(int i) const { return i >= 0 && i < m_items.size() ? m_items.at(i).first : QString(); }
    int value(int i) const { return i >= 0 && i < m_items.size() ? m_items.at(i).second : -1; }
    int value(const QString &key, bool *ok = nullptr) const;
    /// The key of exactly \p v; an empty text and a message on stderr when none has that value.
    QString valueToKey(int v, bool *ok = nullptr) const;

    /// True when the values are pairwise bit-disjoint (0 never conflicts; an empty enum is a mask).
    bool detectIsMask() const;
    /// Overrides what detectIsMask() found; isMask() keeps the detected answer as items come until then.
    void setIsMask(bool mask)
    {
        m_isMask = mask;
        m_maskOverridden = true;
    }
    bool isMask() const { return m_isMask; }

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_owner;
    QString m_name;
    QVector<QPair<QString, int>> m_items;
    bool m_isMask;
    bool m_maskOverridden;
};

class VEXIL_EXPORT Event : public Serializable
{
public:
    Event(const Class *owner, const QString &name, const Signature &signature);
    ~Event() override;

    const QString &name() const { return m_name; }
    const Signature &signature() const { return m_signature; }
    const Class *ownerClass() const { return m_owner; }
    /// Hands the event to the Inspector's send-event path.
    void sendEvent(Object::Ptr object, const ObjectList &args) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_owner;
    QString m_name;
    Signature m_signature;
};

/// Checks before a method runs; on failure the Inspector's error names the method and false is returned.
VEXIL_EXPORT bool verifyMethodInvocation(Object::Ptr object, const Method *method);
/// True when \p args has the method's parameter count; otherwise reports it (stderr and error) and returns false.
VEXIL_EXPORT bool verifyMethodArgumentCount(const QString &className, const Method *method, const ObjectList &args);
VEXIL_EXPORT bool verifyPropertyAccess(Object::Ptr object, const Property *property);
/// Checks before a property is written: a property at all, an object unless static, writable; a failure is
/// reported on stderr and gives false.
VEXIL_EXPORT bool verifyPropertyWrite(Object::Ptr object, const Property *property);
/// Whether two arguments count as the same for an injected method.
VEXIL_EXPORT bool vexilidl_compare_args(const Argument &a, const Argument &b);

// ---------------------------------------------------------------------------------------------------------
// Classes and namespaces

/// Describes one type: name, namespace, superclass and members, created lazily through the create* factories.
/// Member numbering is global along the inheritance chain: a class's own members follow its ancestors'.
///
/// Conversions (canConvertTo/convertTo) are tried in this order: a source that already is-a target is taken
/// as it is; then the source class's canConvertToInternal/convertToInternal; then, for a target that is not a
/// primitive, the target class's canConvertToInternal/convertToInternal asked with itself as the target (a
/// class that can build itself from other objects answers there and gets the foreign object); then the
/// source's conversion delegate when the target is int, bool, char (text), double or int64 and the delegate
/// supports that conversion. The tolerant forms add reference and dereference of the source when only the
/// pointer form differs.
class VEXIL_EXPORT Class
{
public:
    enum OffsetType { PropertyOffset = 0, MethodOffset = 1, ConstructorOffset = 2, EventOffset = 3, EnumOffset = 4 };

    /// Marks a superclass link that has not been set up yet (the pointer value 1).
    static const Class *const uninitialized;

    Class();
    Class(const char *name, bool registerIt);
    Class(const char *name, Namespace *ns, bool registerIt);
    virtual ~Class();

    virtual void writeObject(QDataStream &stream) const;
    virtual void readObject(QDataStream &stream);
    virtual Object::Ptr convertToInterface(Object::Ptr object, const QString &name) const;
    virtual Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const;
    virtual Object::Ptr invoke(Object::Ptr object, const Method *method, void **args) const;
    virtual bool setProperty(int index, void *object, void *value) const;
    virtual bool setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const;
    virtual Object::Ptr getProperty(int index, void *object, const Class *cls) const;
    virtual Object::Ptr getProperty(Object::Ptr object, const Property *property) const;
    virtual Object::Ptr construct(int index, void **args) const;
    virtual Object::Ptr wrap(void *data, const ObjectAttribute &attr) const;
    virtual void deleteObjectData(void *data, const ObjectAttribute &attr) const;
    virtual bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                              void **converter) const;
    virtual Object::Ptr convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    virtual int compare(Object::Ptr a, Object::Ptr b) const;
    virtual bool sameObjects(Object::Ptr a, Object::Ptr b) const;
    virtual bool canConvertToTolerant(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                      void **converter) const;
    virtual Object::Ptr convertToTolerant(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    virtual QString realType(const QString &typeName) const;
    virtual void initSuperClass() const;
    virtual Constructor *createConstructor(int index) const;
    virtual Method *createMethod(int index) const;
    virtual Property *createProperty(int index) const;
    virtual Event *createEvent(int index) const;
    virtual Enum *createEnum(int index) const;
    virtual bool canCastTo(const Class *target, bool targetIsPointer) const;
    virtual Object::Ptr castTo(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    virtual bool canConvertToInternal(const Class *target, bool sourceIsPointer, bool targetIsPointer) const;
    virtual Object::Ptr convertToInternal(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    virtual bool setProperty(int index, Object::Ptr object, Object::Ptr value, const Property *property) const;
    virtual Object::Ptr getProperty(int index, Object::Ptr object, const Property *property) const;
    virtual Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args, const Method *method) const;
    virtual Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const;

    void init();
    void registerClass();
    /// Stores the superclass; subclasses call it from initSuperClass().
    void setSuperClass(const Class *superClass) const;

    /// Short name as given to the constructor (Latin-1).
    const char *name() const;
    Namespace *nameSpace() const;
    /// Superclass after lazy set-up; null for a root class.
    const Class *superClass() const;
    int classId() const;
    QString fullyQualifiedClassName() const;

    int inheritanceDepth(const Class *ancestor) const;
    bool isSubClassOf(const Class *c) const;

    int superClassOffset(OffsetType kind) const;

    int numMethods() const;
    int numConstructors() const;
    /// Own, inherited and static-property-delegate properties; the delegate's count is asked once.
    int numProperties() const;
    int numEvents() const;
    int numEnums() const;

    /// Looks up the static-property delegate registered for this very class, once. An ancestor's delegate
    /// is not taken: its properties already count through the ancestor's numProperties().
    void setupPropertyDelegate() const;

    const Method *method(int index) const;
    const Constructor *constructor(int index) const;
    const Property *property(int index) const;
    const Event *event(int index) const;
    const Enum *enumerator(int index) const;

    MethodList methods(const QString &name) const;
    const Property *property(const QString &name) const;
    const Event *event(const QString &name) const;
    const Enum *enumerator(const QString &name) const;

    void initMethods() const;
    void initConstructors() const;
    void initProperties() const;
    void initEvents() const;
    void initEnums() const;

    /// Adds a method after the class is in use; the class takes it over.
    void lateAddMethod(Method *method);

    /// Chooses the first constructor whose parameters the arguments reach (with conversion) and calls it.
    Object::Ptr construct(const ObjectList &args) const;
    /// A null object of this class.
    Object::Ptr createNull() const;

    /// Fatal when the class or an ancestor already has an interface of that name.
    void addInterface(const Interface *iface);
    const Class *interfaceClass(const QString &name) const;

protected:
    /// Forgets the member tables without deleting the descriptors: for classes whose descriptors are shared
    /// statics. Call it from the subclass destructor.
    void releaseMemberTables();

    void setNumMethods(int n);
    void setNumConstructors(int n);
    void setNumProperties(int n);
    void setNumEvents(int n);
    void setNumEnums(int n);

private:
    Class(const Class &) = delete;
    Class &operator=(const Class &) = delete;

    ClassPrivate *d;
    friend class ClassPrivate;
};

/// A class that an object can be seen through (convertToInterface); filed under its name by addInterface.
class VEXIL_EXPORT Interface : public Class
{
public:
    explicit Interface(const char *name, Namespace *ns = nullptr);
    ~Interface() override;
};

/// A class standing for a type that lives in another application context.
class VEXIL_EXPORT RemoteClassBase : public Class
{
public:
    explicit RemoteClassBase(int contextId);
    ~RemoteClassBase() override;
    int applicationContextId() const { return m_contextId; }

private:
    int m_contextId;
};

/// The tree in which classes are registered under their names.
class VEXIL_EXPORT Namespace
{
public:
    Namespace();
    Namespace(Namespace *parent, const QString &name);
    virtual ~Namespace();

    Namespace *parent() const { return m_parent; }
    const QString &name() const { return m_name; }
    int namespaceId() const { return m_id; }
    QString fullyQualifiedName() const;

    void registerClass(const Class *c);
    void registerNamespace(Namespace *ns);
    const Class *getClass(const QString &name) const;
    Namespace *getNamespace(const QString &name) const;
    int numNamespaces() const;
    Namespace *getNamespace(int index) const;
    bool containsIdentifier(const QString &name) const;

private:
    Namespace(const Namespace &) = delete;
    Namespace &operator=(const Namespace &) = delete;

    Namespace *m_parent;
    QString m_name;
    std::vector<Namespace *> m_children;
    QHash<QString, const Class *> m_classes;
    QHash<QString, Namespace *> m_namespaces;
    int m_id;
};

/// Gives classes of that name the hierarchy delegate registered for "QObject" when they have none of their own.
VEXIL_EXPORT void vexil_register_qobject_type(const char *name);
/// Whether \p name was registered with vexil_register_qobject_type.
VEXIL_EXPORT bool vexil_is_qobject_type(const QString &name);

} // namespace Vexil

#include "eventdata.h"

#endif // VEXIL_OBJECT_H
