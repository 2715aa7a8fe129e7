# cmake -D WEB=folder -D DYGRAPHS=folder -D OUTPUT=file.cpp -P WebPage.cmake
# Puts the page together and writes it as a source file: the parts that are served, and what stands
# before and behind the data in a report. Same files, same bytes.
set(scripts dom series quantities machine range chart card board live report main)
# Of a page that has all of itself inside, the policy names the scripts and styles by their hashes.
set(limit 256000)

set(style "")
foreach(file "${DYGRAPHS}/dygraph.min.css" "${WEB}/page.css")
  file(READ "${file}" text)
  string(REGEX REPLACE "\n/\\*# sourceMappingURL[^\n]*" "" text "${text}")
  string(APPEND style "${text}\n")
endforeach()

# CMake's lists would eat these characters.
function(read_script variable file)
  file(READ "${file}" text)
  string(REGEX REPLACE "\n//# sourceMappingURL[^\n]*" "" text "${text}")
  if(text MATCHES "</script|<!--")
    message(FATAL_ERROR "${file}: this would end a script inside of a page")
  endif()
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

read_script(charts "${DYGRAPHS}/dygraph.min.js")
set(script "\"use strict\";\n(() => {\n")
foreach(name IN LISTS scripts)
  read_script(text "${WEB}/${name}.js")
  string(APPEND script "${text}")
endforeach()
string(APPEND script "})();\n")

# hash_source(variable text): 'sha256-...' in base64, for the policy.
function(hash_source variable text)
  string(SHA256 hex "${text}")
  set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  set(result "")
  string(APPEND hex "00")
  foreach(place RANGE 0 63 3)
    string(SUBSTRING "${hex}" ${place} 3 three)
    math(EXPR high "0x${three} / 64")
    math(EXPR low "0x${three} % 64")
    string(SUBSTRING "${digits}" ${high} 1 first)
    string(SUBSTRING "${digits}" ${low} 1 second)
    string(APPEND result "${first}${second}")
  endforeach()
  string(SUBSTRING "${result}" 0 43 result)
  set(${variable} "'sha256-${result}='" PARENT_SCOPE)
endfunction()

hash_source(style_hash "${style}")
hash_source(charts_hash "${charts}")
hash_source(script_hash "${script}")

file(READ "${WEB}/page.html" page)
function(fill variable page policy style data script)
  foreach(part POLICY STYLE DATA SCRIPT)
    string(TOLOWER ${part} name)
    string(REPLACE "@${part}@\n" "${${name}}" page "${page}")
  endforeach()
  set(${variable} "${page}" PARENT_SCOPE)
endfunction()

fill(served "${page}" "" "<link rel=\"stylesheet\" href=\"page.css\">\n" ""
  "<script src=\"charts.js\"></script>\n<script src=\"page.js\"></script>\n")
fill(report "${page}"
  "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src ${charts_hash} ${script_hash}; style-src ${style_hash}; img-src data:\">\n"
  "<style>${style}</style>\n"
  "<script type=\"application/json\" id=\"data\">@SPLIT@</script>\n"
  "<script>${charts}</script>\n<script>${script}</script>\n")
string(FIND "${report}" "@SPLIT@" split)
string(SUBSTRING "${report}" 0 ${split} head)
math(EXPR split "${split} + 7")
string(SUBSTRING "${report}" ${split} -1 tail)

string(LENGTH "${report}" size)
if(size GREATER limit)
  message(FATAL_ERROR "The page has ${size} bytes, more than ${limit}.")
endif()

set(source "// Made by the build from web/ and dygraphs.\n#include \"web/webpage.h\"\n\nnamespace zorvane {\nnamespace {\n")
set(names "")
foreach(part served style charts script head tail)
  # Bytes in hexadecimal: a compiler's limit for the length of a string literal does not count here.
  string(HEX "${${part}}" bytes)
  string(LENGTH "${${part}}" length)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n" bytes "${bytes}")
  string(APPEND source "const unsigned char k_${part}[] = {\n${bytes}};\n")
endforeach()
string(APPEND source "std::string_view View(const unsigned char* bytes, size_t size) {\n"
  "    return {reinterpret_cast<const char*>(bytes), size};\n}\n}  // namespace\n\n")
foreach(pair "kWebPage|served" "kWebStyle|style" "kWebCharts|charts" "kWebScript|script"
             "kReportHead|head" "kReportTail|tail")
  string(REPLACE "|" ";" pair "${pair}")
  list(GET pair 0 name)
  list(GET pair 1 part)
  string(APPEND source "const std::string_view ${name} = View(k_${part}, sizeof(k_${part}));\n")
endforeach()
string(APPEND source "\n}  // namespace zorvane\n")
file(WRITE "${OUTPUT}" "${source}")
