// vexil: the command-line tool for test-suite authors: runs test scripts against the demo application,
// shows its object tree, checks and rewrites object maps, takes names apart and converts gesture files.
#include "cli.h"
#include "commands.h"

#include <QString>
#include <QStringList>

namespace {

const char kHelp[] = R"HELP(Usage: vexil COMMAND [ARGUMENTS...]

Commands:
  launch [--listen tcp:HOST:PORT] -- PROGRAM [ARGS...]
                             start a Qt program with the agent and print how to reach it
  run SCRIPT [--objectmap FILE] [--visible] [--verbose]
                             run a test script against the demo application
  tree [--depth N] [--properties] [--objectmap FILE]
                             print the demo application's object tree with real and symbolic names
  objectmap check FILE       report real names that do not parse and duplicate names in an object map
  objectmap normalize FILE [-o OUT]
                             rewrite an object map in canonical order and form
  objectmap lookup FILE NAME resolve a symbolic name to its real name, or a real name to its symbolic name
  name NAME                  parse a multi-property name and print its canonical form and properties
  gesture info FILE          summarise a gesture XML file
  gesture convert FILE --unit px|mm|pt --dpi X[,Y] [-o OUT]
                             convert gestures to another unit
  gesture transform FILE [--translate DX,DY] [--scale S] [--rotate A] [--accelerate F] [-o OUT]
                             move, scale, rotate or speed up gestures

'vexil COMMAND --help' (or 'vexil help COMMAND') describes a command.

Errors name the file, the line and, where there is one, the column: "demo.vxs:12: ...".
Exit codes: 0 success; 1 failures found (failed steps, a bad object map, name or gesture file);
2 usage errors and files that cannot be read or written.)HELP";

int dispatch(const QString &command, const QStringList &rest)
{
    using namespace VexilTool;
    if (command == QLatin1String("launch"))
        return launchCommand(rest);
    if (command == QLatin1String("run"))
        return runCommand(rest);
    if (command == QLatin1String("tree"))
        return treeCommand(rest);
    if (command == QLatin1String("objectmap"))
        return objectMapCommand(rest);
    if (command == QLatin1String("name"))
        return nameCommand(rest);
    if (command == QLatin1String("gesture"))
        return gestureCommand(rest);
    err(QStringLiteral("vexil: unknown command '%1'").arg(command));
    err(QStringLiteral("Try 'vexil --help'."));
    return ExitUsage;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace VexilTool;
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromLocal8Bit(argv[i]));

    if (args.isEmpty()) {
        err(QString::fromUtf8(kHelp));
        return ExitUsage;
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        out(QString::fromUtf8(kHelp));
        return ExitOk;
    }
    if (command == QLatin1String("--version")) {
        out(QStringLiteral("vexil " VEXIL_VERSION));
        return ExitOk;
    }
    if (command == QLatin1String("help")) {
        if (args.isEmpty()) {
            out(QString::fromUtf8(kHelp));
            return ExitOk;
        }
        // "help objectmap check" is "objectmap check --help".
        return dispatch(args.at(0), args.mid(1) << QStringLiteral("--help"));
    }
    return dispatch(command, args);
}
