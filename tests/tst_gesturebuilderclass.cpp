// tst_gesturebuilderclass.cpp: the GestureBuilder script class, driven the way a script binding drives it.
#include "testsupport.h"

#include "gesturebuilderclass.h"
#include "inspector.h"
#include "touchbuilder.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

using namespace Vexil;
using VexilTest::callMethod;
using VexilTest::insp;
const auto get = VexilTest::readProperty;

namespace {

const GestureBuilderClass *gestureClass()
{
    return dynamic_cast<const GestureBuilderClass *>(
        insp()->globalNamespace()->getClass(QStringLiteral("GestureBuilder")));
}

const auto num = VexilTest::value<double>;
const auto integer = VexilTest::value<int>;
const auto text = VexilTest::value<const char *>;

Object::Ptr newBuilder(const ObjectList &args = ObjectList())
{
    return gestureClass()->construct(args);
}

std::string xmlOf(const Object::Ptr &builder)
{
    const Object::Ptr xml = callMethod(builder, "toXml");
    return xml ? xml->toString().toStdString() : std::string("<no xml>");
}

const TouchBuilder &model(const Object::Ptr &builder)
{
    return *gestureClass()->builderOf(builder);
}

std::vector<int> timestamps(const Object::Ptr &builder)
{
    std::vector<int> result;
    for (const TouchSample &s : model(builder).gestures().at(0).samples)
        result.push_back(s.timestamp);
    return result;
}

// Expects the call to fail with \p message and to leave the builder as it was.
void expectRefused(const Object::Ptr &builder, const char *name, const ObjectList &args, const char *message)
{
    SCOPED_TRACE(name);
    const std::string before = xmlOf(builder);
    const size_t strokes = model(builder).strokes().size();
    insp()->lastError();
    EXPECT_FALSE(callMethod(builder, name, args));
    EXPECT_EQ(insp()->lastError(), QString::fromLatin1(message));
    EXPECT_EQ(model(builder).strokes().size(), strokes);
    EXPECT_EQ(xmlOf(builder), before);
}

const char kOnePointXml[] = "<gestures version='1.0'>\n"
                            "  <multi-point area-width='200' area-height='100' unit='px'>\n"
                            "  <sample timestamp='0'>\n"
                            "    <point pointer='0' x='1' y='2' pressure='-1' size='-1' state='down'/>\n"
                            "  </sample>\n"
                            "  </multi-point>\n"
                            "</gestures>\n";

} // namespace

