#pragma once

#include "Vantrel/update/UpdateDialogs.h"

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
// FileManager1 D-Bus interface; where no file manager offers it, opens the
// folder with the desktop's default handler. Returns whether D-Bus took it.
bool revealInFileManager(const QString& path);

} // namespace vantrel
