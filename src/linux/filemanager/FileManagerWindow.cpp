#include "linux/filemanager/FileManagerWindow.h"

#include "linux/filemanager/DolphinWindow.h"
#include "linux/filemanager/NautilusWindow.h"
#include "linux/filemanager/NemoWindow.h"
#include "linux/filemanager/PcmanfmQtWindow.h"
#include "linux/filemanager/ThunarWindow.h"

#include <algorithm>
#include <array>

namespace torvo {

namespace {

using Make = std::unique_ptr<FileManagerWindow> (*)(FileManagerAccess access);

template <typename Window>
std::unique_ptr<FileManagerWindow> make(FileManagerAccess access) {
    return std::make_unique<Window>(std::move(access));
}

struct Kind {
    std::string_view windowClass;
    Make make;
};

constexpr std::array<Kind, 5> kKinds{{{"Thunar", make<ThunarWindow>},
                                      {"pcmanfm-qt", make<PcmanfmQtWindow>},
                                      {"dolphin", make<DolphinWindow>},
                                      {"org.gnome.Nautilus", make<NautilusWindow>},
                                      {"Nemo", make<NemoWindow>}}};

} // namespace

bool isFileManager(std::string_view windowClass) {
    return std::ranges::find(kKinds, windowClass, &Kind::windowClass) != kKinds.end();
}

std::unique_ptr<FileManagerWindow> fileManagerWindow(std::string_view windowClass, FileManagerAccess access) {
    const auto kind = std::ranges::find(kKinds, windowClass, &Kind::windowClass);
    return kind == kKinds.end() ? nullptr : kind->make(std::move(access));
}

} // namespace torvo
