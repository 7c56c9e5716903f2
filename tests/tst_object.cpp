// tst_object.cpp: counted pointers, object lists, objects: delegates, conversions, references, casts, death.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "primitives.h"

#include <stdexcept>
#include <vector>

using namespace Vexil;
using VexilTest::CountedObject;
using VexilTest::makeObject;

namespace {

// Live-instance counters: leaks and double deletes both show.
struct Counted : public Shared
{
    static int instances;
    Counted() { ++instances; }
    virtual ~Counted() { --instances; }
};
int Counted::instances = 0;

struct CountedAux : public ObjectAuxData
{
    static int instances;
    CountedAux() { ++instances; }
    ~CountedAux() override { --instances; }
};
int CountedAux::instances = 0;

// A registered class with a chosen superclass that records what the object model asks of it.
class TestClass : public VexilTest::ChainClass
{
public:
    using ChainClass::ChainClass;
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override
    {
        ++wrapCalls;
        return Object::Ptr(new Object(data, this, attr));
    }
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override
    {
        freed.push_back(data);
        freedFlags.push_back(attr.flags);
    }
    bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                      void **conv) const override
    {
        askedTarget = target;
        askedSourcePointer = sourceIsPointer;
        askedTargetPointer = targetIsPointer;
        askedConverter = conv;
        return convertsTo && target == convertsTo;
    }
    Object::Ptr convertTo(Object::Ptr, const Class *target, bool) const override
    {
        return target == convertsTo ? converted : Object::Ptr();
    }

    mutable int wrapCalls = 0;
    mutable std::vector<void *> freed;
    mutable std::vector<unsigned int> freedFlags;
    mutable const Class *askedTarget = nullptr;
    mutable bool askedSourcePointer = false, askedTargetPointer = false;
    mutable void **askedConverter = reinterpret_cast<void **>(1);
    const Class *convertsTo = nullptr;
    Object::Ptr converted;
};

class FixedHierarchy : public ObjectHierarchyDelegate
{
public:
    FixedHierarchy(const QString &cls, const QString &answer, int kids = 0)
        : ObjectHierarchyDelegate(cls)
        , m_answer(answer)
        , m_kids(kids)
    {
    }
    int numChildren(Object::Ptr) const override { return m_kids; }
    Object::Ptr child(Object::Ptr, int) const override { return child0; }
    Object::Ptr childByName(Object::Ptr, const QString &) const override { return ++byNameCalls, child0; }
    QString name(Object::Ptr) const override { return m_answer; }
    QString qualifiedName(Object::Ptr) const override { return m_answer + QStringLiteral("-q"); }
    int wrapperType(Object::Ptr) const override { return 42; }

    Object::Ptr child0;
    mutable int byNameCalls = 0;

private:
    QString m_answer;
    int m_kids;
};

class TestConversion : public ConversionDelegate
{
public:
    TestConversion(const QString &cls, ConvertFlags supported)
        : ConversionDelegate(cls)
        , m_supported(supported)
    {
    }
    ConvertFlags supportedConversions(ConvertFlags) const override { return m_supported; }
    QString toString(Object::Ptr) const override { return QStringLiteral("text"); }
    int toInteger(Object::Ptr) const override { return 7; }
    long long toInt64(Object::Ptr) const override { return 1LL << 40; }
    double toDouble(Object::Ptr) const override { return 2.5; }
    void fromInt64(long long v, Object::Ptr) const override { lastInt64 = v; }
    void fromString(const QString &v, Object::Ptr) const override { lastString = v; }
    void fromInteger(int v, Object::Ptr o) const override
    {
        lastInt = v;
        lastTarget = o.get();
    }

    mutable long long lastInt64 = 0;
    mutable QString lastString;
    mutable int lastInt = 0;
    mutable Object *lastTarget = nullptr;

private:
    ConvertFlags m_supported;
};

int dummy[8];

} // namespace

