// tst_qtinput.cpp: scripts acting as a person through the global input functions: real mouse and key input,
// item views, menus, screenshots, gestures, and the records a person's input leaves.
#include "testsupport.h"

#include <delegate.h>
#include <gesturebuilderclass.h>
#include <globalobject.h>
#include <inspector.h>
#include <objectmap.h>
#include <qtwrapper.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTouchEvent>
#include <QTreeView>
#include <QVBoxLayout>

#include <memory>

using namespace Vexil;
using VexilTest::insp;

namespace {

Object::Ptr text(const QString &s)
{
    return insp()->createPrimitive(s.toUtf8().constData());
}

const auto number = VexilTest::value<int>;

// How error texts name an object: by its symbolic name, or its real name when the map has none.
QString printable(QObject *o)
{
    return ObjectMap::self()->printableName(QtWrapper::realName(o));
}

QString printable(const Object::Ptr &o)
{
    return printable(QtWrapper::qobjectOf(o));
}

// Calls a global function by name as a script does; the error text when it fails, else empty.
QString call(const char *function, const ObjectList &args)
{
    insp()->lastError();
    const Object::Ptr result =
        insp()->globalClass()->methods(QLatin1String(function)).invoke(Object::Ptr(), args);
    const QString error = insp()->lastError();
    EXPECT_EQ(!result, !error.isEmpty()) << function;
    return error;
}

// Counts what touch input reaches it.
class TouchPad : public QWidget
{
public:
    TouchPad() { setAttribute(Qt::WA_AcceptTouchEvents); }
    int begins = 0;
    int ends = 0;
    int maxPoints = 0;
    QPointF firstPos;
    QPointF lastPos;

protected:
    bool event(QEvent *e) override
    {
        if (e->type() != QEvent::TouchBegin && e->type() != QEvent::TouchUpdate
            && e->type() != QEvent::TouchEnd)
            return QWidget::event(e);
        const auto *touch = static_cast<QTouchEvent *>(e);
        if (e->type() == QEvent::TouchBegin) {
            ++begins;
            firstPos = touch->touchPoints().first().pos();
        }
        if (e->type() == QEvent::TouchEnd)
            ++ends;
        maxPoints = std::max(maxPoints, int(touch->touchPoints().size()));
        lastPos = touch->touchPoints().first().pos();
        return true;
    }
};

// A window with what scripts drive: a form, item views, a combo box, a menu bar with a submenu.
class InputTest : public ::testing::Test
{
public:
    void SetUp() override
    {
        window.reset(new QMainWindow);
        window->setObjectName(QStringLiteral("w"));
        auto *central = new QWidget;
        auto *layout = new QVBoxLayout(central);
        edit = new QLineEdit;
        edit->setObjectName(QStringLiteral("edit"));
        ok = new QPushButton(QStringLiteral("OK"));
        ok->setObjectName(QStringLiteral("ok"));
        QObject::connect(ok, &QPushButton::clicked, [this]() { ++okClicks; });
        list = new QListWidget;
        list->setObjectName(QStringLiteral("list"));
        for (int i = 0; i < 50; ++i)
            list->addItem(QStringLiteral("Row %1").arg(i));
        QObject::connect(list, &QListWidget::itemDoubleClicked,
                         [this](QListWidgetItem *i) { doubled = i->text(); });
        table = new QTableWidget(3, 2);
        table->setObjectName(QStringLiteral("table"));
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 2; ++c)
                table->setItem(r, c, new QTableWidgetItem(QStringLiteral("%1-%2").arg(r).arg(c)));
        auto *model = new QStandardItemModel(central);
        auto *parent = new QStandardItem(QStringLiteral("Fruit"));
        parent->appendRow(new QStandardItem(QStringLiteral("Apple")));
        model->appendRow(parent);
        tree = new QTreeView;
        tree->setObjectName(QStringLiteral("tree"));
        tree->setModel(model);
        combo = new QComboBox;
        combo->setObjectName(QStringLiteral("combo"));
        combo->addItems({ QStringLiteral("Red"), QStringLiteral("Green"), QStringLiteral("Blue") });
        for (QWidget *w : std::initializer_list<QWidget *> { edit, ok, list, table, tree, combo })
            layout->addWidget(w);
        window->setCentralWidget(central);

