// Asking for a new settings password by mail.
#pragma once

class QWidget;

namespace talo
{

enum class FailedReset {
    Reported, // a refused request tells the user to contact support
    Silent,   // only a missing connection is told
};

// Asks whether the user wants a new password, requests it and shows the outcome. `parent` is the
// parent of every message box.
void resetPassword(QWidget *parent, FailedReset failed);

} // namespace talo
