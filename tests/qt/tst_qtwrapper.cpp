// tst_qtwrapper.cpp: the Qt wrapper against the demo application under the offscreen platform: a script's
// whole path from a name to a widget, its properties, its slots and its window.
#include "testsupport.h"

#include "demomainwindow.h"

#include <arrayclass.h>
#include <datetime.h>
#include <delegate.h>
#include <globalobject.h>
#include <inspector.h>
#include <objectmap.h>
#include <primitives.h>
#include <qtwrapper.h>
#include <screenpoint.h>
#include <screenrectangle.h>
#include <windowinteractiondelegate.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDateEdit>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <vector>

using namespace Vexil;
using VexilDemo::DemoMainWindow;
using VexilDemo::SettingsDialog;
using VexilTest::insp;

namespace {

const auto get = VexilTest::readProperty;
const auto set = VexilTest::writeProperty;
const auto text = VexilTest::value<const char *>;
const auto number = VexilTest::value<int>;
using VexilTest::callGlobal;
using VexilTest::callMethod;

void settle()
{
    QCoreApplication::processEvents();
    // Dialogs closed with WA_DeleteOnClose go with the deferred deletes.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class DemoTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        window = VexilDemo::createMainWindow();
        window->show();
        settle();
        insp()->lastError();
    }

    void TearDown() override
    {
        delete window;
        settle();
    }

