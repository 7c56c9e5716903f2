// tst_members.cpp: member descriptors, printed forms, overload choice, call and property checks, conversion
// slots and the stream form of the descriptors.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"

#include <QBuffer>
#include <QDataStream>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

using namespace Vexil;
using VexilTest::primitive;
using VexilTest::StderrCapture;
using VexilTest::streamBytes;

namespace {

// A class whose members and conversions each test sets up; the raw slots record what reached them.
class TestClass : public VexilTest::ChainClass
{
public:
    explicit TestClass(const char *name, Namespace *ns = nullptr)
        : ChainClass(name, nullptr, ns)
    {
    }

    using Class::construct;
    using Class::getProperty;
    using Class::invoke;
    using Class::setNumConstructors;
    using Class::setNumEnums;
    using Class::setNumMethods;
    using Class::setNumProperties;
    using Class::setProperty;

    struct MethodEntry
    {
        QString name;
        Signature signature;
        bool isStatic;
    };

    void addMethod(const QString &name, const Signature &sig, bool isStatic = false)
    {
        entries.push_back(MethodEntry { name, sig, isStatic });
        setNumMethods(int(entries.size()));
    }

    Method *createMethod(int i) const override
    {
        const MethodEntry &s = entries.at(size_t(i - superClassOffset(MethodOffset)));
        return new Method(this, Argument(returnType), s.name, s.signature, s.isStatic, i);
    }
    Constructor *createConstructor(int i) const override
    {
        return new Constructor(this, constructorSignatures.at(size_t(i)), i);
    }
    Property *createProperty(int i) const override
    {
        return new Property(declarations.at(size_t(i)), this, i, true);
    }
    Enum *createEnum(int i) const override { return enums.at(size_t(i)); }

    Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const override
    {
        record(index, object, cls);
        const Method *m = method(index);
        for (int i = 0; m && i < m->signature().count(); ++i)
            raw.args.push_back(args[i]);
        if (onInvoke)
            onInvoke(args);
        return result;
    }
    Object::Ptr getProperty(int index, void *object, const Class *cls) const override
    {
        record(index, object, cls);
        return result;
    }
    bool setProperty(int index, void *object, void *value) const override
    {
        record(index, object, nullptr);
        raw.args.push_back(value);
        return true;
    }
    Object::Ptr construct(int index, void **args) const override
    {
        record(index, nullptr, nullptr);
        const Constructor *c = constructor(index);
        for (int i = 0; c && i < c->signature().count(); ++i)
            raw.args.push_back(args[i]);
        return result;
    }

    Object::Ptr make(void *data, unsigned int flags = 0) const { return wrap(data, ObjectAttribute(flags)); }

    struct Raw
    {
        int calls = 0;
        int index = -1;
        void *object = nullptr;
        const Class *cls = nullptr;
        std::vector<void *> args;
    };
    mutable Raw raw;

    std::vector<MethodEntry> entries;
    std::vector<Signature> constructorSignatures;
    std::vector<const PropertyDeclaration *> declarations;
    std::vector<Enum *> enums;
    const Class *returnType = nullptr;
    // Sees the raw arguments while converted ones are still alive.
    std::function<void(void **)> onInvoke;
    Object::Ptr result;

private:
    void record(int index, void *object, const Class *cls) const
    {
        ++raw.calls;
        raw.index = index;
        raw.object = object;
        raw.cls = cls;
        raw.args.clear();
    }
};

int s_dataA = 1, s_dataB = 2, s_dataC = 3;

// Classes A and B where B converts to A by wrapping s_dataC.
struct Pair
{
    TestClass *a;
    TestClass *b;
};

Pair makePair(const char *a, const char *b)
{
    Pair p { new TestClass(a), new TestClass(b) };
    TestClass *target = p.a;
    p.b->convertible = [target](const Class *t, bool, bool) { return t == target; };
    p.b->converter = [](Object::Ptr, const Class *t, bool) { return t->wrap(&s_dataC, ObjectAttribute()); };
    return p;
}

} // namespace

// Printed forms

