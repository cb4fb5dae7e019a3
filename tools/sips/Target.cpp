#include "Converter.h"

namespace torvo::sips {

Format targetFormat(const Job& job, bool outputIsFolder, Format sourceFormat) {
    if (job.format)
        return *job.format;
    if (job.output && !outputIsFolder)
        return formatOfPath(*job.output).value_or(sourceFormat);
    return sourceFormat;
}

std::string targetPath(const Job& job, bool outputIsFolder, const std::string& input, Format targetFormat) {
    if (!job.output)
        return input;
    if (!outputIsFolder)
        return *job.output;
    std::string name = input.substr(input.rfind('/') + 1);
    if (formatOfPath(name) != targetFormat) {
        const std::size_t dot = name.rfind('.');
        if (dot != std::string::npos && dot > 0)
            name.resize(dot);
        name += '.';
        name += extensionOf(targetFormat);
    }
    return *job.output + (job.output->ends_with('/') ? "" : "/") + name;
}

} // namespace torvo::sips
