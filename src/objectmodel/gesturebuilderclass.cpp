// gesturebuilderclass.cpp: the GestureBuilder script class over the TouchBuilder gesture model.
#include "gesturebuilderclass.h"

#include "inspector.h"
#include "touchbuilder.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace Vexil {

namespace {

const int kNumConstructors = 3;
const int kNumMethods = 17;
const int kNumProperties = 3;
const int kNumEnums = 1;
const int kMaxParams = 7;

// Sampling step of build(), in milliseconds.
const int kBuildInterval = 25;

enum ParamKind { Number, Integer, Text };

struct ParamEntry
{
    ParamKind kind;
    const char *name;
};

struct MemberEntry
{
    const char *name;
    int count;
    ParamEntry params[kMaxParams];
};

// Methods by local index; the table drives both the descriptors and the reading of arguments.
const MemberEntry kMethods[kNumMethods] = {
    { "fromXml", 1, { { Text, "xml" } } },
    { "toXml", 0, {} },
    { "translate", 2, { { Number, "dx" }, { Number, "dy" } } },
    { "scale", 4, { { Number, "sx" }, { Number, "sy" }, { Number, "cx" }, { Number, "cy" } } },
    { "scale", 1, { { Number, "s" } } },
    { "scale", 2, { { Number, "sx" }, { Number, "sy" } } },
    { "rotate", 3, { { Number, "angle" }, { Number, "cx" }, { Number, "cy" } } },
    { "rotate", 1, { { Number, "angle" } } },
    { "accelerate", 1, { { Number, "factor" } } },
    { "addStroke", 2, { { Number, "x" }, { Number, "y" } } },
    { "addStroke", 3, { { Integer, "time" }, { Number, "x" }, { Number, "y" } } },
    { "addStroke", 4, { { Integer, "time" }, { Number, "x" }, { Number, "y" }, { Number, "pressure" } } },
    { "addStroke",
      5,
      { { Integer, "time" }, { Number, "x" }, { Number, "y" }, { Number, "pressure" }, { Number, "size" } } },
    { "lineTo", 3, { { Integer, "duration" }, { Number, "x" }, { Number, "y" } } },
    { "curveTo",
      5,
      { { Integer, "duration" }, { Number, "cx" }, { Number, "cy" }, { Number, "x" }, { Number, "y" } } },
    { "curveTo",
      7,
      { { Integer, "duration" },
        { Number, "c1x" },
        { Number, "c1y" },
        { Number, "c2x" },
        { Number, "c2y" },
        { Number, "x" },
        { Number, "y" } } },
    { "build", 0, {} },
};

const MemberEntry kConstructors[kNumConstructors] = {
    { "GestureBuilder", 0, {} },
    { "GestureBuilder", 1, { { Text, "xml" } } },
    { "GestureBuilder", 3, { { Number, "width" }, { Number, "height" }, { Integer, "unit" } } },
};

enum MethodIndex {
    FromXml,
    ToXml,
    Translate,
    ScaleAbout,
    ScaleUniform,
    Scale,
    RotateAbout,
    Rotate,
    Accelerate,
    AddStrokeAtZero,
    AddStroke,
    AddStrokePressure,
    AddStrokePressureSize,
    LineTo,
    CurveTo,
    CurveTo2
};

const char *const kPropertyNames[kNumProperties] = { "areaWidth", "areaHeight", "unit" };

// The arguments of one call, by parameter position, as the parameter kinds read them.
struct CallValues
{
    double number[kMaxParams] = {};
    int integer[kMaxParams] = {};
    std::string text;

