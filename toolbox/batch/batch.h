// Runs the batch step once for each scene of a list, several at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "toolbox/batch/scene_list.h"

namespace quellmark::batch {

/// What to run and how.
struct BatchOptions {
  std::string list;                     ///< a file of pool paths, "-" for standard input, a folder
  std::string out = "quellmark-batch";  ///< folder for summary, log pool and logs; made if missing
  std::string step;                     ///< the program; empty: the one beside this, else by PATH
  std::vector<std::string> parameters;  ///< handed to the step behind its own: these win
  int jobs = 0;                         ///< scenes at a time; 0: one for each processor
  Part part;                            ///< which part of the list
  bool resume = false;                  ///< goes on with the summary that is there
  int retries = 2;                      ///< how often a scene that was disturbed is tried again
};

/// How far a run has come.
struct BatchProgress {
  std::size_t total = 0;    ///< scenes of this part of the list
  std::size_t done = 0;     ///< located, failed or given up, those of earlier runs included
  std::size_t failed = 0;   ///< of these, the ones that were not located
  std::size_t skipped = 0;  ///< of these, the ones that an earlier run has settled
  double seconds = 0.0;     ///< since the start
};

/// How a run ended.
struct BatchOutcome {
  BatchProgress progress;
  std::size_t repeated = 0;   ///< lines of the list that named a scene again
  bool stopped = false;       ///< by a signal or the STOP file
  std::string summary_path;   ///< the table of all scenes
  std::string log_pool_path;  ///< the merged log pool
};

/// Is told of the progress whenever it changes, and at least every 0.2 s.
using ReportProgress = std::function<void(const BatchProgress&)>;

/// Runs the step for every scene of the part that the summary does not yet settle. Each scene gets
/// a process name, a log, a log pool and status files of its own, and standard input from
/// /dev/null. A first SIGINT, SIGTERM or SIGHUP, or a file STOP in the output folder, starts no
/// further scene and waits for those that run; a second signal ends these too. The signals stay
/// blocked in the calling thread, which has to be the only one.
///
/// The summary gets its row as soon as a scene ends. Once all have ended, the log pools of the
/// scenes are merged into one. Throws std::runtime_error if the list, the step or the output folder
/// can not be used, and if the summary can not be written; no step then runs on.
BatchOutcome RunBatch(const BatchOptions& options, const ReportProgress& report);

/// Merges the summaries and log pools of the parts in `out` into one of each. Throws
/// std::runtime_error, for parts that are missing too. `stopped` is never set.
BatchOutcome MergeParts(const std::string& out);

}  // namespace quellmark::batch
