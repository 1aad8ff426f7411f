#pragma once

namespace quellmark::app {

/// Answers "--help" and "--version" when one of them is the only argument: prints to standard
/// output and gives true. Touches no file, so that a first call by hand never waits at a prompt.
[[nodiscard]] bool AnswerInfoRequest(int argc, const char* const* argv);

}  // namespace quellmark::app
