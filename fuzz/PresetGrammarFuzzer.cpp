// Whatever is typed: the preset grammar answers with well-formed actions, and the same for the normalised text.
#include "Require.h"
#include "planning/PresetEngine.h"
#include "support/Text.h"

#include <algorithm>
#include <array>

using namespace torvo;
using namespace torvo::fuzz;

namespace {

bool isExtension(std::string_view text) {
    return !text.empty() && text.size() <= 8 &&
           std::ranges::all_of(text, [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

void requireWellFormed(const Action& action) {
    if (const auto* convert = std::get_if<ConvertImages>(&action)) {
        constexpr std::array<std::string_view, 6> kFormats{"jpg", "png", "tiff", "gif", "bmp", "heic"};
        require(std::ranges::find(kFormats, convert->toExt) != kFormats.end(), "conversion knows the format");
        return;
    }
    if (std::holds_alternative<ZipSelection>(action))
        return;
    const auto* select = std::get_if<Select>(&action);
    require(select != nullptr, "presets never run commands");
    if (const auto* extensions = std::get_if<SelectionSpec::Extensions>(&select->spec.value)) {
        require(!extensions->list.empty(), "a selection by type names a type");
        require(std::ranges::all_of(extensions->list, isExtension), "extensions are short, lower case and plain");
        auto sorted = extensions->list;
        std::ranges::sort(sorted);
        require(std::ranges::adjacent_find(sorted) == sorted.end(), "no extension comes twice");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = textOf(data, size);
    const auto action = PresetEngine::match(text);
    if (action)
        requireWellFormed(*action);

    const auto normalized = PresetEngine::normalize(text);
    require(!contains(normalized, "  ") && !contains(normalized, "\t"), "words are one space apart");
    require(!normalized.starts_with(' ') && !normalized.ends_with(' '), "no space at the ends");
    // One final "." goes away at a time, and uncovers what stood before it.
    const bool isFinal = !normalized.ends_with('.') && trimmed(normalized, TextTrim::spacesAndLineBreaks) == normalized;
    if (isFinal) {
        require(PresetEngine::normalize(normalized) == normalized, "normalising twice changes nothing");
        require(PresetEngine::match(normalized) == action, "the normalised text means the same");
    }
    return 0;
}
