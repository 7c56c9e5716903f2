// runcommand.cpp: "vexil run": a test script of one command a line, run against the demo application.
#include "cli.h"
#include "commands.h"
#include "demosession.h"

#include <delegate.h>
#include <eventdata.h>
#include <inspector.h>
#include <objectmap.h>

#include <QRegularExpression>
#include <QStringList>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
extern "C" void __sanitizer_set_report_fd(void *fd);
#endif

namespace VexilTool {

namespace {

const char kRunHelp[] = R"HELP(Usage: vexil run SCRIPT [--objectmap FILE] [--visible] [--verbose]

Starts the demo application in this process on the offscreen platform (on the real display with
--visible), loads the object map and runs the test script SCRIPT, one command a line:

  find NAME                      the object must exist
  get NAME PROPERTY              prints the property's value
  set NAME PROPERTY VALUE        writes the property
  call NAME METHOD [ARG...]      calls the method; a result other than void is printed
  expect NAME PROPERTY VALUE     verification: the property's text must equal VALUE
  window ACTION [NAME] [ARG...]  the window function "_vexil_window_ACTION" on the window NAME: close,
                                 maximize, minimize, restore, moveto X Y, resizeto W H, fullscreen_set,
                                 foreground_set, focus_set, geometry_get; "window focused" takes no NAME
  record start|stop              records events and calls until "record stop", which prints them
  # text                         a comment (only as the first thing on a line)

NAME is a symbolic name from the object map (:mainWindow.okButton_QPushButton), a multi-property name
({type='QPushButton' text='OK'}) or a dotted path (mainWindow.centralWidget.form.okButton).
Arguments and values are passed as texts and the object model converts them. When no overload (or the
property) takes the texts, words that spell a number are passed as an int (int64 or double when they
need it) and true and false as a bool, and the model converts from there: "moveto W 40 30" works.
Values print as text: application objects by their symbolic (or real) name, arrays as [a, b],
rectangles, points and dates by their properties (x=0 y=0 width=480 height=459); "expect" compares
with that text.

Quoting: words are separated by blanks and tabs. Double quotes make one word of what they enclose,
blanks included, and may be joined to unquoted text; inside them "" stands for one double quote and
everything else, backslashes and single quotes too, is taken literally. "" alone is an empty word.
  find "{type='QPushButton' text='OK'}"
  set :mainWindow.nameEdit_QLineEdit text "Ada ""the first"" Lovelace"

Each failed step prints "SCRIPT:LINE: FAIL <command>: <error>" on standard error and the run goes on.
With --verbose every step that passes prints "SCRIPT:LINE: PASS <command>". The last line is
"N passed, N failed".

Options:
  --objectmap FILE   the object map that resolves symbolic names
  --visible          show the application on the display instead of the offscreen platform
  --verbose          a progress line for every step

Exit codes: 0 every step passed, 1 a step failed, 2 usage error or a file that cannot be read.)HELP";

// Splits a script line into words by the quoting rule of the help text.
bool tokenize(const QString &line, QStringList *tokens, QString *error)
{
    QString current;
    bool inToken = false;
    int i = 0;
    const int n = line.size();
    while (i < n) {
        const QChar c = line.at(i);
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (inToken)
                tokens->append(current);
            current.clear();
            inToken = false;
            ++i;
            continue;
        }
        inToken = true;
        if (c != QLatin1Char('"')) {
            current += c;
            ++i;
            continue;
        }
        const int open = i++;
        for (;;) {
            if (i >= n) {
                *error = QStringLiteral("unterminated quote (opened at column %1)").arg(open + 1);
                return false;
            }
            if (line.at(i) == QLatin1Char('"')) {
                if (i + 1 < n && line.at(i + 1) == QLatin1Char('"')) {
                    current += QLatin1Char('"');
                    i += 2;
                    continue;
                }
                ++i;
                break;
            }
            current += line.at(i++);
        }
    }
    if (inToken)
        tokens->append(current);
    return true;
}

