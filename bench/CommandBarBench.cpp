// What the bar costs the main thread: every one of these happens between two frames.
#include "Ratio.h"
#include "tests/support/Bar.h"

#include <fmt/format.h>

using namespace torvo;
using namespace torvo::bench;

namespace {

/// The most processor time, in milliseconds, that any of these steps may take.
constexpr double kGoal = 5;

/// The median processor time of one step, in milliseconds.
template <typename Step>
void reportStep(const std::string& name, Step step, int rounds = 101) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i)
        times.push_back(secondsOf([&] { step(i); }, TimeSource::processor) * 1e3);
    reportValue(name, median(std::move(times)), "ms", kGoal);
}

std::vector<FileURL> manyFiles(const FileURL& folder, int count) {
    std::vector<FileURL> files;
    for (int i = 0; i < count; ++i)
        files.push_back(folder.appendingPath(fmt::format("A picture of the summer {:05}.JPG", i)));
    return files;
}

std::vector<Operation> manyOperations(const FileURL& folder) {
    std::vector<Operation> operations;
    for (int i = 0; i < 100; ++i) {
        Operation operation{UUID::random(), 1e9 + i, "Converted 20 images to JPG", ConvertImages{"jpg"}};
        operation.inputs = manyFiles(folder, 20);
        operation.outputs = operation.inputs;
        operations.push_back(std::move(operation));
    }
    return operations;
}

} // namespace

int main() {
    testing::Bar bar(testing::ManualDispatcher::Detached::held);
    bar.select({});
    bar.service->toggle();
    const std::string typed = "select all png and jpg files please";
    reportStep("key press to the new hint", [&](int i) {
        bar.service->inputChanged(typed.substr(0, static_cast<std::size_t>(i) % typed.size() + 1));
    });
    reportStep("Return to a preset under way", [&](int) {
        bar.service->inputChanged("zip");
        bar.service->submit();
        bar.service->cancel();
    });
    bar.finder.show(bar.files.url(), manyFiles(bar.files.url(), 10'000));
    reportStep(
        "context refreshed with 10,000 files selected",
        [&](int) {
            bar.window.resignKey();
            bar.window.makeKey();
        },
        31);
    const auto operations = manyOperations(bar.files.url());
    const OperationStore store(bar.support / "activity.json", bar.systemLog);
    reportStep("activity list of 100 records of 40 files saved", [&](int) { store.save(operations); }, 31);
}
