// tst_touchbuilder.cpp: gesture model, its XML form, transforms and sampling of strokes.
#include "testsupport.h"
#include "touchbuilder.h"

#include <climits>
#include <cmath>
#include <string>
#include <vector>

using namespace Vexil;

namespace {

TouchPoint pt(int id, float x, float y, float pressure = 0.5f, float size = 0.25f)
{
    TouchPoint p;
    p.id = id;
    p.x = x;
    p.y = y;
    p.pressure = pressure;
    p.size = size;
    return p;
}

TouchSample at(int timestamp, std::vector<TouchPoint> points)
{
    return TouchSample { timestamp, std::move(points) };
}

MultiTouchInfo gesture(float w, float h, MultiTouchInfo::Unit unit, std::vector<TouchSample> samples)
{
    MultiTouchInfo g;
    g.areaWidth = w;
    g.areaHeight = h;
    g.unit = unit;
    g.samples = std::move(samples);
    g.updatePointerStates();
    return g;
}

// One finger moving right, a second finger joining for the middle sample.
MultiTouchInfo twoFingers()
{
    return gesture(100, 50.5f, MultiTouchInfo::Pixel,
                   { at(0, { pt(0, 10, 20) }), at(25, { pt(0, 12.5f, 20), pt(1, 1234567, -0.001f, -1, -1) }),
                     at(50, { pt(0, 15, 20) }) });
}

const char kTwoFingersXml[] =
    "<gestures version='1.0'>\n"
    "  <multi-point area-width='100' area-height='50.5' unit='px'>\n"
    "  <sample timestamp='0'>\n"
    "    <point pointer='0' x='10' y='20' pressure='0.5' size='0.25' state='down'/>\n"
    "  </sample>\n"
    "  <sample timestamp='25'>\n"
    "    <point pointer='0' x='12.5' y='20' pressure='0.5' size='0.25' state='move'/>\n"
    "    <point pointer='1' x='1.23457e+06' y='-0.001' pressure='-1' size='-1' state='down'/>\n"
    "  </sample>\n"
    "  <sample timestamp='50'>\n"
    "    <point pointer='0' x='15' y='20' pressure='0.5' size='0.25' state='up'/>\n"
    "  </sample>\n"
    "  </multi-point>\n"
    "  <multi-point area-width='0' area-height='0' unit='mm'>\n"
    "  </multi-point>\n"
    "</gestures>\n";

void expectPoint(const TouchPoint &p, float x, float y)
{
    EXPECT_NEAR(p.x, x, 1e-4) << "y " << p.y;
    EXPECT_NEAR(p.y, y, 1e-4) << "x " << p.x;
}

std::vector<int> timestamps(const MultiTouchInfo &g)
{
    std::vector<int> out;
    for (const TouchSample &s : g.samples)
        out.push_back(s.timestamp);
    return out;
}

std::string repeat(const std::string &s, int n)
{
    std::string out;
    for (int i = 0; i < n; ++i)
        out += s;
    return out;
}

std::string inGesture(const std::string &samples)
{
    return "<gestures version='1.0'><multi-point area-width='10' area-height='10' unit='mm'>" + samples
        + "</multi-point></gestures>";
}

std::string onePoint(const std::string &attributes)
{
    return inGesture("<sample timestamp='0'><point " + attributes + "/></sample>");
}

} // namespace

TEST(TouchBuilder, DefaultStateIsOneEmptyMillimetreGesture)
{
    TouchBuilder b;
    EXPECT_EQ(b.areaWidth(), 0.0f);
    EXPECT_EQ(b.areaHeight(), 0.0f);
    EXPECT_EQ(b.unit(), int(MultiTouchInfo::MilliMeter));
    EXPECT_FALSE(b.hasStrokes());
    EXPECT_FALSE(b.lineTo(10, 1, 1));
    EXPECT_FALSE(b.curveTo(10, 1, 1, 2, 2));
    EXPECT_EQ(b.toXml(),
              "<gestures version='1.0'>\n"
              "  <multi-point area-width='0' area-height='0' unit='mm'>\n"
              "  </multi-point>\n"
              "</gestures>\n");

    b.setArea(320, 240, MultiTouchInfo::Pixel);
    b.setUnit(7); // unknown units read as pixels, as in the XML form
    EXPECT_EQ(b.gestures().size(), 1u);
    EXPECT_EQ(b.areaWidth(), 320.0f);
    EXPECT_EQ(b.gestures()[0].unit, MultiTouchInfo::Pixel);
}

