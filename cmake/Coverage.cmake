# For the preset "coverage": what is compiled below counts its branches. The counts are written when a
# process ends. scripts/coverage runs the tests and sums them up.
option(ZORVANE_COVERAGE "Count the branches that are taken" OFF)
if(NOT ZORVANE_COVERAGE)
  return()
endif()

# Unoptimised, a branch of the program is one of the source. Threads count at the same time. Counting in
# headers of others as well doubles the objects.
set(counting -O0 -g0 --coverage -fprofile-update=atomic
  "-fprofile-filter-files=/(base|client|host|monitor|src)/.*[.](cpp|h)$")
foreach(folder base src host client client/c client/reasons monitor)
  get_property(targets DIRECTORY "${PROJECT_SOURCE_DIR}/${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "INTERFACE_LIBRARY|UTILITY")
      target_compile_options(${target} PRIVATE ${counting})
      set_target_properties(${target} PROPERTIES ZORVANE_QUICK_LINK TRUE)
    endif()
  endforeach()
endforeach()
target_link_options(zorvane_options INTERFACE --coverage)

# Test programs that compile a source of the program themselves. Their precompiled headers count nothing.
foreach(target test_kit test_dllmain)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "^(/|.:)")
  set_source_files_properties(${sources} TARGET_DIRECTORY ${target} PROPERTIES
    COMPILE_OPTIONS "${counting}" SKIP_PRECOMPILE_HEADERS ON SKIP_UNITY_BUILD_INCLUSION ON)
endforeach()

# The linker of GCC takes minutes for these.
zorvane_quick_link(zorvanemon)

# A host ends itself by TerminateProcess, which writes nothing.
foreach(target zorvanehost zorvanesimhost)
  target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/coverage/terminate.cpp")
endforeach()
target_sources(Zorvane PRIVATE "${PROJECT_SOURCE_DIR}/tests/coverage/writecounts.cpp")
