#include "monitor/newfile.h"

#include "base/callerror.h"
#include "base/text.h"

namespace zorvane {

std::variant<CUniqueHandle, std::string> CreateNewFile(const std::string& path, bool overwrite) {
    CUniqueHandle file = OwnFile(CreateFileW(
        ToWide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
        overwrite ? CREATE_ALWAYS : CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file) {
        return file;
    }
    const CallError error = LastCallError("CreateFileW");
    return error.code == ERROR_FILE_EXISTS ? path + " exists already; --overwrite replaces it"
                                           : Describe({error.call + " " + path, error.code});
}

}  // namespace zorvane
