#include "tests/support/Program.h"
#include "tests/support/Restricted.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using Texts = std::vector<std::string>;

/// Runs the real program in `folder`, which is its home folder too.
testing::Ran mdfind(const FileURL& folder, const Texts& arguments) {
    return testing::run(
        arguments,
        {.program = TORVO_BIN_DIR "/mdfind", .folder = folder.path(), .environment = {"HOME=" + folder.path()}});
}

/// What was found, relative to the folder, in the order of the output.
Texts found(const FileURL& folder, const Texts& arguments) {
    const auto answer = mdfind(folder, arguments);
    EXPECT_EQ(answer.status, 0) << answer.errors;
    EXPECT_EQ(answer.errors, "");
    Texts names;
    for (std::size_t at = 0; at < answer.output.size();) {
        const std::size_t end = answer.output.find('\n', at);
        const std::string path = answer.output.substr(at, end - at);
        EXPECT_THAT(path, StartsWith(folder.path() + "/"));
        names.push_back(path.substr(folder.path().size() + 1));
        at = end + 1;
    }
    return names;
}

class MdfindTest : public ::testing::Test {
  protected:
    [[nodiscard]] Texts find(const Texts& arguments) const { return found(m_folder.url(), arguments); }

    TemporaryFolder m_folder;
};

TEST_F(MdfindTest, FindsNamesThatContainEveryWordInAnyCase) {
    for (const char* name :
         {"Holiday Report.txt", "report 2024 holiday.pdf", "holiday.png", "sub/My HOLIDAY report", "caf\u00e9 menu.txt",
          "CAFE\u0301 prices.txt", "\u0391\u0398\u0397\u039d\u0391\u03a3.txt", "Stra\u00dfe.txt", "a*b.txt"})
        m_folder.file(name);
    EXPECT_THAT(find({"holiday report"}),
                ElementsAre("Holiday Report.txt", "report 2024 holiday.pdf", "sub/My HOLIDAY report"));
    EXPECT_EQ(find({"report", "HOLIDAY"}).size(), 3u);
    EXPECT_THAT(find({"\"holiday report\""}), ElementsAre("Holiday Report.txt", "sub/My HOLIDAY report"));
    EXPECT_THAT(find({"'my holiday'"}), ElementsAre("sub/My HOLIDAY report"));
    EXPECT_THAT(find({"-name", "holiday r"}), ElementsAre("Holiday Report.txt", "sub/My HOLIDAY report"));
    EXPECT_THAT(find({"-name", "holiday", "kind:pdf"}), ElementsAre("report 2024 holiday.pdf"));
    EXPECT_THAT(find({"-name", "*.PNG"}), ElementsAre("holiday.png"));
    EXPECT_THAT(find({"Caf\u00c9"}), ElementsAre("CAFE\u0301 prices.txt", "caf\u00e9 menu.txt"));
    EXPECT_THAT(find({"cafe"}), IsEmpty()) << "a letter with an accent is another letter";
    EXPECT_EQ(find({"\u03b1\u03b8\u03b7\u03bd\u03b1\u03c2"}).size(), 1u);
    EXPECT_THAT(find({"STRASSE"}), ElementsAre("Stra\u00dfe.txt"));
    EXPECT_THAT(find({"nothing like it"}), IsEmpty());
}

TEST_F(MdfindTest, KnowsKindsByExtension) {
    const std::pair<const char*, const char*> rows[] = {
        {"kind:image", "a.HEIC"},      {"kind:images", "a.HEIC"},  {"KIND:Picture", "a.HEIC"},
        {"kind:movies", "b.mp4"},      {"kind:video", "b.mp4"},    {"kind:music", "c.mp3"},
        {"kind:audio", "c.mp3"},       {"kind:pdf", "d.pdf"},      {"kind:folders", "folder.png"},
        {"kind:archive", "e.tar.gz"},  {"kind:app", "f.AppImage"}, {"kind:presentation", "g.key"},
        {"kind:spreadsheet", "h.ods"}, {"kind:code", "i.cpp"},     {"kind:source", "i.cpp"},
        {"kind:\"image\"", "a.HEIC"},  {"kind:email", "j.eml"},    {"kind:font", "k.ttf"},
    };
    for (const auto& row : rows)
        if (row.second != std::string("folder.png"))
            m_folder.file(row.second);
    m_folder.folder("folder.png");
    m_folder.file("no extension");
    m_folder.file("pdf");
    for (const auto& [query, name] : rows)
        EXPECT_THAT(find({query}), ElementsAre(name)) << query;
    EXPECT_THAT(find({"kind:document"}), ElementsAre("d.pdf", "g.key", "h.ods"));
    EXPECT_THAT(find({"kind:text"}), ElementsAre("i.cpp"));
}

