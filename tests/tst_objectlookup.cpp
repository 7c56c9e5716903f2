// tst_objectlookup.cpp: findObject over a small fake application: symbolic, multi-property, dotted and
// prefixed names, the cache, and every composed "not found" text.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "objectmap.h"

#include <vector>

using namespace Vexil;

namespace {

// The fake application: a tree of named widgets. Objects of class "LkTest_Widget" wrap a Node*.
struct Node
{
    QString name;
    std::vector<Node *> children;
    Node *parent = nullptr;

    Node *add(const QString &childName)
    {
        Node *n = new Node { childName, {}, this };
        children.push_back(n);
        return n;
    }
};

int g_calls = 0; // every delegate call of the fake application
int g_qualifiedCalls = 0; // calls of objectByQualifiedName overrides
int g_fallbackCalls = 0; // calls of the override that falls back to the default
QString g_childError; // set as the Inspector's error by a failing childByName when not empty

const Class *widgetClass();

Object::Ptr wrapNode(Node *n)
{
    return n ? Object::Ptr(new Object(n, widgetClass(), ObjectAttribute())) : Object::Ptr();
}

Node *nodeOf(const Object::Ptr &o)
{
    return o ? static_cast<Node *>(o->rawData()) : nullptr;
}

Node *findByName(const std::vector<Node *> &nodes, const QString &name)
{
    for (Node *n : nodes) {
        if (n->name == name)
            return n;
        if (Node *hit = findByName(n->children, name))
            return hit;
    }
    return nullptr;
}

// Children of a widget; with a list of top-level nodes, also the top level (a null parent).
class WidgetHierarchy : public ObjectHierarchyDelegate
{
public:
    explicit WidgetHierarchy(const QString &cls, std::vector<Node *> *tops = nullptr)
        : ObjectHierarchyDelegate(cls)
        , m_tops(tops)
    {
    }
    const std::vector<Node *> &kids(const Object::Ptr &parent) const
    {
        static const std::vector<Node *> none;
        return parent ? nodeOf(parent)->children : m_tops ? *m_tops : none;
    }
    int numChildren(Object::Ptr parent) const override { return ++g_calls, int(kids(parent).size()); }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        return ++g_calls, wrapNode(kids(parent)[size_t(i)]);
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        ++g_calls;
        for (Node *n : kids(parent)) {
            if (n->name == name)
                return wrapNode(n);
        }
        if (parent && !g_childError.isEmpty())
            Inspector::self()->setError(g_childError);
        return Object::Ptr();
    }
    QString name(Object::Ptr o) const override { return ++g_calls, nodeOf(o)->name; }
    QString qualifiedName(Object::Ptr o) const override { return ++g_calls, "q(" + nodeOf(o)->name + ")"; }
    int wrapperType(Object::Ptr) const override { return 0; }

protected:
    std::vector<Node *> *m_tops;
};

// The Qt top level. Multi-property names are matched on their "name" property against the whole tree;
// a miss records the other keys as unmatched properties.
class TopLevelQt : public WidgetHierarchy
{
public:
    explicit TopLevelQt(std::vector<Node *> *tops)
        : WidgetHierarchy(QStringLiteral("Vexil::ToplevelQt"), tops)
    {
    }
    Object::Ptr objectByQualifiedName(Object::Ptr, const ObjectName &name) const override
    {
        ++g_calls;
        ++g_qualifiedCalls;
        if (!name.isValid())
            return Object::Ptr();
        if (!name.isMultiProperty()) { // a plain name this toolkit knows by itself
            const bool magic = name.qualifiedName() == QLatin1String("magic");
            return magic ? wrapNode(findByName(*m_tops, QStringLiteral("deep"))) : Object::Ptr();
        }
        if (Node *hit = findByName(*m_tops, name.property(QStringLiteral("name")).value()))
            return wrapNode(hit);
        QStringList others = name.properties().keys();
        others.removeAll(QStringLiteral("name"));
        if (!others.isEmpty())
            Inspector::self()->setUnmatchedProperties(name.qualifiedName(), others);
        return Object::Ptr();
    }
};

// A toolkit without objects that keeps the default qualified lookup...
class TopLevelTk : public WidgetHierarchy
{
public:
    explicit TopLevelTk(const QString &cls = QStringLiteral("Vexil::ToplevelTk"))
        : WidgetHierarchy(cls)
    {
    }
};