TEST(MemberText, SignaturesMethodsAndConstructors)
{
    const Class *str = new TestClass("QString");
    const Class *integer = primitive(Inspector::Int);
    // The return type keeps "*" and "&" next to the type; parameters put a blank before them.
    Method ptr(str, Argument(str, ObjectAttribute::Pointer), "name", Signature(Argument("s", str, 2)), false,
               0);
    EXPECT_EQ(ptr.toString(), "QString* name(QString * s)");
    EXPECT_EQ(Method(str, Argument(integer), "count", Signature(), false, 1).toString(), "int count()");
    Method text(str, Argument(str, ObjectAttribute::ConstValue | ObjectAttribute::Reference), "text",
                Signature(Argument("index", integer)), false, 2);
    EXPECT_EQ(text.toString(), "const QString& text(int index)");
    EXPECT_EQ(Signature(Argument(str, 1)).toString(), "(QString &)");

    TestClass *c = new TestClass("TMText");
    EXPECT_EQ(Signature(Argument("v", c, ObjectAttribute::Array, 3)).toString(), "(TMText [3] v)");
    EXPECT_EQ(Signature(Argument(c, ObjectAttribute::Array, 0)).toString(), "(TMText [])");
    EXPECT_EQ(Signature(Argument("p", c, 10u)).toString(), "(TMText * const p)");
    EXPECT_EQ(Signature(Argument(c, 31u, 2), Argument("b", c)).toString(),
              "(const TMText & * [2] const, TMText b)");
    EXPECT_EQ(Method(c, Argument(c, 31u, 4), "all", Signature(), false, 0).toString(),
              "const TMText&* [4] const all()");
    EXPECT_EQ(Signature().toString(), "()");

    Enum own(c, "Color");
    Enum global(Inspector::self()->globalClass(), "Mode");
    EXPECT_EQ(Signature(Argument("c", c, 0, 0, &own), Argument(c, 0, 0, &global)).toString(),
              "(TMText::Color c, Mode)");
    EXPECT_EQ(Constructor(c, Signature(Argument("a", c), Argument("b", c, 2)), 0).toString(),
              "TMText(TMText a, TMText * b)");

    // A missing class means "undefined"; an index past the end gives an empty argument.
    EXPECT_EQ(Argument(static_cast<const Class *>(nullptr)).type(), primitive(Inspector::Undefined));
    EXPECT_EQ(Argument("x", nullptr, ObjectAttribute(2, 5)).type(), primitive(Inspector::Undefined));
    EXPECT_EQ(Signature(Argument(c)).at(1).type(), nullptr);
    EXPECT_EQ(Signature(Argument(c)).at(-1).name(), "");
}

// Overloads

TEST(MethodList, FirstReachableOverloadWinsOverLaterExactMatch)
{
    Pair p = makePair("TMOvA", "TMOvB");
    TestClass *calc = new TestClass("TMOvCalc");
    calc->addMethod("f", Signature(Argument(p.a)));
    calc->addMethod("f", Signature(Argument(p.b)));
    const MethodList list = calc->methods("f");
    ASSERT_EQ(list.size(), 2u);
    Object::Ptr obj = calc->make(&s_dataA);
    ObjectList args { p.b->make(&s_dataB) };

    EXPECT_EQ(list.methodForArguments(args), list[1]);
    bool found = false;
    list.invoke(obj, args, &found);
    EXPECT_TRUE(found);
    EXPECT_EQ(calc->raw.index, 0);
    EXPECT_EQ(calc->raw.object, &s_dataA);
    EXPECT_EQ(calc->raw.args.at(0), &s_dataC);
    // Without conversion the argument's own data goes down.
    list.invoke(obj, ObjectList { p.a->make(&s_dataA) });
    EXPECT_EQ(calc->raw.args.at(0), &s_dataA);
    EXPECT_TRUE(Inspector::self()->lastError().isEmpty());
}

TEST(MethodList, ConversionIsAskedWithBothPointerBits)
{
    TestClass *target = new TestClass("TMOvPtrTarget");
    TestClass *source = new TestClass("TMOvPtrSource");
    std::vector<std::pair<bool, bool>> asked;
    source->convertible = [&asked, target](const Class *t, bool s, bool p) {
        asked.emplace_back(s, p);
        return t == target;
    };
    source->converter = [](Object::Ptr, const Class *t, bool) {
        return t->wrap(&s_dataC, ObjectAttribute());
    };
    TestClass *c = new TestClass("TMOvPtr");
    c->addMethod("g", Signature(Argument(target, ObjectAttribute::Pointer)));
    bool found = false;
    c->methods("g").invoke(c->make(&s_dataA), ObjectList { source->make(&s_dataB) }, &found);
    EXPECT_TRUE(found);
    c->methods("g").invoke(c->make(&s_dataA),
                           ObjectList { source->make(&s_dataB, ObjectAttribute::Pointer) });
    ASSERT_GE(asked.size(), 2u);
    EXPECT_EQ(asked.front(), std::make_pair(false, true));
    EXPECT_EQ(asked.back(), std::make_pair(true, true));
}

