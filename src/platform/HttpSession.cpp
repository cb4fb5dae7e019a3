#include "platform/HttpSession.h"

namespace torvo {

namespace {

const char* lineOf(HttpErrorCode code) {
    switch (code) {
    case HttpErrorCode::badURL:
        return "This is not a valid URL.";
    case HttpErrorCode::unsupportedURL:
        return "The URL must begin with http:// or https://.";
    case HttpErrorCode::cannotFindHost:
        return "No server with this name was found.";
    case HttpErrorCode::cannotConnect:
        return "Could not connect to the server.";
    case HttpErrorCode::secureConnectionFailed:
        return "Could not make a secure connection to the server.";
    case HttpErrorCode::connectionLost:
        return "The server closed the connection before its reply was complete.";
    case HttpErrorCode::timedOut:
        return "The request timed out.";
    case HttpErrorCode::cancelled:
        return "The request was cancelled.";
    case HttpErrorCode::tooLarge:
        return "The reply of the server is too large.";
    case HttpErrorCode::badServerResponse:
        return "The server gave an invalid reply.";
    case HttpErrorCode::cannotParseResponse:
        return "The reply of the server could not be read.";
    case HttpErrorCode::failed:
        break;
    }
    return "The request failed.";
}

} // namespace

HttpError httpError(HttpErrorCode code) {
    return {code, lineOf(code)};
}

} // namespace torvo
