// What a status costs once it is there: decoding it, projecting it onto the controller's properties and the bound
// controls, and all of it up to the painted window, offscreen. Nothing of a bus is in it.
//
// Arguments of each benchmark: disks, backup points, log lines. With log lines an operation runs, else none does.
//
//   bench_projection                  Google Benchmark's options
//   bench_projection --memory LINES   what the whole program takes with a log of that length
#include <benchmark/benchmark.h>

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "app/Composition.h"
#include "bench/link/SampleStatus.h"
#include "bench/link/StatusMessage.h"
#include "helperlink/StatusRecord.h"

namespace zpk::bench {
namespace {

constexpr std::size_t kNewLines = 10;

enum class Shown { no, yes };

// The program with its window, and the statuses that a helper would send it.
class Program : private QObject {
 public:
  explicit Program(Shown shown) {
    if (shown == Shown::no) return;
    _composition.window().installEventFilter(this);
    _composition.window().show();
    QCoreApplication::processEvents();
  }

  void push(const Dictionary& status) { _composition.controller().stateChangedWithStatus(status); }

  // Lays out and paints what has changed; false when nothing had to be painted.
  bool paint() {
    _updated = false;
    QCoreApplication::sendPostedEvents();
    return _updated;
  }

 private:
  bool eventFilter(QObject* /*window*/, QEvent* event) override {
    _updated |= event->type() == QEvent::UpdateRequest;
    return false;
  }

  // No bus: it never launches.
  Composition _composition{BusEndpoint{}};
  bool _updated = false;
};

Dictionary statusOf(const benchmark::State& state) {
  Dictionary status =
      sampleStatus({static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)),
                    static_cast<std::size_t>(state.range(2))});
  statuskey::state.set(status, state.range(2) > 0 ? HelperState::inProgress : HelperState::idle);
  return status;
}

// Another value under every key that is shown.
Dictionary otherOf(Dictionary status) {
  statuskey::progressPercents.set(status, 38);
  statuskey::elapsedTime.set(status, 76);
  statuskey::remainingTime.set(status, 120);
  statuskey::targetArchive.set(status, "/elsewhere/Other.rldbackup");
  statuskey::maxIncCount.set(status, 11);
  statuskey::checkFS.set(status, false);
  return status;
}

// As the next status of a running operation has it.
Dictionary withNewLines(const Dictionary& status) {
  Dictionary next = status;
  Array log = *statuskey::fullLog.read(status);
  for (std::size_t line = 0; line < kNewLines; ++line)
    log.emplace_back("12:00:01 Line " + std::to_string(log.size()) + " of the log of the running operation");
  statuskey::fullLog.set(next, std::move(log));
  statuskey::progressPercents.set(next, Value(statuskey::progressPercents.read(status).unsignedIntegerValue() ^ 1));
  return next;
}

void decode(benchmark::State& state) {
  const BusMessageHandle sealed = sealedMessage(statusOf(state));
  for (auto _ : state) benchmark::DoNotOptimize(decoded(sealed.get()));
}

// Pushes two statuses in turn; both stay alive, so that letting go of one is not measured.
void pushInTurn(benchmark::State& state, const Dictionary& first, const Dictionary& second) {
  Program program(Shown::no);
  program.push(second);
  bool turn = false;
  for (auto _ : state) program.push((turn = !turn) ? first : second);
}

// Says what the last one said, in records of its own.
void projectUnchanged(benchmark::State& state) {
  const BusMessageHandle sealed = sealedMessage(statusOf(state));
  pushInTurn(state, decoded(sealed.get()), decoded(sealed.get()));
}

void projectChanged(benchmark::State& state) {
  pushInTurn(state, decoded(sealedMessage(statusOf(state)).get()),
             decoded(sealedMessage(otherOf(statusOf(state))).get()));
}

// The status before is let go of outside of the time.
void showTenLines(benchmark::State& state) {
  Program program(Shown::yes);
  Dictionary status = statusOf(state);
  program.push(status);
  program.paint();
  Dictionary last;
  for (auto _ : state) {
    state.PauseTiming();
    last = std::move(status);
    status = withNewLines(last);
    state.ResumeTiming();
    program.push(status);
    if (!program.paint()) state.SkipWithError("nothing was painted");
  }
}

// The whole way, letting go of the status before included.
void decodeToPaint(benchmark::State& state) {
  Program program(Shown::yes);
  Dictionary status = statusOf(state);
  for (auto _ : state) {
    state.PauseTiming();
    status = state.range(2) > 0 ? withNewLines(status) : otherOf(status);
    const BusMessageHandle sealed = sealedMessage(status);
    state.ResumeTiming();
    program.push(decoded(sealed.get()));
    program.paint();
  }
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"disks", "points", "lines"})->Unit(benchmark::kMicrosecond);
  for (const int disks : {1, 10, 100}) benchmark->Args({disks, 10, 0});
  benchmark->Args({1, 1000, 0})->Args({1, 10, 1000})->Args({1, 10, 100000});
}

void logSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"disks", "points", "lines"})->Unit(benchmark::kMicrosecond);
  for (const int lines : {100, 1000, 100000}) benchmark->Args({1, 10, lines});
}

BENCHMARK(decode)->Apply(sizes);
BENCHMARK(projectUnchanged)->Apply(sizes);
BENCHMARK(projectChanged)->Apply(sizes);
BENCHMARK(showTenLines)->Apply(logSizes);
BENCHMARK(decodeToPaint)->Apply(sizes);

// "VmRSS" or "VmHWM", in MiB.
double memory(const std::string& what) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, what.size(), what) == 0) return std::strtod(line.c_str() + what.size() + 1, nullptr) / 1024;
  }
  return 0;
}

int printMemory(std::size_t lines) {
  Program program(Shown::yes);
  const double before = memory("VmRSS");
  const BusMessageHandle sealed = sealedMessage(sampleStatus({1, 10, lines}));
  for (int push = 0; push < 3; ++push) {
    program.push(decoded(sealed.get()));
    program.paint();
  }
  std::printf("%.1f MiB before, %.1f with %zu log lines, at most %.1f\n", before, memory("VmRSS"), lines,
              memory("VmHWM"));
  return 0;
}

}  // namespace
}  // namespace zpk::bench

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  if (argc == 3 && std::strcmp(argv[1], "--memory") == 0) {
    return zpk::bench::printMemory(std::strtoul(argv[2], nullptr, 10));
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
