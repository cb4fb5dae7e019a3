#pragma once

#include "assistance/Suggestion.h"
#include "model/Action.h"
#include "model/FinderContext.h"
#include "planning/RulesStore.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace torvo::probe {

/// Answers the "in" of a line. What it throws becomes the line's error.
using Handler = std::function<Json(const Json& in)>;
using OperationTable = std::map<std::string, Handler, std::less<>>;

/// The members of "in", and answers, in the protocol's forms.

[[nodiscard]] std::string text(const Json& in, const char* key);
[[nodiscard]] std::optional<std::string> optionalText(const Json& in, const char* key);
[[nodiscard]] Action action(const Json& document);
[[nodiscard]] std::vector<FileURL> files(const Json& paths);
[[nodiscard]] std::optional<FileURL> folder(const Json& in);
[[nodiscard]] FinderContext context(const Json& in);
[[nodiscard]] std::vector<Rule> rules(const Json& in);
/// A file system that holds just the paths listed under "existing".
[[nodiscard]] std::function<bool(const FileURL&)> fileSystem(const Json& in);

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}
inline Json orNull(const std::optional<Action>& value) {
    return value ? encode(*value) : Json();
}
[[nodiscard]] Json encodedSuggestions(const std::vector<Suggestion>& suggestions);

} // namespace torvo::probe
