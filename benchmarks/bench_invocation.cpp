// bench_invocation.cpp: cost of a script call through the overload set, against Qt's own dynamic call.
#include "inspector.h"
#include "object.h"

#include <QMetaObject>
#include <QObject>

#include <benchmark/benchmark.h>

using namespace Vexil;

namespace {

// One method, add(int a, int b), whose raw slot adds the two values behind the argument pointers.
class AdderClass : public Class
{
public:
    AdderClass()
        : Class("BenchAdder", true)
    {
        setNumMethods(1);
    }

    Method *createMethod(int index) const override
    {
        const Class *integer = Inspector::self()->type(Inspector::Int);
        const Signature sig(Argument(QStringLiteral("a"), integer), Argument(QStringLiteral("b"), integer));
        return new Method(this, Argument(Inspector::self()->type(Inspector::Void)), QStringLiteral("add"),
                          sig, false, index);
    }

    using Class::invoke;
    Object::Ptr invoke(int, void *, void **args, const Class *) const override
    {
        sum = *static_cast<int *>(args[0]) + *static_cast<int *>(args[1]);
        return result;
    }

    mutable int sum = 0;
    Object::Ptr result;
};

AdderClass *adder()
{
    static AdderClass *cls = [] {
        AdderClass *c = new AdderClass();
        c->result = Inspector::self()->voidObject();
        return c;
    }();
    return cls;
}

int s_target = 0;

} // namespace

class QtAdder : public QObject
{
    Q_OBJECT
public slots:
    void add(int a, int b) { sum = a + b; }

public:
    int sum = 0;
};

static void BM_MethodListInvoke(benchmark::State &state)
{
    AdderClass *cls = adder();
    Object::Ptr target = cls->wrap(&s_target, ObjectAttribute());
    const MethodList list = cls->methods(QStringLiteral("add"));
    const ObjectList args { Inspector::self()->createPrimitive(3), Inspector::self()->createPrimitive(4) };
    for (auto _ : state)
        benchmark::DoNotOptimize(list.invoke(target, args));
    if (cls->sum != 7)
        state.SkipWithError("wrong sum");
}
BENCHMARK(BM_MethodListInvoke);

static void BM_MethodListInvokeByName(benchmark::State &state)
{
    AdderClass *cls = adder();
    Object::Ptr target = cls->wrap(&s_target, ObjectAttribute());
    const QString name = QStringLiteral("add");
    const ObjectList args { Inspector::self()->createPrimitive(3), Inspector::self()->createPrimitive(4) };
    for (auto _ : state)
        benchmark::DoNotOptimize(cls->methods(name).invoke(target, args));
    if (cls->sum != 7)
        state.SkipWithError("wrong sum");
}
BENCHMARK(BM_MethodListInvokeByName);

static void BM_MethodListInvokeConverted(benchmark::State &state)
{
    AdderClass *cls = adder();
    Object::Ptr target = cls->wrap(&s_target, ObjectAttribute());
    const MethodList list = cls->methods(QStringLiteral("add"));
    const ObjectList args { Inspector::self()->createPrimitive(3.0), Inspector::self()->createPrimitive(4) };
    for (auto _ : state)
        benchmark::DoNotOptimize(list.invoke(target, args));
    if (cls->sum != 7)
        state.SkipWithError("wrong sum");
}
BENCHMARK(BM_MethodListInvokeConverted);

static void BM_CreatePrimitiveToInteger(benchmark::State &state)
{
    Inspector *insp = Inspector::self();
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(insp->createPrimitive(++i)->toInteger());
}
BENCHMARK(BM_CreatePrimitiveToInteger);

static void BM_QtInvokeMethod(benchmark::State &state)
{
    QtAdder obj;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            QMetaObject::invokeMethod(&obj, "add", Qt::DirectConnection, Q_ARG(int, 3), Q_ARG(int, 4)));
    if (obj.sum != 7)
        state.SkipWithError("wrong sum");
}
BENCHMARK(BM_QtInvokeMethod);

#include "bench_invocation.moc"
