// tst_eventdata.cpp: recorded event data: records, argument trees, debug text, stream form and bad streams.
#include "testsupport.h"

#include "inspector.h"
#include "object.h"

#include <QIODevice>
#include <QDataStream>
#include <QTime>

#include <ctime>

#include <functional>
#include <memory>
#include <vector>

using namespace Vexil;
using VexilTest::insp;
using VexilTest::primitive;

namespace {

// A zone half an hour off a whole-hour offset, so time stamps that ignore the local zone are caught.
const bool s_zoneSet = [] {
    qputenv("TZ", "XST-5:30");
    tzset();
    return true;
}();

struct PropDef
{
    const char *name;
    const Class *type;
    const Enum *enumeration;
    PropertyDeclaration::ReadFunction read;
    unsigned int flags;
};

// A registered class (the Inspector owns it) with read-function properties and optional conversion hooks.
class TestClass : public VexilTest::ChainClass
{
public:
    using ChainClass::ChainClass;

    void setProperties(std::vector<PropDef> defs)
    {
        m_defs = std::move(defs);
        setNumProperties(int(m_defs.size()));
    }

    Property *createProperty(int index) const override
    {
        const PropDef &def = m_defs.at(size_t(index));
        auto *decl = new PropertyDeclaration(this, Argument(def.type, 0, 0, def.enumeration),
                                             QString::fromLatin1(def.name), def.flags, def.read, nullptr);
        return new Property(decl, this, index, true);
    }

private:
    std::vector<PropDef> m_defs;
};

Object::Ptr wrapData(const Class *cls, void *data)
{
    return cls->wrap(data, ObjectAttribute());
}

template <class Streamable>
QByteArray bytesOf(const Streamable &item)
{
    return VexilTest::streamBytes([&](QDataStream &out) { item.writeObject(out); });
}

// Hex with blanks for readability; fromHex skips them.
QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

void expectBlankRecord(const EventData &rec)
{
    EXPECT_EQ(rec.type, 0);
    EXPECT_TRUE(rec.eventName.isNull());
    EXPECT_TRUE(rec.methodName.isNull());
    EXPECT_TRUE(rec.objectId.isNull());
    EXPECT_EQ(rec.arguments.size(), 0u);
    EXPECT_TRUE(rec.timeStamp.isNull());
    EXPECT_TRUE(rec.extraText.isNull());
    EXPECT_TRUE(rec.argumentTexts.isEmpty());
    EXPECT_EQ(rec.extraValue, -1);
    EXPECT_TRUE(rec.itemText.isNull());
}

void expectBlankArg(const EventDataArg &arg)
{
    EXPECT_EQ(arg.kind, 0);
    EXPECT_TRUE(arg.name.isNull());
    EXPECT_EQ(arg.classId, -1);
    EXPECT_TRUE(arg.value.isNull());
    EXPECT_TRUE(arg.enumName.isNull());
    EXPECT_EQ(arg.typeId, -1);
    EXPECT_EQ(arg.args().size(), 0u);
    EXPECT_TRUE(arg.keys.isEmpty());
}

// A chain of \p levels objects nested in each other around one plain leaf.
QByteArray nestedArgBytes(int levels)
{
    QByteArray bytes;
    const QByteArray level = hex("ffffffff 00000000 00000001 00000001");
    bytes.reserve(level.size() * levels + 20);
    for (int i = 0; i < levels; ++i)
        bytes += level;
    bytes += hex("ffffffff 00000000 00000000 ffffffff 00000000");
    return bytes;
}

int countArgs(const EventDataArg &arg)
{
    int n = 1;
    for (const EventDataArg &sub : arg.args())
        n += countArgs(sub);
    return n;
}

} // namespace

// FVector and records

TEST(FVector, ResizeKeepsLeadingElementsAndCopiesAreDeep)
{
    FVector<QString> v;
    EXPECT_EQ(v.begin(), v.end());
    v.resize(2);
    v[0] = QStringLiteral("a");
    v[1] = QStringLiteral("b");
    v.resize(3);
    ASSERT_EQ(v.size(), 3u);
    EXPECT_EQ(v[1], QStringLiteral("b"));
    EXPECT_TRUE(v[2].isNull());
    v.resize(1);
    ASSERT_EQ(v.size(), 1u);
    EXPECT_EQ(v[0], QStringLiteral("a"));
    FVector<QString> copy(v);
    copy[0] = QStringLiteral("changed");
    EXPECT_EQ(v[0], QStringLiteral("a"));
    const FVector<QString> &alias = copy;
    copy = alias; // self-assignment keeps the elements
    v = copy;
    EXPECT_EQ(v[0], QStringLiteral("changed"));
}

