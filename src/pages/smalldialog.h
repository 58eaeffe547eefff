// The small modal dialogs around the settings: passwords, import and export.
#pragma once

class QDialog;
class QString;

namespace talo
{

// Builds a dialog of 350 x 150 without parent, with a title bar and its close button alone.
QDialog *createSmallDialog(const QString &name);

// Runs a dialog until it closes, then frees it and what was typed into it.
void runDialog(QDialog *dialog);

} // namespace talo
