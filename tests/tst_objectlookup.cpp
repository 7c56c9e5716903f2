// tst_objectlookup.cpp: findObject over a small fake application: symbolic, multi-property, dotted and
// prefixed names, the cache, and every composed "not found" text.
#include "testsupport.h"

#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "objectmap.h"

#include <memory>
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
        Node *n = new Node;
        n->name = childName;
        n->parent = this;
        children.push_back(n);
        return n;
    }
};

int g_calls = 0;                 // every delegate call of the fake application
int g_qualifiedCalls = 0;        // calls of objectByQualifiedName overrides
int g_fallbackCalls = 0;         // calls of the override that falls back to the default
QString g_childError;            // set as the Inspector's error by a failing childByName when not empty

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

// Children of a widget.
class WidgetHierarchy : public ObjectHierarchyDelegate
{
public:
    explicit WidgetHierarchy(const QString &cls = QStringLiteral("LkTest_Widget"))
        : ObjectHierarchyDelegate(cls)
    {
    }
    int numChildren(Object::Ptr parent) const override
    {
        ++g_calls;
        return parent ? int(nodeOf(parent)->children.size()) : 0;
    }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        ++g_calls;
        return parent ? wrapNode(nodeOf(parent)->children[size_t(i)]) : Object::Ptr();
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        ++g_calls;
        for (Node *n : nodeOf(parent)->children) {
            if (n->name == name)
                return wrapNode(n);
        }
        if (!g_childError.isEmpty())
            Inspector::self()->setError(g_childError);
        return Object::Ptr();
    }
    QString name(Object::Ptr o) const override
    {
        ++g_calls;
        return nodeOf(o)->name;
    }
    QString qualifiedName(Object::Ptr o) const override
    {
        ++g_calls;
        return QStringLiteral("q(") + nodeOf(o)->name + QLatin1Char(')');
    }
    int wrapperType(Object::Ptr) const override { return 0; }
};

// The top level. Multi-property names are matched on their "name" property against the whole tree;
// a miss records the other keys as unmatched properties.
class TopLevelQt : public WidgetHierarchy
{
public:
    explicit TopLevelQt(std::vector<Node *> *tops)
        : WidgetHierarchy(QStringLiteral("Vexil::ToplevelQt"))
        , m_tops(tops)
    {
    }
    int numChildren(Object::Ptr parent) const override
    {
        if (parent)
            return WidgetHierarchy::numChildren(parent);
        ++g_calls;
        return int(m_tops->size());
    }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        if (parent)
            return WidgetHierarchy::child(parent, i);
        ++g_calls;
        return wrapNode((*m_tops)[size_t(i)]);
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        if (parent)
            return WidgetHierarchy::childByName(parent, name);
        ++g_calls;
        for (Node *n : *m_tops) {
            if (n->name == name)
                return wrapNode(n);
        }
        return Object::Ptr();
    }
    Object::Ptr objectByQualifiedName(Object::Ptr, const ObjectName &name) const override
    {
        ++g_calls;
        ++g_qualifiedCalls;
        if (!name.isValid())
            return Object::Ptr();
        if (!name.isMultiProperty()) {
            // A plain name this toolkit knows by itself.
            return name.qualifiedName() == QLatin1String("magic") ? wrapNode(findByName(*m_tops, QStringLiteral("deep")))
                                                                  : Object::Ptr();
        }
        Node *hit = findByName(*m_tops, name.property(QStringLiteral("name")).value());
        if (hit)
            return wrapNode(hit);
        QStringList others = name.properties().keys();
        others.removeAll(QStringLiteral("name"));
        if (!others.isEmpty())
            Inspector::self()->setUnmatchedProperties(name.qualifiedName(), others);
        return Object::Ptr();
    }

private:
    std::vector<Node *> *m_tops;
};

