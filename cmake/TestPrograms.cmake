# GoogleTest comes as source from the build machine's packages: it has to be built for Windows too.
set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(ZORVANE_GOOGLETEST_DIR "/usr/src/googletest" CACHE PATH "GoogleTest's sources")
add_subdirectory("${ZORVANE_GOOGLETEST_DIR}" "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)
foreach(library gtest gmock)
  target_compile_options(${library} PRIVATE $<$<CONFIG:Release>:-O0;-g0>)
endforeach()

set(ZORVANE_TEST_DIR "${CMAKE_BINARY_DIR}/tests")
set(ZORVANE_TEST_RESULTS_DIR "${CMAKE_BINARY_DIR}/test-results")
file(MAKE_DIRECTORY "${ZORVANE_TEST_RESULTS_DIR}")

# zorvane_test_options(target): what compiles and links quickly. A test runs too briefly for the
# optimiser to pay, and its symbols help nobody under Wine; the debug preset has both as a debugger
# wants them.
function(zorvane_test_options target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O0;-g0>)
  target_link_options(${target} PRIVATE $<$<CONFIG:Release>:-s>)
  zorvane_quick_link(${target})
  zorvane_unity(${target})
endfunction()

# zorvane_test_program(target [ISOLATED] SOURCES source... [LIBRARIES library...])
# One CTest entry for the program; with ISOLATED one per test, each in a process of its own, for
# tests of what a process remembers for good. Results land as XML in ZORVANE_TEST_RESULTS_DIR, which is
# the current folder: GoogleTest under Wine takes no path of the build machine.
function(zorvane_test_program target)
  cmake_parse_arguments(arg "ISOLATED" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  add_executable(${target} ${arg_SOURCES})
  target_link_libraries(${target} PRIVATE test_main ${arg_LIBRARIES})
  zorvane_test_options(${target})
  target_precompile_headers(${target} REUSE_FROM test_support)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${ZORVANE_TEST_DIR}")
  if(arg_ISOLATED)
    gtest_discover_tests(${target} TEST_PREFIX "${target}." DISCOVERY_MODE PRE_TEST
      DISCOVERY_TIMEOUT 120 WORKING_DIRECTORY "${ZORVANE_TEST_RESULTS_DIR}" XML_OUTPUT_DIR ./
      PROPERTIES TIMEOUT ${arg_TIMEOUT})
  else()
    add_test(NAME ${target}
      COMMAND ${target} "--gtest_output=xml:${target}.xml"
      WORKING_DIRECTORY "${ZORVANE_TEST_RESULTS_DIR}")
    set_tests_properties(${target} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  endif()
endfunction()

# zorvane_test_fake_cpuid(target): lists the CPUID instructions of a test program beside it, for
# tests/support/fakecpuid.h.
function(zorvane_test_fake_cpuid target)
  set(script "${CMAKE_SOURCE_DIR}/cmake/FindCpuid.cmake")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -D "OBJDUMP=${CMAKE_OBJDUMP}" -D "IMAGE=$<TARGET_FILE:${target}>"
            -D "LIST=$<TARGET_FILE:${target}>.cpuid" -P "${script}"
    BYPRODUCTS "${ZORVANE_TEST_DIR}/${target}.exe.cpuid"
    VERBATIM)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
endfunction()
