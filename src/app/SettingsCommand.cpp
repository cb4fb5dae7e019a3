#include "app/Arguments.h"
#include "app/Services.h"
#include "app/SettingsTable.h"
#include "app/Terminal.h"
#include "planning/RulesStore.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace torvo {

namespace {

ExitStatus reportSaved(const std::expected<void, std::string>& saved) {
    if (saved)
        return ExitStatus::done;
    printError(saved.error());
    return ExitStatus::failed;
}

void printAll(Services& services) {
    for (const auto& key : SettingsTable::keys()) {
        const auto value = SettingsTable::shown(key, services.defaults, services.log);
        const bool isStored = services.defaults.contains(key.name);
        printLine(fmt::format("{} = {}{}", key.name, oneLine(value), isStored ? "" : "  (default)"));
    }
}

} // namespace

ExitStatus settingsCommand(const std::vector<std::string>& arguments) {
    std::string name;
    std::string value;
    std::string unset;
    CLI::App app("Shows all settings, shows or changes one, or removes one so that its default holds.",
                 "torvo settings");
    auto* nameOption = app.add_option("KEY", name, "The setting");
    auto* valueOption = app.add_option("VALUE", value, "What to set it to");
    auto* unsetOption = app.add_option("--unset", unset, "Remove the value of this key");
    unsetOption->excludes(nameOption)->option_text("KEY");
    nameOption->option_text(" ");
    valueOption->option_text(" ");
    std::string keys = "Settings:\n";
    for (const auto& key : SettingsTable::keys())
        keys += fmt::format("  {:<24}{}\n", key.name, key.meaning);
    app.footer(keys);
    if (const auto status = parse(app, arguments))
        return *status;

    const bool isUnsetting = unsetOption->count() > 0;
    const bool isListing = !isUnsetting && nameOption->count() == 0;
    const auto& wanted = isUnsetting ? unset : name;
    const auto* key = SettingsTable::find(wanted);
    if (!isListing && key == nullptr) {
        printError(fmt::format("there is no setting named “{}”; torvo settings lists them", wanted));
        return ExitStatus::badUsage;
    }
    Services services;
    if (isListing) {
        printAll(services);
        return ExitStatus::done;
    }
    if (isUnsetting)
        return reportSaved(services.defaults.remove(key->name));
    if (valueOption->count() == 0) {
        printLine(oneLine(SettingsTable::shown(*key, services.defaults, services.log)));
        return ExitStatus::done;
    }
    auto parsedValue = SettingsTable::parsed(*key, value);
    if (!parsedValue) {
        printError(parsedValue.error());
        return ExitStatus::badUsage;
    }
    return reportSaved(services.defaults.set(key->name, std::move(*parsedValue)));
}

ExitStatus rulesCommand(const std::vector<std::string>& arguments) {
    std::string trigger;
    std::string expansion;
    std::string id;
    CLI::App app("Lists your own shortcuts: a short trigger that stands for a longer command.", "torvo rules");
    auto* add = app.add_subcommand("add", "Add a rule");
    add->add_option("TRIGGER", trigger, "The phrase that you type")->required()->option_text(" ");
    add->add_option("EXPANSION", expansion, "The command that it stands for")->required()->option_text(" ");
    auto* remove = app.add_subcommand("remove", "Remove a rule");
    remove->add_option("ID", id, "The rule's identifier, as torvo rules lists it")->required()->option_text(" ");
    // After one subcommand the other's name is an ordinary text.
    app.require_subcommand(0, 1);
    if (const auto status = parse(app, arguments))
        return *status;

    Services services;
    RulesStore store(services.defaults);
    if (add->parsed()) {
        const auto isBlank = [](std::string_view text) { return trimmed(text, TextTrim::spacesAndLineBreaks).empty(); };
        if (isBlank(trigger) || isBlank(expansion)) {
            printError("a rule needs a trigger and an expansion");
            return ExitStatus::badUsage;
        }
        if (printable(trigger) != trigger || printable(expansion) != expansion) {
            printError("a rule's texts must be UTF-8");
            return ExitStatus::badUsage;
        }
        const auto saved = store.add(trigger, expansion);
        if (saved)
            printLine(store.rules().back().id.text());
        return reportSaved(saved);
    }
    if (remove->parsed()) {
        const auto uuid = UUID::parse(id);
        if (!uuid || std::ranges::find(store.rules(), *uuid, &Rule::id) == store.rules().end()) {
            printError(fmt::format("there is no rule with the identifier “{}”; torvo rules lists them", id));
            return ExitStatus::badUsage;
        }
        return reportSaved(store.remove(*uuid));
    }
    for (const auto& rule : store.rules())
        printLine(fmt::format("{}  {} → {}", rule.id.text(), oneLine(rule.trigger), oneLine(rule.expansion)));
    return ExitStatus::done;
}

} // namespace torvo
