// datetime.h: the date/time value and its class "DateTime" in namespace "UiTypes".
#ifndef VEXIL_DATETIME_H
#define VEXIL_DATETIME_H

#include "object.h"
#include "vexil_export.h"

#include <iosfwd>

namespace Vexil {

/// A calendar date with an optional time of day; a field of -1 is not set.
struct VEXIL_EXPORT DateTime
{
    /// Nothing set: all six fields -1.
    DateTime();
    /// A date without a time (hour, minute and second -1).
    DateTime(int year, int month, int day);
    DateTime(int year, int month, int day, int hour, int minute, int second);
    DateTime(const DateTime &other) = default;
    DateTime &operator=(const DateTime &other) = default;

    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

/// The script class of DateTime values. Properties 0 to 5: "year", "month", "day", "hour", "minute",
/// "second" (integers, read-write). Constructors: 0 nothing set, 1 a date, 2 date and time, 3 a copy.
/// A DateTime converts to a text (its stream form); a date without a time equals the same date at 0:00:00.
class VEXIL_EXPORT DateTime_class : public Class
{
public:
    explicit DateTime_class(Namespace *ns);
    ~DateTime_class() override;

    using Class::construct;
    using Class::getProperty;
    using Class::setProperty;

    bool setProperty(int index, void *object, void *value) const override;
    Object::Ptr getProperty(int index, void *object, const Class *cls) const override;
    /// Refuses objects of other classes before the general checks and conversion of the value.
    bool setProperty(int index, Object::Ptr object, Object::Ptr value,
                     const Property *property) const override;
    /// Unknown indexes print "Unknown DateTime constructor called:<index>" and give null.
    Object::Ptr construct(int index, void **args) const override;
    /// Refuses arguments that are not of the constructor's parameter classes before the raw slot reads
    /// through their data pointers.
    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    /// Only to a text in pointer form, and only from a DateTime that is not in pointer form.
    bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                      void **converter) const override;
    Object::Ptr convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const override;
    int compare(Object::Ptr a, Object::Ptr b) const override;
    Constructor *createConstructor(int index) const override;
    Property *createProperty(int index) const override;
};

/// The class "DateTime" of namespace "UiTypes", looked up anew on every call; null when absent.
VEXIL_EXPORT const Class *objectModelDateTimeClass();
/// A new object owning a copy of \p value (attribute flags 0).
VEXIL_EXPORT Object::Ptr wrapDateTime(const DateTime &value);
/// A copy of the stored value; nothing set for anything that is not a DateTime object.
VEXIL_EXPORT DateTime unwrapDateTime(const Object::Ptr &object);

/// year/month/day/hour/minute/second with fill '0', year in width 4 and month in width 2 only
/// (2024/03/5/7/8/9). The fill stays '0' on the stream.
VEXIL_EXPORT std::ostream &operator<<(std::ostream &stream, const DateTime &value);
/// Reads six integers in that order, skipping exactly one character after each of the first five.
/// \p value is left alone when the stream fails.
VEXIL_EXPORT std::istream &operator>>(std::istream &stream, DateTime &value);

} // namespace Vexil

#endif // VEXIL_DATETIME_H