    float f(int k) const { return static_cast<float>(number[k]); }
};

bool readArguments(const MemberEntry &entry, const ObjectList &args, CallValues *values)
{
    if (args.size() != size_t(entry.count))
        return false;
    for (int k = 0; k < entry.count; ++k) {
        const Object::Ptr &arg = args[size_t(k)];
        if (!arg)
            return false;
        switch (entry.params[k].kind) {
        case Number:
            values->number[k] = arg->toDouble();
            break;
        case Integer:
            values->integer[k] = arg->toInteger();
            break;
        case Text:
            values->text = arg->toString().toStdString();
            break;
        }
    }
    return true;
}

bool readArguments(const MemberEntry &entry, void **args, CallValues *values)
{
    if (entry.count > 0 && !args)
        return false;
    for (int k = 0; k < entry.count; ++k) {
        if (!args[k])
            return false;
        switch (entry.params[k].kind) {
        case Number:
            values->number[k] = *static_cast<const double *>(args[k]);
            break;
        case Integer:
            values->integer[k] = *static_cast<const int *>(args[k]);
            break;
        case Text:
            values->text = static_cast<const char *>(args[k]);
            break;
        }
    }
    return true;
}

Signature signatureOf(const MemberEntry &entry)
{
    Inspector *insp = Inspector::self();
    Signature sig;
    for (int k = 0; k < entry.count; ++k) {
        const ParamEntry &p = entry.params[k];
        const QString name = QString::fromLatin1(p.name);
        switch (p.kind) {
        case Number:
            sig.append(Argument(name, insp->type(Inspector::Double)));
            break;
        case Integer:
            sig.append(Argument(name, insp->type(Inspector::Int)));
            break;
        case Text:
            sig.append(Argument(name, insp->type(Inspector::Char), ObjectAttribute::Pointer));
            break;
        }
    }
    return sig;
}

// The bounds exclude 0 and 1 although the messages name them. The script's value is compared as given,
// so that exactly 0.0001 and 0.9999 pass.
bool inUnitRange(double v)
{
    return v >= 0.0001 && v <= 0.9999;
}

bool addStroke(TouchBuilder &b, int time, const CallValues &v, int xArg, const double *pressure,
               const double *size, QString *error)
{
    if (time < 0) {
        *error = QStringLiteral("Time must be 0 or above");
        return false;
    }
    if (time != 0 && !b.hasStrokes()) {
        *error = QStringLiteral("Time must be 0 for first stroke");
        return false;
    }
    if (pressure && !inUnitRange(*pressure)) {
        *error = QStringLiteral("Pressure must be between 0.0 and 1.0");
        return false;
    }
    if (size && !inUnitRange(*size)) {
        *error = QStringLiteral("Size must be between 0.0 and 1.0");
        return false;
    }
    b.addStroke(time, v.f(xArg), v.f(xArg + 1), pressure ? static_cast<float>(*pressure) : -1.0f,
                size ? static_cast<float>(*size) : -1.0f);
    return true;
}

// Every check runs before the model is touched, so a refused call changes nothing.
bool applyMethod(TouchBuilder &b, int local, const CallValues &v, QString *error)
{
    std::string modelError;
    switch (local) {
    case FromXml:
        if (!b.fromXml(v.text, &modelError)) {
            *error = QString::fromStdString(modelError);
            return false;
        }
        return true;
    case Translate:
        b.translate(v.f(0), v.f(1));
        return true;
    case ScaleAbout:
        b.scale(v.f(0), v.f(1), v.f(2), v.f(3), false);
        return true;
    case ScaleUniform:
        b.scale(v.f(0), v.f(0), 0.0f, 0.0f, true);
        return true;
    case Scale:
        b.scale(v.f(0), v.f(1), 0.0f, 0.0f, true);
        return true;
    case RotateAbout:
        b.rotate(v.f(0), v.f(1), v.f(2), false);
        return true;
    case Rotate:
        b.rotate(v.f(0), 0.0f, 0.0f, true);
        return true;
    case Accelerate:
        b.accelerate(v.f(0));
        return true;
    case AddStrokeAtZero:
        return addStroke(b, 0, v, 0, nullptr, nullptr, error);
    case AddStroke:
        return addStroke(b, v.integer[0], v, 1, nullptr, nullptr, error);
    case AddStrokePressure:
        return addStroke(b, v.integer[0], v, 1, &v.number[3], nullptr, error);
    case AddStrokePressureSize:
        return addStroke(b, v.integer[0], v, 1, &v.number[3], &v.number[4], error);
    case LineTo:
        if (!b.hasStrokes() || !b.lineTo(v.integer[0], v.f(1), v.f(2))) {
            *error = QStringLiteral("addStroke must be called before lineTo");
            return false;
        }
        return true;
    case CurveTo:
        if (!b.hasStrokes() || !b.curveTo(v.integer[0], v.f(1), v.f(2), v.f(3), v.f(4))) {
            *error = QStringLiteral("addStroke must be called before curveTo");
            return false;
        }
        return true;
    case CurveTo2:
        if (!b.hasStrokes() || !b.curveTo(v.integer[0], v.f(1), v.f(2), v.f(3), v.f(4), v.f(5), v.f(6))) {
            *error = QStringLiteral("addStroke must be called before curveTo");
            return false;
        }
        return true;
    default: // build
        if (!b.generateSamples(kBuildInterval, &modelError)) {
            *error = QString::fromStdString(modelError);
            return false;
        }
        return true;
    }
}

// toXml answers with the text; every other method with the builder object, made by \p self only on success.
template <class MakeSelf>
Object::Ptr runMethod(int local, TouchBuilder &b, const CallValues &v, MakeSelf self)
{
    Inspector *insp = Inspector::self();
    if (local == ToXml)
        return insp->createPrimitive(b.toXml().c_str());
    QString error;
    if (!applyMethod(b, local, v, &error)) {
        insp->setError(error);
        return Object::Ptr();
    }
    return self();
}

Object::Ptr makeBuilder(const GestureBuilderClass *cls, int index, const CallValues &v)
{
    std::unique_ptr<TouchBuilder> builder(new TouchBuilder);
    if (index == 1) {
        std::string error;
        if (!builder->fromXml(v.text, &error)) {
            Inspector::self()->setError(QString::fromStdString(error));
            return Object::Ptr();
        }
    } else if (index == 2) {
        // Compared after narrowing, the way the model stores the sizes: 0.001 itself passes, since as a float
        // it is slightly above 0.001. Not-a-number and infinite sizes are refused as well.
        const float width = v.f(0);
        const float height = v.f(1);
        if (!(double(width) >= 0.001) || !(double(height) >= 0.001) || !std::isfinite(width)
            || !std::isfinite(height)) {
            Inspector::self()->setError(QStringLiteral("Invalid area sizes"));
            return Object::Ptr();
        }
        builder->setArea(width, height, v.integer[2]);
    }
    return cls->wrapBuilder(builder.release());
}

} // namespace

