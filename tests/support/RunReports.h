#pragma once

#include "execution/RunOutcome.h"
#include "model/Selecting.h"

#include <string>
#include <vector>

namespace torvo::testing {

/// Remembers every selection that was made, in order.
class RecordingSelector final : public Selecting {
  public:
    void select(const std::vector<FileURL>& items) override { selections.push_back(items); }

    /// Empty when none was made.
    [[nodiscard]] std::vector<FileURL> last() const {
        return selections.empty() ? std::vector<FileURL>{} : selections.back();
    }

    std::vector<std::vector<FileURL>> selections;
};

/// An outcome as one text: its kind, a colon and its message, prompt or count. The files of `Completed` are left out.
[[nodiscard]] std::string shown(const RunOutcome& outcome);

/// The files that an outcome says were created.
[[nodiscard]] std::vector<FileURL> outputsOf(const RunOutcome& outcome);

/// The names of files, in order.
[[nodiscard]] std::vector<std::string> namesOf(const std::vector<FileURL>& files);

/// File names that a careless program stumbles over, each followed by `suffix`: white space, quotes, line breaks,
/// leading dashes, wildcards and bytes that are not UTF-8.
[[nodiscard]] std::vector<std::string> oddNames(const std::string& suffix);

} // namespace torvo::testing
