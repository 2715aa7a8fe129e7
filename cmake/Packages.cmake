# What goes into the packages: component "runtime" for users, "debug" with the debugging symbols.
configure_file(packaging/README.txt "${CMAKE_BINARY_DIR}/packaging/README.txt" @ONLY NEWLINE_STYLE WIN32)
include(Notices)
zorvane_notices("${CMAKE_BINARY_DIR}/packaging/NOTICES.txt")
install(FILES "${CMAKE_BINARY_DIR}/packaging/README.txt" "${CMAKE_BINARY_DIR}/packaging/NOTICES.txt"
  DESTINATION . COMPONENT runtime)
install(TARGETS Zorvane zorvanehost zorvanemon RUNTIME DESTINATION . COMPONENT runtime)
# The log is written only where its folder is there already.
install(DIRECTORY DESTINATION Log COMPONENT runtime)
install(FILES $<TARGET_FILE:Platform> platform-standin/README.txt
  DESTINATION platform-standin COMPONENT runtime)
install(DIRECTORY include/zorvane DESTINATION include COMPONENT runtime)
install(DIRECTORY base client examples DESTINATION . COMPONENT runtime
  FILES_MATCHING PATTERN "*.h" PATTERN "*.c" PATTERN "*.cpp")
install(FILES docs/fleet.md docs/page.md docs/protocol.md docs/support.md docs/zorvanemon.md
  DESTINATION docs COMPONENT runtime)

install(DIRECTORY integrations DESTINATION . COMPONENT runtime)

foreach(target Zorvane zorvanehost zorvanemon Platform)
  install(FILES $<TARGET_FILE:${target}>.debug DESTINATION . COMPONENT debug)
endforeach()
