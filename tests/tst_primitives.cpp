#include "testsupport.h"

#include "inspector.h"
#include "primitives.h"

#include <QDataStream>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace Vexil;

namespace {

const Class *type(int t)
{
    return Inspector::self()->type(t);
}

// A value object owning a heap copy of v, as the Inspector makes them.
template <class T>
Object::Ptr owned(int t, T v, unsigned int flags = 0)
{
    Object::Ptr o = type(t)->wrap(new T(v), ObjectAttribute(flags));
    o->ownsData = true;
    return o;
}

template <class T>
Object::Ptr ownedArray(int t, std::vector<T> values, int count)
{
    T *p = new T[values.size()];
    std::copy(values.begin(), values.end(), p);
    Object::Ptr o = type(t)->wrap(p, ObjectAttribute(ObjectAttribute::Array, count));
    o->ownsData = true;
    return o;
}

Object::Ptr anInt(int v)
{
    return owned<int>(Inspector::Int, v);
}

Object::Ptr anInt64(long long v)
{
    return owned<long long>(Inspector::Int64, v);
}

Object::Ptr aDouble(double v)
{
    return owned<double>(Inspector::Double, v);
}

Object::Ptr aBool(bool v)
{
    return owned<bool>(Inspector::Bool, v);
}

Object::Ptr aChar(char v)
{
    return owned<char>(Inspector::Char, v);
}

Object::Ptr text(const char *s)
{
    Object::Ptr o = type(Inspector::Char)->wrap(qstrdup(s), ObjectAttribute(ObjectAttribute::Pointer));
    o->ownsData = true;
    return o;
}

Object::Ptr charArray(const char *bytes, int count)
{
    char *p = new char[count];
    std::memcpy(p, bytes, size_t(count));
    Object::Ptr o = type(Inspector::Char)->wrap(p, ObjectAttribute(ObjectAttribute::Array, count));
    o->ownsData = true;
    return o;
}

// An owned array of texts; null entries stay null.
Object::Ptr texts(std::vector<const char *> items)
{
    char **p = new char *[items.size()];
    for (size_t i = 0; i < items.size(); ++i)
        p[i] = qstrdup(items[i]);
    const ObjectAttribute attr(ObjectAttribute::Pointer | ObjectAttribute::Array, int(items.size()));
    Object::Ptr o = type(Inspector::Char)->wrap(p, attr);
    o->ownsData = true;
    return o;
}

QByteArray golden(const char *name)
{
    QFile f(QStringLiteral(VEXIL_TEST_DATA "/") + QLatin1String(name));
    EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << name;
    return f.readAll();
}

} // namespace

TEST(PrimitiveClasses, RegisterInFixedOrder)
{
    const char *names[] = { "short", "int", "long", "bool", "char", "double", "int64", "void", "undefined" };
    for (int i = 0; i < 9; ++i) {
        const Class *c = type(i);
        ASSERT_NE(c, nullptr);
        EXPECT_STREQ(c->name(), names[i]);
        EXPECT_EQ(c->classId(), i);
        EXPECT_EQ(Inspector::self()->type(QLatin1String(names[i])), c);
        EXPECT_EQ(c->superClass(), nullptr);
        EXPECT_EQ(c->numMethods() + c->numProperties() + c->numEvents() + c->numEnums(), 0);
        EXPECT_EQ(c->numConstructors(), i < 7 ? 3 : 0);
    }
    EXPECT_NE(dynamic_cast<const VexilClass_double *>(type(Inspector::Double)), nullptr);
}

TEST(PrimitiveClasses, ConstructorsTakeNothingAValueOrAPointer)
{
    const Class *c = type(Inspector::Long);
    ASSERT_NE(c->constructor(2), nullptr);
    EXPECT_EQ(c->constructor(0)->signature().count(), 0);
    EXPECT_EQ(c->constructor(1)->signature().at(0).type(), c);
    EXPECT_EQ(c->constructor(1)->signature().at(0).flags(), 0u);
    EXPECT_EQ(c->constructor(2)->signature().at(0).flags(), 2u);
    EXPECT_EQ(c->createConstructor(3), nullptr);
    EXPECT_EQ(type(Inspector::Void)->createConstructor(0), nullptr);
}