// While a step's standard error is captured, a crash would take what was captured with it, and the
// report of where it happened. These let the crash handler put both on the real standard error.
int s_realStderr = -1;
int s_captureFd = -1;
char s_crashNote[1024] = "";

extern "C" void reportCrash(int sig)
{
    if (s_realStderr >= 0) {
        dup2(s_realStderr, 2);
        char buffer[4096];
        ssize_t got;
        if (lseek(s_captureFd, 0, SEEK_SET) == 0) {
            while ((got = read(s_captureFd, buffer, sizeof buffer)) > 0) {
                if (write(2, buffer, size_t(got)) < 0)
                    break;
            }
        }
    }
    if (write(2, s_crashNote, strlen(s_crashNote)) < 0) {
        // Nothing more can be done about it here.
    }
    signal(sig, SIG_DFL);
    raise(sig);
}

void installCrashReport()
{
#if !defined(__SANITIZE_ADDRESS__)
    // The sanitizers report crashes themselves (see StderrCapture).
    for (int sig : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT })
        signal(sig, reportCrash);
#endif
}

void setCrashNote(const QString &where, const QString &command)
{
    const QByteArray note = (QStringLiteral("vexil: ") + where + QStringLiteral("FAIL ") + command
                             + QStringLiteral(": the application crashed\n"))
                                .toLocal8Bit();
    qstrncpy(s_crashNote, note.constData(), sizeof s_crashNote);
}

// Redirects file descriptor 2 into a temporary file while a step runs: the model reports some failures
// (an unwritable property, a value that does not convert) as diagnostics rather than as its error text.
class StderrCapture
{
public:
    StderrCapture()
    {
        std::fflush(stderr);
        m_file = std::tmpfile();
        m_saved = m_file ? dup(2) : -1;
        if (m_saved < 0)
            return;
        dup2(fileno(m_file), 2);
        if (s_realStderr < 0) {
            m_outermost = true;
            s_realStderr = m_saved;
            s_captureFd = fileno(m_file);
#if defined(__SANITIZE_ADDRESS__)
            __sanitizer_set_report_fd(reinterpret_cast<void *>(intptr_t(m_saved)));
#endif
        }
    }
    ~StderrCapture() { finish(); }

    /// Restores standard error and returns what was written meanwhile.
    QString finish()
    {
        if (m_saved < 0) {
            if (m_file)
                std::fclose(m_file);
            m_file = nullptr;
            return QString();
        }
        std::fflush(stderr);
        dup2(m_saved, 2);
        if (m_outermost) {
            s_realStderr = -1;
            s_captureFd = -1;
#if defined(__SANITIZE_ADDRESS__)
            __sanitizer_set_report_fd(reinterpret_cast<void *>(intptr_t(2)));
#endif
        }
        close(m_saved);
        m_saved = -1;
        QByteArray text;
        std::rewind(m_file);
        char buffer[4096];
        size_t got;
        while ((got = std::fread(buffer, 1, sizeof buffer, m_file)) > 0)
            text.append(buffer, int(got));
        std::fclose(m_file);
        m_file = nullptr;
        return QString::fromLocal8Bit(text);
    }

private:
    std::FILE *m_file = nullptr;
    int m_saved = -1;
    bool m_outermost = false;
};

// The second reading of a script word, for parameters and properties that take no text: a word that spells
// an integer becomes an int (an int64 when it does not fit, a double when neither does), a decimal number a
// double, "true" and "false" a truth value. Anything else stays text.
Vexil::Object::Ptr typedWord(const QString &word)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    static const QRegularExpression integer(QStringLiteral("\\A[+-]?[0-9]+\\z"));
    static const QRegularExpression decimal(
        QStringLiteral("\\A[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\z"));
    bool ok = false;
    if (integer.match(word).hasMatch()) {
        const int i = word.toInt(&ok);
        if (ok)
            return insp->createPrimitive(i);
        const qlonglong l = word.toLongLong(&ok);
        if (ok)
            return insp->createPrimitive(static_cast<long long>(l));
    }
    if (decimal.match(word).hasMatch()) {
        const double d = word.toDouble(&ok);
        if (ok)
            return insp->createPrimitive(d);
    }
    if (word == QLatin1String("true") || word == QLatin1String("false"))
        return insp->createPrimitive(word == QLatin1String("true"));
    return Vexil::Object::Ptr();
}

