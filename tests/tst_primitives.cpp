// tst_primitives.cpp: the nine primitive classes: construction, conversions, text, stream forms, wrap/unwrap.
#include "testsupport.h"

#include "inspector.h"
#include "primitives.h"

#include <QDataStream>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

using namespace Vexil;
using I = Inspector;
const auto type = VexilTest::primitive;

namespace {

// Wraps \p data with \p attr and hands the storage to the object, as the Inspector does.
Object::Ptr adopt(int t, void *data, const ObjectAttribute &attr)
{
    Object::Ptr o = type(t)->wrap(data, attr);
    o->ownsData = true;
    return o;
}

template <class T>
Object::Ptr owned(int t, T v, unsigned int flags = 0)
{
    return adopt(t, new T(v), ObjectAttribute(flags));
}

template <class T>
Object::Ptr ownedArray(int t, std::vector<T> values, int count)
{
    T *p = new T[values.size()];
    std::copy(values.begin(), values.end(), p);
    return adopt(t, p, ObjectAttribute(ObjectAttribute::Array, count));
}

Object::Ptr anInt(int v)
{
    return owned<int>(I::Int, v);
}
Object::Ptr anInt64(long long v)
{
    return owned<long long>(I::Int64, v);
}
Object::Ptr aDouble(double v)
{
    return owned<double>(I::Double, v);
}
Object::Ptr aBool(bool v)
{
    return owned<bool>(I::Bool, v);
}
Object::Ptr aChar(char v)
{
    return owned<char>(I::Char, v);
}
Object::Ptr text(const char *s)
{
    return adopt(I::Char, qstrdup(s), ObjectAttribute(ObjectAttribute::Pointer));
}

Object::Ptr charArray(const char *bytes, int count)
{
    char *p = new char[count];
    std::memcpy(p, bytes, size_t(count));
    return adopt(I::Char, p, ObjectAttribute(ObjectAttribute::Array, count));
}

// An owned array of texts; null entries stay null.
Object::Ptr texts(std::vector<const char *> items)
{
    char **p = new char *[items.size()];
    for (size_t i = 0; i < items.size(); ++i)
        p[i] = qstrdup(items[i]);
    return adopt(I::Char, p,
                 ObjectAttribute(ObjectAttribute::Pointer | ObjectAttribute::Array, int(items.size())));
}

QByteArray golden(const char *name)
{
    QFile f(QStringLiteral(VEXIL_TEST_DATA "/") + QLatin1String(name));
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << name;
    return f.readAll();
}

} // namespace

TEST(PrimitiveClasses, RegisterInFixedOrderWithThreeConstructors)
{
    const char *names[] = { "short", "int", "long", "bool", "char", "double", "int64", "void", "undefined" };
    for (int i = 0; i < 9; ++i) {
        const Class *c = type(i);
        ASSERT_NE(c, nullptr);
        EXPECT_STREQ(c->name(), names[i]);
        EXPECT_EQ(c->classId(), i);
        EXPECT_EQ(c->superClass(), nullptr);
        EXPECT_EQ(c->numMethods() + c->numProperties() + c->numEvents() + c->numEnums(), 0);
        EXPECT_EQ(c->numConstructors(), i < 7 ? 3 : 0);
    }
    const Class *c = type(I::Long);
    EXPECT_EQ(c->constructor(0)->toString(), "long()");
    EXPECT_EQ(c->constructor(1)->toString(), "long(long)");
    EXPECT_EQ(c->constructor(2)->toString(), "long(long *)");
    EXPECT_EQ(c->createConstructor(3), nullptr);
    EXPECT_EQ(type(I::Void)->createConstructor(0), nullptr);
}

