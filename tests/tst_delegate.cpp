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
using VexilTest::ChainClass;

namespace {

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

// A tree of named nodes; objects wrap a Node*, a null parent stands for the given top level.
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
        return ++numChildrenCalls, int(kids(parent).size());
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
    mutable int numChildrenCalls = 0, childCalls = 0;
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

struct PlainDump : public DumpObjectTreeDelegate
{
    using DumpObjectTreeDelegate::DumpObjectTreeDelegate;
};

// Runs \p body on a factory of its own and puts the process-wide one back afterwards.
template <class Body>
void withOwnFactory(Body body)
{
    DelegateFactory *saved = DelegateFactory::selfPtr;
    DelegateFactory::selfPtr = nullptr;
    DelegateFactory *own = DelegateFactory::self();
    EXPECT_NE(own, saved);
    body(own);
    delete own;
    EXPECT_EQ(DelegateFactory::selfPtr, nullptr);
    DelegateFactory::selfPtr = saved;
}

} // namespace

// Factory

TEST(DelegateFactory, TypesKeysAndOwnership)
{
    static_assert(Delegate::Hierarchy == 0 && Delegate::StaticProperty == 1 && Delegate::Serialize == 3
                      && Delegate::Conversion == 4 && Delegate::Comparison == 5 && Delegate::Cast == 6
                      && Delegate::WindowInteraction == 10,
                  "wrappers store these numbers");
    static_assert(ConversionDelegate::ConvertString == 1 && ConversionDelegate::ConvertInteger == 2
                      && ConversionDelegate::ConvertDouble == 4 && ConversionDelegate::ConvertBoolean == 8
                      && ConversionDelegate::ConvertInt64 == 16,
                  "wrappers store these bits");

    ChainClass *twiceClass = new ChainClass("DlgTest_Twice");
    DelegateFactory *global = DelegateFactory::self();
    CountedDelegate *inGlobal = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
    EXPECT_EQ(inGlobal->type(), Delegate::Serialize);
    EXPECT_EQ(global->delegate(QStringLiteral("DlgTest_Twice"), Delegate::Serialize), inGlobal);
    EXPECT_EQ(global->delegate(QStringLiteral("DlgTest_Twice"), Delegate::Hierarchy), nullptr);
    EXPECT_EQ(global->delegate(QStringLiteral("dlgtest_twice"), Delegate::Serialize), nullptr);
    EXPECT_EQ(global->delegate(static_cast<const Class *>(nullptr), Delegate::Serialize), nullptr);

    CountedDelegate::instances = 0;
    withOwnFactory([twiceClass](DelegateFactory *own) {
        CountedDelegate *first = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
        CountedDelegate *second = new CountedDelegate(QStringLiteral("DlgTest_Twice"));
        new CountedDelegate(QStringLiteral("DlgTest_Other"));
        EXPECT_EQ(own->delegate(twiceClass, Delegate::Serialize), second);
        EXPECT_EQ(CountedDelegate::instances, 3); // the displaced one lives on
        EXPECT_EQ(first->className(), QStringLiteral("DlgTest_Twice"));
    });
    EXPECT_EQ(CountedDelegate::instances, 0); // all deleted with their factory
    EXPECT_EQ(global->delegate(twiceClass, Delegate::Serialize), inGlobal);
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
    EXPECT_EQ(leaf->initSuperCalls, 1);
    CountedDelegate *forMid = new CountedDelegate(QStringLiteral("DlgTest_ChainMid"));
    EXPECT_EQ(f->delegate(leaf, Delegate::Serialize), forMid);
    EXPECT_EQ(f->delegate(base, Delegate::Serialize), forBase);
    EXPECT_EQ(f->delegate(leaf, Delegate::Comparison), nullptr);

    // A class whose link stays uninitialised ends the walk, and is asked to set it up on every walk.
    ChainClass *never = new ChainClass("DlgTest_NeverInit", base);
    never->neverSetsUp = true;
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
    withOwnFactory([](DelegateFactory *own) {
        CountedDelegate *b = new CountedDelegate(QStringLiteral("b"));
        CountedDelegate *a = new CountedDelegate(QStringLiteral("a"));
        CountedDelegate *upper = new CountedDelegate(QStringLiteral("Z"));
        PlainDump *dump = new PlainDump(QStringLiteral("a"));
        EXPECT_EQ(own->delegatesForType(Delegate::Serialize),
                  (std::vector<const Delegate *> { upper, a, b }));
        EXPECT_EQ(own->delegatesForType(Delegate::DumpObjectTree), (std::vector<const Delegate *> { dump }));
        EXPECT_TRUE(own->delegatesForType(Delegate::Hierarchy).empty());
    });
}

