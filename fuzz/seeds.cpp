// seeds.cpp: writes the binary seeds of fuzz/corpus (records, values and descriptors like those the unit
// tests stream). Usage: fuzz_seeds <corpus directory>
#include "eventdata.h"
#include "eventrecordfixture.h"
#include "inspector.h"
#include "primitives.h"

#include <QDataStream>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <functional>

using namespace Vexil;

namespace {

QString g_root;

void save(const char *target, const QString &name, const QByteArray &bytes)
{
    QDir().mkpath(g_root + QLatin1Char('/') + QLatin1String(target));
    QFile file(g_root + QLatin1Char('/') + QLatin1String(target) + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
}

QByteArray streamed(const std::function<void(QDataStream &)> &writer)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    writer(out);
    return bytes;
}

const Class *prim(int t)
{
    return Inspector::self()->type(t);
}

void eventSeeds()
{
    // The tests' full record, plus an argument of a kind no reader knows.
    EventData full = VexilTest::fullEventRecord();
    full.arguments.resize(3);
    full.arguments[2].kind = 9;

    EventData call(QStringLiteral("click"), QStringLiteral("w"), ObjectList { wrap(42), wrap("text") });
    call.timeStamp = QTime(10, 0);
    EventData comment = EventData::fromComment(QStringLiteral("hi"));
    comment.timeStamp = QTime();
    EventData started = EventData::applicationStarted();
    EventData function(QStringLiteral("f"), QStringList { QStringLiteral("1") }, QString());

    const std::pair<const char *, const EventData *> records[] = { { "event-full", &full },
                                                                   { "method-call", &call },
                                                                   { "comment", &comment },
                                                                   { "started", &started },
                                                                   { "function-texts", &function } };
    for (const auto &r : records)
        save("eventdata", QLatin1String(r.first),
             streamed([&](QDataStream &s) { r.second->writeObject(s); }));
}

// Header bytes of the primitives target: class number, shape bits (1 pointer, 2 array), count + 2.
QByteArray shapeHeader(int type, int bits, int count)
{
    QByteArray h;
    h.append(char(type));
    h.append(char(bits));
    h.append(char(count + 2));
    return h;
}

void primitiveSeeds()
{
    const char *names[] = { "short", "int", "long", "bool", "char", "double", "int64" };
    for (int t = Inspector::Short; t <= Inspector::Int64; ++t) {
        Object::Ptr one;
        switch (t) {
        case Inspector::Bool:
            one = Inspector::self()->createPrimitive(true);
            break;
        case Inspector::Char:
            one = wrap("abc");
            break;
        case Inspector::Double:
            one = Inspector::self()->createPrimitive(0.1);
            break;
        default:
            one = wrap(-70000);
            break;
        }
        Object::Ptr value = t == Inspector::Char || t == Inspector::Bool || t == Inspector::Double
            ? one
            : one->objectClass()->convertTo(one, prim(t), false);
        const QByteArray bytes = streamed([&](QDataStream &s) { value->streamObject(s); });
        const int bits = t == Inspector::Char ? 1 : 0;
        save("primitives", QLatin1String(names[t]) + QStringLiteral("-one"), shapeHeader(t, bits, 0) + bytes);
        save("primitives", QLatin1String(names[t]) + QStringLiteral("-array3"),
             shapeHeader(t, t == Inspector::Char ? 2 : 2, 3) + bytes + bytes + bytes);
    }
    Object::Ptr texts = Inspector::self()->createPrimitive(
        QStringList { QStringLiteral("a"), QStringLiteral("bc") });
    save("primitives", QStringLiteral("char-texts"),
         shapeHeader(Inspector::Char, 3, 2) + streamed([&](QDataStream &s) { texts->streamObject(s); }));
    save("primitives", QStringLiteral("char-single"),
         shapeHeader(Inspector::Char, 0, 0) + QByteArray("A", 1));
}

template <class D>
void saveDescriptor(int which, const char *name, const D &d)
{
    QByteArray bytes(1, char(which));
    bytes += streamed([&](QDataStream &s) { d.writeObject(s); });
    save("descriptors", QLatin1String(name), bytes);
}

void descriptorSeeds()
{
    const Class *gesture = Inspector::self()->type(QStringLiteral("GestureBuilder"));
    const Enum *unit = gesture ? gesture->enumerator(QStringLiteral("Unit")) : nullptr;
    const Argument arg(QStringLiteral("unit"), prim(Inspector::Int), ObjectAttribute(4, 2), unit);
    const Signature sig(arg, Argument(prim(Inspector::Char), ObjectAttribute::Pointer));
    saveDescriptor(0, "argument", arg);
    saveDescriptor(1, "signature", sig);
    if (gesture && gesture->numMethods() > 0)
        saveDescriptor(2, "method-gesturebuilder", *gesture->method(0));
    Method m(gesture, arg, QStringLiteral("m"), sig, true, 3);
    m.deprecate(QStringLiteral("gone"));
    saveDescriptor(2, "method", m);
    saveDescriptor(3, "constructor", Constructor(gesture, sig, 1));
    PropertyDeclaration decl(gesture, arg, QStringLiteral("p"), 3, QStringLiteral("r"), QStringLiteral("w"));
    saveDescriptor(4, "propertydeclaration", decl);
    saveDescriptor(5, "property", Property(&decl, gesture, 2));
    saveDescriptor(5, "property-none", Property(nullptr, nullptr, 0));
    if (unit)
        saveDescriptor(6, "enum-unit", *unit);
    saveDescriptor(7, "event", Event(gesture, QStringLiteral("e"), sig));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus directory>\n", argv[0]);
        return 2;
    }
    g_root = QString::fromLocal8Bit(argv[1]);
    Inspector::self();
    eventSeeds();
    primitiveSeeds();
    descriptorSeeds();
    return 0;
}