TEST(PrimitiveClasses, ConstructOwnsACopyInPointerForm)
{
    const Class *c = type(I::Int);
    Object::Ptr zero = c->construct(0, nullptr);
    ASSERT_TRUE(zero);
    EXPECT_EQ(zero->toString(), "0");
    EXPECT_EQ(zero->objectAttribute().flags, 2u);
    EXPECT_TRUE(zero->ownsData);
    int v = 42;
    void *args[] = { &v };
    Object::Ptr copy = c->construct(1, args);
    v = 7;
    EXPECT_EQ(copy->toInteger(), 42);
    EXPECT_EQ(c->construct(2, args)->toInteger(), 7);
    EXPECT_FALSE(c->construct(3, args));
    EXPECT_FALSE(c->construct(1, nullptr));

    const Class *ch = type(I::Char);
    EXPECT_EQ(ch->construct(0, nullptr)->toString(), "");
    char buf[] = "abc";
    void *textArgs[] = { buf };
    Object::Ptr t = ch->construct(1, textArgs);
    buf[0] = 'x';
    EXPECT_EQ(t->toString(), "abc");
    EXPECT_EQ(t->objectAttribute().flags, 2u);
    EXPECT_TRUE(t->ownsData);

    // Through the constructor chooser: own class, conversion, and storage that has no NUL of its own.
    EXPECT_EQ(type(I::Char)->construct(ObjectList { wrap("abc") })->toString(), "abc");
    EXPECT_EQ(type(I::Int)->construct(ObjectList { aDouble(2.5) })->toInteger(), 2);
    EXPECT_EQ(ch->construct(1, ObjectList { charArray("xyz", 3) }, nullptr)->toString(), "xyz");
    EXPECT_EQ(ch->construct(ObjectList { wrap(65) })->toString(), "A");
    EXPECT_FALSE(type(I::Int)->construct(1, ObjectList { Inspector::self()->voidObject() }, nullptr));
}

TEST(PrimitiveClasses, VoidAndUndefined)
{
    Object::Ptr v = Inspector::self()->voidObject();
    ASSERT_TRUE(v);
    EXPECT_EQ(v->className(), "void");
    EXPECT_TRUE(v->isNull());
    int x = 1;
    VexilTest::StderrCapture capture;
    EXPECT_FALSE(type(I::Undefined)->wrap(&x, ObjectAttribute()));
    EXPECT_EQ(capture.text(), "Can't wrap object to undefined type\n");
}

// Conversion matrix

// Every cell of one source row: short, int, long, int64, bool, double, single char (as its number), text.
struct MatrixRow
{
    const char *label;
    Object::Ptr (*make)();
    const char *expected[8];
};

const MatrixRow kMatrix[] = {
    { "short",
      [] { return owned<short>(I::Short, 321); },
      { "321", "321", "321", "321", "true", "321", "65", "321" } },
    { "int",
      [] { return anInt(70000); },
      { "4464", "70000", "70000", "70000", "true", "70000", "112", "70000" } },
    { "long",
      [] { return owned<long>(I::Long, 0x100000042L); },
      { "66", "66", "4294967362", "4294967362", "true", "4.29497e+09", "66", "4294967362" } },
    { "int64",
      [] { return anInt64(-(1LL << 32) + 65); },
      { "65", "65", "-4294967231", "-4294967231", "true", "-4.29497e+09", "65", "-4294967231" } },
    { "bool", [] { return aBool(true); }, { "1", "1", "1", "1", "true", "1", "1", "1" } },
    { "false", [] { return aBool(false); }, { "0", "0", "0", "0", "false", "0", "0", "0" } },
    { "double",
      [] { return aDouble(70000.9); },
      { "4464", "70000", "70000", "70000", "true", "70000.9", "112", "70000.9" } },
    { "negative_double",
      [] { return aDouble(-2.7); },
      { "-2", "-2", "-2", "-2", "true", "-2.7", "-2", "-2.7" } },
    { "char", [] { return aChar('A'); }, { "65", "65", "65", "65", "true", "65", "65", "65" } },
    { "signed_char", [] { return aChar(char(-1)); }, { "-1", "-1", "-1", "-1", "true", "-1", "-1", "-1" } },
    { "small_double", [] { return aDouble(0.1); }, { "0", "0", "0", "0", "true", "0.1", "0", "0.1" } },
    { "large_double",
      [] { return aDouble(1234567.0); },
      { "-10617", "1234567", "1234567", "1234567", "true", "1.23457e+06", "-121", "1.23457e+06" } },
    { "nan",
      [] { return aDouble(std::nan("")); },
      { nullptr, nullptr, nullptr, nullptr, "true", "nan", nullptr, "nan" } },
    { "int_array",
      [] {
          return ownedArray<int>(I::Int, { 9, 8 }, 2);
      },
      { "9", "9", "9", "9", "true", "9", "9", "9" } },
    { "char_array", [] { return charArray("AB", 2); }, { "65", "65", "65", "65", "true", "65", "65", "65" } },
};

// One case per source row, one failure line per bad cell: a broken cell hides none after it.
class PrimitiveConversion : public ::testing::TestWithParam<MatrixRow>
{ };

