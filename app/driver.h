#pragma once

namespace quellmark::app {

/// One run of the program from its start to its exit status: the controller's start-up, the pass,
/// status files and the process's end. Whatever fails is logged, then the controller's
/// " terminated with error!" line, and the status is 1. Memory that runs out changes nothing of
/// that.
[[noreturn]] void Run(int argc, char** argv);

}  // namespace quellmark::app
