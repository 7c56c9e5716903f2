// tst_class.cpp: classes (lazy superclass, global member numbering, lookups, interfaces) and namespaces.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"

#include <vector>

using namespace Vexil;
using PlainClass = VexilTest::ChainClass;

namespace {

// A class with declared member counts that records every factory call and makes real descriptors.
class MemberClass : public PlainClass
{
public:
    MemberClass(const char *name, const Class *super, int methods, int enums = -1, int events = -1,
                int properties = -1, int constructors = -1)
        : PlainClass(name, super)
    {
        setNumMethods(methods);
        setNumEnums(enums);
        setNumEvents(events);
        setNumProperties(properties);
        setNumConstructors(constructors);
    }
    Method *createMethod(int index) const override
    {
        methodCalls.push_back(index);
        // Two overloads named "shared" along the chain; the others carry their index.
        const QString name = index == 0 || index == 3 ? QStringLiteral("shared")
                                                      : QStringLiteral("m%1").arg(index);
        return nullMethods ? nullptr : new Method(this, Argument(), name, Signature(), false, index);
    }
    Enum *createEnum(int index) const override
    {
        return enumCalls.push_back(index), new Enum(this, QStringLiteral("E%1").arg(index));
    }
    Event *createEvent(int index) const override
    {
        return eventCalls.push_back(index), new Event(this, QStringLiteral("ev%1").arg(index), Signature());
    }
    Property *createProperty(int index) const override
    {
        propertyCalls.push_back(index);
        auto *decl = new PropertyDeclaration(this, Argument(this), QStringLiteral("p%1").arg(index),
                                             PropertyDeclaration::Readable);
        return new Property(decl, this, index, true);
    }
    Constructor *createConstructor(int index) const override
    {
        return constructorCalls.push_back(index), new Constructor(this, Signature(), index);
    }

    bool nullMethods = false;
    mutable std::vector<int> methodCalls, enumCalls, eventCalls, propertyCalls, constructorCalls;
};

// A wrapper class written the way wrapper authors are told to: a non-const initSuperClass() naming the base.
class DocumentedWrapper : public Class
{
public:
    DocumentedWrapper(const char *name, const Class *base, int methods)
        : Class(name, true)
        , m_base(base)
    {
        setNumMethods(methods);
    }
    void initSuperClass() override { setSuperClass(m_base); }
    Method *createMethod(int index) const override
    {
        return new Method(this, Argument(), QStringLiteral("%1_%2").arg(QLatin1String(name())).arg(index),
                          Signature(), false, index);
    }

private:
    const Class *m_base;
};

class NamedSerializer : public SerializeDelegate
{
public:
    explicit NamedSerializer(const QString &cls)
        : SerializeDelegate(cls)
    {
    }
    QString toDebugString(Object::Ptr) const override
    {
        return QStringLiteral("serialized as ") + className();
    }
};

int dummy[4];

} // namespace

TEST(Class, RegistrationIdsAndDefaults)
{
    Inspector *insp = Inspector::self();
    const int before = insp->numClasses();
    PlainClass *c = new PlainClass("ClsTest_Registered");
    EXPECT_EQ(c->classId(), before);
    EXPECT_EQ(insp->type(QStringLiteral("ClsTest_Registered")), c);
    EXPECT_STREQ(c->name(), "ClsTest_Registered");
    EXPECT_EQ(insp->globalNamespace()->getClass(QStringLiteral("ClsTest_Registered")), c);
    Class *byName = new Class("ClsTest_GlobalByName", true);
    EXPECT_EQ(byName->nameSpace(), insp->globalNamespace());
    EXPECT_EQ(byName->classId(), before + 1);

    Class unregistered("ClsTest_Unregistered", false);
    EXPECT_EQ(unregistered.classId(), -1);
    EXPECT_EQ(unregistered.nameSpace(), insp->globalNamespace());
    EXPECT_EQ(insp->type(QStringLiteral("ClsTest_Unregistered")), nullptr);
    EXPECT_EQ(insp->globalNamespace()->getClass(QStringLiteral("ClsTest_Unregistered")), nullptr);
    EXPECT_EQ(insp->numClasses(), before + 2);

    Object::Ptr n = c->createNull();
    ASSERT_TRUE(n);
    EXPECT_TRUE(n->isNull());
    EXPECT_EQ(n->objectClass(), c);
    EXPECT_EQ(n->objectAttribute(), ObjectAttribute(ObjectAttribute::Pointer, 0));
    Object::Ptr w = c->wrap(dummy, ObjectAttribute(5, 1));
    EXPECT_EQ(w->objectClass(), c);
    EXPECT_EQ(w->objectAttribute(), ObjectAttribute(5, 1));
}