TEST(MethodList, NoOverloadOrNoMatchSetsErrors)
{
    TestClass *c = new TestClass("TMOvMiss");
    TestClass *other = new TestClass("TMOvOther");
    c->addMethod("g", Signature(Argument(c)));
    Object::Ptr obj = c->make(&s_dataA);
    Inspector *insp = Inspector::self();

    bool found = true;
    EXPECT_EQ(c->methods("nothing").invoke(obj, ObjectList(), &found), nullptr);
    EXPECT_FALSE(found);
    EXPECT_EQ(insp->lastError(), "Function not available");
    found = true;
    EXPECT_EQ(c->methods("g").invoke(obj, ObjectList { other->make(&s_dataB) }, &found), nullptr);
    EXPECT_FALSE(found);
    EXPECT_EQ(insp->lastError(), "Found no matching overload");
    EXPECT_EQ(insp->lastError(), "");

    // Wrong count and a null argument never match.
    Object::Ptr result;
    EXPECT_FALSE(c->methods("g").invoke(obj, ObjectList(), result));
    EXPECT_FALSE(c->methods("g").invoke(obj, ObjectList { Object::Ptr() }, result));
    EXPECT_EQ(c->methods("g").methodForArguments(ObjectList { Object::Ptr() }), nullptr);
    EXPECT_EQ(c->raw.calls, 0);
    c->result = c->make(&s_dataC);
    EXPECT_TRUE(c->methods("g").invoke(obj, ObjectList { c->make(&s_dataB) }, result));
    EXPECT_EQ(result, c->result);
}

TEST(MethodList, VoidParametersAndPrimitiveConversions)
{
    TestClass *c = new TestClass("TMOvPrim");
    TestClass *any = new TestClass("TMOvAny");
    const Class *integer = primitive(Inspector::Int);
    c->addMethod("push", Signature(Argument("obj", primitive(Inspector::Void))));
    c->addMethod("add", Signature(Argument("a", integer), Argument("b", integer)));
    ObjectList anything { any->make(&s_dataB) };
    EXPECT_EQ(c->methods("push").methodForArguments(anything), c->method(0));
    c->methods("push").invoke(c->make(&s_dataA), anything);
    EXPECT_EQ(c->raw.args.at(0), &s_dataB);

    std::vector<int> seen;
    c->onInvoke = [&seen](void **args) {
        seen = { *static_cast<int *>(args[0]), *static_cast<int *>(args[1]) };
    };
    Inspector *insp = Inspector::self();
    const ObjectList args { insp->createPrimitive(-2.7), insp->createPrimitive(5) };
    bool found = false;
    c->methods("add").invoke(c->make(&s_dataA), args, &found);
    ASSERT_TRUE(found);
    EXPECT_EQ(seen, (std::vector<int> { -2, 5 }));
    EXPECT_EQ(c->raw.args.at(1), args[1]->rawData()); // no conversion needed, none made
}

// Checks and their messages

TEST(Invocation, ObjectChecksNameTheMethod)
{
    TestClass *c = new TestClass("TMCheck");
    c->addMethod("member", Signature());
    c->addMethod("shared", Signature(), true);
    const Method *member = c->method(0);
    const Method *shared = c->method(1);
    Inspector *insp = Inspector::self();

    EXPECT_EQ(member->invoke(c->make(nullptr), ObjectList()), nullptr);
    EXPECT_EQ(insp->lastError(), "Cannot invoke member function member() on null object reference");
    EXPECT_EQ(member->invoke(Object::Ptr(), ObjectList()), nullptr);
    EXPECT_EQ(insp->lastError(), "Cannot invoke non-static function member() without a object reference");
    Object::Ptr dead = c->make(&s_dataA);
    dead->invalidate();
    EXPECT_FALSE(verifyMethodInvocation(dead, member)); // an invalidated object is a null one first
    EXPECT_EQ(insp->lastError(), "Cannot invoke member function member() on null object reference");
    EXPECT_FALSE(verifyMethodInvocation(dead, shared));
    EXPECT_EQ(insp->lastError(), "Cannot invoke member function shared() on invalidated object reference");
    EXPECT_EQ(c->raw.calls, 0);

    // A static method needs no object, and a null object is fine for it.
    EXPECT_TRUE(verifyMethodInvocation(c->make(nullptr), shared));
    shared->invoke(Object::Ptr(), ObjectList());
    EXPECT_EQ(c->raw.calls, 1);
    EXPECT_EQ(c->raw.index, 1);
    EXPECT_EQ(c->raw.object, nullptr);
    EXPECT_EQ(c->raw.cls, c);
    EXPECT_EQ(insp->lastError(), "");

    // The raw form checks the same way.
    void *args[] = { &s_dataB };
    EXPECT_EQ(c->invoke(c->make(nullptr), member, args), nullptr);
    EXPECT_EQ(insp->lastError(), "Cannot invoke member function member() on null object reference");
    c->invoke(c->make(&s_dataA), member, args);
    EXPECT_EQ(c->raw.object, &s_dataA);
}