    template <class T>
    T *widget(const char *name, QObject *in = nullptr) const
    {
        T *w = (in ? in : window)->findChild<T *>(QLatin1String(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }

    Object::Ptr find(const QString &name) { return insp()->findObject(name); }

    SettingsDialog *openDialog()
    {
        window->openSettings();
        settle();
        return window->settingsDialog();
    }

    DemoMainWindow *window = nullptr;
};

// Classes from the meta-object system

using QtClasses = DemoTest;

TEST_F(QtClasses, FollowTheCppHierarchy)
{
    const Class *button = QtWrapper::classForMetaObject(&QPushButton::staticMetaObject);
    ASSERT_NE(button, nullptr);
    EXPECT_STREQ(button->name(), "QPushButton");
    EXPECT_EQ(insp()->type(QStringLiteral("QPushButton")), button);
    EXPECT_EQ(QtWrapper::classForMetaObject(&QPushButton::staticMetaObject), button);

    QStringList chain;
    for (const Class *c = button->superClass(); c; c = c->superClass())
        chain.append(QString::fromLatin1(c->name()));
    EXPECT_EQ(chain, QStringList({ "QAbstractButton", "QWidget", "QObject" }));

    Object::Ptr ok = QtWrapper::wrapQObject(widget<QPushButton>("okButton"));
    EXPECT_TRUE(ok->isA(QtWrapper::classForMetaObject(&QWidget::staticMetaObject)));
    EXPECT_FALSE(ok->isA(QtWrapper::classForMetaObject(&QLabel::staticMetaObject)));
    EXPECT_EQ(ok->className(), QStringLiteral("QPushButton"));
    // Slots of base classes are reached through the chain.
    EXPECT_EQ(ok->objectClass()->methods(QStringLiteral("click")).size(), 1u);
}

TEST_F(QtClasses, PropertiesMapToTheModelsTypes)
{
    Inspector *in = insp();
    const Class *edit = QtWrapper::classForMetaObject(&QLineEdit::staticMetaObject);
    const Property *text = edit->property(QStringLiteral("text"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->type(), in->type(Inspector::Char));
    EXPECT_EQ(text->declaration()->value().flags() & ObjectAttribute::Pointer,
              unsigned(ObjectAttribute::Pointer));
    EXPECT_TRUE(text->isReadable());
    EXPECT_TRUE(text->isWritable());
    EXPECT_EQ(edit->property(QStringLiteral("maxLength"))->type(), in->type(Inspector::Int));
    EXPECT_EQ(edit->property(QStringLiteral("enabled"))->type(), in->type(Inspector::Bool));
    EXPECT_EQ(edit->property(QStringLiteral("geometry"))->type(), objectModelScreenRectangleClass());
    EXPECT_EQ(edit->property(QStringLiteral("pos"))->type(), screenPointClass());
    // Types the model has no class for are left out, not faked.
    EXPECT_EQ(edit->property(QStringLiteral("size")), nullptr);
    EXPECT_EQ(edit->property(QStringLiteral("font")), nullptr);

    const Class *demo = QtWrapper::classForMetaObject(&DemoMainWindow::staticMetaObject);
    EXPECT_STREQ(demo->name(), "VexilDemo::DemoMainWindow");
    EXPECT_EQ(demo->property(QStringLiteral("items"))->type(), ArrayClass::registeredClass());
    EXPECT_EQ(demo->property(QStringLiteral("startDate"))->type(), objectModelDateTimeClass());
    EXPECT_EQ(demo->property(QStringLiteral("lastSubmit"))->type(), objectModelDateTimeClass());
    EXPECT_FALSE(demo->property(QStringLiteral("lastSubmit"))->isWritable());
    EXPECT_EQ(demo->property(QStringLiteral("ratio"))->type(), in->type(Inspector::Double));
    EXPECT_EQ(demo->property(QStringLiteral("bigCounter"))->type(), in->type(Inspector::Int64));
    EXPECT_EQ(demo->property(QStringLiteral("statusLabel"))->type(),
              QtWrapper::classForMetaObject(&QLabel::staticMetaObject));
    EXPECT_EQ(demo->property(QStringLiteral("margins")), nullptr);
    const Property *mode = demo->property(QStringLiteral("mode"));
    EXPECT_EQ(mode->type(), in->type(Inspector::Int));
    ASSERT_NE(mode->enumeration(), nullptr);
    EXPECT_EQ(mode->enumeration()->name(), QStringLiteral("Mode"));
}

TEST_F(QtClasses, SlotsInvokablesSignalsAndEnums)
{
    const Class *demo = QtWrapper::classForMetaObject(&DemoMainWindow::staticMetaObject);
    ASSERT_EQ(demo->methods(QStringLiteral("greeting")).size(), 1u);
    EXPECT_EQ(demo->methods(QStringLiteral("greeting"))[0]->toString(),
              QStringLiteral("char* greeting(char * name)"));
    EXPECT_EQ(demo->methods(QStringLiteral("submit"))[0]->toString(), QStringLiteral("void submit()"));
    EXPECT_EQ(demo->methods(QStringLiteral("offsetBy"))[0]->toString(),
              QStringLiteral("ScreenPoint offsetBy(ScreenPoint point, int dx, int dy)"));
    EXPECT_EQ(demo->methods(QStringLiteral("formGeometry"))[0]->returnArgument().type(),
              objectModelScreenRectangleClass());
    // A default argument gives an overload per arity.
    EXPECT_EQ(demo->methods(QStringLiteral("setStatus")).size(), 2u);
    // Unsupported parameter types and private slots are not offered.
    EXPECT_TRUE(demo->methods(QStringLiteral("setContentMargins")).empty());
    EXPECT_TRUE(demo->methods(QStringLiteral("settingsAccepted")).empty());

    const Event *submitted = demo->event(QStringLiteral("submitted"));
    ASSERT_NE(submitted, nullptr);
    EXPECT_EQ(submitted->signature().toString(), QStringLiteral("(int count)"));
    EXPECT_EQ(demo->event(QStringLiteral("statusChanged"))->signature().toString(),
              QStringLiteral("(char * text)"));

    const Enum *mode = demo->enumerator(QStringLiteral("Mode"));
    ASSERT_NE(mode, nullptr);
    EXPECT_FALSE(mode->isMask());
    EXPECT_EQ(mode->value(QStringLiteral("Advanced")), 1);
    const Enum *options = demo->enumerator(QStringLiteral("Options"));
    ASSERT_NE(options, nullptr);
    EXPECT_TRUE(options->isMask());
    EXPECT_EQ(options->count(), 4);
    EXPECT_EQ(options->key(3), QStringLiteral("Compact"));
    EXPECT_EQ(insp()->enumerator(QStringLiteral("VexilDemo::DemoMainWindow::Mode")), mode);
}

// Wrapper objects and their lifetime

using QtObjects = DemoTest;

TEST_F(QtObjects, OneWrapperPerLiveObject)
{
    QPushButton *ok = widget<QPushButton>("okButton");
    Object::Ptr a = QtWrapper::wrapQObject(ok);
    Object::Ptr b = QtWrapper::wrapQObject(ok);
    EXPECT_EQ(a, b);
    EXPECT_EQ(QtWrapper::qobjectOf(a), ok);
    EXPECT_EQ(a->dereference(), a); // never a second, untracked object on the same widget
    EXPECT_EQ(QtWrapper::wrapQObject(nullptr), nullptr);
    EXPECT_EQ(QtWrapper::qobjectOf(insp()->createPrimitive(1)), nullptr);
}

TEST_F(QtObjects, WrapperGoesWithItsLastReference)
{
    QLabel *label = widget<QLabel>("statusLabel");
    const int before = QtWrapper::liveWrapperCount();
    {
        Object::Ptr first = QtWrapper::wrapQObject(label);
        EXPECT_EQ(QtWrapper::liveWrapperCount(), before + 1);
    }
    EXPECT_EQ(QtWrapper::liveWrapperCount(), before);
    Object::Ptr again = QtWrapper::wrapQObject(label);
    EXPECT_EQ(QtWrapper::liveWrapperCount(), before + 1);
    EXPECT_EQ(get(again, "text")->toString(), QStringLiteral("Ready"));
}

TEST_F(QtObjects, DestroyedObjectReportsInvalidation)
{
    auto *label = new QLabel(QStringLiteral("short-lived"), window);
    Object::Ptr wrapper = QtWrapper::wrapQObject(label);
    const Property *textProperty = wrapper->objectClass()->property(QStringLiteral("text"));
    const int live = QtWrapper::liveWrapperCount();

    delete label;
    EXPECT_TRUE(wrapper->isInvalidated());
    EXPECT_EQ(wrapper->rawData(), nullptr);
    EXPECT_EQ(wrapper->className(), QStringLiteral("Dead"));
    EXPECT_EQ(QtWrapper::liveWrapperCount(), live - 1);

    // Reads and calls are refused as for a closed dialog (below); a write is too.
    EXPECT_FALSE(textProperty->set(wrapper, text("x")));
    EXPECT_EQ(insp()->lastError(),
              QStringLiteral("Cannot access property text on invalidated object reference"));

    // A new object, possibly at the same address, gets a wrapper of its own that the old one's death leaves.
    auto *next = new QLabel(QStringLiteral("next"), window);
    Object::Ptr fresh = QtWrapper::wrapQObject(next);
    wrapper = Object::Ptr();
    EXPECT_EQ(QtWrapper::wrapQObject(next), fresh);
    EXPECT_FALSE(fresh->isInvalidated());
}

// Hierarchy and names

using QtHierarchy = DemoTest;

TEST_F(QtHierarchy, TopLevelObjectsAreWindowsInAStableOrder)
{
    Object::Ptr main = QtWrapper::wrapQObject(window);
    const ObjectList first = insp()->objects();
    QList<QObject *> tops;
    for (const Object::Ptr &o : first)
        tops.append(QtWrapper::qobjectOf(o));
    EXPECT_TRUE(tops.contains(window));
    EXPECT_TRUE(tops.contains(widget<QMenu>("fileMenu")));
    EXPECT_FALSE(tops.contains(widget<QGroupBox>("form")));

    SettingsDialog *dialog = openDialog();
    QList<QObject *> again;
    for (const Object::Ptr &o : insp()->objects())
        again.append(QtWrapper::qobjectOf(o));
    // Windows seen before keep their places; the new dialog comes after them.
    ASSERT_EQ(again.size(), tops.size() + 1);
    EXPECT_EQ(again.mid(0, tops.size()), tops);
    EXPECT_EQ(again.last(), dialog);
    EXPECT_EQ(insp()->object(QStringLiteral("settingsDialog"))->rawData(), dialog);
}

TEST_F(QtHierarchy, ChildrenParentsAndDottedNames)
{
    SettingsDialog *dialog = openDialog();
    Object::Ptr main = QtWrapper::wrapQObject(window);
    // Windows are top-level objects, not children of the window they belong to.
    for (const Object::Ptr &child : main->children()) {
        EXPECT_NE(QtWrapper::qobjectOf(child), dialog);
        EXPECT_NE(QtWrapper::qobjectOf(child), window->findChild<QMenu *>());
    }
    EXPECT_EQ(QtWrapper::wrapQObject(dialog)->parent(), nullptr);

    Object::Ptr ok = QtWrapper::wrapQObject(widget<QPushButton>("okButton"));
    EXPECT_EQ(ok->name(), QStringLiteral("okButton"));
    EXPECT_EQ(ok->qualifiedName(), QStringLiteral("mainWindow.centralWidget.form.okButton"));
    EXPECT_EQ(QtWrapper::qobjectOf(ok->parent()), widget<QGroupBox>("form"));
    Object::Ptr dialogOk = QtWrapper::wrapQObject(widget<QPushButton>("okButton", dialog));
    EXPECT_EQ(dialogOk->qualifiedName(), QStringLiteral("settingsDialog.okButton"));

    Object::Ptr version = QtWrapper::wrapQObject(widget<QLabel>("version.label"));
    EXPECT_EQ(version->qualifiedName(), QStringLiteral("mainWindow.centralWidget.version\\.label"));
    EXPECT_EQ(find(version->qualifiedName()), version);
    EXPECT_EQ(find(QStringLiteral("mainWindow.centralWidget.form.okButton")), ok);
    EXPECT_EQ(find(QStringLiteral("settingsDialog.okButton")), dialogOk);
}

TEST_F(QtHierarchy, RealNamesFindTheirObjectsAgain)
{
    SettingsDialog *dialog = openDialog();
    auto *central = widget<QWidget>("centralWidget");
    auto *twinA = new QLabel(QStringLiteral("Twin"), central);
    auto *twinB = new QLabel(QStringLiteral("Twin"), central);
    twinA->show();
    twinB->show();
    const QList<QObject *> objects = {
        window, widget<QPushButton>("okButton"),   widget<QPushButton>("okButton", dialog),
        dialog, widget<QAction>("settingsAction"), twinA,
        twinB
    };
    for (QObject *o : objects) {
        const QString real = QtWrapper::realName(o);
        Object::Ptr found = find(real);
        ASSERT_NE(found, nullptr) << real.toStdString() << ": " << insp()->lastError().toStdString();
        EXPECT_EQ(QtWrapper::qobjectOf(found), o) << real.toStdString();
    }
    EXPECT_EQ(QtWrapper::realName(widget<QPushButton>("okButton")),
              QStringLiteral("{name='okButton' type='QPushButton' visible='1' "
                             "window={name='mainWindow' type='VexilDemo::DemoMainWindow' visible='1'}}"));
    EXPECT_EQ(QtWrapper::realName(twinB),
              QStringLiteral("{occurrence='2' text='Twin' type='QLabel' visible='1' "
                             "window={name='mainWindow' type='VexilDemo::DemoMainWindow' visible='1'}}"));
}

// Lookup by name

using QtLookup = DemoTest;

TEST_F(QtLookup, MultiPropertyNames)
{
    SettingsDialog *dialog = openDialog();
    QPushButton *mainOk = widget<QPushButton>("okButton");
    QPushButton *dialogOk = widget<QPushButton>("okButton", dialog);
    const auto found = [this](const char *name) { return QtWrapper::qobjectOf(find(QLatin1String(name))); };

    // Depth-first over the windows in order: the main window's OK comes first.
    EXPECT_EQ(found("{type='QPushButton' text='OK'}"), mainOk);
    EXPECT_EQ(found("{type='QPushButton' text='OK' occurrence='2'}"), dialogOk);
    EXPECT_EQ(found("{type='QPushButton' text='OK' window={type='VexilDemo::SettingsDialog'}}"), dialogOk);
    EXPECT_EQ(found("{type='QPushButton' text='OK' window={name='mainWindow'}}"), mainOk);
    EXPECT_EQ(found("{type='QPushButton' text='OK' window='settingsDialog'}"), dialogOk);
    EXPECT_EQ(found("{type='QPushButton' container={name='form' type='QGroupBox'}}"), mainOk);
    EXPECT_EQ(found("{type='QPushButton' container={name='form'} occurrence='2'}"),
              widget<QPushButton>("clearButton"));
    EXPECT_EQ(found("{name='serverEdit'}"), widget<QLineEdit>("serverEdit", dialog));

    // Any readable property, by its text form; patterns as the name syntax has them.
    EXPECT_EQ(found("{type='QLineEdit' placeholderText='name@example.org'}"), widget<QLineEdit>("emailEdit"));
    EXPECT_EQ(found("{type='QPushButton' text~='^Cl'}"), widget<QPushButton>("clearButton"));
    EXPECT_EQ(found("{type='QPushButton' text?='Set*'}"), widget<QPushButton>("settingsButton"));
    EXPECT_EQ(found("{type='QSpinBox' value='8080'}"), widget<QSpinBox>("portSpin", dialog));
    widget<QCheckBox>("termsCheck")->setChecked(true);
    EXPECT_EQ(found("{type='QCheckBox' checked='true'}"), widget<QCheckBox>("termsCheck"));
    EXPECT_EQ(found("{type='QCheckBox' occurrence='2'}"), widget<QCheckBox>("termsCheck"));
    window->setMode(DemoMainWindow::Advanced);
    EXPECT_EQ(found("{type='VexilDemo::DemoMainWindow' mode='Advanced'}"), window);
    EXPECT_EQ(found("{type='VexilDemo::DemoMainWindow' mode='1'}"), window);
    EXPECT_EQ(found("{type='QAction' text='&Settings...'}"), widget<QAction>("settingsAction"));

    widget<QPushButton>("clearButton")->hide();
    EXPECT_EQ(found("{type='QPushButton' text='Clear' visible='0'}"), widget<QPushButton>("clearButton"));
    EXPECT_EQ(found("{type='QPushButton' text='Clear' visible='false'}"), widget<QPushButton>("clearButton"));
    EXPECT_EQ(found("{type='QPushButton' text='Clear' visible='1'}"), nullptr);
}

// A button whose class declares a text property of its own, over QAbstractButton's.
class CaptionButton : public QPushButton
{
    Q_OBJECT
    Q_PROPERTY(QString text READ caption)

public:
    using QPushButton::QPushButton;
    QString caption() const { return QStringLiteral("Caption"); }
};

TEST_F(QtLookup, PropertiesRedeclaredBySubclassesAreTheOnesMatched)
{
    auto *button = new CaptionButton(QStringLiteral("Plain"), widget<QWidget>("centralWidget"));
    const auto found = [this](const char *name) { return QtWrapper::qobjectOf(find(QLatin1String(name))); };
    EXPECT_EQ(found("{type='CaptionButton' text='Caption'}"), button);
    EXPECT_EQ(found("{type='CaptionButton' text='Plain'}"), nullptr);
    EXPECT_EQ(found("{type='QPushButton' text='OK'}"), widget<QPushButton>("okButton"));
}

TEST_F(QtLookup, SymbolicNestedAndPrefixedNames)
{
    SettingsDialog *dialog = openDialog();
    ObjectMap *map = ObjectMap::self();
    ASSERT_NE(map, nullptr);
    map->add(ObjectName(QStringLiteral("{name='settingsDialog' type='VexilDemo::SettingsDialog'}")),
             QStringLiteral(":Settings_SettingsDialog"));
    map->add(ObjectName(QStringLiteral("{text='OK' type='QPushButton' window=':Settings_SettingsDialog'}")),
             QStringLiteral(":Settings.OK_QPushButton"));

    EXPECT_EQ(QtWrapper::qobjectOf(find(QStringLiteral(":Settings.OK_QPushButton"))),
              widget<QPushButton>("okButton", dialog));
    EXPECT_EQ(QtWrapper::qobjectOf(
                  find(QStringLiteral("{type='QLineEdit' window=':Settings_SettingsDialog'}"))),
              widget<QLineEdit>("serverEdit", dialog));
    EXPECT_EQ(QtWrapper::qobjectOf(find(QStringLiteral("{type='VexilDemo::SettingsDialog'}.serverEdit"))),
              widget<QLineEdit>("serverEdit", dialog));
    EXPECT_EQ(QtWrapper::qobjectOf(find(QStringLiteral("mainWindow.centralWidget.form.nameEdit"))),
              widget<QLineEdit>("nameEdit"));
}

TEST_F(QtLookup, FailuresExplainThemselves)
{
    openDialog();
    const auto fails = [this](const QString &name) {
        EXPECT_EQ(find(name), nullptr) << name.toStdString();
        return insp()->lastError();
    };

    EXPECT_EQ(fails(QStringLiteral("{type='QPushButton' text='Nope'}")),
              QStringLiteral(
                  "Object '{type='QPushButton' text='Nope'}' not found. Could not match properties:\n"
                  "    text for object name: '{text='Nope' type='QPushButton'}'"));
    EXPECT_EQ(insp()->lastError(), QString());

    // The candidate that came closest speaks: a push button misses two properties, anything else three.
    EXPECT_EQ(fails(QStringLiteral("{type='QPushButton' name='nothing' text='Nope'}")),
              QStringLiteral(
                  "Object '{type='QPushButton' name='nothing' text='Nope'}' not found. Could not match "
                  "properties:\n    name,text for object name: '{name='nothing' text='Nope' "
                  "type='QPushButton'}'"));
    EXPECT_EQ(fails(QStringLiteral("{type='QPushButton' text='OK' window={type='QWizard'}}")),
              QStringLiteral(
                  "Object '{type='QPushButton' text='OK' window={type='QWizard'}}' not found. Could not "
                  "match properties:\n    window for object name: '{text='OK' type='QPushButton' "
                  "window={type='QWizard'}}'"));
    EXPECT_EQ(fails(QStringLiteral("{type='QPushButton' text='OK' occurrence='3'}")),
              QStringLiteral(
                  "Object '{type='QPushButton' text='OK' occurrence='3'}' not found. Could not match "
                  "properties:\n    occurrence for object name: '{occurrence='3' text='OK' "
                  "type='QPushButton'}'"));
    EXPECT_EQ(fails(QStringLiteral("{type='QPushButton' container={name='nowhere'}}")),
              QStringLiteral(
                  "Object '{type='QPushButton' container={name='nowhere'}}' not found. Could not match "
                  "properties:\n    container for object name: '{container={name='nowhere'} "
                  "type='QPushButton'}'"));

    EXPECT_EQ(fails(QStringLiteral("mainWindow.centralWidget.form.nope")),
              QStringLiteral("Object 'mainWindow.centralWidget.form.nope' not found.\n"
                             "    Could not find child 'nope' under 'mainWindow.centralWidget.form'"));
    EXPECT_EQ(fails(QStringLiteral(":Nowhere_QPushButton")),
              QStringLiteral(
                  "Object ':Nowhere_QPushButton' not found. Object name not found in Object Map."));
    EXPECT_EQ(fails(QStringLiteral("noSuchWindow")), QStringLiteral("Object 'noSuchWindow' not found."));
}

// Properties and slots through the model

using QtMembers = DemoTest;

TEST_F(QtMembers, PropertiesReadTheWidgets)
{
    widget<QLineEdit>("nameEdit")->setText(QStringLiteral("Grace"));
    EXPECT_EQ(get(find(QStringLiteral("{name='nameEdit'}")), "text")->toString(), QStringLiteral("Grace"));
    EXPECT_FALSE(get(find(QStringLiteral("{name='termsCheck'}")), "checked")->toBoolean());
    EXPECT_EQ(get(find(QStringLiteral("{name='nameEdit'}")), "maxLength")->toInteger(), 32767);

    Object::Ptr main = QtWrapper::wrapQObject(window);
    const ScreenRectangle r = unwrapScreenRectangle(get(main, "geometry"));
    EXPECT_EQ(QRect(r.x, r.y, r.width, r.height), window->geometry());
    const DateTime start = unwrapDateTime(get(main, "startDate"));
    EXPECT_EQ(start.year, 2024);
    EXPECT_EQ(start.month, 3);
    EXPECT_EQ(start.day, 5);
    EXPECT_EQ(start.hour, -1);
    QStringList items;
    unwrap(get(main, "items"), &items);
    EXPECT_EQ(items, QStringList({ "Apples", "Pears" }));
    EXPECT_EQ(get(main, "mode")->toInteger(), 0);
    EXPECT_DOUBLE_EQ(get(main, "ratio")->toDouble(), 0.5);
    EXPECT_EQ(get(main, "statusLabel"), QtWrapper::wrapQObject(widget<QLabel>("statusLabel")));
    Object::Ptr none = get(main, "focusTarget");
    ASSERT_NE(none, nullptr);
    EXPECT_TRUE(none->isNull());
    EXPECT_EQ(none->className(), QStringLiteral("QWidget"));
}

TEST_F(QtMembers, PropertiesWrittenThroughTheModelChangeTheWidgets)
{
    Object::Ptr name = find(QStringLiteral("{name='nameEdit'}"));
    EXPECT_TRUE(set(name, "text", text("Ada")));
    EXPECT_EQ(widget<QLineEdit>("nameEdit")->text(), QStringLiteral("Ada"));
    EXPECT_TRUE(
        set(find(QStringLiteral("{name='subscribeCheck'}")), "checked", insp()->createPrimitive(true)));
    EXPECT_TRUE(widget<QCheckBox>("subscribeCheck")->isChecked());
    Object::Ptr check = QtWrapper::wrapQObject(widget<QCheckBox>("termsCheck"));
    EXPECT_TRUE(set(check, "geometry", wrapScreenRectangle(ScreenRectangle(3, 4, 50, 20))));
    EXPECT_EQ(widget<QCheckBox>("termsCheck")->geometry(), QRect(3, 4, 50, 20));

    Object::Ptr main = QtWrapper::wrapQObject(window);
    EXPECT_TRUE(set(main, "startDate", wrapDateTime(DateTime(2025, 1, 2))));
    EXPECT_EQ(window->startDate(), QDate(2025, 1, 2));
    EXPECT_TRUE(set(main, "items", wrap(QStringList({ "Figs", "Kiwis", "Limes" }))));
    EXPECT_EQ(widget<QListWidget>("itemList")->count(), 3);
    EXPECT_TRUE(set(main, "mode", number(1)));
    EXPECT_EQ(window->mode(), DemoMainWindow::Advanced);
    EXPECT_TRUE(set(main, "mode", text("Simple"))); // an enum also takes its key
    EXPECT_EQ(window->mode(), DemoMainWindow::Simple);
    EXPECT_TRUE(set(main, "options", number(5)));
    EXPECT_EQ(window->options(), DemoMainWindow::ShowToolbar | DemoMainWindow::Compact);
    EXPECT_TRUE(set(main, "ratio", insp()->createPrimitive(0.25)));
    EXPECT_DOUBLE_EQ(window->ratio(), 0.25);
    EXPECT_TRUE(set(main, "bigCounter", insp()->createPrimitive(5000000000LL)));
    EXPECT_EQ(window->bigCounter(), 5000000000LL);
    EXPECT_TRUE(set(main, "focusTarget", name));
    EXPECT_EQ(window->focusTarget(), widget<QLineEdit>("nameEdit"));
    EXPECT_TRUE(
        set(main, "focusTarget", QtWrapper::classForMetaObject(&QWidget::staticMetaObject)->createNull()));
    EXPECT_EQ(window->focusTarget(), nullptr);
}

TEST_F(QtMembers, PropertyWritesThatCannotBeDone)
{
    Object::Ptr main = QtWrapper::wrapQObject(window);
    {
        VexilTest::StderrCapture err;
        EXPECT_FALSE(set(main, "submitCount", number(3)));
        EXPECT_EQ(err.text(), "Object::setProperty: property submitCount is not writable\n");
    }
    {
        VexilTest::StderrCapture err;
        EXPECT_FALSE(set(main, "focusTarget", QtWrapper::wrapQObject(widget<QAction>("settingsAction"))));
        EXPECT_EQ(err.text(), "Object::setProperty: type QAction cannot be converted to QWidget\n");
    }
    {
        VexilTest::StderrCapture err;
        EXPECT_FALSE(set(main, "items", text("Figs")));
        EXPECT_EQ(err.text(), "Object::setProperty: type char cannot be converted to Vexil_Array\n");
    }
    EXPECT_EQ(window->submitCount(), 0);
    EXPECT_EQ(window->focusTarget(), nullptr);
}

TEST_F(QtMembers, SlotsCalledThroughTheModelRun)
{
    widget<QLineEdit>("nameEdit")->setText(QStringLiteral("Ada"));
    bool found = false;
    callMethod(find(QStringLiteral("{type='QPushButton' text='OK'}")), "click", ObjectList(), &found);
    EXPECT_TRUE(found);
    EXPECT_EQ(window->submitCount(), 1);
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("Submitted: Ada"));

    Object::Ptr main = QtWrapper::wrapQObject(window);
    EXPECT_EQ(callMethod(main, "greeting", { text("Grace") })->toString(), QStringLiteral("Hello, Grace!"));
    EXPECT_EQ(callMethod(main, "greeting", { number(5) })->toString(), QStringLiteral("Hello, 5!"));
    EXPECT_EQ(callMethod(main, "addItem", { text("Plums") }), insp()->voidObject());
    EXPECT_EQ(callMethod(main, "itemCount")->toInteger(), 3);
    callMethod(main, "setStatus", { text("Busy"), insp()->createPrimitive(true) });
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("** Busy **"));
    callMethod(main, "setStatus", { text("Calm") });
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("Calm"));
    const Object::Ptr moved = callMethod(main, "offsetBy",
                                         { wrapScreenPoint(ScreenPoint(1, 2)), number(3), number(4) });
    const ScreenPoint p = unwrapScreenPoint(moved);
    EXPECT_EQ(p.x, 4);
    EXPECT_EQ(p.y, 6);
    const ScreenRectangle r = unwrapScreenRectangle(callMethod(main, "formGeometry"));
    EXPECT_EQ(QRect(r.x, r.y, r.width, r.height), widget<QGroupBox>("form")->geometry());

