#pragma once

#include <optional>

namespace quellmark::app {

/// Answers "--help" and "--version" when one of them is the only argument: prints to standard
/// output and gives the exit status, 1 if that can not be written. Touches no file, so that a first
/// call by hand never waits at a prompt.
[[nodiscard]] std::optional<int> AnswerInfoRequest(int argc, const char* const* argv);

}  // namespace quellmark::app
