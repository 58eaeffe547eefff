// A method of the service with its arguments, for tests that go through many of them.
#pragma once

#include "interface/types.h"

#include <QVariant>

struct Method {
    const char *interface;
    const char *name;
    QVariantList arguments;
};

inline QVariant settings(const char *key, int value)
{
    return QVariant::fromValue(talo::interface::SettingMap{{key, value}});
}
