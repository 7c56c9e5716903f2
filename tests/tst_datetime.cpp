// tst_datetime.cpp: the DateTime value, its stream forms and its script class, with the checked paths all
// value classes share.
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
Object::Ptr integer(int v)
{
    return insp()->createPrimitive(v);
}

std::string textOf(const DateTime &d)
{
    std::ostringstream out;
    out << d;
    return out.str();
}

std::vector<int> fields(const DateTime &d)
{
    return { d.year, d.month, d.day, d.hour, d.minute, d.second };
}

// The fields read from \p text into a value that was (2000, 1, 2, 3, 4, 5); \p failed tells whether the stream
// failed.
std::vector<int> read(const std::string &text, bool *failed = nullptr)
{
    DateTime d(2000, 1, 2, 3, 4, 5);
    std::istringstream in(text);
    in >> d;
    if (failed)
        *failed = in.fail();
    return fields(d);
}

typedef std::vector<int> F;

} // namespace

TEST(DateTimeText, PadsOnlyYearAndMonthAndReadsBack)
{
    EXPECT_EQ(textOf(DateTime(2024, 3, 5, 7, 8, 9)), "2024/03/5/7/8/9");
    EXPECT_EQ(textOf(DateTime(2024, 3, 5)), "2024/03/5/-1/-1/-1");
    EXPECT_EQ(textOf(DateTime()), "00-1/-1/-1/-1/-1/-1");
    // The fill character stays behind on the stream.
    std::ostringstream out;
    out << DateTime(2024, 3, 5) << ' ' << std::setw(3) << 7;
    EXPECT_EQ(out.str(), "2024/03/5/-1/-1/-1 007");

    // Reading takes six numbers and skips one character after each of the first five.
    bool failed = true;
    EXPECT_EQ(read("2024-3-5 7:8:9", &failed), F({ 2024, 3, 5, 7, 8, 9 }));
    EXPECT_FALSE(failed);
    EXPECT_EQ(read(textOf(DateTime(2024, 3, 5))), F({ 2024, 3, 5, -1, -1, -1 }));
    // Exactly one character is skipped, whatever it is: a second separator is not.
    EXPECT_EQ(read("2024x12y5z1a2b3"), F({ 2024, 12, 5, 1, 2, 3 }));
    EXPECT_EQ(read("2024//3/5/7/8/9", &failed), F({ 2000, 1, 2, 3, 4, 5 }));
    EXPECT_TRUE(failed);
    // Truncated input leaves the value alone.
    EXPECT_EQ(read("2024/3/", &failed), F({ 2000, 1, 2, 3, 4, 5 }));
    EXPECT_TRUE(failed);
}

TEST(DateTimeClass, RegisteredInUiTypesWithItsMembers)
{
    const Class *cls = dateTimeClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->fullyQualifiedClassName(), "UiTypes::DateTime");
    const char *const names[] = { "year", "month", "day", "hour", "minute", "second" };
    ASSERT_EQ(cls->numProperties(), 6);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(cls->property(i)->name(), QString::fromLatin1(names[i]));
        EXPECT_EQ(cls->property(i)->flags(), 3u);
        EXPECT_EQ(cls->property(i)->type(), insp()->type(Inspector::Int));
    }
    ASSERT_EQ(cls->numConstructors(), 4);
    EXPECT_EQ(cls->constructor(0)->toString(), "DateTime()");
    EXPECT_EQ(cls->constructor(1)->toString(), "DateTime(int year, int month, int day)");
    EXPECT_EQ(cls->constructor(2)->signature().toString(),
              "(int year, int month, int day, int hour, int minute, int second)");
    EXPECT_EQ(cls->constructor(3)->toString(), "DateTime(DateTime date)");
}

