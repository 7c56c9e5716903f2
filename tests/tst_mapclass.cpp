// tst_mapclass.cpp: the map class through its members (as scripts use it) and its C++ helpers.
#include "testsupport.h"

#include "arrayclass.h"
#include "inspector.h"
#include "mapclass.h"
#include "primitives.h"

using namespace Vexil;

namespace {

typedef std::map<QString, Object::Ptr> Entries;

Inspector *insp()
{
    return Inspector::self();
}

const Class *mapClass()
{
    // The helpers never create the Inspector themselves.
    Inspector::self();
    return MapClass::registeredClass();
}

Object::Ptr text(const char *s)
{
    return insp()->createPrimitive(s);
}

Object::Ptr callAt(const Object::Ptr &map, const Object::Ptr &key)
{
    return mapClass()->methods(QStringLiteral("at")).invoke(map, ObjectList { key });
}

Object::Ptr callInsert(const Object::Ptr &map, const Object::Ptr &key, const Object::Ptr &value)
{
    return mapClass()->methods(QStringLiteral("insert")).invoke(map, ObjectList { key, value });
}

Object::Ptr get(const Object::Ptr &map, const char *property)
{
    return mapClass()->property(QString::fromLatin1(property))->get(map);
}

QStringList keysOf(const Object::Ptr &map)
{
    QStringList keys;
    unwrap(get(map, "keys"), &keys);
    return keys;
}

int s_liveProbes = 0;

class Probe : public Object
{
public:
    explicit Probe(const Class *cls)
        : Object(this, cls, ObjectAttribute())
    {
        ++s_liveProbes;
    }
    ~Probe() override { --s_liveProbes; }
};

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
    const Method *at = cls->method(0);
    const Method *insert = cls->method(1);
    ASSERT_TRUE(at && insert);
    EXPECT_EQ(at->name(), "at");
    ASSERT_EQ(at->signature().count(), 1);
    EXPECT_EQ(at->signature().at(0).name(), "i");
    EXPECT_EQ(at->signature().at(0).type(), insp()->type(Inspector::Char));
    EXPECT_EQ(at->signature().at(0).flags(), 2u);
    EXPECT_EQ(at->returnArgument().type(), insp()->type(Inspector::Void));
    EXPECT_EQ(insert->name(), "insert");
    ASSERT_EQ(insert->signature().count(), 2);
    EXPECT_EQ(insert->signature().at(0).flags(), 2u);
    EXPECT_EQ(insert->signature().at(1).name(), "");
    EXPECT_EQ(insert->signature().at(1).type(), insp()->type(Inspector::Void));

    ASSERT_EQ(cls->numProperties(), 2);
    EXPECT_EQ(cls->property(0)->name(), "length");
    EXPECT_EQ(cls->property(0)->type(), insp()->type(Inspector::Int64));
    EXPECT_EQ(cls->property(0)->flags(), 1u);
    EXPECT_EQ(cls->property(1)->name(), "keys");
    EXPECT_EQ(cls->property(1)->type(), ArrayClass::registeredClass());
    EXPECT_EQ(cls->property(1)->flags(), 1u);

    EXPECT_EQ(cls->createMethod(1), cls->method(1));
    EXPECT_EQ(cls->createProperty(1), cls->property(1));
    EXPECT_EQ(cls->createProperty(2), nullptr);

    const Argument arg = MapClass::mapClassArg("options");
    EXPECT_EQ(arg.name(), "options");
    EXPECT_EQ(arg.type(), cls);
}

TEST(MapClass, ScriptInsertsAndReads)
{
    Object::Ptr map = mapClass()->construct(ObjectList());
    ASSERT_TRUE(map);
    EXPECT_EQ(map->objectAttribute().flags, 2u);
    EXPECT_TRUE(map->ownsData);
    EXPECT_EQ(get(map, "length")->toInt64(), 0);

    Object::Ptr x = insp()->createPrimitive(1);
    Object::Ptr y = insp()->createPrimitive(2);
    EXPECT_EQ(callInsert(map, text("b"), x), insp()->voidObject());
    callInsert(map, text("a"), y);
    EXPECT_EQ(get(map, "length")->toInt64(), 2);
    EXPECT_EQ(get(map, "length")->objectClass(), insp()->type(Inspector::Int64));
    EXPECT_EQ(callAt(map, text("b")), x);
    EXPECT_EQ(callAt(map, text("a")), y);

    // A number is taken as a key through its text form.
    callInsert(map, insp()->createPrimitive(5), x);
    EXPECT_EQ(callAt(map, text("5")), x);
    EXPECT_EQ(insp()->lastError(), "");
}

