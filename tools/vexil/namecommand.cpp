// namecommand.cpp: "vexil name": a multi-property name taken apart, or the parser's complaint with a caret.
#include "cli.h"
#include "commands.h"

#include <objectname.h>

namespace VexilTool {

namespace {

const char kNameHelp[] = R"HELP(Usage: vexil name NAME

Parses an object name the way object lookup does and prints its canonical form and its properties, one
per line in key order as "key operator value"; nested names are taken apart below their property.
A plain hierarchical name (a.b.c) or a symbolic name (:Name) has no properties and is only classified.

When the name does not parse, prints the parser's message, the name, and a caret under the column the
message points to.

Quote the name for the shell: vexil name "{type='QPushButton' text='OK'}"

Exit codes: 0 the name is valid, 1 it does not parse, 2 usage error.)HELP";

QString operatorText(Vexil::PropertyValue::Modifiers m)
{
    switch (m) {
    case Vexil::PropertyValue::Equals:
        return QStringLiteral("=");
    case Vexil::PropertyValue::RegularExpression:
        return QStringLiteral("~=");
    case Vexil::PropertyValue::Wildcard:
        return QStringLiteral("?=");
    }
    return QString();
}

// A plain value as the canonical form writes it: quoted, backslashes doubled, quotes escaped.
QString quoted(const QString &value)
{
    QString v = value;
    v.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    v.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QLatin1Char('\'') + v + QLatin1Char('\'');
}

void printProperties(const QMap<QString, Vexil::PropertyValue> &props, int depth)
{
    const QString indent(2 * depth, QLatin1Char(' '));
    for (auto it = props.constBegin(); it != props.constEnd(); ++it) {
        const Vexil::PropertyValue &v = it.value();
        const bool nested = v.type() == Vexil::PropertyValue::NestedName;
        out(indent + it.key() + QLatin1Char(' ') + operatorText(v.modifiers()) + QLatin1Char(' ')
            + (nested ? v.value() : quoted(v.value())));
        if (nested)
            printProperties(Vexil::parseNameByProperties(v.value()), depth + 1);
    }
}

int describeName(const Invocation &call)
{
    const QString text = call.positionals().at(0);
    const Vexil::ObjectName name(text);
    if (!name.isValid()) {
        printNameError(QStringLiteral("vexil name: "), text, name);
        return ExitFailures;
    }
    if (!name.isMultiProperty()) {
        if (text.startsWith(QLatin1Char(':')))
            out(QStringLiteral("symbolic name: %1 (resolve it with 'vexil objectmap lookup FILE %1')")
                    .arg(text));
        else
            out(QStringLiteral("hierarchical name: %1").arg(text));
        return ExitOk;
    }
    out(Vexil::qualifiedNameFromProperties(name.properties()));
    printProperties(name.properties(), 1);
    return ExitOk;
}

} // namespace

Command nameCommand()
{
    return { "name",
             "name NAME",
             "parse a multi-property name and print its canonical form and properties",
             kNameHelp,
             {},
             1,
             1,
             "missing NAME",
             "expected one NAME (quote names with blanks)",
             describeName,
             {} };
}

} // namespace VexilTool
