#include "tests/support/SipsRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace torvo::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Strings = std::vector<std::string>;

std::string drawPlasma(const TemporaryFolder& folder, const std::string& name, const std::string& size = "60x40") {
    const std::string path = (folder / name).path();
    draw({"-size", size, "plasma:red-blue", "-depth", "8", "-strip", path});
    return path;
}

bool isOneLine(const std::string& text) {
    return text.ends_with('\n') && std::ranges::count(text, '\n') == 1;
}

/// A png that says it is `side` pixels wide and high and holds next to nothing.
std::string hugePng(unsigned side) {
    using namespace std::string_literals;
    const auto number = [](unsigned value) {
        return std::string{static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const auto chunk = [&](const std::string& type, const std::string& data) {
        unsigned sum = 0xFFFFFFFF;
        for (const char byte : type + data) {
            sum ^= static_cast<unsigned char>(byte);
            for (int bit = 0; bit < 8; ++bit)
                sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
        }
        return number(static_cast<unsigned>(data.size())) + type + data + number(~sum);
    };
    return "\x89PNG\r\n\x1a\n"s + chunk("IHDR", number(side) + number(side) + "\x08\x02\0\0\0"s) +
           chunk("IDAT", "\x78\x9c\x63\0\0\0\x01\0\x01"s) + chunk("IEND", "");
}

TEST(SipsBadInput, isRefusedWithOneLineAndLeavesNothingBehind) {
    const TemporaryFolder folder;
    std::vector<std::pair<std::string, std::string>> rows{
        {"missing.png", "No such file"},
        {folder.file("empty.png").path(), "empty"},
        {folder.file("text.png", "This is not a picture.").path(), "not a picture"},
        {folder.folder("folder.png").path(), "Is a directory"},
        {folder.file("huge.png", hugePng(60'000)).path(), "60000 x 60000 is too large"},
        {folder.file("hollow.png", hugePng(3000)).path(), ""},
        {(folder / "pipe.png").path(), "not an ordinary file"},
        {"/dev/zero", "not an ordinary file"},
    };
    ASSERT_EQ(::mkfifo(rows[6].first.c_str(), 0600), 0);
    const std::string whole = drawPlasma(folder, "whole.png");
    for (const std::string format : {"png", "jpeg", "tiff", "gif", "bmp", "heic", "webp"}) {
        const std::string path = (folder / ("whole." + format)).path();
        ASSERT_EQ(run({"-s", "format", format, whole, "--out", path}).errors, "");
        const std::string content = readFile(FileURL(path));
        const std::string half = content.substr(0, content.size() / 2);
        rows.emplace_back(folder.file("half." + format, half).path(), "");
    }
    const TemporaryFolder target;
    for (const auto& [path, reason] : rows) {
        for (const std::string format : {"jpeg", "tiff"}) {
            const Ran ran = run({"-s", "format", format, path, "--out", (target / "out").path()});
            EXPECT_EQ(ran.status, 1) << path << " to " << format;
            EXPECT_THAT(ran.errors, StartsWith("sips: " + path + ": "));
            EXPECT_THAT(ran.errors, HasSubstr(reason));
            EXPECT_GT(ran.errors.size(), ("sips: " + path + ": ").size() + 5) << ran.errors;
            EXPECT_TRUE(isOneLine(ran.errors)) << ran.errors;
            EXPECT_THAT(namesIn(target.path()), ElementsAre()) << path;
        }
    }
}

/// Several workers, so that one of them is out of work while another one is still at the last rows.
TEST(SipsBadInput, thatLacksOnlyItsLastRowsIsRefusedEachTime) {
    const TemporaryFolder folder;
    const std::string png = (folder / "whole.png").path();
    draw({"-size", "6000x48", "xc:gray", "+noise", "Random", "-depth", "8", "-strip", "PNG24:" + png});
    const std::string jpeg = (folder / "whole.jpg").path();
    draw({png, "-sampling-factor", "1x1", "-quality", "90", jpeg});
    const auto withoutEnd = [](const std::string& path) {
        const std::string content = readFile(FileURL(path));
        return content.substr(0, content.size() - 20);
    };
    const std::string cut = folder.file("cut.png", withoutEnd(png)).path();
    const std::string mended = folder.file("mended.jpg", withoutEnd(jpeg) + "\xFF\xD9").path();
    const std::string out = (folder / "out").path();
    RunSettings manyWorkers;
    manyWorkers.environment = {"VIPS_CONCURRENCY=8"};
    const auto refuse = [&](const std::string& source, Strings how) {
        how.insert(how.end(), {source, "--out", out});
        const Ran ran = run(how, manyWorkers);
        EXPECT_EQ(ran.status, 1) << ::testing::PrintToString(how) << ": " << ran.errors;
        EXPECT_TRUE(isOneLine(ran.errors)) << ran.errors;
    };
    for (int attempt = 0; attempt < 6; ++attempt)
        refuse(cut, {"-s", "format", "png", "-Z", "30"});
    for (const std::string format : {"png", "jpeg", "tiff"}) {
        refuse(cut, {"-s", "format", format});
        refuse(mended, {"-s", "format", format});
    }
    EXPECT_FALSE(FileURL(out).exists());
    // A profile that is not one makes no picture damaged.
    const std::string content = readFile(FileURL(jpeg));
    const std::string profile = std::string("ICC_PROFILE\0\1\1", 14) + std::string(300, 'x');
    const std::string odd = content.substr(0, 2) + "\xFF\xE2\x01\x3C" + profile + content.substr(2);
    EXPECT_EQ(run({"-Z", "30", folder.file("odd.jpg", odd).path(), "--out", (folder / "odd.png").path()}).errors, "");
    // What follows a whole picture does not matter.
    const std::string longer = folder.file("longer.jpg", content + "more").path();
    EXPECT_EQ(run({"-Z", "30", longer, "--out", (folder / "longer.png").path()}).errors, "");
    // Each failure has its own reason.
    const std::string gif = folder.file("start.gif", "GIF89a").path();
    const Ran both = run({"-s", "format", "tiff", cut, gif, "--out", folder.folder("both").path()});
    EXPECT_THAT(both.errors, HasSubstr(gif + ": " + run({"-Z", "5", gif}).errors.substr(gif.size() + 8)));
}

TEST(SipsResult, thatWouldBeTooLargeIsRefused) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "a.png");
    const Ran ran = run({"-Z", "900000", source, "--out", (folder / "b.png").path()});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr("900000 x 600000 is too large"));
}

TEST(SipsTargetFile, thatCannotBeWrittenIsAFailureThatLeavesEverythingAsItWas) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "a.png");
    const FileURL kept = folder.file("kept.bmp", "old");
    for (const std::string target : {"/nowhere/b.jpg", "/dev/full", "/proc/b.jpg"}) {
        const Ran ran = run({"-s", "format", "jpeg", source, "--out", target});
        EXPECT_EQ(ran.status, 1) << target;
        EXPECT_THAT(ran.errors, AllOf(StartsWith("sips: " + source), HasSubstr(": cannot write " + target + ": ")));
        EXPECT_TRUE(isOneLine(ran.errors));
    }
    RunSettings fullDisk;
    fullDisk.largestFile = 1000;
    const Ran ran = run({source, "--out", kept.path()}, fullDisk);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr("cannot write"));
    EXPECT_EQ(readFile(kept), "old");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("a.png", "kept.bmp"));
}

