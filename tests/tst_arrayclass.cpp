// tst_arrayclass.cpp: the array class through its members (as scripts use it) and its C++ helpers.
#include "testsupport.h"

#include "arrayclass.h"
#include "inspector.h"
#include "primitives.h"

#include <QStringList>

using namespace Vexil;

namespace {

Inspector *insp()
{
    return Inspector::self();
}

const Class *arrayClass()
{
    // The helpers never create the Inspector themselves.
    Inspector::self();
    return ArrayClass::registeredClass();
}

Object::Ptr newArray()
{
    return arrayClass()->construct(ObjectList());
}

Object::Ptr callAt(const Object::Ptr &array, const Object::Ptr &index)
{
    return arrayClass()->methods(QStringLiteral("at")).invoke(array, ObjectList { index });
}

Object::Ptr callPush(const Object::Ptr &array, const Object::Ptr &element)
{
    return arrayClass()->methods(QStringLiteral("push")).invoke(array, ObjectList { element });
}

long long lengthOf(const Object::Ptr &array)
{
    const Object::Ptr length = arrayClass()->property(QStringLiteral("length"))->get(array);
    return length ? length->toInt64() : -1;
}

// Counts live instances, to see when an array lets its elements go.
int s_liveProbes = 0;

class Probe : public Object
{
public:
    explicit Probe(const Class *cls)
        : Object(this, cls, ObjectAttribute())
    {
        ++s_liveProbes;
    }
    ~Probe() override { --s_liveProbes; }
};

const Class *probeClass()
{
    static const Class *cls = new Class("ArrayTestProbe", true);
    return cls;
}

// A class that answers "length" and "at" like an array, but is not one: the remote helpers must only use the
// reflective interface.
class FakeRemoteArrayClass : public Class
{
public:
    FakeRemoteArrayClass()
        : Class("ArrayTestFakeRemote", true)
    {
        setNumMethods(1);
        setNumProperties(1);
    }

    using Class::getProperty;
    using Class::invoke;

    Method *createMethod(int index) const override
    {
        return new Method(this, Argument(Inspector::self()->type(Inspector::Void)), QStringLiteral("at"),
                          Signature(Argument(QStringLiteral("i"), Inspector::self()->type(Inspector::Int))),
                          false, index);
    }
    Property *createProperty(int index) const override
    {
        return new Property(new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int)),
                                                    QStringLiteral("length"), PropertyDeclaration::Readable),
                            this, index, true);
    }
    Object::Ptr getProperty(Object::Ptr, const Property *) const override
    {
        return Inspector::self()->createPrimitive(length);
    }
    Object::Ptr invoke(int, Object::Ptr, const ObjectList &args, const Method *) const override
    {
        ++atCalls;
        return Inspector::self()->createPrimitive(args.at(0)->toInteger() * 10);
    }

    int length = 0;
    mutable int atCalls = 0;
};

} // namespace

TEST(ArrayClass, RegisteredWithItsMembers)
{
    const Class *cls = arrayClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_STREQ(cls->name(), "Vexil_Array");
    EXPECT_EQ(cls->nameSpace(), insp()->globalNamespace());
    EXPECT_EQ(insp()->type(QStringLiteral("Vexil_Array")), cls);

    ASSERT_EQ(cls->numConstructors(), 1);
    EXPECT_EQ(cls->constructor(0)->signature().count(), 0);
    ASSERT_EQ(cls->numMethods(), 2);
    const Method *at = cls->method(0);
    const Method *push = cls->method(1);
    ASSERT_TRUE(at && push);
    EXPECT_EQ(at->name(), "at");
    ASSERT_EQ(at->signature().count(), 1);
    EXPECT_EQ(at->signature().at(0).name(), "i");
    EXPECT_EQ(at->signature().at(0).type(), insp()->type(Inspector::Int64));
    EXPECT_EQ(at->returnArgument().type(), insp()->type(Inspector::Void));
    EXPECT_EQ(push->name(), "push");
    EXPECT_EQ(push->signature().at(0).name(), "obj");
    EXPECT_EQ(push->signature().at(0).type(), insp()->type(Inspector::Void));
    EXPECT_EQ(cls->method(2), nullptr);

    ASSERT_EQ(cls->numProperties(), 1);
    const Property *length = cls->property(0);
    ASSERT_NE(length, nullptr);
    EXPECT_EQ(length->name(), "length");
    EXPECT_EQ(length->flags(), 1u);
    EXPECT_EQ(length->type(), insp()->type(Inspector::Int64));

    const Argument arg = ArrayClass::arrayClassArg("values");
    EXPECT_EQ(arg.name(), "values");
    EXPECT_EQ(arg.type(), cls);
    EXPECT_EQ(arg.flags(), 0u);
}

