#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "toolbox/cli/command.h"
#include "toolbox/cli/output.h"
#include "toolbox/report/pool_json.h"
#include <quellmark/error.h>
#include <quellmark/pool.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace quellmark::cli {

namespace {

using Json = nlohmann::ordered_json;

struct Arguments {
  std::string pool;
  std::string other;
  std::string key;
  std::vector<std::string> values;
  std::string type;
  std::string output;
  double tolerance = 0.0;
  bool json = false;
};
using Shared = std::shared_ptr<Arguments>;

// --- list and get ---

// Returns a value for people to read: texts without quotes, one element per line.
std::string PlainText(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  if (json.is_object() && json.contains("values")) {
    std::string text;
    for (const Json& element : json["values"]) text += PlainText(element) + '\n';
    if (!text.empty()) text.pop_back();
    return text;
  }
  if (json.is_object() && json.contains("index")) {
    return PlainText(json["index"]) + ' ' + PlainText(json["value"]);
  }
  if (json.is_array()) {
    std::string text;
    for (const Json& element : json) text += (text.empty() ? "" : " ") + PlainText(element);
    return text;
  }
  return json.dump();
}

std::string Shortened(std::string text) {
  constexpr std::size_t kMost = 48;
  std::replace(text.begin(), text.end(), '\n', ' ');
  if (text.size() > kMost) text = text.substr(0, kMost - 3) + "...";
  return text;
}

std::string ValueForList(const Pool& pool, const Entry& entry) {
  try {
    return Shortened(PlainText(report::JsonOf(pool.Parse(entry))));
  } catch (const PoolError&) {
    return "(can not be read)";
  }
}

int List(const Arguments& arguments) {
  const Pool pool = Pool::Open(arguments.pool);
  Json json = Json::array();
  std::string text;
  for (const Entry& entry : pool.Entries()) {
    if (arguments.json) {
      json.push_back({{"key", report::JsonOfText(entry.key)},
                      {"type", report::JsonOfText(entry.type_name)},
                      {"line", entry.line},
                      {"repeated", entry.is_repeated}});
      continue;
    }
    std::array<char, 320> front{};
    std::snprintf(front.data(), front.size(), "%5zu  %-32.100s %-16.100s ", entry.line,
                  std::string(entry.key).c_str(), std::string(entry.type_name).c_str());
    text += front.data() + ValueForList(pool, entry);
    text += entry.is_repeated ? "  (repeated, does not count)\n" : "\n";
  }
  WriteOutput(arguments.output, arguments.json ? json.dump(2) + '\n' : text);
  return kDone;
}

int Get(const Arguments& arguments) {
  const Json json = report::JsonOf(Pool::Open(arguments.pool).Get(arguments.key));
  WriteOutput(arguments.output, (arguments.json ? json.dump(2) : PlainText(json)) + '\n');
  return kDone;
}

// --- set ---

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

// Returns the text of an entry in a pool, so that the pool reader can parse the value. Not for
// texts, whose quotes would need escapes.
std::string EntryText(ValueType type, const std::string& key,
                      const std::vector<std::string>& values) {
  const std::string name(NameOf(type));
  std::string text = key + ' ' + name;
  if (name.ends_with("_V")) {
    text += " 1 " + std::to_string(values.size()) + "\n{\n";
    for (const std::string& value : values) text += value + '\n';
    return text + "}\n";
  }
  for (const std::string& value : values) text += ' ' + value;
  return text + '\n';
}

Value ValueOf(ValueType type, const Arguments& arguments) {
  const std::vector<std::string>& values = arguments.values;
  const auto expect = [&values](std::size_t count) {
    if (values.size() != count) {
      throw std::runtime_error(std::to_string(values.size()) + " values for a type that has " +
                               std::to_string(count));
    }
  };
  const std::string name(NameOf(type));
  if (type == ValueType::kUnknown) throw UsageError{"there is no such type of an entry"};
  if (name.ends_with("_M") || type == ValueType::kStringPairVector) {
    throw UsageError{"matrices and vectors of text pairs are set by way of from-json"};
  }
  if (type == ValueType::kStringVector) return Vector<std::string>{1, values};
  if (type == ValueType::kStringPair) {
    expect(2);
    return Pair<std::string>{values[0], values[1]};
  }
  if (type == ValueType::kString) {
    expect(1);
    return values[0];
  }
  for (const std::string& value : values) {
    if (value.find_first_of("\r\n") != std::string::npos) {
      throw std::runtime_error("a value holds a line end");
    }
  }
  if (type == ValueType::kInt32 || type == ValueType::kInt64) {
    // The pool reader would silently use the nearest number that fits.
    std::int64_t number = 0;
    const char* const end = values[0].data() + values[0].size();
    const auto result = std::from_chars(values[0].data(), end, number);
    if (result.ec != std::errc() || result.ptr != end ||
        (type == ValueType::kInt32 && !std::in_range<std::int32_t>(number))) {
      throw std::runtime_error("'" + values[0] + "' is no number of the type " + name);
    }
  }
  if (!name.ends_with("_V")) {
    const bool has_two =
        name.starts_with("CPL") || name.starts_with("IDX") || name.find('_') != name.rfind('_');
    expect(has_two ? 2 : 1);
  }
  return Pool::FromText(EntryText(type, "value", values), Quoted(arguments.key)).Get("value", type);
}

int Set(const Arguments& arguments) {
  const Pool pool = Pool::Open(arguments.pool);
  const Entry* const entry = pool.Find(arguments.key);
  if (entry == nullptr && arguments.type.empty()) {
    throw UsageError{"--type is required for a key that the pool does not have"};
  }
  const ValueType type = arguments.type.empty() ? entry->type : TypeFromName(arguments.type);
  PoolEditor().Set(arguments.key, ValueOf(type, arguments)).Update(arguments.pool);
  std::printf("%s: %s is set (%s)\n", arguments.pool.c_str(), arguments.key.c_str(),
              std::string(NameOf(type)).c_str());
  return kDone;
}

// --- diff ---

bool AreEqual(const Json& a, const Json& b, double tolerance) {
  if (a.is_number() && b.is_number()) {
    if (a == b) return true;
    const double x = a.get<double>();
    const double y = b.get<double>();
    return std::abs(x - y) <= tolerance * std::max(std::abs(x), std::abs(y));
  }
  if (a.type() != b.type() || a.size() != b.size()) return false;
  if (!a.is_structured()) return a == b;
  for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
    if (!AreEqual(*left, *right, tolerance)) return false;
  }
  return true;
}