TEST(TouchBuilderXml, WritesExactTextAndReadsItBack)
{
    TouchBuilder written;
    written.gestures().insert(written.gestures().begin(), twoFingers());
    EXPECT_EQ(written.toXml(), kTwoFingersXml);

    written.gestures()[1].unit = MultiTouchInfo::LogicalPoint;
    const std::string xml = written.toXml();
    TouchBuilder read;
    read.addStroke(0, 1, 1);
    std::string error;
    ASSERT_TRUE(read.fromXml(xml, &error)) << error;
    EXPECT_FALSE(read.hasStrokes());
    EXPECT_EQ(read.toXml(), xml);
    ASSERT_EQ(read.gestures().size(), 2u);
    const MultiTouchInfo &g = read.gestures()[0];
    EXPECT_EQ(g.areaHeight, 50.5f);
    EXPECT_EQ(g.unit, MultiTouchInfo::Pixel);
    EXPECT_EQ(read.gestures()[1].unit, MultiTouchInfo::LogicalPoint);
    EXPECT_EQ(timestamps(g), (std::vector<int> { 0, 25, 50 }));
    const TouchPoint &p = g.samples[1].points[0];
    EXPECT_EQ(p.x, 12.5f);
    EXPECT_EQ(p.pressure, 0.5f);
    EXPECT_EQ(p.size, 0.25f);
    EXPECT_EQ(p.state, TouchPoint::Move);

    // Numbers are written as the stream writes them, negative zero included.
    read.gestures()[0].samples[0].points[0].x = -0.0f;
    EXPECT_NE(read.toXml().find("<point pointer='0' x='-0' y='20'"), std::string::npos);
}

TEST(TouchBuilderXml, ReadsWhatOtherWritersProduce)
{
    // Declaration, comments, double quotes, unknown elements, no unit: all fine.
    const std::string xml = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- recorded -->\n"
                            "<gestures version=\"1.0\">\n <device name=\"panel\"><info/></device>\n"
                            " <multi-point area-width=\" 80 \" area-height=\"60\">\n"
                            "  <sample timestamp=\"10\"><point pointer=\"3\" x=\"1\" y=\"2\" pressure=\"1\" "
                            "size=\"0\" state=\"up\"/></sample>\n"
                            "  <sample timestamp=\"10\"><point pointer=\"3\" x=\"2\" y=\"2\" pressure=\"1\" "
                            "size=\"0\"/></sample>\n"
                            " </multi-point>\n</gestures>";
    TouchBuilder b;
    std::string error;
    ASSERT_TRUE(b.fromXml(xml, &error)) << error;
    ASSERT_EQ(b.gestures().size(), 1u);
    const MultiTouchInfo &g = b.gestures()[0];
    EXPECT_EQ(g.unit, MultiTouchInfo::Pixel);
    EXPECT_EQ(g.areaWidth, 80.0f);
    ASSERT_EQ(g.samples.size(), 2u);
    EXPECT_EQ(g.samples[0].points[0].state, TouchPoint::Down); // derived, not read
    EXPECT_EQ(g.samples[1].points[0].state, TouchPoint::Up);

    ASSERT_TRUE(b.fromXml("<gestures version='1.0'>\n</gestures>\n", &error));
    EXPECT_TRUE(b.gestures().empty());
    EXPECT_EQ(b.unit(), int(MultiTouchInfo::MilliMeter));
    EXPECT_EQ(b.toXml(), "<gestures version='1.0'>\n</gestures>\n");
}

