// The product's place on the Internet.
#pragma once

#include <QString>

namespace talo
{

// Opens a page of the product's web site in the user's browser; `path` begins with "/". A browser
// that cannot be started is the desktop's to report.
void openWebPage(const QString &path);

QString supportAddress();

} // namespace talo
