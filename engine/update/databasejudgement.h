// Whether databases that were downloaded may follow those in use.
#pragma once

#include "update/signaturesource.h"

#include <string>
#include <vector>

namespace talo::update
{

// Whether `files` of the one folder are all databases of the other, with the same content.
bool sameSet(const std::string &one, const std::string &other,
             const std::vector<std::string> &files);

// Empty, or in which way the databases are not what may follow those of the base.
std::string faultOfFiles(const std::string &folder, const std::vector<std::string> &files,
                         const SignatureSource &source, const std::string &base);

} // namespace talo::update
