#pragma once

#include "Road.h"

/// The road that does everything, by libvips. It lives in a module of its own, which is loaded when a picture needs it:
/// libvips brings a hundred libraries along, and loading them takes longer than converting a small picture.
/// Null when libvips cannot be set up. The road lives as long as the process.
extern "C" [[gnu::visibility("default")]] torvo::sips::Road* torvoSipsFullRoad();
