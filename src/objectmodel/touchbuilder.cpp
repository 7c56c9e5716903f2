// touchbuilder.cpp: gesture model, transforms and sampling of strokes (the XML form is in touchxml.cpp).
#include "touchbuilder.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <locale>
#include <new>
#include <sstream>

namespace Vexil {

namespace {

// Bound on the points one sampling may produce, so a long gesture at a short interval fails
// instead of exhausting memory.
const size_t kMaxSampledPoints = 1000000;

const char kTooLongText[] = "Gesture too long to sample";

bool isPositive(float v)
{
    return std::isfinite(v) && v > 0.0f;
}

bool allFinite(float a, float b)
{
    return std::isfinite(a) && std::isfinite(b);
}

void setError(std::string *error, const std::string &text)
{
    if (error)
        *error = text;
}

// Movements

using Matrix = TouchBuilder::Matrix;
using Point = TouchBuilder::Point;

class LineMovement : public TouchBuilder::Movement
{
public:
    LineMovement(int duration, const Point &from, const Point &to)
        : Movement(duration)
        , m_from(from)
        , m_to(to)
    {
    }

    void sample(float t, Point *out) const override
    {
        if (!out)
            return;
        out->x = (m_to.x - m_from.x) * t + m_from.x;
        out->y = (m_to.y - m_from.y) * t + m_from.y;
    }

    Point endPoint() const override { return m_to; }

    void transform(const Matrix &m) override
    {
        m_from *= m;
        m_to *= m;
    }

private:
    Point m_from;
    Point m_to;
};

class BezierMovement : public TouchBuilder::Movement
{
public:
    // Quadratic: one control point.
    BezierMovement(int duration, const Point &from, const Point &control, const Point &to)
        : Movement(duration)
        , m_quadratic(true)
        , m_from(from)
        , m_c1(control)
        , m_c2(control)
        , m_to(to)
    {
        computeCoefficients();
    }

    // Cubic: two control points.
    BezierMovement(int duration, const Point &from, const Point &c1, const Point &c2, const Point &to)
        : Movement(duration)
        , m_quadratic(false)
        , m_from(from)
        , m_c1(c1)
        , m_c2(c2)
        , m_to(to)
    {
        computeCoefficients();
    }

    void sample(float t, Point *out) const override
    {
        if (!out)
            return;
        const float t2 = t * t;
        const float t3 = t2 * t;
        out->x = m_ax * t3 + m_bx * t2 + m_cx * t + m_from.x;
        out->y = m_ay * t3 + m_by * t2 + m_cy * t + m_from.y;
    }

    Point endPoint() const override { return m_to; }

    void transform(const Matrix &m) override
    {
        // Bezier curves are affine invariant: moving the control points moves the curve.
        m_from *= m;
        m_c1 *= m;
        m_c2 *= m;
        m_to *= m;
        computeCoefficients();
    }

private:
    void computeCoefficients()
    {
        const double x0 = m_from.x, y0 = m_from.y;
        if (m_quadratic) {
            m_ax = m_ay = 0.0f;
            m_bx = float(x0 - 2.0 * m_c1.x + m_to.x);
            m_by = float(y0 - 2.0 * m_c1.y + m_to.y);
            m_cx = float(2.0 * (m_c1.x - x0));
            m_cy = float(2.0 * (m_c1.y - y0));
        } else {
            m_ax = float(m_to.x - x0 + 3.0 * (double(m_c1.x) - m_c2.x));
            m_ay = float(m_to.y - y0 + 3.0 * (double(m_c1.y) - m_c2.y));
            m_bx = float(3.0 * (x0 - 2.0 * m_c1.x + m_c2.x));
            m_by = float(3.0 * (y0 - 2.0 * m_c1.y + m_c2.y));
            m_cx = float(3.0 * (m_c1.x - x0));
            m_cy = float(3.0 * (m_c1.y - y0));
        }
    }