TEST(SharedPtr, CountingAssignmentAndNullness)
{
    Counted::instances = 0;
    {
        SharedPtr<Counted> a(new Counted);
        SharedPtr<Counted> b(a);
        SharedPtr<Counted> c;
        c = b;
        EXPECT_EQ(a->refCount(), 3u);
        b = SharedPtr<Counted>();
        c = SharedPtr<Counted>();
        SharedPtr<Counted> &alias = a;
        a = alias; // self-assignment must not release the only reference
        EXPECT_EQ(a->refCount(), 1u);
        a = SharedPtr<Counted>(new Counted); // replaces: the old one goes
        EXPECT_EQ(Counted::instances, 1);
    }
    EXPECT_EQ(Counted::instances, 0);

    // The old pointee holds the only reference to the new one: releasing it first would free the new one.
    struct Holder : public Counted
    {
        SharedPtr<Counted> inner;
    };
    SharedPtr<Counted> p(new Holder);
    static_cast<Holder *>(p.get())->inner = SharedPtr<Counted>(new Counted);
    p = static_cast<Holder *>(p.get())->inner;
    EXPECT_EQ(Counted::instances, 1);
    EXPECT_EQ(p->refCount(), 1u);
    p = SharedPtr<Counted>();
    EXPECT_EQ(Counted::instances, 0);

    // A null pointer and a null object are different things.
    Object::Ptr none;
    EXPECT_FALSE(none);
    EXPECT_TRUE(nullptr == none);
    Object::Ptr nullObject = makeObject(nullptr, nullptr);
    EXPECT_TRUE(nullObject != nullptr);
    EXPECT_TRUE(nullObject->isNull());
}

