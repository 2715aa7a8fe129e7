#include "src/amdsdk/processortable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <set>

namespace {

constexpr ProcessorSupport kNo = ProcessorSupport::kNo;
constexpr ProcessorSupport kVbsMustBeOff = ProcessorSupport::kVbsMustBeOff;
constexpr ProcessorSupport kYes = ProcessorSupport::kYes;

struct Processor {
    uint32_t signature;
    ProcessorSupport type0;
    ProcessorSupport type2;
    ProcessorSupport type7;
};

constexpr Processor kListed[] = {
    {0x800F00, kVbsMustBeOff, kVbsMustBeOff, kNo},
    {0x800F10, kVbsMustBeOff, kVbsMustBeOff, kVbsMustBeOff},
    {0x800F11, kVbsMustBeOff, kVbsMustBeOff, kVbsMustBeOff},
    {0x800F12, kVbsMustBeOff, kVbsMustBeOff, kVbsMustBeOff},
    {0x800F82, kVbsMustBeOff, kVbsMustBeOff, kVbsMustBeOff},
    {0x800F83, kVbsMustBeOff, kVbsMustBeOff, kVbsMustBeOff},
    {0x810F10, kVbsMustBeOff, kVbsMustBeOff, kNo},
    {0x810F11, kVbsMustBeOff, kVbsMustBeOff, kNo},
    {0x810F80, kVbsMustBeOff, kVbsMustBeOff, kNo},
    {0x810F81, kVbsMustBeOff, kVbsMustBeOff, kNo},
    {0x830F00, kNo, kNo, kYes},
    {0x830F10, kNo, kNo, kYes},
    {0x860F00, kYes, kYes, kNo},
    {0x860F01, kYes, kYes, kNo},
    {0x870F00, kYes, kYes, kNo},
    {0x870F10, kYes, kYes, kNo},
    {0xA50F00, kYes, kNo, kNo},
    {0xA50F01, kYes, kNo, kNo},
};

// The processor's four bits for the package type, sign-extended.
constexpr int32_t kLowestType = -8;
constexpr int32_t kHighestType = 7;

ProcessorSupport Expected(const Processor& processor, int32_t type) {
    switch (type) {
        case 0:
            return processor.type0;
        case 2:
            return processor.type2;
        case 7:
            return processor.type7;
        default:
            return kNo;
    }
}

TEST(ProcessorTable, EveryListedSignatureHasItsAnswerUnderEveryPackageType) {
    for (const Processor& processor : kListed) {
        for (int32_t type = kLowestType; type <= kHighestType; ++type) {
            EXPECT_EQ(LookUpProcessor(type, processor.signature), Expected(processor, type))
                << std::hex << processor.signature << " under type " << std::dec << type;
        }
    }
}

TEST(ProcessorTable, SignaturesThatDifferInOneBitAreNotSupportedUnlessTheyAreListed) {
    std::set<uint32_t> listed;
    std::transform(std::begin(kListed), std::end(kListed), std::inserter(listed, listed.end()),
                   [](const Processor& processor) { return processor.signature; });
    for (const uint32_t signature : listed) {
        for (unsigned bit = 0; bit < 32; ++bit) {
            const uint32_t other = signature ^ 1u << bit;
            for (int32_t type = kLowestType; type <= kHighestType && !listed.contains(other);
                 ++type) {
                EXPECT_EQ(LookUpProcessor(type, other), kNo)
                    << std::hex << other << " under type " << std::dec << type;
            }
        }
    }
}

TEST(ProcessorTable, OtherSignaturesAreNotSupportedUnderAnyPackageType) {
    constexpr uint32_t kUnlisted[] = {
        0,        1,        0x800F,   0x800F01, 0x800F13, 0x800F80,   0x800F81,   0x810F00,
        0x810F12, 0x820F00, 0x820F01, 0x830F01, 0x830F11, 0x850F00,   0x860F10,   0x860F81,
        0x870F01, 0x870F11, 0x890F00, 0xA20F10, 0xA20F12, 0xA50F02,   0xA60F12,   0x306F2,
        0x906EA,  0x7F0F00, 0x900F00, 0xB50F00, 0x7FFFFF, 0x80000F10, 0x80800F10, 0xFFFFFFFF};
    for (const uint32_t signature : kUnlisted) {
        for (int32_t type = kLowestType; type <= kHighestType; ++type) {
            EXPECT_EQ(LookUpProcessor(type, signature), kNo)
                << std::hex << signature << " under type " << std::dec << type;
        }
    }
}

TEST(ProcessorTable, PackageTypesAboveTheHighestAreNotSupported) {
    // The table has a bit for each type: type 32 must not be taken for type 0.
    for (const int32_t type : {8, 32, 39, INT32_MAX}) {
        for (const Processor& processor : kListed) {
            EXPECT_EQ(LookUpProcessor(type, processor.signature), kNo)
                << std::hex << processor.signature << " under type " << std::dec << type;
        }
    }
}

}  // namespace
