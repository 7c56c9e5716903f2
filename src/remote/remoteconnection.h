// remoteconnection.h: a runner's connection to an agent, and the program it launched.
#ifndef VEXIL_REMOTECONNECTION_H
#define VEXIL_REMOTECONNECTION_H

#include "vexil_remote_export.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

QT_BEGIN_NAMESPACE
class QIODevice;
class QProcess;
QT_END_NAMESPACE

namespace Vexil {
namespace Remote {

/// A failed request: the protocol's error code (or ConnectionLost, NotConnected) and its text.
struct VEXIL_REMOTE_EXPORT Error
{
    quint16 code = 0;
    QString text;
    bool isError() const { return code != 0; }
};

/// What the agent said in the handshake.
struct VEXIL_REMOTE_EXPORT AgentInfo
{
    QString qtVersion;
    qint64 pid = 0;
    QString program;
    QString tcpAddress;
};

/// A blocking connection to one agent. Requests wait for their own answer; pushes that arrive meanwhile go
/// to the push handler; late answers to requests that timed out are dropped, so the connection stays usable.
class VEXIL_REMOTE_EXPORT Connection
{
public:
    Connection();
    ~Connection();

    /// Connects to "local:PATH" or "tcp:HOST:PORT" and makes the handshake.
    bool open(const QString &address, const QString &token, int timeoutMs, Error *error);
    void close();
    bool isOpen() const;
    const AgentInfo &agentInfo() const { return m_info; }

    /// Sends a request and waits up to \p timeoutMs for its answer body; false with \p error otherwise.
    bool request(quint16 kind, const QByteArray &body, QByteArray *answer, Error *error, int timeoutMs);

    /// Called for every push (kind, body), from within request() or waitForPush().
    std::function<void(quint16, const QByteArray &)> onPush;
    /// Called when the connection is lost, before request() fails; may fill in a better text.
    std::function<void(Error *)> onLost;

private:
    struct Private;
    std::unique_ptr<Private> d;
    AgentInfo m_info;
};

/// A program started under the agent: the process and the connection to its agent.
class VEXIL_REMOTE_EXPORT Application
{
public:
    struct Options
    {
        QStringList extraEnvironment; // "NAME=value"
        QString workingDirectory;
        QString listen; // "tcp:HOST:PORT" to listen there too
        int timeoutMs = 30000;
        bool visible = false; // keep the caller's QT_QPA_PLATFORM (a real display)
    };

    ~Application();

    /// Starts \p argv with the agent and connects. Null with \p error naming the cause: not found, not a Qt 5
    /// program, the agent's refusal, exited early with code N, no handshake in time.
    static std::unique_ptr<Application> launch(const QStringList &argv, const Options &options,
                                               QString *error);
    /// Connects to a program already running under the agent.
    static std::unique_ptr<Application> attach(const QString &address, const QString &token, int timeoutMs,
                                               QString *error);

    Connection &connection() { return m_connection; }
    qint64 pid() const;
    /// The local address (and, when asked for, the TCP address and token) to reach the agent.
    QString address() const { return m_address; }
    QString tcpAddress() const { return m_connection.agentInfo().tcpAddress; }
    QString token() const { return m_token; }
    bool isRunning() const;
    /// "application exited with code N" or "application killed by signal N"; empty while it runs or when
    /// this runner did not start it.
    QString exitText();
    /// Asks the program to quit, then terminates and kills it; the exit code (negative signal when killed).
    int close(int graceMs = 3000);
    /// Waits for a launched program to end by itself; the exit code as close() gives it.
    int waitForExit(int timeoutMs = -1);

    /// The agent library the launcher preloads: VEXIL_AGENT_LIBRARY, an installed copy or the build tree's.
    static QString agentLibrary();

private:
    Application();

    Connection m_connection;
    std::unique_ptr<QProcess> m_process;
    QString m_address;
    QString m_token;
    QString m_socketDir;
};

} // namespace Remote
} // namespace Vexil

#endif // VEXIL_REMOTECONNECTION_H
