// What it costs to take a status off the bus and to put one on it, against the least that moving the same bytes
// costs and against what a general-purpose container of the field makes of the same content.
//
// Arguments of each benchmark: disks, backup points, log lines.
#include <benchmark/benchmark.h>
#include <systemd/sd-bus.h>

#include <QByteArray>
#include <QDataStream>
#include <QDateTime>
#include <QIODevice>
#include <QVariant>
#include <string>

#include "base/KeyedArchive.h"
#include "base/KeyedCoder.h"
#include "base/Record.h"
#include "bench/link/SampleStatus.h"
#include "bench/link/StatusMessage.h"
#include "bench/link/WireWalk.h"

namespace zpk::bench {
namespace {

StatusSize sizeOf(const benchmark::State& state) {
  return {static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)),
          static_cast<std::size_t>(state.range(2))};
}

void decode(benchmark::State& state) {
  const BusMessageHandle sealed = sealedMessage(sampleStatus(sizeOf(state)));
  for (auto _ : state) benchmark::DoNotOptimize(decoded(sealed.get()));
}

// The floor of decoding: the same message read with sd-bus alone.
void walk(benchmark::State& state) {
  const BusMessageHandle sealed = sealedMessage(sampleStatus(sizeOf(state)));
  for (auto _ : state) {
    sd_bus_message_rewind(sealed.get(), 1);
    walkDictionary(sealed.get());
  }
}

void encode(benchmark::State& state) {
  const Dictionary status = sampleStatus(sizeOf(state));
  for (auto _ : state) benchmark::DoNotOptimize(message(status));
}

// The keyed archive holds the same content in about as many bytes as the bus message.
void copyBytes(benchmark::State& state) {
  const Bytes bytes = archivedData(sampleStatus(sizeOf(state)));
  for (auto _ : state) {
    Bytes copy = bytes;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetLabel(std::to_string(bytes.size()) + " bytes");
}

QVariant variant(const Value& value);

QVariantMap map(const Dictionary& dictionary) {
  QVariantMap result;
  for (const auto& [key, value] : dictionary) result.insert(QString::fromStdString(key), variant(value));
  return result;
}

QVariant variant(const Value& value) {
  if (value.isBoolean()) return value.boolValue();
  if (value.isUnsigned()) return QVariant::fromValue<qulonglong>(value.unsignedIntegerValue());
  if (value.isSigned()) return QVariant::fromValue<qlonglong>(value.integerValue());
  if (value.isReal()) return value.doubleValue();
  if (const auto* text = value.text()) return QString::fromStdString(*text);
  if (const auto* bytes = value.bytes()) {
    return QByteArray(reinterpret_cast<const char*>(bytes->data()), static_cast<qsizetype>(bytes->size()));
  }
  if (const auto* date = value.date())
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(date->secondsSince1970));
  if (const auto* array = value.array()) {
    QVariantList list;
    for (const Value& element : *array) list.append(variant(element));
    return list;
  }
  if (const auto* dictionary = value.dictionary()) return map(*dictionary);
  if (const auto record = value.record()) return map(keyedForm(*record));
  return {};
}

void decodeVariantMap(benchmark::State& state) {
  QByteArray bytes;
  QDataStream writer(&bytes, QIODevice::WriteOnly);
  writer << map(sampleStatus(sizeOf(state)));
  for (auto _ : state) {
    QVariantMap status;
    QDataStream stream(bytes);
    stream >> status;
    benchmark::DoNotOptimize(status);
  }
}

void encodeVariantMap(benchmark::State& state) {
  const QVariantMap status = map(sampleStatus(sizeOf(state)));
  for (auto _ : state) {
    QByteArray bytes;
    QDataStream writer(&bytes, QIODevice::WriteOnly);
    writer << status;
    benchmark::DoNotOptimize(bytes);
  }
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"disks", "points", "lines"})->Unit(benchmark::kMicrosecond);
  for (const int disks : {1, 10, 100}) benchmark->Args({disks, 0, 0});
  benchmark->Args({1, 1000, 0})->Args({1, 0, 100000});
}

BENCHMARK(decode)->Apply(sizes);
BENCHMARK(walk)->Apply(sizes);
BENCHMARK(decodeVariantMap)->Apply(sizes);
BENCHMARK(encode)->Apply(sizes);
BENCHMARK(encodeVariantMap)->Apply(sizes);
BENCHMARK(copyBytes)->Apply(sizes);

}  // namespace
}  // namespace zpk::bench

BENCHMARK_MAIN();
