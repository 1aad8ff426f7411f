// What a message costs that no threshold lets through, beside the comparison it can not do without,
// and one that is written.
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include "runtime/log.h"

namespace {

using quellmark::runtime::Log;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

// Keeps the screen silent and sends the file to "/dev/null".
class BenchLog {
 public:
  BenchLog() : saved_(Log().SwapState(NullState())) {}
  BenchLog(const BenchLog&) = delete;
  BenchLog& operator=(const BenchLog&) = delete;
  ~BenchLog() { static_cast<void>(Log().SwapState(std::move(saved_))); }

 private:
  static LOG::State NullState() {
    LOG::State state;
    state.file_fd.Reset(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    state.screen_threshold = LogLevel::kSilent;
    state.file_threshold = LogLevel::kInfo;
    state.prefix = "quellmark : ";
    return state;
  }

  LOG::State saved_;
};

void FloorComparison(benchmark::State& state) {
  volatile int threshold = 4;
  int level = 2;
  for (auto _ : state) {
    benchmark::DoNotOptimize(level);
    bool passes = level >= threshold;
    benchmark::DoNotOptimize(passes);
  }
}
BENCHMARK(FloorComparison);

void SuppressedLine(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    LogLine(LogLevel::kDebug, "value of ", "key", " is ", value, "\n");
  }
}
BENCHMARK(SuppressedLine);

void SuppressedStream(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    Log().Start(LogLevel::kDebug) << "value of "
                                  << "key"
                                  << " is " << value << "\n";
  }
}
BENCHMARK(SuppressedStream);

void SuppressedPrint(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    Log().Print(LogLevel::kDebug, "value of %s is %f", "key", value);
  }
}
BENCHMARK(SuppressedPrint);

void WrittenLine(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    LogLine(LogLevel::kInfo, "value of ", "key", " is ", value, "\n");
  }
}
BENCHMARK(WrittenLine);

}  // namespace
