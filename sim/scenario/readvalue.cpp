#include "sim/scenario/readvalue.h"

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

double ReadNumber(const CJsonPlace& place) { return place.Number(); }

}  // namespace

CMovingValue ReadMovingValue(const CJsonPlace& place) {
    if (place.IsNumber()) {
        return CMovingValue(place.Number());
    }
    if (std::optional<CSequence<double>> sequence = ReadSequence(place, &ReadNumber)) {
        return CMovingValue(*std::move(sequence));
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