TEST(EventData, IndexesOrderingAndTimeStamps)
{
    EventData a;
    EventData b = EventData::fromComment(QStringLiteral("c"));
    EventData c(QStringLiteral("f"), QStringList(), QString());
    EXPECT_EQ(b.index, a.index + 1);
    EXPECT_EQ(c.index, b.index + 1);
    EXPECT_FALSE(a == b);
    EventData copy = b;
    copy.objectId = QStringLiteral("other");
    EXPECT_TRUE(copy == b); // equality is identity of the record, not of its fields
    EXPECT_EQ(a.extraValue, -1);
    EXPECT_TRUE(a.extraText.isEmpty());

    // Equal stamps order by index; an earlier stamp goes first whatever the index.
    a.timeStamp = b.timeStamp = QTime(12, 0);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < a);
    b.timeStamp = QTime(11, 59, 59, 999);
    EXPECT_TRUE(b < a);
    c.timeStamp = QTime();
    EXPECT_TRUE(c < b);

    // The stamp is the local time of day, as QTime tells it.
    const QTime before = QTime::currentTime();
    c.createTimeStamp();
    const QTime after = QTime::currentTime();
    ASSERT_TRUE(c.timeStamp.isValid());
    const int day = 86400000;
    EXPECT_LE((before.msecsTo(c.timeStamp) + day) % day, 1000) << s_zoneSet;
    EXPECT_LE((c.timeStamp.msecsTo(after) + day) % day, 1000);
}

TEST(EventData, KindsAndNamesOfTheConstructors)
{
    EventData comment = EventData::fromComment(QStringLiteral("note"));
    EXPECT_EQ(comment.type, 2);
    EXPECT_EQ(comment.objectId, QStringLiteral("note"));
    EXPECT_EQ(EventData::applicationStarted().type, 4);

    EventData call(QStringLiteral("click"), QStringLiteral("w"), ObjectList { insp()->createPrimitive(3) });
    EXPECT_EQ(call.type, 1);
    EXPECT_EQ(call.methodName, QStringLiteral("click"));
    EXPECT_EQ(call.objectId, QStringLiteral("w"));
    ASSERT_EQ(call.arguments.size(), 1u);
    EXPECT_TRUE(call.arguments[0].name.isEmpty());
    EXPECT_EQ(call.arguments[0].value, QStringLiteral("3"));

    EventData function(QStringLiteral("sleep"), ObjectList { insp()->createPrimitive(0.5) },
                       QStringLiteral("ignored"));
    EXPECT_EQ(function.type, 3);
    EXPECT_EQ(function.methodName, QStringLiteral("sleep"));
    EXPECT_TRUE(function.objectId.isEmpty());
    ASSERT_EQ(function.arguments.size(), 1u);
    EXPECT_EQ(function.arguments[0].value, QStringLiteral("0.5"));

    EventData texts(QStringLiteral("type"), QStringList { QStringLiteral("a"), QStringLiteral("b") },
                    QString());
    EXPECT_EQ(texts.type, 3);
    EXPECT_EQ(texts.argumentTexts, (QStringList { QStringLiteral("a"), QStringLiteral("b") }));
    EXPECT_EQ(texts.arguments.size(), 0u);
}