TEST(GestureBuilderClass, RegisteredAsClassTwelveWithItsDeclaredMembers)
{
    const GestureBuilderClass *cls = gestureClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(insp()->type(12), cls);
    EXPECT_EQ(cls->fullyQualifiedClassName(), "GestureBuilder");

    const char *const methods[] = {
        "GestureBuilder* fromXml(char * xml)",
        "void toXml()",
        "GestureBuilder* translate(double dx, double dy)",
        "GestureBuilder* scale(double sx, double sy, double cx, double cy)",
        "GestureBuilder* scale(double s)",
        "GestureBuilder* scale(double sx, double sy)",
        "GestureBuilder* rotate(double angle, double cx, double cy)",
        "GestureBuilder* rotate(double angle)",
        "GestureBuilder* accelerate(double factor)",
        "GestureBuilder* addStroke(double x, double y)",
        "GestureBuilder* addStroke(int time, double x, double y)",
        "GestureBuilder* addStroke(int time, double x, double y, double pressure)",
        "GestureBuilder* addStroke(int time, double x, double y, double pressure, double size)",
        "GestureBuilder* lineTo(int duration, double x, double y)",
        "GestureBuilder* curveTo(int duration, double cx, double cy, double x, double y)",
        "GestureBuilder* curveTo(int duration, double c1x, double c1y, double c2x, double c2y, double x, "
        "double y)",
        "GestureBuilder* build()",
    };
    ASSERT_EQ(cls->numMethods(), 17);
    for (int i = 0; i < 17; ++i) {
        const Method *m = cls->method(i);
        ASSERT_NE(m, nullptr);
        EXPECT_EQ(m->toString(), QString::fromLatin1(methods[i]));
        EXPECT_EQ(m->index(), i);
        EXPECT_FALSE(m->isStatic());
    }
    EXPECT_EQ(cls->method(0)->returnArgument().flags(), 2u);
    EXPECT_EQ(cls->method(0)->returnArgument().type(), cls);
    EXPECT_EQ(cls->methods(QStringLiteral("addStroke")).size(), 4u);

    ASSERT_EQ(cls->numConstructors(), 3);
    EXPECT_EQ(cls->constructor(0)->toString(), "GestureBuilder()");
    EXPECT_EQ(cls->constructor(1)->toString(), "GestureBuilder(char * xml)");
    EXPECT_EQ(cls->constructor(2)->toString(), "GestureBuilder(double width, double height, int unit)");

    ASSERT_EQ(cls->numProperties(), 3);
    const char *const names[] = { "areaWidth", "areaHeight", "unit" };
    const Class *types[] = { insp()->type(Inspector::Double), insp()->type(Inspector::Double),
                             insp()->type(Inspector::Int) };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(cls->property(i)->name(), QString::fromLatin1(names[i]));
        EXPECT_EQ(cls->property(i)->type(), types[i]);
        EXPECT_EQ(cls->property(i)->flags(), 1u);
    }

    ASSERT_EQ(cls->numEnums(), 1);
    const Enum *unit = cls->enumerator(0);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(cls->enumerator(QStringLiteral("Unit")), unit);
    EXPECT_EQ(unit->ownerClass(), cls);
    ASSERT_EQ(unit->count(), 3);
    const char *const keys[] = { "Pixel", "MilliMeter", "LogicalPoint" };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(unit->key(i), QString::fromLatin1(keys[i]));
        EXPECT_EQ(unit->value(i), i);
    }
    EXPECT_FALSE(unit->isMask());
}

TEST(GestureBuilderClass, ConstructorsAndProperties)
{
    Object::Ptr plain = newBuilder();
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->objectAttribute().flags, 2u);
    EXPECT_TRUE(plain->ownsData);
    EXPECT_EQ(get(plain, "areaWidth")->toDouble(), 0.0);
    EXPECT_EQ(get(plain, "areaHeight")->toDouble(), 0.0);
    EXPECT_EQ(get(plain, "unit")->toInteger(), 1);
    EXPECT_FALSE(model(plain).hasStrokes());

    // Integers reach the double parameters by conversion.
    Object::Ptr sized = newBuilder({ integer(320), num(240.5), integer(GestureBuilderClass::LogicalPoint) });
    ASSERT_TRUE(sized);
    EXPECT_EQ(get(sized, "areaWidth")->toDouble(), 320.0);
    EXPECT_EQ(get(sized, "areaHeight")->toDouble(), 240.5);
    EXPECT_EQ(get(sized, "unit")->toInteger(), 2);
    EXPECT_EQ(get(sized, "unit")->objectClass(), insp()->type(Inspector::Int));
}

TEST(GestureBuilderClass, InvalidAreaSizes)
{
    // 0.001 passes: narrowed to a float it is slightly above 0.001.
    const struct
    {
        double width, height;
        bool accepted;
    } rows[] = { { 0, 100, false },        { 100, 0, false },        { -5, 100, false },
                 { 0.0009, 100, false },   { 100, 0.000999, false }, { NAN, 100, false },
                 { INFINITY, 100, false }, { 0.001, 100, true },     { 100, 0.001, true },
                 { 0.001, 0.001, true } };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height);
        insp()->lastError();
        Object::Ptr b = newBuilder({ num(row.width), num(row.height), integer(1) });
        EXPECT_EQ(bool(b), row.accepted);
        EXPECT_EQ(insp()->lastError(), row.accepted ? QString() : QStringLiteral("Invalid area sizes"));
    }
    Object::Ptr tiny = newBuilder({ num(0.001), num(0.001), integer(1) });
    EXPECT_FLOAT_EQ(float(get(tiny, "areaWidth")->toDouble()), 0.001f);
}

