// tst_object.cpp: counted pointers, object lists, objects: delegates, conversions, references, casts, death.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "primitives.h"

#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Vexil;

namespace {

// Counts live instances so that leaks and double deletes both show.
struct Counted : public Shared
{
    static int instances;
    static int destroyed;
    Counted() { ++instances; }
    virtual ~Counted()
    {
        --instances;
        ++destroyed;
    }
};
int Counted::instances = 0;
int Counted::destroyed = 0;

struct CountedObject : public Object
{
    static int instances;
    CountedObject(void *data, const Class *cls, const ObjectAttribute &attr)
        : Object(data, cls, attr)
    {
        ++instances;
    }
    ~CountedObject() override { --instances; }
};
int CountedObject::instances = 0;

struct CountedAux : public ObjectAuxData
{
    static int instances;
    CountedAux() { ++instances; }
    ~CountedAux() override { --instances; }
};
int CountedAux::instances = 0;

// A registered class with a configurable superclass that records what the object model asks of it.
class TestClass : public Class
{
public:
    explicit TestClass(const char *name, const Class *super = nullptr)
        : Class(name, true)
        , m_super(super)
    {
    }

    void initSuperClass() const override
    {
        ++initSuperCalls;
        setSuperClass(m_super);
    }

    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override
    {
        ++wrapCalls;
        return Object::Ptr(new CountedObject(data, this, attr));
    }

    void deleteObjectData(void *data, const ObjectAttribute &attr) const override
    {
        freed.push_back(data);
        freedFlags.push_back(attr.flags);
    }

    bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer, void **conv) const override
    {
        askedTarget = target;
        askedSourcePointer = sourceIsPointer;
        askedTargetPointer = targetIsPointer;
        askedConverter = conv;
        if (convertsTo && target == convertsTo)
            return true;
        return Class::canConvertTo(target, sourceIsPointer, targetIsPointer, conv);
    }

    Object::Ptr convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const override
    {
        if (convertsTo && target == convertsTo)
            return converted;
        return Class::convertTo(object, target, targetIsPointer);
    }

    const Class *m_super;
    mutable int initSuperCalls = 0;
    mutable int wrapCalls = 0;
    mutable std::vector<void *> freed;
    mutable std::vector<unsigned int> freedFlags;
    mutable const Class *askedTarget = nullptr;
    mutable bool askedSourcePointer = false;
    mutable bool askedTargetPointer = false;
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
    Object::Ptr childByName(Object::Ptr, const QString &) const override
    {
        ++byNameCalls;
        return child0;
    }
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

class FixedSerialize : public SerializeDelegate
{
public:
    explicit FixedSerialize(const QString &cls)
        : SerializeDelegate(cls)
    {
    }
    QString toDebugString(Object::Ptr o) const override
    {
        return QStringLiteral("debug:") + (o && o->isNull() ? QStringLiteral("null") : QStringLiteral("set"));
    }
};

int dummy[8];

} // namespace

// ---------------------------------------------------------------------------------------------------------

TEST(SharedPtr, CountsCopiesAndDeletesOnceOnLastRelease)
{
    Counted::instances = 0;
    Counted::destroyed = 0;
    {
        SharedPtr<Counted> a(new Counted);
        EXPECT_EQ(a->refCount(), 1u);
        {
            SharedPtr<Counted> b(a);
            SharedPtr<Counted> c;
            c = b;
            EXPECT_EQ(a->refCount(), 3u);
            EXPECT_TRUE(b == a);
            EXPECT_FALSE(c != a);
        }
        EXPECT_EQ(a->refCount(), 1u);
        EXPECT_EQ(Counted::instances, 1);

        SharedPtr<Counted> &alias = a;
        a = alias;     // self-assignment must not release the only reference
        EXPECT_EQ(Counted::instances, 1);
        EXPECT_EQ(a->refCount(), 1u);

        SharedPtr<Counted> moved(std::move(a));
        EXPECT_TRUE(a == nullptr);
        EXPECT_EQ(moved->refCount(), 1u);

        moved = SharedPtr<Counted>(new Counted);     // replaces: the old one goes
        EXPECT_EQ(Counted::instances, 1);
        EXPECT_EQ(Counted::destroyed, 1);
    }
    EXPECT_EQ(Counted::instances, 0);
    EXPECT_EQ(Counted::destroyed, 2);
}

