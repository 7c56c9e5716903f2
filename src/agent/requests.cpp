// requests.cpp: what the agent does for each request kind, in the model's own terms.
#include "agent.h"

#include "eventdata.h"
#include "globalobject.h"
#include "inspector.h"
#include "objectmap.h"
#include "qtwrapper.h"

#include <QApplication>
#include <QDataStream>
#include <QTimer>
#include <QWidget>

namespace Vexil {
namespace Agent {

namespace {

QByteArray bodyOf(const std::function<void(QDataStream &)> &write)
{
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    Protocol::setUp(out);
    write(out);
    return body;
}

// Reading the Inspector's error clears it; every operation starts from a clean slate.
void clearModelError()
{
    Inspector::self()->lastError();
    recentDiagnostics().clear();
}

// The model's error text; failing that, what it said as a diagnostic meanwhile (a refused conversion says
// why only there); failing that, \p fallback.
QString modelError(const QString &fallback)
{
    const QString text = Inspector::self()->lastError();
    if (!text.isEmpty())
        return text;
    return recentDiagnostics().isEmpty() ? fallback : recentDiagnostics().join(QLatin1Char(' '));
}

// Ready for a person: shown and enabled, where the object has those notions at all.
bool isReady(const Object::Ptr &object)
{
    QObject *q = QtWrapper::qobjectOf(object);
    if (!q)
        return true;
    if (auto *w = qobject_cast<QWidget *>(q))
        return w->isVisible() && w->isEnabled();
    const QVariant visible = q->property("visible");
    const QVariant enabled = q->property("enabled");
    return (!visible.isValid() || visible.toBool()) && (!enabled.isValid() || enabled.toBool());
}

QString notReadyText(const QString &name, const Object::Ptr &object)
{
    QObject *q = QtWrapper::qobjectOf(object);
    auto *w = qobject_cast<QWidget *>(q);
    const bool hidden = w ? !w->isVisible()
                          : (q && q->property("visible").isValid() && !q->property("visible").toBool());
    return QStringLiteral("Object '%1' was found but is %2.")
        .arg(name, hidden ? QStringLiteral("not visible") : QStringLiteral("not enabled"));
}

// A name for records of calls made on an object: its symbolic name in the map, as the recorder gives it.
QString recordedName(const Object::Ptr &object)
{
    QObject *q = QtWrapper::qobjectOf(object);
    if (!q)
        return object->toString();
    const QString real = QtWrapper::realName(q);
    return ObjectMap::self() ? ObjectMap::self()->symbolicName(real, true) : real;
}

QString noProperty(const Object::Ptr &object, const QString &name)
{
    return QStringLiteral("class %1 has no property '%2'").arg(object->className(), name);
}

// Window functions are recorded as calls; input functions are not, because the wrapper's recorder already
// records the clicks and keys they produce, as it would a person's.
bool isRecordedCall(const QString &function)
{
    return function.startsWith(QLatin1String("_vexil_window_"));
}

} // namespace

// Reads one request's body and answers it; every failure becomes an error answer, never a dropped request.
class RequestHandler
{
public:
    RequestHandler(Agent *agent, Connection *connection, const Protocol::Frame &frame)
        : m_agent(agent)
        , m_frame(frame)
        , m_in(m_frame.body)
    {
        m_reply.connection = connection;
        m_reply.id = frame.id;
        Protocol::setUp(m_in);
    }

