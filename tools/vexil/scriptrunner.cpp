// scriptrunner.cpp: the .vxs commands, each a step that passes or fails with a reason.
#include "scriptrunner.h"

#include "cli.h"
#include "scriptwords.h"
#include "session.h"
#include "valuetext.h"

#include <delegate.h>
#include <diagnostics.h>
#include <eventdata.h>
#include <inspector.h>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>

#include <cmath>

namespace VexilTool {

// Collects what the program and the script record between "record start" and "record stop".
class Recording : public Vexil::EventNotifyDelegate
{
public:
    void notifyEvent(const Vexil::EventData &data) const override { m_events.push_back(data); }
    const std::vector<Vexil::EventData> &events() const { return m_events; }

private:
    mutable std::vector<Vexil::EventData> m_events;
};

namespace {

bool isNumeric(const Vexil::Class *type)
{
    using Vexil::Inspector;
    Inspector *insp = Inspector::self();
    for (int kind : { Inspector::Short, Inspector::Int, Inspector::Long, Inspector::Bool, Inspector::Double,
                      Inspector::Int64 }) {
        if (type && type == insp->type(kind))
            return true;
    }
    return false;
}

bool isButton(const QString &word)
{
    const QString w = word.toLower();
    return w == QLatin1String("left") || w == QLatin1String("right") || w == QLatin1String("middle");
}

} // namespace

ScriptRunner::ScriptRunner(const QString &path, Session *session, bool verbose)
    : m_path(path)
    , m_session(session)
    , m_verbose(verbose)
{
}

ScriptRunner::~ScriptRunner() = default;

int ScriptRunner::run(const QString &text)
{
    // Some failures (a refused property write, a value that does not convert) reach the library's
    // diagnostics rather than its error text; the step that caused them reports them.
    const Vexil::DiagnosticHandler previous = Vexil::setDiagnosticHandler(
        [this](const QString &t, bool endsLine) {
            m_diagnostics += t;
            if (endsLine)
                m_diagnostics += QLatin1Char('\n');
        });
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
        m_diagnostics.clear();
        QStringList words;
        bool ok = tokenize(line, &words, &m_error);
        const QString where = m_path + QLatin1Char(':') + QString::number(m_line) + QStringLiteral(": ");
        if (ok) {
            // A program that is gone fails every step that is left, at once.
            const QString ended = m_session->endedText();
            if (!ended.isEmpty()) {
                m_error = ended;
                ok = false;
            } else {
                clearModelError();
                ok = step(words);
                m_session->settle();
                const QString endedNow = ok ? QString() : m_session->endedText();
                if (!endedNow.isEmpty())
                    m_error = endedNow;
            }
        }
        QString diagnostics = m_diagnostics.trimmed();
        if (ok) {
            ++passed;
            if (!diagnostics.isEmpty())
                err(diagnostics);
            if (m_verbose)
                out(where + QStringLiteral("PASS ") + command);
            continue;
        }
        ++failed;
        // The diagnostics explain a failure that left no error text.
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
    if (m_recording) {
        err(m_path + QStringLiteral(": recording still on at the end of the script; stopped"));
        printRecording(m_path);
    }
    Vexil::setDiagnosticHandler(previous);
    out(QStringLiteral("%1 passed, %2 failed").arg(QString::number(passed), QString::number(failed)));
    return failed ? ExitFailures : ExitOk;
}

void ScriptRunner::print(const QString &text)
{
    out(m_path + QLatin1Char(':') + QString::number(m_line) + QStringLiteral(": ") + text);
}

QString ScriptRunner::display(const Vexil::Object::Ptr &value)
{
    return displayValue(value, [this](const Vexil::Object::Ptr &o) { return m_session->displayName(o); });
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
    using Handler = bool (ScriptRunner::*)(const QStringList &);
    static const struct
    {
        const char *name;
        Handler handler;
    } kCommands[] = {
        { "get", &ScriptRunner::get },         { "set", &ScriptRunner::set },
        { "call", &ScriptRunner::call },       { "expect", &ScriptRunner::expect },
        { "window", &ScriptRunner::window },   { "record", &ScriptRunner::record },
        { "click", &ScriptRunner::click },     { "doubleclick", &ScriptRunner::click },
        { "type", &ScriptRunner::typeText },   { "key", &ScriptRunner::key },
        { "menu", &ScriptRunner::menu },       { "wait", &ScriptRunner::wait },
        { "waitfor", &ScriptRunner::waitFor }, { "screenshot", &ScriptRunner::screenshot },
    };
    const QString &command = words.at(0);
    if (command == QLatin1String("find")) {
        if (words.size() != 2)
            return usage("find NAME");
        Vexil::Object::Ptr object;
        return find(words.at(1), &object);
    }
    for (const auto &c : kCommands) {
        if (command == QLatin1String(c.name))
            return (this->*c.handler)(words);
    }
    m_error = QStringLiteral(
                  "unknown command '%1' (expected find, get, set, call, expect, window, record, click, "
                  "doubleclick, type, key, menu, wait, waitfor or screenshot)")
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
        m_error =
            QStringLiteral("property '%1' of class %2 is not readable").arg(words.at(2), object->className());
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
    print(words.at(2) + QStringLiteral(" = ") + scriptQuoted(display(value)));
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
    // A number or truth value for a property of that type goes as one; otherwise the text goes first.
    bool ok = typed && isNumeric(p->type()) ? p->set(object, typed) : p->set(object, textWord(words.at(3)));
    if (!ok && typed && !isNumeric(p->type())) {
        // The complaint about a text the property does not take is moot when the typed value is taken.
        m_diagnostics.clear();
        clearModelError();
        ok = p->set(object, typed);
    }
    if (!ok) {
        m_error = modelError(QString());
        if (m_error.isEmpty() && m_diagnostics.trimmed().isEmpty())
            m_error =
                QStringLiteral("cannot set property '%1' to %2").arg(words.at(2), scriptQuoted(words.at(3)));
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
    if (m_recording && !m_session->recordsCalls())
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
        print(words.at(2) + QStringLiteral(" returned ") + scriptQuoted(display(result)));
    return true;
}

bool ScriptRunner::expect(const QStringList &words)
{
    if (words.size() != 4)
        return usage("expect NAME PROPERTY VALUE");
    Vexil::Object::Ptr value;
    if (!readProperty(words, &value))
        return false;
    const QString actual = display(value);
    if (actual != words.at(3)) {
        m_error = QStringLiteral("%1 is %2, expected %3")
                      .arg(words.at(2), scriptQuoted(actual), scriptQuoted(words.at(3)));
        return false;
    }
    return true;
}

bool ScriptRunner::callFunction(const QString &function, const Vexil::ObjectList &args,
                                const QStringList &words, Vexil::Object::Ptr *result)
{
    const Vexil::Object::Ptr value = m_session->callFunction(function, args, words, &m_error);
    if (result)
        *result = value;
    return bool(value);
}

bool ScriptRunner::window(const QStringList &words)
{
    if (words.size() < 2)
        return usage("window ACTION [NAME] [ARG...]");
    const QString function = QStringLiteral("_vexil_window_") + words.at(1);
    Vexil::ObjectList target;
    if (words.size() > 2) {
        Vexil::Object::Ptr window;
        if (!find(words.at(2), &window))
            return false;
        target.push_back(window);
    }
    if (m_recording && !m_session->recordsCalls())
        Vexil::Inspector::self()->recordEvent(Vexil::EventData(function, words.mid(2), QString()));
    Vexil::Object::Ptr result;
    if (!callFunction(function, target, words.mid(3), &result))
        return false;
    if (result->objectClass() != Vexil::Inspector::self()->type(Vexil::Inspector::Void)
        || words.at(1) == QLatin1String("focused"))
        print(function + QStringLiteral(" returned ") + scriptQuoted(display(result)));
    return true;
}

bool ScriptRunner::click(const QStringList &words)
{
    const bool twice = words.at(0) == QLatin1String("doubleclick");
    const char *form = twice ? "doubleclick NAME [X Y] [BUTTON] [MODIFIERS]"
                             : "click NAME [X Y] [BUTTON] [MODIFIERS]";
    if (words.size() < 2)
        return usage(form);
    QStringList rest = words.mid(2);
    // Without a position the click goes to the object's centre.
    int x = -1;
    int y = -1;
    bool xOk = false;
    bool yOk = false;
    if (rest.size() >= 2) {
        const int px = rest.at(0).toInt(&xOk);
        const int py = rest.at(1).toInt(&yOk);
        if (xOk && yOk) {
            x = px;
            y = py;
            rest = rest.mid(2);
        }
    }
    const QString button = !rest.isEmpty() && isButton(rest.at(0)) ? rest.takeFirst()
                                                                   : QStringLiteral("left");
    const QString modifiers = rest.isEmpty() ? QString() : rest.takeFirst();
    if (!rest.isEmpty())
        return usage(form);
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    const QString function = twice ? QStringLiteral("doubleClick") : QStringLiteral("mouseClick");
    if (m_recording && !m_session->recordsCalls())
        Vexil::Inspector::self()->recordEvent(Vexil::EventData(function, words.mid(1), QString()));
    Vexil::Inspector *insp = Vexil::Inspector::self();
    return callFunction(function,
                        { object, insp->createPrimitive(x), insp->createPrimitive(y), textWord(button),
                          textWord(modifiers) },
                        {});
}

bool ScriptRunner::typeText(const QStringList &words)
{
    if (words.size() != 3)
        return usage("type NAME TEXT");
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    if (m_recording && !m_session->recordsCalls())
        Vexil::Inspector::self()->recordEvent(
            Vexil::EventData(QStringLiteral("type"), words.mid(1), QString()));
    return callFunction(QStringLiteral("type"), { object, textWord(words.at(2)) }, {});
}

bool ScriptRunner::key(const QStringList &words)
{
    if (words.size() != 3)
        return usage("key NAME KEY");
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    // "type" presses and releases a key written in brackets: "<Return>", "<Ctrl+A>".
    const QString keys = QLatin1Char('<') + words.at(2) + QLatin1Char('>');
    if (m_recording && !m_session->recordsCalls())
        Vexil::Inspector::self()->recordEvent(
            Vexil::EventData(QStringLiteral("type"), QStringList { words.at(1), keys }, QString()));
    return callFunction(QStringLiteral("type"), { object, textWord(keys) }, {});
}

bool ScriptRunner::menu(const QStringList &words)
{
    if (words.size() != 3)
        return usage("menu NAME PATH");
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object))
        return false;
    if (m_recording && !m_session->recordsCalls())
        Vexil::Inspector::self()->recordEvent(
            Vexil::EventData(QStringLiteral("activateMenuItem"), words.mid(1), QString()));
    return callFunction(QStringLiteral("activateMenuItem"), { object, textWord(words.at(2)) }, {});
}