// ... and one that overrides it only to fall back on the default.
class TopLevelWeb : public TopLevelTk
{
public:
    TopLevelWeb()
        : TopLevelTk(QStringLiteral("Vexil::ToplevelWeb"))
    {
    }
    Object::Ptr objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const override
    {
        ++g_calls;
        ++g_fallbackCalls;
        return ObjectHierarchyDelegate::objectByQualifiedName(parent, name);
    }
};

struct Silencer : public EventNotifyDelegate
{
    void notifyEvent(const EventData &) const override { }
};

struct App
{
    std::vector<Node *> tops;
    const Class *cls = new Class("LkTest_Widget", true);
    Node *win = new Node { QStringLiteral("win"), {}, nullptr };

    App()
    {
        Node *panel = win->add(QStringLiteral("panel"));
        panel->add(QStringLiteral("ok"));
        panel->add(QStringLiteral("deep"));
        win->add(QStringLiteral("a.b"))->add(QStringLiteral("leaf"));
        win->add(QStringLiteral("back\\slash"));
        Node *dialog = new Node { QStringLiteral("dialog"), {}, nullptr };
        dialog->add(QStringLiteral("ok"));
        Node *dotted = new Node { QStringLiteral("x.y"), {}, nullptr };
        dotted->add(QStringLiteral("child"));
        tops = { win, dialog, dotted };

        // Registered before the first lookup builds the top-level list.
        new WidgetHierarchy(QStringLiteral("LkTest_Widget"));
        new TopLevelQt(&tops);
        new TopLevelWeb();
        new TopLevelTk();
    }
};

App &app()
{
    static App *instance = new App;
    return *instance;
}

const Class *widgetClass()
{
    return app().cls;
}

class ObjectLookup : public ::testing::Test
{
protected:
    void SetUp() override
    {
        app();
        Inspector *insp = Inspector::self();
        insp->lookupCacheEnabled = true;
        // Forget any cached result: a lookup of a name nobody uses replaces the cache.
        insp->findObject(QStringLiteral("__reset__"));
        insp->lastError();
        g_calls = g_qualifiedCalls = g_fallbackCalls = 0;
        g_childError.clear();
    }

    static QString lookupError(const QString &name)
    {
        Inspector *insp = Inspector::self();
        EXPECT_EQ(insp->findObject(name), nullptr) << name.toStdString();
        return insp->lastError();
    }

    static QString found(const QString &name)
    {
        Node *n = nodeOf(Inspector::self()->findObject(name));
        return n ? (n->parent ? n->parent->name + QLatin1Char('/') : QString()) + n->name
                 : QStringLiteral("-");
    }
};

} // namespace

TEST_F(ObjectLookup, TopLevelListOrderAndEmptyName)
{
    const auto *list = Inspector::self()->topLevelHierarchyDelegates();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->size(), 3u);
    EXPECT_EQ((*list)[0]->className(), QStringLiteral("Vexil::ToplevelQt"));
    EXPECT_EQ((*list)[1]->className(), QStringLiteral("Vexil::ToplevelTk"));
    EXPECT_EQ((*list)[2]->className(), QStringLiteral("Vexil::ToplevelWeb"));

    g_calls = 0;
    EXPECT_EQ(lookupError(QString()), QStringLiteral("Empty Object Name passed to findObject!"));
    EXPECT_EQ(g_calls, 0);
}

TEST_F(ObjectLookup, DottedPathsWithEscapes)
{
    EXPECT_EQ(found(QStringLiteral("win")), QStringLiteral("win"));
    EXPECT_EQ(found(QStringLiteral("win.panel.ok")), QStringLiteral("panel/ok"));
    EXPECT_EQ(found(QStringLiteral("win..panel.ok.")), QStringLiteral("panel/ok")); // empty parts dropped
    EXPECT_EQ(found(QStringLiteral("win.a\\.b.leaf")), QStringLiteral("a.b/leaf"));
    EXPECT_EQ(found(QStringLiteral("x\\.y.child")), QStringLiteral("x.y/child"));
    EXPECT_EQ(found(QStringLiteral("win.back\\\\slash")), QStringLiteral("win/back\\slash"));
    EXPECT_TRUE(Inspector::self()->lastError().isEmpty());
}

