// Runs the batch step once for each scene of a list, several at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "toolbox/batch/scene_list.h"

namespace quellmark::batch {

/// The options of a run.
struct BatchOptions {
  std::string list;                     ///< a file of pool paths, "-" for standard input, a folder
  std::string out = "quellmark-batch";  ///< folder for the results; created if missing
  std::string step;  ///< the program; if empty, the one beside qmtool, or else in PATH
  std::vector<std::string> parameters;  ///< passed to the step last, so they override others
  int jobs = 0;                         ///< scenes at a time; 0 for one per processor
  Part part;                            ///< which part of the list
  bool resume = false;                  ///< continues the existing summary
  int retries = 2;                      ///< how often a disturbed scene is repeated
};

/// The progress of a run.
struct BatchProgress {
  std::size_t total = 0;    ///< scenes of this part of the list
  std::size_t done = 0;     ///< located, failed or given up, including earlier runs
  std::size_t failed = 0;   ///< number of these that were not located
  std::size_t skipped = 0;  ///< number of these that an earlier run has done
  double seconds = 0.0;     ///< since the start
};

/// The outcome of a run.
struct BatchOutcome {
  BatchProgress progress;
  std::size_t repeated = 0;   ///< lines of the list that repeat a scene
  bool stopped = false;       ///< by a signal or the STOP file
  std::string summary_path;   ///< the table of all scenes
  std::string log_pool_path;  ///< the merged log pool
};

/// Receives the progress whenever it changes, and at least every 0.2 s.
using ReportProgress = std::function<void(const BatchProgress&)>;

/// Runs the step for every scene of the part that is not yet done according to the summary. Each
/// scene has its own process name, log, log pool and status files, and reads /dev/null as standard
/// input. After a first SIGINT, SIGTERM or SIGHUP, or if there is a file STOP in the output folder,
/// no further scene is started and the running ones are awaited; a second signal ends these too.
/// The signals stay blocked in the calling thread, which must be the only one.
///
/// A scene's row is added to the summary as soon as it ends. After the last scene, the log pools of
/// all scenes are merged into one. Throws std::runtime_error if the list, the step or the output
/// folder cannot be used, or if the summary cannot be written; all steps have then ended.
BatchOutcome RunBatch(const BatchOptions& options, const ReportProgress& report);

/// Merges the summaries and log pools of the parts in `out` into one of each. Throws
/// std::runtime_error, also for missing parts. Never sets `stopped`.
BatchOutcome MergeParts(const std::string& out);

}  // namespace quellmark::batch
