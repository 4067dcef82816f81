#pragma once

#include "Vantrel/update/UpdateDialogs.h"

#include <functional>

namespace vantrel {

// Real dialogs: a warning QMessageBox titled "Vantrel", a QFileDialog save
// dialog starting in the Downloads folder, and a reveal in the file manager.
class QtUpdateDialogs final : public UpdateDialogs {
public:
    int showAlert(const UpdateAlert& alert) override;
    std::optional<QString> chooseSaveLocation(const QString& proposedName, const QString& message) override;
    void reveal(const QString& path) override;
};

// Selects the file in a new file-manager window through the freedesktop
// FileManager1 D-Bus interface; where no file manager takes it within
// revealTimeoutMs, opens the folder with the desktop's default handler. Asks
// asynchronously and returns at once; `done` (if given) hears whether D-Bus
// took it.
inline constexpr int revealTimeoutMs = 5000;
void revealInFileManager(const QString& path, std::function<void(bool byFileManager)> done = {});

} // namespace vantrel
