#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A file named by its absolute POSIX path. The path is a byte string: it is never decoded, normalised or re-encoded,
/// so that a name which is not UTF-8 survives every road through the program. Equality is equality of bytes.
class FileURL {
  public:
    FileURL() = default;
    /// `path`: an absolute path. Trailing slashes are dropped ("/a/b/" names the same file as "/a/b").
    explicit FileURL(std::string path);

    /// The path without a trailing slash; "/" for the root.
    [[nodiscard]] const std::string& path() const { return m_path; }

    /// The name after the last slash; "/" for the root.
    [[nodiscard]] std::string_view lastPathComponent() const;
    /// What follows the last dot of the name, in the case it is written in; empty for "README", ".png" and "a.".
    [[nodiscard]] std::string_view pathExtension() const;

    [[nodiscard]] FileURL deletingLastPathComponent() const;
    /// The path without its extension and the dot before it; the same path when there is no extension.
    [[nodiscard]] FileURL deletingPathExtension() const;
    /// `relative`: a path relative to this folder, kept byte for byte.
    [[nodiscard]] FileURL appendingPath(std::string_view relative) const;
    /// The path with "." and ".." segments and repeated slashes resolved by text alone; links are not followed.
    [[nodiscard]] FileURL standardized() const;

    /// Whether something (a broken link excluded) exists at the path.
    [[nodiscard]] bool exists() const;
    /// Whether the name is taken in its folder, be it by a broken link: a new file must not go there.
    [[nodiscard]] bool isOccupied() const;

    auto operator<=>(const FileURL&) const = default;

  private:
    std::string m_path = "/";
};

/// The paths of `urls`, in order.
[[nodiscard]] std::vector<std::string> pathsOf(const std::vector<FileURL>& urls);

/// `path` as an absolute file URL: a path that does not begin with "/" is taken relative to `folder`.
[[nodiscard]] FileURL resolvingPath(std::string_view path, const FileURL& folder);

} // namespace torvo

template <>
struct std::hash<torvo::FileURL> {
    std::size_t operator()(const torvo::FileURL& url) const noexcept { return std::hash<std::string>{}(url.path()); }
};