TEST(EventData, MethodAndEventRecordsUseTheDeclarations)
{
    auto *widget = new TestClass("EvdWidget");
    Enum button(widget, QStringLiteral("Button"));
    button.addItem(QStringLiteral("Left"), 1);
    button.addItem(QStringLiteral("Right"), 2);
    const Argument none(primitive(Inspector::Void));
    const Signature sig(Argument(QStringLiteral("button"), primitive(Inspector::Int), 0, 0, &button),
                        Argument(QStringLiteral("times"), primitive(Inspector::Int)));
    Method click(widget, none, QStringLiteral("click"), sig, false, 0);
    const ObjectList args { insp()->createPrimitive(2), insp()->createPrimitive(5),
                            insp()->createPrimitive(9) };

    EventData onObject(&click, QStringLiteral("w"), args);
    EXPECT_EQ(onObject.type, 1);
    EXPECT_EQ(onObject.methodName, QStringLiteral("[findObject \"w\"] click"));
    EXPECT_TRUE(onObject.objectId.isEmpty());
    ASSERT_EQ(onObject.arguments.size(), 3u);
    EXPECT_EQ(onObject.arguments[0].name, QStringLiteral("button"));
    EXPECT_EQ(onObject.arguments[0].keys, QStringList { QStringLiteral("Right") });
    EXPECT_EQ(onObject.arguments[1].name, QStringLiteral("times"));
    EXPECT_EQ(onObject.arguments[1].value, QStringLiteral("5"));
    // A value past the declared parameters has no declaration.
    EXPECT_TRUE(onObject.arguments[2].name.isEmpty());
    EXPECT_EQ(onObject.arguments[2].value, QStringLiteral("9"));

    EventData asFunction(&click, args);
    EXPECT_EQ(asFunction.type, 3);
    EXPECT_EQ(asFunction.methodName, QStringLiteral("click"));
    EXPECT_EQ(asFunction.arguments.size(), 3u);

    Method global(insp()->globalClass(), none, QStringLiteral("waitFor"), Signature(), true, 0);
    EventData onGlobal(&global, QStringLiteral("w"), ObjectList());
    EXPECT_EQ(onGlobal.methodName, QStringLiteral("waitFor"));
    EXPECT_EQ(onGlobal.objectId, QStringLiteral("w"));

    Event clicked(widget, QStringLiteral("clicked"), Signature(sig.at(0)));
    EventData event(&clicked, QStringLiteral("w"), ObjectList { insp()->createPrimitive(1) });
    EXPECT_EQ(event.type, 0);
    EXPECT_EQ(event.eventName, QStringLiteral("clicked"));
    EXPECT_EQ(event.objectId, QStringLiteral("w"));
    ASSERT_EQ(event.arguments.size(), 1u);
    EXPECT_EQ(event.arguments[0].enumName, QStringLiteral("Button"));
    EXPECT_EQ(event.arguments[0].keys, QStringList { QStringLiteral("Left") });
}

TEST(EventData, DebugTextsAndDump)
{
    EventData call(QStringLiteral("click"), QStringLiteral("w"), ObjectList { insp()->createPrimitive(42) });
    EXPECT_EQ(call.toDebugString(),
              "Type method/function: methodName: 'click' objectId: 'w' numArguments: 1: [ 42 ]");
    EXPECT_EQ(EventData::fromComment(QStringLiteral("the text")).toDebugString(),
              "Type comment: objectId: 'the text' numArguments: 0: [ ]");
    EXPECT_EQ(EventData::applicationStarted().toDebugString(),
              "Type started: objectId: '' numArguments: 0: [ ]");
    EventData event;
    event.eventName = QStringLiteral("tap");
    event.objectId = QStringLiteral("list");
    event.itemText = QStringLiteral("Row 1");
    event.arguments.resize(2);
    event.arguments[0].value = QStringLiteral("a");
    event.arguments[1].value = QStringLiteral("b");
    EXPECT_EQ(event.toDebugString(),
              "Type event: eventName: 'tap' objectId: 'list', itemText = 'Row 1' numArguments: 2: [ a b ]");

    VexilTest::StderrCapture capture;
    dumpEventData(call);
    EXPECT_EQ(capture.text(),
              "Type method/function: methodName: 'click' objectId: 'w' numArguments: 1: [ 42 ]\n");
}

// Arguments

TEST(EventDataArg, PrimitiveValuesBecomeText)
{
    EventDataArg arg(QStringLiteral("p"), primitive(Inspector::Double));
    EXPECT_EQ(arg.classId, 5);
    EXPECT_EQ(arg.kind, 0);
    FVector<EventDataArg> subs(2);
    subs[1].name = QStringLiteral("second");
    arg.setArguments(subs);
    EXPECT_EQ(arg.kind, 1);
    subs[1].name = QStringLiteral("changed");
    EXPECT_EQ(arg.args()[1].name, QStringLiteral("second")); // copied, not shared

    EventDataArg d = EventData::createArgument(QStringLiteral("d"), nullptr, nullptr,
                                               insp()->createPrimitive(0.5));
    EXPECT_EQ(d.kind, 0);
    EXPECT_EQ(d.name, QStringLiteral("d"));
    EXPECT_EQ(d.value, QStringLiteral("0.5"));
    EXPECT_EQ(d.classId, 5);
    EXPECT_EQ(d.typeId, 5);
    EventDataArg t = EventData::createArgument(QString(), nullptr, nullptr, insp()->createPrimitive("abc"));
    EXPECT_EQ(t.value, QStringLiteral("abc"));
    EXPECT_EQ(t.typeId, 4);
    EXPECT_EQ(EventData::createArgument(QString(), nullptr, nullptr, insp()->createPrimitive(true)).value,
              "true");

    // An enumeration only applies to int values.
    Enum e(nullptr, QStringLiteral("E"));
    e.addItem(QStringLiteral("One"), 1);
    EventDataArg notInt = EventData::createArgument(QString(), nullptr, &e, insp()->createPrimitive(1.0));
    EXPECT_EQ(notInt.kind, 0);
    EXPECT_EQ(notInt.value, QStringLiteral("1"));

    EventDataArg missing = EventData::createArgument(QStringLiteral("m"), primitive(Inspector::Int), nullptr,
                                                     Object::Ptr());
    EXPECT_EQ(missing.kind, 0);
    EXPECT_EQ(missing.classId, 1);
    EXPECT_TRUE(missing.value.isEmpty());
}