TEST(Delegate, SuperIsTheNearestAncestorsAndIsCached)
{
    ChainClass *base = new ChainClass("DlgTest_SuperBase");
    ChainClass *mid = new ChainClass("DlgTest_SuperMid", base);
    new ChainClass("DlgTest_SuperLeaf", mid);
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
    EXPECT_EQ((new CountedDelegate(QStringLiteral("DlgTest_SuperLeaf")))->super(), forMid);
    EXPECT_EQ((new CountedDelegate(QStringLiteral("DlgTest_NoSuchClass")))->super(), nullptr);
}

// Hierarchy defaults

TEST(ObjectHierarchyDelegate, ChildrenSkipsNullsAndQualifiedOverrideIsSeen)
{
    static std::vector<Node *> noTops;
    ChainClass *cls = new ChainClass("DlgTest_Kids");
    NodeHierarchy *h = new NodeHierarchy(QStringLiteral("DlgTest_Kids"), cls, &noTops);
    Node a { QStringLiteral("a"), {} };
    Node c { QStringLiteral("c"), {} };
    Node parent { QStringLiteral("p"), { &a, nullptr, &c } };
    Object::Ptr p(new Object(&parent, cls, ObjectAttribute()));
    const ObjectList kids = h->children(p);
    ASSERT_EQ(kids.size(), 2u);
    EXPECT_EQ(kids[0]->rawData(), &a);
    EXPECT_EQ(kids[1]->rawData(), &c);
    EXPECT_EQ(h->numChildrenCalls, 1);
    EXPECT_EQ(h->childCalls, 3);
    EXPECT_EQ(h->parent(Object::Ptr()), nullptr);
    EXPECT_EQ(h->objectByQualifiedName(Object::Ptr(), ObjectName()), nullptr);
}

// Top-level objects come from the Inspector's list, built on first use: keep this the only test that
// enumerates them.
TEST(ObjectHierarchyDelegate, ParentIsFoundDepthFirstFromTheTop)
{
    static Node x { QStringLiteral("x"), {} };
    static Node c { QStringLiteral("c"), { &x } };
    static Node a { QStringLiteral("a"), { &c } };
    static Node b { QStringLiteral("b"), { &x } };
    static Node t1 { QStringLiteral("t1"), { &a, &b } };
    static Node t2 { QStringLiteral("t2"), {} };
    static Node stray { QStringLiteral("stray"), {} };
    static std::vector<Node *> tops { &t1, &t2 };

    ChainClass *cls = new ChainClass("DlgTest_Node");
    new NodeHierarchy(QStringLiteral("Vexil::ToplevelQt"), cls, &tops);
    NodeHierarchy *h = new NodeHierarchy(QStringLiteral("DlgTest_Node"), cls, &tops);
    auto wrapNode = [cls](Node *n) { return Object::Ptr(new Object(n, cls, ObjectAttribute())); };
    auto parentData = [](const Object::Ptr &p) { return p ? p->rawData() : nullptr; };
    EXPECT_EQ(Inspector::self()->numObjects(), 2);
    EXPECT_EQ(h->parent(wrapNode(&t2)), nullptr); // top-level
    EXPECT_EQ(h->parent(wrapNode(&stray)), nullptr); // unreachable
    EXPECT_EQ(parentData(h->parent(wrapNode(&a))), &t1);
    EXPECT_EQ(parentData(wrapNode(&b)->parent()), &t1); // through the object, which asks its delegate
    // x hangs under c (depth 3) and under b (depth 2): pre-order finds c first.
    EXPECT_EQ(parentData(h->parent(wrapNode(&x))), &c);
}

// Geometry, dump and conversion defaults