TEST(Invocation, ArgumentCountMismatchNamesTheIndex)
{
    TestClass *base = new TestClass("TMCountBase");
    for (const char *name : { "a", "b", "c" })
        base->addMethod(name, Signature());
    TestClass *c = new TestClass("TMCount");
    c->superclass = base;
    c->addMethod("two", Signature(Argument(c), Argument(c)));
    const Method *two = c->method(3);
    ASSERT_EQ(two->name(), "two");
    Object::Ptr obj = c->make(&s_dataA);
    StderrCapture err;
    EXPECT_EQ(two->invoke(obj, ObjectList { obj }), nullptr);
    EXPECT_EQ(err.text(), "Class::invoke TMCount::3: 2 arguments expected, 1 given\n");
    EXPECT_EQ(Inspector::self()->lastError(), "Class::invoke TMCount::3: 2 arguments expected, 1 given");
    EXPECT_EQ(c->raw.calls, 0);

    Method late(c, Argument(c), "late", Signature(Argument(c)), false, 7);
    EXPECT_FALSE(verifyMethodArgumentCount("50%1", &late, ObjectList()));
    EXPECT_EQ(Inspector::self()->lastError(), "Class::invoke 50%1::7: 1 arguments expected, 0 given");
    EXPECT_TRUE(verifyMethodArgumentCount("Other", &late, ObjectList { obj }));
}

TEST(Construction, ChoosesFirstFittingConstructorAndReports)
{
    Pair p = makePair("TMCtorA", "TMCtorB");
    TestClass *c = new TestClass("TMCtor");
    c->constructorSignatures = { Signature(), Signature(Argument(p.a)), Signature(Argument(p.b)) };
    c->setNumConstructors(3);
    c->result = c->make(&s_dataA);

    EXPECT_EQ(c->construct(ObjectList { p.b->make(&s_dataB) }), c->result);
    EXPECT_EQ(c->raw.index, 1);
    EXPECT_EQ(c->raw.args.at(0), &s_dataC);
    c->construct(ObjectList());
    EXPECT_EQ(c->raw.index, 0);

    StderrCapture err;
    EXPECT_EQ(c->construct(ObjectList { c->make(&s_dataA) }), nullptr);
    EXPECT_EQ(c->constructor(1)->construct(ObjectList()), nullptr);
    EXPECT_EQ(err.text(),
              "Class::construct: No matching constructor found\n"
              "Constructor::construct TMCtor: 1 arguments expected, 0 given\n");
    EXPECT_EQ(c->raw.calls, 2);
}

// Properties

class PropertyTest : public ::testing::Test
{
protected:
    static TestClass *cls;
    static TestClass *value;
    static TestClass *unrelated;
    static void SetUpTestSuite()
    {
        cls = new TestClass("TMProp");
        value = new TestClass("TMPropValue");
        unrelated = new TestClass("TMPropUnrelated");
        using D = PropertyDeclaration;
        cls->declarations = {
            new D(cls, Argument(value), "rw", D::Readable | D::Writable),
            new D(cls, Argument(value), "ro", D::Readable),
            new D(cls, Argument(value), "secret", D::Writable),
            new D(cls, Argument(value), "global", D::Readable | D::Writable | D::Static),
        };
        cls->setNumProperties(4);
    }
    const Property *prop(const char *name) { return cls->property(QString::fromLatin1(name)); }
};
TestClass *PropertyTest::cls = nullptr;
TestClass *PropertyTest::value = nullptr;
TestClass *PropertyTest::unrelated = nullptr;

TEST_F(PropertyTest, AccessChecksSetScriptErrors)
{
    Inspector *insp = Inspector::self();
    EXPECT_EQ(prop("rw")->get(Object::Ptr()), nullptr);
    EXPECT_EQ(insp->lastError(), "Cannot access non-static property rw without object reference");
    EXPECT_FALSE(prop("rw")->set(cls->make(nullptr), value->make(&s_dataB)));
    EXPECT_EQ(insp->lastError(), "Cannot access property rw on null object reference");
    EXPECT_EQ(prop("global")->get(cls->make(nullptr)),
              nullptr); // static or not, a given object must hold data
    EXPECT_EQ(insp->lastError(), "Cannot access property global on null object reference");

    // An invalidated object is a null one first, unless its type says otherwise.
    struct Zombie : Object
    {
        using Object::Object;
        bool isNull() const override { return false; }
    };
    Object::Ptr dead(new Zombie(&s_dataA, cls, ObjectAttribute()));
    dead->invalidate();
    EXPECT_FALSE(verifyPropertyAccess(dead, prop("rw")));
    EXPECT_EQ(insp->lastError(), "Cannot access property rw on invalidated object reference");
    EXPECT_EQ(insp->lastError(), "");
    EXPECT_TRUE(verifyPropertyAccess(Object::Ptr(), prop("global")));
}

