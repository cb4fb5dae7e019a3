#pragma once

#include "Job.h"
#include "Road.h"

#include <functional>
#include <set>
#include <string>

namespace torvo::sips {

/// The path that the result for `input` is written to. `outputIsFolder`: whether the job's output names a folder.
[[nodiscard]] std::string targetPath(const Job& job, bool outputIsFolder, const std::string& input,
                                     Format targetFormat);

/// The format to write: the one asked for, else the one that the output's extension names, else the source's.
[[nodiscard]] Format targetFormat(const Job& job, bool outputIsFolder, Format sourceFormat);

/// Carries out a job, one picture after the other.
class Converter {
  public:
    /// `slowRoad` gives the road that is asked when `quickRoad` steps aside; it is called at the first need. Null when
    /// that road cannot be had.
    Converter(Road& quickRoad, std::function<Road*()> slowRoad)
        : m_quickRoad(quickRoad), m_slowRoad(std::move(slowRoad)) {}

    /// Does what the job asks for one of its inputs. The failure is the reason, without the name.
    [[nodiscard]] std::expected<void, std::string> process(const Job& job, const std::string& input);

  private:
    template <typename Result, typename Ask>
    std::expected<Result, std::string> askRoads(Ask ask);
    [[nodiscard]] std::expected<void, std::string> print(const Job& job, const std::string& input,
                                                         std::span<const std::uint8_t> source, Format format);
    [[nodiscard]] std::expected<void, std::string> write(const Job& job, const std::string& input,
                                                         std::span<const std::uint8_t> source, Format format);

    Road& m_quickRoad;
    std::function<Road*()> m_slowRoad;
    /// What this run has written already: two results may not end under one name.
    std::set<std::string> m_written;
};

} // namespace torvo::sips
