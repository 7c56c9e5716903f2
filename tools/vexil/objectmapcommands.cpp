// objectmapcommands.cpp: "vexil objectmap check|normalize|lookup": object map files as the library reads
// them.
#include "cli.h"
#include "commands.h"

#include <objectmap.h>

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace VexilTool {

namespace {

const char kObjectMapHelp[] = R"HELP(Usage: vexil objectmap check FILE
       vexil objectmap normalize FILE [-o OUT]
       vexil objectmap lookup FILE NAME

An object map file has one entry a line: the symbolic name, a tab, the real name (backslash escapes \\,
\n, \r and \t). Empty lines, lines starting with "#" and lines without a tab are skipped on load.

  check      Reports every entry whose real name does not parse (line, column, symbolic name and the
             parser's message), every symbolic name defined more than once (the last line wins on load),
             and every real name mapped from more than one symbolic name. Warns about lines without a tab
             and symbolic names that do not begin with ":" (lookups never reach them).
             Exit 1 when a problem was found.
  normalize  Writes the map back in canonical order (by symbolic name) and form (real names printed
             canonically), atomically, over FILE or to OUT ("-o -" is standard output). Comments, skipped
             lines and overridden duplicates are dropped, and each is noted on standard error.
  lookup     Prints the real name of a symbolic NAME (one that begins with ":"), or the symbolic name of
             a real NAME. Exit 1 when the map has none.

Exit codes: 0 success, 1 problems found or no such name, 2 usage error or unreadable FILE.)HELP";

const char kCheckHelp[] = R"HELP(Usage: vexil objectmap check FILE

Reads an object map as the library does and reports, one line each as "FILE:LINE[:COLUMN]: cause":
- every entry whose real name does not parse, with the symbolic name and the parser's message, then the
  line with a caret under the column;
- every symbolic name defined more than once (the last definition wins when the library loads the map);
- every real name mapped from more than one symbolic name.
Lines without a tab (ignored by the library) and symbolic names without a leading ":" give warnings.
The last line is "FILE: N entries, N problems, N warnings".

Exit codes: 0 no problems (warnings allowed), 1 problems found, 2 usage error or unreadable FILE.)HELP";

const char kNormalizeHelp[] = R"HELP(Usage: vexil objectmap normalize FILE [-o OUT]

Loads the map as the library does and writes it back sorted by symbolic name, each multi-property real
name in canonical form ("{key='value' ...}" in key order, one blank between entries). The file is
replaced atomically: readers see the old map or the new one, never a mix. Without -o, FILE itself is
rewritten; "-o -" writes to standard output.

What the library ignores does not survive: comment lines, lines without a tab and earlier definitions of
a symbolic name defined again; each is noted on standard error.

Options:
  -o, --output OUT   write here instead of over FILE

Exit codes: 0 written, 2 usage error or a file that cannot be read or written.)HELP";

const char kLookupHelp[] = R"HELP(Usage: vexil objectmap lookup FILE NAME

With a symbolic NAME (beginning with ":"), prints the real name the map stores for it. With a real name
(multi-property or hierarchical), prints the symbolic name the map gives it; multi-property names match
by their properties, so order and spacing do not matter.

Example: vexil objectmap lookup demo.objectmap ":Vexil Demo.OK_QPushButton"

Exit codes: 0 found, 1 not in the map or a real name that does not parse, 2 usage error or unreadable
FILE.)HELP";

using Entry = Vexil::ObjectMapText::Entry;

// The file as the library reads it, line by line (ObjectMap::readMapFile), so that what is reported here
// is what a test run sees.
bool readMapFile(const QString &path, Vexil::ObjectMapText *map, QString *error)
{
    if (QFileInfo(path).isDir()) {
        *error = QStringLiteral("cannot read '%1': it is a directory").arg(path);
        return false;
    }
    QString reason;
    if (!Vexil::ObjectMap::readMapFile(path, map, &reason)) {
        *error = QStringLiteral("cannot open '%1': %2").arg(path, reason);
        return false;
    }
    return true;
}

// The index in the escaped text \p raw at which the character \p index of its unescaped form starts.
int escapedIndex(const QString &raw, int index)
{
    int plain = 0;
    int i = 0;
    while (i < raw.size()) {
        if (plain == index)
            return i;
        if (raw.at(i) == QLatin1Char('\\')) {
            if (i + 1 >= raw.size())
                return i; // a trailing backslash is dropped
            const QChar next = raw.at(i + 1);
            if (next == QLatin1Char('n') || next == QLatin1Char('r') || next == QLatin1Char('t')
                || next == QLatin1Char('\\')) {
                ++plain;
                i += 2;
            } else {
                // Kept as the backslash and the character: two characters of the unescaped text.
                if (plain + 1 == index)
                    return i + 1;
                plain += 2;
                i += 2;
            }
            continue;
        }
        ++plain;
        ++i;
    }
    return raw.size();
}

