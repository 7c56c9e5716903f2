// tst_screenrectangle.cpp: the ScreenRectangle script class, its center and the wrap/unwrap helpers.
#include "testsupport.h"

#include "inspector.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <climits>

using namespace Vexil;

namespace {

Inspector *insp()
{
    return Inspector::self();
}

const Class *rectClass()
{
    return objectModelScreenRectangleClass();
}

Object::Ptr integer(int v)
{
    return insp()->createPrimitive(v);
}

Object::Ptr rectangle(int x, int y, int w, int h)
{
    return rectClass()->construct(ObjectList { integer(x), integer(y), integer(w), integer(h) });
}

ScreenPoint centerOf(const Object::Ptr &rect)
{
    const Object::Ptr center = rectClass()->methods(QStringLiteral("center")).invoke(rect, ObjectList());
    EXPECT_TRUE(center && center->objectClass() == screenPointClass());
    return unwrapScreenPoint(center);
}

void expectRect(const ScreenRectangle &r, int x, int y, int w, int h)
{
    EXPECT_EQ(r.x, x);
    EXPECT_EQ(r.y, y);
    EXPECT_EQ(r.width, w);
    EXPECT_EQ(r.height, h);
}

} // namespace

TEST(ScreenRectangleClass, RegisteredInUiTypesWithItsMembers)
{
    const Class *cls = rectClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_STREQ(cls->name(), "ScreenRectangle");
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::ScreenRectangle");

    const char *const names[] = { "x", "y", "width", "height" };
    ASSERT_EQ(cls->numProperties(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(cls->property(i)->name(), QString::fromLatin1(names[i]));
        EXPECT_EQ(cls->property(i)->flags(), 3u);
        EXPECT_EQ(cls->property(i)->type(), insp()->type(Inspector::Int));
    }

    ASSERT_EQ(cls->numConstructors(), 3);
    EXPECT_EQ(cls->constructor(1)->signature().toString(), "(int x, int y, int width, int height)");
    EXPECT_EQ(cls->constructor(2)->signature().toString(), "(ScreenRectangle rect)");

    ASSERT_EQ(cls->numMethods(), 1);
    EXPECT_EQ(cls->method(0)->toString(), "ScreenPoint center()");
}

TEST(ScreenRectangleClass, ScriptConstructsOwnedRectangles)
{
    Object::Ptr unset = rectClass()->construct(ObjectList());
    ASSERT_TRUE(unset);
    EXPECT_EQ(unset->objectAttribute().flags, 2u);
    EXPECT_TRUE(unset->ownsData);
    expectRect(unwrapScreenRectangle(unset), -1, -1, -1, -1);

    Object::Ptr r = rectangle(10, 20, 5, 7);
    ASSERT_TRUE(r);
    expectRect(unwrapScreenRectangle(r), 10, 20, 5, 7);
    EXPECT_EQ(rectClass()->property(QStringLiteral("height"))->get(r)->toInteger(), 7);

    Object::Ptr copy = rectClass()->construct(ObjectList { r });
    ASSERT_TRUE(copy);
    EXPECT_TRUE(rectClass()->property(QStringLiteral("width"))->set(copy, integer(50)));
    expectRect(unwrapScreenRectangle(copy), 10, 20, 50, 7);
    expectRect(unwrapScreenRectangle(r), 10, 20, 5, 7);

    VexilTest::StderrCapture capture;
    EXPECT_EQ(rectClass()->construct(3, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(rectClass()->construct(1, ObjectList { integer(1) }, nullptr), nullptr);
    EXPECT_EQ(capture.text(), "");
}

TEST(ScreenRectangleClass, CenterRoundsDownAndIsOriginForNegativeSizes)
{
    const ScreenPoint a = centerOf(rectangle(10, 20, 5, 7));
    EXPECT_EQ(a.x, 12);
    EXPECT_EQ(a.y, 23);
    const ScreenPoint b = centerOf(rectClass()->construct(ObjectList()));
    EXPECT_EQ(b.x, 0);
    EXPECT_EQ(b.y, 0);
    const ScreenPoint c = centerOf(rectangle(-10, -20, 3, 1));
    EXPECT_EQ(c.x, -9);
    EXPECT_EQ(c.y, -20);
    const ScreenPoint empty = centerOf(rectangle(3, 4, 0, 0));
    EXPECT_EQ(empty.x, 3);
    EXPECT_EQ(empty.y, 4);
    // One negative side is enough.
    const ScreenPoint negative = centerOf(rectangle(30, 40, 10, -1));
    EXPECT_EQ(negative.x, 0);
    EXPECT_EQ(negative.y, 0);
    const ScreenPoint far = centerOf(rectangle(INT_MAX, 0, 4, 0));
    EXPECT_EQ(far.x, INT_MIN + 1);
}

TEST(ScreenRectangleClass, BadCallsGiveNull)
{
    const Method *center = rectClass()->method(0);
    EXPECT_EQ(center->invoke(integer(1), ObjectList()), nullptr);
    EXPECT_EQ(center->invoke(rectClass()->createNull(), ObjectList()), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot invoke member function center() on null object reference");
    {
        VexilTest::StderrCapture capture;
        EXPECT_EQ(center->invoke(rectangle(0, 0, 2, 2), ObjectList { integer(1) }), nullptr);
        EXPECT_EQ(capture.text(), "Class::invoke ScreenRectangle::0: 0 arguments expected, 1 given\n");
    }
    insp()->lastError();
    ScreenRectangle raw;
    EXPECT_EQ(rectClass()->invoke(1, &raw, nullptr, rectClass()), nullptr);
    EXPECT_FALSE(rectClass()->property(QStringLiteral("x"))->set(integer(0), integer(1)));
}

TEST(ScreenRectangleHelpers, WrapOwnsACopy)
{
    ScreenRectangle native(1, 2, 3, 4);
    Object::Ptr r = wrapScreenRectangle(native);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->objectClass(), rectClass());
    EXPECT_EQ(r->objectAttribute().flags, 0u);
    EXPECT_TRUE(r->ownsData);
    native.x = 100;
    expectRect(unwrapScreenRectangle(r), 1, 2, 3, 4);
    expectRect(unwrapScreenRectangle(integer(5)), -1, -1, -1, -1);
    expectRect(unwrapScreenRectangle(Object::Ptr()), -1, -1, -1, -1);
}

TEST(ScreenRectangleHelpers, RemoteFormsGoThroughTheMembers)
{
    Object::Ptr r = createRemoteScreenRectangle(ScreenRectangle(5, 6, 7, 8));
    ASSERT_TRUE(r);
    EXPECT_EQ(r->objectClass(), rectClass());
    expectRect(unwrapScreenRectangle(r), 5, 6, 7, 8);
    expectRect(unwrapRemoteScreenRectangle(r), 5, 6, 7, 8);

    const QRect q(QPoint(0, 0), QPoint(9, 4));
    Object::Ptr fromQRect = createRemoteScreenRectangle(q);
    ASSERT_TRUE(fromQRect);
    expectRect(unwrapRemoteScreenRectangle(fromQRect), 0, 0, 10, 5);
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(fromQRect), q);

    const QRect shifted(QPoint(-3, 2), QPoint(4, 2));
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(createRemoteScreenRectangle(shifted)), shifted);

    expectRect(unwrapRemoteScreenRectangle(Object::Ptr()), -1, -1, -1, -1);
    // A class without those properties reads as zeros.
    expectRect(unwrapRemoteScreenRectangle(integer(3)), 0, 0, 0, 0);
}