struct Difference {
  std::string key;
  std::string before;  // empty if the entry is only in the other pool
  std::string after;
};

std::string DescribedValue(const Pool& pool, const Entry& entry) {
  return std::string(entry.type_name) + ' ' + ValueForList(pool, entry);
}

bool HasSameValue(const Pool& a, const Entry& left, const Pool& b, const Entry& right,
                  double tolerance) {
  if (left.type != right.type) return false;
  try {
    return AreEqual(report::JsonOf(a.Parse(left)), report::JsonOf(b.Parse(right)), tolerance);
  } catch (const PoolError&) {
    return left.text == right.text;
  }
}

std::vector<Difference> DifferencesOf(const Pool& a, const Pool& b, double tolerance) {
  std::vector<Difference> differences;
  for (const Entry& left : a.Entries()) {
    if (left.is_repeated) continue;
    const Entry* const right = b.Find(left.key);
    if (right == nullptr) {
      differences.push_back({std::string(left.key), DescribedValue(a, left), ""});
    } else if (!HasSameValue(a, left, b, *right, tolerance)) {
      differences.push_back(
          {std::string(left.key), DescribedValue(a, left), DescribedValue(b, *right)});
    }
  }
  for (const Entry& right : b.Entries()) {
    if (right.is_repeated || a.Has(right.key)) continue;
    differences.push_back({std::string(right.key), "", DescribedValue(b, right)});
  }
  return differences;
}

int Diff(const Arguments& arguments) {
  const std::vector<Difference> differences =
      DifferencesOf(Pool::Open(arguments.pool), Pool::Open(arguments.other), arguments.tolerance);
  std::string text;
  Json json = Json::array();
  for (const Difference& difference : differences) {
    json.push_back({{"key", report::JsonOfText(difference.key)},
                    {"before", report::JsonOfText(difference.before)},
                    {"after", report::JsonOfText(difference.after)}});
    if (!difference.before.empty()) text += "- " + difference.key + ' ' + difference.before + '\n';
    if (!difference.after.empty()) text += "+ " + difference.key + ' ' + difference.after + '\n';
  }
  WriteOutput(arguments.output, arguments.json ? json.dump(2) + '\n' : text);
  return differences.empty() ? kDone : kFailed;
}

// --- to-json, from-json ---

int ToJson(const Arguments& arguments) {
  WriteOutput(arguments.output, report::JsonOf(Pool::Open(arguments.pool)).dump(2) + '\n');
  return kDone;
}

