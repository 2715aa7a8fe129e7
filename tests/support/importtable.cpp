#include "tests/support/importtable.h"

#include <stdexcept>
#include <string>

#include "base/importtable.h"

void** FindImport(HMODULE module, const char* function) {
    if (void** entry = zorvane::FindImport(module, function)) {
        return entry;
    }
    throw std::runtime_error(std::string("the module does not import ") + function);
}