    void run();

private:
    bool bodyRead()
    {
        if (Protocol::readAll(m_in))
            return true;
        fail(Protocol::BadRequest, QStringLiteral("malformed body for request kind %1").arg(m_frame.kind));
        return false;
    }
    void ok(const QByteArray &body = QByteArray()) { send(m_reply, Protocol::Ok, body); }
    void fail(quint16 code, const QString &text) { failTo(m_reply, code, text); }
    static void send(const Reply &reply, quint16 kind, const QByteArray &body)
    {
        if (reply.connection)
            reply.connection->send(reply.id, kind, body);
    }
    static void failTo(const Reply &reply, quint16 code, const QString &text)
    {
        if (reply.connection)
            reply.connection->sendError(reply.id, code, text);
    }
    Object::Ptr resolve(quint64 handle)
    {
        Protocol::ErrorCode error = Protocol::NoSuchObject;
        const Object::Ptr object = m_agent->handles().resolve(handle, &error);
        if (!object)
            fail(error,
                 error == Protocol::StaleObject
                     ? QStringLiteral("the object of handle %1 was destroyed").arg(handle)
                     : QStringLiteral("no object has handle %1").arg(handle));
        return object;
    }
    bool arguments(const QVariantList &values, ObjectList *args)
    {
        for (const QVariant &v : values) {
            Protocol::ErrorCode error = Protocol::NoSuchObject;
            const Object::Ptr arg = fromWire(v, &m_agent->handles(), &error);
            if (!arg) {
                fail(error,
                     error == Protocol::StaleObject ? QStringLiteral("an argument's object was destroyed")
                                                    : QStringLiteral("an argument names no object"));
                return false;
            }
            args->push_back(arg);
        }
        return true;
    }
    QVariant wire(const Object::Ptr &object) { return toWire(object, &m_agent->handles()); }
    // For requests whose body is one handle: its object, or null once the error answer has been given.
    Object::Ptr objectOfBody()
    {
        quint64 handle = 0;
        m_in >> handle;
        return bodyRead() ? resolve(handle) : Object::Ptr();
    }
    const Property *propertyOf(const Object::Ptr &object, const QString &name)
    {
        const Property *p = object->objectClass()->property(name);
        if (!p)
            fail(Protocol::InvocationError, noProperty(object, name));
        return p;
    }

    void hello();
    void find();
    void step();
    void getProperty();
    void setProperty();
    void invoke();
    void call();
    void children();
    void parent();
    void describe();
    void classInfo();
    void screenshot();
    void record();
    void objectMap();
    void setting();
    void release();
    void quit();
    void waitForProperty();

    // Locates \p name, waiting up to \p waitMs (negative: not at all); then runs \p found with the object.
    void locate(const QString &name, int waitMs, std::function<void(const Object::Ptr &)> found);
    // Answers the result of a call that may nest an event loop (Invoke, Call).
    void answerCall(const std::function<Object::Ptr()> &call);
    // Runs a call that may nest an event loop; false when the answer was given early, from that loop.
    static bool runCall(Agent *agent, const Reply &reply, const std::function<Object::Ptr()> &call,
                        const QByteArray &earlyBody, Object::Ptr *result, QString *error);

