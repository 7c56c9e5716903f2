// tst_delegate.cpp: the delegate factory (keys, chain lookup, super()), the hierarchy, geometry, dump and
// conversion defaults, and the static-property delegate made from text.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "objectmap.h"

#include <map>
#include <vector>

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
    void initSuperClass() const override
    {
        ++initSuperCalls;
        setSuperClass(m_super);
    }
    const Class *m_super;
    mutable int initSuperCalls = 0;
};

// A class whose superclass link is never set up: walks must stop at it.
class NeverInitClass : public Class
{
public:
    explicit NeverInitClass(const char *name)
        : Class(name, true)
    {
    }
    void initSuperClass() const override { ++initSuperCalls; }
    mutable int initSuperCalls = 0;
};

class CountedDelegate : public SerializeDelegate
{
public:
    static int instances;
    explicit CountedDelegate(const QString &cls)
        : SerializeDelegate(cls)
    {
        ++instances;
    }
    ~CountedDelegate() override { --instances; }
    QString toDebugString(Object::Ptr) const override { return className(); }
};
int CountedDelegate::instances = 0;

// A tree of named nodes; objects of class "DlgTest_Node" wrap a Node*.
struct Node
{
    QString name;
    std::vector<Node *> children;
};

class NodeHierarchy : public ObjectHierarchyDelegate
{
public:
    NodeHierarchy(const QString &cls, const Class *nodeClass, std::vector<Node *> *tops)
        : ObjectHierarchyDelegate(cls)
        , m_class(nodeClass)
        , m_tops(tops)
    {
    }
    const std::vector<Node *> &kids(const Object::Ptr &parent) const
    {
        return parent ? static_cast<Node *>(parent->rawData())->children : *m_tops;
    }
    int numChildren(Object::Ptr parent) const override
    {
        ++numChildrenCalls;
        return int(kids(parent).size());
    }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        ++childCalls;
        Node *n = kids(parent)[size_t(i)];
        return n ? Object::Ptr(new Object(n, m_class, ObjectAttribute())) : Object::Ptr();
    }
    Object::Ptr childByName(Object::Ptr, const QString &) const override { return Object::Ptr(); }
    QString name(Object::Ptr o) const override { return static_cast<Node *>(o->rawData())->name; }
    QString qualifiedName(Object::Ptr o) const override { return name(o); }
    int wrapperType(Object::Ptr) const override { return 0; }

    const Class *m_class;
    std::vector<Node *> *m_tops;
    mutable int numChildrenCalls = 0;
    mutable int childCalls = 0;
};

class BoxGeometry : public GeometryDelegate
{
public:
    BoxGeometry(const QString &cls, Rect<GlobalCoordinates> box)
        : GeometryDelegate(cls)
        , m_box(box)
    {
    }
    Rect<GlobalCoordinates> globalBounds(Object::Ptr) const override { return m_box; }
    bool isVisible(Object::Ptr) const override { return true; }
    Object::Ptr objectAt(int, int) const override { return Object::Ptr(); }
    Rect<GlobalCoordinates> m_box;
};

class PlainDump : public DumpObjectTreeDelegate
{
public:
    using DumpObjectTreeDelegate::DumpObjectTreeDelegate;
};

class MaskConversion : public ConversionDelegate
{
public:
    MaskConversion(const QString &cls, ConvertFlags mask)
        : ConversionDelegate(cls)
        , m_mask(mask)
    {
    }
    ConvertFlags supportedConversions(ConvertFlags wanted) const override { return m_mask & wanted; }
    long long toInt64(Object::Ptr) const override { return 0; }
    void fromInt64(long long, Object::Ptr) const override { }
    ConvertFlags m_mask;
};

int dummy[4];

} // namespace

// ---------------------------------------------------------------------------------------------------------
// Factory

