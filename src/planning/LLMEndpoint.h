#pragma once

#include "platform/UserDefaults.h"

#include <expected>
#include <string>
#include <string_view>

namespace torvo {

/// Where the language model lives.
struct LLMEndpoint {
    /// Root of an OpenAI-compatible server; paths are appended to it.
    std::string baseURL = "http://127.0.0.1:11434";
    /// Sent exactly as stored.
    std::string model;

    /// The settings keys of the two.
    static constexpr std::string_view kBaseURLKey = "llm.baseURL";
    static constexpr std::string_view kModelKey = "llm.model";

    bool operator==(const LLMEndpoint&) const = default;

    /// The stored endpoint, with the defaults above for what is not stored. Read afresh on every call.
    [[nodiscard]] static LLMEndpoint current(UserDefaults& defaults);
    /// Stores both texts, the base URL first.
    static std::expected<void, std::string> setCurrent(const LLMEndpoint& endpoint, UserDefaults& defaults);

    /// Whether neither text is blank.
    [[nodiscard]] bool isConfigured() const;
    /// The address of `path` on this server: the base URL without slashes and spaces at its ends, then `path`.
    [[nodiscard]] std::string address(const std::string& path) const;

    /// Keeps a pre-release user, who relied on the endpoint that was built in then, on that endpoint. To be called once
    /// at launch.
    static void migratePreReleaseDefaultIfNeeded(UserDefaults& defaults);
};

} // namespace torvo
