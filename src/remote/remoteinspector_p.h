// remoteinspector_p.h: internals of the forwarding model: remote classes and objects, the value mapping and
// the request path. Not installed.
#ifndef VEXIL_REMOTEINSPECTOR_P_H
#define VEXIL_REMOTEINSPECTOR_P_H

#include "remoteconnection.h"
#include "remoteinspector.h"

#include "object.h"
#include "wirevalues.h"

#include <QByteArray>
#include <QHash>
#include <QPair>
#include <QVector>

#include <functional>
#include <memory>
#include <vector>

class QDataStream;

namespace Vexil {
namespace Remote {

class RemoteInspectorPrivate;

/// A class as the agent's ClassInfo describes it: own members only, the superclass by name.
struct ClassDescription
{
    struct MethodInfo
    {
        QString name;
        QString returnType;
        bool isStatic = false;
        QStringList parameterTypes;
        QStringList parameterNames;
    };
    struct PropertyInfo
    {
        QString name;
        QString type;
        bool readable = false;
        bool writable = false;
        bool isStatic = false;
    };
    struct EnumInfo
    {
        QString name;
        bool isMask = false;
        QVector<QPair<QString, int>> items;
    };

    QString name; // fully qualified, as the program's wire values name it
    QString superClass; // empty for a root class
    QVector<MethodInfo> methods;
    QVector<PropertyInfo> properties;
    QVector<EnumInfo> enums;

    /// Reads a ClassInfo answer; false when it does not read completely.
    bool read(QDataStream &in);
};

/// A class of the program: members made on first use from its description, calls and property accesses
/// sent to the agent. Numbering follows the model's rule, own members after the superclass's.
class RemoteClass : public RemoteClassBase
{
public:
    RemoteClass(RemoteInspectorPrivate *owner, const ClassDescription &description, int classId,
                Namespace *ns);
    ~RemoteClass() override;

    void initSuperClass() override;
    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
    Enum *createEnum(int index) const override;

    using Class::invoke;
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;
    using Class::getProperty;
    Object::Ptr getProperty(int index, Object::Ptr object, const Property *property) const override;
    using Class::setProperty;
    bool setProperty(int index, Object::Ptr object, Object::Ptr value,
                     const Property *property) const override;
    bool sameObjects(Object::Ptr a, Object::Ptr b) const override;
    int compare(Object::Ptr a, Object::Ptr b) const override;

    void detach() { m_owner = nullptr; }

private:
    const Class *typeNamed(const QString &name) const;

    RemoteInspectorPrivate *m_owner;
    ClassDescription m_description;
};

/// An object of the program, known by the agent's handle. One instance per handle while it is held.
class RemoteObject : public RemoteObjectBase
{
public:
    RemoteObject(const Class *cls, RemoteInspectorPrivate *owner, quint64 handle);
    ~RemoteObject() override;

    // A remote object has no local data: it is null only once invalidated.
    bool isNull() const override { return isInvalidated(); }
    int numChildren() const override;
    Ptr child(int index) const override;
    ObjectList children() const override;
    Ptr parent() const override;

    quint64 handle() const { return m_handle; }
    RemoteInspectorPrivate *owner() const { return m_owner; }
    void detach() { m_owner = nullptr; }

private:
    RemoteInspectorPrivate *m_owner;
    quint64 m_handle;
};

class RemoteInspectorPrivate : public Protocol::ObjectCodec
{
public:
    RemoteInspectorPrivate(RemoteInspector *q, Connection &connection);
    ~RemoteInspectorPrivate();

    /// Sends one request; on failure the error text becomes lastError() and false is returned.
    bool request(quint16 kind, const std::function<void(QDataStream &)> &writeBody, QByteArray *answer);
    /// The same, and reads the answer with \p readAnswer; a short or overlong answer is an error too.
    bool exchange(quint16 kind, const std::function<void(QDataStream &)> &writeBody,
                  const std::function<void(QDataStream &)> &readAnswer);

    /// Wire value to local object: values become local value objects, references remote objects.
    Object::Ptr toLocal(const QVariant &value);
    /// Local object to wire value; false with lastError() set for an object the program cannot take.
    bool toWire(const Object::Ptr &object, QVariant *value);
    bool toWire(const ObjectList &objects, QVariantList *values);
    bool isReference(const Object::Ptr &object) const override;
    bool referenceFor(const Object::Ptr &object, QVariant *value, QString *error) override;
    Object::Ptr objectFor(const Protocol::ObjectRef &ref, QString *error) override;
    /// For call(): plain QVariants pass as they are, objects (QVariant of Object::Ptr) become references.
    bool variantToWire(const QVariant &value, QVariant *wire);
    QVariant variantFromWire(const QVariant &value);

    /// The remote class of that (fully qualified) name, described on first need; null when unknown.
    const Class *remoteClass(const QString &name);
    Object::Ptr remoteObject(quint64 handle, const QString &className);
    void forget(RemoteObject *object);
    /// The handle of \p object when it belongs to this program; 0 with lastError() set otherwise.
    quint64 handleFor(const Object::Ptr &object, const QString &what);

    Object::Ptr invoke(quint64 handle, const QString &method, int overload, const ObjectList &args);
    Object::Ptr getProperty(quint64 handle, const QString &property);
    bool setProperty(quint64 handle, const QString &property, const Object::Ptr &value);
    ObjectList children(quint64 handle);
    Object::Ptr parent(quint64 handle);
    QVariant setting(const QString &operation, const QVariantList &args, bool *ok = nullptr);
    QStringList objectMap(const QString &operation, const QStringList &args, bool *ok);

    void setError(const QString &text) { error = text; }

    RemoteInspector *q;
    Connection &connection;
    unsigned int contextId;
    int timeoutMs = 30000;
    QString error;

    std::vector<const Class *> classes; // local ones under their numbers, then the program's
    QHash<QString, const Class *> classByName;
    std::vector<RemoteClass *> ownedClasses;
    std::vector<Namespace *> namespaces;
    QHash<QString, Namespace *> namespaceByName;
    std::unique_ptr<Namespace> remoteRoot; // holds the program's classes, apart from the local tree
    Object::Ptr voidObject;

    QHash<quint64, RemoteObject *> objects; // live remote objects, not owned
    QVector<quint64> releasable; // handles no object holds any more

    // Pushes are applied after the request they came with, never in the middle of building a class.
    std::vector<QPair<quint16, QByteArray>> pushes;
    int building = 0;
    bool recording = false;

private:
    void applyPushes();
    void releaseHandles();
    std::function<void(quint16, const QByteArray &)> m_previousOnPush;
};

} // namespace Remote
} // namespace Vexil

#endif // VEXIL_REMOTEINSPECTOR_P_H
