// Starts programs of the product that have a window of their own.
#pragma once

#include <QStringList>

// A program below /usr/local/taloantivirus/bin. It is left to itself: it outlives the page, and
// nobody waits for its end.
void startProgram(const QString &name, const QStringList &arguments = {});
