// tst_screenrectangle.cpp: the ScreenRectangle script class, its center and the wrap/unwrap helpers. The
// checked paths that all value classes share are covered in tst_datetime.cpp.
#include "testsupport.h"

#include "inspector.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <climits>

using namespace Vexil;

namespace {

const Class *rectClass()
{
    return objectModelScreenRectangleClass();
}
Object::Ptr integer(int v)
{
    return Inspector::self()->createPrimitive(v);
}
std::vector<int> fields(const ScreenRectangle &r)
{
    return { r.x, r.y, r.width, r.height };
}
typedef std::vector<int> F;
typedef std::pair<int, int> P;

Object::Ptr rectangle(int x, int y, int w, int h)
{
    return rectClass()->construct(ObjectList { integer(x), integer(y), integer(w), integer(h) });
}

P centerOf(const Object::Ptr &rect)
{
    const Object::Ptr center = VexilTest::callMethod(rect, "center");
    EXPECT_TRUE(center && center->objectClass() == screenPointClass());
    const ScreenPoint p = unwrapScreenPoint(center);
    return { p.x, p.y };
}

} // namespace

TEST(ScreenRectangleClass, MembersAndScriptConstruction)
{
    const Class *cls = rectClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::ScreenRectangle");
    const char *const names[] = { "x", "y", "width", "height" };
    ASSERT_EQ(cls->numProperties(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(cls->property(i)->name(), QString::fromLatin1(names[i]));
        EXPECT_EQ(cls->property(i)->flags(), 3u);
        EXPECT_EQ(cls->property(i)->type(), Inspector::self()->type(Inspector::Int));
    }
    ASSERT_EQ(cls->numConstructors(), 3);
    EXPECT_EQ(cls->constructor(1)->signature().toString(), "(int x, int y, int width, int height)");
    EXPECT_EQ(cls->constructor(2)->signature().toString(), "(ScreenRectangle rect)");
    ASSERT_EQ(cls->numMethods(), 1);
    EXPECT_EQ(cls->method(0)->toString(), "ScreenPoint center()");

    Object::Ptr unset = rectClass()->construct(ObjectList());
    EXPECT_EQ(unset->objectAttribute().flags, 2u);
    EXPECT_TRUE(unset->ownsData);
    EXPECT_EQ(fields(unwrapScreenRectangle(unset)), F({ -1, -1, -1, -1 }));

    Object::Ptr r = rectangle(10, 20, 5, 7);
    Object::Ptr copy = rectClass()->construct(ObjectList { r });
    EXPECT_TRUE(VexilTest::writeProperty(copy, "width", integer(50)));
    EXPECT_EQ(fields(unwrapScreenRectangle(copy)), F({ 10, 20, 50, 7 }));
    EXPECT_EQ(fields(unwrapScreenRectangle(r)), F({ 10, 20, 5, 7 }));
    EXPECT_EQ(rectClass()->construct(3, static_cast<void **>(nullptr)), nullptr);
}

TEST(ScreenRectangleClass, CenterRoundsDownAndIsOriginForNegativeSizes)
{
    EXPECT_EQ(centerOf(rectangle(10, 20, 5, 7)), P(12, 23));
    EXPECT_EQ(centerOf(rectClass()->construct(ObjectList())), P(0, 0));
    EXPECT_EQ(centerOf(rectangle(-10, -20, 3, 1)), P(-9, -20));
    EXPECT_EQ(centerOf(rectangle(3, 4, 0, 0)), P(3, 4));
    EXPECT_EQ(centerOf(rectangle(30, 40, 10, -1)), P(0, 0));
    EXPECT_EQ(centerOf(rectangle(INT_MAX, 0, 4, 0)).first, INT_MIN + 1);

    // Bad calls give null.
    const Method *center = rectClass()->method(0);
    EXPECT_EQ(center->invoke(integer(1), ObjectList()), nullptr);
    EXPECT_EQ(center->invoke(rectClass()->createNull(), ObjectList()), nullptr);
    EXPECT_EQ(Inspector::self()->lastError(),
              "Cannot invoke member function center() on null object reference");
    {
        VexilTest::StderrCapture capture;
        EXPECT_EQ(center->invoke(rectangle(0, 0, 2, 2), ObjectList { integer(1) }), nullptr);
        EXPECT_EQ(capture.text(), "Class::invoke ScreenRectangle::0: 0 arguments expected, 1 given\n");
    }
    ScreenRectangle raw;
    EXPECT_EQ(rectClass()->invoke(1, &raw, nullptr, rectClass()), nullptr);
}

TEST(ScreenRectangleHelpers, WrapAndRemoteForms)
{
    ScreenRectangle native(1, 2, 3, 4);
    Object::Ptr r = wrapScreenRectangle(native);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->objectClass(), rectClass());
    EXPECT_EQ(r->objectAttribute().flags, 0u);
    EXPECT_TRUE(r->ownsData);
    native.x = 100;
    EXPECT_EQ(fields(unwrapScreenRectangle(r)), F({ 1, 2, 3, 4 }));
    EXPECT_EQ(fields(unwrapScreenRectangle(integer(5))), F({ -1, -1, -1, -1 }));

    Object::Ptr remote = createRemoteScreenRectangle(ScreenRectangle(5, 6, 7, 8));
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->objectClass(), rectClass());
    EXPECT_EQ(fields(unwrapRemoteScreenRectangle(remote)), F({ 5, 6, 7, 8 }));

    const QRect q(QPoint(0, 0), QPoint(9, 4));
    const Object::Ptr fromQRect = createRemoteScreenRectangle(q);
    EXPECT_EQ(fields(unwrapRemoteScreenRectangle(fromQRect)), F({ 0, 0, 10, 5 }));
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(fromQRect), q);
    const QRect shifted(QPoint(-3, 2), QPoint(4, 2));
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(createRemoteScreenRectangle(shifted)), shifted);

    EXPECT_EQ(fields(unwrapRemoteScreenRectangle(Object::Ptr())), F({ -1, -1, -1, -1 }));
    // A class without those properties reads as zeros.
    EXPECT_EQ(fields(unwrapRemoteScreenRectangle(integer(3))), F({ 0, 0, 0, 0 }));
}
