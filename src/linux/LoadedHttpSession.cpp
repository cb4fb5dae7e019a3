#include "linux/LoadedHttpSession.h"

#include "linux/httpmodule/HttpModule.h"

#include <dlfcn.h>

namespace torvo {

void LoadedHttpSession::load() {
    // Never unloaded: libcurl and its libraries may not be initialised twice.
    void* const handle = ::dlopen(m_module.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = handle == nullptr ? nullptr : ::dlsym(handle, "torvoHttpSession");
    if (function != nullptr)
        m_session = reinterpret_cast<decltype(&torvoHttpSession)>(function)();
}

std::expected<HttpReply, HttpError> LoadedHttpSession::perform(const HttpRequest& request,
                                                               const std::stop_token& stop) {
    std::call_once(m_isLoaded, [this] { load(); });
    if (m_session == nullptr)
        return std::unexpected(HttpError{HttpErrorCode::failed, "Torvo's network module " + m_module +
                                                                    " cannot be loaded. Install Torvo again."});
    return m_session->perform(request, stop);
}

} // namespace torvo