TEST(SharedPtr, NullPointerAndNullObjectDiffer)
{
    SharedPtr<Object> none;
    EXPECT_FALSE(none);
    EXPECT_TRUE(none == nullptr);
    EXPECT_TRUE(nullptr == none);
    EXPECT_EQ(none.get(), nullptr);

    Object::Ptr nullObject(new Object(nullptr, nullptr, ObjectAttribute()));
    EXPECT_TRUE(nullObject);
    EXPECT_TRUE(nullObject != nullptr);
    EXPECT_TRUE(nullObject->isNull());
}

TEST(SharedPtr, AssignmentTakesNewReferenceBeforeDroppingOld)
{
    // The old pointee holds the only reference to the new one: releasing it first would free the new one.
    struct Holder : public Counted
    {
        SharedPtr<Counted> inner;
    };
    Counted::instances = 0;
    SharedPtr<Counted> outer(new Holder);
    static_cast<Holder *>(outer.get())->inner = SharedPtr<Counted>(new Counted);
    SharedPtr<Holder> typed(static_cast<Holder *>(outer.get()));
    SharedPtr<Counted> p = outer;
    outer = SharedPtr<Counted>();
    typed = SharedPtr<Holder>();
    p = static_cast<Holder *>(p.get())->inner;
    EXPECT_EQ(Counted::instances, 1);
    EXPECT_EQ(p->refCount(), 1u);
    p = SharedPtr<Counted>();
    EXPECT_EQ(Counted::instances, 0);
}

TEST(ObjectAttribute, DefaultsAndCopies)
{
    ObjectAttribute a;
    EXPECT_EQ(a.flags, 0u);
    EXPECT_EQ(a.count, 0);
    ObjectAttribute b(18, 3);
    ObjectAttribute c = b;
    EXPECT_EQ(c.flags, 18u);
    EXPECT_EQ(c.count, 3);
}

// ---------------------------------------------------------------------------------------------------------

TEST(ObjectList, AtThrowsWithRangeMessage)
{
    ObjectList list;
    list.push_back(Object::Ptr(new Object(dummy, nullptr, ObjectAttribute())));
    list.push_back(Object::Ptr());
    EXPECT_EQ(list.size(), 2u);
    EXPECT_NO_THROW(list.at(1));
    try {
        list.at(2);
        FAIL() << "no exception";
    } catch (const std::out_of_range &e) {
        EXPECT_STREQ(e.what(), "vector::_M_range_check: __n (which is 2) >= this->size() (which is 2)");
    }
    const ObjectList &constList = list;
    try {
        constList.at(7);
        FAIL() << "no exception";
    } catch (const std::out_of_range &e) {
        EXPECT_STREQ(e.what(), "vector::_M_range_check: __n (which is 7) >= this->size() (which is 2)");
    }
    ObjectList empty;
    EXPECT_THROW(empty.at(0), std::out_of_range);
}

TEST(ObjectList, CopyEraseAndClearAdjustCounts)
{
    CountedObject::instances = 0;
    {
        ObjectList list;
        for (int i = 0; i < 3; ++i)
            list.push_back(Object::Ptr(new CountedObject(dummy + i, nullptr, ObjectAttribute())));
        Object *middle = list[1].get();
        Object *last = list[2].get();
        EXPECT_EQ(middle->refCount(), 1u);
        {
            ObjectList copy(list);
            EXPECT_EQ(middle->refCount(), 2u);
            ObjectList assigned;
            assigned = copy;
            EXPECT_EQ(middle->refCount(), 3u);
        }
        EXPECT_EQ(middle->refCount(), 1u);

        list.erase(list.begin() + 1);
        EXPECT_EQ(CountedObject::instances, 2);
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[1].get(), last);
        EXPECT_EQ(last->refCount(), 1u);

        list.pop_back();
        EXPECT_EQ(CountedObject::instances, 1);
        list.clear();
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(CountedObject::instances, 0);

        list.push_back(Object::Ptr(new CountedObject(dummy, nullptr, ObjectAttribute())));
    }
    EXPECT_EQ(CountedObject::instances, 0);
}

