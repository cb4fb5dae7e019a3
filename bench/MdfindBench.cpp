// Searching 100,000 files by name, against `find DIR -name` on the same tree.
#include "Program.h"
#include "Ratio.h"
#include "tests/support/TemporaryFolder.h"

#include <string>
#include <vector>

using namespace torvo::bench;
using torvo::testing::TemporaryFolder;

namespace {

/// A thousand folders of a hundred files; a hundredth of the files are pictures.
void fill(const TemporaryFolder& tree) {
    for (int folder = 0; folder < 1000; ++folder) {
        const auto path = fmt::format("group {}/folder {}", folder / 50, folder);
        for (int file = 0; file < 100; ++file)
            (void)tree.file(fmt::format("{}/Document number {}.{}", path, file, file == 7 ? "png" : "txt"));
    }
}

void search(const TemporaryFolder& tree, const std::vector<std::string>& query, const std::string& pattern) {
    std::vector<std::string> own{TORVO_BIN_DIR "/mdfind", "-onlyin", tree.path()};
    own.insert(own.end(), query.begin(), query.end());
    const auto times = compare([&] { runProgram({"find", tree.path(), "-name", pattern}); }, [&] { runProgram(own); });
    const auto name = fmt::format("mdfind {} in 100,000 files", fmt::join(query, " "));
    reportRatio(name, times, 1.0);
    reportValue("  in all", times.work, "s", 1.0);
}

} // namespace

int main() {
    const TemporaryFolder tree;
    fill(tree);
    search(tree, {"-name", "number 7."}, "*number 7.*");
    search(tree, {"document"}, "*Document*");
    search(tree, {"kind:image"}, "*.png");
}
