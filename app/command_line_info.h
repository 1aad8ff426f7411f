#pragma once

#include <optional>

namespace quellmark::app {

/// Answers "--help", "-h" and "--version" as first argument, unless a parameter of the program
/// follows with its value. Prints to standard output and returns the exit status, which is 1 if
/// writing failed. Touches no file, so that a first call by hand never waits at a prompt.
[[nodiscard]] std::optional<int> AnswerInfoRequest(int argc, const char* const* argv);

/// Writes a line at level WARNING for each argument that is neither a parameter of the program nor
/// the value of one.
void WarnOfUnknownArguments(int argc, const char* const* argv);

}  // namespace quellmark::app
