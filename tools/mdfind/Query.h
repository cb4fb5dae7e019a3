#pragma once

#include "FileKinds.h"
#include "FoldedText.h"

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvo::mdfind {

/// A file as its folder lists it. What the listing does not hold is read when a condition asks for it.
class Candidate {
  public:
    /// `folder`: descriptor of the folder; `name`: ends with a null byte in memory.
    Candidate(int folder, std::string_view name, bool isFolder)
        : m_folder(folder), m_name(name), m_isFolder(isFolder) {}

    [[nodiscard]] std::string_view name() const { return m_name; }
    [[nodiscard]] bool isFolder() const { return m_isFolder; }
    /// Null when the file is gone or closed to us.
    [[nodiscard]] const struct statx* status();

  private:
    int m_folder;
    std::string_view m_name;
    bool m_isFolder;
    bool m_wasAsked = false;
    std::optional<struct statx> m_status;
};

enum class Comparison { equal, unequal, less, lessOrEqual, greater, greaterOrEqual };

struct NameContains {
    /// Folded without regard to case.
    std::string text;
};
struct NameMatches {
    std::string pattern;
    Folding folding;
};
struct KindMatches {
    std::string pattern;
};
struct HasType {
    ContentType type;
};
struct HasSize {
    Comparison comparison = Comparison::equal;
    double bytes = 0;
};
struct HasTime {
    enum class Which { changed, created, used } which = Which::changed;
    Comparison comparison = Comparison::equal;
    /// Seconds since 1970.
    double seconds = 0;
};

/// A condition on one file; an empty `All` holds for every file.
struct Condition {
    struct All {
        std::vector<Condition> conditions;
    };
    struct Any {
        std::vector<Condition> conditions;
    };
    struct Not {
        std::vector<Condition> condition;
    };
    std::variant<All, Any, Not, NameContains, NameMatches, KindMatches, HasType, HasSize, HasTime> value;

    [[nodiscard]] bool holdsFor(Candidate& file) const;
};

} // namespace torvo::mdfind