// A second toolkit that overrides the qualified lookup only to fall back on the default.
class TopLevelWeb : public ObjectHierarchyDelegate
{
public:
    TopLevelWeb()
        : ObjectHierarchyDelegate(QStringLiteral("Vexil::ToplevelWeb"))
    {
    }
    int numChildren(Object::Ptr) const override { return ++g_calls, 0; }
    Object::Ptr child(Object::Ptr, int) const override { return ++g_calls, Object::Ptr(); }
    Object::Ptr childByName(Object::Ptr, const QString &) const override { return ++g_calls, Object::Ptr(); }
    Object::Ptr objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const override
    {
        ++g_calls;
        ++g_fallbackCalls;
        return ObjectHierarchyDelegate::objectByQualifiedName(parent, name);
    }
    QString name(Object::Ptr) const override { return ++g_calls, QString(); }
    QString qualifiedName(Object::Ptr) const override { return ++g_calls, QString(); }
    int wrapperType(Object::Ptr) const override { return 0; }
};

// A third that keeps the default qualified lookup.
class TopLevelTk : public ObjectHierarchyDelegate
{
public:
    TopLevelTk()
        : ObjectHierarchyDelegate(QStringLiteral("Vexil::ToplevelTk"))
    {
    }
    int numChildren(Object::Ptr) const override { return ++g_calls, 0; }
    Object::Ptr child(Object::Ptr, int) const override { return ++g_calls, Object::Ptr(); }
    Object::Ptr childByName(Object::Ptr, const QString &) const override { return ++g_calls, Object::Ptr(); }
    QString name(Object::Ptr) const override { return ++g_calls, QString(); }
    QString qualifiedName(Object::Ptr) const override { return ++g_calls, QString(); }
    int wrapperType(Object::Ptr) const override { return 0; }
};

class Silencer : public EventNotifyDelegate
{
public:
    void notifyEvent(const EventData &) const override { }
};

struct App
{
    std::vector<Node *> tops;
    Node *win = nullptr;
    const Class *cls = nullptr;

    App()
    {
        Class *c = new Class("LkTest_Widget", true);
        cls = c;
        win = new Node;
        win->name = QStringLiteral("win");
        Node *panel = win->add(QStringLiteral("panel"));
        panel->add(QStringLiteral("ok"));
        panel->add(QStringLiteral("deep"));
        win->add(QStringLiteral("a.b"))->add(QStringLiteral("leaf"));
        win->add(QStringLiteral("back\\slash"));
        Node *dialog = new Node;
        dialog->name = QStringLiteral("dialog");
        dialog->add(QStringLiteral("ok"));
        Node *dotted = new Node;
        dotted->name = QStringLiteral("x.y");
        dotted->add(QStringLiteral("child"));
        tops = {win, dialog, dotted};

        // Registered before the first lookup builds the top-level list.
        new WidgetHierarchy();
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
        insp->lastError();
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
};

} // namespace

TEST_F(ObjectLookup, TopLevelListOrder)
{
    const auto *list = Inspector::self()->topLevelHierarchyDelegates();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->size(), 3u);
    EXPECT_EQ((*list)[0]->className(), QStringLiteral("Vexil::ToplevelQt"));
    EXPECT_EQ((*list)[1]->className(), QStringLiteral("Vexil::ToplevelTk"));
    EXPECT_EQ((*list)[2]->className(), QStringLiteral("Vexil::ToplevelWeb"));
}

TEST_F(ObjectLookup, EmptyName)
{
    EXPECT_EQ(Inspector::self()->findObject(QString()), nullptr);
    EXPECT_EQ(Inspector::self()->lastError(), QStringLiteral("Empty Object Name passed to findObject!"));
    EXPECT_EQ(g_calls, 0);
}

