#pragma once

#include "platform/HttpSession.h"

/// The only function of the module torvo-http.so: its HTTP client, which lives as long as the program.
extern "C" torvo::HttpSession* torvoHttpSession();
