#include "execution/ImageConversion.h"

#include "linux/LinuxProcessHost.h"
#include "tests/support/Eventually.h"
#include "tests/support/RunReports.h"
#include "tests/support/SipsRun.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::namesIn;
using testing::namesOf;
using testing::readFile;
using testing::shown;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using Names = std::vector<std::string>;

/// Converts with the real image tool unless a test puts a script in its place.
class ImageConversionTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        const TemporaryFolder folder;
        testing::draw({"-size", "300x300", "xc:red", (folder / "red.png").path()});
        s_picture = readFile(folder / "red.png");
    }

    /// A picture under any name: the tool looks at its bytes.
    FileURL picture(std::string_view name) const { return m_folder.file(name, s_picture); }
    void useScript(const std::string& script) {
        m_conversionTools.imageTool = m_tools.program("tool", "#!/bin/zsh\n" + script).path();
    }
    RunOutcome convert(std::string_view toExt, const std::vector<FileURL>& selection) {
        return convertImages(toExt, selection, m_conversionTools, m_processes, m_selector,
                             [this](const OperationProgress& report) {
                                 m_progress.push_back(report);
                                 if (report.completed == m_cancelAt)
                                     m_processes.cancel();
                             });
    }

    static inline std::string s_picture;
    TemporaryFolder m_folder;
    TemporaryFolder m_tools;
    LinuxProcessHost m_host;
    ProcessRunner m_processes{m_host};
    testing::RecordingSelector m_selector;
    ConversionTools m_conversionTools{.imageTool = TORVO_BIN_DIR "/sips"};
    std::vector<OperationProgress> m_progress;
    std::optional<std::size_t> m_cancelAt = 1000;
};

TEST_F(ImageConversionTest, NamesTheNewFileAfterItsSourceWithoutTakingATakenName) {
    struct Row {
        const char* source;
        const char* toExt;
        Names taken;
        const char* link;
        const char* result;
        const char* format;
    };
    const Row rows[] = {
        {"a.png", "jpg", {}, nullptr, "a.jpg", "JPEG"},
        {"a.png", "jpg", {"a.jpg", "a-1.jpg"}, nullptr, "a-2.jpg", "JPEG"},
        {"a.png", "jpg", {"a-1.jpg"}, "a.jpg", "a-2.jpg", "JPEG"},
        {"x.jpeg", "jpg", {}, nullptr, "x.jpg", "JPEG"},
        {"UPPER.PNG", "tif", {}, nullptr, "UPPER.tif", "TIFF"},
        {"p.q.png", "gif", {"p.gif"}, nullptr, "p.q.gif", "GIF"},
        {"a-1.png", "bmp", {"a-1.bmp"}, nullptr, "a-1-1.bmp", "BMP"},
    };
    for (const auto& row : rows) {
        const auto place = m_folder.folder(std::to_string(&row - rows));
        const std::string inside = std::string(place.lastPathComponent()) + "/";
        for (const auto& name : row.taken)
            (void)m_folder.file(inside + name, "taken");
        if (row.link != nullptr)
            std::filesystem::create_symlink("nowhere", place.appendingPath(row.link).path());
        const auto outcome = convert(row.toExt, {picture(inside + row.source)});
        ASSERT_THAT(namesOf(testing::outputsOf(outcome)), ElementsAre(row.result)) << shown(outcome);
        EXPECT_THAT(testing::identify(testing::outputsOf(outcome)[0].path(), "%m"), StartsWith(row.format));
        for (const auto& name : row.taken)
            EXPECT_EQ(readFile(place.appendingPath(name)), "taken");
        EXPECT_FALSE(place.appendingPath("nowhere").isOccupied());
    }
}

TEST_F(ImageConversionTest, ConvertsOnlyImagesOfAnotherKindAndCountsThem) {
    const std::vector<FileURL> selection{picture("a.png"), picture("b.jpg"), m_folder.file("notes.txt"),
                                         picture("a.gif"), picture("c.JPG")};
    const auto outcome = convert("jpg", selection);
    EXPECT_EQ(shown(outcome), "completed: Converted 2 images to JPG");
    EXPECT_THAT(namesOf(testing::outputsOf(outcome)), ElementsAre("a.jpg", "a-1.jpg"));
    EXPECT_THAT(m_selector.selections, ElementsAre(testing::outputsOf(outcome)));
    EXPECT_THAT(m_progress,
                ElementsAre(OperationProgress{"Preparing 2 images…", 0, 2}, OperationProgress{"Converted a.png", 1, 2},
                            OperationProgress{"Converted a.gif", 2, 2}));
    m_progress.clear();
    EXPECT_EQ(shown(convert("png", {m_folder / "a.jpg"})), "completed: Converted 1 image to PNG");
    EXPECT_EQ(m_progress.front().label, "Preparing 1 image…");
    m_progress.clear();
    for (const auto& nothing : std::vector<std::vector<FileURL>>{{m_folder / "c.JPG"}, {m_folder / "notes.txt"}, {}})
        EXPECT_EQ(shown(convert("jpg", nothing)), "noop: The selected images are already JPG files");
    EXPECT_THAT(m_progress, IsEmpty());
    EXPECT_EQ(m_selector.selections.size(), 2U);
}

