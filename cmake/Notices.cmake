# zorvane_notices(file): the notices of what is linked into the programs, from the packages of the
# build machine that brought it. On Windows there are none to take.
#
# Each entry is "what it is|folder in the programs' includes, or - |Debian package".
set(ZORVANE_LINKED_IN
  "GNU C++ runtime library and compiler support library|-|gcc-mingw-w64-x86-64-posix-runtime"
  "mingw-w64 C runtime library and winpthreads|-|mingw-w64-x86-64-dev"
  "CLI11|CLI|libcli11-dev"
  "{fmt}|fmt|libfmt-dev"
  "JSON for Modern C++|nlohmann|nlohmann-json3-dev"
  "Boost.Beast and Boost.Asio|boost|libboost1.74-dev"
  "dygraphs, in the page that zorvanemon serves|-|libjs-dygraphs")

function(zorvane_notices file)
  set(rule "================================================================================\n")
  set(text "Parts of these programs come from others. Their terms, as Debian's packages give them:\n\n")
  set(texts "")
  foreach(entry IN LISTS ZORVANE_LINKED_IN)
    string(REPLACE "|" ";" entry "${entry}")
    list(GET entry 0 name)
    list(GET entry 2 package)
    string(APPEND text "  ${name}\n")
    if(CMAKE_CROSSCOMPILING)
      file(READ "/usr/share/doc/${package}/copyright" terms)
      string(APPEND texts "\n\n${rule}${name}\n${rule}\n${terms}")
    endif()
  endforeach()
  string(REPLACE "\n" "\r\n" text "${text}${texts}")
  file(WRITE "${file}" "${text}")
endfunction()