TEST(DelegateFactory, TypesAndRegistration)
{
    EXPECT_EQ(int(Delegate::Hierarchy), 0);
    EXPECT_EQ(int(Delegate::StaticProperty), 1);
    EXPECT_EQ(int(Delegate::Serialize), 3);
    EXPECT_EQ(int(Delegate::Conversion), 4);
    EXPECT_EQ(int(Delegate::Comparison), 5);
    EXPECT_EQ(int(Delegate::Cast), 6);
    EXPECT_EQ(int(Delegate::WindowInteraction), 10);
    EXPECT_EQ(int(ConversionDelegate::ConvertString), 1);
    EXPECT_EQ(int(ConversionDelegate::ConvertInteger), 2);
    EXPECT_EQ(int(ConversionDelegate::ConvertDouble), 4);
    EXPECT_EQ(int(ConversionDelegate::ConvertBoolean), 8);
    EXPECT_EQ(int(ConversionDelegate::ConvertInt64), 16);

    DelegateFactory *f = DelegateFactory::self();
    EXPECT_EQ(DelegateFactory::selfPtr, f);
    EXPECT_EQ(DelegateFactory::self(), f);
    CountedDelegate *d = new CountedDelegate(QStringLiteral("DlgTest_Reg"));
    EXPECT_EQ(d->className(), QStringLiteral("DlgTest_Reg"));
    EXPECT_EQ(d->type(), Delegate::Serialize);
    EXPECT_EQ(f->delegate(QStringLiteral("DlgTest_Reg"), Delegate::Serialize), d);
    EXPECT_EQ(f->delegate(QStringLiteral("DlgTest_Reg"), Delegate::Hierarchy), nullptr);
    EXPECT_EQ(f->delegate(QStringLiteral("dlgtest_reg"), Delegate::Serialize), nullptr);
    EXPECT_EQ(f->delegate(static_cast<const Class *>(nullptr), Delegate::Serialize), nullptr);
}

TEST(DelegateFactory, SecondRegistrationWinsFirstIsStillOwned)
{
    ChainClass *twiceClass = new ChainClass("DlgTest_Twice");
    DelegateFactory *saved = DelegateFactory::self();
    CountedDelegate *inSaved = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
    EXPECT_EQ(saved->delegate(twiceClass, Delegate::Serialize), inSaved);
    DelegateFactory::selfPtr = nullptr;
    CountedDelegate::instances = 0;
    {
        DelegateFactory *own = DelegateFactory::self();
        EXPECT_NE(own, saved);
        CountedDelegate *first = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
        CountedDelegate *second = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
        new CountedDelegate(QStringLiteral("DlgTest_Other"));
        EXPECT_EQ(own->delegate(QStringLiteral("DlgTest_Twice"), Delegate::Serialize), second);
        EXPECT_EQ(own->delegate(twiceClass, Delegate::Serialize), second);
        EXPECT_EQ(CountedDelegate::instances, 3);     // the displaced one lives on
        EXPECT_EQ(first->className(), QStringLiteral("DlgTest_Twice"));
        delete own;
        EXPECT_EQ(DelegateFactory::selfPtr, nullptr);
    }
    EXPECT_EQ(CountedDelegate::instances, 0);
    DelegateFactory::selfPtr = saved;
    EXPECT_EQ(saved->delegate(twiceClass, Delegate::Serialize), inSaved);
}

TEST(DelegateFactory, LookupWalksTheClassChain)
{
    ChainClass *base = new ChainClass("DlgTest_ChainBase");
    ChainClass *mid = new ChainClass("DlgTest_ChainMid", base);
    ChainClass *leaf = new ChainClass("DlgTest_ChainLeaf", mid);
    DelegateFactory *f = DelegateFactory::self();
    EXPECT_EQ(f->delegate(leaf, Delegate::Serialize), nullptr);

    CountedDelegate *forBase = new CountedDelegate(QStringLiteral("DlgTest_ChainBase"));
    EXPECT_EQ(f->delegate(leaf, Delegate::Serialize), forBase);
    EXPECT_EQ(f->delegate(mid, Delegate::Serialize), forBase);
    EXPECT_EQ(leaf->initSuperCalls, 1);
    CountedDelegate *forMid = new CountedDelegate(QStringLiteral("DlgTest_ChainMid"));
    EXPECT_EQ(f->delegate(leaf, Delegate::Serialize), forMid);
    EXPECT_EQ(f->delegate(base, Delegate::Serialize), forBase);
    EXPECT_EQ(f->delegate(leaf, Delegate::Comparison), nullptr);

    // A class whose link stays uninitialised ends the walk, and is asked to set it up on every walk.
    NeverInitClass *never = new NeverInitClass("DlgTest_NeverInit");
    EXPECT_EQ(f->delegate(never, Delegate::Serialize), nullptr);
    EXPECT_EQ(f->delegate(never, Delegate::Serialize), nullptr);
    EXPECT_EQ(never->initSuperCalls, 2);

    // A superclass set afterwards is followed.
    ChainClass *adopted = new ChainClass("DlgTest_Adopted");
    EXPECT_EQ(f->delegate(adopted, Delegate::Serialize), nullptr);
    adopted->setSuperClass(mid);
    EXPECT_EQ(f->delegate(adopted, Delegate::Serialize), forMid);
}

