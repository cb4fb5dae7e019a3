#include "planning/RulesStore.h"

#include "support/Json.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace torvo {

namespace {

std::optional<Rule> decodeRule(const Json& document) {
    const Json* id = memberOf(document, "id");
    const Json* trigger = memberOf(document, "trigger");
    const Json* expansion = memberOf(document, "expansion");
    for (const Json* member : {id, trigger, expansion}) {
        if (member == nullptr || !member->is_string())
            return std::nullopt;
    }
    const auto uuid = UUID::parse(id->get<std::string>());
    if (!uuid)
        return std::nullopt;
    return Rule{*uuid, trigger->get<std::string>(), expansion->get<std::string>()};
}

std::vector<Rule> decodeRules(const std::optional<DefaultsValue>& stored) {
    const auto* data = stored ? std::get_if<DefaultsData>(&*stored) : nullptr;
    if (data == nullptr)
        return {};
    const auto document = parseJson(data->bytes);
    if (!document || !document->is_array())
        return {};
    std::vector<Rule> rules;
    for (const Json& element : *document) {
        auto rule = decodeRule(element);
        if (!rule)
            return {};
        rules.push_back(std::move(*rule));
    }
    return rules;
}

DefaultsData encodeRules(const std::vector<Rule>& rules) {
    Json list = Json::array();
    for (const auto& rule : rules)
        list.push_back({{"id", rule.id.text()}, {"trigger", rule.trigger}, {"expansion", rule.expansion}});
    return {compactJson(list)};
}

std::string key(std::string_view text) {
    return lowercased(trimmed(text, TextTrim::spacesAndLineBreaks));
}

} // namespace

std::optional<std::string> expansionFor(std::string_view input, const std::vector<Rule>& rules) {
    const auto wanted = key(input);
    if (wanted.empty())
        return std::nullopt;
    for (const auto& rule : rules) {
        if (canonicallyEqual(key(rule.trigger), wanted))
            return rule.expansion;
    }
    return std::nullopt;
}

RulesStore::RulesStore(UserDefaults& defaults) : m_defaults(defaults), m_rules(decodeRules(defaults.get(kRulesKey))) {}

std::optional<std::string> RulesStore::expansion(std::string_view input) const {
    return expansionFor(input, m_rules);
}

std::expected<void, std::string> RulesStore::add(std::string_view trigger, std::string_view expansion) {
    const auto phrase = trimmed(trigger, TextTrim::spacesAndLineBreaks);
    const auto command = trimmed(expansion, TextTrim::spacesAndLineBreaks);
    if (phrase.empty() || command.empty())
        return {};
    Rule rule{UUID::random(), std::string(phrase), std::string(command)};
    auto saved = m_defaults.update(kRulesKey, [rule](const std::optional<DefaultsValue>& stored) {
        auto rules = decodeRules(stored);
        rules.push_back(rule);
        return DefaultsValue(encodeRules(rules));
    });
    if (saved)
        m_rules = decodeRules(m_defaults.get(kRulesKey));
    else
        m_rules.push_back(std::move(rule));
    return saved;
}

std::expected<void, std::string> RulesStore::remove(const UUID& id) {
    const auto isMeant = [id](const Rule& rule) { return rule.id == id; };
    auto saved = m_defaults.update(kRulesKey, [isMeant](const std::optional<DefaultsValue>& stored) {
        auto rules = decodeRules(stored);
        std::erase_if(rules, isMeant);
        return DefaultsValue(encodeRules(rules));
    });
    if (saved)
        m_rules = decodeRules(m_defaults.get(kRulesKey));
    else
        std::erase_if(m_rules, isMeant);
    return saved;
}

} // namespace torvo
