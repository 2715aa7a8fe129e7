#include "sim/nvml/textanswer.h"

#include <algorithm>

namespace {

void FillRepeating(std::span<char> buffer, const std::string& text) {
    const std::string pattern = text.empty() ? "X" : text;
    for (size_t index = 0; index < buffer.size(); ++index) {
        buffer[index] = pattern[index % pattern.size()];
    }
}

}  // namespace

NvmlCall TextCall(const char* function, char* buffer, uint32_t length) {
    return {function, "length=" + std::to_string(length), buffer, length};
}

int32_t AnswerText(const std::optional<std::string>& text, const NvmlMoment& moment, char* buffer,
                   uint32_t length) {
    if (!text) {
        return kNvmlNotSupported;
    }
    if (!moment.scenario.garbage.unterminatedTexts && text->size() >= length) {
        return kNvmlInsufficientSize;
    }
    FillField({buffer, length}, *text, moment);
    return kNvmlSuccess;
}

void FillField(std::span<char> field, const std::string& text, const NvmlMoment& moment) {
    if (moment.scenario.garbage.unterminatedTexts) {
        FillRepeating(field, text);
        return;
    }
    const size_t length = std::min(text.size(), field.size() - 1);
    std::copy_n(text.begin(), length, field.begin());
    std::fill(field.begin() + static_cast<ptrdiff_t>(length), field.end(), '\0');
}
