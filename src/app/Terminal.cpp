#include "app/Terminal.h"

#include "support/Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

namespace torvo {

std::string oneLine(std::string_view text) {
    std::string line;
    for (const auto piece : splitLines(text)) {
        if (!line.empty())
            line += ' ';
        line += printableLine(piece);
    }
    return line;
}

void printLine(std::string_view text) {
    fmt::print("{}\n", text);
}

void printPaths(const std::vector<FileURL>& files) {
    const bool isTerminal = ::isatty(STDOUT_FILENO) != 0;
    for (const auto& file : files)
        printLine(isTerminal ? printableLine(file.path()) : file.path());
}

void printError(std::string_view text) {
    fmt::print(stderr, "torvo: {}\n", oneLine(text));
}

ProgressLine::ProgressLine() : m_isTerminal(::isatty(STDERR_FILENO) != 0) {}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::show(const OperationProgress& progress) {
    if (!m_isTerminal)
        return;
    const auto counts = progress.total ? fmt::format(" ({}/{})", progress.completed.value_or(0), *progress.total) : "";
    fmt::print(stderr, "\r\033[K{}{}", oneLine(progress.label), counts);
    std::fflush(stderr);
    m_isShown = true;
}

void ProgressLine::clear() {
    if (!m_isShown)
        return;
    fmt::print(stderr, "\r\033[K");
    std::fflush(stderr);
    m_isShown = false;
}

} // namespace torvo