TEST_F(ObjectLookup, DottedPaths)
{
    Inspector *insp = Inspector::self();
    Object::Ptr win = insp->findObject(QStringLiteral("win"));
    ASSERT_TRUE(win);
    EXPECT_EQ(nodeOf(win), app().win);
    Object::Ptr ok = insp->findObject(QStringLiteral("win.panel.ok"));
    ASSERT_TRUE(ok);
    EXPECT_EQ(nodeOf(ok)->name, QStringLiteral("ok"));
    EXPECT_EQ(nodeOf(ok)->parent->name, QStringLiteral("panel"));
    // Empty parts are dropped.
    Object::Ptr again = insp->findObject(QStringLiteral("win..panel.ok."));
    ASSERT_TRUE(again);
    EXPECT_EQ(nodeOf(again), nodeOf(ok));
    EXPECT_TRUE(insp->lastError().isEmpty());
}

TEST_F(ObjectLookup, EscapedDotsAndBackslashes)
{
    Inspector *insp = Inspector::self();
    Object::Ptr leaf = insp->findObject(QStringLiteral("win.a\\.b.leaf"));
    ASSERT_TRUE(leaf);
    EXPECT_EQ(nodeOf(leaf)->name, QStringLiteral("leaf"));
    Object::Ptr child = insp->findObject(QStringLiteral("x\\.y.child"));
    ASSERT_TRUE(child);
    EXPECT_EQ(nodeOf(child)->parent->name, QStringLiteral("x.y"));
    Object::Ptr slash = insp->findObject(QStringLiteral("win.back\\\\slash"));
    ASSERT_TRUE(slash);
    EXPECT_EQ(nodeOf(slash)->name, QStringLiteral("back\\slash"));

    // The missing part is named as split, with the placeholder for its escaped dot.
    EXPECT_EQ(lookupError(QStringLiteral("win.no\\.such")),
              QStringLiteral("Object 'win.no\\.such' not found.\n    Could not find child 'no\x01such' under 'q(win)'"));
}

TEST_F(ObjectLookup, MissingChildMessages)
{
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("Object 'nosuch' not found."));
    EXPECT_EQ(lookupError(QStringLiteral("win.missing")),
              QStringLiteral("Object 'win.missing' not found.\n    Could not find child 'missing' under 'q(win)'"));
    EXPECT_EQ(lookupError(QStringLiteral("win.panel.missing")),
              QStringLiteral("Object 'win.panel.missing' not found.\n    Could not find child 'missing' under "
                             "'q(win).panel'"));
    // The walk stops at the first miss: the last part reached is named, not the last one written.
    EXPECT_EQ(lookupError(QStringLiteral("win.gone.ok.more")),
              QStringLiteral("Object 'win.gone.ok.more' not found.\n    Could not find child 'gone' under 'q(win)'"));
    // Nothing but dots: no parts, no object.
    EXPECT_EQ(lookupError(QStringLiteral("..")), QStringLiteral("Object '..' not found."));
}

TEST_F(ObjectLookup, EarlierErrorTextIsQuoted)
{
    Inspector *insp = Inspector::self();
    g_childError = QStringLiteral("access denied");
    EXPECT_EQ(lookupError(QStringLiteral("win.missing")),
              QStringLiteral("Object 'win.missing' not found: access denied\n    Could not find child 'missing' "
                             "under 'q(win)'"));
    g_childError.clear();
    insp->setError(QStringLiteral("stale"));
    EXPECT_EQ(lookupError(QStringLiteral("nosuch")), QStringLiteral("Object 'nosuch' not found: stale"));
}

TEST_F(ObjectLookup, InvalidNameOnlyGivesTheParserMessage)
{
    const QString name = QStringLiteral("{a}.b{c}");     // a "}" after the "}.": not split
    const QString parserMessage = ObjectName(name).errorMessage();
    ASSERT_FALSE(parserMessage.isEmpty());
    EXPECT_EQ(lookupError(name), QStringLiteral("Cannot find object with invalid object name: ") + parserMessage);
    EXPECT_EQ(g_qualifiedCalls, 0);

    const QString broken = QStringLiteral("{name='x'");
    EXPECT_EQ(lookupError(broken), QStringLiteral("Cannot find object with invalid object name: ")
                                       + ObjectName(broken).errorMessage());
}

