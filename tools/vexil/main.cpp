// vexil: the command-line tool for test-suite authors: runs test scripts against a Qt program under the
// agent, shows its object tree, records sessions into tests, checks and rewrites object maps, takes names
// apart and converts gesture files.
#include "cli.h"
#include "commands.h"

#include <QString>
#include <QStringList>

namespace {

using namespace VexilTool;

const std::vector<Command> &commandTable()
{
    static const std::vector<Command> table = { launchCommand(), runCommand(),  treeCommand(),
                                                recordCommand(), nameCommand(), objectMapCommand(),
                                                gestureCommand() };
    return table;
}

QString help()
{
    return QStringLiteral("Usage: vexil COMMAND [ARGUMENTS...]\n\nCommands:\n") + commandList(commandTable())
        + QStringLiteral(R"HELP(

'vexil COMMAND --help' (or 'vexil help COMMAND') describes a command.

Errors name the file, the line and, where there is one, the column: "demo.vxs:12: ...".
Exit codes: 0 success; 1 failures found (failed steps, a bad object map, name or gesture file);
2 usage errors and files that cannot be read or written.)HELP");
}

int dispatch(const QString &name, const QStringList &rest)
{
    for (const Command &command : commandTable()) {
        if (name == QLatin1String(command.name))
            return execute(command, name, rest);
    }
    err(QStringLiteral("vexil: unknown command '%1'").arg(name));
    err(QStringLiteral("Try 'vexil --help'."));
    return ExitUsage;
}

} // namespace

int main(int argc, char **argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromLocal8Bit(argv[i]));

    if (args.isEmpty()) {
        err(help());
        return ExitUsage;
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")
        || (command == QLatin1String("help") && args.isEmpty())) {
        out(help());
        return ExitOk;
    }
    if (command == QLatin1String("--version")) {
        out(QStringLiteral("vexil " VEXIL_VERSION));
        return ExitOk;
    }
    // "help objectmap check" is "objectmap check --help".
    if (command == QLatin1String("help"))
        return dispatch(args.at(0), args.mid(1) << QStringLiteral("--help"));
    return dispatch(command, args);
}
