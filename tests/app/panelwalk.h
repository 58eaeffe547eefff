// A walk through everything that the panel can show, with an engine that has something to tell.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace talo::test
{

// Is called at every stop with the stop's name, which is fit for a file's, and the window that is
// in front: the panel with a page, a dialog, or a message.
using Visit = std::function<void(const QString &stop, QWidget *window)>;

// Builds the panel and visits its pages, tabs, dialogs and messages. Returns what kept it from
// reaching a stop; empty where all were reached.
QString walkPanel(const Visit &visit);

// The window of a signature update: while it works and when it is done.
void walkSignatureUpdate(const Visit &visit);

} // namespace talo::test