TEST_F(ImageConversionTest, TakesNamesOfAnyKind) {
    std::vector<FileURL> selection;
    for (const auto& name : testing::oddNames(".png"))
        selection.push_back(picture(name));
    const auto outcome = convert("jpg", selection);
    EXPECT_EQ(namesOf(testing::outputsOf(outcome)), testing::oddNames(".jpg")) << shown(outcome);
    for (const auto& made : testing::outputsOf(outcome))
        EXPECT_EQ(readFile(made).substr(0, 2), "\xff\xd8") << made.path();
    EXPECT_EQ(namesIn(m_folder.path()).size(), 2 * selection.size());
}

TEST_F(ImageConversionTest, LeavesNothingBehindWhenOneOfManyFails) {
    std::vector<FileURL> selection{picture("a.png"), picture("b.png"), m_folder.file("c.png", "no picture"),
                                   picture("d.png"), picture("e.png")};
    const auto before = namesIn(m_folder.path());
    EXPECT_THAT(shown(convert("jpg", selection)), StartsWith("failure: Couldn't convert c.png: "));
    EXPECT_EQ(namesIn(m_folder.path()), before);
    EXPECT_EQ(readFile(selection[0]), s_picture);
    EXPECT_EQ(m_progress.back(), (OperationProgress{"Converted b.png", 2, 5}));

    EXPECT_THAT(shown(convert("jpg", {m_folder / "a.png", m_folder / "gone.png"})),
                StartsWith("failure: Couldn't convert gone.png: "));
    useScript("exit 0");
    EXPECT_EQ(shown(convert("jpg", {m_folder / "a.png"})), "failure: Couldn't convert a.png: exit code 0");
    m_conversionTools.imageTool = (m_tools / "missing").path();
    EXPECT_THAT(shown(convert("jpg", {m_folder / "a.png"})), StartsWith("failure: Couldn't convert a.png: "));
    EXPECT_EQ(namesIn(m_folder.path()), before);
    EXPECT_THAT(m_selector.selections, IsEmpty());
}

TEST_F(ImageConversionTest, LeavesNothingBehindWhenCancelled) {
    const std::vector<FileURL> selection{picture("a.png"), picture("b.png"), picture("c.png")};
    const auto before = namesIn(m_folder.path());
    for (const std::size_t step : {0, 1, 2}) {
        m_processes.clearCancelled();
        m_cancelAt = step;
        EXPECT_EQ(shown(convert("jpg", selection)), "failure: Cancelled");
        EXPECT_EQ(m_progress.back().completed, step);
        EXPECT_EQ(namesIn(m_folder.path()), before);
    }

    m_processes.clearCancelled();
    m_cancelAt = 1000;
    useScript("print half > ${@[-1]}; sleep 300");
    std::thread user([&] {
        EXPECT_TRUE(testing::eventually([&] { return (m_folder / "a.jpg").exists(); }));
        m_processes.cancel();
    });
    EXPECT_EQ(shown(convert("jpg", selection)), "failure: Cancelled");
    user.join();
    EXPECT_EQ(namesIn(m_folder.path()), before);
    EXPECT_THAT(m_selector.selections, IsEmpty());
}

TEST_F(ImageConversionTest, LeavesNothingBehindOnAFullDisk) {
    const testing::SmallDisk disk(400 << 10);
    if (!disk.isMounted())
        GTEST_SKIP() << "mounting a small file system is not permitted here";
    // Each of the new files takes 270 KB.
    const std::vector<FileURL> selection{disk.folder().file("a.png", s_picture),
                                         disk.folder().file("b.png", s_picture)};
    EXPECT_THAT(shown(convert("bmp", selection)), StartsWith("failure: Couldn't convert b.png: "));
    EXPECT_THAT(namesIn(disk.folder().path()), ElementsAre("a.png", "b.png"));
    EXPECT_EQ(m_progress.back().completed, 1U);
}

} // namespace
} // namespace torvo
