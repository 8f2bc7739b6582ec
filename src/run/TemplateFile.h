#pragma once

#include <string>

#include "platform/FileSystem.h"

namespace mv {

/// The name of the template database.
inline constexpr const char* kTemplateName = "_20";

/// Where the template database is: in the program's folder (`programFolder`), or when it is not there but among the
/// data of an installation, there.
std::string TemplatePath(const platform::FileSystem& files, const std::string& programFolder);

}  // namespace mv