TEST(DelegateFactory, DelegatesForTypeInClassNameOrder)
{
    // A fresh factory, so that only these count.
    DelegateFactory *saved = DelegateFactory::selfPtr;
    DelegateFactory::selfPtr = nullptr;
    DelegateFactory *own = DelegateFactory::self();
    CountedDelegate *b = new CountedDelegate(QStringLiteral("b"));
    CountedDelegate *a = new CountedDelegate(QStringLiteral("a"));
    CountedDelegate *upper = new CountedDelegate(QStringLiteral("Z"));
    PlainDump *dump = new PlainDump(QStringLiteral("a"));
    EXPECT_EQ(own->delegatesForType(Delegate::Serialize), (std::vector<const Delegate *>{upper, a, b}));
    EXPECT_EQ(own->delegatesForType(Delegate::DumpObjectTree), (std::vector<const Delegate *>{dump}));
    EXPECT_TRUE(own->delegatesForType(Delegate::Hierarchy).empty());
    delete own;
    DelegateFactory::selfPtr = saved;
}

TEST(Delegate, SuperIsTheNearestAncestorsAndIsCached)
{
    ChainClass *base = new ChainClass("DlgTest_SuperBase");
    ChainClass *mid = new ChainClass("DlgTest_SuperMid", base);
    ChainClass *leaf = new ChainClass("DlgTest_SuperLeaf", mid);
    (void)leaf;
    CountedDelegate *forBase = new CountedDelegate(QStringLiteral("DlgTest_SuperBase"));
    CountedDelegate *forLeaf = new CountedDelegate(QStringLiteral("DlgTest_SuperLeaf"));
    EXPECT_EQ(forLeaf->super(), forBase);
    EXPECT_EQ(forBase->super(), nullptr);

    // A failed search is not repeated, even when an ancestor gets a delegate afterwards.
    ChainClass *lonelyBase = new ChainClass("DlgTest_LonelyBase");
    new ChainClass("DlgTest_Lonely", lonelyBase);
    CountedDelegate *lonely = new CountedDelegate(QStringLiteral("DlgTest_Lonely"));
    EXPECT_EQ(lonely->super(), nullptr);
    new CountedDelegate(QStringLiteral("DlgTest_LonelyBase"));
    EXPECT_EQ(lonely->super(), nullptr);

    // A found answer is kept as well.
    CountedDelegate *forMid = new CountedDelegate(QStringLiteral("DlgTest_SuperMid"));
    EXPECT_EQ(forLeaf->super(), forBase);
    CountedDelegate *leaf2 = new CountedDelegate(QStringLiteral("DlgTest_SuperLeaf"));
    EXPECT_EQ(leaf2->super(), forMid);

    CountedDelegate *unknown = new CountedDelegate(QStringLiteral("DlgTest_NoSuchClass"));
    EXPECT_EQ(unknown->super(), nullptr);
}

// ---------------------------------------------------------------------------------------------------------
// Hierarchy defaults

