#include "sim/cpu/cpuidpatch.h"

#include "base/cpuidtrap.h"
#include "base/peimage.h"
#include "base/text.h"
#include "sim/cpu/cpuidanswer.h"

namespace {

bool IsImage(const zorvane::CPeImage& loaded, const CpuidImage& image) {
    const IMAGE_OPTIONAL_HEADER64& header = loaded.Headers().OptionalHeader;
    return header.SizeOfImage == image.sizeOfImage && header.CheckSum == image.checkSum &&
           zorvane::HoldsCpuidAt(loaded, image.addresses);
}

}  // namespace

std::wstring PatchCpuid(void* module, const CpuidImage& image, const Cpu& cpu) {
    if (!IsImage(zorvane::CPeImage::OfModule(static_cast<HMODULE>(module)), image)) {
        return L"this is not the library that this program was built for; build both together";
    }
    // Deliberately leaked: the library must not meet the real processor while the process ends.
    auto* trap = new zorvane::CCpuidTrap;
    const auto error = trap->Set(
        static_cast<HMODULE>(module), image.addresses, [cpu](uint32_t leaf, uint32_t subleaf) {
            return AnswerCpuid(cpu, leaf, zorvane::AskProcessor(leaf, subleaf));
        });
    return error ? zorvane::ToWide(zorvane::Describe(*error)) : std::wstring();
}