    Agent *m_agent;
    Protocol::Frame m_frame;
    QDataStream m_in;
    Reply m_reply;
};

void Agent::handleRequest(Connection *connection, const Protocol::Frame &frame)
{
    RequestHandler(this, connection, frame).run();
}

void RequestHandler::run()
{
    switch (m_frame.kind) {
    case Protocol::Hello:
        fail(Protocol::BadRequest, QStringLiteral("the handshake was already made"));
        return;
    case Protocol::Ping: {
        QByteArray payload;
        m_in >> payload;
        if (bodyRead())
            ok(bodyOf([&](QDataStream &out) { out << payload; }));
        return;
    }
    case Protocol::Find:
        find();
        return;
    case Protocol::Step:
        step();
        return;
    case Protocol::GetProperty:
        getProperty();
        return;
    case Protocol::SetProperty:
        setProperty();
        return;
    case Protocol::Invoke:
        invoke();
        return;
    case Protocol::Call:
        call();
        return;
    case Protocol::Children:
        children();
        return;
    case Protocol::Parent:
        parent();
        return;
    case Protocol::Describe:
        describe();
        return;
    case Protocol::ClassInfo:
        classInfo();
        return;
    case Protocol::Screenshot:
        screenshot();
        return;
    case Protocol::Record:
        record();
        return;
    case Protocol::ObjectMapOp:
        objectMap();
        return;
    case Protocol::Setting:
        setting();
        return;
    case Protocol::Release:
        release();
        return;
    case Protocol::Quit:
        quit();
        return;
    case Protocol::WaitForProperty:
        waitForProperty();
        return;
    }
    fail(Protocol::UnknownRequest, QStringLiteral("unknown request kind %1").arg(m_frame.kind));
}

void RequestHandler::locate(const QString &name, int waitMs, std::function<void(const Object::Ptr &)> found)
{
    clearModelError();
    Object::Ptr object = Inspector::self()->findObject(name);
    const QString error = modelError(QStringLiteral("Object '%1' not found.").arg(name));
    if (object && (waitMs < 0 || isReady(object))) {
        found(object);
        return;
    }
    if (waitMs < 0) {
        fail(Protocol::ObjectNotFound, error);
        return;
    }
    // Not there yet: look again whenever the program has done something, until the time is up.
    Agent *agent = m_agent;
    const Reply reply = m_reply;
    auto lastError = std::make_shared<QString>(object ? notReadyText(name, object) : error);
    agent->addWait(reply, waitMs, [reply, name, lastError, found](bool timedOut) {
        if (!reply.connection)
            return true;
        clearModelError();
        const Object::Ptr object = Inspector::self()->findObject(name);
        if (object && isReady(object)) {
            found(object);
            return true;
        }
        *lastError = object ? notReadyText(name, object)
                            : modelError(QStringLiteral("Object '%1' not found.").arg(name));
        if (timedOut) {
            failTo(reply, Protocol::Timeout, *lastError);
            return true;
        }
        return false;
    });
}

bool RequestHandler::runCall(Agent *agent, const Reply &reply, const std::function<Object::Ptr()> &call,
                             const QByteArray &earlyBody, Object::Ptr *result, QString *error)
{
    clearModelError();
    Agent::Running *running = agent->beginRunning(reply, earlyBody);
    *result = call();
    const bool answeredEarly = agent->endRunning(running);
    const QString text = Inspector::self()->lastError();
    if (!*result || !text.isEmpty())
        *error = !text.isEmpty()            ? text
            : recentDiagnostics().isEmpty() ? QStringLiteral("the call failed")
                                            : recentDiagnostics().join(QLatin1Char(' '));
    return !answeredEarly;
}

void RequestHandler::find()
{
    QString name;
    qint32 waitMs = -1;
    m_in >> name >> waitMs;
    if (!bodyRead())
        return;
    Agent *agent = m_agent;
    const Reply reply = m_reply;
    locate(name, waitMs, [agent, reply](const Object::Ptr &object) {
        const QVariant value = toWire(object, &agent->handles());
        send(reply, Protocol::Ok, bodyOf([&](QDataStream &out) { Protocol::writeValue(out, value); }));
    });
}

void RequestHandler::step()
{
    quint8 targetKind = 0;
    QString name;
    quint64 handle = 0;
    qint32 waitMs = -1;
    quint8 action = 0;
    QString member;
    QVariantList values;
    QStringList properties;
    m_in >> targetKind;
    if (targetKind == Protocol::ByName)
        m_in >> name;
    else
        m_in >> handle;
    m_in >> waitMs >> action >> member;
    Protocol::readValueList(m_in, &values);
    m_in >> properties;
    if (!bodyRead())
        return;
    if (targetKind > Protocol::ByHandle || action > Protocol::CallAction) {
        fail(Protocol::BadRequest, QStringLiteral("unknown target kind or action"));
        return;
    }
    ObjectList args;
    if (!arguments(values, &args))
        return;

    // What to do once the object is there; it may run later, from a wait.
    Agent *agent = m_agent;
    const Reply reply = m_reply;
    auto act = [agent, reply, action, member, args, properties](const Object::Ptr &object) {
        Inspector *insp = Inspector::self();
        const QVariant objectValue = toWire(object, &agent->handles());
        Object::Ptr result = insp->voidObject();
        bool completed = true;
        if (action != Protocol::NoAction) {
            const QByteArray early = bodyOf([&](QDataStream &out) {
                Protocol::writeValue(out, objectValue);
                Protocol::writeValue(out, QVariant());
                Protocol::writeValueList(out, QVariantList());
                out << false;
            });
            QString error;
            std::function<Object::Ptr()> call;
            if (action == Protocol::InvokeAction) {
                if (agent->isRecording())
                    insp->recordEvent(EventData(member, recordedName(object), args));
                const MethodList methods = object->objectClass()->methods(member);
                call = [methods, object, args]() { return methods.invoke(object, args); };
                if (methods.empty()) {
                    failTo(reply, Protocol::InvocationError,
                           QStringLiteral("class %1 has no method '%2'").arg(object->className(), member));
                    return;
                }
            } else if (action == Protocol::SetPropertyAction) {
                const Property *p = object->objectClass()->property(member);
                if (!p || args.empty()) {
                    failTo(reply, Protocol::InvocationError,
                           !p ? noProperty(object, member) : QStringLiteral("no value to set"));
                    return;
                }
                const Object::Ptr value = args.at(0);
                call = [p, object, value]() {
                    return p->set(object, value) ? Inspector::self()->voidObject() : Object::Ptr();
                };
            } else {
                ObjectList all;
                all.push_back(object);
                for (const Object::Ptr &a : args)
                    all.push_back(a);
                const MethodList methods = insp->globalClass()->methods(member);
                if (methods.empty()) {
                    failTo(reply, Protocol::InvocationError,
                           QStringLiteral("no global function '%1'").arg(member));
                    return;
                }
                if (agent->isRecording() && isRecordedCall(member))
                    insp->recordEvent(EventData(member, QStringList(recordedName(object)), QString()));
                call = [methods, all]() { return methods.invoke(Object::Ptr(), all); };
            }
            completed = runCall(agent, reply, call, early, &result, &error);
            if (!completed)
                return; // answered already; the late result has no one waiting for it
            if (!error.isEmpty()) {
                failTo(reply, Protocol::InvocationError, error);
                return;
            }
        }
        QVariantList values;
        for (const QString &property : properties) {
            const Property *p = object->objectClass()->property(property);
            clearModelError();
            const Object::Ptr value = p ? p->get(object) : Object::Ptr();
            if (!value) {
                failTo(reply, Protocol::InvocationError,
                       p ? modelError(QStringLiteral("cannot read property '%1'").arg(property))
                         : noProperty(object, property));
                return;
            }
            values.append(toWire(value, &agent->handles()));
        }
        const QVariant resultValue = toWire(result, &agent->handles());
        send(reply, Protocol::Ok, bodyOf([&](QDataStream &out) {
                 Protocol::writeValue(out, objectValue);
                 Protocol::writeValue(out, resultValue);
                 Protocol::writeValueList(out, values);
                 out << completed;
             }));
    };
    if (targetKind == Protocol::ByHandle) {
        const Object::Ptr object = resolve(handle);
        if (object)
            act(object);
        return;
    }
    locate(name, waitMs, act);
}

void RequestHandler::getProperty()
{
    quint64 handle = 0;
    QString name;
    m_in >> handle >> name;
    if (!bodyRead())
        return;
    const Object::Ptr object = resolve(handle);
    if (!object)
        return;
    const Property *p = propertyOf(object, name);
    if (!p)
        return;
    clearModelError();
    const Object::Ptr value = p->get(object);
    if (!value) {
        fail(Protocol::InvocationError, modelError(QStringLiteral("cannot read property '%1'").arg(name)));
        return;
    }
    const QVariant v = wire(value);
    ok(bodyOf([&](QDataStream &out) { Protocol::writeValue(out, v); }));
}

void RequestHandler::setProperty()
{
    quint64 handle = 0;
    QString name;
    QVariant value;
    m_in >> handle >> name;
    Protocol::readValue(m_in, &value);
    if (!bodyRead())
        return;
    const Object::Ptr object = resolve(handle);
    if (!object)
        return;
    ObjectList args;
    if (!arguments(QVariantList { value }, &args))
        return;
    const Property *p = propertyOf(object, name);
    if (!p)
        return;
    clearModelError();
    if (!p->set(object, args.at(0))) {
        fail(Protocol::InvocationError, modelError(QStringLiteral("cannot write property '%1'").arg(name)));
        return;
    }
    ok();
}

void RequestHandler::invoke()
{
    quint64 handle = 0;
    QString name;
    qint32 overload = -1;
    QVariantList values;
    m_in >> handle >> name >> overload;
    Protocol::readValueList(m_in, &values);
    if (!bodyRead())
        return;
    const Object::Ptr object = resolve(handle);
    ObjectList args;
    if (!object || !arguments(values, &args))
        return;
    const MethodList methods = object->objectClass()->methods(name);
    if (methods.empty() || overload >= int(methods.size())) {
        fail(Protocol::InvocationError,
             QStringLiteral("class %1 has no method '%2'").arg(object->className(), name));
        return;
    }
    if (m_agent->isRecording())
        Inspector::self()->recordEvent(EventData(name, recordedName(object), args));
    answerCall([&]() {
        return overload >= 0 ? methods.at(size_t(overload))->invoke(object, args)
                             : methods.invoke(object, args);
    });
}

void RequestHandler::answerCall(const std::function<Object::Ptr()> &call)
{
    const QByteArray early = bodyOf([](QDataStream &out) {
        Protocol::writeValue(out, QVariant());
        out << false;
    });
    Object::Ptr result;
    QString error;
    if (!runCall(m_agent, m_reply, call, early, &result, &error))
        return;
    if (!error.isEmpty()) {
        fail(Protocol::InvocationError, error);
        return;
    }
    const QVariant v = wire(result);
    ok(bodyOf([&](QDataStream &out) {
        Protocol::writeValue(out, v);
        out << true;
    }));
}

void RequestHandler::call()
{
    QString name;
    QVariantList values;
    m_in >> name;
    Protocol::readValueList(m_in, &values);
    if (!bodyRead())
        return;
    ObjectList args;
    if (!arguments(values, &args))
        return;
    Inspector *insp = Inspector::self();
    const MethodList methods = insp->globalClass()->methods(name);
    if (methods.empty()) {
        fail(Protocol::InvocationError, QStringLiteral("no global function '%1'").arg(name));
        return;
    }
    if (m_agent->isRecording() && isRecordedCall(name)) {
        QStringList names;
        for (const Object::Ptr &a : args)
            names.append(QtWrapper::qobjectOf(a) ? recordedName(a) : a->toString());
        insp->recordEvent(EventData(name, names, QString()));
    }
    answerCall([&]() { return methods.invoke(Object::Ptr(), args); });
}

void RequestHandler::children()
{
    quint64 handle = 0;
    m_in >> handle;
    if (!bodyRead())
        return;
    ObjectList list;
    if (handle == 0) {
        list = Inspector::self()->objects();
    } else {
        const Object::Ptr object = resolve(handle);
        if (!object)
            return;
        list = object->children();
    }
    QVariantList values;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i] && !list[i]->isNull())
            values.append(wire(list[i]));
    }
    ok(bodyOf([&](QDataStream &out) { Protocol::writeValueList(out, values); }));
}

