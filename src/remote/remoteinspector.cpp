// remoteinspector.cpp: the forwarding InspectorInterface of a runner, and its request path.
#include "remoteinspector_p.h"

#include "protocol.h"

#include "eventdata.h"
#include "inspector.h"

#include <QDataStream>

namespace Vexil {
namespace Remote {

namespace {

const char *const NoConnectionText =
    "Cannot make remote calls right now. Make sure your application is running and hooked by Vexil.";

// The classes the Inspector registers itself: primitives 0..8, the global class, array, map, gesture builder,
// screen point, screen rectangle, date/time. They keep their numbers in the runner.
constexpr int LocalClassCount = 16;
// Releasing handles costs a round trip; gather them.
constexpr int ReleaseBatch = 32;

struct LocalTables
{
    std::vector<const Class *> classes;
    Namespace *global = nullptr;
    Namespace *uiTypes = nullptr;
    Object::Ptr voidObject;
};

// Taken once, from whoever answers for the Inspector then: installing an implementation empties the local
// tables, so a later runner could not find them there any more.
const LocalTables &localTables()
{
    static LocalTables *s_tables = nullptr;
    if (!s_tables) {
        s_tables = new LocalTables;
        Inspector *insp = Inspector::self();
        for (int i = 0; i < LocalClassCount; ++i)
            s_tables->classes.push_back(insp->type(i));
        s_tables->global = insp->nameSpace(0);
        s_tables->uiTypes = insp->nameSpace(QStringLiteral("UiTypes"));
        s_tables->voidObject = insp->voidObject();
    }
    return *s_tables;
}

unsigned int nextContextId()
{
    static unsigned int s_next = 0;
    return ++s_next;
}

template <class T>
Object::Ptr ownedPrimitive(const Class *cls, T value)
{
    if (!cls)
        return Object::Ptr();
    T *copy = new T(value);
    Object::Ptr obj = cls->wrap(copy, ObjectAttribute(0, 0));
    if (!obj) {
        delete copy;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

} // namespace

// The private side

RemoteInspectorPrivate::RemoteInspectorPrivate(RemoteInspector *q, Connection &connection)
    : q(q)
    , connection(connection)
    , contextId(nextContextId())
    , remoteRoot(new Namespace())
{
    const LocalTables &local = localTables();
    classes = local.classes;
    for (const Class *c : classes) {
        if (!c)
            continue;
        classByName.insert(QString::fromLatin1(c->name()), c);
        classByName.insert(c->fullyQualifiedClassName(), c);
    }
    namespaces = { local.global, local.uiTypes };
    if (local.global)
        namespaceByName.insert(local.global->name(), local.global);
    if (local.uiTypes)
        namespaceByName.insert(local.uiTypes->name(), local.uiTypes);
    voidObject = local.voidObject;

    m_previousOnPush = connection.onPush;
    connection.onPush = [this](quint16 kind, const QByteArray &body) {
        pushes.emplace_back(kind, body);
        if (m_previousOnPush)
            m_previousOnPush(kind, body);
    };
}

RemoteInspectorPrivate::~RemoteInspectorPrivate()
{
    connection.onPush = m_previousOnPush;
    // Objects a caller still holds outlive their classes: they become invalidated objects of class Dead.
    for (RemoteObject *o : objects) {
        o->detach();
        o->invalidate();
    }
    objects.clear();
    for (RemoteClass *c : ownedClasses)
        delete c;
}

bool RemoteInspectorPrivate::request(quint16 kind, const std::function<void(QDataStream &)> &writeBody,
                                     QByteArray *answer)
{
    if (!connection.isOpen()) {
        // A launcher's onLost knows how the program ended; without one there is nobody to ask.
        Error e;
        e.code = Protocol::NotConnected;
        e.text = QString::fromLatin1(NoConnectionText);
        if (connection.onLost)
            connection.onLost(&e);
        error = e.text;
        return false;
    }
    if (releasable.size() >= ReleaseBatch)
        releaseHandles();
    QByteArray body;
    {
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        writeBody(out);
    }
    Error e;
    const bool ok = connection.request(kind, body, answer, &e, timeoutMs);
    if (!ok)
        error = e.text;
    applyPushes();
    return ok;
}

bool RemoteInspectorPrivate::exchange(quint16 kind, const std::function<void(QDataStream &)> &writeBody,
                                      const std::function<void(QDataStream &)> &readAnswer)
{
    QByteArray answer;
    if (!request(kind, writeBody, &answer))
        return false;
    QDataStream in(answer);
    Protocol::setUp(in);
    readAnswer(in);
    if (!Protocol::readAll(in)) {
        error = QStringLiteral("The application's answer to request %1 did not read").arg(kind);
        return false;
    }
    return true;
}

void RemoteInspectorPrivate::releaseHandles()
{
    QByteArray body, answer;
    {
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        out << quint32(releasable.size());
        for (quint64 h : qAsConst(releasable))
            out << h;
    }
    releasable.clear();
    Error ignored;
    connection.request(Protocol::Release, body, &answer, &ignored, timeoutMs);
}

void RemoteInspectorPrivate::applyPushes()
{
    if (building > 0)
        return;
    while (!pushes.empty()) {
        std::vector<QPair<quint16, QByteArray>> batch;
        batch.swap(pushes);
        for (const auto &push : batch) {
            QDataStream in(push.second);
            Protocol::setUp(in);
            if (push.first == Protocol::Invalidated) {
                quint64 handle = 0;
                in >> handle;
                RemoteObject *o = objects.value(handle);
                if (o && !o->isInvalidated())
                    o->invalidate();
            } else if (push.first == Protocol::RecordPush) {
                QVariant record;
                if (!Protocol::readValue(in, &record))
                    continue;
                const QByteArray data = record.toMap().value(QStringLiteral("data")).toByteArray();
                QDataStream recordStream(data);
                EventData eventData;
                eventData.readObject(recordStream);
                if (recordStream.status() == QDataStream::Ok)
                    Inspector::self()->recordEvent(eventData);
            }
        }
    }
}

const Class *RemoteInspectorPrivate::remoteClass(const QString &name)
{
    QString key = name;
    if (key.endsWith(QLatin1Char('*')) || key.endsWith(QLatin1Char('&')))
        key.chop(1);
    if (const Class *known = classByName.value(key))
        return known;
    if (key.isEmpty())
        return nullptr;
    // Asking is not failing: a class the program does not know leaves the caller's error as it was.
    const QString kept = error;
    ClassDescription description;
    bool described = false;
    const bool ok = exchange(
        Protocol::ClassInfo, [&](QDataStream &out) { out << key; },
        [&](QDataStream &in) { described = description.read(in); });
    error = kept;
    if (!ok || !described)
        return nullptr;
    if (const Class *known = classByName.value(description.name)) {
        classByName.insert(key, known);
        return known;
    }
    auto *cls = new RemoteClass(this, description, int(classes.size()), remoteRoot.get());
    classes.push_back(cls);
    ownedClasses.push_back(cls);
    classByName.insert(description.name, cls);
    classByName.insert(key, cls);
    return cls;
}

Object::Ptr RemoteInspectorPrivate::remoteObject(quint64 handle, const QString &className)
{
    if (RemoteObject *known = objects.value(handle))
        return Object::Ptr(known);
    releasable.removeAll(handle);
    const Class *cls = remoteClass(className);
    if (!cls) {
        // Still an object the program knows: give it a class without members rather than lose it.
        ClassDescription bare;
        bare.name = className;
        auto *made = new RemoteClass(this, bare, int(classes.size()), remoteRoot.get());
        classes.push_back(made);
        ownedClasses.push_back(made);
        classByName.insert(className, made);
        cls = made;
    }
    auto *object = new RemoteObject(cls, this, handle);
    objects.insert(handle, object);
    return Object::Ptr(object);
}

void RemoteInspectorPrivate::forget(RemoteObject *object)
{
    const auto it = objects.find(object->handle());
    if (it != objects.end() && it.value() == object)
        objects.erase(it);
    if (!object->isInvalidated())
        releasable.append(object->handle());
}

quint64 RemoteInspectorPrivate::handleFor(const Object::Ptr &object, const QString &what)
{
    const auto *remote = dynamic_cast<const RemoteObject *>(object.get());
    if (!remote) {
        error = QStringLiteral("Cannot reach %1 without an object of the application").arg(what);
        return 0;
    }
    if (remote->owner() != this) {
        error = QStringLiteral("The object belongs to another application");
        return 0;
    }
    return remote->handle();
}

Object::Ptr RemoteInspectorPrivate::invoke(quint64 handle, const QString &method, int overload,
                                           const ObjectList &args)
{
    QVariantList values;
    if (!toWire(args, &values))
        return Object::Ptr();
    QVariant result;
    bool completed = true;
    const bool ok = exchange(
        Protocol::Invoke,
        [&](QDataStream &out) {
            out << handle << method << qint32(overload);
            Protocol::writeValueList(out, values);
        },
        [&](QDataStream &in) {
            Protocol::readValue(in, &result);
            in >> completed;
        });
    return ok ? toLocal(result) : Object::Ptr();
}

Object::Ptr RemoteInspectorPrivate::getProperty(quint64 handle, const QString &property)
{
    QVariant value;
    const bool ok = exchange(
        Protocol::GetProperty, [&](QDataStream &out) { out << handle << property; },
        [&](QDataStream &in) { Protocol::readValue(in, &value); });
    return ok ? toLocal(value) : Object::Ptr();
}

bool RemoteInspectorPrivate::setProperty(quint64 handle, const QString &property, const Object::Ptr &value)
{
    QVariant wire;
    if (!toWire(value, &wire))
        return false;
    return exchange(
        Protocol::SetProperty,
        [&](QDataStream &out) {
            out << handle << property;
            Protocol::writeValue(out, wire);
        },
        [](QDataStream &) {});
}

ObjectList RemoteInspectorPrivate::children(quint64 handle)
{
    QVariantList values;
    ObjectList result;
    if (exchange(
            Protocol::Children, [&](QDataStream &out) { out << handle; },
            [&](QDataStream &in) { Protocol::readValueList(in, &values); })) {
        for (const QVariant &v : qAsConst(values))
            result.push_back(toLocal(v));
    }
    return result;
}

Object::Ptr RemoteInspectorPrivate::parent(quint64 handle)
{
    QVariant value;
    if (!exchange(
            Protocol::Parent, [&](QDataStream &out) { out << handle; },
            [&](QDataStream &in) { Protocol::readValue(in, &value); }))
        return Object::Ptr();
    return value.isValid() ? toLocal(value) : Object::Ptr();
}

QVariant RemoteInspectorPrivate::setting(const QString &operation, const QVariantList &args, bool *ok)
{
    QVariant result;
    const bool done = exchange(
        Protocol::Setting,
        [&](QDataStream &out) {
            out << operation;
            Protocol::writeValueList(out, args);
        },
        [&](QDataStream &in) { Protocol::readValue(in, &result); });
    if (ok)
        *ok = done;
    return result;
}

QStringList RemoteInspectorPrivate::objectMap(const QString &operation, const QStringList &args, bool *ok)
{
    QStringList result;
    *ok = exchange(
        Protocol::ObjectMapOp, [&](QDataStream &out) { out << operation << args; },
        [&](QDataStream &in) { in >> result; });
    return result;
}

// The interface

RemoteInspector::RemoteInspector(Connection &connection)
    : d(new RemoteInspectorPrivate(this, connection))
{
}

RemoteInspector::~RemoteInspector()
{
    if (Inspector::insp && Inspector::insp->inspectorInterfaceImpl() == this)
        Inspector::insp->setInspectorInterfaceImpl(nullptr);
}

unsigned int RemoteInspector::contextId() const
{
    return d->contextId;
}

Connection &RemoteInspector::connection() const
{
    return d->connection;
}

void RemoteInspector::setTimeout(int ms)
{
    d->timeoutMs = ms;
}

int RemoteInspector::timeout() const
{
    return d->timeoutMs;
}

int RemoteInspector::numObjects() const
{
    return int(objects().size());
}

Object::Ptr RemoteInspector::object(int index) const
{
    const ObjectList all = objects();
    return index >= 0 && size_t(index) < all.size() ? all[size_t(index)] : Object::Ptr();
}

Object::Ptr RemoteInspector::object(const QString &name) const
{
    QVariant value;
    if (!d->exchange(
            Protocol::Find, [&](QDataStream &out) { out << name << qint32(-1); },
            [&](QDataStream &in) { Protocol::readValue(in, &value); }))
        return Object::Ptr();
    return d->toLocal(value);
}

ObjectList RemoteInspector::objects() const
{
    return d->children(0);
}

Object::Ptr RemoteInspector::findObject(const QString &name)
{
    return waitForObject(name, -1);
}

Object::Ptr RemoteInspector::waitForObject(const QString &name, int waitMs)
{
    QVariant value;
    const int kept = d->timeoutMs;
    // The wait is the program's; the request only has to outlast it.
    if (waitMs >= 0)
        d->timeoutMs = qMax(kept, waitMs + 5000);
    const bool ok = d->exchange(
        Protocol::Find, [&](QDataStream &out) { out << name << qint32(waitMs); },
        [&](QDataStream &in) { Protocol::readValue(in, &value); });
    d->timeoutMs = kept;
    return ok ? d->toLocal(value) : Object::Ptr();
}

Object::Ptr RemoteInspector::waitForProperty(const Object::Ptr &object, const QString &property,
                                             const QVariant &expected, int waitMs)
{
    const quint64 handle = d->handleFor(object, QStringLiteral("a wait"));
    if (!handle)
        return Object::Ptr();
    QVariant value;
    const int kept = d->timeoutMs;
    d->timeoutMs = qMax(kept, waitMs + 5000);
    const bool ok = d->exchange(
        Protocol::WaitForProperty,
        [&](QDataStream &out) {
            out << handle << property;
            Protocol::writeValue(out, expected);
            out << qint32(waitMs);
        },
        [&](QDataStream &in) { Protocol::readValue(in, &value); });
    d->timeoutMs = kept;
    return ok ? d->toLocal(value) : Object::Ptr();
}

int RemoteInspector::numClasses() const
{
    return int(d->classes.size());
}

const Class *RemoteInspector::type(int index) const
{
    return index >= 0 && size_t(index) < d->classes.size() ? d->classes[size_t(index)] : nullptr;
}

const Class *RemoteInspector::type(const QString &name) const
{
    return d->remoteClass(name);
}

int RemoteInspector::registerClass(const Class *cls) const
{
    // Classes made in the runner while we answer are listed but not owned: their maker keeps them.
    if (!cls)
        return -1;
    d->classes.push_back(cls);
    d->classByName.insert(QString::fromLatin1(cls->name()), cls);
    return int(d->classes.size()) - 1;
}

int RemoteInspector::numNamespaces() const
{
    return int(d->namespaces.size());
}

Namespace *RemoteInspector::nameSpace(int index) const
{
    return index >= 0 && size_t(index) < d->namespaces.size() ? d->namespaces[size_t(index)] : nullptr;
}

Namespace *RemoteInspector::nameSpace(const QString &name) const
{
    return d->namespaceByName.value(name, nullptr);
}

Namespace *RemoteInspector::nameSpaceFromFullyQualifiedName(const QString &name) const
{
    if (name.isEmpty())
        return nullptr;
    Namespace *ns = nameSpace(0);
    const QStringList segments = name.split(QStringLiteral("::"));
    for (int i = 0; ns && i < segments.size() - 1; ++i)
        ns = ns->getNamespace(segments.at(i));
    return ns ? ns->getNamespace(segments.last()) : nullptr;
}

int RemoteInspector::registerNamespace(Namespace *ns) const
{
    if (!ns)
        return -1;
    d->namespaces.push_back(ns);
    d->namespaceByName.insert(ns->name(), ns);
    return int(d->namespaces.size()) - 1;
}

Object::Ptr RemoteInspector::createPrimitive(int value)
{
    return ownedPrimitive(type(Inspector::Int), value);
}

Object::Ptr RemoteInspector::createPrimitive(long long value)
{
    return ownedPrimitive(type(Inspector::Int64), value);
}

Object::Ptr RemoteInspector::createPrimitive(long value)
{
    return ownedPrimitive(type(Inspector::Long), value);
}

Object::Ptr RemoteInspector::createPrimitive(bool value)
{
    return ownedPrimitive(type(Inspector::Bool), value);
}

Object::Ptr RemoteInspector::createPrimitive(double value)
{
    return ownedPrimitive(type(Inspector::Double), value);
}

Object::Ptr RemoteInspector::createPrimitive(const char *value)
{
    const Class *cls = type(Inspector::Char);
    if (!cls)
        return Object::Ptr();
    char *copy = qstrdup(value ? value : "");
    Object::Ptr obj = cls->wrap(copy, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!obj) {
        delete[] copy;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

Object::Ptr RemoteInspector::createPrimitive(const QStringList &value)
{
    const Class *cls = type(Inspector::Char);
    if (!cls)
        return Object::Ptr();
    const int n = value.size();
    char **texts = new char *[size_t(n > 0 ? n : 1)];
    for (int i = 0; i < n; ++i)
        texts[i] = qstrdup(value.at(i).toUtf8().constData());
    if (n == 0)
        texts[0] = nullptr;
    Object::Ptr obj = cls->wrap(texts, ObjectAttribute(ObjectAttribute::Pointer | ObjectAttribute::Array, n));
    if (!obj) {
        for (int i = 0; i < n; ++i)
            delete[] texts[i];
        delete[] texts;
        return obj;
    }
    obj->ownsData = true;
    return obj;
}

Object::Ptr RemoteInspector::createNull(const Class *cls) const
{
    return Object::Ptr(new Object(nullptr, cls, ObjectAttribute(ObjectAttribute::Pointer, 0)));
}

Object::Ptr RemoteInspector::voidObject() const
{
    return d->voidObject;
}

void RemoteInspector::addPropertyDelegate(const QString &className, const QStringList &declarations)
{
    d->setting(QStringLiteral("addPropertyDelegate"), { className, declarations });
}

void RemoteInspector::setUniqueProperty(const QString &key, const QString &property)
{
    d->setting(QStringLiteral("setUniqueProperty"), { key, property });
}

void RemoteInspector::setExtensionCode(const QString &code, const QString &language)
{
    d->setting(QStringLiteral("setExtensionCode"), { code, language });
}

void RemoteInspector::setMouseTracking(const QString &key, bool on)
{
    d->setting(QStringLiteral("setMouseTracking"), { key, on });
}

void RemoteInspector::setRecordMouseDrag(const QString &key, bool on)
{
    d->setting(QStringLiteral("setRecordMouseDrag"), { key, on });
}

void RemoteInspector::setAllowKeyEventCompression(const QString &key, bool on)
{
    d->setting(QStringLiteral("setAllowKeyEventCompression"), { key, on });
}

void RemoteInspector::enableEventCompression(const QString &key, bool on)
{
    d->setting(QStringLiteral("enableEventCompression"), { key, on });
}

void RemoteInspector::setRecorderFilter(const QString &key, const QString &filter)
{
    d->setting(QStringLiteral("setRecorderFilter"), { key, filter });
}

void RemoteInspector::setError(const QString &text)
{
    d->error = text;
}

QString RemoteInspector::lastError() const
{
    QString text;
    text.swap(d->error);
    return text;
}

namespace {

bool handlerSetting(RemoteInspectorPrivate *d, const QString &operation, const QVariantList &args)
{
    bool ok = false;
    const QVariant result = d->setting(operation, args, &ok);
    return ok && result.toBool();
}

} // namespace

bool RemoteInspector::installObjectEventHandler(Object::Ptr object, const QString &event,
                                                const QString &handler)
{
    QVariant target;
    if (!d->handleFor(object, QStringLiteral("an object event handler")) || !d->toWire(object, &target))
        return false;
    return handlerSetting(d.get(), QStringLiteral("installObjectEventHandler"), { target, event, handler });
}

bool RemoteInspector::uninstallObjectEventHandler(Object::Ptr object, const QString &event,
                                                  const QString &handler)
{
    QVariant target;
    if (!d->handleFor(object, QStringLiteral("an object event handler")) || !d->toWire(object, &target))
        return false;
    return handlerSetting(d.get(), QStringLiteral("uninstallObjectEventHandler"), { target, event, handler });
}

bool RemoteInspector::installClassEventHandler(const QString &className, const QString &event,
                                               const QString &handler)
{
    return handlerSetting(d.get(), QStringLiteral("installClassEventHandler"), { className, event, handler });
}

bool RemoteInspector::uninstallClassEventHandler(const QString &className, const QString &event,
                                                 const QString &handler)
{
    return handlerSetting(d.get(), QStringLiteral("uninstallClassEventHandler"),
                          { className, event, handler });
}

bool RemoteInspector::installGlobalEventHandler(const QString &event, const QString &handler)
{
    return handlerSetting(d.get(), QStringLiteral("installGlobalEventHandler"), { event, handler });
}

bool RemoteInspector::uninstallGlobalEventHandler(const QString &event, const QString &handler)
{
    return handlerSetting(d.get(), QStringLiteral("uninstallGlobalEventHandler"), { event, handler });
}

QVariant RemoteInspector::call(const QString &name, const FList<QVariant> &args)
{
    QVariantList values;
    for (const QVariant &a : args) {
        QVariant w;
        if (!d->variantToWire(a, &w))
            return QVariant();
        values.append(w);
    }
    QVariant result;
    bool completed = true;
    const bool ok = d->exchange(
        Protocol::Call,
        [&](QDataStream &out) {
            out << name;
            Protocol::writeValueList(out, values);
        },
        [&](QDataStream &in) {
            Protocol::readValue(in, &result);
            in >> completed;
        });
    return ok ? d->variantFromWire(result) : QVariant();
}

QMap<QString, QStringList> RemoteInspector::unmatchedProperties() const
{
    QMap<QString, QStringList> result;
    const QVariantMap map = d->setting(QStringLiteral("unmatchedProperties"), {}).toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        result.insert(it.key(), it.value().toStringList());
    return result;
}

bool RemoteInspector::step(const StepRequest &request, StepAnswer *answer)
{
    QVariantList args;
    if (!d->toWire(request.arguments, &args))
        return false;
    quint64 handle = 0;
    if (request.target) {
        handle = d->handleFor(request.target, QStringLiteral("a step"));
        if (!handle)
            return false;
    }
    QVariant object, result;
    QVariantList values;
    bool completed = true;
    const int kept = d->timeoutMs;
    if (request.waitMs >= 0)
        d->timeoutMs = qMax(kept, request.waitMs + 5000);
    const bool ok = d->exchange(
        Protocol::Step,
        [&](QDataStream &out) {
            if (handle)
                out << quint8(Protocol::ByHandle) << handle;
            else
                out << quint8(Protocol::ByName) << request.name;
            out << qint32(request.waitMs) << quint8(request.action) << request.member;
            Protocol::writeValueList(out, args);
            out << request.properties;
        },
        [&](QDataStream &in) {
            Protocol::readValue(in, &object);
            Protocol::readValue(in, &result);
            Protocol::readValueList(in, &values);
            in >> completed;
        });
    d->timeoutMs = kept;
    if (!ok)
        return false;
    answer->object = d->toLocal(object);
    answer->result = d->toLocal(result);
    answer->values.clear();
    for (const QVariant &v : qAsConst(values))
        answer->values.push_back(d->toLocal(v));
    answer->completed = completed;
    return true;
}

bool RemoteInspector::describe(const Object::Ptr &object, ObjectNames *names)
{
    const quint64 handle = d->handleFor(object, QStringLiteral("a description"));
    if (!handle)
        return false;
    ObjectNames answer;
    if (!d->exchange(
            Protocol::Describe, [&](QDataStream &out) { out << handle; },
            [&](QDataStream &in) { in >> answer.className >> answer.realName >> answer.symbolicName; }))
        return false;
    *names = answer;
    return true;
}

QString RemoteInspector::displayName(const Object::Ptr &object)
{
    ObjectNames names;
    if (!describe(object, &names))
        return QString();
    return names.symbolicName.isEmpty() ? names.realName : names.symbolicName;
}

bool RemoteInspector::setRecording(bool on, QVariantList *records)
{
    QVariantList answer;
    if (!d->exchange(
            Protocol::Record, [&](QDataStream &out) { out << on; },
            [&](QDataStream &in) { Protocol::readValueList(in, &answer); }))
        return false;
    d->recording = on;
    if (records)
        *records = answer;
    return true;
}

bool RemoteInspector::loadObjectMap(const QString &file)
{
    bool ok = false;
    d->objectMap(QStringLiteral("load"), { file }, &ok);
    return ok;
}

bool RemoteInspector::saveObjectMap(const QString &file)
{
    bool ok = false;
    d->objectMap(QStringLiteral("save"), { file }, &ok);
    return ok;
}

QString RemoteInspector::realName(const QString &symbolicName)
{
    bool ok = false;
    return d->objectMap(QStringLiteral("realName"), { symbolicName }, &ok).value(0);
}

QString RemoteInspector::symbolicName(const QString &realName)
{
    bool ok = false;
    return d->objectMap(QStringLiteral("symbolicName"), { realName }, &ok).value(0);
}

bool RemoteInspector::addObjectMapEntry(const QString &symbolicName, const QString &realName)
{
    bool ok = false;
    d->objectMap(QStringLiteral("add"), { symbolicName, realName }, &ok);
    return ok;
}

QStringList RemoteInspector::symbolicNames()
{
    bool ok = false;
    return d->objectMap(QStringLiteral("names"), {}, &ok);
}

quint64 RemoteInspector::handleOf(const Object::Ptr &object)
{
    const auto *remote = dynamic_cast<const RemoteObject *>(object.get());
    return remote ? remote->handle() : 0;
}

} // namespace Remote
} // namespace Vexil
