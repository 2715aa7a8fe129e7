# Header-only packages of the build machine. /usr/include itself would bring the wrong system
# headers into a cross build, so a folder of our own holds just these packages.
set(ZORVANE_THIRD_PARTY_DIR "${CMAKE_BINARY_DIR}/third_party")
file(MAKE_DIRECTORY "${ZORVANE_THIRD_PARTY_DIR}")
foreach(package CLI boost fmt nlohmann spdlog)
  if(CMAKE_CROSSCOMPILING)
    if(NOT EXISTS "/usr/include/${package}")
      message(FATAL_ERROR "Headers /usr/include/${package} are missing: run scripts/setup.")
    endif()
    file(CREATE_LINK "/usr/include/${package}" "${ZORVANE_THIRD_PARTY_DIR}/${package}" SYMBOLIC)
  endif()
endforeach()

add_library(zorvane_third_party INTERFACE)
target_include_directories(zorvane_third_party SYSTEM INTERFACE "${ZORVANE_THIRD_PARTY_DIR}")

# No locale: nothing here formats for one, and the runtime's locale code is larger than {fmt} itself.
add_library(zorvane_fmt STATIC "${CMAKE_CURRENT_LIST_DIR}/fmt.cpp")
target_include_directories(zorvane_fmt SYSTEM PRIVATE "${ZORVANE_THIRD_PARTY_DIR}")
target_compile_definitions(zorvane_fmt PUBLIC FMT_STATIC_THOUSANDS_SEPARATOR=',')
target_compile_options(zorvane_fmt PRIVATE -ffunction-sections -fdata-sections)
target_link_libraries(zorvane_third_party INTERFACE zorvane_fmt)
