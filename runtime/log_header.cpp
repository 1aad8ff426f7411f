// The log's header and footer.
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <mutex>

#include "runtime/log.h"

namespace {

constexpr std::string_view kStarLine =
    "***********************************************************\n";
static_assert(kStarLine.size() == 59 + 1);

#if defined(__clang__)
constexpr std::string_view kCompiler = "clang " __clang_version__;
#else
constexpr std::string_view kCompiler = "gcc " __VERSION__;
#endif

// Formats the local time. The line end is part of the format on purpose: what follows in the same
// message starts a new line.
std::string TimeText(std::time_t time) {
  std::tm local{};
  ::localtime_r(&time, &local);
  std::array<char, 32> text;
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S\n", &local)};
}

std::string HostName() {
  std::array<char, 256> name{};
  // gethostname() may leave out the final zero of a name that it cuts short.
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "unknown";
}

// Protects the headers of a process against each other.
std::mutex& HeaderLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

void LOG::WriteHeader(const VERSION_RECORD& version, std::string_view configuration_path) {
  const std::lock_guard lock(HeaderLock());
  const quellmark::runtime::LogBatch batch(*this);
  Start(Level::kInfo) << "\n";
  Start(Level::kInfo) << kStarLine;
  Start(Level::kInfo) << version.ProgramName() << " " << version.version << "\n";
  Start(Level::kInfo) << kStarLine;
  Start(Level::kInfo) << "compile date: " << quellmark::runtime::BuildDate()
                      << "  compiled by: " << kCompiler << "\n";
  Start(Level::kInfo) << "start time: " << TimeText(start_time_) << "  hostname: " << HostName()
                      << "\n";
  if (const char* const starter = std::getenv("PROC_NAME")) {
    Start(Level::kInfo) << "started by: " << starter;
    const std::string version_name = std::string(starter) + "_VERSION";
    if (const char* const starter_version = std::getenv(version_name.c_str())) {
      *this << " " << starter_version;
    }
    *this << "\n";
  }
  Start(Level::kInfo) << "using configuration file " << configuration_path << "\n";
  Start(Level::kDebug) << "full version: " << version.full_version << "\n";
}

void LOG::WriteFooter() {
  const quellmark::runtime::LogBatch batch(*this);
  const auto elapsed = std::chrono::steady_clock::now() - start_;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
  Start(Level::kInfo) << quellmark::runtime::ExecutionTimeText(seconds) << "\n";
  Start(Level::kInfo) << "end time: " << TimeText(std::time(nullptr));
  Start(Level::kInfo) << kStarLine;
}

namespace quellmark::runtime {

std::string_view BuildDate() { return QM_BUILD_DATE; }

std::string_view CompilerName() { return kCompiler; }

std::string ExecutionTimeText(long long seconds) {
  struct Unit {
    long long seconds;
    std::string_view name;
  };
  constexpr std::array<Unit, 4> kUnits = {
      {{86400, " day(s)"}, {3600, " hour(s)"}, {60, " minute(s)"}, {1, " second(s)"}}};
  std::string text = "execution time:";
  if (seconds < 1) return text + " less than 1 second";
  for (const Unit& unit : kUnits) {
    const long long count = seconds / unit.seconds;
    seconds %= unit.seconds;
    if (count > 0) text.append(" ").append(std::to_string(count)).append(unit.name);
  }
  return text;
}

}  // namespace quellmark::runtime
