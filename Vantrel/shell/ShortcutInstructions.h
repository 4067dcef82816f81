#pragma once

class QMessageBox;

namespace vantrel {

class ShortcutSetup;

// Where this program cannot write the desktop's binding itself (sway's config is
// the user's file; other desktops have only their settings window), a window
// shows the exact line or command with a Copy button. Not modal; deletes itself.
namespace ShortcutInstructions {

QMessageBox* show(const ShortcutSetup& setup);

} // namespace ShortcutInstructions

} // namespace vantrel