        QMenu *file = window->menuBar()->addMenu(QStringLiteral("&File"));
        open = file->addAction(QStringLiteral("&Open..."));
        open->setObjectName(QStringLiteral("openAction"));
        QMenu *recent = file->addMenu(QStringLiteral("&Recent"));
        recentItem = recent->addAction(QStringLiteral("a.txt"));
        quit = file->addAction(QStringLiteral("&Quit"));
        quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
        window->resize(400, 900);
        window->show();
        QApplication::setActiveWindow(window.get());
        QCoreApplication::processEvents();
        insp()->lastError();
    }

    void TearDown() override
    {
        window.reset();
        QCoreApplication::processEvents();
    }

    Object::Ptr object(QObject *o) { return QtWrapper::wrapQObject(o); }
    Object::Ptr find(const QString &name) { return insp()->findObject(name); }

    static QString read(const Object::Ptr &o, const char *property)
    {
        const Property *p = o->objectClass()->property(QLatin1String(property));
        const Object::Ptr v = p ? p->get(o) : Object::Ptr();
        return v ? v->toString() : QStringLiteral("<none>");
    }

    std::unique_ptr<QMainWindow> window;
    QLineEdit *edit = nullptr;
    QPushButton *ok = nullptr;
    QListWidget *list = nullptr;
    QTableWidget *table = nullptr;
    QTreeView *tree = nullptr;
    QComboBox *combo = nullptr;
    QAction *open = nullptr;
    QAction *recentItem = nullptr;
    QAction *quit = nullptr;
    int okClicks = 0;
    QString doubled;
};

// Mouse

using Mouse = InputTest;

TEST_F(Mouse, ClickPressesAndReleasesTheButton)
{
    EXPECT_EQ(call("mouseClick", { object(ok) }), QString());
    EXPECT_EQ(okClicks, 1);
    EXPECT_EQ(call("mouseClick", { object(ok), number(2), number(2), text("left"), text("Shift") }),
              QString());
    EXPECT_EQ(okClicks, 2);
    // A right click does not click a push button; a press alone does not either, until the release.
    EXPECT_EQ(call("mouseClick", { object(ok), number(-1), number(-1), text("right") }), QString());
    EXPECT_EQ(call("mousePress", { object(ok) }), QString());
    EXPECT_EQ(okClicks, 2);
    EXPECT_TRUE(ok->isDown());
    EXPECT_EQ(call("mouseRelease", { object(ok) }), QString());
    EXPECT_EQ(okClicks, 3);
}

TEST_F(Mouse, ClickGivesTheFocusAsAPersonsClickDoes)
{
    ok->setFocus();
    EXPECT_EQ(call("mouseClick", { object(edit) }), QString());
    EXPECT_EQ(QApplication::focusWidget(), edit);
}

TEST_F(Mouse, SeparateClicksAreNoDoubleClick)
{
    const Object::Ptr row = find(
        QStringLiteral("{container={name='list' type='QListWidget'} type='QModelIndex' "
                       "text='Row 2'}"));
    ASSERT_TRUE(row) << insp()->lastError().toStdString();
    EXPECT_EQ(call("mouseClick", { row }), QString());
    EXPECT_EQ(call("mouseClick", { row }), QString());
    EXPECT_EQ(doubled, QString());
    EXPECT_EQ(call("doubleClick", { row }), QString());
    EXPECT_EQ(doubled, QStringLiteral("Row 2"));
}

struct RefusalRow
{
    const char *label;
    std::function<void(InputTest *)> prepare;
    const char *expected;
};

class MouseRefusals : public InputTest, public ::testing::WithParamInterface<RefusalRow>
{ };

TEST_P(MouseRefusals, SayWhy)
{
    GetParam().prepare(this);
    const QString error = call("mouseClick", { object(ok) });
    EXPECT_TRUE(error.startsWith(QString::fromLatin1(GetParam().expected).arg(printable(ok))))
        << error.toStdString();
    EXPECT_EQ(okClicks, 0);
}

const RefusalRow kRefusals[] = {
    { "disabled", [](InputTest *t) { t->ok->setEnabled(false); },
      "Cannot click '%1': the widget is disabled" },
    { "hidden", [](InputTest *t) { t->ok->hide(); }, "Cannot click '%1': the widget is hidden" },
    { "covered",
      [](InputTest *t) {
          auto *cover = new QPushButton(QStringLiteral("Cover"), t->ok->parentWidget());
          cover->setGeometry(t->ok->geometry());
          cover->show();
      },
      "Cannot click '%1': the point (" },
};
INSTANTIATE_TEST_SUITE_P(Input, MouseRefusals, ::testing::ValuesIn(kRefusals),
                         [](const auto &info) { return std::string(info.param.label); });

