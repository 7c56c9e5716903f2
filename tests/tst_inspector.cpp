// tst_inspector.cpp: the registry built at start-up, lookups by name, primitives, settings, errors,
// send/notify delegates, the top-level list and forwarding to an installed implementation.
#include "testsupport.h"

#include "delegate.h"
#include "globalobject.h"
#include "inspector.h"
#include "object.h"

#include <QVariant>

#include <cstdio>
#include <string>
#include <vector>

using namespace Vexil;
using PlainClass = VexilTest::ChainClass;

namespace {

class TopLevel : public ObjectHierarchyDelegate
{
public:
    TopLevel(const QString &cls, const Class *objectClass, const QStringList &names)
        : ObjectHierarchyDelegate(cls)
        , m_names(names)
    {
        for (int i = 0; i < names.size(); ++i)
            m_objects.push_back(Object::Ptr(new Object(this, objectClass, ObjectAttribute())));
    }
    int numChildren(Object::Ptr parent) const override { return parent ? 0 : int(m_objects.size()); }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        return parent || i < 0 || i >= int(m_objects.size()) ? Object::Ptr() : m_objects[size_t(i)];
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        const int i = m_names.indexOf(name);
        return parent || i < 0 ? Object::Ptr() : m_objects[size_t(i)];
    }
    QString name(Object::Ptr) const override { return QString(); }
    QString qualifiedName(Object::Ptr) const override { return QString(); }
    int wrapperType(Object::Ptr) const override { return 0; }

    QStringList m_names;
    std::vector<Object::Ptr> m_objects;
};

class RecordingSender : public SendEventDelegate
{
public:
    RecordingSender(std::vector<int> *log, int id, bool handles)
        : m_log(log)
        , m_id(id)
        , m_handles(handles)
    {
    }
    bool sendEvent(const Event *, Object::Ptr, const ObjectList &) const override
    {
        m_log->push_back(m_id);
        return m_handles;
    }
    std::vector<int> *m_log;
    int m_id;
    bool m_handles;
};

class RecordingNotify : public EventNotifyDelegate
{
public:
    void notifyEvent(const EventData &data) const override
    {
        ++calls;
        last = &data;
    }
    mutable int calls = 0;
    mutable const EventData *last = nullptr;
};

std::string pointerText(const void *p)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%p", p);
    return buf;
}

int dummy[4];

} // namespace

// Must stay first: it checks the registry exactly as start-up leaves it.
TEST(InspectorStartup, BuiltInClassesAndNamespaces)
{
    Inspector *insp = Inspector::self();
    EXPECT_EQ(Inspector::insp, insp);
    ASSERT_EQ(insp->numClasses(), 16);
    const char *const names[] = { "short",          "int",         "long",
                                  "bool",           "char",        "double",
                                  "int64",          "void",        "undefined",
                                  "Vexil::Global",  "Vexil_Array", "Vexil_Map",
                                  "GestureBuilder", "ScreenPoint", "ScreenRectangle",
                                  "DateTime" };
    for (int i = 0; i < 16; ++i) {
        ASSERT_NE(insp->type(i), nullptr) << i;
        EXPECT_STREQ(insp->type(i)->name(), names[i]) << i;
        EXPECT_EQ(insp->type(i)->classId(), i);
        EXPECT_EQ(insp->type(QString::fromLatin1(names[i])), insp->type(i));
    }
    EXPECT_EQ(insp->globalClass(), insp->type(9));
    EXPECT_NE(dynamic_cast<const GlobalClass *>(insp->globalClass()), nullptr);

    ASSERT_EQ(insp->numNamespaces(), 2);
    Namespace *global = insp->nameSpace(0);
    EXPECT_EQ(insp->globalNamespace(), global);
    EXPECT_TRUE(global->name().isEmpty());
    Namespace *ui = insp->nameSpace(1);
    EXPECT_EQ(ui->name(), QStringLiteral("UiTypes"));
    EXPECT_EQ(ui->parent(), global);
    for (int i = 13; i < 16; ++i)
        EXPECT_EQ(insp->type(i)->nameSpace(), ui) << i;
    EXPECT_EQ(insp->type(12)->nameSpace(), global);
    EXPECT_EQ(insp->type(13)->fullyQualifiedClassName(), QStringLiteral("UiTypes::ScreenPoint"));

    Object::Ptr v = insp->voidObject();
    ASSERT_TRUE(v);
    EXPECT_TRUE(v->isNull());
    EXPECT_EQ(v->objectClass(), insp->type(Inspector::Void));
    EXPECT_EQ(insp->voidObject().get(), v.get());

    EXPECT_TRUE(insp->lookupCacheEnabled);
    EXPECT_FALSE(insp->silentLookups);
    EXPECT_EQ(insp->eventNotifyDelegate(), nullptr);
    EXPECT_TRUE(insp->lastError().isEmpty());
}

