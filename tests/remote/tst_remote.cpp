// tst_remote: the forwarding model against real programs under the agent: the demo application, a second
// copy of it, a program that is not Qt and one that has no widgets.
#include "testsupport.h"

#include <remoteconnection.h>
#include <remoteinspector.h>

#include <arrayclass.h>
#include <delegate.h>
#include <inspector.h>
#include <primitives.h>
#include <screenrectangle.h>

#include <QCoreApplication>
#include <QRect>
#include <QSet>

#include <csignal>
#include <memory>

#include <sys/types.h>

using namespace Vexil;
using Vexil::Remote::Application;
using Vexil::Remote::RemoteInspector;
using VexilTest::callMethod;
using VexilTest::insp;
using VexilTest::readProperty;
using VexilTest::writeProperty;

namespace {

std::unique_ptr<Application> launchDemo(const Application::Options &options = Application::Options())
{
    QString error;
    std::unique_ptr<Application> app = Application::launch({ QStringLiteral(VEXIL_DEMO_PATH) }, options,
                                                           &error);
    EXPECT_TRUE(app) << error.toStdString();
    return app;
}

// The demo under the agent, with a RemoteInspector installed for it.
class Demo : public ::testing::Test
{
protected:
    void SetUp() override
    {
        app = launchDemo();
        ASSERT_TRUE(app);
        remote.reset(new RemoteInspector(app->connection()));
        remote->setTimeout(10000);
        insp()->setInspectorInterfaceImpl(remote.get());
        insp()->lastError();
    }
    void TearDown() override
    {
        remote.reset();
        app.reset();
    }
    Object::Ptr find(const char *name) { return insp()->findObject(QString::fromLatin1(name)); }

