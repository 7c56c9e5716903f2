// tst_globalobject.cpp: the global class, its methods in their three forms, properties, events and enums.
#include "testsupport.h"

#include "globalobject.h"
#include "inspector.h"

#include <cstdlib>

using namespace Vexil;
using VexilTest::callGlobal;
using VexilTest::primitive;
using VexilTest::StderrCapture;

namespace {

GlobalClass *global()
{
    return const_cast<GlobalClass *>(dynamic_cast<const GlobalClass *>(Inspector::self()->globalClass()));
}

const auto integer = VexilTest::value<int>;

Argument intArg(const char *name, unsigned int flags = 0)
{
    return Argument(QString::fromLatin1(name), primitive(Inspector::Int), flags);
}

// What the last body saw.
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

Object::Ptr minusOne(const ObjectList &, const Class *)
{
    return integer(-1);
}

Object::Ptr rawSum(void **args, const Class *)
{
    ++s_calls;
    return integer(*static_cast<int *>(args[0]) + *static_cast<int *>(args[1]));
}

struct RecordingInvoker : GlobalMethodInvoker
{
    Object::Ptr invoke(const ObjectList &args, const Class *cls) override { return listBody(args, cls); }
};

GlobalMethod *listMethod(const char *name, const Signature &sig, GlobalMethod::ListFunction body = listBody)
{
    return new GlobalMethod(body, Argument(primitive(Inspector::Void)), QString::fromLatin1(name), sig);
}

int s_liveMethods = 0;

struct CountedMethod : GlobalMethod
{
    CountedMethod(const char *name, const Signature &sig)
        : GlobalMethod(listBody, Argument(primitive(Inspector::Void)), QString::fromLatin1(name), sig)
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
            gc->method(0); // in the class's table from now on
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

TEST(GlobalClass, IsTheInspectorsGlobalClassWithoutConstructors)
{
    const Class *cls = Inspector::self()->globalClass();
    EXPECT_STREQ(cls->name(), "Vexil::Global");
    EXPECT_EQ(cls->superClass(), nullptr);
    EXPECT_EQ(cls->createConstructor(0), nullptr);
    StderrCapture capture;
    EXPECT_EQ(cls->construct(ObjectList()), nullptr);
    EXPECT_EQ(capture.text(), "Class::construct: No matching constructor found\n");
}

TEST(GlobalClass, ListAndInvokerBodiesGetTheArguments)
{
    GlobalClass *gc = global();
    GlobalMethod *m = listMethod("gcList", Signature(intArg("v")));
    EXPECT_TRUE(m->isStatic());
    EXPECT_EQ(m->ownerClass(), gc);
    gc->addMethod(m);
    s_calls = 0;
    EXPECT_EQ(callGlobal("gcList", { integer(41) })->toInteger(), 1);
    EXPECT_EQ(s_calls, 1);
    EXPECT_EQ(s_args.at(0)->toInteger(), 41);
    EXPECT_EQ(s_class, gc);

    // The invoker form keeps the static flag it is given; called on an object, it is told the object's class.
    static RecordingInvoker invoker;
    const Argument nothing(primitive(Inspector::Void));
    gc->addMethod(
        new GlobalMethod(&invoker, nothing, QStringLiteral("gcInvoked"), Signature(intArg("a")), true));
    gc->addMethod(new GlobalMethod(&invoker, nothing, QStringLiteral("gcMember"), Signature(), false));
    const Object::Ptr a = integer(5);
    ASSERT_TRUE(callGlobal("gcInvoked", { a }));
    EXPECT_EQ(s_args.at(0).get(), a.get());
    EXPECT_EQ(s_class, gc);
    gc->methods(QStringLiteral("gcInvoked")).at(0)->invoke(a, { a });
    EXPECT_EQ(s_class, primitive(Inspector::Int));
    EXPECT_EQ(callGlobal("gcMember", ObjectList()), nullptr);
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Cannot invoke non-static function gcMember() without a object reference"));
}

TEST(GlobalClass, RawFunctionGetsDataPointersAndACheckedCount)
{
    GlobalClass *gc = global();
    gc->addMethod(new GlobalMethod(rawSum, Argument(primitive(Inspector::Int)), QStringLiteral("gcRawSum"),
                                   Signature(intArg("a"), intArg("b")), true));
    EXPECT_EQ(callGlobal("gcRawSum", { integer(20), integer(22) })->toInteger(), 42);

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

    // The raw invoke wraps data pointers into objects for a list body.
    gc->addMethod(listMethod("gcRawToList", Signature(intArg("v"))));
    const Method *list = gc->methods(QStringLiteral("gcRawToList")).at(0);
    int value = 99;
    void *args[] = { &value };
    EXPECT_TRUE(gc->invoke(Object::Ptr(), list, args));
    EXPECT_TRUE(gc->invoke(list->index(), nullptr, args, gc));
    EXPECT_EQ(s_calls, 2);
    EXPECT_EQ(s_args.at(0)->toInteger(), 99);

    // Indexes outside the lists give nothing.
    const int n = gc->numMethods();
    EXPECT_EQ(gc->invoke(n, Object::Ptr(), ObjectList(), nullptr), nullptr);
    EXPECT_EQ(gc->invoke(-1, nullptr, nullptr, gc), nullptr);
    EXPECT_EQ(gc->getProperty(gc->numProperties() + 3, nullptr, gc), nullptr);
    EXPECT_FALSE(gc->setProperty(-1, nullptr, &value));
    EXPECT_EQ(gc->createMethod(n), nullptr);
}

TEST(GlobalClass, MethodsAddedLateOrMadeAheadTakeTheirPlace)
{
    GlobalClass *gc = global();
    gc->addMethod(listMethod("gcEarly", Signature()));
    ASSERT_EQ(gc->methods(QStringLiteral("gcEarly")).size(), 1u); // builds the table
    const int before = gc->numMethods();
    // Both made before either is added: each gets the place it joins.
    GlobalMethod *first = listMethod("gcAhead1", Signature());
    GlobalMethod *second = listMethod("gcAhead2", Signature(), minusOne);
    gc->addMethod(first);
    gc->addMethod(second);
    EXPECT_EQ(gc->method(before + 1), second);
    EXPECT_EQ(second->index(), before + 1);
    EXPECT_EQ(gc->invoke(before + 1, Object::Ptr(), ObjectList(), nullptr)->toInteger(), -1);
    EXPECT_EQ(callGlobal("gcAhead2", ObjectList())->toInteger(), -1);
}

TEST(GlobalClass, InjectReplacesTheSameSignature)
{
    GlobalClass *gc = global();
    GlobalMethod *first = listMethod("gcInject", Signature(intArg("a")));
    gc->addMethod(first);
    const int place = gc->numMethods() - 1;
    ASSERT_EQ(gc->methods(QStringLiteral("gcInject")).size(), 1u);

    GlobalMethod *second = listMethod("gcInject", Signature(intArg("b")), minusOne);
    EXPECT_EQ(gc->injectMethod(second), first);
    delete first;
    EXPECT_EQ(gc->numMethods(), place + 1);
    EXPECT_EQ(gc->method(place), second);
    EXPECT_EQ(second->index(), place);
    EXPECT_EQ(callGlobal("gcInject", { integer(3) })->toInteger(), -1);

    // The new method's pointer parameter stands in for the plain one.
    GlobalMethod *third = listMethod("gcInject", Signature(intArg("c", ObjectAttribute::Pointer)));
    EXPECT_EQ(gc->injectMethod(third), second);
    delete second;
    EXPECT_EQ(gc->method(place), third);

    // Otherwise it is added: a plain for a pointer parameter, another length, another type.
    const Signature others[] = { Signature(intArg("a")), Signature(intArg("p"), intArg("q")),
                                 Signature(
                                     Argument(primitive(Inspector::Double), ObjectAttribute::Pointer)) };
    for (const Signature &sig : others)
        EXPECT_EQ(gc->injectMethod(listMethod("gcInject", sig)), nullptr);
    EXPECT_EQ(gc->injectMethod(nullptr), nullptr);
    EXPECT_EQ(gc->numMethods(), place + 4);
    EXPECT_EQ(gc->methods(QStringLiteral("gcInject")).size(), 4u);
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

TEST(GlobalClass, PropertiesEventsAndEnums)
{
    GlobalClass *gc = global();
    const int index = gc->numProperties();
    auto *p = new GlobalProperty(writeValue, readValue, Argument(primitive(Inspector::Int)),
                                 QStringLiteral("gcValue"),
                                 PropertyDeclaration::Readable | PropertyDeclaration::Writable);
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
    auto *bare = new GlobalProperty(nullptr, nullptr, Argument(primitive(Inspector::Int)),
                                    QStringLiteral("gcBare"), PropertyDeclaration::Readable);
    gc->addProperty(bare);
    EXPECT_EQ(bare->get(Object::Ptr()), nullptr);
    {
        StderrCapture capture;
        EXPECT_FALSE(bare->set(Object::Ptr(), integer(1)));
        EXPECT_EQ(capture.text(), "Object::setProperty: property gcBare is not writable\n");
    }

    const int events = gc->numEvents();
    Event *e = new Event(gc, QStringLiteral("gcEvent"), Signature(intArg("code")));
    gc->addEvent(e);
    Enum *mode = new Enum(gc, QStringLiteral("GcMode"));
    gc->addEnum(mode);
    EXPECT_EQ(gc->event(events), e);
    EXPECT_EQ(gc->event(QStringLiteral("gcEvent")), e);
    EXPECT_EQ(Inspector::self()->enumerator(QStringLiteral("GcMode")), mode);
    // Added after the tables were built, still found.
    Enum *later = new Enum(gc, QStringLiteral("GcLater"));
    gc->addEnum(later);
    EXPECT_EQ(gc->enumerator(QStringLiteral("GcLater")), later);
    EXPECT_EQ(gc->property(QStringLiteral("gcValue")), p);
}