TEST(ArrayClass, ScriptBuildsAndReadsAnArray)
{
    Object::Ptr array = arrayClass()->constructor(0)->construct(ObjectList());
    ASSERT_TRUE(array);
    EXPECT_TRUE(array->isA(arrayClass()));
    EXPECT_EQ(array->objectAttribute().flags, 2u);
    EXPECT_TRUE(array->ownsData);
    EXPECT_EQ(lengthOf(array), 0);

    Object::Ptr a = wrap(QStringLiteral("a"));
    Object::Ptr b = insp()->createPrimitive(2);
    EXPECT_EQ(callPush(array, a), insp()->voidObject());
    callPush(array, b);
    EXPECT_EQ(lengthOf(array), 2);
    const Object::Ptr length = arrayClass()->property(QStringLiteral("length"))->get(array);
    EXPECT_EQ(length->objectClass(), insp()->type(Inspector::Int64));

    // An int index reaches the int64 parameter by conversion; the element itself comes back, not a copy.
    EXPECT_EQ(callAt(array, insp()->createPrimitive(0)), a);
    EXPECT_EQ(callAt(array, insp()->createPrimitive(1LL)), b);
    EXPECT_EQ(insp()->lastError(), "");
}

TEST(ArrayClass, AtOutsideTheElementsReportsAndGivesNull)
{
    Object::Ptr array = ArrayClass::wrapObject(
        { insp()->createPrimitive(1), insp()->createPrimitive(2), insp()->createPrimitive(3) });

    EXPECT_EQ(callAt(array, insp()->createPrimitive(-1)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Negative index not supported");
    EXPECT_EQ(insp()->lastError(), "");

    EXPECT_EQ(callAt(array, insp()->createPrimitive(3)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Out of bounds access: index: 3, size: 3");

    // Indexes beyond 32 bits are not cut down to a valid one.
    EXPECT_EQ(callAt(array, insp()->createPrimitive(4294967296LL)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Out of bounds access: index: 4294967296, size: 3");

    EXPECT_EQ(callAt(newArray(), insp()->createPrimitive(0)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Out of bounds access: index: 0, size: 0");
}

TEST(ArrayClass, BadCallsGiveNullWithoutCrashing)
{
    Object::Ptr array = newArray();
    const Method *at = arrayClass()->method(0);
    {
        VexilTest::StderrCapture capture;
        EXPECT_EQ(at->invoke(array, ObjectList()), nullptr);
        EXPECT_EQ(capture.text(), "Class::invoke Vexil_Array::0: 1 arguments expected, 0 given\n");
    }
    insp()->lastError();

    // A null pointer argument, an object of another class, a null array and no object at all.
    EXPECT_EQ(at->invoke(array, ObjectList { Object::Ptr() }), nullptr);
    EXPECT_EQ(at->invoke(insp()->createPrimitive(5), ObjectList { insp()->createPrimitive(0) }), nullptr);
    EXPECT_EQ(at->invoke(arrayClass()->createNull(), ObjectList { insp()->createPrimitive(0) }), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot invoke member function at() on null object reference");
    EXPECT_EQ(at->invoke(Object::Ptr(), ObjectList { insp()->createPrimitive(0) }), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot invoke non-static function at() without a object reference");

    // Indexes without a member.
    EXPECT_EQ(arrayClass()->invoke(2, array, ObjectList { array }, nullptr), nullptr);
    EXPECT_EQ(arrayClass()->construct(1, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(arrayClass()->constructor(1), nullptr);
    EXPECT_EQ(arrayClass()->property(QStringLiteral("length"))->get(insp()->createPrimitive(1)), nullptr);
}

TEST(ArrayClass, DescriptorsAreShared)
{
    const Class *cls = arrayClass();
    EXPECT_EQ(cls->method(0), cls->methods(QStringLiteral("at")).front());
    EXPECT_EQ(cls->createMethod(0), cls->method(0));
    EXPECT_EQ(cls->createMethod(1), cls->method(1));
    EXPECT_EQ(cls->createProperty(0), cls->property(0));
    EXPECT_EQ(cls->createConstructor(0), cls->constructor(0));
    EXPECT_EQ(cls->createMethod(2), nullptr);
    EXPECT_EQ(cls->createProperty(1), nullptr);
}

TEST(ArrayClass, PushOfItselfStoresASecondReference)
{
    Object::Ptr array = newArray();
    callPush(array, array);
    EXPECT_EQ(lengthOf(array), 1);
    EXPECT_EQ(callAt(array, insp()->createPrimitive(0)), array);
    // Break the cycle so the array can go.
    static_cast<std::vector<Object::Ptr> *>(ArrayClass::unwrapInternal(array))->clear();
}

TEST(ArrayClass, ElementsLiveAsLongAsTheArrayHoldsThem)
{
    s_liveProbes = 0;
    {
        Object::Ptr array = newArray();
        {
            Object::Ptr probe(new Probe(probeClass()));
            callPush(array, probe);
        }
        EXPECT_EQ(s_liveProbes, 1);
        Object::Ptr copy = ArrayClass::wrapObject(ArrayClass::unwrapObject(array));
        array = Object::Ptr();
        EXPECT_EQ(s_liveProbes, 1);
    }
    EXPECT_EQ(s_liveProbes, 0);
}

TEST(ArrayClass, WrapAndUnwrapNativeVectors)
{
    Object::Ptr one = insp()->createPrimitive(1);
    Object::Ptr two = wrap(QStringLiteral("two"));
    std::vector<Object::Ptr> native { one, two };
    Object::Ptr array = ArrayClass::wrapObject(native);
    ASSERT_TRUE(array);
    EXPECT_EQ(array->objectClass(), arrayClass());
    EXPECT_EQ(array->objectAttribute().flags, 2u);
    EXPECT_TRUE(array->ownsData);

    // The array has its own vector: changing the native one leaves it alone.
    native.clear();
    EXPECT_EQ(ArrayClass::unwrapObject(array), (std::vector<Object::Ptr> { one, two }));

    auto *internal = static_cast<std::vector<Object::Ptr> *>(ArrayClass::unwrapInternal(array));
    ASSERT_NE(internal, nullptr);
    internal->push_back(one);
    EXPECT_EQ(lengthOf(array), 3);

    EXPECT_TRUE(ArrayClass::unwrapObject(insp()->createPrimitive(3)).empty());
    EXPECT_TRUE(ArrayClass::unwrapObject(Object::Ptr()).empty());
    EXPECT_EQ(ArrayClass::unwrapInternal(Object::Ptr()), nullptr);
}

TEST(ArrayClass, RemoteHelpersRoundTrip)
{
    Object::Ptr one = insp()->createPrimitive(1);
    Object::Ptr two = wrap(QStringLiteral("two"));
    Object::Ptr array = ArrayClass::createRemoteObject({ one, two });
    ASSERT_TRUE(array);
    EXPECT_EQ(array->objectClass(), arrayClass());
    EXPECT_EQ(ArrayClass::unwrapObject(array), (std::vector<Object::Ptr> { one, two }));
    EXPECT_EQ(ArrayClass::unwrapRemoteObject(array), (std::vector<Object::Ptr> { one, two }));
    EXPECT_EQ(lengthOf(ArrayClass::createRemoteObject({})), 0);
    EXPECT_TRUE(ArrayClass::unwrapRemoteObject(Object::Ptr()).empty());
}

TEST(ArrayClass, RemoteUnwrapUsesOnlyTheReflectiveInterface)
{
    auto *fake = new FakeRemoteArrayClass();
    Object::Ptr remote = fake->wrap(fake, ObjectAttribute());

    fake->length = 0;
    EXPECT_TRUE(ArrayClass::unwrapRemoteObject(remote).empty());
    EXPECT_EQ(fake->atCalls, 0);

    fake->length = 3;
    const std::vector<Object::Ptr> elements = ArrayClass::unwrapRemoteObject(remote);
    ASSERT_EQ(elements.size(), 3u);
    EXPECT_EQ(elements[0]->toInteger(), 0);
    EXPECT_EQ(elements[2]->toInteger(), 20);
    EXPECT_EQ(fake->atCalls, 3);
}

TEST(ArrayClass, StringListsWrapAsTextArrays)
{
    const QStringList list { QStringLiteral("alpha"), QString::fromUtf8("b\xC3\xA9ta"), QString() };
    Object::Ptr array = wrap(list);
    ASSERT_TRUE(array);
    EXPECT_EQ(lengthOf(array), 3);
    const Object::Ptr second = callAt(array, insp()->createPrimitive(1));
    EXPECT_EQ(second->objectClass(), insp()->type(Inspector::Char));
    EXPECT_EQ(second->toString(), QString::fromUtf8("b\xC3\xA9ta"));

    QStringList out { QStringLiteral("kept") };
    unwrap(array, &out);
    EXPECT_EQ(out, (QStringList { QStringLiteral("kept"), QStringLiteral("alpha"),
                                  QString::fromUtf8("b\xC3\xA9ta"), QString() }));

    // Elements that are not texts come out in their text form.
    QStringList numbers;
    unwrap(ArrayClass::wrapObject({ insp()->createPrimitive(7), insp()->createPrimitive(true) }), &numbers);
    EXPECT_EQ(numbers, (QStringList { QStringLiteral("7"), QStringLiteral("true") }));
    unwrap(array, static_cast<QStringList *>(nullptr));
}
