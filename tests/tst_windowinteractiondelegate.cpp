// tst_windowinteractiondelegate.cpp: window functions driven through the global class as a script binding
// calls them, with fake window classes and fake delegates.
#include "testsupport.h"

#include "globalobject.h"
#include "inspector.h"
#include "screenrectangle.h"
#include "windowinteractiondelegate.h"

#include <QStringList>

using namespace Vexil;
using WindowClass = VexilTest::ChainClass;

namespace {

// Implements only what a toolkit must; the rest keeps the defaults.
class MinimalDelegate : public WindowInteractionDelegate
{
public:
    explicit MinimalDelegate(const QString &className)
        : WindowInteractionDelegate(className)
    {
    }

    FunctionCallResult<void> closeWindow(Object::Ptr w) const override { return record(w, "close"); }
    FunctionCallResult<void> maximizeWindow(Object::Ptr w) const override { return record(w, "maximize"); }
    FunctionCallResult<void> minimizeWindow(Object::Ptr w) const override { return record(w, "minimize"); }
    FunctionCallResult<void> moveWindowTo(Object::Ptr w, int x, int y) const override
    {
        return record(w, QStringLiteral("move %1 %2").arg(x).arg(y));
    }
    FunctionCallResult<void> resizeWindowTo(Object::Ptr w, int width, int height) const override
    {
        return record(w, QStringLiteral("resize %1 %2").arg(width).arg(height));
    }
    FunctionCallResult<void> restoreWindow(Object::Ptr w) const override { return record(w, "restore"); }

    void reset()
    {
        calls.clear();
        lastWindow = focused = Object::Ptr();
        failWith.clear();
        focusError.clear();
    }

    mutable QStringList calls;
    mutable Object::Ptr lastWindow;
    QString failWith, focusError;
    Object::Ptr focused;

protected:
    FunctionCallResult<void> record(Object::Ptr w, const QString &what) const
    {
        calls << what;
        lastWindow = w;
        return FunctionCallResult<void>(failWith);
    }
};

class FullDelegate : public MinimalDelegate
{
public:
    using MinimalDelegate::MinimalDelegate;

    FunctionCallResult<void> setFullscreenWindow(Object::Ptr w) const override
    {
        return record(w, "fullscreen");
    }
    FunctionCallResult<void> setForegroundWindow(Object::Ptr w) const override
    {
        return record(w, "foreground");
    }
    FunctionCallResult<void> setFocusedWindow(Object::Ptr w) const override { return record(w, "focus"); }
    FunctionCallResult<Object::Ptr> focusedWindow() const override { return { focused, focusError }; }
    FunctionCallResult<ScreenRectangle> windowGeometry(Object::Ptr w) const override
    {
        record(w, "geometry");
        return FunctionCallResult<ScreenRectangle>(ScreenRectangle(10, 20, 300, 200), failWith);
    }
};

int s_data[4];

class WindowInteraction : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_window = new WindowClass("WiWindow", nullptr);
        s_dialog = new WindowClass("WiDialog", s_window);
        s_plain = new WindowClass("WiPlain", nullptr);
        s_lonely = new WindowClass("WiLonely", nullptr);
        // Factory order within the type is by class name: WiAlpha, WiPlain, WiWindow, WiZeta.
        s_alpha = new FullDelegate(QStringLiteral("WiAlpha"));
        s_minimal = new MinimalDelegate(QStringLiteral("WiPlain"));
        s_full = new FullDelegate(QStringLiteral("WiWindow"));
        s_zeta = new FullDelegate(QStringLiteral("WiZeta"));
        for (const Class *cls : { s_window, s_plain, s_lonely })
            registerWindowInteractionMethods(cls);
    }

    void SetUp() override
    {
        for (MinimalDelegate *d :
             std::initializer_list<MinimalDelegate *> { s_alpha, s_minimal, s_full, s_zeta })
            d->reset();
        Inspector::self()->lastError();
    }

    static Object::Ptr window(const Class *cls, int slot = 0)
    {
        return cls->wrap(&s_data[slot], ObjectAttribute());
    }

    static Object::Ptr call(const char *name, const ObjectList &args)
    {
        return VexilTest::callGlobal(name, args);
    }
    static Object::Ptr integer(int v) { return VexilTest::value(v); }
    static QString lastError() { return Inspector::self()->lastError(); }

    static const Method *overloadFor(const char *name, const Class *windowClass)
    {
        for (const Method *m : Inspector::self()->globalClass()->methods(QString::fromLatin1(name))) {
            if (m->signature().count() > 0 && m->signature().at(0).type() == windowClass)
                return m;
        }
        return nullptr;
    }

    static inline const Class *s_window = nullptr;
    static inline const Class *s_dialog = nullptr;
    static inline const Class *s_plain = nullptr;
    static inline const Class *s_lonely = nullptr;
    static inline FullDelegate *s_alpha = nullptr;
    static inline MinimalDelegate *s_minimal = nullptr;
    static inline FullDelegate *s_full = nullptr;
    static inline FullDelegate *s_zeta = nullptr;
};

} // namespace

