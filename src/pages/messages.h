// The panel's message boxes: modal, titled with the product's name unless a title is given.
#pragma once

class QString;
class QWidget;

namespace talo
{

void showInformation(QWidget *parent, const QString &text);
void showInformation(QWidget *parent, const QString &title, const QString &text);
void showWarning(QWidget *parent, const QString &text);
void showWarning(QWidget *parent, const QString &title, const QString &text);

// Returns true for Yes; neither button is preferred.
bool askYesNo(QWidget *parent, const QString &text);

} // namespace talo
