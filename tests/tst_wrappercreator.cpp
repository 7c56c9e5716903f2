// tst_wrappercreator.cpp: arguments, signatures, constructors and methods built from descriptor tables.
#include "testsupport.h"

#include "inspector.h"
#include "wrappercreator.h"

#include <QByteArray>

#include <cstddef>
#include <memory>

using namespace Vexil;

static_assert(offsetof(ArgumentDescriptor, kind) == 4 && sizeof(ArgumentDescriptor::kind) == 1,
              "the kind is one byte after the name");
static_assert(sizeof(ArgumentDescriptor) == 24, "name, kind, type, flags, count, enumName");
static_assert(sizeof(MethodDescriptor) == 20 && sizeof(MethodDescriptor::isStatic) == 1,
              "four ints and the static byte");
static_assert(sizeof(ConstructorDescriptor) == 8, "two ints");

namespace {

// A string block as a code generator would emit it, with the offsets of its entries.
class StringBlock
{
public:
    // Room for every test's strings: creators keep the block's address while entries are still added.
    StringBlock() { m_data.reserve(4096); }

    int add(const char *text)
    {
        const int offset = m_data.size();
        m_data.append(text);
        m_data.append('\0');
        return offset;
    }
    const char *data() const { return m_data.constData(); }

private:
    QByteArray m_data;
};

const Class *primitive(Inspector::PrimitiveTypes t)
{
    return Inspector::self()->type(int(t));
}

class WcBase : public Class
{
public:
    WcBase()
        : Class("WcBase", true)
    {
    }
};

// A wrapped class with an enum "Color" whose realType maps "Handle" to "WcBase".
class WcWidget : public Class
{
public:
    explicit WcWidget(const char *name)
        : Class(name, true)
    {
        setNumEnums(1);
    }

    void initSuperClass() const override
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
        e->addItem(QStringLiteral("Green"), 1);
        return e;
    }

    mutable int superClassSetups = 0;
};

class WrapperCreatorTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        new WcBase();
        s_widget = new WcWidget("WcWidget");
    }

    ArgumentDescriptor named(int kind, const char *type, const char *name = nullptr,
                             const char *enumName = nullptr)
    {
        return ArgumentDescriptor { name ? strings.add(name) : -1, std::int8_t(kind), strings.add(type), 0, 0,
                                    enumName ? strings.add(enumName) : -1 };
    }
    WrapperCreator creator(const Class *cls = s_widget) const
    {
        return WrapperCreator(cls, strings.data(), nullptr, nullptr, nullptr, nullptr);
    }
    const Enum *color() const { return s_widget->enumerator(QStringLiteral("Color")); }

    StringBlock strings;
    static WcWidget *s_widget;
};

WcWidget *WrapperCreatorTest::s_widget = nullptr;

} // namespace

TEST_F(WrapperCreatorTest, PrimitiveKindKeepsFlagsAndCount)
{
    const ArgumentDescriptor d { strings.add("count"), 0, Inspector::Int, 4 | 2, 3, -1 };
    const Argument a = creator().argumentFromDescriptor(d);
    EXPECT_EQ(a.name(), QStringLiteral("count"));
    EXPECT_EQ(a.type(), primitive(Inspector::Int));
    EXPECT_EQ(a.flags(), 6u);
    EXPECT_EQ(a.count(), 3);
    EXPECT_EQ(a.enumeration(), nullptr);

    const ArgumentDescriptor unnamed { -1, 0, Inspector::Double, 0, 0, -1 };
    const Argument b = creator().argumentFromDescriptor(unnamed);
    EXPECT_TRUE(b.name().isEmpty());
    EXPECT_EQ(b.type(), primitive(Inspector::Double));

    const ArgumentDescriptor utf8 { strings.add("gr\xc3\xb6\xc3\x9f" "e"), 0, Inspector::Int, 0, 0, -1 };
    EXPECT_EQ(creator().argumentFromDescriptor(utf8).name(), QString::fromUtf8("gr\xc3\xb6\xc3\x9f" "e"));
}

TEST_F(WrapperCreatorTest, TypeByNameAndThroughRealType)
{
    const Class *base = Inspector::self()->type(QStringLiteral("WcBase"));
    const Class *undefined = primitive(Inspector::Undefined);
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "WcBase")).type(), base);
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "int")).type(), primitive(Inspector::Int));
    // Only kind 2 asks the wrapped class first.
    EXPECT_EQ(creator().argumentFromDescriptor(named(2, "Handle")).type(), base);
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "Handle")).type(), undefined);
    // Unknown names leave the argument without a type, silently.
    VexilTest::StderrCapture capture;
    EXPECT_EQ(creator().argumentFromDescriptor(named(1, "WcNoSuchType")).type(), undefined);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(WrapperCreatorTest, ScopedNameNamesAnEnumOfAClass)
{
    const Argument a = creator().argumentFromDescriptor(named(1, "WcWidget::Color", "c"));
    EXPECT_EQ(a.type(), s_widget);
    ASSERT_NE(color(), nullptr);
    EXPECT_EQ(a.enumeration(), color());
    EXPECT_EQ(a.name(), QStringLiteral("c"));

    const Argument unknownEnum = creator().argumentFromDescriptor(named(1, "WcWidget::Shape"));
    EXPECT_EQ(unknownEnum.type(), s_widget);
    EXPECT_EQ(unknownEnum.enumeration(), nullptr);

    const Argument unknownClass = creator().argumentFromDescriptor(named(1, "WcNowhere::Color"));
    EXPECT_EQ(unknownClass.type(), primitive(Inspector::Undefined));
    EXPECT_EQ(unknownClass.enumeration(), nullptr);
}

