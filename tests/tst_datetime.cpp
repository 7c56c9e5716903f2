// tst_datetime.cpp: the DateTime value, its stream forms and its script class.
#include "testsupport.h"

#include "datetime.h"
#include "inspector.h"
#include "primitives.h"

#include <iomanip>
#include <sstream>

using namespace Vexil;

namespace {

Inspector *insp()
{
    return Inspector::self();
}

const Class *dateTimeClass()
{
    return objectModelDateTimeClass();
}

std::string textOf(const DateTime &d)
{
    std::ostringstream out;
    out << d;
    return out.str();
}

Object::Ptr integer(int v)
{
    return insp()->createPrimitive(v);
}

int field(const Object::Ptr &object, const char *name)
{
    const Object::Ptr value = dateTimeClass()->property(QString::fromLatin1(name))->get(object);
    return value ? value->toInteger() : -999;
}

void expectFields(const DateTime &d, int y, int mo, int day, int h, int mi, int s)
{
    EXPECT_EQ(d.year, y);
    EXPECT_EQ(d.month, mo);
    EXPECT_EQ(d.day, day);
    EXPECT_EQ(d.hour, h);
    EXPECT_EQ(d.minute, mi);
    EXPECT_EQ(d.second, s);
}

} // namespace

TEST(DateTimeText, PadsOnlyYearAndMonth)
{
    EXPECT_EQ(textOf(DateTime(2024, 3, 5, 7, 8, 9)), "2024/03/5/7/8/9");
    EXPECT_EQ(textOf(DateTime(2024, 3, 5)), "2024/03/5/-1/-1/-1");
    EXPECT_EQ(textOf(DateTime()), "00-1/-1/-1/-1/-1/-1");
    EXPECT_EQ(textOf(DateTime(12, 11, 10, 0, 0, 0)), "0012/11/10/0/0/0");

    // The fill character stays behind on the stream.
    std::ostringstream out;
    out << DateTime(2024, 3, 5) << ' ' << std::setw(3) << 7;
    EXPECT_EQ(out.str(), "2024/03/5/-1/-1/-1 007");
}

TEST(DateTimeText, ReadsSixNumbersSkippingOneCharacterBetween)
{
    DateTime d;
    std::istringstream in("2024-3-5 7:8:9");
    in >> d;
    EXPECT_FALSE(in.fail());
    expectFields(d, 2024, 3, 5, 7, 8, 9);

    // The printed form reads back.
    DateTime back;
    std::istringstream printed(textOf(DateTime(2024, 3, 5)));
    printed >> back;
    expectFields(back, 2024, 3, 5, -1, -1, -1);

    // Exactly one character is skipped, whatever it is: a digit separator eats a digit.
    DateTime skipped;
    std::istringstream digits("2024x12y5z1a2b3");
    digits >> skipped;
    expectFields(skipped, 2024, 12, 5, 1, 2, 3);
}

TEST(DateTimeText, TruncatedInputLeavesTheValueAlone)
{
    DateTime d(2000, 1, 2, 3, 4, 5);
    std::istringstream in("2024/3/");
    in >> d;
    EXPECT_TRUE(in.fail());
    expectFields(d, 2000, 1, 2, 3, 4, 5);

    std::istringstream empty("");
    empty >> d;
    EXPECT_TRUE(empty.fail());
    expectFields(d, 2000, 1, 2, 3, 4, 5);
}

TEST(DateTimeClass, RegisteredInUiTypesWithItsMembers)
{
    const Class *cls = dateTimeClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_STREQ(cls->name(), "DateTime");
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::DateTime");
    EXPECT_EQ(cls->nameSpace(), insp()->nameSpace(QStringLiteral("UiTypes")));

    const char *const names[] = { "year", "month", "day", "hour", "minute", "second" };
    ASSERT_EQ(cls->numProperties(), 6);
    for (int i = 0; i < 6; ++i) {
        const Property *p = cls->property(i);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(p->name(), QString::fromLatin1(names[i]));
        EXPECT_EQ(p->flags(), 3u);
        EXPECT_EQ(p->type(), insp()->type(Inspector::Int));
    }

    ASSERT_EQ(cls->numConstructors(), 4);
    EXPECT_EQ(cls->constructor(0)->signature().count(), 0);
    EXPECT_EQ(cls->constructor(1)->signature().toString(), "(int year, int month, int day)");
    EXPECT_EQ(cls->constructor(2)->signature().toString(),
              "(int year, int month, int day, int hour, int minute, int second)");
    EXPECT_EQ(cls->constructor(3)->signature().toString(), "(DateTime date)");
    EXPECT_EQ(cls->constructor(4), nullptr);
}

TEST(DateTimeClass, ScriptConstructsAndReadsFields)
{
    const Class *cls = dateTimeClass();
    Object::Ptr unset = cls->construct(ObjectList());
    ASSERT_TRUE(unset);
    EXPECT_TRUE(unset->ownsData);
    expectFields(unwrapDateTime(unset), -1, -1, -1, -1, -1, -1);

    Object::Ptr date = cls->construct(ObjectList { integer(2024), integer(3), integer(5) });
    ASSERT_TRUE(date);
    expectFields(unwrapDateTime(date), 2024, 3, 5, -1, -1, -1);
    EXPECT_EQ(field(date, "day"), 5);
    EXPECT_EQ(field(date, "hour"), -1);

    Object::Ptr full = cls->constructor(2)->construct(
        ObjectList { integer(2024), integer(3), integer(5), integer(7), integer(8), integer(9) });
    ASSERT_TRUE(full);
    EXPECT_EQ(field(full, "second"), 9);

    // The copy constructor takes a copy: changing the copy leaves the original.
    Object::Ptr copy = cls->construct(ObjectList { full });
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->rawData(), full->rawData());
    EXPECT_TRUE(cls->property(QStringLiteral("minute"))->set(copy, integer(30)));
    EXPECT_EQ(field(copy, "minute"), 30);
    EXPECT_EQ(field(full, "minute"), 8);
}

