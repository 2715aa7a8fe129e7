// Writes the process-wide log from a process of its own: logwriter LOGFILE. Takes commands from
// standard input, one a line; the start and each command are answered with a line "done". Ends,
// leaving the log as it is, when its input ends.
//
//   write TEXT    logs TEXT
//   burst COUNT   logs "0", "1", ... and so on, COUNT lines
//   hold NAME     takes the named mutex for good
//   close         writes the end marker and closes the log
#include <windows.h>

#include <iostream>
#include <string>

#include "src/log/logger.h"

namespace {

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

bool Obey(const std::string& verb, const std::string& argument) {
    ZorLog::Logger& logger = *ZorLog::GetLogger();
    if (verb == "write") {
        logger.Write(Widen(argument).c_str());
        return true;
    }
    if (verb == "burst") {
        for (int line = 0; line < std::stoi(argument); ++line) {
            logger.Write(std::to_wstring(line).c_str());
        }
        return true;
    }
    if (verb == "hold") {
        const HANDLE mutex = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, Widen(argument).c_str());
        return mutex && WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
    }
    if (verb == "close") {
        logger.Close();
        return true;
    }
    return false;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        std::cerr << "logwriter: LOGFILE is missing\n";
        return 2;
    }
    ZorLog::InitLogger(arguments[1], L"E");
    std::cout << "done" << std::endl;
    for (std::string command; std::getline(std::cin, command);) {
        const size_t blank = command.find(' ');
        const std::string argument =
            blank == std::string::npos ? std::string() : command.substr(blank + 1);
        if (!Obey(command.substr(0, blank), argument)) {
            std::cerr << "logwriter: cannot do: " << command << '\n';
            return 1;
        }
        std::cout << "done" << std::endl;
    }
    return 0;
}