Vexil::Object::Ptr textWord(const QString &word)
{
    return Vexil::Inspector::self()->createPrimitive(word.toUtf8().constData());
}

// The words as texts; with \p typed, those that spell a number or truth value as that value instead.
// \p changed tells whether the typed reading differs from the plain one.
Vexil::ObjectList wordArguments(const QStringList &words, bool typed, bool *changed = nullptr)
{
    Vexil::ObjectList args;
    if (changed)
        *changed = false;
    for (const QString &word : words) {
        Vexil::Object::Ptr value = typed ? typedWord(word) : Vexil::Object::Ptr();
        if (value && changed)
            *changed = true;
        args.push_back(value ? value : textWord(word));
    }
    return args;
}

// Calls the overload set with the words, first as texts; when no overload takes them, once more with numbers
// and truth values read from the words (the model converts neither from text).
Vexil::Object::Ptr invokeWithWords(const Vexil::MethodList &methods, const Vexil::Object::Ptr &object,
                                   const Vexil::ObjectList &leading, const QStringList &words, bool *found)
{
    Vexil::ObjectList args = leading;
    for (const Vexil::Object::Ptr &a : wordArguments(words, false))
        args.push_back(a);
    Vexil::Object::Ptr result = methods.invoke(object, args, found);
    bool changed = false;
    const Vexil::ObjectList typed = wordArguments(words, true, &changed);
    if (*found || !changed)
        return result;
    Vexil::Inspector::self()->lastError();
    args = leading;
    for (const Vexil::Object::Ptr &a : typed)
        args.push_back(a);
    return methods.invoke(object, args, found);
}

// "Found no matching overload" says nothing about what would have matched.
QString overloadHint(const Vexil::MethodList &methods)
{
    QStringList signatures;
    for (const Vexil::Method *m : methods) {
        if (m)
            signatures.append(m->toString());
    }
    return signatures.isEmpty()
        ? QString()
        : QStringLiteral(" (takes ") + signatures.join(QStringLiteral(" or ")) + QLatin1Char(')');
}

// Collects what the application and the script record between "record start" and "record stop".
class Recording : public Vexil::EventNotifyDelegate
{
public:
    void notifyEvent(const Vexil::EventData &data) const override { m_events.push_back(data); }
    const std::vector<Vexil::EventData> &events() const { return m_events; }

private:
    mutable std::vector<Vexil::EventData> m_events;
};

class ScriptRunner
{
public:
    ScriptRunner(const QString &path, DemoSession *session, bool verbose)
        : m_path(path)
        , m_session(session)
        , m_verbose(verbose)
    {
    }

    int run(const QString &text);

private:
    // Each returns true when the step passed; otherwise m_error says why.
    bool step(const QStringList &words);
    bool find(const QString &name, Vexil::Object::Ptr *object);
    const Vexil::Property *property(const Vexil::Object::Ptr &object, const QString &name);
    bool readProperty(const QStringList &words, Vexil::Object::Ptr *value);
    bool get(const QStringList &words);
    bool set(const QStringList &words);
    bool call(const QStringList &words);
    bool expect(const QStringList &words);
    bool window(const QStringList &words);
    bool record(const QStringList &words);
    void printRecording(const QString &where);
    bool usage(const char *form);
    QString modelError(const QString &fallback);
    void print(const QString &text);

    QString m_path;
    DemoSession *m_session;
    bool m_verbose;
    int m_line = 0;
    QString m_error;
    std::unique_ptr<Recording> m_recording;
};