TEST_F(Mouse, CoveredPointNamesTheCover)
{
    auto *cover = new QPushButton(QStringLiteral("Cover"), ok->parentWidget());
    cover->setGeometry(ok->geometry());
    cover->show();
    const QString error = call("mouseClick", { object(ok) });
    EXPECT_TRUE(error.endsWith(QStringLiteral("is covered by '%1'").arg(printable(cover))))
        << error.toStdString();
}

struct BadArgumentRow
{
    const char *label;
    const char *function;
    const char *argument;
    const char *expected;
};

class BadArguments : public InputTest, public ::testing::WithParamInterface<BadArgumentRow>
{ };

TEST_P(BadArguments, NameTheBadWord)
{
    const BadArgumentRow &row = GetParam();
    const QString function = QString::fromLatin1(row.function);
    ObjectList args { object(function == QLatin1String("type") || function == QLatin1String("keyPress")
                                 ? static_cast<QWidget *>(edit)
                                 : static_cast<QWidget *>(ok)) };
    if (function == QLatin1String("mouseClick")) {
        args.push_back(number(-1));
        args.push_back(number(-1));
        const bool isButton = QByteArray(row.label).startsWith("button");
        args.push_back(text(isButton ? QString::fromLatin1(row.argument) : QStringLiteral("left")));
        if (!isButton)
            args.push_back(text(QString::fromLatin1(row.argument)));
    } else {
        args.push_back(text(QString::fromLatin1(row.argument)));
    }
    EXPECT_EQ(call(row.function, args), QString::fromLatin1(row.expected).arg(printable(args[0])));
    EXPECT_EQ(edit->text(), QString());
}

const BadArgumentRow kBadArguments[] = {
    { "button", "mouseClick", "up",
      "Cannot click '%1': Unknown mouse button 'up' (use left, right or middle)" },
    { "modifier", "mouseClick", "Ctrl+Hyper",
      "Cannot click '%1': Unknown modifier 'Hyper' (use Ctrl, Shift, Alt or Meta joined by '+')" },
    { "key", "type", "ab<Foo>", "Cannot type into '%1': Unknown key name 'Foo' in 'Foo'" },
    { "chord", "type", "<Ctlr+A>", "Cannot type into '%1': Unknown key name 'Ctlr' in 'Ctlr+A'" },
    { "unclosed", "type", "a<Return",
      "Cannot type into '%1': Unclosed '<' at position 1 in 'a<Return' (a literal '<' is written '<<')" },
    { "keyName", "keyPress", "Retrun", "Cannot press a key on '%1': Unknown key name 'Retrun' in 'Retrun'" },
};
INSTANTIATE_TEST_SUITE_P(Input, BadArguments, ::testing::ValuesIn(kBadArguments),
                         [](const auto &info) { return std::string(info.param.label); });

// Keys

using Keys = InputTest;

TEST_F(Keys, TypingEditsAsKeysWould)
{
    EXPECT_EQ(call("type", { object(edit), text("Hello<Ctrl+A><Backspace>Bye<Home><<x<End><Shift+Home>") }),
              QString());
    EXPECT_EQ(edit->text(), QStringLiteral("<xBye"));
    EXPECT_EQ(edit->selectedText(), QStringLiteral("<xBye"));
}

TEST_F(Keys, ChordsReachShortcuts)
{
    int quits = 0;
    QObject::connect(quit, &QAction::triggered, [&quits]() { ++quits; });
    EXPECT_EQ(call("type", { object(edit), text("<Ctrl+Q>") }), QString());
    EXPECT_EQ(quits, 1);
}

TEST_F(Keys, HeldModifierStaysDownUntilReleased)
{
    edit->setText(QStringLiteral("abc"));
    edit->setFocus();
    EXPECT_EQ(call("keyPress", { object(edit), text("Shift") }), QString());
    EXPECT_EQ(call("type", { object(edit), text("<Left><Left>") }), QString());
    EXPECT_EQ(call("keyRelease", { object(edit), text("Shift") }), QString());
    EXPECT_EQ(edit->selectedText(), QStringLiteral("bc"));
}

// Item views and menus

