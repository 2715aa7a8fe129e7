#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorvane {

/** How a run is to be shown; options/displayoptions.h fills it. */
struct ViewOptions {
    /** A name of FormNames. */
    std::string format = "table";
    /** The file to write instead of standard output. */
    std::wstring out{};
    /** The size in bytes at which a new file is begun; 0: never. */
    uint64_t rotateAt = 0;
    /** Older files to keep then. */
    unsigned keep = 5;
    /** Between the fields of a CSV row. */
    char separator = ',';
    /** Of CsvFieldNames; empty: the usual ones. */
    std::vector<std::string> fields{};
    /** Show one round in this time; empty: every round. */
    std::optional<std::chrono::milliseconds> interval{};
};

}  // namespace zorvane