TEST(TouchBuilderXml, BadTextFailsAndKeepsTheModel)
{
    std::string error;
    TouchBuilder b;
    GestureXmlError details;
    EXPECT_FALSE(
        b.fromXml("<gestures>\n<multi-point area-width='1' unit='mm'/>\n</gestures>", &error, &details));
    EXPECT_EQ(error,
              "Error in XML data <anonymous xml document> at line 2, column 1: "
              "the element 'multi-point' has no attribute 'area-height'");
    EXPECT_EQ(details.reason, "the element 'multi-point' has no attribute 'area-height'");
    EXPECT_EQ(details.line, 2);
    EXPECT_EQ(details.column, 1);
    // The pre-scan places what it refuses too; a problem without a place has neither.
    EXPECT_FALSE(b.fromXml("<gestures>\n  \xFF</gestures>", nullptr, &details));
    EXPECT_EQ(details.reason, "invalid UTF-8");
    EXPECT_EQ(details.line, 2);
    EXPECT_EQ(details.column, 3);
    EXPECT_FALSE(b.fromXml("", &error, &details));
    EXPECT_EQ(error, "Error in XML data <anonymous xml document>: " + details.reason);
    EXPECT_EQ(details.line, 0);
    EXPECT_EQ(details.column, 0);
    EXPECT_FALSE(b.fromXml("<gestures>\n<a>\n</b>\n</gestures>", &error));
    EXPECT_EQ(error.rfind("Error in XML data <anonymous xml document> at line 3, column ", 0), 0u) << error;

    std::string manyAttributes = "<gestures ";
    for (int i = 0; i < 100000; ++i)
        manyAttributes += "a" + std::to_string(i) + "='' ";
    const std::string bad[] = {
        "",
        "hello",
        std::string(kTwoFingersXml).substr(0, 300),
        "<gestures>",
        "<gestures></multi-point>",
        "<touches/>",
        "<gestures/><gestures/>",
        "<gestures/>junk",
        "<!-- nothing -->",
        inGesture("<sample/>"),
        onePoint("pointer='0' x='1' y='1' pressure='1'"),
        onePoint("pointer='0' x='abc' y='1' pressure='1' size='1'"),
        onePoint("pointer='0' x='12abc' y='1' pressure='1' size='1'"),
        onePoint("pointer='1.5' x='1' y='1' pressure='1' size='1'"),
        onePoint("pointer='0' x='1e999' y='1' pressure='1' size='1'"),
        onePoint("pointer='0' x='nan' y='1' pressure='1' size='1'"),
        inGesture("<sample timestamp='99999999999'/>"),
        inGesture("<sample timestamp='50'/><sample timestamp='49'/>"),
        inGesture("<sample timestamp='0'><point pointer='2' x='1' y='1' pressure='1' size='1'/>"
                  "<point pointer='2' x='1' y='1' pressure='1' size='1'/></sample>"),
        "<gestures version=1.0/>",
        std::string("<gestures>\0</gestures>", 22),
        "<gestures>\xFF</gestures>",
        "<gestures>\xEF\xBB",
        "<gestures>\xC0\xBC</gestures>",
        "<gestures><!-- </gestures>",
        "<?xml version='1.0' ",
        "<?xml version='></gestures>'?><gestures/>",
        // Hostile: deep nesting (also behind quotes), many attributes, a huge text.
        "<gestures>" + repeat("<a>", 200000) + repeat("</a>", 200000) + "</gestures>",
        "<gestures>" + repeat("<a x='/>'>", 200000) + "</gestures>",
        manyAttributes + "/>",
        "<gestures>" + std::string(17 * 1024 * 1024, ' ') + "</gestures>",
    };
    b.gestures()[0] = twoFingers();
    b.addStroke(0, 1, 2);
    const std::string before = b.toXml();
    for (const std::string &xml : bad) {
        SCOPED_TRACE(xml.substr(0, 80));
        EXPECT_FALSE(b.fromXml(xml, &error));
        EXPECT_EQ(error.rfind("Error in XML data ", 0), 0u) << error;
        EXPECT_FALSE(b.fromXml(xml, nullptr));
    }
    EXPECT_EQ(b.toXml(), before);
    EXPECT_TRUE(b.hasStrokes());
}