int FromJson(const Arguments& arguments) {
  Json json;
  try {
    json = Json::parse(ReadInput(arguments.pool));
  } catch (const Json::exception& error) {
    throw std::runtime_error(arguments.pool + ": is no JSON: " + error.what());
  }
  try {
    WriteOutput(arguments.output, report::EditorFromJson(json).Text());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(arguments.pool + ": " + error.what());
  }
  return kDone;
}

// --- fix ---

// Converts UTF-16 to Latin-1, the encoding of pools. Other characters become "?".
std::string FromUtf16(std::string_view text, bool is_big_endian) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    const auto high = static_cast<unsigned char>(text[is_big_endian ? i : i + 1]);
    bytes += high == 0 ? text[is_big_endian ? i + 1 : i] : '?';
  }
  return bytes;
}

int Fix(const Arguments& arguments) {
  const std::string content = ReadInput(arguments.pool);
  std::string_view text = content;
  std::string decoded;
  std::string repairs;
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    decoded = FromUtf16(text.substr(2), text.front() == '\xFE');
    text = decoded;
    repairs += ", UTF-16";
  }
  if (text.starts_with("\xEF\xBB\xBF")) {
    text.remove_prefix(3);
    repairs += ", byte-order mark";
  }
  std::string fixed;
  std::size_t line_ends = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      fixed += text[i];
      continue;
    }
    ++line_ends;
    if (i + 1 == text.size() || text[i + 1] != '\n') fixed += '\n';
  }
  if (line_ends != 0) repairs += ", " + std::to_string(line_ends) + " line ends";
  if (!fixed.empty() && fixed.back() != '\n') {
    fixed += '\n';
    repairs += ", the last line's end";
  }
  WriteOutput(arguments.output, fixed);
  std::fprintf(stderr, "%s: repaired: %s\n", arguments.pool.c_str(),
               repairs.empty() ? "nothing, it is a true copy" : repairs.c_str() + 2);
  return kDone;
}

}  // namespace

RunCommand AddPool(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  const auto chosen = std::make_shared<int (*)(const Arguments&)>(nullptr);
  command.description("Read, change, compare and convert parameter pools");
  command.require_subcommand(1);
  const auto add = [&](const char* name, const char* what, int (*run)(const Arguments&)) {
    CLI::App* const sub = command.add_subcommand(name, what);
    sub->callback([chosen, run] { *chosen = run; });
    sub->add_option("POOL", arguments->pool, "A pool")->required();
    return sub;
  };
  const auto add_output = [&](CLI::App* sub) {
    sub->add_option("-o,--output", arguments->output,
                    "The file to write (default: standard output)");
  };

  CLI::App* const list = add("list", "List the entries with their lines and types", List);
  list->add_flag("--json", arguments->json, "Print JSON");
  CLI::App* const get = add("get", "Print the value of an entry", Get);
  get->add_option("KEY", arguments->key, "Its key")->required();
  get->add_flag("--json", arguments->json, "Print JSON");
  CLI::App* const set = add("set", "Set the value of an entry, safely", Set);
  set->add_option("KEY", arguments->key, "Its key")->required();
  set->add_option("VALUE", arguments->values, "Its value; several for a vector or a pair")
      ->required();
  set->add_option("--type", arguments->type, "Its type, such as FLT_15 (default: as it is)");
  CLI::App* const diff = add("diff", "Compare two pools by value; 1 if they differ", Diff);
  diff->add_option("OTHER", arguments->other, "The other pool")->required();
  diff->add_option("--tolerance", arguments->tolerance, "Relative difference of numbers to allow")
      ->check(CLI::NonNegativeNumber);
  diff->add_flag("--json", arguments->json, "Print JSON");
  CLI::App* const to_json = add("to-json", "Print the pool as JSON", ToJson);
  CLI::App* const from_json = add("from-json", "Make a pool of JSON (POOL is the JSON)", FromJson);
  CLI::App* const fix = add("fix", "Write a copy with repaired encoding and line ends", Fix);
  for (CLI::App* const sub : {list, get, diff, to_json, from_json, fix}) add_output(sub);

  command.footer(
      "Examples:\n"
      "  qmtool pool get scene.pool prf\n"
      "  qmtool pool set scene.pool local_height 230.5\n"
      "  qmtool pool diff before.pool after.pool --tolerance 1e-9\n"
      "  qmtool pool fix windows.pool -o scene.pool");
  return [arguments, chosen] { return (*chosen)(*arguments); };
}

}  // namespace quellmark::cli
