#include "planning/PlanningPrompt.h"

#include "support/Text.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace torvo::PlanningPrompt {

namespace {

constexpr std::string_view kOpening =
    R"(You turn a request in plain words into ONE macOS shell command, run by zsh, for the person's Finder. On this machine the commands run on Linux with GNU utilities; sips and mdfind are provided.

Answer with a single JSON object and nothing else: no prose around it, no markdown fence. Its form is:
{"kind": "select" | "run", "runnable": boolean, "command": string, "explanation": string, "destructive": boolean, "preview": string}

Choose "kind" by what is wanted:
- "select": to select, highlight or find files without changing any. "command" is then a read-only listing command (find, ls, mdfind or stat; never rm, mv or anything that writes) which prints one matching file path per line. Exactly those files become the Finder selection.
- "run": to transform, convert, create, compress or delete files. "command" then does the work.

Context:
- The selected files are handed to the command as shell positional arguments: "$1", "$2", … and "$@" for all of them, with their exact paths. )";

constexpr std::string_view kFolderLead = "\n- The folder open in Finder (search HERE for \"select\" commands): ";

constexpr std::string_view kRulesBeforeExample = R"(

Rules:
- For "run", name the selected files through the positional variables alone and never type a file name: names may hold characters that you cannot reproduce. Build each output path from its input variable by shell expansion, so that the output lands in the same folder under a derived name. Leave the originals as they are, neither overwritten nor deleted, unless the request says otherwise.
    • compress one video: ffmpeg -y -i "$1" -vcodec libx264 -crf 28 "${1%.*}-compressed.mov"
    • change extension: magick "$1" "${1%.*}.png"
    • every selected file: for f in "$@"; do sips -Z 1000 "$f" --out "${f%.*}-small.${f##*.}"; done
- For "select", search the open folder and print one matching path per line, absolute or relative to that folder, for example `find ")";

constexpr std::string_view kExampleEnd =
    "\" -maxdepth 1 -size +10M`. The positional variables are not used for \"select\".\n- Available tools: ";

constexpr std::string_view kRulesAfterTools = R"(, plus standard Unix utilities (find, ls, stat, mdfind).
- To crop is to cut pixels away, not to resize. For an exact crop use sips --cropToHeightWidth HEIGHT WIDTH "$f" --out "${f%.*}-cropped.${f##*.}". Never use sips -Z to crop: it only resizes the longest side and makes no square image.
- Never use sudo. The command must be non-interactive: it may ask nothing. Give ffmpeg the flag -y. Always put the variables in double quotes.
- "explanation" is one short sentence in plain English.
- "destructive" (run only) is true only when the command deletes, overwrites or moves existing files. Writing new output files is not destructive.
- "preview" (optional, run only): when existing files are renamed or moved (rename, renumber, organize), give a read-only command that prints the planned change of each file, one per line: the old absolute path, a tab, the new absolute path. Torvo shows it as a before-and-after table to confirm and then runs "command". The preview must go through "$@" in the same way as the command. For "number these":
    • preview: i=1; for f in "$@"; do printf '%s\t%s\n' "$f" "$(dirname "$f")/$(printf '%03d' $i).${f##*.}"; i=$((i+1)); done
    • command: i=1; for f in "$@"; do mv "$f" "$(dirname "$f")/$(printf '%03d' $i).${f##*.}"; i=$((i+1)); done
- Whenever the request can be done, "runnable" is true and "command" is filled in. Only when it is impossible, "runnable" is false, "command" is empty, and "explanation" says why.)";

constexpr std::array<std::string_view, 7> kOptionalTools{"ffmpeg", "magick",   "convert", "gs",
                                                         "qpdf",   "pdfunite", "exiftool"};
constexpr std::array<std::string_view, 4> kToolFolders{"/opt/homebrew/bin", "/usr/local/bin", "/usr/bin", "/bin"};

/// The kind of one file as the model sees it: ".png", or "(no extension)".
std::string extensionLabel(const FileURL& file) {
    const auto extension = file.pathExtension();
    return extension.empty() ? "(no extension)" : "." + lowercased(extension);
}

} // namespace

std::string systemPrompt(const FinderContext& context, const std::vector<std::string>& tools) {
    const auto folder = context.folder ? context.folder->path() : "(no Finder window open)";
    return fmt::format("{}{}{}{}{}{}{}{}{}", kOpening, selectionText(context.selection), kFolderLead, folder,
                       kRulesBeforeExample, folder, kExampleEnd, joined(tools, ", "), kRulesAfterTools);
}

std::string selectionText(const std::vector<FileURL>& selection) {
    if (selection.empty())
        return "No files are currently selected.";
    std::vector<std::string> labels;
    std::ranges::transform(selection, std::back_inserter(labels), extensionLabel);
    return fmt::format("There are {} selected file(s): {}.", selection.size(), joined(labels, ", "));
}

std::string repairRequest(std::string_view lastInput, std::string_view lastError) {
    return fmt::format("{}\n\nThe previous attempt failed with this error: {}\nProvide a corrected command.", lastInput,
                       lastError);
}

std::vector<std::string> availableTools() {
    std::vector<std::string> tools{"sips", "zip"};
    for (const auto tool : kOptionalTools) {
        if (toolExists(tool))
            tools.emplace_back(tool);
    }
    return tools;
}

bool toolExists(std::string_view name) {
    return std::ranges::any_of(kToolFolders, [&](std::string_view folder) {
        const auto path = fmt::format("{}/{}", folder, name);
        struct stat status{};
        return ::access(path.c_str(), X_OK) == 0 && ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    });
}

} // namespace torvo::PlanningPrompt
