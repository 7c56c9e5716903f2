// touchbuilder.h: the native multi-touch gesture model, its XML form and its sampling from strokes.
#ifndef VEXIL_TOUCHBUILDER_H
#define VEXIL_TOUCHBUILDER_H

#include "vexil_export.h"

#include <memory>
#include <string>
#include <vector>

namespace Vexil {

/// One touch point of a sample, in the unit of its gesture.
struct TouchPoint
{
    enum State { Down, Move, Up, Unknown };

    int id = 0; ///< pointer id; the same finger keeps its id from sample to sample
    float x = 0.0f;
    float y = 0.0f;
    float pressure = -1.0f; ///< -1 when not given
    float size = -1.0f; ///< contact size; -1 when not given
    State state = Unknown;
};

/// The points that are down at one moment. Timestamps are milliseconds.
struct TouchSample
{
    int timestamp = 0;
    std::vector<TouchPoint> points;
};

/// Why TouchBuilder::fromXml() refused a text: the reason alone and, where the problem has a place,
/// its 1-based line and column (both 0 when it has none).
struct GestureXmlError
{
    std::string reason;
    int line = 0;
    int column = 0;
};

struct MultiTouchInfo;

/*
    The gesture list, the strokes a gesture is built from, and the transforms over both.

    Decisions the format leaves to us:
    - Movements of a stroke follow each other: the first starts at the stroke's start time and each
      next one when the previous ends. A negative duration counts as 0; a movement of duration 0
      jumps to its end point at its start time.
    - t of a movement's sample() runs linearly with time, not with the distance along the path.
    - A Bezier movement with one control point C from P0 to P1 is the quadratic
      (1-t)^2 P0 + 2t(1-t) C + t^2 P1, so a = 0, b = P0 - 2C + P1, c = 2(C - P0).
      With two control points C1, C2 to P3 it is the cubic Bezier curve:
      a = P3 - P0 + 3(C1 - C2), b = 3(P0 - 2C1 + C2), c = 3(C1 - P0).
    - generateSamples() samples every intervalMs from the earliest stroke start through the latest
      stroke end, and also at every stroke's start and end and at every movement boundary, so taps,
      corners and end points are exact. A stroke's pointer is down from its start through its end,
      both included. Stroke n (counting from 0) gets pointer id n. Pressure and size come from the
      stroke unchanged, -1 included.
    - "No pointers down at " is followed by the first such moment in milliseconds and " ms".
    - rotate() takes degrees; a positive angle turns counter-clockwise as seen on screen (y grows
      downwards). With defaultCentre set, scale() and rotate() turn each gesture about the centre of
      its own touch area and the strokes about the centre of the builder's area; cx and cy are
      ignored then.
    - Transforms move the samples of every gesture and the strokes not yet sampled; non-finite
      arguments change nothing. The touch area stays as it is.
    - The speed factor does not change the samples: toXml() writes each timestamp multiplied by it,
      rounded to the nearest millisecond. Reading that text back gives the new timing with no speed set.
*/
class VEXIL_EXPORT TouchBuilder
{
public:
    /// A 2-D affine transform for row vectors: x' = m11 x + m21 y + dx, y' = m12 x + m22 y + dy.
    struct VEXIL_EXPORT Matrix
    {
        float m11 = 1.0f, m12 = 0.0f;
        float m21 = 0.0f, m22 = 1.0f;
        float dx = 0.0f, dy = 0.0f;

        Matrix() = default;
        Matrix(float m11, float m12, float m21, float m22, float dx, float dy);

        static Matrix translation(float dx, float dy);
        static Matrix scaling(float sx, float sy);
        /// Counter-clockwise on screen by \p degrees; multiples of 90 are exact.
        static Matrix rotation(float degrees);

        /// This transform followed by \p other.
        Matrix operator*(const Matrix &other) const;
    };

    struct VEXIL_EXPORT Point
    {
        float x = 0.0f;
        float y = 0.0f;

        Point() = default;
        Point(float x, float y)
            : x(x)
            , y(y)
        {
        }
        Point &operator*=(const Matrix &m);
    };

    /// A piece of a stroke: a line or a Bezier curve taking duration() milliseconds.
    class VEXIL_EXPORT Movement
    {
    public:
        virtual ~Movement();
        int duration() const { return m_duration; }
        /// The position at \p t, 0 at the start of the movement and 1 at its end.
        virtual void sample(float t, Point *out) const = 0;
        virtual Point endPoint() const = 0;
        virtual void transform(const Matrix &m) = 0;

    protected:
        explicit Movement(int duration)
            : m_duration(duration)
        {
        }

    private:
        int m_duration;
    };

    /// One finger: where and when it touches, then its movements in order.
    struct VEXIL_EXPORT Stroke
    {
        int state = -1; ///< pointer state; -1 while not assigned (sampled points carry theirs)
        float x = 0.0f;
        float y = 0.0f;
        float pressure = -1.0f; ///< -1 when not given
        float size = -1.0f; ///< -1 when not given
        int startTime = 0; ///< milliseconds
        std::vector<std::unique_ptr<Movement>> movements;

