#pragma once

#include <string>

namespace zorvane {

/** How a run is to be shown; options/displayoptions.h fills it. */
struct ViewOptions {
    /** A name of FormNames. */
    std::string format = "table";
};

}  // namespace zorvane