TEST(ObjectHierarchyDelegate, ChildrenSkipsNullChildren)
{
    static std::vector<Node *> noTops;
    ChainClass *cls = new ChainClass("DlgTest_Kids");
    NodeHierarchy *h = new NodeHierarchy(QStringLiteral("DlgTest_Kids"), cls, &noTops);
    Node a{QStringLiteral("a"), {}};
    Node c{QStringLiteral("c"), {}};
    Node parent{QStringLiteral("p"), {&a, nullptr, &c}};
    Object::Ptr p(new Object(&parent, cls, ObjectAttribute()));
    const ObjectList kids = h->children(p);
    ASSERT_EQ(kids.size(), 2u);
    EXPECT_EQ(kids[0]->rawData(), &a);
    EXPECT_EQ(kids[1]->rawData(), &c);
    EXPECT_EQ(h->numChildrenCalls, 1);
    EXPECT_EQ(h->childCalls, 3);
    EXPECT_EQ(p->children().size(), 2u);

    Object::Ptr none;
    EXPECT_EQ(h->parent(none), nullptr);
    Object::Ptr nobody;
    EXPECT_EQ(h->objectByQualifiedName(nobody, ObjectName()), nullptr);
}

TEST(ObjectHierarchyDelegate, OverrideOfTheQualifiedLookupIsSeenWithoutCalls)
{
    static std::vector<Node *> noTops;
    struct Overriding : public NodeHierarchy
    {
        using NodeHierarchy::NodeHierarchy;
        Object::Ptr objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const override
        {
            ++calls;
            return ObjectHierarchyDelegate::objectByQualifiedName(parent, name);
        }
        mutable int calls = 0;
    };
    ChainClass *cls = new ChainClass("DlgTest_Qualified");
    NodeHierarchy *plain = new NodeHierarchy(QStringLiteral("DlgTest_QualifiedPlain"), cls, &noTops);
    Overriding *over = new Overriding(QStringLiteral("DlgTest_QualifiedOver"), cls, &noTops);
    EXPECT_FALSE(plain->overridesObjectByQualifiedName());
    EXPECT_TRUE(over->overridesObjectByQualifiedName());
    plain->objectByQualifiedName(Object::Ptr(), ObjectName());
    over->objectByQualifiedName(Object::Ptr(), ObjectName());
    EXPECT_EQ(over->calls, 1);
    EXPECT_FALSE(plain->overridesObjectByQualifiedName());
    EXPECT_TRUE(over->overridesObjectByQualifiedName());     // falling back on the default changes nothing
}

// Top-level objects come from the Inspector's list, built on first use: keep this the only test that
// enumerates them.
TEST(ObjectHierarchyDelegate, ParentIsFoundDepthFirstFromTheTop)
{
    static Node x{QStringLiteral("x"), {}};
    static Node c{QStringLiteral("c"), {&x}};
    static Node a{QStringLiteral("a"), {&c}};
    static Node b{QStringLiteral("b"), {&x}};
    static Node t1{QStringLiteral("t1"), {&a, &b}};
    static Node t2{QStringLiteral("t2"), {}};
    static Node stray{QStringLiteral("stray"), {}};
    static std::vector<Node *> tops{&t1, &t2};

    ChainClass *cls = new ChainClass("DlgTest_Node");
    new NodeHierarchy(QStringLiteral("Vexil::ToplevelQt"), cls, &tops);
    NodeHierarchy *h = new NodeHierarchy(QStringLiteral("DlgTest_Node"), cls, &tops);

    auto wrapNode = [cls](Node *n) { return Object::Ptr(new Object(n, cls, ObjectAttribute())); };
    EXPECT_EQ(Inspector::self()->numObjects(), 2);
    EXPECT_EQ(h->parent(wrapNode(&t1)), nullptr);
    EXPECT_EQ(h->parent(wrapNode(&t2)), nullptr);
    EXPECT_EQ(h->parent(wrapNode(&stray)), nullptr);

    Object::Ptr parentOfA = h->parent(wrapNode(&a));
    ASSERT_TRUE(parentOfA);
    EXPECT_EQ(parentOfA->rawData(), &t1);
    Object::Ptr parentOfB = wrapNode(&b)->parent();     // through the object, which asks its delegate
    ASSERT_TRUE(parentOfB);
    EXPECT_EQ(parentOfB->rawData(), &t1);
    // x hangs under c (depth 3) and under b (depth 2): pre-order finds c first.
    Object::Ptr parentOfX = h->parent(wrapNode(&x));
    ASSERT_TRUE(parentOfX);
    EXPECT_EQ(parentOfX->rawData(), &c);
}

