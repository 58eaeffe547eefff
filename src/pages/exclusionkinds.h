// The engine's codes for the kinds of exclusions from scanning.
#pragma once

namespace talo
{

constexpr int kLocationKind = 401;
constexpr int kExtensionKind = 402;

} // namespace talo
