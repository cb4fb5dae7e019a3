#pragma once

#include "commandbar/CommandBarService.h"

#include <memory>
#include <utility>

namespace torvo {

/// Does `work` and has `onMain` hand to `then` what it returns.
template <typename Work, typename Then, typename OnMain>
[[nodiscard]] auto handingOver(Work work, Then then, OnMain onMain) {
    return [work = std::move(work), then = std::move(then), onMain = std::move(onMain)]() mutable {
        // Shared, because what is queued must be copyable and an answer need not be.
        auto answer = std::make_shared<decltype(work())>(work());
        onMain([then = std::move(then), answer = std::move(answer)]() mutable { then(std::move(*answer)); });
    };
}

template <typename Work, typename Then>
void CommandBarService::runBeside(Work work, Then then) {
    m_services.dispatcher.runDetached(handingOver(std::move(work), std::move(then), onMainWhileCurrent()));
}

template <typename Work, typename Then>
void CommandBarService::askDesktop(Work work, Then then) {
    m_services.desktopQueue.async(handingOver(std::move(work), std::move(then), onMainWhileCurrent()));
}

} // namespace torvo
