// Updates of the program, as callers on the bus see them.
#pragma once

#include "update/productupdate.h"

#include <QVariantMap>

#include <optional>
#include <string>

namespace talo::service
{

class ProductUpdateService
{
public:
    struct Surroundings {
        std::string state;         // the service's own folder
        std::string configuration; // the administrator's file
        std::optional<update::ReleaseKey> key;
    };
    explicit ProductUpdateService(const Surroundings &surroundings);

    bool begin(update::ProductUpdate::Want want) { return update_.begin(want); }
    bool stop() { return update_.stop(); }
    QVariantMap progress() const; // with the keys of the interface's description

private:
    update::ProductUpdate update_;
};

} // namespace talo::service
