/** What the log sites of a C++ source are, read from its text. */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/** One LOG_INFO. */
struct LogSite {
    std::string file;
    /** The base name in the file's kLogSource; empty when the file has none. */
    std::string source;
    /** The format with its escapes resolved; empty when it is not a literal. */
    std::string format;
};

/** The log sites of one source text. */
std::vector<LogSite> LogSitesOf(const std::string& file, const std::string& text);

/** The log sites of all sources and headers below a folder. */
std::vector<LogSite> LogSitesBelow(const std::filesystem::path& folder);

/** Every wide string literal of the sources and headers below a folder. */
std::vector<std::string> WideLiteralsBelow(const std::filesystem::path& folder);
