#pragma once

#include <expected>
#include <string>
#include <vector>

namespace torvo {

/// Runs scripts that drive the file manager.
class ScriptHost {
  public:
    virtual ~ScriptHost() = default;

    /// Runs the script program with exactly these arguments and returns the bytes of its standard output; a script that
    /// fails has none. The error is one line that says why the program could not be started. Blocks; callable from any
    /// thread.
    [[nodiscard]] virtual std::expected<std::string, std::string> run(const std::vector<std::string>& arguments) = 0;
};

} // namespace torvo
