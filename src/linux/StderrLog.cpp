#include "linux/StderrLog.h"

#include "support/AtomicFile.h"
#include "support/Text.h"

#include <unistd.h>

namespace torvo {

void StderrLog::write(std::string_view line) {
    // There is nowhere to report a failure to.
    (void)writeAll(STDERR_FILENO, printableLine(line) + '\n');
}

} // namespace torvo
