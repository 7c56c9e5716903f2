// gesturecommands.cpp: "vexil gesture info|convert|transform": gesture XML files read, converted and
// rewritten.
#include "cli.h"
#include "commands.h"

#include <touchbuilder.h>

#include <QSet>

#include <algorithm>
#include <cmath>

namespace VexilTool {

namespace {

const char kGestureHelp[] = R"HELP(Usage: vexil gesture info FILE
       vexil gesture convert FILE --unit px|mm|pt --dpi X[,Y] [--device-scale F] [-o OUT]
       vexil gesture transform FILE OPERATION... [-o OUT]

Gesture files are the XML form of recorded or built multi-touch gestures:
  <gestures version='1.0'> <multi-point area-width= area-height= unit=> <sample timestamp=>
  <point pointer= x= y= pressure= size= state=/> ...

  info       Summarises each gesture: area and unit, samples, duration, pointers, extent of the points.
  convert    Converts every gesture to pixels, millimetres or logical points for a screen of the given
             dots per inch.
  transform  Moves, scales, rotates or speeds up every gesture.

'vexil gesture COMMAND --help' has the details.

Exit codes: 0 success, 1 the file is not valid gesture XML, 2 usage error or a file that cannot be read
or written.)HELP";

const char kInfoHelp[] = R"HELP(Usage: vexil gesture info FILE

Reads a gesture XML file and prints, per gesture: the touch area and unit, the number of samples, the
time span of the samples in milliseconds, the pointers used and how many are down at once, and the
smallest rectangle holding every point.

Errors in the file are reported as "FILE:LINE:COLUMN: cause".

Exit codes: 0 success, 1 the file is not valid gesture XML, 2 usage error or unreadable FILE.)HELP";

const char kConvertHelp[] =
    R"HELP(Usage: vexil gesture convert FILE --unit px|mm|pt --dpi X[,Y] [--device-scale F] [-o OUT]

Converts the area and every point of every gesture to the unit: px (pixels), mm (millimetres) or pt
(logical points). --dpi gives the screen's dots per inch, horizontally and vertically (one number for
both). Logical points are pixels divided by the device's scale factor, --device-scale (default 1).
Gestures already in the unit are left as they are. The XML is written to standard output, or atomically
to OUT.

Example: vexil gesture convert swipe.xml --unit mm --dpi 96 -o swipe-mm.xml

Exit codes: 0 success, 1 FILE is not valid gesture XML, 2 usage error or a file that cannot be read or
written.)HELP";

const char kTransformHelp[] = R"HELP(Usage: vexil gesture transform FILE OPERATION... [-o OUT]

Operations, applied to every gesture in the order given (at least one):
  --translate DX,DY   move every point by DX, DY (in the gesture's unit)
  --scale S[,SY]      scale by S (or S horizontally and SY vertically) about the centre of the touch area
  --rotate A          rotate by A degrees counter-clockwise on screen about the centre of the touch area
  --accelerate F      play F times as fast (F above 0; the timestamps written are divided by F)
The touch area itself stays as it is. The XML is written to standard output, or atomically to OUT.

Example: vexil gesture transform swipe.xml --rotate 90 --accelerate 2 -o fast-swipe.xml

Exit codes: 0 success, 1 FILE is not valid gesture XML, 2 usage error or a file that cannot be read or
written.)HELP";

QString unitName(int unit)
{
    switch (unit) {
    case Vexil::MultiTouchInfo::MilliMeter:
        return QStringLiteral("mm");
    case Vexil::MultiTouchInfo::LogicalPoint:
        return QStringLiteral("pt");
    default:
        return QStringLiteral("px");
    }
}

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

// Reads FILE into \p builder. Returns ExitOk, or the exit code after reporting why not.
int loadGestures(const Invocation &call, const QString &path, Vexil::TouchBuilder *builder)
{
    QByteArray data;
    if (!call.read(path, &data))
        return ExitUsage;
    Vexil::GestureXmlError problem;
    if (builder->fromXml(data.toStdString(), nullptr, &problem))
        return ExitOk;
    // The reader names an anonymous document; the user knows the file.
    const QString reason = QString::fromStdString(problem.reason);
    if (problem.line > 0)
        err(path + QLatin1Char(':') + QString::number(problem.line) + QLatin1Char(':')
            + QString::number(problem.column) + QStringLiteral(": ") + reason);
    else
        err(path + QStringLiteral(": ") + reason);
    return ExitFailures;
}

