// Whatever a command prints: its lines, paths, preview rows and error line are read without harm.
#include "Require.h"
#include "execution/ActionRunner.h"
#include "execution/ErrorLine.h"
#include "execution/PreviewRow.h"
#include "support/Text.h"
#include "support/Utf8.h"

#include <algorithm>
#include <unordered_set>

using namespace torvo;
using namespace torvo::fuzz;

namespace {

bool isOneLine(std::string_view text) {
    return text.find_first_of("\n\r\v\f") == std::string_view::npos;
}

void requirePrintable(std::string_view text) {
    require(isValidUTF8(printable(text)), "printable text is UTF-8");
    require(!isValidUTF8(text) || printable(text) == text, "well-formed text stays");
    const auto line = printableLine(text);
    require(isValidUTF8(line) && splitLines(line).size() <= 1, "a printable line is one line");
    require(canonicallyEqual(text, text) && lowercased(lowercased(text)) == lowercased(text), "lower case is final");
}

void requirePaths(std::string_view output) {
    const FileURL folder("/folder");
    const auto paths = resolvePaths(output, folder, [](const FileURL&) { return true; });
    require(paths.size() <= split(output, '\n').size(), "a line names a file at most");
    // Names may hold every other kind of line break.
    for (const auto& path : paths)
        require(path.path().starts_with('/') && !contains(path.path(), "\n"), "paths are absolute");
}

void requireRows(std::string_view output) {
    const auto rows = parsePreview(output);
    std::vector<FileURL> sources;
    for (const auto& row : rows) {
        require(!row.from.empty() && isOneLine(row.from), "a row has a source");
        require(!row.to || (!row.to->empty() && isOneLine(*row.to)), "a destination is a line");
        if (row.from.starts_with('/'))
            sources.emplace_back(row.from);
    }
    // In a file system where every folder exists and every name is free.
    const PathChecks checks{[](const FileURL&) { return true; }, [](const FileURL&) { return false; }};
    if (previewValidationError(rows, sources, checks))
        return;
    std::unordered_set<FileURL> destinations;
    for (const auto& row : rows)
        require(row.to && destinations.insert(FileURL(*row.to).standardized()).second, "no two files onto one name");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = textOf(data, size);
    requirePrintable(text);
    requirePaths(text);
    requireRows(text);
    const auto half = text.size() / 2;
    for (const auto& line : {errorLine(text, "", 1), errorLine(text.substr(0, half), text.substr(half), 1)})
        require(!line.empty() && isOneLine(line), "an error line is one line");
    return 0;
}
