#include "tests/support/Bar.h"

#include "planning/LLMEndpoint.h"
#include "support/Text.h"
#include "tests/support/RunReports.h"

#include <nlohmann/json.hpp>

namespace torvo::testing {

Bar::Bar(ManualDispatcher::Detached detached)
    : defaults(support / "settings.json"),
      log(support / "command-log.jsonl", defaults, queue),
      panel(window, finder.screens),
      runner(finder.service, processes, {{.imageTool = TORVO_BIN_DIR "/sips"}, support.url()}) {
    (void)defaults.set("commandLoggingEnabled", true);
    (void)LLMEndpoint::setCurrent({server.url(), "tiny"}, defaults);
    dispatcher.emplace(detached);
    settings.emplace(defaults, diskQueue, *dispatcher);
    start();
}

Bar::~Bar() {
    m_watch = {};
    service.reset();
    settings.reset();
    dispatcher.reset();
}

void Bar::start() {
    service.emplace(
        CommandBarServices{*dispatcher, desktopQueue, diskQueue, panel, finder.service, finder.workspace, runner,
                           processes, *settings, session, log, pasteboard, notifications, distributed, trash,
                           OperationStore(support / "Torvo/activity.json", systemLog, [this] { return now; }),
                           support.url(), support / "Desktop", [this] { return now; }});
    m_watch = service->observe([this] { statuses.push_back(state().status); });
}

void Bar::restart() {
    m_watch = {};
    service.reset();
    window.orderOut();
    start();
}

void Bar::select(const std::vector<std::string>& names) {
    std::vector<FileURL> selection;
    for (const auto& name : names)
        selection.push_back(files / name);
    finder.show(files.url(), std::move(selection));
}

void Bar::summon() {
    service->toggle();
    dispatcher->runPending();
}

void Bar::enter(std::string text) {
    summon();
    service->inputChanged(std::move(text));
    service->submit();
    dispatcher->runPending();
}

void Bar::undo(const UUID& operation) {
    service->undo(operation);
    dispatcher->runPending();
}

void Bar::undoLast() {
    service->undoLast();
    dispatcher->runPending();
}

bool Bar::settles() {
    return dispatcher->runUntil([this] { return !state().isRunning && state().status != "Asking local LLM…"; });
}

bool Bar::settlesAs(std::string_view status) {
    return settles() && state().status == status;
}

std::vector<std::string> Bar::names() const {
    return namesIn(files.path());
}

std::vector<std::string> Bar::selectedNames() const {
    return namesOf(finder.selection());
}

std::vector<std::string> Bar::logged() {
    queue.sync([] {});
    std::vector<std::string> events;
    const auto text = readFile(log.fileURL());
    for (const auto line : splitLines(text)) {
        const auto record = Json::parse(line);
        const auto member = [&](const char* key) { return record.value(key, ""); };
        if (member("event") == "plan")
            events.push_back(member("route") + ": " + member("input"));
        else if (member("event") == "outcome")
            events.push_back(member("outcome") + (record.contains("detail") ? ": " + member("detail") : ""));
    }
    return events;
}

void Bar::modelAnswers(const std::string& command, const std::string& explanation, const std::string& preview,
                       std::string_view kind) {
    Json plan{{"kind", kind}, {"runnable", true}, {"command", command}, {"explanation", explanation}};
    if (!preview.empty())
        plan["preview"] = preview;
    server.reply(plan.dump());
}

bool Bar::begin(const std::string& text, const std::string& command, const std::string& explanation) {
    modelAnswers(command, explanation);
    enter(text);
    if (!settles() || !state().awaitingConfirm())
        return false;
    service->confirmPending();
    return true;
}

} // namespace torvo::testing