TEST(InspectorRegistry, TypeByNameStripsOneMarker)
{
    Inspector *insp = Inspector::self();
    const Class *intClass = insp->type(Inspector::Int);
    EXPECT_EQ(insp->type(QStringLiteral("int*")), intClass);
    EXPECT_EQ(insp->type(QStringLiteral("int&")), intClass);
    EXPECT_EQ(insp->type(QStringLiteral("int**")), nullptr);
    EXPECT_EQ(insp->type(QStringLiteral("int *")), nullptr);
    EXPECT_EQ(insp->type(QString()), nullptr);
    EXPECT_EQ(insp->type(-1), nullptr);
    // The "int**" lookup is for "int*": a class really named so is found.
    PlainClass *starred = new PlainClass("InspTest_Star*");
    EXPECT_EQ(insp->type(QStringLiteral("InspTest_Star**")), starred);
}

TEST(InspectorRegistry, RegistrationAppendsAndTakesOverTheName)
{
    Inspector *insp = Inspector::self();
    const int n = insp->numClasses();
    PlainClass *first = new PlainClass("InspTest_Twice");
    Namespace *ns = new Namespace(insp->globalNamespace(), QStringLiteral("InspTestNs"));
    PlainClass *second = new PlainClass("InspTest_Twice", nullptr, ns);
    EXPECT_EQ(second->classId(), n + 1);
    EXPECT_EQ(insp->type(QStringLiteral("InspTest_Twice")), second);
    EXPECT_EQ(insp->type(n), first);

    // Many registrations grow the table past its first capacity.
    for (int i = 0; i < 80; ++i)
        new PlainClass(("InspTest_Many" + QByteArray::number(i)).constData()); // the class copies the name
    EXPECT_EQ(insp->numClasses(), n + 82);
    EXPECT_STREQ(insp->type(n + 81)->name(), "InspTest_Many79");
    EXPECT_EQ(insp->type(n), first);
    EXPECT_EQ(insp->registerClass(nullptr), -1);
    EXPECT_EQ(insp->numClasses(), n + 82);
}

TEST(InspectorRegistry, NamespacesByFullyQualifiedName)
{
    Inspector *insp = Inspector::self();
    Namespace *outer = new Namespace(insp->globalNamespace(), QStringLiteral("InspOuter"));
    Namespace *inner = new Namespace(outer, QStringLiteral("Inner"));
    Namespace *deepest = new Namespace(inner, QStringLiteral("Deepest"));
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QString()), nullptr);
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("UiTypes")), insp->nameSpace(1));
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("InspOuter::Inner")), inner);
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("InspOuter::Inner::Deepest")), deepest);
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("Inner")), nullptr);
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("Missing::Inner")), nullptr);
    EXPECT_EQ(insp->nameSpaceFromFullyQualifiedName(QStringLiteral("InspOuter::Missing")), nullptr);
    EXPECT_EQ(insp->nameSpace(QStringLiteral("Inner")), inner);
    EXPECT_EQ(insp->nameSpace(QStringLiteral("NoSuchNamespace")), nullptr);
}