TEST_F(ObjectLookup, NotFoundMessages)
{
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("Object 'nosuch' not found."));
    EXPECT_EQ(lookupError(QStringLiteral("win.missing")),
              QStringLiteral(
                  "Object 'win.missing' not found.\n    Could not find child 'missing' under 'q(win)'"));
    EXPECT_EQ(lookupError(QStringLiteral("win.panel.missing")),
              QStringLiteral(
                  "Object 'win.panel.missing' not found.\n    Could not find child 'missing' under "
                  "'q(win).panel'"));
    // The walk stops at the first miss: the last part reached is named, not the last one written.
    EXPECT_EQ(lookupError(QStringLiteral("win.gone.ok.more")),
              QStringLiteral(
                  "Object 'win.gone.ok.more' not found.\n    Could not find child 'gone' under 'q(win)'"));
    // The missing part is named as split, with the placeholder for its escaped dot.
    EXPECT_EQ(lookupError(QStringLiteral("win.no\\.such")),
              QStringLiteral(
                  "Object 'win.no\\.such' not found.\n    Could not find child 'no\x01such' under 'q(win)'"));
    EXPECT_EQ(lookupError(QStringLiteral("..")), QStringLiteral("Object '..' not found.")); // no parts

    // An earlier error text is quoted, then reset.
    g_childError = QStringLiteral("access denied");
    EXPECT_EQ(lookupError(QStringLiteral("win.missing")),
              QStringLiteral(
                  "Object 'win.missing' not found: access denied\n    Could not find child 'missing' "
                  "under 'q(win)'"));
    g_childError.clear();
    Inspector::self()->setError(QStringLiteral("stale"));
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("Object 'nosuch' not found: stale"));
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("Object 'nosuch' not found."));
}

TEST_F(ObjectLookup, InvalidNameOnlyGivesTheParserMessage)
{
    const QString name = QStringLiteral("{a}.b{c}"); // a "}" after the "}.": not split
    const QString parserMessage = ObjectName(name).errorMessage();
    ASSERT_FALSE(parserMessage.isEmpty());
    EXPECT_EQ(lookupError(name),
              QStringLiteral("Cannot find object with invalid object name: ") + parserMessage);
    EXPECT_EQ(g_qualifiedCalls, 0);
    const QString broken = QStringLiteral("{name='x'");
    EXPECT_EQ(lookupError(broken),
              QStringLiteral("Cannot find object with invalid object name: ")
                  + ObjectName(broken).errorMessage());
}

TEST_F(ObjectLookup, CacheServesTheSameNameWithoutDelegates)
{
    Inspector *insp = Inspector::self();
    Object::Ptr first = insp->findObject(QStringLiteral("win.panel.ok"));
    ASSERT_TRUE(first);
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral("win.panel.ok")).get(), first.get());
    EXPECT_EQ(g_calls, 0);

    // Another name replaces the cache; a failed walk caches null, which is never served.
    insp->findObject(QStringLiteral("win.panel"));
    g_calls = 0;
    EXPECT_NE(insp->findObject(QStringLiteral("win.panel.ok")).get(), first.get());
    EXPECT_GT(g_calls, 0);
    lookupError(QStringLiteral("win.missing"));
    g_calls = 0;
    lookupError(QStringLiteral("win.missing"));
    EXPECT_GT(g_calls, 0);

    // Switched off: every lookup walks.
    insp->lookupCacheEnabled = false;
    insp->findObject(QStringLiteral("win.panel"));
    g_calls = 0;
    insp->findObject(QStringLiteral("win.panel"));
    EXPECT_GT(g_calls, 0);
}

TEST_F(ObjectLookup, QualifiedLookupByDelegates)
{
    EXPECT_EQ(found(QStringLiteral("{name='deep'}")), QStringLiteral("panel/deep"));
    EXPECT_EQ(g_qualifiedCalls, 1);
    EXPECT_EQ(g_fallbackCalls, 0); // the first delegate answered

    // A plain name a delegate knows by itself never reaches the walk.
    EXPECT_EQ(found(QStringLiteral("magic")), QStringLiteral("panel/deep"));

    // Delegates are asked in list order; an override that falls back on the default is still asked every
    // time, on every compiler.
    g_qualifiedCalls = g_fallbackCalls = 0;
    lookupError(QStringLiteral("{name='none'}"));
    lookupError(QStringLiteral("{name='none2'}"));
    EXPECT_EQ(g_qualifiedCalls, 2);
    EXPECT_EQ(g_fallbackCalls, 2);
}