TEST(GestureBuilderClass, StrokeTimesAndChaining)
{
    Object::Ptr b = newBuilder();
    expectRefused(b, "addStroke", { integer(5), num(10), num(10) }, "Time must be 0 for first stroke");
    expectRefused(b, "addStroke", { integer(-1), num(10), num(10) }, "Time must be 0 or above");

    EXPECT_EQ(callMethod(b, "addStroke", { integer(0), num(10), num(10) }), b);
    EXPECT_EQ(callMethod(b, "addStroke", { integer(5), num(20), num(20) }), b);
    expectRefused(b, "addStroke", { integer(-1), num(10), num(10) }, "Time must be 0 or above");
    EXPECT_EQ(callMethod(b, "addStroke", { num(30), num(40) }), b); // the two-argument form starts at 0

    const std::vector<TouchBuilder::Stroke> &strokes = model(b).strokes();
    ASSERT_EQ(strokes.size(), 3u);
    EXPECT_EQ(strokes[1].startTime, 5);
    EXPECT_EQ(strokes[2].startTime, 0);
    EXPECT_EQ(strokes[2].y, 40.0f);
    EXPECT_EQ(strokes[2].pressure, -1.0f);
    EXPECT_EQ(strokes[2].state, -1);

    // A whole gesture in one chained expression.
    Object::Ptr c = newBuilder();
    Object::Ptr r = callMethod(c, "addStroke", { num(0), num(0) });
    r = callMethod(callMethod(r, "lineTo", { integer(50), num(10), num(0) }), "build");
    EXPECT_EQ(r, c);
}

TEST(GestureBuilderClass, PressureAndSizeBounds)
{
    Object::Ptr b = newBuilder();
    const char pressureText[] = "Pressure must be between 0.0 and 1.0";
    const char sizeText[] = "Size must be between 0.0 and 1.0";
    for (double bad : { 1.0, 0.0, -0.5, double(NAN) }) {
        expectRefused(b, "addStroke", { integer(0), num(1), num(1), num(bad) }, pressureText);
        expectRefused(b, "addStroke", { integer(0), num(1), num(1), num(0.5), num(bad) }, sizeText);
    }
    // Checked in order: time, then pressure, then size.
    expectRefused(b, "addStroke", { integer(0), num(1), num(1), num(2.0), num(2.0) }, pressureText);
    expectRefused(b, "addStroke", { integer(3), num(1), num(1), num(2.0), num(2.0) },
                  "Time must be 0 for first stroke");

    EXPECT_EQ(callMethod(b, "addStroke", { integer(0), num(1), num(1), num(0.5) }), b);
    EXPECT_EQ(callMethod(b, "addStroke", { integer(0), num(1), num(1), num(0.0001), num(0.9999) }), b);
    EXPECT_EQ(callMethod(b, "addStroke", { integer(0), num(1), num(1), num(0.25), num(0.75) }), b);
    const std::vector<TouchBuilder::Stroke> &strokes = model(b).strokes();
    ASSERT_EQ(strokes.size(), 3u);
    EXPECT_EQ(strokes[0].pressure, 0.5f);
    EXPECT_EQ(strokes[0].size, -1.0f);
    EXPECT_EQ(strokes[2].pressure, 0.25f);
    EXPECT_EQ(strokes[2].size, 0.75f);
}

TEST(GestureBuilderClass, LinesAndCurvesNeedAStroke)
{
    Object::Ptr b = newBuilder();
    expectRefused(b, "lineTo", { integer(100), num(1), num(1) }, "addStroke must be called before lineTo");
    expectRefused(b, "curveTo", { integer(100), num(1), num(1), num(2), num(2) },
                  "addStroke must be called before curveTo");
    expectRefused(b, "curveTo", { integer(100), num(1), num(1), num(2), num(2), num(3), num(3) },
                  "addStroke must be called before curveTo");

    ASSERT_EQ(callMethod(b, "addStroke", { integer(0), num(0), num(0) }), b);
    EXPECT_EQ(callMethod(b, "lineTo", { integer(100), num(100), num(0) }), b);
    EXPECT_EQ(callMethod(b, "curveTo", { integer(50), num(100), num(50), num(50), num(50) }), b);
    EXPECT_EQ(callMethod(b, "curveTo", { integer(50), num(0), num(50), num(0), num(100), num(50), num(100) }),
              b);
    ASSERT_EQ(model(b).strokes().size(), 1u);
    const TouchBuilder::Stroke &s = model(b).strokes()[0];
    ASSERT_EQ(s.movements.size(), 3u);
    EXPECT_EQ(s.movements[0]->duration(), 100);
    EXPECT_EQ(s.movements[2]->endPoint().y, 100.0f);
}

