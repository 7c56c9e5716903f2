// members.h: member descriptors (arguments, signatures, methods, constructors, properties, enums, events)
// and the checks made before a call or a property access.
// object.h includes this header after Object is complete; included on its own, it brings object.h in first,
// before the guard, so that the order stays the same.
#include "object.h"

#ifndef VEXIL_MEMBERS_H
#define VEXIL_MEMBERS_H

#include "vexil_export.h"

#include <QPair>
#include <QString>
#include <QVector>

#include <vector>

class QDataStream;

namespace Vexil {

/// A typed slot: parameter, return value or property value.
class VEXIL_EXPORT Argument : public Serializable
{
public:
    Argument();
    Argument(const Class *type, unsigned int flags = 0, int count = 0, const Enum *e = nullptr);
    Argument(const QString &name, const Class *type, unsigned int flags = 0, int count = 0,
             const Enum *e = nullptr);
    Argument(const Class *type, const ObjectAttribute &attribute, const Enum *e = nullptr);
    Argument(const QString &name, const Class *type, const ObjectAttribute &attribute,
             const Enum *e = nullptr);
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
    Method(const Class *owner, const Argument &returnArgument, const QString &name,
           const Signature &signature, bool isStatic, int index);
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
    Property(const PropertyDeclaration *declaration, const Class *cls, int index,
             bool ownsDeclaration = false);
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
VEXIL_EXPORT bool verifyMethodArgumentCount(const QString &className, const Method *method,
                                            const ObjectList &args);
VEXIL_EXPORT bool verifyPropertyAccess(Object::Ptr object, const Property *property);
/// Checks before a property is written: a property at all, an object unless static, writable; a failure is
/// reported on stderr and gives false.
VEXIL_EXPORT bool verifyPropertyWrite(Object::Ptr object, const Property *property);
/// Whether two arguments count as the same for an injected method.
VEXIL_EXPORT bool vexilidl_compare_args(const Argument &a, const Argument &b);

} // namespace Vexil

#endif // VEXIL_MEMBERS_H
