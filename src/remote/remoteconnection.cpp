// remoteconnection.cpp: the runner's side of the wire, and launching programs under the agent.
#include "remoteconnection.h"

#include "protocol.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QLocalSocket>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Vexil {
namespace Remote {

struct Connection::Private
{
    std::unique_ptr<QLocalSocket> local;
    std::unique_ptr<QTcpSocket> tcp;
    Protocol::FrameReader reader;
    quint32 nextId = 1;

    QIODevice *device() const
    {
        if (local)
            return local.get();
        return tcp.get();
    }
    bool connected() const
    {
        if (local)
            return local->state() == QLocalSocket::ConnectedState;
        return tcp && tcp->state() == QAbstractSocket::ConnectedState;
    }
    bool waitForReadyRead(int ms) { return local ? local->waitForReadyRead(ms) : tcp->waitForReadyRead(ms); }
    void flush()
    {
        if (local)
            local->flush();
        else
            tcp->flush();
    }
};

Connection::Connection()
    : d(new Private)
{
}

Connection::~Connection()
{
    close();
}

bool Connection::isOpen() const
{
    return d->connected();
}

void Connection::close()
{
    if (d->local)
        d->local->abort();
    if (d->tcp)
        d->tcp->abort();
    d->local.reset();
    d->tcp.reset();
}

bool Connection::open(const QString &address, const QString &token, int timeoutMs, Error *error)
{
    close();
    d->reader = Protocol::FrameReader();
    QDeadlineTimer deadline(timeoutMs);
    if (address.startsWith(QLatin1String("local:"))) {
        d->local.reset(new QLocalSocket);
        d->local->connectToServer(address.mid(6));
        if (!d->local->waitForConnected(int(deadline.remainingTime()))) {
            error->code = Protocol::NotConnected;
            error->text = QStringLiteral("cannot connect to %1: %2").arg(address, d->local->errorString());
            close();
            return false;
        }
    } else if (address.startsWith(QLatin1String("tcp:"))) {
        QString hostPort = address.mid(4);
        const int colon = hostPort.lastIndexOf(QLatin1Char(':'));
        QString host = hostPort.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
            host = host.mid(1, host.size() - 2);
        bool ok = false;
        const quint16 port = hostPort.mid(colon + 1).toUShort(&ok);
        if (colon <= 0 || !ok) {
            error->code = Protocol::NotConnected;
            error->text = QStringLiteral("'%1' is not an address (expected tcp:HOST:PORT)").arg(address);
            return false;
        }
        d->tcp.reset(new QTcpSocket);
        d->tcp->connectToHost(host, port);
        if (!d->tcp->waitForConnected(int(deadline.remainingTime()))) {
            error->code = Protocol::NotConnected;
            error->text = QStringLiteral("cannot connect to %1: %2").arg(address, d->tcp->errorString());
            close();
            return false;
        }
        d->tcp->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    } else {
        error->code = Protocol::NotConnected;
        error->text =
            QStringLiteral("'%1' is not an address (expected local:PATH or tcp:HOST:PORT)").arg(address);
        return false;
    }

    QByteArray body;
    {
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        out << Protocol::Version << token << QStringLiteral("vexil");
    }
    QByteArray answer;
    if (!request(Protocol::Hello, body, &answer, error, int(qMax<qint64>(1, deadline.remainingTime())))) {
        if (error->code == Protocol::ConnectionLost)
            error->text = QStringLiteral("the agent closed the connection without an answer (wrong token?)");
        close();
        return false;
    }
    QDataStream in(answer);
    Protocol::setUp(in);
    quint32 version = 0;
    in >> version >> m_info.qtVersion >> m_info.pid >> m_info.program >> m_info.tcpAddress;
    if (in.status() != QDataStream::Ok) {
        error->code = Protocol::BadRequest;
        error->text = QStringLiteral("the agent's handshake did not read");
        close();
        return false;
    }
    return true;
}

bool Connection::request(quint16 kind, const QByteArray &body, QByteArray *answer, Error *error,
                         int timeoutMs)
{
    if (!d->connected()) {
        error->code = Protocol::NotConnected;
        error->text = QStringLiteral("not connected to the application");
        if (onLost)
            onLost(error);
        return false;
    }
    const quint32 id = d->nextId++;
    if (d->nextId == 0)
        d->nextId = 1;
    d->device()->write(Protocol::encodeFrame(id, kind, body));
    d->flush();
    QDeadlineTimer deadline(timeoutMs < 0 ? QDeadlineTimer::Forever : QDeadlineTimer(timeoutMs));
    for (;;) {
        Protocol::Frame frame;
        const Protocol::FrameReader::Result r = d->reader.next(&frame);
        if (r == Protocol::FrameReader::Invalid) {
            close();
            error->code = Protocol::ConnectionLost;
            error->text = QStringLiteral("the agent sent a malformed frame");
            return false;
        }
        if (r == Protocol::FrameReader::FrameReady) {
            if (frame.id == 0) {
                if (onPush)
                    onPush(frame.kind, frame.body);
                continue;
            }
            if (frame.id != id)
                continue; // the late answer of a request that timed out
            if (frame.kind == Protocol::Ok) {
                *answer = frame.body;
                return true;
            }
            QDataStream in(frame.body);
            Protocol::setUp(in);
            quint16 code = 0;
            QString text;
            in >> code >> text;
            error->code = code ? code : quint16(Protocol::BadRequest);
            error->text = text;
            return false;
        }
        if (!d->connected() && d->device()->bytesAvailable() == 0) {
            error->code = Protocol::ConnectionLost;
            error->text = QStringLiteral("the connection to the application was lost");
            if (onLost)
                onLost(error);
            return false;
        }
        if (deadline.hasExpired()) {
            error->code = Protocol::Timeout;
            error->text = QStringLiteral(
                              "the application did not answer within %1 s (is its GUI thread busy?)")
                              .arg(timeoutMs / 1000.0);
            return false;
        }
        if (d->device()->bytesAvailable() == 0)
            d->waitForReadyRead(int(qMin<qint64>(deadline.remainingTime(), 1000)));
        d->reader.append(d->device()->readAll());
    }
}

Application::Application() = default;

Application::~Application()
{
    if (m_process && m_process->state() != QProcess::NotRunning)
        close(1000);
    if (!m_socketDir.isEmpty())
        QDir(m_socketDir).removeRecursively();
}

qint64 Application::pid() const
{
    if (m_process)
        return m_process->processId();
    return m_connection.agentInfo().pid;
}

bool Application::isRunning() const
{
    if (m_process)
        return m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(0);
    return m_connection.isOpen();
}

QString Application::exitText()
{
    if (!m_process)
        return QString();
    if (m_process->state() != QProcess::NotRunning)
        m_process->waitForFinished(200);
    if (m_process->state() != QProcess::NotRunning)
        return QString();
    if (m_process->exitStatus() == QProcess::CrashExit) {
        // QProcess does not say which signal; the wait status it read does, through the exit code it keeps.
        const int code = m_process->exitCode();
        return QStringLiteral("application killed by signal %1").arg(code);
    }
    return QStringLiteral("application exited with code %1").arg(m_process->exitCode());
}

int Application::waitForExit(int timeoutMs)
{
    if (!m_process)
        return 0;
    m_process->waitForFinished(timeoutMs);
    if (m_process->state() != QProcess::NotRunning)
        return 0;
    return m_process->exitStatus() == QProcess::CrashExit ? -m_process->exitCode() : m_process->exitCode();
}

int Application::close(int graceMs)
{
    // Waiting for a program to end by itself only makes sense when it was asked to.
    bool asked = false;
    if (m_connection.isOpen()) {
        asked = true;
        QByteArray body, answer;
        QDataStream out(&body, QIODevice::WriteOnly);
        Protocol::setUp(out);
        out << qint32(0);
        Error error;
        m_connection.request(Protocol::Quit, body, &answer, &error, graceMs);
        m_connection.close();
    }
    if (!m_process)
        return 0;
    if (m_process->state() != QProcess::NotRunning && !(asked && m_process->waitForFinished(graceMs))) {
        m_process->terminate();
        if (!m_process->waitForFinished(graceMs)) {
            m_process->kill();
            m_process->waitForFinished(5000);
        }
    }
    return m_process->exitStatus() == QProcess::CrashExit ? -m_process->exitCode() : m_process->exitCode();
}

QString Application::agentLibrary()
{
    const QString fromEnv = qEnvironmentVariable("VEXIL_AGENT_LIBRARY");
    if (!fromEnv.isEmpty())
        return QFileInfo(fromEnv).absoluteFilePath();
    QStringList candidates;
    const QString exeDir = QCoreApplication::applicationDirPath();
    candidates << exeDir + QStringLiteral("/../" VEXIL_INSTALL_LIBDIR "/vexil/libvexil_agent.so")
               << QStringLiteral(VEXIL_AGENT_BUILD_PATH);
    for (const QString &c : candidates) {
        if (QFileInfo::exists(c))
            return QFileInfo(c).canonicalFilePath();
    }
    return QString();
}

namespace {

// A runner that dies must not leave its programs running (and holding its output pipes).
class ChildProcess : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }
};

