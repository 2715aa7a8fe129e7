# What every target of this project is compiled and linked with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
# Functions and lines are what a crash is read with. Symbols of variables and types as well take a third
# of the time of a build; the DLLs, which run in other people's processes, have them.
set(CMAKE_C_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

# A library is named as its users load it: Nvml.dll, not libNvml.dll.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

# CMake adds a list of import libraries of its own; each target names what it needs instead.
set(CMAKE_C_STANDARD_LIBRARIES "" CACHE STRING "" FORCE)
set(CMAKE_CXX_STANDARD_LIBRARIES "" CACHE STRING "" FORCE)

add_library(zorvane_options INTERFACE)

# Every include names its path from the root; the wire header is found as its users find it.
target_include_directories(zorvane_options INTERFACE
  "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include")

target_compile_definitions(zorvane_options INTERFACE
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 WINVER=0x0A00)

target_compile_options(zorvane_options INTERFACE
  -Werror -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual
  -Wformat=2 -Wundef -Wvla
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Woverloaded-virtual -Wextra-semi
    -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override
    -Wzero-as-null-pointer-constant>)

# Nothing of the machine that builds may show in what is built. Both maps are needed: the debugger's
# paths and __FILE__. As options of the folder they stand before a target's own: the last one wins.
add_compile_options(
  "-fdebug-prefix-map=${CMAKE_SOURCE_DIR}/=./"
  "-fdebug-prefix-map=${CMAKE_BINARY_DIR}=build"
  "-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=./")

# What nothing uses stays out of a program, unless it has the property ZORVANE_QUICK_LINK: the linker
# takes long for that. No -fdata-sections: for Windows the compiler then writes zeroed data into the
# file.
set(small "$<NOT:$<BOOL:$<TARGET_PROPERTY:ZORVANE_QUICK_LINK>>>")
target_compile_options(zorvane_options INTERFACE $<${small}:-ffunction-sections>)

target_link_options(zorvane_options INTERFACE
  -static $<${small}:-Wl,--gc-sections> -Wl,--no-insert-timestamp -Wl,--fatal-warnings
  -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)

find_program(ZORVANE_LLD ld.lld)

# zorvane_quick_link(program): for programs that are linked often and shipped to nobody.
function(zorvane_quick_link target)
  set_target_properties(${target} PROPERTIES ZORVANE_QUICK_LINK TRUE)
  if(ZORVANE_LLD AND CMAKE_CROSSCOMPILING)
    target_link_options(${target} PRIVATE -wrapper "${PROJECT_SOURCE_DIR}/cmake/link-with-lld")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS
      "${PROJECT_SOURCE_DIR}/cmake/link-with-lld")
  endif()
endfunction()

# Most of what a source costs is reading headers, so several sources are compiled as one, which takes
# two fifths off a build. Off, each source is an object of its own: scripts/lint looks at sources so.
# "TESTS" is for scripts/mutate, which compiles one source of a program again and again, so these are
# not optimised either, and zorvanemon is linked as the tests are.
set(ZORVANE_UNITY ON CACHE STRING "Compile several sources of a target as one: ON, OFF or TESTS")

# GNU's ar reads every section for its index: half a minute for a library of objects that are not
# optimised.
find_program(ZORVANE_LLVM_AR llvm-ar)
if(ZORVANE_LLVM_AR AND (ZORVANE_UNITY STREQUAL "TESTS" OR ZORVANE_COVERAGE))
  set(CMAKE_CXX_ARCHIVE_CREATE "${ZORVANE_LLVM_AR} qc <TARGET> <OBJECTS>")
  set(CMAKE_CXX_ARCHIVE_FINISH "${ZORVANE_LLVM_AR} s <TARGET>")
endif()

# zorvane_unity(target): compiles the sources of the target several at a time. Not for what takes in a
# static library's objects one by one, and not for Zorvane.dll and zorvaneclient.dll.
function(zorvane_unity target)
  if(ZORVANE_UNITY STREQUAL "TESTS" AND NOT target MATCHES "^test_")
    target_compile_options(${target} PRIVATE -O0 -g0)
    return()
  endif()
  if(ZORVANE_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD TRUE UNITY_BUILD_BATCH_SIZE 12)
    # GCC takes the anonymous namespaces of included files for those of headers.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
  endif()
endfunction()

# zorvane_split_debug(target): moves the debugging symbols into "<file>.debug" beside the file.
# Dates are preserved because a rebuild of one commit gives the same bytes.
function(zorvane_split_debug target)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug $<TARGET_FILE:${target}>
            $<TARGET_FILE:${target}>.debug
    COMMAND ${CMAKE_STRIP} --preserve-dates --strip-all $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug
            $<TARGET_FILE:${target}>
    VERBATIM)
endfunction()

# For the preset "checked": whatever the language leaves undefined ends the program with an illegal
# instruction, as MinGW has no run-time library that could say more; so do broken rules of the
# standard library and overrun stack buffers.
option(ZORVANE_CHECKED "Trap undefined behaviour" OFF)
if(ZORVANE_CHECKED)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  add_compile_options(-fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error
    -fstack-protector-strong)
  add_link_options(-fstack-protector-strong)
endif()
