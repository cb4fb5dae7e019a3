// The image tool against the `vips` program on the same files, both writing jpeg of quality 75.
#include "Program.h"
#include "Ratio.h"
#include "tests/support/TemporaryFolder.h"

#include <string>

using namespace torvo::bench;
using torvo::testing::TemporaryFolder;

namespace {

void convertBySips(const std::string& name) {
    static const std::string program = TORVO_BIN_DIR "/sips";
    runProgram({program, "-s", "format", "jpeg", "-s", "formatOptions", "75", name + ".png", "--out", name + ".jpg"});
}

void convertByVips(const std::string& name) {
    runProgram({"vips", "copy", name + ".png", name + "-vips.jpg[Q=75]"});
}

} // namespace

int main() {
    const TemporaryFolder folder;
    const std::string large = (folder / "large").path();
    runProgram({"/usr/bin/convert", "-size", "500x375", "-seed", "1", "plasma:fractal", "-resize", "4000x3000",
                "-attenuate", "0.1", "+noise", "Gaussian", "-depth", "8", "PNG24:" + large + ".png"});
    reportRatio("png to jpeg, 12 megapixels", [&] { convertByVips(large); }, [&] { convertBySips(large); }, 1.0, 7);

    constexpr int kFiles = 100;
    const auto small = [&](int file) { return (folder / fmt::format("small-{}", file % kFiles)).path(); };
    for (int file = 0; file < kFiles; ++file) {
        runProgram({"/usr/bin/convert", "-size", "64x64", "-seed", std::to_string(file), "plasma:fractal", "-depth",
                    "8", fmt::format("PNG24:{}.png", small(file))});
    }
    int nextByVips = 0;
    int nextBySips = 0;
    reportRatio(
        "png to jpeg, one small file of 100 a run", [&] { convertByVips(small(nextByVips++)); },
        [&] { convertBySips(small(nextBySips++)); }, 0.35, kFiles);
}