// ---------------------------------------------------------------------------------------------------------

TEST(Object, IndexStartsAtOneAndIsUnique)
{
    Object::Ptr a(new Object(dummy, nullptr, ObjectAttribute()));
    Object::Ptr b(new Object(dummy, nullptr, ObjectAttribute()));
    EXPECT_EQ(a->index(), ~0u);
    a->generateIndex();
    EXPECT_EQ(a->index(), 1u);
    a->generateIndex();
    EXPECT_EQ(a->index(), 1u);
    b->generateIndex();
    EXPECT_EQ(b->index(), 2u);
}

TEST(Object, IndexesStayUniqueAcrossThreads)
{
    const int perThread = 2000;
    std::vector<Object::Ptr> objects;
    for (int i = 0; i < 4 * perThread; ++i)
        objects.push_back(Object::Ptr(new Object(dummy, nullptr, ObjectAttribute())));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&objects, t, perThread] {
            for (int i = t * perThread; i < (t + 1) * perThread; ++i)
                objects[size_t(i)]->generateIndex();
        });
    }
    for (std::thread &th : threads)
        th.join();
    std::set<unsigned int> seen;
    for (const Object::Ptr &o : objects)
        seen.insert(o->index());
    EXPECT_EQ(seen.size(), objects.size());
    EXPECT_EQ(seen.count(~0u), 0u);
}

TEST(Object, ConstructionState)
{
    TestClass *cls = new TestClass("ObjTest_State");
    Object::Ptr o(new Object(dummy, cls, ObjectAttribute(4, 9)));
    EXPECT_FALSE(o->isNull());
    EXPECT_FALSE(o->isInvalidated());
    EXPECT_FALSE(o->ownsData);
    EXPECT_EQ(o->objectClass(), cls);
    EXPECT_EQ(o->className(), QStringLiteral("ObjTest_State"));
    EXPECT_EQ(o->objectAttribute().flags, 4u);
    EXPECT_EQ(o->objectAttribute().count, 9);
    EXPECT_EQ(o->auxData(), nullptr);
    void *out = nullptr;
    o->get(&out);
    EXPECT_EQ(out, dummy);

    Object::Ptr wrapped = cls->Class::wrap(dummy + 1, ObjectAttribute(2));
    EXPECT_EQ(wrapped->objectClass(), cls);
    EXPECT_EQ(wrapped->rawData(), dummy + 1);
    EXPECT_EQ(wrapped->refCount(), 1u);
}

