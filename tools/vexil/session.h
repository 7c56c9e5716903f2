// session.h: the program "vexil run" and "vexil tree" drive, behind one interface: any Qt program under
// the agent (RemoteSession), or the demo application in the tool's own process (DemoSession, kept for the
// tool's own tests). Lookups, properties and methods go through Inspector::self() either way; what differs
// is here.
#ifndef VEXIL_TOOL_SESSION_H
#define VEXIL_TOOL_SESSION_H

#include "cli.h"

#include <object.h>
#include <objectmap.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace VexilTool {

class Session
{
public:
    virtual ~Session() = default;

    /// Lets the program handle what the last step set in motion: posted events, deferred deletes.
    virtual void settle() { }
    /// The symbolic name of an application object when the program's object map has one, else its real
    /// name; empty for anything that is not an application object.
    virtual QString displayName(const Vexil::Object::Ptr &object) = 0;
    /// The real (multi-property) name of an application object.
    virtual QString realName(const Vexil::Object::Ptr &object) = 0;
    /// Loads an object map file into the program's model (in this process, the current ObjectMap is it).
    virtual bool loadObjectMap(const QString &path, QString *error) = 0;
    /// Waits up to \p ms for the object to exist, be visible and enabled; null with lastError() set.
    virtual Vexil::Object::Ptr waitForObject(const QString &name, int ms) = 0;
    /// Waits up to \p ms until \p property of \p object reads as \p text; false with \p error (what it
    /// read instead) otherwise. The program's side waits, where there is one.
    virtual bool waitForProperty(const Vexil::Object::Ptr &object, const QString &property,
                                 const QString &text, int ms, QString *error) = 0;
    /// Calls the program's global function \p name with \p args followed by \p words (texts, or numbers and
    /// truth values where the function takes no texts). Null with \p error set when it fails.
    virtual Vexil::Object::Ptr callFunction(const QString &name, const Vexil::ObjectList &args,
                                            const QStringList &words, QString *error) = 0;
    /// Starts or stops recording; records reach the Inspector's event-notify delegates.
    virtual bool setRecording(bool on, QString *error) = 0;
    /// True when the program records the script's calls itself; otherwise the runner records them.
    virtual bool recordsCalls() const = 0;
    /// Empty while the program runs; otherwise how it ended ("application exited with code 0").
    virtual QString endedText() { return QString(); }

    /// This process's object map, loaded from the same file: it names objects the program's map does not
    /// know (as "vexil tree" derives them) and, in this process, resolves symbolic names.
    Vexil::ObjectMap &localMap() { return m_map; }

private:
    Vexil::ObjectMap m_map;
};

/// Which program a session drives: --app or --attach (with --token), else the demo in this process.
struct SessionOptions
{
    QString app;
    QString attach;
    QString token;
    QString objectMap; ///< loaded into the program's model when set
    bool visible = false;
};

/// --app, --attach, --token and --objectmap, as run and tree take them.
std::vector<OptionDecl> sessionOptionDecls();
/// False with \p error set for a combination that makes no sense (--app with --attach, --token alone).
bool readSessionOptions(const Args &args, SessionOptions *options, QString *error);

/// Starts or reaches the program, installs the model that reaches it and loads the object map into it.
/// Null with \p error set when that fails.
std::unique_ptr<Session> openSession(const SessionOptions &options, QString *error);

/// The wait for objects by default: 20 s times VEXIL_TIMEOUT_FACTOR.
int defaultWaitMs();

} // namespace VexilTool

#endif // VEXIL_TOOL_SESSION_H
