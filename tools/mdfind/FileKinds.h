#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace torvo::mdfind {

/// Kinds of files, as bits: a file may be of several.
using KindSet = std::uint32_t;

enum Kind : KindSet {
    kImage = 1U << 0,
    kMovie = 1U << 1,
    kAudio = 1U << 2,
    kPdf = 1U << 3,
    kDocument = 1U << 4,
    kText = 1U << 5,
    kSource = 1U << 6,
    kArchive = 1U << 7,
    kApplication = 1U << 8,
    kPresentation = 1U << 9,
    kSpreadsheet = 1U << 10,
    kFont = 1U << 11,
    kEmail = 1U << 12,
    kContact = 1U << 13,
    kFolder = 1U << 14,
};

/// The kinds of a file of that name, going by its extension in any case. A folder is a folder, and an application when
/// it is named like one.
[[nodiscard]] KindSet kindsOf(std::string_view name, bool isFolder);

/// The kinds that the word after "kind:" asks for, such as "image", "images" or "photo"; in any case.
[[nodiscard]] std::optional<KindSet> kindsNamed(std::string_view word);

/// What a uniform type identifier stands for: kinds, or the extensions of one format.
struct ContentType {
    KindSet kinds = 0;
    /// Lower case, each between spaces: " jpg jpeg "; empty when the kinds decide.
    std::string_view extensions;
};
[[nodiscard]] std::optional<ContentType> contentTypeNamed(std::string_view identifier);

/// The kind in words, such as "PNG image" or "Folder".
[[nodiscard]] std::string kindDescription(std::string_view name, bool isFolder);

/// The extension in lower case; empty when the name has none.
[[nodiscard]] std::string lowerExtension(std::string_view name);

} // namespace torvo::mdfind