TEST(Object, OwnedDataAndAuxRecordAreFreed)
{
    TestClass *cls = new TestClass("ObjTest_Owned");
    CountedAux::instances = 0;
    {
        Object::Ptr o(new Object(dummy, cls, ObjectAttribute(2, 1)));
        o->ownsData = true;
        o->setAuxData(new CountedAux);
        EXPECT_EQ(CountedAux::instances, 1);

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
    {
        Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
        o->put(dummy + 2);
    }
    EXPECT_EQ(cls->freed.size(), 2u);
}

TEST(Object, IsAWalksLazySuperclassChain)
{
    TestClass *base = new TestClass("ObjTest_IsABase");
    TestClass *mid = new TestClass("ObjTest_IsAMid", base);
    TestClass *leaf = new TestClass("ObjTest_IsALeaf", mid);
    TestClass *other = new TestClass("ObjTest_IsAOther");
    Object::Ptr o(new Object(dummy, leaf, ObjectAttribute()));
    EXPECT_EQ(leaf->initSuperCalls, 0);
    EXPECT_TRUE(o->isA(base));
    EXPECT_EQ(leaf->initSuperCalls, 1);
    EXPECT_EQ(mid->initSuperCalls, 1);
    EXPECT_TRUE(o->isA(mid));
    EXPECT_TRUE(o->isA(leaf));
    EXPECT_FALSE(o->isA(other));
    EXPECT_FALSE(o->isA(nullptr));
    EXPECT_EQ(leaf->initSuperCalls, 1);     // set up once

    Object::Ptr b(new Object(dummy, base, ObjectAttribute()));
    EXPECT_FALSE(b->isA(leaf));
}

// ---------------------------------------------------------------------------------------------------------
// Hierarchy

TEST(ObjectHierarchy, FixedAnswersWithoutDelegate)
{
    TestClass *cls = new TestClass("ObjTest_NoDelegate");
    Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_EQ(o->hierarchyDelegate(), nullptr);
    EXPECT_EQ(o->numChildren(), 0);
    EXPECT_EQ(o->child(0), nullptr);
    EXPECT_EQ(o->childByName(QStringLiteral("x")), nullptr);
    EXPECT_TRUE(o->children().empty());
    EXPECT_EQ(o->parent(), nullptr);
    EXPECT_EQ(o->name(), QStringLiteral("unnamed"));
    EXPECT_EQ(o->qualifiedName(), QStringLiteral("unnamed"));
    EXPECT_EQ(o->wrapperType(), 0);
}

TEST(ObjectHierarchy, DelegateAnswersAndChildByNameNeedsChildren)
{
    TestClass *cls = new TestClass("ObjTest_Delegated");
    TestClass *sub = new TestClass("ObjTest_DelegatedSub", cls);
    FixedHierarchy *h = new FixedHierarchy(QStringLiteral("ObjTest_Delegated"), QStringLiteral("answer"), 0);
    h->child0 = Object::Ptr(new Object(dummy + 3, cls, ObjectAttribute()));

    Object::Ptr o(new Object(dummy, sub, ObjectAttribute()));     // found along the chain
    EXPECT_EQ(o->hierarchyDelegate(), h);
    EXPECT_EQ(o->name(), QStringLiteral("answer"));
    EXPECT_EQ(o->qualifiedName(), QStringLiteral("answer-q"));
    EXPECT_EQ(o->wrapperType(), 42);
    EXPECT_EQ(o->child(0), h->child0);
    EXPECT_EQ(o->childByName(QStringLiteral("x")), nullptr);
    EXPECT_EQ(h->byNameCalls, 0);     // no children: the delegate is not asked

    TestClass *cls2 = new TestClass("ObjTest_DelegatedKids");
    FixedHierarchy *h2 = new FixedHierarchy(QStringLiteral("ObjTest_DelegatedKids"), QStringLiteral("k"), 1);
    h2->child0 = h->child0;
    Object::Ptr p(new Object(dummy, cls2, ObjectAttribute()));
    EXPECT_EQ(p->childByName(QStringLiteral("x")), h->child0);
    EXPECT_EQ(h2->byNameCalls, 1);
    ASSERT_EQ(p->children().size(), 1u);
}

TEST(ObjectHierarchy, DelegateIsCachedUntilClassChanges)
{
    TestClass *a = new TestClass("ObjTest_CacheA");
    TestClass *b = new TestClass("ObjTest_CacheB");
    new FixedHierarchy(QStringLiteral("ObjTest_CacheA"), QStringLiteral("first"));
    Object::Ptr o(new Object(dummy, a, ObjectAttribute()));
    EXPECT_EQ(o->name(), QStringLiteral("first"));

    // A later registration under the same key displaces the first one in the factory, not in the object.
    new FixedHierarchy(QStringLiteral("ObjTest_CacheA"), QStringLiteral("second"));
    EXPECT_EQ(o->name(), QStringLiteral("first"));
    Object::Ptr fresh(new Object(dummy, a, ObjectAttribute()));
    EXPECT_EQ(fresh->name(), QStringLiteral("second"));

    // Unrelated non-primitive classes: castTo keeps the class and so keeps the cache.
    o->castTo(b);
    EXPECT_EQ(o->objectClass(), a);
    EXPECT_EQ(o->name(), QStringLiteral("first"));

    o->clearDelegates();
    EXPECT_EQ(o->name(), QStringLiteral("second"));
}

TEST(ObjectHierarchy, QObjectTypesUseTheQObjectDelegate)
{
    TestClass *widget = new TestClass("ObjTest_QtWidget");
    TestClass *own = new TestClass("ObjTest_QtOwn");
    new FixedHierarchy(QStringLiteral("QObject"), QStringLiteral("qobject"));
    new FixedHierarchy(QStringLiteral("ObjTest_QtOwn"), QStringLiteral("own"));

    Object::Ptr before(new Object(dummy, widget, ObjectAttribute()));
    EXPECT_EQ(before->name(), QStringLiteral("unnamed"));

    vexil_register_qobject_type("ObjTest_QtWidget");
    vexil_register_qobject_type("ObjTest_QtOwn");
    Object::Ptr w(new Object(dummy, widget, ObjectAttribute()));
    EXPECT_EQ(w->name(), QStringLiteral("qobject"));
    Object::Ptr ownObj(new Object(dummy, own, ObjectAttribute()));
    EXPECT_EQ(ownObj->name(), QStringLiteral("own"));     // its own delegate comes first
}

// ---------------------------------------------------------------------------------------------------------
// Conversions

TEST(ObjectConversion, NullObjectStringAndEmptyResults)
{
    TestClass *cls = new TestClass("ObjTest_ConvNone");
    Object::Ptr nullObj(new Object(nullptr, cls, ObjectAttribute()));
    EXPECT_EQ(nullObj->toString(), QStringLiteral("<null>"));

    Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_TRUE(o->toString().isEmpty());
    EXPECT_EQ(o->toInteger(), 0);
    EXPECT_EQ(o->toInt64(), 0);
    EXPECT_EQ(o->toDouble(), 0.0);
    EXPECT_FALSE(o->toBoolean());
    o->fromInteger(3);     // no delegate: nothing happens, nothing breaks
    o->fromString(QStringLiteral("x"));
}

TEST(ObjectConversion, DelegateAnswersWhenItSupportsTheBit)
{
    TestClass *cls = new TestClass("ObjTest_ConvDelegate");
    TestConversion *c = new TestConversion(
        QStringLiteral("ObjTest_ConvDelegate"),
        ConversionDelegate::ConvertString | ConversionDelegate::ConvertInteger | ConversionDelegate::ConvertInt64
            | ConversionDelegate::ConvertBoolean);
    Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_EQ(o->toString(), QStringLiteral("text"));
    EXPECT_EQ(o->toInteger(), 7);
    EXPECT_EQ(o->toInt64(), 1LL << 40);
    EXPECT_FALSE(o->toBoolean());         // supported but not overridden: the empty answer
    EXPECT_EQ(o->toDouble(), 0.0);        // not supported: the class cannot convert either

    o->fromInteger(5);
    EXPECT_EQ(c->lastInt, 5);
    EXPECT_EQ(c->lastTarget, o.get());
    o->fromInt64(9);
    EXPECT_EQ(c->lastInt64, 9);
    o->fromString(QStringLiteral("s"));
    EXPECT_EQ(c->lastString, QStringLiteral("s"));
    o->fromDouble(1.0);                   // unsupported: nothing

    Object::Ptr nullObj(new Object(nullptr, cls, ObjectAttribute()));
    EXPECT_EQ(nullObj->toString(), QStringLiteral("<null>"));
}

TEST(ObjectConversion, ClassConversionIsTheFallback)
{
    TestClass *cls = new TestClass("ObjTest_ConvClass");
    const Class *intClass = Inspector::self()->type(Inspector::Int);
    ASSERT_NE(intClass, nullptr);
    cls->convertsTo = intClass;
    cls->converted = Inspector::self()->createPrimitive(41);

    Object::Ptr plain(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_EQ(plain->toInteger(), 41);
    EXPECT_EQ(cls->askedTarget, intClass);
    EXPECT_FALSE(cls->askedSourcePointer);
    EXPECT_TRUE(cls->askedTargetPointer);
    EXPECT_EQ(cls->askedConverter, nullptr);

    Object::Ptr ref(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::Pointer)));
    EXPECT_EQ(ref->toInteger(), 41);
    EXPECT_TRUE(cls->askedSourcePointer);

    // fromX has no class fallback.
    ref->fromInteger(3);
    EXPECT_EQ(cls->converted->toInteger(), 41);

    EXPECT_EQ(plain->toDouble(), 0.0);
    EXPECT_EQ(cls->askedTarget, Inspector::self()->type(Inspector::Double));
}

