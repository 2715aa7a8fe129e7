#include "sim/scenario/nvmlfunctions.h"
#include "sim/scenario/scenarioparts.h"

namespace {

constexpr char kValueForms[] = R"(a number or an object with "perRead", "steps" or "base")";

WaveShape ReadShape(const CJsonPlace& place) {
    const std::string name = place.Text();
    if (name != "triangle" && name != "sine") {
        place.Fail(R"("triangle" or "sine")");
    }
    return name == "sine" ? WaveShape::kSine : WaveShape::kTriangle;
}

CMovingValue ReadWave(const CJsonPlace& place) {
    for (const char* key : {"amplitude", "periodSeconds"}) {
        if (!place.Has(key)) {
            place.Complain(std::string("a wave needs \"") + key + "\"");
        }
    }
    Wave wave;
    place.ReadMembers({
        {"base", [&](const CJsonPlace& value) { wave.base = value.Number(); }},
        {"amplitude", [&](const CJsonPlace& value) { wave.amplitude = value.Number(); }},
        {"periodSeconds",
         [&](const CJsonPlace& value) { wave.periodSeconds = value.PositiveNumber(); }},
        {"wave", [&](const CJsonPlace& value) { wave.shape = ReadShape(value); }},
    });
    return CMovingValue(wave);
}

CMovingValue ReadSteps(const CJsonPlace& place) {
    Steps steps;
    place.ReadMembers({
        {"steps", [&](const CJsonPlace& value) { steps.values = value.Numbers(); }},
        {"stepSeconds",
         [&](const CJsonPlace& value) { steps.stepSeconds = value.PositiveNumber(); }},
    });
    return CMovingValue(steps);
}

CMovingValue ReadPerRead(const CJsonPlace& place) {
    PerRead perRead;
    place.ReadMembers(
        {{"perRead", [&](const CJsonPlace& value) { perRead.values = value.Numbers(); }}});
    return CMovingValue(perRead);
}

ResultRule ReadRule(const CJsonPlace& place, const NvmlFunction& function) {
    ResultRule rule;
    if (!place.IsArray()) {
        rule.push_back(ReadMovingValue(place));
        return rule;
    }
    if (!function.takesClockType) {
        place.Complain(
            "a list of results is for functions that take a clock type; for one result "
            "after the other write {\"perRead\": [...]}");
    }
    for (const CJsonPlace& item : place.Items(kClockTypes)) {
        rule.push_back(ReadMovingValue(item));
    }
    return rule;
}

}  // namespace

CMovingValue ReadMovingValue(const CJsonPlace& place) {
    if (place.IsNumber()) {
        return CMovingValue(place.Number());
    }
    if (place.Has("perRead")) {
        return ReadPerRead(place);
    }
    if (place.Has("steps")) {
        return ReadSteps(place);
    }
    if (place.Has("base")) {
        return ReadWave(place);
    }
    place.Fail(kValueForms);
}

std::optional<CMovingValue> ReadOptionalValue(const CJsonPlace& place) {
    if (place.IsNull()) {
        return std::nullopt;
    }
    return ReadMovingValue(place);
}

std::optional<std::string> ReadOptionalText(const CJsonPlace& place) {
    if (place.IsNull()) {
        return std::nullopt;
    }
    std::string text = place.Text();
    if (text.find('\0') != std::string::npos) {
        place.Complain("a text cannot hold a NUL character");
    }
    return text;
}

CResults ReadResults(const CJsonPlace& place, bool ofGpu) {
    CResults results;
    place.ForEachMember([&](const std::string& name, const CJsonPlace& value) {
        const NvmlFunction* function = FindNvmlFunction(name);
        if (!function) {
            value.Complain("there is no such function in Nvml.dll");
        }
        if (ofGpu && !function->takesDevice) {
            value.Complain(
                "this function is not called for one GPU; set its result at the top level");
        }
        results.Set(name, ReadRule(value, *function));
    });
    return results;
}
