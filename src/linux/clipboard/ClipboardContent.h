#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace torvo {

/// One form in which the clipboard offers what is on it (ICCCM 2.6.2).
struct ClipboardForm {
    /// The name of the target atom: "text/uri-list", "UTF8_STRING", "image/png".
    std::string target;
    /// The name of the type atom of the data.
    std::string type;
    /// The bits of one item of the data: 8, 16 or 32.
    std::uint8_t format = 8;
    std::string bytes;
};

/// What is on the clipboard, in every form; empty for an empty one.
using ClipboardContent = std::vector<ClipboardForm>;

} // namespace torvo