TEST_F(ObjectLookup, CacheServesTheSameNameWithoutDelegates)
{
    Inspector *insp = Inspector::self();
    Object::Ptr first = insp->findObject(QStringLiteral("win.panel.ok"));
    ASSERT_TRUE(first);
    EXPECT_GT(g_calls, 0);
    g_calls = 0;
    Object::Ptr second = insp->findObject(QStringLiteral("win.panel.ok"));
    EXPECT_EQ(second.get(), first.get());
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
    insp->lookupCacheEnabled = true;
}

TEST_F(ObjectLookup, QualifiedLookupByDelegates)
{
    Inspector *insp = Inspector::self();
    Object::Ptr ok = insp->findObject(QStringLiteral("{name='deep'}"));
    ASSERT_TRUE(ok);
    EXPECT_EQ(nodeOf(ok)->name, QStringLiteral("deep"));
    EXPECT_EQ(g_qualifiedCalls, 1);
    EXPECT_EQ(g_fallbackCalls, 0);     // the first delegate answered

    // A plain name a delegate knows by itself never reaches the walk, and is cached.
    Object::Ptr magic = insp->findObject(QStringLiteral("magic"));
    ASSERT_TRUE(magic);
    EXPECT_EQ(nodeOf(magic)->name, QStringLiteral("deep"));
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral("magic")).get(), magic.get());
    EXPECT_EQ(g_calls, 0);

    // Delegates are asked in list order; one keeping the default is skipped, an override that falls back
    // on the default is still asked every time.
    g_qualifiedCalls = g_fallbackCalls = 0;
    lookupError(QStringLiteral("{name='none'}"));
    lookupError(QStringLiteral("{name='none2'}"));
    EXPECT_EQ(g_qualifiedCalls, 2);
    EXPECT_EQ(g_fallbackCalls, 2);
}

TEST_F(ObjectLookup, MultiPropertyMisses)
{
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")), QStringLiteral("Object '{name='none'}' not found."));
    EXPECT_EQ(lookupError(QStringLiteral("{name='none' type='Button' visible='1'}")),
              QStringLiteral("Object '{name='none' type='Button' visible='1'}' not found. Could not match "
                             "properties:\n    type,visible for object name: '{name='none' type='Button' "
                             "visible='1'}'"));

    // Keys come out in sorted order; recorded by other code, they are reported the same way.
    Inspector *insp = Inspector::self();
    insp->setUnmatchedProperties(QStringLiteral("{b='1'}"), QStringList{QStringLiteral("b")});
    insp->addUnmatchedProperty(QStringLiteral("{a='1'}"), QStringLiteral("a"));
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")),
              QStringLiteral("Object '{name='none'}' not found. Could not match properties:\n    a for object name: "
                             "'{a='1'}'\n    b for object name: '{b='1'}'"));
    // Reading the error forgot them.
    EXPECT_EQ(lookupError(QStringLiteral("{name='none'}")), QStringLiteral("Object '{name='none'}' not found."));
}