// A key under which equal real names (ObjectName::operator==) meet: multi-property names by their keys, value
// texts and operators, everything else by its text.
QString realNameKey(const Vexil::ObjectName &name)
{
    if (!name.isValid() || !name.isMultiProperty())
        return QLatin1Char('T') + name.qualifiedName();
    QString key = QStringLiteral("M");
    const auto &props = name.properties();
    for (auto it = props.constBegin(); it != props.constEnd(); ++it) {
        key += it.key() + QChar(0) + QString::number(int(it.value().modifiers())) + QChar(0)
            + it.value().value() + QChar(0);
    }
    return key;
}

QString location(const QString &path, int line)
{
    return path + QLatin1Char(':') + QString::number(line);
}

// Names in messages as the file writes them, so that tabs and line breaks in them stay visible.
QString shown(const QString &name)
{
    return Vexil::ObjectMap::escapeForSerialize(name);
}

QString plural(int n, const char *one, const char *many)
{
    return QString::number(n) + QLatin1Char(' ') + QLatin1String(n == 1 ? one : many);
}

int check(const Invocation &call)
{
    const QString path = call.positionals().at(0);
    Vexil::ObjectMapText map;
    QString error;
    if (!readMapFile(path, &map, &error))
        return call.fail(error);

    // Collected first and printed in line order, whichever check found them.
    std::vector<std::pair<int, QStringList>> reports;
    int problems = 0;
    int warnings = 0;
    auto report = [&](int line, const QString &text, bool problem) {
        reports.emplace_back(line, QStringList(location(path, line) + text));
        ++(problem ? problems : warnings);
    };
    for (int line : map.linesWithoutTab)
        report(line, QStringLiteral(": warning: no tab between symbolic and real name; the line is ignored"),
               false);

    QHash<QString, const Entry *> firstBySymbolic;
    QHash<QString, const Entry *> firstByReal;
    for (const Entry &e : map.entries) {
        const QString symbolic = shown(e.symbolic);
        const QString message = e.real.errorMessage();
        if (!message.isEmpty()) {
            const int index = e.real.errorOffset();
            const QString rawReal = e.text.mid(e.tab + 1);
            // Without a place in the name, the column is where the real name starts.
            const int column = e.tab + 1 + (index >= 0 ? escapedIndex(rawReal, index) : 0) + 1;
            report(e.line,
                   QLatin1Char(':') + QString::number(column)
                       + QStringLiteral(": real name of '%1' does not parse: %2")
                             .arg(symbolic, cleanMessage(message)),
                   true);
            if (index >= 0)
                reports.back().second << QStringLiteral("  ") + e.text
                                      << QStringLiteral("  ") + caretLine(e.text, column - 1);
        }
        if (!e.symbolic.startsWith(QLatin1Char(':'))) {
            report(e.line,
                   QStringLiteral(
                       ": warning: symbolic name '%1' does not begin with ':'; lookups never reach it")
                       .arg(symbolic),
                   false);
        }

        const Entry *sameSymbolic = firstBySymbolic.value(e.symbolic);
        if (sameSymbolic) {
            report(e.line,
                   QStringLiteral(
                       ": duplicate symbolic name '%1' (first defined on line %2); the last definition wins")
                       .arg(symbolic, QString::number(sameSymbolic->line)),
                   true);
        } else {
            firstBySymbolic.insert(e.symbolic, &e);
        }

        // A line repeated word for word is already reported as a duplicate symbolic name.
        const QString key = realNameKey(e.real);
        const Entry *sameReal = firstByReal.value(key);
        if (sameReal && sameReal->symbolic != e.symbolic) {
            report(e.line,
                   QStringLiteral(": real name of '%1' is also mapped from '%2' (line %3): %4")
                       .arg(symbolic, shown(sameReal->symbolic), QString::number(sameReal->line),
                            shown(e.real.qualifiedName())),
                   true);
        } else if (!sameReal) {
            firstByReal.insert(key, &e);
        }
    }
    std::stable_sort(reports.begin(), reports.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    for (const auto &r : reports) {
        for (const QString &line : r.second)
            err(line);
    }

    out(path + QStringLiteral(": ") + plural(int(map.entries.size()), "entry", "entries")
        + QStringLiteral(", ") + plural(problems, "problem", "problems") + QStringLiteral(", ")
        + plural(warnings, "warning", "warnings"));
    return problems ? ExitFailures : ExitOk;
}

int normalize(const Invocation &call)
{
    const QString path = call.positionals().at(0);
    const QString target = call.args.has(QStringLiteral("--output"))
        ? call.args.value(QStringLiteral("--output"))
        : path;
    if (target.isEmpty())
        return call.usage(QStringLiteral("empty output file name"));
    Vexil::ObjectMapText file;
    QString error;
    if (!readMapFile(path, &file, &error))
        return call.fail(error);

    for (int line : file.linesWithoutTab)
        err(location(path, line) + QStringLiteral(": note: line without a tab dropped"));
    if (!file.comments.empty())
        err(path + QStringLiteral(": note: ")
            + plural(int(file.comments.size()), "comment line", "comment lines")
            + QStringLiteral(" dropped"));

    // Later lines replace earlier ones, as on load.
    QHash<QString, int> lastLine;
    for (const Entry &e : file.entries)
        lastLine.insert(e.symbolic, e.line);
    Vexil::ObjectMap map;
    int invalid = 0;
    for (const Entry &e : file.entries) {
        const int winner = lastLine.value(e.symbolic);
        if (winner != e.line) {
            err(location(path, e.line)
                + QStringLiteral(": note: '%1' is defined again on line %2; this definition is dropped")
                      .arg(e.symbolic, QString::number(winner)));
            continue;
        }
        // Names that do not parse are kept exactly as they are: rewriting them could only lose information.
        if (e.real.isValid() && e.real.isMultiProperty()) {
            map.add(Vexil::ObjectName(Vexil::qualifiedNameFromProperties(e.real.properties())), e.symbolic);
        } else {
            if (!e.real.isValid())
                ++invalid;
            map.add(e.real, e.symbolic);
        }
    }
    if (invalid)
        err(path + QStringLiteral(": note: ")
            + plural(invalid, "real name that does not parse", "real names that do not parse")
            + QStringLiteral(" kept as written (see 'vexil objectmap check')"));

    if (!writeFileAtomically(target, map.toString().toUtf8(), &error))
        return call.fail(error);
    if (target != QLatin1String("-")) {
        out(target + QStringLiteral(": ") + plural(map.size(), "entry", "entries")
            + QStringLiteral(" written"));
    }
    return ExitOk;
}

int lookup(const Invocation &call)
{
    const QString path = call.positionals().at(0);
    const QString name = call.positionals().at(1);
    if (name.isEmpty())
        return call.usage(QStringLiteral("empty NAME"));
    Vexil::ObjectMapText file;
    QString error;
    if (!readMapFile(path, &file, &error))
        return call.fail(error);
    Vexil::ObjectMap map;
    for (const Entry &e : file.entries)
        map.add(e.real, e.symbolic);

    if (name.startsWith(QLatin1Char(':'))) {
        if (!map.containsSymbolicName(name)) {
            err(QStringLiteral("%1: no symbolic name '%2'").arg(path, name));
            return ExitFailures;
        }
        out(map.realName(name));
        return ExitOk;
    }
    const Vexil::ObjectName real(name);
    if (!real.isValid()) {
        printNameError(QStringLiteral("vexil %1: ").arg(call.command), name, real);
        return ExitFailures;
    }
    const QString symbolic = map.symbolicName(name, false);
    if (!symbolic.startsWith(QLatin1Char(':'))) {
        err(QStringLiteral("%1: no symbolic name for '%2'").arg(path, name));
        return ExitFailures;
    }
    out(symbolic);
    return ExitOk;
}

} // namespace

Command objectMapCommand()
{
    return { "objectmap",
             "objectmap",
             "check, rewrite and query object maps",
             kObjectMapHelp,
             {},
             0,
             0,
             nullptr,
             nullptr,
             nullptr,
             { { "check",
                 "objectmap check FILE",
                 "report real names that do not parse and duplicate names in an object map",
                 kCheckHelp,
                 {},
                 1,
                 1,
                 "missing FILE",
                 "expected one FILE",
                 check,
                 {} },
               { "normalize",
                 "objectmap normalize FILE [-o OUT]",
                 "rewrite an object map in canonical order and form",
                 kNormalizeHelp,
                 { { "--output", "-o", "OUT" } },
                 1,
                 1,
                 "missing FILE",
                 "expected one FILE",
                 normalize,
                 {} },
               { "lookup",
                 "objectmap lookup FILE NAME",
                 "resolve a symbolic name to its real name, or a real name to its symbolic name",
                 kLookupHelp,
                 {},
                 2,
                 2,
                 "expected FILE and NAME",
                 "expected FILE and one NAME (quote names with blanks)",
                 lookup,
                 {} } } };
}

} // namespace VexilTool
