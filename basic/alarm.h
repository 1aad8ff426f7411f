#pragma once

#include <string_view>

namespace quellmark::basic {

/// Receives one line of text that ends in "\n".
using AlarmSink = void (*)(std::string_view line);

/// This layer stands below the log. It reports a failure here before it throws. The text goes to
/// standard error until the log is created; the log then receives it at its highest level.
void Alarm(std::string_view line);

/// Sends the alarms to `sink` and returns the previous sink. Must not run at the same time as
/// Alarm().
AlarmSink SetAlarmSink(AlarmSink sink) noexcept;

}  // namespace quellmark::basic
