#include "model/Action.h"

#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <array>
#include <span>
#include <utility>

namespace torvo {

namespace {

using Error = ActionDecodingError;

template <typename Value>
using Decoded = std::expected<Value, Error>;

std::unexpected<Error> typeMismatch(std::string_view key, std::string_view expected) {
    return std::unexpected(Error{Error::Kind::typeMismatch, fmt::format("“{}” must be {}.", key, expected)});
}

/// The one member of `document` that is named after a case: its name, and its value, which is an object.
Decoded<std::pair<std::string_view, const Json*>> caseOf(const Json& document, std::span<const char* const> cases,
                                                         std::string_view type) {
    if (!document.is_object())
        return typeMismatch(type, "an object");
    std::pair<std::string_view, const Json*> found;
    std::size_t count = 0;
    for (const char* name : cases) {
        if (const Json* value = memberOf(document, name)) {
            found = {name, value};
            ++count;
        }
    }
    if (count != 1)
        return std::unexpected(Error{Error::Kind::invalidKeyCount, "Invalid number of keys found, expected one."});
    if (!found.second->is_object())
        return typeMismatch(found.first, "an object");
    return found;
}

Decoded<const Json*> required(const Json& object, const char* key) {
    if (const Json* value = memberOf(object, key))
        return value;
    return std::unexpected(Error{Error::Kind::keyNotFound, fmt::format("“{}” is missing.", key)});
}

Decoded<std::string> text(const Json& object, const char* key) {
    const auto value = required(object, key);
    if (!value)
        return std::unexpected(value.error());
    if (!(*value)->is_string())
        return typeMismatch(key, "a text");
    return (*value)->get<std::string>();
}

Decoded<bool> boolean(const Json& object, const char* key) {
    const auto value = required(object, key);
    if (!value)
        return std::unexpected(value.error());
    if (!(*value)->is_boolean())
        return typeMismatch(key, "true or false");
    return (*value)->get<bool>();
}

Decoded<std::vector<std::string>> texts(const Json& object, const char* key) {
    const auto value = required(object, key);
    if (!value)
        return std::unexpected(value.error());
    if (!(*value)->is_array())
        return typeMismatch(key, "a list");
    std::vector<std::string> list;
    for (const Json& element : **value) {
        if (!element.is_string())
            return typeMismatch(key, "a list of texts");
        list.push_back(element.get<std::string>());
    }
    return list;
}

/// The two texts that both kinds of commands have.
Decoded<SelectByCommand> decodeCommand(const Json& values) {
    auto command = text(values, "command");
    if (!command)
        return std::unexpected(command.error());
    auto explanation = text(values, "explanation");
    if (!explanation)
        return std::unexpected(explanation.error());
    return SelectByCommand{std::move(*command), std::move(*explanation)};
}

Decoded<Action> decodeShell(const Json& values) {
    auto texts = decodeCommand(values);
    if (!texts)
        return std::unexpected(texts.error());
    const auto destructive = boolean(values, "destructive");
    if (!destructive)
        return std::unexpected(destructive.error());
    Shell shell{std::move(texts->command), std::move(texts->explanation), *destructive, std::nullopt};
    if (const Json* preview = memberOf(values, "preview"); preview != nullptr && !preview->is_null()) {
        if (!preview->is_string())
            return typeMismatch("preview", "a text");
        shell.preview = preview->get<std::string>();
    }
    return shell;
}

} // namespace

bool SelectionSpec::Extensions::operator==(const Extensions& other) const {
    return canonicallyEqual(list, other.list);
}

bool ConvertImages::operator==(const ConvertImages& other) const {
    return canonicallyEqual(toExt, other.toExt);
}

bool Shell::operator==(const Shell& other) const {
    return canonicallyEqual(command, other.command) && canonicallyEqual(explanation, other.explanation) &&
           destructive == other.destructive && preview.has_value() == other.preview.has_value() &&
           (!preview || canonicallyEqual(*preview, *other.preview));
}

bool SelectByCommand::operator==(const SelectByCommand& other) const {
    return canonicallyEqual(command, other.command) && canonicallyEqual(explanation, other.explanation);
}

Json encode(const SelectionSpec& spec) {
    return std::visit(
        Overloaded{
            [](const SelectionSpec::All&) { return Json{{"all", Json::object()}}; },
            [](const SelectionSpec::None&) { return Json{{"none", Json::object()}}; },
            [](const SelectionSpec::Extensions& extensions) { return Json{{"extensions", {{"_0", extensions.list}}}}; },
        },
        spec.value);
}

Json encode(const Action& action) {
    return std::visit(
        Overloaded{
            [](const Select& select) { return Json{{"select", {{"_0", encode(select.spec)}}}}; },
            [](const ConvertImages& convert) { return Json{{"convertImages", {{"toExt", convert.toExt}}}}; },
            [](const ZipSelection&) { return Json{{"zipSelection", Json::object()}}; },
            [](const Shell& shell) {
                Json values{
                    {"command", shell.command}, {"explanation", shell.explanation}, {"destructive", shell.destructive}};
                if (shell.preview)
                    values["preview"] = *shell.preview;
                return Json{{"shell", std::move(values)}};
            },
            [](const SelectByCommand& select) {
                return Json{{"selectByCommand", {{"command", select.command}, {"explanation", select.explanation}}}};
            },
        },
        action);
}

std::expected<SelectionSpec, ActionDecodingError> decodeSelectionSpec(const Json& document) {
    constexpr std::array cases{"all", "none", "extensions"};
    const auto found = caseOf(document, cases, "SelectionSpec");
    if (!found)
        return std::unexpected(found.error());
    const auto [name, values] = *found;
    if (name == "all")
        return SelectionSpec{SelectionSpec::All{}};
    if (name == "none")
        return SelectionSpec{SelectionSpec::None{}};
    auto list = texts(*values, "_0");
    if (!list)
        return std::unexpected(list.error());
    return SelectionSpec{SelectionSpec::Extensions{std::move(*list)}};
}

std::expected<Action, ActionDecodingError> decodeAction(const Json& document) {
    constexpr std::array cases{"select", "convertImages", "zipSelection", "shell", "selectByCommand"};
    const auto found = caseOf(document, cases, "Action");
    if (!found)
        return std::unexpected(found.error());
    const auto [name, values] = *found;
    if (name == "select") {
        const auto spec = required(*values, "_0");
        if (!spec)
            return std::unexpected(spec.error());
        auto decoded = decodeSelectionSpec(**spec);
        if (!decoded)
            return std::unexpected(decoded.error());
        return Select{std::move(*decoded)};
    }
    if (name == "convertImages") {
        auto toExt = text(*values, "toExt");
        if (!toExt)
            return std::unexpected(toExt.error());
        return ConvertImages{std::move(*toExt)};
    }
    if (name == "zipSelection")
        return ZipSelection{};
    if (name == "shell")
        return decodeShell(*values);
    auto select = decodeCommand(*values);
    if (!select)
        return std::unexpected(select.error());
    return std::move(*select);
}

std::expected<Action, ActionDecodingError> decodeActionText(std::string_view document) {
    const auto parsed = parseJson(document);
    if (!parsed)
        return std::unexpected(
            Error{Error::Kind::malformed, fmt::format("The text is no action: {}.", parsed.error())});
    return decodeAction(*parsed);
}

} // namespace torvo