// ---------------------------------------------------------------------------------------------------------
// References

TEST(ObjectReference, ReferenceMarksPointerForm)
{
    TestClass *cls = new TestClass("ObjTest_Ref");
    Object::Ptr value(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::ConstValue, 5)));
    Object::Ptr ref = value->reference();
    ASSERT_TRUE(ref);
    EXPECT_NE(ref.get(), value.get());
    EXPECT_EQ(ref->rawData(), dummy);
    EXPECT_EQ(ref->objectClass(), cls);
    EXPECT_EQ(ref->objectAttribute().flags, unsigned(ObjectAttribute::Pointer));
    EXPECT_EQ(ref->objectAttribute().count, 0);
    EXPECT_EQ(cls->wrapCalls, 1);

    EXPECT_EQ(ref->reference().get(), ref.get());
    Object::Ptr array(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::Array, 3)));
    EXPECT_EQ(array->reference().get(), array.get());
    EXPECT_EQ(cls->wrapCalls, 1);
}

TEST(ObjectReference, DereferenceRules)
{
    TestClass *cls = new TestClass("ObjTest_Deref");
    Object::Ptr plain(new Object(dummy, cls, ObjectAttribute(0)));
    EXPECT_EQ(plain->dereference().get(), plain.get());
    Object::Ptr refType(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::Reference)));
    EXPECT_EQ(refType->dereference().get(), refType.get());
    Object::Ptr both(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::Reference | ObjectAttribute::Pointer)));
    EXPECT_EQ(both->dereference().get(), both.get());

    Object::Ptr ptr(new Object(dummy, cls, ObjectAttribute(ObjectAttribute::Pointer | 64, 4)));
    Object::Ptr value = ptr->dereference();
    ASSERT_TRUE(value);
    EXPECT_NE(value.get(), ptr.get());
    EXPECT_EQ(value->rawData(), dummy);
    EXPECT_EQ(value->objectAttribute().flags, 0u);
    EXPECT_EQ(value->objectAttribute().count, 0);

    Object::Ptr nullPtr(new Object(nullptr, cls, ObjectAttribute(ObjectAttribute::Pointer)));
    EXPECT_EQ(nullPtr->dereference(), nullptr);
}

