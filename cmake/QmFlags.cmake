# One interface target carries the flags of all targets of this project, so that none of them
# affects a project that includes this one.
add_library(qm_flags INTERFACE)
target_compile_features(qm_flags INTERFACE cxx_std_20)
target_include_directories(qm_flags INTERFACE "${PROJECT_SOURCE_DIR}")

# A fused multiply-add would make the results depend on the compiler and on the processor.
target_compile_options(qm_flags INTERFACE
  -ffp-contract=off
  -Wall -Wextra -Wpedantic
  -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wold-style-cast -Wcast-align -Wcast-qual
  -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi
  -Wformat=2 -Wundef -Wunused
  # g++ 12 wrongly warns of an overlap inside its own std::string when a text and a character are
  # added.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# The linker leaves out what a program does not use, because the executable is copied to many hosts.
target_compile_options(qm_flags INTERFACE -ffunction-sections -fdata-sections)
target_link_options(qm_flags INTERFACE -Wl,--gc-sections)

# A project that includes this one chooses its own link options.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set_property(GLOBAL PROPERTY USE_FOLDERS ON)