int ScriptRunner::run(const QString &text)
{
    int passed = 0;
    int failed = 0;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        QString line = lines.at(i);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString command = line.trimmed();
        if (command.isEmpty() || command.startsWith(QLatin1Char('#')))
            continue;
        m_line = i + 1;
        m_error.clear();
        QStringList words;
        bool ok = tokenize(line, &words, &m_error);
        QString diagnostics;    // what the model wrote to standard error during the step
        const QString where = m_path + QLatin1Char(':') + QString::number(m_line) + QStringLiteral(": ");
        if (ok) {
            Vexil::Inspector::self()->lastError();     // a stale error must not be blamed on this step
            setCrashNote(where, command);
            StderrCapture capture;
            ok = step(words);
            m_session->settle();
            diagnostics = capture.finish().trimmed();
        }
        if (ok) {
            ++passed;
            if (!diagnostics.isEmpty())
                err(diagnostics);
            if (m_verbose)
                out(where + QStringLiteral("PASS ") + command);
        } else {
            ++failed;
            // The model's diagnostics explain a failure that left no error text.
            if (m_error.isEmpty() && !diagnostics.isEmpty()) {
                m_error = diagnostics;
                diagnostics.clear();
            }
            m_error = m_error.trimmed();
            if (m_error.isEmpty())
                m_error = QStringLiteral("failed without an error text");
            err(where + QStringLiteral("FAIL ") + command + QStringLiteral(": ") + m_error);
            if (!diagnostics.isEmpty())
                err(diagnostics);
        }
    }
    if (m_recording) {
        err(m_path + QStringLiteral(": recording still on at the end of the script; stopped"));
        printRecording(m_path);
    }
    out(QStringLiteral("%1 passed, %2 failed").arg(QString::number(passed), QString::number(failed)));
    return failed ? ExitFailures : ExitOk;
}

void ScriptRunner::print(const QString &text)
{
    out(m_path + QLatin1Char(':') + QString::number(m_line) + QStringLiteral(": ") + text);
}

bool ScriptRunner::usage(const char *form)
{
    m_error = QStringLiteral("usage: ") + QLatin1String(form);
    return false;
}

QString ScriptRunner::modelError(const QString &fallback)
{
    const QString error = Vexil::Inspector::self()->lastError();
    return error.isEmpty() ? fallback : error;
}

bool ScriptRunner::step(const QStringList &words)
{
    const QString &command = words.at(0);
    if (command == QLatin1String("find")) {
        if (words.size() != 2)
            return usage("find NAME");
        Vexil::Object::Ptr object;
        return find(words.at(1), &object);
    }
    if (command == QLatin1String("get"))
        return get(words);
    if (command == QLatin1String("set"))
        return set(words);
    if (command == QLatin1String("call"))
        return call(words);
    if (command == QLatin1String("expect"))
        return expect(words);
    if (command == QLatin1String("window"))
        return window(words);
    if (command == QLatin1String("record"))
        return record(words);
    m_error = QStringLiteral("unknown command '%1' (expected find, get, set, call, expect, window or record)")
                  .arg(command);
    return false;
}

bool ScriptRunner::find(const QString &name, Vexil::Object::Ptr *object)
{
    *object = Vexil::Inspector::self()->findObject(name);
    if (!*object || (*object)->isNull()) {
        m_error = modelError(QStringLiteral("object '%1' not found").arg(name));
        return false;
    }
    return true;
}

const Vexil::Property *ScriptRunner::property(const Vexil::Object::Ptr &object, const QString &name)
{
    const Vexil::Property *p = object->objectClass() ? object->objectClass()->property(name) : nullptr;
    if (!p)
        m_error = QStringLiteral("class %1 has no property '%2'").arg(object->className(), name);
    return p;
}

bool ScriptRunner::readProperty(const QStringList &words, Vexil::Object::Ptr *value)
{
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    const Vexil::Property *p = property(object, words.at(2));
    if (!p)
        return false;
    if (!p->isReadable()) {
        m_error = QStringLiteral("property '%1' of class %2 is not readable")
                      .arg(words.at(2), object->className());
        return false;
    }
    *value = p->get(object);
    if (!*value) {
        m_error = modelError(QString());
        return false;
    }
    return true;
}