    std::unique_ptr<Application> app;
    std::unique_ptr<RemoteInspector> remote;
};

struct LookupRow
{
    const char *label;
    const char *name;
    const char *objectName; // what the found object's objectName is; null when nothing is found
    const char *error; // lastError() after the lookup
};

const LookupRow kLookupRows[] = {
    { "multi_property", "{type='QPushButton' text='OK'}", "okButton", "" },
    { "nested_window", "{type='QLineEdit' name='nameEdit' window={type='VexilDemo::DemoMainWindow'}}",
      "nameEdit", "" },
    { "dotted_path", "mainWindow.centralWidget.form.emailEdit", "emailEdit", "" },
    { "no_match", "{type='QPushButton' text='Nowhere'}", nullptr,
      "Object '{type='QPushButton' text='Nowhere'}' not found. Could not match properties:\n"
      "    text for object name: '{text='Nowhere' type='QPushButton'}'" },
    { "malformed", "{type='QPushButton'", nullptr,
      "Cannot find object with invalid object name: Hierarchical names must not start with '{' or end in "
      "'}': "
      "{type='QPushButton'" },
};

void PrintTo(const LookupRow &row, std::ostream *os)
{
    *os << row.label;
}

class RemoteLookup : public Demo, public ::testing::WithParamInterface<LookupRow>
{ };

TEST_P(RemoteLookup, FindsOrExplains)
{
    const LookupRow &row = GetParam();
    const Object::Ptr found = find(row.name);
    const QString error = insp()->lastError();
    if (!row.objectName) {
        EXPECT_EQ(found, nullptr);
        EXPECT_EQ(error, QString::fromLatin1(row.error));
        return;
    }
    ASSERT_TRUE(found) << error.toStdString();
    EXPECT_EQ(readProperty(found, "objectName")->toString(), QString::fromLatin1(row.objectName));
    EXPECT_EQ(error, QString());
}

INSTANTIATE_TEST_SUITE_P(Remote, RemoteLookup, ::testing::ValuesIn(kLookupRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST_F(Demo, SameObjectIsTheSameHandle)
{
    const Object::Ptr a = find("{type='QPushButton' text='OK'}");
    const Object::Ptr b = find("mainWindow.centralWidget.form.okButton");
    ASSERT_TRUE(a && b);
    EXPECT_TRUE(a->sameAs(b));
    EXPECT_FALSE(a->sameAs(find("mainWindow.centralWidget.form.clearButton")));
    EXPECT_NE(dynamic_cast<RemoteObjectBase *>(a.get()), nullptr);
    EXPECT_EQ(static_cast<const RemoteClassBase *>(a->objectClass())->applicationContextId(),
              int(remote->contextId()));
}

TEST_F(Demo, ClassesFollowTheProgramsChainAndKeepLocalValueClasses)
{
    // The program describes a class once it has handed out an object of it.
    ASSERT_TRUE(find("{type='QPushButton' text='OK'}"));
    const Class *button = insp()->type(QStringLiteral("QPushButton"));
    ASSERT_NE(button, nullptr);
    QStringList chain;
    for (const Class *c = button; c; c = c->superClass())
        chain.append(QString::fromLatin1(c->name()));
    EXPECT_EQ(chain, (QStringList { "QPushButton", "QAbstractButton", "QWidget", "QObject" }));
    // Member numbers run along the chain, as in the program.
    for (int i = 0; i < button->numMethods(); ++i)
        ASSERT_EQ(button->method(i)->index(), i);
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    ASSERT_TRUE(window);
    const Enum *mode = window->objectClass()->enumerator(QStringLiteral("Mode"));
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->value(QStringLiteral("Advanced")), 1);

    EXPECT_EQ(QString::fromLatin1(insp()->type(Inspector::Int)->name()), QStringLiteral("int"));
    EXPECT_EQ(insp()->type(QStringLiteral("Vexil_Array")), ArrayClass::registeredClass());
    EXPECT_EQ(insp()->type(QStringLiteral("NoSuchClassAnywhere")), nullptr);
    EXPECT_EQ(insp()->lastError(), QString());
}

TEST_F(Demo, PropertiesReadAndWriteThroughTheProgram)
{
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    const Object::Ptr name = find("{name='nameEdit'}");
    ASSERT_TRUE(window && name);
    EXPECT_TRUE(writeProperty(name, "text", wrap(QStringLiteral("Grace"))));
    EXPECT_EQ(readProperty(name, "text")->toString(), QStringLiteral("Grace"));
    EXPECT_TRUE(writeProperty(window, "ratio", insp()->createPrimitive(0.25)));
    EXPECT_DOUBLE_EQ(readProperty(window, "ratio")->toDouble(), 0.25);
    EXPECT_TRUE(writeProperty(window, "bigCounter", insp()->createPrimitive(1LL << 40)));
    EXPECT_EQ(readProperty(window, "bigCounter")->toInt64(), 1LL << 40);

    QStringList items;
    unwrap(readProperty(window, "items"), &items);
    EXPECT_EQ(items, (QStringList { "Apples", "Pears" }));
    const Object::Ptr label = readProperty(window, "statusLabel");
    ASSERT_NE(dynamic_cast<RemoteObjectBase *>(label.get()), nullptr);
    EXPECT_EQ(readProperty(label, "objectName")->toString(), QStringLiteral("statusLabel"));
    EXPECT_TRUE(writeProperty(window, "focusTarget", name));
    EXPECT_TRUE(readProperty(window, "focusTarget")->sameAs(name));
}

TEST_F(Demo, FailedWriteCarriesTheProgramsText)
{
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    ASSERT_TRUE(window);
    insp()->lastError();
    EXPECT_FALSE(writeProperty(window, "submitCount", insp()->createPrimitive(3)));
    EXPECT_EQ(insp()->lastError(),
              QStringLiteral("Object::setProperty: property submitCount is not writable"));
    EXPECT_EQ(insp()->lastError(), QString());
}

TEST_F(Demo, SlotsAndInvokablesRunInTheProgram)
{
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    ASSERT_TRUE(window);
    callMethod(window, "addItem", { wrap(QStringLiteral("Cherries")) });
    EXPECT_EQ(callMethod(window, "itemCount")->toInteger(), 3);
    EXPECT_EQ(callMethod(window, "greeting", { wrap(QStringLiteral("Ada")) })->toString(),
              QStringLiteral("Hello, Ada!"));
    callMethod(find("{type='QPushButton' text='OK'}"), "click");
    EXPECT_EQ(readProperty(window, "submitCount")->toInteger(), 1);
    EXPECT_EQ(readProperty(find("{name='statusLabel'}"), "text")->toString(), QStringLiteral("Submitted: "));
}

TEST_F(Demo, GlobalFunctionsTakeObjectsAndValues)
{
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    ASSERT_TRUE(window);
    const QVariant target = QVariant::fromValue(window);
    insp()->call(QStringLiteral("_vexil_window_moveto"), { target, 40, 50 });
    EXPECT_EQ(insp()->lastError(), QString());
    const QVariant geometry = insp()->call(QStringLiteral("_vexil_window_geometry_get"), { target });
    EXPECT_EQ(geometry.toRect().topLeft(), QPoint(40, 50));

    EXPECT_FALSE(insp()->call(QStringLiteral("noSuchFunction"), {}).isValid());
    EXPECT_EQ(insp()->lastError(), QStringLiteral("no global function 'noSuchFunction'"));
}

class CountingNotify : public EventNotifyDelegate
{
public:
    void notifyEvent(const EventData &data) const override { names.append(data.methodName); }
    mutable QStringList names;
};

TEST_F(Demo, RecordsComeBackAndReachTheLocalRecorder)
{
    CountingNotify notify;
    ASSERT_TRUE(remote->setRecording(true));
    callMethod(find("{type='QPushButton' text='OK'}"), "click");
    QVariantList records;
    ASSERT_TRUE(remote->setRecording(false, &records));
    ASSERT_FALSE(records.isEmpty());
    EXPECT_EQ(records.first().toMap().value(QStringLiteral("name")).toString(), QStringLiteral("click"));
    EXPECT_TRUE(notify.names.contains(QStringLiteral("click")));
}

TEST_F(Demo, SettingsHandlersAndObjectMapWorkThroughIt)
{
    EXPECT_TRUE(
        insp()->installGlobalEventHandler(QStringLiteral("DialogOpened"), QStringLiteral("onDialog")));
    EXPECT_TRUE(insp()->installClassEventHandler(QStringLiteral("QPushButton"), QStringLiteral("Clicked"),
                                                 QStringLiteral("onClick")));
    const Object::Ptr ok = find("{type='QPushButton' text='OK'}");
    EXPECT_TRUE(insp()->installObjectEventHandler(ok, QStringLiteral("Clicked"), QStringLiteral("onOk")));
    insp()->setUniqueProperty(QStringLiteral("QPushButton"), QStringLiteral("text"));
    EXPECT_EQ(insp()->lastError(), QString());

    Remote::ObjectNames names;
    ASSERT_TRUE(remote->describe(ok, &names));
    EXPECT_EQ(names.className, QStringLiteral("QPushButton"));
    EXPECT_EQ(names.symbolicName, QString());
    ASSERT_TRUE(remote->addObjectMapEntry(QStringLiteral(":OK_Button"), names.realName));
    EXPECT_TRUE(find(":OK_Button")->sameAs(ok));
    EXPECT_EQ(remote->realName(QStringLiteral(":OK_Button")), names.realName);
    EXPECT_EQ(remote->displayName(ok), QStringLiteral(":OK_Button"));
    EXPECT_TRUE(remote->symbolicNames().contains(QStringLiteral(":OK_Button")));
}

void collect(const Object::Ptr &object, ObjectList *all)
{
    for (const Object::Ptr &child : object->children()) {
        all->push_back(child);
        collect(child, all);
    }
}

TEST_F(Demo, DroppedObjectsAreReleasedAndFoundAfresh)
{
    // Each round drops the previous round's objects; their handles go back to the program in a batch, and
    // the same widgets come back under new handles that work as well.
    QSet<quint64> handles;
    for (int round = 0; round < 3; ++round) {
        const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
        handles.insert(RemoteInspector::handleOf(window));
        ObjectList all;
        collect(window, &all);
        ASSERT_GT(all.size(), 32u);
        for (const Object::Ptr &o : all)
            ASSERT_TRUE(readProperty(o, "objectName")) << insp()->lastError().toStdString();
    }
    EXPECT_EQ(handles.size(), 3);
}

TEST_F(Demo, ClosedDialogsObjectIsStale)
{
    callMethod(find("{type='VexilDemo::DemoMainWindow'}"), "openSettings");
    const Object::Ptr dialog = find("{type='VexilDemo::SettingsDialog' visible='1'}");
    ASSERT_TRUE(dialog) << insp()->lastError().toStdString();
    EXPECT_EQ(readProperty(dialog, "port")->toInteger(), 8080);
    callMethod(dialog, "close");
    // The program deletes the dialog from its event loop, soon after answering.
    Object::Ptr port = readProperty(dialog, "port");
    for (int i = 0; port && i < 100; ++i)
        port = readProperty(dialog, "port");
    EXPECT_EQ(port, nullptr);
    EXPECT_TRUE(insp()->lastError().contains(QStringLiteral("was destroyed")));
    EXPECT_TRUE(dialog->isInvalidated());
}

TEST_F(Demo, KilledProgramFailsTheNextCall)
{
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    ASSERT_TRUE(window);
    ::kill(pid_t(app->pid()), SIGKILL);
    EXPECT_EQ(readProperty(window, "ratio"), nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("application killed by signal 9"));
    EXPECT_FALSE(insp()->call(QStringLiteral("_vexil_window_focused"), {}).isValid());
    EXPECT_EQ(insp()->lastError(), QStringLiteral("application killed by signal 9"));
}

TEST_F(Demo, SecondProgramIsApart)
{
    std::unique_ptr<Application> other = launchDemo();
    ASSERT_TRUE(other);
    RemoteInspector second(other->connection());
    const Object::Ptr mine = find("{name='nameEdit'}");
    const Object::Ptr theirs = second.findObject(QStringLiteral("{name='nameEdit'}"));
    ASSERT_TRUE(mine && theirs);
    EXPECT_NE(second.contextId(), remote->contextId());
    EXPECT_TRUE(writeProperty(mine, "text", wrap(QStringLiteral("first"))));
    EXPECT_TRUE(writeProperty(theirs, "text", wrap(QStringLiteral("second"))));
    EXPECT_EQ(readProperty(mine, "text")->toString(), QStringLiteral("first"));
    EXPECT_EQ(readProperty(theirs, "text")->toString(), QStringLiteral("second"));
    EXPECT_FALSE(mine->sameAs(theirs));
    // An object of one program is no argument for the other.
    const Object::Ptr window = find("{type='VexilDemo::DemoMainWindow'}");
    EXPECT_FALSE(writeProperty(window, "focusTarget", theirs));
    EXPECT_EQ(insp()->lastError(), QStringLiteral("The object belongs to another application"));
}

TEST(RemoteConnection, WrongTokenIsRefusedOverTcp)
{
    Application::Options options;
    options.listen = QStringLiteral("tcp:127.0.0.1:0");
    std::unique_ptr<Application> app = launchDemo(options);
    ASSERT_TRUE(app);
    ASSERT_TRUE(app->tcpAddress().startsWith(QStringLiteral("tcp:127.0.0.1:")));
    Remote::Connection wrong;
    Remote::Error error;
    EXPECT_FALSE(wrong.open(app->tcpAddress(), QStringLiteral("not-the-token"), 5000, &error));
    EXPECT_EQ(error.text, QStringLiteral("the agent closed the connection without an answer (wrong token?)"));
    Remote::Connection right;
    EXPECT_TRUE(right.open(app->tcpAddress(), app->token(), 5000, &error)) << error.text.toStdString();
    RemoteInspector remote(right);
    EXPECT_TRUE(remote.findObject(QStringLiteral("{type='QPushButton' text='OK'}")));
}

struct RefusedRow
{
    const char *label;
    const char *program;
    const char *reason; // contained in the launcher's error
};

const RefusedRow kRefusedRows[] = {
    { "not_qt", "/bin/sleep", "is not a Qt 5 program" },
    { "no_widgets", VEXIL_COREAPP_PATH,
      "not a Qt Widgets or Qt Quick program: the application object is a QCoreApplication" },
};

void PrintTo(const RefusedRow &row, std::ostream *os)
{
    *os << row.label;
}

class RefusedProgram : public ::testing::TestWithParam<RefusedRow>
{ };

TEST_P(RefusedProgram, NamesTheReason)
{
    QString error;
    Application::Options options;
    options.timeoutMs = 10000;
    const std::unique_ptr<Application> app = Application::launch({ QString::fromLatin1(GetParam().program),
                                                                   QStringLiteral("5") },
                                                                 options, &error);
    EXPECT_EQ(app, nullptr);
    EXPECT_TRUE(error.contains(QString::fromLatin1(GetParam().reason))) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Remote, RefusedProgram, ::testing::ValuesIn(kRefusedRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(RemoteWithoutProgram, CallsGiveTheDocumentedText)
{
    Remote::Connection closed;
    RemoteInspector remote(closed);
    EXPECT_FALSE(remote.call(QStringLiteral("anything"), {}).isValid());
    EXPECT_EQ(remote.lastError(),
              QStringLiteral("Cannot make remote calls right now. Make sure your application is "
                             "running and hooked by Vexil."));
    EXPECT_EQ(remote.findObject(QStringLiteral("x")), nullptr);
    EXPECT_FALSE(remote.lastError().isEmpty());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
