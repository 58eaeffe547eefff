// Calls of the service that the command line waits for.
#pragma once

#include <QVariantList>

#include <optional>

namespace talo::programs
{

// The values of the answer, which has exactly the given signature. Nothing where there is none: the
// reason is on standard error then.
std::optional<QVariantList> askService(const char *interface, const char *method,
                                       const QVariantList &arguments, const char *signature);

} // namespace talo::programs
