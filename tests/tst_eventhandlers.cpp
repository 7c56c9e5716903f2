// tst_eventhandlers.cpp: script handlers installed per object, per class and globally, and their lookup.
#include "testsupport.h"

#include "inspector.h"
#include "object.h"

using namespace Vexil;
using VexilTest::ChainClass;
using VexilTest::CountedObject;
using VexilTest::makeObject;

namespace {

int dummy[4];

class EventHandlers : public ::testing::Test
{
protected:
    void SetUp() override { Inspector::self()->clearEventHandlers(); }
    void TearDown() override { Inspector::self()->clearEventHandlers(); }
};

} // namespace

TEST_F(EventHandlers, ObjectHandlersMatchTheSameObjectAndUninstallEveryDuplicate)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Obj");
    Object::Ptr a = makeObject(dummy, cls);
    const QString e = QStringLiteral("clicked");
    EXPECT_TRUE(insp->installObjectEventHandler(a, e, QStringLiteral("h")));
    EXPECT_TRUE(insp->installObjectEventHandler(a, e, QStringLiteral("h")));
    EXPECT_TRUE(insp->installObjectEventHandler(a, e, QStringLiteral("other")));
    EXPECT_EQ(insp->eventHandler(a, e), QStringLiteral("h")); // first wins
    EXPECT_EQ(insp->eventHandler(makeObject(dummy, cls), e),
              QStringLiteral("h")); // same object, other handle
    EXPECT_TRUE(insp->eventHandler(makeObject(dummy + 1, cls), e).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("Clicked")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(Object::Ptr(), e).isEmpty());
    EXPECT_TRUE(insp->hasEventHandlerFor(e));

    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, e, QStringLiteral("h"))); // both duplicates go
    EXPECT_EQ(insp->eventHandler(a, e), QStringLiteral("other"));
    EXPECT_TRUE(insp->hasEventHandlerFor(e)); // "other" is still there
    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, e, QStringLiteral("other")));
    EXPECT_TRUE(insp->eventHandler(a, e).isEmpty());
    EXPECT_FALSE(insp->hasEventHandlerFor(e));
    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, QStringLiteral("nothing"), QStringLiteral("h")));
}

TEST_F(EventHandlers, NullObjectsNeverMatchAndReceiversAreKeptAlive)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Null");
    Object::Ptr a = makeObject(dummy, cls);
    insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h"));
    Object::Ptr probe = makeObject(dummy, cls);
    EXPECT_EQ(insp->eventHandler(probe, QStringLiteral("e")), QStringLiteral("h"));
    probe->invalidate();
    EXPECT_TRUE(insp->eventHandler(probe, QStringLiteral("e")).isEmpty());
    a->invalidate(); // the registration's own receiver has gone
    EXPECT_TRUE(insp->eventHandler(makeObject(dummy, cls), QStringLiteral("e")).isEmpty());
    Object::Ptr nullObj = makeObject(nullptr, cls);
    insp->installObjectEventHandler(nullObj, QStringLiteral("n"), QStringLiteral("h"));
    EXPECT_TRUE(insp->eventHandler(nullObj, QStringLiteral("n")).isEmpty());

    CountedObject::instances = 0;
    insp->installObjectEventHandler(Object::Ptr(new CountedObject(cls, dummy)), QStringLiteral("e"),
                                    QStringLiteral("h"));
    EXPECT_EQ(CountedObject::instances, 1);
    insp->clearEventHandlers();
    EXPECT_EQ(CountedObject::instances, 0);
}

