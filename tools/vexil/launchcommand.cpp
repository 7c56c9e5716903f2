// launchcommand.cpp: "vexil launch": starts a program under the agent, prints how to reach it and stays
// with it until it ends, so that scripts on this machine or (with --listen tcp:...) others can attach.
#include "cli.h"
#include "commands.h"

#include <remoteconnection.h>

#include <QCoreApplication>

#include <csignal>

namespace VexilTool {

namespace {

const char kHelp[] =
    R"HELP(Usage: vexil launch [--listen tcp:HOST:PORT] [--visible] [--timeout SECONDS] -- PROGRAM [ARGS...]

Starts PROGRAM with the Vexil agent and prints how to reach it:
  address: local:/run/user/1000/vexil-Ab12Cd/agent.sock   (or the tcp: address with --listen)
  token: 3f2a...                                           (what every TCP client must present)
  pid: 12345
then waits until the program ends and exits with its exit code. Ctrl+C ends the program.
The program runs on Qt's offscreen platform unless --visible is given or QT_QPA_PLATFORM is set.

Options:
  --listen tcp:HOST:PORT  listen on TCP as well (port 0: any free port); clients need the token
  --visible               show the program on the display
  --timeout SECONDS       how long to wait for the agent's handshake (default 30))HELP";

volatile std::sig_atomic_t g_stop = 0;

void onSignal(int)
{
    g_stop = 1;
}

int launch(const Invocation &call)
{
    const Args &args = call.args;
    QString error;
    Vexil::Remote::Application::Options options;
    options.listen = args.value(QStringLiteral("--listen"));
    options.visible = args.has(QStringLiteral("--visible"));
    if (!options.listen.isEmpty() && !options.listen.startsWith(QLatin1String("tcp:")))
        return call.usage(QStringLiteral("--listen takes tcp:HOST:PORT"));
    if (args.has(QStringLiteral("--timeout"))) {
        bool ok = false;
        const double seconds = args.value(QStringLiteral("--timeout")).toDouble(&ok);
        if (!ok || seconds <= 0)
            return call.usage(QStringLiteral("--timeout takes a number of seconds"));
        options.timeoutMs = int(seconds * 1000);
    }

    int argc = 1;
    char name[] = "vexil";
    char *fake[] = { name, nullptr };
    QCoreApplication app(argc, fake);
    auto program = Vexil::Remote::Application::launch(args.positionals(), options, &error);
    if (!program) {
        err(QStringLiteral("vexil launch: %1").arg(error));
        return ExitFailures;
    }
    out(QStringLiteral("address: %1")
            .arg(program->tcpAddress().isEmpty() ? program->address() : program->tcpAddress()));
    out(QStringLiteral("token: %1").arg(program->token()));
    out(QStringLiteral("pid: %1").arg(program->pid()));
    // The launcher keeps its own connection closed so it does not hold the agent's attention.
    program->connection().close();

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    while (program->isRunning()) {
        if (g_stop) {
            err(QStringLiteral("vexil launch: ending %1").arg(args.positionals().first()));
            return program->close() == 0 ? ExitOk : ExitFailures;
        }
        program->waitForExit(200);
    }
    const QString exit = program->exitText();
    const int code = program->waitForExit(0);
    if (code != 0)
        err(QStringLiteral("vexil launch: %1").arg(exit));
    return code < 0 ? 128 - code : code;
}

} // namespace

Command launchCommand()
{
    return { "launch",
             "launch [--listen tcp:HOST:PORT] -- PROGRAM [ARGS...]",
             "start a Qt program with the agent and print how to reach it",
             kHelp,
             { { "--listen", nullptr, "ADDRESS" },
               { "--visible", nullptr, nullptr },
               { "--timeout", nullptr, "SECONDS" } },
             1,
             -1,
             "no program given",
             nullptr,
             launch,
             {} };
}

} // namespace VexilTool