TEST(SipsTargetFile, isReplacedInOneStepAndKeepsItsPermissionsAndItsLink) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "a.png");
    ASSERT_EQ(::chmod(source.c_str(), 0640), 0);
    const std::string link = (folder / "link.png").path();
    std::filesystem::create_symlink("a.png", link);
    ASSERT_EQ(run({"-Z", "30", link}).errors, "");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(identify(source, "%m %wx%h"), "PNG 30x20");
    EXPECT_EQ(std::filesystem::status(source).permissions(), std::filesystem::perms(0640));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("a.png", "link.png"));
}

TEST(SipsTargetFile, thatGetsAnotherFormatUnderItsOldNameIsPointedOut) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "a.png");
    const Ran ran = run({"-s", "format", "jpeg", source});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(identify(source, "%m"), "JPEG");
    EXPECT_EQ(ran.errors, "sips: " + source + ": note: the file holds jpeg now, which its name does not say\n");
}

TEST(SipsTargetFile, getsTheNameOfItsSourceInAFolder) {
    const TemporaryFolder folder;
    const std::string one = drawPlasma(folder, "one.png");
    const std::string two = drawPlasma(folder, "two.gif");
    const FileURL bad = folder.file("bad.png", "no");
    const FileURL out = folder.folder("out");
    const Ran ran = run({"-s", "format", "jpeg", one, bad.path(), two, "--out", out.path()});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, StartsWith("sips: " + bad.path() + ": "));
    EXPECT_TRUE(isOneLine(ran.errors));
    EXPECT_THAT(namesIn(out.path()), ElementsAre("one.jpg", "two.jpg"));

    const std::string other = drawPlasma(folder, "one.gif");
    const Ran clash = run({"-s", "format", "png", one, other, "--out", out.path()});
    EXPECT_EQ(clash.status, 1);
    EXPECT_THAT(clash.errors, HasSubstr("one.gif: would replace the result of another picture"));

    const Ran notAFolder = run({"-Z", "5", one, two, "--out", (folder / "new.png").path()});
    EXPECT_EQ(notAFolder.status, 2);
    EXPECT_FALSE((folder / "new.png").exists());
}

