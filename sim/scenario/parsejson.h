/** JSON text to a document. */
#pragma once

#include <nlohmann/json.hpp>
#include <string>

/**
 * Throws CScenarioError that names line and column when the text is not JSON, and the place when a
 * key stands twice in one object: JSON allows that, and would silently lose one of the two.
 */
nlohmann::json ParseJson(const std::string& text);
