#include <cstdio>
#include <memory>

#include "toolbox/batch/batch.h"
#include "toolbox/cli/command.h"
#include "toolbox/cli/progress_bar.h"

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

struct Arguments {
  batch::BatchOptions options;
  std::string part;
  bool merge = false;
};

int StatusOf(const batch::BatchOutcome& outcome) {
  if (outcome.stopped) return kStopped;
  return outcome.progress.failed == 0 ? kDone : kFailed;
}

void Tell(const batch::BatchOutcome& outcome) {
  const batch::BatchProgress& progress = outcome.progress;
  std::printf("%zu of %zu scenes are located", progress.done - progress.failed, progress.total);
  if (progress.failed != 0) std::printf(", %zu failed", progress.failed);
  if (progress.done < progress.total) {
    std::printf(", %zu were not reached", progress.total - progress.done);
  }
  if (outcome.repeated != 0) {
    std::printf("; %zu lines of the list named a scene again", outcome.repeated);
  }
  std::printf("; %s, %s\n", outcome.summary_path.c_str(), outcome.log_pool_path.c_str());
}

int Run(Arguments& arguments) {
  if (arguments.merge) {
    const batch::BatchOutcome outcome = batch::MergeParts(arguments.options.out);
    Tell(outcome);
    return StatusOf(outcome);
  }
  if (arguments.options.list.empty()) throw UsageError{"LIST or --merge is required"};
  if (!arguments.part.empty()) arguments.options.part = batch::ParsePart(arguments.part);
  ProgressBar bar("scenes", ProgressBar::Elsewhere::kLines);
  const batch::BatchOutcome outcome =
      batch::RunBatch(arguments.options, [&bar](const batch::BatchProgress& progress) {
        const std::string note =
            progress.failed == 0 ? "" : std::to_string(progress.failed) + " failed";
        bar.Show(progress.done, progress.total, progress.skipped, progress.seconds, note);
      });
  bar.End();
  Tell(outcome);
  return StatusOf(outcome);
}

}  // namespace

RunCommand AddBatch(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  batch::BatchOptions& options = arguments->options;
  command.description("Run the step for every scene of a list");
  command.add_option("LIST", options.list,
                     "A file with one scene pool a line, - for standard input, or a folder");
  command.add_option("PARAMETERS", options.parameters,
                     "Parameters for the step, behind --: -USE_DEM true -DEM_FILE alps.dem");
  command.add_option("-j,--jobs", options.jobs, "Scenes at a time (default: one a processor)")
      ->check(CLI::Range(1, 4096));
  command.add_option("-o,--out", options.out,
                     "Folder for summary, log pool and logs (default: quellmark-batch)");
  command.add_option("--part", arguments->part, "I/N: the I-th of N parts of the list");
  command.add_flag("--resume", options.resume,
                   "Go on: leave out the scenes that are done and unchanged");
  command
      .add_option("--retry", options.retries,
                  "How often a scene is tried again that was killed from outside or found the "
                  "disk full (default: 2)")
      ->check(CLI::Range(0, 1000));
  command.add_option("--step", options.step, "The program to run (default: quellmark)");
  command.add_flag("--merge", arguments->merge,
                   "Merge the summaries and log pools of all parts in the folder");
  command.footer(
      "Example:\n"
      "  qmtool batch scenes.txt --jobs 4 --out run1 -- -lfl INFO\n"
      "runs the step for every pool named in scenes.txt and leaves run1/summary.csv,\n"
      "run1/log.pool and a log for each scene below run1/scenes.\n"
      "Exit status: 0 all located, 1 some failed, 2 usage, 3 stopped by a signal or by\n"
      "a file STOP in the folder.");
  return [arguments] { return Run(*arguments); };
}

}  // namespace quellmark::cli
