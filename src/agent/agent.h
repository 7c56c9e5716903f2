// agent.h: the agent inside the program under test: listens, reads frames, answers requests on the GUI
// thread, waits without polling, pushes invalidations and records.
#ifndef VEXIL_AGENT_AGENT_H
#define VEXIL_AGENT_AGENT_H

#include "handles.h"
#include "protocol.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <deque>
#include <functional>
#include <list>
#include <memory>

QT_BEGIN_NAMESPACE
class QIODevice;
class QLocalServer;
class QTcpServer;
QT_END_NAMESPACE

namespace Vexil {
namespace Agent {

class Agent;

/// The library's diagnostics since the current request began (they are also printed as usual).
QStringList &recentDiagnostics();

/// What the launcher asked for, read from the environment while the agent was loaded.
struct Config
{
    QString socketPath;
    QString listen; // "tcp:HOST:PORT" or empty
    QByteArray token;
    double timeoutFactor = 1.0;
};

/// One client: a socket, its frame reader, whether it passed the handshake, and its queue of frames.
class Connection : public QObject
{
    Q_OBJECT
public:
    Connection(Agent *agent, QIODevice *socket, bool tokenRequired);

    void send(quint32 id, quint16 kind, const QByteArray &body);
    void sendError(quint32 id, quint16 code, const QString &text);
    bool isAuthenticated() const { return m_authenticated; }
    void close();

private:
    void onReadyRead();
    void processQueue();
    void handleHello(const Protocol::Frame &frame);

    Agent *m_agent;
    QIODevice *m_socket;
    Protocol::FrameReader m_reader;
    std::deque<Protocol::Frame> m_queue;
    bool m_tokenRequired;
    bool m_authenticated = false;
    bool m_scheduled = false;
    bool m_closed = false;
};

/// The reply to a request: either sent now or, for waits, later.
struct Reply
{
    QPointer<Connection> connection;
    quint32 id = 0;
};

class Agent : public QObject
{
    Q_OBJECT
public:
    explicit Agent(const Config &config);
    ~Agent() override;

    /// Installs the wrapper and listens. \p unsupported, when not empty, is what the handshake answers.
    bool start(const QString &unsupported);

    const Config &config() const { return m_config; }
    QString unsupportedReason() const { return m_unsupported; }
    QString tcpAddress() const;

    void handleRequest(Connection *connection, const Protocol::Frame &frame);
    void connectionClosed(Connection *connection);

private:
    friend class RequestHandler;

    struct Wait
    {
        Reply reply;
        QDeadlineTimer deadline;
        // True when done (the answer was sent); false to look again later.
        std::function<bool(bool timedOut)> check;
    };
    // A call in progress that may enter a nested event loop (a modal dialog).
    struct Running
    {
        Reply reply;
        QByteArray earlyBody;
        bool answered = false;
    };

    void onNewLocalConnection();
    void onNewTcpConnection();
    void addConnection(QIODevice *socket, bool tokenRequired);
    void onAboutToBlock();
    void recheckWaits();
    void scheduleWakeUp();
    void pushToAll(quint16 kind, const QByteArray &body);

public:
    // Used by the request handlers.
    HandleTable &handles() { return m_handles; }
    void addWait(const Reply &reply, int timeoutMs, std::function<bool(bool)> check);
    Running *beginRunning(const Reply &reply, const QByteArray &earlyBody);
    /// True when the answer was already given early (the call entered a nested loop).
    bool endRunning(Running *running);
    void setRecording(bool on);
    QVariantList takeRecords();
    void recordRecord(const QVariantMap &record);
    bool isRecording() const { return m_recording; }

private:
    Config m_config;
    QString m_unsupported;
    QLocalServer *m_local = nullptr;
    QTcpServer *m_tcp = nullptr;
    std::list<QPointer<Connection>> m_connections;
    HandleTable m_handles;
    std::list<Wait> m_waits;
    std::list<Running> m_running;
    QTimer m_wakeUp;
    bool m_checkingWaits = false;
    bool m_recording = false;
    QVariantList m_records;
    std::unique_ptr<class RecordSink> m_sink;
};

} // namespace Agent
} // namespace Vexil

#endif // VEXIL_AGENT_AGENT_H
