#include "support/Json.h"

#include <nlohmann/json.hpp>

namespace torvo {

namespace {

/// Whether brackets nest deeper than the limit, strings left out. Done before parsing, so that no parser or destructor
/// ever meets such a document.
bool nestsTooDeep(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
        case '"':
            for (++i; i < text.size() && text[i] != '"'; ++i) {
                if (text[i] == '\\')
                    ++i;
            }
            break;
        case '[':
        case '{':
            if (++depth > kMaximumJsonDepth)
                return true;
            break;
        case ']':
        case '}':
            depth -= depth > 0 ? 1 : 0;
            break;
        default:
            break;
        }
    }
    return false;
}

} // namespace

std::expected<Json, std::string> parseJson(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF"))
        return std::unexpected("it begins with a byte order mark");
    if (nestsTooDeep(text))
        return std::unexpected("it is nested too deeply");
    auto document = Json::parse(text, nullptr, false);
    if (document.is_discarded())
        return std::unexpected("it is not JSON in UTF-8");
    return document;
}

std::string compactJson(const Json& document) {
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const Json* memberOf(const Json& object, const char* key) {
    if (!object.is_object())
        return nullptr;
    const auto member = object.find(key);
    return member == object.end() ? nullptr : &*member;
}

} // namespace torvo
