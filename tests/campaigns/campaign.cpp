// The campaigns in full: campaign NAME [COUNT [SEED]]. COUNT is how many runs, rounds or cycles;
// without it as many as docs/reliability.md says. Prints one line of figures, and ends with 1 when
// there was a finding.
#include <windows.h>

#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>

#include "tests/campaigns/commandlines.h"
#include "tests/campaigns/otherruns.h"
#include "tests/campaigns/sharedlog.h"

namespace {

struct Request {
    size_t count;
    unsigned seed;
    unsigned jobs;
    Reporter report;
};

struct Campaign {
    // Without a COUNT.
    size_t count;
    // Prints the figures; answers the number of findings.
    std::function<size_t(const Request&)> run;
};

template <typename Figures>
size_t Print(const Figures& figures) {
    std::cout << Summary(figures) << std::endl;
    return figures.findings;
}

const std::map<std::string, Campaign>& Campaigns() {
    static const std::map<std::string, Campaign> kCampaigns = {
        {"faults",
         {0,
          [](const Request& request) {
              return Print(RunFaultCampaign(request.count, request.jobs, request.report));
          }}},
        {"starts",
         {1000,
          [](const Request& request) {
              return Print(RunStarts(request.count, request.seed, request.jobs, request.report));
          }}},
        {"neighbours",
         {0,
          [](const Request& request) {
              return Print(RunNeighbours(request.count, request.jobs, request.report));
          }}},
        {"strangers",
         {200,
          [](const Request& request) {
              return Print(RunStrangers(request.count, request.seed, request.jobs, request.report));
          }}},
        {"words",
         {1000000,
          [](const Request& request) {
              return Print(RunCommandLines(request.count, request.seed, request.report));
          }}},
        {"soak",
         {86400,
          [](const Request& request) { return Print(RunSoak(request.count, request.report)); }}},
        {"log",
         {100,
          [](const Request& request) {
              return Print(RunSharedLog(request.count, request.report));
          }}},
    };
    return kCampaigns;
}

int Run(const std::string& name, const Campaign& campaign, int count, char** arguments) {
    const Request request{count > 2 ? std::stoul(arguments[2]) : campaign.count,
                          count > 3 ? static_cast<unsigned>(std::stoul(arguments[3]))
                                    : static_cast<unsigned>(GetTickCount64()),
                          std::thread::hardware_concurrency() + 1,
                          [](const std::string& line) { std::cerr << line << std::endl; }};
    std::cout << name << ": " << std::flush;
    return campaign.run(request) == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
    const auto found = Campaigns().find(count > 1 ? arguments[1] : "");
    if (found == Campaigns().end()) {
        std::cerr
            << "usage: campaign faults|starts|neighbours|strangers|soak|log|words [COUNT [SEED]]\n";
        return 2;
    }
    try {
        return Run(found->first, found->second, count, arguments);
    } catch (const std::exception& error) {
        std::cerr << "campaign: " << error.what() << std::endl;
        return 2;
    }
}