TEST(GestureBuilderClass, BuildSamplesEveryTwentyFiveMilliseconds)
{
    Object::Ptr b = newBuilder({ num(100), num(100), integer(0) });
    callMethod(b, "addStroke", { integer(0), num(0), num(0) });
    callMethod(b, "lineTo", { integer(100), num(100), num(50) });
    ASSERT_EQ(callMethod(b, "build"), b) << insp()->lastError().toStdString();
    EXPECT_EQ(timestamps(b), (std::vector<int> { 0, 25, 50, 75, 100 }));

    // A stroke without a movement: the model's text is the message, and the samples stay.
    callMethod(b, "addStroke", { integer(10), num(5), num(5) });
    expectRefused(b, "build", {}, "Stroke added without a movement");
    EXPECT_EQ(timestamps(b), (std::vector<int> { 0, 25, 50, 75, 100 }));
}

TEST(GestureBuilderClass, XmlInAndOut)
{
    Object::Ptr read = newBuilder({ text(kOnePointXml) });
    ASSERT_TRUE(read);
    EXPECT_EQ(get(read, "areaWidth")->toDouble(), 200.0);
    EXPECT_EQ(xmlOf(read), kOnePointXml);
    EXPECT_FALSE(newBuilder({ text("<gestures>") }));
    EXPECT_TRUE(insp()->lastError().startsWith("Error in XML data "));

    Object::Ptr b = newBuilder();
    const Object::Ptr xml = callMethod(b, "toXml");
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->objectClass(), insp()->type(Inspector::Char));
    EXPECT_EQ(xml->toString().toStdString(), model(b).toXml());
    EXPECT_EQ(callMethod(b, "fromXml", { text(kOnePointXml) }), b);
    EXPECT_EQ(get(b, "unit")->toInteger(), 0);
    EXPECT_FALSE(callMethod(b, "fromXml", { text("<gestures><multi-point") }));
    EXPECT_TRUE(insp()->lastError().startsWith("Error in XML data "));
    EXPECT_EQ(xmlOf(b), kOnePointXml);
}

TEST(GestureBuilderClass, TransformsReachTheModel)
{
    Object::Ptr b = newBuilder({ text(kOnePointXml) });
    const TouchPoint &p = model(b).gestures()[0].samples[0].points[0]; // (1, 2)
    // Each step starts where the one before left the point; the default-centre forms turn about the centre
    // of the area (200 x 100 here).
    const struct
    {
        const char *method;
        ObjectList args;
        float x, y;
    } steps[] = {
        { "translate", { num(9), integer(8) }, 10, 10 },
        { "scale", { num(2), num(3), num(0), num(0) }, 20, 30 },
        { "rotate", { num(90), num(20), num(30) }, 20, 30 },
        { "scale", { num(2) }, -60, 10 },
        { "scale", { num(0.5), num(0.25) }, 20, 40 },
        { "rotate", { num(180) }, 180, 60 },
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(testing::Message() << step.method << " to " << step.x << ", " << step.y);
        EXPECT_EQ(callMethod(b, step.method, step.args), b);
        EXPECT_NEAR(p.x, step.x, 1e-4);
        EXPECT_NEAR(p.y, step.y, 1e-4);
    }

    EXPECT_EQ(callMethod(b, "accelerate", { num(2) }), b);
    EXPECT_EQ(model(b).gestures()[0].speed, 0.5f);

    insp()->lastError();
    EXPECT_FALSE(callMethod(b, "scale", { num(1), num(2), num(3) }));
    EXPECT_EQ(insp()->lastError(), "Found no matching overload");
}

