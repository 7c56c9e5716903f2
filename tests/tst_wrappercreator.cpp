// tst_wrappercreator.cpp: arguments, signatures, constructors and methods built from descriptor tables.
#include "testsupport.h"

#include "inspector.h"
#include "wrappercreator.h"

#include <QByteArray>

#include <cstddef>
#include <memory>

using namespace Vexil;
using VexilTest::primitive;

static_assert(offsetof(ArgumentDescriptor, kind) == 4 && sizeof(ArgumentDescriptor::kind) == 1,
              "the kind is one byte after the name");
static_assert(sizeof(ArgumentDescriptor) == 24, "name, kind, type, flags, count, enumName");
static_assert(sizeof(MethodDescriptor) == 20 && sizeof(MethodDescriptor::isStatic) == 1,
              "four ints and the static byte");
static_assert(sizeof(ConstructorDescriptor) == 8, "two ints");

namespace {

// A string block as a code generator would emit it. Room for every test's strings is reserved up front:
// creators keep the block's address while entries are still added.
struct StringBlock
{
    StringBlock() { data.reserve(4096); }
    int add(const char *text)
    {
        const int offset = data.size();
        data.append(text).append('\0');
        return offset;
    }
    QByteArray data;
};

// A wrapped class with an enum "Color", the superclass "WcBase", and a realType that maps "Handle" to it.
class WcWidget : public Class
{
public:
    explicit WcWidget(const char *name)
        : Class(name, true)
    {
        setNumEnums(1);
    }

    void initSuperClass() override
    {
        ++superClassSetups;
        setSuperClass(Inspector::self()->type(QStringLiteral("WcBase")));
    }
    QString realType(const QString &name) const override
    {
        return name == QLatin1String("Handle") ? QStringLiteral("WcBase") : name;
    }
    Enum *createEnum(int) const override
    {
        Enum *e = new Enum(this, QStringLiteral("Color"));
        e->addItem(QStringLiteral("Red"), 0);
        return e;
    }

    mutable int superClassSetups = 0;
};

class WrapperCreatorTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        new Class("WcBase", true);
        s_widget = new WcWidget("WcWidget");
    }

    ArgumentDescriptor named(int kind, const char *type, const char *name = nullptr,
                             const char *enumName = nullptr)
    {
        return ArgumentDescriptor {
            name ? strings.add(name) : -1,        std::int8_t(kind), strings.add(type), 0, 0,
            enumName ? strings.add(enumName) : -1
        };
    }
    WrapperCreator creator() const
    {
        return WrapperCreator(s_widget, strings.data.constData(), nullptr, nullptr, nullptr, nullptr);
    }
    const Enum *color() const { return s_widget->enumerator(QStringLiteral("Color")); }

    StringBlock strings;
    static WcWidget *s_widget;
};

WcWidget *WrapperCreatorTest::s_widget = nullptr;

} // namespace

TEST_F(WrapperCreatorTest, ArgumentFromPrimitiveOrTypeName)
{
    const ArgumentDescriptor d { strings.add("gr\xc3\xb6\xc3\x9f"
                                             "e"),
                                 0,
                                 Inspector::Int,
                                 4 | 2,
                                 3,
                                 -1 };
    const Argument a = creator().argumentFromDescriptor(d);
    EXPECT_EQ(a.name(),
              QString::fromUtf8("gr\xc3\xb6\xc3\x9f"
                                "e"));
    EXPECT_EQ(a.type(), primitive(Inspector::Int));
    EXPECT_EQ(a.flags(), 6u);
    EXPECT_EQ(a.count(), 3);
    EXPECT_EQ(a.enumeration(), nullptr);

    const Class *base = Inspector::self()->type(QStringLiteral("WcBase"));
    const Class *undefined = primitive(Inspector::Undefined);
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "WcBase")).type(), base);
    // Only kind 2 asks the wrapped class first.
    EXPECT_EQ(creator().argumentFromDescriptor(named(2, "Handle")).type(), base);
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "Handle")).type(), undefined);
    // Unknown names leave the argument without a type, silently.
    VexilTest::StderrCapture capture;
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "WcNoSuchType")).type(), undefined);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(WrapperCreatorTest, ScopedNameNamesAnEnumUnlessOneIsNamed)
{
    ASSERT_NE(color(), nullptr);
    const Argument a = creator().argumentFromDescriptor(named(1, "WcWidget::Color", "c"));
    EXPECT_EQ(a.type(), s_widget);
    EXPECT_EQ(a.enumeration(), color());
    const Argument unknownEnum = creator().argumentFromDescriptor(named(1, "WcWidget::Shape"));
    EXPECT_EQ(unknownEnum.type(), s_widget);
    EXPECT_EQ(unknownEnum.enumeration(), nullptr);
    const Argument unknownClass = creator().argumentFromDescriptor(named(1, "WcNowhere::Color"));
    EXPECT_EQ(unknownClass.type(), primitive(Inspector::Undefined));
    EXPECT_EQ(unknownClass.enumeration(), nullptr);
    // Split at the first "::" only.
    const Argument deep = creator().argumentFromDescriptor(named(1, "WcWidget::Color::Red"));
    EXPECT_EQ(deep.type(), s_widget);
    EXPECT_EQ(deep.enumeration(), nullptr);

    // A named enum wins, and a scoped type name is then not split.
    const Argument b = creator().argumentFromDescriptor(named(1, "int", nullptr, "WcWidget::Color"));
    EXPECT_EQ(b.type(), primitive(Inspector::Int));
    EXPECT_EQ(b.enumeration(), color());
    const Argument c = creator().argumentFromDescriptor(
        named(1, "WcWidget::Color", nullptr, "WcWidget::Color"));
    EXPECT_EQ(c.type(), primitive(Inspector::Undefined));
    EXPECT_EQ(c.enumeration(), color());
}

