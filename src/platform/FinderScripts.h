#pragma once

namespace torvo {

/// The scripts that drive the file manager, as the script program gets them after "-e".

/// Prints the selected items, a path a line.
constexpr const char* kSelectionScript = R"(tell application "Finder"
    set out to {}
    try
        set sel to selection
        repeat with anItem in sel
            set end of out to POSIX path of (anItem as alias)
        end repeat
    end try
    set AppleScript's text item delimiters to linefeed
    return out as text
end tell)";

/// Selects the items whose paths are its arguments.
constexpr const char* kSetSelectionScript = R"(on run argv
    set theItems to {}
    repeat with p in argv
        try
            set end of theItems to (POSIX file (contents of p) as alias)
        end try
    end repeat
    tell application "Finder" to set selection to theItems
end run)";

/// Selects nothing.
constexpr const char* kClearSelectionScript = R"(tell application "Finder" to set selection to {})";

/// Prints the path of the folder that the front window shows; nothing without a window.
constexpr const char* kFrontFolderScript = R"(tell application "Finder"
    if (count of Finder windows) is 0 then return ""
    try
        return POSIX path of (target of front Finder window as alias)
    end try
    return ""
end tell)";

} // namespace torvo