void RequestHandler::parent()
{
    const Object::Ptr object = objectOfBody();
    if (!object)
        return;
    const QVariant v = wire(object->parent());
    ok(bodyOf([&](QDataStream &out) { Protocol::writeValue(out, v); }));
}

void RequestHandler::describe()
{
    const Object::Ptr object = objectOfBody();
    if (!object)
        return;
    QObject *q = QtWrapper::qobjectOf(object);
    const QString real = q ? QtWrapper::realName(q) : object->toString();
    QString symbolic;
    if (q && ObjectMap::self()) {
        symbolic = ObjectMap::self()->symbolicName(real, false);
        if (!symbolic.startsWith(QLatin1Char(':')))
            symbolic.clear();
    }
    const QString className = object->objectClass() ? object->objectClass()->fullyQualifiedClassName()
                                                    : QString();
    ok(bodyOf([&](QDataStream &out) { out << className << real << symbolic; }));
}

void RequestHandler::classInfo()
{
    QString name;
    m_in >> name;
    if (!bodyRead())
        return;
    const Class *cls = Inspector::self()->type(name);
    if (!cls) {
        fail(Protocol::InvocationError, QStringLiteral("no class '%1'").arg(name));
        return;
    }
    const Class *super = cls->superClass();
    auto typeName = [](const Class *c) { return c ? c->fullyQualifiedClassName() : QStringLiteral("void"); };
    ok(bodyOf([&](QDataStream &out) {
        out << QString::fromLatin1(cls->name()) << (cls->nameSpace() ? cls->nameSpace()->name() : QString())
            << (super ? super->fullyQualifiedClassName() : QString());
        // Own members only: the numbering continues after the superclass's.
        const int firstMethod = super ? super->numMethods() : 0;
        out << quint32(qMax(0, cls->numMethods() - firstMethod));
        for (int i = firstMethod; i < cls->numMethods(); ++i) {
            const Method *m = cls->method(i);
            QStringList types, names;
            if (m) {
                for (int a = 0; a < m->signature().count(); ++a) {
                    types.append(typeName(m->signature().at(a).type()));
                    names.append(m->signature().at(a).name());
                }
            }
            out << (m ? m->name() : QString()) << (m ? typeName(m->returnArgument().type()) : QString())
                << (m && m->isStatic()) << types << names;
        }
        const int firstProperty = super ? super->numProperties() : 0;
        out << quint32(qMax(0, cls->numProperties() - firstProperty));
        for (int i = firstProperty; i < cls->numProperties(); ++i) {
            const Property *p = cls->property(i);
            out << (p ? p->name() : QString()) << (p ? typeName(p->type()) : QString())
                << (p && p->isReadable()) << (p && p->isWritable()) << (p && p->isStatic());
        }
        const int firstEnum = super ? super->numEnums() : 0;
        out << quint32(qMax(0, cls->numEnums() - firstEnum));
        for (int i = firstEnum; i < cls->numEnums(); ++i) {
            const Enum *e = cls->enumerator(i);
            out << (e ? e->name() : QString()) << (e && e->isMask()) << quint32(e ? e->count() : 0);
            for (int k = 0; e && k < e->count(); ++k)
                out << e->key(k) << qint32(e->value(k));
        }
    }));
}