TEST_F(WrapperCreatorTest, SignatureFromConsecutiveEntries)
{
    const ArgumentDescriptor args[] = {
        { strings.add("a"), 0, Inspector::Int, 0, 0, -1 },
        { strings.add("b"), 0, Inspector::Double, 0, 0, -1 },
        { strings.add("c"), 0, Inspector::Bool, 0, 0, -1 },
    };
    const int signatureData[] = { 2, 0, 1, 1 };
    WrapperCreator wc(s_widget, strings.data.constData(), nullptr, nullptr, signatureData, args);

    EXPECT_EQ(wc.signatureFromData(1, 3).toString(), "(int a, double b, double b)");
    EXPECT_EQ(wc.signatureFromData(0, 1).toString(), "(bool c)");
    EXPECT_EQ(wc.signatureFromData(0, 0).count(), 0);
    EXPECT_EQ(wc.signatureFromData(0, -2).count(), 0);
}

TEST_F(WrapperCreatorTest, MethodsAndConstructorsFromTables)
{
    WcWidget *fresh = new WcWidget("WcFreshWidget");
    const ArgumentDescriptor args[] = {
        { -1, 0, Inspector::Void, 0, 0, -1 },
        { strings.add("w"), 0, Inspector::Int, 0, 0, -1 },
        { strings.add("h"), 0, Inspector::Int, 0, 0, -1 },
        { -1, 1, strings.add("WcBase"), 2, 0, -1 },
    };
    const int signatureData[] = { 1, 2, 3 };
    const MethodDescriptor methods[] = {
        { 0, strings.add("resize"), 2, 0, 0 },
        { 3, strings.add("instance"), 0, 0, 1 },
    };
    const ConstructorDescriptor constructors[] = { { 0, 0 }, { 2, 1 } };
    WrapperCreator wc(fresh, strings.data.constData(), constructors, methods, signatureData, args);

    std::unique_ptr<Method> resize(wc.createMethod(0));
    ASSERT_TRUE(resize);
    EXPECT_EQ(resize->ownerClass(), fresh);
    EXPECT_EQ(resize->toString(), "void resize(int w, int h)");
    EXPECT_EQ(resize->index(), 0);
    EXPECT_FALSE(resize->isStatic());
    std::unique_ptr<Method> instance(wc.createMethod(1));
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->toString(), "WcBase* instance()");
    EXPECT_EQ(instance->index(), 1);
    EXPECT_TRUE(instance->isStatic());

    // The superclass is set up before the first constructor is made.
    EXPECT_EQ(fresh->superClassSetups, 0);
    std::unique_ptr<Constructor> fromBase(wc.createConstructor(1));
    EXPECT_EQ(fresh->superClassSetups, 1);
    ASSERT_TRUE(fromBase);
    EXPECT_EQ(fromBase->ownerClass(), fresh);
    EXPECT_EQ(fromBase->index(), 1);
    EXPECT_EQ(fromBase->toString(), "WcFreshWidget(WcBase *)");
    std::unique_ptr<Constructor> plain(wc.createConstructor(0));
    EXPECT_EQ(plain->toString(), "WcFreshWidget()");
    EXPECT_EQ(fresh->superClassSetups, 1);
}

TEST(PrimitiveArg, NamesAPrimitiveWithoutFlags)
{
    const Argument a = primitiveArg("size", Inspector::Int64);
    EXPECT_EQ(Signature(a).toString(), "(int64 size)");
    EXPECT_EQ(a.flags(), 0u);
}
