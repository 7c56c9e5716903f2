// tst_windowinteractiondelegate.cpp: window functions driven through the global class as a script binding
// calls them, with fake window classes and fake delegates.
#include "testsupport.h"

#include "globalobject.h"
#include "inspector.h"
#include "screenrectangle.h"
#include "windowinteractiondelegate.h"

#include <QStringList>

using namespace Vexil;

namespace {

class WindowClass : public Class
{
public:
    WindowClass(const char *name, const Class *base)
        : Class(name, true)
        , m_base(base)
    {
    }
    void initSuperClass() const override { setSuperClass(m_base); }

private:
    const Class *m_base;
};

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
        lastWindow = Object::Ptr();
        failWith.clear();
        focused = Object::Ptr();
        focusError.clear();
    }

    mutable QStringList calls;
    mutable Object::Ptr lastWindow;
    QString failWith;
    Object::Ptr focused;
    QString focusError;

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
    FunctionCallResult<Object::Ptr> focusedWindow() const override
    {
        return FunctionCallResult<Object::Ptr>(focused, focusError);
    }
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
        registerWindowInteractionMethods(s_window);
        registerWindowInteractionMethods(s_plain);
        registerWindowInteractionMethods(s_lonely);
    }

    void SetUp() override
    {
        s_alpha->reset();
        s_minimal->reset();
        s_full->reset();
        s_zeta->reset();
        Inspector::self()->lastError();
    }

    static Object::Ptr window(const Class *cls, int slot = 0)
    {
        return cls->wrap(&s_data[slot], ObjectAttribute());
    }

    // What a script binding does: the overload set of the global function, called without an object.
    static Object::Ptr call(const char *name, const ObjectList &args)
    {
        const MethodList overloads = Inspector::self()->globalClass()->methods(QString::fromLatin1(name));
        return overloads.invoke(Object::Ptr(), args);
    }

    static Object::Ptr integer(int v) { return Inspector::self()->createPrimitive(v); }
    static QString lastError() { return Inspector::self()->lastError(); }

    static const Method *overloadFor(const char *name, const Class *windowClass)
    {
        for (const Method *m : Inspector::self()->globalClass()->methods(QString::fromLatin1(name))) {
            if (m->signature().count() > 0 && m->signature().at(0).type() == windowClass)
                return m;
        }
        return nullptr;
    }

    static const Class *s_window;
    static const Class *s_dialog;
    static const Class *s_plain;
    static const Class *s_lonely;
    static FullDelegate *s_alpha;
    static MinimalDelegate *s_minimal;
    static FullDelegate *s_full;
    static FullDelegate *s_zeta;
};

const Class *WindowInteraction::s_window = nullptr;
const Class *WindowInteraction::s_dialog = nullptr;
const Class *WindowInteraction::s_plain = nullptr;
const Class *WindowInteraction::s_lonely = nullptr;
FullDelegate *WindowInteraction::s_alpha = nullptr;
MinimalDelegate *WindowInteraction::s_minimal = nullptr;
FullDelegate *WindowInteraction::s_full = nullptr;
FullDelegate *WindowInteraction::s_zeta = nullptr;

} // namespace

TEST(FunctionCallResult, EmptyErrorMeansSuccess)
{
    FunctionCallResult<int> r;
    EXPECT_TRUE(r.ok());
    EXPECT_EQ(r.value, 0);
    r.error = QStringLiteral("broken");
    EXPECT_FALSE(r.ok());

    const FunctionCallResult<void> done;
    EXPECT_TRUE(done.ok());
    EXPECT_FALSE(FunctionCallResult<void>(QStringLiteral("no")).ok());
    EXPECT_EQ(FunctionCallResult<ScreenRectangle>().value.width, -1);
}