TEST(Class, LazySuperclassAndInheritanceDepth)
{
    PlainClass *root = new PlainClass("ClsTest_Root");
    EXPECT_EQ(root->superClass(), nullptr);
    EXPECT_EQ(root->inheritanceDepth(root), 0);
    EXPECT_EQ(root->inheritanceDepth(nullptr), -1);
    EXPECT_FALSE(root->isSubClassOf(nullptr));
    // A class that keeps the base initSuperClass is a root.
    Class *base = new Class("ClsTest_BaseInit", true);
    EXPECT_EQ(base->superClass(), nullptr);
    EXPECT_EQ(base->inheritanceDepth(root), -1);
    EXPECT_FALSE(root->isSubClassOf(base));

    MemberClass *mid = new MemberClass("ClsTest_Mid", root, -1);
    MemberClass *leaf = new MemberClass("ClsTest_Leaf", mid, -1);
    EXPECT_EQ(leaf->initSuperCalls, 0);
    EXPECT_EQ(leaf->inheritanceDepth(mid), 1);
    EXPECT_EQ(leaf->inheritanceDepth(root), 2);
    EXPECT_EQ(root->inheritanceDepth(leaf), -1);
    EXPECT_TRUE(leaf->isSubClassOf(root));
    EXPECT_EQ(leaf->superClass(), mid);
    EXPECT_EQ(leaf->initSuperCalls, 1); // set up once, on first need
}

TEST(Class, WrapperOverridingNonConstInitSuperClassFormsItsChain)
{
    DocumentedWrapper *base = new DocumentedWrapper("ClsTest_DocBase", nullptr, 2);
    DocumentedWrapper *derived = new DocumentedWrapper("ClsTest_DocDerived", base, 1);
    new NamedSerializer(QStringLiteral("ClsTest_DocBase"));
    Object::Ptr obj(new Object(dummy, derived, ObjectAttribute(ObjectAttribute::Pointer, 0)));

    EXPECT_TRUE(obj->isA(base));
    EXPECT_EQ(derived->inheritanceDepth(base), 1);

    ASSERT_TRUE(obj->serializeDelegate());
    EXPECT_EQ(obj->toDebugString(), QStringLiteral("serialized as ClsTest_DocBase"));

    ASSERT_EQ(derived->numMethods(), 3);
    ASSERT_TRUE(derived->method(1));
    EXPECT_EQ(derived->method(1)->name(), QStringLiteral("ClsTest_DocBase_1"));
    ASSERT_TRUE(derived->method(2));
    EXPECT_EQ(derived->method(2)->name(), QStringLiteral("ClsTest_DocDerived_2"));

    Object::Ptr up = obj->castTo(base);
    EXPECT_EQ(up->objectClass(), base);
    EXPECT_EQ(up->castTo(derived)->objectClass(), derived);
}

// Member numbering

TEST(ClassMembers, MethodsAreNumberedAlongTheChain)
{
    MemberClass *base = new MemberClass("ClsTest_MethodsBase", nullptr, 3);
    MemberClass *sub = new MemberClass("ClsTest_MethodsSub", base, 2);
    EXPECT_EQ(sub->numMethods(), 5);
    EXPECT_EQ(sub->superClassOffset(Class::MethodOffset), 3);
    EXPECT_EQ(base->superClassOffset(Class::MethodOffset), 0);

    const Method *m1 = sub->method(1);
    ASSERT_NE(m1, nullptr);
    EXPECT_EQ(m1->ownerClass(), base);
    EXPECT_EQ(m1->name(), QStringLiteral("m1"));
    EXPECT_EQ(sub->method(4)->ownerClass(), sub);
    EXPECT_EQ(sub->methodCalls, (std::vector<int> { 3, 4 })); // the factory gets the global index
    EXPECT_EQ(base->methodCalls, (std::vector<int> { 0, 1, 2 }));
    sub->method(3);
    base->method(0);
    EXPECT_EQ(sub->methodCalls.size() + base->methodCalls.size(), 5u); // tables are built once

    // Overloads: own class first, then the ancestors.
    const MethodList shared = sub->methods(QStringLiteral("shared"));
    ASSERT_EQ(shared.size(), 2u);
    EXPECT_EQ(shared[0]->ownerClass(), sub);
    EXPECT_EQ(shared[1]->ownerClass(), base);
    EXPECT_TRUE(sub->methods(QStringLiteral("none")).empty());

    MemberClass *nulls = new MemberClass("ClsTest_NullMethods", nullptr, 2);
    nulls->nullMethods = true;
    EXPECT_EQ(nulls->method(1), nullptr);
    EXPECT_EQ(nulls->methodCalls, (std::vector<int> { 0, 1 }));

    MemberClass *none = new MemberClass("ClsTest_NoMembers", nullptr, -1, 0, -1, 0, 0);
    EXPECT_EQ(none->numMethods() + none->numEnums() + none->numProperties() + none->numConstructors(), 0);
    EXPECT_EQ(none->method(0), nullptr);
    EXPECT_EQ(none->enumerator(0), nullptr);
    EXPECT_EQ(none->constructor(0), nullptr);
    EXPECT_TRUE(none->methodCalls.empty() && none->enumCalls.empty() && none->constructorCalls.empty());
}