TEST(PrimitiveClasses, ConstructOwnsACopyInPointerForm)
{
    const Class *c = type(Inspector::Int);
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

    const Class *ch = type(Inspector::Char);
    EXPECT_EQ(ch->construct(0, nullptr)->toString(), "");
    char buf[] = "abc";
    void *textArgs[] = { buf };
    Object::Ptr t = ch->construct(1, textArgs);
    buf[0] = 'x';
    EXPECT_EQ(t->toString(), "abc");
    EXPECT_TRUE(t->ownsData);
}

TEST(PrimitiveClasses, ConstructFromArgumentList)
{
    EXPECT_EQ(type(Inspector::Int)->construct(ObjectList { wrap(5) })->toInteger(), 5);
    EXPECT_EQ(type(Inspector::Char)->construct(ObjectList { wrap("abc") })->toString(), "abc");
    EXPECT_EQ(type(Inspector::Double)->construct(ObjectList())->toString(), "0");
    const Class *ch = type(Inspector::Char);
    EXPECT_EQ(ch->construct(1, ObjectList { charArray("xyz", 3) }, nullptr)->toString(), "xyz");
    EXPECT_EQ(type(Inspector::Int64)->construct(2, ObjectList { wrap(-4) }, nullptr)->toInt64(), -4);
    EXPECT_FALSE(type(Inspector::Int)->construct(1, ObjectList { Inspector::self()->voidObject() }, nullptr));
    // The number is converted to a single character first, which has no NUL after it.
    Object::Ptr fromNumber = ch->construct(ObjectList { wrap(65) });
    ASSERT_TRUE(fromNumber);
    EXPECT_EQ(fromNumber->toString(), "A");
}

TEST(PrimitiveClasses, VoidAndUndefined)
{
    Object::Ptr v = Inspector::self()->voidObject();
    ASSERT_TRUE(v);
    EXPECT_NE(dynamic_cast<VexilObject_void *>(v.get()), nullptr);
    EXPECT_EQ(v->className(), "void");
    EXPECT_TRUE(v->isNull());
    EXPECT_EQ(v->numChildren(), 0);

    int x = 1;
    VexilTest::StderrCapture capture;
    EXPECT_FALSE(type(Inspector::Undefined)->wrap(&x, ObjectAttribute()));
    EXPECT_EQ(capture.text(), "Can't wrap object to undefined type\n");
    EXPECT_FALSE(type(Inspector::Int)->canConvertToInternal(type(Inspector::Void), false, false));
    EXPECT_FALSE(type(Inspector::Int)->canConvertToInternal(type(Inspector::Undefined), false, false));
}

// ---------------------------------------------------------------------------------------------------------
// Conversion matrix: one row per source and target; a null expectation means "not convertible".

struct ConversionRow
{
    const char *label;
    Object::Ptr (*make)();
    int target;
    bool targetIsPointer;
    const char *expected;
};

using I = Inspector;