TEST(ObjectList, AtThrowsWithRangeMessageOperatorDoesNotCheck)
{
    ObjectList list { makeObject(dummy, nullptr), Object::Ptr() };
    const ObjectList &constList = list;
    auto message = [](auto call) {
        try {
            call();
        } catch (const std::out_of_range &e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    EXPECT_EQ(message([&] { list.at(1); }), "no exception");
    EXPECT_EQ(message([&] { list.at(2); }),
              "vector::_M_range_check: __n (which is 2) >= this->size() (which is 2)");
    EXPECT_EQ(message([&] { constList.at(7); }),
              "vector::_M_range_check: __n (which is 7) >= this->size() (which is 2)");
    EXPECT_EQ(message([] { ObjectList().at(0); }),
              "vector::_M_range_check: __n (which is 0) >= this->size() (which is 0)");
    EXPECT_EQ(list[1], nullptr);
}

TEST(ObjectList, CopyEraseAndClearAdjustCounts)
{
    CountedObject::instances = 0;
    {
        ObjectList list;
        for (int i = 0; i < 3; ++i)
            list.push_back(Object::Ptr(new CountedObject(nullptr, dummy + i)));
        Object *middle = list[1].get();
        Object *last = list[2].get();
        {
            ObjectList copy(list);
            ObjectList assigned;
            assigned = copy;
            EXPECT_EQ(middle->refCount(), 3u);
        }
        EXPECT_EQ(middle->refCount(), 1u);
        list.erase(list.begin() + 1);
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[1].get(), last);
        EXPECT_EQ(last->refCount(), 1u);
        list.pop_back();
        EXPECT_EQ(CountedObject::instances, 1);
        list.clear();
        EXPECT_EQ(CountedObject::instances, 0);
        list.push_back(Object::Ptr(new CountedObject(nullptr, dummy)));
    }
    EXPECT_EQ(CountedObject::instances, 0);
}

// Must be the first test to give out indexes.
TEST(Object, IndexStartsAtOneAndIsUnique)
{
    Object::Ptr a = makeObject(dummy, nullptr);
    Object::Ptr b = makeObject(dummy, nullptr);
    EXPECT_EQ(a->index(), ~0u);
    a->generateIndex();
    a->generateIndex();
    b->generateIndex();
    EXPECT_EQ(a->index(), 1u);
    EXPECT_EQ(b->index(), 2u);
}

TEST(Object, StateOwnedDataAndAuxRecord)
{
    TestClass *cls = new TestClass("ObjTest_Owned");
    CountedAux::instances = 0;
    {
        Object::Ptr o = makeObject(dummy, cls, 2, 1);
        EXPECT_FALSE(o->isNull() || o->isInvalidated() || o->ownsData);
        EXPECT_EQ(o->className(), QStringLiteral("ObjTest_Owned"));
        void *out = nullptr;
        o->get(&out);
        EXPECT_EQ(out, dummy);

        o->ownsData = true;
        o->setAuxData(new CountedAux);
        o->put(dummy + 1);
        EXPECT_EQ(CountedAux::instances, 0);
        EXPECT_EQ(o->auxData(), nullptr);
        ASSERT_EQ(cls->freed.size(), 1u);
        EXPECT_EQ(cls->freed[0], dummy);
        EXPECT_EQ(cls->freedFlags[0], 2u);
        EXPECT_TRUE(o->ownsData);
        EXPECT_EQ(o->rawData(), dummy + 1);
        o->setAuxData(new CountedAux);
    }
    EXPECT_EQ(CountedAux::instances, 0);
    ASSERT_EQ(cls->freed.size(), 2u);
    EXPECT_EQ(cls->freed[1], dummy + 1);

    // Without ownsData nothing is freed, by put or by the destructor.
    makeObject(dummy, cls)->put(dummy + 2);
    EXPECT_EQ(cls->freed.size(), 2u);
}

TEST(Object, IsAWalksLazySuperclassChain)
{
    TestClass *base = new TestClass("ObjTest_IsABase");
    TestClass *mid = new TestClass("ObjTest_IsAMid", base);
    TestClass *leaf = new TestClass("ObjTest_IsALeaf", mid);
    TestClass *other = new TestClass("ObjTest_IsAOther");
    Object::Ptr o = makeObject(dummy, leaf);
    EXPECT_EQ(leaf->initSuperCalls, 0);
    EXPECT_TRUE(o->isA(base));
    EXPECT_TRUE(o->isA(leaf));
    EXPECT_FALSE(o->isA(other));
    EXPECT_FALSE(o->isA(nullptr));
    EXPECT_EQ(leaf->initSuperCalls, 1); // set up once
    EXPECT_EQ(mid->initSuperCalls, 1);
    EXPECT_FALSE(makeObject(dummy, base)->isA(leaf));
}

// Hierarchy

TEST(ObjectHierarchy, FixedAnswersOrTheDelegatesAlongTheChain)
{
    TestClass *none = new TestClass("ObjTest_NoDelegate");
    Object::Ptr o = makeObject(dummy, none);
    EXPECT_EQ(o->numChildren(), 0);
    EXPECT_EQ(o->child(0), nullptr);
    EXPECT_EQ(o->childByName(QStringLiteral("x")), nullptr);
    EXPECT_TRUE(o->children().empty());
    EXPECT_EQ(o->parent(), nullptr);
    EXPECT_EQ(o->name(), QStringLiteral("unnamed"));
    EXPECT_EQ(o->qualifiedName(), QStringLiteral("unnamed"));
    EXPECT_EQ(o->wrapperType(), 0);

    TestClass *cls = new TestClass("ObjTest_Delegated");
    TestClass *sub = new TestClass("ObjTest_DelegatedSub", cls);
    FixedHierarchy *h = new FixedHierarchy(QStringLiteral("ObjTest_Delegated"), QStringLiteral("answer"), 0);
    h->child0 = makeObject(dummy + 3, cls);
    Object::Ptr s = makeObject(dummy, sub);
    EXPECT_EQ(s->name(), QStringLiteral("answer"));
    EXPECT_EQ(s->qualifiedName(), QStringLiteral("answer-q"));
    EXPECT_EQ(s->wrapperType(), 42);
    EXPECT_EQ(s->child(0), h->child0);
    EXPECT_EQ(s->childByName(QStringLiteral("x")), nullptr);
    EXPECT_EQ(h->byNameCalls, 0); // no children: the delegate is not asked

    TestClass *withKids = new TestClass("ObjTest_DelegatedKids");
    FixedHierarchy *h2 = new FixedHierarchy(QStringLiteral("ObjTest_DelegatedKids"), QStringLiteral("k"), 1);
    h2->child0 = h->child0;
    EXPECT_EQ(makeObject(dummy, withKids)->childByName(QStringLiteral("x")), h->child0);
    EXPECT_EQ(h2->byNameCalls, 1);
}

TEST(ObjectHierarchy, DelegateIsCachedUntilClassChanges)
{
    TestClass *a = new TestClass("ObjTest_CacheA");
    TestClass *b = new TestClass("ObjTest_CacheB");
    new FixedHierarchy(QStringLiteral("ObjTest_CacheA"), QStringLiteral("first"));
    Object::Ptr o = makeObject(dummy, a);
    EXPECT_EQ(o->name(), QStringLiteral("first"));

    // A later registration under the same key displaces the first one in the factory, not in the object.
    new FixedHierarchy(QStringLiteral("ObjTest_CacheA"), QStringLiteral("second"));
    EXPECT_EQ(o->name(), QStringLiteral("first"));
    EXPECT_EQ(makeObject(dummy, a)->name(), QStringLiteral("second"));

    // Unrelated non-primitive classes: castTo keeps the class and so keeps the cache.
    o->castTo(b);
    EXPECT_EQ(o->name(), QStringLiteral("first"));
    o->clearDelegates();
    EXPECT_EQ(o->name(), QStringLiteral("second"));
}

TEST(ObjectHierarchy, QObjectTypesUseTheQObjectDelegate)
{
    TestClass *widget = new TestClass("ObjTest_QtWidget");
    TestClass *button = new TestClass("ObjTest_QtButton", widget);
    TestClass *own = new TestClass("ObjTest_QtOwn");
    new FixedHierarchy(QStringLiteral("QObject"), QStringLiteral("qobject"));
    new FixedHierarchy(QStringLiteral("ObjTest_QtOwn"), QStringLiteral("own"));
    EXPECT_EQ(makeObject(dummy, widget)->name(), QStringLiteral("unnamed"));

    EXPECT_FALSE(vexil_is_qobject_type(QStringLiteral("ObjTest_QtWidget")));
    vexil_register_qobject_type("ObjTest_QtWidget");
    vexil_register_qobject_type("ObjTest_QtOwn");
    EXPECT_TRUE(vexil_is_qobject_type(QStringLiteral("ObjTest_QtWidget")));
    EXPECT_EQ(makeObject(dummy, widget)->name(), QStringLiteral("qobject"));
    EXPECT_EQ(makeObject(dummy, button)->name(), QStringLiteral("unnamed")); // only the listed name counts
    EXPECT_EQ(makeObject(dummy, own)->name(), QStringLiteral("own")); // its own delegate comes first
}

// Conversions

TEST(ObjectConversion, DelegateAnswersWhenItSupportsTheBit)
{
    TestClass *plain = new TestClass("ObjTest_ConvNone");
    EXPECT_EQ(makeObject(nullptr, plain)->toString(), QStringLiteral("<null>"));
    Object::Ptr p = makeObject(dummy, plain);
    EXPECT_TRUE(p->toString().isEmpty());
    EXPECT_EQ(p->toInteger(), 0);
    EXPECT_EQ(p->toInt64(), 0);
    EXPECT_FALSE(p->toBoolean());
    p->fromInteger(3); // no delegate: nothing happens

    TestClass *cls = new TestClass("ObjTest_ConvDelegate");
    TestConversion *c = new TestConversion(QStringLiteral("ObjTest_ConvDelegate"),
                                           ConversionDelegate::ConvertString
                                               | ConversionDelegate::ConvertInteger
                                               | ConversionDelegate::ConvertInt64
                                               | ConversionDelegate::ConvertBoolean);
    Object::Ptr o = makeObject(dummy, cls);
    EXPECT_EQ(o->toString(), QStringLiteral("text"));
    EXPECT_EQ(o->toInteger(), 7);
    EXPECT_EQ(o->toInt64(), 1LL << 40);
    EXPECT_FALSE(o->toBoolean()); // supported but not overridden: the empty answer
    EXPECT_EQ(o->toDouble(), 0.0); // not supported: the class cannot convert either
    EXPECT_EQ(makeObject(nullptr, cls)->toString(), QStringLiteral("<null>"));

    o->fromInteger(5);
    EXPECT_EQ(c->lastInt, 5);
    EXPECT_EQ(c->lastTarget, o.get());
    o->fromInt64(9);
    EXPECT_EQ(c->lastInt64, 9);
    o->fromString(QStringLiteral("s"));
    EXPECT_EQ(c->lastString, QStringLiteral("s"));
}

TEST(ObjectConversion, ClassConversionIsTheFallbackWithThePointerBit)
{
    TestClass *cls = new TestClass("ObjTest_ConvClass");
    const Class *intClass = Inspector::self()->type(Inspector::Int);
    cls->convertsTo = intClass;
    cls->converted = Inspector::self()->createPrimitive(41);

    EXPECT_EQ(makeObject(dummy, cls)->toInteger(), 41);
    EXPECT_EQ(cls->askedTarget, intClass);
    EXPECT_FALSE(cls->askedSourcePointer);
    EXPECT_TRUE(cls->askedTargetPointer);
    EXPECT_EQ(cls->askedConverter, nullptr);

    Object::Ptr ref = makeObject(dummy, cls, ObjectAttribute::Pointer);
    EXPECT_EQ(ref->toInteger(), 41);
    EXPECT_TRUE(cls->askedSourcePointer);
    ref->fromInteger(3); // fromX has no class fallback
    EXPECT_EQ(cls->converted->toInteger(), 41);

    EXPECT_EQ(ref->toDouble(), 0.0);
    EXPECT_EQ(cls->askedTarget, Inspector::self()->type(Inspector::Double));
}

// References and casting

TEST(ObjectReference, ReferenceAndDereferenceRules)
{
    TestClass *cls = new TestClass("ObjTest_Ref");
    Object::Ptr value = makeObject(dummy, cls, ObjectAttribute::ConstValue, 5);
    Object::Ptr ref = value->reference();
    ASSERT_TRUE(ref);
    EXPECT_NE(ref.get(), value.get());
    EXPECT_EQ(ref->rawData(), dummy);
    EXPECT_EQ(ref->objectClass(), cls);
    EXPECT_EQ(ref->objectAttribute(), ObjectAttribute(ObjectAttribute::Pointer, 0));
    EXPECT_EQ(ref->reference().get(), ref.get());
    Object::Ptr array = makeObject(dummy, cls, ObjectAttribute::Array, 3);
    EXPECT_EQ(array->reference().get(), array.get());
    EXPECT_EQ(cls->wrapCalls, 1);

    for (unsigned int flags : { 0u, 1u, 3u }) {
        Object::Ptr same = makeObject(dummy, cls, flags);
        EXPECT_EQ(same->dereference().get(), same.get()) << flags;
    }
    Object::Ptr ptr = makeObject(dummy, cls, ObjectAttribute::Pointer | 64, 4);
    Object::Ptr deref = ptr->dereference();
    ASSERT_TRUE(deref);
    EXPECT_NE(deref.get(), ptr.get());
    EXPECT_EQ(deref->rawData(), dummy);
    EXPECT_EQ(deref->objectAttribute(), ObjectAttribute(0, 0));
    EXPECT_EQ(makeObject(nullptr, cls, ObjectAttribute::Pointer)->dereference(), nullptr);
}

TEST(ObjectCast, ChainCastsAndForcedPrimitives)
{
    TestClass *base = new TestClass("ObjTest_CastBase");
    TestClass *derived = new TestClass("ObjTest_CastDerived", base);
    TestClass *other = new TestClass("ObjTest_CastOther");
    new FixedHierarchy(QStringLiteral("ObjTest_CastBase"), QStringLiteral("base"));
    new FixedHierarchy(QStringLiteral("ObjTest_CastDerived"), QStringLiteral("derived"));

    Object::Ptr o = makeObject(dummy, base);
    EXPECT_EQ(o->name(), QStringLiteral("base"));
    EXPECT_EQ(o->castTo(derived).get(), o.get());
    EXPECT_EQ(o->objectClass(), derived);
    EXPECT_EQ(o->name(), QStringLiteral("derived")); // delegates were cleared with the class change
    o->castTo(base);
    EXPECT_EQ(o->name(), QStringLiteral("base"));
    EXPECT_EQ(o->castTo(other).get(), o.get()); // unrelated: kept, still returned
    EXPECT_EQ(o->objectClass(), base);

    Inspector *insp = Inspector::self();
    const Class *intClass = insp->type(Inspector::Int);
    Object::Ptr p = insp->createPrimitive(3);
    p->castTo(base);
    EXPECT_EQ(p->objectClass(), intClass);
    o->castTo(intClass);
    EXPECT_EQ(o->objectClass(), base);
    // Among the first seven classes the cast is forced; void (7) and unregistered (-1) classes are not.
    p->castTo(insp->type(Inspector::Double));
    EXPECT_EQ(p->objectClass(), insp->type(Inspector::Double));
    p->castTo(insp->type(Inspector::Void));
    EXPECT_EQ(p->objectClass(), insp->type(Inspector::Double));
    Class unregistered("ObjTest_Unregistered", false);
    p->castTo(&unregistered);
    EXPECT_EQ(p->objectClass(), insp->type(Inspector::Double));
}

// Death

TEST(ObjectDeath, InvalidateZombieAndTheDeadClass)
{
    TestClass *cls = new TestClass("ObjTest_Dying");
    new FixedHierarchy(QStringLiteral("ObjTest_Dying"), QStringLiteral("alive"));
    {
        Object::Ptr o = makeObject(dummy, cls);
        o->ownsData = true;
        EXPECT_EQ(o->name(), QStringLiteral("alive"));
        o->invalidate();
        EXPECT_TRUE(o->isInvalidated());
        EXPECT_TRUE(o->isNull());
        EXPECT_EQ(o->className(), QStringLiteral("Dead"));
        EXPECT_EQ(o->name(), QStringLiteral("unnamed"));
        EXPECT_EQ(o->toString(), QStringLiteral("<null>"));
    }
    EXPECT_TRUE(cls->freed.empty()); // the dead object does not free what it held

    Object::registerClassOfTheDead();
    const Class *dead = Object::classOfTheDead();
    Object::registerClassOfTheDead();
    EXPECT_EQ(Object::classOfTheDead(), dead);
    Object::Ptr z = Object::zombie();
    EXPECT_TRUE(z->isNull());
    EXPECT_EQ(z->objectClass(), dead);
    EXPECT_EQ(z->objectAttribute(), ObjectAttribute());
    EXPECT_EQ(dead->fullyQualifiedClassName(), QStringLiteral("Dead"));
    EXPECT_EQ(dead->numMethods() + dead->numProperties() + dead->numConstructors() + dead->numEvents()
                  + dead->numEnums(),
              0);
    ASSERT_NE(dead->nameSpace(), nullptr);
    EXPECT_NE(dead->nameSpace(), Inspector::self()->globalNamespace());
    EXPECT_EQ(Inspector::self()->type(QStringLiteral("Dead")), nullptr);
}

// Comparison and debug strings

namespace {

// Properties: 0 "a" (a value of another class), 1 "b" (unreadable), 2 "c" (null), 3 "d" (same class).
class DebugClass : public TestClass
{
public:
    DebugClass(const char *name, const Class *valueClass)
        : TestClass(name)
        , m_valueClass(valueClass)
    {
        setNumProperties(4);
    }
    Property *createProperty(int index) const override
    {
        static const char *const names[] = { "a", "b", "c", "d" };
        const unsigned int flags = index == 1 ? PropertyDeclaration::Writable : PropertyDeclaration::Readable;
        const Class *type = index == 0 ? m_valueClass : this;
        auto *decl = new PropertyDeclaration(this, Argument(type), QString::fromLatin1(names[index]), flags);
        return new Property(decl, this, index, true);
    }
    Object::Ptr getProperty(Object::Ptr, const Property *p) const override
    {
        ++reads;
        switch (p->index()) {
        case 0:
            return makeObject(dummy, m_valueClass);
        case 2:
            return Object::Ptr();
        default:
            return makeObject(dummy, this);
        }
    }
    const Class *m_valueClass;
    mutable int reads = 0;
};

struct FixedSerialize : public SerializeDelegate
{
    using SerializeDelegate::SerializeDelegate;
    QString toDebugString(Object::Ptr o) const override { return o->isNull() ? "debug:null" : "debug:set"; }
};

} // namespace

TEST(ObjectDebugString, NullPropertiesAndDelegate)
{
    TestClass *valueClass = new TestClass("ObjTest_DebugValue");
    DebugClass *cls = new DebugClass("ObjTest_Debug", valueClass);
    new TestConversion(QStringLiteral("ObjTest_Debug"), ConversionDelegate::ConvertString);

    EXPECT_EQ(makeObject(nullptr, cls)->toDebugString(), QStringLiteral("0 : ObjTest_Debug"));
    EXPECT_EQ(makeObject(dummy, valueClass)->toDebugString(), QStringLiteral("{  } : ObjTest_DebugValue"));
    EXPECT_EQ(makeObject(dummy, cls)->toDebugString(),
              QStringLiteral(
                  "{ a = {  } : ObjTest_DebugValue, , d = text : ObjTest_Debug } : ObjTest_Debug"));
    EXPECT_EQ(cls->reads, 3); // the unreadable one is never read

    TestClass *serialized = new TestClass("ObjTest_DebugSerialized");
    new FixedSerialize(QStringLiteral("ObjTest_DebugSerialized"));
    EXPECT_EQ(makeObject(nullptr, serialized)->toDebugString(), QStringLiteral("debug:null"));
}

TEST(RemoteObjects, ContextIds)
{
    TestClass *cls = new TestClass("ObjTest_Remote");
    RemoteObjectBase *r = new RemoteObjectBase(cls, 77);
    Object::Ptr keep(r);
    EXPECT_TRUE(r->isNull());
    EXPECT_EQ(r->objectClass(), cls);
    EXPECT_EQ(r->contextId(), 77u);
    EXPECT_EQ(r->objectAttribute(), ObjectAttribute());

    RemoteClassBase remote(12);
    EXPECT_EQ(remote.applicationContextId(), 12);
    EXPECT_EQ(remote.classId(), -1);
}