// ---------------------------------------------------------------------------------------------------------
// Casting

TEST(ObjectCast, UpAndDownWithinTheChain)
{
    TestClass *base = new TestClass("ObjTest_CastBase");
    TestClass *derived = new TestClass("ObjTest_CastDerived", base);
    new FixedHierarchy(QStringLiteral("ObjTest_CastBase"), QStringLiteral("base"));
    new FixedHierarchy(QStringLiteral("ObjTest_CastDerived"), QStringLiteral("derived"));

    Object::Ptr o(new Object(dummy, base, ObjectAttribute()));
    EXPECT_EQ(o->name(), QStringLiteral("base"));
    Object::Ptr r = o->castTo(derived);
    EXPECT_EQ(r.get(), o.get());
    EXPECT_EQ(o->objectClass(), derived);
    EXPECT_EQ(o->name(), QStringLiteral("derived"));     // delegates were cleared with the class change

    o->castTo(base);
    EXPECT_EQ(o->objectClass(), base);
    EXPECT_EQ(o->name(), QStringLiteral("base"));
    EXPECT_EQ(o->castTo(base).get(), o.get());
}

TEST(ObjectCast, UnrelatedClassesStayButPrimitivesAreForced)
{
    TestClass *a = new TestClass("ObjTest_CastA");
    TestClass *b = new TestClass("ObjTest_CastB");
    Object::Ptr o(new Object(dummy, a, ObjectAttribute()));
    EXPECT_EQ(o->castTo(b).get(), o.get());
    EXPECT_EQ(o->objectClass(), a);

    Inspector *insp = Inspector::self();
    const Class *intClass = insp->type(Inspector::Int);
    const Class *doubleClass = insp->type(Inspector::Double);
    const Class *int64Class = insp->type(Inspector::Int64);
    const Class *voidClass = insp->type(Inspector::Void);

    // Primitive to non-primitive and back: kept.
    Object::Ptr p = insp->createPrimitive(3);
    p->castTo(a);
    EXPECT_EQ(p->objectClass(), intClass);
    o->castTo(intClass);
    EXPECT_EQ(o->objectClass(), a);

    // Among the first seven classes the cast is forced.
    p->castTo(doubleClass);
    EXPECT_EQ(p->objectClass(), doubleClass);
    p->castTo(int64Class);
    EXPECT_EQ(p->objectClass(), int64Class);
    p->castTo(voidClass);     // void is class 7: not one of them
    EXPECT_EQ(p->objectClass(), int64Class);

    // A class that was never registered has id -1, read as a huge number.
    Class *unregistered = new Class("ObjTest_Unregistered", false);
    Object::Ptr q = insp->createPrimitive(1);
    q->castTo(unregistered);
    EXPECT_EQ(q->objectClass(), intClass);
    delete unregistered;
}