TEST(GestureBuilderClass, BadCallsAreRefusedWithoutHarm)
{
    const GestureBuilderClass *cls = gestureClass();
    Object::Ptr b = newBuilder();

    {
        VexilTest::StderrCapture capture;
        EXPECT_FALSE(cls->method(13)->invoke(b, ObjectList { integer(1) }));
        EXPECT_EQ(capture.text(), "Class::invoke GestureBuilder::13: 3 arguments expected, 1 given\n");
    }
    EXPECT_EQ(insp()->lastError(), "Class::invoke GestureBuilder::13: 3 arguments expected, 1 given");

    EXPECT_FALSE(cls->method(2)->invoke(b, ObjectList { num(1), Object::Ptr() }));
    EXPECT_FALSE(cls->method(16)->invoke(Object::Ptr(), ObjectList()));
    EXPECT_EQ(insp()->lastError(), "Cannot invoke non-static function build() without a object reference");
    EXPECT_FALSE(cls->method(16)->invoke(cls->createNull(), ObjectList()));
    EXPECT_EQ(insp()->lastError(), "Cannot invoke member function build() on null object reference");
    // An object of another class does not reach the builder code.
    EXPECT_FALSE(cls->method(16)->invoke(num(1), ObjectList()));
    EXPECT_FALSE(cls->property(0)->get(num(1)));

    {
        VexilTest::StderrCapture capture; // the reasons go to standard error
        EXPECT_FALSE(cls->construct(ObjectList { num(1), num(2) }));
        EXPECT_FALSE(cls->constructor(2)->construct(ObjectList { num(1) }));
        EXPECT_FALSE(cls->constructor(2)->construct(ObjectList { num(1), Object::Ptr(), integer(0) }));
    }
    EXPECT_EQ(xmlOf(b), xmlOf(newBuilder()));
}

TEST(GestureBuilderClass, NativeArguments)
{
    const GestureBuilderClass *cls = gestureClass();
    double width = 50, height = 40;
    int unit = 0;
    void *areaArgs[] = { &width, &height, &unit };
    Object::Ptr b = cls->construct(2, areaArgs);
    ASSERT_TRUE(b);
    EXPECT_TRUE(b->ownsData);
    EXPECT_EQ(get(b, "areaHeight")->toDouble(), 40.0);

    width = 0;
    insp()->lastError();
    EXPECT_FALSE(cls->construct(2, areaArgs));
    EXPECT_EQ(insp()->lastError(), "Invalid area sizes");
    EXPECT_FALSE(cls->construct(2, nullptr));

    char xml[sizeof(kOnePointXml)];
    std::copy(kOnePointXml, kOnePointXml + sizeof(kOnePointXml), xml);
    void *xmlArgs[] = { xml };
    Object::Ptr read = cls->construct(1, xmlArgs);
    ASSERT_TRUE(read);
    EXPECT_EQ(xmlOf(read), kOnePointXml);
    EXPECT_TRUE(cls->construct(0, nullptr));

    // Through an object handle the builder itself comes back.
    int time = 0;
    double x = 3, y = 4;
    void *strokeArgs[] = { &time, &x, &y };
    EXPECT_EQ(cls->invoke(b, cls->method(10), strokeArgs), b);
    time = -2;
    EXPECT_FALSE(cls->invoke(b, cls->method(10), strokeArgs));
    EXPECT_EQ(insp()->lastError(), "Time must be 0 or above");

    // Without one, the answer refers to the same builder and does not own it.
    Object::Ptr alias = cls->invoke(9, b->rawData(), &strokeArgs[1], b->objectClass());
    ASSERT_TRUE(alias);
    EXPECT_NE(alias, b);
    EXPECT_EQ(alias->rawData(), b->rawData());
    EXPECT_FALSE(alias->ownsData);
    EXPECT_EQ(model(b).strokes().size(), 2u);
    EXPECT_EQ(cls->invoke(1, b->rawData(), nullptr, cls)->toString().toStdString(), xmlOf(b));

    alias->invalidate();
    EXPECT_FALSE(cls->method(16)->invoke(alias, ObjectList()));
    EXPECT_FALSE(insp()->lastError().isEmpty());
    EXPECT_EQ(model(b).strokes().size(), 2u);
}
