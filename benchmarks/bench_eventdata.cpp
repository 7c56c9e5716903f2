// bench_eventdata.cpp: writing and reading method-call records through QDataStream.
#include "inspector.h"
#include "object.h"

#include <QByteArray>
#include <QDataStream>

#include <benchmark/benchmark.h>

#include <vector>

using namespace Vexil;

namespace {

constexpr int kRecords = 100000;

// Method calls with an int, a double and a text argument, as a recorder makes them.
const std::vector<EventData> &records()
{
    static const std::vector<EventData> all = [] {
        std::vector<EventData> v;
        v.reserve(kRecords);
        Inspector *insp = Inspector::self();
        for (int i = 0; i < kRecords; ++i) {
            const ObjectList args { insp->createPrimitive(i), insp->createPrimitive(i * 0.5),
                                    insp->createPrimitive("some typed text") };
            v.emplace_back(QStringLiteral("setValue"), QStringLiteral("settings.spinBox"), args);
        }
        return v;
    }();
    return all;
}

void writeAll(QByteArray *bytes)
{
    QDataStream out(bytes, QIODevice::WriteOnly);
    for (const EventData &rec : records())
        rec.writeObject(out);
}

QByteArray writeAll()
{
    QByteArray bytes;
    writeAll(&bytes);
    return bytes;
}

void readAll(const QByteArray &bytes, benchmark::State &state)
{
    QDataStream in(bytes);
    for (int i = 0; i < kRecords; ++i) {
        EventData rec;
        rec.readObject(in);
        benchmark::DoNotOptimize(rec.arguments.size());
    }
    if (in.status() != QDataStream::Ok)
        state.SkipWithError("stream did not read back");
}

void BM_WriteRecords(benchmark::State &state)
{
    records();
    for (auto _ : state) {
        QByteArray bytes = writeAll();
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.counters["records/s"] = benchmark::Counter(double(state.iterations()) * kRecords,
                                                     benchmark::Counter::kIsRate);
}

void BM_ReadRecords(benchmark::State &state)
{
    const QByteArray bytes = writeAll();
    for (auto _ : state) {
        QDataStream in(bytes);
        int read = 0;
        for (int i = 0; i < kRecords; ++i) {
            EventData rec;
            rec.readObject(in);
            read += rec.arguments.size();
        }
        if (in.status() != QDataStream::Ok || read != 3 * kRecords)
            state.SkipWithError("stream did not read back");
        benchmark::DoNotOptimize(read);
    }
    state.counters["records/s"] = benchmark::Counter(double(state.iterations()) * kRecords,
                                                     benchmark::Counter::kIsRate);
}

void BM_WriteAndReadRecords(benchmark::State &state)
{
    records();
    for (auto _ : state)
        readAll(writeAll(), state);
    state.counters["records/s"] = benchmark::Counter(double(state.iterations()) * kRecords,
                                                     benchmark::Counter::kIsRate);
}

// The same records into a buffer the writer keeps from one batch to the next (a recorder's, or a socket's):
// without the kernel's first touch of 20 fresh megabytes, which the case above pays on every iteration.
void BM_WriteAndReadRecordsKeptBuffer(benchmark::State &state)
{
    records();
    QByteArray bytes;
    writeAll(&bytes);
    bytes.reserve(bytes.size());
    for (auto _ : state) {
        writeAll(&bytes);
        readAll(bytes, state);
    }
    state.counters["records/s"] = benchmark::Counter(double(state.iterations()) * kRecords,
                                                     benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_WriteRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteAndReadRecords)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteAndReadRecordsKeptBuffer)->Unit(benchmark::kMillisecond);
