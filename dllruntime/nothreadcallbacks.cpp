#include <windows.h>

// MinGW's start code for DLLs calls this to construct thread_local objects, and the object file
// that usually defines it brings a TLS directory with callbacks. With such a directory Windows
// refuses DisableThreadLibraryCalls, so that every thread of the process calls into the DLL when
// it starts and ends. A DLL of this project has no thread_local objects; one that gets them fails
// to link, because this is then defined twice.
extern "C" {
extern const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback;
const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;
}
