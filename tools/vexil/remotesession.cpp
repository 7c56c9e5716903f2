// remotesession.cpp: a program in another process, driven through the agent.
#include "remotesession.h"

#include "scriptwords.h"

#include <inspector.h>
#include <remoteconnection.h>
#include <remoteinspector.h>

#include <QCoreApplication>
#include <QFileInfo>

#include <glib.h>

namespace VexilTool {

namespace {

int s_argc = 1;
char s_arg0[] = "vexil";
char *s_argv[] = { s_arg0, nullptr };

// Values as the agent's global functions take them; objects travel as handles.
QVariant wireValue(const Vexil::Object::Ptr &value)
{
    using Vexil::Inspector;
    Inspector *insp = Inspector::self();
    if (!value || value->isNull())
        return QVariant();
    const Vexil::Class *cls = value->objectClass();
    if (cls == insp->type(Inspector::Bool))
        return value->toBoolean();
    if (cls == insp->type(Inspector::Int) || cls == insp->type(Inspector::Short)
        || cls == insp->type(Inspector::Long) || cls == insp->type(Inspector::Int64))
        return value->toString().toLongLong();
    if (cls == insp->type(Inspector::Double))
        return value->toDouble();
    if (cls == insp->type(Inspector::Char))
        return value->toString();
    return QVariant::fromValue(value);
}

Vexil::Object::Ptr modelValue(const QVariant &value)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    if (value.userType() == qMetaTypeId<Vexil::Object::Ptr>())
        return value.value<Vexil::Object::Ptr>();
    switch (int(value.type())) {
    case QVariant::Bool:
        return insp->createPrimitive(value.toBool());
    case QVariant::Int:
    case QVariant::UInt:
    case QVariant::LongLong:
    case QVariant::ULongLong:
        return insp->createPrimitive(static_cast<long long>(value.toLongLong()));
    case QVariant::Double:
        return insp->createPrimitive(value.toDouble());
    default:
        return insp->createPrimitive(value.toString().toUtf8().constData());
    }
}

} // namespace

RemoteSession::RemoteSession()
{
    if (!QCoreApplication::instance())
        m_core.reset(new QCoreApplication(s_argc, s_argv));
}

RemoteSession::~RemoteSession()
{
    m_remote.reset();
    if (m_app && m_launched)
        m_app->close();
    m_app.reset();
}

namespace {

// The words of \p commandLine as a POSIX shell splits them (quotes, backslashes), without expansions.
bool splitCommandLine(const QString &commandLine, QStringList *argv, QString *error)
{
    gint argc = 0;
    gchar **words = nullptr;
    GError *failure = nullptr;
    if (!g_shell_parse_argv(commandLine.toUtf8().constData(), &argc, &words, &failure)) {
        // An empty line is "no program", not a parse error.
        *error = commandLine.trimmed().isEmpty()
            ? QStringLiteral("--app needs a program")
            : QStringLiteral("cannot split --app: %1").arg(QString::fromUtf8(failure->message));
        g_clear_error(&failure);
        return false;
    }
    for (gint i = 0; i < argc; ++i)
        argv->append(QString::fromUtf8(words[i]));
    g_strfreev(words);
    return true;
}

} // namespace

std::unique_ptr<RemoteSession> RemoteSession::launch(const QString &commandLine, bool visible, QString *error)
{
    QStringList argv;
    if (!splitCommandLine(commandLine, &argv, error))
        return nullptr;
    std::unique_ptr<RemoteSession> session(new RemoteSession);
    Vexil::Remote::Application::Options options;
    options.visible = visible;
    session->m_app = Vexil::Remote::Application::launch(argv, options, error);
    session->m_launched = true;
    if (!session->m_app || !session->connect(error))
        return nullptr;
    return session;
}

std::unique_ptr<RemoteSession> RemoteSession::attach(const QString &address, const QString &token,
                                                     QString *error)
{
    std::unique_ptr<RemoteSession> session(new RemoteSession);
    session->m_app = Vexil::Remote::Application::attach(address, token, 10000, error);
    if (!session->m_app || !session->connect(error))
        return nullptr;
    return session;
}

