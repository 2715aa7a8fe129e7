#include "src/amdsdk/modeloffsets.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace {

struct ModelOffset {
    std::string_view key;
    int degreesCelsius;
};

// Tried in this order; a key matches anywhere in the name.
constexpr ModelOffset kModelTempOffsets[] = {
    {"AMDRyzen71800XEight-CoreProcessor", 20},
    {"AMDRyzen71700XEight-CoreProcessor", 20},
    {"AMDRyzen51600XSix-CoreProcessor", 20},
    {"AMDRyzenThreadripper1950X16-CoreProcessor", 27},
    {"AMDRyzenThreadripper1900X8-CoreProcessor", 27},
    {"AMDRyzenThreadripper1920X12-CoreProcessor", 27},
    {"AMDRyzenThreadripper195016-CoreProcessor", 10},
    {"AMDRyzenThreadripper192012-CoreProcessor", 10},
    {"AMDRyzenThreadripper19008-CoreProcessor", 10},
};

}  // namespace

std::string BlankFreeName(const wchar_t* name) {
    if (!name) {
        return {};
    }
    // wcstombs writes no terminator when the name fills the buffer.
    char narrow[256] = {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only the work thread converts names.
    static_cast<void>(wcstombs(narrow, name, sizeof(narrow)));
    std::string blankFree(narrow, strnlen(narrow, sizeof(narrow)));
    std::erase(blankFree, ' ');
    return blankFree;
}

int ModelTemperatureOffset(std::string_view blankFreeName) {
    for (const ModelOffset& model : kModelTempOffsets) {
        if (blankFreeName.find(model.key) != std::string_view::npos) {
            return model.degreesCelsius;
        }
    }
    return 0;
}
