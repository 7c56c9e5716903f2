// remoteinspector.h: the forwarding model of a runner: an InspectorInterface whose objects live in a program
// under the agent, reached through a Connection.
#ifndef VEXIL_REMOTEINSPECTOR_H
#define VEXIL_REMOTEINSPECTOR_H

#include "inspectorinterface.h"
#include "vexil_remote_export.h"

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace Vexil {
namespace Remote {

class Connection;
class RemoteInspectorPrivate;

/// What the agent says about one of its objects (Describe): its class, real name and symbolic name (empty
/// when the object map has none for it).
struct VEXIL_REMOTE_EXPORT ObjectNames
{
    QString className;
    QString realName;
    QString symbolicName;
};

/// One script line in one round trip: locate \p name (or use \p target), optionally wait for it, act, then
/// read \p properties of the object.
struct VEXIL_REMOTE_EXPORT StepRequest
{
    enum Action { NoAction = 0, InvokeMethod, SetProperty, CallFunction };

    QString name;
    Object::Ptr target; // used instead of the name when set
    int waitMs = -1; // negative: do not wait for the object
    Action action = NoAction;
    QString member; // the method, property or global function
    ObjectList arguments; // CallFunction gets the object in front of these
    QStringList properties;
};

struct VEXIL_REMOTE_EXPORT StepAnswer
{
    Object::Ptr object;
    Object::Ptr result;
    ObjectList values; // one per property asked for, in order
    bool completed = true; // false: the action opened a nested event loop (a modal dialog) and goes on
};

/// Stands in for the Inspector of the program at the other end of \p connection. Install it with
/// Inspector::self()->setInspectorInterfaceImpl(); from then on lookups return objects whose classes (built
/// from the agent's class descriptions on first use) call, read and write in that program. The primitive and
/// value classes, the global class and their namespaces stay the local ones, under their usual numbers.
/// Failures leave the program's text as lastError(); a program that died reports how it ended.
/// The connection must outlive this object; objects still held when it is destroyed become invalidated.
class VEXIL_REMOTE_EXPORT RemoteInspector : public InspectorInterface
{
public:
    explicit RemoteInspector(Connection &connection);
    /// Uninstalls itself when it is the Inspector's implementation.
    ~RemoteInspector() override;

    /// The application context of this program's classes and objects (RemoteClassBase, RemoteObjectBase).
    unsigned int contextId() const;
    Connection &connection() const;
    /// Time a request may take before it fails with a time-out error; 30 s by default.
    void setTimeout(int ms);
    int timeout() const;

    int numObjects() const override;
    Object::Ptr object(int index) const override;
    Object::Ptr object(const QString &name) const override;
    ObjectList objects() const override;
    Object::Ptr findObject(const QString &name) override;
    int numClasses() const override;
    const Class *type(int index) const override;
    /// A local class by name, else the program's class of that name (described once, then kept); null when
    /// neither knows it.
    const Class *type(const QString &name) const override;
    int registerClass(const Class *cls) const override;
    int numNamespaces() const override;
    Namespace *nameSpace(int index) const override;
    Namespace *nameSpace(const QString &name) const override;
    Namespace *nameSpaceFromFullyQualifiedName(const QString &name) const override;
    int registerNamespace(Namespace *ns) const override;
    Object::Ptr createPrimitive(int value) override;
    Object::Ptr createPrimitive(long long value) override;
    Object::Ptr createPrimitive(long value) override;
    Object::Ptr createPrimitive(bool value) override;
    Object::Ptr createPrimitive(double value) override;
    Object::Ptr createPrimitive(const char *value) override;
    Object::Ptr createPrimitive(const QStringList &value) override;
    Object::Ptr createNull(const Class *cls) const override;
    Object::Ptr voidObject() const override;
    void addPropertyDelegate(const QString &className, const QStringList &declarations) override;
    void setUniqueProperty(const QString &key, const QString &property) override;
    void setExtensionCode(const QString &code, const QString &language) override;
    void setMouseTracking(const QString &key, bool on) override;
    void setRecordMouseDrag(const QString &key, bool on) override;
    void setAllowKeyEventCompression(const QString &key, bool on) override;
    void enableEventCompression(const QString &key, bool on) override;
    void setRecorderFilter(const QString &key, const QString &filter) override;
    void setError(const QString &text) override;
    /// The last error text; reading it clears it.
    QString lastError() const override;
    bool installObjectEventHandler(Object::Ptr object, const QString &event, const QString &handler) override;
    bool uninstallObjectEventHandler(Object::Ptr object, const QString &event,
                                     const QString &handler) override;
    bool installClassEventHandler(const QString &className, const QString &event,
                                  const QString &handler) override;
    bool uninstallClassEventHandler(const QString &className, const QString &event,
                                    const QString &handler) override;
    bool installGlobalEventHandler(const QString &event, const QString &handler) override;
    bool uninstallGlobalEventHandler(const QString &event, const QString &handler) override;
    /// Calls the program's global function \p name. Arguments and result are plain values (numbers, texts,
    /// lists, maps, QPoint, QRect, QDateTime) or objects as QVariant::fromValue(Object::Ptr); an invalid
    /// QVariant on failure, with lastError() saying why.
    QVariant call(const QString &name, const FList<QVariant> &args) override;
    QMap<QString, QStringList> unmatchedProperties() const override;

    /// Like findObject, but waits up to \p waitMs for the object to exist, be visible and enabled.
    Object::Ptr waitForObject(const QString &name, int waitMs);
    /// Waits up to \p waitMs until \p property of \p object equals \p expected (compared as values, or as
    /// texts); the value reached, or null with lastError() saying what it was instead.
    Object::Ptr waitForProperty(const Object::Ptr &object, const QString &property, const QVariant &expected,
                                int waitMs);
    /// Runs one step in one round trip; false with lastError() set when any of it fails.
    bool step(const StepRequest &request, StepAnswer *answer);
    /// The class, real and symbolic names of a remote object; false with lastError() set otherwise.
    bool describe(const Object::Ptr &object, ObjectNames *names);
    /// The symbolic name of a remote object when the map has one, else its real name; empty on failure.
    QString displayName(const Object::Ptr &object);
    /// Turns recording on or off. Records pushed meanwhile reach the local Inspector's event-notify delegate;
    /// turning it off hands all of them to \p records (maps with text, type, object, name and data).
    bool setRecording(bool on, QVariantList *records = nullptr);

    /// The program's object map: load or save a file, translate names, add an entry, list symbolic names.
    bool loadObjectMap(const QString &file);
    bool saveObjectMap(const QString &file);
    QString realName(const QString &symbolicName);
    QString symbolicName(const QString &realName);
    bool addObjectMapEntry(const QString &symbolicName, const QString &realName);
    QStringList symbolicNames();

    /// The agent's handle of a remote object of any context; 0 for anything else.
    static quint64 handleOf(const Object::Ptr &object);

private:
    RemoteInspector(const RemoteInspector &) = delete;
    RemoteInspector &operator=(const RemoteInspector &) = delete;

    std::unique_ptr<RemoteInspectorPrivate> d;
};

} // namespace Remote
} // namespace Vexil

Q_DECLARE_METATYPE(Vexil::Object::Ptr)

#endif // VEXIL_REMOTEINSPECTOR_H
