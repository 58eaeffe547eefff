// Where a path leads by the links that only the administrator could have placed.
#pragma once

#include <string>

namespace talo::scan
{

class Mounts;

// Follows the symbolic links of an absolute path as long as each belongs to root or to the user who
// runs this and nobody else can exchange it. From the first other link on the path stays as it is:
// who could turn a link could otherwise turn an exclusion to any place. What lies on a network file
// system is not touched either, since its server may never answer.
std::string followTrustedLinks(const std::string &path, const Mounts &mounts);

} // namespace talo::scan
