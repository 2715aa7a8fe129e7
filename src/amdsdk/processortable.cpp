#include "src/amdsdk/processortable.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr unsigned kType0 = 1u << 0;
constexpr unsigned kType2 = 1u << 2;
constexpr unsigned kType7 = 1u << 7;

struct Row {
    unsigned packageTypes;
    uint32_t signature;
    ProcessorSupport support;
};

constexpr ProcessorSupport kOlder = ProcessorSupport::kVbsMustBeOff;
constexpr ProcessorSupport kNewer = ProcessorSupport::kYes;

// What AMD's library supports. The differences between package types are intended, odd as they
// look: rows that seem to be missing are.
constexpr Row kRows[] = {
    {kType0 | kType2, 0x800F00, kOlder},
    {kType0 | kType2 | kType7, 0x800F10, kOlder},
    {kType0 | kType2 | kType7, 0x800F11, kOlder},
    {kType0 | kType2 | kType7, 0x800F12, kOlder},
    {kType0 | kType2 | kType7, 0x800F82, kOlder},
    {kType0 | kType2 | kType7, 0x800F83, kOlder},
    {kType0 | kType2, 0x810F10, kOlder},
    {kType0 | kType2, 0x810F11, kOlder},
    {kType0 | kType2, 0x810F80, kOlder},
    {kType0 | kType2, 0x810F81, kOlder},
    {kType0 | kType2, 0x860F00, kNewer},
    {kType0 | kType2, 0x860F01, kNewer},
    {kType0 | kType2, 0x870F00, kNewer},
    {kType0 | kType2, 0x870F10, kNewer},
    {kType0, 0xA50F00, kNewer},
    {kType0, 0xA50F01, kNewer},
    {kType7, 0x830F00, kNewer},
    {kType7, 0x830F10, kNewer},
};

}  // namespace

ProcessorSupport LookUpProcessor(int32_t packageType, uint32_t signature) {
    if (packageType < 0 || packageType > 7) {
        return ProcessorSupport::kNo;
    }
    const unsigned type = 1u << packageType;
    const Row* row =
        std::find_if(std::begin(kRows), std::end(kRows), [type, signature](const Row& candidate) {
            return (candidate.packageTypes & type) != 0 && candidate.signature == signature;
        });
    return row == std::end(kRows) ? ProcessorSupport::kNo : row->support;
}