TEST_F(PropertyTest, GetAndSetReachRawSlots)
{
    cls->result = value->make(&s_dataC);
    Object::Ptr obj = cls->make(&s_dataA);
    EXPECT_EQ(prop("rw")->get(obj), cls->result);
    EXPECT_EQ(cls->raw.index, 0);
    EXPECT_EQ(cls->raw.object, &s_dataA);
    EXPECT_TRUE(prop("rw")->set(obj, value->make(&s_dataB)));
    EXPECT_EQ(cls->raw.args.at(0), &s_dataB);
    EXPECT_TRUE(prop("global")->set(Object::Ptr(), value->make(&s_dataB)));
    EXPECT_EQ(cls->raw.index, 3);
    EXPECT_EQ(cls->raw.object, nullptr);
    EXPECT_EQ(prop("global")->get(Object::Ptr()), cls->result);

    // The queries forward to the declaration, also when the property is bound to another class.
    Property bound(prop("ro")->declaration(), value, 9);
    EXPECT_EQ(bound.propertyClass(), cls);
    EXPECT_EQ(bound.boundClass(), value);
    EXPECT_EQ(bound.type(), value);
    EXPECT_EQ(bound.flags(), 1u);
}

TEST_F(PropertyTest, ClassLevelMessages)
{
    Object::Ptr obj = cls->make(&s_dataA);
    const int before = cls->raw.calls;
    StderrCapture err;
    EXPECT_EQ(cls->getProperty(99, obj, nullptr), nullptr);
    EXPECT_EQ(prop("secret")->get(obj), nullptr);
    EXPECT_FALSE(cls->setProperty(Object::Ptr(), prop("rw"), value->make(&s_dataB)));
    EXPECT_FALSE(prop("ro")->set(obj, value->make(&s_dataB)));
    EXPECT_FALSE(prop("rw")->set(obj, unrelated->make(&s_dataB)));
    EXPECT_EQ(err.text(),
              "Class::getProperty: No such property: 99\n"
              "Class::getProperty: property secret is not readable\n"
              "Class::setProperty: Can't set non-static property without object reference\n"
              "Object::setProperty: property ro is not writable\n"
              "Object::setProperty: type TMPropUnrelated cannot be converted to TMPropValue\n");
    EXPECT_EQ(cls->raw.calls, before);
}

namespace {
Object::Ptr s_readObject;
Object::Ptr s_written;
Object::Ptr readHook(Object::Ptr object)
{
    s_readObject = object;
    return object;
}
bool writeHook(Object::Ptr, Object::Ptr value)
{
    s_written = value;
    return true;
}
} // namespace

TEST(PropertyDeclarations, ReadersAndUnknownTypes)
{
    TestClass *c = new TestClass("TMDecl");
    c->addMethod("getIt", Signature());
    c->result = c->make(&s_dataC);
    using D = PropertyDeclaration;
    c->declarations = {
        new D(c, Argument(c), "viaMethod", D::Readable, QStringLiteral("getIt")),
        new D(c, Argument(c), "viaFunction", D::Readable | D::Writable, readHook, writeHook),
    };
    c->setNumProperties(2);
    Object::Ptr obj = c->make(&s_dataA);
    EXPECT_EQ(c->property(0)->get(obj), c->result);
    EXPECT_EQ(c->raw.index, 0); // the method, not a raw property slot
    EXPECT_EQ(c->property(1)->get(obj), obj);
    EXPECT_EQ(s_readObject, obj);
    Object::Ptr v = c->make(&s_dataB);
    EXPECT_TRUE(c->property(1)->set(obj, v));
    EXPECT_EQ(s_written, v);

    D byName("TMDecl", "TMNoSuchType", "broken", D::Readable);
    StderrCapture err;
    EXPECT_EQ(byName.ownerClass(), c);
    EXPECT_EQ(byName.type(), nullptr);
    EXPECT_EQ(err.text(), "Property TMDecl::broken has unknown type TMNoSuchType.\n");
    D known("TMDecl", "TMDecl*", "self", D::Readable);
    EXPECT_EQ(known.type(), c);
    EXPECT_EQ(err.text(), "Property TMDecl::broken has unknown type TMNoSuchType.\n");
}

// Enums and argument comparison