        /// Where the last movement ends, or the start point when there is none.
        Point endPoint() const;
    };

    /// One empty gesture on an area of 0 by 0 millimetres, and no strokes.
    TouchBuilder();
    ~TouchBuilder();
    TouchBuilder(TouchBuilder &&other) noexcept;
    TouchBuilder &operator=(TouchBuilder &&other) noexcept;
    TouchBuilder(const TouchBuilder &) = delete;
    TouchBuilder &operator=(const TouchBuilder &) = delete;

    std::vector<MultiTouchInfo> &gestures() { return m_gestures; }
    const std::vector<MultiTouchInfo> &gestures() const { return m_gestures; }

    /// The area and unit of the gesture being built (the first one); 0, 0 and millimetres when
    /// there is no gesture. The unit is a MultiTouchInfo::Unit value.
    float areaWidth() const;
    float areaHeight() const;
    int unit() const;
    /// Set on the gesture being built, creating it when there is none. Only the values change,
    /// the points are not converted. A unit outside 0..2 means pixels, as in the XML form.
    void setArea(float width, float height, int unit);
    void setAreaWidth(float width);
    void setAreaHeight(float height);
    void setUnit(int unit);

    const std::vector<Stroke> &strokes() const { return m_strokes; }
    bool hasStrokes() const { return !m_strokes.empty(); }
    /// Appends a stroke with no movement yet. No checks: the caller validates time and ranges.
    Stroke &addStroke(int time, float x, float y, float pressure = -1.0f, float size = -1.0f);
    /// Append a movement from the end of the last stroke; false (and nothing changed) with no stroke.
    bool lineTo(int duration, float x, float y);
    bool curveTo(int duration, float cx, float cy, float x, float y);
    bool curveTo(int duration, float c1x, float c1y, float c2x, float c2y, float x, float y);
    void clearStrokes();

    /// Replaces the gestures by those of \p xml and drops the strokes. On failure returns false,
    /// sets \p error (when given) to a text starting "Error in XML data ", \p details (when given)
    /// to the reason and its place, and changes nothing.
    bool fromXml(const std::string &xml, std::string *error, GestureXmlError *details = nullptr);
    std::string toXml() const;

    void translate(float dx, float dy);
    void scale(float sx, float sy, float cx, float cy, bool defaultCentre);
    void rotate(float angle, float cx, float cy, bool defaultCentre);
    /// Factor 2 plays twice as fast. Factors that are not finite and above 0 change nothing.
    void accelerate(float factor);

    /// Replaces the samples of the gesture being built (creating it when there is none) by the
    /// strokes sampled every \p intervalMs, then sets the pointer states; no strokes give no samples.
    /// The strokes are kept. On failure returns false, sets \p error (when given) and changes nothing.
    /// Besides "Stroke added without a movement" and "No pointers down at ", the texts are
    /// "Sampling interval must be above 0" and "Gesture too long to sample" (a stroke ending beyond
    /// the int range of milliseconds, or more than a million points in all).
    bool generateSamples(int intervalMs, std::string *error);

private:
    MultiTouchInfo &currentGesture();
    void transformStrokes(const Matrix &m);

    std::vector<MultiTouchInfo> m_gestures;
    std::vector<Stroke> m_strokes;
};

/// One gesture: timed samples on a touch area of known size and unit.
struct VEXIL_EXPORT MultiTouchInfo
{
    enum Unit { Pixel = 0, MilliMeter = 1, LogicalPoint = 2 };

    float areaWidth = 0.0f;
    float areaHeight = 0.0f;
    float scale = 1.0f; ///< logical point factor of the device
    float speed = 1.0f;
    bool speedSet = false;
    Unit unit = MilliMeter;
    std::vector<TouchSample> samples; ///< in time order

    /// Unit conversions for a screen of \p dpiX by \p dpiY dots per inch. Nothing changes when the
    /// unit is already the target, or when a dpi (or, for logical points, scale) is not above 0.
    void toMilliMeter(float dpiX, float dpiY);
    void toPixel(float dpiX, float dpiY);
    void toLogicalPoint(float dpiX, float dpiY);

    /// Multiplies the speed factor by \p s (sets it on first use); ignored unless finite and above 0.
    void adjustSpeed(float s);
    void translate(float dx, float dy);
    void transform(const TouchBuilder::Matrix &m);

    /// True for a single-finger gesture of two or more samples whose points all stay within
    /// \p tolerance of the segment from its first point to its last.
    bool looksLikeLineSegment(float tolerance) const;

    /// Down where the pointer was absent in the previous sample, else up where it is absent in the
    /// next one, else move. A pointer seen in one sample only is therefore down.
    void updatePointerStates();
};

} // namespace Vexil

#endif // VEXIL_TOUCHBUILDER_H
