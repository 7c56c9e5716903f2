// valuetext.h: how values read in the tool's output and how "expect" compares them.
#ifndef VEXIL_TOOL_VALUETEXT_H
#define VEXIL_TOOL_VALUETEXT_H

#include <object.h>

#include <QString>

#include <functional>

namespace VexilTool {

/// The name an application object reads by (its symbolic name, else its real name); empty for anything
/// that is not an application object.
using ObjectNamer = std::function<QString(const Vexil::Object::Ptr &)>;

/// How a value reads in the tool's output: application objects by \p nameOf, arrays as "[a, b]",
/// rectangles, points and dates by their properties ("x=0 y=0 width=480 height=459"), anything else as
/// the value's text.
QString displayValue(const Vexil::Object::Ptr &value, const ObjectNamer &nameOf);

/// Quotes \p text by the script rule when it needs it: blanks, quotes or nothing at all.
QString scriptQuoted(const QString &text);

} // namespace VexilTool

#endif // VEXIL_TOOL_VALUETEXT_H
