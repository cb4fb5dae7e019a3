#include "Arguments.h"

#include "Printable.h"

#include <array>
#include <charconv>
#include <functional>
#include <utility>

namespace torvo::sips {
namespace {

/// The largest side that can be asked for. What a picture may hold in all is checked when it is made.
constexpr int kLargestSide = 1'000'000;

/// Why an option's values cannot be used; absent when they were taken.
using Complaint = std::optional<std::string>;

std::optional<int> integer(const std::string& text) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

Complaint takeSide(const std::string& text, int& side) {
    const std::optional<int> value = integer(text);
    if (!value || *value < 1 || *value > kLargestSide)
        return "'" + printable(text) + "' is not a number of pixels";
    side = *value;
    return std::nullopt;
}

Complaint takeQuality(const std::string& text, Job& job) {
    constexpr std::array<std::pair<std::string_view, int>, 4> kWords{
        {{"low", 40}, {"normal", 75}, {"high", 90}, {"best", 100}}};
    for (const auto& [word, quality] : kWords) {
        if (text == word) {
            job.quality = quality;
            return std::nullopt;
        }
    }
    const std::string digits = text.ends_with('%') ? text.substr(0, text.size() - 1) : text;
    const std::optional<int> value = integer(digits);
    if (!value || *value < 0 || *value > 100)
        return "'" + printable(text) + "' is not a quality (low, normal, high, best or 0 to 100)";
    job.quality = value;
    return std::nullopt;
}

Complaint takeSetting(std::span<const std::string> values, Job& job) {
    if (values[0] == "formatOptions")
        return takeQuality(values[1], job);
    if (values[0] != "format")
        return "cannot set '" + printable(values[0]) + "' (only format and formatOptions)";
    job.format = formatNamed(values[1]);
    if (!job.format)
        return "unknown format '" + printable(values[1]) + "' (png, jpeg, tiff, gif, bmp, heic or webp)";
    return std::nullopt;
}

Complaint takeProperty(std::span<const std::string> values, Job& job) {
    constexpr std::array<std::pair<std::string_view, Property>, 6> kProperties{{
        {"pixelWidth", Property::pixelWidth},
        {"pixelHeight", Property::pixelHeight},
        {"format", Property::format},
        {"space", Property::space},
        {"bitsPerSample", Property::bitsPerSample},
        {"hasAlpha", Property::hasAlpha},
    }};
    bool known = false;
    for (const auto& [name, property] : kProperties) {
        if (values[0] == name || values[0] == "all") {
            job.properties.push_back(property);
            known = true;
        }
    }
    return known ? std::nullopt : Complaint("unknown property '" + printable(values[0]) + "'");
}

Complaint takeRotation(std::span<const std::string> values, Job& job) {
    const std::optional<int> degrees = integer(values[0]);
    if (!degrees)
        return "'" + printable(values[0]) + "' is not a whole number of degrees";
    job.operations.emplace_back(Rotate{*degrees});
    return std::nullopt;
}

Complaint takeFlip(std::span<const std::string> values, Job& job) {
    if (values[0] != "horizontal" && values[0] != "vertical")
        return "'" + printable(values[0]) + "' is neither horizontal nor vertical";
    job.operations.emplace_back(Flip{values[0] == "horizontal" ? Flip::Axis::horizontal : Flip::Axis::vertical});
    return std::nullopt;
}

template <typename OneSide>
Complaint takeOneSide(std::span<const std::string> values, Job& job) {
    int side = 0;
    if (Complaint complaint = takeSide(values[0], side))
        return complaint;
    job.operations.emplace_back(OneSide{side});
    return std::nullopt;
}

template <typename TwoSides>
Complaint takeTwoSides(std::span<const std::string> values, Job& job) {
    TwoSides sides;
    if (Complaint complaint = takeSide(values[0], sides.height))
        return complaint;
    if (Complaint complaint = takeSide(values[1], sides.width))
        return complaint;
    job.operations.emplace_back(sides);
    return std::nullopt;
}

Complaint takeOutput(std::span<const std::string> values, Job& job) {
    if (values[0].empty())
        return "the name of the output is empty";
    job.output = values[0];
    return std::nullopt;
}

struct Option {
    std::string_view shortName;
    std::string_view longName;
    std::size_t valueCount;
    Complaint (*take)(std::span<const std::string> values, Job& job);
};

constexpr std::array<Option, 10> kOptions{{
    {"-s", "--setProperty", 2, takeSetting},
    {"-g", "--getProperty", 1, takeProperty},
    {"-o", "--out", 1, takeOutput},
    {"-Z", "--resampleHeightWidthMax", 1, takeOneSide<FitLongestSide>},
    {"-z", "--resampleHeightWidth", 2, takeTwoSides<ResizeExactly>},
    {"", "--resampleWidth", 1, takeOneSide<ResizeToWidth>},
    {"", "--resampleHeight", 1, takeOneSide<ResizeToHeight>},
    {"-c", "--cropToHeightWidth", 2, takeTwoSides<CropCentre>},
    {"-r", "--rotate", 1, takeRotation},
    {"-f", "--flip", 1, takeFlip},
}};

const Option* optionNamed(const std::string& name) {
    for (const Option& option : kOptions) {
        if (name == option.longName || (!option.shortName.empty() && name == option.shortName))
            return &option;
    }
    return nullptr;
}

Complaint complaintAbout(const Job& job) {
    if (job.inputs.empty())
        return "no picture is named";
    if (!job.writes() && job.properties.empty())
        return "nothing to do: give an operation, a format, an output or a property to print";
    return std::nullopt;
}

} // namespace

std::expected<Request, std::string> parseArguments(std::span<const std::string> arguments) {
    Job job;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (optionsEnded || argument.size() < 2 || argument[0] != '-') {
            job.inputs.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        if (argument == "--help" || argument == "-h")
            return ShowHelp{};
        if (argument == "--version" || argument == "-v")
            return ShowVersion{};
        const Option* const option = optionNamed(argument);
        if (option == nullptr)
            return std::unexpected("unknown option '" + printable(argument) + "' (for a file of that name write ./" +
                                   printable(argument) + ")");
        const std::span<const std::string> values = arguments.subspan(i + 1);
        if (values.size() < option->valueCount)
            return std::unexpected(argument + " needs " + (option->valueCount == 1 ? "a value" : "two values"));
        if (const Complaint complaint = option->take(values.first(option->valueCount), job))
            return std::unexpected(argument + ": " + *complaint);
        i += option->valueCount;
    }
    if (const Complaint complaint = complaintAbout(job))
        return std::unexpected(*complaint);
    return job;
}

} // namespace torvo::sips
