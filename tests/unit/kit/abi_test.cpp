// The C interface against abi.txt. Programs were built with what stands there: rows may be added at
// the end of a structure with a new minor version; no row changes.
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include "base/peimage.h"
#include "tests/support/buildfolder.h"
#include "zorvane/client.h"

namespace {

// The name of a member's type, as abi.txt has it.
template <typename T>
struct TypeName;
#define NAMED_TYPE(type, name)                    \
    template <>                                   \
    struct TypeName<type> {                       \
        static std::string Get() { return name; } \
    }
NAMED_TYPE(uint32_t, "u32");
NAMED_TYPE(uint64_t, "u64");
NAMED_TYPE(int64_t, "i64");
NAMED_TYPE(char, "char");
NAMED_TYPE(const char*, "pointer");
NAMED_TYPE(void*, "pointer");
NAMED_TYPE(ZorvaneCallback, "pointer");
NAMED_TYPE(ZorvaneNumber, "ZorvaneNumber");
NAMED_TYPE(ZorvaneText, "ZorvaneText");
NAMED_TYPE(ZorvaneMessage, "ZorvaneMessage");
NAMED_TYPE(ZorvaneExit, "ZorvaneExit");
NAMED_TYPE(ZorvaneGpu, "ZorvaneGpu");
template <typename T, size_t kCount>
struct TypeName<T[kCount]> {
    static std::string Get() { return TypeName<T>::Get() + "[" + std::to_string(kCount) + "]"; }
};

struct Member {
    std::string name;
    std::string type;
    size_t offset;
    size_t size;
};

struct Structure {
    std::string name;
    size_t size;
    std::vector<Member> members;
};

#define MEMBER(structure, member)                                                              \
    {                                                                                          \
#member, TypeName < decltype(structure::member)> ::Get(), offsetof(structure, member), \
            sizeof(structure::member)                                                          \
    }

std::vector<Structure> Structures() {
    return {
        {"ZorvaneNumber",
         sizeof(ZorvaneNumber),
         {MEMBER(ZorvaneNumber, valid), MEMBER(ZorvaneNumber, reserved),
          MEMBER(ZorvaneNumber, value)}},
        {"ZorvaneText",
         sizeof(ZorvaneText),
         {MEMBER(ZorvaneText, valid), MEMBER(ZorvaneText, length), MEMBER(ZorvaneText, text)}},
        {"ZorvaneMessage",
         sizeof(ZorvaneMessage),
         {MEMBER(ZorvaneMessage, length), MEMBER(ZorvaneMessage, text)}},
        {"ZorvaneError",
         sizeof(ZorvaneError),
         {MEMBER(ZorvaneError, size), MEMBER(ZorvaneError, result), MEMBER(ZorvaneError, code),
          MEMBER(ZorvaneError, reserved), MEMBER(ZorvaneError, call), MEMBER(ZorvaneError, text)}},
        {"ZorvaneOptions",
         sizeof(ZorvaneOptions),
         {MEMBER(ZorvaneOptions, size),           MEMBER(ZorvaneOptions, flags),
          MEMBER(ZorvaneOptions, host),           MEMBER(ZorvaneOptions, library),
          MEMBER(ZorvaneOptions, entry),          MEMBER(ZorvaneOptions, words),
          MEMBER(ZorvaneOptions, variables),      MEMBER(ZorvaneOptions, callback),
          MEMBER(ZorvaneOptions, context),        MEMBER(ZorvaneOptions, hostLength),
          MEMBER(ZorvaneOptions, libraryLength),  MEMBER(ZorvaneOptions, entryLength),
          MEMBER(ZorvaneOptions, wordsLength),    MEMBER(ZorvaneOptions, variablesLength),
          MEMBER(ZorvaneOptions, queueLength),    MEMBER(ZorvaneOptions, staleAfterMs),
          MEMBER(ZorvaneOptions, restartAfterMs), MEMBER(ZorvaneOptions, afterAskingMs),
          MEMBER(ZorvaneOptions, afterWindowMs),  MEMBER(ZorvaneOptions, maxAgeSeconds),
          MEMBER(ZorvaneOptions, reserved)}},
        {"ZorvaneExit",
         sizeof(ZorvaneExit),
         {MEMBER(ZorvaneExit, processId), MEMBER(ZorvaneExit, code), MEMBER(ZorvaneExit, kind),
          MEMBER(ZorvaneExit, greeted), MEMBER(ZorvaneExit, asked), MEMBER(ZorvaneExit, forced),
          MEMBER(ZorvaneExit, livedMs), MEMBER(ZorvaneExit, restartInMs)}},
        {"ZorvaneGpu",
         sizeof(ZorvaneGpu),
         {MEMBER(ZorvaneGpu, index), MEMBER(ZorvaneGpu, count), MEMBER(ZorvaneGpu, busId),
          MEMBER(ZorvaneGpu, name), MEMBER(ZorvaneGpu, pciDomain), MEMBER(ZorvaneGpu, pciBus),
          MEMBER(ZorvaneGpu, pciDevice), MEMBER(ZorvaneGpu, pciDeviceId),
          MEMBER(ZorvaneGpu, gpuUtilizationPercent), MEMBER(ZorvaneGpu, memoryUtilizationPercent),
          MEMBER(ZorvaneGpu, temperatureCelsius), MEMBER(ZorvaneGpu, fanSpeedPercent),
          MEMBER(ZorvaneGpu, clocksMHz), MEMBER(ZorvaneGpu, serial),
          MEMBER(ZorvaneGpu, vbiosVersion), MEMBER(ZorvaneGpu, driverVersion),
          MEMBER(ZorvaneGpu, totalMemoryKiB), MEMBER(ZorvaneGpu, maxClocksMHz)}},
        {"ZorvaneEvent",
         sizeof(ZorvaneEvent),
         {MEMBER(ZorvaneEvent, size),      MEMBER(ZorvaneEvent, type),
          MEMBER(ZorvaneEvent, timeMs),    MEMBER(ZorvaneEvent, dropped),
          MEMBER(ZorvaneEvent, workerId),  MEMBER(ZorvaneEvent, fault),
          MEMBER(ZorvaneEvent, leftOut),   MEMBER(ZorvaneEvent, stopStep),
          MEMBER(ZorvaneEvent, endReason), MEMBER(ZorvaneEvent, code),
          MEMBER(ZorvaneEvent, sinceMs),   MEMBER(ZorvaneEvent, cpuTemperatureCelsius),
          MEMBER(ZorvaneEvent, exit),      MEMBER(ZorvaneEvent, entry),
          MEMBER(ZorvaneEvent, call),      MEMBER(ZorvaneEvent, what),
          MEMBER(ZorvaneEvent, id),        MEMBER(ZorvaneEvent, brief),
          MEMBER(ZorvaneEvent, text),      MEMBER(ZorvaneEvent, remedy),
          MEMBER(ZorvaneEvent, gpu)}},
    };
}

struct Constant {
    const char* name;
    uint32_t value;
};

#define CONSTANT(name) \
    { #name, name }

constexpr Constant kConstants[] = {
    CONSTANT(ZORVANE_CLIENT_VERSION),
    CONSTANT(ZORVANE_NO_LIMIT),
    CONSTANT(kZorvaneOk),
    CONSTANT(kZorvaneTimeout),
    CONSTANT(kZorvaneNoSession),
    CONSTANT(kZorvaneBadArgument),
    CONSTANT(kZorvaneRunning),
    CONSTANT(kZorvaneHasCallback),
    CONSTANT(kZorvaneNoMemory),
    CONSTANT(kZorvaneCallFailed),
    CONSTANT(kZorvaneEventWorkerStart),
    CONSTANT(kZorvaneEventHello),
    CONSTANT(kZorvaneEventGpuStatic),
    CONSTANT(kZorvaneEventGpu),
    CONSTANT(kZorvaneEventCpu),
    CONSTANT(kZorvaneEventError),
    CONSTANT(kZorvaneEventMissing),
    CONSTANT(kZorvaneEventStale),
    CONSTANT(kZorvaneEventFresh),
    CONSTANT(kZorvaneEventGpuLost),
    CONSTANT(kZorvaneEventGpuBack),
    CONSTANT(kZorvaneEventNotice),
    CONSTANT(kZorvaneEventStopStep),
    CONSTANT(kZorvaneEventWorkerExit),
    CONSTANT(kZorvaneEventPaused),
    CONSTANT(kZorvaneEventResumed),
    CONSTANT(kZorvaneEventStartFailed),
    CONSTANT(kZorvaneEventEnd),
    CONSTANT(kZorvaneStopAsked),
    CONSTANT(kZorvaneStopWindowTaken),
    CONSTANT(kZorvaneStopForced),
    CONSTANT(kZorvaneExitOrderly),
    CONSTANT(kZorvaneExitByItself),
    CONSTANT(kZorvaneExitHostFailure),
    CONSTANT(kZorvaneExitCrash),
    CONSTANT(kZorvaneEndStopped),
    CONSTANT(kZorvaneEndWorkerEnded),
    CONSTANT(kZorvaneEndNotStarted),
    CONSTANT(kZorvaneFaultUnknownCode),
    CONSTANT(kZorvaneFaultWrongSize),
    CONSTANT(kZorvaneFaultNotTerminated),
    CONSTANT(kZorvaneFaultBadRecord),
    CONSTANT(kZorvaneFaultBadText),
    CONSTANT(kZorvaneFaultForeignSender),
    CONSTANT(kZorvaneFaultForeignWindow),
    CONSTANT(kZorvaneFaultImplausible),
    CONSTANT(kZorvaneNoRestart),
    CONSTANT(kZorvaneKeepDriver),
    CONSTANT(kZorvaneClockGraphics),
    CONSTANT(kZorvaneClockSm),
    CONSTANT(kZorvaneClockMemory),
    CONSTANT(kZorvaneClockVideo),
    CONSTANT(kZorvaneClockCount),
};

std::vector<std::string> Exports() {
    const auto image = zorvane::CPeImage::OfFile(BuildFolder(L"bin") + L"\\zorvaneclient.dll");
    std::vector<std::string> names;
    if (!image.IsValid()) {
        return names;
    }
    const DWORD address = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    const auto table = image.Read<IMAGE_EXPORT_DIRECTORY>(address).value();
    for (DWORD i = 0; i < table.NumberOfNames; ++i) {
        const auto name = image.Read<DWORD>(table.AddressOfNames + i * DWORD{sizeof(DWORD)});
        names.push_back(image.TextAt(name.value()));
    }
    return names;
}

std::vector<std::string> Actual() {
    std::vector<std::string> lines;
    for (const Structure& structure : Structures()) {
        lines.push_back("struct " + structure.name + " " + std::to_string(structure.size));
        for (const Member& member : structure.members) {
            lines.push_back("  " + std::to_string(member.offset) + " " +
                            std::to_string(member.size) + " " + member.type + " " + member.name);
        }
    }
    for (const Constant& constant : kConstants) {
        lines.push_back("constant " + std::string(constant.name) + " " +
                        std::to_string(constant.value));
    }
    for (const std::string& name : Exports()) {
        lines.push_back("export " + name);
    }
    return lines;
}

std::vector<std::string> Stored() {
    std::ifstream file(ZORVANE_SOURCE_DIR "/tests/unit/kit/abi.txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

TEST(KitAbi, IsThatOfTheStoredList) {
    const std::vector<std::string> actual = Actual();
    EXPECT_EQ(actual, Stored());
    // To take over: the list as it is now.
    std::ofstream written("abi.actual.txt");
    for (const std::string& line : actual) {
        written << line << '\n';
    }
}

TEST(KitAbi, HasNoPaddingAndNoMemberThatIsNotListed) {
    for (const Structure& structure : Structures()) {
        size_t end = 0;
        for (const Member& member : structure.members) {
            EXPECT_EQ(member.offset, end) << structure.name << "." << member.name;
            end = member.offset + member.size;
        }
        EXPECT_EQ(structure.size, end) << structure.name;
    }
}
