// commands.h: the vexil subcommands. Each takes the arguments after its own name and returns an exit code.
#ifndef VEXIL_TOOL_COMMANDS_H
#define VEXIL_TOOL_COMMANDS_H

#include <QStringList>

namespace VexilTool {

int runCommand(const QStringList &args);
int launchCommand(const QStringList &args);
int treeCommand(const QStringList &args);
int objectMapCommand(const QStringList &args);
int nameCommand(const QStringList &args);
int gestureCommand(const QStringList &args);

/// Prints \p head and the name parser's \p message on standard error, then \p text (as given, untrimmed)
/// with a caret under the place the message points to, when it points somewhere.
void printNameError(const QString &head, const QString &text, const QString &message);

/// Where the parser's 0-based \p index into the trimmed form of \p text lies in \p text itself.
int untrimmedIndex(const QString &text, int index);

} // namespace VexilTool

#endif // VEXIL_TOOL_COMMANDS_H
