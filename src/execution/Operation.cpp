#include "execution/Operation.h"

#include "support/FileURLText.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace torvo {

namespace {

template <typename Value>
using Decoded = std::expected<Value, std::string>;

std::unexpected<std::string> wrong(std::string_view key) {
    return std::unexpected(fmt::format("\"{}\" is missing or of the wrong kind", key));
}

Json encodedURLs(const std::vector<FileURL>& urls) {
    Json list = Json::array();
    for (const auto& url : urls)
        list.push_back(fileURLText(url));
    return list;
}

std::optional<FileURL> decodedURL(const Json* value) {
    if (value == nullptr || !value->is_string())
        return std::nullopt;
    return parseFileURLText(value->get_ref<const std::string&>());
}

Decoded<std::vector<FileURL>> decodedURLs(const Json& record, const char* key) {
    const Json* list = memberOf(record, key);
    if (list == nullptr || !list->is_array())
        return wrong(key);
    std::vector<FileURL> urls;
    for (const Json& item : *list) {
        auto url = decodedURL(&item);
        if (!url)
            return wrong(key);
        urls.push_back(std::move(*url));
    }
    return urls;
}

Decoded<std::vector<Operation::Rename>> decodedRenames(const Json& record) {
    const Json* list = memberOf(record, "renameMap");
    if (list == nullptr || !list->is_array())
        return wrong("renameMap");
    std::vector<Operation::Rename> renames;
    for (const Json& item : *list) {
        auto from = decodedURL(memberOf(item, "from"));
        auto to = decodedURL(memberOf(item, "to"));
        if (!from || !to)
            return wrong("renameMap");
        renames.push_back({std::move(*from), std::move(*to)});
    }
    return renames;
}

Decoded<Operation> decodedOperation(const Json& record) {
    Operation operation;
    const Json* id = memberOf(record, "id");
    const auto uuid = id != nullptr && id->is_string() ? UUID::parse(id->get_ref<const std::string&>()) : std::nullopt;
    if (!uuid)
        return wrong("id");
    operation.id = *uuid;
    const Json* date = memberOf(record, "date");
    if (date == nullptr || !date->is_number())
        return wrong("date");
    operation.date = date->get<double>();
    const Json* title = memberOf(record, "title");
    if (title == nullptr || !title->is_string())
        return wrong("title");
    operation.title = title->get<std::string>();
    const Json* action = memberOf(record, "action");
    if (action == nullptr)
        return wrong("action");
    auto decoded = decodeAction(*action);
    if (!decoded)
        return std::unexpected(std::move(decoded.error().description));
    operation.action = std::move(*decoded);
    auto inputs = decodedURLs(record, "inputs");
    auto outputs = decodedURLs(record, "outputs");
    auto renames = decodedRenames(record);
    if (!inputs || !outputs || !renames)
        return std::unexpected(!inputs ? inputs.error() : !outputs ? outputs.error() : renames.error());
    operation.inputs = std::move(*inputs);
    operation.outputs = std::move(*outputs);
    operation.renameMap = std::move(*renames);
    const Json* undone = memberOf(record, "undone");
    if (undone == nullptr || !undone->is_boolean())
        return wrong("undone");
    operation.undone = undone->get<bool>();
    return operation;
}

} // namespace

bool Operation::operator==(const Operation& other) const {
    return id == other.id && date == other.date && canonicallyEqual(title, other.title) && action == other.action &&
           inputs == other.inputs && outputs == other.outputs && renameMap == other.renameMap && undone == other.undone;
}

bool Operation::canUndo(const std::function<bool(const FileURL&)>& isThere) const {
    return !undone &&
           (std::ranges::any_of(outputs, isThere) || std::ranges::any_of(renameMap, [&](const Rename& rename) {
                return isThere(rename.to) && !isThere(rename.from);
            }));
}

std::string Operation::subtitle() const {
    if (!renameMap.empty())
        return "Renamed " + counted(renameMap.size(), "file");
    return outputs.empty() ? "" : "Created " + counted(outputs.size(), "file");
}

Json encode(const Operation& operation) {
    Json renames = Json::array();
    for (const auto& [from, to] : operation.renameMap)
        renames.push_back({{"from", fileURLText(from)}, {"to", fileURLText(to)}});
    return {{"id", operation.id.text()},
            {"date", operation.date},
            {"title", operation.title},
            {"action", encode(operation.action)},
            {"inputs", encodedURLs(operation.inputs)},
            {"outputs", encodedURLs(operation.outputs)},
            {"renameMap", std::move(renames)},
            {"undone", operation.undone}};
}

std::expected<std::vector<Operation>, std::string> decodeOperations(std::string_view text) {
    const auto document = parseJson(text);
    if (!document)
        return std::unexpected(document.error());
    if (!document->is_array())
        return std::unexpected("it is not a list of records");
    std::vector<Operation> operations;
    for (const Json& record : *document) {
        auto operation = decodedOperation(record);
        if (!operation)
            return std::unexpected(std::move(operation.error()));
        if (operations.size() < kMaximumOperations)
            operations.push_back(std::move(*operation));
    }
    return operations;
}

} // namespace torvo