TEST_F(WindowInteraction, FunctionsArePublishedAsStaticGlobals)
{
    struct Row
    {
        const char *name;
        const char *params[3];
        int count;
    };
    const Row rows[] = {
        { "_vexil_window_close", { "object" }, 1 },
        { "_vexil_window_maximize", { "object" }, 1 },
        { "_vexil_window_minimize", { "object" }, 1 },
        { "_vexil_window_moveto", { "object", "x", "y" }, 3 },
        { "_vexil_window_resizeto", { "object", "w", "h" }, 3 },
        { "_vexil_window_restore", { "object" }, 1 },
        { "_vexil_window_fullscreen_set", { "object" }, 1 },
        { "_vexil_window_foreground_set", { "object" }, 1 },
        { "_vexil_window_focus_set", { "object" }, 1 },
        { "_vexil_window_geometry_get", { "object" }, 1 },
    };
    const Class *intClass = Inspector::self()->type(Inspector::Int);
    const Class *voidClass = Inspector::self()->type(Inspector::Void);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Method *m = overloadFor(row.name, s_window);
        ASSERT_NE(m, nullptr);
        EXPECT_TRUE(m->isStatic());
        EXPECT_EQ(m->ownerClass(), Inspector::self()->globalClass());
        ASSERT_EQ(m->signature().count(), row.count);
        for (int i = 0; i < row.count; ++i) {
            EXPECT_EQ(m->signature().at(i).name(), QString::fromLatin1(row.params[i]));
            EXPECT_EQ(m->signature().at(i).type(), i == 0 ? s_window : intClass);
        }
        const Class *expectedReturn = QByteArray(row.name) == "_vexil_window_geometry_get"
            ? objectModelScreenRectangleClass()
            : voidClass;
        EXPECT_EQ(m->returnArgument().type(), expectedReturn);
        // One overload per registered window class.
        EXPECT_EQ(Inspector::self()->globalClass()->methods(QString::fromLatin1(row.name)).size(), 3u);
    }
    const MethodList focused =
        Inspector::self()->globalClass()->methods(QStringLiteral("_vexil_window_focused"));
    ASSERT_FALSE(focused.empty());
    EXPECT_TRUE(focused[0]->isStatic());
    EXPECT_EQ(focused[0]->signature().count(), 0);
    EXPECT_EQ(focused[0]->returnArgument().type(), voidClass);
}

TEST_F(WindowInteraction, OperationsReachTheDelegateAndReturnTheVoidObject)
{
    const struct
    {
        const char *name;
        const char *call;
    } rows[] = {
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
        SCOPED_TRACE(row.name);
        s_full->reset();
        const Object::Ptr r = call(row.name, { w });
        EXPECT_EQ(r.get(), Inspector::self()->voidObject().get());
        EXPECT_EQ(s_full->calls, QStringList { QString::fromLatin1(row.call) });
        EXPECT_EQ(s_full->lastWindow.get(), w.get());
        EXPECT_EQ(lastError(), QString());
    }
}

TEST_F(WindowInteraction, MoveAndResizeTakeTheirIntegers)
{
    const Object::Ptr w = window(s_window);
    EXPECT_EQ(call("_vexil_window_moveto", { w, integer(10), integer(-20) }).get(),
              Inspector::self()->voidObject().get());
    EXPECT_EQ(call("_vexil_window_resizeto", { w, integer(640), integer(480) }).get(),
              Inspector::self()->voidObject().get());
    const QStringList expected { QStringLiteral("move 10 -20"), QStringLiteral("resize 640 480") };
    EXPECT_EQ(s_full->calls, expected);
}

TEST_F(WindowInteraction, DerivedWindowUsesTheBaseClassDelegate)
{
    EXPECT_EQ(s_full->type(), Delegate::WindowInteraction);
    EXPECT_EQ(int(Delegate::WindowInteraction), 10);
    const Object::Ptr dialog = window(s_dialog, 1);
    EXPECT_TRUE(call("_vexil_window_close", { dialog }));
    EXPECT_EQ(s_full->calls, QStringList { QStringLiteral("close") });
    EXPECT_EQ(s_full->lastWindow.get(), dialog.get());
}