TEST_F(ObjectLookup, PrefixedNames)
{
    Inspector *insp = Inspector::self();
    Object::Ptr ok = insp->findObject(QStringLiteral("{name='dialog'}.ok"));
    ASSERT_TRUE(ok);
    EXPECT_EQ(nodeOf(ok)->parent->name, QStringLiteral("dialog"));
    EXPECT_EQ(g_qualifiedCalls, 2);     // the whole name, then the prefix in the inner lookup

    // The inner lookup of the prefix goes through the cache like any other.
    Object::Ptr dialog = insp->findObject(QStringLiteral("{name='dialog'}"));
    ASSERT_TRUE(dialog);
    g_qualifiedCalls = 0;
    ok = insp->findObject(QStringLiteral("{name='dialog'}.ok"));
    ASSERT_TRUE(ok);
    EXPECT_EQ(g_qualifiedCalls, 1);
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral("{name='dialog'}.ok")).get(), ok.get());
    EXPECT_EQ(g_calls, 0);

    Object::Ptr deeper = insp->findObject(QStringLiteral("{name='panel'}.deep"));
    ASSERT_TRUE(deeper);
    EXPECT_EQ(nodeOf(deeper)->name, QStringLiteral("deep"));

    EXPECT_EQ(lookupError(QStringLiteral("{name='dialog'}.cancel")),
              QStringLiteral("Object '{name='dialog'}.cancel' not found.\n    Could not find child 'cancel' under "
                             "'q(dialog)'"));
    // The prefix itself is missing: its own message becomes the quoted error.
    EXPECT_EQ(lookupError(QStringLiteral("{name='nodialog'}.ok")),
              QStringLiteral("Object '{name='nodialog'}.ok' not found: Object '{name='nodialog'}' not found."));
}

TEST_F(ObjectLookup, SymbolicNamesWithoutObjectMap)
{
    ASSERT_EQ(ObjectMap::self(), nullptr);
    Inspector *insp = Inspector::self();
    Object::Ptr panel = insp->findObject(QStringLiteral(":win.panel"));
    ASSERT_TRUE(panel);
    EXPECT_EQ(nodeOf(panel)->name, QStringLiteral("panel"));
    EXPECT_EQ(lookupError(QStringLiteral(":nothing")),
              QStringLiteral("Object ':nothing' not found. Object name not found in Object Map."));
    EXPECT_EQ(lookupError(QStringLiteral(":win.nothing")),
              QStringLiteral("Object ':win.nothing' not found.\n    Could not find child 'nothing' under 'q(win)'"));
}

TEST_F(ObjectLookup, SymbolicNamesThroughTheObjectMap)
{
    Inspector *insp = Inspector::self();
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("win.panel.deep")), QStringLiteral(":Deep"));
    map.add(ObjectName(QStringLiteral("{name='none' type='Button'}")), QStringLiteral(":NoButton"));
    Object::Ptr deep = insp->findObject(QStringLiteral(":Deep"));
    ASSERT_TRUE(deep);
    EXPECT_EQ(nodeOf(deep)->name, QStringLiteral("deep"));
    // The cache is keyed by the name as given.
    g_calls = 0;
    EXPECT_EQ(insp->findObject(QStringLiteral(":Deep")).get(), deep.get());
    EXPECT_EQ(g_calls, 0);

    EXPECT_EQ(lookupError(QStringLiteral(":Unknown")),
              QStringLiteral("Object ':Unknown' not found. Object name not found in Object Map."));
    // Unmatched keys are printed through the map.
    EXPECT_EQ(lookupError(QStringLiteral(":NoButton")),
              QStringLiteral("Object ':NoButton' not found. Could not match properties:\n    type for object name: "
                             "':NoButton'"));
}

TEST_F(ObjectLookup, SilentWhenTheInterfaceFlagAndANotifierAreSet)
{
    Inspector *insp = Inspector::self();
    insp->silentLookups = true;
    EXPECT_EQ(insp->findObject(QStringLiteral("nosuch")), nullptr);
    EXPECT_EQ(insp->lastError(), QStringLiteral("Object 'nosuch' not found."));     // no notifier: not silent
    {
        Silencer silencer;
        insp->setError(QStringLiteral("before"));
        EXPECT_EQ(insp->findObject(QStringLiteral("nosuch")), nullptr);
        EXPECT_EQ(insp->lastError(), QStringLiteral("before"));
        EXPECT_EQ(insp->findObject(QStringLiteral("win.missing")), nullptr);
        EXPECT_TRUE(insp->lastError().isEmpty());
    }
    insp->silentLookups = false;
}
