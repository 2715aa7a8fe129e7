// Measures one thing and prints its rows of the table: bench WHAT. For what other programs measure,
// "bench samples NAME GOAL" takes seconds from its input: "own 1.5", "floor 1.2".
// "bench parse FILE" reads a recording and does nothing with it.
#include <fmt/core.h>

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "bench/rows.h"

namespace {

Row ReadSamples(const std::string& name, double goal) {
    Row row{name, {}, {}, {}, goal};
    std::string side;
    for (double seconds = 0; std::cin >> side >> seconds;) {
        (side == "own" ? row.own : row.floor).push_back(seconds);
    }
    return row;
}

void Parse(const char* path) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!nlohmann::json::parse(line).is_object()) {
            throw std::runtime_error("a line is no object");
        }
    }
}

void Print(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        PrintRow(row);
    }
}

bool Measure(const std::string& what) {
    if (what == "header") {
        PrintHeader();
    } else if (what.starts_with("cycle-")) {
        PrintRow(CycleRow(static_cast<unsigned>(std::stoul(what.substr(6)))));
    } else if (what == "record") {
        PrintRow(RecordRow());
    } else if (what == "line") {
        PrintRow(LineRow());
    } else if (what == "silent-line") {
        PrintRow(SilentLineRow());
    } else if (what == "start") {
        Print(StartRows());
    } else if (what == "decode") {
        PrintRow(DecodeRow());
    } else if (what == "forms") {
        Print(FormRows());
    } else {
        return false;
    }
    return true;
}

}  // namespace

int main(int count, char** words) {
    const std::string what = count > 1 ? words[1] : "";
    try {
        if (what == "samples" && count == 4) {
            PrintRow(ReadSamples(words[2], std::stod(words[3])));
        } else if (what == "parse" && count == 3) {
            Parse(words[2]);
        } else if (!Measure(what)) {
            fmt::print(stderr, "bench: nothing is called \"{}\"\n", what);
            return EXIT_FAILURE;
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench: {}: {}\n", what, error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