TEST_P(PrimitiveConversion, EveryTargetOfTheRow)
{
    const char *const columns[] = { "short", "int", "long", "int64", "bool", "double", "char", "text" };
    const int targets[] = { I::Short, I::Int, I::Long, I::Int64, I::Bool, I::Double, I::Char, I::Char };
    const MatrixRow &row = GetParam();
    Object::Ptr source = row.make();
    const Class *cls = source->objectClass();
    for (int col = 0; col < 8; ++col) {
        SCOPED_TRACE(columns[col]);
        const bool text = col == 7;
        const Class *target = type(targets[col]);
        EXPECT_TRUE(cls->canConvertToInternal(target, false, text));
        Object::Ptr out = cls->convertToInternal(source, target, text);
        if (!out) {
            ADD_FAILURE() << "no conversion";
            continue;
        }
        EXPECT_EQ(out->objectClass(), target);
        EXPECT_TRUE(out->ownsData);
        EXPECT_EQ(out->objectAttribute().flags, text ? 2u : 0u);
        if (!row.expected[col])
            continue; // out of range: only defined not to crash
        const QString got = col == 6 ? QString::number(out->toInteger()) : out->toString();
        EXPECT_EQ(got, QString::fromUtf8(row.expected[col]));
    }
}

INSTANTIATE_TEST_SUITE_P(Matrix, PrimitiveConversion, ::testing::ValuesIn(kMatrix),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(PrimitiveConversionForms, TextFormsAndRefusals)
{
    const Class *ch = type(I::Char);
    // Through the class slot, a single character asked for as a text still gives its digits.
    Object::Ptr a = aChar('A');
    EXPECT_EQ(ch->convertTo(a, ch, true)->toString(), "65");
    EXPECT_EQ(ch->convertTo(a, ch, false), a);
    EXPECT_EQ(aDouble(2.5)->objectClass()->convertTo(aDouble(2.5), ch, true)->toString(), "2.5");

    // Sources in pointer form, numeric targets in pointer form, void and undefined: refused.
    struct Refusal
    {
        Object::Ptr source;
        int target;
        bool targetIsPointer;
    };
    const Refusal refusals[] = {
        { owned<int>(I::Int, 1, 2), I::Int64, false },
        { text("12"), I::Int, false },
        { text("12"), I::Char, true },
        { anInt(1), I::Int, true },
        { anInt(1), I::Void, false },
        { aBool(true), I::Undefined, false },
    };
    for (const Refusal &r : refusals) {
        const Class *cls = r.source->objectClass();
        const bool pointer = (r.source->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
        EXPECT_FALSE(cls->canConvertToInternal(type(r.target), pointer, r.targetIsPointer)) << r.target;
        EXPECT_FALSE(cls->convertToInternal(r.source, type(r.target), r.targetIsPointer)) << r.target;
    }
    EXPECT_FALSE(ch->canConvertTo(type(I::Int), true, false, nullptr));
}

// Reading texts as numbers and truth values

TEST(PrimitiveChar, TextParsing)
{
    struct Row
    {
        const char *text;
        int integer;
        bool boolean;
        double real;
    };
    const Row rows[] = {
        { "abc", 0, false, 0.0 }, { "True", 0, true, 0.0 },    { "TRUE", 0, true, 0.0 },
        { "2", 2, true, 2.0 },    { "-12", -12, true, -12.0 }, { "false", 0, false, 0.0 },
        { "yes", 0, false, 0.0 }, { "1.5", 0, false, 1.5 },    { "", 0, false, 0.0 },
    };
    for (const Row &row : rows) {
        Object::Ptr t = text(row.text);
        EXPECT_EQ(t->toInteger(), row.integer) << row.text;
        EXPECT_EQ(t->toInt64(), row.integer) << row.text;
        EXPECT_EQ(t->toBoolean(), row.boolean) << row.text;
        EXPECT_DOUBLE_EQ(t->toDouble(), row.real) << row.text;
        Object::Ptr b = aBool(!row.boolean);
        b->fromString(QString::fromUtf8(row.text));
        EXPECT_EQ(b->toBoolean(), row.boolean) << row.text;
    }
}

TEST(PrimitiveChar, ShapesReadDifferently)
{
    Object::Ptr single = aChar('A');
    EXPECT_EQ(single->toInteger(), 65);
    EXPECT_TRUE(single->toBoolean());
    Object::Ptr arr = charArray("42\0x", 4);
    EXPECT_EQ(arr->toString(), "42");
    EXPECT_EQ(arr->toInteger(), 42);
    // An array of texts answers its element count, a count of 0 counting as 1.
    Object::Ptr list = texts({ "7", "8", "9" });
    EXPECT_EQ(list->toInteger(), 3);
    EXPECT_TRUE(list->toBoolean());
    Object::Ptr zero = adopt(
        I::Char, new char *[1] { qstrdup("x") }, ObjectAttribute(18, 0));
    EXPECT_EQ(zero->toInteger(), 1);
    EXPECT_EQ(zero->toString(), "[x]");
    EXPECT_EQ(type(I::Char)->wrap(nullptr, ObjectAttribute(2))->toString(), "");
}

// Text and debug forms

TEST(PrimitiveText, SingleValuesArraysAndDebugForms)
{
    EXPECT_EQ(aDouble(0.1)->toString(), "0.1");
    EXPECT_EQ(aDouble(1234567.0)->toString(), "1.23457e+06");
    EXPECT_EQ(aChar('A')->toString(), "A");
    EXPECT_EQ(text("h\xc3\xa9")->toString(), QString::fromUtf8("h\xc3\xa9"));
    Object::Ptr ints = ownedArray<int>(I::Int, { 1, 2, 3 }, 3);
    EXPECT_EQ(ints->toString(), "[ 1, 2, 3 ]");
    EXPECT_EQ(ints->toDebugString(), "[ 1 : int, 2 : int, 3 : int ]");
    EXPECT_EQ(ownedArray<bool>(I::Bool, { true, false }, 2)->toDebugString(),
              "[ true : bool, false : bool ]");
    EXPECT_EQ(ownedArray<int>(I::Int, { 5 }, 0)->toString(), "5"); // a count of 0 is one element
    EXPECT_EQ(texts({ "a", "b" })->toString(), "[a, b]");

    EXPECT_EQ(owned<short>(I::Short, 5)->toDebugString(), "5 : short");
    EXPECT_EQ(owned<long>(I::Long, 5)->toDebugString(), "5 : long");
    EXPECT_EQ(anInt64(5)->toDebugString(), "5 : int64");
    EXPECT_EQ(aDouble(0.5)->toDebugString(), "0.5 : double");
    EXPECT_EQ(aBool(false)->toDebugString(), "false : bool");
    EXPECT_EQ(aChar('x')->toDebugString(), "x : char");
    EXPECT_EQ(text("abc")->toDebugString(), "abc : char");
    EXPECT_EQ(charArray("ab", 2)->toDebugString(), "ab : char[]");
    EXPECT_EQ(texts({ "a", "b" })->toDebugString(), "[a, b] : char*[]");
}

// Writing values

TEST(PrimitiveFrom, NumbersAndTruthValues)
{
    Object::Ptr s = owned<short>(I::Short, 0);
    s->fromInteger(70000);
    EXPECT_EQ(s->toInteger(), 4464);
    Object::Ptr i = anInt(0);
    i->fromDouble(-2.7);
    EXPECT_EQ(i->toInteger(), -2);
    i->fromString(QStringLiteral("oops"));
    EXPECT_EQ(i->toInteger(), 0);
    Object::Ptr l = anInt64(0);
    l->fromString(QStringLiteral("9000000000"));
    EXPECT_EQ(l->toInt64(), 9000000000LL);
    Object::Ptr d = aDouble(1.0);
    d->fromString(QStringLiteral("2.5"));
    EXPECT_EQ(d->toDouble(), 2.5);
    Object::Ptr b = aBool(false);
    b->fromInt64(1LL << 40);
    EXPECT_TRUE(b->toBoolean());
}

TEST(PrimitiveFrom, CharShapes)
{
    Object::Ptr t = text("old");
    t->fromInteger(-3);
    EXPECT_EQ(t->toString(), "-3");
    t->fromDouble(0.1);
    EXPECT_EQ(t->toString(), "0.1");
    t->fromBoolean(true);
    EXPECT_EQ(t->toString(), "true");
    t->fromString(QString::fromUtf8("h\xc3\xa9"));
    EXPECT_EQ(t->toString(), QString::fromUtf8("h\xc3\xa9"));
    Object::Ptr c = aChar(0);
    c->fromInteger(321);
    EXPECT_EQ(c->toString(), "A");
    c->fromString(QStringLiteral("322"));
    EXPECT_EQ(c->toString(), "B");
    Object::Ptr arr = charArray("....", 4);
    arr->fromString(QStringLiteral("abcdef"));
    EXPECT_EQ(arr->toString(), "abc");
    Object::Ptr list = texts({ "a", "b" });
    list->fromString(QStringLiteral("x"));
    EXPECT_EQ(list->toString(), "[x, b]");
}

// Ownership: storage is freed once, by the class that wrapped it, and foreign storage never.

TEST(PrimitiveOwnership, ForeignStorageIsWrittenButNotFreed)
{
    int value = 5;
    {
        Object::Ptr o = type(I::Int)->wrap(&value, ObjectAttribute());
        o->fromInteger(6);
        EXPECT_FALSE(o->ownsData);
    }
    EXPECT_EQ(value, 6);
    char buffer[] = "stack";
    {
        Object::Ptr t = type(I::Char)->wrap(buffer, ObjectAttribute(ObjectAttribute::Pointer));
        t->fromString(QStringLiteral("heap"));
        EXPECT_EQ(t->toString(), "heap");
        EXPECT_TRUE(t->ownsData); // the replacement is the object's own copy
    }
    EXPECT_STREQ(buffer, "stack");
}

TEST(PrimitiveOwnership, NullStorageCastAndInvalidation)
{
    Object::Ptr o = type(I::Double)->wrap(nullptr, ObjectAttribute());
    EXPECT_EQ(o->toString(), "<null>");
    o->fromDouble(1.5);
    EXPECT_TRUE(o->ownsData);
    EXPECT_EQ(o->toDouble(), 1.5);

    int value = 1;
    Object::Ptr dead = type(I::Int)->wrap(&value, ObjectAttribute());
    dead->invalidate();
    dead->fromInteger(3);
    EXPECT_TRUE(dead->isNull());
    EXPECT_EQ(value, 1);

    Object::Ptr cast = anInt(70000);
    cast->castTo(type(I::Short));
    EXPECT_EQ(cast->className(), "short");
    EXPECT_EQ(cast->toInteger(), 70000); // still an int underneath, and freed as one
}

// Stream form

namespace {

QByteArray streamed(const std::vector<Object::Ptr> &objects)
{
    QByteArray bytes;
    QDataStream s(&bytes, QIODevice::WriteOnly);
    for (const Object::Ptr &o : objects)
        o->streamObject(s);
    return bytes;
}

struct GoldenCase
{
    const char *file;
    std::vector<Object::Ptr> written;
    std::vector<Object::Ptr> blank;
    std::vector<const char *> expected;
};

} // namespace

TEST(PrimitiveStream, GoldenFilesPerClass)
{
    const GoldenCase cases[] = {
        { "primitive_short.bin",
          { owned<short>(I::Short, -2), ownedArray<short>(I::Short, { 7, -32768 }, 2) },
          { owned<short>(I::Short, 0), ownedArray<short>(I::Short, { 0, 0 }, 2) },
          { "-2", "[ 7, -32768 ]" } },
        { "primitive_int.bin",
          { anInt(70000), ownedArray<int>(I::Int, { 1, -1, 2147483647 }, 3) },
          { anInt(0), ownedArray<int>(I::Int, { 0, 0, 0 }, 3) },
          { "70000", "[ 1, -1, 2147483647 ]" } },
        // long keeps only its low 32 bits in the stream
        { "primitive_long.bin",
          { owned<long>(I::Long, 0x100000005L), owned<long>(I::Long, -2) },
          { owned<long>(I::Long, 9), owned<long>(I::Long, 9) },
          { "5", "-2" } },
        { "primitive_bool.bin",
          { aBool(true), ownedArray<bool>(I::Bool, { false, true }, 2) },
          { aBool(false), ownedArray<bool>(I::Bool, { true, false }, 2) },
          { "true", "[ false, true ]" } },
        { "primitive_char.bin",
          { aChar('A'), charArray("hi", 3), text("ab"), texts({ "a", nullptr }) },
          { aChar(0), charArray("\0\0\0", 3), text("old"), texts({ "x", "y" }) },
          { "A", "hi", "ab", "[a, ]" } },
        { "primitive_double.bin",
          { aDouble(0.1), aDouble(-2.5) },
          { aDouble(0), aDouble(0) },
          { "0.1", "-2.5" } },
        { "primitive_int64.bin", { anInt64(-9000000000LL) }, { anInt64(0) }, { "-9000000000" } },
    };
    for (const GoldenCase &c : cases) {
        const QByteArray bytes = golden(c.file);
        EXPECT_EQ(streamed(c.written), bytes) << c.file;
        QDataStream in(bytes);
        for (const Object::Ptr &o : c.blank)
            o->objectFromStream(in);
        EXPECT_EQ(in.status(), QDataStream::Ok) << c.file;
        EXPECT_TRUE(in.atEnd()) << c.file;
        for (size_t i = 0; i < c.blank.size(); ++i)
            EXPECT_EQ(c.blank[i]->toString(), QString::fromUtf8(c.expected[i])) << c.file << " #" << i;
    }
}

TEST(PrimitiveStream, ShortStreamsLeaveTheValueAndNullTextsRoundTrip)
{
    Object::Ptr i = anInt(9);
    QDataStream in1(QByteArray("\x00\x01", 2));
    i->objectFromStream(in1);
    EXPECT_NE(in1.status(), QDataStream::Ok);
    EXPECT_EQ(i->toInteger(), 9);
    // A length of about 2 GB followed by three bytes must fail without taking the memory.
    Object::Ptr t = text("old");
    QDataStream in2(QByteArray("\x7f\xff\xff\xff"
                               "abc",
                               7));
    t->objectFromStream(in2);
    EXPECT_NE(in2.status(), QDataStream::Ok);
    EXPECT_EQ(t->toString(), "old");
    Object::Ptr list = texts({ "x", "y" });
    QDataStream in3(QByteArray("\x00\x00\x00\x02"
                               "a\0"
                               "\x00\x00\x00\x05"
                               "bc",
                               12));
    list->objectFromStream(in3);
    EXPECT_NE(in3.status(), QDataStream::Ok);
    EXPECT_EQ(list->toString(), "[x, y]");

    const QByteArray nullBytes = streamed(
        { type(I::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer)) });
    EXPECT_EQ(nullBytes, QByteArray(4, '\0'));
    QDataStream in4(nullBytes);
    t->objectFromStream(in4);
    EXPECT_TRUE(t->isNull());
}

// Comparison, wrap and unwrap

TEST(PrimitiveCompare, NumbersByFirstElementTextsByBytes)
{
    EXPECT_EQ(wrap(5)->compare(wrap(5)), 0);
    EXPECT_LT(wrap(5)->compare(wrap(7)), 0);
    EXPECT_EQ(ownedArray<int>(I::Int, { 1, 2 }, 2)->compare(ownedArray<int>(I::Int, { 1, 3 }, 2)), 0);
    EXPECT_NE(aDouble(std::nan(""))->compare(aDouble(std::nan(""))), 0);
    Object::Ptr none = type(I::Int)->wrap(nullptr, ObjectAttribute());
    EXPECT_EQ(none->compare(type(I::Int)->wrap(nullptr, ObjectAttribute())), 0);
    EXPECT_NE(none->compare(wrap(0)), 0);
    EXPECT_NE(wrap(1)->compare(anInt64(1)), 0); // different classes: the general comparison

    EXPECT_EQ(text("abc")->compare(text("abc")), 0);
    EXPECT_NE(text("abc")->compare(text("abd")), 0);
    Object::Ptr nullText = type(I::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer));
    EXPECT_EQ(nullText->compare(type(I::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer))), 0);
    EXPECT_NE(nullText->compare(text("")), 0);
    EXPECT_EQ(texts({ "a", "b" })->compare(texts({ "a", "b" })), 0);
}

TEST(PrimitiveWrap, RoundTrips)
{
    Object::Ptr i = wrap(42);
    EXPECT_EQ(i->className(), "int");
    EXPECT_TRUE(i->ownsData);
    int n = 0;
    unwrap(i, &n);
    EXPECT_EQ(n, 42);
    QString q;
    unwrap(wrap(std::string("h\xc3\xa9")), &q);
    EXPECT_EQ(q, QString::fromUtf8("h\xc3\xa9"));
    std::string s;
    unwrap(wrap(QString::fromUtf8("h\xc3\xa9")), &s);
    EXPECT_EQ(s, "h\xc3\xa9");
    EXPECT_EQ(wrap(QStringLiteral("x"))->objectAttribute().flags, 2u);
    unwrap(Object::Ptr(), &n);
    EXPECT_EQ(n, 0);
    unwrap(wrap("12"), &n);
    EXPECT_EQ(n, 12);
}