TEST(EnumTest, MaskDetectionKeysAndValues)
{
    Enum e(nullptr, "E");
    EXPECT_TRUE(e.detectIsMask());
    for (int v : { 0, 1, 2, 4 })
        e.addItem(QString::number(v), v);
    EXPECT_TRUE(e.isMask());
    e.addItem("three", 3);
    EXPECT_FALSE(e.detectIsMask());
    EXPECT_FALSE(e.isMask());
    e.setIsMask(true);
    e.addItem("eight", 8);
    EXPECT_TRUE(e.isMask()); // an explicit choice stays

    Enum color(nullptr, "Color");
    color.addItem("Red", 1);
    color.addItem("Green", 2);
    color.addItem("Both", 3);
    EXPECT_EQ(color.count(), 3);
    EXPECT_EQ(color.key(2), "Both");
    EXPECT_EQ(color.value(1), 2);
    EXPECT_EQ(color.key(3), "");
    EXPECT_EQ(color.value(-1), -1);
    bool ok = false;
    EXPECT_EQ(color.value("Green", &ok), 2);
    EXPECT_TRUE(ok);
    color.value("green", &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(color.valueToKey(3, &ok), "Both"); // exact value only, no mask composition
    EXPECT_TRUE(ok);
    StderrCapture err;
    EXPECT_EQ(color.valueToKey(9, &ok), "");
    EXPECT_FALSE(ok);
    EXPECT_EQ(err.text(), "Could not find value 9 in enum Color\n");
}

TEST(CompareArgs, SameClassAndTheCharRule)
{
    TestClass *a = new TestClass("TMCmpA");
    TestClass *b = new TestClass("TMCmpB");
    TestClass *qc = new TestClass("QCString");
    const Class *ch = primitive(Inspector::Char);
    EXPECT_TRUE(vexilidl_compare_args(Argument(a, 5), Argument(a, 5)));
    EXPECT_TRUE(vexilidl_compare_args(Argument(a, 1), Argument(a, 4))); // neither has the pointer bit
    EXPECT_TRUE(vexilidl_compare_args(Argument(a, 2), Argument(a, 0)));
    EXPECT_FALSE(vexilidl_compare_args(Argument(a, 0), Argument(a, 2)));
    EXPECT_FALSE(vexilidl_compare_args(Argument(a), Argument(b)));
    EXPECT_TRUE(vexilidl_compare_args(Argument(ch), Argument(qc, 2)));
    EXPECT_FALSE(vexilidl_compare_args(Argument(qc), Argument(ch)));
}

// Conversion and comparison slots

namespace {
class IntegerConversion : public ConversionDelegate
{
public:
    using ConversionDelegate::ConversionDelegate;
    ConvertFlags supportedConversions(ConvertFlags wanted) const override { return wanted & ConvertInteger; }
    int toInteger(Object::Ptr) const override { return 42; }
    long long toInt64(Object::Ptr) const override { return 0; }
    void fromInt64(long long, Object::Ptr) const override { }
};

class AlwaysSame : public ComparisonDelegate
{
public:
    using ComparisonDelegate::ComparisonDelegate;
    bool sameObjects(Object::Ptr, Object::Ptr) const override { return true; }
    int compare(Object::Ptr, Object::Ptr) const override { return 7; }
};
} // namespace

TEST(Conversion, SourceThenTargetThenDelegate)
{
    Pair p = makePair("TMConvA", "TMConvB");
    Object::Ptr b = p.b->make(&s_dataB);
    EXPECT_EQ(p.b->convertTo(b, p.b, true), b);
    EXPECT_TRUE(p.b->canConvertTo(p.a, false, false, nullptr));
    EXPECT_EQ(p.b->convertTo(b, p.a, false)->rawData(), &s_dataC);
    EXPECT_FALSE(p.a->canConvertTo(p.b, false, false, nullptr));
    EXPECT_EQ(p.a->convertTo(p.a->make(&s_dataA), p.b, false), nullptr);
    EXPECT_EQ(p.a->convertTo(Object::Ptr(), p.a, false), nullptr);
    EXPECT_FALSE(p.a->canConvertTo(nullptr, false, false, nullptr));

    // A target may build itself from others.
    TestClass *base = new TestClass("TMConvBase");
    TestClass *other = new TestClass("TMConvOther");
    base->convertible = [base](const Class *target, bool, bool) { return target == base; };
    base->converter = [](Object::Ptr obj, const Class *target, bool) {
        return target->wrap(obj->rawData(), ObjectAttribute(2));
    };
    Object::Ptr built = other->convertTo(other->make(&s_dataA), base, false);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->objectClass(), base);

    TestClass *d = new TestClass("TMConvDelegated");
    new IntegerConversion(QStringLiteral("TMConvDelegated"));
    EXPECT_TRUE(d->canConvertTo(primitive(Inspector::Int), false, false, nullptr));
    EXPECT_FALSE(d->canConvertTo(primitive(Inspector::Double), false, false, nullptr));
    EXPECT_EQ(d->convertTo(d->make(&s_dataA), primitive(Inspector::Int), false)->toInteger(), 42);
}

