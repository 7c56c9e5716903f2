// tst_globalobject.cpp: the global class, its methods in their three forms, properties, events and enums.
#include "testsupport.h"

#include "globalobject.h"
#include "inspector.h"

#include <cstdlib>

using namespace Vexil;
using VexilTest::StderrCapture;

namespace {

GlobalClass *global()
{
    return const_cast<GlobalClass *>(dynamic_cast<const GlobalClass *>(Inspector::self()->globalClass()));
}

const Class *primitive(Inspector::PrimitiveTypes t)
{
    return Inspector::self()->type(int(t));
}

Argument intArg(const char *name, unsigned int flags = 0)
{
    return Argument(QString::fromLatin1(name), primitive(Inspector::Int), flags);
}

Argument voidResult()
{
    return Argument(primitive(Inspector::Void));
}

Object::Ptr integer(int v)
{
    return Inspector::self()->createPrimitive(v);
}

// What the last list body saw.
int s_calls = 0;
ObjectList s_args;
const Class *s_class = nullptr;

Object::Ptr listBody(const ObjectList &args, const Class *cls)
{
    ++s_calls;
    s_args = args;
    s_class = cls;
    return integer(int(args.size()));
}

Object::Ptr otherListBody(const ObjectList &, const Class *)
{
    return integer(-1);
}

Object::Ptr rawSum(void **args, const Class *)
{
    ++s_calls;
    return integer(*static_cast<int *>(args[0]) + *static_cast<int *>(args[1]));
}

class RecordingInvoker : public GlobalMethodInvoker
{
public:
    Object::Ptr invoke(const ObjectList &args, const Class *cls) override
    {
        lastArgs = args;
        lastClass = cls;
        return integer(7);
    }
    ObjectList lastArgs;
    const Class *lastClass = nullptr;
};

GlobalMethod *listMethod(const char *name, const Signature &sig, GlobalMethod::ListFunction body = listBody)
{
    return new GlobalMethod(body, voidResult(), QString::fromLatin1(name), sig);
}

Object::Ptr callGlobal(const char *name, const ObjectList &args)
{
    return global()->methods(QString::fromLatin1(name)).invoke(Object::Ptr(), args);
}

int s_liveMethods = 0;

class CountedMethod : public GlobalMethod
{
public:
    CountedMethod(const char *name, const Signature &sig)
        : GlobalMethod(listBody, voidResult(), QString::fromLatin1(name), sig)
    {
        ++s_liveMethods;
    }
    ~CountedMethod() override { --s_liveMethods; }
};

} // namespace

TEST(GlobalClassDeathTest, WrapIsFatal)
{
    EXPECT_DEATH(global()->wrap(nullptr, ObjectAttribute()), "GlobalClass::wrap called");
}

