// diagnostics.h: the one path of the library's messages that are not script errors.
#ifndef VEXIL_DIAGNOSTICS_H
#define VEXIL_DIAGNOSTICS_H

#include "vexil_export.h"

#include <QString>

#include <functional>

namespace Vexil {

/// Receives a message that is not a script error (a refused property write, an unknown enum value, a map
/// file that could not be saved, ...). \p text has no line ending; \p endsLine says whether the default
/// handler ends the line after it (one message, Inspector::sendEvent's, never did).
using DiagnosticHandler = std::function<void(const QString &text, bool endsLine)>;

/// Sends every later diagnostic to \p handler and returns the handler it replaces. An empty handler
/// restores the default, which writes the text (UTF-8) and, if \p endsLine, a line feed to standard error.
VEXIL_EXPORT DiagnosticHandler setDiagnosticHandler(DiagnosticHandler handler);
/// Passes \p text to the installed handler.
VEXIL_EXPORT void diagnostic(const QString &text, bool endsLine = true);

} // namespace Vexil

#endif // VEXIL_DIAGNOSTICS_H
