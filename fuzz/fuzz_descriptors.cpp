// fuzz_descriptors.cpp: member descriptors read from data streams.
// Input: which descriptor (Argument, Signature, Method, Constructor, PropertyDeclaration, Property, Enum,
// Event), then the stream bytes.
#include "fuzzsupport.h"

#include "inspector.h"

#include <QDataStream>

#include <memory>

using namespace Vexil;

namespace {

const Class *gestureClass()
{
    return Inspector::self()->type(QStringLiteral("GestureBuilder"));
}

Argument someArgument()
{
    const Class *cls = gestureClass();
    return Argument(QStringLiteral("unit"), Inspector::self()->type(Inspector::Int), ObjectAttribute(4, 2),
                    cls ? cls->enumerator(QStringLiteral("Unit")) : nullptr);
}

Signature someSignature()
{
    return Signature(someArgument(),
                     Argument(Inspector::self()->type(Inspector::Char), ObjectAttribute::Pointer));
}

// The descriptors as a wrapper makes them, so that a failed read has something to keep.
template <class D>
std::unique_ptr<D> make();

template <>
std::unique_ptr<Argument> make()
{
    return std::unique_ptr<Argument>(new Argument(someArgument()));
}
template <>
std::unique_ptr<Signature> make()
{
    return std::unique_ptr<Signature>(new Signature(someSignature()));
}
template <>
std::unique_ptr<Method> make()
{
    std::unique_ptr<Method> m(
        new Method(gestureClass(), someArgument(), QStringLiteral("m"), someSignature(), true, 3));
    m->deprecate(QStringLiteral("gone"));
    return m;
}
template <>
std::unique_ptr<Constructor> make()
{
    return std::unique_ptr<Constructor>(new Constructor(gestureClass(), someSignature(), 1));
}
template <>
std::unique_ptr<PropertyDeclaration> make()
{
    return std::unique_ptr<PropertyDeclaration>(
        new PropertyDeclaration(gestureClass(), someArgument(), QStringLiteral("p"), 3, QStringLiteral("r"),
                                QStringLiteral("w")));
}
template <>
std::unique_ptr<Property> make()
{
    auto *decl = new PropertyDeclaration("GestureBuilder", "int", QStringLiteral("q"), 1);
    return std::unique_ptr<Property>(new Property(decl, gestureClass(), 2, true));
}
template <>
std::unique_ptr<Enum> make()
{
    std::unique_ptr<Enum> e(new Enum(gestureClass(), QStringLiteral("E")));
    e->addItem(QStringLiteral("A"), 1);
    e->addItem(QStringLiteral("B"), 2);
    return e;
}
template <>
std::unique_ptr<Event> make()
{
    return std::unique_ptr<Event>(new Event(gestureClass(), QStringLiteral("e"), someSignature()));
}

template <class D>
QByteArray bytesOf(const D &d)
{
    return VexilFuzz::written([&](QDataStream &out) { d.writeObject(out); });
}

template <class D>
void roundTrip(const QByteArray &bytes)
{
    std::unique_ptr<D> d = make<D>();
    const QByteArray before = bytesOf(*d);
    QDataStream in(bytes);
    d->readObject(in);
    if (in.status() != QDataStream::Ok) {
        // A failed read keeps the descriptor as it was.
        FUZZ_CHECK(bytesOf(*d) == before);
        return;
    }
    // A descriptor read successfully writes bytes that read back to an equal descriptor.
    const QByteArray written = bytesOf(*d);
    std::unique_ptr<D> again = make<D>();
    QDataStream in2(written);
    again->readObject(in2);
    FUZZ_CHECK(in2.status() == QDataStream::Ok);
    FUZZ_CHECK(in2.atEnd());
    FUZZ_CHECK(bytesOf(*again) == written);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    VexilFuzz::initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    VexilFuzz::Input input(data, size);
    const uint8_t which = input.byte() % 8;
    const QByteArray bytes = input.rest();
    switch (which) {
    case 0:
        roundTrip<Argument>(bytes);
        break;
    case 1:
        roundTrip<Signature>(bytes);
        break;
    case 2:
        roundTrip<Method>(bytes);
        break;
    case 3:
        roundTrip<Constructor>(bytes);
        break;
    case 4:
        roundTrip<PropertyDeclaration>(bytes);
        break;
    case 5:
        roundTrip<Property>(bytes);
        break;
    case 6:
        roundTrip<Enum>(bytes);
        break;
    case 7:
        roundTrip<Event>(bytes);
        break;
    }
    return 0;
}
