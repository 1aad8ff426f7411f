# qm_add_header_check(<name> FOLDERS <folder>... DEPENDS <target>...)
#   Compiles every header of the folders alone, so that none depends on earlier includes.
#   If QM_CHECK_HEADERS is off, the target does not exist. Of several builds, one with the target is
#   enough.
function(qm_add_header_check name)
  cmake_parse_arguments(ARG "" "" "FOLDERS;DEPENDS" ${ARGN})
  if(NOT QM_CHECK_HEADERS)
    return()
  endif()
  set(sources)
  foreach(folder IN LISTS ARG_FOLDERS)
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS
      RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/${folder}/*.h")
    foreach(header IN LISTS headers)
      set(source "${CMAKE_CURRENT_BINARY_DIR}/${name}/${header}.cpp")
      file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"@header@\"\n" @ONLY)
      list(APPEND sources "${source}")
    endforeach()
  endforeach()
  add_library(${name} OBJECT ${sources})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} qm_flags)
endfunction()