    // A menu action is triggered like any slot.
    callMethod(find(QStringLiteral("{type='QAction' text='&Settings...'}")), "trigger");
    settle();
    ASSERT_NE(window->settingsDialog(), nullptr);
    EXPECT_TRUE(window->settingsDialog()->isVisible());

    EXPECT_EQ(callMethod(main, "greeting"), nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("Found no matching overload"));
    const Method *greeting = main->objectClass()->methods(QStringLiteral("greeting"))[0];
    {
        VexilTest::StderrCapture err;
        EXPECT_EQ(main->objectClass()->invoke(greeting->index(), main, ObjectList(), greeting), nullptr);
    }
    EXPECT_TRUE(insp()->lastError().endsWith(QStringLiteral(": 1 arguments expected, 0 given")));

    // A member of one class used with an object of another reaches nothing.
    const Class *edit = QtWrapper::classForMetaObject(&QLineEdit::staticMetaObject);
    Object::Ptr label = QtWrapper::wrapQObject(widget<QLabel>("statusLabel"));
    EXPECT_EQ(edit->methods(QStringLiteral("clear"))[0]->invoke(label, ObjectList()), nullptr);
    EXPECT_EQ(insp()->lastError(),
              QStringLiteral("Cannot invoke QLineEdit::clear() on an object of type QLabel"));
    EXPECT_EQ(edit->property(QStringLiteral("text"))->get(label), nullptr);
    EXPECT_FALSE(edit->property(QStringLiteral("text"))->set(label, text("x")));
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("Calm"));
}

