#include "QueryParser.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <ctime>
#include <optional>
#include <utility>

namespace torvo::mdfind {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr int kDeepestNesting = 64;

using Parsed = std::expected<Condition, std::string>;

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::unexpected<std::string> failure(std::string line) {
    return std::unexpected(std::move(line));
}

Condition allOf(std::vector<Condition> conditions) {
    return {Condition::All{std::move(conditions)}};
}
Condition anyOf(std::vector<Condition> conditions) {
    return {Condition::Any{std::move(conditions)}};
}
Condition notThat(Condition condition) {
    return {Condition::Not{{std::move(condition)}}};
}

std::optional<double> numberIn(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// Midnight of a day in local time, `days` and `months` away from today.
double dayStart(std::tm day, int days, int months = 0) {
    day.tm_hour = day.tm_min = day.tm_sec = 0;
    day.tm_mday += days;
    day.tm_mon += months;
    day.tm_isdst = -1;
    return static_cast<double>(std::mktime(&day));
}

/// The moment that "$time.now(-3600)" or the like means, in seconds since 1970.
std::optional<double> momentIn(std::string_view text) {
    constexpr std::string_view kPrefix = "$time.";
    if (!text.starts_with(kPrefix))
        return std::nullopt;
    text.remove_prefix(kPrefix.size());
    const auto open = text.find('(');
    const std::string_view name = text.substr(0, open);
    std::string argument;
    if (open != std::string_view::npos) {
        if (!text.ends_with(')'))
            return std::nullopt;
        argument = text.substr(open + 1, text.size() - open - 2);
    }
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    ::localtime_r(&now, &today);
    if (name == "iso") {
        std::tm moment{};
        const char* end = ::strptime(argument.c_str(), "%Y-%m-%d", &moment);
        if (end == nullptr)
            return std::nullopt;
        if (*end == 'T')
            end = ::strptime(end, "T%H:%M:%S", &moment);
        if (end == nullptr || (*end != '\0' && std::strcmp(end, "Z") != 0))
            return std::nullopt;
        moment.tm_isdst = -1;
        return static_cast<double>(*end == 'Z' ? ::timegm(&moment) : std::mktime(&moment));
    }
    const double offset = argument.empty() ? 0 : numberIn(argument).value_or(1e18);
    if (offset < -1e9 || offset > 1e9)
        return std::nullopt;
    if (name == "now")
        return static_cast<double>(now) + offset;
    // Days, weeks, months or years, as far as a calendar goes.
    const int steps = static_cast<int>(std::clamp(offset, -10'000.0, 10'000.0));
    if (name == "today")
        return dayStart(today, steps);
    if (name == "yesterday")
        return dayStart(today, steps - 1);
    if (name == "this_week")
        return dayStart(today, -((today.tm_wday + 6) % 7) + 7 * steps);
    today.tm_mday = 1;
    if (name == "this_month")
        return dayStart(today, 0, steps);
    today.tm_mon = 0;
    if (name == "this_year")
        return dayStart(today, 0, 12 * steps);
    return std::nullopt;
}

/// Reads an expression such as kMDItemFSName == "*.png"c && kMDItemFSSize > 1000.
class ExpressionParser {
  public:
    explicit ExpressionParser(std::string_view text) : m_text(text) {}

    Parsed parse() {
        Parsed condition = alternatives();
        if (condition && !rest().empty())
            return failure("cannot understand \"" + std::string(rest()) + "\" in the query");
        return condition;
    }

  private:
    struct Value {
        std::string text;
        bool isQuoted = false;
        Folding folding;
    };

    std::string_view rest() {
        m_at = std::min(m_text.find_first_not_of(kBlanks, m_at), m_text.size());
        return m_text.substr(m_at);
    }
    bool skip(std::string_view token) {
        if (!rest().starts_with(token))
            return false;
        m_at += token.size();
        return true;
    }

    Parsed chain(std::string_view separator, Parsed (ExpressionParser::*part)(),
                 Condition (*combine)(std::vector<Condition>)) {
        std::vector<Condition> parts;
        do {
            Parsed next = (this->*part)();
            if (!next)
                return next;
            parts.push_back(std::move(*next));
        } while (skip(separator));
        return parts.size() == 1 ? std::move(parts.front()) : combine(std::move(parts));
    }
    Parsed alternatives() { return chain("||", &ExpressionParser::conjunction, anyOf); }
    Parsed conjunction() { return chain("&&", &ExpressionParser::term, allOf); }

    Parsed term() {
        if (++m_depth > kDeepestNesting)
            return failure("the query is nested too deeply");
        Parsed result = innerTerm();
        --m_depth;
        return result;
    }
    Parsed innerTerm() {
        if (skip("!")) {
            Parsed inverse = term();
            return inverse ? Parsed(notThat(std::move(*inverse))) : inverse;
        }
        if (skip("(")) {
            Parsed inner = alternatives();
            if (inner && !skip(")"))
                return failure("a parenthesis is not closed in the query");
            return inner;
        }
        if (skip("InRange("))
            return range();
        const std::string attribute = word();
        const auto comparison = comparisonSign();
        if (!comparison)
            return failure("\"" + attribute + "\" is not compared with anything in the query");
        const auto operand = value();
        if (!operand)
            return failure(operand.error());
        return compared(attribute, *comparison, *operand);
    }

    Parsed range() {
        const std::string attribute = word();
        std::vector<Condition> bounds;
        for (const Comparison side : {Comparison::greaterOrEqual, Comparison::lessOrEqual}) {
            if (!skip(","))
                return failure("InRange needs an attribute and two values");
            const auto bound = value();
            if (!bound)
                return failure(bound.error());
            Parsed condition = compared(attribute, side, *bound);
            if (!condition)
                return condition;
            bounds.push_back(std::move(*condition));
        }
        if (!skip(")"))
            return failure("a parenthesis is not closed in the query");
        return allOf(std::move(bounds));
    }

    std::string word() {
        if (skip("*"))
            return "*";
        const std::string_view text = rest();
        const auto* end = std::ranges::find_if_not(text, [](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
        m_at += static_cast<std::size_t>(end - text.begin());
        return {text.begin(), end};
    }

    std::optional<Comparison> comparisonSign() {
        constexpr std::pair<std::string_view, Comparison> kSigns[] = {
            {"==", Comparison::equal},          {"!=", Comparison::unequal}, {"<=", Comparison::lessOrEqual},
            {">=", Comparison::greaterOrEqual}, {"<", Comparison::less},     {">", Comparison::greater},
            {"=", Comparison::equal},
        };
        for (const auto& [sign, comparison] : kSigns)
            if (skip(sign))
                return comparison;
        return std::nullopt;
    }

    std::expected<Value, std::string> value() {
        Value result;
        const std::string_view text = rest();
        if (text.empty())
            return std::unexpected("a value is missing at the end of the query");
        if (text[0] == '"' || text[0] == '\'') {
            result.isQuoted = true;
            std::size_t end = 1;
            while (end < text.size() && text[end] != text[0]) {
                // The escape of a wildcard stays for the pattern; that of a quote ends here.
                if (text[end] == '\\' && end + 1 < text.size() && text[++end] != text[0])
                    result.text += '\\';
                result.text += text[end++];
            }
            if (end >= text.size())
                return std::unexpected("a quote is not closed in the query");
            m_at += end + 1;
            modifiers(result.folding);
            return result;
        }
        std::size_t end = 0;
        for (int open = 0; end < text.size() && !std::string_view(" \t\n,&|").contains(text[end]); ++end) {
            open += text[end] == '(' ? 1 : 0;
            if (text[end] == ')' && --open < 0)
                break;
        }
        result.text = text.substr(0, end);
        m_at += end;
        return result;
    }

    void modifiers(Folding& folding) {
        for (; m_at < m_text.size() && isLetter(m_text[m_at]); ++m_at) {
            folding.ignoresCase = folding.ignoresCase || m_text[m_at] == 'c';
            folding.ignoresDiacritics = folding.ignoresDiacritics || m_text[m_at] == 'd';
        }
    }

    static Parsed compared(const std::string& attribute, Comparison comparison, const Value& value) {
        if (attribute == "kMDItemFSSize" || attribute == "kMDItemLogicalSize" || attribute == "kMDItemPhysicalSize") {
            const auto bytes = numberIn(value.text);
            if (!bytes)
                return failure("\"" + value.text + "\" is not a number of bytes");
            return Condition{HasSize{comparison, *bytes}};
        }
        if (const auto which = timeNamed(attribute)) {
            const auto moment = momentIn(value.text);
            if (!moment)
                return failure("\"" + value.text + "\" is not a moment such as $time.today(-7)");
            return Condition{HasTime{*which, comparison, *moment}};
        }
        if (comparison != Comparison::equal && comparison != Comparison::unequal)
            return failure(attribute + " can only be compared with == and !=");
        Parsed condition = textCompared(attribute, value);
        if (condition && comparison == Comparison::unequal)
            return notThat(std::move(*condition));
        return condition;
    }

    static Parsed textCompared(const std::string& attribute, const Value& value) {
        if (attribute == "kMDItemFSName" || attribute == "kMDItemDisplayName" || attribute == "*")
            return Condition{NameMatches{folded(value.text, value.folding), value.folding}};
        if (attribute == "kMDItemKind")
            return Condition{KindMatches{folded(value.text, {.ignoresCase = true})}};
        if (attribute == "kMDItemContentType" || attribute == "kMDItemContentTypeTree") {
            const auto type = contentTypeNamed(value.text);
            if (!type)
                return failure("the content type \"" + value.text + "\" is not known here");
            return Condition{HasType{*type}};
        }
        return failure(attribute.empty() ? "an attribute such as kMDItemFSName is missing in the query"
                                         : "the attribute " + attribute + " is not known here");
    }

    static std::optional<HasTime::Which> timeNamed(std::string_view attribute) {
        if (attribute == "kMDItemFSContentChangeDate" || attribute == "kMDItemContentModificationDate")
            return HasTime::Which::changed;
        if (attribute == "kMDItemFSCreationDate" || attribute == "kMDItemContentCreationDate" ||
            attribute == "kMDItemDateAdded")
            return HasTime::Which::created;
        if (attribute == "kMDItemLastUsedDate")
            return HasTime::Which::used;
        return std::nullopt;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_depth = 0;
};

/// One word of a plain query, without its quotes.
struct Word {
    std::string text;
    /// Where the first quoted byte is; a "kind:" before it still counts.
    std::size_t firstQuoted = std::string::npos;
};

std::vector<Word> wordsOf(std::string_view text) {
    std::vector<Word> words;
    bool isInWord = false;
    char quote = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote == 0 && kBlanks.contains(c)) {
            isInWord = false;
            continue;
        }
        if (!std::exchange(isInWord, true))
            words.emplace_back();
        Word& word = words.back();
        // An apostrophe inside a word is none of the quotes.
        const bool opens = c == '"' || (c == '\'' && word.text.empty() && text.find('\'', i + 1) != text.npos);
        if (quote == 0 && opens) {
            quote = c;
            word.firstQuoted = std::min(word.firstQuoted, word.text.size());
        } else if (quote != 0 && c == quote) {
            quote = 0;
        } else {
            word.text += c;
        }
    }
    return words;
}

Parsed wordCondition(const Word& word) {
    const auto colon = word.text.find(':');
    const std::string_view key = std::string_view(word.text).substr(0, colon);
    if (colon == std::string::npos || colon >= word.firstQuoted || key.empty() || !std::ranges::all_of(key, isLetter))
        return nameContaining(word.text);
    const std::string name = folded(key, {.ignoresCase = true});
    const std::string value = word.text.substr(colon + 1);
    if (name == "name" || name == "filename")
        return nameContaining(value);
    if (name != "kind")
        return failure("\"" + std::string(key) + ":\" is not known here; put the word in quotes to find it in names");
    const auto kinds = kindsNamed(value);
    if (!kinds)
        return failure("the kind \"" + value + "\" is not known here");
    return Condition{HasType{{*kinds, {}}}};
}

} // namespace

Condition nameContaining(std::string_view text) {
    constexpr Folding kAnyCase{.ignoresCase = true};
    if (!text.contains('*'))
        return {NameContains{folded(text, kAnyCase)}};
    std::string pattern = "*";
    for (const char c : text)
        pattern.append(c == '?' || c == '\\' ? "\\" : "").append(1, c);
    return {NameMatches{folded(pattern + "*", kAnyCase), kAnyCase}};
}

Parsed parseQuery(std::string_view text) {
    if (text.contains("kMDItem"))
        return ExpressionParser(text).parse();
    std::vector<Condition> conditions;
    for (const Word& word : wordsOf(text)) {
        Parsed condition = wordCondition(word);
        if (!condition)
            return condition;
        conditions.push_back(std::move(*condition));
    }
    if (conditions.empty())
        return failure("the query is empty");
    return allOf(std::move(conditions));
}

} // namespace torvo::mdfind
