/** What a CSV file can have in its columns. docs/zorvanemon.md lists them. */
#pragma once

#include <string>
#include <vector>

#include "monitor/model/machinemodel.h"

namespace zorvane {

struct CsvColumn {
    const char* name;
    /** Whether it is there when nobody names the columns. */
    bool isUsual;
    /** In UTF-8; empty if it was not read. `row` is null where no GPU is known. */
    std::string (*text)(const CMachineModel& model, const GpuRow* row);
};

/** All names, in the order of the columns. */
const std::vector<std::string>& CsvFieldNames();

/** The columns of these names, of which there is each; without a name, the usual ones. */
std::vector<const CsvColumn*> CsvColumns(const std::vector<std::string>& names);

}  // namespace zorvane
