// agent.cpp: listening, the handshake, frame queues, waits and early answers for calls that nest event loops.
#include "agent.h"

#include "delegate.h"
#include "diagnostics.h"
#include "eventdata.h"
#include "inspector.h"
#include "objectmap.h"
#include "qtwrapper.h"

#include <QAbstractEventDispatcher>
#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QFile>
#include <QHostAddress>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>
#include <unistd.h>

namespace Vexil {
namespace Agent {

// Hands every record the model produces to the agent while recording is on.
class RecordSink : public EventNotifyDelegate
{
public:
    explicit RecordSink(Agent *agent)
        : m_agent(agent)
    {
    }
    void notifyEvent(const EventData &data) const override
    {
        QByteArray bytes;
        {
            QDataStream out(&bytes, QIODevice::WriteOnly);
            data.writeObject(out);
        }
        QVariantMap record;
        record.insert(QStringLiteral("text"), QString::fromStdString(data.toDebugString()));
        record.insert(QStringLiteral("type"), qlonglong(data.type));
        record.insert(QStringLiteral("object"), data.objectId);
        // The real name too, so a recorder can keep the map even when the program is gone by then.
        const ObjectMap *map = ObjectMap::self();
        record.insert(QStringLiteral("realName"),
                      map && data.objectId.startsWith(QLatin1Char(':')) ? map->realName(data.objectId)
                                                                        : data.objectId);
        record.insert(QStringLiteral("name"),
                      data.type == EventData::EventType ? data.eventName : data.methodName);
        record.insert(QStringLiteral("data"), bytes);
        m_agent->recordRecord(record);
    }

private:
    Agent *m_agent;
};

QStringList &recentDiagnostics()
{
    static QStringList messages;
    return messages;
}

Connection::Connection(Agent *agent, QIODevice *socket, bool tokenRequired)
    : QObject(agent)
    , m_agent(agent)
    , m_socket(socket)
    , m_reader(Protocol::MaxHandshakeFrameLength)
    , m_tokenRequired(tokenRequired)
{
    socket->setParent(this);
    connect(socket, &QIODevice::readyRead, this, &Connection::onReadyRead);
}

void Connection::send(quint32 id, quint16 kind, const QByteArray &body)
{
    if (m_closed)
        return;
    m_socket->write(Protocol::encodeFrame(id, kind, body));
    // Written now rather than when the loop comes round: a client is waiting for exactly this.
    if (auto *local = qobject_cast<QLocalSocket *>(m_socket))
        local->flush();
    else if (auto *tcp = qobject_cast<QTcpSocket *>(m_socket))
        tcp->flush();
}

void Connection::sendError(quint32 id, quint16 code, const QString &text)
{
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    Protocol::setUp(out);
    out << code << text;
    send(id, Protocol::Failed, body);
}

void Connection::close()
{
    if (m_closed)
        return;
    m_closed = true;
    m_queue.clear();
    if (auto *local = qobject_cast<QLocalSocket *>(m_socket))
        local->abort();
    else if (auto *tcp = qobject_cast<QTcpSocket *>(m_socket))
        tcp->abort();
    m_agent->connectionClosed(this);
    deleteLater();
}

void Connection::onReadyRead()
{
    if (m_closed)
        return;
    m_reader.append(m_socket->readAll());
    for (;;) {
        Protocol::Frame frame;
        const Protocol::FrameReader::Result r = m_reader.next(&frame);
        if (r == Protocol::FrameReader::NeedMore)
            break;
        if (r == Protocol::FrameReader::Invalid) {
            close();
            return;
        }
        if (!m_authenticated) {
            handleHello(frame);
            if (m_closed)
                return;
            continue;
        }
        m_queue.push_back(std::move(frame));
    }
    // Requests run from a queued call, not inside readyRead: Qt does not re-emit readyRead while its slot
    // runs, so a request that enters a modal dialog's loop would otherwise starve every later request.
    if (!m_queue.empty() && !m_scheduled) {
        m_scheduled = true;
        QMetaObject::invokeMethod(this, &Connection::processQueue, Qt::QueuedConnection);
    }
}

void Connection::processQueue()
{
    m_scheduled = false;
    QPointer<Connection> guard(this);
    while (guard && !m_closed && !m_queue.empty()) {
        const Protocol::Frame frame = std::move(m_queue.front());
        m_queue.pop_front();
        m_agent->handleRequest(this, frame);
    }
}

void Connection::handleHello(const Protocol::Frame &frame)
{
    // Before the handshake a peer gets no answer at all unless it speaks first and correctly.
    QDataStream in(frame.body);
    Protocol::setUp(in);
    quint32 version = 0;
    QString token;
    QString client;
    in >> version >> token >> client;
    if (frame.kind != Protocol::Hello || !Protocol::readAll(in) || frame.id == 0) {
        close();
        return;
    }
    const QByteArray expected = m_agent->config().token;
    if ((m_tokenRequired || !token.isEmpty()) && !expected.isEmpty()
        && !Protocol::sameSecret(token.toUtf8(), expected)) {
        close();
        return;
    }
    if (m_tokenRequired && expected.isEmpty()) {
        close();
        return;
    }
    if (version != Protocol::Version) {
        sendError(frame.id, Protocol::VersionMismatch,
                  QStringLiteral("the agent speaks protocol version %1, the client %2")
                      .arg(Protocol::Version)
                      .arg(version));
        close();
        return;
    }
    if (!m_agent->unsupportedReason().isEmpty()) {
        sendError(frame.id, Protocol::Unsupported, m_agent->unsupportedReason());
        return;
    }
    m_authenticated = true;
    m_reader.setMaxLength(Protocol::MaxFrameLength);
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    Protocol::setUp(out);
    out << Protocol::Version << QString::fromLatin1(qVersion()) << qint64(::getpid())
        << QCoreApplication::applicationFilePath() << m_agent->tcpAddress();
    send(frame.id, Protocol::Ok, body);
}

Agent::Agent(const Config &config)
    : m_config(config)
{
    m_wakeUp.setSingleShot(true);
    connect(&m_wakeUp, &QTimer::timeout, this, &Agent::recheckWaits);
    m_handles.onInvalidated = [this](quint64 handle) {
        QByteArray body;
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        out << handle;
        pushToAll(Protocol::Invalidated, body);
    };
}

Agent::~Agent()
{
    m_handles.onInvalidated = nullptr;
    if (m_local)
        QLocalServer::removeServer(m_config.socketPath);
}

bool Agent::start(const QString &unsupported)
{
    m_unsupported = unsupported;
    m_local = new QLocalServer(this);
    m_local->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(m_config.socketPath);
    if (!m_local->listen(m_config.socketPath)) {
        std::fprintf(stderr, "vexil agent: cannot listen on %s: %s\n", qPrintable(m_config.socketPath),
                     qPrintable(m_local->errorString()));
        return false;
    }
    QFile::setPermissions(m_config.socketPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    connect(m_local, &QLocalServer::newConnection, this, &Agent::onNewLocalConnection);

    if (!m_config.listen.isEmpty()) {
        // "tcp:HOST:PORT"; the host may itself hold colons (IPv6), the port is after the last one.
        const QString hostPort = m_config.listen.mid(4);
        const int colon = hostPort.lastIndexOf(QLatin1Char(':'));
        bool portOk = false;
        const quint16 port = colon > 0 ? hostPort.mid(colon + 1).toUShort(&portOk) : 0;
        QHostAddress host(colon > 0 ? hostPort.left(colon) : QString());
        if (!m_config.listen.startsWith(QLatin1String("tcp:")) || !portOk || host.isNull()
            || m_config.token.isEmpty()) {
            std::fprintf(stderr, "vexil agent: cannot listen on '%s': expected tcp:HOST:PORT with a token\n",
                         qPrintable(m_config.listen));
        } else {
            m_tcp = new QTcpServer(this);
            if (!m_tcp->listen(host, port))
                std::fprintf(stderr, "vexil agent: cannot listen on %s: %s\n", qPrintable(m_config.listen),
                             qPrintable(m_tcp->errorString()));
            else
                connect(m_tcp, &QTcpServer::newConnection, this, &Agent::onNewTcpConnection);
        }
    }
    // Keep the library's diagnostics for the answer as well as printing them where the program's go.
    setDiagnosticHandler([](const QString &text, bool endsLine) {
        QStringList &recent = recentDiagnostics();
        if (recent.size() < 16)
            recent.append(text.trimmed());
        std::fprintf(stderr, endsLine ? "%s\n" : "%s", text.toUtf8().constData());
    });
    if (QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance())
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &Agent::onAboutToBlock);
    return true;
}

QString Agent::tcpAddress() const
{
    if (!m_tcp || !m_tcp->isListening())
        return QString();
    QString host = m_tcp->serverAddress().toString();
    if (host.contains(QLatin1Char(':')))
        host = QLatin1Char('[') + host + QLatin1Char(']');
    return QStringLiteral("tcp:%1:%2").arg(host).arg(m_tcp->serverPort());
}

void Agent::onNewLocalConnection()
{
    while (QLocalSocket *socket = m_local->nextPendingConnection())
        addConnection(socket, false);
}

void Agent::onNewTcpConnection()
{
    while (QTcpSocket *socket = m_tcp->nextPendingConnection()) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        addConnection(socket, true);
    }
}

void Agent::addConnection(QIODevice *socket, bool tokenRequired)
{
    auto *connection = new Connection(this, socket, tokenRequired);
    m_connections.emplace_back(connection);
    auto closeIt = [connection]() { connection->close(); };
    if (auto *local = qobject_cast<QLocalSocket *>(socket))
        connect(local, &QLocalSocket::disconnected, connection, closeIt);
    else if (auto *tcp = qobject_cast<QTcpSocket *>(socket))
        connect(tcp, &QTcpSocket::disconnected, connection, closeIt);
}

void Agent::connectionClosed(Connection *connection)
{
    m_connections.remove_if([connection](const QPointer<Connection> &c) { return !c || c == connection; });
    // Its waits have no one to answer any more.
    m_waits.remove_if(
        [connection](const Wait &w) { return !w.reply.connection || w.reply.connection == connection; });
}

void Agent::pushToAll(quint16 kind, const QByteArray &body)
{
    for (const QPointer<Connection> &c : m_connections) {
        if (c && c->isAuthenticated())
            c->send(0, kind, body);
    }
}

void Agent::addWait(const Reply &reply, int timeoutMs, std::function<bool(bool)> check)
{
    Wait wait;
    wait.reply = reply;
    wait.deadline = QDeadlineTimer(qMax(0, timeoutMs));
    wait.check = std::move(check);
    m_waits.push_back(std::move(wait));
    scheduleWakeUp();
}

// Waits are looked at again when the program has handled events and is about to block; the timer only
// ends the ones whose time is up, it never polls.
void Agent::scheduleWakeUp()
{
    qint64 soonest = -1;
    for (const Wait &w : m_waits) {
        const qint64 left = w.deadline.remainingTime();
        if (soonest < 0 || left < soonest)
            soonest = left;
    }
    if (soonest < 0)
        m_wakeUp.stop();
    else
        m_wakeUp.start(int(qMin<qint64>(soonest, 24 * 3600 * 1000)) + 1);
}

void Agent::recheckWaits()
{
    if (m_checkingWaits || m_waits.empty())
        return;
    m_checkingWaits = true;
    for (auto it = m_waits.begin(); it != m_waits.end();) {
        if (!it->reply.connection) {
            it = m_waits.erase(it);
            continue;
        }
        // Copy: the check may run code that re-enters the agent and changes the list.
        auto check = it->check;
        const bool done = check(it->deadline.hasExpired());
        it = done ? m_waits.erase(it) : std::next(it);
    }
    m_checkingWaits = false;
    scheduleWakeUp();
}

Agent::Running *Agent::beginRunning(const Reply &reply, const QByteArray &earlyBody)
{
    Running running;
    running.reply = reply;
    running.earlyBody = earlyBody;
    m_running.push_back(running);
    return &m_running.back();
}

bool Agent::endRunning(Running *running)
{
    bool answered = false;
    for (auto it = m_running.begin(); it != m_running.end(); ++it) {
        if (&*it == running) {
            answered = it->answered;
            m_running.erase(it);
            break;
        }
    }
    return answered;
}

void Agent::onAboutToBlock()
{
    // Our requests run synchronously on this thread, so a loop about to block while one is running is a
    // nested loop (a modal dialog's exec()): answer the request now and keep serving from that loop. A loop
    // the wrapper runs itself (a drag's pace) is part of the call.
    if (!m_running.empty() && !QtWrapper::inOwnEventLoop()) {
        for (Running &r : m_running) {
            if (!r.answered) {
                r.answered = true;
                if (r.reply.connection)
                    r.reply.connection->send(r.reply.id, Protocol::Ok, r.earlyBody);
            }
        }
    }
    recheckWaits();
}

void Agent::setRecording(bool on)
{
    m_recording = on;
    if (on && !m_sink)
        m_sink.reset(new RecordSink(this));
    else if (!on)
        m_sink.reset();
}

QVariantList Agent::takeRecords()
{
    QVariantList records;
    records.swap(m_records);
    return records;
}

void Agent::recordRecord(const QVariantMap &record)
{
    if (!m_recording)
        return;
    m_records.append(record);
    QByteArray body;
    QDataStream out(&body, QIODevice::WriteOnly);
    Protocol::setUp(out);
    Protocol::writeValue(out, record);
    pushToAll(Protocol::RecordPush, body);
}

} // namespace Agent
} // namespace Vexil