using Items = InputTest;

TEST_F(Items, RowsAreFoundByTextReadAndClicked)
{
    const Object::Ptr row = find(
        QStringLiteral("{container={name='list' type='QListWidget'} type='QModelIndex' text='Row 40'}"));
    ASSERT_TRUE(row) << insp()->lastError().toStdString();
    EXPECT_EQ(read(row, "row"), QStringLiteral("40"));
    EXPECT_EQ(read(row, "selected"), QStringLiteral("false"));
    // Row 40 is below the visible part: the click scrolls it into view first.
    EXPECT_EQ(call("mouseClick", { row }), QString());
    EXPECT_EQ(list->currentRow(), 40);
    EXPECT_EQ(read(row, "selected"), QStringLiteral("true"));
}

TEST_F(Items, CellsTreeItemsAndComboItems)
{
    const Object::Ptr cell = find(
        QStringLiteral("{column='1' container={name='table' type='QTableWidget'} type='QModelIndex' "
                       "text='2-1'}"));
    ASSERT_TRUE(cell) << insp()->lastError().toStdString();
    EXPECT_EQ(call("mouseClick", { cell }), QString());
    EXPECT_EQ(table->currentRow(), 2);
    EXPECT_EQ(table->currentColumn(), 1);

    // The child of a collapsed parent: scrolling to it opens the parent.
    const Object::Ptr apple = find(
        QStringLiteral("{container={name='tree' type='QTreeView'} type='QModelIndex' text='Apple'}"));
    ASSERT_TRUE(apple);
    EXPECT_EQ(call("mouseClick", { apple }), QString());
    EXPECT_EQ(tree->currentIndex().data().toString(), QStringLiteral("Apple"));

    const Object::Ptr blue = find(
        QStringLiteral("{container={name='combo' type='QComboBox'} type='QModelIndex' text='Blue'}"));
    ASSERT_TRUE(blue);
    EXPECT_EQ(call("mouseClick", { blue }), QString());
    EXPECT_EQ(combo->currentText(), QStringLiteral("Blue"));
    EXPECT_FALSE(combo->view()->isVisible());
}

TEST_F(Items, MissingItemReportsTheUnmatchedProperty)
{
    const QString name = QStringLiteral(
        "{container={name='list' type='QListWidget'} type='QModelIndex' text='Row 99'}");
    EXPECT_FALSE(find(name));
    EXPECT_TRUE(
        insp()->lastError().contains(QStringLiteral("Could not match properties:\n    text for object name")))
        << insp()->lastError().toStdString();
}

TEST_F(Items, MenuItemsActivateThroughTheirMenus)
{
    int opens = 0;
    int recents = 0;
    QObject::connect(open, &QAction::triggered, [&opens]() { ++opens; });
    QObject::connect(recentItem, &QAction::triggered, [&recents]() { ++recents; });
    EXPECT_EQ(call("activateMenuItem", { object(window.get()), text("File|Open...") }), QString());
    EXPECT_EQ(call("activateMenuItem", { object(window->menuBar()), text("&File|Recent|a.txt") }), QString());
    EXPECT_EQ(call("mouseClick", { object(open) }), QString());
    EXPECT_EQ(opens, 2);
    EXPECT_EQ(recents, 1);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(call("activateMenuItem", { object(window.get()), text("File|Close") }),
              QStringLiteral("Cannot activate menu item 'File|Close' of '%1': there is no item 'Close' "
                             "in 'File' (it has: Open..., Recent, Quit)")
                  .arg(printable(window.get())));
    if (QWidget *popup = QApplication::activePopupWidget())
        popup->close();
}

// Screenshots and gestures

TEST_F(InputTest, ScreenshotIsAPngOfTheWidgetsSize)
{
    QString error;
    const QImage picture = QImage::fromData(QtWrapper::screenshotPng(list, &error), "PNG");
    EXPECT_EQ(picture.size(), list->size()) << error.toStdString();
    const QImage whole = QImage::fromData(QtWrapper::screenshotPng(nullptr, &error), "PNG");
    EXPECT_EQ(whole.size(), window->size());

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("ok.png"));
    EXPECT_EQ(call("saveScreenshot", { object(ok), text(path) }), QString());
    EXPECT_EQ(QImage(path).size(), ok->size());
    ok->hide();
    EXPECT_TRUE(QtWrapper::screenshotPng(ok, &error).isEmpty());
    EXPECT_EQ(error, QStringLiteral("the widget '%1' is hidden").arg(printable(ok)));
}