TEST_F(MdfindTest, UnderstandsComparisonsOfAttributes) {
    m_folder.file("small.png", "123");
    m_folder.file("LARGE.PNG", std::string(5000, 'x'));
    m_folder.file("photo.jpg", std::string(700, 'x'));
    m_folder.file("notes.txt", std::string(2000, 'x'));
    m_folder.folder("folder");
    const timespec longAgo[] = {{86400 * 365, 0}, {86400 * 365, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (m_folder / "notes.txt").path().c_str(), longAgo, 0), 0);
    const std::pair<const char*, Texts> rows[] = {
        {R"(kMDItemFSName == "*.png")", {"small.png"}},
        {R"(kMDItemFSName=="*.png"c)", {"LARGE.PNG", "small.png"}},
        {R"(kMDItemFSName == '*.PNG'cd)", {"LARGE.PNG", "small.png"}},
        {R"(kMDItemDisplayName = "ph?to.*")", {"photo.jpg"}},
        {R"(kMDItemFSName == "small")", {}},
        {R"(kMDItemFSName != "*.*")", {"folder"}},
        {"kMDItemFSSize > 1999", {"LARGE.PNG", "notes.txt"}},
        {"kMDItemFSSize >= 5000 || kMDItemFSSize<=3", {"LARGE.PNG", "small.png"}},
        {"InRange(kMDItemFSSize, 700, 2000)", {"notes.txt", "photo.jpg"}},
        {R"(kMDItemContentTypeTree == "public.image")", {"LARGE.PNG", "photo.jpg", "small.png"}},
        {R"(kMDItemContentType == "public.jpeg")", {"photo.jpg"}},
        {R"(kMDItemContentTypeTree == "public.folder")", {"folder"}},
        {R"(kMDItemContentTypeTree == "public.data" && kMDItemFSSize < 100)", {"small.png"}},
        {R"(kMDItemKind == "PNG image"c)", {"LARGE.PNG", "small.png"}},
        {R"(kMDItemKind == "Folder")", {"folder"}},
        {"kMDItemFSContentChangeDate < $time.today(-7)", {"notes.txt"}},
        {R"(kMDItemFSContentChangeDate > $time.now(-3600) && kMDItemFSName == "*.jpg")", {"photo.jpg"}},
        {"kMDItemContentModificationDate <= $time.iso(1971-01-02T00:00:00Z)", {"notes.txt"}},
        {R"(kMDItemFSContentChangeDate >= $time.this_year(-1) && kMDItemFSSize > 1000)", {"LARGE.PNG"}},
        {R"((kMDItemFSName == "*.png"c || kMDItemFSName == "*.jpg"c) && !(kMDItemFSSize > 1000))",
         {"photo.jpg", "small.png"}},
        // && binds more closely than ||.
        {R"(kMDItemFSName == "folder" || kMDItemFSName == "*.png" && kMDItemFSSize > 100)", {"folder"}},
    };
    for (const auto& [query, names] : rows)
        EXPECT_EQ(find({query}), names) << query;
}

TEST_F(MdfindTest, PrintsNamesAsTheBytesTheyAre) {
    const std::string latin1 = "caf\xE9 photo.png";
    m_folder.file(latin1);
    m_folder.file("line\nfeed photo.png");
    EXPECT_THAT(mdfind(m_folder.url(), {"-0", "photo"}).output,
                m_folder.path() + "/" + latin1 + '\0' + m_folder.path() + "/line\nfeed photo.png" + '\0');
    EXPECT_EQ(mdfind(m_folder.url(), {"kind:image", "-count"}).output, "2\n");
}

TEST_F(MdfindTest, LeavesOutHiddenFilesAndDoesNotFollowLinks) {
    m_folder.file("seen/match.txt");
    m_folder.file(".hidden/match.txt");
    m_folder.file("seen/.match.txt");
    std::filesystem::create_directory_symlink("seen", (m_folder / "link match").path());
    std::filesystem::create_directory_symlink("..", (m_folder / "seen/up").path());
    EXPECT_THAT(find({"match"}), ElementsAre("link match", "seen/match.txt"));
    EXPECT_THAT(find({"-onlyin", ".hidden", "match"}), ElementsAre(".hidden/match.txt"));
    EXPECT_THAT(find({"-onlyin", "link match", "match"}), ElementsAre("link match/match.txt"))
        << "the folder that was asked for may be a link";
}

