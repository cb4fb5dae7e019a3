#include "desktop/CommandBarPanel.h"
#include "desktop/FinderService.h"
#include "desktop/HotKeyConfiguration.h"
#include "desktop/HotKeyService.h"
#include "tests/probe/Operations.h"

namespace torvo::probe {

namespace {

Rect rect(const Json& in) {
    return {in.at("x").get<double>(), in.at("y").get<double>(), in.at("width").get<double>(),
            in.at("height").get<double>()};
}

Json encoded(const std::optional<Rect>& rect) {
    if (!rect)
        return {};
    return {{"x", rect->x}, {"y", rect->y}, {"width", rect->width}, {"height", rect->height}};
}

Json finderFrame(const Json& in) {
    const auto given = rect(in);
    const Json* height = memberOf(in, "screenHeight");
    return encoded(finderWindowFrame({given.x, given.y}, {given.width, given.height},
                                     height == nullptr || height->is_null() ? 0 : height->get<double>()));
}

Json placement(const Json& in) {
    ScreenLayout layout;
    for (const Json& screen : in.at("screens"))
        layout.screens.push_back({rect(screen.at("frame")), rect(screen.at("visibleFrame"))});
    if (const Json* main = memberOf(in, "main"); main != nullptr && !main->is_null())
        layout.main = main->get<std::size_t>();
    const Json* frame = memberOf(in, "frame");
    return encoded(panelPlacement(frame == nullptr || frame->is_null() ? std::nullopt : std::optional(rect(*frame)),
                                  in.at("expanded").get<bool>() ? BarForm::expanded : BarForm::compact,
                                  in.at("height").get<double>(), layout));
}

HotKeyConfiguration hotKey(const Json& in) {
    return {text(in, "key"), in.at("command").get<bool>(), in.at("shift").get<bool>(), in.at("option").get<bool>(),
            in.at("control").get<bool>()};
}

} // namespace

OperationTable desktopOperations() {
    return {
        {"finder.parseSelection",
         [](const Json& in) { return Json(pathsOf(parseFinderSelection(text(in, "output")))); }},
        {"finder.frame", finderFrame},
        {"panel.place", placement},
        {"hotkey.displayName", [](const Json& in) { return Json(hotKey(in).displayName()); }},
        {"hotkey.decode",
         [](const Json& in) { return *parseJson(HotKeyConfiguration::decode(optionalText(in, "data")).encoded()); }},
        {"hotkey.errorDescription",
         [](const Json& in) {
             return Json(HotKeyRegistrationError{in.at("status").get<std::int32_t>()}.description());
         }},
    };
}

} // namespace torvo::probe