TEST_F(ObjectLookup, MultiPropertyMisses)
{
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")),
              QStringLiteral("Object '{name='none'}' not found."));
    EXPECT_EQ(lookupError(QStringLiteral("{name='none' type='Button' visible='1'}")),
              QStringLiteral("Object '{name='none' type='Button' visible='1'}' not found. Could not match "
                             "properties:\n    type,visible for object name: '{name='none' type='Button' "
                             "visible='1'}'"));

    // Keys come out in sorted order; recorded by other code, they are reported the same way.
    Inspector *insp = Inspector::self();
    insp->setUnmatchedProperties(QStringLiteral("{b='1'}"), QStringList { QStringLiteral("b") });
    insp->addUnmatchedProperty(QStringLiteral("{a='1'}"), QStringLiteral("a"));
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")),
              QStringLiteral(
                  "Object '{name='none'}' not found. Could not match properties:\n    a for object name: "
                  "'{a='1'}'\n    b for object name: '{b='1'}'"));
    // Reading the error forgot them.
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")),
              QStringLiteral("Object '{name='none'}' not found."));
}

TEST_F(ObjectLookup, PrefixedNames)
{
    Inspector *insp = Inspector::self();
    EXPECT_EQ(found(QStringLiteral("{name='dialog'}.ok")), QStringLiteral("dialog/ok"));
    EXPECT_EQ(g_qualifiedCalls, 2); // the whole name, then the prefix in the inner lookup

    // The inner lookup of the prefix goes through the cache like any other.
    ASSERT_TRUE(insp->findObject(QStringLiteral("{name='dialog'}")));
    g_qualifiedCalls = 0;
    Object::Ptr ok = insp->findObject(QStringLiteral("{name='dialog'}.ok"));
    ASSERT_TRUE(ok);
    EXPECT_EQ(g_qualifiedCalls, 1);
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral("{name='dialog'}.ok")).get(), ok.get());
    EXPECT_EQ(g_calls, 0);

    EXPECT_EQ(found(QStringLiteral("{name='panel'}.deep")), QStringLiteral("panel/deep"));
    EXPECT_EQ(lookupError(QStringLiteral("{name='dialog'}.cancel")),
              QStringLiteral(
                  "Object '{name='dialog'}.cancel' not found.\n    Could not find child 'cancel' under "
                  "'q(dialog)'"));
    // The prefix itself is missing: its own message becomes the quoted error.
    EXPECT_EQ(lookupError(QStringLiteral("{name='nodialog'}.ok")),
              QStringLiteral(
                  "Object '{name='nodialog'}.ok' not found: Object '{name='nodialog'}' not found."));
}

TEST_F(ObjectLookup, SymbolicNames)
{
    ASSERT_EQ(ObjectMap::self(), nullptr);
    // Without an object map the leading ":" is dropped.
    EXPECT_EQ(found(QStringLiteral(":win.panel")), QStringLiteral("win/panel"));
    EXPECT_EQ(lookupError(QStringLiteral(":nothing")),
              QStringLiteral("Object ':nothing' not found. Object name not found in Object Map."));
    EXPECT_EQ(lookupError(QStringLiteral(":win.nothing")),
              QStringLiteral(
                  "Object ':win.nothing' not found.\n    Could not find child 'nothing' under 'q(win)'"));

    Inspector *insp = Inspector::self();
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("win.panel.deep")), QStringLiteral(":Deep"));
    map.add(ObjectName(QStringLiteral("{name='none' type='Button'}")), QStringLiteral(":NoButton"));
    Object::Ptr deep = insp->findObject(QStringLiteral(":Deep"));
    EXPECT_EQ(nodeOf(deep)->name, QStringLiteral("deep"));
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral(":Deep")).get(), deep.get()); // cached under the name given
    EXPECT_EQ(g_calls, 0);
    EXPECT_EQ(lookupError(QStringLiteral(":Unknown")),
              QStringLiteral("Object ':Unknown' not found. Object name not found in Object Map."));
    // Unmatched keys are printed through the map.
    EXPECT_EQ(lookupError(QStringLiteral(":NoButton")),
              QStringLiteral(
                  "Object ':NoButton' not found. Could not match properties:\n    type for object name: "
                  "':NoButton'"));
}

TEST_F(ObjectLookup, SilentWhenTheInterfaceFlagAndANotifierAreSet)
{
    Inspector *insp = Inspector::self();
    insp->silentLookups = true;
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")),
              QStringLiteral("Object 'nosuch' not found.")); // no notifier
    {
        Silencer silencer;
        insp->setError(QStringLiteral("before"));
        EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("before"));
        EXPECT_EQ(lookupError(QStringLiteral("win.missing")), QString());
    }
    insp->silentLookups = false;
}
