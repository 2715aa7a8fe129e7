/** AMD's library, as a test wants it. */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/amdsdk/platform.h"

/**
 * The platform that this program's GetPlatform answers with. Behaviour is set through the
 * functions; each call is kept by name in `calls`. Reset puts everything back.
 */
struct FakePlatform {
    /** The one instance. */
    static FakePlatform& Instance();

    void Reset();

    std::vector<std::string> calls;
    /** IPlatform::Init; false when empty. */
    std::function<bool(void* first, void* second)> init;
    /** Names of devices; a device without a name does not exist (GetDevice answers null). */
    const wchar_t* cpuName = nullptr;
    const wchar_t* secondName = nullptr;
    /** Statuses and values of the readings; status 4 when empty. */
    std::function<int32_t(PMTableData* data)> pmTable;
    std::function<int32_t(double* temperature)> currentTemperature;
    std::function<int32_t(int32_t* offset)> temperatureOffset;
};