// Forked, so the extra global class never reaches the registry the other tests share.
TEST(GlobalClassDeathTest, DestructorDeletesEveryDescriptorOnce)
{
    EXPECT_EXIT(
        {
            GlobalClass *gc = new GlobalClass();
            gc->addMethod(new CountedMethod("a", Signature(intArg("x"))));
            gc->method(0);   // in the class's table from now on
            gc->addMethod(new CountedMethod("b", Signature()));
            delete gc->injectMethod(new CountedMethod("a", Signature(intArg("y"))));
            gc->addEvent(new Event(gc, QStringLiteral("e"), Signature()));
            gc->event(0);
            const bool before = s_liveMethods == 2;
            delete gc;
            std::exit(before && s_liveMethods == 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(GlobalClass, IsTheInspectorsClassNine)
{
    const Class *cls = Inspector::self()->globalClass();
    EXPECT_EQ(cls, global());
    EXPECT_EQ(cls, Inspector::self()->type(9));
    EXPECT_STREQ(cls->name(), "Vexil::Global");
    EXPECT_EQ(cls->superClass(), nullptr);
    EXPECT_EQ(cls->createConstructor(0), nullptr);
    StderrCapture capture;
    EXPECT_EQ(cls->construct(ObjectList()), nullptr);
    EXPECT_EQ(capture.text(), "Class::construct: No matching constructor found\n");
}

TEST(GlobalClass, ListFunctionIsStaticAndGetsTheArguments)
{
    GlobalClass *gc = global();
    const int before = gc->numMethods();
    GlobalMethod *m = listMethod("gcList", Signature(intArg("v")));
    EXPECT_TRUE(m->isStatic());
    EXPECT_EQ(m->ownerClass(), gc);
    EXPECT_EQ(m->index(), before);
    gc->addMethod(m);
    EXPECT_EQ(gc->numMethods(), before + 1);
    EXPECT_EQ(gc->method(before), m);

    s_calls = 0;
    Object::Ptr r = callGlobal("gcList", { integer(41) });
    ASSERT_TRUE(r);
    EXPECT_EQ(s_calls, 1);
    ASSERT_EQ(s_args.size(), 1u);
    EXPECT_EQ(s_args[0]->toInteger(), 41);
    EXPECT_EQ(s_class, gc);
    EXPECT_EQ(Inspector::self()->lastError(), QString());
}

TEST(GlobalClass, InvokerFormKeepsTheStaticFlag)
{
    GlobalClass *gc = global();
    static RecordingInvoker invoker;
    gc->addMethod(
        new GlobalMethod(&invoker, voidResult(), QStringLiteral("gcInvoked"), Signature(intArg("a")), true));
    gc->addMethod(new GlobalMethod(&invoker, voidResult(), QStringLiteral("gcMember"), Signature(), false));

    const Object::Ptr a = integer(5);
    ASSERT_TRUE(callGlobal("gcInvoked", { a }));
    ASSERT_EQ(invoker.lastArgs.size(), 1u);
    EXPECT_EQ(invoker.lastArgs[0].get(), a.get());
    EXPECT_EQ(invoker.lastClass, gc);
    // Called on an object, the body is told the object's class.
    gc->methods(QStringLiteral("gcInvoked")).at(0)->invoke(a, { a });
    EXPECT_EQ(invoker.lastClass, primitive(Inspector::Int));

    EXPECT_EQ(callGlobal("gcMember", ObjectList()), nullptr);
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Cannot invoke non-static function gcMember() without a object reference"));
}

TEST(GlobalClass, RawFunctionGetsDataPointersAndACheckedCount)
{
    GlobalClass *gc = global();
    gc->addMethod(new GlobalMethod(rawSum, Argument(primitive(Inspector::Int)), QStringLiteral("gcRawSum"),
                                   Signature(intArg("a"), intArg("b")), true));
    Object::Ptr r = callGlobal("gcRawSum", { integer(20), integer(22) });
    ASSERT_TRUE(r);
    EXPECT_EQ(r->toInteger(), 42);

    // A short list never reaches a body that reads one pointer per parameter.
    const Method *m = gc->methods(QStringLiteral("gcRawSum")).at(0);
    s_calls = 0;
    StderrCapture capture;
    EXPECT_EQ(m->invoke(Object::Ptr(), { integer(1) }), nullptr);
    EXPECT_EQ(s_calls, 0);
    const QString expected =
        QStringLiteral("Class::invoke Vexil::Global::%1: 2 arguments expected, 1 given").arg(m->index());
    EXPECT_EQ(Inspector::self()->lastError(), expected);
    EXPECT_EQ(capture.text(), expected.toStdString() + "\n");
}

TEST(GlobalClass, RawInvokeWrapsDataForListFunctions)
{
    GlobalClass *gc = global();
    gc->addMethod(listMethod("gcRawToList", Signature(intArg("v"))));
    const Method *m = gc->methods(QStringLiteral("gcRawToList")).at(0);
    int value = 99;
    void *args[] = { &value };
    s_calls = 0;
    EXPECT_TRUE(gc->invoke(Object::Ptr(), m, args));
    EXPECT_TRUE(gc->invoke(m->index(), nullptr, args, gc));
    EXPECT_EQ(s_calls, 2);
    ASSERT_EQ(s_args.size(), 1u);
    EXPECT_EQ(s_args[0]->toInteger(), 99);
}

TEST(GlobalClass, OutOfRangeIndexesGiveNothing)
{
    GlobalClass *gc = global();
    const int n = gc->numMethods();
    int v = 1;
    EXPECT_EQ(gc->invoke(n + 5, Object::Ptr(), ObjectList(), nullptr), nullptr);
    EXPECT_EQ(gc->invoke(-1, Object::Ptr(), ObjectList(), nullptr), nullptr);
    EXPECT_EQ(gc->invoke(n + 5, nullptr, nullptr, gc), nullptr);
    EXPECT_EQ(gc->getProperty(gc->numProperties() + 3, nullptr, gc), nullptr);
    EXPECT_EQ(gc->getProperty(-1, nullptr, gc), nullptr);
    EXPECT_FALSE(gc->setProperty(gc->numProperties() + 3, nullptr, &v));
    EXPECT_EQ(gc->createMethod(n + 5), nullptr);
    EXPECT_EQ(gc->createEnum(-1), nullptr);
}

TEST(GlobalClass, MethodAddedAfterCreationIsReachable)
{
    GlobalClass *gc = global();
    gc->addMethod(listMethod("gcEarly", Signature()));
    ASSERT_EQ(gc->methods(QStringLiteral("gcEarly")).size(), 1u);   // builds the table
    const int before = gc->numMethods();

    GlobalMethod *late = listMethod("gcLate", Signature());
    gc->addMethod(late);
    EXPECT_EQ(gc->numMethods(), before + 1);
    EXPECT_EQ(gc->method(before), late);
    s_calls = 0;
    EXPECT_TRUE(callGlobal("gcLate", ObjectList()));
    EXPECT_EQ(s_calls, 1);
}

TEST(GlobalClass, InjectReplacesTheSameSignature)
{
    GlobalClass *gc = global();
    GlobalMethod *first = listMethod("gcInject", Signature(intArg("a")));
    gc->addMethod(first);
    const int place = gc->numMethods() - 1;
    ASSERT_EQ(gc->methods(QStringLiteral("gcInject")).size(), 1u);

    GlobalMethod *second = listMethod("gcInject", Signature(intArg("b")), otherListBody);
    const int count = gc->numMethods();
    EXPECT_EQ(gc->injectMethod(second), first);
    delete first;
    EXPECT_EQ(gc->numMethods(), count);
    EXPECT_EQ(gc->method(place), second);
    const MethodList overloads = gc->methods(QStringLiteral("gcInject"));
    ASSERT_EQ(overloads.size(), 1u);
    EXPECT_EQ(overloads[0], second);
    EXPECT_EQ(callGlobal("gcInject", { integer(3) })->toInteger(), -1);

    // The new method's pointer parameter stands in for the plain one.
    GlobalMethod *third = listMethod("gcInject", Signature(intArg("c", ObjectAttribute::Pointer)));
    EXPECT_EQ(gc->injectMethod(third), second);
    delete second;
    EXPECT_EQ(gc->method(place), third);
}

TEST(GlobalClass, InjectAddsWhenNothingMatches)
{
    GlobalClass *gc = global();
    gc->addMethod(listMethod("gcOverload", Signature(intArg("p", ObjectAttribute::Pointer))));
    const int count = gc->numMethods();
    const Signature others[] = {
        Signature(intArg("a")),   // a plain parameter does not stand in for a pointer
        Signature(intArg("p"), intArg("q")),
        Signature(Argument(primitive(Inspector::Double), ObjectAttribute::Pointer)),
    };
    for (const Signature &sig : others)
        EXPECT_EQ(gc->injectMethod(listMethod("gcOverload", sig)), nullptr);
    EXPECT_EQ(gc->injectMethod(nullptr), nullptr);
    EXPECT_EQ(gc->numMethods(), count + 3);
    EXPECT_EQ(gc->methods(QStringLiteral("gcOverload")).size(), 4u);
}

namespace {

int s_propertyValue = 7;

Object::Ptr readValue(const Class *)
{
    return integer(s_propertyValue);
}

bool writeValue(void *value)
{
    s_propertyValue = *static_cast<int *>(value);
    return true;
}

} // namespace

TEST(GlobalClass, PropertiesGoThroughGetterAndSetter)
{
    GlobalClass *gc = global();
    const int index = gc->numProperties();
    GlobalProperty *p = new GlobalProperty(writeValue, readValue, Argument(primitive(Inspector::Int)),
                                           QStringLiteral("gcValue"),
                                           PropertyDeclaration::Readable | PropertyDeclaration::Writable);
    EXPECT_TRUE(p->isStatic());
    gc->addProperty(p);
    EXPECT_EQ(gc->property(QStringLiteral("gcValue")), p);
    EXPECT_EQ(gc->property(index), p);

    EXPECT_EQ(p->get(Object::Ptr())->toInteger(), 7);
    EXPECT_TRUE(p->set(Object::Ptr(), integer(12)));
    EXPECT_EQ(s_propertyValue, 12);
    int raw = 5;
    EXPECT_TRUE(gc->setProperty(index, nullptr, &raw));
    EXPECT_EQ(gc->getProperty(index, nullptr, gc)->toInteger(), 5);

    // Without functions or the write flag: nothing to read, refused to write.
    GlobalProperty *bare = new GlobalProperty(nullptr, nullptr, Argument(primitive(Inspector::Int)),
                                              QStringLiteral("gcBare"), PropertyDeclaration::Readable);
    gc->addProperty(bare);
    EXPECT_EQ(bare->get(Object::Ptr()), nullptr);
    StderrCapture capture;
    EXPECT_FALSE(bare->set(Object::Ptr(), integer(1)));
    EXPECT_EQ(capture.text(), "Object::setProperty: property gcBare is not writable\n");
}

TEST(GlobalClass, EventsAndEnumsAreFoundByName)
{
    GlobalClass *gc = global();
    const int events = gc->numEvents();
    Event *e = new Event(gc, QStringLiteral("gcEvent"), Signature(intArg("code")));
    gc->addEvent(e);
    Enum *mode = new Enum(gc, QStringLiteral("GcMode"));
    gc->addEnum(mode);
    EXPECT_EQ(gc->event(events), e);
    EXPECT_EQ(gc->event(QStringLiteral("gcEvent")), e);
    // A bare enum name is the global class's.
    EXPECT_EQ(Inspector::self()->enumerator(QStringLiteral("GcMode")), mode);

    // Added after the tables were built, still found.
    Enum *later = new Enum(gc, QStringLiteral("GcLater"));
    gc->addEnum(later);
    EXPECT_EQ(gc->enumerator(QStringLiteral("GcLater")), later);
    EXPECT_EQ(gc->enumerator(QStringLiteral("GcMode")), mode);
}