TEST(InspectorPrimitives, OwnedCopiesOfTheRightClass)
{
    Inspector *insp = Inspector::self();
    const std::pair<Object::Ptr, int> cases[] = {
        { insp->createPrimitive(42), Inspector::Int },      { insp->createPrimitive(42LL), Inspector::Int64 },
        { insp->createPrimitive(42L), Inspector::Long },    { insp->createPrimitive(true), Inspector::Bool },
        { insp->createPrimitive(42.0), Inspector::Double },
    };
    for (const auto &c : cases) {
        ASSERT_TRUE(c.first) << c.second;
        EXPECT_EQ(c.first->objectClass(), insp->type(c.second)) << c.second;
        EXPECT_TRUE(c.first->ownsData) << c.second;
        EXPECT_EQ(c.first->objectAttribute(), ObjectAttribute(0, 0)) << c.second;
    }
    EXPECT_EQ(*static_cast<int *>(cases[0].first->rawData()), 42);
    EXPECT_EQ(*static_cast<long long *>(cases[1].first->rawData()), 42LL);
    EXPECT_EQ(*static_cast<long *>(cases[2].first->rawData()), 42L);
    EXPECT_TRUE(*static_cast<bool *>(cases[3].first->rawData()));
    EXPECT_EQ(*static_cast<double *>(cases[4].first->rawData()), 42.0);

    const char *source = "h\xc3\xa9llo";
    Object::Ptr text = insp->createPrimitive(source);
    EXPECT_EQ(text->objectClass(), insp->type(Inspector::Char));
    EXPECT_EQ(text->objectAttribute(), ObjectAttribute(ObjectAttribute::Pointer, 0));
    EXPECT_TRUE(text->ownsData);
    EXPECT_NE(text->rawData(), static_cast<const void *>(source));
    EXPECT_STREQ(static_cast<const char *>(text->rawData()), source);

    Object::Ptr list = insp->createPrimitive(
        QStringList { QStringLiteral("a"), QString::fromUtf8("\xc3\xa9") });
    EXPECT_EQ(list->objectClass(), insp->type(Inspector::Char));
    EXPECT_EQ(list->objectAttribute(), ObjectAttribute(18, 2));
    EXPECT_TRUE(list->ownsData);
    char **texts = static_cast<char **>(list->rawData());
    EXPECT_STREQ(texts[0], "a");
    EXPECT_STREQ(texts[1], "\xc3\xa9");
    EXPECT_EQ(insp->createPrimitive(QStringList())->objectAttribute().count, 0);

    PlainClass *cls = new PlainClass("InspTest_Nullable");
    Object::Ptr n = insp->createNull(cls);
    EXPECT_TRUE(n->isNull());
    EXPECT_EQ(n->objectClass(), cls);
    EXPECT_EQ(n->objectAttribute(), ObjectAttribute(2, 0));
    EXPECT_NE(insp->createNull(cls).get(), n.get());
}

// Settings

TEST(InspectorSettings, BooleansUniquePropertiesAndExtensionCode)
{
    Inspector *insp = Inspector::self();
    EXPECT_FALSE(insp->hasMouseTracking(QStringLiteral("unknown")));
    EXPECT_TRUE(insp->hasRecordMouseDrag(QStringLiteral("unknown")));
    EXPECT_TRUE(insp->isKeyEventCompressionAllowed(QStringLiteral("unknown")));
    insp->setMouseTracking(QStringLiteral("k"), true);
    insp->setRecordMouseDrag(QStringLiteral("k"), false);
    insp->setAllowKeyEventCompression(QStringLiteral("k"), false);
    EXPECT_TRUE(insp->hasMouseTracking(QStringLiteral("k")));
    EXPECT_FALSE(insp->hasRecordMouseDrag(QStringLiteral("k")));
    EXPECT_FALSE(insp->isKeyEventCompressionAllowed(QStringLiteral("k")));
    insp->setMouseTracking(QStringLiteral("k"), false);
    EXPECT_FALSE(insp->hasMouseTracking(QStringLiteral("k")));
    EXPECT_FALSE(insp->hasMouseTracking(QStringLiteral("K"))); // keys are case-sensitive

    insp->setUniqueProperty(QStringLiteral("QWidget"), QStringLiteral("objectName"));
    insp->setUniqueProperty(QStringLiteral("QLabel"), QStringLiteral("text"));
    insp->setUniqueProperty(QStringLiteral("QWidget"), QStringLiteral("windowTitle"));
    EXPECT_EQ(insp->uniqueProperty(QStringLiteral("QWidget")), QStringLiteral("windowTitle"));
    EXPECT_TRUE(insp->uniqueProperty(QStringLiteral("QFrame")).isEmpty());
    EXPECT_EQ(insp->uniquePropertyClasses(),
              (QStringList { QStringLiteral("QWidget"), QStringLiteral("QLabel"),
                             QStringLiteral("QWidget") }));

    insp->setExtensionCode(QStringLiteral("code"), QStringLiteral("lang"));
    EXPECT_EQ(insp->extensionCode(), QStringLiteral("code"));
    EXPECT_EQ(insp->extensionLanguage(), QStringLiteral("lang"));
}

