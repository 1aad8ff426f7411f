#include "basic/alarm.h"

#include <unistd.h>

#include <utility>

namespace quellmark::basic {

namespace {

void ToStandardError(std::string_view line) {
  // If even this write fails, nobody is left to report to.
  if (::write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

constinit AlarmSink alarm_sink = &ToStandardError;

}  // namespace

void Alarm(std::string_view line) { alarm_sink(line); }

AlarmSink SetAlarmSink(AlarmSink sink) noexcept { return std::exchange(alarm_sink, sink); }

}  // namespace quellmark::basic
