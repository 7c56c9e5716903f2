// conversion.cpp: the general conversion, comparison and type-name slots of Class.
#include "object.h"
#include "object_p.h"

#include "delegate.h"
#include "inspector.h"

namespace Vexil {

using namespace Internal;

namespace {

// The delegate conversion that serves a primitive target, or 0 when the target is no such primitive.
ConversionDelegate::ConvertFlag delegateConversionFor(const Class *target)
{
    switch (primitiveIndex(target)) {
    case Inspector::Int:
        return ConversionDelegate::ConvertInteger;
    case Inspector::Bool:
        return ConversionDelegate::ConvertBoolean;
    case Inspector::Char:
        return ConversionDelegate::ConvertString;
    case Inspector::Double:
        return ConversionDelegate::ConvertDouble;
    case Inspector::Int64:
        return ConversionDelegate::ConvertInt64;
    default:
        return ConversionDelegate::ConvertFlag(0);
    }
}

Object::Ptr convertThroughDelegate(const Object::Ptr &object, const ConversionDelegate *d,
                                   ConversionDelegate::ConvertFlag flag)
{
    Inspector *insp = Inspector::self();
    switch (flag) {
    case ConversionDelegate::ConvertInteger:
        return insp->createPrimitive(d->toInteger(object));
    case ConversionDelegate::ConvertBoolean:
        return insp->createPrimitive(d->toBoolean(object));
    case ConversionDelegate::ConvertString:
        return insp->createPrimitive(d->toString(object).toUtf8().constData());
    case ConversionDelegate::ConvertDouble:
        return insp->createPrimitive(d->toDouble(object));
    case ConversionDelegate::ConvertInt64:
        return insp->createPrimitive(d->toInt64(object));
    default:
        return Object::Ptr();
    }
}

// A class asked to convert into itself answers whether it can build itself from other objects. The
// primitives answer that question for their own values only, so they are never asked it.
bool targetBuildsItself(const Class *source, const Class *target)
{
    return target != source && primitiveIndex(target) < 0;
}

} // namespace

bool Class::canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                         void **converter) const
{
    if (converter)
        *converter = nullptr;
    if (!target)
        return false;
    if (target == this || isSubClassOf(target))
        return true;
    if (canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return true;
    if (targetBuildsItself(this, target)
        && target->canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return true;
    const ConversionDelegate::ConvertFlag flag = delegateConversionFor(target);
    if (flag) {
        const Delegate *found = DelegateFactory::self()->delegate(this, Delegate::Conversion);
        const auto *d = static_cast<const ConversionDelegate *>(found);
        if (d && supportsConversion(d, flag))
            return true;
    }
    return false;
}

Object::Ptr Class::convertTo(Object::Ptr object, const Class *target, bool targetIsPointer) const
{
    if (!object || !target)
        return Object::Ptr();
    const bool sourceIsPointer = isPointer(object);
    // An object of the target class is taken as it is, unless its class has a rule for changing its form
    // (a single character asked for as a text becomes its number's digits).
    if (object->isA(target)) {
        if (sourceIsPointer != targetIsPointer
            && canConvertToInternal(target, sourceIsPointer, targetIsPointer))
            return convertToInternal(object, target, targetIsPointer);
        return object;
    }
    if (canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return convertToInternal(object, target, targetIsPointer);
    if (targetBuildsItself(this, target)
        && target->canConvertToInternal(target, sourceIsPointer, targetIsPointer))
        return target->convertToInternal(object, target, targetIsPointer);
    const ConversionDelegate::ConvertFlag flag = delegateConversionFor(target);
    if (flag) {
        const ConversionDelegate *d = object->conversionDelegate();
        if (d && supportsConversion(d, flag))
            return convertThroughDelegate(object, d, flag);
    }
    return Object::Ptr();
}

bool Class::canConvertToTolerant(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                                 void **converter) const
{
    if (canConvertTo(target, sourceIsPointer, targetIsPointer, converter))
        return true;
    // Referencing or dereferencing the source first gives it the target's pointer form.
    return sourceIsPointer != targetIsPointer
        && canConvertTo(target, targetIsPointer, targetIsPointer, converter);
}

Object::Ptr Class::convertToTolerant(Object::Ptr object, const Class *target, bool targetIsPointer) const
{
    if (!object || !target)
        return Object::Ptr();
    const bool sourceIsPointer = isPointer(object);
    if (object->isA(target) && sourceIsPointer == targetIsPointer)
        return object;
    if (!object->isA(target) && canConvertTo(target, sourceIsPointer, targetIsPointer, nullptr))
        return convertTo(object, target, targetIsPointer);
    if (sourceIsPointer == targetIsPointer)
        return Object::Ptr();
    Object::Ptr flipped = targetIsPointer ? object->reference() : object->dereference();
    if (!flipped) {
        Inspector::self()->setError(QStringLiteral("Referencing or dereferencing of object failed."));
        return Object::Ptr();
    }
    if (flipped->isA(target))
        return flipped;
    const Class *cls = flipped->objectClass();
    if (!cls || !cls->canConvertTo(target, isPointer(flipped), targetIsPointer, nullptr))
        return Object::Ptr();
    return cls->convertTo(flipped, target, targetIsPointer);
}

bool Class::sameObjects(Object::Ptr a, Object::Ptr b) const
{
    if (!a || !b)
        return false;
    if (const ComparisonDelegate *d = a->comparisonDelegate())
        return d->sameObjects(a, b);
    if (a == b)
        return true;
    return a->rawData() && a->rawData() == b->rawData();
}

int Class::compare(Object::Ptr a, Object::Ptr b) const
{
    if (a) {
        if (const ComparisonDelegate *d = a->comparisonDelegate())
            return d->compare(a, b);
    }
    if (sameObjects(a, b))
        return 0;
    // No order is known between unrelated objects; a null pointer goes first, the rest follow their data
    // addresses so that the answer at least stays the same for the same pair.
    if (!a)
        return b ? -1 : 1;
    if (!b)
        return 1;
    return std::less<const void *>()(a->rawData(), b->rawData()) ? -1 : 1;
}

QString Class::realType(const QString &typeName) const
{
    return typeName;
}

} // namespace Vexil