TEST(InspectorSettings, RecorderFiltersMatchExactlyOrByWildcard)
{
    Inspector *insp = Inspector::self();
    EXPECT_FALSE(insp->matchRecordFilter(QStringLiteral("f"), QStringLiteral("QPushButton")));
    insp->setRecorderFilter(QStringLiteral("f"), QStringLiteral("Q*Button"));
    EXPECT_TRUE(insp->matchRecordFilter(QStringLiteral("f"), QStringLiteral("QPushButton")));
    EXPECT_FALSE(insp->matchRecordFilter(QStringLiteral("f"), QStringLiteral("qpushbutton")));
    EXPECT_FALSE(insp->matchRecordFilter(QStringLiteral("f"), QStringLiteral("QPushButtonX"))); // whole value
    EXPECT_FALSE(insp->matchRecordFilter(QStringLiteral("other"), QStringLiteral("QPushButton")));
    insp->setRecorderFilter(QStringLiteral("f"), QStringLiteral("a[b")); // equal text matches as it is
    EXPECT_TRUE(insp->matchRecordFilter(QStringLiteral("f"), QStringLiteral("a[b")));
}

// Errors

TEST(InspectorErrors, LastErrorConsumesTextAndUnmatchedProperties)
{
    Inspector *insp = Inspector::self();
    insp->setError(QStringLiteral("boom"));
    insp->addUnmatchedProperty(QStringLiteral("k"), QStringLiteral("p"));
    EXPECT_EQ(insp->lastError(), QStringLiteral("boom"));
    EXPECT_TRUE(insp->lastError().isEmpty());
    EXPECT_TRUE(insp->unmatchedProperties().isEmpty());

    insp->addUnmatchedProperty(QStringLiteral("k"), QStringLiteral("p"));
    insp->setError(QStringLiteral("kept"));
    EXPECT_EQ(insp->unmatchedProperties().size(), 1);
    insp->setError(QString()); // an empty text also forgets the unmatched properties
    EXPECT_TRUE(insp->unmatchedProperties().isEmpty());
    EXPECT_TRUE(insp->lastError().isEmpty());

    EXPECT_FALSE(insp->call(QStringLiteral("f"), FList<QVariant> { QVariant(1) }).isValid());
    EXPECT_EQ(insp->lastError(),
              QStringLiteral("Cannot make remote calls right now. Make sure your application is running and "
                             "hooked by Vexil."));
}

TEST(InspectorErrors, UnmatchedPropertiesShortestListWins)
{
    Inspector *insp = Inspector::self();
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    const QString k = QStringLiteral("k");
    insp->setUnmatchedProperties(k, QStringList { a, b });
    insp->setUnmatchedProperties(k, QStringList { a, b, c });
    EXPECT_EQ(insp->unmatchedProperties().value(k), (QStringList { a, b }));
    insp->setUnmatchedProperties(k, QStringList { c, a }); // a tie replaces
    EXPECT_EQ(insp->unmatchedProperties().value(k), (QStringList { c, a }));
    insp->setUnmatchedProperties(k, QStringList { a });

    insp->addUnmatchedProperty(k, a);
    insp->addUnmatchedProperty(k, QStringLiteral("A"));
    insp->addUnmatchedProperty(QStringLiteral("j"), b);
    EXPECT_EQ(insp->unmatchedProperties().value(k), (QStringList { a, QStringLiteral("A") }));
    insp->removeUnmatchedProperties(k);
    EXPECT_EQ(insp->unmatchedProperties().keys(), (QStringList { QStringLiteral("j") }));
    insp->lastError();
}

TEST(InspectorErrors, Unescape2)
{
    EXPECT_EQ(unescape2(QStringLiteral("a\x01"
                                       "b")),
              QStringLiteral("a.b"));
    EXPECT_EQ(unescape2(QStringLiteral("a\\\\b")), QStringLiteral("a\\b"));
    EXPECT_EQ(unescape2(QStringLiteral("\\\\\\\\\\")), QStringLiteral("\\\\\\"));
    EXPECT_EQ(unescape2(QStringLiteral("\\.x")), QStringLiteral("\\.x"));
}

// Events and enumerators