TEST(DateTimeClass, PropertiesAreWritable)
{
    Object::Ptr d = wrapDateTime(DateTime(2024, 3, 5));
    const Property *year = dateTimeClass()->property(QStringLiteral("year"));
    EXPECT_TRUE(year->set(d, integer(1999)));
    EXPECT_TRUE(year->set(d, insp()->createPrimitive(2001LL)));   // converted to int first
    EXPECT_EQ(unwrapDateTime(d).year, 2001);
    EXPECT_EQ(year->get(d)->objectClass(), insp()->type(Inspector::Int));

    // Raw slots refuse indexes without a property.
    DateTime raw(1, 2, 3);
    int value = 4;
    EXPECT_FALSE(dateTimeClass()->setProperty(6, &raw, &value));
    EXPECT_FALSE(dateTimeClass()->setProperty(-1, &raw, &value));
    EXPECT_EQ(dateTimeClass()->getProperty(6, &raw, dateTimeClass()), nullptr);
    EXPECT_TRUE(dateTimeClass()->setProperty(2, &raw, &value));
    EXPECT_EQ(raw.day, 4);

    // An object of another class is not written through.
    EXPECT_FALSE(year->set(integer(1), integer(2)));
    EXPECT_EQ(year->get(integer(1)), nullptr);
}

TEST(DateTimeClass, UnknownConstructorIsReported)
{
    VexilTest::StderrCapture capture;
    EXPECT_EQ(dateTimeClass()->construct(4, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(dateTimeClass()->construct(-2, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(capture.text(),
              "Unknown DateTime constructor called:4\n"
              "Unknown DateTime constructor called:-2\n");
}

TEST(DateTimeClass, MissingConstructorArgumentsGiveNull)
{
    VexilTest::StderrCapture capture;
    EXPECT_EQ(dateTimeClass()->construct(1, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(dateTimeClass()->construct(2, ObjectList { integer(1) }, nullptr), nullptr);
    EXPECT_EQ(dateTimeClass()->constructor(3)->construct(ObjectList()), nullptr);
    EXPECT_EQ(dateTimeClass()->construct(ObjectList { integer(1) }), nullptr);
}

TEST(DateTimeClass, ConvertsToTextOnlyInPointerForm)
{
    const Class *cls = dateTimeClass();
    const Class *text = insp()->type(Inspector::Char);
    EXPECT_TRUE(cls->canConvertTo(text, false, true, nullptr));
    EXPECT_FALSE(cls->canConvertTo(text, true, true, nullptr));
    EXPECT_FALSE(cls->canConvertTo(text, false, false, nullptr));
    EXPECT_FALSE(cls->canConvertTo(insp()->type(Inspector::Int), false, true, nullptr));

    Object::Ptr d = wrapDateTime(DateTime(2024, 3, 5, 7, 8, 9));
    const Object::Ptr converted = cls->convertTo(d, text, true);
    ASSERT_TRUE(converted);
    EXPECT_EQ(converted->objectClass(), text);
    EXPECT_EQ(converted->toString(), "2024/03/5/7/8/9");

    // A script-constructed value converts the same way.
    const Object::Ptr constructed = cls->construct(ObjectList { integer(2024), integer(3), integer(5) });
    EXPECT_TRUE(cls->canConvertTo(text, constructed->objectAttribute().flags & 2, true, nullptr));
}

TEST(DateTimeClass, DateWithoutTimeEqualsMidnight)
{
    const Class *cls = dateTimeClass();
    Object::Ptr dateOnly = wrapDateTime(DateTime(2024, 3, 5));
    Object::Ptr midnight = wrapDateTime(DateTime(2024, 3, 5, 0, 0, 0));
    EXPECT_EQ(cls->compare(dateOnly, midnight), 0);
    EXPECT_EQ(cls->compare(midnight, dateOnly), 0);
    EXPECT_EQ(dateOnly->compare(midnight), 0);

    EXPECT_NE(cls->compare(dateOnly, wrapDateTime(DateTime(2024, 3, 6, 0, 0, 0))), 0);
    EXPECT_NE(cls->compare(dateOnly, wrapDateTime(DateTime(2024, 3, 5, 0, 0, 1))), 0);
    // Outside that rule the general comparison decides: the same object is equal to itself.
    EXPECT_EQ(cls->compare(dateOnly, dateOnly), 0);
    EXPECT_NE(cls->compare(dateOnly, integer(2024)), 0);
}

TEST(DateTimeHelpers, WrapOwnsACopyAndUnwrapCopiesBack)
{
    DateTime value(2024, 2, 29, 12, 0, 0);
    Object::Ptr d = wrapDateTime(value);
    ASSERT_TRUE(d);
    EXPECT_EQ(d->objectClass(), dateTimeClass());
    EXPECT_EQ(d->objectAttribute().flags, 0u);
    EXPECT_TRUE(d->ownsData);
    value.year = 1;
    expectFields(unwrapDateTime(d), 2024, 2, 29, 12, 0, 0);

    expectFields(unwrapDateTime(integer(3)), -1, -1, -1, -1, -1, -1);
    expectFields(unwrapDateTime(Object::Ptr()), -1, -1, -1, -1, -1, -1);
    expectFields(unwrapDateTime(dateTimeClass()->createNull()), -1, -1, -1, -1, -1, -1);
}
