#pragma once

#include "model/Action.h"
#include "support/FileURL.h"
#include "support/Json.h"
#include "support/UUID.h"

#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What one command created or renamed: enough to undo it, or to run it again.
struct Operation {
    struct Rename {
        FileURL from;
        FileURL to;
        bool operator==(const Rename&) const = default;
    };

    UUID id;
    /// When the command finished: seconds since 2001-01-01 00:00:00 UTC.
    double date = 0;
    /// The message of the run.
    std::string title;
    Action action;
    /// The selection that the command ran on.
    std::vector<FileURL> inputs;
    /// The files that it created.
    std::vector<FileURL> outputs;
    /// The renames that took effect.
    std::vector<Rename> renameMap;
    bool undone = false;

    bool operator==(const Operation& other) const;

    /// Whether something is left to undo: an output that still exists, or a rename whose new name exists and whose old
    /// name is free. `isThere`: whether a name is taken, be it by a broken link.
    [[nodiscard]] bool canUndo(const std::function<bool(const FileURL&)>& isThere = &FileURL::isOccupied) const;
    /// "Renamed 4 files", "Created 1 file", or nothing.
    [[nodiscard]] std::string subtitle() const;
};

/// The JSON form: one object with the eight fields as members.
[[nodiscard]] Json encode(const Operation& operation);

/// At most this many records are kept.
constexpr std::size_t kMaximumOperations = 100;

/// Reads a JSON array of records, the first 100 of them. One bad record fails the whole list; the error is one line.
[[nodiscard]] std::expected<std::vector<Operation>, std::string> decodeOperations(std::string_view text);

} // namespace torvo