bool ScriptRunner::seconds(const QString &word, int *ms)
{
    bool ok = false;
    const double s = word.toDouble(&ok);
    if (!ok || !std::isfinite(s) || s < 0 || s > 86400) {
        m_error = QStringLiteral("'%1' is not a number of seconds").arg(word);
        return false;
    }
    *ms = int(s * 1000);
    return true;
}

bool ScriptRunner::wait(const QStringList &words)
{
    if (words.size() != 2 && words.size() != 3)
        return usage("wait NAME [SECONDS]");
    int ms = defaultWaitMs();
    if (words.size() == 3 && !seconds(words.at(2), &ms))
        return false;
    const Vexil::Object::Ptr object = m_session->waitForObject(words.at(1), ms);
    if (!object || object->isNull()) {
        m_error = modelError(QStringLiteral("object '%1' did not appear").arg(words.at(1)));
        return false;
    }
    return true;
}

bool ScriptRunner::waitFor(const QStringList &words)
{
    if (words.size() != 4 && words.size() != 5)
        return usage("waitfor NAME PROPERTY VALUE [SECONDS]");
    int ms = defaultWaitMs();
    if (words.size() == 5 && !seconds(words.at(4), &ms))
        return false;
    Vexil::Object::Ptr object;
    if (!find(words.at(1), &object) || !property(object, words.at(2)))
        return false;
    QString error;
    if (m_session->waitForProperty(object, words.at(2), words.at(3), ms, &error))
        return true;
    m_error = error + QStringLiteral(" (waited %1 s)").arg(QString::number(ms / 1000.0));
    return false;
}