TEST(SipsNames, mayBeAnyBytes) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "plain.png");
    for (const std::string name : {"caf\xE9.png", "-Z", "a\nb.png", " .png", "'\"$(x)"}) {
        std::filesystem::copy_file(source, (folder / name).path());
        RunSettings inFolder;
        inFolder.folder = folder.path();
        ASSERT_EQ(run({"-s", "format", "jpeg", "--out", "out.jpg", "--", name}, inFolder).errors, "");
        EXPECT_EQ(identify((folder / "out.jpg").path(), "%m"), "JPEG");
        std::filesystem::remove((folder / "out.jpg").path());
        const Ran missing = run({"-Z", "5", "--", "no-" + name}, inFolder);
        EXPECT_TRUE(isOneLine(missing.errors)) << missing.errors;
        std::filesystem::remove((folder / name).path());
    }
}

TEST(SipsSignals, leaveNoTemporaryFile) {
    const TemporaryFolder folder;
    const TemporaryFolder streams;
    const std::string source = (folder / "a.png").path();
    draw({"-size", "5000x3000", "xc:red", "PNG24:" + source});
    const FileURL out = folder.folder("out");
    const FileURL whole = folder / "whole.bmp";
    ASSERT_EQ(run({"-s", "format", "bmp", source, "--out", whole.path()}).status, 0);
    const auto wholeSize = std::filesystem::file_size(whole.path());
    int caught = 0;
    for (int attempt = 0; attempt < 20 && caught < 2; ++attempt) {
        for (const int signal : {SIGTERM, SIGINT}) {
            const int process = start({"-s", "format", "bmp", source, "--out", out.path()}, {}, (streams / "o").path(),
                                      (streams / "e").path());
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            while (namesIn(out.path()).empty() && std::chrono::steady_clock::now() < deadline) {
            }
            ::kill(process, signal);
            const int status = statusOf(process);
            if (status != 0) {
                EXPECT_EQ(status, 128 + signal);
                // One that the signal came too late for is whole.
                for (const auto& name : namesIn(out.path())) {
                    EXPECT_EQ(name, "a.bmp");
                    EXPECT_EQ(std::filesystem::file_size(out.appendingPath(name).path()), wholeSize);
                }
                ++caught;
            }
            std::filesystem::remove((out.appendingPath("a.bmp")).path());
        }
    }
    EXPECT_GT(caught, 0) << "no signal came in time";
}

TEST(SipsProperties, arePrintedUnderTheAbsolutePath) {
    const TemporaryFolder folder;
    const std::string source = drawPlasma(folder, "a.png");
    RunSettings inFolder;
    inFolder.folder = folder.path();
    EXPECT_EQ(run({"-g", "pixelWidth", "-g", "format", "a.png"}, inFolder).output,
              source + "\n  pixelWidth: 60\n  format: png\n");
    const std::string webp = (folder / "clear.webp").path();
    draw({"-size", "9x5", "xc:#12345678", webp});
    EXPECT_EQ(run({"-g", "all", webp}).output,
              webp + "\n  pixelWidth: 9\n  pixelHeight: 5\n  format: webp\n  space: RGB\n  bitsPerSample: 8\n"
                     "  hasAlpha: yes\n");
    EXPECT_EQ(run({"--version"}).output.substr(0, 5), "sips ");
    EXPECT_THAT(run({"--help"}).output, HasSubstr("--resampleHeightWidthMax"));
}

} // namespace
} // namespace torvo::testing
