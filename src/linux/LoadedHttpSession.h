#pragma once

#include "platform/HttpSession.h"

#include <mutex>
#include <string>

namespace torvo {

/// HTTP through a module that is loaded at the first request: libcurl brings some thirty libraries along, and most runs
/// ask no server for anything. Where the module cannot be loaded, each request fails with `HttpErrorCode::failed`.
class LoadedHttpSession : public HttpSession {
  public:
    /// `module`: the path of the module, see HttpModule.h.
    explicit LoadedHttpSession(std::string module) : m_module(std::move(module)) {}

    [[nodiscard]] std::expected<HttpReply, HttpError> perform(const HttpRequest& request,
                                                              const std::stop_token& stop) override;

  private:
    void load();

    std::string m_module;
    std::once_flag m_isLoaded;
    /// Lives as long as the program; null when the module could not be loaded.
    HttpSession* m_session = nullptr;
};

} // namespace torvo