TEST(Conversion, TolerantFormsFlipThePointerForm)
{
    TestClass *c = new TestClass("TMTolerant");
    TestClass *plain = new TestClass("TMTolerantPlain");
    c->convertible = [plain](const Class *target, bool s, bool t) { return target == plain && !s && !t; };
    c->converter = [](Object::Ptr obj, const Class *target, bool) {
        return target->wrap(obj->rawData(), ObjectAttribute());
    };
    EXPECT_FALSE(c->canConvertTo(plain, true, false, nullptr));
    EXPECT_TRUE(c->canConvertToTolerant(plain, true, false, nullptr));
    EXPECT_FALSE(c->canConvertToTolerant(plain, true, true, nullptr));
    EXPECT_EQ(c->convertToTolerant(c->make(&s_dataA, ObjectAttribute::Pointer), plain, false)->rawData(),
              &s_dataA);

    Object::Ptr value = c->make(&s_dataA);
    EXPECT_EQ(c->convertToTolerant(value, c, false), value);
    EXPECT_EQ(c->convertToTolerant(value, c, true)->objectAttribute().flags,
              unsigned(ObjectAttribute::Pointer));
    EXPECT_EQ(c->convertToTolerant(c->make(nullptr, ObjectAttribute::Pointer), c, false), nullptr);
    EXPECT_EQ(Inspector::self()->lastError(), "Referencing or dereferencing of object failed.");
}

TEST(Comparison, SameObjectsAndCompare)
{
    TestClass *c = new TestClass("TMSame");
    Object::Ptr a = c->make(&s_dataA);
    Object::Ptr b = c->make(&s_dataB);
    Object::Ptr nullA = c->make(nullptr);
    EXPECT_TRUE(a->sameAs(c->make(&s_dataA)));
    EXPECT_FALSE(a->sameAs(b));
    EXPECT_FALSE(a->sameAs(Object::Ptr()));
    EXPECT_TRUE(nullA->sameAs(nullA));
    EXPECT_FALSE(nullA->sameAs(c->make(nullptr)));
    EXPECT_EQ(a->compare(c->make(&s_dataA)), 0);
    EXPECT_NE(a->compare(b), 0);
    EXPECT_EQ(a->compare(b), -b->compare(a));

    TestClass *d = new TestClass("TMSameDelegated");
    new AlwaysSame(QStringLiteral("TMSameDelegated"));
    Object::Ptr x = d->make(&s_dataA);
    EXPECT_TRUE(x->sameAs(d->make(&s_dataB)));
    EXPECT_EQ(x->compare(d->make(&s_dataB)), 7);
}

namespace {
struct RecordingSender : SendEventDelegate
{
    bool sendEvent(const Event *e, Object::Ptr obj, const ObjectList &args) const override
    {
        event = e;
        object = obj;
        count = args.size();
        return true;
    }
    mutable const Event *event = nullptr;
    mutable Object::Ptr object;
    mutable size_t count = 0;
};
} // namespace

TEST(EventTest, SendGoesToTheInspector)
{
    static RecordingSender *sender = new RecordingSender();
    TestClass *c = new TestClass("TMEvent");
    Event e(c, "clicked", Signature(Argument("x", c)));
    Object::Ptr obj = c->make(&s_dataA);
    e.sendEvent(obj, ObjectList { obj });
    EXPECT_EQ(sender->event, &e);
    EXPECT_EQ(sender->object, obj);
    EXPECT_EQ(sender->count, 1u);
}

// Stream forms

class StreamTest : public ::testing::Test
{
protected:
    static TestClass *owner;
    static Enum *color;
    static void SetUpTestSuite()
    {
        Namespace *ns = new Namespace(Inspector::self()->globalNamespace(), QStringLiteral("TMSpace"));
        owner = new TestClass("TMStreamed", ns);
        color = new Enum(owner, "Color");
        color->addItem("Red", 1);
        color->addItem("Blue", 4);
        owner->enums = { color };
        owner->setNumEnums(1);
    }

