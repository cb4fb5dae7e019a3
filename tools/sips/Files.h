#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace torvo::sips {

/// The bytes of a file; memory that is not cleared first.
struct FileBytes {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;

    [[nodiscard]] std::span<const std::uint8_t> span() const { return {bytes.get(), size}; }
};

/// Reads an ordinary file as a whole; never waits for a pipe or a device. The failure is the reason, without the name.
[[nodiscard]] std::expected<FileBytes, std::string> readWhole(const std::string& path);

/// Puts `bytes` at `path` in one step: they are written under a temporary name in the same folder, brought to the
/// disk's care and renamed. A file that is replaced keeps its permissions; a link is followed. On failure, and when
/// SIGINT, SIGTERM or SIGHUP ends the program meanwhile, nothing new is left behind. The failure is the reason.
[[nodiscard]] std::expected<void, std::string> replaceFile(const std::string& path,
                                                           std::span<const std::uint8_t> bytes);

/// To be called once, early: makes the signals that end the program remove the temporary file first.
void removeTemporaryFileOnSignals();

[[nodiscard]] bool isFolder(const std::string& path);

/// `path` with links, "." and ".." resolved; a file that does not exist yet is resolved by its folder. The path as it
/// is when that is not possible.
[[nodiscard]] std::string resolvedPath(const std::string& path);

} // namespace torvo::sips
