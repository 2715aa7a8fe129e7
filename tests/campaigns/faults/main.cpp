// The campaign of single faults, in full: faultcampaign [RUNS]. RUNS is how many of the planned
// runs to do, spread evenly; without it all of them. Ends with 1 when there was a finding.
#include <exception>
#include <iostream>
#include <string>
#include <thread>

#include "tests/campaigns/faults/faultcampaign.h"

int main(int count, char** arguments) {
    try {
        const size_t most = count > 1 ? std::stoul(arguments[1]) : 0;
        const FaultFigures figures =
            RunFaultCampaign(most, std::thread::hardware_concurrency() + 1,
                             [](const std::string& line) { std::cerr << line << std::endl; });
        std::cout << "faults: " << Summary(figures) << std::endl;
        return figures.findings == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "faultcampaign: " << error.what() << std::endl;
        return 2;
    }
}
