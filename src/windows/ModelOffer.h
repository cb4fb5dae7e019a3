#pragma once

#include "assistance/LocalModelSetupService.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

namespace torvo {

/// What a window can offer about the local model.
enum class ModelOffer {
    /// The configured model is there: nothing to do.
    ready,
    /// Ollama is there: the recommended model can be set up.
    setUp,
    /// Ollama has to be fetched first.
    getOllama,
};

/// `ready` when the endpoint is configured and its model is among those that the set-up service found.
[[nodiscard]] ModelOffer modelOffer(const LocalModelSetupService& setup, UserDefaults& defaults);

/// Does what is offered.
void accept(ModelOffer offer, LocalModelSetupService& setup, Workspace& workspace);

} // namespace torvo
