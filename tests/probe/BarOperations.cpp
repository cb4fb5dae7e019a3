#include "commandbar/BarTexts.h"
#include "tests/probe/Operations.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace torvo::probe {

namespace {

/// A whole number, not below zero.
std::size_t wholeCount(const Json& in, const char* key) {
    const Json& value = in.at(key);
    if (!value.is_number_unsigned())
        throw std::runtime_error(std::string(key) + " is no count");
    return value.get<std::size_t>();
}

/// A count that may be absent; what is below zero counts as nothing.
std::optional<std::size_t> count(const Json& in, const char* key) {
    const Json* value = memberOf(in, key);
    if (value == nullptr || value->is_null())
        return std::nullopt;
    return value->is_number_unsigned()
               ? value->get<std::size_t>()
               : static_cast<std::size_t>(std::max<std::int64_t>(0, value->get<std::int64_t>()));
}

} // namespace

OperationTable barOperations() {
    return {
        {"bar.previewLabel", [](const Json& in) { return Json(previewLabel(action(in.at("action")))); }},
        {"bar.contextDescription",
         [](const Json& in) {
             return Json(contextDescription(folder(in), wholeCount(in, "count"), in.at("dropped").get<bool>()));
         }},
        {"bar.chips",
         [](const Json& in) {
             return encodedSuggestions(barChips(rules(in), folder(in), files(in.at("selection")),
                                                in.at("history").get<std::vector<std::string>>()));
         }},
        {"bar.progressLine",
         [](const Json& in) {
             return Json(progressLine({text(in, "label"), count(in, "completed"), count(in, "total")}));
         }},
        {"suggestions",
         [](const Json& in) {
             return encodedSuggestions(SuggestionEngine::suggestions(folder(in), files(in.at("selection"))));
         }},
    };
}

} // namespace torvo::probe
