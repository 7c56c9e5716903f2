// datetime.cpp: the DateTime value, its script class, its text form and the wrap/unwrap helpers.
#include "datetime.h"

#include "diagnostics.h"
#include "inspector.h"
#include "valueclass_p.h"

#include <cstdio>
#include <iomanip>
#include <istream>
#include <ostream>
#include <sstream>

namespace Vexil {

using namespace ValueClass;

namespace {

const IntFields<DateTime, 6> kFields = { { "year", "month", "day", "hour", "minute", "second" },
                                         { &DateTime::year, &DateTime::month, &DateTime::day, &DateTime::hour,
                                           &DateTime::minute, &DateTime::second } };

bool hasNoTime(const DateTime &d)
{
    return d.hour == -1 && d.minute == -1 && d.second == -1;
}

bool isMidnight(const DateTime &d)
{
    return d.hour == 0 && d.minute == 0 && d.second == 0;
}

QString textForm(const DateTime &d)
{
    std::ostringstream out;
    out << d;
    return QString::fromStdString(out.str());
}

// The value held by an object of a DateTime class; null for anything else.
const DateTime *valueOf(const Object::Ptr &object)
{
    return localValue<DateTime_class, const DateTime>(object);
}

} // namespace

DateTime::DateTime()
    : year(-1)
    , month(-1)
    , day(-1)
    , hour(-1)
    , minute(-1)
    , second(-1)
{
}

DateTime::DateTime(int y, int mo, int d)
    : year(y)
    , month(mo)
    , day(d)
    , hour(-1)
    , minute(-1)
    , second(-1)
{
}

DateTime::DateTime(int y, int mo, int d, int h, int mi, int s)
    : year(y)
    , month(mo)
    , day(d)
    , hour(h)
    , minute(mi)
    , second(s)
{
}

DateTime_class::DateTime_class(Namespace *ns)
    : Class("DateTime", ns, true)
{
    setNumConstructors(4);
    setNumProperties(kFields.count);
}

DateTime_class::~DateTime_class() = default;

Constructor *DateTime_class::createConstructor(int index) const
{
    auto arg = [](int field) { return kFields.argument(field); };
    switch (index) {
    case 0:
        return new Constructor(this, Signature(), index);
    case 1:
        return new Constructor(this, Signature(arg(0), arg(1), arg(2)), index);
    case 2:
        return new Constructor(this, Signature(arg(0), arg(1), arg(2), arg(3), arg(4), arg(5)), index);
    case 3:
        return new Constructor(this, Signature(Argument(QStringLiteral("date"), this)), index);
    default:
        return nullptr;
    }
}

Property *DateTime_class::createProperty(int index) const
{
    return kFields.createProperty(this, index);
}

Object::Ptr DateTime_class::getProperty(int index, void *object, const Class *cls) const
{
    return kFields.get(this, index, object, cls);
}

bool DateTime_class::setProperty(int index, void *object, void *value) const
{
    return kFields.set(index, object, value);
}

bool DateTime_class::setProperty(int index, Object::Ptr object, Object::Ptr value,
                                 const Property *property) const
{
    return setPropertyChecked(this, index, object, value, property);
}

Object::Ptr DateTime_class::construct(int index, const ObjectList &args, const Constructor *constructor) const
{
    return constructChecked(this, index, args, constructor);
}

Object::Ptr DateTime_class::construct(int index, void **args) const
{
    int v[kFields.count];
    // Constructed values stay out of pointer form so that they convert to text like wrapped ones.
    switch (index) {
    case 0:
        return wrapOwned(this, new DateTime(), 0);
    case 1:
        return readInts(args, 3, v) ? wrapOwned(this, new DateTime(v[0], v[1], v[2]), 0) : Object::Ptr();
    case 2:
        return readInts(args, 6, v) ? wrapOwned(this, new DateTime(v[0], v[1], v[2], v[3], v[4], v[5]), 0)
                                    : Object::Ptr();
    case 3:
        return wrapCopy<DateTime>(this, args, 0);
    default:
        diagnostic(QStringLiteral("Unknown DateTime constructor called:%1").arg(index));
        return Object::Ptr();
    }
}

void DateTime_class::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<DateTime *>(data);
}

bool DateTime_class::canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                  void **converter) const
{
    if (converter)
        *converter = nullptr;
    return !sourceIsPointer && targetIsPointer && target
        && target == Inspector::self()->type(Inspector::Char);
}

Object::Ptr DateTime_class::convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const
{
    if (target && target == Inspector::self()->type(Inspector::Char)) {
        const DateTime *value = valueOf(object);
        if (!value)
            return Object::Ptr();
        return Inspector::self()->createPrimitive(textForm(*value).toUtf8().constData());
    }
    return Class::convertTo(object, target, targetIsPointer);
}

int DateTime_class::compare(Object::Ptr a, Object::Ptr b) const
{
    const DateTime *x = valueOf(a);
    const DateTime *y = b && b->isA(this) ? valueOf(b) : nullptr;
    // A date without a time is the same day at 0:00:00; only then do the dates alone decide.
    if (x && y && ((hasNoTime(*x) && isMidnight(*y)) || (isMidnight(*x) && hasNoTime(*y)))) {
        if (x->year != y->year)
            return x->year < y->year ? -1 : 1;
        if (x->month != y->month)
            return x->month < y->month ? -1 : 1;
        if (x->day != y->day)
            return x->day < y->day ? -1 : 1;
        return 0;
    }
    return Class::compare(a, b);
}

const Class *objectModelDateTimeClass()
{
    return uiTypesClass(QStringLiteral("DateTime"));
}

Object::Ptr wrapDateTime(const DateTime &value)
{
    return wrapOwned(objectModelDateTimeClass(), new DateTime(value), 0);
}

DateTime unwrapDateTime(const Object::Ptr &object)
{
    const DateTime *value = valueOf(object);
    return value ? *value : DateTime();
}

std::ostream &operator<<(std::ostream &stream, const DateTime &value)
{
    // The width is used up by the next field, so only year and month are padded: that form is relied on.
    stream << std::setfill('0') << std::setw(4) << value.year << '/' << std::setw(2) << value.month << '/'
           << value.day << '/' << value.hour << '/' << value.minute << '/' << value.second;
    return stream;
}

std::istream &operator>>(std::istream &stream, DateTime &value)
{
    DateTime read;
    int *const fields[] = { &read.year, &read.month, &read.day, &read.hour, &read.minute, &read.second };
    for (int i = 0; i < 6; ++i) {
        if (i > 0)
            stream.get();
        stream >> *fields[i];
    }
    if (!stream.fail())
        value = read;
    return stream;
}

} // namespace Vexil