TEST(InspectorEvents, SendEventNullChecksAndDelegateOrder)
{
    Inspector *insp = Inspector::self();
    PlainClass *cls = new PlainClass("InspTest_EventOwner");
    Event event(cls, QStringLiteral("clicked"), Signature());
    Object::Ptr obj(new Object(dummy, cls, ObjectAttribute()));
    insp->sendEvent(&event, obj, ObjectList()); // no delegates yet: nothing happens
    {
        VexilTest::StderrCapture capture;
        insp->sendEvent(nullptr, obj, ObjectList());
        EXPECT_EQ(capture.text(),
                  "Inspector::sendEvent failed because object or event are null (event: "
                      + pointerText(nullptr) + ", object: " + pointerText(obj.get()) + ")");
    }
    {
        VexilTest::StderrCapture capture;
        insp->sendEvent(&event, Object::Ptr(), ObjectList());
        EXPECT_EQ(capture.text(),
                  "Inspector::sendEvent failed because object or event are null (event: "
                      + pointerText(&event) + ", object: " + pointerText(nullptr) + ")");
    }

    static std::vector<int> log;
    // The Inspector keeps pointers to them for good: they must outlive it.
    new RecordingSender(&log, 1, false);
    new RecordingSender(&log, 2, true);
    new RecordingSender(&log, 3, true);
    insp->sendEvent(&event, obj, ObjectList());
    EXPECT_EQ(log, (std::vector<int> { 1, 2 }));
    log.clear();
    event.sendEvent(obj, ObjectList()); // the descriptor goes the same way
    EXPECT_EQ(log, (std::vector<int> { 1, 2 }));
}

TEST(InspectorEvents, RecordEventGoesToTheLatestNotifyDelegate)
{
    Inspector *insp = Inspector::self();
    EventData data;
    insp->recordEvent(data); // none installed
    RecordingNotify first;
    insp->recordEvent(data);
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(first.last, &data);
    {
        RecordingNotify second;
        insp->recordEvent(data);
        EXPECT_EQ(first.calls, 1);
        EXPECT_EQ(second.calls, 1);
    }
    EXPECT_EQ(insp->eventNotifyDelegate(), nullptr);
}

TEST(InspectorEnumerators, QualifiedAndGlobalNames)
{
    struct EnumClass : public PlainClass
    {
        EnumClass()
            : PlainClass("InspTest_Enums")
        {
            setNumEnums(1);
        }
        Enum *createEnum(int) const override { return new Enum(this, QStringLiteral("Color")); }
    };
    Inspector *insp = Inspector::self();
    EnumClass *cls = new EnumClass;
    EXPECT_EQ(insp->enumerator(QStringLiteral("InspTest_Enums::Color")), cls->enumerator(0));
    EXPECT_EQ(insp->enumerator(QStringLiteral("InspTest_Enums::Shape")), nullptr);
    EXPECT_EQ(insp->enumerator(QStringLiteral("NoClass::Color")), nullptr);
    EXPECT_EQ(insp->enumerator(QStringLiteral("Color")), nullptr); // not a global enum

    // A leading "::" is not a separator: the global class is asked for "::E".
    GlobalClass *global = const_cast<GlobalClass *>(dynamic_cast<const GlobalClass *>(insp->globalClass()));
    ASSERT_NE(global, nullptr);
    Enum *colon = new Enum(global, QStringLiteral("::E"));
    Enum *plain = new Enum(global, QStringLiteral("E"));
    global->addEnum(colon);
    global->addEnum(plain);
    EXPECT_EQ(insp->enumerator(QStringLiteral("::E")), colon);
    EXPECT_EQ(insp->enumerator(QStringLiteral("E")), plain);
}

// Top-level objects

