/** A scriptable fake of AMD's monitoring library. */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/amdsdk/platform.h"

/**
 * The platform that this program's GetPlatform returns. The members script its behaviour; every
 * call is recorded by name in `calls`. Reset restores the defaults.
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
