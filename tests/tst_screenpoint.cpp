// tst_screenpoint.cpp: the ScreenPoint script class and its wrap/unwrap helpers. The checked paths that all
// value classes share are covered in tst_datetime.cpp.
#include "testsupport.h"

#include "inspector.h"
#include "screenpoint.h"

using namespace Vexil;

namespace {

Object::Ptr integer(int v)
{
    return Inspector::self()->createPrimitive(v);
}
typedef std::pair<int, int> P;
P xy(const Object::Ptr &o)
{
    const ScreenPoint p = unwrapScreenPoint(o);
    return { p.x, p.y };
}

} // namespace

TEST(ScreenPointClass, MembersAndScriptConstruction)
{
    const Class *cls = screenPointClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::ScreenPoint");
    ASSERT_EQ(cls->numProperties(), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(cls->property(i)->name(), i == 0 ? "x" : "y");
        EXPECT_EQ(cls->property(i)->flags(), 3u);
        EXPECT_EQ(cls->property(i)->type(), Inspector::self()->type(Inspector::Int));
    }
    ASSERT_EQ(cls->numConstructors(), 3);
    EXPECT_EQ(cls->constructor(1)->toString(), "ScreenPoint(int x, int y)");
    EXPECT_EQ(cls->constructor(2)->toString(), "ScreenPoint(ScreenPoint point)");

    Object::Ptr origin = cls->construct(ObjectList());
    ASSERT_TRUE(origin);
    EXPECT_EQ(origin->objectAttribute().flags, 2u);
    EXPECT_TRUE(origin->ownsData);
    EXPECT_EQ(xy(origin), P(0, 0));
    Object::Ptr p = cls->construct(ObjectList { integer(-3), integer(4) });
    // The copy is a copy: changing it leaves the original.
    Object::Ptr copy = cls->constructor(2)->construct(ObjectList { p });
    EXPECT_TRUE(VexilTest::writeProperty(copy, "y", integer(40)));
    EXPECT_EQ(xy(copy), P(-3, 40));
    EXPECT_EQ(xy(p), P(-3, 4));
    EXPECT_EQ(cls->construct(3, static_cast<void **>(nullptr)), nullptr);
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
    EXPECT_EQ(xy(wrapped), P(7, -8));

    auto *allocated = new ScreenPoint(1, 2);
    Object::Ptr taken = ScreenPointClass::wrapNewPoint(allocated);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->rawData(), static_cast<void *>(allocated));
    EXPECT_EQ(taken->objectAttribute().flags, 2u);
    EXPECT_TRUE(taken->ownsData);
    EXPECT_EQ(ScreenPointClass::wrapNewPoint(nullptr), nullptr);
    EXPECT_EQ(xy(integer(3)), P(0, 0));
}