TEST(InspectorTopLevel, ListIsBuiltOnceInFixedOrder)
{
    Inspector *insp = Inspector::self();
    PlainClass *cls = new PlainClass("InspTest_Window");
    // Registered in an order different from the list order.
    TopLevel *tk = new TopLevel(QStringLiteral("Vexil::ToplevelTk"), cls, { QStringLiteral("tk1") });
    TopLevel *android = new TopLevel(QStringLiteral("Vexil::ToplevelAndroid"), cls,
                                     { QStringLiteral("and1") });
    TopLevel *qt = new TopLevel(QStringLiteral("Vexil::ToplevelQt"), cls,
                                { QStringLiteral("q1"), QStringLiteral("q2") });
    TopLevel *gui = new TopLevel(QStringLiteral("QtGUIObject"), cls, { QStringLiteral("gui1") });
    new TopLevel(QStringLiteral("Vexil::ToplevelOther"), cls, { QStringLiteral("other") });

    // Added before the first enumeration: lost.
    TopLevel *early = new TopLevel(QStringLiteral("InspTest_Early"), cls, { QStringLiteral("early") });
    insp->addTopLevelHierarchyDelegate(early);
    EXPECT_EQ(insp->topLevelHierarchyDelegates(), nullptr);

    EXPECT_EQ(insp->numObjects(), 5);
    ASSERT_NE(insp->topLevelHierarchyDelegates(), nullptr);
    EXPECT_EQ(*insp->topLevelHierarchyDelegates(),
              (std::vector<ObjectHierarchyDelegate *> { qt, tk, gui, android }));
    EXPECT_EQ(insp->object(1), qt->m_objects[1]);
    EXPECT_EQ(insp->object(2), tk->m_objects[0]);
    EXPECT_EQ(insp->object(4), android->m_objects[0]);
    EXPECT_EQ(insp->object(5), nullptr);
    EXPECT_EQ(insp->object(-1), nullptr);
    const ObjectList all = insp->objects();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[3], gui->m_objects[0]);

    ObjectHierarchyDelegate *which = reinterpret_cast<ObjectHierarchyDelegate *>(1);
    EXPECT_EQ(insp->object(QStringLiteral("gui1"), &which), gui->m_objects[0]);
    EXPECT_EQ(which, gui);
    EXPECT_EQ(insp->object(QStringLiteral("none"), &which), nullptr);
    EXPECT_EQ(which, nullptr);
    EXPECT_EQ(insp->object(QStringLiteral("early")), nullptr);

    // Once the list exists, additions count; later registrations with the factory do not.
    new TopLevel(QStringLiteral("Vexil::ToplevelWin"), cls, { QStringLiteral("win1") });
    EXPECT_EQ(insp->numObjects(), 5);
    insp->addTopLevelHierarchyDelegate(early);
    EXPECT_EQ(insp->numObjects(), 6);
    EXPECT_EQ(insp->object(QStringLiteral("early")), early->m_objects[0]);
}

// Lifecycle and forwarding to an installed implementation. These run on an Inspector of their own, as
// installing an implementation empties the local tables.

namespace {

class FakeInterface : public InspectorInterface
{
public:
    mutable QStringList calls;
    const Class *typeAnswer = nullptr;
    Object::Ptr answer;

    template <class T>
    T log(const QString &s, T result) const
    {
        calls.append(s);
        return result;
    }
    void log(const QString &s) const { calls.append(s); }