void RequestHandler::screenshot()
{
    quint64 handle = 0;
    m_in >> handle;
    if (!bodyRead())
        return;
    QString error;
    QByteArray png;
    if (handle != 0) {
        const Object::Ptr object = resolve(handle);
        if (!object)
            return;
        png = QtWrapper::objectScreenshotPng(object, &error);
    } else {
        png = QtWrapper::screenshotPng(nullptr, &error);
    }
    if (png.isEmpty()) {
        fail(Protocol::InvocationError, error.isEmpty() ? QStringLiteral("nothing to grab") : error);
        return;
    }
    ok(bodyOf([&](QDataStream &out) { out << png; }));
}

void RequestHandler::record()
{
    bool on = false;
    m_in >> on;
    if (!bodyRead())
        return;
    if (on) {
        m_agent->setRecording(true);
        ok(bodyOf([](QDataStream &out) { Protocol::writeValueList(out, QVariantList()); }));
        return;
    }
    m_agent->setRecording(false);
    const QVariantList records = m_agent->takeRecords();
    ok(bodyOf([&](QDataStream &out) { Protocol::writeValueList(out, records); }));
}

void RequestHandler::objectMap()
{
    QString op;
    QStringList args;
    m_in >> op >> args;
    if (!bodyRead())
        return;
    ObjectMap *map = ObjectMap::self();
    if (!map)
        map = new ObjectMap();
    QStringList answer;
    auto need = [&](int n) {
        if (args.size() == n)
            return true;
        fail(Protocol::BadRequest,
             QStringLiteral("object map operation '%1' takes %2 arguments").arg(op).arg(n));
        return false;
    };
    if (op == QLatin1String("load")) {
        if (!need(1))
            return;
        if (!map->loadFromFile(args.at(0))) {
            fail(Protocol::InvocationError, QStringLiteral("cannot read object map %1").arg(args.at(0)));
            return;
        }
    } else if (op == QLatin1String("realName")) {
        if (!need(1))
            return;
        answer.append(map->realName(args.at(0)));
    } else if (op == QLatin1String("symbolicName")) {
        if (!need(1))
            return;
        answer.append(map->symbolicName(args.at(0), false));
    } else if (op == QLatin1String("add")) {
        if (!need(2))
            return;
        map->add(ObjectName(args.at(1)), args.at(0));
    } else if (op == QLatin1String("save")) {
        if (!need(1))
            return;
        if (!map->saveToFile(args.at(0))) {
            fail(Protocol::InvocationError, QStringLiteral("cannot write object map %1").arg(args.at(0)));
            return;
        }
    } else if (op == QLatin1String("names")) {
        answer = map->symbolicNames().keys();
    } else {
        fail(Protocol::BadRequest, QStringLiteral("unknown object map operation '%1'").arg(op));
        return;
    }
    ok(bodyOf([&](QDataStream &out) { out << answer; }));
}