TEST_F(WindowInteraction, DelegateErrorReachesTheScript)
{
    s_full->failWith = QStringLiteral("Window is being destroyed");
    EXPECT_EQ(call("_vexil_window_minimize", { window(s_window) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Window is being destroyed"));
    EXPECT_EQ(lastError(), QString());
    EXPECT_EQ(call("_vexil_window_geometry_get", { window(s_window) }), nullptr);
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

    const FunctionCallResult<ScreenRectangle> geometry = s_minimal->windowGeometry(w);
    EXPECT_EQ(geometry.value.x, -1);
    EXPECT_EQ(geometry.value.y, -1);
    EXPECT_EQ(geometry.value.width, -1);
    EXPECT_EQ(geometry.value.height, -1);
    const FunctionCallResult<Object::Ptr> focused = s_minimal->focusedWindow();
    EXPECT_TRUE(focused.ok());
    EXPECT_FALSE(focused.value);
}

TEST_F(WindowInteraction, ClassWithoutDelegate)
{
    const Object::Ptr w = window(s_lonely, 3);
    EXPECT_EQ(call("_vexil_window_close", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to close object of type WiLonely"));
    EXPECT_EQ(call("_vexil_window_moveto", { w, integer(1), integer(2) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to move object of type WiLonely"));
    EXPECT_EQ(call("_vexil_window_fullscreen_set", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to set fullscreen object of type WiLonely"));
    EXPECT_EQ(call("_vexil_window_geometry_get", { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Don't know how to fetch geometry for object of type WiLonely"));
}

TEST_F(WindowInteraction, NullWindows)
{
    const Object::Ptr nullWindow = s_window->createNull();
    EXPECT_EQ(call("_vexil_window_close", { nullWindow }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't close null object."));
    EXPECT_EQ(call("_vexil_window_focus_set", { nullWindow }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't set focused null object."));
    EXPECT_EQ(call("_vexil_window_resizeto", { nullWindow, integer(1), integer(1) }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't resize null object."));
    EXPECT_EQ(call("_vexil_window_geometry_get", { nullWindow }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't fetch geometry for null object."));

    // Called directly with nothing or a null pointer in place of the window.
    EXPECT_EQ(closeWindowByObject(ObjectList(), nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't close null object."));
    EXPECT_EQ(maximizeWindowByObject({ Object::Ptr() }, nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't maximize null object."));
    EXPECT_EQ(getWindowGeometryByObject(ObjectList(), nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Can't fetch geometry for null object."));
    EXPECT_TRUE(s_full->calls.isEmpty());
}

TEST_F(WindowInteraction, MissingCoordinatesAreAnErrorNotACrash)
{
    const Object::Ptr w = window(s_window);
    const Method *move = overloadFor("_vexil_window_moveto", s_window);
    ASSERT_NE(move, nullptr);
    EXPECT_EQ(move->invoke(Object::Ptr(), { w }), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Moving a window needs the coordinates x and y"));
    EXPECT_EQ(resizeWindowToByObject({ w, integer(3), Object::Ptr() }, nullptr), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Resizing a window needs the width and the height"));
    EXPECT_TRUE(s_full->calls.isEmpty());
}

TEST_F(WindowInteraction, GeometryComesBackAsScreenRectangle)
{
    const Object::Ptr r = call("_vexil_window_geometry_get", { window(s_window) });
    ASSERT_TRUE(r);
    EXPECT_EQ(r->objectClass(), objectModelScreenRectangleClass());
    const ScreenRectangle rect = unwrapScreenRectangle(r);
    EXPECT_EQ(rect.x, 10);
    EXPECT_EQ(rect.y, 20);
    EXPECT_EQ(rect.width, 300);
    EXPECT_EQ(rect.height, 200);
    EXPECT_EQ(lastError(), QString());
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
}

TEST_F(WindowInteraction, FocusedWindowStopsAtTheFirstError)
{
    s_alpha->focusError = QStringLiteral("Focus lookup failed");
    s_zeta->focused = window(s_window);
    EXPECT_EQ(call("_vexil_window_focused", ObjectList()), nullptr);
    EXPECT_EQ(lastError(), QStringLiteral("Focus lookup failed"));
}
