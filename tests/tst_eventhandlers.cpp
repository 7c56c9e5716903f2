// tst_eventhandlers.cpp: script handlers installed per object, per class and globally, and their lookup.
#include "testsupport.h"

#include "inspector.h"
#include "object.h"

using namespace Vexil;

namespace {

class ChainClass : public Class
{
public:
    ChainClass(const char *name, const Class *super = nullptr)
        : Class(name, true)
        , m_super(super)
    {
    }
    void initSuperClass() const override { setSuperClass(m_super); }
    const Class *m_super;
};

struct CountedObject : public Object
{
    static int instances;
    CountedObject(void *data, const Class *cls)
        : Object(data, cls, ObjectAttribute())
    {
        ++instances;
    }
    ~CountedObject() override { --instances; }
};
int CountedObject::instances = 0;

int dummy[4];

class EventHandlers : public ::testing::Test
{
protected:
    void SetUp() override { Inspector::self()->clearEventHandlers(); }
    void TearDown() override { Inspector::self()->clearEventHandlers(); }
};

} // namespace

TEST_F(EventHandlers, ObjectHandlersMatchTheSameObject)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Obj");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    Object::Ptr sameData(new Object(dummy, cls, ObjectAttribute()));
    Object::Ptr b(new Object(dummy + 1, cls, ObjectAttribute()));

    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("clicked")).isEmpty());
    EXPECT_TRUE(insp->installObjectEventHandler(a, QStringLiteral("clicked"), QStringLiteral("onA")));
    EXPECT_TRUE(insp->installObjectEventHandler(a, QStringLiteral("clicked"), QStringLiteral("onA2")));
    EXPECT_EQ(insp->eventHandler(a, QStringLiteral("clicked")), QStringLiteral("onA"));     // first wins
    EXPECT_EQ(insp->eventHandler(sameData, QStringLiteral("clicked")), QStringLiteral("onA"));
    EXPECT_TRUE(insp->eventHandler(b, QStringLiteral("clicked")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("Clicked")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(Object::Ptr(), QStringLiteral("clicked")).isEmpty());
    EXPECT_TRUE(insp->hasEventHandlerFor(QStringLiteral("clicked")));
}

TEST_F(EventHandlers, UninstallRemovesEveryDuplicate)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Dup");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h"));
    insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h"));
    insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("other"));
    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h")));
    EXPECT_EQ(insp->eventHandler(a, QStringLiteral("e")), QStringLiteral("other"));
    EXPECT_TRUE(insp->hasEventHandlerFor(QStringLiteral("e")));     // "other" is still there
    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("other")));
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("e")).isEmpty());
    EXPECT_FALSE(insp->hasEventHandlerFor(QStringLiteral("e")));
    // Uninstalling what is not there is fine too.
    EXPECT_TRUE(insp->uninstallObjectEventHandler(a, QStringLiteral("nothing"), QStringLiteral("h")));
}

TEST_F(EventHandlers, ObjectRegistrationKeepsReceiverAlive)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Alive");
    CountedObject::instances = 0;
    {
        Object::Ptr a(new CountedObject(dummy, cls));
        insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h"));
    }
    EXPECT_EQ(CountedObject::instances, 1);
    insp->clearEventHandlers();
    EXPECT_EQ(CountedObject::instances, 0);
}

TEST_F(EventHandlers, NullObjectsNeverMatch)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Null");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    insp->installObjectEventHandler(a, QStringLiteral("e"), QStringLiteral("h"));
    Object::Ptr probe(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_EQ(insp->eventHandler(probe, QStringLiteral("e")), QStringLiteral("h"));
    probe->invalidate();
    EXPECT_TRUE(insp->eventHandler(probe, QStringLiteral("e")).isEmpty());
    a->invalidate();     // the registration's own receiver has gone
    EXPECT_TRUE(insp->eventHandler(Object::Ptr(new Object(dummy, cls, ObjectAttribute())), QStringLiteral("e"))
                    .isEmpty());

    Object::Ptr nullObj(new Object(nullptr, cls, ObjectAttribute()));
    insp->installObjectEventHandler(nullObj, QStringLiteral("n"), QStringLiteral("h"));
    EXPECT_TRUE(insp->eventHandler(nullObj, QStringLiteral("n")).isEmpty());
}

