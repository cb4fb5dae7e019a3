// The classification keeps its promises on every text.
#include "Require.h"
#include "model/CommandSafety.h"
#include "model/ShellText.h"
#include "support/Text.h"

#include <algorithm>
#include <string>

using namespace torvo;
using namespace torvo::fuzz;

namespace {

void requireWordsInOrder(std::string_view text) {
    const char* end = text.data();
    for (const auto word : shellLikeWords(text)) {
        require(!word.empty(), "no word is empty");
        require(word.data() >= end && word.data() + word.size() <= text.data() + text.size(),
                "words are parts of the text, in order");
        end = word.data() + word.size();
    }
}

void requireStripped(std::string_view text) {
    const auto stripped = strippingQuotedContent(text);
    require(stripped.size() <= text.size(), "stripping never lengthens");
    require(std::ranges::count(stripped, '"') <= 1 && std::ranges::count(stripped, '\'') <= 1,
            "only an unmatched quote stays");
}

void requireConsistent(std::string_view text) {
    const bool isDestructive = looksDestructive(text);
    const bool isDestructiveAnyway = looksDestructive(text, SafeSubstitutions::allowed);
    require(isDestructive || !isDestructiveAnyway, "allowing more never finds more");
    require(isDestructive == looksDestructive(lowercased(text)), "case does not matter");
    if (isSafePreviewCommand(text))
        require(!isDestructiveAnyway && commandSubstitutionsAreSafe(text), "a safe preview is harmless");
    if (isProvablyReadOnlySelectionCommand(text)) {
        require(strippingQuotedContent(lowercased(text)).find_first_of("\n&><") == std::string::npos,
                "a listing redirects nothing");
        require(!contains(text, "`") || contains(text, "'"), "a listing substitutes nothing");
    }
}

/// A dangerous command stays one whatever stands before or after it.
void requireDangerSeen(const std::string& text) {
    const std::string before = "rm x; " + text;
    const std::string after = text + "; rm x";
    for (const auto& command : {before, after}) {
        require(looksDestructive(command, SafeSubstitutions::allowed), "rm is seen");
        require(!isSafePreviewCommand(command), "rm is no preview");
    }
    require(!isProvablyReadOnlySelectionCommand(before), "rm is no listing");
    require(text.ends_with('\\') || !isProvablyReadOnlySelectionCommand(after), "a second command is no listing");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = textOf(data, size);
    requireWordsInOrder(text);
    requireStripped(text);
    requireConsistent(text);
    requireDangerSeen(std::string(text));
    return 0;
}
