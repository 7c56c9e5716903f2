// treecommand.cpp: "vexil tree": the demo application's objects as the model shows them, with their names.
#include "cli.h"
#include "commands.h"
#include "demosession.h"

#include <inspector.h>
#include <objectmap.h>
#include <qtwrapper.h>

namespace VexilTool {

namespace {

const char kTreeHelp[] = R"HELP(Usage: vexil tree [--depth N] [--properties] [--objectmap FILE] [--write-objectmap OUT]

Starts the demo application on the offscreen platform and prints its object tree as the object model
sees it, top-level windows first, two blanks of indentation per level. Each line holds the object's
symbolic name and its real (multi-property) name:

  :Vexil Demo_VexilDemo::DemoMainWindow  {name='mainWindow' type='VexilDemo::DemoMainWindow' visible='1'}

The symbolic name is the one the object map gives the object: the stored one with --objectmap, else the
name the map derives for it (as a recorder would), marked "(new)" when a map file was given.

Options:
  --depth N               stop N levels below the top-level windows (0: the windows only)
  --properties            list each object's readable properties below it as "- name = value"
  --objectmap FILE        the object map to take symbolic names from
  --write-objectmap OUT   write the map with a symbolic name for every object shown, atomically

Exit codes: 0 success, 2 usage error or a file that cannot be read or written.)HELP";

class TreePrinter
{
public:
    TreePrinter(Vexil::ObjectMap *map, int maxDepth, bool properties, bool markNew)
        : m_map(map)
        , m_maxDepth(maxDepth)
        , m_properties(properties)
        , m_markNew(markNew)
    {
    }

    void print(const Vexil::Object::Ptr &object, int depth)
    {
        const QString indent(2 * depth, QLatin1Char(' '));
        QObject *qobject = Vexil::QtWrapper::qobjectOf(object);
        const QString real = qobject ? Vexil::QtWrapper::realName(qobject) : object->qualifiedName();
        const bool known = m_map->symbolicName(real, false).startsWith(QLatin1Char(':'));
        const QString symbolic = m_map->symbolicName(real, true);
        out(indent + symbolic + (m_markNew && !known ? QStringLiteral(" (new)") : QString())
            + QStringLiteral("  ") + real);
        if (m_properties)
            printProperties(object, indent + QStringLiteral("    "));
        if (m_maxDepth >= 0 && depth >= m_maxDepth)
            return;
        for (const Vexil::Object::Ptr &child : object->children()) {
            if (child && !child->isNull())
                print(child, depth + 1);
        }
    }

private:
    void printProperties(const Vexil::Object::Ptr &object, const QString &indent)
    {
        const Vexil::Class *cls = object->objectClass();
        if (!cls)
            return;
        for (int i = 0; i < cls->numProperties(); ++i) {
            const Vexil::Property *p = cls->property(i);
            if (!p || !p->isReadable() || p->isStatic())
                continue;
            const Vexil::Object::Ptr value = p->get(object);
            const QString text = value
                ? scriptQuoted(displayValue(value))
                : QStringLiteral("(unreadable: %1)").arg(Vexil::Inspector::self()->lastError());
            out(indent + QStringLiteral("- ") + p->name() + QStringLiteral(" = ") + text);
        }
    }

    Vexil::ObjectMap *m_map;
    int m_maxDepth;
    bool m_properties;
    bool m_markNew;
};

} // namespace

int treeCommand(const QStringList &args)
{
    const QString command = QStringLiteral("tree");
    Args parsed;
    QString error;
    if (!parsed.parse(args,
                      { { "--depth", nullptr, "N" }, { "--properties", nullptr, nullptr },
                        { "--objectmap", nullptr, "FILE" }, { "--write-objectmap", nullptr, "OUT" } },
                      &error))
        return usageError(command, error);
    if (parsed.help()) {
        out(QString::fromUtf8(kTreeHelp));
        return ExitOk;
    }
    if (!parsed.positionals().isEmpty())
        return usageError(
            command, QStringLiteral("unexpected argument '%1'").arg(parsed.positionals().at(0)));
    int depth = -1;
    if (parsed.has(QStringLiteral("--depth"))) {
        bool ok = false;
        depth = parsed.value(QStringLiteral("--depth")).toInt(&ok);
        if (!ok || depth < 0)
            return usageError(command, QStringLiteral("--depth needs a number of levels, 0 or more"));
    }
    const bool withMap = parsed.has(QStringLiteral("--objectmap"));
    const QString mapPath = parsed.value(QStringLiteral("--objectmap"));
    QByteArray unused;
    if (withMap && !readFile(mapPath, &unused, &error)) {
        err(QStringLiteral("vexil tree: ") + error);
        return ExitUsage;
    }

    DemoSession session;
    if (!session.start(false, &error)) {
        err(QStringLiteral("vexil tree: ") + error);
        return ExitUsage;
    }
    Vexil::ObjectMap map;
    if (withMap && !map.loadFromFile(mapPath)) {
        err(QStringLiteral("vexil tree: cannot open '%1'").arg(mapPath));
        return ExitUsage;
    }
    TreePrinter printer(&map, depth, parsed.has(QStringLiteral("--properties")), withMap);
    for (const Vexil::Object::Ptr &top : Vexil::Inspector::self()->objects()) {
        if (top && !top->isNull())
            printer.print(top, 0);
    }

    if (parsed.has(QStringLiteral("--write-objectmap"))) {
        const QString target = parsed.value(QStringLiteral("--write-objectmap"));
        if (!writeFileAtomically(target, map.toString().toUtf8(), &error)) {
            err(QStringLiteral("vexil tree: ") + error);
            return ExitUsage;
        }
    }
    return ExitOk;
}

} // namespace VexilTool