TEST(EventDataArg, EnumerationKeys)
{
    Enum flags(nullptr, QStringLiteral("Flags"));
    for (const auto &item : std::vector<std::pair<const char *, int>> { { "None", 0 },
                                                                        { "A", 1 },
                                                                        { "B", 2 },
                                                                        { "Nothing", 0 },
                                                                        { "C", 4 } })
        flags.addItem(QString::fromLatin1(item.first), item.second);
    flags.setIsMask(true);
    struct Row
    {
        int n;
        QStringList keys;
    };
    const Row rows[] = {
        { 5, { QStringLiteral("A"), QStringLiteral("C") } },
        { 6, { QStringLiteral("B"), QStringLiteral("C") } },
        { 8, {} },
        { 9, {} },
        { 0, { QStringLiteral("None"), QStringLiteral("Nothing") } },
        { -1, {} },
    };
    for (const Row &row : rows) {
        EventDataArg arg = EventData::createArgument(QStringLiteral("f"), primitive(Inspector::Int), &flags,
                                                     insp()->createPrimitive(row.n));
        EXPECT_EQ(arg.kind, 2) << row.n;
        EXPECT_EQ(arg.enumName, QStringLiteral("Flags")) << row.n;
        EXPECT_EQ(arg.value, QString::number(row.n)) << row.n;
        EXPECT_EQ(arg.keys, row.keys) << row.n;
        EXPECT_EQ(arg.classId, 1) << row.n;
    }

    // Overlapping values, forced to count as a mask: the walk is greedy in declared order.
    Enum overlap(nullptr, QStringLiteral("Overlap"));
    overlap.addItem(QStringLiteral("AB"), 3);
    overlap.addItem(QStringLiteral("A"), 1);
    overlap.setIsMask(true);
    EXPECT_EQ(EventData::createArgument(QString(), nullptr, &overlap, insp()->createPrimitive(3)).keys,
              QStringList { QStringLiteral("AB") });

    // Not a mask: the first key of exactly that value, or none, without a word on stderr.
    Enum color(nullptr, QStringLiteral("Color"));
    color.addItem(QStringLiteral("Red"), 1);
    color.addItem(QStringLiteral("Green"), 2);
    color.addItem(QStringLiteral("Lime"), 2);
    color.setIsMask(false);
    EXPECT_EQ(EventData::createArgument(QString(), nullptr, &color, insp()->createPrimitive(2)).keys,
              QStringList { QStringLiteral("Green") });
    VexilTest::StderrCapture capture;
    EventDataArg none = EventData::createArgument(QString(), nullptr, &color, insp()->createPrimitive(3));
    EXPECT_EQ(none.kind, 2);
    EXPECT_EQ(none.value, QStringLiteral("3"));
    EXPECT_TRUE(none.keys.isEmpty());
    EXPECT_EQ(capture.text(), "");
}

