#include "app/bar/UpdateWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {

TEST(UpdateWindowTest, SaysWhatTheSearchFoundAndOffersOnlyWhatThereIsToGet) {
    const Release release{"2.0", "https://example.org/torvo", "Fixes <b>everything</b>\nand more"};
    struct Row {
        UpdateState::Any state;
        const char* title;
        const char* inDetail;
        const char* address;
    };
    const Row rows[] = {
        {UpdateState::NoFeed{}, "This copy does not look for updates", "package manager", ""},
        {UpdateState::Checking{}, "Checking for updates…", "version 1.0", ""},
        {UpdateState::UpToDate{}, "Torvo is up to date", "version 1.0", ""},
        {UpdateState::Newer{release}, "Torvo 2.0 is available", "<b>everything</b>", "https://example.org/torvo"},
        {UpdateState::Failed{"The server hung up."}, "The check did not work", "The server hung up.", ""},
    };
    for (const auto& row : rows) {
        const auto text = updateText(row.state, "1.0");
        EXPECT_EQ(text.title.toStdString(), row.title);
        EXPECT_THAT(text.detail.toStdString(), ::testing::HasSubstr(row.inDetail));
        EXPECT_EQ(text.address, row.address);
    }
}

} // namespace torvo
