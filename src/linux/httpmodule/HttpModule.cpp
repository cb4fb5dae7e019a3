#include "linux/httpmodule/HttpModule.h"

#include "linux/CurlHttpSession.h"

torvo::HttpSession* torvoHttpSession() {
    static torvo::CurlHttpSession session;
    return &session;
}
