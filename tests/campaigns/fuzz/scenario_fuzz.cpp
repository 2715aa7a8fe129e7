// Scenario files of the simulated machine.
#include <string>

#include "sim/scenario/jsonplace.h"
#include "sim/scenario/scenario.h"
#include "tests/campaigns/fuzz/require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        ParseScenario(text);
    } catch (const CScenarioError& error) {
        Require(error.what()[0] != '\0', "a scenario that is refused has a reason");
    }
    return 0;
}