// ---------------------------------------------------------------------------------------------------------
// Geometry, dump and conversion defaults

TEST(GeometryDelegate, ConversionsBetweenCoordinateSystems)
{
    BoxGeometry *g = new BoxGeometry(QStringLiteral("DlgTest_Geometry"), Rect<GlobalCoordinates>{10, 20, 100, 50, 3});
    Object::Ptr o;
    const Rect<NativeCoordinates> n = g->nativeGlobalBounds(o);
    EXPECT_EQ(n.x, 10);
    EXPECT_EQ(n.y, 20);
    EXPECT_EQ(n.width, 100);
    EXPECT_EQ(n.height, 50);
    EXPECT_EQ(n.screen, 3);

    const Point<RelativeCoordinates> r = g->globalToRelative(o, 15, 27);
    EXPECT_TRUE(r.valid);
    EXPECT_EQ(r.x, 5);
    EXPECT_EQ(r.y, 7);
    EXPECT_EQ(r.screen, -1);
    const Point<GlobalCoordinates> gl = g->relativeToGlobal(o, 5, 7);
    EXPECT_TRUE(gl.valid);
    EXPECT_EQ(gl.x, 15);
    EXPECT_EQ(gl.y, 27);
    EXPECT_EQ(gl.screen, -1);
    const Point<NativeCoordinates> nat = g->relativeToNative(o, 5, 7);
    EXPECT_TRUE(nat.valid);
    EXPECT_EQ(nat.x, 15);
    EXPECT_EQ(nat.y, 27);
    EXPECT_EQ(nat.screen, -1);

    g->m_box = Rect<GlobalCoordinates>{10, 20, -1, 50, 0};
    const Point<RelativeCoordinates> bad = g->globalToRelative(o, 15, 27);
    EXPECT_FALSE(bad.valid);
    EXPECT_EQ(bad.x, 0);
    EXPECT_EQ(bad.y, 0);
    EXPECT_EQ(bad.screen, -1);
    g->m_box = Rect<GlobalCoordinates>{10, 20, 5, -1, 0};
    EXPECT_FALSE(g->relativeToGlobal(o, 1, 1).valid);
    EXPECT_FALSE(g->relativeToNative(o, 1, 1).valid);
    g->m_box = Rect<GlobalCoordinates>{10, 20, 0, 0, 0};     // empty but not negative: still valid
    EXPECT_TRUE(g->globalToRelative(o, 1, 1).valid);
}

TEST(DumpObjectTreeDelegate, Defaults)
{
    PlainDump *d = new PlainDump(QStringLiteral("DlgTest_Dump"));
    EXPECT_EQ(d->type(), Delegate::DumpObjectTree);
    const std::map<std::string, DumpFilter *> filters;
    QString error;
    Object::Ptr o;
    EXPECT_TRUE(d->enterDump(o, filters, &error));
    EXPECT_TRUE(d->leaveDump(&error));
    EXPECT_FALSE(d->dumpObject(o, true, nullptr, filters, &error));
    EXPECT_FALSE(d->takeScreenshot(o, nullptr));
    EXPECT_FALSE(d->setProperty(nullptr, o, nullptr, 0));
    ObjectList list;
    EXPECT_FALSE(d->children(o, &list));
    Rect<GlobalCoordinates> r{};
    EXPECT_FALSE(d->visibleGlobalBounds(o, &r));
    EXPECT_FALSE(d->isTransparent(o));
    QString type;
    EXPECT_FALSE(d->simplifiedType(o, &type));
    EXPECT_TRUE(error.isEmpty());
}

