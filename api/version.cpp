#include <quellmark/version.h>

namespace quellmark {

std::string_view LibraryVersion() noexcept { return kVersion; }

}  // namespace quellmark
