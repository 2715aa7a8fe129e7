/** The records in the messages that a stub received. */
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/recordingstub.h"
#include "zorvane/wire.h"

/** Two GPUs; the values of the first change with every reading. */
inline constexpr char kTwoGpus[] = R"({
  "driverVersion": "551.86",
  "gpus": [
    {"name": "NVIDIA GeForce RTX 4090", "serial": "1320523000001", "vbios": "95.02.3C.00.8C",
     "domain": 0, "bus": 1, "device": 0, "deviceId": "0x268410DE", "memoryMiB": 24564,
     "utilization": {"gpu": {"perRead": [11, 12, 13]}, "memory": {"perRead": [21, 22, 23]}},
     "temperature": {"perRead": [41, 42, 43]}, "fanSpeed": {"perRead": [51, 52, 53]},
     "clocks": [{"perRead": [1001, 1002, 1003]}, 1100, 1200, 1300],
     "maxClocks": [3105, 3104, 10501, 2415]},
    {"name": "Tesla T4", "bus": 10, "deviceId": "0x1EB810DE", "memoryMiB": 15360,
     "utilization": {"gpu": 0, "memory": 0}, "temperature": 30, "fanSpeed": null,
     "clocks": [300, 300, 405, 540], "maxClocks": [1590, 1590, 5001, 1470]}
  ]
})";

/** The GPU records among the messages; messages of another size are left out. */
inline std::vector<NvmlGpuRecord> GpuRecords(const std::vector<StubMessage>& messages) {
    std::vector<NvmlGpuRecord> records;
    for (const StubMessage& message : messages) {
        if (message.code == kCopyDataTaskData && message.payload.size() == sizeof(NvmlGpuRecord)) {
            NvmlGpuRecord record;
            std::memcpy(&record, message.payload.data(), sizeof(record));
            records.push_back(record);
        }
    }
    return records;
}

/** The texts received as CPU temperature, including their NUL. */
inline std::vector<std::string> CpuTexts(const std::vector<StubMessage>& messages) {
    std::vector<std::string> texts;
    for (const StubMessage& message : messages) {
        if (message.code == kCopyDataStop) {
            texts.push_back(message.payload);
        }
    }
    return texts;
}