TEST(EventDataArg, DeclaredClassesTakeIntegerThenTextConversions)
{
    static int handleData = 7;
    static int labelData = 1;
    auto *handle = new TestClass("EvdHandle");
    handle->convertible = [](const Class *target, bool, bool targetIsPointer) {
        return (target == primitive(Inspector::Int) && !targetIsPointer)
            || (target == primitive(Inspector::Char) && targetIsPointer);
    };
    handle->converter = [](Object::Ptr o, const Class *target, bool) {
        if (target == primitive(Inspector::Int))
            return insp()->createPrimitive(*static_cast<int *>(o->rawData()));
        return insp()->createPrimitive("handle");
    };
    auto *label = new TestClass("EvdLabel");
    label->convertible = [](const Class *target, bool, bool targetIsPointer) {
        return target == primitive(Inspector::Char) && targetIsPointer;
    };
    label->converter = [](Object::Ptr, const Class *, bool) { return insp()->createPrimitive("label text"); };

    Object::Ptr h = wrapData(handle, &handleData);
    EventDataArg asInt = EventData::createArgument(QStringLiteral("h"), primitive(Inspector::Int), nullptr,
                                                   h);
    EXPECT_EQ(asInt.kind, 0);
    EXPECT_EQ(asInt.value, QStringLiteral("7"));
    EXPECT_EQ(asInt.typeId, 1);
    EXPECT_EQ(asInt.classId, handle->classId());
    // Both conversions reach a text parameter; the integer one comes first.
    EXPECT_EQ(EventData::createArgument(QString(), primitive(Inspector::Char), nullptr, h).typeId, 1);

    Object::Ptr l = wrapData(label, &labelData);
    EventDataArg asText = EventData::createArgument(QStringLiteral("l"), primitive(Inspector::Char), nullptr,
                                                    l);
    EXPECT_EQ(asText.kind, 0);
    EXPECT_EQ(asText.value, QStringLiteral("label text"));
    EXPECT_EQ(asText.typeId, 4);

    // Without a declared class, or one the converted value can't reach, the object is expanded instead.
    EXPECT_EQ(EventData::createArgument(QString(), nullptr, nullptr, h).kind, 1);
    EventDataArg unreached = EventData::createArgument(QString(), new TestClass("EvdUnrelated"), nullptr, l);
    EXPECT_EQ(unreached.kind, 1);
    EXPECT_EQ(unreached.args().size(), 0u);
}

namespace {
struct PointData
{
    int x;
    double y;
    int mode;
};
int s_labelStorage = 0;
const Class *s_evdText = nullptr;
} // namespace

TEST(EventDataArg, ObjectsExpandIntoTheirProperties)
{
    auto *text = new TestClass("EvdText");
    text->convertible = [](const Class *target, bool, bool targetIsPointer) {
        return target == primitive(Inspector::Char) && targetIsPointer;
    };
    text->converter = [](Object::Ptr, const Class *, bool) { return insp()->createPrimitive("hello"); };
    s_evdText = text;
    auto *point = new TestClass("EvdPoint");
    // Outlives the test: the class keeps the declarations that point at it.
    auto *mode = new Enum(point, QStringLiteral("Mode"));
    mode->addItem(QStringLiteral("Fast"), 1);
    mode->addItem(QStringLiteral("Slow"), 2);
    const unsigned int r = PropertyDeclaration::Readable;
    point->setProperties({
        { "x", primitive(Inspector::Int), nullptr,
          [](Object::Ptr o) { return insp()->createPrimitive(static_cast<PointData *>(o->rawData())->x); },
          r },
        { "y", primitive(Inspector::Double), nullptr,
          [](Object::Ptr o) { return insp()->createPrimitive(static_cast<PointData *>(o->rawData())->y); },
          r },
        { "mode", primitive(Inspector::Int), mode,
          [](Object::Ptr o) { return insp()->createPrimitive(static_cast<PointData *>(o->rawData())->mode); },
          r },
        { "caption", primitive(Inspector::Char), nullptr,
          [](Object::Ptr) { return wrapData(s_evdText, &s_labelStorage); }, r },
        { "inner", point, nullptr, [](Object::Ptr) { return Object::Ptr(); }, r },
        { "secret", primitive(Inspector::Int), nullptr,
          [](Object::Ptr) { return insp()->createPrimitive(99); }, 0 },
    });

    PointData data { 3, 2.5, 2 };
    insp()->lastError();
    VexilTest::StderrCapture capture;
    EventDataArg arg = EventData::createArgument(QStringLiteral("pt"), nullptr, nullptr,
                                                 wrapData(point, &data));
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(arg.kind, 1);
    EXPECT_EQ(arg.classId, point->classId());
    ASSERT_EQ(arg.args().size(), 6u);
    const FVector<EventDataArg> &p = arg.args();
    const char *names[] = { "x", "y", "mode", "caption", "inner", "secret" };
    const int kinds[] = { 0, 0, 2, 0, 0, 0 };
    const char *values[] = { "3", "2.5", "2", "hello", "", "" };
    const int typeIds[] = { 1, 5, -1, 4, -1, -1 };
    for (unsigned i = 0; i < 6; ++i) {
        EXPECT_EQ(p[i].name, QString::fromLatin1(names[i])) << i;
        EXPECT_EQ(p[i].kind, kinds[i]) << i;
        EXPECT_EQ(p[i].value, QString::fromLatin1(values[i])) << i;
        EXPECT_EQ(p[i].typeId, typeIds[i]) << i;
    }
    EXPECT_EQ(p[2].keys, QStringList { QStringLiteral("Slow") });
    EXPECT_EQ(p[3].classId, text->classId());
    // A null value or a property that can't be read keeps its place with the declared class.
    EXPECT_EQ(p[4].classId, point->classId());
    EXPECT_EQ(p[5].classId, 1);

    // A class without properties still gives kind 1; a null object keeps the shape, reads nothing and leaves no
    // error behind.
    EXPECT_EQ(EventData::createArgument(QString(), nullptr, nullptr, wrapData(text, &s_labelStorage)).kind,
              1);
    EventDataArg nullArg = EventData::createArgument(QString(), nullptr, nullptr, point->createNull());
    EXPECT_EQ(nullArg.kind, 1);
    ASSERT_EQ(nullArg.args().size(), 6u);
    EXPECT_TRUE(nullArg.args()[0].value.isEmpty());
    EXPECT_EQ(insp()->lastError(), QString());
}

