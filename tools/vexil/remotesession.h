// remotesession.h: any Qt program under the agent, launched by the tool or attached to, reached through a
// RemoteInspector installed as the Inspector's implementation.
#ifndef VEXIL_TOOL_REMOTESESSION_H
#define VEXIL_TOOL_REMOTESESSION_H

#include "session.h"

#include <memory>

QT_BEGIN_NAMESPACE
class QCoreApplication;
QT_END_NAMESPACE

namespace Vexil {
namespace Remote {
class Application;
class RemoteInspector;
} // namespace Remote
} // namespace Vexil

namespace VexilTool {

class RemoteSession : public Session
{
public:
    ~RemoteSession() override;

    /// Starts \p commandLine (split like a shell would) under the agent; null with \p error naming the cause.
    static std::unique_ptr<RemoteSession> launch(const QString &commandLine, bool visible, QString *error);
    /// Connects to a program started with "vexil launch".
    static std::unique_ptr<RemoteSession> attach(const QString &address, const QString &token,
                                                 QString *error);

    QString displayName(const Vexil::Object::Ptr &object) override;
    QString realName(const Vexil::Object::Ptr &object) override;
    bool loadObjectMap(const QString &path, QString *error) override;
    Vexil::Object::Ptr waitForObject(const QString &name, int ms) override;
    bool waitForProperty(const Vexil::Object::Ptr &object, const QString &property, const QString &text,
                         int ms, QString *error) override;
    Vexil::Object::Ptr callFunction(const QString &name, const Vexil::ObjectList &args,
                                    const QStringList &words, QString *error) override;
    bool setRecording(bool on, QString *error) override;
    bool recordsCalls() const override { return true; }
    QString endedText() override;

private:
    RemoteSession();
    bool connect(QString *error);

    std::unique_ptr<QCoreApplication> m_core;
    std::unique_ptr<Vexil::Remote::Application> m_app;
    std::unique_ptr<Vexil::Remote::RemoteInspector> m_remote;
    bool m_launched = false;
};

} // namespace VexilTool

#endif // VEXIL_TOOL_REMOTESESSION_H
