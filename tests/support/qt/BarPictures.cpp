#include "tests/support/qt/BarPictures.h"

#include "model/CommandSafety.h"

#include <fmt/format.h>

#include <utility>

namespace torvo::testing {

namespace {

constexpr const char* kHint = "📁 Holiday pictures · 3 selected";

CommandBarState focused(std::string text, std::string status, StatusKind kind) {
    CommandBarState state;
    state.isKeyWindow = true;
    state.text = std::move(text);
    state.status = std::move(status);
    state.statusKind = kind;
    state.contextHint = kHint;
    return state;
}

CommandBarState confirming(std::string text, Shell shell, std::vector<PreviewRow> rows) {
    auto state = focused(
        std::move(text),
        fmt::format("{}{}\n$ {}", shell.destructive ? "⚠️ DESTRUCTIVE — " : "", shell.explanation, shell.command),
        needsPermission(Action(shell)) ? StatusKind::failure : StatusKind::confirm);
    state.pending = PendingAction{std::move(shell), {}, std::move(rows)};
    return state;
}

std::vector<PreviewRow> renames(int count) {
    std::vector<PreviewRow> rows;
    for (int i = 1; i <= count; ++i)
        rows.push_back({fmt::format("/home/ann/Pictures/IMG_{}.jpg", 2040 + i),
                        fmt::format("/home/ann/Pictures/Lisbon {:03}.jpg", i)});
    return rows;
}

std::vector<FileURL> pictures(int count) {
    std::vector<FileURL> files;
    for (int i = 1; i <= count; ++i)
        files.emplace_back(fmt::format("/home/ann/Pictures/IMG_{}.jpg", 2040 + i));
    return files;
}

const std::vector<Suggestion> kChips{{"JPG", "jpg"},
                                     {"Zip", "zip"},
                                     {"Resize to 1600 px", "resize"},
                                     {"Rename 001, 002…", "rename"},
                                     {"Select images", "select all images"}};

} // namespace

std::vector<BarPicture> barPictures() {
    std::vector<BarPicture> list;
    const auto add = [&](std::string name, CommandBarState state, int width = 600) {
        list.push_back({std::move(name), std::move(state), false, width});
    };

    auto state = focused("", "", StatusKind::hint);
    state.chips = kChips;
    add("full", state);
    state.clipboardAvailable = true;
    add("chips-clipboard-narrow", state, 420);
    list.push_back({"drop-target", state, true});
    add("typed", focused("jpg", "⏎  Convert selected images to JPG", StatusKind::info));
    state = focused("make the selected pictures smaller", "Asking local LLM…", StatusKind::info);
    add("asking", state);

    state = focused("jpg", "Converting…   42% · Esc to cancel", StatusKind::info);
    state.isRunning = true;
    state.progress = OperationProgress{"Converting…", 42, 100};
    add("running-counted", state);
    state.status = "Running…   Esc to cancel";
    state.progress = OperationProgress{"Running…", {}, {}};
    add("running", state);

    add("confirm", confirming("compress this video",
                              {"ffmpeg -i \"$1\" -c:v libx264 -crf 28 -preset slow \"${1:r}-small.mp4\"",
                               "Compress the video to H.264",
                               false,
                               {}},
                              {}));
    add("destructive",
        confirming("delete the raw files", {"rm -- *.raw", "Delete every RAW file in the folder", true, {}}, {}));
    add("preview-3", confirming("rename these 001, 002, and so on",
                                {"n=1; for f in \"$@\"; do mv -n -- \"$f\" \"${f:h}/Lisbon ${(l:3::0:)n}.jpg\"; "
                                 "(( n++ )); done",
                                 "Number the pictures from 001",
                                 false,
                                 {}},
                                renames(3)));
    add("preview-120",
        confirming("rename these 001, 002, and so on",
                   {"for f in \"$@\"; do mv -n -- \"$f\" \"$f.bak\"; done", "Number the pictures", false, {}},
                   renames(120)));

    state = focused("jpg", "Converted 5 images to JPG", StatusKind::success);
    state.resultOutputs = pictures(5);
    add("result-5", state);
    add("result-5-narrow", state, 420);
    state.status = "Created Archive.zip";
    state.resultOutputs = {FileURL("/home/ann/Pictures/Archive.zip")};
    add("result-1", state);

    state = focused("shrink it", "Command failed: magick: unable to open image 'missing.png': No such file",
                    StatusKind::failure);
    state.canAskAIToFix = true;
    add("failure-ask", state);

    const std::string longName = "A very long file name that goes on and on, with numbers 0123456789 and \"quotes\" "
                                 "and 'apostrophes', until nobody knows what it was about (final, really).jpeg";
    state = focused(std::string(300, 'w'), "Command failed: " + std::string(200, 'x') + "/" + longName,
                    StatusKind::failure);
    state.resultOutputs = {FileURL("/a/" + longName), FileURL("/a/صورة العطلة الطويلة جدا في لشبونة.jpg"),
                           FileURL("/a/line\nbreak \x1b[31m \xff.jpg"), FileURL("/a/d")};
    add("long-and-odd", state, 420);
    add("odd-preview",
        confirming("rename", {"mv -- \"$1\" \"$2\" && " + std::string(400, 'z') + "\n\techo done", "Rename", false, {}},
                   {{"/a/" + longName, "/a/" + longName + ".bak"},
                    {"/a/صورة.jpg", "/a/صورة العطلة.jpg"},
                    {"/a/line\nbreak \x1b[31m.txt", "/a/<b>bold & co.txt"},
                    {"/a/only.txt", std::nullopt}}),
        420);
    std::string endless = "Run a long script\n$ ";
    for (int i = 0; i < 60; ++i)
        endless += fmt::format("echo step {} of a script that is far too long for any bar; ", i);
    state = focused("long", endless, StatusKind::confirm);
    state.pending = PendingAction{Shell{"x", "y", false, {}}, {}, {}};
    add("endless-command", state);

    CommandBarState compact;
    compact.contextHint = kHint;
    add("compact", compact, 300);
    compact.status = "Converted 2 images to JPG and put them beside the originals";
    compact.statusKind = StatusKind::success;
    add("compact-success", compact, 300);
    compact.isRunning = true;
    compact.statusKind = StatusKind::info;
    compact.status = "Zipping…   70% · Esc to cancel";
    compact.progress = OperationProgress{"Zipping…", 7, 10};
    add("compact-running", compact, 300);
    return list;
}

} // namespace torvo::testing