const ConversionRow kConversionRows[] = {
    { "int_to_short_keeps_low_bits", [] { return anInt(70000); }, I::Short, false, "4464" },
    { "int_to_int64_sign_extends", [] { return anInt(-5); }, I::Int64, false, "-5" },
    { "short_to_long", [] { return owned<short>(I::Short, -3); }, I::Long, false, "-3" },
    { "int64_to_int_keeps_low_bits", [] { return anInt64(0x123456789LL); }, I::Int, false, "591751049" },
    { "long_to_short", [] { return owned<long>(I::Long, 0x123456789L); }, I::Short, false, "26505" },
    { "int_to_char_keeps_low_byte", [] { return anInt(321); }, I::Char, false, "A" },
    { "int_to_bool", [] { return anInt(7); }, I::Bool, false, "true" },
    { "zero_to_bool", [] { return anInt(0); }, I::Bool, false, "false" },
    { "int_to_double", [] { return anInt(3); }, I::Double, false, "3" },
    { "int64_to_text", [] { return anInt64(-9000000000LL); }, I::Char, true, "-9000000000" },
    { "bool_to_int", [] { return aBool(true); }, I::Int, false, "1" },
    { "bool_to_double", [] { return aBool(true); }, I::Double, false, "1" },
    { "bool_to_text", [] { return aBool(true); }, I::Char, true, "1" },
    { "false_to_text", [] { return aBool(false); }, I::Char, true, "0" },
    { "double_to_int_truncates", [] { return aDouble(-2.7); }, I::Int, false, "-2" },
    { "double_to_int64_truncates", [] { return aDouble(-2.7); }, I::Int64, false, "-2" },
    { "double_to_short", [] { return aDouble(70000.9); }, I::Short, false, "4464" },
    { "double_to_char", [] { return aDouble(65.7); }, I::Char, false, "A" },
    { "nan_is_true", [] { return aDouble(std::nan("")); }, I::Bool, false, "true" },
    { "double_zero_is_false", [] { return aDouble(0.0); }, I::Bool, false, "false" },
    { "double_to_text", [] { return aDouble(0.1); }, I::Char, true, "0.1" },
    { "large_double_to_text", [] { return aDouble(1234567.0); }, I::Char, true, "1.23457e+06" },
    { "char_to_text_gives_digits", [] { return aChar('A'); }, I::Char, true, "65" },
    { "char_is_signed", [] { return aChar(char(-1)); }, I::Int64, false, "-1" },
    { "char_to_double", [] { return aChar('A'); }, I::Double, false, "65" },
    { "char_array_reads_first_byte", [] { return charArray("AB", 2); }, I::Int, false, "65" },
    { "array_converts_first_element", [] { return ownedArray<int>(I::Int, { 9, 8 }, 2); }, I::Double, false,
      "9" },
    { "pointer_source_refused", [] { return owned<int>(I::Int, 1, 2); }, I::Int64, false, nullptr },
    { "text_source_refused", [] { return text("12"); }, I::Int, false, nullptr },
    { "pointer_target_must_be_char", [] { return anInt(1); }, I::Int, true, nullptr },
    { "no_conversion_to_void", [] { return anInt(1); }, I::Void, false, nullptr },
    { "no_conversion_to_undefined", [] { return aBool(true); }, I::Undefined, false, nullptr },
};

class PrimitiveConversion : public ::testing::TestWithParam<ConversionRow>
{
};

