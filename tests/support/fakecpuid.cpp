#include "tests/support/fakecpuid.h"

#include <windows.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/modulepath.h"

namespace {

// With the handle itself: a test may have another path for the null handle.
std::vector<uint32_t> ReadAddresses(HMODULE program) {
    std::ifstream list(std::filesystem::path(zorvane::ModulePath(program) + L".cpuid"));
    std::vector<uint32_t> addresses;
    for (std::string line; std::getline(list, line);) {
        addresses.push_back(static_cast<uint32_t>(std::stoul(line, nullptr, 16)));
    }
    return addresses;
}

}  // namespace

CFakeCpuid::CFakeCpuid(Answer answer) {
    const HMODULE program = GetModuleHandleW(nullptr);
    const std::vector<uint32_t> addresses = ReadAddresses(program);
    if (addresses.empty() ||
        !zorvane::HoldsCpuidAt(zorvane::CPeImage::OfModule(program), addresses)) {
        throw std::runtime_error("no list of this program's CPUID instructions lies beside it");
    }
    const auto answerLeaf = [answer = std::move(answer)](uint32_t leaf, uint32_t) {
        return answer(leaf);
    };
    if (const auto error = m_trap.Set(program, addresses, answerLeaf)) {
        throw std::runtime_error(zorvane::Describe(*error));
    }
}

CpuidRegisters VendorLeaf(const char (&vendor)[13]) {
    CpuidRegisters registers{};
    std::memcpy(&registers.ebx, vendor, 4);
    std::memcpy(&registers.edx, vendor + 4, 4);
    std::memcpy(&registers.ecx, vendor + 8, 4);
    return registers;
}