TEST_F(EventHandlers, ClassHandlersServeSubclassesInInsertionOrder)
{
    Inspector *insp = Inspector::self();
    ChainClass *base = new ChainClass("EhTest_Base");
    ChainClass *derived = new ChainClass("EhTest_Derived", base);
    ChainClass *other = new ChainClass("EhTest_Unrelated");
    const QString e = QStringLiteral("e");
    insp->installClassEventHandler(QStringLiteral("EhTest_Base"), e, QStringLiteral("onBase"));
    insp->installClassEventHandler(QStringLiteral("EhTest_Derived"), e, QStringLiteral("onDerived"));
    EXPECT_EQ(insp->eventHandler(base, e), QStringLiteral("onBase"));
    EXPECT_EQ(insp->eventHandler(derived, e), QStringLiteral("onBase")); // the first, not the closest
    EXPECT_TRUE(insp->eventHandler(other, e).isEmpty());
    EXPECT_TRUE(insp->eventHandler(static_cast<const Class *>(nullptr), e).isEmpty());
    EXPECT_TRUE(insp->eventHandler(derived, QStringLiteral("f")).isEmpty());

    insp->uninstallClassEventHandler(QStringLiteral("EhTest_Base"), e, QStringLiteral("onBase"));
    EXPECT_EQ(insp->eventHandler(derived, e), QStringLiteral("onDerived"));
    EXPECT_TRUE(insp->eventHandler(base, e).isEmpty());
    EXPECT_TRUE(insp->hasEventHandlerFor(e));
    // All three fields must agree for a removal.
    insp->uninstallClassEventHandler(QStringLiteral("EhTest_Base"), e, QStringLiteral("onDerived"));
    EXPECT_EQ(insp->eventHandler(derived, e), QStringLiteral("onDerived"));

    // A class not registered yet never matches; once registered it does, and the class found is kept.
    insp->installClassEventHandler(QStringLiteral("EhTest_Late"), QStringLiteral("l"),
                                   QStringLiteral("onLate"));
    EXPECT_TRUE(insp->eventHandler(other, QStringLiteral("l")).isEmpty());
    ChainClass *late = new ChainClass("EhTest_Late");
    ChainClass *lateSub = new ChainClass("EhTest_LateSub", late);
    EXPECT_EQ(insp->eventHandler(lateSub, QStringLiteral("l")), QStringLiteral("onLate"));
    ChainClass *replacement = new ChainClass("EhTest_Late"); // takes over the name, not the registration
    EXPECT_EQ(insp->eventHandler(late, QStringLiteral("l")), QStringLiteral("onLate"));
    EXPECT_TRUE(insp->eventHandler(replacement, QStringLiteral("l")).isEmpty());
}

TEST_F(EventHandlers, GlobalHandlersAndTheNameMap)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Global");
    Object::Ptr a = makeObject(dummy, cls);
    const QString g = QStringLiteral("g");
    EXPECT_FALSE(insp->hasEventHandlerFor(g));
    insp->installGlobalEventHandler(g, QStringLiteral("first"));
    insp->installGlobalEventHandler(g, QStringLiteral("second"));
    EXPECT_EQ(insp->eventHandler(g), QStringLiteral("first"));
    EXPECT_TRUE(insp->eventHandler(QStringLiteral("h")).isEmpty());
    insp->uninstallGlobalEventHandler(g, QStringLiteral("first"));
    EXPECT_EQ(insp->eventHandler(g), QStringLiteral("second"));

    // Only the list of the uninstalled kind is consulted for the name map.
    insp->installObjectEventHandler(a, g, QStringLiteral("obj"));
    insp->uninstallGlobalEventHandler(g, QStringLiteral("second"));
    EXPECT_FALSE(insp->hasEventHandlerFor(g));
    EXPECT_EQ(insp->eventHandler(a, g), QStringLiteral("obj"));
    EXPECT_TRUE(insp->eventHandler(g).isEmpty());

    // Kinds do not see each other's registrations.
    insp->installClassEventHandler(QStringLiteral("EhTest_Global"), QStringLiteral("k"),
                                   QStringLiteral("cls"));
    EXPECT_TRUE(insp->eventHandler(QStringLiteral("k")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("k")).isEmpty());

    insp->clearEventHandlers();
    EXPECT_FALSE(insp->hasEventHandlerFor(QStringLiteral("k")));
    EXPECT_TRUE(insp->eventHandler(cls, QStringLiteral("k")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, g).isEmpty());
}

TEST(EventAndReceiver, MatchesByKind)
{
    ChainClass *cls = new ChainClass("EhTest_Matches");
    Object::Ptr a = makeObject(dummy, cls);
    const QString e = QStringLiteral("e");
    const EventAndReceiver classReg(EventAndReceiver::ClassHandler, Object::Ptr(), nullptr,
                                    QStringLiteral("EhTest_Matches"), e, QStringLiteral("h"));
    EventAndReceiver reg(EventAndReceiver::ObjectHandler, a, nullptr, QString(), e, QStringLiteral("h"));
    const EventAndReceiver probe(EventAndReceiver::ObjectHandler, a, cls, QString(), e, QString());
    EXPECT_TRUE(reg.matches(probe));
    EXPECT_TRUE(classReg.matches(probe));
    EXPECT_EQ(classReg.cls, cls);
    reg.kind = EventAndReceiver::GlobalHandler;
    EXPECT_TRUE(reg.matches(probe));
    reg.kind = static_cast<EventAndReceiver::Kind>(3);
    EXPECT_FALSE(reg.matches(probe));
}