QString randomToken()
{
    QByteArray bytes(24, Qt::Uninitialized);
    QRandomGenerator *rng = QRandomGenerator::system();
    for (char &b : bytes)
        b = char(rng->bounded(256));
    return QString::fromLatin1(bytes.toHex());
}

// Reads an ELF program's Qt dependency without running it: empty when it is not ELF or ldd cannot tell.
QString qtDependencyProblem(const QString &program)
{
    QFile file(program);
    if (!file.open(QIODevice::ReadOnly)
        || file.read(4)
            != QByteArray("\x7f"
                          "ELF",
                          4))
        return QString();
    QProcess ldd;
    ldd.start(QStringLiteral("ldd"), { program });
    if (!ldd.waitForFinished(10000) || ldd.exitCode() != 0)
        return QString();
    const QString libs = QString::fromLocal8Bit(ldd.readAllStandardOutput());
    if (libs.contains(QLatin1String("libQt5Core.so")))
        return QString();
    if (libs.contains(QLatin1String("libQt6Core.so")))
        return QStringLiteral("%1 is a Qt 6 program, not a Qt 5 program").arg(program);
    return QStringLiteral("%1 is not a Qt 5 program (it does not use libQt5Core)").arg(program);
}

#ifdef VEXIL_SANITIZE_BUILD
// A sanitizer-built agent needs the sanitizer runtime loaded before anything else, and this runner, built the
// same way, has it: preload that very file first.
QString sanitizerRuntime()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        return QString();
    for (const QByteArray &line : maps.readAll().split('\n')) {
        const int slash = line.indexOf('/');
        if (slash > 0 && line.contains("/libasan.so"))
            return QString::fromLocal8Bit(line.mid(slash));
    }
    return QString();
}
#endif

