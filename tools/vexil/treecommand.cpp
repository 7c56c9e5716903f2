// treecommand.cpp: "vexil tree": a program's objects as the model shows them, with their names.
#include "cli.h"
#include "commands.h"
#include "session.h"
#include "valuetext.h"

#include <inspector.h>
#include <objectmap.h>

namespace VexilTool {

namespace {

const char kTreeHelp[] =
    R"HELP(Usage: vexil tree [--app "PROGRAM ARGS" | --attach ADDRESS [--token TOKEN]] [--depth N]
                  [--properties] [--objectmap FILE] [--write-objectmap OUT]

Starts PROGRAM under the agent (--app; offscreen unless --visible) or connects to a program started with
"vexil launch" (--attach), and prints its object tree as the object model sees it, top-level windows
first, two blanks of indentation per level. Without either, the demo application runs inside vexil. Each line holds the object's
symbolic name and its real (multi-property) name:

  :Vexil Demo_VexilDemo::DemoMainWindow  {name='mainWindow' type='VexilDemo::DemoMainWindow' visible='1'}

The symbolic name is the one the object map gives the object: the stored one with --objectmap, else the
name the map derives for it (as a recorder would), marked "(new)" when a map file was given.

Options:
  --app "PROGRAM ARGS"    start PROGRAM under the agent
  --attach ADDRESS        a program "vexil launch" started; --token TOKEN for a tcp: address
  --visible               show the program on the display
  --depth N               stop N levels below the top-level windows (0: the windows only)
  --properties            list each object's readable properties below it as "- name = value"
  --objectmap FILE        the object map to take symbolic names from
  --write-objectmap OUT   write the map with a symbolic name for every object shown, atomically

Exit codes: 0 success, 2 usage error, a file that cannot be read or written or a program that cannot
be started or reached.)HELP";

class TreePrinter
{
public:
    TreePrinter(Session *session, int maxDepth, bool properties, bool markNew)
        : m_session(session)
        , m_map(&session->localMap())
        , m_maxDepth(maxDepth)
        , m_properties(properties)
        , m_markNew(markNew)
    {
    }

    void print(const Vexil::Object::Ptr &object, int depth)
    {
        const QString indent(2 * depth, QLatin1Char(' '));
        const QString real = m_session->realName(object);
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
                ? scriptQuoted(
                    displayValue(value,
                                 [this](const Vexil::Object::Ptr &o) { return m_session->displayName(o); }))
                : QStringLiteral("(unreadable: %1)").arg(Vexil::Inspector::self()->lastError());
            out(indent + QStringLiteral("- ") + p->name() + QStringLiteral(" = ") + text);
        }
    }

    Session *m_session;
    Vexil::ObjectMap *m_map;
    int m_maxDepth;
    bool m_properties;
    bool m_markNew;
};

int tree(const Invocation &call)
{
    const Args &parsed = call.args;
    int depth = -1;
    if (parsed.has(QStringLiteral("--depth"))) {
        bool ok = false;
        depth = parsed.value(QStringLiteral("--depth")).toInt(&ok);
        if (!ok || depth < 0)
            return call.usage(QStringLiteral("--depth needs a number of levels, 0 or more"));
    }
    SessionOptions options;
    QString error;
    if (!readSessionOptions(parsed, &options, &error))
        return call.usage(error);
    const bool withMap = parsed.has(QStringLiteral("--objectmap"));
    QByteArray unused;
    if (withMap && !call.read(options.objectMap, &unused))
        return ExitUsage;

    std::unique_ptr<Session> session = openSession(options, &error);
    if (!session)
        return call.fail(error);
    TreePrinter printer(session.get(), depth, parsed.has(QStringLiteral("--properties")), withMap);
    for (const Vexil::Object::Ptr &top : Vexil::Inspector::self()->objects()) {
        if (top && !top->isNull())
            printer.print(top, 0);
    }
    const QString ended = session->endedText();
    if (!ended.isEmpty())
        return call.fail(ended);

    if (parsed.has(QStringLiteral("--write-objectmap"))) {
        const QString target = parsed.value(QStringLiteral("--write-objectmap"));
        if (!writeFileAtomically(target, session->localMap().toString().toUtf8(), &error))
            return call.fail(error);
    }
    return ExitOk;
}

} // namespace

Command treeCommand()
{
    std::vector<OptionDecl> options = sessionOptionDecls();
    options.insert(options.end(),
                   { { "--depth", nullptr, "N" },
                     { "--properties", nullptr, nullptr },
                     { "--write-objectmap", nullptr, "OUT" } });
    return { "tree",
             "tree [--app \"PROGRAM ARGS\" | --attach ADDRESS] [--depth N] [--properties] [--objectmap FILE]",
             "print a program's object tree with real and symbolic names",
             kTreeHelp,
             options,
             0,
             0,
             nullptr,
             nullptr,
             tree,
             {} };
}

} // namespace VexilTool
