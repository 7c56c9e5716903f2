// tst_mapclass.cpp: the map class through its members (as scripts use it) and its C++ helpers.
#include "testsupport.h"

#include "arrayclass.h"
#include "inspector.h"
#include "mapclass.h"
#include "primitives.h"

using namespace Vexil;

namespace {

typedef std::map<QString, Object::Ptr> Entries;

using VexilTest::CountedObject;
using VexilTest::insp;
// The helpers never create the Inspector themselves.
const Class *mapClass()
{
    return insp() ? MapClass::registeredClass() : nullptr;
}
Object::Ptr text(const char *s)
{
    return insp()->createPrimitive(s);
}

Object::Ptr callAt(const Object::Ptr &map, const Object::Ptr &key)
{
    return VexilTest::callMethod(map, "at", { key });
}

Object::Ptr callInsert(const Object::Ptr &map, const Object::Ptr &key, const Object::Ptr &value)
{
    return VexilTest::callMethod(map, "insert", { key, value });
}

// Through the map class itself, so that a null object of it reaches the property.
Object::Ptr get(const Object::Ptr &map, const char *property)
{
    return mapClass()->property(QString::fromLatin1(property))->get(map);
}

} // namespace

TEST(MapClass, RegisteredWithItsMembers)
{
    const Class *cls = mapClass();
    ASSERT_NE(cls, nullptr);
    EXPECT_STREQ(cls->name(), "Vexil_Map");
    EXPECT_EQ(cls->nameSpace(), insp()->globalNamespace());
    ASSERT_EQ(cls->numConstructors(), 1);
    EXPECT_EQ(cls->constructor(0)->signature().count(), 0);
    ASSERT_EQ(cls->numMethods(), 2);
    EXPECT_EQ(cls->method(0)->toString(), "void at(char * i)");
    EXPECT_EQ(cls->method(1)->toString(), "void insert(char * i, void)");
    ASSERT_EQ(cls->numProperties(), 2);
    EXPECT_EQ(cls->property(0)->name(), "length");
    EXPECT_EQ(cls->property(0)->type(), insp()->type(Inspector::Int64));
    EXPECT_EQ(cls->property(0)->flags(), 1u);
    EXPECT_EQ(cls->property(1)->name(), "keys");
    EXPECT_EQ(cls->property(1)->type(), ArrayClass::registeredClass());
    EXPECT_EQ(cls->property(1)->flags(), 1u);
    EXPECT_EQ(cls->createProperty(2), nullptr);
}

TEST(MapClass, ScriptInsertsAndReadsFirstInsertWins)
{
    Object::Ptr map = mapClass()->construct(ObjectList());
    ASSERT_TRUE(map);
    EXPECT_EQ(map->objectAttribute().flags, 2u);
    EXPECT_TRUE(map->ownsData);
    EXPECT_EQ(get(map, "length")->toInt64(), 0);
    Object::Ptr x = text("x");
    Object::Ptr y = text("y");
    EXPECT_EQ(callInsert(map, text("a"), x), insp()->voidObject());
    EXPECT_EQ(callInsert(map, text("a"), y), insp()->voidObject());
    EXPECT_EQ(callAt(map, text("a")), x);
    EXPECT_EQ(get(map, "length")->toInt64(), 1);
    EXPECT_EQ(get(map, "length")->objectClass(), insp()->type(Inspector::Int64));

    // A number is taken as a key through its text form.
    callInsert(map, insp()->createPrimitive(5), y);
    EXPECT_EQ(callAt(map, text("5")), y);
    EXPECT_EQ(insp()->lastError(), "");

    // A refused value goes with its last reference; the kept one goes with the map.
    static const Class *probeClass = new Class("MapTestProbe", true);
    CountedObject::instances = 0;
    callInsert(map, text("p"), Object::Ptr(new CountedObject(probeClass)));
    callInsert(map, text("p"), Object::Ptr(new CountedObject(probeClass)));
    EXPECT_EQ(CountedObject::instances, 1);
    map = Object::Ptr();
    EXPECT_EQ(CountedObject::instances, 0);
}

TEST(MapClass, KeysComeInKeyOrder)
{
    Object::Ptr map = mapClass()->construct(ObjectList());
    for (const char *key : { "b", "a", "B", "ab" })
        callInsert(map, text(key), insp()->voidObject());
    const Object::Ptr keys = get(map, "keys");
    ASSERT_TRUE(keys);
    EXPECT_EQ(keys->objectClass(), ArrayClass::registeredClass());
    EXPECT_EQ(ArrayClass::unwrapObject(keys).at(0)->objectClass(), insp()->type(Inspector::Char));
    // Case-sensitive, by UTF-16 code unit: capitals first.
    QStringList texts;
    unwrap(keys, &texts);
    EXPECT_EQ(texts, (QStringList { "B", "a", "ab", "b" }));
}

TEST(MapClass, MissingKeysAndBadCalls)
{
    Object::Ptr map = MapClass::wrapObject({ { QStringLiteral("a"), text("x") } });
    EXPECT_EQ(callAt(map, text("A")), nullptr);
    EXPECT_EQ(insp()->lastError(), "Map key not found");
    EXPECT_EQ(insp()->lastError(), "");

    const Method *insert = mapClass()->method(1);
    {
        VexilTest::StderrCapture capture;
        EXPECT_EQ(insert->invoke(map, ObjectList { text("k") }), nullptr);
        EXPECT_EQ(capture.text(), "Class::invoke Vexil_Map::1: 2 arguments expected, 1 given\n");
    }
    EXPECT_EQ(insert->invoke(map, ObjectList { text("k"), Object::Ptr() }), nullptr);
    EXPECT_EQ(insert->invoke(text("not a map"), ObjectList { text("k"), text("v") }), nullptr);
    EXPECT_EQ(get(map, "length")->toInt64(), 1);
    EXPECT_EQ(mapClass()->invoke(2, map, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(mapClass()->construct(1, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(get(mapClass()->createNull(), "keys"), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot access property keys on null object reference");
}

TEST(MapClass, NativeAndRemoteHelpers)
{
    Object::Ptr one = insp()->createPrimitive(1);
    Entries native { { QStringLiteral("one"), one } };
    Object::Ptr map = MapClass::wrapObject(native);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->objectClass(), mapClass());
    EXPECT_EQ(map->objectAttribute().flags, 2u);
    EXPECT_TRUE(map->ownsData);
    native.clear();
    EXPECT_EQ(MapClass::unwrapObject(map), (Entries { { QStringLiteral("one"), one } }));
    (*static_cast<Entries *>(MapClass::unwrapInternal(map)))[QStringLiteral("two")] = one;
    EXPECT_EQ(get(map, "length")->toInt64(), 2);
    EXPECT_TRUE(MapClass::unwrapObject(ArrayClass::wrapObject({ one })).empty());

    const Entries entries { { QStringLiteral("z"), one },
                            { QString::fromUtf8("\xC3\xA9"), ArrayClass::wrapObject({ one }) } };
    Object::Ptr remote = MapClass::createRemoteObject(entries);
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->objectClass(), mapClass());
    EXPECT_EQ(MapClass::unwrapObject(remote), entries);
    EXPECT_EQ(MapClass::unwrapRemoteObject(remote), entries);
    EXPECT_EQ(get(MapClass::createRemoteObject({}), "length")->toInt64(), 0);
    EXPECT_TRUE(MapClass::unwrapRemoteObject(one).empty());
    EXPECT_TRUE(MapClass::unwrapRemoteObject(Object::Ptr()).empty());
}
