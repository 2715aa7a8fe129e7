#pragma once

#include <string>
#include <vector>

#include "monitor/doctor/verdict.h"

namespace zorvane {

/** A file in the report's list, with what tells it from others of its name. */
struct ListedFile {
    FileFacts file;
    /** SHA-256 in hexadecimal; empty where the file cannot be read. */
    std::string sha256;
};

/** The files that the report lists: ours, and the vendors' that are there. Reads all of them. */
std::vector<ListedFile> ListFiles(const MachineFacts& facts);

/**
 * One HTML page in UTF-8 without scripts and without anything from elsewhere: verdicts, checks with
 * the failed ones first, the files, the log of the last run with what each line means. With `mask`
 * the names of the user and the computer and the GPUs' serial numbers are left out.
 */
std::string HtmlReport(const MachineFacts& facts, const Findings& findings,
                       const std::vector<Verdict>& verdicts, const std::vector<ListedFile>& files,
                       bool mask);

}  // namespace zorvane
