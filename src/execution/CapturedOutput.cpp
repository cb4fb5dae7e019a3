#include "execution/CapturedOutput.h"

#include "support/Utf8.h"

namespace torvo {

std::string_view CapturedOutput::text() const {
    return isValidUTF8(bytes()) ? bytes() : std::string_view{};
}

} // namespace torvo