// ---------------------------------------------------------------------------------------------------------
// Death

TEST(ObjectDeath, InvalidateTurnsIntoDeadNullObject)
{
    TestClass *cls = new TestClass("ObjTest_Dying");
    new FixedHierarchy(QStringLiteral("ObjTest_Dying"), QStringLiteral("alive"));
    {
        Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
        o->ownsData = true;
        EXPECT_EQ(o->name(), QStringLiteral("alive"));
        o->invalidate();
        EXPECT_TRUE(o->isInvalidated());
        EXPECT_TRUE(o->isNull());
        EXPECT_EQ(o->rawData(), nullptr);
        EXPECT_EQ(o->className(), QStringLiteral("Dead"));
        EXPECT_EQ(o->objectClass(), Object::classOfTheDead());
        EXPECT_EQ(o->name(), QStringLiteral("unnamed"));
        EXPECT_EQ(o->toString(), QStringLiteral("<null>"));
    }
    EXPECT_TRUE(cls->freed.empty());     // the dead object does not free what it held
}

TEST(ObjectDeath, ZombieAndTheDeadClass)
{
    Object::registerClassOfTheDead();
    const Class *dead = Object::classOfTheDead();
    Object::registerClassOfTheDead();
    EXPECT_EQ(Object::classOfTheDead(), dead);

    Object::Ptr z = Object::zombie();
    EXPECT_TRUE(z->isNull());
    EXPECT_EQ(z->objectClass(), dead);
    EXPECT_EQ(z->className(), QStringLiteral("Dead"));
    EXPECT_EQ(z->objectAttribute().flags, 0u);
    EXPECT_EQ(dead->fullyQualifiedClassName(), QStringLiteral("Dead"));
    EXPECT_EQ(dead->numMethods(), 0);
    EXPECT_EQ(dead->numProperties(), 0);
    EXPECT_EQ(dead->numConstructors(), 0);
    EXPECT_EQ(dead->numEvents(), 0);
    EXPECT_EQ(dead->numEnums(), 0);
    EXPECT_EQ(dead->superClass(), nullptr);
    ASSERT_NE(dead->nameSpace(), nullptr);
    EXPECT_NE(dead->nameSpace(), Inspector::self()->globalNamespace());
    EXPECT_EQ(Inspector::self()->type(QStringLiteral("Dead")), nullptr);
}

// ---------------------------------------------------------------------------------------------------------
// Comparison and debug strings

