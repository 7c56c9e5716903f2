// demosession.h: the demo application started inside the tool's own process, with the Qt wrapper installed:
// the session the tool's own tests use when no program is given.
#ifndef VEXIL_TOOL_DEMOSESSION_H
#define VEXIL_TOOL_DEMOSESSION_H

#include "session.h"

#include <memory>

QT_BEGIN_NAMESPACE
class QApplication;
QT_END_NAMESPACE

namespace VexilDemo {
class DemoMainWindow;
}

namespace VexilTool {

/// A QApplication on the offscreen platform (or the real display with \p visible), the demo's main window
/// shown, and the Qt wrapper installed. One per process.
class DemoSession : public Session
{
public:
    ~DemoSession() override;

    /// Null with \p error set when there is no display to be visible on or the wrapper does not install.
    static std::unique_ptr<DemoSession> start(bool visible, QString *error);

    void settle() override;
    QString displayName(const Vexil::Object::Ptr &object) override;
    QString realName(const Vexil::Object::Ptr &object) override;
    bool loadObjectMap(const QString &path, QString *error) override;
    Vexil::Object::Ptr waitForObject(const QString &name, int ms) override;
    bool waitForProperty(const Vexil::Object::Ptr &object, const QString &property, const QString &text,
                         int ms, QString *error) override;
    Vexil::Object::Ptr callFunction(const QString &name, const Vexil::ObjectList &args,
                                    const QStringList &words, QString *error) override;
    bool setRecording(bool, QString *) override { return true; }
    bool recordsCalls() const override { return false; }

private:
    DemoSession() = default;

    std::unique_ptr<QApplication> m_app;
    VexilDemo::DemoMainWindow *m_window = nullptr;
};

} // namespace VexilTool

#endif // VEXIL_TOOL_DEMOSESSION_H
