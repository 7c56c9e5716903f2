// tst_arrayclass.cpp: the array class through its members (as scripts use it) and its C++ helpers.
#include "testsupport.h"

#include "arrayclass.h"
#include "inspector.h"
#include "primitives.h"

#include <QStringList>

using namespace Vexil;

namespace {

typedef std::vector<Object::Ptr> Elements;

using VexilTest::CountedObject;
using VexilTest::insp;
// The helpers never create the Inspector themselves.
const Class *arrayClass()
{
    return insp() ? ArrayClass::registeredClass() : nullptr;
}
Object::Ptr integer(long long v)
{
    return insp()->createPrimitive(v);
}

Object::Ptr callAt(const Object::Ptr &array, const Object::Ptr &index)
{
    return VexilTest::callMethod(array, "at", ObjectList { index });
}

long long lengthOf(const Object::Ptr &array)
{
    const Object::Ptr length = VexilTest::readProperty(array, "length");
    return length ? length->toInt64() : -1;
}

// Answers "length" and "at" like an array without being one: the remote helpers may use only those.
struct FakeRemoteArrayClass : Class
{
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
        return new Method(this, Argument(insp()->type(Inspector::Void)), QStringLiteral("at"),
                          Signature(Argument(QStringLiteral("i"), insp()->type(Inspector::Int))), false,
                          index);
    }
    Property *createProperty(int index) const override
    {
        return new Property(new PropertyDeclaration(this, Argument(insp()->type(Inspector::Int)),
                                                    QStringLiteral("length"), PropertyDeclaration::Readable),
                            this, index, true);
    }
    Object::Ptr getProperty(Object::Ptr, const Property *) const override
    {
        return insp()->createPrimitive(length);
    }
    Object::Ptr invoke(int, Object::Ptr, const ObjectList &args, const Method *) const override
    {
        ++atCalls;
        return insp()->createPrimitive(args.at(0)->toInteger() * 10);
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
    ASSERT_EQ(cls->numConstructors(), 1);
    EXPECT_EQ(cls->constructor(0)->signature().count(), 0);
    ASSERT_EQ(cls->numMethods(), 2);
    EXPECT_EQ(cls->method(0)->toString(), "void at(int64 i)");
    EXPECT_EQ(cls->method(1)->toString(), "void push(void obj)");
    ASSERT_EQ(cls->numProperties(), 1);
    EXPECT_EQ(cls->property(0)->name(), "length");
    EXPECT_EQ(cls->property(0)->flags(), 1u);
    EXPECT_EQ(cls->property(0)->type(), insp()->type(Inspector::Int64));
    // Descriptors are made once and handed out again.
    EXPECT_EQ(cls->createMethod(1), cls->method(1));
    EXPECT_EQ(cls->createProperty(0), cls->property(0));
    EXPECT_EQ(cls->createMethod(2), nullptr);
}

TEST(ArrayClass, ScriptPushesAndReads)
{
    Object::Ptr array = arrayClass()->construct(ObjectList());
    ASSERT_TRUE(array);
    EXPECT_EQ(array->objectAttribute().flags, 2u);
    EXPECT_TRUE(array->ownsData);
    EXPECT_EQ(lengthOf(array), 0);

    Object::Ptr a = wrap(QStringLiteral("a"));
    EXPECT_EQ(VexilTest::callMethod(array, "push", { a }), insp()->voidObject());
    VexilTest::callMethod(array, "push", { array }); // a second reference to the same object
    EXPECT_EQ(VexilTest::readProperty(array, "length")->objectClass(), insp()->type(Inspector::Int64));
    EXPECT_EQ(lengthOf(array), 2);
    // An int index reaches the int64 parameter by conversion; the element itself comes back, not a copy.
    EXPECT_EQ(callAt(array, insp()->createPrimitive(0)), a);
    EXPECT_EQ(callAt(array, integer(1)), array);
    EXPECT_EQ(insp()->lastError(), "");
    static_cast<Elements *>(ArrayClass::unwrapInternal(array))->clear(); // break the cycle
}

TEST(ArrayClass, BadIndexesAndCallsGiveNull)
{
    Object::Ptr array = ArrayClass::wrapObject({ integer(1), integer(2), integer(3) });
    EXPECT_EQ(callAt(array, insp()->createPrimitive(-1)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Negative index not supported");
    EXPECT_EQ(callAt(array, integer(3)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Out of bounds access: index: 3, size: 3");
    // Indexes beyond 32 bits are not cut down to a valid one.
    EXPECT_EQ(callAt(array, integer(4294967296LL)), nullptr);
    EXPECT_EQ(insp()->lastError(), "Out of bounds access: index: 4294967296, size: 3");

    const Method *at = arrayClass()->method(0);
    {
        VexilTest::StderrCapture capture;
        EXPECT_EQ(at->invoke(array, ObjectList()), nullptr);
        EXPECT_EQ(capture.text(), "Class::invoke Vexil_Array::0: 1 arguments expected, 0 given\n");
    }
    EXPECT_EQ(at->invoke(array, ObjectList { Object::Ptr() }), nullptr);
    EXPECT_EQ(at->invoke(integer(5), ObjectList { integer(0) }), nullptr);
    EXPECT_EQ(at->invoke(arrayClass()->createNull(), ObjectList { integer(0) }), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot invoke member function at() on null object reference");
    EXPECT_EQ(arrayClass()->invoke(2, array, ObjectList { array }, nullptr), nullptr);
    EXPECT_EQ(arrayClass()->construct(1, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(arrayClass()->property(QStringLiteral("length"))->get(integer(1)), nullptr);
}

TEST(ArrayClass, ElementsLiveAsLongAsAnArrayHoldsThem)
{
    static const Class *probeClass = new Class("ArrayTestProbe", true);
    CountedObject::instances = 0;
    Object::Ptr array = arrayClass()->construct(ObjectList());
    VexilTest::callMethod(array, "push", { Object::Ptr(new CountedObject(probeClass)) });
    Object::Ptr copy = ArrayClass::wrapObject(ArrayClass::unwrapObject(array));
    array = Object::Ptr();
    EXPECT_EQ(CountedObject::instances, 1);
    copy = Object::Ptr();
    EXPECT_EQ(CountedObject::instances, 0);
}

TEST(ArrayClass, NativeAndRemoteHelpers)
{
    Object::Ptr one = integer(1);
    Object::Ptr two = wrap(QStringLiteral("two"));
    Elements native { one, two };
    Object::Ptr array = ArrayClass::wrapObject(native);
    ASSERT_TRUE(array);
    EXPECT_EQ(array->objectClass(), arrayClass());
    EXPECT_EQ(array->objectAttribute().flags, 2u);
    EXPECT_TRUE(array->ownsData);
    // The array has its own vector; unwrapInternal gives that vector itself.
    native.clear();
    EXPECT_EQ(ArrayClass::unwrapObject(array), (Elements { one, two }));
    static_cast<Elements *>(ArrayClass::unwrapInternal(array))->push_back(one);
    EXPECT_EQ(lengthOf(array), 3);
    EXPECT_TRUE(ArrayClass::unwrapObject(integer(3)).empty());
    EXPECT_EQ(ArrayClass::unwrapInternal(Object::Ptr()), nullptr);

    Object::Ptr remote = ArrayClass::createRemoteObject({ one, two });
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->objectClass(), arrayClass());
    EXPECT_EQ(ArrayClass::unwrapRemoteObject(remote), (Elements { one, two }));
    EXPECT_EQ(lengthOf(ArrayClass::createRemoteObject({})), 0);
    EXPECT_TRUE(ArrayClass::unwrapRemoteObject(Object::Ptr()).empty());

    // Another class that answers "length" and "at": only those are used, and "at" not for length 0.
    auto *fake = new FakeRemoteArrayClass();
    Object::Ptr fakeArray = fake->wrap(fake, ObjectAttribute());
    EXPECT_TRUE(ArrayClass::unwrapRemoteObject(fakeArray).empty());
    EXPECT_EQ(fake->atCalls, 0);
    fake->length = 3;
    const Elements elements = ArrayClass::unwrapRemoteObject(fakeArray);
    ASSERT_EQ(elements.size(), 3u);
    EXPECT_EQ(elements[2]->toInteger(), 20);
    EXPECT_EQ(fake->atCalls, 3);
}

TEST(ArrayClass, StringListsWrapAsTextArrays)
{
    const QStringList list { QStringLiteral("alpha"), QString::fromUtf8("b\xC3\xA9ta"), QString() };
    Object::Ptr array = wrap(list);
    ASSERT_TRUE(array);
    EXPECT_EQ(lengthOf(array), 3);
    EXPECT_EQ(callAt(array, integer(1))->objectClass(), insp()->type(Inspector::Char));

    QStringList out { QStringLiteral("kept") };
    unwrap(array, &out);
    EXPECT_EQ(out, QStringList { QStringLiteral("kept") } + list);
    // Elements that are not texts come out in their text form.
    QStringList numbers;
    unwrap(ArrayClass::wrapObject({ insp()->createPrimitive(7), insp()->createPrimitive(true) }), &numbers);
    EXPECT_EQ(numbers, (QStringList { QStringLiteral("7"), QStringLiteral("true") }));
    unwrap(array, static_cast<QStringList *>(nullptr));
}
