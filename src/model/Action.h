#pragma once

#include "support/Json.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvo {

/// Which items of the front folder a selection takes. Texts compare by canonical equivalence, here and in `Action`.
struct SelectionSpec {
    /// Every item.
    struct All {
        bool operator==(const All&) const = default;
    };
    /// No item: clears the selection.
    struct None {
        bool operator==(const None&) const = default;
    };
    /// Every item with one of these extensions, written without the leading dot. Order counts for equality only.
    struct Extensions {
        std::vector<std::string> list;
        bool operator==(const Extensions& other) const;
    };

    std::variant<All, None, Extensions> value;

    bool operator==(const SelectionSpec&) const = default;
};

/// Select items of the front folder. Never changes files.
struct Select {
    SelectionSpec spec;
    bool operator==(const Select&) const = default;
};

/// Convert the selected images to the format that the lower-case extension `toExt` names.
struct ConvertImages {
    std::string toExt;
    bool operator==(const ConvertImages& other) const;
};

/// Put the selected items into one new archive.
struct ZipSelection {
    bool operator==(const ZipSelection&) const = default;
};

/// Run a command under zsh, with the selected items as positional arguments.
struct Shell {
    std::string command;
    /// One line for people, shown in the bar and in the activity list.
    std::string explanation;
    /// The command deletes, overwrites or moves data: confirming it takes more than Return.
    bool destructive = false;
    /// A read-only command that prints the planned renames, one row a selected file.
    std::optional<std::string> preview;
    bool operator==(const Shell& other) const;
};

/// Run a read-only command under zsh; the existing paths that it prints become the selection.
struct SelectByCommand {
    std::string command;
    std::string explanation;
    bool operator==(const SelectByCommand& other) const;
};

/// The one thing that a typed text was understood to mean.
using Action = std::variant<Select, ConvertImages, ZipSelection, Shell, SelectByCommand>;

/// Why a document is not an `Action`.
struct ActionDecodingError {
    enum class Kind {
        /// The text is no JSON document.
        malformed,
        /// An object names none or several of the cases.
        invalidKeyCount,
        typeMismatch,
        keyNotFound,
    };
    Kind kind = Kind::malformed;
    /// One line that says what is wrong.
    std::string description;
};

/// The JSON form: one object whose only member is named after the case and holds the case's values.
[[nodiscard]] Json encode(const Action& action);
[[nodiscard]] Json encode(const SelectionSpec& spec);

/// Reads the JSON form. Members that name no case are ignored; everything else is taken strictly.
[[nodiscard]] std::expected<Action, ActionDecodingError> decodeAction(const Json& document);
[[nodiscard]] std::expected<SelectionSpec, ActionDecodingError> decodeSelectionSpec(const Json& document);
/// The same from text; text that is not one JSON document is `malformed`.
[[nodiscard]] std::expected<Action, ActionDecodingError> decodeActionText(std::string_view text);

} // namespace torvo