// Writes to -o OUT, or to standard output.
int writeGestures(const Invocation &call, const Vexil::TouchBuilder &builder)
{
    const QString target = call.args.has(QStringLiteral("--output"))
        ? call.args.value(QStringLiteral("--output"))
        : QStringLiteral("-");
    QString error;
    if (!writeFileAtomically(target, QByteArray::fromStdString(builder.toXml()), &error))
        return call.fail(error);
    return ExitOk;
}

int info(const Invocation &call)
{
    const QString path = call.positionals().at(0);
    Vexil::TouchBuilder builder;
    if (const int rc = loadGestures(call, path, &builder))
        return rc;

    const auto &gestures = builder.gestures();
    out(path
        + QStringLiteral(": %1 %2").arg(QString::number(gestures.size()),
                                        gestures.size() == 1 ? QStringLiteral("gesture")
                                                             : QStringLiteral("gestures")));
    for (size_t g = 0; g < gestures.size(); ++g) {
        const Vexil::MultiTouchInfo &gesture = gestures[g];
        const QString unit = unitName(gesture.unit);
        out(QStringLiteral("gesture %1: area %2 x %3 %4, %5 %6")
                .arg(QString::number(g + 1), number(gesture.areaWidth), number(gesture.areaHeight), unit,
                     QString::number(gesture.samples.size()),
                     gesture.samples.size() == 1 ? QStringLiteral("sample") : QStringLiteral("samples")));
        if (gesture.samples.empty())
            continue;
        QSet<int> pointers;
        size_t mostAtOnce = 0;
        float minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
        for (const Vexil::TouchSample &sample : gesture.samples) {
            mostAtOnce = std::max(mostAtOnce, sample.points.size());
            for (const Vexil::TouchPoint &p : sample.points) {
                pointers.insert(p.id);
                minX = std::min(minX, p.x);
                minY = std::min(minY, p.y);
                maxX = std::max(maxX, p.x);
                maxY = std::max(maxY, p.y);
            }
        }
        const int first = gesture.samples.front().timestamp;
        const int last = gesture.samples.back().timestamp;
        out(QStringLiteral("  time %1 to %2 ms (%3 ms)")
                .arg(QString::number(first), QString::number(last), QString::number(qint64(last) - first)));
        QList<int> ids = pointers.values();
        std::sort(ids.begin(), ids.end());
        QStringList idTexts;
        for (int id : ids)
            idTexts.append(QString::number(id));
        out(QStringLiteral("  pointers %1, at most %2 down at once")
                .arg(idTexts.join(QLatin1Char(' ')), QString::number(mostAtOnce)));
        if (!pointers.isEmpty()) {
            out(QStringLiteral("  points within x %1 to %2, y %3 to %4 %5")
                    .arg(number(minX), number(maxX), number(minY), number(maxY), unit));
        }
    }
    return ExitOk;
}

int convert(const Invocation &call)
{
    const Args &parsed = call.args;
    if (!parsed.has(QStringLiteral("--unit")))
        return call.usage(QStringLiteral("missing --unit px|mm|pt"));
    if (!parsed.has(QStringLiteral("--dpi")))
        return call.usage(QStringLiteral("missing --dpi X[,Y]"));
    const QString unit = parsed.value(QStringLiteral("--unit"));
    if (unit != QLatin1String("px") && unit != QLatin1String("mm") && unit != QLatin1String("pt"))
        return call.usage(QStringLiteral("unknown unit '%1' (expected px, mm or pt)").arg(unit));
    double dpiX = 0, dpiY = 0;
    if (!parseNumberPair(parsed.value(QStringLiteral("--dpi")), &dpiX, &dpiY, true) || dpiX <= 0 || dpiY <= 0)
        return call.usage(QStringLiteral("--dpi needs one or two numbers above 0, as in 96 or 96,120"));
    double deviceScale = 1;
    if (parsed.has(QStringLiteral("--device-scale"))
        && (!parseNumber(parsed.value(QStringLiteral("--device-scale")), &deviceScale) || deviceScale <= 0))
        return call.usage(QStringLiteral("--device-scale needs a number above 0"));

    Vexil::TouchBuilder builder;
    if (const int rc = loadGestures(call, parsed.positionals().at(0), &builder))
        return rc;
    for (Vexil::MultiTouchInfo &gesture : builder.gestures()) {
        // The XML form does not carry the device's scale; the conversion to and from points needs it.
        gesture.scale = float(deviceScale);
        if (unit == QLatin1String("px"))
            gesture.toPixel(float(dpiX), float(dpiY));
        else if (unit == QLatin1String("mm"))
            gesture.toMilliMeter(float(dpiX), float(dpiY));
        else
            gesture.toLogicalPoint(float(dpiX), float(dpiY));
    }
    return writeGestures(call, builder);
}

