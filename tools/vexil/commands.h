// commands.h: the entries of vexil's command table, one function per command family.
#ifndef VEXIL_TOOL_COMMANDS_H
#define VEXIL_TOOL_COMMANDS_H

#include "cli.h"

namespace VexilTool {

Command launchCommand();
Command runCommand();
Command treeCommand();
Command recordCommand();
Command objectMapCommand();
Command nameCommand();
Command gestureCommand();

} // namespace VexilTool

#endif // VEXIL_TOOL_COMMANDS_H
