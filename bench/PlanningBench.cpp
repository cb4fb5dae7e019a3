// What understanding a typed text costs: classification, preset grammar, prompt and command log.
#include "AdversarialInputs.h"
#include "Ratio.h"
#include "execution/CommandLog.h"
#include "linux/SettingsFile.h"
#include "model/CommandSafety.h"
#include "planning/PlanningPrompt.h"
#include "planning/PresetEngine.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <malloc.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

using namespace torvo;
using namespace torvo::bench;
using torvo::testing::TemporaryFolder;

namespace {

struct Classifier {
    std::string_view name;
    bool (*classify)(std::string_view);
};

constexpr std::array kClassifiers{
    Classifier{"looksDestructive", [](std::string_view text) { return looksDestructive(text); }},
    Classifier{"looksDestructive, substitutions allowed",
               [](std::string_view text) { return looksDestructive(text, SafeSubstitutions::allowed); }},
    Classifier{"isProvablyReadOnlySelectionCommand", &isProvablyReadOnlySelectionCommand},
    Classifier{"isSafePreviewCommand", &isSafePreviewCommand},
};

/// A lower-case copy and one scan for a byte that is not there.
bool lowerAndScan(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = static_cast<char>(c + ((c >= 'A' && c <= 'Z') ? 'a' - 'A' : 0));
    keep(lower);
    return lower.find('`') != std::string::npos;
}

void benchClassification() {
    struct Row {
        const char* name;
        std::string text;
        bool (*classify)(std::string_view);
    };
    const std::string work = R"(for f in "$@"; do ffmpeg -i "$f" -vcodec libx264 -crf 28 -preset slow -acodec aac )"
                             R"(-b:a 128k "${f%.*}-small.mov"; sips -Z 1000 "$f" --out "${f%.*}-small.png" && )"
                             R"(magick "$f" -quality 85 x.jpg; done)";
    const std::string listing = R"(find "/home/someone/Pictures/2024 Summer" -maxdepth 3 -type f -name '*.jpg' )"
                                R"(-size +10M -newermt '2024-01-01' -exec stat -c '%s %n' {} \; | sort -rn | )"
                                R"(head -n 20 | cut -d ' ' -f 2- | grep -v archive)";
    const std::string other = "for f in \"$@\"; do sips -Z 1000 \"$f\" --out \"R\u00E9sum\u00E9 de l'\u00E9t\u00E9 "
                              "\u2013 ${f%.*} \u65E5\u672C\u8A9E.png\"; done; echo fini, tout est pr\u00EAt dans le "
                              "dossier; ls -la -h --sort=time \"R\u00E9sum\u00E9\" | head -n 5";
    const Row rows[] = {
        {"looksDestructive", work, kClassifiers[0].classify},
        {"looksDestructive", listing, kClassifiers[0].classify},
        {"looksDestructive, accents", other, kClassifiers[0].classify},
        {"isProvablyReadOnlySelectionCommand", listing, kClassifiers[2].classify},
    };
    for (const auto& [name, text, classify] : rows) {
        const auto times = compare(repeated(2000, [&] { keep(lowerAndScan(text)); }),
                                   repeated(2000, [&] { keep(classify(text)); }), 41, TimeSource::processor);
        reportRatio(fmt::format("{}, {} bytes (x2000)", name, text.size()), times, 20);
    }
}

/// How much longer four times the text takes, on the input that is worst for each classifier.
void benchGrowth() {
    // Giving freed memory back to the system and taking it again is the allocator's doing, and would hide the rest.
    ::mallopt(M_TRIM_THRESHOLD, 64 << 20);
    ::mallopt(M_MMAP_THRESHOLD, 64 << 20);
    for (const auto& [name, classify] : kClassifiers) {
        double worst = 0;
        std::string worstInput;
        for (const auto& input : adversarialInputs()) {
            const auto small = input.ofSize(25'000);
            const auto large = input.ofSize(100'000);
            const double once = secondsOf([&] { keep(classify(small)); }, TimeSource::processor);
            const int times = std::max(1, static_cast<int>(std::ceil(3e-4 / once)));
            // The fastest of several: among so many medians, the worst is the one that was disturbed.
            double fastestSmall = 1;
            double fastestLarge = 1;
            for (int round = 0; round < 11; ++round) {
                const auto timeOf = [&](const std::string& text) {
                    return secondsOf(repeated(times, [&] { keep(classify(text)); }), TimeSource::processor);
                };
                fastestSmall = std::min(fastestSmall, timeOf(small));
                fastestLarge = std::min(fastestLarge, timeOf(large));
            }
            if (const double growth = fastestLarge / fastestSmall; growth > worst) {
                worst = growth;
                worstInput = input.name;
            }
        }
        reportValue(fmt::format("{}: 100 KB beside 25 KB", name), worst, fmt::format("times ({})", worstInput), 5);
    }
}

void benchPreset() {
    constexpr std::array<std::string_view, 20> kTyped{
        "s",
        "select",
        "select all",
        "select images and videos",
        "Select all PNG, JPG and *.tiff files.",
        "highlight every photo, video, song, document and archive",
        "select images videos audio documents archives pdf 7z",
        "select .abcdefgh",
        "select big files",
        "deselect all",
        "clear selection",
        "jpg",
        "convert to jpeg",
        "make it into a png",
        "zip",
        "compress these",
        "compress this video to half its size",
        "rename these by date taken and put them into folders by month",
        "s\u00E9lectionne les images prises cet \u00E9t\u00E9",
        "\u5199\u771F\u3092\u9078\u629E\u3057\u3066\u304F\u3060\u3055\u3044",
    };
    double worst = 0;
    std::string_view worstText;
    for (const auto text : kTyped) {
        constexpr int kTimes = 200;
        const auto match = repeated(kTimes, [&] { keep(PresetEngine::match(text)); });
        std::vector<double> times;
        for (int i = 0; i < 41; ++i)
            times.push_back(secondsOf(match, TimeSource::processor));
        if (const double time = median(times) / kTimes * 1e6; time > worst) {
            worst = time;
            worstText = text;
        }
    }
    reportValue("preset match of a key stroke", worst, fmt::format("us (\"{}\")", worstText), 5);
}

void benchPrompt() {
    FinderContext context{FileURL("/home/someone/Pictures"), {}};
    for (int i = 0; i < 20; ++i)
        context.selection.emplace_back(fmt::format("/home/someone/Pictures/IMG_{:04}.jpg", i));
    std::vector<std::string> probes;
    for (const auto* const tool : {"ffmpeg", "magick", "convert", "gs", "qpdf", "pdfunite", "exiftool"}) {
        for (const auto* const folder : {"/opt/homebrew/bin", "/usr/local/bin", "/usr/bin", "/bin"})
            probes.push_back(fmt::format("{}/{}", folder, tool));
    }
    const auto prompt = PlanningPrompt::systemPrompt(context, PlanningPrompt::availableTools());
    std::string copy(prompt.size(), ' ');
    const auto floor = [&] {
        for (const auto& path : probes)
            keep(::access(path.c_str(), X_OK));
        std::memcpy(copy.data(), prompt.data(), prompt.size());
        keep(copy);
    };
    const auto assemble = [&] { keep(PlanningPrompt::systemPrompt(context, PlanningPrompt::availableTools())); };
    reportRatio("prompt with 20 files selected (x20)",
                compare(repeated(20, floor), repeated(20, assemble), 101, TimeSource::processor), 2);
}

/// Does at once what the real queue does on its thread, so that all of the work is measured.
class ImmediateQueue final : public SerialQueue {
  public:
    void async(std::function<void()> task) override { task(); }
    void sync(const std::function<void()>& task) override { task(); }
};

void benchLog() {
    const TemporaryFolder folder;
    SettingsFile settings(folder / "settings.json");
    if (!settings.set("commandLoggingEnabled", true))
        std::exit(1);
    ImmediateQueue queue;
    CommandLog log(folder / "command-log.jsonl", settings, queue);
    const UUID id = UUID::random();
    const std::string reply(600, 'x');
    const auto append = [&] { log.response(id, reply); };
    append();
    const std::string line = torvo::testing::readFile(log.fileURL());
    const std::string barePath = (folder / "bare.jsonl").path();
    const auto appendBare = [&] {
        const int descriptor = ::open(barePath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        keep(::write(descriptor, line.data(), line.size()));
        ::close(descriptor);
    };
    reportRatio("append to the command log (x20)",
                compare(repeated(20, appendBare), repeated(20, append), 101, TimeSource::processor), 3);
}

} // namespace

int main() {
    benchClassification();
    benchGrowth();
    benchPreset();
    benchPrompt();
    benchLog();
}