int transform(const Invocation &call)
{
    const Args &parsed = call.args;

    // Every operation is checked before the file is read, so a typo never half-applies.
    struct Operation
    {
        QString name;
        double a, b;
    };
    std::vector<Operation> operations;
    for (const auto &option : parsed.options()) {
        const QString &name = option.first;
        const QString &value = option.second;
        double a = 0, b = 0;
        if (name == QLatin1String("--translate")) {
            if (!parseNumberPair(value, &a, &b, false))
                return call.usage(
                    QStringLiteral("--translate needs DX,DY, as in 10,-5; got '%1'").arg(value));
        } else if (name == QLatin1String("--scale")) {
            if (!parseNumberPair(value, &a, &b, true) || a == 0 || b == 0)
                return call.usage(
                    QStringLiteral("--scale needs S or SX,SY, numbers other than 0; got '%1'").arg(value));
        } else if (name == QLatin1String("--rotate")) {
            if (!parseNumber(value, &a))
                return call.usage(QStringLiteral("--rotate needs an angle in degrees; got '%1'").arg(value));
        } else if (name == QLatin1String("--accelerate")) {
            if (!parseNumber(value, &a) || a <= 0)
                return call.usage(QStringLiteral("--accelerate needs a factor above 0; got '%1'").arg(value));
        } else {
            continue;
        }
        operations.push_back({ name, a, b });
    }
    if (operations.empty())
        return call.usage(QStringLiteral("no operation (--translate, --scale, --rotate or --accelerate)"));

    Vexil::TouchBuilder builder;
    if (const int rc = loadGestures(call, parsed.positionals().at(0), &builder))
        return rc;
    for (const Operation &op : operations) {
        if (op.name == QLatin1String("--translate"))
            builder.translate(float(op.a), float(op.b));
        else if (op.name == QLatin1String("--scale"))
            builder.scale(float(op.a), float(op.b), 0, 0, true);
        else if (op.name == QLatin1String("--rotate"))
            builder.rotate(float(op.a), 0, 0, true);
        else
            builder.accelerate(float(op.a));
    }
    return writeGestures(call, builder);
}

} // namespace

Command gestureCommand()
{
    const OptionDecl output = { "--output", "-o", "OUT" };
    return {
        "gesture",
        "gesture",
        "read, convert and transform gesture files",
        kGestureHelp,
        {},
        0,
        0,
        nullptr,
        nullptr,
        nullptr,
        { { "info",
            "gesture info FILE",
            "summarise a gesture XML file",
            kInfoHelp,
            {},
            1,
            1,
            "missing FILE",
            "expected one FILE",
            info,
            {} },
          { "convert",
            "gesture convert FILE --unit px|mm|pt --dpi X[,Y] [-o OUT]",
            "convert gestures to another unit",
            kConvertHelp,
            { { "--unit", nullptr, "UNIT" },
              { "--dpi", nullptr, "X[,Y]" },
              { "--device-scale", nullptr, "F" },
              output },
            1,
            1,
            "missing FILE",
            "expected one FILE",
            convert,
            {} },
          { "transform",
            "gesture transform FILE [--translate DX,DY] [--scale S] [--rotate A] [--accelerate F] [-o OUT]",
            "move, scale, rotate or speed up gestures",
            kTransformHelp,
            { { "--translate", nullptr, "DX,DY" },
              { "--scale", nullptr, "S[,SY]" },
              { "--rotate", nullptr, "A" },
              { "--accelerate", nullptr, "F" },
              output },
            1,
            1,
            "missing FILE",
            "expected one FILE",
            transform,
            {} } }
    };
}

} // namespace VexilTool
