// bench_objectmap.cpp: name parsing against a JSON baseline, and a 100,000-entry object map.
#include "objectmap.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QStringList>

#include <vector>

using Vexil::ObjectMap;

namespace {

const char *const kTypes[] = { "QPushButton", "QLabel",    "QLineEdit", "QComboBox",
                               "QTreeView",   "QCheckBox", "QSpinBox",  "QToolButton" };
const char *const kTexts[] = { "Save",       "Cancel",        "OK",          "File name:", "It\\'s done",
                               "C:\\\\temp", "Apply changes", "Recent files" };

struct NamePart
{
    QString key;
    QString op;
    QString value; // quoted value text as written (escapes kept), or a nested name
    bool nested;
    QByteArray nestedJson;
};

// One realistic name: type, a text or name, often a window and sometimes a container (nested names),
// now and then an occurrence, a regular expression or a wildcard.
QString makeName(QRandomGenerator &rng, int depth, QByteArray *json)
{
    std::vector<NamePart> parts;
    auto plain = [&](const char *key, const char *op, const QString &value) {
        parts.push_back({ QLatin1String(key), QLatin1String(op), value, false, QByteArray() });
    };
    auto nested = [&](const char *key) {
        NamePart part { QLatin1String(key), QStringLiteral("="), QString(), true, QByteArray() };
        part.value = makeName(rng, depth + 1, &part.nestedJson);
        parts.push_back(part);
    };
    plain("type", "=", QLatin1String(kTypes[rng.bounded(8)]));
    if (rng.bounded(4) == 0)
        plain("text", "~=", QStringLiteral("Sav.*"));
    else if (rng.bounded(6) == 0)
        plain("text", "?=", QStringLiteral("*.txt"));
    else
        plain("text", "=", QLatin1String(kTexts[rng.bounded(8)]));
    if (rng.bounded(3) == 0)
        plain("name", "=", QStringLiteral("object_%1").arg(rng.bounded(1000)));
    if (rng.bounded(5) == 0)
        plain("occurrence", "=", QString::number(rng.bounded(2, 5)));
    if (depth < 2 && rng.bounded(3) != 0)
        nested("window");
    if (depth < 1 && rng.bounded(4) == 0)
        nested("container");

    QString name = QStringLiteral("{");
    json->append('{');
    for (size_t i = 0; i < parts.size(); ++i) {
        const NamePart &p = parts[i];
        if (i) {
            name += QLatin1Char(' ');
            json->append(',');
        }
        json->append('"').append(p.key.toUtf8()).append("\":");
        if (p.nested) {
            name += p.key + p.op + p.value;
            json->append(p.nestedJson);
        } else {
            name += p.key + p.op + QLatin1Char('\'') + p.value + QLatin1Char('\'');
            QByteArray v = p.value.toUtf8();
            v.replace("'", "\\u0027");
            json->append('"').append(v).append('"');
        }
    }
    name += QLatin1Char('}');
    json->append('}');
    return name;
}

struct Corpus
{
    QStringList names;
    std::vector<QByteArray> json;
    qint64 nameBytes = 0;
    qint64 jsonBytes = 0;
};

const Corpus &corpus()
{
    static const Corpus c = [] {
        Corpus c;
        QRandomGenerator rng(20240611);
        for (int i = 0; i < 2000; ++i) {
            QByteArray json;
            c.names << makeName(rng, 0, &json);
            c.nameBytes += c.names.last().toUtf8().size();
            c.jsonBytes += json.size();
            c.json.push_back(json);
            QString error;
            QJsonParseError jsonError;
            if (Vexil::parseNameByProperties(c.names.last(), &error).isEmpty()
                || QJsonDocument::fromJson(json, &jsonError).isNull())
                qFatal("bad benchmark input: %s %s", qPrintable(error), qPrintable(jsonError.errorString()));
        }
        return c;
    }();
    return c;
}

void BM_ParseMultiPropertyNames(benchmark::State &state)
{
    const Corpus &c = corpus();
    for (auto _ : state) {
        for (const QString &name : c.names)
            benchmark::DoNotOptimize(Vexil::parseNameByProperties(name, nullptr));
    }
    state.SetBytesProcessed(state.iterations() * c.nameBytes);
    state.counters["avg_bytes"] = double(c.nameBytes) / c.names.size();
}
BENCHMARK(BM_ParseMultiPropertyNames);

// Baseline: the same names written as JSON objects, with the same nesting.
void BM_JsonBaseline(benchmark::State &state)
{
    const Corpus &c = corpus();
    for (auto _ : state) {
        for (const QByteArray &json : c.json)
            benchmark::DoNotOptimize(QJsonDocument::fromJson(json));
    }
    state.SetBytesProcessed(state.iterations() * c.jsonBytes);
    state.counters["avg_bytes"] = double(c.jsonBytes) / c.json.size();
}
BENCHMARK(BM_JsonBaseline);

constexpr int kMapEntries = 100000;

// A map file of windows and the objects in them, each referring to its window symbolically.
const QString &mapText()
{
    static const QString text = [] {
        QRandomGenerator rng(99);
        const int windows = kMapEntries / 50;
        QString out;
        for (int w = 0; w < windows; ++w)
            out += QStringLiteral(":Window%1_QDialog\t{type='QDialog' windowTitle='Window %1'}\n").arg(w);
        for (int i = windows; i < kMapEntries; ++i) {
            const int w = rng.bounded(windows);
            if (i % 10 == 0) {
                out += QStringLiteral(":obj%1\tWindow%2.central.frame%1\n").arg(i).arg(w);
                continue;
            }
            out += QStringLiteral(":Window%2.Item%1_%3\t{name='item%1' text='%4 %1' type='%3' "
                                  "window=':Window%2_QDialog'}\n")
                       .arg(i)
                       .arg(w)
                       .arg(QLatin1String(kTypes[rng.bounded(8)]))
                       .arg(QLatin1String(kTexts[rng.bounded(8)]));
        }
        return out;
    }();
    return text;
}

void BM_LoadFromString100k(benchmark::State &state)
{
    const QString &text = mapText();
    for (auto _ : state) {
        ObjectMap map(false);
        map.loadFromString(text);
        benchmark::DoNotOptimize(map.size());
        state.PauseTiming(); // keep the teardown of 200,000 map nodes out of the figure
        map.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(BM_LoadFromString100k)->Unit(benchmark::kMillisecond);

void BM_ToString100k(benchmark::State &state)
{
    ObjectMap map(false);
    map.loadFromString(mapText());
    for (auto _ : state)
        benchmark::DoNotOptimize(map.toString());
    state.SetItemsProcessed(state.iterations() * kMapEntries);
}
BENCHMARK(BM_ToString100k)->Unit(benchmark::kMillisecond);

// The lookup index is built by the first lookup after a load; this is that one-off cost.
void BM_FirstLookupAfterLoad100k(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        ObjectMap map(false);
        map.loadFromString(mapText());
        state.ResumeTiming();
        benchmark::DoNotOptimize(map.printableName(QStringLiteral("{type='QLabel' text='x'}")));
        state.PauseTiming();
        map.clear();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_FirstLookupAfterLoad100k)->Unit(benchmark::kMillisecond);

// Real names as a recorder produces them: the stored properties in another order and spacing, so
// the text alone does not find them; a few plain names and one name the map does not hold.
struct LookupFixture
{
    ObjectMap map { false };
    QStringList names;
    LookupFixture()
    {
        map.loadFromString(mapText());
        QRandomGenerator rng(7);
        const auto &entries = map.symbolicNames();
        const QStringList keys = entries.keys();
        while (names.size() < 1000) {
            const QString key = keys.at(rng.bounded(keys.size()));
            const Vexil::ObjectName &real = entries.value(key);
            if (!real.isMultiProperty()) {
                names << real.qualifiedName();
                continue;
            }
            // Reverse the entries and double the blanks.
            QStringList parts;
            const auto &props = real.properties();
            for (auto it = props.cbegin(); it != props.cend(); ++it)
                parts.prepend(it.key() + QStringLiteral("='") + it->value() + QLatin1Char('\''));
            names << QStringLiteral("{ ") + parts.join(QStringLiteral("  ")) + QStringLiteral(" }");
        }
        names << QStringLiteral("{type='QLabel' text='not in the map' window=':Window3_QDialog'}");
        map.printableName(names.first()); // builds the index
    }
};

LookupFixture &lookupFixture()
{
    static LookupFixture f;
    return f;
}

void BM_SymbolicNameLookup100k(benchmark::State &state)
{
    LookupFixture &f = lookupFixture();
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(f.map.symbolicName(f.names.at(i), false));
        i = (i + 1) % f.names.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SymbolicNameLookup100k)->Unit(benchmark::kMicrosecond);

void BM_PrintableNameLookup100k(benchmark::State &state)
{
    LookupFixture &f = lookupFixture();
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(f.map.printableName(f.names.at(i)));
        i = (i + 1) % f.names.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PrintableNameLookup100k)->Unit(benchmark::kMicrosecond);

} // namespace
