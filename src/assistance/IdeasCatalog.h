#pragma once

#include <span>
#include <string_view>

namespace torvo {

/// An example command of the gallery.
struct Idea {
    /// What its button shows.
    std::string_view title;
    /// The command text.
    std::string_view input;
};

struct IdeaGroup {
    std::string_view name;
    std::span<const Idea> ideas;
};

namespace IdeasCatalog {

/// All ideas, in the order in which they are shown.
[[nodiscard]] std::span<const IdeaGroup> groups();

} // namespace IdeasCatalog

} // namespace torvo