TEST_F(WindowInteraction, FunctionsArePublishedAsStaticGlobals)
{
    const char *const rows[][2] = {
        { "_vexil_window_close", "()" },
        { "_vexil_window_maximize", "()" },
        { "_vexil_window_minimize", "()" },
        { "_vexil_window_moveto", "(, int x, int y)" },
        { "_vexil_window_resizeto", "(, int w, int h)" },
        { "_vexil_window_restore", "()" },
        { "_vexil_window_fullscreen_set", "()" },
        { "_vexil_window_foreground_set", "()" },
        { "_vexil_window_focus_set", "()" },
        { "_vexil_window_geometry_get", "()" },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row[0]);
        const Method *m = overloadFor(row[0], s_window);
        ASSERT_NE(m, nullptr);
        EXPECT_TRUE(m->isStatic());
        EXPECT_EQ(m->ownerClass(), Inspector::self()->globalClass());
        const QString returns = QByteArray(row[0]) == "_vexil_window_geometry_get" ? "ScreenRectangle"
                                                                                   : "void";
        const QString params = QString::fromLatin1(row[1]).replace(0, 1, QStringLiteral("(WiWindow object"));
        EXPECT_EQ(m->toString(), returns + " " + row[0] + params);
        // One overload per registered window class.
        EXPECT_EQ(Inspector::self()->globalClass()->methods(QString::fromLatin1(row[0])).size(), 3u);
    }
    const MethodList focused = Inspector::self()->globalClass()->methods(
        QStringLiteral("_vexil_window_focused"));
    ASSERT_FALSE(focused.empty());
    EXPECT_EQ(focused[0]->toString(), "void _vexil_window_focused()");
}

TEST_F(WindowInteraction, OperationsReachTheDelegateOfTheClassOrItsBase)
{
    const char *const rows[][2] = {
        { "_vexil_window_close", "close" },
        { "_vexil_window_maximize", "maximize" },
        { "_vexil_window_minimize", "minimize" },
        { "_vexil_window_restore", "restore" },
        { "_vexil_window_fullscreen_set", "fullscreen" },
        { "_vexil_window_foreground_set", "foreground" },
        { "_vexil_window_focus_set", "focus" },
    };
    const Object::Ptr w = window(s_window);
    for (const auto &row : rows) {
        SCOPED_TRACE(row[0]);
        s_full->reset();
        EXPECT_EQ(call(row[0], { w }).get(), Inspector::self()->voidObject().get());
        EXPECT_EQ(s_full->calls, QStringList { QString::fromLatin1(row[1]) });
        EXPECT_EQ(s_full->lastWindow.get(), w.get());
        EXPECT_EQ(lastError(), QString());
    }
    s_full->reset();
    EXPECT_EQ(call("_vexil_window_moveto", { w, integer(10), integer(-20) }).get(),
              Inspector::self()->voidObject().get());
    EXPECT_TRUE(call("_vexil_window_resizeto", { w, integer(640), integer(480) }));
    // A derived window class uses its base class's delegate.
    const Object::Ptr dialog = window(s_dialog, 1);
    EXPECT_TRUE(call("_vexil_window_close", { dialog }));
    EXPECT_EQ(s_full->calls, (QStringList { "move 10 -20", "resize 640 480", "close" }));
    EXPECT_EQ(s_full->lastWindow.get(), dialog.get());
}

