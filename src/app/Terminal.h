#pragma once

#include "execution/RunOutcome.h"
#include "support/FileURL.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// `text` on one line, fit for a terminal: line breaks become spaces, other control characters U+FFFD.
[[nodiscard]] std::string oneLine(std::string_view text);

/// Prints a line on standard output.
void printLine(std::string_view text);
/// Prints one path a line on standard output: its bytes, or its printable form when that is a terminal.
void printPaths(const std::vector<FileURL>& files);
/// Prints "torvo: " and the text on standard error, as one line.
void printError(std::string_view text);

/// One line on standard error that is rewritten while work goes on and gone at the end. Without a terminal there it
/// shows nothing.
class ProgressLine {
  public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void show(const OperationProgress& progress);
    void clear();

  private:
    bool m_isTerminal;
    bool m_isShown = false;
};

} // namespace torvo
