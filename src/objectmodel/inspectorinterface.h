// inspectorinterface.h: the abstract interface of the Inspector, which a remote implementation can stand in for.
#ifndef VEXIL_INSPECTORINTERFACE_H
#define VEXIL_INSPECTORINTERFACE_H

#include "object.h"
#include "vexil_export.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

namespace Vexil {

class EventData;
class EventNotifyDelegate;
class SendEventDelegate;

/// What scripts and wrappers ask of the model. Inspector implements it locally; a process that does not host
/// the application installs another implementation (Inspector::setInspectorInterfaceImpl) that forwards.
class VEXIL_EXPORT InspectorInterface
{
public:
    InspectorInterface();
    virtual ~InspectorInterface();

    virtual int numObjects() const = 0;
    virtual Object::Ptr object(int index) const = 0;
    virtual Object::Ptr object(const QString &name) const = 0;
    virtual ObjectList objects() const = 0;
    virtual Object::Ptr findObject(const QString &name) = 0;
    virtual int numClasses() const = 0;
    virtual const Class *type(int index) const = 0;
    virtual const Class *type(const QString &name) const = 0;
    virtual int registerClass(const Class *cls) const = 0;
    virtual int numNamespaces() const = 0;
    virtual Namespace *nameSpace(int index) const = 0;
    virtual Namespace *nameSpace(const QString &name) const = 0;
    virtual Namespace *nameSpaceFromFullyQualifiedName(const QString &name) const = 0;
    virtual int registerNamespace(Namespace *ns) const = 0;
    virtual Object::Ptr createPrimitive(int value) = 0;
    virtual Object::Ptr createPrimitive(long long value) = 0;
    virtual Object::Ptr createPrimitive(long value) = 0;
    virtual Object::Ptr createPrimitive(bool value) = 0;
    virtual Object::Ptr createPrimitive(double value) = 0;
    virtual Object::Ptr createPrimitive(const char *value) = 0;
    virtual Object::Ptr createPrimitive(const QStringList &value) = 0;
    virtual Object::Ptr createNull(const Class *cls) const = 0;
    virtual Object::Ptr voidObject() const = 0;
    /// Offers the event to the send-event delegates in order until one handles it.
    virtual void sendEvent(const Event *event, Object::Ptr object, const ObjectList &args) const;
    virtual void addPropertyDelegate(const QString &className, const QStringList &declarations) = 0;
    virtual void setUniqueProperty(const QString &key, const QString &property) = 0;
    virtual void setExtensionCode(const QString &code, const QString &language) = 0;
    virtual void setMouseTracking(const QString &key, bool on) = 0;
    virtual void setRecordMouseDrag(const QString &key, bool on) = 0;
    virtual void setAllowKeyEventCompression(const QString &key, bool on) = 0;
    virtual void enableEventCompression(const QString &key, bool on) = 0;
    virtual void setRecorderFilter(const QString &key, const QString &filter) = 0;
    virtual void setError(const QString &text) = 0;
    virtual QString lastError() const = 0;
    virtual bool installObjectEventHandler(Object::Ptr object, const QString &event,
                                           const QString &handler) = 0;
    virtual bool uninstallObjectEventHandler(Object::Ptr object, const QString &event,
                                             const QString &handler) = 0;
    virtual bool installClassEventHandler(const QString &className, const QString &event,
                                          const QString &handler) = 0;
    virtual bool uninstallClassEventHandler(const QString &className, const QString &event,
                                            const QString &handler) = 0;
    virtual bool installGlobalEventHandler(const QString &event, const QString &handler) = 0;
    virtual bool uninstallGlobalEventHandler(const QString &event, const QString &handler) = 0;
    virtual QVariant call(const QString &name, const FList<QVariant> &args) = 0;
    virtual QMap<QString, QStringList> unmatchedProperties() const = 0;

    /// Hands the record to the event-notify delegate, if one is installed.
    void recordEvent(const EventData &eventData) const;
    void addSendEventDelegate(SendEventDelegate *d);
    /// Forgets \p d; a send-event delegate calls it when destroyed, so the list never holds a dangling pointer.
    void removeSendEventDelegate(SendEventDelegate *d);
    /// An enum by name: "Class::Enum" asks that class, a bare name asks the global class.
    const Enum *enumerator(const QString &name) const;

    /// Set only by code outside this library: with a notify delegate installed, failed lookups stay silent.
    bool silentLookups : 1;

    EventNotifyDelegate *eventNotifyDelegate() const { return m_eventNotifyDelegate; }
    void setEventNotifyDelegate(EventNotifyDelegate *d) { m_eventNotifyDelegate = d; }

protected:
    std::vector<SendEventDelegate *> *m_sendEventDelegates;
    EventNotifyDelegate *m_eventNotifyDelegate;

private:
    InspectorInterface(const InspectorInterface &) = delete;
    InspectorInterface &operator=(const InspectorInterface &) = delete;
};

} // namespace Vexil

#endif // VEXIL_INSPECTORINTERFACE_H
