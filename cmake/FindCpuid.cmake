# cmake -D OBJDUMP=... -D IMAGE=... -D HEADER=... -P FindCpuid.cmake
# Writes a header with the places of all CPUID instructions of a library. A disassembler finds them,
# because the two bytes 0F A2 also occur inside other instructions. With LIST in place of HEADER the
# places stand one a line, for a program that reads them while it runs.
function(run_objdump output)
  execute_process(COMMAND "${OBJDUMP}" ${ARGN} "${IMAGE}"
    OUTPUT_VARIABLE text ERROR_VARIABLE complaint RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} ${ARGN} ${IMAGE} failed: ${complaint}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

# header_number(field output): a field of the image's optional header, which objdump shows in
# hexadecimal.
function(header_number field output)
  if(NOT headers MATCHES "${field}[ \t]+([0-9a-f]+)")
    message(FATAL_ERROR "${IMAGE}: objdump shows no ${field}")
  endif()
  set(${output} "0x${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

run_objdump(headers -p)
header_number(ImageBase base)
header_number(SizeOfImage size)
header_number(CheckSum checksum)

run_objdump(code -d)
string(REGEX MATCHALL "[0-9a-f]+:\t0f a2[ ]+\tcpuid" instructions "${code}")
set(addresses "")
foreach(instruction IN LISTS instructions)
  string(REGEX MATCH "^[0-9a-f]+" address "${instruction}")
  math(EXPR address "0x${address} - ${base}" OUTPUT_FORMAT HEXADECIMAL)
  list(APPEND addresses "${address}")
endforeach()
if(addresses STREQUAL "")
  message(FATAL_ERROR "${IMAGE}: the disassembler finds no CPUID instruction")
endif()

if(LIST)
  list(JOIN addresses "\n" text)
  file(WRITE "${LIST}" "${text}\n")
  return()
endif()

list(JOIN addresses ",\n    " addresses)
file(CONFIGURE OUTPUT "${HEADER}" @ONLY CONTENT [[
// Made by the build from the library's disassembly.
#pragma once

#include "sim/cpu/cpuidpatch.h"

inline constexpr uint32_t kCpuidAddresses[] = {
    @addresses@};

inline constexpr CpuidImage kCpuidImage{@size@, @checksum@, kCpuidAddresses};
]])
