// class.h: classes, interfaces and namespaces.
// object.h includes this header after Object and the members are complete; included on its own, it brings
// object.h in first, before the guard.
#include "object.h"

#ifndef VEXIL_CLASS_H
#define VEXIL_CLASS_H

#include "members.h"
#include "vexil_export.h"

#include <QHash>
#include <QMap>
#include <QString>

#include <vector>

class QDataStream;

namespace Vexil {

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
    enum OffsetType {
        PropertyOffset = 0,
        MethodOffset = 1,
        ConstructorOffset = 2,
        EventOffset = 3,
        EnumOffset = 4
    };

    /// Marks a superclass link that has not been set up yet (the pointer value 1).
    static const Class *const uninitialized;

    Class();
    Class(const char *name, bool registerIt);
    Class(const char *name, Namespace *ns, bool registerIt);
    virtual ~Class();

    // The virtual slots below keep their order: it is the layout wrappers built against. A wrapper
    // usually overrides the create* factories, initSuperClass(), the raw invoke/getProperty/setProperty/
    // construct slots taking void pointers, and wrap()/deleteObjectData() when it owns value data.

    virtual void writeObject(QDataStream &stream) const;
    virtual void readObject(QDataStream &stream);
    /// \p object seen through the interface filed under \p name (addInterface) on this class or an
    /// ancestor: that interface's wrap() of the same data. Null when \p object is not of this class.
    virtual Object::Ptr convertToInterface(Object::Ptr object, const QString &name) const;
    /// The slot a wrapper overrides to run its methods. \p index is the method's global index, \p object
    /// the native data (null for a static call), \p args one data pointer per parameter, already converted
    /// to the parameter types and counted, and \p cls the class serving the object. The base returns null.
    virtual Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const;
    /// Checks the call (verifyMethodInvocation) and hands it to the raw slot above.
    virtual Object::Ptr invoke(Object::Ptr object, const Method *method, void **args) const;
    /// Raw property write, as the raw invoke: \p value is the data of the already converted value.
    virtual bool setProperty(int index, void *object, void *value) const;
    virtual bool setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const;
    /// Raw property read, as the raw invoke; the result is a new object the caller holds.
    virtual Object::Ptr getProperty(int index, void *object, const Class *cls) const;
    virtual Object::Ptr getProperty(Object::Ptr object, const Property *property) const;
    /// Raw constructor \p index with one data pointer per parameter; the base returns null.
    virtual Object::Ptr construct(int index, void **args) const;
    /// A new object of this class on \p data with \p attr; the base makes a plain Object.
    virtual Object::Ptr wrap(void *data, const ObjectAttribute &attr) const;
    /// Frees data an object owns; the base does nothing.
    virtual void deleteObjectData(void *data, const ObjectAttribute &attr) const;
    /// Whether objects of this class can be converted to \p target, in the order given above. \p converter
    /// is an optional out-parameter kept for wrappers that hand back a conversion function; the library
    /// sets it to null and never reads it.
    virtual bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                              void **converter) const;
    /// The converted object, or null where canConvertTo() says no.
    virtual Object::Ptr convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    /// 0 for the same objects; otherwise negative or positive. Asks the comparison delegate first.
    virtual int compare(Object::Ptr a, Object::Ptr b) const;
    /// Asks the comparison delegate first; else the same object or the same non-null data.
    virtual bool sameObjects(Object::Ptr a, Object::Ptr b) const;
    virtual bool canConvertToTolerant(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                      void **converter) const;
    virtual Object::Ptr convertToTolerant(Object::Ptr object, const Class *target,
                                          bool targetIsPointer) const;
    /// The type name scripts should see for \p typeName; the base returns it unchanged.
    virtual QString realType(const QString &typeName) const;
    /// Called on first need of the superclass; an override calls setSuperClass() with its base class. The
    /// base makes the class a root. Non-const: an override declared const would not replace it.
    virtual void initSuperClass();
    /// The factories: build own member \p index (a global index, see the class comment) on first use;
    /// the class owns what they return. Called once per member, in increasing order.
    virtual Constructor *createConstructor(int index) const;
    virtual Method *createMethod(int index) const;
    virtual Property *createProperty(int index) const;
    virtual Event *createEvent(int index) const;
    virtual Enum *createEnum(int index) const;
    virtual bool canCastTo(const Class *target, bool targetIsPointer) const;
    virtual Object::Ptr castTo(Object::Ptr object, const Class *target, bool targetIsPointer) const;
    /// A class's own conversions, the second step of canConvertTo(); the base has none.
    virtual bool canConvertToInternal(const Class *target, bool sourceIsPointer, bool targetIsPointer) const;
    virtual Object::Ptr convertToInternal(Object::Ptr object, const Class *target,
                                          bool targetIsPointer) const;
    /// The object-level property and call slots: they check the access, convert the value or arguments,
    /// honour a declaration's read/write function or method, and then call the raw slots. Override these
    /// instead of the raw ones only to work on objects rather than native data (as GlobalClass does).
    virtual bool setProperty(int index, Object::Ptr object, Object::Ptr value,
                             const Property *property) const;
    virtual Object::Ptr getProperty(int index, Object::Ptr object, const Property *property) const;
    virtual Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                               const Method *method) const;
    virtual Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const;

    void init();
    void registerClass();
    /// Stores the superclass; subclasses call it from initSuperClass().
    void setSuperClass(const Class *superClass);

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

protected:
    /// A class of another program, under that program's fully qualified \p name and \p classId (the numbers
    /// its values travel with); it is not registered with this process's Inspector.
    RemoteClassBase(int contextId, const QByteArray &name, Namespace *ns, int classId);

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

#endif // VEXIL_CLASS_H