TEST_F(WrapperCreatorTest, EnumNameWinsAndStopsTheSplit)
{
    const Argument a = creator().argumentFromDescriptor(named(1, "int", nullptr, "WcWidget::Color"));
    EXPECT_EQ(a.type(), primitive(Inspector::Int));
    EXPECT_EQ(a.enumeration(), color());

    // With an enum named, a scoped type name is not split: no class has that name.
    const Argument b =
        creator().argumentFromDescriptor(named(1, "WcWidget::Color", nullptr, "WcWidget::Color"));
    EXPECT_EQ(b.type(), primitive(Inspector::Undefined));
    EXPECT_EQ(b.enumeration(), color());

    const ArgumentDescriptor primitiveWithEnum { -1, 0, Inspector::Int, 0, 0,
                                                 strings.add("WcWidget::Color") };
    EXPECT_EQ(creator().argumentFromDescriptor(primitiveWithEnum).enumeration(), color());
}

TEST_F(WrapperCreatorTest, SignatureFromConsecutiveEntries)
{
    const ArgumentDescriptor args[] = {
        { strings.add("a"), 0, Inspector::Int, 0, 0, -1 },
        { strings.add("b"), 0, Inspector::Double, 0, 0, -1 },
        { strings.add("c"), 0, Inspector::Bool, 0, 0, -1 },
    };
    const int signatureData[] = { 2, 0, 1, 1 };
    WrapperCreator wc(s_widget, strings.data(), nullptr, nullptr, signatureData, args);

    const Signature sig = wc.signatureFromData(1, 3);
    ASSERT_EQ(sig.count(), 3);
    EXPECT_EQ(sig.at(0).name(), QStringLiteral("a"));
    EXPECT_EQ(sig.at(1).name(), QStringLiteral("b"));
    EXPECT_EQ(sig.at(2).type(), primitive(Inspector::Double));
    EXPECT_EQ(wc.signatureFromData(0, 1).at(0).name(), QStringLiteral("c"));
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
    WrapperCreator wc(fresh, strings.data(), constructors, methods, signatureData, args);

    std::unique_ptr<Method> resize(wc.createMethod(0));
    ASSERT_TRUE(resize);
    EXPECT_EQ(resize->ownerClass(), fresh);
    EXPECT_EQ(resize->name(), QStringLiteral("resize"));
    EXPECT_EQ(resize->index(), 0);
    EXPECT_FALSE(resize->isStatic());
    EXPECT_EQ(resize->returnArgument().type(), primitive(Inspector::Void));
    ASSERT_EQ(resize->signature().count(), 2);
    EXPECT_EQ(resize->signature().at(1).name(), QStringLiteral("h"));

    std::unique_ptr<Method> instance(wc.createMethod(1));
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->index(), 1);
    EXPECT_TRUE(instance->isStatic());
    EXPECT_EQ(instance->signature().count(), 0);
    EXPECT_EQ(instance->returnArgument().type(), Inspector::self()->type(QStringLiteral("WcBase")));
    EXPECT_EQ(instance->returnArgument().flags(), 2u);

    // The superclass is known before the first constructor exists.
    EXPECT_EQ(fresh->superClassSetups, 0);
    std::unique_ptr<Constructor> copy(wc.createConstructor(1));
    EXPECT_EQ(fresh->superClassSetups, 1);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->ownerClass(), fresh);
    EXPECT_EQ(copy->index(), 1);
    ASSERT_EQ(copy->signature().count(), 1);
    EXPECT_EQ(copy->signature().at(0).type(), Inspector::self()->type(QStringLiteral("WcBase")));

    std::unique_ptr<Constructor> plain(wc.createConstructor(0));
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->signature().count(), 0);
    EXPECT_EQ(fresh->superClassSetups, 1);
}

TEST(PrimitiveArg, NamesAPrimitiveWithoutFlags)
{
    const Argument a = primitiveArg("size", Inspector::Int64);
    EXPECT_EQ(a.name(), QStringLiteral("size"));
    EXPECT_EQ(a.type(), Inspector::self()->type(Inspector::Int64));
    EXPECT_EQ(a.flags(), 0u);
    EXPECT_EQ(a.count(), 0);
    EXPECT_EQ(a.enumeration(), nullptr);
}