TEST(DateTimeClass, ScriptConstructsReadsAndWrites)
{
    const Class *cls = dateTimeClass();
    Object::Ptr unset = cls->construct(ObjectList());
    ASSERT_TRUE(unset);
    EXPECT_TRUE(unset->ownsData);
    EXPECT_EQ(fields(unwrapDateTime(unset)), F({ -1, -1, -1, -1, -1, -1 }));
    Object::Ptr date = cls->construct(ObjectList { integer(2024), integer(3), integer(5) });
    EXPECT_EQ(fields(unwrapDateTime(date)), F({ 2024, 3, 5, -1, -1, -1 }));
    Object::Ptr full = cls->constructor(2)->construct(
        ObjectList { integer(2024), integer(3), integer(5), integer(7), integer(8), integer(9) });
    // The copy constructor takes a copy: changing the copy leaves the original.
    Object::Ptr copy = cls->construct(ObjectList { full });
    EXPECT_TRUE(VexilTest::writeProperty(copy, "minute", integer(30)));
    EXPECT_TRUE(VexilTest::writeProperty(copy, "year", insp()->createPrimitive(2001LL)));
    EXPECT_EQ(fields(unwrapDateTime(copy)), F({ 2001, 3, 5, 7, 30, 9 }));
    EXPECT_EQ(VexilTest::readProperty(full, "minute")->toInteger(), 8);

    // Raw slots refuse indexes without a property and a missing value; objects of other classes are
    // neither read nor written through.
    DateTime raw(1, 2, 3);
    int value = 4;
    EXPECT_FALSE(cls->setProperty(6, &raw, &value));
    EXPECT_FALSE(cls->setProperty(0, &raw, nullptr));
    EXPECT_EQ(cls->getProperty(6, &raw, cls), nullptr);
    EXPECT_TRUE(cls->setProperty(2, &raw, &value));
    EXPECT_EQ(raw.day, 4);
    EXPECT_FALSE(cls->property("year")->set(integer(1), integer(2)));
    EXPECT_EQ(cls->property("year")->get(integer(1)), nullptr);
}

TEST(DateTimeClass, BadConstructionGivesNull)
{
    const Class *cls = dateTimeClass();
    VexilTest::StderrCapture capture;
    EXPECT_EQ(cls->construct(4, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(cls->construct(-2, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(cls->construct(1, static_cast<void **>(nullptr)), nullptr);
    EXPECT_EQ(cls->construct(2, ObjectList { integer(1) }, nullptr), nullptr);
    // Arguments of other classes never reach the raw slot, which would read through their data.
    EXPECT_EQ(cls->constructor(3)->construct(ObjectList { integer(1) }), nullptr);
    EXPECT_EQ(cls->constructor(1)->construct(
                  ObjectList { integer(1), integer(2), insp()->createPrimitive(true) }),
              nullptr);
    EXPECT_EQ(capture.text(),
              "Unknown DateTime constructor called:4\n"
              "Unknown DateTime constructor called:-2\n");
}

TEST(DateTimeClass, ConvertsToTextOnlyFromValueToPointerForm)
{
    const Class *cls = dateTimeClass();
    const Class *text = insp()->type(Inspector::Char);
    EXPECT_TRUE(cls->canConvertTo(text, false, true, nullptr));
    EXPECT_FALSE(cls->canConvertTo(text, true, true, nullptr));
    EXPECT_FALSE(cls->canConvertTo(text, false, false, nullptr));
    EXPECT_FALSE(cls->canConvertTo(insp()->type(Inspector::Int), false, true, nullptr));

    const Object::Ptr converted = cls->convertTo(wrapDateTime(DateTime(2024, 3, 5, 7, 8, 9)), text, true);
    ASSERT_TRUE(converted);
    EXPECT_EQ(converted->objectClass(), text);
    EXPECT_EQ(converted->toString(), "2024/03/5/7/8/9");
    // A script-constructed value converts the same way.
    EXPECT_EQ(cls->construct(ObjectList { integer(2024), integer(3), integer(5) })->toString(),
              "2024/03/5/-1/-1/-1");
}

TEST(DateTimeClass, DateWithoutTimeEqualsMidnight)
{
    const Class *cls = dateTimeClass();
    Object::Ptr dateOnly = wrapDateTime(DateTime(2024, 3, 5));
    Object::Ptr midnight = wrapDateTime(DateTime(2024, 3, 5, 0, 0, 0));
    EXPECT_EQ(cls->compare(dateOnly, midnight), 0);
    EXPECT_EQ(midnight->compare(dateOnly), 0);
    EXPECT_NE(cls->compare(dateOnly, wrapDateTime(DateTime(2024, 3, 6, 0, 0, 0))), 0);
    // Outside that rule the general comparison decides.
    EXPECT_NE(cls->compare(dateOnly, wrapDateTime(DateTime(2024, 3, 5, 0, 0, 1))), 0);
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
    EXPECT_EQ(fields(unwrapDateTime(d)), F({ 2024, 2, 29, 12, 0, 0 }));
    EXPECT_EQ(fields(unwrapDateTime(dateTimeClass()->createNull())), F({ -1, -1, -1, -1, -1, -1 }));
}