GestureBuilderClass::GestureBuilderClass(Namespace *ns)
    : Class("GestureBuilder", ns, true)
{
    setNumConstructors(kNumConstructors);
    setNumMethods(kNumMethods);
    setNumProperties(kNumProperties);
    setNumEnums(kNumEnums);
}

GestureBuilderClass::~GestureBuilderClass() = default;

Constructor *GestureBuilderClass::createConstructor(int index) const
{
    if (index < 0 || index >= kNumConstructors)
        return nullptr;
    return new Constructor(this, signatureOf(kConstructors[index]), index);
}

Method *GestureBuilderClass::createMethod(int index) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return nullptr;
    // toXml is declared void all the same; it answers with a text object.
    const Argument result = local == ToXml ? Argument(Inspector::self()->type(Inspector::Void))
                                           : Argument(this, ObjectAttribute::Pointer);
    const MemberEntry &entry = kMethods[local];
    return new Method(this, result, QString::fromLatin1(entry.name), signatureOf(entry), false, index);
}

Property *GestureBuilderClass::createProperty(int index) const
{
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return nullptr;
    const Class *type = Inspector::self()->type(local == 2 ? Inspector::Int : Inspector::Double);
    const QString name = QString::fromLatin1(kPropertyNames[local]);
    const auto *decl = new PropertyDeclaration(this, Argument(type), name, PropertyDeclaration::Readable);
    return new Property(decl, this, index, true);
}

Enum *GestureBuilderClass::createEnum(int index) const
{
    if (index - superClassOffset(EnumOffset) != 0)
        return nullptr;
    auto *e = new Enum(this, QStringLiteral("Unit"));
    e->addItem(QStringLiteral("Pixel"), Pixel);
    e->addItem(QStringLiteral("MilliMeter"), MilliMeter);
    e->addItem(QStringLiteral("LogicalPoint"), LogicalPoint);
    // 0, 1 and 2 look bit-disjoint, but a unit is one of them, never a combination.
    e->setIsMask(false);
    return e;
}

