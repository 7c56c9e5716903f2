// recordcommand.cpp: "vexil record": the Python client's recorder (python3 -m vexil record), started with
// the package and the agent this vexil belongs to.
#include "cli.h"
#include "commands.h"

#include <remoteconnection.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace VexilTool {

namespace {

const char kRecordHelp[] = R"HELP(Usage: vexil record --app "PROGRAM ARGS" [-o FILE] [--objectmap MAP]

Starts PROGRAM under the agent on the display (DISPLAY or WAYLAND_DISPLAY, or xvfb-run), records what
you do in it, and when the program closes (or on Ctrl+C) writes a pytest test that replays it, using the
object map's symbolic names; the map is written or extended with the objects used.

Runs "/usr/bin/python3 -m vexil record" with the Vexil Python package installed next to this vexil.

Options:
  --app "PROGRAM ARGS"  the program to record, split like a shell would
  -o, --output FILE     the test file to write (default test_recorded.py)
  --objectmap MAP       the object map to extend (default: FILE with the extension .objectmap)

Exit codes: 0 the test was written, 1 the recording failed, 2 usage error or no python3.)HELP";

const char kPython[] = "/usr/bin/python3";

// The directory that holds the "vexil" package: the installed copy, else the source tree's.
QString pythonPackageDir()
{
    const QString installed = QCoreApplication::applicationDirPath()
        + QStringLiteral("/../" VEXIL_INSTALL_DATADIR "/vexil/python");
    if (QFileInfo::exists(installed + QStringLiteral("/vexil/__main__.py")))
        return QDir(installed).canonicalPath();
    return QStringLiteral(VEXIL_PYTHON_SOURCE_DIR);
}

int record(const Invocation &call)
{
    const QString app = call.args.value(QStringLiteral("--app"));
    if (app.trimmed().isEmpty())
        return call.usage(QStringLiteral("missing --app \"PROGRAM ARGS\""));
    if (!QFileInfo(QString::fromLatin1(kPython)).isExecutable())
        return call.fail(
            QStringLiteral("%1 not found: recording needs Debian's python3 (apt-get install python3)")
                .arg(QString::fromLatin1(kPython)));

    int argc = 1;
    char name[] = "vexil";
    char *fake[] = { name, nullptr };
    QCoreApplication core(argc, fake);
    const QString packages = pythonPackageDir();
    const QByteArray oldPath = qgetenv("PYTHONPATH");
    qputenv("PYTHONPATH", QFile::encodeName(packages) + (oldPath.isEmpty() ? QByteArray() : ":" + oldPath));
    const QString agent = Vexil::Remote::Application::agentLibrary();
    if (!agent.isEmpty())
        qputenv("VEXIL_AGENT_LIBRARY", QFile::encodeName(agent));

    QStringList args { QStringLiteral("-m"), QStringLiteral("vexil"), QStringLiteral("record"),
                       QStringLiteral("--app"), app };
    if (call.args.has(QStringLiteral("--output")))
        args << QStringLiteral("--output") << call.args.value(QStringLiteral("--output"));
    if (call.args.has(QStringLiteral("--objectmap")))
        args << QStringLiteral("--objectmap") << call.args.value(QStringLiteral("--objectmap"));

    std::vector<QByteArray> bytes { QByteArray(kPython) };
    for (const QString &a : args)
        bytes.push_back(a.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &b : bytes)
        argv.push_back(b.data());
    argv.push_back(nullptr);
    std::fflush(stdout);
    std::fflush(stderr);
    execv(kPython, argv.data());
    return call.fail(QStringLiteral("cannot run %1: %2")
                         .arg(QString::fromLatin1(kPython), QString::fromLocal8Bit(std::strerror(errno))));
}

} // namespace

Command recordCommand()
{
    return { "record",
             "record --app \"PROGRAM ARGS\" [-o FILE] [--objectmap MAP]",
             "record what you do in a program into a pytest test",
             kRecordHelp,
             { { "--app", nullptr, "\"PROGRAM ARGS\"" },
               { "--output", "-o", "FILE" },
               { "--objectmap", nullptr, "MAP" } },
             0,
             0,
             nullptr,
             nullptr,
             record,
             {} };
}

} // namespace VexilTool
