# A DLL is a guest in its process. The compiler of the cross build, which has std::thread, brings a
# threads runtime into everything that it links: a vectored exception handler, thread callbacks and
# a stack overflow where memory runs out. Debian packages the same compiler with Windows' own
# threads; the DLLs are compiled and linked with its front end, headers and libraries, which -B
# puts before those of the driver. A native build has one compiler and takes what that brings.
if(CMAKE_CROSSCOMPILING)
  find_program(ZORVANE_WIN32_THREADS_COMPILER "${ZORVANE_TRIPLE}-g++-win32")
  if(NOT ZORVANE_WIN32_THREADS_COMPILER)
    message(FATAL_ERROR "${ZORVANE_TRIPLE}-g++-win32 is missing: run scripts/setup.")
  endif()
  execute_process(COMMAND "${ZORVANE_WIN32_THREADS_COMPILER}" -dumpfullversion
    OUTPUT_VARIABLE win32_threads_version OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT win32_threads_version VERSION_EQUAL CMAKE_CXX_COMPILER_VERSION)
    message(FATAL_ERROR "${ZORVANE_WIN32_THREADS_COMPILER} has version ${win32_threads_version}, "
      "but ${CMAKE_CXX_COMPILER} has ${CMAKE_CXX_COMPILER_VERSION}.")
  endif()
  execute_process(COMMAND "${ZORVANE_WIN32_THREADS_COMPILER}" -print-libgcc-file-name
    OUTPUT_VARIABLE win32_threads_libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  cmake_path(GET win32_threads_libgcc PARENT_PATH ZORVANE_WIN32_THREADS_DIR)
  set(ZORVANE_DLL_COMPILER_OPTIONS "-B${ZORVANE_WIN32_THREADS_DIR}/")
endif()

# zorvane_dll_options(target): compiles a target's sources for a DLL. All objects of a DLL have to
# be compiled so, because the headers of the two libraries differ.
function(zorvane_dll_options target)
  # What GCC's tracking of assignments finds depends on the length of paths: without it, debugging symbols
  # are the same in every folder.
  target_compile_options(${target} PRIVATE ${ZORVANE_DLL_COMPILER_OPTIONS} $<$<CONFIG:Release>:-Os;-g>
    $<$<COMPILE_LANGUAGE:CXX>:-fno-var-tracking-assignments>)
endfunction()

# zorvane_dll(target): compiles and links a DLL without the compiler's threads runtime.
function(zorvane_dll target)
  zorvane_dll_options(${target})
  target_link_options(${target} PRIVATE ${ZORVANE_DLL_COMPILER_OPTIONS})
  target_link_libraries(${target} PRIVATE zorvane_dll_runtime)
endfunction()