TEST(TouchBuilderGeometry, TransformsAboutExplicitAndDefaultCentres)
{
    TouchBuilder::Point q(1, 0);
    q *= TouchBuilder::Matrix::translation(10, 0) * TouchBuilder::Matrix::scaling(2, 3); // left first
    EXPECT_EQ(q.x, 22.0f);
    EXPECT_EQ(q.y, 0.0f);

    TouchBuilder b;
    b.gestures()[0] = gesture(100, 80, MultiTouchInfo::MilliMeter, { at(0, { pt(0, 60, 40) }) });
    const TouchPoint &p = b.gestures()[0].samples[0].points[0];
    b.rotate(90, 0, 0, true); // about (50, 40): right of centre turns to above it on screen
    expectPoint(p, 50, 30);
    EXPECT_EQ(b.toXml().find("e-"), std::string::npos); // quarter turns are exact
    b.rotate(-90, 1000, 1000, true);
    expectPoint(p, 60, 40);
    b.rotate(45, 50, 40, false);
    expectPoint(p, 57.0711f, 32.9289f);
    b.rotate(-45, 50, 40, false);

    b.scale(2, 3, 0, 0, false);
    expectPoint(p, 120, 120);
    b.scale(0.5f, 0.5f, 0, 0, true); // about (50, 40)
    expectPoint(p, 85, 80);
    b.translate(-5, 1);
    expectPoint(p, 80, 81);
    EXPECT_EQ(b.areaWidth(), 100.0f); // the area does not move with the points

    b.translate(INFINITY, 0);
    b.rotate(NAN, 0, 0, true);
    b.scale(1, 1, NAN, 0, false);
    expectPoint(p, 80, 81);
}

TEST(TouchBuilderGeometry, UnitConversions)
{
    MultiTouchInfo g = gesture(1000, 500, MultiTouchInfo::Pixel, { at(0, { pt(0, 100, 250) }) });
    g.toMilliMeter(254, 254);
    EXPECT_EQ(g.unit, MultiTouchInfo::MilliMeter);
    EXPECT_EQ(g.areaWidth, 100.0f);
    expectPoint(g.samples[0].points[0], 10, 25);
    g.toMilliMeter(254, 254);
    expectPoint(g.samples[0].points[0], 10, 25);

    g.scale = 2; // 254 dpi at 2 pixels a point: 5 points a millimetre
    g.toLogicalPoint(254, 254);
    EXPECT_EQ(g.unit, MultiTouchInfo::LogicalPoint);
    EXPECT_NEAR(g.areaHeight, 250, 1e-3);
    expectPoint(g.samples[0].points[0], 50, 125);
    g.toPixel(0, 254); // refused, nothing half done
    EXPECT_EQ(g.unit, MultiTouchInfo::LogicalPoint);
    g.toPixel(96, 192); // a point is scale pixels whatever the density
    EXPECT_EQ(g.unit, MultiTouchInfo::Pixel);
    EXPECT_NEAR(g.areaWidth, 1000, 1e-3);
    expectPoint(g.samples[0].points[0], 100, 250);

    MultiTouchInfo mm = gesture(25.4f, 12.7f, MultiTouchInfo::MilliMeter, { at(0, { pt(0, 25.4f, 12.7f) }) });
    mm.toPixel(96, 192);
    EXPECT_NEAR(mm.areaWidth, 96, 1e-3);
    expectPoint(mm.samples[0].points[0], 96, 96);
}

