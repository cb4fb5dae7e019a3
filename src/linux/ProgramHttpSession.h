#pragma once

#include "platform/HttpSession.h"

#include <string>

namespace torvo {

/// HTTP through a program that runs for one request: libcurl brings some thirty libraries along, which would stay in
/// this process for good. Where the program cannot be run, each request fails with `HttpErrorCode::failed`.
class ProgramHttpSession : public HttpSession {
  public:
    /// `program`: its path, see httpprogram/main.cpp.
    explicit ProgramHttpSession(std::string program) : m_program(std::move(program)) {}

    [[nodiscard]] std::expected<HttpReply, HttpError> perform(const HttpRequest& request,
                                                              const std::stop_token& stop) override;

  private:
    std::string m_program;
};

} // namespace torvo