TEST_F(MdfindTest, SearchesTheFoldersThatItIsGivenOnce) {
    m_folder.file("one/x.txt");
    m_folder.file("one/inner/x.txt");
    m_folder.file("two/x.txt");
    EXPECT_THAT(find({"-onlyin", "one", "x"}), ElementsAre("one/inner/x.txt", "one/x.txt"));
    EXPECT_THAT(find({"-onlyin", m_folder.path() + "//two/", "x"}), ElementsAre("two/x.txt"));
    EXPECT_THAT(find({"-onlyin", "./one/../two/.", "x"}), ElementsAre("two/x.txt"));
    EXPECT_THAT(find({"-onlyin", "one/inner", "-onlyin", ".", "x"}),
                ElementsAre("one/inner/x.txt", "one/x.txt", "two/x.txt"));
    EXPECT_EQ(find({"x"}).size(), 3u) << "without a folder it is the home folder";
}

TEST_F(MdfindTest, SkipsFoldersThatItMayNotRead) {
    m_folder.file("closed/x.txt");
    m_folder.file("open/x.txt");
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::all);
    std::filesystem::permissions((m_folder / "closed").path(), std::filesystem::perms::none);
    testing::Ran answer;
    // Root may read everything.
    testing::runRestricted({.asNobody = ::getuid() == 0}, [&] { answer = mdfind(m_folder.url(), {"x.txt"}); });
    std::filesystem::permissions((m_folder / "closed").path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.errors, "");
    EXPECT_EQ(answer.output, m_folder.path() + "/open/x.txt\n");
}

TEST_F(MdfindTest, SaysInOneLineWhatItCannotDo) {
    const std::pair<Texts, const char*> rows[] = {
        {{}, "nothing to search for"},
        {{"  "}, "empty"},
        {{"-onlyin"}, "-onlyin needs a value"},
        {{"-onlyin", "missing", "x"}, "missing: No such file or directory"},
        {{"-live", "x"}, "-live is not known"},
        {{"kind:spaceship"}, "\"spaceship\" is not known"},
        {{"author:me"}, "\"author:\" is not known"},
        {{"kMDItemAuthors == me"}, "kMDItemAuthors is not known"},
        {{"kMDItemFSName"}, "not compared"},
        {{"kMDItemFSName =="}, "missing at the end"},
        {{"kMDItemFSName == \"x"}, "not closed"},
        {{"(kMDItemFSSize > 1"}, "not closed"},
        {{"kMDItemFSSize > many"}, "not a number"},
        {{"kMDItemFSSize > 1 and more"}, "cannot understand"},
        {{"kMDItemFSName > \"a\""}, "only be compared"},
        {{"kMDItemContentType == \"org.example\""}, "not known"},
        {{"kMDItemFSCreationDate > yesterday"}, "not a moment"},
        {{std::string(100'000, '(') + "kMDItemFSSize > 1"}, "nested too deeply"},
    };
    for (const auto& [arguments, line] : rows) {
        const auto answer = mdfind(m_folder.url(), arguments);
        EXPECT_GT(answer.status, 0) << line;
        EXPECT_LT(answer.status, 3) << line;
        EXPECT_THAT(answer.errors, HasSubstr(line));
        EXPECT_THAT(answer.errors, StartsWith("mdfind: "));
        EXPECT_EQ(std::ranges::count(answer.errors, '\n'), 1) << answer.errors;
        EXPECT_EQ(answer.output, "");
    }
    EXPECT_THAT(mdfind(m_folder.url(), {"--help"}).output, StartsWith("usage: mdfind"));
    EXPECT_EQ(mdfind(m_folder.url(), {"--version"}).status, 0);
}

TEST_F(MdfindTest, GoesThroughDeepAndWideFolders) {
    std::string deep;
    for (int level = 0; level < 200; ++level)
        deep += "level/";
    m_folder.file(deep + "bottom.txt");
    for (int i = 0; i < 3000; ++i)
        m_folder.file("wide/file-" + std::to_string(10'000 + i) + std::string(100, 'x'));
    EXPECT_THAT(find({"bottom"}), ElementsAre(deep + "bottom.txt"));
    const Texts wide = find({"file-"});
    EXPECT_EQ(wide.size(), 3000u);
    EXPECT_TRUE(std::ranges::is_sorted(wide));
}

} // namespace
} // namespace torvo