TEST(ConversionDelegate, DefaultsAndSupportTest)
{
    MaskConversion *c = new MaskConversion(QStringLiteral("DlgTest_Conv"),
                                           ConversionDelegate::ConvertString | ConversionDelegate::ConvertDouble);
    Object::Ptr o;
    EXPECT_TRUE(c->toString(o).isNull());
    EXPECT_EQ(c->toInteger(o), 0);
    EXPECT_EQ(c->toDouble(o), 0.0);
    EXPECT_FALSE(c->toBoolean(o));
    c->fromString(QStringLiteral("x"), o);
    c->fromInteger(1, o);
    c->fromDouble(1.0, o);
    c->fromBoolean(true, o);

    EXPECT_TRUE(supportsConversion(c, ConversionDelegate::ConvertString));
    EXPECT_TRUE(supportsConversion(c, ConversionDelegate::ConvertString | ConversionDelegate::ConvertDouble));
    EXPECT_FALSE(supportsConversion(c, ConversionDelegate::ConvertString | ConversionDelegate::ConvertInteger));
    EXPECT_FALSE(supportsConversion(c, ConversionDelegate::ConvertInt64));
    EXPECT_FALSE(supportsConversion(nullptr, ConversionDelegate::ConvertString));
}

// ---------------------------------------------------------------------------------------------------------
// Static properties from text

TEST(GenericStaticPropertyDelegate, DeclarationsFromText)
{
    ChainClass *cls = new ChainClass("DlgTest_Props");
    auto *d = new GenericStaticPropertyDelegate(
        QStringLiteral("DlgTest_Props"),
        QStringList{QStringLiteral("int,count,getCount,setCount,1,0"), QStringLiteral(",,char,,title,title,"
                                                                                     "setTitle,0,1,extra")});
    EXPECT_EQ(d->type(), Delegate::StaticProperty);
    EXPECT_EQ(DelegateFactory::self()->delegate(QStringLiteral("DlgTest_Props"), Delegate::StaticProperty), d);
    ASSERT_EQ(d->numProperties(), 2);
    const PropertyDeclaration *count = d->propertyDeclaration(0);
    EXPECT_EQ(count->name(), QStringLiteral("count"));
    EXPECT_EQ(count->readMethod(), QStringLiteral("getCount"));
    EXPECT_EQ(count->writeMethod(), QStringLiteral("setCount"));
    EXPECT_TRUE(count->isStatic());
    EXPECT_FALSE(count->stored());
    EXPECT_EQ(count->ownerClass(), cls);
    EXPECT_EQ(count->type(), Inspector::self()->type(Inspector::Int));
    const PropertyDeclaration *title = d->propertyDeclaration(1);
    EXPECT_EQ(title->name(), QStringLiteral("title"));
    EXPECT_EQ(title->readMethod(), QStringLiteral("title"));
    EXPECT_EQ(title->writeMethod(), QStringLiteral("setTitle"));
    EXPECT_FALSE(title->isStatic());
    EXPECT_TRUE(title->stored());
    EXPECT_EQ(title->type(), Inspector::self()->type(Inspector::Char));
    EXPECT_EQ(cls->numProperties(), 2);
    EXPECT_EQ(cls->property(1)->name(), QStringLiteral("title"));
}

TEST(GenericStaticPropertyDelegateDeathTest, ShortDeclarationIsFatal)
{
    new ChainClass("DlgDeath_Props");
    EXPECT_DEATH(new GenericStaticPropertyDelegate(QStringLiteral("DlgDeath_Props"),
                                                   QStringList{QStringLiteral("int,a,,getA,setA,1")}),
                 "");
}

// ---------------------------------------------------------------------------------------------------------

TEST(CallbackDelegates, RegisterWithTheInspector)
{
    struct Sender : public SendEventDelegate
    {
        bool sendEvent(const Event *, Object::Ptr, const ObjectList &) const override { return ++calls, true; }
        mutable int calls = 0;
    };
    struct Notify : public EventNotifyDelegate
    {
        void notifyEvent(const EventData &) const override { }
    };
    Sender *s = new Sender;     // the Inspector keeps the pointer for good
    ChainClass *cls = new ChainClass("DlgTest_Callbacks");
    Event e(cls, QStringLiteral("e"), Signature());
    Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
    Inspector::self()->sendEvent(&e, o, ObjectList());
    EXPECT_EQ(s->calls, 1);

    Notify n1;
    EXPECT_EQ(Inspector::self()->eventNotifyDelegate(), &n1);
    Notify n2;
    EXPECT_EQ(Inspector::self()->eventNotifyDelegate(), &n2);
}
