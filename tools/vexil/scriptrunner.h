// scriptrunner.h: runs a .vxs test script, one command a line, against a session's program.
#ifndef VEXIL_TOOL_SCRIPTRUNNER_H
#define VEXIL_TOOL_SCRIPTRUNNER_H

#include <object.h>

#include <QString>
#include <QStringList>

#include <memory>

namespace VexilTool {

class Session;
class Recording;

class ScriptRunner
{
public:
    ScriptRunner(const QString &path, Session *session, bool verbose);
    ~ScriptRunner();

    /// Runs every line of \p text; failed steps are reported and the run goes on. ExitOk or ExitFailures.
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
    bool click(const QStringList &words);
    bool typeText(const QStringList &words);
    bool key(const QStringList &words);
    bool menu(const QStringList &words);
    bool wait(const QStringList &words);
    bool waitFor(const QStringList &words);
    bool screenshot(const QStringList &words);
    bool callFunction(const QString &function, const Vexil::ObjectList &args, const QStringList &words,
                      Vexil::Object::Ptr *result = nullptr);
    bool seconds(const QString &word, int *ms);
    void printRecording(const QString &where);
    bool usage(const char *form);
    QString modelError(const QString &fallback);
    QString display(const Vexil::Object::Ptr &value);
    void print(const QString &text);

    QString m_path;
    Session *m_session;
    bool m_verbose;
    int m_line = 0;
    QString m_error;
    QString m_diagnostics; // what the library reported during the step
    std::unique_ptr<Recording> m_recording;
};

} // namespace VexilTool

#endif // VEXIL_TOOL_SCRIPTRUNNER_H
