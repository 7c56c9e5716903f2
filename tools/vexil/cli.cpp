// cli.cpp: the command table's dispatch, option parsing, output, file access and name error positions for
// the vexil subcommands.
#include "cli.h"

#include <objectname.h>

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cmath>
#include <cstdio>

namespace VexilTool {

namespace {

const OptionDecl *findOption(const std::vector<OptionDecl> &known, const QString &name)
{
    for (const OptionDecl &s : known) {
        if (name == QLatin1String(s.name) || (s.alias && name == QLatin1String(s.alias)))
            return &s;
    }
    return nullptr;
}

void writeLine(std::FILE *stream, const QString &line)
{
    // Whatever went to the other stream goes first, so that a merged log reads in order.
    std::fflush(stream == stdout ? stderr : stdout);
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

bool isHelp(const QString &arg)
{
    return arg == QLatin1String("--help") || arg == QLatin1String("-h") || arg == QLatin1String("help");
}

// "check, normalize or lookup"
QString alternatives(const std::vector<Command> &commands)
{
    QStringList names;
    for (const Command &c : commands)
        names.append(QLatin1String(c.name));
    const QString last = names.takeLast();
    return names.isEmpty() ? last : names.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
}

int runGroup(const Command &group, const QString &fullName, const QStringList &argv)
{
    const QString sub = argv.value(0);
    if (sub.isEmpty()) {
        err(QString::fromUtf8(group.help));
        return ExitUsage;
    }
    if (isHelp(sub)) {
        out(QString::fromUtf8(group.help));
        return ExitOk;
    }
    for (const Command &c : group.subcommands) {
        if (sub == QLatin1String(c.name))
            return execute(c, fullName + QLatin1Char(' ') + sub, argv.mid(1));
    }
    return usageError(fullName,
                      QStringLiteral("unknown subcommand '%1' (expected %2)")
                          .arg(sub, alternatives(group.subcommands)));
}

} // namespace

int execute(const Command &command, const QString &fullName, const QStringList &argv)
{
    if (!command.subcommands.empty())
        return runGroup(command, fullName, argv);
    Invocation call;
    call.command = fullName;
    QString error;
    if (!call.args.parse(argv, command.options, &error))
        return call.usage(error);
    if (call.args.help()) {
        out(QString::fromUtf8(command.help));
        return ExitOk;
    }
    const int count = call.positionals().size();
    if (count < command.minArgs)
        return call.usage(QString::fromUtf8(command.missingArgs));
    if (command.maxArgs >= 0 && count > command.maxArgs) {
        return call.usage(
            command.extraArgs
                ? QString::fromUtf8(command.extraArgs)
                : QStringLiteral("unexpected argument '%1'").arg(call.positionals().at(command.maxArgs)));
    }
    return command.run(call);
}

QString commandList(const std::vector<Command> &table)
{
    // Summaries start in this column, or on a line of their own after a long synopsis.
    const int column = 29;
    QStringList lines;
    for (const Command &c : table) {
        if (!c.subcommands.empty()) {
            lines.append(commandList(c.subcommands));
            continue;
        }
        const QString synopsis = QStringLiteral("  ") + QString::fromUtf8(c.synopsis);
        if (synopsis.size() < column)
            lines.append(synopsis.leftJustified(column) + QString::fromUtf8(c.summary));
        else
            lines << synopsis << QString(column, QLatin1Char(' ')) + QString::fromUtf8(c.summary);
    }
    return lines.join(QLatin1Char('\n'));
}

int Invocation::fail(const QString &message) const
{
    err(QStringLiteral("vexil %1: %2").arg(command, message));
    return ExitUsage;
}

int Invocation::usage(const QString &message) const
{
    return usageError(command, message);
}

bool Invocation::read(const QString &path, QByteArray *data) const
{
    QString error;
    if (readFile(path, data, &error))
        return true;
    fail(error);
    return false;
}

bool Args::parse(const QStringList &argv, const std::vector<OptionDecl> &known, QString *error)
{
    bool optionsEnded = false;
    for (int i = 0; i < argv.size(); ++i) {
        const QString arg = argv.at(i);
        if (optionsEnded || arg == QLatin1String("-") || !arg.startsWith(QLatin1Char('-'))) {
            m_positionals.append(arg);
            continue;
        }
        if (arg == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            m_help = true;
            continue;
        }
        QString name = arg;
        QString value;
        bool inlineValue = false;
        const int eq = arg.indexOf(QLatin1Char('='));
        if (arg.startsWith(QLatin1String("--")) && eq > 0) {
            name = arg.left(eq);
            value = arg.mid(eq + 1);
            inlineValue = true;
        }
        const OptionDecl *decl = findOption(known, name);
        if (!decl) {
            *error = QStringLiteral("unknown option '%1'").arg(name);
            return false;
        }
        const QString canonical = QLatin1String(decl->name);
        if (!decl->valueName) {
            if (inlineValue) {
                *error = QStringLiteral("option '%1' takes no value").arg(canonical);
                return false;
            }
            m_options.emplace_back(canonical, QString());
            continue;
        }
        if (!inlineValue) {
            // The next argument is the value whatever it looks like, so "--rotate -90" works.
            if (i + 1 >= argv.size()) {
                *error = QStringLiteral("option '%1' needs a value (%2)")
                             .arg(canonical, QLatin1String(decl->valueName));
                return false;
            }
            value = argv.at(++i);
        }
        m_options.emplace_back(canonical, value);
    }
    return true;
}

bool Args::has(const QString &name) const
{
    for (const auto &o : m_options) {
        if (o.first == name)
            return true;
    }
    return false;
}

QString Args::value(const QString &name) const
{
    QString result;
    for (const auto &o : m_options) {
        if (o.first == name)
            result = o.second;
    }
    return result;
}

void out(const QString &line)
{
    writeLine(stdout, line);
}

void err(const QString &line)
{
    writeLine(stderr, line);
}

int usageError(const QString &command, const QString &message)
{
    err(QStringLiteral("vexil %1: %2").arg(command, message));
    err(QStringLiteral("Try 'vexil %1 --help'.").arg(command));
    return ExitUsage;
}

bool readFile(const QString &path, QByteArray *data, QString *error)
{
    if (QFileInfo(path).isDir()) {
        *error = QStringLiteral("cannot read '%1': it is a directory").arg(path);
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot open '%1': %2").arg(path, file.errorString());
        return false;
    }
    *data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

bool writeFileAtomically(const QString &path, const QByteArray &data, QString *error)
{
    if (path == QLatin1String("-")) {
        std::fflush(stderr);
        const bool ok = std::fwrite(data.constData(), 1, size_t(data.size()), stdout) == size_t(data.size())
            && std::fflush(stdout) == 0;
        if (!ok)
            *error = QStringLiteral("cannot write to standard output");
        return ok;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write '%1': %2").arg(path, file.errorString());
        return false;
    }
    if (file.write(data) != data.size() || !file.commit()) {
        *error = QStringLiteral("cannot write '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

QString cleanMessage(const QString &message)
{
    QString m = message;
    while (m.endsWith(QLatin1Char('\n')) || m.endsWith(QLatin1Char('\r')))
        m.chop(1);
    return m;
}

QString caretLine(const QString &text, int index)
{
    QString line;
    for (int i = 0; i < index; ++i)
        line += (i < text.size() && text.at(i) == QLatin1Char('\t')) ? QLatin1Char('\t') : QLatin1Char(' ');
    return line + QLatin1Char('^');
}

void printNameError(const QString &head, const QString &text, const Vexil::ObjectName &name)
{
    err(head + cleanMessage(name.errorMessage()));
    const int index = name.errorOffset();
    if (index < 0)
        return;
    err(QStringLiteral("  ") + text);
    err(QStringLiteral("  ") + caretLine(text, index));
}

bool parseNumber(const QString &text, double *value)
{
    bool ok = false;
    const double v = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return false;
    *value = v;
    return true;
}

bool parseNumberPair(const QString &text, double *x, double *y, bool allowSingle)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() == 1 && allowSingle) {
        if (!parseNumber(parts.at(0), x))
            return false;
        *y = *x;
        return true;
    }
    return parts.size() == 2 && parseNumber(parts.at(0), x) && parseNumber(parts.at(1), y);
}

} // namespace VexilTool
