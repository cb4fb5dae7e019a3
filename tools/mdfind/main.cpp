// mdfind: finds files by name, kind, size and date. It reads folders and prints paths; it changes nothing.
#include "QueryParser.h"
#include "Search.h"

#include <fmt/format.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace torvo::mdfind {
namespace {

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

constexpr std::string_view kUsage = "usage: mdfind [-onlyin DIR]... [-name TEXT] [-0] [-count] QUERY...\n";
constexpr std::string_view kHelp = R"(
Prints the absolute paths of the files and folders that fit, one a line. Searches names, not contents; leaves hidden
ones out and does not follow symbolic links.

  -onlyin DIR   search DIR instead of the home folder; may be given several times
  -name TEXT    the name contains TEXT
  -0            end each path with a null byte instead of a line feed
  -count        print how many there are, not which
  --help        print this
  --version     print the version

A query is made of words, in any case; the name must contain each of them. A phrase in quotes is one word; a *
stands for any text.
  kind:image holiday
Kinds: image, movie, audio, pdf, folder, document, text, source, archive, application, presentation, spreadsheet,
font, email, contact.

Or a query compares attributes, with &&, ||, ! and parentheses:
  kMDItemFSName == "*.png"c && kMDItemFSSize > 1000000
  kMDItemContentTypeTree == "public.image" && kMDItemFSContentChangeDate > $time.today(-7)
)";

/// Standard output in large pieces.
class Output {
  public:
    explicit Output(char end) : m_end(end) {}

    bool add(std::string_view text) {
        m_text += text;
        m_text += m_end;
        return m_text.size() < kPiece || flush();
    }
    bool flush() {
        std::string_view rest = m_text;
        while (!rest.empty()) {
            const ssize_t count = ::write(STDOUT_FILENO, rest.data(), rest.size());
            if (count < 0 && errno != EINTR) {
                m_error = errno;
                return false;
            }
            rest.remove_prefix(static_cast<std::size_t>(count < 0 ? 0 : count));
        }
        m_text.clear();
        return true;
    }
    /// The error number of the write that failed; 0 when none did.
    [[nodiscard]] int error() const { return m_error; }

  private:
    static constexpr std::size_t kPiece = std::size_t{64} << 10;
    std::string m_text;
    char m_end;
    int m_error = 0;
};

int complain(const std::string& line, int status) {
    fmt::print(stderr, "mdfind: {}\n", line);
    return status;
}

std::string systemError(int code) {
    return std::error_code(code, std::generic_category()).message();
}

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/')
        return home;
    const passwd* user = ::getpwuid(::getuid());
    return user == nullptr ? "/" : user->pw_dir;
}

/// The path from the root, as the user wrote it where possible: links in it stay.
std::string absolutePath(const std::string& path) {
    std::string whole = path;
    if (!path.starts_with('/')) {
        char* here = ::getcwd(nullptr, 0);
        // In a folder that was deleted there is nothing to find, and no path to it.
        if (here == nullptr)
            return path;
        whole = std::string(here) + "/" + path;
        std::free(here);
    }
    std::string clean;
    for (std::size_t at = 0; at < whole.size();) {
        const std::size_t end = std::min(whole.find('/', at), whole.size());
        const std::string_view part = std::string_view(whole).substr(at, end - at);
        at = end + 1;
        if (part == "..") {
            // Only the file system knows what is above a link.
            char* real = ::realpath(whole.c_str(), nullptr);
            clean = real == nullptr ? whole : real;
            std::free(real);
            return clean;
        }
        if (!part.empty() && part != ".")
            clean.append("/").append(part);
    }
    return clean.empty() ? "/" : clean;
}

struct Options {
    std::vector<std::string> folders;
    std::string query;
    std::vector<Condition> conditions;
    bool endsWithNull = false;
    bool onlyCounts = false;
};

/// Reads the arguments; an exit status when there is nothing more to do.
std::pair<Options, int> readArguments(const std::vector<std::string>& arguments) {
    constexpr int kGoOn = -1;
    Options options;
    bool hasQuery = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool isOption = argument.size() > 1 && argument.starts_with('-') && !hasQuery;
        if (argument == "-onlyin" || argument == "-name") {
            if (i + 1 == arguments.size())
                return {{}, complain(argument + " needs a value", kBadUsage)};
            if (argument == "-onlyin")
                options.folders.push_back(arguments[++i]);
            else
                options.conditions.push_back(nameContaining(arguments[++i]));
        } else if (argument == "-0") {
            options.endsWithNull = true;
        } else if (argument == "-count") {
            options.onlyCounts = true;
        } else if (isOption && (argument == "--help" || argument == "-h" || argument == "-help")) {
            fmt::print("{}{}", kUsage, kHelp);
            return {{}, 0};
        } else if (isOption && argument == "--version") {
            fmt::print("mdfind (Torvo) {}\n", TORVO_VERSION);
            return {{}, 0};
        } else if (isOption && argument != "-interpret" && argument != "-literal" && argument != "--") {
            return {{}, complain("the option " + argument + " is not known; see mdfind --help", kBadUsage)};
        } else if (!isOption) {
            options.query += (hasQuery ? " " : "") + argument;
            hasQuery = true;
        }
    }
    if (hasQuery) {
        auto condition = parseQuery(options.query);
        if (!condition)
            return {{}, complain(condition.error(), kBadUsage)};
        options.conditions.push_back(std::move(*condition));
    }
    if (options.conditions.empty())
        return {{}, complain("nothing to search for; see mdfind --help", kBadUsage)};
    if (options.folders.empty())
        options.folders.push_back(homeFolder());
    return {std::move(options), kGoOn};
}

int run(const std::vector<std::string>& arguments) {
    auto [options, status] = readArguments(arguments);
    if (status >= 0)
        return status;
    const Condition condition{Condition::All{std::move(options.conditions)}};
    Output output(options.endsWithNull ? '\0' : '\n');
    std::size_t count = 0;
    Search search(condition, [&](std::string_view path) {
        ++count;
        return options.onlyCounts || output.add(path);
    });
    int result = 0;
    for (const std::string& folder : options.folders) {
        struct stat information{};
        const std::string path = absolutePath(folder);
        if (::stat(path.c_str(), &information) != 0)
            result = complain(folder + ": " + systemError(errno), kFailed);
        else if (!S_ISDIR(information.st_mode))
            result = complain(folder + ": " + systemError(ENOTDIR), kFailed);
        else if (!search.walk(path))
            break;
    }
    if (options.onlyCounts)
        output.add(std::to_string(count));
    if (output.error() == 0)
        output.flush();
    // A reader that has seen enough is no failure to speak of.
    if (output.error() != 0)
        return output.error() == EPIPE ? kFailed : complain(systemError(output.error()), kFailed);
    return result;
}

} // namespace
} // namespace torvo::mdfind

int main(int count, char** arguments) {
    try {
        return torvo::mdfind::run({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        return torvo::mdfind::complain(error.what(), torvo::mdfind::kFailed);
    }
}