TEST(EventDataArg, SelfReferenceStopsAtTheLimits)
{
    static int loopData = 0;
    auto *loop = new TestClass("EvdLoop");
    loop->setProperties(
        { { "self", loop, nullptr, [](Object::Ptr o) { return o; }, PropertyDeclaration::Readable } });
    EventDataArg arg = EventData::createArgument(QStringLiteral("l"), nullptr, nullptr,
                                                 wrapData(loop, &loopData));
    int levels = 0;
    for (const EventDataArg *cur = &arg; cur->args().size() > 0; cur = &cur->args()[0]) {
        ASSERT_EQ(cur->args().size(), 1u);
        ++levels;
    }
    EXPECT_EQ(levels, EventDataArg::maxObjectDepth);

    // Several properties leading back multiply the tree; the budget keeps it bounded.
    static int wideData = 0;
    auto *wide = new TestClass("EvdWideLoop");
    const auto back = [](Object::Ptr o) { return o; };
    const unsigned int r = PropertyDeclaration::Readable;
    wide->setProperties({ { "a", wide, nullptr, back, r },
                          { "b", wide, nullptr, back, r },
                          { "c", wide, nullptr, back, r },
                          { "d", wide, nullptr, back, r } });
    const int total = countArgs(
        EventData::createArgument(QString(), nullptr, nullptr, wrapData(wide, &wideData)));
    EXPECT_GT(total, 1000);
    EXPECT_LE(total, EventDataArg::maxExpandedArguments + 4 * EventDataArg::maxObjectDepth + 1);
}

// Stream form

TEST(EventDataStream, NameFieldDependsOnTheType)
{
    EventData call(QStringLiteral("click"), QStringLiteral("w"), ObjectList { insp()->createPrimitive(42) });
    call.timeStamp = QTime(10, 0);
    EXPECT_EQ(bytesOf(call),
              hex("00000001" // type: method call
                  "0000000a 0063 006c 0069 0063 006b" // methodName "click"
                  "00000002 0077" // objectId "w"
                  "02255100" // 10:00:00.000 in milliseconds
                  "ffffffff" // second text: null
                  "00000000" // no argument texts
                  "00000001" // one argument:
                  "ffffffff 00000001 00000000" //   no name, int, kind 0
                  "00000004 0034 0032 00000001" //   "42", typeId 1
                  "ffffffff" // integer field -1
                  "ffffffff")); // itemText: null

    EventData comment = EventData::fromComment(QStringLiteral("hi"));
    comment.timeStamp = QTime();
    const QByteArray commentBytes = hex("00000002 00000004 0068 0069 ffffffff ffffffff 00000000 00000000"
                                        "ffffffff ffffffff");
    EXPECT_EQ(bytesOf(comment), commentBytes);
    EventData read;
    const qint32 ownIndex = read.index;
    QDataStream in(commentBytes);
    read.readObject(in);
    EXPECT_EQ(in.status(), QDataStream::Ok);
    EXPECT_TRUE(in.atEnd());
    EXPECT_EQ(read.type, 2);
    EXPECT_EQ(read.objectId, QStringLiteral("hi"));
    EXPECT_EQ(read.index, ownIndex);

    EventData started = EventData::applicationStarted();
    started.timeStamp = QTime();
    EXPECT_EQ(bytesOf(started),
              hex("00000004 ffffffff ffffffff ffffffff 00000000 00000000 ffffffff ffffffff"));
    EventData function(QStringLiteral("f"), QStringList { QStringLiteral("1") }, QString());
    function.timeStamp = QTime();
    EXPECT_EQ(bytesOf(function),
              hex("00000003 00000002 0066 ffffffff ffffffff ffffffff"
                  "00000001 00000002 0031 00000000 ffffffff ffffffff"));
}

