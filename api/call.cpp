#include "api/call.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "api/error_classes.h"
#include "basic/errors.h"
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using SharedSink = std::shared_ptr<const LogSink>;

// Lines of this level and above are always kept, because failures carry them.
constexpr LogLevel kKept = LogLevel::kInfo;
constexpr int kNoSink = static_cast<int>(runtime::LogLevel::kSilent);

struct SinkSetting {
  std::mutex mutex;
  SharedSink sink;
  std::atomic<int> threshold = kNoSink;
};

// The object is never destroyed, because other threads may log until the process ends.
SinkSetting& Setting() {
  static auto& setting = *new SinkSetting;
  return setting;
}

SharedSink CurrentSink() {
  SinkSetting& setting = Setting();
  const std::lock_guard lock(setting.mutex);
  return setting.sink;
}

LOG::Level CaptureThreshold() {
  const int sink = Setting().threshold.load(std::memory_order_relaxed);
  return static_cast<LOG::Level>(std::min(sink, static_cast<int>(kKept)));
}

// Returns the key that a log line of the pool names.
std::string_view KeyIn(std::string_view line) {
  for (const std::string_view start : {"parameter key >> ", "parameter pool:  >> "}) {
    const std::size_t found = line.find(start);
    if (found == std::string_view::npos) continue;
    line.remove_prefix(found + start.size());
    return line.substr(0, line.find(' '));
  }
  return {};
}

std::size_t LineOf(const std::string& file, std::string_view key) noexcept {
  try {
    const Pool pool = Pool::Open(file);
    const Entry* entry = pool.Find(key);
    return entry != nullptr ? entry->line : 0;
  } catch (...) {
    return 0;  // then the failure has no line number
  }
}

bool IsDemClass(ErrorClass error_class) {
  using enum ErrorClass;
  for (const ErrorClass one : {kDemDocumentType, kDemArguments, kDemNoTile, kDemDescriptor,
                               kDemOnlyVoids, kDemPixelType, kDemCanNotOpenTile, kDemCanNotReadTile,
                               kDemNotInitialized, kDemInitializedTwice, kDemHandle}) {
    if (error_class == one) return true;
  }
  return false;
}

[[noreturn]] void ThrowAs(api::Concern concern, const std::string& what, ErrorDetails details) {
  // State vectors from a caller are checked by the same rules as those from a file.
  if (concern != api::Concern::kDem && IsA(details.error_class, ErrorClass::kPool) &&
      !details.file.empty()) {
    concern = api::Concern::kPool;
  }
  if (IsDemClass(details.error_class)) concern = api::Concern::kDem;
  switch (concern) {
    case api::Concern::kPool:
      throw PoolError(what, std::move(details));
    case api::Concern::kOrbit:
      throw OrbitError(what, std::move(details));
    case api::Concern::kDem:
      throw DemError(what, std::move(details));
    case api::Concern::kScene:
      throw SceneError(what, std::move(details));
    case api::Concern::kArgument:
      break;
  }
  throw ArgumentError(what, std::move(details));
}

}  // namespace

void SetLogSink(LogSink sink, LogLevel threshold) {
  SinkSetting& setting = Setting();
  const std::lock_guard lock(setting.mutex);
  setting.threshold = sink ? static_cast<int>(threshold) : kNoSink;
  setting.sink = sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr;
}

namespace api {

Capture::Capture()
    : log_([this](LOG::Level level,
                  std::string_view line) { Take(static_cast<LogLevel>(level), line); },
           CaptureThreshold()),
      scope_(log_) {}

void Capture::Take(LogLevel level, std::string_view line) {
  constexpr std::size_t kMostLines = 100;  // far more than any failure logs
  if (level >= kKept && lines_.size() < kMostLines) lines_.push_back({level, std::string(line)});
  if (static_cast<int>(level) < Setting().threshold.load(std::memory_order_relaxed)) return;
  if (const SharedSink sink = CurrentSink()) (*sink)(level, line);
}

void Capture::Rethrow(const Subject& subject) {
  try {
    throw;
  } catch (const Error&) {
    throw;
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE& error) {
    Throw(subject, ErrorClass::kEnumInvalidValue, error.ClassName() + ": " + error.Value());
  } catch (const ERROR_EXCEPTION& error) {
    Throw(subject, ErrorClassOf(error), {});
  } catch (const char* text) {
    Throw(subject, ErrorClass::kText, text);
  } catch (const std::bad_alloc&) {
    Throw(subject, ErrorClass::kNoMemory, {});
  } catch (const std::exception& error) {
    Throw(subject, ErrorClass::kStandard, error.what());
  } catch (...) {
    Throw(subject, ErrorClass::kError, {});
  }
}

void Capture::Throw(const Subject& subject, ErrorClass error_class, std::string_view text) {
  log_.EndLine();
  log_.Flush();
  ErrorDetails details{.error_class = error_class,
                       .file = std::string(subject.file),
                       .key = std::string(subject.key),
                       .line = subject.line,
                       .log_lines = {}};
  std::string message;
  const auto add = [&message](std::string_view more) {
    if (!message.empty()) message += "; ";
    message += more;
  };
  for (Line& line : lines_) {
    if (line.level >= LogLevel::kException) add(line.text);
    if (details.key.empty()) details.key = KeyIn(line.text);
    details.log_lines.push_back(std::move(line.text));
  }
  if (!text.empty()) add(text);
  if (message.empty()) {
    message = MessageOf(error_class);
  } else if (error_class < ErrorClass::kText) {
    message.append(" (").append(MessageOf(error_class)).append(")");
  }
  if (details.line == 0 && !details.key.empty() && !details.file.empty()) {
    details.line = LineOf(details.file, details.key);
  }
  std::string what = details.file;
  if (details.line != 0) what += ':' + std::to_string(details.line);
  if (!what.empty()) what += ": ";
  ThrowAs(subject.concern, what + message, std::move(details));
}

void FailArgument(const std::string& what) {
  throw ArgumentError(
      what,
      {.error_class = ErrorClass::kArgument, .file = {}, .key = {}, .line = 0, .log_lines = {}});
}

}  // namespace api
}  // namespace quellmark