TEST(ClassMembers, EnumsEventsAndConstructors)
{
    MemberClass *base = new MemberClass("ClsTest_KindsBase", nullptr, -1, 2, 1, -1, 2);
    MemberClass *sub = new MemberClass("ClsTest_KindsSub", base, -1, 1, 2, -1, 1);
    EXPECT_EQ(sub->numEnums(), 3);
    EXPECT_EQ(sub->numEvents(), 3);
    EXPECT_EQ(sub->numConstructors(), 1); // constructors are not inherited
    EXPECT_EQ(sub->superClassOffset(Class::EnumOffset), 2);
    EXPECT_EQ(sub->superClassOffset(Class::EventOffset), 1);
    EXPECT_EQ(sub->superClassOffset(Class::ConstructorOffset), 0);

    const Enum *e2 = sub->enumerator(2);
    ASSERT_NE(e2, nullptr);
    EXPECT_EQ(e2->ownerClass(), sub);
    EXPECT_EQ(sub->enumCalls, (std::vector<int> { 2 }));
    EXPECT_EQ(sub->enumerator(0)->ownerClass(), base);
    EXPECT_EQ(sub->enumerator(QStringLiteral("E1")), base->enumerator(1));
    EXPECT_EQ(sub->enumerator(QStringLiteral("nope")), nullptr);

    EXPECT_EQ(sub->event(0)->ownerClass(), base);
    EXPECT_EQ(sub->event(2)->ownerClass(), sub);
    EXPECT_EQ(sub->eventCalls, (std::vector<int> { 1, 2 }));
    EXPECT_EQ(sub->event(QStringLiteral("ev0")), base->event(0));
    EXPECT_EQ(sub->event(QStringLiteral("ev9")), nullptr);

    EXPECT_EQ(sub->constructor(0)->ownerClass(), sub);
    EXPECT_EQ(sub->constructorCalls, (std::vector<int> { 0 }));
    EXPECT_EQ(base->constructor(1)->ownerClass(), base);
    EXPECT_EQ(base->constructorCalls, (std::vector<int> { 0, 1 }));
}

TEST(ClassMembers, PropertiesCountDelegateAddedOnesOfAncestorsOnce)
{
    MemberClass *base = new MemberClass("ClsTest_PropBase", nullptr, -1, -1, -1, 1);
    Inspector::self()->addPropertyDelegate(QStringLiteral("ClsTest_PropBase"),
                                           QStringList { QStringLiteral("int,extraOne,getOne,setOne,0,1"),
                                                         QStringLiteral("int,extraTwo,getTwo,x,1,0") });
    MemberClass *sub = new MemberClass("ClsTest_PropSub", base, -1, -1, -1, 2);
    EXPECT_EQ(base->numProperties(), 3);
    EXPECT_EQ(sub->superClassOffset(Class::PropertyOffset), 3);
    EXPECT_EQ(sub->numProperties(), 5); // the base's delegate is not counted a second time

    EXPECT_EQ(sub->property(4)->name(), QStringLiteral("p4"));
    EXPECT_EQ(sub->propertyCalls, (std::vector<int> { 3, 4 }));
    EXPECT_EQ(sub->property(0)->name(), QStringLiteral("p0"));
    const Property *extra = sub->property(2);
    ASSERT_NE(extra, nullptr);
    EXPECT_EQ(extra->name(), QStringLiteral("extraTwo"));
    EXPECT_TRUE(extra->isStatic());
    EXPECT_FALSE(extra->stored());
    EXPECT_EQ(sub->property(5), nullptr);
    EXPECT_EQ(sub->property(QStringLiteral("extraOne")), base->property(1));
    EXPECT_EQ(sub->property(QStringLiteral("p3")), sub->property(3));
    EXPECT_EQ(sub->property(QStringLiteral("missing")), nullptr);

    // The delegate's count is asked once: one registered after the first count is not seen.
    MemberClass *early = new MemberClass("ClsTest_PropEarly", nullptr, -1, -1, -1, 1);
    EXPECT_EQ(early->numProperties(), 1);
    Inspector::self()->addPropertyDelegate(QStringLiteral("ClsTest_PropEarly"),
                                           QStringList { QStringLiteral("int,late,getLate,setLate,0,0") });
    EXPECT_EQ(early->numProperties(), 1);

    // An unknown class gets no delegate.
    Inspector::self()->addPropertyDelegate(QStringLiteral("ClsTest_NoSuchClass"),
                                           QStringList { QStringLiteral("int,a,b,c,0,0") });
    EXPECT_EQ(DelegateFactory::self()->delegate(QStringLiteral("ClsTest_NoSuchClass"),
                                                Delegate::StaticProperty),
              nullptr);
}

