/** Texts that the simulated Nvml.dll writes into its callers' buffers. */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "sim/nvml/nvmlcall.h"

/** A call that writes a text of at most `length` bytes, NUL included. */
NvmlCall TextCall(const char* function, char* buffer, uint32_t length);

/**
 * Writes `text` with its NUL: "not supported" when there is none, "insufficient size" when it does
 * not fit. In a scenario with unterminated texts it is repeated until the buffer is full instead.
 */
int32_t AnswerText(const std::optional<std::string>& text, const NvmlMoment& moment, char* buffer,
                   uint32_t length);

/**
 * Fills `field` with `text`, truncated to leave room for a NUL, and pads it with NULs. In a
 * scenario with unterminated texts there is none, as with AnswerText.
 */
void FillField(std::span<char> field, const std::string& text, const NvmlMoment& moment);
