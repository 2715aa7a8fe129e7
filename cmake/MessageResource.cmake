# zorvane_message_resource(target file): adds the texts that Windows' event viewer shows for a program.
find_program(ZORVANE_MESSAGE_COMPILER NAMES x86_64-w64-mingw32-windmc windmc mc REQUIRED)
function(zorvane_message_resource target file)
  get_filename_component(name "${file}" NAME_WE)
  set(folder "${CMAKE_CURRENT_BINARY_DIR}")
  add_custom_command(
    OUTPUT "${folder}/${name}.rc" "${folder}/MSG00409.bin"
    COMMAND "${ZORVANE_MESSAGE_COMPILER}" -U -h "${folder}" -r "${folder}"
            "${CMAKE_CURRENT_SOURCE_DIR}/${file}"
    DEPENDS "${file}"
    VERBATIM)
  set_source_files_properties("${folder}/${name}.rc" PROPERTIES
    INCLUDE_DIRECTORIES "${folder}" OBJECT_DEPENDS "${folder}/MSG00409.bin")
  target_sources(${target} PRIVATE "${folder}/${name}.rc")
endfunction()
