#include "planning/LLMEndpoint.h"

#include "support/Text.h"

namespace torvo {

namespace {

constexpr std::string_view kOnboardingKey = "onboardingShown";

bool isBlank(std::string_view text) {
    return trimmed(text, TextTrim::spacesAndLineBreaks).empty();
}

} // namespace

LLMEndpoint LLMEndpoint::current(UserDefaults& defaults) {
    LLMEndpoint endpoint;
    endpoint.baseURL = defaults.getAs<std::string>(kBaseURLKey).value_or(endpoint.baseURL);
    endpoint.model = defaults.getAs<std::string>(kModelKey).value_or(endpoint.model);
    return endpoint;
}

std::expected<void, std::string> LLMEndpoint::setCurrent(const LLMEndpoint& endpoint, UserDefaults& defaults) {
    if (auto stored = defaults.set(kBaseURLKey, endpoint.baseURL); !stored)
        return stored;
    return defaults.set(kModelKey, endpoint.model);
}

bool LLMEndpoint::isConfigured() const {
    return !isBlank(baseURL) && !isBlank(model);
}

std::string LLMEndpoint::address(const std::string& path) const {
    return std::string(trimmedOf(baseURL, "/ ")) + path;
}

void LLMEndpoint::migratePreReleaseDefaultIfNeeded(UserDefaults& defaults) {
    if (defaults.contains(kBaseURLKey) || defaults.contains(kModelKey) || !defaults.contains(kOnboardingKey))
        return;
    // A store that cannot be written now is migrated at the next launch.
    (void)setCurrent({"http://torvo-model.local:18080", "Qwen3.6-35B-A3B-UD-Q5_K_M.gguf"}, defaults);
}

} // namespace torvo