TEST_F(QtMembers, ClosedDialogReportsInvalidation)
{
    openDialog();
    Object::Ptr dialog = find(QStringLiteral("{type='VexilDemo::SettingsDialog' visible='1'}"));
    ASSERT_NE(dialog, nullptr);
    Object::Ptr server = find(QStringLiteral("settingsDialog.serverEdit"));
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(get(dialog, "windowTitle")->toString(), QStringLiteral("Settings"));
    EXPECT_TRUE(set(server, "text", text("example.org")));
    EXPECT_TRUE(set(dialog, "port", number(443)));
    const Property *title = dialog->objectClass()->property(QStringLiteral("windowTitle"));
    const Method *close = dialog->objectClass()->methods(QStringLiteral("close"))[0];
    const Method *accept = dialog->objectClass()->methods(QStringLiteral("accept"))[0];

    EXPECT_EQ(accept->invoke(dialog, ObjectList()), insp()->voidObject());
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("Settings saved: example.org:443"));
    settle();
    ASSERT_EQ(window->settingsDialog(), nullptr);

    EXPECT_TRUE(dialog->isInvalidated());
    EXPECT_TRUE(server->isInvalidated());
    EXPECT_EQ(title->get(dialog), nullptr);
    EXPECT_EQ(insp()->lastError(),
              QStringLiteral("Cannot access property windowTitle on invalidated object reference"));
    EXPECT_EQ(close->invoke(dialog, ObjectList()), nullptr);
    EXPECT_EQ(insp()->lastError(),
              QStringLiteral("Cannot invoke member function close() on invalidated object reference"));
    // Its name finds nothing any more, and opening it again gives a live dialog under the same name.
    EXPECT_EQ(find(QStringLiteral("{type='VexilDemo::SettingsDialog' visible='1'}")), nullptr);
    insp()->lastError();
    openDialog();
    Object::Ptr reopened = find(QStringLiteral("{type='VexilDemo::SettingsDialog' visible='1'}"));
    ASSERT_NE(reopened, nullptr);
    EXPECT_FALSE(reopened->isInvalidated());
}

