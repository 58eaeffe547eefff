// A settings password that is stored without the cost of hashing it properly.
#pragma once

#include <QString>

// To be called while no service uses the state folder.
bool storeQuickly(const QString &state, const char *password);