TEST(MapClass, FirstInsertOfAKeyWins)
{
    Object::Ptr map = mapClass()->constructor(0)->construct(ObjectList());
    Object::Ptr x = text("x");
    Object::Ptr y = text("y");
    callInsert(map, text("a"), x);
    callInsert(map, text("a"), y);
    EXPECT_EQ(callAt(map, text("a")), x);
    EXPECT_EQ(get(map, "length")->toInt64(), 1);
}

TEST(MapClass, KeysComeInKeyOrder)
{
    insp();     // the helpers never create the Inspector themselves
    Object::Ptr map = MapClass::wrapObject({});
    for (const char *key : { "b", "a", "B", "ab" })
        callInsert(map, text(key), insp()->voidObject());
    const Object::Ptr keys = get(map, "keys");
    ASSERT_TRUE(keys);
    EXPECT_EQ(keys->objectClass(), ArrayClass::registeredClass());
    // Case-sensitive, by UTF-16 code unit: capitals first.
    EXPECT_EQ(keysOf(map), (QStringList { "B", "a", "ab", "b" }));
    const std::vector<Object::Ptr> keyObjects = ArrayClass::unwrapObject(keys);
    ASSERT_EQ(keyObjects.size(), 4u);
    EXPECT_EQ(keyObjects[0]->objectClass(), insp()->type(Inspector::Char));

    EXPECT_TRUE(keysOf(MapClass::wrapObject({})).isEmpty());
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
    insp()->lastError();
    EXPECT_EQ(insert->invoke(map, ObjectList { text("k"), Object::Ptr() }), nullptr);
    EXPECT_EQ(insert->invoke(text("not a map"), ObjectList { text("k"), text("v") }), nullptr);
    EXPECT_EQ(get(map, "length")->toInt64(), 1);

    EXPECT_EQ(mapClass()->invoke(2, map, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(mapClass()->construct(1, ObjectList(), nullptr), nullptr);
    EXPECT_EQ(get(mapClass()->createNull(), "keys"), nullptr);
    EXPECT_EQ(insp()->lastError(), "Cannot access property keys on null object reference");
}

TEST(MapClass, ValuesLiveAsLongAsTheMapHoldsThem)
{
    static const Class *probeClass = new Class("MapTestProbe", true);
    s_liveProbes = 0;
    {
        Object::Ptr map = mapClass()->construct(ObjectList());
        callInsert(map, text("p"), Object::Ptr(new Probe(probeClass)));
        // Refused by first-wins: the second probe goes with its last reference.
        callInsert(map, text("p"), Object::Ptr(new Probe(probeClass)));
        EXPECT_EQ(s_liveProbes, 1);
        Object::Ptr keys = get(map, "keys");
        map = Object::Ptr();
        EXPECT_EQ(s_liveProbes, 0);
    }
}

TEST(MapClass, WrapAndUnwrapNativeMaps)
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
    auto *internal = static_cast<Entries *>(MapClass::unwrapInternal(map));
    ASSERT_NE(internal, nullptr);
    (*internal)[QStringLiteral("two")] = one;
    EXPECT_EQ(get(map, "length")->toInt64(), 2);

    EXPECT_TRUE(MapClass::unwrapObject(ArrayClass::wrapObject({ one })).empty());
    EXPECT_TRUE(MapClass::unwrapObject(Object::Ptr()).empty());
}

TEST(MapClass, RemoteHelpersRoundTrip)
{
    Object::Ptr one = insp()->createPrimitive(1);
    Object::Ptr nested = ArrayClass::wrapObject({ one });
    const Entries entries { { QStringLiteral("z"), one }, { QString::fromUtf8("\xC3\xA9"), nested } };
    Object::Ptr map = MapClass::createRemoteObject(entries);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->objectClass(), mapClass());
    EXPECT_EQ(MapClass::unwrapObject(map), entries);
    EXPECT_EQ(MapClass::unwrapRemoteObject(map), entries);

    EXPECT_EQ(get(MapClass::createRemoteObject({}), "length")->toInt64(), 0);
    EXPECT_TRUE(MapClass::unwrapRemoteObject(MapClass::wrapObject({})).empty());
    EXPECT_TRUE(MapClass::unwrapRemoteObject(one).empty());
    EXPECT_TRUE(MapClass::unwrapRemoteObject(Object::Ptr()).empty());
}
