#include "pages/website.h"

#include <QDesktopServices>
#include <QUrl>

namespace talo
{
namespace
{

// The product has no domain of its own yet. The top-level domain "example" is reserved, so that
// until then no click leads to a stranger's site.
const QLatin1String kHost("taloantivirus.example");

} // namespace

void openWebPage(const QString &path)
{
    QDesktopServices::openUrl(QUrl("https://www." + kHost + path));
}

QString supportAddress()
{
    return "support@" + kHost;
}

} // namespace talo
