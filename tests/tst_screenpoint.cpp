// tst_screenpoint.cpp: the ScreenPoint script class and its wrap/unwrap helpers.
#include "testsupport.h"

#include "inspector.h"
#include "screenpoint.h"

using namespace Vexil;

namespace {

Inspector *insp()
{
    return Inspector::self();
}

Object::Ptr integer(int v)
{
    return insp()->createPrimitive(v);
}

int coordinate(const Object::Ptr &point, const char *name)
{
    const Object::Ptr value = screenPointClass()->property(QString::fromLatin1(name))->get(point);
    return value ? value->toInteger() : -999;
}

} // namespace

TEST(ScreenPointClass, RegisteredInUiTypesWithItsMembers)
{
    const Class *cls = screenPointClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_STREQ(cls->name(), "ScreenPoint");
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::ScreenPoint");

    ASSERT_EQ(cls->numProperties(), 2);
    EXPECT_EQ(cls->property(0)->name(), "x");
    EXPECT_EQ(cls->property(1)->name(), "y");
    EXPECT_EQ(cls->property(1)->flags(), 3u);
    EXPECT_EQ(cls->property(1)->type(), insp()->type(Inspector::Int));

    ASSERT_EQ(cls->numConstructors(), 3);
    EXPECT_EQ(cls->constructor(0)->signature().count(), 0);
    EXPECT_EQ(cls->constructor(1)->signature().toString(), "(int x, int y)");
    EXPECT_EQ(cls->constructor(2)->signature().toString(), "(ScreenPoint point)");
    EXPECT_EQ(cls->numMethods(), 0);
}

TEST(ScreenPointClass, ScriptConstructsOwnedPoints)
{
    const Class *cls = screenPointClass();
    Object::Ptr origin = cls->construct(ObjectList());
    ASSERT_TRUE(origin);
    EXPECT_EQ(origin->objectAttribute().flags, 2u);
    EXPECT_TRUE(origin->ownsData);
    EXPECT_EQ(coordinate(origin, "x"), 0);
    EXPECT_EQ(coordinate(origin, "y"), 0);

    Object::Ptr p = cls->construct(ObjectList { integer(-3), integer(4) });
    ASSERT_TRUE(p);
    EXPECT_EQ(coordinate(p, "x"), -3);
    EXPECT_EQ(coordinate(p, "y"), 4);

    Object::Ptr copy = cls->constructor(2)->construct(ObjectList { p });
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->rawData(), p->rawData());
    EXPECT_TRUE(cls->property(QStringLiteral("y"))->set(copy, integer(40)));
    EXPECT_EQ(coordinate(copy, "y"), 40);
    EXPECT_EQ(coordinate(p, "y"), 4);
}

TEST(ScreenPointClass, BadIndexesAndObjectsGiveNullQuietly)
{
    const Class *cls = screenPointClass();
    VexilTest::StderrCapture capture;
    EXPECT_EQ(cls->construct(3, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(cls->construct(1, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(cls->construct(2, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(capture.text(), "");

    ScreenPoint raw(1, 2);
    int value = 5;
    EXPECT_EQ(cls->getProperty(2, &raw, cls), nullptr);
    EXPECT_FALSE(cls->setProperty(2, &raw, &value));
    EXPECT_FALSE(cls->setProperty(0, &raw, nullptr));
    EXPECT_EQ(raw.x, 1);
    EXPECT_FALSE(cls->property(QStringLiteral("x"))->set(integer(0), integer(1)));
    EXPECT_EQ(cls->property(QStringLiteral("x"))->get(integer(0)), nullptr);
}

TEST(ScreenPointHelpers, WrapUnwrapAndWrapNewPoint)
{
    ScreenPoint native(7, -8);
    Object::Ptr wrapped = wrapScreenPoint(native);
    ASSERT_TRUE(wrapped);
    EXPECT_EQ(wrapped->objectClass(), screenPointClass());
    EXPECT_EQ(wrapped->objectAttribute().flags, 0u);
    EXPECT_TRUE(wrapped->ownsData);
    EXPECT_NE(wrapped->rawData(), static_cast<void *>(&native));
    const ScreenPoint back = unwrapScreenPoint(wrapped);
    EXPECT_EQ(back.x, 7);
    EXPECT_EQ(back.y, -8);

    auto *allocated = new ScreenPoint(1, 2);
    Object::Ptr taken = ScreenPointClass::wrapNewPoint(allocated);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->rawData(), static_cast<void *>(allocated));
    EXPECT_EQ(taken->objectAttribute().flags, 2u);
    EXPECT_TRUE(taken->ownsData);
    EXPECT_EQ(coordinate(taken, "x"), 1);
    EXPECT_EQ(ScreenPointClass::wrapNewPoint(nullptr), nullptr);

    EXPECT_EQ(unwrapScreenPoint(integer(3)).x, 0);
    EXPECT_EQ(unwrapScreenPoint(Object::Ptr()).y, 0);
}
