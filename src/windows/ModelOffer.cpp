#include "windows/ModelOffer.h"

#include "planning/LLMEndpoint.h"

#include <algorithm>

namespace torvo {

ModelOffer modelOffer(const LocalModelSetupService& setup, UserDefaults& defaults) {
    const auto endpoint = LLMEndpoint::current(defaults);
    if (endpoint.isConfigured() && std::ranges::find(setup.models(), endpoint.model) != setup.models().end())
        return ModelOffer::ready;
    return setup.isOllamaInstalled() ? ModelOffer::setUp : ModelOffer::getOllama;
}

void accept(ModelOffer offer, LocalModelSetupService& setup, Workspace& workspace) {
    switch (offer) {
    case ModelOffer::ready:
        break;
    case ModelOffer::setUp:
        setup.installOrSelectRecommendedModel();
        break;
    case ModelOffer::getOllama:
        workspace.open(kOllamaDownloadPage);
        break;
    }
}

} // namespace torvo
