#include "tests/probe/Values.h"

#include <set>
#include <stdexcept>
#include <utility>

namespace torvo::probe {

std::string text(const Json& in, const char* key) {
    return in.at(key).get<std::string>();
}

std::optional<std::string> optionalText(const Json& in, const char* key) {
    const Json* value = memberOf(in, key);
    return value == nullptr || value->is_null() ? std::nullopt : std::optional(value->get<std::string>());
}

Action action(const Json& document) {
    auto decoded = decodeAction(document);
    if (!decoded)
        throw std::runtime_error(decoded.error().description);
    return std::move(*decoded);
}

std::vector<FileURL> files(const Json& paths) {
    std::vector<FileURL> urls;
    for (const Json& path : paths)
        urls.emplace_back(path.get<std::string>());
    return urls;
}

std::optional<FileURL> folder(const Json& in) {
    const auto path = optionalText(in, "folder");
    return path ? std::optional(FileURL(*path)) : std::nullopt;
}

FinderContext context(const Json& in) {
    return {folder(in), files(in.at("selection"))};
}

std::function<bool(const FileURL&)> fileSystem(const Json& in) {
    std::set<std::string> existing;
    for (const auto& file : files(in.at("existing")))
        existing.insert(file.path());
    return [existing = std::move(existing)](const FileURL& url) { return existing.contains(url.path()); };
}

std::vector<Rule> rules(const Json& in) {
    std::vector<Rule> rules;
    for (const Json& rule : in.at("rules")) {
        rules.push_back(
            {UUID::parse(text(rule, "id")).value_or(UUID{}), text(rule, "trigger"), text(rule, "expansion")});
    }
    return rules;
}

Json encodedSuggestions(const std::vector<Suggestion>& suggestions) {
    Json list = Json::array();
    for (const auto& [title, input] : suggestions)
        list.push_back({{"title", title}, {"input", input}});
    return list;
}

} // namespace torvo::probe
