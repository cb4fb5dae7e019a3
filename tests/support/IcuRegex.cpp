#include "tests/support/IcuRegex.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <stdexcept>

namespace torvo::testing {

namespace {

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

void check(UErrorCode status) {
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status));
}

} // namespace

bool icuFinds(std::string_view pattern, std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto input = unicode(text);
    icu::RegexMatcher matcher(unicode(pattern), input, 0, status);
    check(status);
    return matcher.find() != 0;
}

std::string icuReplacingAll(std::string_view pattern, std::string_view text, std::string_view replacement) {
    UErrorCode status = U_ZERO_ERROR;
    const auto input = unicode(text);
    icu::RegexMatcher matcher(unicode(pattern), input, 0, status);
    const auto replaced = matcher.replaceAll(unicode(replacement), status);
    check(status);
    std::string result;
    replaced.toUTF8String(result);
    return result;
}

} // namespace torvo::testing