// Window operations

using QtWindows = DemoTest;

TEST_F(QtWindows, MoveResizeAndGeometry)
{
    Object::Ptr main = find(QStringLiteral("{name='mainWindow'}"));
    EXPECT_EQ(callGlobal("_vexil_window_moveto", { main, number(40), number(30) }), insp()->voidObject());
    EXPECT_EQ(window->frameGeometry().topLeft(), QPoint(40, 30));
    EXPECT_EQ(callGlobal("_vexil_window_resizeto", { main, number(520), number(470) }), insp()->voidObject());
    EXPECT_EQ(window->size(), QSize(520, 470));

    const ScreenRectangle r = unwrapScreenRectangle(callGlobal("_vexil_window_geometry_get", { main }));
    EXPECT_EQ(QRect(r.x, r.y, r.width, r.height), window->frameGeometry());
    EXPECT_EQ(r.x, 40);
    EXPECT_EQ(r.y, 30);

    // A widget inside a window stands for its window.
    Object::Ptr ok = QtWrapper::wrapQObject(widget<QPushButton>("okButton"));
    callGlobal("_vexil_window_moveto", { ok, number(60), number(70) });
    EXPECT_EQ(window->frameGeometry().topLeft(), QPoint(60, 70));

    EXPECT_EQ(callGlobal("_vexil_window_resizeto", { main, number(-1), number(200) }), nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("Cannot resize a window to -1x200."));
}