TEST(ClassMembers, LateAddedMethods)
{
    MemberClass *built = new MemberClass("ClsTest_LateBuilt", nullptr, 1);
    ASSERT_NE(built->method(0), nullptr);
    Method *late = new Method(built, Argument(), QStringLiteral("late"), Signature(), false, 1);
    built->lateAddMethod(late);
    EXPECT_EQ(built->numMethods(), 2);
    EXPECT_EQ(built->method(1), late);
    EXPECT_EQ(built->methods(QStringLiteral("late")).size(), 1u);
    EXPECT_EQ(built->methodCalls, (std::vector<int> { 0 }));

    // Before the table exists only the count grows; the factory is asked for the new place later.
    MemberClass *unbuilt = new MemberClass("ClsTest_LateUnbuilt", nullptr, 1);
    Method *pending = new Method(unbuilt, Argument(), QStringLiteral("pending"), Signature(), false, 1);
    unbuilt->lateAddMethod(pending);
    EXPECT_EQ(unbuilt->numMethods(), 2);
    ASSERT_NE(unbuilt->method(1), nullptr);
    EXPECT_EQ(unbuilt->methodCalls, (std::vector<int> { 0, 1 }));
    delete pending;

    // A count of 0 leaves the table empty and is asked again: the late method joins on the next access.
    MemberClass *empty = new MemberClass("ClsTest_LateEmpty", nullptr, 0);
    EXPECT_EQ(empty->method(0), nullptr);
    empty->lateAddMethod(nullptr);
    EXPECT_EQ(empty->numMethods(), 1);
    EXPECT_NE(empty->method(0), nullptr);
    EXPECT_EQ(empty->methodCalls, (std::vector<int> { 0 }));
}

// Names and namespaces

TEST(Namespace, FullyQualifiedNamesAndLookups)
{
    Inspector *insp = Inspector::self();
    Namespace *global = insp->globalNamespace();
    ASSERT_NE(global, nullptr);
    EXPECT_TRUE(global->name().isEmpty());
    EXPECT_EQ(global->namespaceId(), 0);

    Namespace *outer = new Namespace(global, QStringLiteral("NsTestOuter"));
    Namespace *inner = new Namespace(outer, QStringLiteral("Inner"));
    EXPECT_EQ(insp->nameSpace(outer->namespaceId()), outer);
    EXPECT_EQ(inner->namespaceId(), outer->namespaceId() + 1);
    EXPECT_EQ(outer->fullyQualifiedName(), QStringLiteral("NsTestOuter"));
    EXPECT_EQ(inner->fullyQualifiedName(), QStringLiteral("NsTestOuter::Inner"));

    PlainClass *top = new PlainClass("NsTest_Top");
    PlainClass *a = new PlainClass("NsTest_A", nullptr, outer);
    PlainClass *b = new PlainClass("NsTest_B", nullptr, inner);
    EXPECT_EQ(top->fullyQualifiedClassName(), QStringLiteral("NsTest_Top"));
    EXPECT_EQ(a->fullyQualifiedClassName(), QStringLiteral("NsTestOuter::NsTest_A"));
    EXPECT_EQ(b->fullyQualifiedClassName(), QStringLiteral("NsTestOuter::Inner::NsTest_B"));
    EXPECT_EQ(insp->type(QStringLiteral("NsTest_B")), b); // the Inspector keys by short name

    EXPECT_TRUE(outer->containsIdentifier(QStringLiteral("Inner")));
    EXPECT_TRUE(outer->containsIdentifier(QStringLiteral("NsTest_A")));
    EXPECT_FALSE(outer->containsIdentifier(QStringLiteral("NsTest_B")));
    EXPECT_EQ(outer->getNamespace(QStringLiteral("Nope")), nullptr);
    EXPECT_EQ(outer->getClass(QStringLiteral("Nope")), nullptr);
    EXPECT_EQ(outer->getNamespace(5), nullptr);

    Namespace root; // unnamed, no parent, not registered
    EXPECT_TRUE(root.name().isEmpty());
    EXPECT_EQ(root.parent(), nullptr);
    EXPECT_EQ(root.namespaceId(), -1);
}