    int numObjects() const override { return log("numObjects", 3); }
    Object::Ptr object(int) const override { return log("object(int)", answer); }
    Object::Ptr object(const QString &n) const override { return log("object(" + n + ")", answer); }
    ObjectList objects() const override { return log("objects", ObjectList { answer }); }
    Object::Ptr findObject(const QString &n) override { return log("findObject(" + n + ")", answer); }
    int numClasses() const override { return log("numClasses", 99); }
    const Class *type(int i) const override { return log(QStringLiteral("type(%1)").arg(i), typeAnswer); }
    const Class *type(const QString &n) const override { return log("type(" + n + ")", typeAnswer); }
    int registerClass(const Class *) const override { return log("registerClass", 1234); }
    int numNamespaces() const override { return log("numNamespaces", 7); }
    Namespace *nameSpace(int) const override { return log<Namespace *>("nameSpace(int)", nullptr); }
    Namespace *nameSpace(const QString &) const override
    {
        return log<Namespace *>("nameSpace(name)", nullptr);
    }
    Namespace *nameSpaceFromFullyQualifiedName(const QString &) const override { return nullptr; }
    int registerNamespace(Namespace *) const override { return log("registerNamespace", 55); }
    Object::Ptr createPrimitive(int) override { return log("prim(int)", answer); }
    Object::Ptr createPrimitive(long long) override { return log("prim(int64)", answer); }
    Object::Ptr createPrimitive(long) override { return log("prim(long)", answer); }
    Object::Ptr createPrimitive(bool) override { return log("prim(bool)", answer); }
    Object::Ptr createPrimitive(double) override { return log("prim(double)", answer); }
    Object::Ptr createPrimitive(const char *) override { return log("prim(text)", answer); }
    Object::Ptr createPrimitive(const QStringList &) override { return log("prim(list)", answer); }
    Object::Ptr createNull(const Class *) const override { return log("createNull", answer); }
    Object::Ptr voidObject() const override { return log("voidObject", answer); }
    void sendEvent(const Event *, Object::Ptr, const ObjectList &) const override { log("sendEvent"); }
    void addPropertyDelegate(const QString &, const QStringList &) override { log("addPropertyDelegate"); }
    void setUniqueProperty(const QString &, const QString &) override { log("setUniqueProperty"); }
    void setExtensionCode(const QString &, const QString &) override { log("setExtensionCode"); }
    void setMouseTracking(const QString &, bool) override { log("setMouseTracking"); }
    void setRecordMouseDrag(const QString &, bool) override { log("setRecordMouseDrag"); }
    void setAllowKeyEventCompression(const QString &, bool) override { log("setAllowKeyEventCompression"); }
    void enableEventCompression(const QString &k, bool) override { log("enableEventCompression(" + k + ")"); }
    void setRecorderFilter(const QString &, const QString &) override { log("setRecorderFilter"); }
    void setError(const QString &t) override { log("setError(" + t + ")"); }
    QString lastError() const override { return log("lastError", QStringLiteral("remote error")); }
    bool installObjectEventHandler(Object::Ptr, const QString &, const QString &) override { return false; }
    bool uninstallObjectEventHandler(Object::Ptr, const QString &, const QString &) override { return false; }
    bool installClassEventHandler(const QString &, const QString &, const QString &) override
    {
        return false;
    }
    bool uninstallClassEventHandler(const QString &, const QString &, const QString &) override
    {
        return false;
    }
    bool installGlobalEventHandler(const QString &, const QString &) override
    {
        return log("installGlobal", true);
    }
    bool uninstallGlobalEventHandler(const QString &, const QString &) override { return false; }
    QVariant call(const QString &n, const FList<QVariant> &a) override
    {
        return log("call(" + n + ")", QVariant(a.size()));
    }
    QMap<QString, QStringList> unmatchedProperties() const override
    {
        return log("unmatchedProperties",
                   QMap<QString, QStringList> { { QStringLiteral("remote"), QStringList() } });
    }
};

// Runs \p body on a fresh Inspector and puts the process-wide one back afterwards.
template <class Body>
void withOwnInspector(Body body)
{
    Inspector *saved = Inspector::insp;
    Inspector::insp = nullptr;
    Inspector *own = Inspector::self();
    body(own);
    delete own;
    EXPECT_EQ(Inspector::insp, nullptr);
    Inspector::insp = saved;
}

struct CountedClass : public Class
{
    static int instances;
    CountedClass(const char *name, Namespace *ns)
        : Class(name, ns, true)
    {
        ++instances;
    }
    ~CountedClass() override { --instances; }
};
int CountedClass::instances = 0;

struct CountedNamespace : public Namespace
{
    static int instances;
    CountedNamespace(Namespace *parent, const QString &name)
        : Namespace(parent, name)
    {
        ++instances;
    }
    ~CountedNamespace() override { --instances; }
};
int CountedNamespace::instances = 0;

} // namespace

TEST(InspectorLifecycle, DestructorDeletesClassesAndNamespacesSendersLeave)
{
    withOwnInspector([](Inspector *own) {
        EXPECT_EQ(own->numClasses(), 16);
        Namespace *ns = new CountedNamespace(own->globalNamespace(), QStringLiteral("Counted"));
        new CountedClass("InspTest_Counted1", own->globalNamespace());
        new CountedClass("InspTest_Counted2", ns);
        EXPECT_EQ(CountedClass::instances, 2);
        EXPECT_EQ(CountedNamespace::instances, 1);

        std::vector<int> log;
        Event event(own->type(Inspector::Int), QStringLiteral("e"), Signature());
        Object::Ptr obj = own->createPrimitive(1);
        {
            RecordingSender sender(&log, 1, true);
            own->sendEvent(&event, obj, ObjectList());
        }
        own->sendEvent(&event, obj, ObjectList());
        EXPECT_EQ(log, std::vector<int> { 1 }); // a destroyed sender left the list
    });
    EXPECT_EQ(CountedClass::instances, 0);
    EXPECT_EQ(CountedNamespace::instances, 0);
}