bool RemoteSession::connect(QString *)
{
    m_remote.reset(new Vexil::Remote::RemoteInspector(m_app->connection()));
    m_remote->setTimeout(defaultWaitMs() + 10000);
    Vexil::Inspector::self()->setInspectorInterfaceImpl(m_remote.get());
    clearModelError();
    return true;
}

QString RemoteSession::displayName(const Vexil::Object::Ptr &object)
{
    return Vexil::Remote::RemoteInspector::handleOf(object) ? m_remote->displayName(object) : QString();
}

QString RemoteSession::realName(const Vexil::Object::Ptr &object)
{
    Vexil::Remote::ObjectNames names;
    return m_remote->describe(object, &names) ? names.realName : object->qualifiedName();
}

bool RemoteSession::loadObjectMap(const QString &path, QString *error)
{
    // The agent runs elsewhere: it needs the whole path.
    if (m_remote->loadObjectMap(QFileInfo(path).absoluteFilePath()))
        return true;
    *error = Vexil::Inspector::self()->lastError();
    if (error->isEmpty())
        *error = QStringLiteral("the program could not load '%1'").arg(path);
    return false;
}

Vexil::Object::Ptr RemoteSession::waitForObject(const QString &name, int ms)
{
    return m_remote->waitForObject(name, ms);
}

bool RemoteSession::waitForProperty(const Vexil::Object::Ptr &object, const QString &property,
                                    const QString &text, int ms, QString *error)
{
    // The agent waits, looking again whenever the program has handled events.
    if (m_remote->waitForProperty(object, property, text, ms))
        return true;
    *error = Vexil::Inspector::self()->lastError();
    return false;
}

Vexil::Object::Ptr RemoteSession::callFunction(const QString &name, const Vexil::ObjectList &args,
                                               const QStringList &words, QString *error)
{
    // Without the program's signatures here, the words go as the values they spell.
    Vexil::ObjectList rest;
    for (size_t i = 1; i < args.size(); ++i)
        rest.push_back(args[i]);
    for (const QString &word : words)
        rest.push_back(valueWord(word));
    Vexil::Object::Ptr result;
    if (!args.empty() && args[0] && Vexil::Remote::RemoteInspector::handleOf(args[0])) {
        // One round trip: the object, then the function called with it.
        Vexil::Remote::StepRequest request;
        request.target = args[0];
        request.action = Vexil::Remote::StepRequest::CallFunction;
        request.member = name;
        request.arguments = rest;
        Vexil::Remote::StepAnswer answer;
        if (m_remote->step(request, &answer))
            result = answer.result;
    } else {
        Vexil::FList<QVariant> values;
        for (const Vexil::Object::Ptr &a : args)
            values.push_back(wireValue(a));
        for (const Vexil::Object::Ptr &a : rest)
            values.push_back(wireValue(a));
        const QVariant value = m_remote->call(name, values);
        if (value.isValid())
            result = modelValue(value);
    }
    const QString modelError = Vexil::Inspector::self()->lastError();
    if (!result || !modelError.isEmpty()) {
        *error = modelError.isEmpty() ? QStringLiteral("%1 failed without an error text").arg(name)
                                      : modelError;
        return Vexil::Object::Ptr();
    }
    return result;
}

bool RemoteSession::setRecording(bool on, QString *error)
{
    if (m_remote->setRecording(on))
        return true;
    *error = Vexil::Inspector::self()->lastError();
    return false;
}

QString RemoteSession::endedText()
{
    if (m_app->connection().isOpen() && m_app->isRunning())
        return QString();
    // A lost connection means the program is on its way out: its exit status is worth a moment.
    if (m_launched)
        m_app->waitForExit(2000);
    const QString text = m_app->exitText();
    return text.isEmpty() ? QStringLiteral("the application closed the connection") : text;
}

} // namespace VexilTool
