// What the bar acts on: the file manager's selection, dropped files, the clipboard.
#include "commandbar/BarTexts.h"
#include "commandbar/CommandBarService.h"
#include "commandbar/RunBeside.h"
#include "desktop/ClipboardService.h"
#include "planning/RulesStore.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace torvo {

namespace {

FinderContext contextOf(FinderService& finder) {
    return {finder.frontWindowFolder(), finder.selectedFiles()};
}

} // namespace

std::optional<FinderContext> CommandBarService::droppedContext() const {
    if (!m_droppedSelection || m_droppedSelection->empty())
        return std::nullopt;
    return FinderContext{m_droppedSelection->front().deletingLastPathComponent(), *m_droppedSelection};
}

void CommandBarService::withContext(std::function<void(const FinderContext& context)> then) {
    if (const auto dropped = droppedContext()) {
        then(*dropped);
        return;
    }
    askDesktop([&finder = m_services.finder] { return contextOf(finder); },
               [this, then = std::move(then)](const FinderContext& context) {
                   // What the clipboard was asked for before counts as dropped by now.
                   then(droppedContext().value_or(context));
               });
}

void CommandBarService::refreshContext(Reading way) {
    if (const auto dropped = droppedContext())
        showContext(*dropped);
    m_wantedReading = std::max(m_wantedReading.value_or(way), way);
}

void CommandBarService::readContext(Reading way) {
    struct Answer {
        FinderContext context;
        bool isSelectionKnown = true;
        bool hasClipboardContent = false;
    };
    const bool isDropped = droppedContext().has_value();
    const auto number = ++*m_contextReads;
    const auto read = [&finder = m_services.finder, &pasteboard = m_services.pasteboard, way, isDropped,
                       reads = m_contextReads, number] {
        Answer answer;
        if (number != *reads)
            return answer;
        if (!isDropped) {
            answer.context.folder = finder.frontWindowFolder();
            answer.isSelectionKnown = way == Reading::byAllMeans || finder.showsSelection();
            if (answer.isSelectionKnown)
                answer.context.selection = finder.selectedFiles();
        }
        answer.hasClipboardContent = ClipboardService::hasContent(pasteboard);
        return answer;
    };
    const auto show = [this, number](const Answer& answer) {
        if (number != *m_contextReads)
            return;
        m_state.clipboardAvailable = answer.hasClipboardContent;
        if (const auto nowDropped = droppedContext())
            showContext(*nowDropped);
        else
            showContext(answer.context, answer.isSelectionKnown);
    };
    // The window manager, the X server and the bar itself have enough to do until it is seen.
    m_services.panel.afterDrawing(
        [&queue = m_services.desktopQueue, work = handingOver(read, show, onMain())] { queue.async(work); });
}

void CommandBarService::showContext(const FinderContext& context, bool isSelectionKnown) {
    m_state.contextHint =
        isSelectionKnown ? contextDescription(context.folder, context.selection.size(), droppedContext().has_value())
                         : folderDescription(context.folder);
    m_state.chips =
        barChips(RulesStore(m_services.defaults).rules(), context.folder, context.selection, m_history.items());
}

void CommandBarService::handleDrop(const std::vector<FileURL>& files) {
    if (files.empty())
        return;
    const Turn turn(*this);
    if (!m_services.panel.isVisible()) {
        if (const auto frame = m_services.finder.frontWindowFrame())
            placeUnder(*frame, restingForm());
        else
            detach();
    }
    stay();
    m_droppedSelection = files;
    selectInFinder(files);
    refreshContext(Reading::byLooking);
    m_services.panel.makeKey();
}

void CommandBarService::useClipboard() {
    const auto ingest = [&pasteboard = m_services.pasteboard, &finder = m_services.finder,
                         desktop = m_services.desktop] {
        return ClipboardService::ingest(pasteboard, finder.frontWindowFolder(), desktop);
    };
    // Whatever the bar turns to meanwhile: a command that is submitted now is meant for these files. One that was left
    // does not come back for them.
    const auto take = [this](const std::vector<FileURL>& files) {
        if (m_services.panel.isVisible())
            handleDrop(files);
    };
    m_services.desktopQueue.async(handingOver(ingest, take, onMain()));
}

void CommandBarService::selectInFinder(std::vector<FileURL> files) {
    m_services.desktopQueue.async([&finder = m_services.finder, files = std::move(files)] { finder.select(files); });
}

} // namespace torvo
