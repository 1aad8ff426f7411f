#pragma once

namespace quellmark::app {

/// Runs the program from its start to its exit status: the controller's start-up, the pass, the
/// status files and the end of the process. After any failure, the log has its lines and the
/// controller's line "... terminated with error!", and the status is 1. This holds even when memory
/// runs out.
[[noreturn]] void Run(int argc, char** argv);

}  // namespace quellmark::app
