// A system bus of the test's own with the machine's polkit behind it, in a mount namespace: nothing
// of the machine's own bus, rules or state takes part, and nothing stays.
#pragma once

#include "engine/service/privatebus.h"

#include <QDBusConnection>

#include <memory>
#include <string>

class SystemBus
{
public:
    // Makes the namespace and what lies in it. To be called first, while there is one thread.
    // Returns why that is not possible here, or nothing.
    static std::string prepare();

    SystemBus();

    // Connects as that user. The bus knows who somebody is from the moment of connecting.
    static QDBusConnection connectAs(uint user, const QString &name);

    // The process that owns a name; 0 for none.
    static qint64 ownerOf(const QString &service);

    // Has the bus start no more polkit.
    static bool removePolkit();

private:
    std::unique_ptr<Program> daemon_;
};
