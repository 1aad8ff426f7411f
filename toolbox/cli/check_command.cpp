#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "toolbox/check/check.h"
#include "toolbox/cli/command.h"
#include "toolbox/cli/output.h"
#include "toolbox/report/pool_json.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace quellmark::cli {

namespace {

using check::Finding;
using check::Severity;
using Json = nlohmann::ordered_json;

struct Arguments {
  std::vector<std::string> pools;
  bool strict = false;
  bool json = false;
};

std::size_t Count(const std::vector<Finding>& findings, Severity severity) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [severity](const Finding& finding) { return finding.severity == severity; }));
}

const char* NameOf(Severity severity) { return severity == Severity::kError ? "error" : "warning"; }

std::string Counted(std::size_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string TextOf(const std::string& path, const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += path + ':';
    if (finding.line != 0) text += std::to_string(finding.line) + ':';
    text += std::string(" ") + NameOf(finding.severity) + ": ";
    if (!finding.key.empty()) text += finding.key + ": ";
    text += finding.message + '\n';
  }
  text += path + ": ";
  if (findings.empty()) return text + "nothing is wrong\n";
  return text + Counted(Count(findings, Severity::kError), "error") + ", " +
         Counted(Count(findings, Severity::kWarning), "warning") + '\n';
}

Json JsonOf(const std::string& path, const std::vector<Finding>& findings) {
  Json list = Json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"severity", NameOf(finding.severity)},
                    {"line", finding.line},
                    {"key", report::JsonOfText(finding.key)},
                    {"message", report::JsonOfText(finding.message)}});
  }
  return {{"file", report::JsonOfText(path)},
          {"errors", Count(findings, Severity::kError)},
          {"warnings", Count(findings, Severity::kWarning)},
          {"findings", std::move(list)}};
}

int Run(const Arguments& arguments) {
  int status = kDone;
  std::string text;
  Json json = Json::array();
  for (const std::string& path : arguments.pools) {
    const std::vector<Finding> findings = check::CheckPool(path);
    const bool has_failed =
        arguments.strict ? !findings.empty() : Count(findings, Severity::kError) != 0;
    if (has_failed) status = kFailed;
    if (arguments.json) {
      json.push_back(JsonOf(path, findings));
    } else {
      text += TextOf(path, findings);
    }
  }
  WriteOutput("", arguments.json ? json.dump(2) + '\n' : text);
  return status;
}

}  // namespace

RunCommand AddCheck(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  command.description("Tell everything that is wrong with scene pools");
  command.add_option("POOL", arguments->pools, "Scene pools")->required();
  command.add_flag("--strict", arguments->strict, "Warnings fail too");
  command.add_flag("--json", arguments->json, "Print the findings as JSON");
  command.footer(
      "Example:\n"
      "  qmtool check scene.pool\n"
      "prints a line FILE:LINE: error: KEY: MESSAGE for each finding.\n"
      "Exit status: 0 no errors, 1 errors (with --strict warnings too), 2 usage.");
  return [arguments] { return Run(*arguments); };
}

}  // namespace quellmark::cli