QString findProgram(const QString &name)
{
    if (name.contains(QLatin1Char('/')))
        return QFileInfo(name).isFile() ? QFileInfo(name).absoluteFilePath() : QString();
    return QStandardPaths::findExecutable(name);
}

} // namespace

std::unique_ptr<Application> Application::launch(const QStringList &argv, const Options &options,
                                                 QString *error)
{
    if (argv.isEmpty()) {
        *error = QStringLiteral("no program to launch");
        return nullptr;
    }
    const QString program = findProgram(argv.first());
    if (program.isEmpty()) {
        *error = QStringLiteral("program not found: %1").arg(argv.first());
        return nullptr;
    }
    const QString problem = qtDependencyProblem(program);
    if (!problem.isEmpty()) {
        *error = problem;
        return nullptr;
    }
    const QString agent = agentLibrary();
    if (agent.isEmpty()) {
        *error = QStringLiteral(
            "the agent library libvexil_agent.so was not found (set VEXIL_AGENT_LIBRARY)");
        return nullptr;
    }

    std::unique_ptr<Application> app(new Application);
    // A private directory for the socket: only this user may even look inside.
    QString base = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (base.isEmpty() || !QFileInfo(base).isWritable())
        base = QDir::tempPath();
    QByteArray dirTemplate = QFile::encodeName(base + QStringLiteral("/vexil-XXXXXX"));
    if (!mkdtemp(dirTemplate.data())) {
        *error = QStringLiteral("cannot make a socket directory under %1").arg(base);
        return nullptr;
    }
    app->m_socketDir = QFile::decodeName(dirTemplate);
    ::chmod(dirTemplate.constData(), 0700);
    const QString socketPath = app->m_socketDir + QStringLiteral("/agent.sock");
    app->m_address = QStringLiteral("local:") + socketPath;
    app->m_token = randomToken();

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString &assignment : options.extraEnvironment) {
        const int eq = assignment.indexOf(QLatin1Char('='));
        if (eq > 0)
            env.insert(assignment.left(eq), assignment.mid(eq + 1));
    }
    const QString userPreload = env.value(QStringLiteral("LD_PRELOAD"));
    QString preload = userPreload.isEmpty() ? agent : agent + QLatin1Char(':') + userPreload;