TEST(Namespace, DuplicatesReplaceByNameButKeepOrder)
{
    Namespace *ns = new Namespace(Inspector::self()->globalNamespace(), QStringLiteral("NsTestDup"));
    PlainClass *first = new PlainClass("NsTest_Same", nullptr, ns);
    PlainClass *second = new PlainClass("NsTest_Same", nullptr, ns);
    EXPECT_EQ(ns->getClass(QStringLiteral("NsTest_Same")), second);
    EXPECT_EQ(Inspector::self()->type(first->classId()), first);
    EXPECT_EQ(Inspector::self()->type(QStringLiteral("NsTest_Same")), second);

    Namespace *c1 = new Namespace(ns, QStringLiteral("Child"));
    Namespace *c2 = new Namespace(ns, QStringLiteral("Child"));
    ASSERT_EQ(ns->numNamespaces(), 2);
    EXPECT_EQ(ns->getNamespace(0), c1);
    EXPECT_EQ(ns->getNamespace(1), c2);
    EXPECT_EQ(ns->getNamespace(QStringLiteral("Child")), c2);
}

// Interfaces

TEST(ClassInterfaces, LookupAlongChainAndConversion)
{
    PlainClass *base = new PlainClass("IfTest_Base");
    PlainClass *sub = new PlainClass("IfTest_Sub", base);
    PlainClass *other = new PlainClass("IfTest_Other");
    Interface *iface = new Interface("IfTest_Printable");
    Interface *iface2 = new Interface("IfTest_Sortable");
    base->addInterface(iface);
    sub->addInterface(iface2);
    EXPECT_EQ(sub->interfaceClass(QStringLiteral("IfTest_Printable")), iface);
    EXPECT_EQ(sub->interfaceClass(QStringLiteral("IfTest_Sortable")), iface2);
    EXPECT_EQ(base->interfaceClass(QStringLiteral("IfTest_Sortable")), nullptr);

    Object::Ptr o(new Object(dummy, sub, ObjectAttribute(ObjectAttribute::Pointer, 2)));
    Object::Ptr seen = sub->convertToInterface(o, QStringLiteral("IfTest_Printable"));
    ASSERT_TRUE(seen);
    EXPECT_NE(seen.get(), o.get());
    EXPECT_EQ(seen->objectClass(), iface);
    EXPECT_EQ(seen->rawData(), dummy);
    EXPECT_EQ(seen->objectAttribute(), ObjectAttribute(ObjectAttribute::Pointer, 2));

    EXPECT_EQ(sub->convertToInterface(o, QStringLiteral("IfTest_Unknown")), nullptr);
    EXPECT_EQ(other->convertToInterface(o, QStringLiteral("IfTest_Printable")), nullptr);
    EXPECT_EQ(sub->convertToInterface(Object::Ptr(), QStringLiteral("IfTest_Printable")), nullptr);
    // The object must be of the asking class: a base object is not seen through the sub's interface.
    Object::Ptr baseObj(new Object(dummy, base, ObjectAttribute()));
    EXPECT_EQ(sub->convertToInterface(baseObj, QStringLiteral("IfTest_Sortable")), nullptr);
    EXPECT_TRUE(base->convertToInterface(o, QStringLiteral("IfTest_Printable")));
}

TEST(ClassInterfacesDeathTest, DuplicateInterfaceIsFatal)
{
    PlainClass *base = new PlainClass("IfDeath_Base");
    PlainClass *sub = new PlainClass("IfDeath_Sub", base);
    Interface *again = new Interface("IfDeath_Iface");
    base->addInterface(new Interface("IfDeath_Iface"));
    EXPECT_DEATH(base->addInterface(again),
                 "Cannot add duplicate Interface IfDeath_Iface to Class IfDeath_Base");
    // Already present on an ancestor counts as a duplicate too.
    EXPECT_DEATH(sub->addInterface(again),
                 "Cannot add duplicate Interface IfDeath_Iface to Class IfDeath_Sub");
    delete again;
}
