// fuzz_primitives.cpp: values of the primitive classes read from data streams.
// Input: the class number (0 to 6), the storage shape, the element count, then the stream bytes.
#include "fuzzsupport.h"

#include "inspector.h"
#include "primitives.h"

#include <QDataStream>

#include <cstring>

using namespace Vexil;

namespace {

struct Shape
{
    int type;
    unsigned int flags;
    int count;
    bool nullStorage;
    bool invalidated;
};

int elements(const Shape &s)
{
    return (s.flags & ObjectAttribute::Array) && s.count > 1 ? s.count : 1;
}

template <class T>
void *numbers(int n)
{
    T *p = new T[size_t(n)];
    for (int i = 0; i < n; ++i)
        p[i] = T(i + 1);
    return p;
}

// Storage as a wrapper hands it over, filled with something other than what a stream is likely to hold.
void *makeStorage(const Shape &s)
{
    if (s.nullStorage)
        return nullptr;
    const int n = elements(s);
    const bool array = (s.flags & ObjectAttribute::Array) != 0;
    const bool pointer = (s.flags & ObjectAttribute::Pointer) != 0;
    switch (s.type) {
    case Inspector::Short:
        return array ? numbers<short>(n) : new short(7);
    case Inspector::Int:
        return array ? numbers<int>(n) : new int(7);
    case Inspector::Long:
        return array ? numbers<long>(n) : new long(7);
    case Inspector::Bool:
        return array ? numbers<bool>(n) : new bool(true);
    case Inspector::Double:
        return array ? numbers<double>(n) : new double(7.5);
    case Inspector::Int64:
        return array ? numbers<long long>(n) : new long long(7);
    case Inspector::Char:
        if (array && pointer) {
            char **texts = new char *[size_t(n)];
            for (int i = 0; i < n; ++i)
                texts[i] = i % 2 ? nullptr : qstrdup("old");
            return texts;
        }
        if (array) {
            char *chars = new char[size_t(n)];
            std::memset(chars, 'x', size_t(n));
            return chars;
        }
        return pointer ? static_cast<void *>(qstrdup("old")) : new char('x');
    }
    return nullptr;
}

Object::Ptr makeObject(const Shape &s, void **foreign)
{
    const Class *cls = Inspector::self()->type(s.type);
    const ObjectAttribute attr(s.flags, s.count);
    void *storage = makeStorage(s);
    Object::Ptr o = cls->wrap(storage, attr);
    FUZZ_CHECK(o);
    if (s.invalidated) {
        // An invalidated object no longer frees its data; the wrapper that made it does.
        *foreign = storage;
        o->invalidate();
    } else {
        o->ownsData = storage != nullptr;
    }
    return o;
}

void freeForeign(const Shape &s, void *storage)
{
    if (storage)
        Inspector::self()->type(s.type)->deleteObjectData(storage, ObjectAttribute(s.flags, s.count));
}

void readEverything(const Object::Ptr &o)
{
    o->toString();
    o->toDebugString();
    o->toInteger();
    o->toInt64();
    o->toDouble();
    o->toBoolean();
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
    Shape shape;
    shape.type = input.byte() % 7;
    const uint8_t bits = input.byte();
    shape.flags = ((bits & 1) ? ObjectAttribute::Pointer : 0u) | ((bits & 2) ? ObjectAttribute::Array : 0u);
    shape.nullStorage = (bits & 4) != 0;
    shape.invalidated = (bits & 8) != 0;
    shape.count = int(input.byte() % 12) - 2; // -2 to 9: counts below 1 mean 1
    const QByteArray bytes = input.rest();

    void *foreign = nullptr;
    {
        Object::Ptr o = makeObject(shape, &foreign);
        QDataStream in(bytes);
        o->objectFromStream(in);
        readEverything(o);
        if (shape.invalidated) {
            FUZZ_CHECK(o->rawData() == nullptr);
        } else if (in.status() == QDataStream::Ok) {
            // A value read successfully writes bytes that read back to the same value.
            const QByteArray written = VexilFuzz::written([&](QDataStream &out) { o->streamObject(out); });
            void *unused = nullptr;
            Shape fresh = shape;
            fresh.nullStorage = false;
            Object::Ptr again = makeObject(fresh, &unused);
            QDataStream in2(written);
            again->objectFromStream(in2);
            FUZZ_CHECK(in2.status() == QDataStream::Ok);
            FUZZ_CHECK(in2.atEnd());
            FUZZ_CHECK(VexilFuzz::written([&](QDataStream &out) { again->streamObject(out); }) == written);
            FUZZ_CHECK(again->toString() == o->toString());
            // Numbers compare by their first element (a NaN is unequal even to itself).
            if (shape.type != Inspector::Double && shape.type != Inspector::Char)
                FUZZ_CHECK(again->compare(o) == 0);
        }
    }
    freeForeign(shape, foreign);
    return 0;
}
