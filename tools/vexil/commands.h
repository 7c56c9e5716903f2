// commands.h: the vexil subcommands. Each takes the arguments after its own name and returns an exit code.
#ifndef VEXIL_TOOL_COMMANDS_H
#define VEXIL_TOOL_COMMANDS_H

#include <QStringList>

#include <objectname.h>

namespace VexilTool {

int runCommand(const QStringList &args);
int launchCommand(const QStringList &args);
int treeCommand(const QStringList &args);
int objectMapCommand(const QStringList &args);
int nameCommand(const QStringList &args);
int gestureCommand(const QStringList &args);

/// Prints \p head and the parser's message for \p name (made from \p text) on standard error, then
/// \p text with a caret under the place where parsing failed, when the failure has one.
void printNameError(const QString &head, const QString &text, const Vexil::ObjectName &name);

} // namespace VexilTool

#endif // VEXIL_TOOL_COMMANDS_H
