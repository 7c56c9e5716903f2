// inspector.h: the process-wide registry and facade of the object model.
#ifndef VEXIL_INSPECTOR_H
#define VEXIL_INSPECTOR_H

#include "inspectorinterface.h"
#include "object.h"
#include "vexil_export.h"

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>

#include <list>
#include <vector>

namespace Vexil {

class ObjectHierarchyDelegate;
class EventHandlerStore;

/// One installed event handler: for an object, for a class (and its subclasses) or global.
class VEXIL_EXPORT EventAndReceiver
{
public:
    enum Kind { ObjectHandler = 0, ClassHandler = 1, GlobalHandler = 2 };

    EventAndReceiver();
    EventAndReceiver(Kind kind, Object::Ptr receiver, const Class *cls, const QString &className,
                     const QString &event, const QString &handler);

    /// Whether this registration serves \p probe (a registration built from the question asked).
    bool matches(const EventAndReceiver &probe) const;

    Kind kind;
    Object::Ptr receiver;
    mutable const Class *cls;
    QString className;
    QString event;
    QString handler;
};

/// The registry: classes and namespaces by number and name, primitive values, settings, the last error,
/// the top-level hierarchy delegates and event handlers. Created by the first self(); owns its classes and
/// namespaces. With an implementation installed, almost every operation forwards to it.
class VEXIL_EXPORT Inspector : public InspectorInterface
{
public:
    enum PrimitiveTypes { Short = 0, Int, Long, Bool, Char, Double, Int64, Void, Undefined };

    static Inspector *self();
    Inspector();
    ~Inspector() override;

    int numObjects() const override;
    Object::Ptr object(int index) const override;
    Object::Ptr object(const QString &name) const override;
    /// The top-level object of that name; \p which receives the delegate that found it.
    Object::Ptr object(const QString &name, ObjectHierarchyDelegate **which) const;
    ObjectList objects() const override;
    Object::Ptr findObject(const QString &name) override;
    int numClasses() const override;
    const Class *type(int index) const override;
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
    void sendEvent(const Event *event, Object::Ptr object, const ObjectList &args) const override;
    void addPropertyDelegate(const QString &className, const QStringList &declarations) override;
    void setUniqueProperty(const QString &key, const QString &property) override;
    void setExtensionCode(const QString &code, const QString &language) override;
    void setMouseTracking(const QString &key, bool on) override;
    void setRecordMouseDrag(const QString &key, bool on) override;
    void setAllowKeyEventCompression(const QString &key, bool on) override;
    void enableEventCompression(const QString &key, bool on) override;
    void setRecorderFilter(const QString &key, const QString &filter) override;
    void setError(const QString &text) override;
    /// The last error text; reading it clears it (and the unmatched properties).
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
    QVariant call(const QString &name, const FList<QVariant> &args) override;
    QMap<QString, QStringList> unmatchedProperties() const override;

    void setInspectorInterfaceImpl(InspectorInterface *impl);
    InspectorInterface *inspectorInterfaceImpl() const { return m_impl; }

    const Class *globalClass() const;
    Namespace *globalNamespace() const;
    QString extensionCode() const;
    QString extensionLanguage() const;
    QString uniqueProperty(const QString &key) const;
    QStringList uniquePropertyClasses() const;
    bool hasMouseTracking(const QString &key) const;
    bool hasRecordMouseDrag(const QString &key) const;
    bool isKeyEventCompressionAllowed(const QString &key) const;
    bool matchRecordFilter(const QString &key, const QString &value) const;
    void setUnmatchedProperties(const QString &key, const QStringList &properties);
    void addUnmatchedProperty(const QString &key, const QString &property);
    void removeUnmatchedProperties(const QString &key);
    /// Appends a top-level hierarchy delegate, but only once the list exists (after the first enumeration).
    void addTopLevelHierarchyDelegate(ObjectHierarchyDelegate *d);
    /// Builds the top-level hierarchy delegate list from the known toplevel names, once.
    void setupPropertyDelegate() const;
    const std::vector<ObjectHierarchyDelegate *> *topLevelHierarchyDelegates() const { return m_topLevel; }

    QString eventHandler(Object::Ptr object, const QString &event) const;
    QString eventHandler(const Class *cls, const QString &event) const;
    QString eventHandler(const QString &event) const;
    void clearEventHandlers();
    /// Whether a handler for \p event was installed (kept for the wrappers).
    bool hasEventHandlerFor(const QString &event) const { return m_eventHandlerNames.value(event, false); }

    /// Whether findObject keeps the last result; on by default.
    bool lookupCacheEnabled;

    static Inspector *insp;

private:
    Object::Ptr findObjectLocal(const QString &name);

    int m_globalClassIndex;
    int m_globalNamespaceIndex;
    EventHandlerStore *m_handlers;
    mutable std::vector<const Class *> m_classes;
    mutable QHash<QString, const Class *> m_classByName;
    mutable std::vector<Namespace *> m_namespaces;
    mutable QHash<QString, Namespace *> m_namespaceByName;
    mutable std::vector<ObjectHierarchyDelegate *> *m_topLevel;
    InspectorInterface *m_impl;
    Object::Ptr m_voidObject;
    QMap<QString, QString> m_uniqueProperties;
    QMap<QString, bool> m_mouseTracking;
    QMap<QString, bool> m_recordMouseDrag;
    QMap<QString, bool> m_keyEventCompression;
    QMap<QString, bool> m_eventHandlerNames;
    QMap<QString, QStringList> m_recorderFilters;
    Object::Ptr m_cachedObject;
    QString m_cachedName;
    mutable QString m_error;
    QStringList m_uniquePropertyClasses;
    mutable QMap<QString, QStringList> m_unmatchedProperties;
    QString m_extensionCode;
    QString m_extensionLanguage;
    // Every class and namespace ever registered, for deletion: setInspectorInterfaceImpl empties the tables.
    mutable std::vector<const Class *> m_ownedClasses;
    mutable std::vector<Namespace *> m_ownedNamespaces;
};

/// Turns the placeholder code 1 back into "." and a doubled backslash into one.
VEXIL_EXPORT QString unescape2(const QString &s);

} // namespace Vexil

#endif // VEXIL_INSPECTOR_H
