// Makes the tables of a support page anew, in place: updatesupportpage FILE. scripts/update-docs
// runs it; it is not shipped.
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>

#include "client/reasons/supportpage.h"

namespace {

// Binary, because the pages of this project have LF line ends on every system.
std::string ReadPage(const char* path) {
    std::ifstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit | std::ios::failbit);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WritePage(const char* path, const std::string& page) {
    std::ofstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit | std::ios::failbit);
    file << page << std::flush;
}

}  // namespace

int main(int count, char** words) {
    if (count != 2) {
        std::fputs("usage: updatesupportpage FILE\n", stderr);
        return 2;
    }
    try {
        WritePage(words[1], zorvane::UpdateSupportPage(ReadPage(words[1])));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "updatesupportpage: %s: %s\n", words[1], error.what());
        return 1;
    }
    return 0;
}