TEST_P(PrimitiveConversion, FollowsMatrix)
{
    const ConversionRow &row = GetParam();
    Object::Ptr source = row.make();
    const Class *cls = source->objectClass();
    const Class *target = type(row.target);
    const bool sourceIsPointer = (source->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
    const bool convertible = cls->canConvertToInternal(target, sourceIsPointer, row.targetIsPointer);
    EXPECT_EQ(convertible, row.expected != nullptr);

    Object::Ptr out = cls->convertToInternal(source, target, row.targetIsPointer);
    if (!row.expected) {
        EXPECT_FALSE(out);
        return;
    }
    ASSERT_TRUE(out);
    EXPECT_EQ(out->objectClass(), target);
    EXPECT_TRUE(out->ownsData);
    EXPECT_EQ(out->objectAttribute().flags, row.targetIsPointer ? 2u : 0u);
    EXPECT_EQ(out->toString(), QString::fromUtf8(row.expected));
}

INSTANTIATE_TEST_SUITE_P(Primitives, PrimitiveConversion, ::testing::ValuesIn(kConversionRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(PrimitiveConversion, ThroughClassSlots)
{
    Object::Ptr d = aDouble(2.5);
    const Class *text = type(Inspector::Char);
    ASSERT_TRUE(d->objectClass()->canConvertTo(text, false, true, nullptr));
    EXPECT_EQ(d->objectClass()->convertTo(d, text, true)->toString(), "2.5");
    EXPECT_FALSE(text->canConvertTo(type(Inspector::Int), true, false, nullptr));
}

// ---------------------------------------------------------------------------------------------------------
// Reading texts as numbers and truth values

struct TextRow
{
    const char *label;
    const char *text;
    int integer;
    bool boolean;
    double real;
};

const TextRow kTextRows[] = {
    { "letters", "abc", 0, false, 0.0 },     { "capitalised_true", "True", 0, true, 0.0 },
    { "upper_true", "TRUE", 0, true, 0.0 },  { "two", "2", 2, true, 2.0 },
    { "negative", "-12", -12, true, -12.0 }, { "word_false", "false", 0, false, 0.0 },
    { "yes", "yes", 0, false, 0.0 },         { "fraction", "1.5", 0, false, 1.5 },
    { "empty", "", 0, false, 0.0 },
};

class PrimitiveTextParsing : public ::testing::TestWithParam<TextRow>
{
};

TEST_P(PrimitiveTextParsing, ReadsText)
{
    const TextRow &row = GetParam();
    Object::Ptr t = text(row.text);
    EXPECT_EQ(t->toInteger(), row.integer);
    EXPECT_EQ(t->toInt64(), row.integer);
    EXPECT_EQ(t->toBoolean(), row.boolean);
    EXPECT_DOUBLE_EQ(t->toDouble(), row.real);

    Object::Ptr b = aBool(!row.boolean);
    b->fromString(QString::fromUtf8(row.text));
    EXPECT_EQ(b->toBoolean(), row.boolean);
}

INSTANTIATE_TEST_SUITE_P(Primitives, PrimitiveTextParsing, ::testing::ValuesIn(kTextRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(PrimitiveChar, ShapesReadDifferently)
{
    Object::Ptr single = aChar('A');
    EXPECT_EQ(single->toString(), "A");
    EXPECT_EQ(single->toInteger(), 65);
    EXPECT_TRUE(single->toBoolean());

    Object::Ptr arr = charArray("42\0x", 4);
    EXPECT_EQ(arr->toString(), "42");
    EXPECT_EQ(arr->toInteger(), 42);

    // An array of texts answers its element count, a count of 0 counting as 1.
    Object::Ptr list = texts({ "7", "8", "9" });
    EXPECT_EQ(list->toInteger(), 3);
    EXPECT_TRUE(list->toBoolean());
    char **one = new char *[1] { qstrdup("x") };
    Object::Ptr zero = type(Inspector::Char)->wrap(one, ObjectAttribute(18, 0));
    zero->ownsData = true;
    EXPECT_EQ(zero->toInteger(), 1);
    EXPECT_EQ(zero->toString(), "[x]");

    Object::Ptr utf8 = text("h\xc3\xa9");
    EXPECT_EQ(utf8->toString(), QString::fromUtf8("h\xc3\xa9"));
    Object::Ptr nullText = type(Inspector::Char)->wrap(nullptr, ObjectAttribute(2));
    EXPECT_EQ(nullText->toString(), "");
}

// ---------------------------------------------------------------------------------------------------------
// Text and debug forms

TEST(PrimitiveText, SingleValuesAndArrays)
{
    EXPECT_EQ(aDouble(0.1)->toString(), "0.1");
    EXPECT_EQ(aDouble(1234567.0)->toString(), "1.23457e+06");
    EXPECT_EQ(aBool(true)->toString(), "true");
    EXPECT_EQ(anInt64(-9000000000LL)->toString(), "-9000000000");

    Object::Ptr ints = ownedArray<int>(Inspector::Int, { 1, 2, 3 }, 3);
    EXPECT_EQ(ints->toString(), "[ 1, 2, 3 ]");
    EXPECT_EQ(ints->toDebugString(), "[ 1 : int, 2 : int, 3 : int ]");
    EXPECT_EQ(ownedArray<bool>(Inspector::Bool, { true, false }, 2)->toString(), "[ true, false ]");
    // A count of 0 (or 1) is one element, written alone.
    EXPECT_EQ(ownedArray<int>(Inspector::Int, { 5 }, 0)->toString(), "5");
    EXPECT_EQ(texts({ "a", "b" })->toString(), "[a, b]");
}

TEST(PrimitiveText, DebugFormNamesTheType)
{
    EXPECT_EQ(owned<short>(Inspector::Short, 5)->toDebugString(), "5 : short");
    EXPECT_EQ(owned<long>(Inspector::Long, 5)->toDebugString(), "5 : long");
    EXPECT_EQ(anInt64(5)->toDebugString(), "5 : int64");
    EXPECT_EQ(aDouble(0.5)->toDebugString(), "0.5 : double");
    EXPECT_EQ(aBool(false)->toDebugString(), "false : bool");
    EXPECT_EQ(aChar('x')->toDebugString(), "x : char");
    EXPECT_EQ(text("abc")->toDebugString(), "abc : char");
    EXPECT_EQ(charArray("ab", 2)->toDebugString(), "ab : char[]");
    EXPECT_EQ(texts({ "a", "b" })->toDebugString(), "[a, b] : char*[]");
    EXPECT_EQ(type(Inspector::Int)->wrap(nullptr, ObjectAttribute())->toDebugString(), "0 : int");
    EXPECT_EQ(type(Inspector::Int)->wrap(nullptr, ObjectAttribute())->toString(), "<null>");
}

// ---------------------------------------------------------------------------------------------------------
// Writing values

TEST(PrimitiveFrom, NumbersFollowTheMatrix)
{
    Object::Ptr s = owned<short>(Inspector::Short, 0);
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
    EXPECT_EQ(l->toInteger(), int(9000000000LL & 0xffffffff));
    l->fromInt64(-1);
    EXPECT_EQ(l->toInt64(), -1);
    Object::Ptr d = aDouble(1.0);
    d->fromString(QStringLiteral("2.5"));
    EXPECT_EQ(d->toDouble(), 2.5);
    d->fromBoolean(true);
    EXPECT_EQ(d->toString(), "1");
    Object::Ptr b = aBool(false);
    b->fromInt64(1LL << 40);
    EXPECT_TRUE(b->toBoolean());
    EXPECT_EQ(b->toInt64(), 1);
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
    c->fromString(QStringLiteral("66"));
    EXPECT_EQ(c->toString(), "B");

    Object::Ptr arr = charArray("....", 4);
    arr->fromString(QStringLiteral("abcdef"));
    EXPECT_EQ(arr->toString(), "abc");

    Object::Ptr list = texts({ "a", "b" });
    list->fromString(QStringLiteral("x"));
    EXPECT_EQ(list->toString(), "[x, b]");
}

// ---------------------------------------------------------------------------------------------------------
// Ownership: storage is freed once, by the class that wrapped it, and foreign storage never.

TEST(PrimitiveOwnership, ForeignStorageIsWrittenButNotFreed)
{
    int value = 5;
    {
        Object::Ptr o = type(Inspector::Int)->wrap(&value, ObjectAttribute());
        o->fromInteger(6);
        EXPECT_FALSE(o->ownsData);
    }
    EXPECT_EQ(value, 6);

    char buffer[] = "stack";
    {
        Object::Ptr t = type(Inspector::Char)->wrap(buffer, ObjectAttribute(ObjectAttribute::Pointer));
        t->fromString(QStringLiteral("heap"));
        EXPECT_EQ(t->toString(), "heap");
        EXPECT_TRUE(t->ownsData); // the replacement is the object's own copy
    }
    EXPECT_STREQ(buffer, "stack");
}

TEST(PrimitiveOwnership, NullStorageGetsItsOwn)
{
    Object::Ptr o = type(Inspector::Double)->wrap(nullptr, ObjectAttribute());
    o->fromDouble(1.5);
    EXPECT_FALSE(o->isNull());
    EXPECT_TRUE(o->ownsData);
    EXPECT_EQ(o->toDouble(), 1.5);

    int value = 1;
    Object::Ptr dead = type(Inspector::Int)->wrap(&value, ObjectAttribute());
    dead->invalidate();
    dead->fromInteger(3);
    EXPECT_TRUE(dead->isNull());
}

TEST(PrimitiveOwnership, CastKeepsTheStorageType)
{
    Object::Ptr o = anInt(70000);
    o->castTo(type(Inspector::Short));
    EXPECT_EQ(o->className(), "short");
    EXPECT_EQ(o->toInteger(), 70000); // still an int underneath, and freed as one
}

TEST(PrimitiveOwnership, InspectorValuesAreFreed)
{
    EXPECT_TRUE(Inspector::self()->createPrimitive(1.5)->ownsData);
    EXPECT_EQ(Inspector::self()->createPrimitive(true)->toString(), "true");
    EXPECT_EQ(Inspector::self()->createPrimitive(7L)->toDebugString(), "7 : long");
    EXPECT_EQ(Inspector::self()->createPrimitive(QStringList { "a", "b" })->toString(), "[a, b]");
}

// ---------------------------------------------------------------------------------------------------------
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

void checkGolden(const char *file, const std::vector<Object::Ptr> &written,
                 const std::vector<Object::Ptr> &blank, const std::vector<const char *> &expected)
{
    const QByteArray bytes = golden(file);
    EXPECT_EQ(streamed(written), bytes) << file;
    QDataStream in(bytes);
    for (const Object::Ptr &o : blank)
        o->objectFromStream(in);
    EXPECT_EQ(in.status(), QDataStream::Ok) << file;
    EXPECT_TRUE(in.atEnd()) << file;
    for (size_t i = 0; i < blank.size(); ++i)
        EXPECT_EQ(blank[i]->toString(), QString::fromUtf8(expected[i])) << file << " #" << i;
}

} // namespace

TEST(PrimitiveStream, Short)
{
    checkGolden("primitive_short.bin",
                { owned<short>(Inspector::Short, -2), ownedArray<short>(Inspector::Short, { 7, -32768 }, 2) },
                { owned<short>(Inspector::Short, 0), ownedArray<short>(Inspector::Short, { 0, 0 }, 2) },
                { "-2", "[ 7, -32768 ]" });
}

TEST(PrimitiveStream, Int)
{
    checkGolden("primitive_int.bin",
                { anInt(70000), ownedArray<int>(Inspector::Int, { 1, -1, 2147483647 }, 3) },
                { anInt(0), ownedArray<int>(Inspector::Int, { 0, 0, 0 }, 3) },
                { "70000", "[ 1, -1, 2147483647 ]" });
}

TEST(PrimitiveStream, LongLosesItsHighHalf)
{
    checkGolden("primitive_long.bin",
                { owned<long>(Inspector::Long, 0x100000005L), owned<long>(Inspector::Long, -2) },
                { owned<long>(Inspector::Long, 9), owned<long>(Inspector::Long, 9) }, { "5", "-2" });
}

TEST(PrimitiveStream, Bool)
{
    checkGolden("primitive_bool.bin",
                { aBool(true), ownedArray<bool>(Inspector::Bool, { false, true }, 2) },
                { aBool(false), ownedArray<bool>(Inspector::Bool, { true, false }, 2) },
                { "true", "[ false, true ]" });
}

TEST(PrimitiveStream, CharInAllShapes)
{
    checkGolden("primitive_char.bin",
                { aChar('A'), charArray("hi", 3), text("ab"), texts({ "a", nullptr }) },
                { aChar(0), charArray("\0\0\0", 3), text("old"), texts({ "x", "y" }) },
                { "A", "hi", "ab", "[a, ]" });
}

TEST(PrimitiveStream, Double)
{
    checkGolden("primitive_double.bin",
                { aDouble(0.1), aDouble(-2.5) },
                { aDouble(0), aDouble(0) }, { "0.1", "-2.5" });
}

TEST(PrimitiveStream, Int64)
{
    checkGolden("primitive_int64.bin", { anInt64(-9000000000LL) },
                { anInt64(0) }, { "-9000000000" });
}

TEST(PrimitiveStream, ShortStreamsLeaveTheValue)
{
    Object::Ptr i = anInt(9);
    QDataStream in1(QByteArray("\x00\x01", 2));
    i->objectFromStream(in1);
    EXPECT_NE(in1.status(), QDataStream::Ok);
    EXPECT_EQ(i->toInteger(), 9);

    // A length of about 2 GB followed by three bytes must fail without taking the memory.
    Object::Ptr t = text("old");
    QDataStream in2(QByteArray("\x7f\xff\xff\xff" "abc", 7));
    t->objectFromStream(in2);
    EXPECT_NE(in2.status(), QDataStream::Ok);
    EXPECT_EQ(t->toString(), "old");

    Object::Ptr list = texts({ "x", "y" });
    QDataStream in3(QByteArray("\x00\x00\x00\x02" "a\0" "\x00\x00\x00\x05" "bc", 12));
    list->objectFromStream(in3);
    EXPECT_NE(in3.status(), QDataStream::Ok);
    EXPECT_EQ(list->toString(), "[x, y]");
}

TEST(PrimitiveStream, NullTextRoundTrips)
{
    Object::Ptr empty = type(Inspector::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer));
    const QByteArray bytes = streamed({ empty });
    EXPECT_EQ(bytes, QByteArray(4, '\0'));
    Object::Ptr t = text("old");
    QDataStream in(bytes);
    t->objectFromStream(in);
    EXPECT_TRUE(t->isNull());
}

// ---------------------------------------------------------------------------------------------------------
// Comparison

TEST(PrimitiveCompare, NumbersByFirstElement)
{
    EXPECT_EQ(wrap(5)->compare(wrap(5)), 0);
    EXPECT_LT(wrap(5)->compare(wrap(7)), 0);
    EXPECT_GT(wrap(7)->compare(wrap(5)), 0);
    Object::Ptr oneTwo = ownedArray<int>(Inspector::Int, { 1, 2 }, 2);
    EXPECT_EQ(oneTwo->compare(ownedArray<int>(Inspector::Int, { 1, 3 }, 2)), 0);
    Object::Ptr nan = aDouble(std::nan(""));
    EXPECT_NE(nan->compare(aDouble(std::nan(""))), 0);
    Object::Ptr none = type(Inspector::Int)->wrap(nullptr, ObjectAttribute());
    EXPECT_EQ(none->compare(type(Inspector::Int)->wrap(nullptr, ObjectAttribute())), 0);
    EXPECT_NE(none->compare(wrap(0)), 0);
    // Different classes are not equal by value.
    EXPECT_NE(wrap(1)->compare(anInt64(1)), 0);
}

TEST(PrimitiveCompare, TextsByBytes)
{
    EXPECT_EQ(text("abc")->compare(text("abc")), 0);
    EXPECT_NE(text("abc")->compare(text("abd")), 0);
    Object::Ptr nullText = type(Inspector::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer));
    Object::Ptr otherNull = type(Inspector::Char)->wrap(nullptr, ObjectAttribute(ObjectAttribute::Pointer));
    EXPECT_EQ(nullText->compare(otherNull), 0);
    EXPECT_NE(nullText->compare(text("")), 0);
    EXPECT_EQ(texts({ "a", "b" })->compare(texts({ "a", "b" })), 0);
}

// ---------------------------------------------------------------------------------------------------------
// wrap / unwrap

TEST(PrimitiveWrap, RoundTrips)
{
    Object::Ptr i = wrap(42);
    EXPECT_EQ(i->className(), "int");
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
    EXPECT_EQ(wrap(1)->numChildren(), 0);
}