#ifdef VEXIL_SANITIZE_BUILD
    const QString runtime = sanitizerRuntime();
    if (!runtime.isEmpty())
        preload = runtime + QLatin1Char(':') + preload;
    // The programs under test are not ours to check for leaks; the agent's own code is checked in-process.
    env.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
#endif
    env.insert(QStringLiteral("LD_PRELOAD"), preload);
    env.insert(QStringLiteral("VEXIL_AGENT_SOCKET"), socketPath);
    env.insert(QStringLiteral("VEXIL_AGENT_TOKEN"), app->m_token);
    if (!options.listen.isEmpty())
        env.insert(QStringLiteral("VEXIL_AGENT_LISTEN"), options.listen);
    // Qt wants a private runtime directory and complains without one; the socket's directory is one.
    if (!env.contains(QStringLiteral("XDG_RUNTIME_DIR")))
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), app->m_socketDir);
    if (!options.visible && !env.contains(QStringLiteral("QT_QPA_PLATFORM")))
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    // Qt Quick finds no OpenGL offscreen: its software renderer draws, unless the user chose a renderer.
    if (env.value(QStringLiteral("QT_QPA_PLATFORM")).startsWith(QLatin1String("offscreen"))
        && env.value(QStringLiteral("QT_QUICK_BACKEND")).isEmpty()
        && env.value(QStringLiteral("QMLSCENE_DEVICE")).isEmpty())
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));

    app->m_process.reset(new ChildProcess);
    app->m_process->setProcessEnvironment(env);
    app->m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    if (!options.workingDirectory.isEmpty())
        app->m_process->setWorkingDirectory(options.workingDirectory);
    app->m_process->start(program, argv.mid(1));
    if (!app->m_process->waitForStarted(options.timeoutMs)) {
        *error = QStringLiteral("cannot start %1: %2").arg(program, app->m_process->errorString());
        return nullptr;
    }

    // The agent listens once the program's event loop runs; watch for that and for an early exit.
    QDeadlineTimer deadline(options.timeoutMs);
    while (!QFileInfo::exists(socketPath)) {
        if (app->m_process->waitForFinished(20)) {
            *error = QStringLiteral("%1 %2 before the agent started").arg(program, app->exitText().mid(12));
            return nullptr;
        }
        if (deadline.hasExpired()) {
            *error = QStringLiteral("no handshake in %1 s (is %2 a Qt 5 Widgets program?)")
                         .arg(options.timeoutMs / 1000.0)
                         .arg(program);
            app->close(500);
            return nullptr;
        }
    }
    Error connectError;
    if (!app->m_connection.open(app->m_address, app->m_token,
                                int(qMax<qint64>(1000, deadline.remainingTime())), &connectError)) {
        *error = connectError.code == Protocol::Unsupported
            ? QStringLiteral("%1: %2").arg(program, connectError.text)
            : QStringLiteral("no handshake with %1: %2").arg(program, connectError.text);
        app->close(500);
        return nullptr;
    }
    Application *raw = app.get();
    app->m_connection.onLost = [raw](Error *e) {
        const QString exit = raw->exitText();
        if (!exit.isEmpty())
            e->text = exit;
    };
    return app;
}

std::unique_ptr<Application> Application::attach(const QString &address, const QString &token, int timeoutMs,
                                                 QString *error)
{
    std::unique_ptr<Application> app(new Application);
    app->m_address = address;
    app->m_token = token;
    Error e;
    if (!app->m_connection.open(address, token, timeoutMs, &e)) {
        *error = e.text;
        return nullptr;
    }
    return app;
}

} // namespace Remote
} // namespace Vexil