    bool m_quadratic;
    Point m_from, m_c1, m_c2, m_to;
    float m_ax = 0.0f, m_bx = 0.0f, m_cx = 0.0f;
    float m_ay = 0.0f, m_by = 0.0f, m_cy = 0.0f;
};

MultiTouchInfo::Unit unitFromInt(int unit)
{
    if (unit == MultiTouchInfo::MilliMeter || unit == MultiTouchInfo::LogicalPoint)
        return MultiTouchInfo::Unit(unit);
    return MultiTouchInfo::Pixel;
}

// Transforms

Matrix aboutCentre(const Matrix &m, float cx, float cy)
{
    return Matrix::translation(-cx, -cy) * m * Matrix::translation(cx, cy);
}

void scaleArea(MultiTouchInfo *gesture, double fx, double fy)
{
    gesture->areaWidth = float(gesture->areaWidth * fx);
    gesture->areaHeight = float(gesture->areaHeight * fy);
    gesture->transform(Matrix::scaling(float(fx), float(fy)));
}

} // namespace

// Matrix and Point

TouchBuilder::Matrix::Matrix(float m11, float m12, float m21, float m22, float dx, float dy)
    : m11(m11)
    , m12(m12)
    , m21(m21)
    , m22(m22)
    , dx(dx)
    , dy(dy)
{
}

TouchBuilder::Matrix TouchBuilder::Matrix::translation(float dx, float dy)
{
    return Matrix(1.0f, 0.0f, 0.0f, 1.0f, dx, dy);
}

TouchBuilder::Matrix TouchBuilder::Matrix::scaling(float sx, float sy)
{
    return Matrix(sx, 0.0f, 0.0f, sy, 0.0f, 0.0f);
}

TouchBuilder::Matrix TouchBuilder::Matrix::rotation(float degrees)
{
    double a = std::fmod(double(degrees), 360.0);
    if (a < 0.0)
        a += 360.0;
    if (a >= 360.0)
        a -= 360.0;
    double c, s;
    // Quarter turns exactly, so that rotating by 90 does not leave 1e-16 residues in the text.
    if (a == 0.0) {
        c = 1.0;
        s = 0.0;
    } else if (a == 90.0) {
        c = 0.0;
        s = 1.0;
    } else if (a == 180.0) {
        c = -1.0;
        s = 0.0;
    } else if (a == 270.0) {
        c = 0.0;
        s = -1.0;
    } else {
        const double r = a * 3.14159265358979323846 / 180.0;
        c = std::cos(r);
        s = std::sin(r);
    }
    // y grows downwards on screen, so counter-clockwise there is x' = x c + y s, y' = -x s + y c.
    return Matrix(float(c), float(-s), float(s), float(c), 0.0f, 0.0f);
}

TouchBuilder::Matrix TouchBuilder::Matrix::operator*(const Matrix &o) const
{
    return Matrix(float(double(m11) * o.m11 + double(m12) * o.m21),
                  float(double(m11) * o.m12 + double(m12) * o.m22),
                  float(double(m21) * o.m11 + double(m22) * o.m21),
                  float(double(m21) * o.m12 + double(m22) * o.m22),
                  float(double(dx) * o.m11 + double(dy) * o.m21 + o.dx),
                  float(double(dx) * o.m12 + double(dy) * o.m22 + o.dy));
}

TouchBuilder::Point &TouchBuilder::Point::operator*=(const Matrix &m)
{
    const double nx = double(m.m11) * x + double(m.m21) * y + m.dx;
    const double ny = double(m.m12) * x + double(m.m22) * y + m.dy;
    x = float(nx);
    y = float(ny);
    return *this;
}

TouchBuilder::Movement::~Movement() = default;

TouchBuilder::Point TouchBuilder::Stroke::endPoint() const
{
    if (movements.empty())
        return Point(x, y);
    return movements.back()->endPoint();
}

// TouchBuilder

TouchBuilder::TouchBuilder()
    : m_gestures(1)
{
}

TouchBuilder::~TouchBuilder() = default;
TouchBuilder::TouchBuilder(TouchBuilder &&other) noexcept = default;
TouchBuilder &TouchBuilder::operator=(TouchBuilder &&other) noexcept = default;

MultiTouchInfo &TouchBuilder::currentGesture()
{
    if (m_gestures.empty())
        m_gestures.emplace_back();
    return m_gestures.front();
}

float TouchBuilder::areaWidth() const
{
    return m_gestures.empty() ? 0.0f : m_gestures.front().areaWidth;
}

float TouchBuilder::areaHeight() const
{
    return m_gestures.empty() ? 0.0f : m_gestures.front().areaHeight;
}

int TouchBuilder::unit() const
{
    return m_gestures.empty() ? int(MultiTouchInfo::MilliMeter) : int(m_gestures.front().unit);
}

void TouchBuilder::setArea(float width, float height, int unit)
{
    MultiTouchInfo &gesture = currentGesture();
    gesture.areaWidth = width;
    gesture.areaHeight = height;
    gesture.unit = unitFromInt(unit);
}

void TouchBuilder::setAreaWidth(float width)
{
    currentGesture().areaWidth = width;
}

void TouchBuilder::setAreaHeight(float height)
{
    currentGesture().areaHeight = height;
}

void TouchBuilder::setUnit(int unit)
{
    currentGesture().unit = unitFromInt(unit);
}

TouchBuilder::Stroke &TouchBuilder::addStroke(int time, float x, float y, float pressure, float size)
{
    Stroke stroke;
    stroke.x = x;
    stroke.y = y;
    stroke.pressure = pressure;
    stroke.size = size;
    stroke.startTime = time;
    m_strokes.push_back(std::move(stroke));
    return m_strokes.back();
}

bool TouchBuilder::lineTo(int duration, float x, float y)
{
    if (m_strokes.empty())
        return false;
    Stroke &stroke = m_strokes.back();
    stroke.movements.emplace_back(new LineMovement(duration, stroke.endPoint(), Point(x, y)));
    return true;
}

bool TouchBuilder::curveTo(int duration, float cx, float cy, float x, float y)
{
    if (m_strokes.empty())
        return false;
    Stroke &stroke = m_strokes.back();
    stroke.movements.emplace_back(
        new BezierMovement(duration, stroke.endPoint(), Point(cx, cy), Point(x, y)));
    return true;
}

bool TouchBuilder::curveTo(int duration, float c1x, float c1y, float c2x, float c2y, float x, float y)
{
    if (m_strokes.empty())
        return false;
    Stroke &stroke = m_strokes.back();
    stroke.movements.emplace_back(
        new BezierMovement(duration, stroke.endPoint(), Point(c1x, c1y), Point(c2x, c2y), Point(x, y)));
    return true;
}

void TouchBuilder::clearStrokes()
{
    m_strokes.clear();
}

void TouchBuilder::transformStrokes(const Matrix &m)
{
    for (Stroke &stroke : m_strokes) {
        Point start(stroke.x, stroke.y);
        start *= m;
        stroke.x = start.x;
        stroke.y = start.y;
        for (const std::unique_ptr<Movement> &movement : stroke.movements)
            movement->transform(m);
    }
}

void TouchBuilder::translate(float dx, float dy)
{
    if (!allFinite(dx, dy))
        return;
    for (MultiTouchInfo &gesture : m_gestures)
        gesture.translate(dx, dy);
    transformStrokes(Matrix::translation(dx, dy));
}

void TouchBuilder::scale(float sx, float sy, float cx, float cy, bool defaultCentre)
{
    if (!allFinite(sx, sy) || (!defaultCentre && !allFinite(cx, cy)))
        return;
    const Matrix m = Matrix::scaling(sx, sy);
    for (MultiTouchInfo &gesture : m_gestures) {
        gesture.transform(defaultCentre ? aboutCentre(m, gesture.areaWidth / 2, gesture.areaHeight / 2)
                                        : aboutCentre(m, cx, cy));
    }
    transformStrokes(defaultCentre ? aboutCentre(m, areaWidth() / 2, areaHeight() / 2)
                                   : aboutCentre(m, cx, cy));
}

void TouchBuilder::rotate(float angle, float cx, float cy, bool defaultCentre)
{
    if (!std::isfinite(angle) || (!defaultCentre && !allFinite(cx, cy)))
        return;
    const Matrix m = Matrix::rotation(angle);
    for (MultiTouchInfo &gesture : m_gestures) {
        gesture.transform(defaultCentre ? aboutCentre(m, gesture.areaWidth / 2, gesture.areaHeight / 2)
                                        : aboutCentre(m, cx, cy));
    }
    transformStrokes(defaultCentre ? aboutCentre(m, areaWidth() / 2, areaHeight() / 2)
                                   : aboutCentre(m, cx, cy));
}

void TouchBuilder::accelerate(float factor)
{
    if (!isPositive(factor))
        return;
    const float s = 1.0f / factor;
    if (!isPositive(s))
        return;
    for (MultiTouchInfo &gesture : m_gestures)
        gesture.adjustSpeed(s);
}

bool TouchBuilder::generateSamples(int intervalMs, std::string *error)
{
    if (intervalMs <= 0) {
        setError(error, "Sampling interval must be above 0");
        return false;
    }
    if (m_strokes.empty()) {
        currentGesture().samples.clear();
        return true;
    }

    try {
        // When each movement starts, and when each stroke ends.
        struct Timing
        {
            std::vector<long long> movementStart;
            long long end = 0;
            size_t cursor = 0;
        };
        std::vector<Timing> timings(m_strokes.size());
        std::vector<long long> keyMoments;
        long long first = LLONG_MAX, last = LLONG_MIN;
        for (size_t i = 0; i < m_strokes.size(); ++i) {
            const Stroke &stroke = m_strokes[i];
            if (stroke.movements.empty()) {
                setError(error, "Stroke added without a movement");
                return false;
            }
            long long t = stroke.startTime;
            for (const std::unique_ptr<Movement> &movement : stroke.movements) {
                timings[i].movementStart.push_back(t);
                keyMoments.push_back(t);
                t += std::max(0, movement->duration());
            }
            if (t > INT_MAX) {
                setError(error, kTooLongText);
                return false;
            }
            timings[i].end = t;
            keyMoments.push_back(t);
            first = std::min(first, static_cast<long long>(stroke.startTime));
            last = std::max(last, t);
        }
        std::sort(keyMoments.begin(), keyMoments.end());
        keyMoments.erase(std::unique(keyMoments.begin(), keyMoments.end()), keyMoments.end());

        std::vector<size_t> byStart(m_strokes.size());
        for (size_t i = 0; i < byStart.size(); ++i)
            byStart[i] = i;
        std::stable_sort(byStart.begin(), byStart.end(), [this](size_t a, size_t b) {
            return m_strokes[a].startTime < m_strokes[b].startTime;
        });

        std::vector<TouchSample> samples;
        std::vector<size_t> down; // strokes whose pointer is down, by pointer id
        size_t nextToStart = 0;
        size_t nextKey = 0;
        size_t points = 0;
        long long grid = first;
        for (;;) {
            // The next moment: the earlier of the regular grid and the key moments.
            long long t;
            const bool gridLeft = grid <= last;
            const bool keyLeft = nextKey < keyMoments.size();
            if (!gridLeft && !keyLeft)
                break;
            t = !keyLeft || (gridLeft && grid < keyMoments[nextKey]) ? grid : keyMoments[nextKey];
            if (gridLeft && grid == t)
                grid += intervalMs;
            if (keyLeft && keyMoments[nextKey] == t)
                ++nextKey;

            while (nextToStart < byStart.size() && m_strokes[byStart[nextToStart]].startTime <= t) {
                down.insert(std::upper_bound(down.begin(), down.end(), byStart[nextToStart]),
                            byStart[nextToStart]);
                ++nextToStart;
            }
            down.erase(std::remove_if(down.begin(), down.end(), [&](size_t i) { return timings[i].end < t; }),
                       down.end());
            if (down.empty()) {
                setError(error, "No pointers down at " + std::to_string(t) + " ms");
                return false;
            }
            points += down.size();
            if (points > kMaxSampledPoints) {
                setError(error, kTooLongText);
                return false;
            }

            TouchSample sample;
            sample.timestamp = int(t);
            sample.points.reserve(down.size());
            for (size_t i : down) {
                const Stroke &stroke = m_strokes[i];
                Timing &timing = timings[i];
                // The last movement that has started by now.
                while (timing.cursor + 1 < timing.movementStart.size()
                       && timing.movementStart[timing.cursor + 1] <= t)
                    ++timing.cursor;
                const Movement &movement = *stroke.movements[timing.cursor];
                const long long from = timing.movementStart[timing.cursor];
                const int duration = std::max(0, movement.duration());
                Point position;
                if (duration == 0 || t >= from + duration)
                    position = movement.endPoint();
                else
                    movement.sample(float(double(t - from) / duration), &position);

                TouchPoint point;
                point.id = int(i);
                point.x = position.x;
                point.y = position.y;
                point.pressure = stroke.pressure;
                point.size = stroke.size;
                sample.points.push_back(point);
            }
            samples.push_back(std::move(sample));
        }

        MultiTouchInfo &gesture = currentGesture();
        gesture.samples.swap(samples);
        gesture.updatePointerStates();
    } catch (const std::bad_alloc &) {
        setError(error, kTooLongText);
        return false;
    }
    return true;
}

// MultiTouchInfo

void MultiTouchInfo::toMilliMeter(float dpiX, float dpiY)
{
    if (unit == MilliMeter || !isPositive(dpiX) || !isPositive(dpiY))
        return;
    double fx = 25.4 / dpiX;
    double fy = 25.4 / dpiY;
    if (unit == LogicalPoint) {
        if (!isPositive(scale))
            return;
        fx *= scale;
        fy *= scale;
    }
    scaleArea(this, fx, fy);
    unit = MilliMeter;
}

void MultiTouchInfo::toPixel(float dpiX, float dpiY)
{
    if (unit == Pixel || !isPositive(dpiX) || !isPositive(dpiY)
        || (unit == LogicalPoint && !isPositive(scale)))
        return;
    toMilliMeter(dpiX, dpiY);
    scaleArea(this, dpiX / 25.4, dpiY / 25.4);
    unit = Pixel;
}

void MultiTouchInfo::toLogicalPoint(float dpiX, float dpiY)
{
    if (unit == LogicalPoint || !isPositive(dpiX) || !isPositive(dpiY) || !isPositive(scale))
        return;
    toMilliMeter(dpiX, dpiY);
    scaleArea(this, (double(dpiX) / scale) / 25.4, (double(dpiY) / scale) / 25.4);
    unit = LogicalPoint;
}

void MultiTouchInfo::adjustSpeed(float s)
{
    if (!isPositive(s))
        return;
    if (speedSet) {
        speed *= s;
    } else {
        speed = s;
        speedSet = true;
    }
}

void MultiTouchInfo::translate(float dx, float dy)
{
    transform(TouchBuilder::Matrix::translation(dx, dy));
}

void MultiTouchInfo::transform(const TouchBuilder::Matrix &m)
{
    for (TouchSample &sample : samples) {
        for (TouchPoint &point : sample.points) {
            TouchBuilder::Point p(point.x, point.y);
            p *= m;
            point.x = p.x;
            point.y = p.y;
        }
    }
}

bool MultiTouchInfo::looksLikeLineSegment(float tolerance) const
{
    if (samples.size() < 2 || samples.front().points.size() != 1 || samples.back().points.size() != 1)
        return false;
    for (const TouchSample &sample : samples) {
        if (sample.points.size() > 1)
            return false;
    }
    const TouchPoint &a = samples.front().points.front();
    const TouchPoint &b = samples.back().points.front();
    const double vx = double(b.x) - a.x;
    const double vy = double(b.y) - a.y;
    const double lengthSquared = vx * vx + vy * vy;
    for (const TouchSample &sample : samples) {
        for (const TouchPoint &p : sample.points) {
            double nearestX = a.x, nearestY = a.y;
            if (lengthSquared >= 0.001) {
                double u = ((double(p.x) - a.x) * vx + (double(p.y) - a.y) * vy) / lengthSquared;
                u = std::min(1.0, std::max(0.0, u));
                nearestX += u * vx;
                nearestY += u * vy;
            }
            if (std::hypot(p.x - nearestX, p.y - nearestY) > tolerance)
                return false;
        }
    }
    return true;
}

void MultiTouchInfo::updatePointerStates()
{
    // Sorted ids per sample keep this linear-logarithmic even for samples with many points.
    std::vector<std::vector<int>> ids(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        for (const TouchPoint &point : samples[i].points)
            ids[i].push_back(point.id);
        std::sort(ids[i].begin(), ids[i].end());
    }
    for (size_t i = 0; i < samples.size(); ++i) {
        for (TouchPoint &point : samples[i].points) {
            const bool before = i > 0 && std::binary_search(ids[i - 1].begin(), ids[i - 1].end(), point.id);
            const bool after = i + 1 < samples.size()
                && std::binary_search(ids[i + 1].begin(), ids[i + 1].end(), point.id);
            point.state = !before ? TouchPoint::Down : (!after ? TouchPoint::Up : TouchPoint::Move);
        }
    }
}

} // namespace Vexil