TEST_F(EventHandlers, ClassHandlersServeSubclassesInInsertionOrder)
{
    Inspector *insp = Inspector::self();
    ChainClass *base = new ChainClass("EhTest_Base");
    ChainClass *derived = new ChainClass("EhTest_Derived", base);
    ChainClass *other = new ChainClass("EhTest_Unrelated");
    insp->installClassEventHandler(QStringLiteral("EhTest_Base"), QStringLiteral("e"), QStringLiteral("onBase"));
    insp->installClassEventHandler(QStringLiteral("EhTest_Derived"), QStringLiteral("e"),
                                   QStringLiteral("onDerived"));
    EXPECT_EQ(insp->eventHandler(base, QStringLiteral("e")), QStringLiteral("onBase"));
    // The first registration wins, not the closest class.
    EXPECT_EQ(insp->eventHandler(derived, QStringLiteral("e")), QStringLiteral("onBase"));
    EXPECT_TRUE(insp->eventHandler(other, QStringLiteral("e")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(static_cast<const Class *>(nullptr), QStringLiteral("e")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(derived, QStringLiteral("f")).isEmpty());

    EXPECT_TRUE(insp->uninstallClassEventHandler(QStringLiteral("EhTest_Base"), QStringLiteral("e"),
                                                 QStringLiteral("onBase")));
    EXPECT_EQ(insp->eventHandler(derived, QStringLiteral("e")), QStringLiteral("onDerived"));
    EXPECT_TRUE(insp->eventHandler(base, QStringLiteral("e")).isEmpty());
    EXPECT_TRUE(insp->hasEventHandlerFor(QStringLiteral("e")));
    // All three fields must agree for a removal.
    insp->uninstallClassEventHandler(QStringLiteral("EhTest_Base"), QStringLiteral("e"), QStringLiteral("onDerived"));
    EXPECT_EQ(insp->eventHandler(derived, QStringLiteral("e")), QStringLiteral("onDerived"));
}

TEST_F(EventHandlers, ClassResolvedLazilyAndCachedForGood)
{
    Inspector *insp = Inspector::self();
    ChainClass *probeClass = new ChainClass("EhTest_Probe");
    insp->installClassEventHandler(QStringLiteral("EhTest_Late"), QStringLiteral("e"), QStringLiteral("onLate"));
    EXPECT_TRUE(insp->eventHandler(probeClass, QStringLiteral("e")).isEmpty());

    ChainClass *late = new ChainClass("EhTest_Late");
    ChainClass *lateSub = new ChainClass("EhTest_LateSub", late);
    EXPECT_EQ(insp->eventHandler(lateSub, QStringLiteral("e")), QStringLiteral("onLate"));

    // A newer class of the same name takes over the name, but the registration keeps the class it found.
    ChainClass *replacement = new ChainClass("EhTest_Late");
    EXPECT_EQ(insp->type(QStringLiteral("EhTest_Late")), replacement);
    EXPECT_EQ(insp->eventHandler(late, QStringLiteral("e")), QStringLiteral("onLate"));
    EXPECT_TRUE(insp->eventHandler(replacement, QStringLiteral("e")).isEmpty());
}

TEST_F(EventHandlers, GlobalHandlersAndTheNameMap)
{
    Inspector *insp = Inspector::self();
    ChainClass *cls = new ChainClass("EhTest_Global");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_FALSE(insp->hasEventHandlerFor(QStringLiteral("g")));
    insp->installGlobalEventHandler(QStringLiteral("g"), QStringLiteral("first"));
    insp->installGlobalEventHandler(QStringLiteral("g"), QStringLiteral("second"));
    EXPECT_EQ(insp->eventHandler(QStringLiteral("g")), QStringLiteral("first"));
    EXPECT_TRUE(insp->eventHandler(QStringLiteral("h")).isEmpty());
    insp->uninstallGlobalEventHandler(QStringLiteral("g"), QStringLiteral("first"));
    EXPECT_EQ(insp->eventHandler(QStringLiteral("g")), QStringLiteral("second"));
    EXPECT_TRUE(insp->hasEventHandlerFor(QStringLiteral("g")));

    // Only the list of the uninstalled kind is consulted for the name map.
    insp->installObjectEventHandler(a, QStringLiteral("g"), QStringLiteral("obj"));
    insp->uninstallGlobalEventHandler(QStringLiteral("g"), QStringLiteral("second"));
    EXPECT_FALSE(insp->hasEventHandlerFor(QStringLiteral("g")));
    EXPECT_EQ(insp->eventHandler(a, QStringLiteral("g")), QStringLiteral("obj"));
    EXPECT_TRUE(insp->eventHandler(QStringLiteral("g")).isEmpty());

    // Kinds do not see each other's registrations.
    insp->installClassEventHandler(QStringLiteral("EhTest_Global"), QStringLiteral("k"), QStringLiteral("cls"));
    EXPECT_TRUE(insp->eventHandler(QStringLiteral("k")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("k")).isEmpty());

    insp->clearEventHandlers();
    EXPECT_FALSE(insp->hasEventHandlerFor(QStringLiteral("k")));
    EXPECT_TRUE(insp->eventHandler(cls, QStringLiteral("k")).isEmpty());
    EXPECT_TRUE(insp->eventHandler(a, QStringLiteral("g")).isEmpty());
}

TEST(EventAndReceiver, MatchesByKind)
{
    ChainClass *cls = new ChainClass("EhTest_Matches");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    const EventAndReceiver objectReg(EventAndReceiver::ObjectHandler, a, nullptr, QString(), QStringLiteral("e"),
                                     QStringLiteral("h"));
    const EventAndReceiver classReg(EventAndReceiver::ClassHandler, Object::Ptr(), nullptr,
                                    QStringLiteral("EhTest_Matches"), QStringLiteral("e"), QStringLiteral("h"));
    const EventAndReceiver globalReg(EventAndReceiver::GlobalHandler, Object::Ptr(), nullptr, QString(),
                                     QStringLiteral("e"), QStringLiteral("h"));
    const EventAndReceiver probe(EventAndReceiver::ObjectHandler, a, cls, QString(), QStringLiteral("e"), QString());
    EXPECT_TRUE(objectReg.matches(probe));
    EXPECT_TRUE(classReg.matches(probe));
    EXPECT_EQ(classReg.cls, cls);
    EXPECT_TRUE(globalReg.matches(probe));

    EventAndReceiver odd(EventAndReceiver::GlobalHandler, Object::Ptr(), nullptr, QString(), QStringLiteral("e"),
                         QStringLiteral("h"));
    odd.kind = static_cast<EventAndReceiver::Kind>(3);
    EXPECT_FALSE(odd.matches(probe));
}