TEST(EventDataStream, EveryFieldInOrder)
{
    const QByteArray expected = hex(VexilTest::kFullEventRecordHex);
    EXPECT_EQ(bytesOf(VexilTest::fullEventRecord()), expected);
    EventData read = EventData::fromComment(QStringLiteral("stale"));
    read.methodName = QStringLiteral("stale");
    QDataStream in(expected);
    read.readObject(in);
    ASSERT_EQ(in.status(), QDataStream::Ok);
    EXPECT_TRUE(in.atEnd());
    EXPECT_EQ(read.eventName, QStringLiteral("tap"));
    EXPECT_TRUE(read.methodName.isNull()); // not in an event's stream form
    EXPECT_EQ(read.timeStamp, QTime(0, 0, 1));
    ASSERT_EQ(read.arguments.size(), 2u);
    EXPECT_EQ(read.arguments[0].keys, (QStringList { QStringLiteral("A"), QStringLiteral("C") }));
    ASSERT_EQ(read.arguments[1].args().size(), 1u);
    EXPECT_EQ(read.arguments[1].args()[0].typeId, 1);
    EXPECT_EQ(bytesOf(read), expected);

    // An argument of a kind this version does not know carries nothing more.
    const QByteArray unknown = hex("00000002 ffffffff ffffffff ffffffff 00000000 00000001"
                                   "00000002 006b 00000003 00000009"
                                   "00000005 ffffffff");
    QDataStream uin(unknown);
    read.readObject(uin);
    ASSERT_EQ(uin.status(), QDataStream::Ok);
    ASSERT_EQ(read.arguments.size(), 1u);
    EXPECT_EQ(read.arguments[0].kind, 9);
    EXPECT_EQ(read.extraValue, 5);
    EXPECT_EQ(bytesOf(read), unknown);
}

// Records are read straight from a buffer's memory when they can be; every other device or byte order takes
// QDataStream field by field. Both must agree, and leave the stream just past the record.
enum class StreamKind { Memory, SequentialDevice, LittleEndian };

class SequentialDevice : public QIODevice
{
public:
    explicit SequentialDevice(const QByteArray &data)
        : m_data(data)
    {
        open(QIODevice::ReadOnly);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *data, qint64 max) override
    {
        const qint64 n = qMin(max, qint64(m_data.size()) - m_at);
        memcpy(data, m_data.constData() + m_at, size_t(n));
        m_at += n;
        return n;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_data;
    qint64 m_at = 0;
};

class EventDataStreamKinds : public ::testing::TestWithParam<StreamKind>
{ };

TEST_P(EventDataStreamKinds, RecordsReadBackInTurn)
{
    const QDataStream::ByteOrder order = GetParam() == StreamKind::LittleEndian ? QDataStream::LittleEndian
                                                                                : QDataStream::BigEndian;
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setByteOrder(order);
        VexilTest::fullEventRecord().writeObject(out);
        VexilTest::fullEventRecord().arguments[1].writeObject(out);
        out << qint32(42);
    }
    if (GetParam() != StreamKind::LittleEndian) {
        EXPECT_TRUE(bytes.startsWith(hex(VexilTest::kFullEventRecordHex)));
    }

    SequentialDevice sequential(bytes);
    QDataStream in(bytes);
    if (GetParam() == StreamKind::SequentialDevice)
        in.setDevice(&sequential);
    in.setByteOrder(order);
    EventData rec;
    EventDataArg arg;
    qint32 marker = 0;
    rec.readObject(in);
    arg.readObject(in);
    in >> marker;
    ASSERT_EQ(in.status(), QDataStream::Ok);
    EXPECT_EQ(marker, 42);
    EXPECT_EQ(bytesOf(rec), hex(VexilTest::kFullEventRecordHex));
    EXPECT_EQ(bytesOf(arg), bytesOf(VexilTest::fullEventRecord().arguments[1]));
}

INSTANTIATE_TEST_SUITE_P(, EventDataStreamKinds,
                         ::testing::Values(StreamKind::Memory, StreamKind::SequentialDevice,
                                           StreamKind::LittleEndian),
                         [](const ::testing::TestParamInfo<StreamKind> &info) {
                             switch (info.param) {
                             case StreamKind::Memory:
                                 return "Memory";
                             case StreamKind::SequentialDevice:
                                 return "SequentialDevice";
                             default:
                                 return "LittleEndian";
                             }
                         });

