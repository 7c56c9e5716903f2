// demosession.h: the demo application started inside the tool's own process, with the Qt wrapper installed.
#ifndef VEXIL_TOOL_DEMOSESSION_H
#define VEXIL_TOOL_DEMOSESSION_H

#include <object.h>

#include <QString>

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
class DemoSession
{
public:
    DemoSession();
    ~DemoSession();

    /// False with \p error set when there is no display to be visible on or the wrapper does not install.
    bool start(bool visible, QString *error);

    /// Lets the application handle what the last step set in motion: posted events, deferred deletes.
    void settle();

    VexilDemo::DemoMainWindow *mainWindow() const { return m_window; }

private:
    DemoSession(const DemoSession &) = delete;
    DemoSession &operator=(const DemoSession &) = delete;

    std::unique_ptr<QApplication> m_app;
    VexilDemo::DemoMainWindow *m_window = nullptr;
};

/// How a value reads in the tool's output: the symbolic name (or real name) of an application object,
/// otherwise the value's text.
QString displayValue(const Vexil::Object::Ptr &value);

/// Quotes \p text by the script rule when it needs it: blanks, quotes or nothing at all.
QString scriptQuoted(const QString &text);

} // namespace VexilTool

#endif // VEXIL_TOOL_DEMOSESSION_H