bool ScriptRunner::get(const QStringList &words)
{
    if (words.size() != 3)
        return usage("get NAME PROPERTY");
    Vexil::Object::Ptr value;
    if (!readProperty(words, &value))
        return false;
    print(words.at(2) + QStringLiteral(" = ") + scriptQuoted(displayValue(value)));
    return true;
}

bool ScriptRunner::set(const QStringList &words)
{
    if (words.size() != 4)
        return usage("set NAME PROPERTY VALUE");
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    const Vexil::Property *p = property(object, words.at(2));
    if (!p)
        return false;
    const Vexil::Object::Ptr typed = typedWord(words.at(3));
    bool ok;
    {
        // The complaint about a text the property does not take is moot when the typed value is taken.
        StderrCapture first;
        ok = p->set(object, textWord(words.at(3)));
        const QString complaint = first.finish();
        if (ok || !typed) {
            std::fputs(complaint.toLocal8Bit().constData(), stderr);
        }
    }
    if (!ok && typed) {
        Vexil::Inspector::self()->lastError();
        ok = p->set(object, typed);
    }
    if (!ok) {
        m_error = modelError(QString());
        return false;
    }
    return true;
}

bool ScriptRunner::call(const QStringList &words)
{
    if (words.size() < 3)
        return usage("call NAME METHOD [ARG...]");
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    Vexil::Inspector *insp = Vexil::Inspector::self();
    const QStringList argWords = words.mid(3);
    if (m_recording)
        insp->recordEvent(Vexil::EventData(words.at(2), words.at(1), wordArguments(argWords, false)));
    const Vexil::MethodList methods = object->objectClass()->methods(words.at(2));
    bool found = false;
    const Vexil::Object::Ptr result = invokeWithWords(methods, object, Vexil::ObjectList(), argWords, &found);
    const QString error = insp->lastError();
    if (!found) {
        m_error = error + overloadHint(methods);
        return false;
    }
    if (!error.isEmpty() || !result) {
        m_error = error;
        return false;
    }
    if (result->objectClass() != insp->type(Vexil::Inspector::Void))
        print(words.at(2) + QStringLiteral(" returned ") + scriptQuoted(displayValue(result)));
    return true;
}

bool ScriptRunner::expect(const QStringList &words)
{
    if (words.size() != 4)
        return usage("expect NAME PROPERTY VALUE");
    Vexil::Object::Ptr value;
    if (!readProperty(words, &value))
        return false;
    const QString actual = displayValue(value);
    if (actual != words.at(3)) {
        m_error = QStringLiteral("%1 is %2, expected %3")
                      .arg(words.at(2), scriptQuoted(actual), scriptQuoted(words.at(3)));
        return false;
    }
    return true;
}

bool ScriptRunner::window(const QStringList &words)
{
    if (words.size() < 2)
        return usage("window ACTION [NAME] [ARG...]");
    Vexil::Inspector *insp = Vexil::Inspector::self();
    const QString function = QStringLiteral("_vexil_window_") + words.at(1);
    const Vexil::Class *global = insp->globalClass();
    const Vexil::MethodList methods = global->methods(function);
    if (methods.empty()) {
        QStringList actions;
        for (int i = 0; i < global->numMethods(); ++i) {
            const Vexil::Method *m = global->method(i);
            if (m && m->name().startsWith(QLatin1String("_vexil_window_"))) {
                const QString action = m->name().mid(14);
                if (!actions.contains(action))
                    actions.append(action);
            }
        }
        m_error = QStringLiteral("no window function '%1' (actions: %2)")
                      .arg(function,
                          actions.isEmpty() ? QStringLiteral("none registered")
                                            : actions.join(QStringLiteral(", ")));
        return false;
    }
    Vexil::ObjectList target;
    if (words.size() > 2) {
        Vexil::Object::Ptr window;
        if (!find(words.at(2), &window))
            return false;
        target.push_back(window);
    }
    if (m_recording)
        insp->recordEvent(Vexil::EventData(function, words.mid(2), QString()));
    bool found = false;
    const Vexil::Object::Ptr result
        = invokeWithWords(methods, Vexil::Object::Ptr(), target, words.mid(3), &found);
    const QString error = insp->lastError();
    if (!found) {
        m_error = error + overloadHint(methods);
        return false;
    }
    if (!result || !error.isEmpty()) {
        m_error = error;
        return false;
    }
    if (result->objectClass() != insp->type(Vexil::Inspector::Void)
        || words.at(1) == QLatin1String("focused"))
        print(function + QStringLiteral(" returned ") + scriptQuoted(displayValue(result)));
    return true;
}