TEST_F(WindowInteraction, GeometryComesBackAsScreenRectangle)
{
    const Object::Ptr r = call("_vexil_window_geometry_get", { window(s_window) });
    ASSERT_TRUE(r);
    EXPECT_EQ(r->objectClass(), objectModelScreenRectangleClass());
    const ScreenRectangle rect = unwrapScreenRectangle(r);
    EXPECT_EQ(std::vector<int>({ rect.x, rect.y, rect.width, rect.height }),
              std::vector<int>({ 10, 20, 300, 200 }));

    // A delegate's error reaches the script.
    s_full->failWith = QStringLiteral("Window is being destroyed");
    EXPECT_EQ(call("_vexil_window_geometry_get", { window(s_window) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Window is being destroyed"));
    EXPECT_EQ(call("_vexil_window_minimize", { window(s_window) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Window is being destroyed"));
}

TEST_F(WindowInteraction, DefaultsNameTheClass)
{
    const Object::Ptr w = window(s_plain, 2);
    EXPECT_EQ(call("_vexil_window_fullscreen_set", { w }), nullptr);
    EXPECT_EQ(lastError(),
              QStringLiteral("Setting fullscreen state on objects of type WiPlain is not supported."));
    EXPECT_EQ(call("_vexil_window_foreground_set", { w }), nullptr);
    EXPECT_EQ(lastError(),
              QStringLiteral("Setting foreground state on objects of type WiPlain is not supported."));
    EXPECT_EQ(call("_vexil_window_focus_set", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Focusing objects of type WiPlain is not supported."));
    EXPECT_EQ(call("_vexil_window_geometry_get", { w }), nullptr);
    EXPECT_EQ(lastError(),
              QStringLiteral("Fetching window geometry for objects of type WiPlain is not supported."));
    EXPECT_TRUE(s_minimal->calls.isEmpty());

    const ScreenRectangle geometry = s_minimal->windowGeometry(w).value;
    EXPECT_EQ(std::vector<int>({ geometry.x, geometry.y, geometry.width, geometry.height }),
              std::vector<int>({ -1, -1, -1, -1 }));
    EXPECT_TRUE(s_minimal->focusedWindow().ok());
    EXPECT_FALSE(s_minimal->focusedWindow().value);
}

TEST_F(WindowInteraction, NoDelegateOrNoWindow)
{
    const Object::Ptr w = window(s_lonely, 3);
    EXPECT_EQ(call("_vexil_window_close", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to close object of type WiLonely"));
    EXPECT_EQ(call("_vexil_window_fullscreen_set", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to set fullscreen object of type WiLonely"));
    EXPECT_EQ(call("_vexil_window_geometry_get", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to fetch geometry for object of type WiLonely"));

    const Object::Ptr nullWindow = s_window->createNull();
    EXPECT_EQ(call("_vexil_window_focus_set", { nullWindow }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't set focused null object."));
    EXPECT_EQ(call("_vexil_window_resizeto", { nullWindow, integer(1), integer(1) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't resize null object."));
    EXPECT_EQ(call("_vexil_window_geometry_get", { nullWindow }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't fetch geometry for null object."));
    // Called directly with nothing or a null pointer in place of the window.
    EXPECT_EQ(maximizeWindowByObject({ Object::Ptr() }, nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't maximize null object."));
    EXPECT_EQ(getWindowGeometryByObject(ObjectList(), nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't fetch geometry for null object."));

    // Missing coordinates are an error, not a crash.
    const Object::Ptr real = window(s_window);
    EXPECT_EQ(overloadFor("_vexil_window_moveto", s_window)->invoke(Object::Ptr(), { real }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Moving a window needs the coordinates x and y"));
    EXPECT_EQ(resizeWindowToByObject({ real, integer(3), Object::Ptr() }, nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Resizing a window needs the width and the height"));
    EXPECT_TRUE(s_full->calls.isEmpty());
}

TEST_F(WindowInteraction, FocusedWindowAsksDelegatesInFactoryOrder)
{
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("No focused window found"));

    const Object::Ptr late = window(s_window, 2);
    s_zeta->focused = late;
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()).get(), late.get());
    const Object::Ptr early = window(s_window, 1);
    s_full->focused = early;
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()).get(), early.get());
    // A null object is no answer: the search goes on.
    s_full->focused = s_window->createNull();
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()).get(), late.get());

    // The first error ends the search even though a later delegate has a window.
    s_alpha->focusError = QStringLiteral("Focus lookup failed");
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Focus lookup failed"));
}