void RequestHandler::setting()
{
    QString op;
    QVariantList values;
    m_in >> op;
    Protocol::readValueList(m_in, &values);
    if (!bodyRead())
        return;
    Inspector *insp = Inspector::self();
    QStringList s;
    for (const QVariant &v : values)
        s.append(v.userType() == qMetaTypeId<Protocol::ObjectRef>() ? QString() : v.toString());
    bool known = true;
    bool badCount = false;
    auto need = [&](int n) {
        if (values.size() == n)
            return true;
        badCount = true;
        return false;
    };
    QVariant result;
    if (op == QLatin1String("setUniqueProperty") && need(2))
        insp->setUniqueProperty(s[0], s[1]);
    else if (op == QLatin1String("setMouseTracking") && need(2))
        insp->setMouseTracking(s[0], values[1].toBool());
    else if (op == QLatin1String("setRecordMouseDrag") && need(2))
        insp->setRecordMouseDrag(s[0], values[1].toBool());
    else if (op == QLatin1String("setAllowKeyEventCompression") && need(2))
        insp->setAllowKeyEventCompression(s[0], values[1].toBool());
    else if (op == QLatin1String("enableEventCompression") && need(2))
        insp->enableEventCompression(s[0], values[1].toBool());
    else if (op == QLatin1String("setRecorderFilter") && need(2))
        insp->setRecorderFilter(s[0], s[1]);
    else if (op == QLatin1String("setExtensionCode") && need(2))
        insp->setExtensionCode(s[0], s[1]);
    else if (op == QLatin1String("addPropertyDelegate") && need(2))
        insp->addPropertyDelegate(s[0], values[1].toStringList());
    else if (op == QLatin1String("installGlobalEventHandler") && need(2))
        result = insp->installGlobalEventHandler(s[0], s[1]);
    else if (op == QLatin1String("uninstallGlobalEventHandler") && need(2))
        result = insp->uninstallGlobalEventHandler(s[0], s[1]);
    else if (op == QLatin1String("installClassEventHandler") && need(3))
        result = insp->installClassEventHandler(s[0], s[1], s[2]);
    else if (op == QLatin1String("uninstallClassEventHandler") && need(3))
        result = insp->uninstallClassEventHandler(s[0], s[1], s[2]);
    else if ((op == QLatin1String("installObjectEventHandler")
              || op == QLatin1String("uninstallObjectEventHandler"))
             && need(3)) {
        ObjectList args;
        if (!arguments(QVariantList { values[0] }, &args))
            return;
        result = op.startsWith(QLatin1String("install"))
            ? insp->installObjectEventHandler(args[0], s[1], s[2])
            : insp->uninstallObjectEventHandler(args[0], s[1], s[2]);
    } else if (op == QLatin1String("unmatchedProperties") && need(0)) {
        QVariantMap map;
        const QMap<QString, QStringList> unmatched = insp->unmatchedProperties();
        for (auto it = unmatched.cbegin(); it != unmatched.cend(); ++it)
            map.insert(it.key(), QVariant(it.value()).toList());
        result = map;
    } else if (op == QLatin1String("lastError") && need(0)) {
        result = insp->lastError();
    } else {
        known = false;
    }
    if (badCount) {
        fail(Protocol::BadRequest, QStringLiteral("wrong number of arguments for setting '%1'").arg(op));
        return;
    }
    if (!known) {
        fail(Protocol::BadRequest, QStringLiteral("unknown setting '%1'").arg(op));
        return;
    }
    ok(bodyOf([&](QDataStream &out) { Protocol::writeValue(out, result); }));
}

