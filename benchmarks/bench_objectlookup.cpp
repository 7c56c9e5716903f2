// bench_objectlookup.cpp: findObject of a cached name and of a five-level dotted path in a synthetic tree of
// 111,110 objects (10 top-level objects, 10 children each, five levels), against the same walk over an
// equivalent QObject tree with findChild(name, Qt::FindDirectChildrenOnly).
#include "delegate.h"
#include "inspector.h"
#include "object.h"
#include "objectmap.h"

#include <benchmark/benchmark.h>

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <vector>

using namespace Vexil;

namespace {

const int kFanOut = 10;
const int kDepth = 5;

// The application side of the model's tree: children are found by name through a hash.
struct Node
{
    QString name;
    QHash<QString, Node *> byName;
    std::vector<Node *> children;
};

const Class *s_nodeClass = nullptr;
std::vector<Node *> s_tops;
QHash<QString, Node *> s_topByName;

Object::Ptr wrapNode(Node *n)
{
    return n ? s_nodeClass->wrap(n, ObjectAttribute()) : Object::Ptr();
}

Node *nodeOf(const Object::Ptr &o)
{
    return static_cast<Node *>(o->rawData());
}

class NodeHierarchy : public ObjectHierarchyDelegate
{
public:
    explicit NodeHierarchy(const QString &cls)
        : ObjectHierarchyDelegate(cls)
    {
    }
    int numChildren(Object::Ptr parent) const override
    {
        return parent ? int(nodeOf(parent)->children.size()) : int(s_tops.size());
    }
    Object::Ptr child(Object::Ptr parent, int i) const override
    {
        return wrapNode(parent ? nodeOf(parent)->children[size_t(i)] : s_tops[size_t(i)]);
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        return wrapNode((parent ? nodeOf(parent)->byName : s_topByName).value(name, nullptr));
    }
    QString name(Object::Ptr o) const override { return nodeOf(o)->name; }
    QString qualifiedName(Object::Ptr o) const override { return nodeOf(o)->name; }
    int wrapperType(Object::Ptr) const override { return 0; }
};

QString childName(int level, int i)
{
    return QStringLiteral("obj_%1_%2").arg(level).arg(i);
}

Node *buildNode(const QString &name, int level)
{
    Node *n = new Node;
    n->name = name;
    if (level < kDepth) {
        for (int i = 0; i < kFanOut; ++i) {
            Node *c = buildNode(childName(level + 1, i), level + 1);
            n->children.push_back(c);
            n->byName.insert(c->name, c);
        }
    }
    return n;
}

QObject *buildQObject(const QString &name, int level, QObject *parent)
{
    QObject *o = new QObject(parent);
    o->setObjectName(name);
    if (level < kDepth) {
        for (int i = 0; i < kFanOut; ++i)
            buildQObject(childName(level + 1, i), level + 1, o);
    }
    return o;
}

// The path to the last child at every level: the worst case for a linear search of the children.
QStringList lastPath()
{
    QStringList parts;
    for (int level = 1; level <= kDepth; ++level)
        parts << childName(level, kFanOut - 1);
    return parts;
}

void setUpModel()
{
    if (s_nodeClass)
        return;
    Inspector::self();
    s_nodeClass = new Class("BenchNode", true);
    new NodeHierarchy(QStringLiteral("BenchNode"));
    new NodeHierarchy(QStringLiteral("Vexil::ToplevelQt"));
    for (int i = 0; i < kFanOut; ++i) {
        Node *top = buildNode(childName(1, i), 1);
        s_tops.push_back(top);
        s_topByName.insert(top->name, top);
    }
}

void BM_FindObjectCached(benchmark::State &state)
{
    setUpModel();
    Inspector *insp = Inspector::self();
    insp->lookupCacheEnabled = true;
    const QString name = lastPath().join(QLatin1Char('.'));
    if (!insp->findObject(name))
        state.SkipWithError("path not found");
    for (auto _ : state) {
        Object::Ptr o = insp->findObject(name);
        benchmark::DoNotOptimize(o.get());
    }
}
BENCHMARK(BM_FindObjectCached);

// The same with an object map of 10,000 entries and a symbolic name: the cache answers before the map is read.
void BM_FindObjectCachedSymbolic(benchmark::State &state)
{
    setUpModel();
    Inspector *insp = Inspector::self();
    insp->lookupCacheEnabled = true;
    ObjectMap map;
    for (int i = 0; i < 10000; ++i)
        map.add(Vexil::ObjectName(QStringLiteral("{name='w%1' type='QWidget'}").arg(i)),
                QStringLiteral(":w%1").arg(i));
    map.add(Vexil::ObjectName(lastPath().join(QLatin1Char('.'))), QStringLiteral(":Target"));
    const QString name = QStringLiteral(":Target");
    if (!insp->findObject(name))
        state.SkipWithError("symbolic name not found");
    for (auto _ : state) {
        Object::Ptr o = insp->findObject(name);
        benchmark::DoNotOptimize(o.get());
    }
}
BENCHMARK(BM_FindObjectCachedSymbolic);

void BM_FindObjectFiveLevels(benchmark::State &state)
{
    setUpModel();
    Inspector *insp = Inspector::self();
    insp->lookupCacheEnabled = false;
    const QString name = lastPath().join(QLatin1Char('.'));
    if (!insp->findObject(name))
        state.SkipWithError("path not found");
    for (auto _ : state) {
        Object::Ptr o = insp->findObject(name);
        benchmark::DoNotOptimize(o.get());
    }
    insp->lookupCacheEnabled = true;
}
BENCHMARK(BM_FindObjectFiveLevels);

void BM_QObjectFindChildFiveLevels(benchmark::State &state)
{
    QObject root; // stands for the application: the top-level objects are its direct children
    for (int i = 0; i < kFanOut; ++i)
        buildQObject(childName(1, i), 1, &root);
    const QStringList parts = lastPath();
    for (auto _ : state) {
        QObject *o = &root;
        for (const QString &part : parts) {
            o = o->findChild<QObject *>(part, Qt::FindDirectChildrenOnly);
            if (!o)
                break;
        }
        benchmark::DoNotOptimize(o);
    }
}
BENCHMARK(BM_QObjectFindChildFiveLevels);

} // namespace