TEST_F(QtWindows, StatesChangeTheRealWindow)
{
    Object::Ptr main = QtWrapper::wrapQObject(window);
    callGlobal("_vexil_window_maximize", { main });
    EXPECT_TRUE(window->isMaximized());
    callGlobal("_vexil_window_restore", { main });
    EXPECT_FALSE(window->isMaximized());
    callGlobal("_vexil_window_minimize", { main });
    EXPECT_TRUE(window->isMinimized());
    callGlobal("_vexil_window_foreground_set", { main });
    EXPECT_FALSE(window->isMinimized());
    EXPECT_TRUE(window->isVisible());
    callGlobal("_vexil_window_fullscreen_set", { main });
    EXPECT_TRUE(window->isFullScreen());
    callGlobal("_vexil_window_restore", { main });
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_EQ(callGlobal("_vexil_window_close", { main }), insp()->voidObject());
    EXPECT_FALSE(window->isVisible());
}

TEST_F(QtWindows, FocusAndTheFocusedWindow)
{
    SettingsDialog *dialog = openDialog();
    Object::Ptr main = QtWrapper::wrapQObject(window);
    EXPECT_EQ(callGlobal("_vexil_window_focus_set", { main }), insp()->voidObject());
    EXPECT_EQ(callGlobal("_vexil_window_focused", {}), main);
    callGlobal("_vexil_window_focus_set", { QtWrapper::wrapQObject(dialog) });
    EXPECT_EQ(QtWrapper::qobjectOf(callGlobal("_vexil_window_focused", {})), dialog);

    dialog->hide();
    EXPECT_EQ(callGlobal("_vexil_window_focus_set", { QtWrapper::wrapQObject(dialog) }), nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("Cannot focus the hidden window settingsDialog."));
}

