#include "execution/Operation.h"
#include "tests/probe/Operations.h"

#include <stdexcept>

namespace torvo::probe {

namespace {

/// A whole record.
Operation operation(const Json& document) {
    auto decoded = decodeOperations(Json::array({document}).dump());
    if (!decoded)
        throw std::runtime_error(decoded.error());
    return std::move(decoded->front());
}

Json decodedList(const Json& in) {
    const auto operations = decodeOperations(text(in, "json"));
    if (!operations)
        return {{"error", true}};
    Json list = Json::array();
    for (const auto& record : *operations)
        list.push_back(encode(record));
    return {{"ok", std::move(list)}};
}

} // namespace

OperationTable recordOperations() {
    return {
        {"operation.subtitle", [](const Json& in) { return Json(operation(in).subtitle()); }},
        {"operation.canUndo",
         [](const Json& in) { return Json(operation(in.at("operation")).canUndo(fileSystem(in))); }},
        {"operation.decodeList", decodedList},
    };
}

} // namespace torvo::probe
