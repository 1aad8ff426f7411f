// The step's connection to the process controller that starts it: its name, its parameters, its
// status files and its end.
#pragma once

#include <array>
#include <atomic>
#include <csignal>
#include <initializer_list>
#include <string>
#include <string_view>

#include "runtime/configuration_file.h"
#include "runtime/keyboard.h"

namespace quellmark::runtime {

/// A path of at most 255 bytes in a buffer of its own, which a signal handler may read.
class PathBuffer {
 public:
  /// Takes the joined pieces; false, and no change, if they do not fit.
  bool Assign(std::initializer_list<std::string_view> pieces);
  /// The same, but throws ERROR_PARAMETER and blames `parameter` if they do not fit.
  void AssignOrFail(std::initializer_list<std::string_view> pieces, std::string_view parameter);
  [[nodiscard]] const char* Text() const { return text_.data(); }
  [[nodiscard]] std::string_view View() const { return text_.data(); }

 private:
  std::array<char, 256> text_{};
};

/// The name of a signal for the log; empty outside 1 to 31.
[[nodiscard]] std::string_view SignalName(int number);

}  // namespace quellmark::runtime

/// One per process, created at the start of main. Its creation initialises the log.
class CONTROLLER_IFC {
 public:
  CONTROLLER_IFC() noexcept;
  CONTROLLER_IFC(const CONTROLLER_IFC&) = delete;
  CONTROLLER_IFC& operator=(const CONTROLLER_IFC&) = delete;
  ~CONTROLLER_IFC();

  /// The start-up: fatal signals, process name, configuration file, log file and thresholds, STOP
  /// file (ends the process with 2), status files. To be called before anything else; `argv` must
  /// outlive the controller. Nothing is allocated before the status files are known, so a failure
  /// for want of memory is told there. A `message_mode` other than 0 makes a fatal signal write its
  /// message line. Throws ERROR_PARAMETER if a path does not fit its buffer.
  void init(int argc, char** argv, int message_mode);

  /// The process name: "pid" or the program's file name. Before init it complains and is "unknown".
  [[nodiscard]] std::string get_binary_name();

  /// Looks `name` up in the argument list, the configuration file, the environment and at the
  /// keyboard. Throws ERROR_PARAMETER if the keyboard's input has ended.
  void GetParameter(std::string_view name, std::string& value);
  /// The same without the keyboard; tells whether it was found.
  bool GetOptionalParameter(std::string_view name, std::string& value);
  [[nodiscard]] bool HasParameter(std::string_view name);

  /// Leave OK (or ERROR) behind and give the exit status 0 (or 1) or end the process with it.
  [[nodiscard]] int SuccessReturn();
  [[nodiscard]] int FailureReturn();
  [[noreturn]] void SuccessExit();
  [[noreturn]] void FailureExit();

  void SwitchMessageModeOn() { message_mode_ = true; }
  /// The path under which the configuration file was looked for, whether it exists or not.
  [[nodiscard]] std::string ConfigurationFile() const { return std::string(configuration_.View()); }

 private:
  using PathBuffer = quellmark::runtime::PathBuffer;

  static void HandleSignal(int number, siginfo_t* info, void* context);
  void InstallSignalHandler();
  void SetProcessName(std::string_view name, std::string_view parameter);
  void NameBesideFile(std::string_view directory);
  void ExchangeStatusFiles(const PathBuffer& gone, const PathBuffer& left, char digit) const;
  void FindProcessName();
  void FindStatusFiles();
  void OpenConfigurationFile();
  void MoveLog();
  void SetThresholds();
  void ObeyStopFile() const;
  [[nodiscard]] std::string_view NameSource() const;

  // These two give views of the program's own arguments and environment.
  bool FindArgument(std::string_view name, std::string_view& value) const;
  bool FindInConfigurationFile(std::string_view name, std::string& value);
  static bool FindInEnvironment(std::string_view name, std::string_view& value);
  // The look-up while there is no configuration file.
  bool FindEarly(std::string_view name, std::string_view& value) const;
  void AskKeyboard(std::string_view name, std::string& value);

  int argc_ = 0;
  char** argv_ = nullptr;
  bool pid_given_ = false;
  bool named_ = false;
  std::atomic<bool> message_mode_ = false;
  std::atomic<bool> status_files_known_ = false;  // their paths may be used by the signal handler
  PathBuffer process_name_;
  PathBuffer ok_file_;
  PathBuffer stop_file_;
  PathBuffer error_file_;
  std::array<char, 320> beside_file_{};  // what becomes a status file once it is written
  PathBuffer configuration_;
  quellmark::runtime::ConfigurationFile configuration_file_;
  quellmark::runtime::Keyboard keyboard_;
};