TEST(GeometryDelegate, ConversionsBetweenCoordinateSystems)
{
    BoxGeometry *g = new BoxGeometry(QStringLiteral("DlgTest_Geometry"),
                                     Rect<GlobalCoordinates> { 10, 20, 100, 50, 3 });
    Object::Ptr o;
    const Rect<NativeCoordinates> n = g->nativeGlobalBounds(o);
    EXPECT_EQ(std::vector<int>({ n.x, n.y, n.width, n.height, n.screen }),
              std::vector<int>({ 10, 20, 100, 50, 3 }));
    const Point<RelativeCoordinates> r = g->globalToRelative(o, 15, 27);
    EXPECT_EQ(std::vector<int>({ r.valid, r.x, r.y, r.screen }), std::vector<int>({ 1, 5, 7, -1 }));
    const Point<GlobalCoordinates> gl = g->relativeToGlobal(o, 5, 7);
    EXPECT_EQ(std::vector<int>({ gl.valid, gl.x, gl.y, gl.screen }), std::vector<int>({ 1, 15, 27, -1 }));
    const Point<NativeCoordinates> nat = g->relativeToNative(o, 5, 7);
    EXPECT_EQ(std::vector<int>({ nat.valid, nat.x, nat.y, nat.screen }), std::vector<int>({ 1, 15, 27, -1 }));

    g->m_box = Rect<GlobalCoordinates> { 10, 20, -1, 50, 0 };
    const Point<RelativeCoordinates> bad = g->globalToRelative(o, 15, 27);
    EXPECT_EQ(std::vector<int>({ bad.valid, bad.x, bad.y, bad.screen }), std::vector<int>({ 0, 0, 0, -1 }));
    g->m_box = Rect<GlobalCoordinates> { 10, 20, 5, -1, 0 };
    EXPECT_FALSE(g->relativeToGlobal(o, 1, 1).valid);
    EXPECT_FALSE(g->relativeToNative(o, 1, 1).valid);
    g->m_box = Rect<GlobalCoordinates> { 10, 20, 0, 0, 0 }; // empty but not negative: still valid
    EXPECT_TRUE(g->globalToRelative(o, 1, 1).valid);
}

TEST(DelegateDefaults, DumpAndConversion)
{
    PlainDump *d = new PlainDump(QStringLiteral("DlgTest_Dump"));
    EXPECT_EQ(d->type(), Delegate::DumpObjectTree);
    const std::map<std::string, DumpFilter *> filters;
    QString error, type;
    Object::Ptr o;
    ObjectList list;
    Rect<GlobalCoordinates> r {};
    EXPECT_TRUE(d->enterDump(o, filters, &error) && d->leaveDump(&error));
    EXPECT_FALSE(d->dumpObject(o, true, nullptr, filters, &error) || d->takeScreenshot(o, nullptr)
                 || d->setProperty(nullptr, o, nullptr, 0) || d->children(o, &list)
                 || d->visibleGlobalBounds(o, &r) || d->isTransparent(o) || d->simplifiedType(o, &type));

    struct MaskConversion : public ConversionDelegate
    {
        using ConversionDelegate::ConversionDelegate;
        ConvertFlags supportedConversions(ConvertFlags wanted) const override
        {
            return (ConvertString | ConvertDouble) & wanted;
        }
        long long toInt64(Object::Ptr) const override { return 0; }
        void fromInt64(long long, Object::Ptr) const override { }
    };
    MaskConversion *c = new MaskConversion(QStringLiteral("DlgTest_Conv"));
    EXPECT_TRUE(c->toString(o).isNull());
    EXPECT_EQ(c->toInteger(o), 0);
    EXPECT_EQ(c->toDouble(o), 0.0);
    EXPECT_FALSE(c->toBoolean(o));
    EXPECT_TRUE(supportsConversion(c, ConversionDelegate::ConvertString | ConversionDelegate::ConvertDouble));
    EXPECT_FALSE(
        supportsConversion(c, ConversionDelegate::ConvertString | ConversionDelegate::ConvertInteger));
    EXPECT_FALSE(supportsConversion(nullptr, ConversionDelegate::ConvertString));
}

// Static properties from text

TEST(GenericStaticPropertyDelegate, DeclarationsFromText)
{
    ChainClass *cls = new ChainClass("DlgTest_Props");
    auto *d = new GenericStaticPropertyDelegate(
        QStringLiteral("DlgTest_Props"),
        QStringList { QStringLiteral("int,count,getCount,setCount,1,0"),
                      QStringLiteral(",,char,,title,title,setTitle,0,1,extra") }); // empty fields dropped
    EXPECT_EQ(d->type(), Delegate::StaticProperty);
    EXPECT_EQ(DelegateFactory::self()->delegate(QStringLiteral("DlgTest_Props"), Delegate::StaticProperty),
              d);
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
    EXPECT_EQ(d->propertyDeclaration(2), nullptr);
    EXPECT_EQ(cls->numProperties(), 2);
    EXPECT_EQ(cls->property(1)->name(), QStringLiteral("title"));
}

TEST(GenericStaticPropertyDelegateDeathTest, ShortDeclarationIsFatal)
{
    new ChainClass("DlgDeath_Props");
    EXPECT_DEATH(new GenericStaticPropertyDelegate(QStringLiteral("DlgDeath_Props"),
                                                   QStringList { QStringLiteral("int,a,,getA,setA,1") }),
                 "index out of range");
}
