#pragma once

#include <string_view>

namespace quellmark::basic {

/// Takes one line of text that ends in "\n".
using AlarmSink = void (*)(std::string_view line);

/// Where this layer, which stands below the log, tells a failure before it throws. Standard error
/// until the log, when it comes into being, puts itself here with its highest level.
void Alarm(std::string_view line);

/// Sends the alarms to `sink`; gives the one before it. Not for use beside a running Alarm().
AlarmSink SetAlarmSink(AlarmSink sink) noexcept;

}  // namespace quellmark::basic