bool ScriptRunner::screenshot(const QStringList &words)
{
    if (words.size() != 2 && words.size() != 3)
        return usage("screenshot [NAME] FILE");
    Vexil::Object::Ptr object;
    if (words.size() == 3) {
        if (!find(words.at(1), &object))
            return false;
    } else {
        // The first top-level window.
        for (const Vexil::Object::Ptr &top : Vexil::Inspector::self()->objects()) {
            if (top && !top->isNull()) {
                object = top;
                break;
            }
        }
        if (!object) {
            m_error = QStringLiteral("the application has no window to take a picture of");
            return false;
        }
    }
    // The program may run elsewhere: the file goes by its whole path.
    const QString file = QFileInfo(words.last()).absoluteFilePath();
    return callFunction(QStringLiteral("saveScreenshot"), { object, textWord(file) }, {});
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
        if (!m_session->setRecording(true, &m_error)) {
            m_recording.reset();
            return false;
        }
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
    // Records still on their way arrive with the answer to "stop".
    QString error;
    m_session->setRecording(false, &error);
    const std::vector<Vexil::EventData> events = m_recording->events();
    m_recording.reset();
    out(where
        + QStringLiteral(": recorded %1 %2")
              .arg(QString::number(events.size()),
                   events.size() == 1 ? QStringLiteral("event") : QStringLiteral("events")));
    for (const Vexil::EventData &e : events)
        out(QStringLiteral("  ") + QString::fromLocal8Bit(e.toDebugString().c_str()));
}

} // namespace VexilTool
