#include "execution/PreviewRow.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace torvo {

void PrintTo(const PreviewRow& row, std::ostream* out) {
    *out << "(" << row.from << " -> " << row.to.value_or("nothing") << ")";
}

namespace {

using testing::TemporaryFolder;
using Rows = std::vector<PreviewRow>;

TEST(PreviewRow, IsReadFromEachLineWithATab) {
    const Rows both{{"/a", "/b"}, {"/c", "/d"}};
    const std::pair<const char*, Rows> rows[] = {
        {"/a\t/b\n/c\t/d", both},
        {"\n\n/a\t/b\n \t \n\xC2\xA0\xE3\x80\x80\n/c\t/d\n", both},
        {"/a\t/b\r\n/c\t/d\r\n", both},
        {"/a\t/b\v/c\t/d\f", both},
        {"/a\t/b\xC2\x85/c\t/d", both},
        {"/a\t/b\xE2\x80\xA8/c\t/d\xE2\x80\xA9", both},
        {" no tab ", {{" no tab ", std::nullopt}}},
        {"/a\t", {{"/a", std::nullopt}}},
        {"/a\t\t/c", {{"/a", std::nullopt}}},
        {"/a\t/b\t/c", {{"/a", "/b"}}},
        {" /a \t /b ", {{" /a ", " /b "}}},
        {"\t/b", {}},
        {"", {}},
    };
    for (const auto& [output, expected] : rows)
        EXPECT_EQ(parsePreview(output), expected) << output;
}

TEST(PreviewValidation, TellsTheFirstFaultInTheOrderOfTheChecks) {
    const std::set<std::string> existing{"/", "/x", "/x/a.txt", "/x/b.txt", "/x/taken", "/y"};
    const auto exists = [&](const FileURL& url) { return existing.contains(url.path()); };
    // A broken link takes its name although nothing is there.
    const PathChecks paths{exists, [&](const FileURL& url) { return url.path() == "/x/link" || exists(url); }};
    const std::vector<FileURL> one{FileURL("/x/a.txt")};
    const std::vector<FileURL> two{FileURL("/x/b.txt"), FileURL("/y/../x/a.txt")};
    const std::vector<FileURL> gone{FileURL("/x/gone.txt")};
    struct Case {
        const std::vector<FileURL>& selection;
        Rows rows;
        std::optional<std::string> error;
    };
    const char* const kNoDestination = "The preview did not include a destination for every file.";
    const char* const kNotAbsolute = "The preview returned a non-absolute path.";
    const char* const kOutside = "The preview included a file outside the current selection.";
    const Case cases[] = {
        {one, {}, "The preview produced no changes."},
        {one, {{"/x/a.txt", "/x/new"}}, std::nullopt},
        {two, {{"/x/a.txt", "/x/1"}, {"/x/b.txt", "/y/2"}}, std::nullopt},
        {one, {{"/x//y/.././a.txt", "/x/new/"}}, std::nullopt},
        {one, {{"relative", std::nullopt}}, kNoDestination},
        {one, {{"a.txt", "/x/new"}}, kNotAbsolute},
        {one, {{"/x/a.txt", "new"}}, kNotAbsolute},
        {one, {{" /x/a.txt", "/x/new"}}, kNotAbsolute},
        {one, {{"/x/a.txt", ""}}, kNotAbsolute},
        {one, {{"~/a.txt", "/x/new"}}, kNotAbsolute},
        {one, {{"/x/other", "/x/other"}}, kOutside},
        {gone, {{"/x/gone.txt", "/x/gone.txt"}}, "gone.txt no longer exists."},
        {one, {{"/x/a.txt", "/x/./a.txt"}}, "a.txt would not change."},
        {one, {{"/x/a.txt", "/x/1"}, {"/x/a.txt", "/x/1"}}, "The preview included the same source more than once."},
        {two, {{"/x/a.txt", "/x/c"}, {"/x/b.txt", "/x/c"}}, "Two files would be renamed to the same destination."},
        {two, {{"/x/a.txt", "/x/taken"}, {"/x/b.txt", "/x/taken"}}, "taken already exists."},
        {two, {{"/x/a.txt", "/x/b.txt"}, {"/x/b.txt", "/x/a.txt"}}, "b.txt already exists."},
        {one, {{"/x/a.txt", "/x/link"}}, "link already exists."},
        {one, {{"/x/a.txt", "/no/new.txt"}}, "The destination folder for new.txt does not exist."},
        {two, {{"/x/a.txt", "/x/1"}}, "The preview did not account for every selected file."},
        {two, {{"/x/a.txt", "/x/1"}, {"/x/b.txt", std::nullopt}}, kNoDestination},
    };
    for (const auto& [selection, rows, error] : cases)
        EXPECT_EQ(previewValidationError(rows, selection, paths), error) << ::testing::PrintToString(rows);
}

TEST(PreviewValidation, LooksAtTheRealFilesUnlessTold) {
    const TemporaryFolder folder;
    const auto a = folder.file("a");
    const auto free = (folder / "free").path();
    EXPECT_EQ(previewValidationError({{a.path(), free}}, {a}), std::nullopt);
    std::filesystem::create_symlink("nowhere", free);
    EXPECT_EQ(previewValidationError({{a.path(), free}}, {a}), "free already exists.");
    const auto link = folder / "link";
    std::filesystem::create_symlink("nowhere", link.path());
    EXPECT_EQ(previewValidationError({{link.path(), (folder / "b").path()}}, {link}), "link no longer exists.");
    EXPECT_EQ(previewValidationError({{a.path(), (folder / "sub/b").path()}}, {a}),
              "The destination folder for b does not exist.");
}

} // namespace
} // namespace torvo
