#include "linux/SettingsDocument.h"

#include "support/Base64.h"
#include "support/Json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace torvo {

namespace {

using nlohmann::json;

} // namespace

std::expected<json, std::string> parseSettings(std::string_view text) {
    auto document = parseJson(text);
    if (document && !document->is_object())
        return std::unexpected("it is not a JSON object");
    return document;
}

std::expected<std::string, std::string> settingsText(const json& document) {
    try {
        return document.dump(2) + "\n";
    } catch (const json::type_error&) {
        return std::unexpected("text that is not UTF-8 cannot be stored");
    }
}

std::expected<json, std::string> settingsJson(const DefaultsValue& value) {
    if (const auto* data = std::get_if<DefaultsData>(&value))
        return json::object({{"data", base64Encoded(data->bytes)}});
    if (const auto* number = std::get_if<double>(&value); number != nullptr && !std::isfinite(*number))
        return std::unexpected("a number that is not finite cannot be stored");
    return std::visit(
        [](const auto& plain) -> json {
            if constexpr (std::is_same_v<std::decay_t<decltype(plain)>, DefaultsData>)
                return nullptr;
            else
                return plain;
        },
        value);
}

std::optional<DefaultsValue> settingsValue(const json& json) {
    if (json.is_boolean())
        return json.get<bool>();
    if (json.is_number_float())
        return json.get<double>();
    if (json.is_number_unsigned() && !std::in_range<std::int64_t>(json.get<std::uint64_t>()))
        return std::nullopt;
    if (json.is_number_integer())
        return json.get<std::int64_t>();
    if (json.is_string())
        return json.get<std::string>();
    if (json.is_array() && std::ranges::all_of(json, [](const auto& item) { return item.is_string(); }))
        return json.get<std::vector<std::string>>();
    if (json.is_object() && json.size() == 1 && json.contains("data") && json["data"].is_string())
        if (auto bytes = base64Decoded(json["data"].get_ref<const std::string&>()))
            return DefaultsData{std::move(*bytes)};
    return std::nullopt;
}

} // namespace torvo
