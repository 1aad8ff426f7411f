# qm_add_library(<name> SOURCES <file>... [DEPENDS <target>...])
#   A static library of this project. DEPENDS names its direct dependencies only.
function(qm_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  # Its objects also become part of the library for other programs, which hides their names.
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE $<BUILD_INTERFACE:qm_flags>)
endfunction()

# qm_add_test(<name> SOURCES <file>... [DEPENDS <target>...] [LABELS <label>...] [TIMEOUT <seconds>])
#   A GoogleTest program whose cases are registered with CTest one by one.
function(qm_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;DEPENDS;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE
    ${ARG_DEPENDS} qm_test_support GTest::gmock GTest::gtest GTest::gtest_main qm_flags)
  # With -O1 the tests compile in two thirds of the time. The libraries under test keep their flags.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  gtest_discover_tests(${name} NO_PRETTY_VALUES
    TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
endfunction()

# qm_add_bench(<name> SOURCES <file>... [DEPENDS <target>...])
#   A Google Benchmark program.
function(qm_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE
    ${ARG_DEPENDS} benchmark::benchmark benchmark::benchmark_main qm_flags)
endfunction()

# qm_closure(<variable> <target>...)
#   Sets the variable to these targets and all targets of this project that they depend on.
function(qm_closure variable)
  set(closure)
  set(todo ${ARGN})
  while(todo)
    list(POP_FRONT todo target)
    if(target MATCHES "^qm_" AND TARGET ${target} AND NOT target IN_LIST closure)
      list(APPEND closure ${target})
      get_target_property(below ${target} INTERFACE_LINK_LIBRARIES)
      if(below)
        list(APPEND todo ${below})
      endif()
    endif()
  endwhile()
  set(${variable} ${closure} PARENT_SCOPE)
endfunction()
