// cli.h: what every vexil subcommand shares: exit codes, the command table, option parsing, output, files,
// name error positions.
#ifndef VEXIL_TOOL_CLI_H
#define VEXIL_TOOL_CLI_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Vexil {
class ObjectName;
}

namespace VexilTool {

/// Exit codes a CI system can rely on.
enum ExitCode {
    ExitOk = 0, ///< everything worked, nothing failed
    ExitFailures = 1, ///< the command ran and found failures (failed steps, a bad map, a bad name or file)
    ExitUsage = 2 ///< bad command line, or a file that cannot be read or written
};

/// An option a subcommand accepts: its long name ("--depth"), an optional short alias ("-o"), whether it
/// takes a value and the name of that value in messages.
struct OptionDecl
{
    const char *name;
    const char *alias;
    const char *valueName; ///< null for a flag
};

/// A parsed command line: positionals in order, options in the order given (an option may repeat).
class Args
{
public:
    /// False with \p error set for an unknown option, a missing option value or a value given to a flag.
    /// "--help" and "-h" anywhere only set help(); "--" ends the options.
    bool parse(const QStringList &argv, const std::vector<OptionDecl> &known, QString *error);

    bool help() const { return m_help; }
    const QStringList &positionals() const { return m_positionals; }
    bool has(const QString &name) const;
    /// The last value given for \p name, or a null string.
    QString value(const QString &name) const;
    /// Every (option, value) pair in command-line order.
    const std::vector<std::pair<QString, QString>> &options() const { return m_options; }

private:
    bool m_help = false;
    QStringList m_positionals;
    std::vector<std::pair<QString, QString>> m_options;
};

struct Invocation;

/// One vexil command or subcommand: its help, the options and number of arguments it takes, and the function
/// that runs it once the command line has checked out. A group (objectmap, gesture) has subcommands instead.
struct Command
{
    const char *name;
    const char *synopsis; ///< the command line as "vexil --help" lists it
    const char *summary; ///< what it does, in one line for "vexil --help"
    const char *help; ///< all of "vexil COMMAND --help"
    std::vector<OptionDecl> options;
    int minArgs = 0;
    int maxArgs = 0; ///< -1: any number of positional arguments
    const char *missingArgs = nullptr; ///< the usage error for fewer than minArgs
    const char *extraArgs = nullptr; ///< for more than maxArgs; null: "unexpected argument 'X'"
    int (*run)(const Invocation &) = nullptr;
    std::vector<Command> subcommands;
};

/// A command line that checked out against its Command: what the run function gets.
struct Invocation
{
    QString command; ///< "run", "objectmap check"
    Args args;

    const QStringList &positionals() const { return args.positionals(); }
    /// "vexil COMMAND: message" on standard error; returns ExitUsage.
    int fail(const QString &message) const;
    /// The same with a hint to --help, for a bad command line.
    int usage(const QString &message) const;
    /// Reads a whole file; when it cannot, reports why through fail() and returns false.
    bool read(const QString &path, QByteArray *data) const;
};

/// Parses \p argv for \p command (named \p fullName in messages), answers --help, checks the positional
/// arguments and runs it; a group hands the rest to its subcommand. Returns the exit code.
int execute(const Command &command, const QString &fullName, const QStringList &argv);
/// The commands and subcommands of \p table as "vexil --help" lists them, one synopsis and summary each.
QString commandList(const std::vector<Command> &table);

/// One line to standard output or standard error, flushed at once so that the two streams stay in order
/// when they go to the same place.
void out(const QString &line);
void err(const QString &line);

/// "vexil <command>: <message>" and a hint to --help on standard error; returns ExitUsage.
int usageError(const QString &command, const QString &message);

/// Reads the whole file; on failure \p error says why ("cannot open 'x': No such file or directory").
bool readFile(const QString &path, QByteArray *data, QString *error);
/// Writes \p data through a temporary file renamed into place, so readers never see half a file; "-" is
/// standard output.
bool writeFileAtomically(const QString &path, const QByteArray &data, QString *error);

/// The parser's message without its trailing line break.
QString cleanMessage(const QString &message);
/// Spaces (and the tabs of \p text, so columns line up) up to \p index, then "^".
QString caretLine(const QString &text, int index);

/// Prints \p head and the parser's message for \p name (made from \p text) on standard error, then \p text
/// with a caret under the place where parsing failed, when the failure has one.
void printNameError(const QString &head, const QString &text, const Vexil::ObjectName &name);

/// Parses "X" or "X,Y" into two finite numbers (Y = X when given once).
bool parseNumberPair(const QString &text, double *x, double *y, bool allowSingle);
bool parseNumber(const QString &text, double *value);

} // namespace VexilTool

#endif // VEXIL_TOOL_CLI_H