void RequestHandler::release()
{
    quint32 count = 0;
    m_in >> count;
    if (m_in.status() != QDataStream::Ok || qint64(count) * 8 != m_in.device()->bytesAvailable()) {
        fail(Protocol::BadRequest, QStringLiteral("malformed body for request kind %1").arg(m_frame.kind));
        return;
    }
    for (quint32 i = 0; i < count; ++i) {
        quint64 handle = 0;
        m_in >> handle;
        m_agent->handles().release(handle);
    }
    if (bodyRead())
        ok();
}

void RequestHandler::quit()
{
    qint32 code = 0;
    m_in >> code;
    if (!bodyRead())
        return;
    ok();
    // After the answer has left: exit() ends every running loop, nested ones included.
    QTimer::singleShot(0, QCoreApplication::instance(), [code]() { QCoreApplication::exit(code); });
}

void RequestHandler::waitForProperty()
{
    quint64 handle = 0;
    QString name;
    QVariant expected;
    qint32 timeoutMs = 0;
    m_in >> handle >> name;
    Protocol::readValue(m_in, &expected);
    m_in >> timeoutMs;
    if (!bodyRead())
        return;
    const Object::Ptr object = resolve(handle);
    if (!object)
        return;
    const Property *p = propertyOf(object, name);
    if (!p)
        return;
    Agent *agent = m_agent;
    const Reply reply = m_reply;
    auto check = [agent, reply, object, p, name, expected](bool timedOut) {
        if (!reply.connection)
            return true;
        if (object->isInvalidated() || object->isNull()) {
            failTo(reply, Protocol::StaleObject, QStringLiteral("the object was destroyed while waiting"));
            return true;
        }
        clearModelError();
        const Object::Ptr value = p->get(object);
        const QVariant actual = value ? toWire(value, &agent->handles()) : QVariant();
        if (value && (actual == expected || actual.toString() == expected.toString())) {
            send(reply, Protocol::Ok, bodyOf([&](QDataStream &out) { Protocol::writeValue(out, actual); }));
            return true;
        }
        if (timedOut) {
            failTo(reply, Protocol::Timeout,
                   QStringLiteral("property '%1' is '%2', not '%3'")
                       .arg(name, actual.toString(), expected.toString()));
            return true;
        }
        return false;
    };
    if (!check(false))
        agent->addWait(reply, timeoutMs, check);
}

} // namespace Agent
} // namespace Vexil
