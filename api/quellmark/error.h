/// @file
/// What is thrown when something fails.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <quellmark/export.h>

namespace quellmark {

/// What kind of failure it was. Each value beside the last three is a class of the failures that
/// the batch step reports, with the text by which the step reports it.
enum class ErrorClass : int {
  kError,            ///< "error occurred"
  kMemory,           ///< "allocation error"
  kNoMemory,         ///< "not enough memory"
  kProcessing,       ///< "processing error"
  kArgument,         ///< "wrong argument"
  kAlgorithm,        ///< "algorithm error"
  kUnhandledCase,    ///< "case not handled in if or switch block"
  kNotImplemented,   ///< "fct or algorithm not implemented"
  kInvalidValue,     ///< "invalid value"
  kData,             ///< "data error"
  kParameter,        ///< "parameter error"
  kImage,            ///< "image data error"
  kDemDocumentType,  ///< "unknown DEM document type"
  kDemArguments,     ///< "invalid argument in DEM_IFC"
  kDemNoTile,  ///< "no given subtile document (e.g SRF) for given DEM location. Possibly DEM tile
               ///< too small"
  kDemDescriptor,        ///< "invalid / missing DEM descriptor item"
  kDemOnlyVoids,         ///< "only specially coded values available for DEM height interpolation"
  kDemPixelType,         ///< "not supported pixel type"
  kIo,                   ///< "I/O error"
  kCanNotCreateFile,     ///< "can not create file"
  kCanNotOpenFile,       ///< "can not open file"
  kDemCanNotOpenTile,    ///< "cannot open DEM subdocument"
  kCanNotReadFile,       ///< "can not read from file"
  kDemCanNotReadTile,    ///< "cannot read DEM subdocument"
  kCanNotWriteFile,      ///< "can not write into file"
  kCanNotSeekFile,       ///< "can not lseek in file"
  kCanNotMapFile,        ///< "mmap failed"
  kCanNotSyncFile,       ///< "msync failed"
  kNoDiskSpace,          ///< "not enough disk space"
  kDemNotInitialized,    ///< "DEM interface not initialized"
  kDemInitializedTwice,  ///< "DEM interface already initialized"
  kDemHandle,            ///< "invalid DEM handle"
  kPool,                 ///< "parameter pool error"
  kPoolCorrupted,        ///< "pool error - corrupted parameter pool file"
  kPoolInvalidValue,     ///< "pool error - no or invalid parameter value in file"
  kPoolWrongType,        ///< "pool error - wrong parameter type"
  kPoolOutOfBounds,      ///< "pool error - parameter value out of bounds"
  kPoolCanNotRename,     ///< "pool error - Update() : can not rename parameter file"
  kPoolNoPermission,     ///< "pool error - parameter pool update(): insufficient file permission"
  kPoolCanNotOpen,       ///< "pool error - can not open parameter pool"
  kPoolKeyTooLong,       ///< "pool error - key too long"
  kPoolKeyExists,        ///< "pool error - key already exists"
  kPoolKeyNotFound,      ///< "pool error - key not found"
  kEnum,                 ///< "enumeration data type error"
  kEnumInvalidId,        ///< "enumeration data type - invalid id"
  kEnumTypeMismatch,     ///< "enumeration data type - type mismatch"
  kEnumLimit,            ///< "enumeration data type - limit of enumeration expired"
  kEnumInvalidValue,     ///< "enumeration data type - invalid value"
  kText,                 ///< "failure that is told by its text alone"
  kStandard,             ///< "failure of the C++ library"
  kCancelled,            ///< "cancelled"
};

/// The text of the class, as it stands beside it above.
[[nodiscard]] QM_API std::string_view MessageOf(ErrorClass error_class) noexcept;
/// The class that `error_class` is a special case of; itself for those that are none.
[[nodiscard]] QM_API ErrorClass BaseOf(ErrorClass error_class) noexcept;
/// Whether `error_class` is `base` or, by any number of steps, a special case of it: every
/// pool failure is a kPool, every failure of the step's own a kError.
[[nodiscard]] QM_API bool IsA(ErrorClass error_class, ErrorClass base) noexcept;

/// Everything about one failure.
struct ErrorDetails {
  ErrorClass error_class = ErrorClass::kError;  ///< its kind
  std::string file;                             ///< the file that it is about; empty if none is
  std::string key;                              ///< the pool key that it is about; empty if none is
  std::size_t line = 0;                         ///< the line of that key, from 1; 0 if unknown
  std::vector<std::string> log_lines;           ///< what was logged on the way, oldest first
};

/// The base of everything that this library throws; what() is one line that says what failed, in
/// which file and under which key. Copies are cheap and never throw. Memory that can not be had is
/// an Error of the class kNoMemory.
class QM_API Error : public std::runtime_error {
 public:
  /// Takes over the details; `what` is the line for what().
  Error(const std::string& what, ErrorDetails details);
  /// Shares the details.
  Error(const Error&) noexcept = default;
  /// Shares the details.
  Error& operator=(const Error&) noexcept = default;
  ~Error() override;

  /// Its kind.
  [[nodiscard]] ErrorClass Class() const noexcept { return details_->error_class; }
  /// The file that it is about; empty if none is.
  [[nodiscard]] const std::string& File() const noexcept { return details_->file; }
  /// The pool key that it is about; empty if none is.
  [[nodiscard]] const std::string& Key() const noexcept { return details_->key; }
  /// The line of that key in the file, from 1; 0 if unknown.
  [[nodiscard]] std::size_t Line() const noexcept { return details_->line; }
  /// The log lines of the failure, oldest first, without line ends.
  [[nodiscard]] const std::vector<std::string>& LogLines() const noexcept {
    return details_->log_lines;
  }

 private:
  std::shared_ptr<const ErrorDetails> details_;
};

/// A call that can not be right whatever the data are, such as spans of different lengths.
class QM_API ArgumentError : public Error {
 public:
  using Error::Error;
  ~ArgumentError() override;
};

/// A pool: its file, an entry or its update.
class QM_API PoolError : public Error {
 public:
  using Error::Error;
  ~PoolError() override;
};

/// An orbit: its description, its state vectors, a time that it does not cover.
class QM_API OrbitError : public Error {
 public:
  using Error::Error;
  ~OrbitError() override;
};

/// A DEM: its descriptor, its tiles, a place without height.
class QM_API DemError : public Error {
 public:
  using Error::Error;
  ~DemError() override;
};

/// A scene: its parameters, or an image position that is nowhere on the ground.
class QM_API SceneError : public Error {
 public:
  using Error::Error;
  ~SceneError() override;
};

/// The caller's progress function has ended a long call.
class QM_API CancelledError : public Error {
 public:
  using Error::Error;
  ~CancelledError() override;
};

}  // namespace quellmark