TEST_F(InputTest, GestureReplaysAsTouchEvents)
{
    TouchPad pad;
    pad.setObjectName(QStringLiteral("pad"));
    pad.resize(300, 300);
    pad.show();
    QCoreApplication::processEvents();
    const Class *builderClass = insp()->type(QStringLiteral("GestureBuilder"));
    ASSERT_TRUE(builderClass);
    const Object::Ptr gesture = builderClass->construct(ObjectList {
        insp()->createPrimitive(300.0), insp()->createPrimitive(300.0), number(GestureBuilderClass::Pixel) });
    ASSERT_TRUE(gesture);
    auto chain = [&](const char *method, const ObjectList &args) {
        ASSERT_TRUE(builderClass->methods(QLatin1String(method)).invoke(gesture, args)) << method;
    };
    chain("addStroke", { insp()->createPrimitive(10.0), insp()->createPrimitive(20.0) });
    chain("lineTo", { number(100), insp()->createPrimitive(110.0), insp()->createPrimitive(20.0) });
    chain("addStroke", { number(0), insp()->createPrimitive(50.0), insp()->createPrimitive(200.0) });
    chain("lineTo", { number(100), insp()->createPrimitive(50.0), insp()->createPrimitive(100.0) });
    chain("build", {});

    VexilTest::RecordCollector collector;
    EXPECT_EQ(call("replayGesture", { object(&pad), gesture }), QString());
    EXPECT_EQ(pad.begins, 1);
    EXPECT_EQ(pad.ends, 1);
    EXPECT_EQ(pad.maxPoints, 2);
    EXPECT_EQ(pad.firstPos, QPointF(10, 20));
    EXPECT_EQ(pad.lastPos, QPointF(110, 20));

    // The recorded touches play back as the same gesture.
    ASSERT_FALSE(collector.records.empty());
    const EventData &touch = collector.records.back();
    EXPECT_EQ(touch.eventName, QStringLiteral("replayGesture"));
    EXPECT_EQ(touch.objectId, QStringLiteral(":pad_QWidget"));
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("g.xml")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(touch.arguments[0].value.toUtf8());
    file.close();
    EXPECT_EQ(call("replayGestureFile", { object(&pad), text(file.fileName()) }), QString());
    EXPECT_EQ(pad.begins, 2);
    EXPECT_EQ(pad.lastPos, QPointF(110, 20));
}

// Recording

using Recording = InputTest;

TEST_F(Recording, ClicksTypingItemsAndMenusBecomeRecords)
{
    VexilTest::RecordCollector collector;
    call("mouseClick", { object(ok), number(3), number(4) });
    call("type", { object(edit), text("Hi<Tab>") });
    call("mouseClick",
         { find(QStringLiteral(
             "{container={name='list' type='QListWidget'} type='QModelIndex' text='Row 1'}")) });
    call("activateMenuItem", { object(window.get()), text("File|Recent|a.txt") });

    std::vector<std::pair<QString, QString>> seen;
    for (const EventData &r : collector.records)
        seen.emplace_back(r.eventName,
                          r.objectId + QLatin1Char(' ')
                              + (r.arguments.size() ? r.arguments[0].value : QString()));
    const std::vector<std::pair<QString, QString>> expected = {
        { "mouseClick", ":w.ok_QPushButton 3" },
        { "keyPress", ":w.edit_QLineEdit H" },
        { "textChanged", ":w.edit_QLineEdit H" },
        { "keyPress", ":w.edit_QLineEdit i" },
        { "textChanged", ":w.edit_QLineEdit Hi" },
        { "keyPress", ":w.edit_QLineEdit <Tab>" },
        { "mouseClick",
          ":list.Row 1_QModelIndex " + QString::number(list->visualItemRect(list->item(1)).center().x()) },
        { "activateMenuItem", ":w_QMenuBar File|Recent|a.txt" },
    };
    EXPECT_EQ(seen, expected);
    // The item's recorded name finds it again.
    ASSERT_EQ(collector.records.size(), expected.size());
    const Object::Ptr row = find(collector.records[6].objectId);
    ASSERT_TRUE(row) << insp()->lastError().toStdString();
    EXPECT_EQ(read(row, "text"), QStringLiteral("Row 1"));
}

} // namespace
