#pragma once

#include "commandbar/CommandBarService.h"

#include <memory>
#include <utility>

namespace torvo {

template <typename Work, typename Then>
void CommandBarService::runBeside(Work work, Then then) {
    m_services.dispatcher.runDetached(
        [work = std::move(work), then = std::move(then), onMain = onMainWhileCurrent()]() mutable {
            // Shared, because what is queued must be copyable and an answer need not be.
            auto answer = std::make_shared<decltype(work())>(work());
            onMain([then = std::move(then), answer = std::move(answer)]() mutable { then(std::move(*answer)); });
        });
}

} // namespace torvo