// Bad streams

TEST(EventDataBadStream, EveryTruncationFailsAndLeavesBlanks)
{
    const QByteArray full = hex(VexilTest::kFullEventRecordHex);
    for (int cut = 0; cut < full.size(); ++cut) {
        EventData read = EventData::fromComment(QStringLiteral("stale"));
        const qint32 ownIndex = read.index;
        QDataStream in(full.left(cut));
        read.readObject(in);
        EXPECT_NE(in.status(), QDataStream::Ok) << "cut at " << cut;
        expectBlankRecord(read);
        EXPECT_EQ(read.index, ownIndex);
        if (HasFailure())
            FAIL() << "cut at " << cut;
    }
    const QByteArray arg = bytesOf(VexilTest::fullEventRecord().arguments[1]);
    for (int cut = 0; cut < arg.size(); ++cut) {
        EventDataArg a(QStringLiteral("stale"), primitive(Inspector::Int));
        QDataStream in(arg.left(cut));
        a.readObject(in);
        EXPECT_EQ(in.status(), QDataStream::ReadPastEnd) << "cut at " << cut;
        expectBlankArg(a);
    }
    // A stream that failed before stays failed and gives a blank record.
    QDataStream failed(full);
    failed.setStatus(QDataStream::ReadCorruptData);
    EventData rec = VexilTest::fullEventRecord();
    rec.readObject(failed);
    EXPECT_EQ(failed.status(), QDataStream::ReadCorruptData);
    expectBlankRecord(rec);
}

TEST(EventDataBadStream, HugeOrNegativeCountsAndImpossibleTimes)
{
    struct Case
    {
        const char *bytes;
        QDataStream::Status status;
    };
    const Case records[] = {
        // two billion arguments, then as many argument texts, in streams that hold none of them
        { "00000002 ffffffff ffffffff ffffffff 00000000 77359400", QDataStream::ReadPastEnd },
        { "00000002 ffffffff ffffffff ffffffff ffffffff", QDataStream::ReadPastEnd },
        { "00000002 ffffffff ffffffff ffffffff 00000000 80000000 ffffffff ffffffff",
          QDataStream::ReadCorruptData },
        // 86,400,000 milliseconds is past the last time of a day
        { "00000002 ffffffff 05265c00 ffffffff 00000000 00000000 ffffffff ffffffff",
          QDataStream::ReadCorruptData },
        // a text of an odd number of bytes can't be UTF-16
        { "00000002 00000003 0068 00", QDataStream::ReadCorruptData },
    };
    for (const Case &c : records) {
        EventData rec;
        QDataStream in(hex(c.bytes));
        rec.readObject(in);
        EXPECT_EQ(in.status(), c.status) << c.bytes;
        expectBlankRecord(rec);
    }
    const Case args[] = {
        { "ffffffff 00000000 00000001 77359400 ffff", QDataStream::ReadPastEnd },
        { "ffffffff 00000000 00000002 ffffffff ffffffff 7fffffff", QDataStream::ReadPastEnd },
        { "ffffffff 00000000 00000001 ffffffff", QDataStream::ReadCorruptData },
    };
    for (const Case &c : args) {
        EventDataArg arg;
        QDataStream in(hex(c.bytes));
        arg.readObject(in);
        EXPECT_EQ(in.status(), c.status) << c.bytes;
        expectBlankArg(arg);
    }
}

TEST(EventDataBadStream, NestingIsBounded)
{
    EventDataArg arg;
    QDataStream deepest(nestedArgBytes(EventDataArg::maxStreamDepth));
    arg.readObject(deepest);
    EXPECT_EQ(deepest.status(), QDataStream::Ok);
    EXPECT_EQ(countArgs(arg), EventDataArg::maxStreamDepth + 1);
    QDataStream tooDeep(nestedArgBytes(EventDataArg::maxStreamDepth + 1));
    arg.readObject(tooDeep);
    EXPECT_EQ(tooDeep.status(), QDataStream::ReadCorruptData);
    expectBlankArg(arg);
    // Far deeper than any stack would take when followed level by level.
    QDataStream hostile(nestedArgBytes(200000));
    arg.readObject(hostile);
    EXPECT_EQ(hostile.status(), QDataStream::ReadCorruptData);
    expectBlankArg(arg);
}