bool ScriptRunner::record(const QStringList &words)
{
    if (words.size() != 2)
        return usage("record start|stop");
    if (words.at(1) == QLatin1String("start")) {
        if (m_recording) {
            m_error = QStringLiteral("already recording");
            return false;
        }
        m_recording.reset(new Recording);
        return true;
    }
    if (words.at(1) == QLatin1String("stop")) {
        if (!m_recording) {
            m_error = QStringLiteral("not recording (no 'record start' before)");
            return false;
        }
        printRecording(m_path + QLatin1Char(':') + QString::number(m_line));
        return true;
    }
    return usage("record start|stop");
}

void ScriptRunner::printRecording(const QString &where)
{
    const std::vector<Vexil::EventData> events = m_recording->events();
    m_recording.reset();
    out(where + QStringLiteral(": recorded %1 %2").arg(QString::number(events.size()),
                                              events.size() == 1 ? QStringLiteral("event")
                                                                 : QStringLiteral("events")));
    for (const Vexil::EventData &e : events)
        out(QStringLiteral("  ") + QString::fromLocal8Bit(e.toDebugString().c_str()));
}

} // namespace

int runCommand(const QStringList &args)
{
    const QString command = QStringLiteral("run");
    Args parsed;
    QString error;
    if (!parsed.parse(args,
                      { { "--objectmap", nullptr, "FILE" }, { "--visible", nullptr, nullptr },
                        { "--verbose", "-v", nullptr } },
                      &error))
        return usageError(command, error);
    if (parsed.help()) {
        out(QString::fromUtf8(kRunHelp));
        return ExitOk;
    }
    if (parsed.positionals().size() != 1)
        return usageError(command, parsed.positionals().isEmpty() ? QStringLiteral("missing SCRIPT")
                                                                  : QStringLiteral("expected one SCRIPT"));
    const QString path = parsed.positionals().at(0);
    QByteArray script;
    if (!readFile(path, &script, &error)) {
        err(QStringLiteral("vexil run: ") + error);
        return ExitUsage;
    }
    const QString mapPath = parsed.value(QStringLiteral("--objectmap"));
    QByteArray unused;
    if (parsed.has(QStringLiteral("--objectmap")) && !readFile(mapPath, &unused, &error)) {
        err(QStringLiteral("vexil run: ") + error);
        return ExitUsage;
    }

    DemoSession session;
    if (!session.start(parsed.has(QStringLiteral("--visible")), &error)) {
        err(QStringLiteral("vexil run: ") + error);
        return ExitUsage;
    }
    // The current map resolves symbolic names in lookups; without a file it is empty.
    Vexil::ObjectMap map;
    if (parsed.has(QStringLiteral("--objectmap")) && !map.loadFromFile(mapPath)) {
        err(QStringLiteral("vexil run: cannot open '%1'").arg(mapPath));
        return ExitUsage;
    }
    installCrashReport();
    ScriptRunner runner(path, &session, parsed.has(QStringLiteral("--verbose")));
    QString text = QString::fromUtf8(script);
    if (text.startsWith(QChar(0xFEFF)))     // a byte order mark some editors write
        text.remove(0, 1);
    return runner.run(text);
}

} // namespace VexilTool
