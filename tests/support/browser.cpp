#include "support/browser.h"

#include <QDesktopServices>

namespace talo::test
{

Browser::Browser()
{
    for (const char *scheme : {"https", "http", "mailto"}) {
        QDesktopServices::setUrlHandler(scheme, this, "open");
    }
}

Browser::~Browser()
{
    for (const char *scheme : {"https", "http", "mailto"}) {
        QDesktopServices::unsetUrlHandler(scheme);
    }
}

} // namespace talo::test