Object::Ptr GestureBuilderClass::invoke(int index, Object::Ptr object, const ObjectList &args,
                                        const Method *method) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return Object::Ptr();
    if (!method)
        method = this->method(index);
    if (!method || !verifyMethodArgumentCount(QString::fromLatin1(name()), method, args))
        return Object::Ptr();
    TouchBuilder *builder = builderOf(object);
    CallValues values;
    if (!builder || !readArguments(kMethods[local], args, &values))
        return Object::Ptr();
    return runMethod(local, *builder, values, [&object] { return object; });
}

Object::Ptr GestureBuilderClass::invoke(Object::Ptr object, const Method *method, void **args) const
{
    if (!method || !verifyMethodInvocation(object, method))
        return Object::Ptr();
    const int local = method->index() - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return Object::Ptr();
    TouchBuilder *builder = builderOf(object);
    CallValues values;
    if (!builder || !readArguments(kMethods[local], args, &values))
        return Object::Ptr();
    return runMethod(local, *builder, values, [&object] { return object; });
}

Object::Ptr GestureBuilderClass::invoke(int index, void *object, void **args, const Class *cls) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods || !object || !cls || !cls->isSubClassOf(this))
        return Object::Ptr();
    auto *builder = static_cast<TouchBuilder *>(object);
    CallValues values;
    if (!readArguments(kMethods[local], args, &values))
        return Object::Ptr();
    // The caller holds the builder; the object handed back only refers to it.
    return runMethod(local, *builder, values, [cls, object] {
        return cls->wrap(object, ObjectAttribute(ObjectAttribute::Pointer, 0));
    });
}

Object::Ptr GestureBuilderClass::construct(int index, const ObjectList &args,
                                           const Constructor *constructor) const
{
    if (index < 0 || index >= kNumConstructors)
        return Object::Ptr();
    CallValues values;
    if (!readArguments(kConstructors[index], args, &values)) {
        if (!constructor)
            constructor = this->constructor(index);
        // Constructor::construct reports a wrong count; a list with a null entry is refused quietly.
        if (constructor && args.size() != size_t(constructor->signature().count()))
            return constructor->construct(args);
        return Object::Ptr();
    }
    return makeBuilder(this, index, values);
}

Object::Ptr GestureBuilderClass::construct(int index, void **args) const
{
    if (index < 0 || index >= kNumConstructors)
        return Object::Ptr();
    CallValues values;
    if (!readArguments(kConstructors[index], args, &values))
        return Object::Ptr();
    return makeBuilder(this, index, values);
}

Object::Ptr GestureBuilderClass::getProperty(int index, void *object, const Class *cls) const
{
    const int local = index - superClassOffset(PropertyOffset);
    if (!object || !cls || !cls->isSubClassOf(this) || local < 0 || local >= kNumProperties)
        return Object::Ptr();
    const auto *builder = static_cast<const TouchBuilder *>(object);
    Inspector *insp = Inspector::self();
    switch (local) {
    case 0:
        return insp->createPrimitive(double(builder->areaWidth()));
    case 1:
        return insp->createPrimitive(double(builder->areaHeight()));
    default:
        return insp->createPrimitive(builder->unit());
    }
}

void GestureBuilderClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<TouchBuilder *>(data);
}

Object::Ptr GestureBuilderClass::wrapBuilder(TouchBuilder *builder) const
{
    if (!builder)
        return Object::Ptr();
    Object::Ptr object = wrap(builder, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!object) {
        delete builder;
        return object;
    }
    object->ownsData = true;
    return object;
}

TouchBuilder *GestureBuilderClass::builderOf(const Object::Ptr &object) const
{
    if (!object || object->isInvalidated() || !object->isA(this))
        return nullptr;
    return static_cast<TouchBuilder *>(object->rawData());
}

} // namespace Vexil