TEST_F(QtWindows, ObjectsThatAreNoWindows)
{
    Object::Ptr action = QtWrapper::wrapQObject(widget<QAction>("quitAction"));
    // The functions take any object; an action finds no window delegate.
    EXPECT_EQ(callGlobal("_vexil_window_close", { action }), nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("Don't know how to close object of type QAction"));
    EXPECT_EQ(callGlobal("_vexil_window_maximize",
                         { QtWrapper::classForMetaObject(&QWidget::staticMetaObject)->createNull() }),
              nullptr);
    EXPECT_EQ(insp()->lastError(), QStringLiteral("Can't maximize null object."));
    EXPECT_TRUE(window->isVisible());
}

// Recording

using QtRecording = DemoTest;

TEST_F(QtRecording, ClickBecomesARecordNamedByTheObjectMap)
{
    VexilTest::RecordCollector collector;
    widget<QLineEdit>("nameEdit")->setText(QStringLiteral("Ada"));
    QTest::mouseClick(widget<QPushButton>("okButton"), Qt::LeftButton, Qt::NoModifier, QPoint(5, 6));
    EXPECT_EQ(window->submitCount(), 1);

    ASSERT_EQ(collector.records.size(), 1u);
    const EventData &click = collector.records[0];
    EXPECT_EQ(click.type, int(EventData::EventType));
    EXPECT_EQ(click.eventName, QStringLiteral("mouseClick"));
    EXPECT_EQ(click.objectId, QStringLiteral(":mainWindow.okButton_QPushButton"));
    ASSERT_EQ(click.arguments.size(), 4u);
    EXPECT_EQ(click.arguments[0].name, QStringLiteral("x"));
    EXPECT_EQ(click.arguments[0].value, QStringLiteral("5"));
    EXPECT_EQ(click.arguments[1].value, QStringLiteral("6"));
    EXPECT_EQ(click.arguments[2].kind, int(EventDataArg::EnumValue));
    EXPECT_EQ(click.arguments[2].enumName, QStringLiteral("MouseButtons"));
    EXPECT_EQ(click.arguments[2].keys, QStringList({ "LeftButton" }));
    EXPECT_EQ(click.arguments[3].keys, QStringList({ "NoModifier" }));

    // The recorded name leads back to the button.
    EXPECT_EQ(QtWrapper::qobjectOf(find(click.objectId)), widget<QPushButton>("okButton"));
}

TEST_F(QtRecording, ClicksThatPropagateAreRecordedOnce)
{
    VexilTest::RecordCollector collector;
    QTest::mouseClick(widget<QLabel>("statusLabel"), Qt::LeftButton);
    ASSERT_EQ(collector.records.size(), 1u);
    EXPECT_EQ(collector.records[0].objectId, QStringLiteral(":mainWindow.statusLabel_QLabel"));
}

TEST_F(QtRecording, NothingIsRecordedWithoutAListener)
{
    {
        VexilTest::RecordCollector collector;
    }
    EXPECT_EQ(insp()->eventNotifyDelegate(), nullptr);
    QTest::mouseClick(widget<QPushButton>("clearButton"), Qt::LeftButton);
    EXPECT_EQ(widget<QLabel>("statusLabel")->text(), QStringLiteral("Cleared"));
}

} // namespace

#include "tst_qtwrapper.moc"