TEST(ObjectCompare, SameAsAndCompareAskTheClass)
{
    TestClass *cls = new TestClass("ObjTest_Same");
    Object::Ptr a(new Object(dummy, cls, ObjectAttribute()));
    Object::Ptr b(new Object(dummy, cls, ObjectAttribute(2)));
    Object::Ptr c(new Object(dummy + 1, cls, ObjectAttribute()));
    Object::Ptr n1(new Object(nullptr, cls, ObjectAttribute()));
    Object::Ptr n2(new Object(nullptr, cls, ObjectAttribute()));
    EXPECT_TRUE(a->sameAs(a));
    EXPECT_TRUE(a->sameAs(b));
    EXPECT_FALSE(a->sameAs(c));
    EXPECT_FALSE(a->sameAs(Object::Ptr()));
    EXPECT_FALSE(n1->sameAs(n2));
    EXPECT_TRUE(n1->sameAs(n1));
    EXPECT_EQ(a->compare(b), 0);
    EXPECT_NE(a->compare(c), 0);
}

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
        static const char *const names[] = {"a", "b", "c", "d"};
        const unsigned int flags = index == 1 ? PropertyDeclaration::Writable : PropertyDeclaration::Readable;
        const Class *type = index == 0 ? m_valueClass : this;
        auto *decl = new PropertyDeclaration(this, Argument(type), QString::fromLatin1(names[index]), flags);
        return new Property(decl, this, index, true);
    }
    Object::Ptr getProperty(Object::Ptr, const Property *p) const override
    {
        ++reads;
        switch (p->index()) {
        case 0: return Object::Ptr(new Object(dummy, m_valueClass, ObjectAttribute()));
        case 1: ADD_FAILURE() << "unreadable property read"; return Object::Ptr();
        case 2: return Object::Ptr();
        default: return Object::Ptr(new Object(dummy, this, ObjectAttribute()));
        }
    }
    const Class *m_valueClass;
    mutable int reads = 0;
};

} // namespace

TEST(ObjectDebugString, NullPropertiesAndDelegate)
{
    TestClass *valueClass = new TestClass("ObjTest_DebugValue");
    DebugClass *cls = new DebugClass("ObjTest_Debug", valueClass);
    new TestConversion(QStringLiteral("ObjTest_Debug"), ConversionDelegate::ConvertString);

    Object::Ptr nullObj(new Object(nullptr, cls, ObjectAttribute()));
    EXPECT_EQ(nullObj->toDebugString(), QStringLiteral("0 : ObjTest_Debug"));

    Object::Ptr empty(new Object(dummy, valueClass, ObjectAttribute()));
    EXPECT_EQ(empty->toDebugString(), QStringLiteral("{  } : ObjTest_DebugValue"));

    Object::Ptr o(new Object(dummy, cls, ObjectAttribute()));
    EXPECT_EQ(o->toDebugString(), QStringLiteral("{ a = {  } : ObjTest_DebugValue, , d = text : ObjTest_Debug } : "
                                                 "ObjTest_Debug"));
    EXPECT_EQ(cls->reads, 3);

    TestClass *serialized = new TestClass("ObjTest_DebugSerialized");
    new FixedSerialize(QStringLiteral("ObjTest_DebugSerialized"));
    Object::Ptr s(new Object(nullptr, serialized, ObjectAttribute()));
    EXPECT_EQ(s->toDebugString(), QStringLiteral("debug:null"));
}

// ---------------------------------------------------------------------------------------------------------

TEST(RemoteObjects, ContextIds)
{
    TestClass *cls = new TestClass("ObjTest_Remote");
    Object::Ptr r(new RemoteObjectBase(cls, 77));
    EXPECT_TRUE(r->isNull());
    EXPECT_EQ(r->objectClass(), cls);
    EXPECT_EQ(static_cast<RemoteObjectBase *>(r.get())->contextId(), 77u);
    EXPECT_EQ(r->objectAttribute().flags, 0u);

    RemoteClassBase remote(12);
    EXPECT_EQ(remote.applicationContextId(), 12);
    EXPECT_EQ(remote.classId(), -1);
}
