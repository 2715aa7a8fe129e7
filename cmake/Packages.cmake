# What goes into the packages: component "runtime" for users, "debug" with the debugging symbols.
configure_file(packaging/README.txt "${CMAKE_BINARY_DIR}/packaging/README.txt" @ONLY NEWLINE_STYLE WIN32)
include(Notices)
zorvane_notices("${CMAKE_BINARY_DIR}/packaging/NOTICES.txt")
install(FILES "${CMAKE_BINARY_DIR}/packaging/README.txt" "${CMAKE_BINARY_DIR}/packaging/NOTICES.txt"
  DESTINATION . COMPONENT runtime)
install(TARGETS Zorvane zorvaneclient zorvanehost zorvanemon
  RUNTIME DESTINATION . COMPONENT runtime ARCHIVE DESTINATION lib COMPONENT runtime)
# The log is written only where its folder is there already.
install(DIRECTORY DESTINATION Log COMPONENT runtime)
install(FILES $<TARGET_FILE:Platform> platform-standin/README.txt
  DESTINATION platform-standin COMPONENT runtime)
install(DIRECTORY "${ZORVANE_BIN_DIR}/demo" DESTINATION . COMPONENT runtime
  PATTERN "*.log" EXCLUDE PATTERN "*.set" EXCLUDE)
install(DIRECTORY include/zorvane DESTINATION include COMPONENT runtime)

# For authors of stubs: find_package(Zorvane), the sources of Zorvane::client, the examples.
include(CMakePackageConfigHelpers)
configure_file(packaging/ZorvaneConfig.cmake.in
  "${CMAKE_BINARY_DIR}/packaging/ZorvaneConfig.cmake" @ONLY)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/packaging/ZorvaneConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/packaging/ZorvaneConfig.cmake"
  "${CMAKE_BINARY_DIR}/packaging/ZorvaneConfigVersion.cmake"
  DESTINATION lib/cmake/Zorvane COMPONENT runtime)
install(FILES client/c/zorvaneclient.def DESTINATION lib COMPONENT runtime)
install(DIRECTORY client DESTINATION . COMPONENT runtime
  FILES_MATCHING PATTERN "*.h" PATTERN "*.cpp" PATTERN "c" EXCLUDE
  PATTERN "*supportpage.*" EXCLUDE)
set(base_files ${ZORVANE_PACKAGED_SOURCES})
list(FILTER base_files INCLUDE REGEX "^base/")
list(TRANSFORM base_files REPLACE "\\.cpp$" ".h" OUTPUT_VARIABLE base_headers)
install(FILES ${base_files} ${base_headers} base/handle.h DESTINATION base COMPONENT runtime)
install(DIRECTORY examples/ packaging/examples/ DESTINATION examples COMPONENT runtime
  FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp" PATTERN "*.js" PATTERN "*.py" PATTERN "*.cs"
  PATTERN "*.rs" PATTERN "*.md")
install(FILES packaging/examples/CMakeLists.txt DESTINATION examples COMPONENT runtime)
set(packaged_pages debugging doctor fleet operations page protocol support zorvanemon)
foreach(page ${packaged_pages})
  install(FILES "docs/${page}.md" DESTINATION docs COMPONENT runtime)
endforeach()
# The same for browsers, where the build machine can make it; scripts/package installs what it takes.
find_program(ZORVANE_CMARK cmark-gfm)
if(ZORVANE_CMARK)
  foreach(page ${packaged_pages})
    set(html "${CMAKE_BINARY_DIR}/packaging/docs/${page}.html")
    add_custom_command(OUTPUT "${html}"
      COMMAND ${CMAKE_COMMAND} -D "CMARK=${ZORVANE_CMARK}" -D "PAGE=${CMAKE_SOURCE_DIR}/docs/${page}.md"
              -D "HTML=${html}" -P "${CMAKE_SOURCE_DIR}/cmake/HtmlPage.cmake"
      DEPENDS "docs/${page}.md" cmake/HtmlPage.cmake
      VERBATIM)
    list(APPEND html_pages "${html}")
  endforeach()
  add_custom_target(html_pages DEPENDS ${html_pages})
  add_dependencies(packaged html_pages)
  install(FILES ${html_pages} DESTINATION docs COMPONENT runtime OPTIONAL)
endif()

install(DIRECTORY integrations DESTINATION . COMPONENT runtime)

foreach(target Zorvane zorvaneclient zorvanehost zorvanemon Platform)
  install(FILES $<TARGET_FILE:${target}>.debug DESTINATION . COMPONENT debug)
endforeach()