    // What \p original writes reads back into \p make() and writes the same again; every shorter prefix fails
    // and leaves a fresh \p make() as \p unchanged finds it.
    template <class T>
    void roundTrip(const T &original, const std::function<T *()> &make,
                   const std::function<bool(const T &)> &unchanged)
    {
        const QByteArray bytes = streamBytes([&](QDataStream &s) { original.writeObject(s); });
        std::unique_ptr<T> back(make());
        QDataStream in(bytes);
        back->readObject(in);
        ASSERT_EQ(in.status(), QDataStream::Ok);
        EXPECT_EQ(streamBytes([&](QDataStream &s) { back->writeObject(s); }), bytes);
        for (int n = 0; n < bytes.size(); ++n) {
            std::unique_ptr<T> t(make());
            QDataStream part(bytes.left(n));
            t->readObject(part);
            EXPECT_NE(part.status(), QDataStream::Ok) << "prefix " << n;
            EXPECT_TRUE(unchanged(*t)) << "prefix " << n;
        }
    }
};
TestClass *StreamTest::owner = nullptr;
Enum *StreamTest::color = nullptr;

TEST_F(StreamTest, EveryDescriptorRoundTrips)
{
    Method m(owner, Argument(owner, 6), "paint",
             Signature(Argument("c", owner, ObjectAttribute(18, 3), color),
                       Argument(primitive(Inspector::Int))),
             true, 12);
    m.deprecate("use draw");
    roundTrip<Method>(
        m, [] { return new Method(nullptr, Argument(), "old", Signature(), false, 5); },
        [](const Method &x) { return x.name() == "old" && x.index() == 5; });
    Method back(nullptr, Argument(), QString(), Signature(), false, 0);
    QByteArray bytes = streamBytes([&](QDataStream &s) { m.writeObject(s); });
    QDataStream in(bytes);
    back.readObject(in);
    EXPECT_EQ(back.ownerClass(), owner);
    EXPECT_EQ(back.toString(), "const TMStreamed* paint(TMStreamed::Color * [3] c, int)");
    EXPECT_EQ(back.signature().at(0).enumeration(), color);
    EXPECT_TRUE(back.isStatic());
    EXPECT_EQ(back.deprecationMessage(), "use draw");

    roundTrip<Constructor>(
        Constructor(owner, Signature(Argument(owner)), 2),
        [] { return new Constructor(nullptr, Signature(), 9); },
        [](const Constructor &x) { return x.index() == 9; });
    roundTrip<Event>(
        Event(owner, "changed", Signature(Argument("v", owner))),
        [] { return new Event(nullptr, "keep", Signature()); },
        [](const Event &x) { return x.name() == "keep"; });
    roundTrip<Enum>(
        *color, [] { return new Enum(nullptr, "keep"); }, [](const Enum &x) { return x.count() == 0; });
    using D = PropertyDeclaration;
    D *decl = new D(owner, Argument(owner, 0, 0, color), "tint", D::Readable | D::Stored, "tint", "setTint");
    roundTrip<Property>(
        Property(decl, owner, 4, true), [] { return new Property(nullptr, nullptr, 3); },
        [](const Property &x) { return x.declaration() == nullptr && x.index() == 3; });
}

TEST_F(StreamTest, AttributeGivenOnlyFlagsHasNoElementCount)
{
    const ObjectAttribute pointer(ObjectAttribute::Pointer);
    EXPECT_EQ(streamBytes([&](QDataStream &s) { pointer.writeObject(s); }),
              QByteArray::fromHex("00000002 00000000"));
    // No name, class "int", flags 2, count 0, no enumeration.
    EXPECT_EQ(streamBytes(
                  [&](QDataStream &s) { Argument(primitive(Inspector::Int), pointer).writeObject(s); }),
              QByteArray::fromHex("ffffffff 00000006 0069 006e 0074 00000002 00000000 ffffffff ffffffff"));
}

TEST_F(StreamTest, CorruptCountsAreRefused)
{
    Signature sig { Argument(owner) };
    QDataStream in(streamBytes([](QDataStream &s) { s << qint32(0x7fffffff); }));
    sig.readObject(in);
    EXPECT_NE(in.status(), QDataStream::Ok);
    EXPECT_EQ(sig.count(), 1);

    Enum e(nullptr, "keep");
    QDataStream ein(streamBytes([](QDataStream &s) { s << QString() << QStringLiteral("E") << qint32(-4); }));
    e.readObject(ein);
    EXPECT_NE(ein.status(), QDataStream::Ok);
    EXPECT_EQ(e.name(), "keep");

    // A sequential device is read element by element and stops at the first failure.
    struct Sequential : QBuffer
    {
        bool isSequential() const override { return true; }
    } device;
    device.setData(streamBytes([](QDataStream &s) {
        s << qint32(1 << 30);
        Argument(owner).writeObject(s);
    }));
    device.open(QIODevice::ReadOnly);
    QDataStream sin(&device);
    sig.readObject(sin);
    EXPECT_NE(sin.status(), QDataStream::Ok);
    EXPECT_EQ(sig.count(), 1);
}