TEST(TouchBuilderGeometry, SpeedScalesWrittenTimestamps)
{
    TouchBuilder b;
    b.gestures()[0] = gesture(10, 10, MultiTouchInfo::MilliMeter,
                              { at(0, { pt(0, 1, 1) }), at(100, { pt(0, 2, 2) }), at(150, { pt(0, 3, 3) }) });
    b.accelerate(0);
    b.accelerate(-2);
    EXPECT_FALSE(b.gestures()[0].speedSet);
    b.accelerate(2);
    b.accelerate(2);
    EXPECT_TRUE(b.gestures()[0].speedSet);
    EXPECT_EQ(b.gestures()[0].speed, 0.25f);
    EXPECT_EQ(timestamps(b.gestures()[0]), (std::vector<int> { 0, 100, 150 }));

    TouchBuilder read;
    ASSERT_TRUE(read.fromXml(b.toXml(), nullptr));
    EXPECT_EQ(timestamps(read.gestures()[0]), (std::vector<int> { 0, 25, 38 }));
    EXPECT_FALSE(read.gestures()[0].speedSet);
}

TEST(TouchBuilderGeometry, LooksLikeLineSegment)
{
    const struct
    {
        std::vector<TouchSample> samples;
        float tolerance;
        bool expected;
    } rows[] = {
        { { at(0, { pt(0, 0, 0) }), at(1, { pt(0, 5, 5.05f) }), at(2, { pt(0, 10, 10) }) }, 0.1f, true },
        { { at(0, { pt(0, 0, 0) }), at(1, { pt(0, 5, 6) }), at(2, { pt(0, 10, 10) }) }, 0.1f, false },
        { { at(0, { pt(0, 0, 0) }), at(1, { pt(0, 12, 12) }), at(2, { pt(0, 10, 10) }) },
          0.1f,
          false }, // beyond the end
        { { at(0, { pt(0, 0, 0) }), at(1, { pt(0, 5, 5), pt(1, 5, 5) }), at(2, { pt(0, 10, 10) }) },
          1,
          false },
        { { at(0, { pt(0, 0, 0) }), at(1, {}), at(2, { pt(0, 10, 0) }) }, 0.1f, true },
        { { at(0, { pt(0, 0, 0) }) }, 1, false },
        // Start and end (almost) together: the distance to the first point counts.
        { { at(0, { pt(0, 1, 1) }), at(1, { pt(0, 1.5f, 1) }), at(2, { pt(0, 1, 1.01f) }) }, 0.6f, true },
        { { at(0, { pt(0, 1, 1) }), at(1, { pt(0, 2, 1) }), at(2, { pt(0, 1, 1.01f) }) }, 0.6f, false },
    };
    for (size_t i = 0; i < sizeof(rows) / sizeof(rows[0]); ++i) {
        MultiTouchInfo g;
        g.samples = rows[i].samples;
        EXPECT_EQ(g.looksLikeLineSegment(rows[i].tolerance), rows[i].expected) << "row " << i;
    }
}

TEST(TouchBuilderSampling, LinesAndCurves)
{
    TouchBuilder b;
    b.addStroke(0, 0, 0, 0.5f, 0.125f);
    ASSERT_TRUE(b.lineTo(100, 100, 50));
    b.addStroke(0, 0, 0);
    b.curveTo(100, 50, 100, 100, 0); // (1-t)^2 P0 + 2t(1-t) C + t^2 P1
    b.addStroke(0, 0, 0);
    b.curveTo(100, 0, 100, 100, 100, 100, 0);
    std::string error;
    ASSERT_TRUE(b.generateSamples(25, &error)) << error;
    const MultiTouchInfo &g = b.gestures()[0];
    ASSERT_EQ(timestamps(g), (std::vector<int> { 0, 25, 50, 75, 100 }));
    const TouchPoint::State states[] = { TouchPoint::Down, TouchPoint::Move, TouchPoint::Move,
                                         TouchPoint::Move, TouchPoint::Up };
    const float quadratic[5][2] = { { 0, 0 }, { 25, 37.5f }, { 50, 50 }, { 75, 37.5f }, { 100, 0 } };
    const float cubic[5][2] = { { 0, 0 }, { 15.625f, 56.25f }, { 50, 75 }, { 84.375f, 56.25f }, { 100, 0 } };
    for (size_t i = 0; i < 5; ++i) {
        ASSERT_EQ(g.samples[i].points.size(), 3u);
        const TouchPoint &p = g.samples[i].points[0];
        expectPoint(p, 25.0f * i, 12.5f * i);
        EXPECT_EQ(p.pressure, 0.5f);
        EXPECT_EQ(p.size, 0.125f);
        EXPECT_EQ(p.state, states[i]);
        EXPECT_EQ(g.samples[i].points[2].id, 2);
        expectPoint(g.samples[i].points[1], quadratic[i][0], quadratic[i][1]);
        expectPoint(g.samples[i].points[2], cubic[i][0], cubic[i][1]);
    }
    EXPECT_TRUE(b.hasStrokes()); // kept, so a later build samples them again
}