TEST(InspectorForwarding, CallsGoToTheImplementation)
{
    withOwnInspector([](Inspector *insp) {
        const Class *localInt = insp->type(Inspector::Int);
        FakeInterface fake;
        insp->setInspectorInterfaceImpl(&fake);
        EXPECT_EQ(insp->numClasses(), 99);
        EXPECT_EQ(insp->numNamespaces(), 7);
        EXPECT_EQ(insp->numObjects(), 3);
        fake.typeAnswer = localInt;
        EXPECT_EQ(insp->type(QStringLiteral("x")), localInt);
        EXPECT_EQ(insp->globalClass(), localInt); // through the virtual type(int)
        EXPECT_EQ(insp->globalNamespace(), nullptr);
        EXPECT_EQ(insp->registerClass(localInt), 1234);
        fake.answer = Object::Ptr(new Object(dummy, localInt, ObjectAttribute()));
        EXPECT_EQ(insp->createPrimitive(1), fake.answer);
        EXPECT_EQ(insp->createPrimitive("t"), fake.answer);
        EXPECT_EQ(insp->voidObject(), fake.answer);
        EXPECT_EQ(insp->findObject(QStringLiteral("name")), fake.answer);
        EXPECT_EQ(insp->object(QStringLiteral("n"), nullptr), fake.answer);
        EXPECT_EQ(insp->call(QStringLiteral("f"), FList<QVariant> { QVariant(1), QVariant(2) }), QVariant(2));
        EXPECT_EQ(insp->unmatchedProperties().keys(), QStringList { QStringLiteral("remote") });
        EXPECT_TRUE(insp->installGlobalEventHandler(QStringLiteral("e"), QStringLiteral("h")));
        // Event compression reaches only an implementation; the setters forward instead of storing.
        insp->enableEventCompression(QStringLiteral("k"), true);
        insp->setMouseTracking(QStringLiteral("m"), true);
        EXPECT_FALSE(insp->hasMouseTracking(QStringLiteral("m")));
        EXPECT_EQ(fake.calls,
                  (QStringList { "numClasses", "numNamespaces", "numObjects", "type(x)", "type(9)",
                                 "nameSpace(int)", "registerClass", "prim(int)", "prim(text)", "voidObject",
                                 "findObject(name)", "object(n)", "call(f)", "unmatchedProperties",
                                 "installGlobal", "enableEventCompression(k)", "setMouseTracking" }));
        fake.calls.clear();

        // sendEvent checks for null locally before forwarding.
        {
            VexilTest::StderrCapture capture;
            insp->sendEvent(nullptr, fake.answer, ObjectList());
            EXPECT_NE(capture.text().find("Inspector::sendEvent failed"), std::string::npos);
        }
        EXPECT_TRUE(fake.calls.isEmpty());
        Event event(localInt, QStringLiteral("e"), Signature());
        insp->sendEvent(&event, fake.answer, ObjectList());
        EXPECT_EQ(fake.calls, QStringList { QStringLiteral("sendEvent") });
        fake.calls.clear();

        // An empty name is refused locally, and the error goes both ways.
        EXPECT_EQ(insp->findObject(QString()), nullptr);
        EXPECT_EQ(fake.calls,
                  QStringList { QStringLiteral("setError(Empty Object Name passed to findObject!)") });
        EXPECT_EQ(insp->lastError(), QStringLiteral("remote error"));

        // The top-level list is not built nor extended while an implementation answers.
        insp->addTopLevelHierarchyDelegate(nullptr);
        EXPECT_EQ(insp->topLevelHierarchyDelegates(), nullptr);

        // The enumerator lookup asks the class through the (forwarded) type slot.
        fake.calls.clear();
        fake.typeAnswer = nullptr;
        EXPECT_EQ(insp->enumerator(QStringLiteral("Remote::Cls::E")), nullptr);
        EXPECT_EQ(fake.calls, QStringList { QStringLiteral("type(Remote::Cls)") });

        insp->setError(QStringLiteral("both"));
        insp->setInspectorInterfaceImpl(nullptr);
        // Uninstalled: the local tables were emptied, the name hash and the local error text were kept.
        EXPECT_EQ(insp->numClasses(), 0);
        EXPECT_EQ(insp->numNamespaces(), 0);
        EXPECT_EQ(insp->type(Inspector::Int), nullptr);
        EXPECT_EQ(insp->type(QStringLiteral("int")), localInt);
        EXPECT_EQ(insp->lastError(), QStringLiteral("both"));
    });
}
