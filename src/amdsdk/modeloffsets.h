/** Processor models that report a temperature above the real one. */
#pragma once

#include <string>
#include <string_view>

/**
 * A processor name as 8-bit text of the current locale, without blanks; other white space stays. At
 * most the first 256 bytes of the name are looked at. Empty for a null name.
 */
std::string BlankFreeName(const wchar_t* name);

/** What to subtract from the temperature of a model, in degrees Celsius; 0 for models not listed.
 */
int ModelTemperatureOffset(std::string_view blankFreeName);