TEST(TouchBuilderSampling, MovementsFollowEachOtherAndKeyMomentsAreKept)
{
    TouchBuilder b;
    b.addStroke(0, 0, 0);
    b.lineTo(30, 30, 0);
    b.lineTo(30, 30, 30);
    b.lineTo(0, 90, 90); // jumps at 60
    b.addStroke(40, 5, 5);
    b.lineTo(-10, 7, 7); // negative duration: a tap at 40
    ASSERT_TRUE(b.generateSamples(25, nullptr));
    const MultiTouchInfo &g = b.gestures()[0];
    ASSERT_EQ(timestamps(g), (std::vector<int> { 0, 25, 30, 40, 50, 60 }));
    expectPoint(g.samples[1].points[0], 25, 0);
    expectPoint(g.samples[2].points[0], 30, 0); // the corner itself
    ASSERT_EQ(g.samples[3].points.size(), 2u);
    expectPoint(g.samples[3].points[0], 30, 10);
    expectPoint(g.samples[3].points[1], 7, 7);
    EXPECT_EQ(g.samples[3].points[1].state, TouchPoint::Down); // seen once only
    expectPoint(g.samples[5].points[0], 90, 90);
    EXPECT_EQ(g.samples[5].points[0].state, TouchPoint::Up);

    // Transforms reach strokes not yet sampled.
    TouchBuilder t;
    t.setArea(100, 80, MultiTouchInfo::MilliMeter);
    t.addStroke(0, 60, 40);
    t.curveTo(50, 60, 60, 70, 40);
    t.rotate(90, 0, 0, true);
    t.translate(1, 1);
    ASSERT_TRUE(t.generateSamples(25, nullptr));
    ASSERT_EQ(t.gestures()[0].samples.size(), 3u);
    expectPoint(t.gestures()[0].samples[0].points[0], 51, 31);
    expectPoint(t.gestures()[0].samples[2].points[0], 51, 21);
}

TEST(TouchBuilderSampling, FailuresKeepTheModel)
{
    TouchBuilder b;
    b.gestures()[0] = twoFingers();
    const std::string before = b.toXml();
    std::string error;

    b.addStroke(0, 0, 0);
    b.lineTo(50, 10, 10);
    b.addStroke(100, 0, 0);
    EXPECT_FALSE(b.generateSamples(25, &error));
    EXPECT_EQ(error, "Stroke added without a movement");
    b.lineTo(10, 1, 1);
    EXPECT_FALSE(b.generateSamples(25, &error));
    EXPECT_EQ(error, "No pointers down at 75 ms");
    EXPECT_EQ(b.toXml(), before);

    TouchBuilder longOne;
    longOne.addStroke(0, 0, 0);
    longOne.lineTo(INT_MAX, 1, 1);
    EXPECT_FALSE(longOne.generateSamples(25, &error));
    EXPECT_EQ(error, "Gesture too long to sample");
    longOne.lineTo(INT_MAX, 1, 1);
    EXPECT_FALSE(longOne.generateSamples(25, &error));
    EXPECT_EQ(error, "Gesture too long to sample");
    EXPECT_FALSE(longOne.generateSamples(0, &error));
    EXPECT_TRUE(longOne.gestures()[0].samples.empty());
}
